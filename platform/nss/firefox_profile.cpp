#include <unistd.h>

#include <algorithm>
#include <climits>
#include <memory>

#include "platform/nss/der.h"
#include "platform/nss/firefox.h"
#include "platform/nss/item.h"
#include "platform/nss/parameter.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

const FirefoxFunctions& firefox() {
    return *firefoxNss();
}

// NSS looks at a few bytes ahead before it looks at the length.
constexpr std::size_t kBytesBehind = 16;

struct FreeTokens {
    void operator()(PK11SlotList* tokens) const { firefox().PK11_FreeSlotList(tokens); }
};
using Tokens = std::unique_ptr<PK11SlotList, FreeTokens>;

Tokens presentTokens() {
    return Tokens(firefox().PK11_GetAllTokens(CKM_INVALID_MECHANISM, PR_FALSE, PR_FALSE, nullptr));
}

// Goes to the end in any case: each step gives back the element before.
bool isAmong(PK11SlotList* tokens, const PK11SlotInfo* slot) {
    bool isFound = false;
    PK11SlotListElement* element = tokens != nullptr ? firefox().PK11_GetFirstSafe(tokens) : nullptr;
    for (; element != nullptr; element = firefox().PK11_GetNextSafe(tokens, element, PR_FALSE))
        isFound = isFound || element->slot == slot;
    return isFound;
}

// The kind of database in a profile, of today or of before 2018; null for none.
const char* databaseKind(const std::string& folder) {
    if (access((folder + "/cert9.db").c_str(), R_OK) == 0)
        return "sql:";
    return access((folder + "/cert8.db").c_str(), R_OK) == 0 ? "dbm:" : nullptr;
}

struct ShutContext {
    void operator()(NSSInitContext* context) const { firefox().NSS_ShutdownContext(context); }
};

// One token of NSS that is an open profile, beside whatever the process has open.
class Profile {
  public:
    // isOpen tells whether it succeeded.
    explicit Profile(const std::string& database) {
        // A context of its own: NSS is started for it where nobody uses it, and else nothing happens.
        constexpr PRUint32 kNothing = NSS_INIT_READONLY | NSS_INIT_NOCERTDB | NSS_INIT_NOMODDB | NSS_INIT_FORCEOPEN |
                                      NSS_INIT_NOROOTINIT | NSS_INIT_OPTIMIZESPACE;
        context_.reset(firefox().NSS_InitContext("", "", "", "", nullptr, kNothing));
        if (context_ == nullptr)
            return;
        const Tokens before = presentTokens();
        const std::string parameters =
            "configDir=" + quoted(database) + " tokenDescription='Firefox profile' flags=readOnly,noKeyDB";
        slot_ = firefox().SECMOD_OpenUserDB(parameters.c_str());
        // A database that the host has open already is given as the host's own token.
        isOurs_ = !isAmong(before.get(), slot_);
    }
    ~Profile() {
        if (slot_ != nullptr && isOurs_)
            firefox().SECMOD_CloseUserDB(slot_);
        if (slot_ != nullptr)
            firefox().PK11_FreeSlot(slot_);
    }
    Profile(const Profile&) = delete;
    Profile& operator=(const Profile&) = delete;

    bool isOpen() const { return slot_ != nullptr; }
    PK11SlotInfo* slot() const { return slot_; }

  private:
    std::unique_ptr<NSSInitContext, ShutContext> context_;  // ends after the token
    PK11SlotInfo* slot_ = nullptr;
    bool isOurs_ = false;
};

// What NSS finds in a certificate's text or bytes.
struct Decoded {
    Bytes der;
    bool isOutOfMemory = false;
};

// Takes the first certificate; no exception may pass through NSS.
SECStatus takeFirst(void* target, SECItem** certificates, int count) {
    auto& decoded = *static_cast<Decoded*>(target);
    try {
        if (count > 0)
            decoded.der.assign(certificates[0]->data, certificates[0]->data + certificates[0]->len);
    } catch (const std::bad_alloc&) {
        decoded.isOutOfMemory = true;
    }
    return SECSuccess;
}

// The DER of the certificate, empty where there is none.
Bytes decode(const BYTE* bytes, DWORD size) {
    Bytes copy(bytes, bytes + size);
    copy.resize(copy.size() + kBytesBehind);
    Decoded decoded;
    if (size == 0 || size > INT_MAX ||
        firefox().CERT_DecodeCertPackage(reinterpret_cast<char*>(copy.data()), static_cast<int>(size), takeFirst,
                                         &decoded) != SECSuccess)
        return {};
    if (decoded.isOutOfMemory)
        throw std::bad_alloc();
    SECItem item = itemOf(decoded.der);
    CERTCertificate* certificate = firefox().CERT_DecodeDERCertificate(&item, PR_FALSE, nullptr);
    if (certificate == nullptr)
        return {};
    firefox().CERT_DestroyCertificate(certificate);
    return decoded.der;
}

struct FreeObjects {
    void operator()(PK11GenericObject* objects) const { firefox().PK11_DestroyGenericObjects(objects); }
};
using Objects = std::unique_ptr<PK11GenericObject, FreeObjects>;

// The error of the search, 0 when it found the certificate. The token's objects are asked directly: the certificates
// that NSS keeps in memory for the host stay as they are.
DWORD searchFor(const Bytes& der, PK11SlotInfo* slot) {
    firefox().PORT_SetError(0);
    const Objects all(firefox().PK11_FindGenericObjects(slot, CKO_CERTIFICATE));
    if (all == nullptr)
        return firefox().PORT_GetError() == 0 ? CRYPT_E_NOT_FOUND : NTE_FAIL;
    for (PK11GenericObject* object = all.get(); object != nullptr;
         object = firefox().PK11_GetNextGenericObject(object)) {
        SECItem value = {};
        if (firefox().PK11_ReadRawAttribute(PK11_TypeGeneric, object, CKA_VALUE, &value) != SECSuccess)
            return NTE_FAIL;
        const bool isEqual = std::equal(der.begin(), der.end(), value.data, value.data + value.len);
        firefox().SECITEM_FreeItem(&value, PR_FALSE);
        if (isEqual)
            return ERROR_SUCCESS;
    }
    return CRYPT_E_NOT_FOUND;
}

}  // namespace

HANDLE OpenProfile(LPCSTR folder) {
    const char* kind = databaseKind(folder);
    auto profile = kind != nullptr ? std::make_unique<Profile>(kind + std::string(folder)) : nullptr;
    if (profile == nullptr || !profile->isOpen()) {
        posix::setLastError(NTE_FAIL);
        return nullptr;
    }
    return profile.release();
}

BOOL FindCertificate(HANDLE profile, const BYTE* certificate, DWORD size) {
    const Bytes der = decode(certificate, size);
    if (der.empty())
        return posix::fail(CRYPT_E_ASN1_CORRUPT);
    const DWORD error = searchFor(der, static_cast<Profile*>(profile)->slot());
    return error == ERROR_SUCCESS ? TRUE : posix::fail(error);
}

BOOL CloseProfile(HANDLE profile) {
    const std::unique_ptr<Profile> closed(static_cast<Profile*>(profile));
    return TRUE;
}

}  // namespace platform::nss
