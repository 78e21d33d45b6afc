// What the built-in provider signs is what another program signs with the same key.
//
// Key, message and signatures were made by:
//   openssl genrsa -traditional -out k.pem 512
//   openssl rsa -in k.pem -outform "MS PRIVATEKEYBLOB" -out k.blob
//   printf 'Vemtrel signs this' | openssl dgst -md5 -sign k.pem     (and -sha1)
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "platform/platform.h"
#include "tests/platform/win32_container.h"

namespace {

using platform::capi;
using support::Bytes;
using support::hex;
using win32::Container;

constexpr char kKey[] =
    "0702000000a4000052534132000200000100010073fb15a67a3eafdde1457023f5e72e40fc77f658788f6742422463cb19c5c5e7"
    "7bed1009c49c4a22b6350886741d41129c0e9d658887e5522738673ecc609acfe385149c43c4fbd78f4cbdc1a0ddfa735a3fa270"
    "00ad8bea2c30cfbc7218ddf531291d06dcab2fddbadf054aa610943bfcb21ae86635c82b00ff9846887829d85d636378de9e0ceb"
    "3c8a8cc1ba3946c92502cf9b7961d072c2142d994422e60f619199aa205ea3a002f76ed44c20b4e883cd7c1bdc8c66ae181e37e0"
    "857c9196b8666ab5e87360f1ad01ac6a8db441278e40f9fc890125164f986b7f3e2e5d208154cba280bf492e1d33334325cd4d3a"
    "96542721a51da11ab58cf8c808e655cd96480f46339b8595485b85fdfc4c4b102ad74f26e044f1688c87ba3355eea801";
constexpr char kMessage[] = "Vemtrel signs this";
constexpr char kMd5Signature[] =
    "9e7634eede8e238947a13b143b3806cd0f952c2669b7056cc0327035f9b4454e"
    "96d008b8d69c2bdb9a72ae4ed177b9a5a3ebdf5474f1aa8c43ee73081983491d";
constexpr char kSha1Signature[] =
    "109d7d4d24374cc88ee1eed9f0040a55e22fbcfb83fce41458b86e8c42988325"
    "723c8570bbf025b152c4556297580aaf7bf61c55ee050677744306df34abd66c";

// The signature, most significant byte first; empty on failure. The message is hashed in two steps.
Bytes sign(HCRYPTPROV provider, ALG_ID algorithm, DWORD spec) {
    const std::string message = kMessage;
    const auto* data = reinterpret_cast<const BYTE*>(message.data());
    HCRYPTHASH hash = 0;
    EXPECT_TRUE(capi().CryptCreateHash(provider, algorithm, 0, 0, &hash));
    EXPECT_TRUE(capi().CryptHashData(hash, data, 7, 0));
    EXPECT_TRUE(capi().CryptHashData(hash, data + 7, static_cast<DWORD>(message.size() - 7), 0));
    DWORD size = 0;
    Bytes signature;
    if (capi().CryptSignHashA(hash, spec, nullptr, 0, nullptr, &size) != 0) {
        signature.resize(size);
        EXPECT_TRUE(capi().CryptSignHashA(hash, spec, nullptr, 0, signature.data(), &size));
    }
    const DWORD error = GetLastError();
    EXPECT_TRUE(capi().CryptDestroyHash(hash));
    SetLastError(error);
    std::reverse(signature.begin(), signature.end());
    return signature;
}

TEST(win32_sign_test, SignsAsAnotherProgramDoes) {
    const Container container("vt-win32-sign");
    const Bytes blob = hex(kKey);
    HCRYPTKEY key = 0;
    ASSERT_TRUE(CryptImportKey(container.provider(), blob.data(), static_cast<DWORD>(blob.size()), 0, 0, &key));
    EXPECT_EQ(sign(container.provider(), CALG_MD5, AT_KEYEXCHANGE), hex(kMd5Signature));
    EXPECT_EQ(sign(container.provider(), CALG_SHA1, AT_KEYEXCHANGE), hex(kSha1Signature));
    EXPECT_TRUE(capi().CryptDestroyKey(key));
}

TEST(win32_sign_test, NothingIsSignedWithoutAKey) {
    const Container container("vt-win32-nokey");
    EXPECT_TRUE(sign(container.provider(), CALG_SHA1, AT_SIGNATURE).empty());
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(NTE_NO_KEY));
}

TEST(win32_sign_test, UnknownHashIsRefused) {
    const Container container("vt-win32-hash");
    HCRYPTHASH hash = 0;
    EXPECT_FALSE(capi().CryptCreateHash(container.provider(), 12345, 0, 0, &hash));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(NTE_BAD_ALGID));
}

}  // namespace
