#include "enrol/signed_data.h"

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
#include "tests/vectors/enrol_certificates.h"

namespace {

using der::join;
using der::tlv;
using enrol::InstallFailure;
using enrol::InstallSignedCertificate;
using enrol::IsSignedData;
using enrol::requireSignedData;
using support::base64;
using support::Bytes;
using support::CallPlan;
using support::CertificateParts;
using support::certificatesOnly;
using support::FailingHeap;
using support::FakeCryptoApi;
using support::FakeStore;
using support::FakeSystemApi;
using support::forEachExhaustion;
using support::hex;
using support::makeCertificate;

constexpr char kWaiting[] = "the waiting container";
constexpr char kMicrosoft[] = "Microsoft Base Cryptographic Provider v1.0";
constexpr char kOther[] = "Example Token Provider";
constexpr char kSignedDataType[] = "06 09 2A 86 48 86 F7 0D 01 07 02";

std::int32_t shape(const Bytes& der) {
    const std::string text = base64(der);
    return IsSignedData(text.data(), text.size());
}

// A ContentInfo with a content of so many elements.
Bytes contentInfo(const Bytes& type, int elements) {
    Bytes content;
    for (int i = 0; i < elements; ++i)
        content = join({content, hex("02 01 01")});
    return tlv(0x30, join({type, tlv(0xA0, tlv(0x30, content))}));
}

TEST(signed_data_test, MessagesOfOpensslHaveTheShape) {
    EXPECT_EQ(shape(hex(vectors::kAliceChain)), 0);
    EXPECT_EQ(shape(hex(vectors::kSignedText)), 0);
}

TEST(signed_data_test, CertificateHasAnotherShape) {
    EXPECT_EQ(shape(hex(vectors::kAlice)), 8224);
}

TEST(signed_data_test, FiveElementsAreNeededAndASixthIsLetPass) {
    EXPECT_EQ(shape(contentInfo(hex(kSignedDataType), 4)), 8224);
    EXPECT_EQ(shape(contentInfo(hex(kSignedDataType), 5)), 0);
    EXPECT_EQ(shape(contentInfo(hex(kSignedDataType), 6)), 0);
    EXPECT_EQ(shape(contentInfo(hex(kSignedDataType), 0)), 8224);
}

TEST(signed_data_test, OtherTypesAreRefused) {
    // data, envelopedData, one arc more, one arc less, another registration authority
    for (const char* type :
         {"06 09 2A 86 48 86 F7 0D 01 07 01", "06 09 2A 86 48 86 F7 0D 01 07 03", "06 0A 2A 86 48 86 F7 0D 01 07 02 00",
          "06 08 2A 86 48 86 F7 0D 01 07", "06 09 2B 86 48 86 F7 0D 01 07 02", "06 01 2A"})
        EXPECT_EQ(shape(contentInfo(hex(type), 5)), 8204) << type;
}

TEST(signed_data_test, TypeThatDoesNotReadIsABadEncoding) {
    EXPECT_EQ(shape(contentInfo(hex("06 00"), 5)), 8224);
    EXPECT_EQ(shape(contentInfo(hex("06 01 78"), 5)), 8224) << "no such first arc";
    EXPECT_EQ(shape(contentInfo(hex("06 02 2A 86"), 5)), 8224) << "an arc that does not end";
}

TEST(signed_data_test, MessageOfAnotherTypeIsRefused) {
    EXPECT_NE(shape(hex(vectors::kPlainText)), 0);
}

TEST(signed_data_test, TextIsBase64) {
    EXPECT_EQ(IsSignedData("MAA", 3), 8223);
    EXPECT_EQ(IsSignedData("", 0), 8224);
    EXPECT_EQ(IsSignedData("====", 4), 8224);
}

TEST(signed_data_test, CutAtEveryByteItHasAnotherShape) {
    const Bytes der = hex(vectors::kAliceChain);
    for (std::size_t size = 0; size < der.size(); ++size)
        ASSERT_EQ(shape(Bytes(der.begin(), der.begin() + static_cast<std::ptrdiff_t>(size))), 8224) << size;
}

TEST(signed_data_test, MegabyteOfBase64HasAnotherShape) {
    EXPECT_EQ(IsSignedData(std::string(1 << 20, 'A').data(), 1 << 20), 8224);
    EXPECT_EQ(IsSignedData(std::string(1 << 20, 'M').data(), 1 << 20), 8224);
}

TEST(signed_data_test, WrongTypeCarriesItsMessage) {
    const std::string text = base64(contentInfo(hex("06 01 2A"), 5));
    try {
        requireSignedData(text.data(), text.size());
        FAIL() << "accepted";
    } catch (const InstallFailure& failure) {
        EXPECT_EQ(failure.reason, 8204);
        // By python3: '非P7签名数据'.encode('utf-8').hex()
        const std::string message = failure.message;
        EXPECT_EQ(Bytes(message.begin(), message.end()), hex("e99d9e 5037 e7adbe e5908d e695b0 e68dae"));
    }
}

TEST(signed_data_test, ExhaustedMemoryIsAReason) {
    const std::string text = base64(hex(vectors::kAliceChain));
    std::vector<std::int32_t> reasons;
    reasons.reserve(100);
    const long failures = forEachExhaustion([&] { reasons.push_back(IsSignedData(text.data(), text.size())); });
    ASSERT_GT(failures, 3);
    EXPECT_EQ(reasons.front(), 8203);
    EXPECT_EQ(reasons.back(), 0);
    reasons.pop_back();
    for (const std::int32_t reason : reasons)
        EXPECT_TRUE(reason == 8203 || reason == 8224) << reason;
}

class signed_data_test_install : public testing::Test {
  protected:
    signed_data_test_install() {
        crypto_.providers = {{kMicrosoft, PROV_RSA_FULL}, {kOther, PROV_RSA_FULL}};
        reset();
    }

