// Certificate contexts and the store elements that they show.
#ifndef VT_PLATFORM_NSS_CONTEXT_H
#define VT_PLATFORM_NSS_CONTEXT_H

#include <memory>
#include <optional>
#include <string>

#include "platform/nss/certificate.h"
#include "platform/nss/token.h"

namespace platform::nss {

struct Store;

// CERT_KEY_PROV_INFO_PROP_ID without parameters.
struct KeyProviderInfo {
    std::wstring container;
    std::wstring provider;
    DWORD providerType;
    DWORD flags;
    DWORD spec;
};

// One certificate of a store, or one that is in none. All its contexts share it, and with it its properties.
struct CertificateElement {
    std::shared_ptr<Certificate> certificate;
    Token token;  // where it lies; no slot for one that is in no store
    std::optional<KeyProviderInfo> keyInfo;
    bool isDeleted = false;
};

// What a PCCERT_CONTEXT points to. Counted: contextOf makes one with one reference, and the last
// CertFreeCertificateContext ends it.
struct Context : CERT_CONTEXT {
    std::shared_ptr<CertificateElement> element;
    std::shared_ptr<Store> store;  // null for one that is in no store
    DWORD references = 1;
};

// contextOf gives a new context of an element; handle is the store's.
PCCERT_CONTEXT contextOf(std::shared_ptr<CertificateElement> element, std::shared_ptr<Store> store, HCERTSTORE handle,
                         DWORD encoding);

// contextBehind gives what stands behind a context that is not null.
Context& contextBehind(PCCERT_CONTEXT cert);

}  // namespace platform::nss

#endif
