// Keys of the built-in provider: sizes, blobs, what may be exported, and where they are found again.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/platform.h"
#include "tests/platform/win32_container.h"

namespace {

using platform::capi;
using support::Bytes;
using win32::Container;

constexpr std::size_t kBlobHead = sizeof(PUBLICKEYSTRUC) + sizeof(RSAPUBKEY);

template <class Record>
Record readAt(const Bytes& bytes, std::size_t offset) {
    Record record{};
    EXPECT_LE(offset + sizeof record, bytes.size());
    std::memcpy(&record, bytes.data() + offset, sizeof record);
    return record;
}

class win32_key_test : public testing::TestWithParam<DWORD> {};

TEST_P(win32_key_test, SizeIsTheOneAskedForAndBlobsHaveThePublishedLayout) {
    const DWORD bits = GetParam();
    Container container("vt-win32-sizes");
    const HCRYPTKEY key = container.generate(AT_SIGNATURE, bits, CRYPT_EXPORTABLE);
    ASSERT_NE(key, 0u);

    const Bytes open = Container::exported(key, PUBLICKEYBLOB);
    ASSERT_EQ(open.size(), kBlobHead + bits / 8);
    const auto head = readAt<PUBLICKEYSTRUC>(open, 0);
    EXPECT_EQ(head.bType, PUBLICKEYBLOB);
    EXPECT_EQ(head.bVersion, CUR_BLOB_VERSION);
    EXPECT_EQ(head.aiKeyAlg, static_cast<ALG_ID>(CALG_RSA_SIGN));
    const auto rsa = readAt<RSAPUBKEY>(open, sizeof head);
    EXPECT_EQ(rsa.magic, 0x31415352u);  // "RSA1"
    EXPECT_EQ(rsa.bitlen, bits);
    EXPECT_EQ(rsa.pubexp, 65537u);
    EXPECT_NE(open.back() & 0x80, 0) << "the modulus is shorter than the size says";
    EXPECT_EQ(open[kBlobHead] & 1, 1) << "the modulus is even";

    // Head, modulus, two primes, two exponents and the coefficient of half the length, and the private exponent.
    const Bytes secret = Container::exported(key, PRIVATEKEYBLOB);
    ASSERT_EQ(secret.size(), kBlobHead + bits / 8 + 5 * (bits / 16) + bits / 8);
    EXPECT_EQ(secret[0], PRIVATEKEYBLOB);
    EXPECT_EQ(readAt<RSAPUBKEY>(secret, sizeof head).magic, 0x32415352u);  // "RSA2"
    EXPECT_EQ(Bytes(secret.begin() + kBlobHead, secret.begin() + kBlobHead + bits / 8),
              Bytes(open.begin() + kBlobHead, open.end()));
}

INSTANTIATE_TEST_SUITE_P(Sizes, win32_key_test, testing::Values(512, 1024, 2048, 4096),
                         testing::PrintToStringParamName());

TEST(win32_key_blob_test, NonExportableKeyKeepsItsSecret) {
    Container container("vt-win32-closed");
    const HCRYPTKEY key = container.generate(AT_SIGNATURE, 512, 0);
    ASSERT_NE(key, 0u);
    EXPECT_FALSE(Container::exported(key, PUBLICKEYBLOB).empty());
    DWORD size = 0;
    EXPECT_FALSE(capi().CryptExportKey(key, 0, PRIVATEKEYBLOB, 0, nullptr, &size));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(NTE_BAD_KEY_STATE));
}

// The container is closed in between: Wine writes a key into the registry when its container is closed.
TEST(win32_key_blob_test, KeyIsFoundAgainByItsSpecification) {
    Container container("vt-win32-found");
    HCRYPTKEY found = 0;
    EXPECT_FALSE(capi().CryptGetUserKey(container.provider(), AT_SIGNATURE, &found));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(NTE_NO_KEY));
    const Bytes made = Container::exported(container.generate(AT_SIGNATURE, 512, 0), PUBLICKEYBLOB);

    container.reopen();
    ASSERT_TRUE(capi().CryptGetUserKey(container.provider(), AT_SIGNATURE, &found));
    EXPECT_EQ(Container::exported(found, PUBLICKEYBLOB), made);
    EXPECT_TRUE(capi().CryptDestroyKey(found));
    EXPECT_FALSE(capi().CryptGetUserKey(container.provider(), AT_KEYEXCHANGE, &found));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(NTE_NO_KEY));
}

TEST(win32_key_blob_test, PublicKeyInfoHasTheKeyInIt) {
    Container container("vt-win32-info");
    const Bytes blob = Container::exported(container.generate(AT_SIGNATURE, 512, 0), PUBLICKEYBLOB);
    DWORD size = 0;
    constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;
    ASSERT_TRUE(capi().CryptExportPublicKeyInfo(container.provider(), AT_SIGNATURE, kEncoding, nullptr, &size));
    Bytes room(size);
    auto* info = reinterpret_cast<CERT_PUBLIC_KEY_INFO*>(room.data());
    ASSERT_TRUE(capi().CryptExportPublicKeyInfo(container.provider(), AT_SIGNATURE, kEncoding, info, &size));
    EXPECT_STREQ(info->Algorithm.pszObjId, "1.2.840.113549.1.1.1");
    // SEQUENCE { INTEGER modulus, with a zero in front as its highest bit is set; INTEGER 65537 }
    Bytes expected = support::hex("30 48 02 41 00");
    expected.insert(expected.end(), blob.rbegin(), blob.rend() - kBlobHead);
    for (const auto byte : support::hex("02 03 01 00 01"))
        expected.push_back(byte);
    EXPECT_EQ(Bytes(info->PublicKey.pbData, info->PublicKey.pbData + info->PublicKey.cbData), expected);
}

// Why the built-in provider's certificates are bound in the store instead.
TEST(win32_key_blob_test, BuiltInProviderTakesNoCertificate) {
    Container container("vt-win32-param");
    const HCRYPTKEY key = container.generate(AT_SIGNATURE, 512, 0);
    const Bytes der = support::hex("30 00");
    EXPECT_FALSE(capi().CryptSetKeyParam(key, KP_CERTIFICATE, der.data(), 0));
}

}  // namespace
