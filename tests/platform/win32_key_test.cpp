// Keys of the built-in provider: what may be exported, and where they are found again.
#include <gtest/gtest.h>

#include "platform/platform.h"
#include "tests/platform/win32_container.h"

namespace {

using platform::capi;
using support::Bytes;
using win32::Container;

constexpr std::size_t kBlobHead = sizeof(PUBLICKEYSTRUC) + sizeof(RSAPUBKEY);

TEST(win32_key_test, NonExportableKeyKeepsItsSecret) {
    Container container("vt-win32-closed");
    const HCRYPTKEY key = container.generate(AT_SIGNATURE, 512, 0);
    ASSERT_NE(key, 0u);
    EXPECT_FALSE(Container::exported(key, PUBLICKEYBLOB).empty());
    DWORD size = 0;
    EXPECT_FALSE(capi().CryptExportKey(key, 0, PRIVATEKEYBLOB, 0, nullptr, &size));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(NTE_BAD_KEY_STATE));
}

// The container is closed in between: Wine writes a key into the registry when its container is closed.
TEST(win32_key_test, KeyIsFoundAgainByItsSpecification) {
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

TEST(win32_key_test, PublicKeyInfoHasTheKeyInIt) {
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

// Under the flags that installation uses; Wine 8 keeps CRYPT_USER_PROTECTED to itself and asks nobody.
TEST(win32_key_test, PrivateKeyMovesToAnotherContainer) {
    for (const DWORD flags : {DWORD{CRYPT_EXPORTABLE | CRYPT_USER_PROTECTED}, DWORD{0}}) {
        Container from("vt-win32-from");
        const HCRYPTKEY made = from.generate(AT_SIGNATURE, 512, CRYPT_EXPORTABLE);
        const Bytes secret = Container::exported(made, PRIVATEKEYBLOB);
        ASSERT_FALSE(secret.empty());
        Container into("vt-win32-into");
        HCRYPTKEY copy = 0;
        ASSERT_TRUE(
            capi().CryptImportKey(into.provider(), secret.data(), static_cast<DWORD>(secret.size()), 0, flags, &copy));
        EXPECT_TRUE(capi().CryptDestroyKey(copy));
        into.reopen();
        HCRYPTKEY found = 0;
        ASSERT_TRUE(capi().CryptGetUserKey(into.provider(), AT_SIGNATURE, &found));
        EXPECT_EQ(Container::exported(found, PUBLICKEYBLOB), Container::exported(made, PUBLICKEYBLOB));
        EXPECT_EQ(Container::exported(found, PRIVATEKEYBLOB), flags == 0 ? Bytes() : secret);
        EXPECT_TRUE(capi().CryptDestroyKey(found));
        EXPECT_EQ(Container::exported(made, PRIVATEKEYBLOB), secret) << "the former container keeps its key";
    }
}

TEST(win32_key_test, BytesThatAreNoKeyAreRefused) {
    Container container("vt-win32-no-key");
    HCRYPTKEY key = 0;
    const Bytes blob = support::hex("07 02 00 00 00 24 00 00 52 53 41 32");
    EXPECT_FALSE(capi().CryptImportKey(container.provider(), blob.data(), static_cast<DWORD>(blob.size()), 0, 0, &key));
    EXPECT_FALSE(capi().CryptGetUserKey(container.provider(), AT_SIGNATURE, &key));
}

// Why the built-in provider's certificates are bound in the store instead.
TEST(win32_key_test, BuiltInProviderTakesNoCertificate) {
    Container container("vt-win32-param");
    const HCRYPTKEY key = container.generate(AT_SIGNATURE, 512, 0);
    const Bytes der = support::hex("30 00");
    EXPECT_FALSE(capi().CryptSetKeyParam(key, KP_CERTIFICATE, der.data(), 0));
}

}  // namespace
