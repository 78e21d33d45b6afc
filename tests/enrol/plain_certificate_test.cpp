#include "enrol/plain_certificate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "enrol/install_steps.h"
#include "tests/support/call_plan.h"
#include "tests/support/certificate.h"
#include "tests/support/der.h"
#include "tests/support/failing_heap.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/fake_store.h"
#include "tests/support/fake_system_api.h"
#include "tests/support/replace.h"
#include "tests/vectors/enrol_certificates.h"

namespace {

using der::join;
using der::tlv;
using enrol::BindCertificateToContainer;
using enrol::InstallFailure;
using enrol::InstallPlainCertificate;
using enrol::IsPlainCertificate;
using enrol::requirePlainCertificate;
using support::base64;
using support::Bytes;
using support::CallPlan;
using support::CertificateParts;
using support::FailingHeap;
using support::FakeCryptoApi;
using support::FakeStore;
using support::FakeSystemApi;
using support::forEachExhaustion;
using support::hex;
using support::makeCertificate;
using support::Replaced;

constexpr char kContainer[] = "01234567-89AB-cdef-FEDC-BA9876543210";
constexpr char kMicrosoft[] = "Microsoft Base Cryptographic Provider v1.0";
constexpr char kOther[] = "Example Token Provider";

std::int32_t shape(const Bytes& der) {
    const std::string text = base64(der);
    return IsPlainCertificate(text.data(), text.size());
}

// A sequence with the first element told, an algorithm and a signature: all that the test for the shape looks at.
Bytes certificateOf(const Bytes& tbs) {
    return tlv(0x30, join({tbs, hex("30 00"), hex("03 02 00 FF")}));
}

TEST(plain_certificate_test, CertificatesOfOpensslHaveTheShape) {
    for (const char* certificate : {vectors::kAuthority, vectors::kAlice, vectors::kAliceRenewed, vectors::kAliceTwin,
                                    vectors::kAliceLongSerial, vectors::kBob})
        EXPECT_EQ(shape(hex(certificate)), 0);
}

TEST(plain_certificate_test, ChainHasAnotherShape) {
    EXPECT_EQ(shape(hex(vectors::kAliceChain)), 8224);
    EXPECT_EQ(shape(hex(vectors::kSignedText)), 8224);
}

TEST(plain_certificate_test, CertificateWithoutAVersionPassesByTheAccidentOfItsSerial) {
    EXPECT_EQ(shape(hex(vectors::kAliceVersion1)), 8224);
    CertificateParts parts;
    parts.version = false;
    parts.serial = hex("02 01 05");  // reads as an integer of one byte
    EXPECT_EQ(shape(makeCertificate(parts)), 0);
    parts.serial = hex("02 05 05");
    EXPECT_EQ(shape(makeCertificate(parts)), 8224);
}

TEST(plain_certificate_test, VersionIsAnyIntegerOfUpToFourBytes) {
    EXPECT_EQ(shape(certificateOf(hex("30 05 A0 03 02 01 7F"))), 0);
    EXPECT_EQ(shape(certificateOf(hex("30 08 A0 06 02 04 FF FF FF FF"))), 0);
    EXPECT_EQ(shape(certificateOf(hex("30 04 A0 02 02 00"))), 0);
    EXPECT_EQ(shape(certificateOf(hex("30 09 A0 07 02 05 00 00 00 00 01"))), 8224);
    EXPECT_EQ(shape(certificateOf(hex("30 00"))), 8224) << "nothing inside";
    EXPECT_EQ(shape(certificateOf(hex("30 02 A0 00"))), 8224) << "no integer";
}

TEST(plain_certificate_test, TagsAreNotLookedAt) {
    EXPECT_EQ(shape(tlv(0x31, join({hex("04 05 30 03 0C 01 02"), hex("05 00"), hex("04 02 00 FF")}))), 0);
}

TEST(plain_certificate_test, BytesBehindTheCertificateAreLetPass) {
    EXPECT_EQ(shape(join({hex(vectors::kAlice), hex("00 01 02")})), 0);
}

TEST(plain_certificate_test, ThirdElementReadsAsABitString) {
    const Bytes tbs = hex("30 05 A0 03 02 01 02");
    EXPECT_EQ(shape(tlv(0x30, join({tbs, hex("30 00"), hex("03 02 08 FF")}))), 0);
    EXPECT_EQ(shape(tlv(0x30, join({tbs, hex("30 00"), hex("03 02 09 FF")}))), 8224);
    EXPECT_EQ(shape(tlv(0x30, join({tbs, hex("30 00"), hex("03 00")}))), 0);
    EXPECT_EQ(shape(tlv(0x30, join({tbs, hex("30 00")}))), 8224) << "two elements";
}

TEST(plain_certificate_test, TextIsBase64) {
    EXPECT_EQ(IsPlainCertificate("MAA", 3), 8223);
    EXPECT_EQ(IsPlainCertificate("", 0), 8224);
    EXPECT_EQ(IsPlainCertificate("====", 4), 8224);
    EXPECT_EQ(IsPlainCertificate("MAA=", 4), 8224);
    std::string text = base64(hex(vectors::kAlice));
    text.insert(10, " \t\r\n-*");
    EXPECT_EQ(IsPlainCertificate(text.data(), text.size()), 0);
}

TEST(plain_certificate_test, CutAtEveryByteItHasAnotherShape) {
    const Bytes der = hex(vectors::kAlice);
    for (std::size_t size = 0; size < der.size(); ++size)
        ASSERT_EQ(shape(Bytes(der.begin(), der.begin() + static_cast<std::ptrdiff_t>(size))), 8224) << size;
}

TEST(plain_certificate_test, MegabyteOfBase64HasAnotherShape) {
    EXPECT_EQ(IsPlainCertificate(std::string(1 << 20, 'A').data(), 1 << 20), 8224);
    EXPECT_EQ(IsPlainCertificate(std::string(1 << 20, 'M').data(), 1 << 20), 8224);
    EXPECT_EQ(IsPlainCertificate(std::string(1 << 20, '/').data(), 1 << 20), 8224);
    EXPECT_EQ(IsPlainCertificate(std::string(1 << 20, '\n').data(), 1 << 20), 8224);
}

TEST(plain_certificate_test, FailureCarriesItsMessage) {
    try {
        requirePlainCertificate("MAA=", 4);
        FAIL() << "accepted";
    } catch (const InstallFailure& failure) {
        EXPECT_EQ(failure.reason, 8224);
        // By python3: '解码失败'.encode('utf-8').hex()
        const std::string message = failure.message;
        EXPECT_EQ(Bytes(message.begin(), message.end()), hex("e8a7a3 e7a081 e5a4b1 e8b4a5"));
    }
}

TEST(plain_certificate_test, ExhaustedMemoryIsAReason) {
    const std::string text = base64(hex(vectors::kAlice));
    std::vector<std::int32_t> reasons;
    reasons.reserve(100);
    const long failures = forEachExhaustion([&] { reasons.push_back(IsPlainCertificate(text.data(), text.size())); });
    ASSERT_GT(failures, 3);
    EXPECT_EQ(reasons.front(), 8203);
    EXPECT_EQ(reasons.back(), 0);
    reasons.pop_back();
    for (const std::int32_t reason : reasons)
        EXPECT_TRUE(reason == 8203 || reason == 8224) << reason;
}

// The waiting key is Alice's, in a provider of either kind; "MY" is empty.
class plain_certificate_test_install : public testing::Test {
  protected:
    plain_certificate_test_install() {
        crypto_.providers = {{kMicrosoft, PROV_RSA_FULL}, {kOther, PROV_RSA_FULL}};
        reset();
    }

