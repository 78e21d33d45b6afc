// The stack of modules. For the sources of this room, and for tests.
#ifndef VT_TOKEN_MODULE_TABLE_H
#define VT_TOKEN_MODULE_TABLE_H

#include <cstdint>

#include "crypto/pkcs11.h"
#include "platform/types.h"

inline constexpr std::int32_t kMaxModules = 16;
inline constexpr CK_SLOT_ID kNoSlot = 0xffffffff;

// Entries below moduleCount are loaded modules, the last of them the current one. The entry at moduleCount is what the
// load in progress works on, and keeps what a failed load left there until the next load.
struct TokenModuleTable {
    std::int32_t moduleCount;
    HMODULE moduleHandles[kMaxModules];   // null if free
    CK_SLOT_ID moduleSlots[kMaxModules];  // the slot of each module's token; kNoSlot if none
};

// Constant-initialised, so that it stands before any other initialiser runs.
extern TokenModuleTable tokenModuleTable;

// FetchFunctionList gets the module's list by its C_GetFunctionList. 0, the module's code, or -17 if the module has no
// such function, or the function gives no list.
int FetchFunctionList(HMODULE module, CK_FUNCTION_LIST*& functions);

// OpenTokenSession opens a session for reading and writing: 0 or the module's code.
int OpenTokenSession(const CK_FUNCTION_LIST& functions, CK_SLOT_ID slot, CK_SESSION_HANDLE& session);

#endif
