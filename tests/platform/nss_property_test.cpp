#include "tests/platform/nss_store_fixture.h"

using namespace nss_test;

namespace {

class nss_property_test : public NssTest {
  protected:
    // The context of a fresh container's certificate in "MY".
    Bytes install(const char* container, const char* subject, ALG_ID spec = AT_SIGNATURE) {
        makeKey(container, 1024, CRYPT_EXPORTABLE, spec);
        const Authority authority(home_);
        const Bytes der = authority.certify(publicKeyPem(home_, container), subject, 5);
        setOnKey(container, der);
        return der;
    }
};

}  // namespace

TEST_F(nss_property_test, KeyIsFoundThroughTheCertificate) {
    const Bytes der = install("0B4C1A2D-1111-4aaa-8888-001122334455", "/CN=Alice");
    const StoreHandle my("MY");
    PCCERT_CONTEXT cert = find(my, der);
    ASSERT_NE(cert, nullptr);
    EXPECT_EQ(capi().CertEnumCertificateContextProperties(cert, 0), CERT_KEY_PROV_INFO_PROP_ID);
    EXPECT_EQ(capi().CertEnumCertificateContextProperties(cert, CERT_KEY_PROV_INFO_PROP_ID), 0u);
    const KeyInfo info = keyInfoOf(cert);
    ASSERT_TRUE(info.found);
    EXPECT_EQ(info.container, L"0B4C1A2D-1111-4aaa-8888-001122334455");
    EXPECT_EQ(info.provider, L"NSS Certificate DB");
    EXPECT_EQ(info.type, PROV_RSA_FULL);
    EXPECT_EQ(info.spec, AT_SIGNATURE);
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
}

TEST_F(nss_property_test, ExchangeKeySaysSo) {
    const Bytes der = install("exchange", "/CN=Alice", AT_KEYEXCHANGE);
    const StoreHandle my("MY");
    PCCERT_CONTEXT cert = find(my, der);
    ASSERT_NE(cert, nullptr);
    EXPECT_EQ(keyInfoOf(cert).spec, AT_KEYEXCHANGE);
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
}

TEST_F(nss_property_test, KeyOfAnotherProgramHasAContainerName) {
    const support::ToolResult made = support::tool(
        "cd " + home_.path() + " && mkdir -p .pki/nssdb && certutil -N --empty-password -d " + home_.database() +
        " && openssl req -x509 -newkey rsa:1024 -nodes -keyout k.pem -subj /CN=Carol -days 9 -out c.pem 2>/dev/null" +
        " && openssl pkcs12 -export -inkey k.pem -in c.pem -passout pass:x -out c.p12 && pk12util -i c.p12 -W x -d " +
        home_.database() + " && openssl x509 -in c.pem -outform DER -out c.der");
    ASSERT_EQ(made.status, 0) << made.output;
    const StoreHandle my("MY");
    PCCERT_CONTEXT cert = find(my, readFile(home_.file("c.der")));
    ASSERT_NE(cert, nullptr);
    const KeyInfo info = keyInfoOf(cert);
    ASSERT_TRUE(info.found);
    HCRYPTPROV prov = 0;
    EXPECT_TRUE(capi().CryptAcquireContextW(&prov, info.container.c_str(), info.provider.c_str(), PROV_RSA_FULL, 0))
        << "the container can be opened by that name";
    EXPECT_TRUE(capi().CryptReleaseContext(prov, 0));
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
}

TEST_F(nss_property_test, WhatIsSetIsReadBack) {
    const Bytes der = install("c", "/CN=Alice");
    PCCERT_CONTEXT cert = capi().CertCreateCertificateContext(kEncoding, der.data(), static_cast<DWORD>(der.size()));
    ASSERT_NE(cert, nullptr);
    EXPECT_FALSE(keyInfoOf(cert).found) << "a certificate of no store has no key";
    EXPECT_EQ(capi().CertEnumCertificateContextProperties(cert, 0), 0u);
    wchar_t container[] = L"container";
    wchar_t provider[] = L"provider";
    CRYPT_KEY_PROV_INFO info = {container, provider, PROV_RSA_FULL, 0, 0, nullptr, AT_KEYEXCHANGE};
    ASSERT_TRUE(capi().CertSetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, 0, &info));
    const KeyInfo read = keyInfoOf(cert);
    EXPECT_EQ(read.container, container);
    EXPECT_EQ(read.provider, provider);
    EXPECT_EQ(read.spec, AT_KEYEXCHANGE);
    ASSERT_TRUE(capi().CertSetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, 0, nullptr));
    EXPECT_FALSE(keyInfoOf(cert).found) << "null deletes it";
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
}

