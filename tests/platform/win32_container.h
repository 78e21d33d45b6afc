// A key container of the built-in provider for the duration of a test.
#ifndef VT_TESTS_PLATFORM_WIN32_CONTAINER_H
#define VT_TESTS_PLATFORM_WIN32_CONTAINER_H

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/platform.h"
#include "tests/support/hex.h"

namespace win32 {

inline constexpr char kBuiltIn[] = "Microsoft Enhanced Cryptographic Provider v1.0";

inline BOOL deleteContainer(const std::string& name) {
    HCRYPTPROV ignored = 0;
    return platform::capi().CryptAcquireContextA(&ignored, name.c_str(), kBuiltIn, PROV_RSA_FULL, CRYPT_DELETEKEYSET);
}

// Container makes the container anew, without a key, and deletes it at the end.
class Container {
  public:
    explicit Container(std::string name) : name_(std::move(name)) {
        deleteContainer(name_);
        EXPECT_TRUE(
            platform::capi().CryptAcquireContextA(&provider_, name_.c_str(), kBuiltIn, PROV_RSA_FULL, CRYPT_NEWKEYSET));
    }
    ~Container() {
        close();
        deleteContainer(name_);
    }
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

    const std::string& name() const { return name_; }
    HCRYPTPROV provider() const { return provider_; }

    // Closes the container with its keys, and opens it again.
    void reopen() {
        close();
        EXPECT_TRUE(platform::capi().CryptAcquireContextA(&provider_, name_.c_str(), kBuiltIn, PROV_RSA_FULL, 0));
    }

    // The new key lives as long as the container. 0 when it could not be made.
    HCRYPTKEY generate(DWORD spec, DWORD bits, DWORD flags) {
        HCRYPTKEY key = 0;
        if (platform::capi().CryptGenKey(provider_, spec, bits << 16 | flags, &key) == 0)
            return 0;
        keys_.push_back(key);
        return key;
    }

    // The blob, its size asked for first; empty on failure.
    static support::Bytes exported(HCRYPTKEY key, DWORD blobType) {
        DWORD size = 0;
        if (platform::capi().CryptExportKey(key, 0, blobType, 0, nullptr, &size) == 0)
            return {};
        support::Bytes blob(size);
        if (platform::capi().CryptExportKey(key, 0, blobType, 0, blob.data(), &size) == 0)
            return {};
        blob.resize(size);
        return blob;
    }

  private:
    void close() {
        for (const HCRYPTKEY key : keys_)
            platform::capi().CryptDestroyKey(key);
        keys_.clear();
        platform::capi().CryptReleaseContext(provider_, 0);
    }

    std::string name_;
    HCRYPTPROV provider_ = 0;
    std::vector<HCRYPTKEY> keys_;
};

}  // namespace win32

#endif
