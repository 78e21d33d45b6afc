#include "foundation/byte_buffer.h"

#include <algorithm>
#include <ostream>

#include "foundation/byte.h"
#include "foundation/exceptions.h"
#include "foundation/indent.h"
#include "foundation/storage.h"

using foundation::Doubled;
using foundation::GiveBuffer;
using foundation::kSmallestCapacity;
using foundation::Splice;
using foundation::TakeBuffer;

namespace {

// What the rule for capacities makes of one, when `needed` bytes are needed.
unsigned int capacityFor(unsigned int capacity, std::uint64_t needed) {
    return foundation::CapacityFor(capacity, needed, 0);
}

}  // namespace

MiByteBuffer::MiByteBuffer() : data(TakeBuffer(kSmallestCapacity + 1)), length(0), capacity(kSmallestCapacity) {}

MiByteBuffer::MiByteBuffer(unsigned int n) : data(nullptr), length(n), capacity(Doubled(kSmallestCapacity, n)) {
    data = TakeBuffer(std::size_t{capacity} + 1);
}

MiByteBuffer::MiByteBuffer(const MiByte& src) : MiByteBuffer(src.GetChars(), src.GetLength()) {}

MiByteBuffer::MiByteBuffer(const char* p, unsigned int n) : MiByteBuffer(n) {
    if (p == nullptr)
        length = 0;
    else
        std::memcpy(data, p, n);
}

MiByteBuffer::MiByteBuffer(const char* p, unsigned int offset, unsigned int n)
    : MiByteBuffer(p == nullptr ? p : p + offset, n) {}

MiByteBuffer::MiByteBuffer(const MiByteBuffer& other)
    : MiObject(other),
      data(TakeBuffer(std::size_t{std::max(other.capacity, other.length)} + 1)),
      length(other.length),
      capacity(other.capacity) {
    std::memcpy(data, other.data, length);
}

MiByteBuffer& MiByteBuffer::operator=(const MiByteBuffer& other) {
    if (this != &other)
        Splice({data, length, capacity}, 0, length, other.data, other.length, other.capacity, true);
    return *this;
}

void MiByteBuffer::Delt() noexcept {
    GiveBuffer(data);
    Init();
}

unsigned int MiByteBuffer::ReAllocate(unsigned int needed) {
    return capacity = capacityFor(capacity, needed);
}

MiByteBuffer& MiByteBuffer::SetByte(const char* p, unsigned int n) {
    if (p == nullptr) {
        length = 0;
        return *this;
    }
    const unsigned int room = capacityFor(capacity, n);
    Splice({data, length, capacity}, 0, length, n == 0 ? nullptr : p, n, room, room != capacity);
    return *this;
}

MiByteBuffer& MiByteBuffer::SetByte(const char* p, unsigned int offset, unsigned int n) {
    return SetByte(p == nullptr ? p : p + offset, n);
}

MiByteBuffer& MiByteBuffer::SetByte(const MiByte& src) {
    return SetByte(src.GetChars(), src.GetLength());
}

MiByteBuffer& MiByteBuffer::SetByte(const MiByte& src, unsigned int n) {
    return SetByte(src.GetChars(), std::min(n, src.GetLength()));
}

MiByteBuffer& MiByteBuffer::SetByte(const MiByte& src, unsigned int offset, unsigned int n) {
    if (offset >= src.GetLength())
        throw MiOutOfRangeExp();
    return SetByte(src.GetChars() + offset, std::min(n, src.GetLength() - offset));
}

MiByteBuffer& MiByteBuffer::Reset(const MiByteBuffer* src) {
    return src == nullptr ? SetByte(nullptr, 0) : SetByte(src->data, src->length);
}

MiByteBuffer& MiByteBuffer::Grow(unsigned int n) {
    const unsigned int old = length;
    ExtendSlowly(n - old);
    std::memset(data + old, 0, n - old);
    length = n;
    return *this;
}

MiByte MiByteBuffer::GetByte() const {
    return {data, length};
}

MiByteBuffer& MiByteBuffer::EnsureCapacity(unsigned int n) {
    if (capacity < n)
        Splice({data, length, capacity}, length, 0, nullptr, 0, Doubled(capacity, n), true);
    return *this;
}

// Makes room for n bytes behind the content, and leaves the length alone.
void MiByteBuffer::ExtendSlowly(unsigned int n) {
    const unsigned int room = capacityFor(capacity, std::uint64_t{length} + n);
    if (room != capacity)
        Splice({data, length, capacity}, length, 0, nullptr, 0, room, true);
}

MiByteBuffer& MiByteBuffer::AppendSlowly(const char* p, unsigned int n) {
    return Insert(length, p, n);
}

MiByteBuffer& MiByteBuffer::Append(const MiByte* src) {
    return src == nullptr ? *this : Append(*src);
}

MiByteBuffer& MiByteBuffer::Append(const MiByte& src) {
    return Append(src.GetChars(), src.GetLength());
}

