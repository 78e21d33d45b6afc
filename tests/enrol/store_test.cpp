#include "enrol/store.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "enrol/codes.h"
#include "tests/support/call_plan.h"
#include "tests/support/certificate.h"
#include "tests/support/failing_heap.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/fake_store.h"
#include "tests/support/fake_system_api.h"
#include "tests/support/replace.h"

namespace {

using enrol::CertificateExists;
using enrol::CheckCertificateInWindowsStores;
using enrol::DeleteCertificate;
using enrol::PruneCertificates;
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

constexpr char kQueryProvider[] = "Microsoft Enhanced Cryptographic Provider v1.0";
constexpr char kIssuer[] = "CN=Test CA,O=Example";
constexpr char kSubject[] = "CN=Alice,O=Example";
constexpr bool kWithKey = true;
constexpr bool kWithoutKey = false;

class store_test : public testing::Test {
  protected:
    store_test() { crypto_.providers.push_back({kQueryProvider, PROV_RSA_FULL}); }

    FakeStore::Element& add(const Bytes& serial, bool withKey, const std::string& notBefore = "20141021103000Z") {
        CertificateParts parts;
        parts.serial = serial;
        parts.notBefore = notBefore;
        return store_.add("MY", makeCertificate(parts), withKey);
    }

    // What is in "MY", as serial numbers most significant byte first.
    std::vector<std::string> left() const {
        std::vector<std::string> serials;
        for (const auto& element : store_.stores.at("MY"))
            serials.push_back(support::toHex(Bytes(element->serial.rbegin(), element->serial.rend())));
        return serials;
    }
    static std::int32_t check(const std::string& text) {
        return CheckCertificateInWindowsStores(text.data(), text.size());
    }
    using Serials = std::vector<std::string>;

