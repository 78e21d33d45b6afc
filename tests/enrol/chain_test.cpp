#include "enrol/chain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "tests/support/call_plan.h"
#include "tests/support/certificate.h"
#include "tests/support/failing_heap.h"
#include "tests/support/fake_store.h"
#include "tests/support/fake_system_api.h"
#include "tests/vectors/enrol_certificates.h"

namespace {

using enrol::AddToSystemStore;
using enrol::ChainSlots;
using enrol::ExtractLeafCertificate;
using enrol::LeafBuffer;
using support::Bytes;
using support::CallPlan;
using support::CertificateParts;
using support::certificatesOnly;
using support::FailingHeap;
using support::FakeStore;
using support::FakeSystemApi;
using support::hex;
using support::makeCertificate;

Bytes issued(const std::string& subject, const std::string& issuer, std::uint8_t serial = 1) {
    CertificateParts parts;
    parts.subject = subject;
    parts.issuer = issuer;
    parts.serial = {serial};
    return makeCertificate(parts);
}

const Bytes& root() {
    static const Bytes der = issued("CN=Root", "CN=Root");
    return der;
}
const Bytes& upper() {
    static const Bytes der = issued("CN=Upper", "CN=Root");
    return der;
}
const Bytes& lower() {
    static const Bytes der = issued("CN=Lower", "CN=Upper");
    return der;
}
const Bytes& leaf() {
    static const Bytes der = issued("CN=Leaf", "CN=Lower");
    return der;
}

struct Extracted {
    std::int32_t reason;
    Bytes leaf;
};
bool operator==(const Extracted& a, const Extracted& b) {
    return a.reason == b.reason && a.leaf == b.leaf;
}

Extracted extract(const Bytes& message) {
    const auto buffer = std::make_unique<LeafBuffer>();
    std::size_t size = 99;
    const std::int32_t reason = ExtractLeafCertificate(message.data(), message.size(), *buffer, size);
    return {reason, Bytes(buffer->begin(), buffer->begin() + static_cast<std::ptrdiff_t>(size))};
}

// The slots' content; an empty one shows as nothing.
std::vector<Bytes> slots(const Bytes& message) {
    std::vector<Bytes> all;
    for (const auto& slot : enrol::BuildChainSlots(message.data(), message.size()))
        all.push_back(slot != nullptr ? *slot : Bytes());
    return all;
}

std::int32_t storeChain(const Bytes& message) {
    return enrol::StoreChain(message.data(), message.size());
}

std::int32_t addTo(const char* name, const Bytes& der) {
    return AddToSystemStore(name, der.data(), der.size());
}

// A certificate that has so many bytes.
Bytes certificateOfSize(std::size_t size) {
    constexpr std::size_t kName = 9000;
    const std::size_t rest = issued("CN=" + std::string(kName, 'x'), "CN=Root").size() - kName;
    return issued("CN=" + std::string(size - rest, 'x'), "CN=Root");
}

class chain_test : public testing::Test {
  protected:
    std::vector<Bytes> stored(const char* name) const { return store_.ders(name); }

