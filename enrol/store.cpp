#include "enrol/store.h"

#include <new>
#include <utility>
#include <vector>

#include "enrol/ansi_text.h"
#include "enrol/base64.h"
#include "enrol/certificate_list.h"
#include "enrol/ch_cert.h"
#include "enrol/codes.h"
#include "enrol/names.h"
#include "enrol/validity_text.h"

namespace enrol {
namespace {

// The user's store for one query. A store that cannot be opened holds nothing.
struct MyStore {
    MyStore() { OpenMyStore(provider, store); }

    ProviderHandle provider;
    CheckedStoreHandle store;
};

// A refusal is not told to anybody: the operations take a deletion as done.
void deleteFromStore(HCERTSTORE store, const CHCert& certificate) {
    // The deletion gives its reference back, so it gets one of its own.
    CHCert own(certificate);
    if (own.context == nullptr)
        return;
    capi().CertDeleteCertificateFromStore(std::exchange(own.context, nullptr));
    // Wine keeps a deletion only when it is committed before the store is closed.
    capi().CertControlStore(store, 0, CERT_STORE_CTRL_COMMIT, nullptr);
}

bool hasKey(const CHCert& certificate) {
    DWORD spec = 0;
    return certificate.GetKeySpec(spec);
}

// The first certificate of that issuer and serial number that has a key; without a context when there is none.
CHCert findWithKey(HCERTSTORE store, const char* issuerDn, const char* serialHex) {
    std::size_t count = 0;
    const ContextArray matches = FilterByIssuer(store, widen(CP_ACP, issuerDn).c_str(), count);
    std::vector<std::uint8_t> serial;
    if (count == 0 || !parseSerial(widen(CP_ACP, serialHex), serial))
        return {};

    CRYPT_INTEGER_BLOB wanted = {static_cast<DWORD>(serial.size()), serial.data()};
    for (std::size_t i = 0; i < count; ++i) {
        if (capi().CertCompareIntegerBlob(&wanted, &matches[i]->pCertInfo->SerialNumber) == FALSE)
            continue;
        CHCert certificate(matches[i]);
        if (hasKey(certificate))
            return certificate;
    }
    return {};
}

// Whether the candidate takes the place of the one kept so far: it began later, or at the same time and its serial is
// not the smaller one.
bool supersedes(const CHCert& candidate, const CHCert& kept) {
    const std::int64_t candidateStart = readValidityText(candidate.GetNotBeforeText());
    const std::int64_t keptStart = readValidityText(kept.GetNotBeforeText());
    if (candidateStart != keptStart)
        return candidateStart > keptStart;
    return kept.CompareSerial(candidate) <= 0;
}

// Deletes all but the most recent of the matches. What has no key is passed over and stays in the store.
void keepMostRecent(HCERTSTORE store, const ContextArray& matches, std::size_t count) {
    CHCert kept(matches[0]);
    for (std::size_t i = 1; i < count; ++i) {
        const CHCert candidate(matches[i]);
        if (!hasKey(kept)) {
            kept = candidate;
        } else if (!hasKey(candidate)) {
            continue;
        } else if (supersedes(candidate, kept)) {
            deleteFromStore(store, kept);
            kept = candidate;
        } else {
            deleteFromStore(store, candidate);
        }
    }
}

bool storeHolds(HCERTSTORE store, PCCERT_CONTEXT certificate) {
    StoreWalk walk(store);
    while (const PCCERT_CONTEXT other = walk.next()) {
        if (capi().CertCompareCertificate(X509_ASN_ENCODING, certificate->pCertInfo, other->pCertInfo) != FALSE)
            return true;
    }
    return false;
}

}  // namespace

std::int32_t DeleteCertificate(const char* issuerDn, const char* serialHex) {
    try {
        const MyStore my;
        const CHCert certificate = findWithKey(my.store.get(), issuerDn, serialHex);
        if (certificate.context == nullptr)
            return kDeleteNotFound;
        deleteFromStore(my.store.get(), certificate);
        return kSuccess;
    } catch (...) {
        return kDeleteNotFound;
    }
}

std::int32_t CertificateExists(const char* issuerDn, const char* serialHex) {
    try {
        const MyStore my;
        const CHCert certificate = findWithKey(my.store.get(), issuerDn, serialHex);
        return certificate.context == nullptr ? kCertificateAbsent : kSuccess;
    } catch (...) {
        return kCertificateAbsent;
    }
}

std::int32_t PruneCertificates(const char* subjectDn, const char* issuerDn) {
    std::int32_t code = kPruneNothingFound;
    try {
        const MyStore my;
        std::size_t count = 0;
        const ContextArray matches = FilterBySubjectAndIssuer(my.store.get(), widen(CP_ACP, subjectDn).c_str(),
                                                              widen(CP_ACP, issuerDn).c_str(), count);
        if (count < 2)
            return code;
        // From here on the answer stands, whatever becomes of the deletions.
        code = kSuccess;
        keepMostRecent(my.store.get(), matches, count);
    } catch (...) {
        return code;
    }
    return code;
}

std::int32_t CheckCertificateInWindowsStores(const char* text, std::size_t length) {
    try {
        std::vector<std::uint8_t> der;
        if (const std::int32_t failure = DecodeBase64Text(text, length, der); failure != 0)
            return failure == kBase64NoMemory ? kCheckNoMemory : kCheckBase64Failed;
        const CertificateHandle certificate(
            capi().CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size())));
        if (!certificate)
            return kCheckCertificateNotParsed;

        for (const char* name : {"ROOT", "CA"}) {
            const CheckedStoreHandle store(capi().CertOpenSystemStoreA(0, name));
            if (!store)
                return kCheckStoreNotOpened;
            if (storeHolds(store.get(), certificate.get()))
                return kSuccess;
        }
        return kCheckCertificateNotFound;
    } catch (const std::bad_alloc&) {
        return kCheckNoMemory;
    } catch (...) {
        return kCheckCertificateNotFound;
    }
}

}  // namespace enrol
