#include "platform/crypto_api.h"

#include "platform/nss/entries.h"
#include "platform/nss/guarded.h"

namespace platform {

using nss::Guarded;

CryptoApi& replaceableCryptoApi() {
    static CryptoApi table = {
        Guarded<nss::CryptEnumProvidersA>::call,
        Guarded<nss::CryptAcquireContextA>::call,
        Guarded<nss::CryptAcquireContextW>::call,
        Guarded<nss::CryptReleaseContext>::call,
        Guarded<nss::CryptGenKey>::call,
        Guarded<nss::CryptGetUserKey>::call,
        Guarded<nss::CryptDestroyKey>::call,
        Guarded<nss::CryptExportKey>::call,
        Guarded<nss::CryptImportKey>::call,
        Guarded<nss::CryptSetKeyParam>::call,
        Guarded<nss::CryptExportPublicKeyInfo>::call,
        Guarded<nss::CryptCreateHash>::call,
        Guarded<nss::CryptHashData>::call,
        Guarded<nss::CryptSignHashA>::call,
        Guarded<nss::CryptDestroyHash>::call,
        Guarded<nss::CryptEncodeObjectEx>::call,
        Guarded<nss::CertNameToStrW>::call,
        Guarded<nss::CertCreateCertificateContext>::call,
        Guarded<nss::CertDuplicateCertificateContext>::call,
        Guarded<nss::CertFreeCertificateContext>::call,
        Guarded<nss::CertSetCertificateContextProperty>::call,
        Guarded<nss::CertGetCertificateContextProperty>::call,
        Guarded<nss::CertEnumCertificateContextProperties>::call,
        Guarded<nss::CertCompareCertificate>::call,
        Guarded<nss::CertCompareIntegerBlob>::call,
        Guarded<nss::CertComparePublicKeyInfo>::call,
        Guarded<nss::CertOpenStore>::call,
        Guarded<nss::CertOpenSystemStoreA>::call,
        Guarded<nss::CertCloseStore>::call,
        Guarded<nss::CertControlStore>::call,
        Guarded<nss::CertEnumCertificatesInStore>::call,
        Guarded<nss::CertAddEncodedCertificateToStore>::call,
        Guarded<nss::CertAddCertificateContextToStore>::call,
        Guarded<nss::CertDeleteCertificateFromStore>::call,
    };
    return table;
}

const CryptoApi& capi() {
    return replaceableCryptoApi();
}

}  // namespace platform
