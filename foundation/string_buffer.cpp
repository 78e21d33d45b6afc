#include "foundation/string_buffer.h"

#include <algorithm>
#include <ostream>

#include "foundation/exceptions.h"
#include "foundation/indent.h"
#include "foundation/storage.h"

using foundation::Doubled;
using foundation::kSmallestCapacity;
using foundation::RangeEnd;
using foundation::Splice;
using foundation::TakeBuffer;
using foundation::TextLength;

namespace {

// What the rule for capacities makes of one, when `needed` characters and a zero behind them are needed.
unsigned int capacityFor(unsigned int capacity, std::uint64_t needed) {
    return foundation::CapacityFor(capacity, needed, 1);
}

std::size_t sizeOf(const char* text) {
    return text == nullptr ? 0 : std::strlen(text);
}

// How many characters of the text at p the range covers: none for null, n = 0 or an offset at or past the end.
std::size_t sizeOfRange(const char* p, unsigned int offset, unsigned int n) {
    if (p == nullptr || n == 0)
        return 0;
    const std::size_t size = TextLength(p, RangeEnd(offset, n));
    return offset < size ? size - offset : 0;
}

}  // namespace

MiStringBuffer::MiStringBuffer() : data(TakeBuffer(kSmallestCapacity + 1)), length(0), capacity(kSmallestCapacity) {}

MiStringBuffer::MiStringBuffer(unsigned int n) : data(nullptr), length(n), capacity(capacityFor(kSmallestCapacity, n)) {
    data = TakeBuffer(std::size_t{capacity} + 1);
}

MiStringBuffer::MiStringBuffer(const MiString& src) : MiStringBuffer(src.GetLength()) {
    if (!src.Empty())
        std::memcpy(data, src.GetChars(), length);
}

MiStringBuffer::MiStringBuffer(const char* text) : MiStringBuffer() {
    SetChars(text);
}

MiStringBuffer::MiStringBuffer(const char* p, unsigned int offset, unsigned int n) : MiStringBuffer() {
    SetChars(p, offset, n);
}

MiStringBuffer::MiStringBuffer(const MiStringBuffer& other)
    : MiObject(other),
      data(TakeBuffer(std::size_t{std::max(other.capacity, other.length)} + 1)),
      length(other.length),
      capacity(other.capacity) {
    std::memcpy(data, other.data, length);
}

MiStringBuffer& MiStringBuffer::operator=(const MiStringBuffer& other) {
    if (this != &other)
        Splice({data, length, capacity}, 0, length, other.data, other.length, other.capacity, true);
    return *this;
}

void MiStringBuffer::Delt() noexcept {
    foundation::GiveBuffer(data);
    Init();
}

unsigned int MiStringBuffer::ReAllocate(unsigned int needed) {
    return capacity = capacityFor(capacity, needed);
}

bool MiStringBuffer::operator==(const MiStringBuffer& other) const {
    return length == other.length && std::memcmp(data, other.data, length) == 0;
}

// Change puts the n characters at p in the place of `removed` ones. `room` is the capacity that comes of it.
MiStringBuffer& MiStringBuffer::Change(unsigned int start, unsigned int removed, const char* p, std::size_t n,
                                       unsigned int room, bool fresh) {
    Splice({data, length, capacity}, start, removed, n == 0 ? nullptr : p, static_cast<unsigned int>(n), room, fresh);
    data[length] = 0;
    return *this;
}

MiStringBuffer& MiStringBuffer::Assign(const char* p, std::size_t n) {
    const unsigned int room = capacityFor(capacity, n);
    return Change(0, length, p, n, room, room != capacity);
}

MiStringBuffer& MiStringBuffer::Put(unsigned int pos, const char* p, std::size_t n) {
    if (n == 0)
        return *this;
    if (pos > length)
        throw MiOutOfRangeExp();
    const unsigned int room = capacityFor(capacity, std::uint64_t{length} + n);
    return Change(pos, 0, p, n, room, room != capacity);
}

MiStringBuffer& MiStringBuffer::Exchange(unsigned int start, unsigned int end, const char* p, std::size_t n) {
    if (start >= length || start > end)
        throw MiOutOfRangeExp();
    const unsigned int removed = std::min(end, length) - start;
    // The deletion asks with what it removes, not with what remains; then the insertion asks with the whole.
    const unsigned int deleted = removed == 0 ? capacity : capacityFor(capacity, removed);
    const unsigned int room = n == 0 ? deleted : capacityFor(deleted, std::uint64_t{length} - removed + n);
    return Change(start, removed, p, n, room, deleted != capacity || room != deleted);
}

MiStringBuffer& MiStringBuffer::Clear() {
    length = 0;
    data[0] = 0;
    return *this;
}

MiStringBuffer& MiStringBuffer::Reset(const MiStringBuffer* src) {
    return src == nullptr ? Clear() : Assign(src->data, src->length);
}

MiStringBuffer& MiStringBuffer::SetChars(const char* text) {
    return text == nullptr ? Clear() : Assign(text, std::strlen(text));
}

