#include "enrol/move_key.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/call_plan.h"
#include "tests/support/certificate.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/fake_store.h"
#include "tests/support/fake_system_api.h"
#include "tests/support/replace.h"

namespace {

using enrol::MoveKeyToNewContainer;
using support::Bytes;
using support::CallPlan;
using support::FakeCryptoApi;
using support::FakeStore;
using support::FakeSystemApi;
using support::makeCertificate;
using support::Replaced;

constexpr char kProvider[] = "Fake Provider";
constexpr char kOld[] = "the waiting container";
// The first name that FakeSystemApi's identifiers make.
constexpr char kNew[] = "01234567-89AB-cdef-FEDC-BA9876543210";
constexpr DWORD kProtected = 3;  // CRYPT_EXPORTABLE | CRYPT_USER_PROTECTED

// The blob as a signature key's: the fake's says key exchange or signature by it.
Bytes blobOf(DWORD spec) {
    Bytes blob = support::fakePublicBlob(1024);
    blob[5] = spec == AT_SIGNATURE ? 0x24 : 0xA4;
    return blob;
}

class move_key_test : public testing::Test {
  protected:
    move_key_test() { reset(); }

    void reset() {
        crypto_.containers.clear();
        crypto_.addKey(kProvider, kOld, AT_SIGNATURE, 1024).publicBlob = blobOf(AT_SIGNATURE);
        store_.stores["MY"].clear();
    }

    std::int32_t move(DWORD flags = 0, std::int32_t keySpec = AT_SIGNATURE) const {
        return MoveKeyToNewContainer(der_.data(), der_.size(), kOld, kProvider, keySpec, flags);
    }

    // The new container's name, once there is one.
    std::string newName() const {
        for (const auto& container : crypto_.containers) {
            if (container.first.second != kOld)
                return container.first.second;
        }
        return "";
    }

