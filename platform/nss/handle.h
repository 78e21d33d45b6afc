// Handles of providers, keys, hashes and stores. A handle is a number that is never given twice, so that one which was
// closed already, or never was one, is refused and not followed.
#ifndef VT_PLATFORM_NSS_HANDLE_H
#define VT_PLATFORM_NSS_HANDLE_H

#include <map>
#include <memory>
#include <utility>

#include "platform/types.h"

namespace platform::nss {

// nextHandle gives a number that no handle of any kind has had.
ULONG_PTR nextHandle();

template <class Object>
class Handles {
  public:
    // The one table of that kind. Never destroyed: a host may still call while the process ends.
    static Handles& instance() {
        static auto& table = *new Handles;
        return table;
    }

    ULONG_PTR open(std::shared_ptr<Object> object) {
        const ULONG_PTR handle = nextHandle();
        objects_[handle] = std::move(object);
        return handle;
    }

    // find gives null for what is no open handle of this kind.
    std::shared_ptr<Object> find(ULONG_PTR handle) const {
        const auto found = objects_.find(handle);
        return found == objects_.end() ? nullptr : found->second;
    }

    bool close(ULONG_PTR handle) { return objects_.erase(handle) != 0; }

  private:
    std::map<ULONG_PTR, std::shared_ptr<Object>> objects_;
};

}  // namespace platform::nss

#endif
