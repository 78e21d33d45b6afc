// The provider of another maker does what its header says, so that tests can rely on what they see through it.
#include "tests/provider/test_provider.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/support/hex.h"

namespace {

using platform::capi;
using support::Bytes;
using support::hex;
using support::kTestProviderName;
using support::TestProvider;

constexpr char kContainer[] = "vt-test-provider-container";
constexpr DWORD kKeyBits = 512;

class test_provider_test : public testing::Test {
  protected:
    test_provider_test() { forget(); }
    ~test_provider_test() override { forget(); }

    // The containers are the built-in provider's, which is there whether ours is registered or not.
    static void forget() {
        HCRYPTPROV ignored = 0;
        capi().CryptAcquireContextA(&ignored, kContainer, "Microsoft Enhanced Cryptographic Provider v1.0",
                                    PROV_RSA_FULL, CRYPT_DELETEKEYSET);
    }
    // The number of providers of that name in the system's list.
    static int listed(const std::string& name) {
        int count = 0;
        std::array<char, 512> text{};
        DWORD type = 0;
        DWORD size = text.size();
        for (DWORD i = 0; capi().CryptEnumProvidersA(i, nullptr, 0, &type, text.data(), &size) != 0; ++i) {
            count += name == text.data() && type == PROV_RSA_FULL ? 1 : 0;
            size = text.size();
        }
        return count;
    }
};

// A provider with one new key, closed at the end.
struct OpenKey {
    OpenKey() {
        EXPECT_TRUE(
            capi().CryptAcquireContextA(&provider, kContainer, kTestProviderName, PROV_RSA_FULL, CRYPT_NEWKEYSET));
        EXPECT_TRUE(capi().CryptGenKey(provider, AT_SIGNATURE, kKeyBits << 16 | CRYPT_EXPORTABLE, &key));
    }
    ~OpenKey() {
        capi().CryptDestroyKey(key);
        capi().CryptReleaseContext(provider, 0);
    }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;

    HCRYPTPROV provider = 0;
    HCRYPTKEY key = 0;
};

TEST_F(test_provider_test, IsListedOnlyWhileRegistered) {
    EXPECT_EQ(listed(kTestProviderName), 0);
    {
        const TestProvider provider;
        EXPECT_EQ(listed(kTestProviderName), 1);
    }
    EXPECT_EQ(listed(kTestProviderName), 0);
    HCRYPTPROV none = 0;
    EXPECT_FALSE(capi().CryptAcquireContextA(&none, kContainer, kTestProviderName, PROV_RSA_FULL, CRYPT_NEWKEYSET));
}

TEST_F(test_provider_test, TwoOfDifferentNamesStandSideBySide) {
    const TestProvider one;
    const TestProvider other("microsoft in lower case");
    EXPECT_EQ(listed(kTestProviderName), 1);
    EXPECT_EQ(listed("microsoft in lower case"), 1);
}

TEST_F(test_provider_test, MakesKeysAndSignsLikeTheBuiltInOne) {
    const TestProvider provider;
    const OpenKey open;
    Bytes blob(200);
    auto size = static_cast<DWORD>(blob.size());
    ASSERT_TRUE(capi().CryptExportKey(open.key, 0, PUBLICKEYBLOB, 0, blob.data(), &size));
    EXPECT_EQ(size, 8 + 12 + kKeyBits / 8);
    HCRYPTHASH hash = 0;
    ASSERT_TRUE(capi().CryptCreateHash(open.provider, CALG_SHA1, 0, 0, &hash));
    ASSERT_TRUE(capi().CryptHashData(hash, blob.data(), size, 0));
    Bytes signature(kKeyBits / 8);
    auto length = static_cast<DWORD>(signature.size());
    EXPECT_TRUE(capi().CryptSignHashA(hash, AT_SIGNATURE, nullptr, 0, signature.data(), &length));
    EXPECT_TRUE(CryptVerifySignatureA(hash, signature.data(), length, open.key, nullptr, 0));
    EXPECT_TRUE(capi().CryptDestroyHash(hash));
    for (const char* call : {"CPAcquireContext(8) ok", "CPGenKey(2) ok", "CPExportKey(6) ok", "CPCreateHash(32772) ok",
                             "CPHashData(84) ok", "CPSignHash(2) ok", "CPVerifySignature(0) ok", "CPDestroyHash(0) ok"})
        EXPECT_EQ(provider.count(call), 1u) << call;
}

TEST_F(test_provider_test, TellsItsOwnName) {
    const TestProvider provider;
    const OpenKey open;
    std::array<char, 64> name{};
    DWORD size = name.size();
    ASSERT_TRUE(CryptGetProvParam(open.provider, PP_NAME, reinterpret_cast<BYTE*>(name.data()), &size, 0));
    EXPECT_STREQ(name.data(), kTestProviderName);
    EXPECT_EQ(size, sizeof kTestProviderName);
    size = 3;
    EXPECT_FALSE(CryptGetProvParam(open.provider, PP_NAME, reinterpret_cast<BYTE*>(name.data()), &size, 0));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MORE_DATA));
    EXPECT_EQ(size, sizeof kTestProviderName);
}

