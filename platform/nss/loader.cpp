#include "platform/nss/loader.h"

#include <dlfcn.h>

namespace platform::nss {
namespace {

template <class Function>
bool bind(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

// What PORT_GetError and its like are in the header are macros or live in libraries that this one brings along, where
// dlsym finds them as well.
const Functions* load() {
    static Functions bound = {};
    void* library = dlopen("libnss3.so", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        return nullptr;
    bool complete = true;
#define VT_NSS(name) complete = bind(library, #name, bound.name) && complete;
#include "platform/nss/functions.def"
#undef VT_NSS
    return complete ? &bound : nullptr;
}

}  // namespace

const Functions* functions() {
    static const Functions* const loaded = load();
    return loaded;
}

const Functions& nss() {
    return *functions();
}

}  // namespace platform::nss
