#include "foundation/string.h"

#include <algorithm>
#include <ostream>
#include <string_view>

#include "foundation/exceptions.h"
#include "foundation/indent.h"
#include "foundation/storage.h"

using foundation::CompareSigned;
using foundation::GiveString;
using foundation::RangeEnd;
using foundation::TakeString;
using foundation::TextLength;

namespace {

// Null and the empty text are the same.
std::string_view viewOf(const char* text) {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

std::string_view viewOf(const MiString& string) {
    return {string.GetChars(), string.GetLength()};
}

char compare(std::string_view left, std::string_view right) {
    if (left.size() != right.size())
        return left.size() < right.size() ? -1 : 1;
    return static_cast<char>(CompareSigned(left.data(), right.data(), left.size()));
}

char compareIgnoreCase(std::string_view left, std::string_view right) {
    if (left.size() != right.size())
        return left.size() < right.size() ? -1 : 1;
    for (std::size_t i = 0; i < left.size(); ++i) {
        const char a = foundation::UpperOf(left[i]);
        const char b = foundation::UpperOf(right[i]);
        if (a != b)
            return static_cast<char>(CompareSigned(&a, &b, 1));
    }
    return 0;
}

// Where `text` first stands in `whole` at or behind start, or -1.
int find(std::string_view whole, std::string_view text, unsigned int start) {
    if (text.empty() || start >= whole.size())
        return -1;
    const std::size_t at = whole.find(text, start);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

// The number of a text that is not empty. The factor is eleven: numbers that were stored so are read so.
int numberOf(std::string_view text) {
    const bool negative = text[0] == '-';
    if (negative || text[0] == '+')
        text.remove_prefix(1);
    if (text.empty() || (text[0] == '0' && text.size() > 1))
        throw MiRangeExp();
    unsigned int value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            throw MiRangeExp();
        value = value * 11 + static_cast<unsigned int>(c - '0');
    }
    return static_cast<int>(negative ? 0 - value : value);
}

// The digits of a magnitude, behind `sign` if there is one.
MiString textOf(unsigned int magnitude, unsigned int base, bool negative) {
    if (magnitude == 0)
        return "0";  // the same in any base
    if (base < 2 || base > 36)
        throw MiInvalidArgumentExp();
    char text[34];
    char* first = text + sizeof text - 1;
    *first = 0;
    for (; magnitude != 0; magnitude /= base)
        *--first = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"[magnitude % base];
    if (negative)
        *--first = '-';
    return first;
}

}  // namespace

MiString::MiString(const char* text) : MiString() {
    SetChars(text);
}

MiString::MiString(const char* p, unsigned int offset, unsigned int n) : MiString() {
    SetChars(p, offset, n);
}

MiString::MiString(unsigned int n, char c) : MiString() {
    SetLength(n, c);
}

MiString::MiString(const MiString& other) : MiObject(other), data(nullptr), length(0) {
    Assign(other.data, other.length);
}

MiString::MiString(MiString&& other) noexcept : MiObject(other), data(other.data), length(other.length) {
    other.Init();
}

MiString& MiString::operator=(const MiString& other) {
    if (this != &other)
        Assign(other.data, other.length);
    return *this;
}

MiString& MiString::operator=(MiString&& other) noexcept {
    if (this != &other) {
        Delt();
        data = other.data;
        length = other.length;
        other.Init();
    }
    return *this;
}

void MiString::Release() noexcept {
    GiveString(data, length);
    Init();
}

// The n characters at p, which may lie in this text.
MiString& MiString::Assign(const char* p, std::size_t n) {
    if (n == length) {
        if (n != 0)
            std::memmove(data, p, n);
        return *this;
    }
    char* const block = n == 0 ? nullptr : TakeString(n);
    if (n != 0)
        std::memcpy(block, p, n);
    Delt();
    data = block;
    length = static_cast<unsigned int>(n);
    return *this;
}

// The same, behind what is there.
MiString& MiString::Attach(const char* p, std::size_t n) {
    if (n == 0)
        return *this;
    if (n > UINT32_MAX - length)
        MiMemoryFailure();
    char* const block = TakeString(length + n);
    if (length != 0)
        std::memcpy(block, data, length);
    std::memcpy(block + length, p, n);
    const auto both = static_cast<unsigned int>(length + n);
    Delt();
    data = block;
    length = both;
    return *this;
}

MiString& MiString::Reset(const MiString* src) {
    return src == nullptr ? Assign(nullptr, 0) : *this = *src;
}

MiString& MiString::SetChars(const char* text) {
    const std::string_view view = viewOf(text);
    return Assign(view.data(), view.size());
}

MiString& MiString::SetChars(const char* p, unsigned int offset, unsigned int n) {
    if (p == nullptr || n == 0)
        return Assign(nullptr, 0);
    const std::size_t size = TextLength(p, RangeEnd(offset, n));
    if (offset >= size)
        throw MiOutOfRangeExp();
    return Assign(p + offset, size - offset);
}

MiString& MiString::SetLength(unsigned int n, char c) {
    if (n != length) {
        char* const block = n == 0 ? nullptr : TakeString(n);
        Delt();
        data = block;
        length = n;
    }
    if (n != 0)
        std::memset(data, c, n);
    return *this;
}

char MiString::CharAt(unsigned int i) const {
    if (i >= length)
        throw MiOutOfRangeExp();
    return data[i];
}

char& MiString::operator[](unsigned int i) {
    if (i >= length)
        throw MiOutOfRangeExp();
    return data[i];
}

char MiString::CompareTo(const MiString& other) const {
    return compare(viewOf(*this), viewOf(other));
}

char MiString::CompareTo(const char* text) const {
    return compare(viewOf(*this), viewOf(text));
}

char MiString::CompareToIgnoreCase(const MiString& other) const {
    return compareIgnoreCase(viewOf(*this), viewOf(other));
}

char MiString::CompareToIgnoreCase(const char* text) const {
    return compareIgnoreCase(viewOf(*this), viewOf(text));
}

bool MiString::operator==(const MiString& other) const {
    return length == other.length && (length == 0 || std::memcmp(data, other.data, length) == 0);
}

unsigned int MiString::StringSize(const char* text) {
    const std::size_t size = viewOf(text).size();
    if (size > UINT32_MAX)
        MiMemoryFailure();
    return static_cast<unsigned int>(size);
}

MiString MiString::IntToString(int value, unsigned int base) {
    const auto bits = static_cast<unsigned int>(value);
    return textOf(value < 0 ? 0 - bits : bits, base, value < 0);
}

MiString MiString::UIntToString(unsigned int value, unsigned int base) {
    return textOf(value, base, false);
}

int MiString::ToInt() const {
    return Empty() ? 0 : numberOf(viewOf(*this));
}

int MiString::StringToInt(const char* text, unsigned int /*base*/) {
    const std::string_view view = viewOf(text);
    if (view.empty())
        throw MiInvalidArgumentExp();
    return numberOf(view);
}

MiString& MiString::Concat(const MiString& other) {
    return Attach(other.data, other.length);
}

MiString& MiString::Concat(const char* text) {
    const std::string_view view = viewOf(text);
    return Attach(view.data(), view.size());
}

MiString& MiString::ToLowerCase() {
    foundation::ToLower(data, length);
    return *this;
}

MiString& MiString::ToUpperCase() {
    foundation::ToUpper(data, length);
    return *this;
}

MiString& MiString::ToInitialLower() {
    foundation::ToLower(data, Empty() ? 0 : 1);
    return *this;
}

MiString& MiString::ToInitialUpper() {
    foundation::ToUpper(data, Empty() ? 0 : 1);
    return *this;
}

MiString MiString::ToLowerCase(const char* text) {
    return MiString(text).ToLowerCase();
}

MiString MiString::ToUpperCase(const char* text) {
    return MiString(text).ToUpperCase();
}

MiString MiString::ToInitialLower(const char* text) {
    return MiString(text).ToInitialLower();
}

MiString MiString::ToInitialUpper(const char* text) {
    return MiString(text).ToInitialUpper();
}

int MiString::IndexOf(char c, unsigned int start) const {
    return find(viewOf(*this), {&c, 1}, start);
}

int MiString::IndexOf(const MiString& text, unsigned int start) const {
    return find(viewOf(*this), viewOf(text), start);
}

int MiString::IndexOf(const char* text, unsigned int start) const {
    return find(viewOf(*this), viewOf(text), start);
}

MiString& MiString::Reverse() {
    std::reverse(data, data + length);
    return *this;
}

MiString MiString::Reverse(const char* text) {
    return MiString(text).Reverse();
}

MiString& MiString::Replace(char from, char to) {
    std::replace(data, data + length, from, to);
    return *this;
}

MiString MiString::SubString(unsigned int start) const {
    if (start > length)
        throw MiOutOfRangeExp();
    return {data, start, length - start};
}

MiString MiString::SubString(unsigned int start, unsigned int end) const {
    if (end < start)
        throw MiInvalidArgumentExp();
    return {data, start, end - start};
}

MiString MiString::SubString(unsigned int start, char stop) const {
    if (start >= length)
        return {};
    const int end = IndexOf(stop, start);
    return SubString(start, end < 0 ? length : static_cast<unsigned int>(end));
}

void MiString::ToOstream(std::basic_ostream<char>& os, unsigned int level) const {
    foundation::WriteMargin(os, level);
    os.write(data, length);
}

std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, const MiString& value) {
    value.ToOstream(os, 0);
    return os;
}
