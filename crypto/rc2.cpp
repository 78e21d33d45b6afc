#include "crypto/rc2.h"

#include <cstring>
#include <utility>

#include "crypto/block_kernels.h"
#include "crypto/cbc.h"
#include "crypto/codes.h"

namespace crypto {
namespace {

// The rounds: four words of 16 bits, sixteen mixing rounds of four steps, with a mashing round after the fifth and the
// eleventh.

struct Words {
    std::uint16_t r[4];
};

constexpr unsigned kRotations[4] = {1, 2, 3, 5};

inline std::uint16_t rotateLeft16(std::uint16_t word, unsigned count) {
    return static_cast<std::uint16_t>(word << count | word >> (16 - count));
}

// mixWord: the terms that do not wait for the newest word come first.
template <unsigned Word>
inline void mixWord(Words& block, std::uint16_t key) {
    const std::uint16_t newest = block.r[(Word + 3) % 4];
    const std::uint16_t kept = block.r[(Word + 2) % 4];
    const std::uint16_t other = block.r[(Word + 1) % 4];
    const auto ready = static_cast<std::uint16_t>(block.r[Word] + key);
    block.r[Word] =
        rotateLeft16(static_cast<std::uint16_t>(ready + (newest & kept) + (~newest & other)), kRotations[Word]);
}

template <unsigned Word>
inline void unmixWord(Words& block, std::uint16_t key) {
    const std::uint16_t newest = block.r[(Word + 3) % 4];
    const std::uint16_t kept = block.r[(Word + 2) % 4];
    const std::uint16_t other = block.r[(Word + 1) % 4];
    const std::uint16_t turned = rotateLeft16(block.r[Word], 16 - kRotations[Word]);
    block.r[Word] = static_cast<std::uint16_t>(turned - key - (newest & kept) - (~newest & other));
}

inline void mix(Words& block, const std::uint16_t* keys) {
    mixWord<0>(block, keys[0]);
    mixWord<1>(block, keys[1]);
    mixWord<2>(block, keys[2]);
    mixWord<3>(block, keys[3]);
}

inline void unmix(Words& block, const std::uint16_t* keys) {
    unmixWord<3>(block, keys[3]);
    unmixWord<2>(block, keys[2]);
    unmixWord<1>(block, keys[1]);
    unmixWord<0>(block, keys[0]);
}

inline void mash(Words& block, const std::uint16_t* keys) {
    for (unsigned i = 0; i < 4; ++i)
        block.r[i] = static_cast<std::uint16_t>(block.r[i] + keys[block.r[(i + 3) % 4] & 63]);
}

inline void unmash(Words& block, const std::uint16_t* keys) {
    for (unsigned i = 4; i-- > 0;)
        block.r[i] = static_cast<std::uint16_t>(block.r[i] - keys[block.r[(i + 3) % 4] & 63]);
}

template <std::size_t... Rounds>
inline void enciphered(Words& block, const std::uint16_t* keys, std::index_sequence<Rounds...> /*rounds*/) {
    const auto round = [&](std::size_t number) {
        mix(block, keys + 4 * number);
        if (number == 4 || number == 10)
            mash(block, keys);
    };
    (round(Rounds), ...);
}

template <std::size_t Count, std::size_t... Rounds>
inline void deciphered(Words (&blocks)[Count], const std::uint16_t* keys, std::index_sequence<Rounds...> /*rounds*/) {
    const auto round = [&](std::size_t number) {
        for (Words& block : blocks) {
            if (number == 4 || number == 10)
                unmash(block, keys);
            unmix(block, keys + 4 * number);
        }
    };
    (round(15 - Rounds), ...);
}

struct Core {
    using Block = Words;
    static constexpr std::size_t kTogether = 2;

