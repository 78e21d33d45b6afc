#include "platform/nss/database.h"

#include <sys/stat.h>

#include <map>
#include <string>

#include "platform/posix/home.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

// Quotes a value of an NSS parameter text.
std::string quoted(const std::string& value) {
    std::string text = "'";
    for (const char c : value) {
        if (c == '\'' || c == '\\')
            text += '\\';
        text += c;
    }
    return text + "'";
}

// Two calls, since only the first loads the database's modules, and only the second tells its token where the host has
// databases of its own. NSS knows that both mean one database, also where the host has opened that one.
PK11SlotInfo* openToken(const std::string& database) {
    NSSInitParameters parameters = {};
    parameters.length = sizeof parameters;
    if (nss().NSS_InitContext(database.c_str(), "", "", "secmod.db", &parameters, 0) == nullptr)
        return nullptr;
    const std::string spec = "configDir=" + quoted(database) + " tokenDescription='NSS Certificate DB'";
    return nss().SECMOD_OpenUserDB(spec.c_str());
}

Slot open(const std::string& home) {
    const std::string folder = home + "/.pki";
    mkdir(folder.c_str(), 0700);
    mkdir((folder + "/nssdb").c_str(), 0700);
    PK11SlotInfo* slot = openToken("sql:" + folder + "/nssdb");
    if (slot == nullptr)
        return nullptr;
    Slot owned = ownSlot(slot);
    const bool fresh = nss().PK11_NeedUserInit(slot) != PR_FALSE;
    return fresh && nss().PK11_InitPin(slot, nullptr, "") != SECSuccess ? nullptr : owned;
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
    Slot slot = open(home);
    if (slot == nullptr) {
        posix::setLastError(NTE_FAIL);
        return nullptr;
    }
    return databases[home] = slot;
}

}  // namespace platform::nss