    // Puts everything back to the moment after a request with an exportable key.
    void reset() {
        store_.stores = {};
        for (const char* name : {"MY", "ROOT", "CA"})
            store_.stores[name];
        crypto_.containers.clear();
        for (const char* provider : {kMicrosoft, kOther})
            waitingKey(provider);
        system_.writeMarker(kWaiting);
    }

    FakeCryptoApi::Key& waitingKey(const char* provider) {
        FakeCryptoApi::Key& key = crypto_.addKey(provider, kWaiting, AT_SIGNATURE, 1024);
        key.publicBlob = hex(vectors::kAliceKey);
        key.publicBlob[5] = 0x24;  // openssl writes key exchange; a signature key says CALG_RSA_SIGN
        return key;
    }

    std::int32_t install(const char* provider, const Bytes& message, DWORD flags = 3) {
        const std::string text = base64(message);
        const std::int32_t code = InstallSignedCertificate(provider, text.data(), text.size(), AT_SIGNATURE, flags);
        EXPECT_EQ(system_.marker(), "(none)") << "the marker is consumed";
        return code;
    }
    std::int32_t installFailing(const char* provider, const char* entry, int occurrence = 1) {
        reset();
        CallPlan calls;
        calls.failCall(entry, occurrence);
        const std::int32_t code = install(provider, hex(vectors::kIssuedChain));
        EXPECT_NE(calls.failed(), "") << entry;
        EXPECT_EQ(calls.openHandles(), "") << entry;
        return code;
    }

    // The container that the key was moved to; empty when it was not.
    std::string movedTo(const char* provider) const {
        for (const auto& container : crypto_.containers) {
            if (container.first.first == provider && container.first.second != kWaiting)
                return container.first.second;
        }
        return "";
    }

    void expectAuthorities() const {
        EXPECT_EQ(store_.ders("ROOT"), std::vector<Bytes>{hex(vectors::kAuthority)});
        EXPECT_EQ(store_.ders("CA"), std::vector<Bytes>{hex(vectors::kIssuing)});
    }
    void expectNothingStored() const {
        for (const char* name : {"MY", "ROOT", "CA"})
            EXPECT_TRUE(store_.ders(name).empty()) << name;
        EXPECT_EQ(movedTo(kMicrosoft), "");
    }

    // Fails each call in turn; codeOf says what the failing of an entry gives.
    template <class CodeOf>
    void failEach(const char* provider, CodeOf codeOf) {
        const std::string text = base64(hex(vectors::kIssuedChain));
        for (int n = 1;; ++n) {
            reset();
            CallPlan calls;
            calls.failCall(n);
            const std::int32_t code = InstallSignedCertificate(provider, text.data(), text.size(), AT_SIGNATURE, 0);
            EXPECT_EQ(calls.openHandles(), "") << calls.failed();
            if (calls.failed().empty()) {
                EXPECT_EQ(code, 0);
                EXPECT_GT(n, 50);
                break;
            }
            const std::string entry = calls.failed().substr(0, calls.failed().find(' '));
            const int occurrence = std::stoi(calls.failed().substr(calls.failed().find(' ')));
            EXPECT_EQ(code, codeOf(entry, occurrence)) << calls.failed();
            ASSERT_LT(n, 300);
        }
    }

