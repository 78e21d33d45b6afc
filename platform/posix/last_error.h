// The last error of a thread, through which both tables report, as GetLastError and SetLastError tell it.
#ifndef VT_PLATFORM_POSIX_LAST_ERROR_H
#define VT_PLATFORM_POSIX_LAST_ERROR_H

#include "platform/types.h"

namespace platform::posix {

// lastError gives what this thread stored last, 0 at first.
DWORD lastError();

// setLastError stores the error for this thread.
void setLastError(DWORD error);

// fail stores the error and gives FALSE, so that a function can end with `return fail(NTE_BAD_FLAGS)`.
BOOL fail(DWORD error);

// errorOfErrno gives the platform's error for a value of errno after a call on a file.
DWORD errorOfErrno(int value);

}  // namespace platform::posix

#endif
