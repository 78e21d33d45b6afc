#include "enrol/certificate_list.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "enrol/ch_cert.h"
#include "enrol/names.h"

namespace enrol {
namespace {

constexpr wchar_t kQueryProvider[] = L"Microsoft Enhanced Cryptographic Provider v1.0";

using NameOf = std::wstring (CHCert::*)() const;

bool makeDefaultContainer(ProviderHandle& prov) {
    return capi().CryptAcquireContextW(prov.receive(), nullptr, kQueryProvider, PROV_RSA_FULL, CRYPT_NEWKEYSET) !=
           FALSE;
}

ContextArray toArray(const std::vector<CHCert>& certificates, std::size_t& count) {
    count = 0;
    if (certificates.empty())
        return nullptr;
    ContextArray contexts(new PCCERT_CONTEXT[certificates.size()]());
    for (const CHCert& certificate : certificates) {
        CHCert own(certificate);
        if (own.context == nullptr)
            continue;
        contexts[count] = std::exchange(own.context, nullptr);
        contexts.get_deleter().count = ++count;
    }
    return contexts;
}

ContextArray filterByName(HCERTSTORE store, const wchar_t* query, NameOf nameOf, std::size_t& count) {
    std::size_t all = 0;
    const ContextArray certificates = ListCertificates(store, all);
    std::vector<CHCert> selected;
    for (std::size_t i = 0; i < all; ++i) {
        CHCert certificate(certificates[i]);
        if (matchesName(query, (certificate.*nameOf)()))
            selected.push_back(std::move(certificate));
    }
    return toArray(selected, count);
}

bool contains(const ContextArray& contexts, std::size_t count, PCCERT_CONTEXT certificate) {
    return std::any_of(contexts.get(), contexts.get() + count, [certificate](PCCERT_CONTEXT other) {
        return capi().CertCompareCertificate(kCertEncoding, certificate->pCertInfo, other->pCertInfo) != FALSE;
    });
}

}  // namespace

void ReleaseContexts::operator()(PCCERT_CONTEXT* contexts) const {
    for (std::size_t i = 0; i < count; ++i)
        capi().CertFreeCertificateContext(contexts[i]);
    delete[] contexts;
}

bool OpenMyStore(ProviderHandle& prov, CheckedStoreHandle& store) {
    store.reset();
    if (!makeDefaultContainer(prov)) {
        if (sys().GetLastError() != static_cast<DWORD>(NTE_EXISTS))
            return false;
        // Deleting a container opens none, so what it stores is no handle.
        HCRYPTPROV deleted = 0;
        capi().CryptAcquireContextW(&deleted, nullptr, kQueryProvider, PROV_RSA_FULL, CRYPT_DELETEKEYSET);
        if (!makeDefaultContainer(prov))
            return false;
    }
    store.reset(openMyStore(prov));
    return static_cast<bool>(store);
}

ContextArray ListCertificates(HCERTSTORE store, std::size_t& count) {
    std::vector<CHCert> certificates;
    StoreWalk walk(store);
    while (const PCCERT_CONTEXT certificate = walk.next())
        certificates.emplace_back(certificate);
    return toArray(certificates, count);
}

ContextArray FilterBySubject(HCERTSTORE store, const wchar_t* subjectDn, std::size_t& count) {
    if (subjectDn == nullptr)
        return ListCertificates(store, count);
    return filterByName(store, subjectDn, &CHCert::GetSubjectName, count);
}

ContextArray FilterByIssuer(HCERTSTORE store, const wchar_t* issuerDn, std::size_t& count) {
    return filterByName(store, issuerDn == nullptr ? L"" : issuerDn, &CHCert::GetIssuerName, count);
}

ContextArray FilterBySubjectAndIssuer(HCERTSTORE store, const wchar_t* subjectDn, const wchar_t* issuerDn,
                                      std::size_t& count) {
    std::size_t bySubject = 0;
    std::size_t byIssuer = 0;
    const ContextArray subjects = FilterBySubject(store, subjectDn, bySubject);
    const ContextArray issuers = FilterByIssuer(store, issuerDn, byIssuer);
    std::vector<CHCert> both;
    for (std::size_t i = 0; i < bySubject; ++i) {
        if (contains(issuers, byIssuer, subjects[i]))
            both.emplace_back(subjects[i]);
    }
    return toArray(both, count);
}

}  // namespace enrol
