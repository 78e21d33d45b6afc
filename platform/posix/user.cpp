#include <pwd.h>
#include <unistd.h>

#include <cstring>

#include "platform/posix/entries.h"
#include "platform/posix/last_error.h"

namespace platform::posix {

BOOL GetUserNameA(LPSTR name, DWORD* size) {
    if (name == nullptr || size == nullptr)
        return fail(ERROR_INVALID_PARAMETER);
    passwd entry = {};
    passwd* found = nullptr;
    char strings[4096];
    if (getpwuid_r(getuid(), &entry, strings, sizeof strings, &found) != 0 || found == nullptr)
        return fail(ERROR_FILE_NOT_FOUND);
    const std::size_t needed = std::strlen(found->pw_name) + 1;
    const bool fits = needed <= *size;
    if (fits)
        std::memcpy(name, found->pw_name, needed);
    *size = static_cast<DWORD>(needed);
    return fits ? TRUE : fail(ERROR_INSUFFICIENT_BUFFER);
}

}  // namespace platform::posix
