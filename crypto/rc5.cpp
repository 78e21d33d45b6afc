#include "crypto/rc5.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "crypto/block_kernels.h"
#include "crypto/cbc.h"
#include "crypto/codes.h"
#include "crypto/words.h"

namespace crypto {
namespace {

struct Words {
    std::uint32_t a;
    std::uint32_t b;
};

template <std::size_t... Rounds>
inline void enciphered(Words& block, const std::uint32_t* keys, std::index_sequence<Rounds...> /*rounds*/) {
    const auto round = [&](const std::uint32_t* pair) {
        block.a = rotateLeft(block.a ^ block.b, block.b) + pair[0];
        block.b = rotateLeft(block.b ^ block.a, block.a) + pair[1];
    };
    block.a += keys[0];
    block.b += keys[1];
    (round(keys + 2 * (Rounds + 1)), ...);
}

template <std::size_t Count, std::size_t... Rounds>
inline void deciphered(Words (&blocks)[Count], const std::uint32_t* keys, std::index_sequence<Rounds...> /*rounds*/) {
    const auto round = [&](const std::uint32_t* pair) {
        for (Words& block : blocks) {
            block.b = rotateRight(block.b - pair[1], block.a) ^ block.a;
            block.a = rotateRight(block.a - pair[0], block.b) ^ block.b;
        }
    };
    (round(keys + 2 * (sizeof...(Rounds) - Rounds)), ...);
    for (Words& block : blocks) {
        block.b -= keys[1];
        block.a -= keys[0];
    }
}

struct Core {
    using Block = Words;
    static constexpr std::size_t kTogether = 3;

    static Words load(const std::uint8_t* bytes) { return {loadLittleEndian(bytes), loadLittleEndian(bytes + 4)}; }
    static void store(const Words& words, std::uint8_t* bytes) {
        storeLittleEndian(words.a, bytes);
        storeLittleEndian(words.b, bytes + 4);
    }
    static Words join(const Words& x, const Words& y) { return {x.a ^ y.a, x.b ^ y.b}; }
};

template <std::size_t Rounds>
struct Encipher : Core {
    const std::uint32_t* keys;

    explicit Encipher(const std::uint32_t* words) : keys(words) {}

    void crypt(Words (&blocks)[1]) const { enciphered(blocks[0], keys, std::make_index_sequence<Rounds>()); }
};

template <std::size_t Rounds>
struct Decipher : Core {
    const std::uint32_t* keys;

    explicit Decipher(const std::uint32_t* words) : keys(words) {}

    template <std::size_t Count>
    void crypt(Words (&blocks)[Count]) const {
        deciphered(blocks, keys, std::make_index_sequence<Rounds>());
    }
};

template <std::size_t Rounds>
void encryptRounds(RC5_CTX& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) {
    Words chain = Core::load(context.chain);
    cbc::encryptChain(Encipher<Rounds>(context.subkeys), chain, input, output, blocks);
    Core::store(chain, context.chain);
}

template <std::size_t Rounds>
void decryptRounds(RC5_CTX& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) {
    Words chain = Core::load(context.chain);
    cbc::decryptChain(Decipher<Rounds>(context.subkeys), chain, input, output, blocks);
    Core::store(chain, context.chain);
}

void encrypt(RC5_CTX& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) {
    if (context.rounds == 8)
        return encryptRounds<8>(context, input, output, blocks);
    if (context.rounds == 12)
        return encryptRounds<12>(context, input, output, blocks);
    return encryptRounds<16>(context, input, output, blocks);
}

void decrypt(RC5_CTX& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) {
    if (context.rounds == 8)
        return decryptRounds<8>(context, input, output, blocks);
    if (context.rounds == 12)
        return decryptRounds<12>(context, input, output, blocks);
    return decryptRounds<16>(context, input, output, blocks);
}

}  // namespace

const CbcLoops<RC5_CTX> kPlainRc5 = {encrypt, decrypt};

}  // namespace crypto

namespace {

constexpr std::uint32_t kP = 0xB7E15163;
constexpr std::uint32_t kQ = 0x9E3779B9;
constexpr std::uint32_t kMostKeyBytes = 256;

// expand: RFC 2040, section 4. The key is read as little-endian words, the last filled up with zeros; no bytes are one
// word of zeros.
void expand(const std::uint8_t* key, std::uint32_t length, std::int32_t rounds, std::uint32_t (&subkeys)[34]) {
    std::uint32_t words[kMostKeyBytes / 4] = {};
    for (std::uint32_t i = 0; i < length; ++i)
        words[i / 4] |= static_cast<std::uint32_t>(key[i]) << (8 * (i % 4));
    const std::uint32_t wordCount = std::max(1U, (length + 3) / 4);
    const auto subkeyCount = static_cast<std::uint32_t>(2 * (rounds + 1));
    std::uint32_t value = kP;
    for (std::uint32_t& subkey : subkeys) {
        subkey = value;
        value += kQ;
    }
    std::uint32_t a = 0;
    std::uint32_t b = 0;
    std::uint32_t i = 0;
    std::uint32_t j = 0;
    // What does not wait for the step before is added first.
    for (std::uint32_t steps = 3 * std::max(wordCount, subkeyCount); steps != 0; --steps) {
        a = subkeys[i] = crypto::rotateLeft(crypto::together(subkeys[i] + a) + b, 3);
        b = words[j] = crypto::rotateLeft(crypto::together(words[j] + b) + a, a + b);
        i = i + 1 == subkeyCount ? 0 : i + 1;
        j = j + 1 == wordCount ? 0 : j + 1;
    }
    std::fill(subkeys + subkeyCount, std::end(subkeys), 0);
}

struct Rc5 {
    using Context = RC5_CTX;

    static void process(RC5_CTX& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) {
        const auto& loops = crypto::blockKernels().rc5;
        (context.encrypting != 0 ? loops.encrypt : loops.decrypt)(context, input, output, blocks);
    }
};

int init(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter, bool encrypting) {
    auto* const rc5 = static_cast<RC5_CTX*>(context);
    const auto* const given = static_cast<const RC5_PARAMETER*>(parameter);
    if (rc5 == nullptr || key == nullptr || given == nullptr || (given->iv == nullptr && given->ivLength != 0))
        return crypto::kArgumentAbsent;
    if (keyLength > kMostKeyBytes)
        return crypto::kWrongLength;
    cbc::begin(*rc5, encrypting);
    std::memset(rc5->chain, 0, sizeof rc5->chain);
    std::copy_n(given->iv, std::min<std::size_t>(given->ivLength, sizeof rc5->chain), rc5->chain);
    rc5->rounds = given->rounds == 8 || given->rounds == 12 ? static_cast<std::int32_t>(given->rounds) : 16;
    expand(key, keyLength, rc5->rounds, rc5->subkeys);
    return crypto::kSuccess;
}

}  // namespace

int RC5_EncryptInit(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter) {
    return init(context, key, keyLength, parameter, true);
}

int RC5_DecryptInit(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter) {
    return init(context, key, keyLength, parameter, false);
}

int RC5_Update(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
               std::uint32_t* outputLength) {
    return cbc::update<Rc5>(context, input, output, inputLength, outputLength);
}

int RC5_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength) {
    return cbc::plainFinal<Rc5>(context, output, outputLength);
}

int RC5_FinalPad(void* context, std::uint8_t* output, std::uint32_t* outputLength) {
    return cbc::paddedFinal<Rc5>(context, output, outputLength);
}