    // Puts everything back to the moment after the request.
    void reset() {
        store_.stores["MY"].clear();
        crypto_.containers.clear();
        for (const char* provider : {kMicrosoft, kOther})
            key(provider).publicBlob = hex(vectors::kAliceKey);
        system_.writeMarker(kContainer);
    }

    FakeCryptoApi::Key& key(const char* provider) { return crypto_.addKey(provider, kContainer, AT_SIGNATURE, 1024); }

    std::int32_t install(const char* provider, const Bytes& der, std::int32_t keySpec = AT_SIGNATURE) {
        const std::string text = base64(der);
        const std::int32_t code = InstallPlainCertificate(provider, text.data(), text.size(), keySpec);
        EXPECT_EQ(system_.marker(), "(none)") << "the marker is consumed";
        return code;
    }

    // The marker is gone in the end, unless it is the deletion itself that fails. Its path is the third and fourth
    // expansion; the reading takes the first two.
    static std::string markerAfter(int n, const std::string& failed) {
        const bool kept =
            (failed == "ExpandEnvironmentStringsA" && n > 2) || failed == "FindFirstFileA" || failed == "DeleteFileA";
        return kept ? kContainer : "(none)";
    }

    // The calls of CryptoAPI so far.
    static std::vector<std::string> cryptoCalls(const CallPlan& calls) {
        std::vector<std::string> names;
        std::copy_if(calls.log().begin(), calls.log().end(), std::back_inserter(names),
                     [](const std::string& name) { return name[0] == 'C' && name != "CoCreateGuid"; });
        return names;
    }