    FakeSystemApi system_;
    FakeCryptoApi crypto_;
    FakeStore store_;
};

TEST_F(store_test, DeleteTakesTheCertificateOfThatIssuerAndSerial) {
    add(hex("0A 1B"), kWithKey);
    add(hex("0A 1C"), kWithKey);
    EXPECT_EQ(DeleteCertificate(kIssuer, "0A1B"), 0);
    EXPECT_EQ(left(), Serials{"0A 1C"}) << "a deletion lasts only when it is committed";
    EXPECT_EQ(DeleteCertificate(kIssuer, "0A1B"), 22218126);
}

TEST_F(store_test, SerialTextMayHaveBlanksAndEitherCase) {
    add(hex("0A 1B"), kWithKey);
    EXPECT_EQ(CertificateExists(kIssuer, "0A 1B"), 0);
    EXPECT_EQ(CertificateExists(kIssuer, "0a1b"), 0);
    EXPECT_EQ(DeleteCertificate(kIssuer, " 0 a 1 b "), 0);
}

TEST_F(store_test, SerialTextOfAnOddDigitCountFindsNothing) {
    add(hex("0A 01"), kWithKey);
    EXPECT_EQ(DeleteCertificate(kIssuer, "0A1"), 22218126);
    EXPECT_EQ(CertificateExists(kIssuer, "0A1"), 1);
    EXPECT_EQ(left(), Serials{"0A 01"});
}

TEST_F(store_test, SerialTextThatDoesNotParseFindsNothing) {
    add(hex("0A"), kWithKey);
    const std::string tooLong(1026, '0');
    for (const char* text : {"", "  ", "0G", tooLong.c_str()}) {
        EXPECT_EQ(DeleteCertificate(kIssuer, text), 22218126) << text;
        EXPECT_EQ(CertificateExists(kIssuer, text), 1) << text;
    }
}

TEST_F(store_test, LeadingZeroBytesOfASerialDoNotCount) {
    add(hex("00 F1"), kWithKey);
    EXPECT_EQ(CertificateExists(kIssuer, "00F1"), 0);
    EXPECT_EQ(CertificateExists(kIssuer, "0000F1"), 0);
    EXPECT_EQ(CertificateExists(kIssuer, "F1"), 1) << "as a number this one is negative";
}

TEST_F(store_test, CertificateWithoutAKeyIsNeitherFoundNorDeleted) {
    add(hex("0A"), kWithoutKey);
    EXPECT_EQ(CertificateExists(kIssuer, "0A"), 1);
    EXPECT_EQ(DeleteCertificate(kIssuer, "0A"), 22218126);
    EXPECT_EQ(left(), Serials{"0A"});
}

TEST_F(store_test, OnlyTheFirstMatchWithAKeyIsDeleted) {
    // The issuer's text is the same for all, so that all three match.
    add(hex("0A"), kWithoutKey);
    add(hex("00 0A"), kWithKey);
    add(hex("00 00 0A"), kWithKey);
    EXPECT_EQ(DeleteCertificate(kIssuer, "0A"), 0);
    EXPECT_EQ(left(), (Serials{"0A", "00 00 0A"}));
}

TEST_F(store_test, AnotherIssuerFindsNothing) {
    add(hex("0A"), kWithKey);
    EXPECT_EQ(CertificateExists("CN=Another CA", "0A"), 1);
    EXPECT_EQ(DeleteCertificate("CN=Another CA", "0A"), 22218126);
    EXPECT_EQ(CertificateExists("Example,Test CA", "0A"), 0) << "keys may be left away";
}

TEST_F(store_test, SerialIsNotLookedAtWithoutAMatchingIssuer) {
    const CallPlan calls;
    EXPECT_EQ(DeleteCertificate(kIssuer, "0A"), 22218126);
    EXPECT_EQ(calls.count("CertCompareIntegerBlob"), 0);
    EXPECT_EQ(calls.count("CertOpenStore"), 1);
}

TEST_F(store_test, ExistsDeletesNothing) {
    add(hex("0A"), kWithKey);
    const CallPlan calls;
    EXPECT_EQ(CertificateExists(kIssuer, "0A"), 0);
    EXPECT_EQ(calls.count("CertDeleteCertificateFromStore"), 0);
    EXPECT_EQ(left(), Serials{"0A"});
}

TEST_F(store_test, RefusedDeletionCountsAsDone) {
    add(hex("0A"), kWithKey);
    CallPlan calls;
    calls.failCall("CertDeleteCertificateFromStore");
    EXPECT_EQ(DeleteCertificate(kIssuer, "0A"), 0);
    EXPECT_EQ(calls.failed(), "CertDeleteCertificateFromStore 1");
    EXPECT_EQ(left(), Serials{"0A"});
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(store_test, KeyContainerOfADeletedCertificateStays) {
    crypto_.addKey("Fake Provider", "container", AT_SIGNATURE, 1024);
    add(hex("0A"), kWithKey);
    EXPECT_EQ(DeleteCertificate(kIssuer, "0A"), 0);
    EXPECT_EQ(crypto_.containers.at({"Fake Provider", "container"}).size(), 1U);
}

TEST_F(store_test, StoreThatDoesNotOpenHoldsNothing) {
    add(hex("0A"), kWithKey);
    add(hex("0B"), kWithKey);
    for (const char* entry : {"CryptAcquireContextW", "CertOpenStore"}) {
        const auto failing = [entry](auto operation) {
            CallPlan calls;
            calls.failCall(entry);
            const std::int32_t code = operation();
            EXPECT_EQ(calls.openHandles(), "") << entry;
            return code;
        };
        EXPECT_EQ(failing([] { return DeleteCertificate(kIssuer, "0A"); }), 22218126);
        EXPECT_EQ(failing([] { return CertificateExists(kIssuer, "0A"); }), 1);
        EXPECT_EQ(failing([] { return PruneCertificates(kSubject, kIssuer); }), 22238126);
    }
    EXPECT_EQ(left().size(), 2U);
}

TEST_F(store_test, ArgumentsAreConvertedByTheAnsiCodePage) {
    add(hex("0A"), kWithKey);
    const Replaced<&platform::SystemApi::MultiByteToWideChar> convert(
        [&](UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR wide, int capacity) {
            EXPECT_EQ(codePage, UINT{CP_ACP}) << text;
            return convert.original(codePage, flags, text, length, wide, capacity);
        });
    EXPECT_EQ(CertificateExists(kIssuer, "0A"), 0);
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 22238126);
    EXPECT_EQ(DeleteCertificate(kIssuer, "0A"), 0);
}

TEST_F(store_test, TextThatCannotBeConvertedFindsNothing) {
    add(hex("0A"), kWithKey);
    add(hex("0B"), kWithKey);
    CallPlan calls;
    calls.failCall("MultiByteToWideChar", 3);
    EXPECT_EQ(DeleteCertificate(kIssuer, "0A"), 22218126) << calls.failed();
    calls.failCall("MultiByteToWideChar", 1);
    EXPECT_EQ(CertificateExists(kIssuer, "0A"), 1);
    calls.failCall("MultiByteToWideChar", 1);
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 22238126);
    EXPECT_EQ(left().size(), 2U);
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(store_test, PruneNeedsTwoMatches) {
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 22238126);
    add(hex("01"), kWithKey);
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 22238126);
    EXPECT_EQ(left(), Serials{"01"});
}