MiStringBuffer& MiStringBuffer::SetChars(const char* p, unsigned int offset, unsigned int n) {
    if (p == nullptr || n == 0)
        return Clear();
    const std::size_t size = sizeOfRange(p, offset, n);
    if (size == 0)
        throw MiOutOfRangeExp();
    return Assign(p + offset, size);
}

MiStringBuffer& MiStringBuffer::SetString(const MiString& src) {
    return src.Empty() ? Clear() : Assign(src.GetChars(), src.GetLength());
}

MiString MiStringBuffer::ToString() const {
    MiString text(length, 0);
    if (length != 0)
        std::memcpy(static_cast<char*>(text), data, length);
    return text;
}

MiStringBuffer& MiStringBuffer::EnsureCapacity(unsigned int n) {
    if (capacity <= n)
        Change(length, 0, nullptr, 0, Doubled(capacity, std::uint64_t{n} + 1), true);
    return *this;
}

MiStringBuffer& MiStringBuffer::Append(char c) {
    return Put(length, &c, 1);
}

MiStringBuffer& MiStringBuffer::Append(const char* text) {
    return Put(length, text, sizeOf(text));
}

MiStringBuffer& MiStringBuffer::Append(const char* p, unsigned int offset, unsigned int n) {
    return Insert(length, p, offset, n);
}

MiStringBuffer& MiStringBuffer::Append(unsigned int number) {
    return Insert(length, number);
}

MiStringBuffer& MiStringBuffer::Append(int number) {
    return Insert(length, number);
}

MiStringBuffer& MiStringBuffer::Append(const MiString& src) {
    return Put(length, src.GetChars(), src.GetLength());
}

MiStringBuffer& MiStringBuffer::Insert(unsigned int pos, char c) {
    return Put(pos, &c, 1);
}

MiStringBuffer& MiStringBuffer::Insert(unsigned int pos, const char* text) {
    return Put(pos, text, sizeOf(text));
}

MiStringBuffer& MiStringBuffer::Insert(unsigned int pos, const char* p, unsigned int offset, unsigned int n) {
    const std::size_t size = sizeOfRange(p, offset, n);
    return Put(pos, size == 0 ? p : p + offset, size);
}

MiStringBuffer& MiStringBuffer::Insert(unsigned int pos, unsigned int number) {
    return Insert(pos, MiString::UIntToString(number, 10));
}

MiStringBuffer& MiStringBuffer::Insert(unsigned int pos, int number) {
    return Insert(pos, MiString::IntToString(number, 10));
}

MiStringBuffer& MiStringBuffer::Insert(unsigned int pos, const MiString& src) {
    return Put(pos, src.GetChars(), src.GetLength());
}

MiStringBuffer& MiStringBuffer::DeleteChars(unsigned int start, unsigned int end) {
    return Exchange(start, end, nullptr, 0);
}

MiStringBuffer& MiStringBuffer::DeleteCharAt(unsigned int i) {
    if (i >= length)
        throw MiOutOfRangeExp();
    return DeleteChars(i, i + 1);
}

MiStringBuffer& MiStringBuffer::Replace(unsigned int start, unsigned int end, const MiString& src) {
    return Exchange(start, end, src.GetChars(), src.GetLength());
}

MiStringBuffer& MiStringBuffer::Replace(unsigned int start, unsigned int end, const char* text) {
    return Exchange(start, end, text, sizeOf(text));
}

MiStringBuffer& MiStringBuffer::Replace(char from, char to) {
    std::replace(data, data + length, from, to);
    return *this;
}

MiStringBuffer& MiStringBuffer::Reverse() {
    std::reverse(data, data + length);
    return *this;
}

MiStringBuffer& MiStringBuffer::ToLowerCase() {
    foundation::ToLower(data, length);
    return *this;
}

MiStringBuffer& MiStringBuffer::ToUpperCase() {
    foundation::ToUpper(data, length);
    return *this;
}

MiStringBuffer& MiStringBuffer::ToInitialLower() {
    foundation::ToLower(data, std::min(length, 1U));
    return *this;
}

MiStringBuffer& MiStringBuffer::ToInitialUpper() {
    foundation::ToUpper(data, std::min(length, 1U));
    return *this;
}

MiString MiStringBuffer::SubString(unsigned int start, unsigned int end) const {
    if (start >= length)
        throw MiOutOfRangeExp();
    if (end < start)
        throw MiInvalidArgumentExp();
    return {data, start, std::min(end, length) - start};
}

void MiStringBuffer::SetCharAt(unsigned int i, unsigned char c) {
    (*this)[i] = static_cast<char>(c);
}

char MiStringBuffer::CharAt(unsigned int i) const {
    if (i >= length)
        throw MiOutOfRangeExp();
    return data[i];
}

char& MiStringBuffer::operator[](unsigned int i) {
    if (i >= length)
        throw MiOutOfRangeExp();
    return data[i];
}

void MiStringBuffer::ToOstream(std::basic_ostream<char>& os, unsigned int level) const {
    foundation::WriteMargin(os, level);
    os.write(data, length);
}

std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, const MiStringBuffer& value) {
    value.ToOstream(os, 0);
    return os;
}