    FakeSystemApi system_;
    FakeCryptoApi crypto_;
    FakeStore store_;
};

TEST_F(plain_certificate_test_install, MicrosoftProviderGetsItThroughTheStore) {
    const CallPlan calls;
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kAlice)), 0);
    ASSERT_EQ(store_.ders("MY"), std::vector<Bytes>{hex(vectors::kAlice)});
    const auto& noted = store_.stores["MY"][0]->key;
    ASSERT_NE(noted, nullptr);
    EXPECT_EQ(noted->container, std::wstring(kContainer, kContainer + 36));
    EXPECT_EQ(noted->provider, L"Microsoft Base Cryptographic Provider v1.0");
    EXPECT_EQ(noted->type, PROV_RSA_FULL);
    EXPECT_EQ(noted->flags, 0U);
    EXPECT_EQ(noted->spec, AT_SIGNATURE);
    EXPECT_EQ(store_.closeFlags, std::vector<DWORD>{0});
    EXPECT_EQ(calls.openHandles(), "");
    EXPECT_EQ(cryptoCalls(calls),
              (std::vector<std::string>{"CryptAcquireContextW", "CryptExportPublicKeyInfo", "CryptExportPublicKeyInfo",
                                        "CertCreateCertificateContext", "CertComparePublicKeyInfo",
                                        "CertFreeCertificateContext", "CryptAcquireContextA", "CertOpenStore",
                                        "CertAddEncodedCertificateToStore", "CertSetCertificateContextProperty",
                                        "CertFreeCertificateContext", "CertCloseStore", "CryptReleaseContext"}))
        << "of the two provider contexts one is the store's to release";
}

TEST_F(plain_certificate_test_install, AnotherProviderGetsItOnTheKey) {
    const CallPlan calls;
    EXPECT_EQ(install(kOther, hex(vectors::kAlice)), 0);
    EXPECT_EQ(crypto_.containers.at({kOther, kContainer}).at(AT_SIGNATURE).certificate, hex(vectors::kAlice));
    EXPECT_TRUE(store_.ders("MY").empty());
    EXPECT_EQ(calls.openHandles(), "");
    EXPECT_EQ(cryptoCalls(calls),
              (std::vector<std::string>{"CryptAcquireContextW", "CryptExportPublicKeyInfo", "CryptExportPublicKeyInfo",
                                        "CertCreateCertificateContext", "CertComparePublicKeyInfo",
                                        "CertFreeCertificateContext", "CryptGetUserKey", "CryptSetKeyParam",
                                        "CryptDestroyKey", "CryptReleaseContext"}));
}

TEST_F(plain_certificate_test_install, NineCharactersOfTheNameDecideAndTheirCase) {
    const struct {
        const char* provider;
        bool throughStore;
    } kCases[] = {{"Microsoft", true},
                  {"Microsoftware", true},
                  {"Microsof", false},
                  {"microsoft", false},
                  {"microsoft Base Provider", false},
                  {"MICROSOFT", false},
                  {"My Microsoft", false}};
    for (const auto& one : kCases) {
        reset();
        crypto_.providers.push_back({one.provider, PROV_RSA_FULL});
        key(one.provider).publicBlob = hex(vectors::kAliceKey);
        EXPECT_EQ(install(one.provider, hex(vectors::kAlice)), 0) << one.provider;
        EXPECT_EQ(store_.ders("MY").size(), one.throughStore ? 1U : 0U) << one.provider;
        EXPECT_EQ(crypto_.containers.at({one.provider, kContainer}).at(AT_SIGNATURE).certificate.empty(),
                  one.throughStore)
            << one.provider;
    }
}

