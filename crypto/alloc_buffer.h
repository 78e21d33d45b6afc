// AllocBuffer: the one rule by which the engine allocates.
#ifndef VT_CRYPTO_ALLOC_BUFFER_H
#define VT_CRYPTO_ALLOC_BUFFER_H

#include <cstddef>
#include <cstdint>

// AllocBuffer gives size + 1 bytes, all zero: whatever is copied into size of them has a terminating zero, and a size
// of 0 is a buffer too. Null for exhausted memory. Freed by FreeBuffer.
void* AllocBuffer(std::size_t size);

// CopyBuffer gives an AllocBuffer of length bytes with a copy of bytes in it; null for exhausted memory. bytes may be
// null if length is 0.
std::uint8_t* CopyBuffer(const void* bytes, std::size_t length);

// FreeBuffer frees what AllocBuffer gave, as it stands: nothing is wiped. Null is accepted.
void FreeBuffer(void* buffer);

// AllocStructure gives a zeroed structure, by AllocBuffer.
template <class Structure>
Structure* AllocStructure() {
    return static_cast<Structure*>(AllocBuffer(sizeof(Structure)));
}

#endif