    static Words load(const std::uint8_t* bytes) {
        Words words;
        for (std::size_t i = 0; i < 4; ++i)
            words.r[i] = static_cast<std::uint16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
        return words;
    }
    static void store(const Words& words, std::uint8_t* bytes) {
        for (std::size_t i = 0; i < 4; ++i) {
            bytes[2 * i] = static_cast<std::uint8_t>(words.r[i]);
            bytes[2 * i + 1] = static_cast<std::uint8_t>(words.r[i] >> 8);
        }
    }
    static Words join(Words a, const Words& b) {
        for (std::size_t i = 0; i < 4; ++i)
            a.r[i] = static_cast<std::uint16_t>(a.r[i] ^ b.r[i]);
        return a;
    }
};

struct Encipher : Core {
    const std::uint16_t* keys;

    explicit Encipher(const std::uint16_t* words) : keys(words) {}

    void crypt(Words (&blocks)[1]) const { enciphered(blocks[0], keys, std::make_index_sequence<16>()); }
};

struct Decipher : Core {
    const std::uint16_t* keys;

    explicit Decipher(const std::uint16_t* words) : keys(words) {}

    template <std::size_t Count>
    void crypt(Words (&blocks)[Count]) const {
        deciphered(blocks, keys, std::make_index_sequence<16>());
    }
};

void encrypt(RC2_CTX& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) {
    Words chain = Core::load(context.chain);
    cbc::encryptChain(Encipher(context.expandedKey), chain, input, output, blocks);
    Core::store(chain, context.chain);
}

void decrypt(RC2_CTX& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) {
    Words chain = Core::load(context.chain);
    cbc::decryptChain(Decipher(context.expandedKey), chain, input, output, blocks);
    Core::store(chain, context.chain);
}

}  // namespace

const CbcLoops<RC2_CTX> kPlainRc2 = {encrypt, decrypt};

}  // namespace crypto

namespace {

// A permutation of the bytes from the digits of pi.
constexpr std::uint8_t kPi[256] = {
    0xD9, 0x78, 0xF9, 0xC4, 0x19, 0xDD, 0xB5, 0xED, 0x28, 0xE9, 0xFD, 0x79, 0x4A, 0xA0, 0xD8, 0x9D,  //
    0xC6, 0x7E, 0x37, 0x83, 0x2B, 0x76, 0x53, 0x8E, 0x62, 0x4C, 0x64, 0x88, 0x44, 0x8B, 0xFB, 0xA2,  //
    0x17, 0x9A, 0x59, 0xF5, 0x87, 0xB3, 0x4F, 0x13, 0x61, 0x45, 0x6D, 0x8D, 0x09, 0x81, 0x7D, 0x32,  //
    0xBD, 0x8F, 0x40, 0xEB, 0x86, 0xB7, 0x7B, 0x0B, 0xF0, 0x95, 0x21, 0x22, 0x5C, 0x6B, 0x4E, 0x82,  //
    0x54, 0xD6, 0x65, 0x93, 0xCE, 0x60, 0xB2, 0x1C, 0x73, 0x56, 0xC0, 0x14, 0xA7, 0x8C, 0xF1, 0xDC,  //
    0x12, 0x75, 0xCA, 0x1F, 0x3B, 0xBE, 0xE4, 0xD1, 0x42, 0x3D, 0xD4, 0x30, 0xA3, 0x3C, 0xB6, 0x26,  //
    0x6F, 0xBF, 0x0E, 0xDA, 0x46, 0x69, 0x07, 0x57, 0x27, 0xF2, 0x1D, 0x9B, 0xBC, 0x94, 0x43, 0x03,  //
    0xF8, 0x11, 0xC7, 0xF6, 0x90, 0xEF, 0x3E, 0xE7, 0x06, 0xC3, 0xD5, 0x2F, 0xC8, 0x66, 0x1E, 0xD7,  //
    0x08, 0xE8, 0xEA, 0xDE, 0x80, 0x52, 0xEE, 0xF7, 0x84, 0xAA, 0x72, 0xAC, 0x35, 0x4D, 0x6A, 0x2A,  //
    0x96, 0x1A, 0xD2, 0x71, 0x5A, 0x15, 0x49, 0x74, 0x4B, 0x9F, 0xD0, 0x5E, 0x04, 0x18, 0xA4, 0xEC,  //
    0xC2, 0xE0, 0x41, 0x6E, 0x0F, 0x51, 0xCB, 0xCC, 0x24, 0x91, 0xAF, 0x50, 0xA1, 0xF4, 0x70, 0x39,  //
    0x99, 0x7C, 0x3A, 0x85, 0x23, 0xB8, 0xB4, 0x7A, 0xFC, 0x02, 0x36, 0x5B, 0x25, 0x55, 0x97, 0x31,  //
    0x2D, 0x5D, 0xFA, 0x98, 0xE3, 0x8A, 0x92, 0xAE, 0x05, 0xDF, 0x29, 0x10, 0x67, 0x6C, 0xBA, 0xC9,  //
    0xD3, 0x00, 0xE6, 0xCF, 0xE1, 0x9E, 0xA8, 0x2C, 0x63, 0x16, 0x01, 0x3F, 0x58, 0xE2, 0x89, 0xA9,  //
    0x0D, 0x38, 0x34, 0x1B, 0xAB, 0x33, 0xFF, 0xB0, 0xBB, 0x48, 0x0C, 0x5F, 0xB9, 0xB1, 0xCD, 0x2E,  //
    0xC5, 0xF3, 0xDB, 0x47, 0xE5, 0xA5, 0x9C, 0x77, 0x0A, 0xA6, 0x20, 0x68, 0xFE, 0x7F, 0xC1, 0xAD};

// expand: RFC 2268, section 2. key is 1 to 128 bytes, bits 1 to 1024.
void expand(const std::uint8_t* key, std::uint32_t length, std::uint32_t bits, std::uint16_t (&words)[64]) {
    std::uint8_t bytes[128];
    std::memcpy(bytes, key, length);
    std::uint8_t last = bytes[length - 1];
    for (std::uint32_t i = length; i < 128; ++i)
        last = bytes[i] = kPi[static_cast<std::uint8_t>(last + bytes[i - length])];
    const std::uint32_t effective = (bits + 7) / 8;
    const auto mask = static_cast<std::uint8_t>(0xFFU >> (8 * effective - bits));
    last = bytes[128 - effective] = kPi[bytes[128 - effective] & mask];
    for (std::uint32_t i = 128 - effective; i-- > 0;)
        last = bytes[i] = kPi[last ^ bytes[i + effective]];
    for (std::size_t i = 0; i < 64; ++i)
        words[i] = static_cast<std::uint16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
}

struct Rc2 {
    using Context = RC2_CTX;