MiByteBuffer& MiByteBuffer::Append(const MiByte& src, unsigned int n) {
    return Append(src.GetChars(), std::min(n, src.GetLength()));
}

MiByteBuffer& MiByteBuffer::Append(const MiByte& src, unsigned int offset, unsigned int n) {
    if (offset >= src.GetLength())
        return *this;
    return Append(src.GetChars() + offset, std::min(n, src.GetLength() - offset));
}

MiByteBuffer& MiByteBuffer::Insert(unsigned int pos, unsigned char byte) {
    return Insert(pos, reinterpret_cast<const char*>(&byte), 1);
}

MiByteBuffer& MiByteBuffer::Insert(unsigned int pos, const char* p, unsigned int n) {
    if (p == nullptr || n == 0)
        return *this;
    if (pos > length)
        throw MiOutOfRangeExp();
    if (FitsWith(n) && !foundation::LiesIn(p, data, std::size_t{capacity} + 1)) {
        std::memmove(data + pos + n, data + pos, length - pos);
        std::memcpy(data + pos, p, n);
        length += n;
        return *this;
    }
    const unsigned int room = capacityFor(capacity, std::uint64_t{length} + n);
    Splice({data, length, capacity}, pos, 0, p, n, room, room != capacity);
    return *this;
}

MiByteBuffer& MiByteBuffer::Insert(unsigned int pos, const char* p, unsigned int offset, unsigned int n) {
    return Insert(pos, p == nullptr ? p : p + offset, n);
}

MiByteBuffer& MiByteBuffer::Insert(unsigned int pos, const MiByte& src) {
    return Insert(pos, src.GetChars(), src.GetLength());
}

MiByteBuffer& MiByteBuffer::DeleteByte(unsigned int start, unsigned int end) {
    return Replace(start, end, nullptr, 0);
}

MiByteBuffer& MiByteBuffer::Replace(unsigned int start, unsigned int end, const MiByte& src) {
    return Replace(start, end, src.GetChars(), src.GetLength());
}

MiByteBuffer& MiByteBuffer::Replace(unsigned int start, unsigned int end, const char* p, unsigned int n) {
    if (start >= length || start > end)
        throw MiOutOfRangeExp();
    if (p == nullptr)
        n = 0;
    const unsigned int removed = std::min(end, length) - start;
    // The deletion asks with what it removes, not with what remains; then the insertion asks with the whole.
    const unsigned int deleted = removed == 0 ? capacity : capacityFor(capacity, removed);
    const unsigned int room = n == 0 ? deleted : capacityFor(deleted, std::uint64_t{length} - removed + n);
    const bool fresh = deleted != capacity || room != deleted;
    Splice({data, length, capacity}, start, removed, n == 0 ? nullptr : p, n, room, fresh);
    return *this;
}

MiByteBuffer& MiByteBuffer::Replace(unsigned char from, unsigned char to) {
    // A byte from 80 up is negative where it is stored and positive in `from`, so such a `from` matches nothing.
    if (from < 0x80)
        std::replace(data, data + length, static_cast<char>(from), static_cast<char>(to));
    return *this;
}

MiByteBuffer& MiByteBuffer::Reverse() {
    std::reverse(data, data + length);
    return *this;
}

MiByteBuffer& MiByteBuffer::Reverse(unsigned int start, unsigned int end) {
    if (start >= length)
        throw MiOutOfRangeExp();
    if (end < start)
        throw MiInvalidArgumentExp();
    std::reverse(data + start, data + std::min(end, length));
    return *this;
}

void MiByteBuffer::SetCharAt(unsigned int i, unsigned char v) {
    if (i >= length)
        throw MiOutOfRangeExp();
    data[i] = static_cast<char>(v);
}

unsigned char MiByteBuffer::CharAt(unsigned int i) const {
    if (i >= length)
        throw MiOutOfRangeExp();
    return static_cast<unsigned char>(data[i]);
}

unsigned char& MiByteBuffer::operator[](unsigned int i) {
    if (i >= length)
        throw MiOutOfRangeExp();
    return reinterpret_cast<unsigned char&>(data[i]);
}

bool MiByteBuffer::operator==(const MiByteBuffer& other) const {
    return length == other.length && std::memcmp(data, other.data, length) == 0;
}

bool MiByteBuffer::operator>=(const MiByteBuffer& other) const {
    return length != other.length ? length > other.length : std::memcmp(data, other.data, length) >= 0;
}

bool MiByteBuffer::operator<=(const MiByteBuffer& other) const {
    return length != other.length ? length < other.length : std::memcmp(data, other.data, length) <= 0;
}

void MiByteBuffer::ToOstream(std::basic_ostream<char>& os, unsigned int level) const {
    foundation::WriteDump(os, data, length, level);
}

std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, MiByteBuffer& value) {
    value.ToOstream(os, 0);
    return os;
}

std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, const MiByteBuffer& value) {
    value.ToOstream(os, 0);
    return os;
}
