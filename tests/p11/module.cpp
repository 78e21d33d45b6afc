// The module as the library under test loads it: a shared library with a function list of its own, whose functions call
// those of the test program, where the calls are recorded and answered (recording_module.h).
#include "tests/p11/module.h"

#if defined(_WIN32)
#define VT_P11_EXPORT __declspec(dllexport)
#else
#define VT_P11_EXPORT __attribute__((visibility("default")))
#endif

#if defined(VT_P11_WITHOUT_LIST)

extern "C" VT_P11_EXPORT CK_RV C_Initialize(void* /*arguments*/) {
    return CKR_OK;
}

#else

namespace {

const CK_FUNCTION_LIST* recorder = nullptr;

// The function of a place in the list that calls the one of that place in the recorder's list.
template <auto Place>
struct Forwarded;

template <class... Arguments, CK_RV (*CK_FUNCTION_LIST::*Place)(Arguments...)>
struct Forwarded<Place> {
    static CK_RV call(Arguments... arguments) { return (recorder->*Place)(arguments...); }
};

CK_RV getFunctionList(CK_FUNCTION_LIST** list);

CK_FUNCTION_LIST makeList() {
    CK_FUNCTION_LIST made = {};
    made.version = {2, 20};
#define VT_FORWARD(name) made.name = Forwarded<&CK_FUNCTION_LIST::name>::call;
    VT_P11_FUNCTIONS(VT_FORWARD)
#undef VT_FORWARD
    made.C_GetFunctionList = getFunctionList;
    return made;
}

// The recorder decides on the result, and whether there is a list: it leaves the pointer null for none.
CK_RV getFunctionList(CK_FUNCTION_LIST** list) {
    static CK_FUNCTION_LIST own = makeList();
    constexpr CK_RV kGeneralError = 5;
    if (recorder == nullptr)
        return kGeneralError;
    CK_FUNCTION_LIST* recorded = nullptr;
    const CK_RV result = recorder->C_GetFunctionList(&recorded);
    if (result == CKR_OK)
        *list = recorded != nullptr ? &own : nullptr;
    return result;
}

}  // namespace

extern "C" VT_P11_EXPORT CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
    return getFunctionList(list);
}

extern "C" VT_P11_EXPORT void VT_P11_UseRecorder(const CK_FUNCTION_LIST* list) {
    recorder = list;
}

#endif
