#include "platform/system_api.h"

namespace platform {

SystemApi& replaceableSystemApi() {
    static SystemApi table = {};
    return table;
}

const SystemApi& sys() { return replaceableSystemApi(); }

}  // namespace platform
