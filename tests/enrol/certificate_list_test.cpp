#include "enrol/certificate_list.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/call_plan.h"
#include "tests/support/certificate.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/fake_store.h"
#include "tests/support/fake_system_api.h"

namespace {

using enrol::CheckedStoreHandle;
using enrol::ContextArray;
using enrol::FilterByIssuer;
using enrol::FilterBySubject;
using enrol::FilterBySubjectAndIssuer;
using enrol::ListCertificates;
using enrol::OpenMyStore;
using enrol::ProviderHandle;
using support::CallPlan;
using support::CertificateParts;
using support::FakeCryptoApi;
using support::FakeStore;
using support::FakeSystemApi;
using support::makeCertificate;

constexpr char kQueryProvider[] = "Microsoft Enhanced Cryptographic Provider v1.0";

class certificate_list_test : public testing::Test {
  protected:
    certificate_list_test() { crypto_.providers.push_back({kQueryProvider, PROV_RSA_FULL}); }

    void add(const std::string& subject, const std::string& issuer, std::uint8_t serial) {
        CertificateParts parts;
        parts.subject = subject;
        parts.issuer = issuer;
        parts.serial = {serial};
        store_.add("MY", makeCertificate(parts), false);
    }

    // The serial numbers of a selection, in order.
    static std::vector<int> serials(const ContextArray& contexts, std::size_t count) {
        std::vector<int> numbers;
        for (std::size_t i = 0; i < count; ++i)
            numbers.push_back(contexts[i]->pCertInfo->SerialNumber.pbData[0]);
        return numbers;
    }
    static std::vector<int> bySubject(const wchar_t* subject) {
        std::size_t count = 99;
        const Opened my;
        const ContextArray found = FilterBySubject(my.store.get(), subject, count);
        return serials(found, count);
    }
    static std::vector<int> byIssuer(const wchar_t* issuer) {
        std::size_t count = 99;
        const Opened my;
        const ContextArray found = FilterByIssuer(my.store.get(), issuer, count);
        return serials(found, count);
    }
    static std::vector<int> byBoth(const wchar_t* subject, const wchar_t* issuer) {
        std::size_t count = 99;
        const Opened my;
        const ContextArray found = FilterBySubjectAndIssuer(my.store.get(), subject, issuer, count);
        return serials(found, count);
    }

    struct Opened {
        Opened() { EXPECT_TRUE(OpenMyStore(prov, store)); }
        ProviderHandle prov;
        CheckedStoreHandle store;
    };
    using Numbers = std::vector<int>;

