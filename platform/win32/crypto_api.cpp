#include "platform/crypto_api.h"

namespace platform {

CryptoApi& replaceableCryptoApi() {
    static CryptoApi table = {
        CryptEnumProvidersA,
        CryptAcquireContextA,
        CryptAcquireContextW,
        CryptReleaseContext,
        CryptGenKey,
        CryptGetUserKey,
        CryptDestroyKey,
        CryptExportKey,
        CryptImportKey,
        CryptSetKeyParam,
        CryptExportPublicKeyInfo,
        CryptCreateHash,
        CryptHashData,
        CryptSignHashA,
        CryptDestroyHash,
        CryptEncodeObjectEx,
        CertNameToStrW,
        CertCreateCertificateContext,
        CertDuplicateCertificateContext,
        CertFreeCertificateContext,
        CertSetCertificateContextProperty,
        CertGetCertificateContextProperty,
        CertEnumCertificateContextProperties,
        CertCompareCertificate,
        CertCompareIntegerBlob,
        CertComparePublicKeyInfo,
        CertOpenStore,
        CertOpenSystemStoreA,
        CertCloseStore,
        CertControlStore,
        CertEnumCertificatesInStore,
        CertAddEncodedCertificateToStore,
        CertAddCertificateContextToStore,
        CertDeleteCertificateFromStore,
    };
    return table;
}

const CryptoApi& capi() {
    return replaceableCryptoApi();
}

}  // namespace platform
