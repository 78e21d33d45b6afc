#include "token/module.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include "crypto/codes.h"
#include "platform/system_api.h"
#include "token/holders.h"
#include "token/module_table.h"

using platform::sys;

TokenModuleTable tokenModuleTable = {
    0,
    {},
    {kNoSlot, kNoSlot, kNoSlot, kNoSlot, kNoSlot, kNoSlot, kNoSlot, kNoSlot, kNoSlot, kNoSlot, kNoSlot, kNoSlot,
     kNoSlot, kNoSlot, kNoSlot, kNoSlot},
};

namespace {

using SlotList = std::unique_ptr<CK_SLOT_ID, token::BufferFree>;

void resetEntry(std::int32_t index) {
    tokenModuleTable.moduleHandles[index] = nullptr;
    tokenModuleTable.moduleSlots[index] = kNoSlot;
}

SlotList allocateSlots(CK_ULONG count) {
    if (count > SIZE_MAX / sizeof(CK_SLOT_ID) - 1)
        return nullptr;
    return SlotList(static_cast<CK_SLOT_ID*>(AllocBuffer(count * sizeof(CK_SLOT_ID))));
}

bool beginsWith(const CK_TOKEN_INFO& token, std::string_view label) {
    return label.size() <= sizeof token.label && std::memcmp(token.label, label.data(), label.size()) == 0;
}

// Only the maximum of all sessions can say that there is no limit; then that of sessions for writing is not looked at
// either, and otherwise it counts as it stands.
bool hasSessionLeft(const CK_TOKEN_INFO& token) {
    constexpr CK_ULONG kAllOnes32 = 0xffffffff;
    const CK_ULONG most = token.ulMaxSessionCount;
    if (most == CK_EFFECTIVELY_INFINITE || most == kAllOnes32 || most == CK_UNAVAILABLE_INFORMATION)
        return true;
    return token.ulSessionCount < most && token.ulRwSessionCount < token.ulMaxRwSessionCount;
}

// Logs in; the session stays open, which keeps the login for all sessions of the program.
int logIn(const CK_FUNCTION_LIST& functions, CK_SLOT_ID slot, std::string_view pin) {
    CK_SESSION_HANDLE session = 0;
    if (const int code = OpenTokenSession(functions, slot, session))
        return code;
    auto* bytes = reinterpret_cast<CK_BYTE*>(const_cast<char*>(pin.data()));
    return static_cast<int>(functions.C_Login(session, CKU_USER, bytes, static_cast<CK_ULONG>(pin.size())));
}

// Finds the token among the slots and logs in to it. The slot is recorded as soon as it is found.
int useToken(const CK_FUNCTION_LIST& functions, const CK_SLOT_ID* slots, CK_ULONG count, std::string_view label,
             std::string_view pin, CK_SLOT_ID& recorded) {
    for (CK_ULONG i = 0; i < count; ++i) {
        CK_TOKEN_INFO token = {};
        if (functions.C_GetTokenInfo(slots[i], &token) != CKR_OK || !beginsWith(token, label))
            continue;
        if (!hasSessionLeft(token))
            break;
        recorded = slots[i];
        return logIn(functions, slots[i], pin);
    }
    return crypto::kNoMatchingToken;
}

// From the loaded file to the login.
int openModule(HMODULE module, std::string_view label, std::string_view pin, CK_SLOT_ID& recorded) {
    CK_FUNCTION_LIST* functions = nullptr;
    if (const int code = FetchFunctionList(module, functions))
        return code;
    CK_C_INITIALIZE_ARGS arguments = {};
    arguments.flags = CKF_OS_LOCKING_OK;
    functions->C_Initialize(&arguments);  // fails where another user has initialised the module, which is as good
    CK_ULONG room = 0;
    if (const CK_RV code = functions->C_GetSlotList(CK_TRUE, nullptr, &room))
        return static_cast<int>(code);
    if (room == 0)
        return crypto::kModuleNotInitialised;
    const SlotList slots = allocateSlots(room);
    if (slots == nullptr)
        return crypto::kModuleNotInitialised;
    CK_ULONG count = room;
    if (const CK_RV code = functions->C_GetSlotList(CK_TRUE, slots.get(), &count))
        return static_cast<int>(code);
    return useToken(*functions, slots.get(), std::min(count, room), label, pin, recorded);
}

int closeModule(HMODULE module, CK_SLOT_ID slot) {
    CK_FUNCTION_LIST* functions = nullptr;
    if (const int code = FetchFunctionList(module, functions))
        return code;
    CK_SESSION_HANDLE session = 0;
    if (const int code = OpenTokenSession(*functions, slot, session))
        return code;
    if (const CK_RV code = functions->C_Logout(session))
        return static_cast<int>(code);
    return static_cast<int>(functions->C_Finalize(nullptr));
}

std::string_view textOf(const char* text) {
    return text != nullptr ? text : "";
}

}  // namespace

int FetchFunctionList(HMODULE module, CK_FUNCTION_LIST*& functions) {
    const FARPROC found = sys().GetProcAddress(module, "C_GetFunctionList");
    if (found == nullptr)
        return crypto::kModuleNotInitialised;
    const auto getFunctionList = reinterpret_cast<CK_C_GetFunctionList>(reinterpret_cast<void*>(found));
    functions = nullptr;
    if (const CK_RV code = getFunctionList(&functions))
        return static_cast<int>(code);
    return functions != nullptr ? 0 : crypto::kModuleNotInitialised;
}

int OpenTokenSession(const CK_FUNCTION_LIST& functions, CK_SLOT_ID slot, CK_SESSION_HANDLE& session) {
    constexpr CK_FLAGS kFlags = CKF_SERIAL_SESSION | CKF_RW_SESSION;
    return static_cast<int>(functions.C_OpenSession(slot, kFlags, nullptr, nullptr, &session));
}

int TokenModuleLoad(const char* module, const char* label, const char* pin) {
    TokenModuleTable& table = tokenModuleTable;
    const std::int32_t index = table.moduleCount;
    const bool hasRoom = index < kMaxModules;
    if (hasRoom)
        resetEntry(index);
    if (module == nullptr)
        return 0;
    if (!hasRoom)
        return crypto::kModuleNotLoaded;
    table.moduleHandles[index] = sys().LoadLibraryA(module);
    if (table.moduleHandles[index] == nullptr)
        return crypto::kModuleNotLoaded;
    const int code = openModule(table.moduleHandles[index], textOf(label), textOf(pin), table.moduleSlots[index]);
    if (code == 0)
        ++table.moduleCount;
    return code;
}

int TokenModuleUnload() {
    TokenModuleTable& table = tokenModuleTable;
    if (table.moduleCount == 0) {
        resetEntry(0);
        return 0;
    }
    const std::int32_t index = --table.moduleCount;
    const int code = closeModule(table.moduleHandles[index], table.moduleSlots[index]);
    sys().FreeLibrary(table.moduleHandles[index]);
    resetEntry(index);
    return code;
}
