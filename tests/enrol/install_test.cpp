#include "enrol/install.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#include "enrol/state.h"
#include "tests/support/call_plan.h"
#include "tests/support/certificate.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/fake_store.h"
#include "tests/support/fake_system_api.h"
#include "tests/support/replace.h"
#include "tests/vectors/enrol_certificates.h"

namespace {

using support::base64;
using support::Bytes;
using support::CallPlan;
using support::FakeCryptoApi;
using support::FakeStore;
using support::FakeSystemApi;
using support::hex;
using support::Replaced;

constexpr char kContainer[] = "01234567-89AB-cdef-FEDC-BA9876543210";
constexpr char kMicrosoft[] = "Microsoft Base Cryptographic Provider v1.0";
constexpr char kOther[] = "Example Token Provider";

using Operation = std::int32_t (*)(const char*, std::size_t);
constexpr Operation kAll[] = {enrol::WriteClientCert, enrol::WriteClientCertNoProtect, enrol::WriteClientCertExpX509};

class install_test : public testing::Test {
  protected:
    install_test() {
        crypto_.providers = {{kMicrosoft, PROV_RSA_FULL}, {kOther, PROV_RSA_FULL}};
        for (const char* provider : {kMicrosoft, kOther}) {
            FakeCryptoApi::Key& key = crypto_.addKey(provider, kContainer, AT_SIGNATURE, 1024);
            key.publicBlob = hex(vectors::kAliceKey);
            key.flags = 0;  // not exportable
        }
        system_.writeMarker(kContainer);
        choose(kMicrosoft);
    }
    ~install_test() override {
        enrol::forgetProvider();
        enrol::sKeySpec = AT_SIGNATURE;
    }

    static void choose(const char* provider) { enrol::chooseProvider(provider, std::strlen(provider)); }
    static std::int32_t run(Operation operation, const Bytes& der) {
        const std::string text = base64(der);
        return operation(text.data(), text.size());
    }