TEST_F(plain_certificate_test_install, CertificateOfAnotherKeyIsRefused) {
    for (const char* provider : {kMicrosoft, kOther}) {
        reset();
        const CallPlan calls;
        EXPECT_EQ(install(provider, hex(vectors::kBob)), 22068125);
        EXPECT_TRUE(store_.ders("MY").empty());
        EXPECT_TRUE(crypto_.containers.at({provider, kContainer}).at(AT_SIGNATURE).certificate.empty());
        EXPECT_EQ(crypto_.containers.count({provider, kContainer}), 1U) << "the key stays";
        EXPECT_EQ(calls.openHandles(), "");
    }
}

TEST_F(plain_certificate_test_install, SecondInstallationFindsNoMarker) {
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kAlice)), 0);
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kAlice)), 22038309);
}

TEST_F(plain_certificate_test_install, EmptyArgumentsConsumeTheMarker) {
    EXPECT_EQ(InstallPlainCertificate("", "AAAA", 4, AT_SIGNATURE), 22068201);
    EXPECT_EQ(system_.marker(), "(none)");
    reset();
    EXPECT_EQ(InstallPlainCertificate(kMicrosoft, "AAAA", 0, AT_SIGNATURE), 22068204);
    EXPECT_EQ(system_.marker(), "(none)");
}

TEST_F(plain_certificate_test_install, ComparisonIsSkippedWhereTheKeyCannotBeExported) {
    for (const char* provider : {kMicrosoft, kOther}) {
        for (int occurrence = 1; occurrence <= 2; ++occurrence) {
            reset();
            CallPlan calls;
            calls.failCall("CryptExportPublicKeyInfo", occurrence);
            EXPECT_EQ(install(provider, hex(vectors::kBob)), 0) << provider << occurrence;
            EXPECT_EQ(calls.count("CertComparePublicKeyInfo"), 0);
            EXPECT_EQ(calls.openHandles(), "");
        }
    }
}

TEST_F(plain_certificate_test_install, ComparisonIsSkippedForAnEmptyExport) {
    for (const DWORD secondSize : {0U, 500U}) {
        reset();
        const Replaced<&platform::CryptoApi::CryptExportPublicKeyInfo> empty(
            [secondSize](HCRYPTPROV, DWORD, DWORD, PCERT_PUBLIC_KEY_INFO info, DWORD* size) {
                *size = info == nullptr ? 500 - secondSize : 0;
                return TRUE;
            });
        EXPECT_EQ(install(kMicrosoft, hex(vectors::kBob)), 0);
    }
}

TEST_F(plain_certificate_test_install, SignatureKeyIsComparedWhateverTheKeySpecification) {
    const Replaced<&platform::CryptoApi::CryptExportPublicKeyInfo> watched(
        [&](HCRYPTPROV prov, DWORD spec, DWORD encoding, PCERT_PUBLIC_KEY_INFO info, DWORD* size) {
            EXPECT_EQ(spec, AT_SIGNATURE);
            EXPECT_EQ(encoding, 0x10001U);
            return watched.original(prov, spec, encoding, info, size);
        });
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kBob), AT_KEYEXCHANGE), 22068125);
    reset();
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kAlice), AT_KEYEXCHANGE), 0);
    EXPECT_EQ(store_.stores["MY"][0]->key->spec, AT_KEYEXCHANGE);
}

TEST_F(plain_certificate_test_install, SignatureKeyTakesTheCertificateWhateverTheKeySpecification) {
    crypto_.addKey(kOther, kContainer, AT_KEYEXCHANGE, 1024);
    EXPECT_EQ(install(kOther, hex(vectors::kAlice), AT_KEYEXCHANGE), 0);
    EXPECT_EQ(crypto_.containers.at({kOther, kContainer}).at(AT_SIGNATURE).certificate, hex(vectors::kAlice));
    EXPECT_TRUE(crypto_.containers.at({kOther, kContainer}).at(AT_KEYEXCHANGE).certificate.empty());
}

TEST_F(plain_certificate_test_install, ExchangeKeyAloneIsNotFoundOnTheKeyPath) {
    crypto_.containers[{kOther, kContainer}].clear();
    crypto_.addKey(kOther, kContainer, AT_KEYEXCHANGE, 1024);
    EXPECT_EQ(install(kOther, hex(vectors::kAlice), AT_KEYEXCHANGE), 22068105);
}

TEST_F(plain_certificate_test_install, KeySpecificationIsNotedAsItStands) {
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kAlice), -1), 0);
    EXPECT_EQ(store_.stores["MY"][0]->key->spec, 0xFFFFFFFFU);
}

