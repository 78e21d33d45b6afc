// Installation, queries and clean-up against the platform itself: the user's store under Wine in a scratch prefix, and
// natively the NSS database of a scratch home folder.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "enrol/ansi_text.h"
#include "enrol/cert_handles.h"
#include "enrol/ch_cert.h"
#include "enrol/codes.h"
#include "enrol/container.h"
#include "enrol/install.h"
#include "enrol/state.h"
#include "enrol/store.h"
#include "tests/support/call_plan.h"
#include "tests/support/certificate.h"
#include "tests/support/platform_home.h"
#include "tests/vectors/enrol_certificates.h"

namespace {

using enrol::CertificateExists;
using enrol::CertificateHandle;
using enrol::CHCert;
using enrol::CheckCertificateInWindowsStores;
using enrol::DeleteCertificate;
using enrol::KeyHandle;
using enrol::ProviderHandle;
using enrol::PruneCertificates;
using enrol::StoreHandle;
using enrol::StoreWalk;
using enrol::WriteClientCert;
using platform::capi;
using support::base64;
using support::Bytes;
using support::CallPlan;
using support::CertificateParts;
using support::hex;
using support::makeCertificate;

constexpr char kContainer[] = "vemtrel test container";
constexpr char kIssuer[] = "CN=RealCA,O=Example";
constexpr char kSubject[] = "CN=RealUser,O=Example";
// Known on both platforms, and of the maker whose providers keep certificates in the store.
constexpr char kMicrosoft[] = "Microsoft Enhanced Cryptographic Provider v1.0";

class real_store_test : public testing::Test {
  protected:
    real_store_test() {
        char name[256] = {};
        DWORD size = sizeof name;
        DWORD type = 0;
        EXPECT_TRUE(capi().CryptEnumProvidersA(0, nullptr, 0, &type, name, &size));
        provider_ = name;
        enrol::chooseProvider(provider_.data(), provider_.size());
        forgetKey();
        emptyStore("MY");
        makeKey();
    }
    ~real_store_test() override {
        emptyStore("MY");
        emptyStore("CA");
        forgetKey();
        enrol::forgetProvider();
    }

    void forgetKey(const std::string& container = kContainer) const {
        HCRYPTPROV none = 0;
        capi().CryptAcquireContextA(&none, container.c_str(), provider_.c_str(), PROV_RSA_FULL, CRYPT_DELETEKEYSET);
    }

    // Makes a signature key in the container and notes its public half.
    void makeKey(DWORD flags = 0) {
        ProviderHandle prov;
        ASSERT_TRUE(
            capi().CryptAcquireContextA(prov.receive(), kContainer, provider_.c_str(), PROV_RSA_FULL, CRYPT_NEWKEYSET));
        KeyHandle key;
        ASSERT_TRUE(capi().CryptGenKey(prov.get(), AT_SIGNATURE, 1024U << 16 | flags, key.receive()));
        DWORD size = 0;
        ASSERT_TRUE(capi().CryptExportKey(key.get(), 0, PUBLICKEYBLOB, 0, nullptr, &size));
        publicBlob_.resize(size);
        ASSERT_TRUE(capi().CryptExportKey(key.get(), 0, PUBLICKEYBLOB, 0, publicBlob_.data(), &size));
    }

    static void emptyStore(const char* name) {
        const StoreHandle store(capi().CertOpenSystemStoreA(0, name));
        ASSERT_TRUE(store);
        std::vector<CHCert> all;
        StoreWalk walk(store.get());
        while (const PCCERT_CONTEXT certificate = walk.next())
            all.emplace_back(certificate);
        for (const CHCert& certificate : all)
            capi().CertDeleteCertificateFromStore(capi().CertDuplicateCertificateContext(certificate.context));
        all.clear();
        capi().CertControlStore(store.get(), 0, CERT_STORE_CTRL_COMMIT, nullptr);
    }

    static std::vector<CHCert> storeContent(const char* name, StoreHandle& store) {
        store.reset(capi().CertOpenSystemStoreA(0, name));
        std::vector<CHCert> all;
        StoreWalk walk(store.get());
        while (const PCCERT_CONTEXT certificate = walk.next())
            all.emplace_back(certificate);
        return all;
    }

    Bytes certificate(const Bytes& serial, const std::string& notBefore = "20141021103000Z") const {
        CertificateParts parts;
        parts.subject = "O=Example, CN=RealUser";
        parts.issuer = "O=Example, CN=RealCA";
        parts.serial = serial;
        parts.notBefore = notBefore;
        parts.publicBlob = publicBlob_;
        return makeCertificate(parts);
    }

