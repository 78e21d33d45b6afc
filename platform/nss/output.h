// The way in which CryptoAPI gives out bytes: a null buffer asks for the size, and a buffer that is too small fails
// with ERROR_MORE_DATA and the size.
#ifndef VT_PLATFORM_NSS_OUTPUT_H
#define VT_PLATFORM_NSS_OUTPUT_H

#include <cstring>
#include <string>
#include <vector>

#include "platform/posix/last_error.h"
#include "platform/types.h"

namespace platform::nss {

using Bytes = std::vector<BYTE>;

// giveOut copies length bytes into out, whose size *size holds; *size receives the length in every case.
// Errors: ERROR_INVALID_PARAMETER for a null size.
inline BOOL giveOut(const void* bytes, std::size_t length, void* out, DWORD* size) {
    if (size == nullptr)
        return posix::fail(ERROR_INVALID_PARAMETER);
    const DWORD capacity = *size;
    *size = static_cast<DWORD>(length);
    if (out == nullptr)
        return TRUE;
    if (capacity < length)
        return posix::fail(ERROR_MORE_DATA);
    if (length != 0)
        std::memcpy(out, bytes, length);
    return TRUE;
}

inline BOOL giveOut(const Bytes& bytes, void* out, DWORD* size) {
    return giveOut(bytes.data(), bytes.size(), out, size);
}

}  // namespace platform::nss

#endif
