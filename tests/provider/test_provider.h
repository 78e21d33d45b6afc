// A CryptoAPI provider of another maker for the tests: vt_test_provider.dll, which forwards every call to the built-in
// provider, writes each into a log, can fail each, and, unlike the built-in one, takes a certificate for a key.
//
// TestProvider registers the DLL, which lies beside the test program, for its lifetime:
//
//     TestProvider provider("Vemtrel Test Provider");
//     provider.fail("CPGetUserKey", NTE_NO_KEY);
//     ... a call that runs into it ...
//     EXPECT_EQ(provider.count("CPGetUserKey"), 1u);
//
// The DLL is told through environment variables of the process that loads it, so a test can also set them for a
// program that it starts.
#ifndef VT_TESTS_PROVIDER_TEST_PROVIDER_H
#define VT_TESTS_PROVIDER_TEST_PROVIDER_H

#include <string>
#include <vector>

#include "platform/platform.h"

namespace support {

inline constexpr char kTestProviderName[] = "Vemtrel Test Provider";
inline constexpr char kTestProviderFile[] = "vt_test_provider.dll";

// The folder for calls.log and for the certificates that keys were given; unset: nothing is kept.
inline constexpr char kTestProviderFolderVariable[] = "VT_TEST_PROVIDER_FOLDER";
// "CPGetUserKey=8009000D+2,CPSetKeyParam=80090020": calls that fail, with which code in hexadecimal, and how many calls
// are let through first. The counting starts anew whenever the text changes.
inline constexpr char kTestProviderFailuresVariable[] = "VT_TEST_PROVIDER_FAILURES";

class TestProvider {
  public:
    // Throws std::runtime_error when the registry or the temporary folder does not let itself be written.
    explicit TestProvider(std::string name = kTestProviderName);
    // Takes the registration, the folder and the variables away again.
    ~TestProvider();
    TestProvider(const TestProvider&) = delete;
    TestProvider& operator=(const TestProvider&) = delete;

    const std::string& name() const { return name_; }

    // From now on the entry point of that name fails with code, after so many calls that are let through. succeed()
    // ends all such failures.
    void fail(const std::string& entryPoint, DWORD code, unsigned letThrough = 0);
    void succeed();

    // The calls that came in since the start or the last forgetCalls(), as "CPGetUserKey(2) ok" or
    // "CPGetUserKey(2) failed 8009000D". The number in brackets is the key's kind, algorithm, parameter or flags,
    // whichever the entry point is about.
    std::vector<std::string> calls() const;
    unsigned count(const std::string& start) const;  // how many calls begin so
    void forgetCalls();

    // The certificate that the key of this container was given with KP_CERTIFICATE; empty if none.
    std::vector<std::uint8_t> certificateOf(const std::string& container) const;

  private:
    std::string name_;
    std::string folder_;
    std::string failures_;
};

}  // namespace support

#endif