    FakeSystemApi system_;
    FakeCryptoApi crypto_;
    FakeStore store_;
};

// Contexts are made of the leaf for the comparison with the key; before that of each certificate to find the leaf; and
// in the end of each certificate to order them, and of the two that are stored.
std::int32_t codeOfContext(int occurrence) {
    if (occurrence <= 3)
        return 22068017;
    return occurrence == 4 ? 0 : 22068207;
}

// Four calls for the names of each certificate: twelve to find the leaf, then those of the leaf, of the root and of the
// intermediate to order them. Neither the leaf's own name nor the intermediate's issuer decides about a slot.
std::int32_t codeOfName(int occurrence) {
    if (occurrence <= 12)
        return 22068017;
    const bool isNeeded = occurrence != 13 && occurrence != 14 && occurrence != 23 && occurrence != 24;
    return isNeeded ? 22068207 : 0;
}

// What either path makes of a failing call, apart from those on its own way.
std::int32_t codeOfCommonCall(const std::string& entry, int occurrence) {
    if (entry == "ExpandEnvironmentStringsA")
        return occurrence <= 2 ? 22038309 : 0;
    if (entry == "MultiByteToWideChar" || entry == "CoCreateGuid")
        return 22068311;
    if (entry == "CertCreateCertificateContext")
        return codeOfContext(occurrence);
    if (entry == "CertNameToStrW")
        return codeOfName(occurrence);
    // A context without names has the same for subject and issuer, as the second certificate, the root, has anyway.
    if (entry == "CertDuplicateCertificateContext")
        return occurrence == 2 ? 0 : 22068207;
    if (entry == "CertOpenSystemStoreA" || entry == "CertAddCertificateContextToStore")
        return 22068207;
    return entry == "CertComparePublicKeyInfo" ? 22068125 : 0;
}

TEST_F(signed_data_test_install, MarkerIsTakenFirst) {
    EXPECT_EQ(InstallSignedCertificate("", "AAAA", 4, 2, 3), 22068201);
    EXPECT_EQ(system_.marker(), "(none)");
    EXPECT_EQ(InstallSignedCertificate(kMicrosoft, "AAAA", 4, 2, 3), 22038309);
    system_.writeMarker(kWaiting);
    EXPECT_EQ(InstallSignedCertificate(kMicrosoft, "AAAA", 0, 2, 3), 22068204);
    EXPECT_EQ(system_.marker(), "(none)");
}

TEST_F(signed_data_test_install, LeafGoesToTheMovedKeyAndTheChainToItsStores) {
    for (const DWORD flags : {3U, 0U}) {
        reset();
        const CallPlan calls;
        EXPECT_EQ(install(kMicrosoft, hex(vectors::kIssuedChain), flags), 0);
        EXPECT_EQ(calls.openHandles(), "");
        const std::string name = movedTo(kMicrosoft);
        ASSERT_EQ(name.size(), 36U);
        EXPECT_EQ(crypto_.containers.at({kMicrosoft, name}).at(AT_SIGNATURE).flags, flags);
        EXPECT_EQ(crypto_.containers.count({kMicrosoft, kWaiting}), 1U) << "the waiting key stays";
        EXPECT_EQ(store_.ders("MY"), std::vector<Bytes>{hex(vectors::kAliceIssued)});
        EXPECT_EQ(store_.stores["MY"][0]->key->container, std::wstring(name.begin(), name.end()));
        expectAuthorities();
        EXPECT_EQ(store_.stores["ROOT"][0]->key, nullptr);
    }
}

TEST_F(signed_data_test_install, AnyOrderOfTheMessageWillDo) {
    std::vector<Bytes> chain = {hex(vectors::kAuthority), hex(vectors::kIssuing), hex(vectors::kAliceIssued)};
    std::sort(chain.begin(), chain.end());
    do {
        for (const char* provider : {kMicrosoft, kOther}) {
            reset();
            EXPECT_EQ(install(provider, certificatesOnly(chain)), 0);
            expectAuthorities();
        }
    } while (std::next_permutation(chain.begin(), chain.end()));
}

TEST_F(signed_data_test_install, RootAndLeafAloneAreAChain) {
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kAliceChain)), 0);
    EXPECT_EQ(store_.ders("MY"), std::vector<Bytes>{hex(vectors::kAlice)});
    EXPECT_EQ(store_.ders("ROOT"), std::vector<Bytes>{hex(vectors::kAuthority)});
    EXPECT_TRUE(store_.ders("CA").empty());
}

