// DER by hand, for tests: every builder gives the bytes of one element, and knows nothing of the code under test.
//
//     der::sequence({der::integer(5), der::text(0x13, "Alice")})   30 0A 02 01 05 13 05 41 6C 69 63 65
#ifndef VT_TESTS_SUPPORT_DER_H
#define VT_TESTS_SUPPORT_DER_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "tests/support/hex.h"

namespace der {

using support::Bytes;

inline Bytes join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

inline Bytes repeat(std::size_t times, const Bytes& part) {
    Bytes all;
    all.reserve(times * part.size());
    for (; times > 0; --times)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

// The shortest definite form.
inline Bytes length(std::size_t n) {
    if (n < 0x80)
        return {static_cast<std::uint8_t>(n)};
    Bytes bytes;
    for (; n != 0; n >>= 8)
        bytes.insert(bytes.begin(), static_cast<std::uint8_t>(n));
    bytes.insert(bytes.begin(), static_cast<std::uint8_t>(0x80 | bytes.size()));
    return bytes;
}

// An element whose identifier is one octet.
inline Bytes tlv(std::uint8_t identifier, const Bytes& content) {
    return join({{identifier}, length(content.size()), content});
}

inline Bytes sequence(std::initializer_list<Bytes> members) {
    return tlv(0x30, join(members));
}

inline Bytes set(std::initializer_list<Bytes> members) {
    return tlv(0x31, join(members));
}

// [number] EXPLICIT
inline Bytes tagged(int number, const Bytes& inner) {
    return tlv(static_cast<std::uint8_t>(0xA0 | number), inner);
}

// The shortest two's complement form.
inline Bytes integer(std::int64_t value) {
    Bytes content;
    do {
        content.insert(content.begin(), static_cast<std::uint8_t>(value));
        value >>= 8;
    } while (value != (content.front() >= 0x80 ? -1 : 0));
    return tlv(0x02, content);
}

inline Bytes text(std::uint8_t identifier, std::string_view characters) {
    return tlv(identifier, Bytes(characters.begin(), characters.end()));
}

inline Bytes bitString(std::uint8_t unused, const Bytes& bits) {
    return tlv(0x03, join({{unused}, bits}));
}

inline Bytes base128(std::uint64_t value) {
    Bytes bytes{static_cast<std::uint8_t>(value & 0x7F)};
    while ((value >>= 7) != 0)
        bytes.insert(bytes.begin(), static_cast<std::uint8_t>(0x80 | (value & 0x7F)));
    return bytes;
}

inline Bytes oid(std::initializer_list<std::uint64_t> arcs) {
    const std::uint64_t* arc = arcs.begin();
    Bytes content = base128(arc[0] * 40 + arc[1]);
    for (arc += 2; arc != arcs.end(); ++arc)
        content = join({content, base128(*arc)});
    return tlv(0x06, content);
}

// A Name of one attribute, such as commonName: 2.5.4.3.
inline Bytes name(std::uint8_t attribute, std::uint8_t stringTag, std::string_view value) {
    return sequence({set({sequence({oid({2, 5, 4, attribute}), text(stringTag, value)})})});
}

}  // namespace der

#endif
