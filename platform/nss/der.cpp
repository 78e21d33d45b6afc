#include "platform/nss/der.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace platform::nss {
namespace {

constexpr BYTE kLongTag = 0x1F;

void appendArc(Bytes& to, std::uint64_t arc) {
    Bytes digits = {static_cast<BYTE>(arc & 0x7F)};
    for (arc >>= 7; arc != 0; arc >>= 7)
        digits.push_back(static_cast<BYTE>(0x80 | (arc & 0x7F)));
    to.insert(to.end(), digits.rbegin(), digits.rend());
}

// Reads decimal digits up to "." or the end, and steps over the ".".
bool readArc(const std::string& text, std::size_t& at, std::uint64_t& arc) {
    const std::size_t start = at;
    arc = 0;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9') {
        arc = arc * 10 + static_cast<std::uint64_t>(text[at++] - '0');
        if (arc > std::numeric_limits<std::uint32_t>::max())
            return false;
    }
    const bool ended = at == text.size() || (text[at] == '.' && at + 1 < text.size());
    if (at == start || !ended)
        return false;
    at += at < text.size() ? 1 : 0;
    return true;
}

}  // namespace

bool areEqual(Span a, Span b) {
    return std::equal(a.data, a.data + a.size, b.data, b.data + b.size);
}

Bytes withoutLeadingZeros(Span number) {
    const BYTE* end = number.data + number.size;
    return {std::find_if(number.data, end, [](BYTE byte) { return byte != 0; }), end};
}

bool DerReader::readLength(const BYTE*& at, std::size_t& length) const {
    if (at == end_)
        return false;
    length = *at++;
    if (length < 0x80)
        return true;
    const std::size_t count = length & 0x7F;
    if (count == 0 || count > 4 || static_cast<std::size_t>(end_ - at) < count || *at == 0)
        return false;
    length = 0;
    for (std::size_t i = 0; i < count; ++i)
        length = length << 8 | *at++;
    return length >= 0x80;
}

bool DerReader::read(Element& element) {
    if (at_ == end_ || (*at_ & kLongTag) == kLongTag)
        return false;
    const BYTE* at = at_ + 1;
    std::size_t length = 0;
    if (!readLength(at, length) || static_cast<std::size_t>(end_ - at) < length)
        return false;
    element.tag = *at_;
    element.content = {at, length};
    element.whole = {at_, static_cast<std::size_t>(at - at_) + length};
    at_ = at + length;
    return true;
}

bool DerReader::expect(BYTE tag, Element& element) {
    return isNext(tag) && read(element);
}

std::string objectIdText(Span content) {
    if (content.size == 0)
        return {};
    const unsigned first = content.data[0];
    std::string text = std::to_string(first / 40) + "." + std::to_string(first % 40);
    std::uint64_t arc = 0;
    bool inside = false;
    for (std::size_t i = 1; i < content.size; ++i) {
        const BYTE byte = content.data[i];
        // An arc has no leading zero digits; one beyond 56 bits is nobody's.
        if ((!inside && byte == 0x80) || arc >> 49 != 0)
            return {};
        arc = arc << 7 | (byte & 0x7F);
        inside = (byte & 0x80) != 0;
        if (inside)
            continue;
        text += "." + std::to_string(arc);
        arc = 0;
    }
    return inside ? std::string() : text;
}

Bytes objectIdDer(const std::string& text) {
    std::size_t at = 0;
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    if (!readArc(text, at, first) || at == text.size() || !readArc(text, at, second))
        return {};
    if (first > 2 || (first < 2 && second >= 40))
        return {};
    Bytes content;
    appendArc(content, first * 40 + second);
    while (at < text.size()) {
        std::uint64_t arc = 0;
        if (!readArc(text, at, arc))
            return {};
        appendArc(content, arc);
    }
    return content;
}

Bytes derElement(BYTE tag, const Bytes& content) {
    Bytes element = {tag};
    if (content.size() < 0x80) {
        element.push_back(static_cast<BYTE>(content.size()));
    } else {
        Bytes digits;
        for (std::size_t length = content.size(); length != 0; length >>= 8)
            digits.push_back(static_cast<BYTE>(length));
        element.push_back(static_cast<BYTE>(0x80 | digits.size()));
        element.insert(element.end(), digits.rbegin(), digits.rend());
    }
    append(element, content);
    return element;
}

}  // namespace platform::nss
