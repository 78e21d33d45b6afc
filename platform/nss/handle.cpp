#include "platform/nss/handle.h"

namespace platform::nss {

ULONG_PTR nextHandle() {
    static ULONG_PTR last = 0;
    return last += 16;
}

}  // namespace platform::nss