TEST_F(signed_data_test_install, AnotherProviderGetsTheLeafOnTheKey) {
    waitingKey(kOther).flags = 0;  // the key does not move, so it need not be exportable
    const CallPlan calls;
    EXPECT_EQ(install(kOther, hex(vectors::kIssuedChain)), 0);
    EXPECT_EQ(calls.openHandles(), "");
    EXPECT_EQ(calls.count("CryptExportKey"), 0);
    EXPECT_EQ(calls.count("CryptImportKey"), 0);
    EXPECT_EQ(crypto_.containers.at({kOther, kWaiting}).at(AT_SIGNATURE).certificate, hex(vectors::kAliceIssued));
    EXPECT_EQ(movedTo(kOther), "");
    EXPECT_TRUE(store_.ders("MY").empty());
    expectAuthorities();
}

TEST_F(signed_data_test_install, KeyThatMayNotLeaveIsNotInstalled) {
    waitingKey(kMicrosoft).flags = 0;
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kIssuedChain)), 22068106);
    expectNothingStored();
}

TEST_F(signed_data_test_install, CertificateAloneIsBoundBeforeItIsNoChain) {
    for (const char* provider : {kMicrosoft, kOther}) {
        reset();
        EXPECT_EQ(install(provider, certificatesOnly({hex(vectors::kAliceIssued)})), 22068207);
        EXPECT_TRUE(store_.ders("ROOT").empty());
    }
    EXPECT_EQ(crypto_.containers.at({kOther, kWaiting}).at(AT_SIGNATURE).certificate, hex(vectors::kAliceIssued));
    reset();
    EXPECT_EQ(install(kMicrosoft, certificatesOnly({hex(vectors::kAliceIssued)})), 22068207);
    EXPECT_EQ(store_.ders("MY"), std::vector<Bytes>{hex(vectors::kAliceIssued)});
    EXPECT_NE(movedTo(kMicrosoft), "");
}

TEST_F(signed_data_test_install, BrokenChainsAreBoundAndPartlyStored) {
    const Bytes root = hex(vectors::kAuthority);
    const Bytes leaf = hex(vectors::kAliceIssued);
    const Bytes other = makeCertificate({"CN=Other Root", "CN=Other Root"});
    // Two roots; a root that issued nothing here beside a missing one; two leaves; a link that is missing.
    for (const Bytes& message :
         {certificatesOnly({leaf, root, hex(vectors::kIssuing), other}),
          certificatesOnly({leaf, hex(vectors::kIssuing)}), certificatesOnly({leaf, hex(vectors::kAlice), root}),
          certificatesOnly({leaf, root, hex(vectors::kAlice), hex(vectors::kIssuing)})}) {
        reset();
        EXPECT_EQ(install(kMicrosoft, message), 22068207);
        EXPECT_EQ(store_.ders("MY"), std::vector<Bytes>{leaf});
    }
}

TEST_F(signed_data_test_install, RefusalByAStoreComesAfterTheInstallation) {
    for (const int refused : {1, 2}) {
        EXPECT_EQ(installFailing(kMicrosoft, "CertAddCertificateContextToStore", refused), 22068207);
        EXPECT_EQ(store_.ders("MY"), std::vector<Bytes>{hex(vectors::kAliceIssued)});
        EXPECT_NE(store_.stores["MY"][0]->key, nullptr);
        EXPECT_EQ(store_.ders("ROOT").size(), refused == 1 ? 0U : 1U) << "what was added stays";
        EXPECT_TRUE(store_.ders("CA").empty());
    }
}

TEST_F(signed_data_test_install, MessagesWithoutALeaf) {
    CertificateParts large;
    large.subject = "CN=" + std::string(10240, 'x');
    const Bytes ring = certificatesOnly({makeCertificate({"CN=A", "CN=B"}), makeCertificate({"CN=B", "CN=A"})});
    for (const Bytes& message : {hex(vectors::kSignedChain), certificatesOnly({}), ring, hex(vectors::kAlice),
                                 hex("00"), certificatesOnly({makeCertificate(large)})}) {
        for (const char* provider : {kMicrosoft, kOther}) {
            reset();
            EXPECT_EQ(install(provider, message), 22068017);
            expectNothingStored();
        }
    }
}

