// Installation for a provider of another maker, against a real one: the certificate goes onto the key.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "enrol/enrol.h"
#include "tests/provider/test_provider.h"
#include "tests/support/certificate.h"

namespace {

using platform::capi;
using support::Bytes;
using support::TestProvider;

class other_maker_install_test : public testing::Test {
  protected:
    // The chosen provider has a new key waiting, and certificate_ is what the authority made for it.
    void requestWith(const TestProvider& provider) {
        enrol::chooseProvider(provider.name().c_str(), provider.name().size());
        enrol::HeapText request;
        std::size_t length = 0;
        ASSERT_EQ(enrol::GenerateRequest(512, request, length), 0);
        enrol::ContainerName container{};
        ASSERT_EQ(enrol::ReadContainerMarker(container), 0);
        container_ = container;
        support::CertificateParts parts;
        parts.publicBlob = publicBlob(provider);
        certificate_ = support::makeCertificate(parts);
    }
    ~other_maker_install_test() override {
        enrol::DeleteContainerMarker();
        enrol::forgetProvider();
    }

    std::int32_t install() const {
        const std::string text = support::base64(certificate_);
        return enrol::WriteClientCert(text.data(), text.size());
    }
    bool keyStillWaits(const TestProvider& provider) const { return !publicBlob(provider).empty(); }
    void deleteKey(const TestProvider& provider) const {
        HCRYPTPROV ignored = 0;
        EXPECT_TRUE(capi().CryptAcquireContextA(&ignored, container_.c_str(), provider.name().c_str(), PROV_RSA_FULL,
                                                CRYPT_DELETEKEYSET));
    }
    static bool markerIsGone() {
        enrol::ContainerName container{};
        return enrol::ReadContainerMarker(container) != 0;
    }
    bool standsInMy() const {
        HCERTSTORE store = capi().CertOpenSystemStoreA(0, "MY");
        PCCERT_CONTEXT cert = findIn(store, certificate_);
        const bool found = cert != nullptr;
        if (found)
            capi().CertFreeCertificateContext(cert);
        capi().CertCloseStore(store, 0);
        return found;
    }
    void takeOutOfMy() const { takeOut("MY", certificate_); }
    // How many such certificates were taken out of the store.
    static int takeOut(const char* name, const Bytes& der) {
        HCERTSTORE store = capi().CertOpenSystemStoreA(0, name);
        int taken = 0;
        while (PCCERT_CONTEXT cert = findIn(store, der)) {
            capi().CertDeleteCertificateFromStore(cert);
            ++taken;
        }
        capi().CertControlStore(store, 0, CERT_STORE_CTRL_COMMIT, nullptr);
        capi().CertCloseStore(store, 0);
        return taken;
    }

    std::string container_;
    Bytes certificate_;

  private:
    static PCCERT_CONTEXT findIn(HCERTSTORE store, const Bytes& der) {
        PCCERT_CONTEXT cert = nullptr;
        while ((cert = capi().CertEnumCertificatesInStore(store, cert)) != nullptr) {
            if (Bytes(cert->pbCertEncoded, cert->pbCertEncoded + cert->cbCertEncoded) == der)
                break;
        }
        return cert;
    }