// What installation does for the platform's own provider: add to "MY", then tell the key.
TEST_F(nss_property_test, SetOnAStoresCertificateItLasts) {
    makeKey("c", 1024);
    const Authority authority(home_);
    const Bytes der = authority.certify(publicKeyPem(home_, "c"), "/CN=Alice", 5);
    {
        const StoreHandle my("MY");
        PCCERT_CONTEXT cert = nullptr;
        ASSERT_TRUE(capi().CertAddEncodedCertificateToStore(
            my.get(), kEncoding, der.data(), static_cast<DWORD>(der.size()), CERT_STORE_ADD_REPLACE_EXISTING, &cert));
        wchar_t container[] = L"c";
        wchar_t provider[] = L"Microsoft Enhanced Cryptographic Provider v1.0";
        CRYPT_KEY_PROV_INFO info = {container, provider, PROV_RSA_FULL, 0, 0, nullptr, AT_SIGNATURE};
        EXPECT_TRUE(capi().CertSetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, 0, &info));
        EXPECT_EQ(keyInfoOf(cert).provider, provider) << "as it was set";
        EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
    }
    const StoreHandle my("MY");
    PCCERT_CONTEXT cert = find(my, der);
    ASSERT_NE(cert, nullptr);
    EXPECT_EQ(keyInfoOf(cert).container, L"c");
    EXPECT_EQ(keyInfoOf(cert).provider, L"NSS Certificate DB") << "as it is found";
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
}

TEST_F(nss_property_test, ReadingFollowsTheSizeConvention) {
    const Bytes der = install("c", "/CN=Alice");
    const StoreHandle my("MY");
    PCCERT_CONTEXT cert = find(my, der);
    ASSERT_NE(cert, nullptr);
    DWORD size = 0;
    ASSERT_TRUE(capi().CertGetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, nullptr, &size));
    const DWORD whole = sizeof(CRYPT_KEY_PROV_INFO) + (2 + 19) * sizeof(wchar_t);
    EXPECT_EQ(size, whole);
    std::vector<CRYPT_KEY_PROV_INFO> buffer(3);
    size = whole - 1;
    EXPECT_EQ(errorOf([&] {
                  return capi().CertGetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, buffer.data(),
                                                                  &size);
              }),
              ERROR_MORE_DATA);
    EXPECT_EQ(size, whole);
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
}

TEST_F(nss_property_test, RefusesBadArguments) {
    const Bytes der = install("c", "/CN=Alice");
    PCCERT_CONTEXT cert = capi().CertCreateCertificateContext(kEncoding, der.data(), static_cast<DWORD>(der.size()));
    DWORD size = 0;
    const auto getError = [&](PCCERT_CONTEXT context, DWORD property) {
        return errorOf([&] { return capi().CertGetCertificateContextProperty(context, property, nullptr, &size); });
    };
    EXPECT_EQ(getError(cert, CERT_KEY_PROV_INFO_PROP_ID), CRYPT_E_NOT_FOUND);
    EXPECT_EQ(getError(cert, 77), CRYPT_E_NOT_FOUND);
    EXPECT_EQ(getError(nullptr, CERT_KEY_PROV_INFO_PROP_ID), E_INVALIDARG);
    EXPECT_EQ(errorOf([&] {
                  return capi().CertGetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, nullptr, nullptr);
              }),
              E_INVALIDARG);
    EXPECT_EQ(errorOf([&] { return capi().CertSetCertificateContextProperty(cert, 77, 0, nullptr); }), E_INVALIDARG);
    EXPECT_EQ(errorOf([&] {
                  return capi().CertSetCertificateContextProperty(nullptr, CERT_KEY_PROV_INFO_PROP_ID, 0, nullptr);
              }),
              E_INVALIDARG);
    EXPECT_EQ(capi().CertEnumCertificateContextProperties(nullptr, 0), 0u);
    CRYPT_KEY_PROV_INFO none = {};
    EXPECT_TRUE(capi().CertSetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, 0, &none));
    EXPECT_EQ(keyInfoOf(cert).container, L"") << "names may be missing";
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
}
