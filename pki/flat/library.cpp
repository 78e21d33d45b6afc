#include <sys/stat.h>
#include <sys/types.h>

#include "pki/flat/flat.h"
#include "platform/platform.h"

using platform::sys;

void* VT_LoadLibrary(const char* path) {
    return path == nullptr ? nullptr : sys().LoadLibraryA(path);
}

VT_Func VT_GetFuncAddress(void* library, const char* name) {
    if (library == nullptr || name == nullptr)
        return nullptr;
    return reinterpret_cast<VT_Func>(sys().GetProcAddress(static_cast<HMODULE>(library), name));
}

int32_t VT_FreeLibrary(void* library) {
    return library == nullptr ? 0 : sys().FreeLibrary(static_cast<HMODULE>(library));
}

int64_t VT_GetFileLen(const char* path) {
    if (path == nullptr)
        return 0;
#if defined(_WIN32)
    struct _stat64 status = {};
    static_cast<void>(_stat64(path, &status));
#else
    struct stat status = {};
    static_cast<void>(stat(path, &status));
#endif
    return status.st_size;  // 0 without a file
}
