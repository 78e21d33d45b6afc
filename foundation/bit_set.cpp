#include "foundation/bit_set.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>
#include <utility>
#include <vector>

#include "foundation/exceptions.h"
#include "foundation/indent.h"

namespace {

constexpr unsigned int kBitsInLine = 32;

unsigned int bytesFor(unsigned int count) {
    return count / 8 + (count % 8 != 0 ? 1 : 0);
}

// Which bits of byte i lie within count bits.
unsigned maskAt(unsigned int count, unsigned int i) {
    return i < count / 8 ? 0xFFU : (0xFF00U >> (count % 8)) & 0xFFU;
}

unsigned int checkedSum(unsigned int a, unsigned int b) {
    if (b > std::numeric_limits<unsigned int>::max() - a)
        throw MiOutOfRangeExp();
    return a + b;
}

// A set's bits as an endless row: before bit 0 all are as given, and past the last bit all are off.
class EndlessRow {
  public:
    explicit EndlessRow(const MiBitSet& set, bool before = false)
        : bytes(reinterpret_cast<const unsigned char*>(set.GetByte().GetChars())),
          bits(set.GetBitLength()),
          fill(before ? 0xFFU : 0U) {}

    // The eight bits that begin at a position, which may lie outside the set.
    unsigned eightAt(std::int64_t position) const {
        const std::int64_t i = position >= 0 ? position / 8 : -((7 - position) / 8);
        const auto shift = static_cast<unsigned>(position - 8 * i);
        return (byteAt(i) << 8 | byteAt(i + 1)) << shift >> 8 & 0xFFU;
    }

  private:
    unsigned byteAt(std::int64_t i) const {
        if (i < 0)
            return fill;
        if (i >= bytesFor(bits))
            return 0;
        return bytes[i] & maskAt(bits, static_cast<unsigned int>(i));
    }

    const unsigned char* bytes;
    unsigned int bits;
    unsigned fill;
};

// A set of count bits that is made byte by byte; what lies in the padding is dropped.
template <class ByteAt>
MiBitSet build(unsigned int count, ByteAt each) {
    std::vector<char> out(bytesFor(count));
    for (unsigned int i = 0; i < out.size(); ++i)
        out[i] = static_cast<char>(each(i) & maskAt(count, i));
    MiBitSet set;
    set.SetBitsByte(out.data(), 0, count);
    return set;
}

// The count bits of a row that begin at a position.
MiBitSet window(const EndlessRow& row, std::int64_t position, unsigned int count) {
    return build(count, [&](unsigned int i) { return row.eightAt(position + std::int64_t{i} * 8); });
}

template <class Combine>
MiBitSet combine(const MiBitSet& a, const MiBitSet& b, Combine each) {
    const EndlessRow left(a);
    const EndlessRow right(b);
    return build(std::min(a.GetBitLength(), b.GetBitLength()), [&](unsigned int i) {
        const std::int64_t position = std::int64_t{i} * 8;
        return each(left.eightAt(position), right.eightAt(position));
    });
}

}  // namespace

MiBitSet::MiBitSet(unsigned int count) : bytes(bytesFor(count)), bits(count) {}

MiBitSet::MiBitSet(const char* text) {
    SetBitsString(text);
}

MiBitSet::MiBitSet(const MiByte& source, unsigned int count) {
    SetBits(source, count);
}

MiBitSet::MiBitSet(const MiByte& source, unsigned int offset, unsigned int count) {
    SetBits(source, offset, count);
}

MiBitSet::MiBitSet(MiBitSet&& other) noexcept
    : MiObject(other), bytes(std::move(other.bytes)), bits(std::exchange(other.bits, 0U)) {}

MiBitSet& MiBitSet::operator=(MiBitSet&& other) noexcept {
    if (this != &other) {
        bytes = std::move(other.bytes);
        bits = std::exchange(other.bits, 0U);
    }
    return *this;
}

MiBitSet& MiBitSet::Reset(const MiBitSet* source) {
    return source == nullptr ? SetBitsByte(nullptr, 0, 0) : *this = *source;
}

bool MiBitSet::operator==(const MiBitSet& other) const {
    return bits == other.bits && bytes == other.bytes;
}

char MiBitSet::CompareTo(const MiBitSet& other) const {
    if (bits != other.bits)
        return static_cast<char>(bits > other.bits ? 1 : -1);
    return bytes.CompareTo(other.bytes);
}