TEST_F(store_test, PruneKeepsTheLatestWhereverItStands) {
    add(hex("01"), kWithKey, "20150101000000Z");
    add(hex("02"), kWithKey, "20170101000000Z");
    add(hex("03"), kWithKey, "20160101000000Z");
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), Serials{"02"});
}

TEST_F(store_test, PruneLeavesOthersAlone) {
    CertificateParts other;
    other.subject = "CN=Bob, O=Example";
    store_.add("MY", makeCertificate(other), kWithKey);
    CertificateParts elsewhere;
    elsewhere.issuer = "CN=Other CA";
    store_.add("MY", makeCertificate(elsewhere), kWithKey);
    add(hex("0A"), kWithKey, "20150101000000Z");
    add(hex("0B"), kWithKey, "20160101000000Z");
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), (Serials{"01", "01", "0B"}));
}

TEST_F(store_test, PruneComparesToTheSecond) {
    for (const bool laterFirst : {true, false}) {
        store_.stores["MY"].clear();
        add(hex(laterFirst ? "02" : "01"), kWithKey, laterFirst ? "20150101000001Z" : "20150101000000Z");
        add(hex(laterFirst ? "01" : "02"), kWithKey, laterFirst ? "20150101000000Z" : "20150101000001Z");
        EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
        EXPECT_EQ(left(), Serials{"02"});
    }
}

TEST_F(store_test, PruneComparesTimesBeyondTheEndOf32BitTime) {
    add(hex("01"), kWithKey, "20380120000000Z");
    add(hex("02"), kWithKey, "20370101000000Z");
    add(hex("03"), kWithKey, "20500101000000Z");
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), Serials{"03"});
}

TEST_F(store_test, StartsBefore1970AndAfter3000AreTheSameToPrune) {
    add(hex("05"), kWithKey, "19500101000000Z");
    add(hex("03"), kWithKey, "19691231235959Z");
    add(hex("04"), kWithKey, "30010101000000Z");
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), Serials{"05"}) << "the larger serial";
    add(hex("01"), kWithKey, "19700101000000Z");
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), Serials{"01"}) << "the later start";
}

TEST_F(store_test, PruneTakesNoAccountOfDaylightSaving) {
    // In many zones the clock goes from 02:00 to 03:00 here, so that the later time would come out as the same.
    add(hex("02"), kWithKey, "20150329033000Z");
    add(hex("01"), kWithKey, "20150329023000Z");
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), Serials{"02"});
}

TEST_F(store_test, AtTheSameStartTheLargerSerialStays) {
    add(hex("05"), kWithKey);
    add(hex("03"), kWithKey);
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), Serials{"05"});

    add(hex("07"), kWithKey);
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), Serials{"07"});
}

TEST_F(store_test, AtTheSameStartAndSerialTheLaterInTheListStays) {
    // Equal in the low 32 bits, which is all that is compared.
    add(hex("01 00 00 00 00 05"), kWithKey);
    add(hex("05"), kWithKey);
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), Serials{"05"});
}

TEST_F(store_test, SerialsBeyond32BitsWrap) {
    add(hex("01 00 00 00 01"), kWithKey);
    add(hex("02"), kWithKey);
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), Serials{"02"});
}

TEST_F(store_test, KeptWithoutAKeyStaysAndGivesWay) {
    add(hex("01"), kWithoutKey, "20200101000000Z");
    add(hex("02"), kWithKey, "20150101000000Z");
    add(hex("03"), kWithKey, "20140101000000Z");
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), (Serials{"01", "02"}));
}

TEST_F(store_test, CandidateWithoutAKeyStays) {
    add(hex("01"), kWithKey, "20150101000000Z");
    add(hex("02"), kWithoutKey, "20140101000000Z");
    add(hex("03"), kWithoutKey, "20200101000000Z");
    add(hex("04"), kWithKey, "20160101000000Z");
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), (Serials{"02", "03", "04"}));
}