    FakeSystemApi system_;
    FakeCryptoApi crypto_;
    FakeStore store_;
};

TEST_F(certificate_list_test, MyStoreIsOpenedWithAFreshDefaultContainer) {
    CallPlan calls;
    {
        const Opened my;
        EXPECT_NE(store_.lastProvider, 0U);
        EXPECT_FALSE(my.prov) << "the store releases it";
        EXPECT_EQ(calls.log(), (std::vector<std::string>{"CryptAcquireContextW", "CertOpenStore"}));
        EXPECT_EQ(crypto_.containers.count({kQueryProvider, ""}), 1U);
    }
    EXPECT_EQ(store_.closeFlags, std::vector<DWORD>{CERT_CLOSE_STORE_CHECK_FLAG});
    EXPECT_EQ(calls.log().back(), "CertCloseStore") << "the context is the store's to release";
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(certificate_list_test, DefaultContainerThatExistsIsDeletedAndMadeAgain) {
    crypto_.addKey(kQueryProvider, "", AT_SIGNATURE, 1024);
    crypto_.addKey(kQueryProvider, "named", AT_SIGNATURE, 1024);
    CallPlan calls;
    { const Opened my; }
    EXPECT_EQ(calls.count("CryptAcquireContextW"), 3);
    EXPECT_EQ(crypto_.containers.at({kQueryProvider, ""}).size(), 0U) << "its key is gone";
    EXPECT_EQ(crypto_.containers.at({kQueryProvider, "named"}).size(), 1U) << "a named container is not touched";
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(certificate_list_test, ContainerIsNotDeletedForAnotherFailure) {
    crypto_.addKey(kQueryProvider, "", AT_SIGNATURE, 1024);
    CallPlan calls;
    calls.failCall("CryptAcquireContextW", 1, NTE_FAIL);
    ProviderHandle prov;
    CheckedStoreHandle store;
    EXPECT_FALSE(OpenMyStore(prov, store));
    EXPECT_FALSE(store);
    EXPECT_EQ(calls.log(), std::vector<std::string>{"CryptAcquireContextW"});
    EXPECT_EQ(crypto_.containers.at({kQueryProvider, ""}).size(), 1U);
}

TEST_F(certificate_list_test, ContainerThatCannotBeDeletedIsTriedOnce) {
    crypto_.addKey(kQueryProvider, "", AT_SIGNATURE, 1024);
    CallPlan calls;
    calls.failCall("CryptAcquireContextW", 2);
    ProviderHandle prov;
    CheckedStoreHandle store;
    EXPECT_FALSE(OpenMyStore(prov, store));
    EXPECT_EQ(calls.count("CryptAcquireContextW"), 3);
    EXPECT_EQ(calls.count("CertOpenStore"), 0);
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(certificate_list_test, StoreThatDoesNotOpenIsNull) {
    CallPlan calls;
    calls.failCall("CertOpenStore");
    {
        ProviderHandle prov;
        CheckedStoreHandle store;
        EXPECT_FALSE(OpenMyStore(prov, store));
        EXPECT_FALSE(store);
    }
    EXPECT_EQ(calls.openHandles(), "");
    EXPECT_EQ(calls.count("CertCloseStore"), 0);
}

TEST_F(certificate_list_test, NullStoreHasNoCertificates) {
    const CallPlan calls;
    std::size_t count = 99;
    EXPECT_EQ(ListCertificates(nullptr, count), nullptr);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(FilterBySubject(nullptr, L"CN=a", count), nullptr);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(FilterBySubjectAndIssuer(nullptr, L"CN=a", L"CN=a", count), nullptr);
    EXPECT_EQ(count, 0U);
    EXPECT_TRUE(calls.log().empty());
}

TEST_F(certificate_list_test, ListHasAllInTheStoresOrder) {
    for (const std::uint8_t serial : support::hex("05 03 09 01"))
        add("CN=a", "CN=ca", serial);
    const CallPlan calls;
    {
        const Opened my;
        std::size_t count = 0;
        const ContextArray all = ListCertificates(my.store.get(), count);
        EXPECT_EQ(serials(all, count), (Numbers{5, 3, 9, 1}));
        EXPECT_EQ(calls.openHandles(), "certificate certificate certificate certificate store") << "one reference each";
    }
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(certificate_list_test, EmptyStoreGivesNoArray) {
    const Opened my;
    std::size_t count = 99;
    EXPECT_EQ(ListCertificates(my.store.get(), count), nullptr);
    EXPECT_EQ(count, 0U);
}

TEST_F(certificate_list_test, SubjectSelectsInTheStoresOrder) {
    add("CN=A, O=B", "CN=ca", 1);
    add("CN=a", "CN=ca", 2);
    add("CN=c, O=b", "CN=ca", 3);
    add("CN=a, O=b, OU=d", "CN=ca", 4);
    EXPECT_EQ(bySubject(L"CN=a,O=b"), (Numbers{1, 2}));
    EXPECT_EQ(bySubject(L"CN=a"), (Numbers{2}));
    EXPECT_EQ(bySubject(L"a"), (Numbers{2}));
    EXPECT_EQ(bySubject(L"d, O=b, a"), (Numbers{1, 2, 4}));
    EXPECT_EQ(bySubject(L"CN=x"), Numbers{});
}

TEST_F(certificate_list_test, NullSubjectSelectsAllAndNullIssuerOnlyTheNameless) {
    add("CN=a", "CN=ca", 1);
    add("CN=b", "", 2);
    EXPECT_EQ(bySubject(nullptr), (Numbers{1, 2}));
    EXPECT_EQ(byIssuer(nullptr), (Numbers{2}));
}

TEST_F(certificate_list_test, NamelessCertificateMatchesAnyQuery) {
    add("", "CN=ca", 1);
    EXPECT_EQ(bySubject(L"CN=a"), (Numbers{1}));
    EXPECT_EQ(bySubject(L""), (Numbers{1}));
}

TEST_F(certificate_list_test, IssuerSelectsByTheIssuerAlone) {
    add("CN=a", "CN=ca, O=x", 1);
    add("CN=ca, O=x", "CN=other", 2);
    EXPECT_EQ(byIssuer(L"CN=ca,O=x"), (Numbers{1}));
}

TEST_F(certificate_list_test, BothSelectWhatStandsInBoth) {
    add("CN=a", "CN=ca", 1);
    add("CN=a", "CN=other", 2);
    add("CN=b", "CN=ca", 3);
    add("CN=a", "CN=ca", 4);
    EXPECT_EQ(byBoth(L"CN=a", L"CN=ca"), (Numbers{1, 4}));
    EXPECT_EQ(byBoth(nullptr, L"CN=ca"), (Numbers{1, 3, 4}));
    EXPECT_EQ(byBoth(L"CN=a", L"CN=none"), Numbers{});
    EXPECT_EQ(byBoth(L"CN=none", L"CN=ca"), Numbers{});
}

TEST_F(certificate_list_test, EveryFailureLeavesNothingOpen) {
    add("CN=a", "CN=ca", 1);
    add("CN=a", "CN=ca", 2);
    crypto_.addKey(kQueryProvider, "", AT_SIGNATURE, 1024);
    for (int n = 1;; ++n) {
        CallPlan calls;
        calls.failCall(n);
        {
            ProviderHandle prov;
            CheckedStoreHandle store;
            OpenMyStore(prov, store);
            std::size_t count = 99;
            const ContextArray found = FilterBySubjectAndIssuer(store.get(), L"CN=a", L"CN=ca", count);
            EXPECT_LE(count, 2U) << calls.failed();
            for (std::size_t i = 0; i < count; ++i)
                EXPECT_NE(found[i], nullptr) << calls.failed();
        }
        EXPECT_EQ(calls.openHandles(), "") << calls.failed();
        if (calls.failed().empty())
            break;
        ASSERT_LT(n, 500);
    }
}

}  // namespace