bool MiBitSet::Get(unsigned int position) const {
    if (position >= bits)
        throw MiOutOfRangeExp();
    return (bytes.CharAt(position / 8) & 0x80U >> (position % 8)) != 0;
}

void MiBitSet::Set(unsigned int position, bool on) {
    if (position >= bits)
        throw MiOutOfRangeExp();
    const unsigned bit = 0x80U >> (position % 8);
    const unsigned rest = bytes.CharAt(position / 8) & ~bit;
    bytes.SetCharAt(position / 8, static_cast<unsigned char>(rest | (on ? bit : 0U)));
}

MiBitSet& MiBitSet::SetBitsByte(const char* p, unsigned int offset, unsigned int count) {
    if (p == nullptr)
        count = 0;
    bytes.SetByte(p, offset, bytesFor(count));
    bits = count;
    return *this;
}

MiBitSet& MiBitSet::SetBits(const MiByte& source, unsigned int count) {
    return SetBits(source, 0, count);
}

MiBitSet& MiBitSet::SetBits(const MiByte& source, unsigned int offset, unsigned int count) {
    const unsigned int n = bytesFor(count);
    if (n != 0 && std::uint64_t{offset} + n > source.GetLength())
        throw MiOutOfRangeExp();
    SetBitsByte(source.GetChars(), offset, count);
    if (n != 0)
        bytes.SetCharAt(n - 1, static_cast<unsigned char>(bytes.CharAt(n - 1) & maskAt(count, n - 1)));
    return *this;
}

MiBitSet& MiBitSet::SetBitsString(const char* text) {
    const std::size_t count = text == nullptr ? 0 : std::strlen(text);
    if (std::any_of(text, text + count, [](char c) { return c != '0' && c != '1'; }))
        throw MiInvalidArgumentExp();
    if (count > std::numeric_limits<unsigned int>::max())
        MiMemoryFailure();
    MiBitSet read(static_cast<unsigned int>(count));
    for (unsigned int i = 0; i < read.bits; ++i)
        read.Set(i, text[i] == '1');
    return *this = std::move(read);
}

MiString MiBitSet::GetBitsString() const {
    MiString text(bits, '0');
    char* const characters = text;
    for (unsigned int i = 0; i < bits; ++i) {
        if (Get(i))
            characters[i] = '1';
    }
    return text;
}

MiBitSet& MiBitSet::SetLength(unsigned int count) {
    return *this = window(EndlessRow(*this), 0, count);
}

MiBitSet MiBitSet::And(const MiBitSet& other) const {
    return combine(*this, other, [](unsigned a, unsigned b) { return a & b; });
}

MiBitSet MiBitSet::Or(const MiBitSet& other) const {
    return combine(*this, other, [](unsigned a, unsigned b) { return a | b; });
}

MiBitSet MiBitSet::Not() const {
    return combine(*this, *this, [](unsigned a, unsigned) { return ~a; });
}

MiBitSet MiBitSet::ShiftLeft(unsigned int n) const {
    return window(EndlessRow(*this), n, bits);
}

MiBitSet MiBitSet::ShiftRight(unsigned int n) const {
    return window(EndlessRow(*this), -std::int64_t{n}, bits);
}

MiBitSet& MiBitSet::ExpandRight(unsigned int n, bool on) {
    const unsigned int count = checkedSum(bits, n);
    const unsigned int before = bits;
    *this = window(EndlessRow(*this), 0, count);
    for (unsigned int i = before; on && i < count; ++i)
        Set(i, true);
    return *this;
}

MiBitSet& MiBitSet::ExpandLeft(unsigned int n, bool on) {
    return *this = window(EndlessRow(*this, on), -std::int64_t{n}, checkedSum(bits, n));
}

MiBitSet& MiBitSet::CutRight(unsigned int n) {
    if (n > bits)
        throw MiOutOfRangeExp();
    return SetLength(bits - n);
}

MiBitSet& MiBitSet::CutLeft(unsigned int n) {
    if (n > bits)
        throw MiOutOfRangeExp();
    return *this = window(EndlessRow(*this), n, bits - n);
}

void MiBitSet::ToOstream(std::basic_ostream<char>& os, unsigned int level) const {
    for (unsigned int i = 0; i < bits; ++i) {
        if (i % kBitsInLine == 0)
            foundation::WriteMargin(os, level);
        os.put(Get(i) ? '1' : '0');
        if (i % 8 == 7)
            os.put(' ');
        if (i % kBitsInLine == kBitsInLine - 1 && i + 1 < bits)
            os.put('\n').flush();
    }
}
