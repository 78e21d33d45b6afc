#include "foundation/byte.h"

#include <algorithm>
#include <cstring>
#include <ostream>

#include "foundation/exceptions.h"
#include "foundation/indent.h"
#include "foundation/storage.h"

using foundation::CompareSigned;
using foundation::GiveString;
using foundation::TakeString;

namespace {

constexpr unsigned int kBytesOfNumber = 4;

}  // namespace

MiByte::MiByte(const char* p, unsigned int n) : MiByte() {
    SetByte(p, n);
}

MiByte::MiByte(const char* p, unsigned int offset, unsigned int n) : MiByte() {
    SetByte(p, offset, n);
}

MiByte::MiByte(unsigned int n) : MiByte() {
    SetLength(n);
}

MiByte::MiByte(unsigned int n, unsigned char v) : MiByte() {
    SetLength(n, v);
}

MiByte::MiByte(const MiByte& other) : MiObject(other), data(nullptr), length(0) {
    SetByte(other.data, other.length);
}

MiByte::MiByte(MiByte&& other) noexcept : MiObject(other), data(other.data), length(other.length) {
    other.Init();
}

MiByte& MiByte::operator=(const MiByte& other) {
    if (this != &other)
        SetByte(other.data, other.length);
    return *this;
}

MiByte& MiByte::operator=(MiByte&& other) noexcept {
    if (this != &other) {
        Delt();
        data = other.data;
        length = other.length;
        other.Init();
    }
    return *this;
}

void MiByte::Release() noexcept {
    GiveString(data, length);
    Init();
}

MiByte& MiByte::SetByte(const char* p, unsigned int n) {
    if (p == nullptr || n == 0) {
        Delt();
        return *this;
    }
    if (n == length) {
        std::memmove(data, p, n);
        return *this;
    }
    char* const block = TakeString(n);
    std::memcpy(block, p, n);
    Delt();  // Only now: p may lie in it.
    data = block;
    length = n;
    return *this;
}

MiByte& MiByte::SetByte(const char* p, unsigned int offset, unsigned int n) {
    return SetByte(p == nullptr ? p : p + offset, n);
}

MiByte& MiByte::SetByte(const MiByte& src, unsigned int n) {
    return SetByte(src.data, std::min(n, src.length));
}

MiByte& MiByte::SetByte(const MiByte& src, unsigned int offset, unsigned int n) {
    if (n == 0 || src.Empty()) {
        Delt();
        return *this;
    }
    if (offset >= src.length)
        throw MiOutOfRangeExp();
    return SetByte(src.data + offset, std::min(n, src.length - offset));
}

MiByte& MiByte::Reset(const MiByte* src) {
    return src == nullptr ? SetByte(nullptr, 0) : *this = *src;
}

MiByte& MiByte::Concat(const char* p, unsigned int n) {
    if (p == nullptr || n == 0)
        return *this;
    if (n > UINT32_MAX - length)
        MiMemoryFailure();
    char* const block = TakeString(std::size_t{length} + n);
    if (data != nullptr)
        std::memcpy(block, data, length);
    std::memcpy(block + length, p, n);
    const unsigned int both = length + n;
    Delt();
    data = block;
    length = both;
    return *this;
}

MiByte& MiByte::SetLength(unsigned int n) {
    if (n == length)
        return *this;
    if (n == 0) {
        Delt();
        return *this;
    }
    char* const block = TakeString(n);
    const unsigned int kept = std::min(n, length);
    if (kept != 0)
        std::memcpy(block, data, kept);
    std::memset(block + kept, 0, n - kept);
    Delt();
    data = block;
    length = n;
    return *this;
}

MiByte& MiByte::SetLength(unsigned int n, unsigned char v) {
    if (n != length) {
        char* const block = n == 0 ? nullptr : TakeString(n);
        Delt();
        data = block;
        length = n;
    }
    if (n != 0)
        std::memset(data, v, n);
    return *this;
}

void MiByte::SetCharAt(unsigned int i, unsigned char v) {
    if (i >= length)
        throw MiOutOfRangeExp();
    data[i] = static_cast<char>(v);
}

unsigned char MiByte::CharAt(unsigned int i) const {
    if (i >= length)
        throw MiOutOfRangeExp();
    return static_cast<unsigned char>(data[i]);
}

char MiByte::CompareTo(const MiByte& other) const {
    return this == &other ? char{0} : CompareTo(other.data, other.length);
}

char MiByte::CompareTo(const char* p, unsigned int n) const {
    if (data == nullptr || p == nullptr)
        return static_cast<char>((data != nullptr) - (p != nullptr));
    if (length != n)
        return length < n ? -1 : 1;
    return static_cast<char>(CompareSigned(data, p, n));
}

char MiByte::CompareTo(const char* p, unsigned int offset, unsigned int n) const {
    return CompareTo(p == nullptr ? p : p + offset, n);
}

bool MiByte::operator==(const MiByte& other) const {
    return length == other.length && (length == 0 || std::memcmp(data, other.data, length) == 0);
}

bool MiByte::operator>(const MiByte& other) const {
    if (length != other.length)
        return length > other.length;
    return CompareSigned(data, other.data, length) > 0;
}

bool MiByte::operator>=(const MiByte& other) const {
    if (length != other.length)
        return length > other.length;
    return CompareSigned(data, other.data, length) >= 0;
}

unsigned int MiByte::UInt32Value() const {
    unsigned int value = 0;
    for (unsigned int i = length - std::min(length, kBytesOfNumber); i < length; ++i)
        value = value << 8 | static_cast<unsigned char>(data[i]);
    return value;
}

int MiByte::Int32Value() const {
    const unsigned int field = std::min(length, kBytesOfNumber);
    unsigned int value = UInt32Value();
    const bool negative = field != 0 && (value >> (8 * field - 1) & 1) != 0;
    if (negative && field < kBytesOfNumber)
        value |= ~0U << (8 * field);
    return static_cast<int>(value);
}

void MiByte::ToOstream(std::basic_ostream<char>& os, unsigned int level) const {
    foundation::WriteDump(os, data, length, level);
}

std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, MiByte& value) {
    value.ToOstream(os, 0);
    return os;
}

std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, const MiByte& value) {
    value.ToOstream(os, 0);
    return os;
}
