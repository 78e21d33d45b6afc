#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "platform/posix/entries.h"
#include "platform/posix/last_error.h"

namespace platform::posix {
namespace {

constexpr DWORD kAttributeDirectory = 0x10;  // FILE_ATTRIBUTE_DIRECTORY
constexpr DWORD kAttributeNormal = 0x80;     // FILE_ATTRIBUTE_NORMAL

// A search finds one file and holds nothing, so that every search has the same handle.
char searchHandle;

std::string_view baseName(std::string_view path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

}  // namespace

HANDLE FindFirstFileA(LPCSTR path, WIN32_FIND_DATAA* found) {
    if (path == nullptr || found == nullptr) {
        setLastError(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    struct stat status = {};
    const std::string_view name = baseName(path);
    const bool exists = stat(path, &status) == 0;
    if (!exists || name.size() >= MAX_PATH) {
        setLastError(exists ? ERROR_PATH_NOT_FOUND : errorOfErrno(errno));
        return INVALID_HANDLE_VALUE;
    }
    *found = {};
    found->dwFileAttributes = S_ISDIR(status.st_mode) ? kAttributeDirectory : kAttributeNormal;
    std::memcpy(found->cFileName, name.data(), name.size());
    return &searchHandle;
}

BOOL FindClose(HANDLE search) {
    return search == &searchHandle ? TRUE : fail(ERROR_INVALID_HANDLE);
}

BOOL DeleteFileA(LPCSTR path) {
    if (path == nullptr)
        return fail(ERROR_INVALID_PARAMETER);
    return unlink(path) == 0 ? TRUE : fail(errorOfErrno(errno));
}

}  // namespace platform::posix
