#include "crypto/alloc_buffer.h"

#include <cstdlib>
#include <cstring>

void* AllocBuffer(std::size_t size) {
    return size == SIZE_MAX ? nullptr : std::calloc(size + 1, 1);
}

std::uint8_t* CopyBuffer(const void* bytes, std::size_t length) {
    auto* copy = static_cast<std::uint8_t*>(AllocBuffer(length));
    if (copy != nullptr && length != 0)
        std::memcpy(copy, bytes, length);
    return copy;
}

void FreeBuffer(void* buffer) {
    std::free(buffer);
}