    const Bytes der_ = makeCertificate({});
    FakeSystemApi system_;
    FakeCryptoApi crypto_;
    FakeStore store_;
};

TEST_F(move_key_test, KeyIsCopiedUnderTheFlags) {
    for (const DWORD flags : {kProtected, DWORD{0}}) {
        reset();
        const CallPlan calls;
        ASSERT_EQ(move(flags), 0);
        EXPECT_EQ(calls.openHandles(), "");
        ASSERT_EQ(crypto_.containers.size(), 2U);
        const FakeCryptoApi::Key& copy = crypto_.containers.at({kProvider, newName()}).at(AT_SIGNATURE);
        EXPECT_EQ(copy.flags, flags);
        EXPECT_EQ(copy.publicBlob, blobOf(AT_SIGNATURE));
        const FakeCryptoApi::Key& former = crypto_.containers.at({kProvider, kOld}).at(AT_SIGNATURE);
        EXPECT_EQ(former.flags, DWORD{CRYPT_EXPORTABLE}) << "the old container stays as it was";
        EXPECT_EQ(former.publicBlob, blobOf(AT_SIGNATURE));
    }
}

TEST_F(move_key_test, CertificateRefersToTheCopy) {
    ASSERT_EQ(move(), 0);
    EXPECT_EQ(newName(), kNew);
    ASSERT_EQ(store_.ders("MY"), std::vector<Bytes>{der_});
    const auto& noted = store_.stores["MY"][0]->key;
    ASSERT_NE(noted, nullptr);
    EXPECT_EQ(noted->container, std::wstring(kNew, kNew + 36));
    EXPECT_EQ(noted->provider, L"Fake Provider");
    EXPECT_EQ(noted->type, DWORD{PROV_RSA_FULL});
    EXPECT_EQ(noted->flags, 0U);
    EXPECT_EQ(noted->spec, DWORD{AT_SIGNATURE});
    EXPECT_EQ(store_.closeFlags, std::vector<DWORD>{0});
}

TEST_F(move_key_test, CallsInTheirOrder) {
    const CallPlan calls;
    ASSERT_EQ(move(), 0);
    std::vector<std::string> names;
    std::copy_if(calls.log().begin(), calls.log().end(), std::back_inserter(names),
                 [](const std::string& name) { return name[0] == 'C'; });
    EXPECT_EQ(names,
              (std::vector<std::string>{"CryptAcquireContextA", "CryptGetUserKey", "CryptExportKey", "CryptExportKey",
                                        "CryptDestroyKey", "CryptReleaseContext", "CoCreateGuid",
                                        "CryptAcquireContextA", "CryptImportKey", "CertOpenStore",
                                        "CertAddEncodedCertificateToStore", "CertSetCertificateContextProperty",
                                        "CertFreeCertificateContext", "CryptDestroyKey", "CertCloseStore"}))
        << "the store releases the new container's context";
}

TEST_F(move_key_test, KeyExchangeKeyMovesAsOne) {
    crypto_.addKey(kProvider, kOld, AT_KEYEXCHANGE, 1024).publicBlob = blobOf(AT_KEYEXCHANGE);
    ASSERT_EQ(move(0, AT_KEYEXCHANGE), 0);
    EXPECT_EQ(crypto_.containers.at({kProvider, newName()}).count(AT_KEYEXCHANGE), 1U);
    EXPECT_EQ(crypto_.containers.at({kProvider, newName()}).count(AT_SIGNATURE), 0U);
    EXPECT_EQ(store_.stores["MY"][0]->key->spec, DWORD{AT_KEYEXCHANGE});
}

TEST_F(move_key_test, ImportGetsWhatTheSecondExportGave) {
    const Replaced<&platform::CryptoApi::CryptExportKey> exported(
        [&](HCRYPTKEY key, HCRYPTKEY wrapping, DWORD type, DWORD flags, BYTE* data, DWORD* size) {
            EXPECT_EQ(wrapping, 0U);
            EXPECT_EQ(type, DWORD{PRIVATEKEYBLOB});
            EXPECT_EQ(flags, 0U);
            const BOOL given = exported.original(key, wrapping, type, flags, data, size);
            if (data == nullptr)
                *size += 100;  // a provider may ask for more room than it needs
            return given;
        });
    const DWORD expected = static_cast<DWORD>(support::fakePrivateBlob(blobOf(AT_SIGNATURE)).size());
    const Replaced<&platform::CryptoApi::CryptImportKey> imported(
        [&](HCRYPTPROV prov, const BYTE* data, DWORD size, HCRYPTKEY wrapping, DWORD flags, HCRYPTKEY* key) {
            EXPECT_EQ(size, expected);
            EXPECT_EQ(wrapping, 0U);
            return imported.original(prov, data, size, wrapping, flags, key);
        });
    EXPECT_EQ(move(), 0);
}

TEST_F(move_key_test, NothingAtAllIsRefused) {
    const CallPlan calls;
    EXPECT_EQ(MoveKeyToNewContainer(nullptr, 10, kOld, kProvider, 2, 0), 8215);
    EXPECT_EQ(MoveKeyToNewContainer(der_.data(), 0, kOld, kProvider, 2, 0), 8215);
    EXPECT_EQ(MoveKeyToNewContainer(der_.data(), der_.size(), nullptr, kProvider, 2, 0), 8215);
    EXPECT_EQ(MoveKeyToNewContainer(der_.data(), der_.size(), "", kProvider, 2, 0), 8215);
    EXPECT_TRUE(calls.log().empty());
}

TEST_F(move_key_test, MissingContainerAndMissingKey) {
    EXPECT_EQ(move(0, AT_KEYEXCHANGE), 8105);
    crypto_.containers.clear();
    EXPECT_EQ(move(), 8103);
    EXPECT_TRUE(crypto_.containers.empty());
}

TEST_F(move_key_test, KeyThatMayNotLeaveStaysWhereItIs) {
    crypto_.containers.at({kProvider, kOld}).at(AT_SIGNATURE).flags = 0;
    const CallPlan calls;
    EXPECT_EQ(move(), 8106);
    EXPECT_EQ(calls.openHandles(), "");
    EXPECT_EQ(crypto_.containers.size(), 1U);
    EXPECT_TRUE(store_.ders("MY").empty());
}

TEST_F(move_key_test, ContainersAreTriedUntilOneIsMade) {
    std::set<std::string> names;
    int attempts = 0;
    const Replaced<&platform::CryptoApi::CryptAcquireContextA> acquire(
        [&](HCRYPTPROV* prov, LPCSTR container, LPCSTR provider, DWORD type, DWORD flags) {
            if (flags == CRYPT_NEWKEYSET) {
                EXPECT_EQ(type, DWORD{PROV_RSA_FULL});
                names.insert(container);
                if (++attempts < 1000) {
                    platform::sys().SetLastError(static_cast<DWORD>(NTE_EXISTS));
                    return FALSE;
                }
            }
            return acquire.original(prov, container, provider, type, flags);
        });
    const CallPlan calls;
    EXPECT_EQ(move(), 0);
    EXPECT_EQ(attempts, 1000);
    EXPECT_EQ(names.size(), 1000U) << "another name each time";
    EXPECT_EQ(calls.openHandles(), "");
    EXPECT_EQ(store_.stores["MY"][0]->key->container, L"0123494E-89AB-cdef-FEDC-BA9876543210");
}

TEST_F(move_key_test, NameThatIsTakenIsNotUsed) {
    crypto_.addKey(kProvider, kNew, AT_SIGNATURE, 512);
    EXPECT_EQ(move(), 0);
    EXPECT_EQ(crypto_.containers.size(), 3U);
    EXPECT_EQ(crypto_.containers.at({kProvider, kNew}).at(AT_SIGNATURE).bits, 512U);
    EXPECT_EQ(store_.stores["MY"][0]->key->container, L"01234568-89AB-cdef-FEDC-BA9876543210");
}

TEST_F(move_key_test, WithoutANameThereIsAnException) {
    CallPlan calls;
    calls.failCall("CoCreateGuid");
    EXPECT_THROW(move(), std::runtime_error);
    EXPECT_EQ(calls.openHandles(), "");
    EXPECT_EQ(crypto_.containers.size(), 1U);
}

TEST_F(move_key_test, EachFailureHasItsReason) {
    const struct {
        const char* entry;
        int occurrence;
        std::int32_t reason;
    } kCases[] = {{"CryptAcquireContextA", 1, 8103},
                  {"CryptGetUserKey", 1, 8105},
                  {"CryptExportKey", 1, 8106},
                  {"CryptExportKey", 2, 8108},
                  {"CryptImportKey", 1, 8117},
                  {"CertOpenStore", 1, 8101},
                  {"CertAddEncodedCertificateToStore", 1, 8110},
                  {"CryptAcquireContextA", 2, 0},  // tried again
                  {"CertSetCertificateContextProperty", 1, 0},
                  {"CertFreeCertificateContext", 1, 0},
                  {"CryptDestroyKey", 1, 0},
                  {"CryptDestroyKey", 2, 0},
                  {"CryptReleaseContext", 1, 0},
                  {"CertCloseStore", 1, 0}};
    for (const auto& one : kCases) {
        reset();
        CallPlan calls;
        calls.failCall(one.entry, one.occurrence);
        EXPECT_EQ(move(), one.reason) << one.entry;
        EXPECT_NE(calls.failed(), "") << one.entry;
        EXPECT_EQ(calls.openHandles(), "") << one.entry;
        EXPECT_EQ(store_.ders("MY").size(), one.reason == 0 ? 1U : 0U) << one.entry;
        EXPECT_EQ(crypto_.containers.count({kProvider, kOld}), 1U) << one.entry;
    }
}

}  // namespace
