// What the tests of the Linux provider share.
#ifndef VT_TESTS_PLATFORM_NSS_FIXTURE_H
#define VT_TESTS_PLATFORM_NSS_FIXTURE_H

#include <gtest/gtest.h>

#include <string>

#include "platform/platform.h"
#include "tests/support/hex.h"
#include "tests/support/scratch_home.h"
#include "tests/support/tool.h"

namespace nss_test {

using platform::capi;
using platform::sys;
using support::Bytes;

inline constexpr char kDatabaseProvider[] = "NSS Certificate DB";
inline constexpr char kWindowsProvider[] = "Microsoft Enhanced Cryptographic Provider v1.0";
inline constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

// A container or key that is closed in the end.
class Prov {
  public:
    Prov(const char* container, DWORD flags, const char* provider = kDatabaseProvider);
    ~Prov();
    Prov(const Prov&) = delete;
    Prov& operator=(const Prov&) = delete;

    HCRYPTPROV get() const { return handle_; }
    explicit operator bool() const { return handle_ != 0; }

  private:
    HCRYPTPROV handle_ = 0;
};

class KeyHandle {
  public:
    KeyHandle() = default;
    ~KeyHandle();
    KeyHandle(const KeyHandle&) = delete;
    KeyHandle& operator=(const KeyHandle&) = delete;

    HCRYPTKEY get() const { return handle_; }
    HCRYPTKEY* out() { return &handle_; }

  private:
    HCRYPTKEY handle_ = 0;
};

// errorOf gives the last error that the call leaves, and 0 where it succeeds.
template <class Call>
DWORD errorOf(Call call) {
    sys().SetLastError(0);
    return call() ? 0 : sys().GetLastError();
}

// makeKey makes a container with a key in it; flags without the size mean what CryptGenKey's do.
void makeKey(const char* container, DWORD bits = 1024, DWORD flags = CRYPT_EXPORTABLE, ALG_ID spec = AT_SIGNATURE,
             const char* provider = kDatabaseProvider);

// exportKey gives the blob of the container's key.
Bytes exportKey(const char* container, DWORD blobType, DWORD spec = AT_SIGNATURE,
                const char* provider = kDatabaseProvider);

// publicKeyPem writes the container's public key to a file in the home, by openssl out of the Microsoft blob.
std::string publicKeyPem(const support::ScratchHome& home, const char* container,
                         const char* provider = kDatabaseProvider);

// An authority made of openssl commands in the home folder.
class Authority {
  public:
    explicit Authority(const support::ScratchHome& home);

    // certify gives a certificate for the public key in the file, with that subject ("/CN=Alice") and serial number.
    Bytes certify(const std::string& publicKeyFile, const std::string& subject, int serial,
                  const std::string& extensions = "basicConstraints=CA:FALSE") const;

    const Bytes& certificate() const { return certificate_; }

  private:
    const support::ScratchHome& home_;
    Bytes certificate_;
};

// readFile gives a file's bytes.
Bytes readFile(const std::string& path);
std::string textOf(const Bytes& bytes);

// count gives how often the part stands in the text.
int count(const std::string& text, const std::string& part);

// Each test has a home folder of its own, and with it a database.
class NssTest : public ::testing::Test {
  protected:
    // keyList gives the database's keys as another program sees them, one a line.
    std::string keyList() const;

    support::ScratchHome home_;
};

}  // namespace nss_test

#endif
