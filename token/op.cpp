#include "token/op.h"

#include "crypto/codes.h"
#include "token/chooser_object.h"

static_assert(sizeof(VT_P11_OP) == sizeof(void*), "the layout of VT_P11_OP is a contract");

VT_P11_OP::VT_P11_OP() = default;

VT_P11_OP::VT_P11_OP(const VT_P11_OP& other) = default;

VT_P11_OP& VT_P11_OP::operator=(const VT_P11_OP& other) = default;

VT_P11_OP::~VT_P11_OP() {
    Reset();
}

void VT_P11_OP::Reset() {
    chooser = nullptr;
}

int VT_P11_OP::createChooser(void* selection) {
    if (selection == nullptr)
        return crypto::kArgumentAbsent;
    CHOOSER_WORK work = {0, nullptr, *static_cast<const VT_P11_SELECTION*>(selection)};
    if (work.selection.text1 == nullptr)
        work.selection.length1 = 0;
    if (work.selection.text2 == nullptr)
        work.selection.length2 = 0;
    CHOOSER* made = nullptr;
    const int code = CreateChooserObject(&made, &work);
    if (code == 0)
        chooser = made;
    // Callers of old take a session that was refused for a success, and learn of it at the first operation.
    return code > 0 ? 0 : code;
}

int VT_P11_OP::destroyChooser() {
    auto* object = static_cast<CHOOSER*>(chooser);
    chooser = nullptr;
    if (object == nullptr)
        return 0;
    // A module that does not close the session keeps the chooser alive, which nobody could destroy any more.
    if (DestroyChooserObject(&object) != 0)
        FreeChooser(object);
    return 0;
}