    FakeSystemApi system_;
    FakeCryptoApi crypto_;
    FakeStore store_;
};

TEST_F(install_test, AllThreeInstallABareCertificateOfANonExportableKey) {
    for (const Operation operation : kAll) {
        store_.stores["MY"].clear();
        system_.writeMarker(kContainer);
        EXPECT_EQ(run(operation, hex(vectors::kAlice)), 0);
        EXPECT_EQ(store_.ders("MY"), std::vector<Bytes>{hex(vectors::kAlice)});
        EXPECT_EQ(system_.marker(), "(none)");
    }
}

TEST_F(install_test, ProviderAndKeySpecificationAreTheChosenOnes) {
    enrol::sKeySpec = AT_KEYEXCHANGE;
    EXPECT_EQ(run(enrol::WriteClientCert, hex(vectors::kAlice)), 0);
    EXPECT_EQ(store_.stores["MY"][0]->key->spec, AT_KEYEXCHANGE);
    EXPECT_EQ(store_.stores["MY"][0]->key->provider, std::wstring(kMicrosoft, kMicrosoft + std::strlen(kMicrosoft)));
    system_.writeMarker(kContainer);
    choose(kOther);
    EXPECT_EQ(run(enrol::WriteClientCert, hex(vectors::kAlice)), 0);
    EXPECT_EQ(crypto_.containers.at({kOther, kContainer}).at(AT_SIGNATURE).certificate, hex(vectors::kAlice));
}

// A provider's dialog lets messages through, and with them another call of a page.
TEST_F(install_test, AProviderForgottenDuringTheInstallationDoesNotChangeIt) {
    const Replaced<& platform::CryptoApi::CryptAcquireContextW>* replaced = nullptr;
    const Replaced<&platform::CryptoApi::CryptAcquireContextW> acquire(
        [&](HCRYPTPROV* prov, LPCWSTR container, LPCWSTR provider, DWORD type, DWORD flags) {
            const BOOL opened = replaced->original(prov, container, provider, type, flags);
            std::memset(enrol::sProviderName, '#', std::strlen(enrol::sProviderName));
            enrol::forgetProvider();
            return opened;
        });
    replaced = &acquire;
    for (const Operation operation : kAll) {
        store_.stores["MY"].clear();
        system_.writeMarker(kContainer);
        choose(kMicrosoft);
        EXPECT_EQ(run(operation, hex(vectors::kAlice)), 0);
        ASSERT_EQ(store_.ders("MY").size(), 1U);
        EXPECT_EQ(store_.stores["MY"][0]->key->provider,
                  std::wstring(kMicrosoft, kMicrosoft + std::strlen(kMicrosoft)));
    }
}

// Whatever a provider's or a store's code throws.
TEST_F(install_test, AnExceptionEndsTheInstallation) {
    const Replaced<&platform::CryptoApi::CryptAcquireContextW> acquire(
        [](HCRYPTPROV*, LPCWSTR, LPCWSTR, DWORD, DWORD) -> BOOL { throw std::runtime_error("of another kind"); });
    for (const Operation operation : kAll) {
        system_.writeMarker(kContainer);
        EXPECT_EQ(run(operation, hex(vectors::kAlice)), 22068311);
        EXPECT_TRUE(store_.ders("MY").empty());
    }
    const Replaced<&platform::CryptoApi::CertCreateCertificateContext> create(
        [](DWORD, const BYTE*, DWORD) -> PCCERT_CONTEXT { throw std::bad_alloc(); });
    for (const Operation operation : kAll) {
        system_.writeMarker(kContainer);
        EXPECT_EQ(run(operation, hex(vectors::kAlice)), 22068311);
    }
}

TEST_F(install_test, WithoutAProviderTheMarkerIsConsumed) {
    for (const Operation operation : kAll) {
        enrol::forgetProvider();
        system_.writeMarker(kContainer);
        EXPECT_EQ(run(operation, hex(vectors::kAlice)), 22068201);
        EXPECT_EQ(system_.marker(), "(none)");
    }
}

TEST_F(install_test, WithoutAMarkerThereIsNoInstallation) {
    for (const Operation operation : kAll) {
        const bool hasMarker = system_.marker() != "(none)";
        EXPECT_EQ(run(operation, hex(vectors::kBob)), hasMarker ? 22068125 : 22038309);
        EXPECT_EQ(run(operation, hex(vectors::kAlice)), 22038309);
        EXPECT_TRUE(store_.ders("MY").empty());
    }
}

TEST_F(install_test, CertificateOfAnotherKeyConsumesTheMarker) {
    for (const Operation operation : kAll) {
        system_.writeMarker(kContainer);
        EXPECT_EQ(run(operation, hex(vectors::kBob)), 22068125);
        EXPECT_EQ(system_.marker(), "(none)");
    }
}

TEST_F(install_test, TextOfNeitherShapeLeavesTheMarker) {
    const std::string garbage[] = {"",
                                   "MAA",
                                   "====",
                                   base64(hex("30 03 02 01 00")),
                                   base64(hex(vectors::kPlainText)),
                                   std::string(1 << 20, 'A'),
                                   std::string((1 << 20) + 1, 'M')};
    for (const std::string& text : garbage) {
        for (const Operation operation : kAll) {
            const CallPlan calls;
            EXPECT_EQ(operation(text.data(), text.size()), 22038226) << text.substr(0, 70);
            EXPECT_EQ(system_.marker(), kContainer);
            EXPECT_TRUE(calls.log().empty());
        }
    }
}

// All that tells the two apart is how the moved key is protected.
TEST_F(install_test, ChainIsTakenByTheFirstTwoAlone) {
    crypto_.containers.at({kMicrosoft, kContainer}).at(AT_SIGNATURE).flags = CRYPT_EXPORTABLE;
    EXPECT_EQ(run(enrol::WriteClientCertExpX509, hex(vectors::kIssuedChain)), 22038226);
    EXPECT_EQ(system_.marker(), kContainer);
    std::vector<DWORD> flags;
    const Replaced<&platform::CryptoApi::CryptImportKey> import(
        [&](HCRYPTPROV prov, const BYTE* data, DWORD size, HCRYPTKEY wrapping, DWORD asked, HCRYPTKEY* key) {
            flags.push_back(asked);
            return import.original(prov, data, size, wrapping, asked, key);
        });
    for (const Operation operation : {kAll[0], kAll[1]}) {
        system_.writeMarker(kContainer);
        EXPECT_EQ(run(operation, hex(vectors::kIssuedChain)), 0);
        EXPECT_EQ(system_.marker(), "(none)");
        EXPECT_EQ(store_.ders("MY"), std::vector<Bytes>{hex(vectors::kAliceIssued)});
        EXPECT_EQ(store_.ders("ROOT"), std::vector<Bytes>{hex(vectors::kAuthority)});
        EXPECT_EQ(store_.ders("CA"), std::vector<Bytes>{hex(vectors::kIssuing)});
    }
    EXPECT_EQ(flags, (std::vector<DWORD>{3, 0}));
}

TEST_F(install_test, ChainForAKeyThatMayNotLeaveConsumesTheMarker) {
    for (const Operation operation : {kAll[0], kAll[1]}) {
        system_.writeMarker(kContainer);
        EXPECT_EQ(run(operation, hex(vectors::kIssuedChain)), 22068106);
        EXPECT_EQ(system_.marker(), "(none)");
        EXPECT_TRUE(store_.ders("MY").empty());
    }
}

TEST_F(install_test, ChainTakesTheChosenKeySpecification) {
    enrol::sKeySpec = AT_KEYEXCHANGE;
    EXPECT_EQ(run(enrol::WriteClientCert, hex(vectors::kIssuedChain)), 22068105) << "there is no such key";
}

TEST_F(install_test, SignedDataWithoutAProviderOrMarker) {
    enrol::forgetProvider();
    EXPECT_EQ(run(enrol::WriteClientCert, hex(vectors::kAliceChain)), 22068201);
    EXPECT_EQ(run(enrol::WriteClientCert, hex(vectors::kAliceChain)), 22038309);
}

TEST_F(install_test, CertificateCutAtEveryByteLeavesTheMarker) {
    const Bytes der = hex(vectors::kAlice);
    for (std::size_t size = 0; size < der.size(); ++size) {
        ASSERT_EQ(run(enrol::WriteClientCert, Bytes(der.begin(), der.begin() + static_cast<std::ptrdiff_t>(size))),
                  22038226)
            << size;
    }
    EXPECT_EQ(system_.marker(), kContainer);
}

}  // namespace