    // Installs a certificate as after a request: the marker names the container.
    static std::int32_t install(const Bytes& der) {
        enrol::ContainerName name = {};
        std::strncpy(name, kContainer, sizeof name - 1);
        EXPECT_EQ(enrol::WriteContainerMarker(name), 0);
        const std::string text = base64(der);
        return WriteClientCert(text.data(), text.size());
    }
    static std::int32_t check(const Bytes& der) {
        const std::string text = base64(der);
        return CheckCertificateInWindowsStores(text.data(), text.size());
    }

    // Before anything asks the platform for the user's home.
    const support::PlatformHome home_;
    std::string provider_;
    Bytes publicBlob_;
};

TEST_F(real_store_test, CertificateIsInstalledFoundAndDeleted) {
    const CallPlan calls;
    EXPECT_EQ(CertificateExists(kIssuer, "0A1B"), 1);
    EXPECT_EQ(install(certificate(hex("0A 1B"))), 0);
    EXPECT_EQ(CertificateExists(kIssuer, "0A1B"), 0);
    EXPECT_EQ(CertificateExists("RealCA,Example", "0a 1b"), 0);
    EXPECT_EQ(CertificateExists(kIssuer, "0A1C"), 1);
    EXPECT_EQ(CertificateExists("CN=RealCA", "0A1B"), 1);
    EXPECT_EQ(DeleteCertificate(kIssuer, "0A1C"), 22218126);
    EXPECT_EQ(DeleteCertificate(kIssuer, "0A1B"), 0);
    EXPECT_EQ(CertificateExists(kIssuer, "0A1B"), 1);
    EXPECT_EQ(DeleteCertificate(kIssuer, "0A1B"), 22218126);
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(real_store_test, InstalledCertificateKnowsItsKey) {
    ASSERT_EQ(install(certificate(hex("01"))), 0);
    StoreHandle store;
    const std::vector<CHCert> all = storeContent("MY", store);
    ASSERT_EQ(all.size(), 1U);
    DWORD spec = 0;
    EXPECT_TRUE(all[0].GetKeySpec(spec));
    EXPECT_EQ(spec, AT_SIGNATURE);
    DWORD size = 0;
    ASSERT_TRUE(capi().CertGetCertificateContextProperty(all[0].context, CERT_KEY_PROV_INFO_PROP_ID, nullptr, &size));
    std::vector<BYTE> record(size);
    ASSERT_TRUE(
        capi().CertGetCertificateContextProperty(all[0].context, CERT_KEY_PROV_INFO_PROP_ID, record.data(), &size));
    const auto* info = reinterpret_cast<const CRYPT_KEY_PROV_INFO*>(record.data());
    EXPECT_EQ(std::wstring(info->pwszContainerName), enrol::widen(CP_ACP, kContainer));
    EXPECT_EQ(std::wstring(info->pwszProvName), enrol::widen(CP_ACP, provider_.c_str()));
    EXPECT_EQ(info->dwProvType, DWORD{PROV_RSA_FULL});
    EXPECT_EQ(all[0].GetSubjectName(), L"O=Example, CN=RealUser");
    EXPECT_EQ(all[0].GetIssuerName(), L"O=Example, CN=RealCA");
    EXPECT_EQ(all[0].GetNotBeforeText(), L"2014\u5E7410\u670821\u65E5 10:30:00");
}

TEST_F(real_store_test, ContainerKeepsItsNameAfterTheInstallation) {
    ASSERT_EQ(install(certificate(hex("01"))), 0);
    ProviderHandle prov;
    EXPECT_TRUE(capi().CryptAcquireContextA(prov.receive(), kContainer, provider_.c_str(), PROV_RSA_FULL, 0));
}

TEST_F(real_store_test, CertificateOfAnotherKeyIsRefused) {
    EXPECT_EQ(install(hex(vectors::kAlice)), 22068125);
    StoreHandle store;
    EXPECT_TRUE(storeContent("MY", store).empty());
}

TEST_F(real_store_test, MissingContainerIsRefused) {
    forgetKey();
    EXPECT_EQ(install(hex(vectors::kAlice)), 22068103);
}

TEST_F(real_store_test, UnreadableCertificateIsRefused) {
    // The shape alone: nothing in it is a certificate.
    const std::int32_t code = install(hex("30 0D 30 05 A0 03 02 01 02 30 00 03 02 00 FF"));
    EXPECT_EQ(code, provider_.rfind("Microsoft", 0) == 0 ? 22068110 : 22068118);
}

TEST_F(real_store_test, CertificateCutAtEveryByteIsNoCertificate) {
    const Bytes der = certificate(hex("01"));
    const CallPlan calls;
    for (std::size_t size = 0; size < der.size(); size += 7)
        EXPECT_EQ(check(Bytes(der.begin(), der.begin() + static_cast<std::ptrdiff_t>(size))), 22208113) << size;
    EXPECT_EQ(calls.openHandles(), "");
}

TEST_F(real_store_test, PruningKeepsTheLatest) {
    ASSERT_EQ(install(certificate(hex("01"), "20140101000000Z")), 0);
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 22238126) << "one alone";
    ASSERT_EQ(install(certificate(hex("02"), "20160101000000Z")), 0);
    ASSERT_EQ(install(certificate(hex("03"), "20150101000000Z")), 0);
    EXPECT_EQ(PruneCertificates("CN=Somebody", kIssuer), 22238126);
    const CallPlan calls;
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(calls.openHandles(), "");
    EXPECT_EQ(CertificateExists(kIssuer, "01"), 1);
    EXPECT_EQ(CertificateExists(kIssuer, "02"), 0);
    EXPECT_EQ(CertificateExists(kIssuer, "03"), 1);
}

TEST_F(real_store_test, PruningKeepsTheLargerSerialOfTheSameStart) {
    ASSERT_EQ(install(certificate(hex("05"))), 0);
    ASSERT_EQ(install(certificate(hex("03"))), 0);
    ASSERT_EQ(install(certificate(hex("07"))), 0);
    EXPECT_EQ(PruneCertificates(kSubject, kIssuer), 0);
    EXPECT_EQ(CertificateExists(kIssuer, "03"), 1);
    EXPECT_EQ(CertificateExists(kIssuer, "05"), 1);
    EXPECT_EQ(CertificateExists(kIssuer, "07"), 0);
}

TEST_F(real_store_test, SerialsOfEveryLengthAreFound) {
    const struct {
        const char* der;
        const char* text;
    } kSerials[] = {{"7F", "7F"},
                    {"00 80", "0080"},
                    {"00F0E0D0C0B0A090807060504030201000F1E1", "00F0E0D0C0B0A090807060504030201000F1E1"}};
    for (const auto& serial : kSerials) {
        ASSERT_EQ(install(certificate(hex(serial.der))), 0);
        EXPECT_EQ(CertificateExists(kIssuer, serial.text), 0) << serial.text;
        EXPECT_EQ(DeleteCertificate(kIssuer, serial.text), 0) << serial.text;
    }
}

TEST_F(real_store_test, AuthorityIsFoundInTheAuthoritiesStoreAlone) {
    const Bytes authority = hex(vectors::kAuthority);
    EXPECT_EQ(check(authority), 22208321);
    {
        const StoreHandle store(capi().CertOpenSystemStoreA(0, "CA"));
        CertificateHandle added;
        ASSERT_TRUE(capi().CertAddEncodedCertificateToStore(store.get(), X509_ASN_ENCODING, authority.data(),
                                                            static_cast<DWORD>(authority.size()),
                                                            CERT_STORE_ADD_REPLACE_EXISTING, added.receive()));
    }
    const CallPlan calls;
    EXPECT_EQ(check(authority), 0);
    EXPECT_EQ(check(hex(vectors::kAlice)), 22208321);
    EXPECT_EQ(calls.openHandles(), "");
}

// The text of names is the same on both platforms.
TEST_F(real_store_test, NamesReadAsOnTheOtherPlatform) {
    const auto subjectOf = [](const Bytes& der) {
        const CertificateHandle made(
            capi().CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size())));
        return CHCert(made.get()).GetSubjectName();
    };
    EXPECT_EQ(subjectOf(hex(vectors::kAuthority)), L"C=DE, O=Example, CN=Test Authority");
    EXPECT_EQ(subjectOf(hex(vectors::kAlice)), L"C=DE, O=Example, CN=Alice");
    EXPECT_EQ(subjectOf(hex(vectors::kBob)), L"C=DE, O=Example, OU=Staff, CN=Bob, E=bob@example.test");
}

