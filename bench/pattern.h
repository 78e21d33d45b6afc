// Bytes to work on.
#ifndef VT_BENCH_PATTERN_H
#define VT_BENCH_PATTERN_H

#include <cstdint>
#include <vector>

namespace bench {

using Bytes = std::vector<std::uint8_t>;

// patternBytes: bytes without a pattern that an encoder could profit from, the same in every run. The first has its top
// bit set, the last is odd, as in a modulus.
inline Bytes patternBytes(std::size_t length) {
    Bytes bytes(length);
    std::uint32_t state = 0x9E3779B9U;
    for (std::uint8_t& byte : bytes) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    bytes.front() |= 0x80;
    bytes.back() |= 1;
    return bytes;
}

}  // namespace bench

#endif