    Bytes publicBlob(const TestProvider& provider) const {
        HCRYPTPROV handle = 0;
        HCRYPTKEY key = 0;
        Bytes blob(1024);
        auto size = static_cast<DWORD>(blob.size());
        if (capi().CryptAcquireContextA(&handle, container_.c_str(), provider.name().c_str(), PROV_RSA_FULL, 0) == 0)
            return {};
        if (capi().CryptGetUserKey(handle, AT_SIGNATURE, &key) == 0 ||
            capi().CryptExportKey(key, 0, PUBLICKEYBLOB, 0, blob.data(), &size) == 0)
            size = 0;
        capi().CryptDestroyKey(key);
        capi().CryptReleaseContext(handle, 0);
        blob.resize(size);
        return blob;
    }
};

TEST_F(other_maker_install_test, CertificateGoesOntoTheKeyAndNotIntoTheStore) {
    TestProvider provider;
    requestWith(provider);
    provider.forgetCalls();
    EXPECT_EQ(install(), 0);
    EXPECT_EQ(provider.certificateOf(container_), certificate_);
    EXPECT_EQ(provider.count("CPSetKeyParam(26) ok"), 1u);
    EXPECT_EQ(provider.count("CPAcquireContext"), provider.count("CPReleaseContext"));
    EXPECT_EQ(provider.count("CPGetUserKey"), provider.count("CPDestroyKey"));
    EXPECT_FALSE(standsInMy());
    EXPECT_TRUE(markerIsGone());
    deleteKey(provider);
}

// The key stays where it is, so it need not be exportable.
TEST_F(other_maker_install_test, LeafOfAChainGoesOntoTheKeyAndTheRestIntoTheStores) {
    TestProvider provider;
    requestWith(provider);
    const Bytes root = support::makeCertificate({"CN=Test CA, O=Example", "CN=Test CA, O=Example", {0x7A}});
    const std::string text = support::base64(support::certificatesOnly({certificate_, root}));
    provider.forgetCalls();
    EXPECT_EQ(enrol::WriteClientCertNoProtect(text.data(), text.size()), 0);
    EXPECT_EQ(provider.certificateOf(container_), certificate_);
    EXPECT_EQ(provider.count("CPExportKey(7)"), 0u) << "PRIVATEKEYBLOB";
    EXPECT_EQ(provider.count("CPImportKey"), 0u);
    EXPECT_EQ(provider.count("CPAcquireContext"), provider.count("CPReleaseContext"));
    EXPECT_FALSE(standsInMy());
    EXPECT_TRUE(markerIsGone());
    EXPECT_EQ(takeOut("ROOT", root), 1);
    deleteKey(provider);
}

TEST_F(other_maker_install_test, KeyOfAProviderThatBeginsWithMicrosoftMoves) {
    TestProvider provider("Microsoft by name alone");
    requestWith(provider);
    const Bytes root = support::makeCertificate({"CN=Test CA, O=Example", "CN=Test CA, O=Example", {0x7A}});
    const std::string text = support::base64(support::certificatesOnly({root, certificate_}));
    provider.forgetCalls();
    EXPECT_EQ(enrol::WriteClientCert(text.data(), text.size()), 0);
    EXPECT_EQ(provider.count("CPExportKey(7) ok"), 2u);
    EXPECT_EQ(provider.count("CPImportKey"), 1u);
    EXPECT_EQ(provider.count("CPAcquireContext"), provider.count("CPReleaseContext"));
    EXPECT_TRUE(provider.certificateOf(container_).empty());
    EXPECT_TRUE(standsInMy());
    EXPECT_TRUE(keyStillWaits(provider)) << "the former container keeps its key";
    takeOutOfMy();
    EXPECT_EQ(takeOut("ROOT", root), 1);
    deleteKey(provider);
}

TEST_F(other_maker_install_test, LowerCaseMicrosoftIsAnotherMaker) {
    const TestProvider provider("microsoft look-alike provider");
    requestWith(provider);
    EXPECT_EQ(install(), 0);
    EXPECT_EQ(provider.certificateOf(container_), certificate_);
    EXPECT_FALSE(standsInMy());
    deleteKey(provider);
}

TEST_F(other_maker_install_test, BuiltInPathNeedsOnlyTheWordMicrosoftInFront) {
    const TestProvider provider("Microsoft by name alone");
    requestWith(provider);
    EXPECT_EQ(install(), 0);
    EXPECT_TRUE(provider.certificateOf(container_).empty());
    EXPECT_TRUE(standsInMy());
    takeOutOfMy();
    deleteKey(provider);
}

TEST_F(other_maker_install_test, CertificateOfAnotherKeyIsRefused) {
    const TestProvider provider;
    requestWith(provider);
    certificate_ = support::makeCertificate({});
    EXPECT_EQ(install(), 22068125);
    EXPECT_TRUE(provider.certificateOf(container_).empty());
    EXPECT_TRUE(markerIsGone());
    EXPECT_TRUE(keyStillWaits(provider));
    deleteKey(provider);
}

// Without the exported key there is nothing to compare the certificate with: it is installed unseen.
TEST_F(other_maker_install_test, KeyThatCannotBeExportedIsNotCompared) {
    TestProvider provider;
    requestWith(provider);
    certificate_ = support::makeCertificate({});
    provider.fail("CPExportKey", static_cast<DWORD>(NTE_BAD_KEY_STATE));
    provider.forgetCalls();
    EXPECT_EQ(install(), 0) << testing::PrintToString(provider.calls());
    EXPECT_EQ(provider.count("CPExportKey(6) failed 8009000B"), 1u);
    EXPECT_EQ(provider.certificateOf(container_), certificate_);
    EXPECT_TRUE(markerIsGone());
    provider.succeed();
    deleteKey(provider);
}

TEST_F(other_maker_install_test, ContainerThatCannotBeOpened) {
    TestProvider provider;
    requestWith(provider);
    provider.fail("CPAcquireContext", static_cast<DWORD>(NTE_BAD_KEYSET));
    EXPECT_EQ(install(), 22068103);
    EXPECT_TRUE(markerIsGone());
    provider.succeed();
    EXPECT_TRUE(keyStillWaits(provider));
    deleteKey(provider);
}

TEST_F(other_maker_install_test, KeyThatIsNotFound) {
    TestProvider provider;
    requestWith(provider);
    provider.forgetCalls();
    ASSERT_EQ(install(), 0);
    const unsigned calls = provider.count("CPGetUserKey");
    ASSERT_GT(calls, 0u);
    deleteKey(provider);

    // The comparison asks for the key as well; only the last call is the installation's own.
    requestWith(provider);
    provider.forgetCalls();
    provider.fail("CPGetUserKey", static_cast<DWORD>(NTE_NO_KEY), calls - 1);
    EXPECT_EQ(install(), 22068105);
    EXPECT_EQ(provider.count("CPGetUserKey"), calls);
    EXPECT_EQ(provider.count("CPSetKeyParam"), 0u);
    EXPECT_EQ(provider.count("CPAcquireContext"), provider.count("CPReleaseContext"));
    EXPECT_TRUE(markerIsGone());
    provider.succeed();
    EXPECT_TRUE(keyStillWaits(provider));
    deleteKey(provider);
}

TEST_F(other_maker_install_test, KeyThatTakesNoCertificate) {
    TestProvider provider;
    requestWith(provider);
    provider.forgetCalls();
    provider.fail("CPSetKeyParam", static_cast<DWORD>(NTE_FAIL));
    EXPECT_EQ(install(), 22068118);
    EXPECT_EQ(provider.count("CPSetKeyParam(26) failed"), 1u);
    EXPECT_EQ(provider.count("CPGetUserKey"), provider.count("CPDestroyKey"));
    EXPECT_EQ(provider.count("CPAcquireContext"), provider.count("CPReleaseContext"));
    EXPECT_TRUE(provider.certificateOf(container_).empty());
    EXPECT_TRUE(markerIsGone());
    provider.succeed();
    EXPECT_TRUE(keyStillWaits(provider));
    deleteKey(provider);
}

}  // namespace
