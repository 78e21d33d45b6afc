// The buffers that algorithms and keys own: of AllocBuffer, with a length beside them; null and 0 for none.
#ifndef VT_TOKEN_OWNED_BYTES_H
#define VT_TOKEN_OWNED_BYTES_H

#include <cstdint>

#include "crypto/alloc_buffer.h"

namespace token {

inline void clearBytes(unsigned char*& data, std::uint32_t& length) {
    FreeBuffer(data);
    data = nullptr;
    length = 0;
}

// replaceBytes puts a copy in the place of the old bytes. False for exhausted memory, when the old ones stay.
[[nodiscard]] inline bool replaceBytes(unsigned char*& data, std::uint32_t& length, const void* newBytes,
                                       std::uint32_t newLength) {
    unsigned char* const copy = CopyBuffer(newBytes, newLength);
    if (copy == nullptr)
        return false;
    FreeBuffer(data);
    data = copy;
    length = newLength;
    return true;
}

// copyBytes puts a copy of what may be absent in the place of the old bytes: nothing for nothing, null, no bytes and
// exhausted memory. It says whether there are bytes now.
inline bool copyBytes(unsigned char*& data, std::uint32_t& length, const void* newBytes, std::uint32_t newLength) {
    clearBytes(data, length);
    return newBytes != nullptr && newLength != 0 && replaceBytes(data, length, newBytes, newLength);
}

}  // namespace token

#endif
