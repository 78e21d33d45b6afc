// The user's certificates, and selections of them by name. A list is a snapshot: the store is not locked.
#ifndef VT_ENROL_CERTIFICATE_LIST_H
#define VT_ENROL_CERTIFICATE_LIST_H

#include <cstddef>
#include <memory>

#include "enrol/cert_handles.h"

namespace enrol {

// Gives back the references of an array of contexts, and the array.
struct ReleaseContexts {
    std::size_t count = 0;
    void operator()(PCCERT_CONTEXT* contexts) const;
};

// An array of certificate contexts, each of them a reference of the array's own. Null when it is empty.
using ContextArray = std::unique_ptr<PCCERT_CONTEXT[], ReleaseContexts>;

// OpenMyStore opens the current user's "MY" with the default key container of the provider "Microsoft Enhanced
// Cryptographic Provider v1.0", which is made afresh: where there is one it is deleted first. Containers that have a
// name are not touched. False when there is no context or no store; then store is null. prov is empty afterwards, as
// the store has taken it over, unless it is the store that did not open.
bool OpenMyStore(ProviderHandle& prov, CheckedStoreHandle& store);

// ListCertificates gives all certificates of the store in its order; a null store has none.
ContextArray ListCertificates(HCERTSTORE store, std::size_t& count);

// Certificates whose subject or issuer matches a name (enrol/names.h), in the store's order. A null subject selects all
// certificates; a null issuer counts as an empty one.
ContextArray FilterBySubject(HCERTSTORE store, const wchar_t* subjectDn, std::size_t& count);
ContextArray FilterByIssuer(HCERTSTORE store, const wchar_t* issuerDn, std::size_t& count);

// FilterBySubjectAndIssuer gives those of the first selection that are in the second as well.
ContextArray FilterBySubjectAndIssuer(HCERTSTORE store, const wchar_t* subjectDn, const wchar_t* issuerDn,
                                      std::size_t& count);

}  // namespace enrol

#endif
