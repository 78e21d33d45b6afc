#include "platform/posix/entries.h"

namespace platform::posix {

LONG RegOpenKeyExA(HKEY /*parent*/, LPCSTR /*path*/, DWORD /*options*/, REGSAM /*access*/, HKEY* /*key*/) {
    return static_cast<LONG>(ERROR_FILE_NOT_FOUND);
}

LONG RegQueryValueExA(HKEY /*key*/, LPCSTR /*name*/, DWORD* /*reserved*/, DWORD* /*type*/, BYTE* /*data*/,
                      DWORD* /*size*/) {
    return static_cast<LONG>(ERROR_INVALID_HANDLE);
}

LONG RegCloseKey(HKEY /*key*/) {
    return static_cast<LONG>(ERROR_INVALID_HANDLE);
}

}  // namespace platform::posix