    FakeSystemApi system_;
    FakeStore store_;
};

TEST_F(chain_test, MessagesOfTheseTestsAreThoseOfOpenssl) {
    EXPECT_EQ(certificatesOnly({hex(vectors::kAuthority), hex(vectors::kAlice)}), hex(vectors::kAliceChain));
    EXPECT_EQ(certificatesOnly({hex(vectors::kAliceIssued), hex(vectors::kAuthority), hex(vectors::kIssuing)}),
              hex(vectors::kIssuedChain));
}

TEST_F(chain_test, LeafIsFoundInAnyOrder) {
    std::vector<Bytes> chain = {root(), upper(), lower(), leaf()};
    std::sort(chain.begin(), chain.end());
    do {
        const CallPlan calls;
        EXPECT_EQ(extract(certificatesOnly(chain)), (Extracted{0, leaf()}));
        EXPECT_EQ(calls.openHandles(), "");
    } while (std::next_permutation(chain.begin(), chain.end()));
    EXPECT_EQ(extract(hex(vectors::kIssuedChain)), (Extracted{0, hex(vectors::kAliceIssued)}));
}

TEST_F(chain_test, CertificateAloneIsTheLeaf) {
    EXPECT_EQ(extract(certificatesOnly({leaf()})), (Extracted{0, leaf()}));
    EXPECT_EQ(extract(certificatesOnly({root()})), (Extracted{0, root()}));
}

TEST_F(chain_test, FirstOfTwoLeavesIsExtracted) {
    const Bytes other = issued("CN=Other", "CN=Root", 2);
    EXPECT_EQ(extract(certificatesOnly({root(), other, upper()})), (Extracted{0, other}));
    EXPECT_EQ(extract(certificatesOnly({root(), upper(), other})), (Extracted{0, upper()}));
}

TEST_F(chain_test, RingHasNoLeaf) {
    EXPECT_EQ(extract(certificatesOnly({issued("CN=A", "CN=B"), issued("CN=B", "CN=A")})), (Extracted{0, {}}));
}

TEST_F(chain_test, NothingToExtractFrom) {
    const auto buffer = std::make_unique<LeafBuffer>();
    std::size_t size = 99;
    EXPECT_EQ(ExtractLeafCertificate(nullptr, 5, *buffer, size), 8204);
    EXPECT_EQ(size, 0U);
    EXPECT_EQ(extract({}), (Extracted{8204, {}}));
    EXPECT_EQ(extract(certificatesOnly({})), (Extracted{8014, {}}));
    EXPECT_EQ(extract(hex(vectors::kPlainText)), (Extracted{8014, {}}));
    EXPECT_EQ(extract(hex(vectors::kAlice)), (Extracted{8014, {}}));
    EXPECT_EQ(extract(hex("30")), (Extracted{8014, {}}));
}

// What is signed is no chain, though it carries one.
TEST_F(chain_test, MessageWhoseSignerVerifiesIsNoChain) {
    EXPECT_EQ(extract(hex(vectors::kSignedChain)), (Extracted{0, {}}));
    EXPECT_TRUE(slots(hex(vectors::kSignedChain)).empty());
    EXPECT_EQ(storeChain(hex(vectors::kSignedChain)), 8204);
    EXPECT_TRUE(stored("ROOT").empty());
}

TEST_F(chain_test, MessageWhoseSignerFailsIsAChain) {
    Bytes message = hex(vectors::kSignedChain);
    message.back() ^= 1;  // of the signature
    EXPECT_EQ(extract(message), (Extracted{0, hex(vectors::kAliceIssued)}));
    EXPECT_EQ(storeChain(message), 0);
    EXPECT_EQ(stored("ROOT"), std::vector<Bytes>{hex(vectors::kAuthority)});
    EXPECT_EQ(stored("CA"), std::vector<Bytes>{hex(vectors::kIssuing)});
}

TEST_F(chain_test, LeafHasRoomFor10240Bytes) {
    const Bytes largest = certificateOfSize(10240);
    ASSERT_EQ(largest.size(), 10240U);
    EXPECT_EQ(extract(certificatesOnly({root(), largest})), (Extracted{0, largest}));
    EXPECT_EQ(extract(certificatesOnly({root(), certificateOfSize(10241)})), (Extracted{0, {}}));
    EXPECT_EQ(extract(certificatesOnly({certificateOfSize(60000)})), (Extracted{0, {}}));
}

TEST_F(chain_test, SlotsAreInTheChainsOrder) {
    std::vector<Bytes> chain = {root(), upper(), lower(), leaf()};
    std::sort(chain.begin(), chain.end());
    do {
        const std::vector<Bytes> filled = slots(certificatesOnly(chain));
        ASSERT_EQ(filled.size(), 4U);
        EXPECT_EQ(filled.front(), root());
        EXPECT_EQ(filled.back(), leaf());
        const bool upperFirst =
            std::find(chain.begin(), chain.end(), upper()) < std::find(chain.begin(), chain.end(), lower());
        EXPECT_EQ(filled[1], upperFirst ? upper() : lower()) << "the message's order";
        EXPECT_EQ(filled[2], upperFirst ? lower() : upper());
    } while (std::next_permutation(chain.begin(), chain.end()));
}

TEST_F(chain_test, LaterOfTwoRootsStays) {
    const Bytes other = issued("CN=Other Root", "CN=Other Root");
    const Bytes end = issued("CN=Leaf", "CN=Root");
    EXPECT_EQ(slots(certificatesOnly({root(), other, end})), (std::vector<Bytes>{other, {}, end}));
    EXPECT_EQ(slots(certificatesOnly({other, end, root()})), (std::vector<Bytes>{root(), {}, end}));
    EXPECT_EQ(storeChain(certificatesOnly({root(), other, end})), 8204) << "an empty slot";
    EXPECT_EQ(stored("ROOT"), std::vector<Bytes>{other}) << "what was added stays";
}

TEST_F(chain_test, LaterOfTwoLeavesStays) {
    const Bytes one = issued("CN=One", "CN=Root", 2);
    const Bytes two = issued("CN=Two", "CN=Root", 3);
    EXPECT_EQ(slots(certificatesOnly({one, root(), two})), (std::vector<Bytes>{root(), {}, two}));
    EXPECT_EQ(slots(certificatesOnly({two, one, root()})), (std::vector<Bytes>{root(), {}, one}));
    EXPECT_EQ(storeChain(certificatesOnly({one, root(), two})), 8204);
}

TEST_F(chain_test, MissingLinkMakesTwoLeaves) {
    EXPECT_EQ(slots(certificatesOnly({root(), upper(), leaf()})), (std::vector<Bytes>{root(), {}, leaf()}));
    EXPECT_EQ(storeChain(certificatesOnly({root(), upper(), leaf()})), 8204);
    EXPECT_EQ(storeChain(certificatesOnly({root(), leaf()})), 0) << "between two there is no slot to be empty";
    EXPECT_TRUE(stored("CA").empty());
}

TEST_F(chain_test, MissingRootLeavesItsSlotEmpty) {
    const Bytes message = certificatesOnly({lower(), upper(), leaf()});
    EXPECT_EQ(slots(message), (std::vector<Bytes>{{}, lower(), leaf()})) << "the leaf takes the upper one's slot";
    EXPECT_EQ(storeChain(message), 8204);
    EXPECT_TRUE(stored("ROOT").empty());
    EXPECT_TRUE(stored("CA").empty());
}

TEST_F(chain_test, RingTakesTheSlotsThatThereAre) {
    const Bytes a = issued("CN=A", "CN=B");
    const Bytes b = issued("CN=B", "CN=A");
    EXPECT_EQ(slots(certificatesOnly({a, b})), (std::vector<Bytes>{{}, a}));
    EXPECT_EQ(storeChain(certificatesOnly({a, b})), 8204);
}

TEST_F(chain_test, CaseOfNamesCounts) {
    const Bytes almostRoot = issued("CN=Root", "CN=root");
    EXPECT_EQ(slots(certificatesOnly({almostRoot, leaf()})), (std::vector<Bytes>{{}, leaf()}));
}

TEST_F(chain_test, OneCertificateIsNoChain) {
    EXPECT_EQ(slots(certificatesOnly({leaf()})), std::vector<Bytes>{leaf()});
    EXPECT_EQ(slots(certificatesOnly({root()})), std::vector<Bytes>{root()});
    for (const Bytes& message : {certificatesOnly({leaf()}), certificatesOnly({root()}), certificatesOnly({}), Bytes(),
                                 hex(vectors::kPlainText), hex("30")})
        EXPECT_EQ(storeChain(message), 8204);
    EXPECT_TRUE(stored("ROOT").empty());
}

TEST_F(chain_test, RootAndIntermediatesAreStoredOnce) {
    for (int times = 0; times < 2; ++times) {
        const CallPlan calls;
        EXPECT_EQ(storeChain(certificatesOnly({leaf(), lower(), root(), upper()})), 0);
        EXPECT_EQ(stored("ROOT"), std::vector<Bytes>{root()});
        EXPECT_EQ(stored("CA"), (std::vector<Bytes>{lower(), upper()}));
        EXPECT_TRUE(stored("MY").empty()) << "the leaf is not stored here";
        EXPECT_EQ(calls.openHandles(), "");
        EXPECT_EQ(calls.count("CertAddCertificateContextToStore"), 3);
    }
}

TEST_F(chain_test, StoringEndsAtTheFirstRefusal) {
    const Bytes message = certificatesOnly({root(), upper(), lower(), leaf()});
    const auto storeFailing = [&](int occurrence) {
        for (const char* name : {"ROOT", "CA"})
            store_.stores[name].clear();
        CallPlan calls;
        calls.failCall("CertAddCertificateContextToStore", occurrence);
        EXPECT_EQ(storeChain(message), 8204) << occurrence;
        EXPECT_EQ(calls.openHandles(), "");
    };
    storeFailing(1);
    EXPECT_TRUE(stored("ROOT").empty());
    EXPECT_TRUE(stored("CA").empty());
    storeFailing(2);
    EXPECT_EQ(stored("ROOT"), std::vector<Bytes>{root()});
    EXPECT_TRUE(stored("CA").empty());
    storeFailing(3);
    EXPECT_EQ(stored("CA"), std::vector<Bytes>{upper()});
}

TEST_F(chain_test, EachFailureOfStoringLeavesNothingOpen) {
    const Bytes message = certificatesOnly({leaf(), lower(), root(), upper()});
    for (int n = 1;; ++n) {
        CallPlan calls;
        calls.failCall(n);
        const std::int32_t reason = storeChain(message);
        EXPECT_EQ(calls.openHandles(), "") << calls.failed();
        if (calls.failed().empty()) {
            EXPECT_EQ(reason, 0);
            EXPECT_GT(n, 20);
            break;
        }
        // A name without its text is another name, which does not always part the chain.
        static constexpr const char* kPassed[] = {"CertFreeCertificateContext", "CertCloseStore",
                                                  "CertDuplicateCertificateContext", "CertNameToStrW"};
        const bool mayPass = std::any_of(std::begin(kPassed), std::end(kPassed),
                                         [&calls](const char* entry) { return calls.failed().rfind(entry, 0) == 0; });
        EXPECT_TRUE(reason == 8204 || (mayPass && reason == 0)) << calls.failed() << " gives " << reason;
        ASSERT_LT(n, 200);
    }
}

TEST_F(chain_test, StoresByTheirNames) {
    store_.stores["SPC"];
    for (const char* name : {"MY", "CA", "ROOT", "SPC"}) {
        EXPECT_EQ(addTo(name, root()), 0) << name;
        EXPECT_EQ(stored(name), std::vector<Bytes>{root()}) << name;
    }
    store_.stores["AddressBook"];
    for (const char* name : {"AddressBook", "my", "root", "M", "RO", "X"})
        EXPECT_EQ(addTo(name, root()), 8101) << name;
    EXPECT_TRUE(stored("AddressBook").empty());
}

TEST_F(chain_test, ReasonsOfAStore) {
    EXPECT_EQ(addTo("", root()), 8204);
    EXPECT_EQ(addTo(nullptr, root()), 8204);
    EXPECT_EQ(addTo("CA", {}), 8204);
    EXPECT_EQ(AddToSystemStore("CA", nullptr, 5), 8204);
    EXPECT_EQ(addTo("CA", hex("30 00")), 8113);
    const auto failing = [](const char* entry) {
        CallPlan calls;
        calls.failCall(entry);
        const std::int32_t reason = addTo("CA", root());
        EXPECT_EQ(calls.openHandles(), "") << entry;
        return reason;
    };
    EXPECT_EQ(failing("CertOpenSystemStoreA"), 8101);
    EXPECT_EQ(failing("CertCreateCertificateContext"), 8113);
    EXPECT_EQ(failing("CertAddCertificateContextToStore"), 8110);
    EXPECT_TRUE(stored("CA").empty());
}

TEST_F(chain_test, WhatIsThereAlreadyStaysAsItIs) {
    FakeStore::Element& there = store_.add("CA", upper(), true);
    EXPECT_EQ(addTo("CA", upper()), 0);
    ASSERT_EQ(store_.stores["CA"].size(), 1U);
    EXPECT_EQ(store_.stores["CA"][0].get(), &there);
    EXPECT_NE(there.key, nullptr);
}

TEST_F(chain_test, MessageCutAtEveryByteIsNoChain) {
    const Bytes message = certificatesOnly({root(), upper(), leaf()});
    for (std::size_t size = 1; size < message.size(); ++size) {
        const Bytes cut(message.begin(), message.begin() + static_cast<std::ptrdiff_t>(size));
        ASSERT_EQ(extract(cut), (Extracted{8014, {}})) << size;
        ASSERT_EQ(storeChain(cut), 8204) << size;
    }
}

TEST_F(chain_test, ThousandsOfCertificates) {
    std::vector<Bytes> chain;
    constexpr int kCount = 4000;
    chain.reserve(kCount);
    for (int i = 0; i < kCount; ++i)
        chain.push_back(issued("CN=" + std::to_string(i), "CN=" + std::to_string(i == 0 ? 0 : i - 1)));
    const Bytes message = certificatesOnly(chain);
    EXPECT_EQ(extract(message), (Extracted{0, chain.back()}));
    EXPECT_EQ(slots(message), chain);
}

TEST_F(chain_test, ExhaustedMemoryIsAReasonOrAnException) {
    const Bytes message = certificatesOnly({root(), upper()});
    const auto buffer = std::make_unique<LeafBuffer>();
    std::vector<std::int32_t> seen;
    for (long n = 1;; ++n) {
        std::int32_t reason = 0;
        std::size_t size = 0;
        bool failed = false;
        {
            const FailingHeap heap(n);
            try {
                reason = ExtractLeafCertificate(message.data(), message.size(), *buffer, size);
            } catch (const std::bad_alloc&) {
                reason = -1;
            }
            failed = heap.failed();
        }
        if (!failed) {
            EXPECT_EQ(size, upper().size());
            break;
        }
        if (seen.empty() || seen.back() != reason)
            seen.push_back(reason);
    }
    // The context, the list, then reading the message, and choosing among what was read.
    EXPECT_EQ(seen, (std::vector<std::int32_t>{8002, 8012, 8014, 0}));
}

}  // namespace