TEST_F(store_test, WithoutAnyKeyNothingIsDeleted) {
    add(hex("01"), kWithoutKey);
    add(hex("02"), kWithoutKey);
    const CallPlan calls;
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), (Serials{"01", "02"}));
    EXPECT_EQ(calls.count("CertDeleteCertificateFromStore"), 0);
}

TEST_F(store_test, PruneGoesOnAfterARefusedDeletion) {
    add(hex("01"), kWithKey, "20150101000000Z");
    add(hex("02"), kWithKey, "20160101000000Z");
    add(hex("03"), kWithKey, "20170101000000Z");
    CallPlan calls;
    calls.failCall("CertDeleteCertificateFromStore");
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(left(), (Serials{"01", "03"}));
}

TEST_F(store_test, QueriesCloseTheStoreWithACheck) {
    add(hex("01"), kWithKey);
    add(hex("02"), kWithKey);
    CertificateExists(kIssuer, "01");
    PruneCertificates(kSubject, kIssuer);
    DeleteCertificate(kIssuer, "02");
    EXPECT_EQ(store_.closeFlags, std::vector<DWORD>(3, CERT_CLOSE_STORE_CHECK_FLAG));
}

// Fails the first call, the second and so on, and looks at the code and at what is left open.
TEST_F(store_test, EveryFailureOfADeletionGivesItsCode) {
    for (int n = 1;; ++n) {
        store_.stores["MY"].clear();
        add(hex("09"), kWithKey);
        add(hex("0A"), kWithKey).properties = {1, 3};
        CallPlan calls;
        calls.failCall(n);
        const std::int32_t code = DeleteCertificate(kIssuer, "0A");
        EXPECT_TRUE(code == 0 || code == 22218126) << calls.failed() << " gives " << code;
        EXPECT_EQ(left().front(), "09") << calls.failed();
        EXPECT_EQ(calls.openHandles(), "") << calls.failed();
        if (calls.failed().empty()) {
            EXPECT_EQ(code, 0);
            break;
        }
        ASSERT_LT(n, 500);
    }
}

TEST_F(store_test, EveryFailureOfPruningGivesItsCode) {
    for (int n = 1;; ++n) {
        store_.stores["MY"].clear();
        add(hex("01"), kWithKey, "20150101000000Z");
        add(hex("02"), kWithKey, "20160101000000Z");
        add(hex("03"), kWithKey, "20150101000000Z");
        CallPlan calls;
        calls.failCall(n);
        const std::int32_t code = PruneCertificates(kSubject, kIssuer);
        EXPECT_TRUE(code == 0 || code == 22238126) << calls.failed() << " gives " << code;
        EXPECT_FALSE(left().empty()) << calls.failed();
        EXPECT_EQ(calls.openHandles(), "") << calls.failed();
        if (calls.failed().empty()) {
            EXPECT_EQ(code, 0);
            EXPECT_EQ(left(), Serials{"02"});
            break;
        }
        ASSERT_LT(n, 1000);
    }
}