TEST_F(test_provider_test, KeepsTheCertificateOfAKey) {
    const TestProvider provider;
    const OpenKey open;
    EXPECT_TRUE(provider.certificateOf(kContainer).empty());
    // Only the element itself is kept, whatever follows it in memory.
    const Bytes shortForm = hex("30 03 02 01 05  FF FF");
    ASSERT_TRUE(capi().CryptSetKeyParam(open.key, KP_CERTIFICATE, shortForm.data(), 0));
    EXPECT_EQ(provider.certificateOf(kContainer), hex("30 03 02 01 05"));
    Bytes longForm(2 + 2 + 0x180);
    longForm[0] = 0x30;
    longForm[1] = 0x82;
    longForm[2] = 0x01;
    longForm[3] = 0x80;
    ASSERT_TRUE(capi().CryptSetKeyParam(open.key, KP_CERTIFICATE, longForm.data(), 0));
    EXPECT_EQ(provider.certificateOf(kContainer), longForm);
    EXPECT_EQ(provider.count("CPSetKeyParam(26) ok"), 2u);
}

TEST_F(test_provider_test, RefusesWhatIsNoCertificate) {
    const TestProvider provider;
    const OpenKey open;
    for (const char* text : {"31 03 02 01 05", "30 80 00 00", "30 84 00 00 00 01 00"}) {
        const Bytes bytes = hex(text);
        EXPECT_FALSE(capi().CryptSetKeyParam(open.key, KP_CERTIFICATE, bytes.data(), 0)) << text;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(NTE_BAD_DATA)) << text;
    }
    EXPECT_TRUE(provider.certificateOf(kContainer).empty());
}

TEST_F(test_provider_test, FailsWhatItIsToldTo) {
    TestProvider provider;
    const OpenKey open;
    provider.fail("CPGetUserKey", static_cast<DWORD>(NTE_NO_KEY), 1);
    provider.fail("CPSetKeyParam", static_cast<DWORD>(NTE_FAIL));
    HCRYPTKEY key = 0;
    ASSERT_TRUE(capi().CryptGetUserKey(open.provider, AT_SIGNATURE, &key));
    capi().CryptDestroyKey(key);
    EXPECT_FALSE(capi().CryptGetUserKey(open.provider, AT_SIGNATURE, &key));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(NTE_NO_KEY));
    const Bytes der = hex("30 00");
    EXPECT_FALSE(capi().CryptSetKeyParam(open.key, KP_CERTIFICATE, der.data(), 0));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(NTE_FAIL));
    EXPECT_EQ(provider.count("CPGetUserKey(2) failed 8009000D"), 1u);
    EXPECT_EQ(provider.count("CPSetKeyParam(26) failed 80090020"), 1u);
    provider.succeed();
    ASSERT_TRUE(capi().CryptGetUserKey(open.provider, AT_SIGNATURE, &key));
    capi().CryptDestroyKey(key);
}

TEST_F(test_provider_test, ForgetsItsCalls) {
    TestProvider provider;
    const OpenKey open;
    EXPECT_FALSE(provider.calls().empty());
    provider.forgetCalls();
    EXPECT_TRUE(provider.calls().empty());
}

}  // namespace
