#include "platform/nss/context.h"

#include "platform/nss/entries.h"
#include "platform/nss/store.h"
#include "platform/posix/last_error.h"

namespace platform::nss {

PCCERT_CONTEXT contextOf(std::shared_ptr<CertificateElement> element, std::shared_ptr<Store> store, HCERTSTORE handle,
                         DWORD encoding) {
    auto context = std::make_unique<Context>();
    const Bytes& bytes = element->certificate->bytes();
    context->dwCertEncodingType = encoding;
    context->pbCertEncoded = const_cast<BYTE*>(bytes.data());
    context->cbCertEncoded = static_cast<DWORD>(bytes.size());
    context->pCertInfo = &element->certificate->info();
    context->hCertStore = handle;
    context->element = std::move(element);
    context->store = std::move(store);
    if (context->store != nullptr)
        ++context->store->openContexts;
    return context.release();
}

Context& contextBehind(PCCERT_CONTEXT cert) {
    return const_cast<Context&>(static_cast<const Context&>(*cert));
}

PCCERT_CONTEXT CertCreateCertificateContext(DWORD encoding, const BYTE* der, DWORD size) {
    if ((encoding & X509_ASN_ENCODING) == 0) {
        posix::setLastError(E_INVALIDARG);
        return nullptr;
    }
    std::shared_ptr<Certificate> certificate = parseCertificate(der, size);
    if (certificate == nullptr)
        return nullptr;
    auto element = std::make_shared<CertificateElement>();
    element->certificate = std::move(certificate);
    return contextOf(std::move(element), nullptr, nullptr, encoding);
}

PCCERT_CONTEXT CertDuplicateCertificateContext(PCCERT_CONTEXT cert) {
    if (cert != nullptr)
        ++contextBehind(cert).references;
    return cert;
}

BOOL CertFreeCertificateContext(PCCERT_CONTEXT cert) {
    if (cert == nullptr || --contextBehind(cert).references != 0)
        return TRUE;
    const std::unique_ptr<Context> last(&contextBehind(cert));
    if (last->store != nullptr)
        --last->store->openContexts;
    return TRUE;
}

}  // namespace platform::nss