TEST_F(plain_certificate_test_install, ContainerThatDoesNotOpen) {
    for (const char* provider : {kMicrosoft, kOther}) {
        reset();
        crypto_.containers.clear();
        const CallPlan calls;
        EXPECT_EQ(install(provider, hex(vectors::kAlice)), 22068103);
        EXPECT_EQ(calls.openHandles(), "");
    }
}

TEST_F(plain_certificate_test_install, MicrosoftContainerIsOpenedAgainByItsAnsiName) {
    CallPlan calls;
    calls.failCall("CryptAcquireContextW");
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kBob)), 0) << "without the first context nothing is compared";
    EXPECT_EQ(calls.count("CryptExportPublicKeyInfo"), 0);
}

TEST_F(plain_certificate_test_install, ReplacesTheCertificateOfThatIssuerAndSerial) {
    store_.add("MY", hex(vectors::kAlice), false);
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kAlice)), 0);
    ASSERT_EQ(store_.ders("MY").size(), 1U);
    EXPECT_NE(store_.stores["MY"][0]->key, nullptr);
}

TEST_F(plain_certificate_test_install, UnreadableCertificateIsNotComparedAndTheStoreRefusesIt) {
    const Bytes shaped = certificateOf(hex("30 05 A0 03 02 01 02"));
    ASSERT_EQ(shape(shaped), 0);
    const CallPlan calls;
    EXPECT_EQ(install(kMicrosoft, shaped), 22068110);
    EXPECT_EQ(calls.count("CertComparePublicKeyInfo"), 0);
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(plain_certificate_test_install, CertificateLongerThanItsBytesIsNotGivenToAKey) {
    Bytes shaped = join({hex("30 84 7F FF FF FF"), hex("30 05 A0 03 02 01 02"), hex("30 00"), hex("03 02 00 FF")});
    ASSERT_EQ(shape(shaped), 0) << "the outer length is not looked at";
    const CallPlan calls;
    EXPECT_EQ(install(kOther, shaped), 22068118);
    EXPECT_EQ(calls.count("CryptSetKeyParam"), 0);
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(plain_certificate_test_install, KeyInformationThatIsRefusedDoesNotCount) {
    CallPlan calls;
    calls.failCall("CertSetCertificateContextProperty");
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kAlice)), 0);
    EXPECT_EQ(store_.ders("MY").size(), 1U);
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(plain_certificate_test_install, NamesAreConvertedByTheirCodePages) {
    std::vector<UINT> codePages;
    const Replaced<&platform::SystemApi::MultiByteToWideChar> convert(
        [&](UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR wide, int capacity) {
            if (wide != nullptr)
                codePages.push_back(codePage);
            return convert.original(codePage, flags, text, length, wide, capacity);
        });
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kAlice)), 0);
    // Container and provider for the context, and again for the key information.
    EXPECT_EQ(codePages, (std::vector<UINT>{CP_ACP, CP_ACP, CP_THREAD_ACP, CP_THREAD_ACP}));
}

TEST_F(plain_certificate_test_install, NameThatCannotBeConvertedIsAnException) {
    for (const int occurrence : {1, 3, 5, 7}) {
        reset();
        CallPlan calls;
        calls.failCall("MultiByteToWideChar", occurrence);
        EXPECT_EQ(install(kMicrosoft, hex(vectors::kAlice)), 22068311) << occurrence;
        EXPECT_EQ(store_.ders("MY").size(), occurrence < 5 ? 0U : 1U) << "what was added stays";
        EXPECT_EQ(calls.openHandles(), "");
    }
}

TEST_F(plain_certificate_test_install, EachFailureOfTheStorePathHasItsCode) {
    for (int n = 1;; ++n) {
        reset();
        CallPlan calls;
        calls.failCall(n);
        const std::string text = base64(hex(vectors::kAlice));
        const std::int32_t code = InstallPlainCertificate(kMicrosoft, text.data(), text.size(), AT_SIGNATURE);
        const std::string failed = calls.failed().substr(0, calls.failed().find(' '));
        EXPECT_EQ(calls.openHandles(), "") << calls.failed();
        EXPECT_EQ(system_.marker(), markerAfter(n, failed)) << calls.failed();
        if (failed.empty()) {
            EXPECT_EQ(code, 0);
            break;
        }
        std::int32_t expected = 0;
        if (failed == "ExpandEnvironmentStringsA")
            expected = n <= 2 ? 22038309 : 0;
        else if (failed == "MultiByteToWideChar")
            expected = 22068311;
        else if (failed == "CryptAcquireContextA")
            expected = 22068103;
        else if (failed == "CertOpenStore")
            expected = 22068101;
        else if (failed == "CertAddEncodedCertificateToStore")
            expected = 22068110;
        else if (failed == "CertComparePublicKeyInfo")
            expected = 22068125;
        EXPECT_EQ(code, expected) << calls.failed();
        ASSERT_LT(n, 100);
    }
}

