// NSS, found at run time: the program neither links it nor loads it before a key or a store is asked for. Where the
// host process has NSS already, its copy is the one that is bound.
#ifndef VT_PLATFORM_NSS_LOADER_H
#define VT_PLATFORM_NSS_LOADER_H

#include <cert.h>
#include <certdb.h>
#include <keyhi.h>
#include <nss.h>
#include <pk11pub.h>
#include <secerr.h>
#include <secitem.h>
#include <secmod.h>
#include <secport.h>

#include <memory>

namespace platform::nss {

struct Functions {
#define VT_NSS(name) decltype(&::name) name;
#include "platform/nss/functions.def"
#undef VT_NSS
};

// functions gives the bound functions, or null where NSS cannot be loaded or lacks one of them. The first call decides;
// the library stays loaded until the process ends.
const Functions* functions();

// nss gives the same, for code that runs only once the user's database is open.
const Functions& nss();

// Release<&Functions::PK11_FreeSlot> is a deleter that calls that function.
template <auto Function>
struct Release {
    template <class T>
    void operator()(T* object) const {
        (nss().*Function)(object);
    }
};

struct ReleaseContext {
    void operator()(PK11Context* context) const { nss().PK11_DestroyContext(context, PR_TRUE); }
};

using Slot = std::shared_ptr<PK11SlotInfo>;
using SlotList = std::unique_ptr<PK11SlotList, Release<&Functions::PK11_FreeSlotList>>;
using PrivateKey = std::unique_ptr<SECKEYPrivateKey, Release<&Functions::SECKEY_DestroyPrivateKey>>;
using PrivateKeyList = std::unique_ptr<SECKEYPrivateKeyList, Release<&Functions::SECKEY_DestroyPrivateKeyList>>;
using PublicKey = std::unique_ptr<SECKEYPublicKey, Release<&Functions::SECKEY_DestroyPublicKey>>;
using SymmetricKey = std::unique_ptr<PK11SymKey, Release<&Functions::PK11_FreeSymKey>>;
using DigestContext = std::unique_ptr<PK11Context, ReleaseContext>;
using NssCertificate = std::unique_ptr<CERTCertificate, Release<&Functions::CERT_DestroyCertificate>>;

// ownSlot takes over one reference; of null it makes an empty Slot.
inline Slot ownSlot(PK11SlotInfo* slot) {
    return slot != nullptr ? Slot(slot, Release<&Functions::PK11_FreeSlot>()) : nullptr;
}

}  // namespace platform::nss

#endif
