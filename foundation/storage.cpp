#include "foundation/storage.h"

#include <algorithm>
#include <cstdlib>

#include "foundation/object.h"

namespace foundation {

namespace {

// In front of the bytes, aligned as malloc aligns.
struct Head {
    std::size_t room;
};

char* zeroedBlock(std::size_t size) {
    if (size > kPoolLargest)
        return static_cast<char*>(std::calloc(size, 1));  // NOLINT(cppcoreguidelines-no-malloc): cheaper than memset
    auto* const block = static_cast<char*>(TryPoolTake(size));
    if (block != nullptr)
        std::memset(block, 0, size);
    return block;
}

}  // namespace

char* TakeBuffer(std::size_t room) {
    if (room > SIZE_MAX - sizeof(Head))
        MiMemoryFailure();
    char* const block = zeroedBlock(sizeof(Head) + room);
    if (block == nullptr)
        MiMemoryFailure();
    std::memcpy(block, &room, sizeof room);
    return block + sizeof(Head);
}

void GiveBuffer(char* data) noexcept {
    if (data != nullptr)
        PoolGive(data - sizeof(Head), sizeof(Head) + BufferRoom(data));
}

std::size_t BufferRoom(const char* data) noexcept {
    std::size_t room = 0;
    std::memcpy(&room, data - sizeof(Head), sizeof room);
    return room;
}

unsigned int Doubled(unsigned int capacity, std::uint64_t needed) {
    std::uint64_t doubled = std::max(capacity, kSmallestCapacity);
    while (doubled < needed)
        doubled *= 2;
    if (doubled > UINT32_MAX)
        MiMemoryFailure();
    return static_cast<unsigned int>(doubled);
}

unsigned int CapacityFor(unsigned int capacity, std::uint64_t needed, unsigned int behind) {
    if (needed >= capacity)
        return Doubled(capacity, needed + behind);
    if (capacity <= 2 * kSmallestCapacity)
        return capacity;
    std::uint64_t power = kSmallestCapacity;
    while (power <= needed)
        power *= 2;
    return 2 * power < capacity ? static_cast<unsigned int>(2 * power) : capacity;
}

namespace {

void spliceInPlace(Buffer buffer, unsigned int start, unsigned int removed, const char* p, unsigned int n) {
    // A source behind `start` would move with the tail.
    char* copy = nullptr;
    if (p != nullptr && LiesIn(p, buffer.data, BufferRoom(buffer.data)) && n != removed) {
        copy = TakeString(n);
        std::memcpy(copy, p, n);
        p = copy;
    }
    char* const place = buffer.data + start;
    std::memmove(place + n, place + removed, buffer.length - start - removed);
    if (p != nullptr)
        std::memmove(place, p, n);
    if (copy != nullptr)
        GiveString(copy, n);
}

}  // namespace

void Splice(Buffer buffer, unsigned int start, unsigned int removed, const char* p, unsigned int n,
            unsigned int capacity, bool fresh) {
    const unsigned int length = buffer.length - removed + n;
    if (!fresh && length < BufferRoom(buffer.data)) {
        spliceInPlace(buffer, start, removed, p, n);
    } else {
        char* const data = TakeBuffer(std::size_t{std::max(capacity, length)} + 1);
        std::memcpy(data, buffer.data, start);
        if (p != nullptr)
            std::memcpy(data + start, p, n);
        const unsigned int behind = start + removed;
        std::memcpy(data + start + n, buffer.data + behind, buffer.length - behind);
        GiveBuffer(buffer.data);
        buffer.data = data;
    }
    buffer.length = length;
    buffer.capacity = capacity;
}

int CompareSigned(const char* left, const char* right, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) {
        const auto a = static_cast<signed char>(left[i]);
        const auto b = static_cast<signed char>(right[i]);
        if (a != b)
            return a < b ? -1 : 1;
    }
    return 0;
}

void ToLower(char* text, std::size_t n) noexcept {
    std::transform(text, text + n, text, LowerOf);
}

void ToUpper(char* text, std::size_t n) noexcept {
    std::transform(text, text + n, text, UpperOf);
}

}  // namespace foundation
