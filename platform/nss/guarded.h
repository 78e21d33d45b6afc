// Exhausted memory as the platform tells it.
#ifndef VT_PLATFORM_NSS_GUARDED_H
#define VT_PLATFORM_NSS_GUARDED_H

#include <new>

#include "platform/posix/last_error.h"

namespace platform::nss {

// Guarded<f>::call is f; where memory runs out it gives zero with the last error NTE_NO_MEMORY.
template <auto Function>
struct Guarded;

template <class Result, class... Args, Result (*Function)(Args...)>
struct Guarded<Function> {
    static Result call(Args... args) {
        try {
            return Function(args...);
        } catch (const std::bad_alloc&) {
            posix::setLastError(NTE_NO_MEMORY);
            return Result{};
        }
    }
};

}  // namespace platform::nss

#endif
