#include "platform/posix/last_error.h"

#include <cerrno>

namespace platform::posix {
namespace {

thread_local DWORD threadError = ERROR_SUCCESS;

}  // namespace

DWORD lastError() {
    return threadError;
}

void setLastError(DWORD error) {
    threadError = error;
}

BOOL fail(DWORD error) {
    threadError = error;
    return FALSE;
}

DWORD errorOfErrno(int value) {
    switch (value) {
        case ENOENT:
            return ERROR_FILE_NOT_FOUND;
        case ENOTDIR:
        case ENAMETOOLONG:
            return ERROR_PATH_NOT_FOUND;
        case ENOMEM:
            return ERROR_NOT_ENOUGH_MEMORY;
        default:
            return ERROR_ACCESS_DENIED;
    }
}

}  // namespace platform::posix
