#include <climits>
#include <new>
#include <vector>

#include "enrol/base64.h"
#include "enrol/codes.h"
#include "enrol/firefox.h"
#include "enrol/firefox_steps.h"

namespace enrol {
namespace {

using namespace firefox;

// NSS looks at a few bytes ahead before it looks at the length.
constexpr std::size_t kBytesBehind = 16;

struct SlotFunctions {
    SlotFunctions(HMODULE nss, HMODULE smime) {
        FunctionBinder binder;
        decode = binder.find<CERT_DecodeCertFromPackage>(smime, "CERT_DecodeCertFromPackage");
        keySlot = binder.find<PK11_GetInternalKeySlot>(nss, "PK11_GetInternalKeySlot");
        list = binder.find<PK11_ListCertsInSlot>(nss, "PK11_ListCertsInSlot");
        defaultDatabase = binder.find<CERT_GetDefaultCertDB>(nss, "CERT_GetDefaultCertDB");
        destroyCertificate = binder.find<CERT_DestroyCertificate>(nss, "CERT_DestroyCertificate");
        freeSlot = binder.find<PK11_FreeSlot>(nss, "PK11_FreeSlot");
        // Not one of these is called, but a library without them is none that this check was made for.
        for (const char* name : {"PK11_ImportCert", "PORT_ZAlloc", "PORT_Free", "PORT_GetError"})
            binder.find<Unused>(nss, name);
        binder.requireAll();
    }

    CERT_DecodeCertFromPackage* decode;
    PK11_GetInternalKeySlot* keySlot;
    PK11_ListCertsInSlot* list;
    CERT_GetDefaultCertDB* defaultDatabase;
    CERT_DestroyCertificate* destroyCertificate;
    PK11_FreeSlot* freeSlot;
};

// What is given back on every way out: the certificate last looked at, and then the slot. The list and the decoded
// certificate stay with NSS.
class Walk {
  public:
    explicit Walk(const SlotFunctions& functions) : nss_(functions), slot_(functions.keySlot()) {
        if (slot_ == nullptr)
            throw FirefoxFailure{kFirefoxSlotOrCertificateMissing, kMessageNoSlot};
    }
    ~Walk() {
        if (last_ != nullptr)
            nss_.destroyCertificate(last_);
        nss_.freeSlot(slot_);
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    // holds tells whether the slot has the certificate. NSS keeps one structure for equal certificates, so that those
    // are equal whose memory is the same.
    bool holds(const Certificate* wanted) {
        CertificateList* list = nss_.list(slot_);
        if (list == nullptr)
            return false;
        for (const Link* link = list->head.next; link != &list->head; link = link->next) {
            last_ = reinterpret_cast<const CertificateNode*>(link)->certificate;
            if (last_ == nullptr)
                throw FirefoxFailure{kFirefoxSlotOrCertificateMissing, kMessageNoCertificate};
            if (last_->arena == wanted->arena)
                return true;
        }
        return false;
    }

  private:
    const SlotFunctions& nss_;
    void* slot_;
    Certificate* last_ = nullptr;
};

std::int32_t findCertificateInSlot(HMODULE nss, HMODULE smime, const char* text, std::size_t length) {
    std::vector<std::uint8_t> bytes = decodeCheckedCertificate(text, length);
    const SlotFunctions functions(nss, smime);
    const std::size_t size = bytes.size();
    bytes.resize(size + kBytesBehind);
    const Certificate* certificate =
        size <= INT_MAX ? functions.decode(reinterpret_cast<char*>(bytes.data()), static_cast<int>(size)) : nullptr;
    if (certificate == nullptr)
        throw FirefoxFailure{kFirefoxCertificateNotDecoded, kMessageNoCertificate};
    functions.defaultDatabase();
    return Walk(functions).holds(certificate) ? kSuccess : kCheckCertificateNotFound;
}

}  // namespace

void FunctionBinder::requireAll() const {
    if (!isComplete_)
        throw FirefoxFailure{kFirefoxFunctionNotFound, kMessageFunctionNotFound};
}

std::vector<std::uint8_t> decodeCheckedCertificate(const char* text, std::size_t length) {
    std::vector<std::uint8_t> bytes;
    const std::int32_t failure = DecodeBase64Text(text, length, bytes);
    if (failure == kBase64NoMemory)
        throw FirefoxFailure{kCheckNoMemory, kMessageNoMemoryForCertificate};
    if (failure != 0)
        throw FirefoxFailure{kCheckBase64Failed, kMessageCertificateText};
    return bytes;
}

std::int32_t FindCertificateInSlot(HMODULE nss, HMODULE smime, const char* text, std::size_t length) {
    try {
        return findCertificateInSlot(nss, smime, text, length);
    } catch (const FirefoxFailure& failure) {
        return failure.code;
    } catch (const std::bad_alloc&) {
        return kCheckNoMemory;
    }
}

}  // namespace enrol
