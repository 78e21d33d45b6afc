// The storage of the byte and text strings and of their buffers.
#ifndef VT_FOUNDATION_STORAGE_H
#define VT_FOUNDATION_STORAGE_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>

#include "foundation/object.h"
#include "foundation/pool.h"

namespace foundation {

// ---- exact strings: n bytes and a zero behind them ----

// n + 1 bytes of which the last is zero and the others are the caller's to write. n is at least 1. A length that the
// address space, or a 32-bit field, has no room for is a memory failure.
inline char* TakeString(std::size_t n) {
    if (n > UINT32_MAX || n == SIZE_MAX)
        MiMemoryFailure();
    auto* const block = static_cast<char*>(PoolTake(n + 1));
    block[n] = 0;
    return block;
}

inline void GiveString(char* block, std::size_t n) noexcept {
    PoolGive(block, n + 1);
}

// ---- buffers: room bytes, with their number kept in front of them ----
//
//     block   | room | bytes ...                         |
//                    ^ data        room of them, more than the length and more than the capacity
//
// The capacity of a buffer follows a rule of its own and may fall below its length, so it cannot stand for the room.

// TakeBuffer gives `room` zero bytes.
char* TakeBuffer(std::size_t room);
void GiveBuffer(char* data) noexcept;
std::size_t BufferRoom(const char* data) noexcept;

constexpr unsigned int kSmallestCapacity = 1024;

// Doubled: `capacity` doubled until it is at least `needed`; a memory failure when it would not fit 32 bits.
unsigned int Doubled(unsigned int capacity, std::uint64_t needed);

// What the rule for capacities makes of one, when `needed` bytes are needed and `behind` more if it has to grow: one
// for the zero behind a text. It doubles until it suffices. Larger than the need it stays up to 2048; above, it falls
// to twice the smallest power above the need if that is less.
unsigned int CapacityFor(unsigned int capacity, std::uint64_t needed, unsigned int behind);

// The three fields of a buffer.
struct Buffer {
    char*& data;
    unsigned int& length;
    unsigned int& capacity;
};

// Splice replaces `removed` bytes at `start` by the n bytes at p, which may lie in the buffer, and makes `capacity` the
// buffer's. If `fresh`, or if the room does not suffice, the content moves to new storage, zeroed behind it; otherwise
// the tail moves in place. `start + removed` is at most the length. With a null p the n bytes are left to the caller,
// zero in new storage. On a memory failure nothing has changed.
void Splice(Buffer buffer, unsigned int start, unsigned int removed, const char* p, unsigned int n,
            unsigned int capacity, bool fresh);

// ---- both ----

// Whether p points into the n bytes at block.
inline bool LiesIn(const char* p, const char* block, std::size_t n) noexcept {
    return block != nullptr && !std::less<>()(p, block) && std::less<>()(p, block + n);
}

// -1, 0 or 1 as the n bytes at left and right compare by their first difference, as signed values.
int CompareSigned(const char* left, const char* right, std::size_t n) noexcept;

// The length of the text at p, or `limit` if there is no zero byte before that; no further byte is read.
inline std::size_t TextLength(const char* p, std::size_t limit) noexcept {
    const void* const end = std::memchr(p, 0, limit);
    return end == nullptr ? limit : static_cast<std::size_t>(static_cast<const char*>(end) - p);
}

// offset + n, without a wrap where std::size_t has 32 bits.
inline std::size_t RangeEnd(unsigned int offset, unsigned int n) noexcept {
    const std::uint64_t end = std::uint64_t{offset} + n;
    return end > SIZE_MAX ? SIZE_MAX : static_cast<std::size_t>(end);
}

// The letters A to Z and a to z: of one character, and in place.
inline char UpperOf(char c) noexcept {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
inline char LowerOf(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
void ToLower(char* text, std::size_t n) noexcept;
void ToUpper(char* text, std::size_t n) noexcept;

}  // namespace foundation

#endif
