// Stores for the tests of the Linux provider.
#ifndef VT_TESTS_PLATFORM_NSS_STORE_FIXTURE_H
#define VT_TESTS_PLATFORM_NSS_STORE_FIXTURE_H

#include <string>
#include <vector>

#include "tests/platform/nss_fixture.h"

namespace nss_test {

// A store that is closed in the end, when all its contexts must have been freed.
class StoreHandle {
  public:
    explicit StoreHandle(const char* name) : handle_(capi().CertOpenSystemStoreA(0, name)) {}
    ~StoreHandle() { EXPECT_TRUE(capi().CertCloseStore(handle_, CERT_CLOSE_STORE_CHECK_FLAG)); }
    StoreHandle(const StoreHandle&) = delete;
    StoreHandle& operator=(const StoreHandle&) = delete;
    HCERTSTORE get() const { return handle_; }

  private:
    HCERTSTORE handle_;
};

inline Bytes derOf(PCCERT_CONTEXT cert) {
    return {cert->pbCertEncoded, cert->pbCertEncoded + cert->cbCertEncoded};
}

inline DWORD addError(const StoreHandle& store, const Bytes& der, DWORD disposition = CERT_STORE_ADD_REPLACE_EXISTING) {
    return errorOf([&] {
        return capi().CertAddEncodedCertificateToStore(store.get(), kEncoding, der.data(),
                                                       static_cast<DWORD>(der.size()), disposition, nullptr);
    });
}

// contents gives the certificates of a store that is opened anew.
inline std::vector<Bytes> contents(const char* name) {
    const StoreHandle store(name);
    std::vector<Bytes> certificates;
    for (PCCERT_CONTEXT cert = nullptr; (cert = capi().CertEnumCertificatesInStore(store.get(), cert)) != nullptr;)
        certificates.push_back(derOf(cert));
    EXPECT_EQ(sys().GetLastError(), CRYPT_E_NOT_FOUND);
    return certificates;
}

// find gives the context of a certificate in a store, or null; the caller frees it.
inline PCCERT_CONTEXT find(const StoreHandle& store, const Bytes& der) {
    PCCERT_CONTEXT cert = nullptr;
    while ((cert = capi().CertEnumCertificatesInStore(store.get(), cert)) != nullptr) {
        if (derOf(cert) == der)
            return cert;
    }
    return nullptr;
}

// selfSigned gives a certificate made by one openssl command.
inline Bytes selfSigned(const support::ScratchHome& home, const std::string& subject, const std::string& more) {
    const support::ToolResult result =
        support::tool("cd " + home.path() + " && openssl req -x509 -newkey rsa:1024 -nodes -keyout /dev/null -subj '" +
                      subject + "' -days 30 " + more + " -outform DER -out self.der");
    EXPECT_EQ(result.status, 0) << result.output;
    return readFile(home.file("self.der"));
}

struct KeyInfo {
    bool found = false;
    std::wstring container;
    std::wstring provider;
    DWORD type = 0;
    DWORD spec = 0;
};

// keyInfoOf reads CERT_KEY_PROV_INFO_PROP_ID in the two steps that callers take.
inline KeyInfo keyInfoOf(PCCERT_CONTEXT cert) {
    DWORD size = 0;
    if (capi().CertGetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, nullptr, &size) == FALSE)
        return {};
    std::vector<CRYPT_KEY_PROV_INFO> buffer(size / sizeof(CRYPT_KEY_PROV_INFO) + 1);
    EXPECT_TRUE(capi().CertGetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, buffer.data(), &size));
    return {true, buffer[0].pwszContainerName, buffer[0].pwszProvName, buffer[0].dwProvType, buffer[0].dwKeySpec};
}

// setOnKey does what installation does for a provider that keeps certificates on keys.
inline void setOnKey(const char* container, const Bytes& der, const char* provider = kDatabaseProvider) {
    const Prov prov(container, 0, provider);
    KeyHandle key;
    ASSERT_TRUE(capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.out()));
    ASSERT_TRUE(capi().CryptSetKeyParam(key.get(), KP_CERTIFICATE, der.data(), 0)) << std::hex << sys().GetLastError();
}

}  // namespace nss_test

#endif
