// How the digests take their input: bytes are buffered until a block is complete, whole blocks are compressed from
// where they lie, and the rest is buffered.
#ifndef VT_CRYPTO_ABSORB_H
#define VT_CRYPTO_ABSORB_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace crypto {

// absorb: held is how many bytes the buffer holds, below Block; compress(data, blocks) compresses whole blocks. Gives
// how many bytes the buffer holds then.
template <std::size_t Block, class Compress>
std::size_t absorb(std::uint8_t (&buffer)[Block], std::size_t held, const std::uint8_t* data, std::size_t length,
                   Compress compress) {
    if (length < Block - held) {
        if (length != 0)
            std::memcpy(buffer + held, data, length);
        return held + length;
    }
    if (held != 0) {
        const std::size_t fill = Block - held;
        std::memcpy(buffer + held, data, fill);
        compress(buffer, std::size_t{1});
        data += fill;
        length -= fill;
    }
    const std::size_t blocks = length / Block;
    if (blocks != 0)
        compress(data, blocks);
    const std::size_t rest = length % Block;
    if (rest != 0)
        std::memcpy(buffer, data + blocks * Block, rest);
    return rest;
}

// countBits adds length bytes to a message length in bits, which wraps at 2^64.
inline void countBits(std::uint32_t& low, std::uint32_t& high, std::uint32_t length) {
    const std::uint32_t bits = length << 3;
    low += bits;
    high += (low < bits ? 1U : 0U) + (length >> 29);
}

// pad ends a message of which the buffer holds the last held bytes: 0x80, zeros, and the length at the end of a block,
// which is a second one when 56 bytes or more are held. store(place) writes the eight bytes of the length.
template <class Store, class Compress>
void pad(const std::uint8_t (&buffer)[64], std::size_t held, Store store, Compress compress) {
    std::uint8_t blocks[128] = {};
    const std::size_t count = held < 56 ? 1 : 2;
    if (held != 0)
        std::memcpy(blocks, buffer, held);
    blocks[held] = 0x80;
    store(blocks + 64 * count - 8);
    compress(blocks, count);
}

}  // namespace crypto

#endif
