#include "token/chooser_object.h"

#include <memory>

#include "crypto/alloc_buffer.h"
#include "crypto/codes.h"
#include "token/module_calls.h"
#include "token/module_table.h"

namespace {

constexpr int kGoToSoftware = 1;

CHOOSER* makeSoftware() {
    auto* made = AllocStructure<CHOOSER>();
    if (made == nullptr)
        return nullptr;
    made->soft = AllocStructure<SOFT_TABLE>();
    if (made->soft != nullptr)
        return made;
    FreeChooser(made);
    return nullptr;
}

CHOOSER* makeToken(const CHOOSER_WORK& work) {
    auto* made = AllocStructure<CHOOSER>();
    if (made == nullptr) {
        work.functions->C_CloseSession(work.session);
        return nullptr;
    }
    made->session = work.session;
    made->functions = work.functions;
    made->useToken = 1;
    InstallTokenSide();
    return made;
}

}  // namespace

int ChooserOpenSession(CHOOSER_WORK* work) {
    const TokenModuleTable& table = tokenModuleTable;
    const std::int32_t current = table.moduleCount - 1;
    if (current < 0 || table.moduleSlots[current] == kNoSlot || table.moduleHandles[current] == nullptr)
        return kGoToSoftware;
    if (work == nullptr)
        return crypto::kArgumentAbsent;
    if (work->selection.text1 == nullptr || work->selection.text2 == nullptr)
        return kGoToSoftware;
    CK_FUNCTION_LIST* functions = nullptr;
    CK_SESSION_HANDLE session = 0;
    int code = FetchFunctionList(table.moduleHandles[current], functions);
    if (code == 0)
        code = OpenTokenSession(*functions, table.moduleSlots[current], session);
    work->session = code == 0 ? session : 0;
    work->functions = code == 0 ? functions : nullptr;
    return code;
}

int CreateChooserObject(CHOOSER** chooser, CHOOSER_WORK* work) {
    if (chooser == nullptr || work == nullptr)
        return crypto::kArgumentAbsent;
    const int code = ChooserOpenSession(work);
    if (code != 0 && code != kGoToSoftware)
        return code;
    CHOOSER* made = code == 0 ? makeToken(*work) : makeSoftware();
    if (made == nullptr)
        return crypto::kNoMemory;
    *chooser = made;
    return 0;
}

void FreeChooser(CHOOSER* chooser) {
    if (chooser != nullptr)
        FreeBuffer(chooser->soft);
    FreeBuffer(chooser);
}

int DestroyChooserObject(CHOOSER** chooser) {
    if (chooser == nullptr || *chooser == nullptr)
        return crypto::kArgumentAbsent;
    CHOOSER& object = **chooser;
    object.useToken = object.session != 0 && object.functions != nullptr ? 1 : 0;
    if (object.useToken == 1) {
        if (const CK_RV code = object.functions->C_CloseSession(object.session))
            return static_cast<int>(code);
    }
    FreeChooser(&object);
    *chooser = nullptr;
    return 0;
}