TEST_F(store_test, CheckLooksInRootAndThenInCa) {
    const Bytes der = makeCertificate({});
    EXPECT_EQ(check(base64(der)), 22208321);
    store_.add("MY", der, kWithKey);
    EXPECT_EQ(check(base64(der)), 22208321) << "the user's own certificates do not count";
    store_.add("CA", der, kWithoutKey);
    EXPECT_EQ(check(base64(der)), 0);
    store_.stores["CA"].clear();
    store_.add("ROOT", der, kWithoutKey);
    const CallPlan calls;
    EXPECT_EQ(check(base64(der)), 0);
    EXPECT_EQ(calls.count("CertOpenSystemStoreA"), 1);
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(store_test, CheckComparesIssuerAndSerial) {
    store_.add("ROOT", makeCertificate({}), kWithoutKey);
    CertificateParts other;
    other.serial = {2};
    EXPECT_EQ(check(base64(makeCertificate(other))), 22208321);
}

TEST_F(store_test, CheckTakesAStoreThatDoesNotOpenAsAFailure) {
    const std::string text = base64(makeCertificate({}));
    for (int occurrence = 1; occurrence <= 2; ++occurrence) {
        CallPlan calls;
        calls.failCall("CertOpenSystemStoreA", occurrence);
        EXPECT_EQ(check(text), 22208101) << occurrence;
        EXPECT_EQ(calls.openHandles(), "");
    }
}

TEST_F(store_test, CheckOfABadText) {
    EXPECT_EQ(check("MAA"), 22208223) << "a partial last group";
    EXPECT_EQ(check("MAAA"), 22208113) << "no certificate";
    EXPECT_EQ(check("===="), 22208113) << "no bytes at all";
    EXPECT_EQ(check("\r\n"), 22208113);
    const Bytes der = makeCertificate({});
    EXPECT_EQ(check(base64(Bytes(der.begin(), der.end() - 1))), 22208113);
}

TEST_F(store_test, CheckOfAMegabyteOfBase64) {
    const CallPlan calls;
    EXPECT_EQ(check(std::string(1 << 20, 'A')), 22208113);
    EXPECT_EQ(check(std::string((1 << 20) + 1, 'A')), 22208223);
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(store_test, CheckOfACertificateCutAtEveryByte) {
    const Bytes der = makeCertificate({});
    const CallPlan calls;
    for (std::size_t size = 0; size < der.size(); ++size)
        EXPECT_EQ(check(base64(Bytes(der.begin(), der.begin() + static_cast<std::ptrdiff_t>(size)))), 22208113) << size;
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(store_test, EveryFailureOfACheckGivesItsCode) {
    CertificateParts other;
    other.serial = {2};
    store_.add("ROOT", makeCertificate(other), kWithoutKey);
    store_.add("CA", makeCertificate({}), kWithoutKey);
    const std::string text = base64(makeCertificate({}));
    for (int n = 1;; ++n) {
        CallPlan calls;
        calls.failCall(n);
        const std::int32_t code = check(text);
        EXPECT_EQ(calls.openHandles(), "") << calls.failed();
        if (calls.failed().empty()) {
            EXPECT_EQ(code, 0);
            break;
        }
        const std::string entry = calls.failed().substr(0, calls.failed().find(' '));
        if (entry == "CertCreateCertificateContext")
            EXPECT_EQ(code, 22208113);
        else if (entry == "CertOpenSystemStoreA")
            EXPECT_EQ(code, 22208101);
        else
            EXPECT_TRUE(code == 0 || code == 22208321) << calls.failed() << " gives " << code;
        ASSERT_LT(n, 100);
    }
}

TEST_F(store_test, CheckWithoutMemoryHasItsCode) {
    store_.add("CA", makeCertificate({}), kWithoutKey);
    const std::string text = base64(makeCertificate({}));
    std::vector<std::int32_t> codes;
    codes.reserve(1000);
    const long failures = forEachExhaustion([&] { codes.push_back(check(text)); });
    ASSERT_GT(failures, 3);
    EXPECT_EQ(codes.front(), 22208203);
    EXPECT_EQ(codes.back(), 0);
    codes.pop_back();
    for (const std::int32_t code : codes)
        EXPECT_TRUE(code == 22208203 || code == 22208113) << code;
    EXPECT_TRUE(store_.open.empty());
}

TEST_F(store_test, QueriesWithoutMemoryFindNothing) {
    const struct {
        std::int32_t (*run)();
        std::int32_t notFound;
    } kOperations[] = {{[] { return CertificateExists(kIssuer, "0A"); }, 1},
                       {[] { return DeleteCertificate(kIssuer, "0A"); }, 22218126},
                       {[] { return PruneCertificates(kSubject, kIssuer); }, 22238126}};
    for (const auto& operation : kOperations) {
        for (long n = 1;; ++n) {
            store_.stores["MY"].clear();
            store_.closeFlags.clear();
            add(hex("0A"), kWithKey);
            add(hex("0B"), kWithKey);
            std::int32_t code = 0;
            bool failed = false;
            {
                const FailingHeap heap(n);
                code = operation.run();
                failed = heap.failed();
            }
            EXPECT_TRUE(store_.open.empty()) << n;
            EXPECT_FALSE(left().empty()) << n;
            if (!failed) {
                EXPECT_EQ(code, 0);
                break;
            }
            EXPECT_TRUE(code == 0 || code == operation.notFound) << n << ": " << code;
            ASSERT_LT(n, 10000);
        }
    }
}

}  // namespace