// With the Microsoft provider: the key moves to a container of its own.
class real_store_test_chain : public real_store_test {
  protected:
    real_store_test_chain() { useProvider(kMicrosoft, CRYPT_EXPORTABLE); }
    ~real_store_test_chain() override {
        for (const Bytes& der : {root_, intermediate_})
            remove("ROOT", der);
        forgetMovedKey();
    }

    // A new key with the chain's leaf for it.
    void useProvider(const std::string& provider, DWORD flags) {
        forgetKey();
        provider_ = provider;
        enrol::chooseProvider(provider_.data(), provider_.size());
        forgetKey();
        makeKey(flags);
        leaf_ = certificate(hex("0C 01"));
    }

    // Removes that certificate alone: the store has the system's own authorities as well.
    static void remove(const char* name, const Bytes& der) {
        const StoreHandle store(capi().CertOpenSystemStoreA(0, name));
        std::vector<CHCert> found;
        StoreWalk walk(store.get());
        while (const PCCERT_CONTEXT certificate = walk.next()) {
            if (Bytes(certificate->pbCertEncoded, certificate->pbCertEncoded + certificate->cbCertEncoded) == der)
                found.emplace_back(certificate);
        }
        for (const CHCert& certificate : found)
            capi().CertDeleteCertificateFromStore(capi().CertDuplicateCertificateContext(certificate.context));
        found.clear();
        capi().CertControlStore(store.get(), 0, CERT_STORE_CTRL_COMMIT, nullptr);
    }

