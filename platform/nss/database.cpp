#include "platform/nss/database.h"

#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "platform/nss/parameter.h"
#include "platform/posix/home.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

// The tokens of NSS's own module.
std::vector<Slot> ownTokens() {
    std::vector<Slot> tokens;
    const SlotList list(nss().PK11_GetAllTokens(CKM_INVALID_MECHANISM, PR_FALSE, PR_FALSE, nullptr));
    if (list == nullptr)
        return tokens;
    for (PK11SlotListElement* element = nss().PK11_GetFirstSafe(list.get()); element != nullptr;
         element = nss().PK11_GetNextSafe(list.get(), element, PR_FALSE)) {
        if (nss().PK11_IsInternal(element->slot) != PR_FALSE)
            tokens.push_back(ownSlot(nss().PK11_ReferenceSlot(element->slot)));
    }
    return tokens;
}

// Opens the database and its modules, and finds its token: the key token where NSS was not in use, else the token that
// was not there before. Where none is new the host has that database open, and NSS tells which token it is.
Slot openToken(const std::string& database) {
    const bool wasInUse = nss().NSS_IsInitialized() != PR_FALSE;
    const std::vector<Slot> before = wasInUse ? ownTokens() : std::vector<Slot>();
    std::string description = kDatabaseName;
    NSSInitParameters parameters = {};
    parameters.length = sizeof parameters;
    parameters.dbTokenDescription = description.data();
    if (nss().NSS_InitContext(database.c_str(), "", "", "secmod.db", &parameters, 0) == nullptr)
        return nullptr;
    if (!wasInUse)
        return ownSlot(nss().PK11_GetInternalKeySlot());
    for (const Slot& token : ownTokens()) {
        if (std::find(before.begin(), before.end(), token) == before.end())
            return token;
    }
    const std::string spec = "configDir=" + quoted(database) + " tokenDescription=" + quoted(description);
    return ownSlot(nss().SECMOD_OpenUserDB(spec.c_str()));
}

Slot open(const std::string& home) {
    const std::string folder = home + "/.pki";
    mkdir(folder.c_str(), 0700);
    mkdir((folder + "/nssdb").c_str(), 0700);
    Slot slot = openToken("sql:" + folder + "/nssdb");
    if (slot == nullptr)
        return nullptr;
    const bool isFresh = nss().PK11_NeedUserInit(slot.get()) != PR_FALSE;
    return isFresh && nss().PK11_InitPin(slot.get(), nullptr, "") != SECSuccess ? nullptr : slot;
}

}  // namespace

Slot userDatabase() {
    if (functions() == nullptr) {
        posix::setLastError(NTE_PROV_DLL_NOT_FOUND);
        return nullptr;
    }
    // Never destroyed: at the process's end NSS may be gone already.
    static auto& databases = *new std::map<std::string, Slot>;
    const std::string home = posix::homeFolder();
    const auto known = databases.find(home);
    if (known != databases.end())
        return known->second;
    Slot slot = home.empty() ? nullptr : open(home);
    if (slot == nullptr) {
        posix::setLastError(NTE_FAIL);
        return nullptr;
    }
    return databases[home] = slot;
}

}  // namespace platform::nss