TEST_F(signed_data_test_install, ChainOfAnotherKeyIsRefused) {
    for (const char* provider : {kMicrosoft, kOther}) {
        reset();
        EXPECT_EQ(install(provider, certificatesOnly({hex(vectors::kBob), hex(vectors::kAuthority)})), 22068125);
        expectNothingStored();
    }
}

TEST_F(signed_data_test_install, MissingContainerAndMissingKey) {
    for (const char* provider : {kMicrosoft, kOther}) {
        reset();
        crypto_.containers.at({provider, kWaiting}).clear();
        EXPECT_EQ(install(provider, hex(vectors::kIssuedChain)), 22068105);
        system_.writeMarker(kWaiting);
        crypto_.containers.clear();
        EXPECT_EQ(install(provider, hex(vectors::kIssuedChain)), 22068103);
        expectNothingStored();
    }
    reset();
    system_.writeMarker(std::string(1, '\0'));
    EXPECT_EQ(install(kMicrosoft, hex(vectors::kIssuedChain)), 22068215) << "a marker that names no container";
}

TEST_F(signed_data_test_install, EachStepOfTheMoveHasItsCode) {
    EXPECT_EQ(installFailing(kMicrosoft, "CryptAcquireContextA"), 22068103);
    EXPECT_EQ(installFailing(kMicrosoft, "CryptGetUserKey"), 22068105);
    EXPECT_EQ(installFailing(kMicrosoft, "CryptExportKey", 1), 22068106);
    EXPECT_EQ(installFailing(kMicrosoft, "CryptExportKey", 2), 22068108);
    EXPECT_EQ(installFailing(kMicrosoft, "CryptImportKey"), 22068117);
    EXPECT_EQ(installFailing(kMicrosoft, "CertOpenStore"), 22068101);
    EXPECT_EQ(installFailing(kMicrosoft, "CertAddEncodedCertificateToStore"), 22068110);
    EXPECT_EQ(installFailing(kMicrosoft, "CoCreateGuid"), 22068311);
    EXPECT_TRUE(store_.ders("ROOT").empty()) << "the chain comes last";
    EXPECT_EQ(installFailing(kMicrosoft, "CryptAcquireContextA", 2), 0) << "another name is tried";
}

TEST_F(signed_data_test_install, EachFailureOfTheStorePathHasItsCode) {
    failEach(kMicrosoft, [](const std::string& entry, int occurrence) {
        if (entry == "CryptAcquireContextA")
            return occurrence == 1 ? 22068103 : 0;
        if (entry == "CryptGetUserKey")
            return 22068105;
        if (entry == "CryptExportKey")
            return occurrence == 1 ? 22068106 : 22068108;
        if (entry == "CryptImportKey")
            return 22068117;
        if (entry == "CertOpenStore")
            return 22068101;
        if (entry == "CertAddEncodedCertificateToStore")
            return 22068110;
        return codeOfCommonCall(entry, occurrence);
    });
}

TEST_F(signed_data_test_install, EachFailureOfTheKeyPathHasItsCode) {
    failEach(kOther, [](const std::string& entry, int occurrence) {
        if (entry == "CryptAcquireContextW")
            return 22068103;
        if (entry == "CryptGetUserKey")
            return 22068105;
        if (entry == "CryptSetKeyParam")
            return 22068118;
        return codeOfCommonCall(entry, occurrence);
    });
}

TEST_F(signed_data_test_install, ExhaustedMemoryLeavesNothingOpen) {
    const std::string text = base64(hex(vectors::kAliceChain));
    for (long n = 1;; ++n) {
        reset();
        std::int32_t code = 0;
        bool failed = false;
        {
            const FailingHeap heap(n);
            code = InstallSignedCertificate(kMicrosoft, text.data(), text.size(), AT_SIGNATURE, 3);
            failed = heap.failed();
        }
        EXPECT_TRUE(store_.open.empty());
        if (!failed) {
            EXPECT_EQ(code, 0);
            EXPECT_GT(n, 100);
            break;
        }
        // A platform that runs out of memory refuses the call.
        static constexpr std::int32_t kCodes[] = {22068311, 22068017, 22068207, 22068110, 0};
        EXPECT_NE(std::find(std::begin(kCodes), std::end(kCodes), code), std::end(kCodes)) << n << ": " << code;
    }
}

}  // namespace