TEST_F(plain_certificate_test_install, EachFailureOfTheKeyPathHasItsCode) {
    for (int n = 1;; ++n) {
        reset();
        CallPlan calls;
        calls.failCall(n);
        const std::string text = base64(hex(vectors::kAlice));
        const std::int32_t code = InstallPlainCertificate(kOther, text.data(), text.size(), AT_SIGNATURE);
        const std::string failed = calls.failed().substr(0, calls.failed().find(' '));
        EXPECT_EQ(calls.openHandles(), "") << calls.failed();
        EXPECT_EQ(system_.marker(), markerAfter(n, failed)) << calls.failed();
        if (failed.empty()) {
            EXPECT_EQ(code, 0);
            break;
        }
        std::int32_t expected = 0;
        if (failed == "ExpandEnvironmentStringsA")
            expected = n <= 2 ? 22038309 : 0;
        else if (failed == "MultiByteToWideChar")
            expected = 22068311;
        else if (failed == "CryptAcquireContextW")
            expected = 22068103;
        else if (failed == "CryptGetUserKey")
            expected = 22068105;
        else if (failed == "CryptSetKeyParam")
            expected = 22068118;
        else if (failed == "CertComparePublicKeyInfo")
            expected = 22068125;
        EXPECT_EQ(code, expected) << calls.failed();
        ASSERT_LT(n, 100);
    }
}

TEST_F(plain_certificate_test_install, ExhaustedMemoryIsAnException) {
    const std::string text = base64(hex(vectors::kAlice));
    for (const char* provider : {kMicrosoft, kOther}) {
        for (long n = 1;; ++n) {
            reset();
            std::int32_t code = 0;
            bool failed = false;
            {
                const FailingHeap heap(n);
                code = InstallPlainCertificate(provider, text.data(), text.size(), AT_SIGNATURE);
                failed = heap.failed();
            }
            if (!failed) {
                EXPECT_EQ(code, 0);
                EXPECT_GT(n, 5);
                break;
            }
            // A platform that runs out of memory refuses the call.
            EXPECT_TRUE(code == 22068311 || code == 22068110 || code == 22068118 || code == 0) << n << ": " << code;
            EXPECT_TRUE(store_.open.empty());
        }
    }
}

TEST_F(plain_certificate_test_install, BindingRefusesNothingAtAll) {
    const Bytes der = hex(vectors::kAlice);
    const CallPlan calls;
    EXPECT_EQ(BindCertificateToContainer(nullptr, 10, kContainer, kMicrosoft, 2), 8215);
    EXPECT_EQ(BindCertificateToContainer(der.data(), 0, kContainer, kMicrosoft, 2), 8215);
    EXPECT_EQ(BindCertificateToContainer(der.data(), der.size(), nullptr, kMicrosoft, 2), 8215);
    EXPECT_EQ(BindCertificateToContainer(der.data(), der.size(), "", kMicrosoft, 2), 8215);
    EXPECT_TRUE(calls.log().empty());
}

TEST_F(plain_certificate_test_install, MarkerWithoutANameHasNoContainerToBind) {
    system_.writeMarker(std::string(1, '\0'));
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kAlice)), 22068215);
}

TEST_F(plain_certificate_test_install, BindingGivesBareReasons) {
    const Bytes der = hex(vectors::kAlice);
    const auto bind = [&](const char* failing) {
        CallPlan calls;
        calls.failCall(failing);
        const std::int32_t reason = BindCertificateToContainer(der.data(), der.size(), kContainer, kMicrosoft, 2);
        EXPECT_EQ(calls.openHandles(), "") << failing;
        return reason;
    };
    EXPECT_EQ(bind("CryptAcquireContextA"), 8103);
    EXPECT_EQ(bind("CertOpenStore"), 8101);
    EXPECT_EQ(bind("CertAddEncodedCertificateToStore"), 8110);
    EXPECT_EQ(bind("CertSetCertificateContextProperty"), 0);
}

}  // namespace
