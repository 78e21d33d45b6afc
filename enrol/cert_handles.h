// Certificate contexts and stores that are given back when they go out of scope. A context has to go before its store:
// declare them in the other order.
#ifndef VT_ENROL_CERT_HANDLES_H
#define VT_ENROL_CERT_HANDLES_H

#include "enrol/capi.h"

namespace enrol {

// Certificates as such, and in messages.
inline constexpr DWORD kCertEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

struct CertificateTraits {
    using Value = PCCERT_CONTEXT;
    static constexpr Value none() { return nullptr; }
    static void close(Value value) { capi().CertFreeCertificateContext(value); }
};
using CertificateHandle = Handle<CertificateTraits>;

template <DWORD kCloseFlags>
struct StoreTraits {
    using Value = HCERTSTORE;
    static constexpr Value none() { return nullptr; }
    static void close(Value value) { capi().CertCloseStore(value, kCloseFlags); }
};
using StoreHandle = Handle<StoreTraits<0>>;
// Closing reports a context that is still held.
using CheckedStoreHandle = Handle<StoreTraits<CERT_CLOSE_STORE_CHECK_FLAG>>;

// openMyStore opens the current user's "MY" with a provider's context, which the store takes over: the platform
// releases it with the store, so that releasing it here as well could hit somebody else's. A store that does not open
// is null, and the context stays the caller's.
inline HCERTSTORE openMyStore(ProviderHandle& prov) {
    const HCERTSTORE store =
        capi().CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, prov.get(), CERT_SYSTEM_STORE_CURRENT_USER, L"MY");
    if (store != nullptr)
        prov.release();
    return store;
}

// StoreWalk visits the certificates of a store; it may be left at any of them. A null store has none.
class StoreWalk {
  public:
    explicit StoreWalk(HCERTSTORE store) : store_(store) {}

    // next gives the next certificate, owned by the walk until the following call, or null at the end.
    PCCERT_CONTEXT next() {
        if (store_ == nullptr)
            return nullptr;
        // The call gives the previous context back itself.
        current_.reset(capi().CertEnumCertificatesInStore(store_, current_.release()));
        return current_.get();
    }

  private:
    HCERTSTORE store_;
    CertificateHandle current_;
};

}  // namespace enrol

#endif