    static void process(RC2_CTX& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) {
        const auto& loops = crypto::blockKernels().rc2;
        (context.encrypting != 0 ? loops.encrypt : loops.decrypt)(context, input, output, blocks);
    }
};

int init(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter, bool encrypting) {
    auto* const rc2 = static_cast<RC2_CTX*>(context);
    const auto* const given = static_cast<const RC2_PARAMETER*>(parameter);
    if (rc2 == nullptr || key == nullptr || given == nullptr)
        return crypto::kArgumentAbsent;
    if (keyLength < 1 || keyLength > 128)
        return crypto::kWrongLength;
    const unsigned long bits = given->effectiveBits;
    cbc::begin(*rc2, encrypting);
    std::memcpy(rc2->iv, given->iv, sizeof rc2->iv);
    std::memcpy(rc2->chain, given->iv, sizeof rc2->chain);
    expand(key, keyLength, bits < 1 || bits > 1024 ? 1024 : static_cast<std::uint32_t>(bits), rc2->expandedKey);
    return crypto::kSuccess;
}

}  // namespace

int RC2_EncryptInit(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter) {
    return init(context, key, keyLength, parameter, true);
}

int RC2_DecryptInit(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter) {
    return init(context, key, keyLength, parameter, false);
}

int RC2_Update(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
               std::uint32_t* outputLength) {
    return cbc::update<Rc2>(context, input, output, inputLength, outputLength);
}

int RC2_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength) {
    return cbc::plainFinal<Rc2>(context, output, outputLength);
}

int RC2_FinalPad(void* context, std::uint8_t* output, std::uint32_t* outputLength) {
    return cbc::paddedFinal<Rc2>(context, output, outputLength);
}
