// The user's system stores, by the platform itself: what is added and deleted is so for the next process as well.
#include <gtest/gtest.h>

#include <string>

#include "tests/platform/win32_store.h"

namespace {

using platform::capi;
using support::Bytes;
using support::hex;
using win32::derOf;
using win32::find;
using win32::kEncoding;
using win32::kFirst;
using win32::kSecond;
using win32::seenByANewProcess;

class win32_store_test : public testing::TestWithParam<const char*> {
  protected:
    win32_store_test() { clear(); }
    ~win32_store_test() override { clear(); }

    static HCERTSTORE open() { return capi().CertOpenSystemStoreA(0, GetParam()); }

    static void add(const Bytes& der, DWORD disposition) {
        HCERTSTORE store = open();
        ASSERT_NE(store, nullptr);
        PCCERT_CONTEXT added = nullptr;
        EXPECT_TRUE(capi().CertAddEncodedCertificateToStore(store, kEncoding, der.data(),
                                                            static_cast<DWORD>(der.size()), disposition, &added));
        EXPECT_TRUE(capi().CertFreeCertificateContext(added));
        EXPECT_TRUE(capi().CertCloseStore(store, 0));
    }

    static int count(const Bytes& der) {
        HCERTSTORE store = open();
        int found = 0;
        for (PCCERT_CONTEXT cert = nullptr; (cert = capi().CertEnumCertificatesInStore(store, cert)) != nullptr;)
            found += derOf(cert) == der ? 1 : 0;
        capi().CertCloseStore(store, 0);
        return found;
    }

    // Deletes each such certificate and commits; gives how many there were.
    static int remove(const Bytes& der) {
        HCERTSTORE store = open();
        int removed = 0;
        while (PCCERT_CONTEXT cert = find(store, der)) {
            EXPECT_TRUE(capi().CertDeleteCertificateFromStore(cert));
            ++removed;
        }
        EXPECT_TRUE(capi().CertControlStore(store, 0, CERT_STORE_CTRL_COMMIT, nullptr));
        EXPECT_TRUE(capi().CertCloseStore(store, 0));
        return removed;
    }

    const Bytes first_ = hex(kFirst);
    const Bytes second_ = hex(kSecond);

  private:
    void clear() const {
        remove(first_);
        remove(second_);
    }
};

TEST_P(win32_store_test, AdditionLasts) {
    add(first_, CERT_STORE_ADD_REPLACE_EXISTING);
    add(second_, CERT_STORE_ADD_REPLACE_EXISTING);
    EXPECT_EQ(count(first_), 1);
    EXPECT_EQ(seenByANewProcess(GetParam(), first_), 1u);
    EXPECT_EQ(seenByANewProcess(GetParam(), second_), 1u);
}

TEST_P(win32_store_test, CommittedDeletionLasts) {
    add(first_, CERT_STORE_ADD_REPLACE_EXISTING);
    add(second_, CERT_STORE_ADD_REPLACE_EXISTING);
    EXPECT_EQ(remove(first_), 1);
    EXPECT_EQ(count(first_), 0);
    EXPECT_EQ(seenByANewProcess(GetParam(), first_), 0u);
    EXPECT_EQ(seenByANewProcess(GetParam(), second_), 1u);
}

TEST_P(win32_store_test, SameCertificateStandsOnce) {
    add(first_, CERT_STORE_ADD_REPLACE_EXISTING);
    add(first_, CERT_STORE_ADD_REPLACE_EXISTING);
    add(first_, CERT_STORE_ADD_USE_EXISTING);
    EXPECT_EQ(count(first_), 1);
}

// The context that comes back has to be freed: Wine 8 loses the addition otherwise.
TEST_P(win32_store_test, ContextIsAddedOnceAndLasts) {
    PCCERT_CONTEXT alone =
        capi().CertCreateCertificateContext(kEncoding, first_.data(), static_cast<DWORD>(first_.size()));
    ASSERT_NE(alone, nullptr);
    for (int times = 0; times < 2; ++times) {
        HCERTSTORE store = open();
        PCCERT_CONTEXT added = nullptr;
        EXPECT_TRUE(capi().CertAddCertificateContextToStore(store, alone, CERT_STORE_ADD_USE_EXISTING, &added));
        ASSERT_NE(added, nullptr);
        EXPECT_EQ(derOf(added), first_);
        EXPECT_TRUE(capi().CertFreeCertificateContext(added));
        EXPECT_TRUE(capi().CertCloseStore(store, 0));
        EXPECT_EQ(seenByANewProcess(GetParam(), first_), 1u);
    }
    EXPECT_TRUE(capi().CertFreeCertificateContext(alone));
}

TEST_P(win32_store_test, EveryContextIsFreedBeforeTheStoreCloses) {
    add(first_, CERT_STORE_ADD_REPLACE_EXISTING);
    HCERTSTORE store = open();
    for (PCCERT_CONTEXT cert = nullptr; (cert = capi().CertEnumCertificatesInStore(store, cert)) != nullptr;) {
    }
    EXPECT_TRUE(capi().CertCloseStore(store, CERT_CLOSE_STORE_CHECK_FLAG));
}

TEST_P(win32_store_test, BytesThatAreNoCertificateAreRefused) {
    HCERTSTORE store = open();
    PCCERT_CONTEXT added = nullptr;
    Bytes cut = first_;
    cut.pop_back();
    EXPECT_FALSE(capi().CertAddEncodedCertificateToStore(store, kEncoding, cut.data(), static_cast<DWORD>(cut.size()),
                                                         CERT_STORE_ADD_REPLACE_EXISTING, &added));
    EXPECT_EQ(added, nullptr);
    capi().CertCloseStore(store, 0);
}

INSTANTIATE_TEST_SUITE_P(Stores, win32_store_test, testing::Values("MY", "ROOT", "CA"),
                         [](const auto& store) { return std::string(store.param); });

}  // namespace