    static int count(const char* name, const Bytes& der) {
        StoreHandle store;
        const std::vector<CHCert> all = storeContent(name, store);
        return static_cast<int>(std::count_if(all.begin(), all.end(), [&der](const CHCert& one) {
            return Bytes(one.context->pbCertEncoded, one.context->pbCertEncoded + one.context->cbCertEncoded) == der;
        }));
    }

    static std::int32_t installChain(const std::vector<Bytes>& chain, bool isProtected = true) {
        enrol::ContainerName name = {};
        std::strncpy(name, kContainer, sizeof name - 1);
        EXPECT_EQ(enrol::WriteContainerMarker(name), 0);
        const std::string text = base64(support::certificatesOnly(chain));
        const CallPlan calls;
        const std::int32_t code = isProtected ? WriteClientCert(text.data(), text.size())
                                              : enrol::WriteClientCertNoProtect(text.data(), text.size());
        EXPECT_EQ(calls.openHandles(), "");
        EXPECT_NE(enrol::ReadContainerMarker(name), 0) << "the marker is consumed";
        return code;
    }

    // The container that the certificate in "MY" refers to; empty without one.
    static std::string notedContainer() {
        StoreHandle store;
        const std::vector<CHCert> all = storeContent("MY", store);
        DWORD size = 0;
        if (all.size() != 1 || capi().CertGetCertificateContextProperty(all[0].context, CERT_KEY_PROV_INFO_PROP_ID,
                                                                        nullptr, &size) == FALSE)
            return "";
        std::vector<BYTE> record(size);
        EXPECT_TRUE(
            capi().CertGetCertificateContextProperty(all[0].context, CERT_KEY_PROV_INFO_PROP_ID, record.data(), &size));
        const auto* info = reinterpret_cast<const CRYPT_KEY_PROV_INFO*>(record.data());
        const std::wstring name = info->pwszContainerName;
        return {name.begin(), name.end()};
    }
    void forgetMovedKey() const {
        if (const std::string name = notedContainer(); !name.empty())
            forgetKey(name);
    }

    // Whether the container's key is the one that the request was made with; and whether it may be exported.
    bool hasOurKey(const std::string& container) const {
        ProviderHandle prov;
        KeyHandle key;
        Bytes blob(publicBlob_.size());
        auto size = static_cast<DWORD>(blob.size());
        return capi().CryptAcquireContextA(prov.receive(), container.c_str(), provider_.c_str(), PROV_RSA_FULL, 0) &&
               capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.receive()) &&
               capi().CryptExportKey(key.get(), 0, PUBLICKEYBLOB, 0, blob.data(), &size) && blob == publicBlob_;
    }
    bool isExportable(const std::string& container) const {
        ProviderHandle prov;
        KeyHandle key;
        DWORD size = 0;
        return capi().CryptAcquireContextA(prov.receive(), container.c_str(), provider_.c_str(), PROV_RSA_FULL, 0) &&
               capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.receive()) &&
               capi().CryptExportKey(key.get(), 0, PRIVATEKEYBLOB, 0, nullptr, &size);
    }

    static Bytes authority(const std::string& subject, const std::string& issuer, std::uint8_t serial) {
        CertificateParts parts;
        parts.serial = {serial};
        parts.subject = subject;
        parts.issuer = issuer;
        return makeCertificate(parts);
    }

    const Bytes root_ = authority("O=Example, CN=RealRoot", "O=Example, CN=RealRoot", 1);
    const Bytes intermediate_ = authority("O=Example, CN=RealCA", "O=Example, CN=RealRoot", 2);
    Bytes leaf_;
};

TEST_F(real_store_test_chain, ChainIsInstalledUnderEitherProtection) {
    for (const bool isProtected : {true, false}) {
        useProvider(kMicrosoft, CRYPT_EXPORTABLE);
        ASSERT_EQ(installChain({intermediate_, leaf_, root_}, isProtected), 0);
        EXPECT_EQ(count("MY", leaf_), 1);
        EXPECT_EQ(count("ROOT", root_), 1);
        EXPECT_EQ(count("CA", intermediate_), 1);
        EXPECT_EQ(check(root_), 0);
        EXPECT_EQ(check(intermediate_), 0);
        EXPECT_EQ(check(leaf_), 22208321);
        EXPECT_EQ(CertificateExists(kIssuer, "0C01"), 0);
        const std::string container = notedContainer();
        EXPECT_EQ(container.size(), 36U);
        EXPECT_TRUE(hasOurKey(container));
        EXPECT_EQ(isExportable(container), isProtected);
        forgetMovedKey();
        emptyStore("MY");
    }
}

TEST_F(real_store_test_chain, KeyThatMayNotLeaveIsNotInstalled) {
    useProvider(kMicrosoft, 0);
    const std::int32_t code = installChain({root_, intermediate_, leaf_});
    EXPECT_TRUE(code == 22068106 || code == 22068108) << code;
    EXPECT_EQ(count("MY", leaf_), 0);
    EXPECT_EQ(count("ROOT", root_), 0);
    EXPECT_TRUE(hasOurKey(kContainer)) << "the waiting key stays";
}

TEST_F(real_store_test_chain, CertificateAloneIsBoundBeforeItIsNoChain) {
    EXPECT_EQ(installChain({leaf_}), 22068207);
    EXPECT_EQ(count("MY", leaf_), 1);
    EXPECT_TRUE(hasOurKey(notedContainer()));
}

TEST_F(real_store_test_chain, ChainOfAnotherKeyIsRefused) {
    EXPECT_EQ(installChain({root_, hex(vectors::kAlice)}), 22068125);
    EXPECT_EQ(count("ROOT", root_), 0);
}

TEST_F(real_store_test_chain, MessageOfOpensslReachesTheStores) {
    enrol::ContainerName name = {};
    std::strncpy(name, kContainer, sizeof name - 1);
    ASSERT_EQ(enrol::WriteContainerMarker(name), 0);
    const std::string text = base64(hex(vectors::kIssuedChain));
    // The key is Alice's as far as the comparison can see.
    CallPlan calls;
    calls.failCall("CryptExportPublicKeyInfo");
    EXPECT_EQ(WriteClientCert(text.data(), text.size()), 0);
    EXPECT_EQ(count("MY", hex(vectors::kAliceIssued)), 1);
    EXPECT_EQ(count("ROOT", hex(vectors::kAuthority)), 1);
    EXPECT_EQ(count("CA", hex(vectors::kIssuing)), 1);
    remove("ROOT", hex(vectors::kAuthority));
    forgetMovedKey();
}

// Fails each call of the platform in turn, the real ones around it going through.
TEST_F(real_store_test, EveryFailureLeavesNothingOpen) {
    const Bytes der = certificate(hex("0A"));
    for (int n = 1;; ++n) {
        enrol::ContainerName name = {};
        std::strncpy(name, kContainer, sizeof name - 1);
        ASSERT_EQ(enrol::WriteContainerMarker(name), 0);
        const std::string text = base64(der);
        CallPlan calls;
        calls.failCall(n);
        const std::int32_t code = WriteClientCert(text.data(), text.size());
        EXPECT_EQ(calls.openHandles(), "") << calls.failed();
        if (calls.failed().empty()) {
            EXPECT_EQ(code, 0);
            break;
        }
        EXPECT_NE(enrol::findCodeText(code), nullptr) << calls.failed() << " gives " << code;
        ASSERT_LT(n, 100);
    }
    for (int n = 1;; ++n) {
        CallPlan calls;
        calls.failCall(n);
        const std::int32_t code = CertificateExists(kIssuer, "0A");
        EXPECT_EQ(calls.openHandles(), "") << calls.failed();
        if (calls.failed().empty()) {
            EXPECT_EQ(code, 0);
            break;
        }
        EXPECT_TRUE(code == 0 || code == 1) << calls.failed() << " gives " << code;
        ASSERT_LT(n, 500);
    }
}

}  // namespace
