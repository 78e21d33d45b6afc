// The rounds of DES and the loops over blocks: the boxes, the permutations, and the two forms of the rounds.
#include "crypto/des_rounds.h"

#include <utility>

#include "crypto/block_kernels.h"
#include "crypto/cbc.h"
#include "crypto/words.h"

namespace crypto {
namespace {

// The boxes S1 to S8: four rows of sixteen.
constexpr std::uint8_t kS[8][64] = {{14, 4,  13, 1, 2,  15, 11, 8,  3,  10, 6,  12, 5,  9,  0, 7,  //
                                     0,  15, 7,  4, 14, 2,  13, 1,  10, 6,  12, 11, 9,  5,  3, 8,  //
                                     4,  1,  14, 8, 13, 6,  2,  11, 15, 12, 9,  7,  3,  10, 5, 0,  //
                                     15, 12, 8,  2, 4,  9,  1,  7,  5,  11, 3,  14, 10, 0,  6, 13},
                                    {15, 1,  8,  14, 6,  11, 3,  4,  9,  7, 2,  13, 12, 0, 5,  10,  //
                                     3,  13, 4,  7,  15, 2,  8,  14, 12, 0, 1,  10, 6,  9, 11, 5,   //
                                     0,  14, 7,  11, 10, 4,  13, 1,  5,  8, 12, 6,  9,  3, 2,  15,  //
                                     13, 8,  10, 1,  3,  15, 4,  2,  11, 6, 7,  12, 0,  5, 14, 9},
                                    {10, 0,  9,  14, 6, 3,  15, 5,  1,  13, 12, 7,  11, 4,  2,  8,  //
                                     13, 7,  0,  9,  3, 4,  6,  10, 2,  8,  5,  14, 12, 11, 15, 1,  //
                                     13, 6,  4,  9,  8, 15, 3,  0,  11, 1,  2,  12, 5,  10, 14, 7,  //
                                     1,  10, 13, 0,  6, 9,  8,  7,  4,  15, 14, 3,  11, 5,  2,  12},
                                    {7,  13, 14, 3, 0,  6,  9,  10, 1,  2, 8, 5,  11, 12, 4,  15,  //
                                     13, 8,  11, 5, 6,  15, 0,  3,  4,  7, 2, 12, 1,  10, 14, 9,   //
                                     10, 6,  9,  0, 12, 11, 7,  13, 15, 1, 3, 14, 5,  2,  8,  4,   //
                                     3,  15, 0,  6, 10, 1,  13, 8,  9,  4, 5, 11, 12, 7,  2,  14},
                                    {2,  12, 4,  1,  7,  10, 11, 6,  8,  5,  3,  15, 13, 0, 14, 9,   //
                                     14, 11, 2,  12, 4,  7,  13, 1,  5,  0,  15, 10, 3,  9, 8,  6,   //
                                     4,  2,  1,  11, 10, 13, 7,  8,  15, 9,  12, 5,  6,  3, 0,  14,  //
                                     11, 8,  12, 7,  1,  14, 2,  13, 6,  15, 0,  9,  10, 4, 5,  3},
                                    {12, 1,  10, 15, 9, 2,  6,  8,  0,  13, 3,  4,  14, 7,  5,  11,  //
                                     10, 15, 4,  2,  7, 12, 9,  5,  6,  1,  13, 14, 0,  11, 3,  8,   //
                                     9,  14, 15, 5,  2, 8,  12, 3,  7,  0,  4,  10, 1,  13, 11, 6,   //
                                     4,  3,  2,  12, 9, 5,  15, 10, 11, 14, 1,  7,  6,  0,  8,  13},
                                    {4,  11, 2,  14, 15, 0, 8,  13, 3,  12, 9, 7,  5,  10, 6, 1,  //
                                     13, 0,  11, 7,  4,  9, 1,  10, 14, 3,  5, 12, 2,  15, 8, 6,  //
                                     1,  4,  11, 13, 12, 3, 7,  14, 10, 15, 6, 8,  0,  5,  9, 2,  //
                                     6,  11, 13, 8,  1,  4, 10, 7,  9,  5,  0, 15, 14, 2,  3, 12},
                                    {13, 2,  8,  4, 6,  15, 11, 1,  10, 9,  3,  14, 5,  0,  12, 7,  //
                                     1,  15, 13, 8, 10, 3,  7,  4,  12, 5,  6,  11, 0,  14, 9,  2,  //
                                     7,  11, 4,  1, 9,  12, 14, 2,  0,  6,  10, 13, 15, 3,  5,  8,  //
                                     2,  1,  14, 7, 4,  10, 8,  13, 15, 12, 9,  0,  3,  5,  6,  11}};

// P: the n-th bit of the result is the bit of that number.
constexpr std::uint8_t kP[32] = {16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23, 26, 5,  18, 31, 10,
                                 2,  8, 24, 14, 32, 27, 3,  9,  19, 13, 30, 6,  22, 11, 4,  25};

constexpr std::uint32_t kGroups = 0x3F3F3F3F;

// expanded: both words of X, the first below the second.
constexpr std::uint64_t expanded(std::uint32_t x) {
    return (x & kGroups) | static_cast<std::uint64_t>(rotateRight(x, 4) & kGroups) << 32;
}

// substituted: what P makes of the output of a box for one group, rotated left by 1.
constexpr std::uint32_t substituted(unsigned box, unsigned group) {
    const unsigned row = (group >> 4 & 2) | (group & 1);
    const unsigned column = group >> 1 & 15;
    const std::uint32_t before = static_cast<std::uint32_t>(kS[box - 1][row * 16 + column]) << (32 - 4 * box);
    std::uint32_t after = 0;
    for (unsigned bit = 0; bit < 32; ++bit)
        after |= (before >> (32 - kP[bit]) & 1) << (31 - bit);
    return rotateLeft(after, 1);
}

// The boxes and P combined, in the form of a half. A row for each byte, lowest first.
template <class Half>
struct Boxes {
    alignas(64) Half rows[8][64];
};

template <class Form>
constexpr Boxes<typename Form::Half> makeBoxes() {
    Boxes<typename Form::Half> boxes{};
    for (unsigned box = 1; box <= 8; ++box)
        for (unsigned group = 0; group < 64; ++group)
            boxes.rows[byteOfBox(box)][group] = Form::entered(substituted(box, group));
    return boxes;
}

// exchange swaps the bits of b under the mask with those of a that lie shift places above them.
inline void exchange(std::uint32_t& a, std::uint32_t& b, unsigned shift, std::uint32_t mask) {
    const std::uint32_t moved = (a >> shift ^ b) & mask;
    b ^= moved;
    a ^= moved << shift;
}

struct Words {
    std::uint32_t left;
    std::uint32_t right;
};

inline Words initialPermutation(Words words) {
    exchange(words.left, words.right, 4, 0x0F0F0F0F);
    exchange(words.left, words.right, 16, 0x0000FFFF);
    exchange(words.right, words.left, 2, 0x33333333);
    exchange(words.right, words.left, 8, 0x00FF00FF);
    exchange(words.left, words.right, 1, 0x55555555);
    return words;
}

inline Words finalPermutation(Words words) {
    exchange(words.left, words.right, 1, 0x55555555);
    exchange(words.right, words.left, 8, 0x00FF00FF);
    exchange(words.right, words.left, 2, 0x33333333);
    exchange(words.left, words.right, 16, 0x0000FFFF);
    exchange(words.left, words.right, 4, 0x0F0F0F0F);
    return words;
}

// A block after IP.
template <class Half>
struct Halves {
    Half left;
    Half right;
};

// Plain rounds: a half is X.
struct Plain {
    using Half = std::uint32_t;
    static constexpr std::size_t kTogether = 2;

    struct Keys {
        const std::uint32_t* pairs;

        explicit Keys(const std::uint32_t (&subkeys)[32]) : pairs(subkeys) {}
    };

    // entered: a half from X; enter and leave: from and to a word.
    static constexpr Half entered(std::uint32_t x) { return x; }
    static Half enter(std::uint32_t word) { return entered(rotateLeft(word, 1)); }
    static std::uint32_t leave(Half half) { return rotateRight(half, 1); }

    static Half mixed(Half half, const std::uint32_t* pair) {
        static constexpr Boxes<Half> kBoxes = makeBoxes<Plain>();
        const auto& rows = kBoxes.rows;
        const std::uint32_t even = half ^ pair[0];
        const std::uint32_t odd = rotateRight(half, 4) ^ pair[1];
        const std::uint32_t first = rows[0][even & 63] ^ rows[1][even >> 8 & 63];
        const std::uint32_t second = rows[2][even >> 16 & 63] ^ rows[3][even >> 24 & 63];
        const std::uint32_t third = rows[4][odd & 63] ^ rows[5][odd >> 8 & 63];
        const std::uint32_t fourth = rows[6][odd >> 16 & 63] ^ rows[7][odd >> 24 & 63];
        return together(first ^ second) ^ together(third ^ fourth);
    }

    template <std::size_t Count>
    static void twoRounds(Halves<Half> (&blocks)[Count], const Keys& keys, std::size_t number) {
        for (Halves<Half>& block : blocks)
            block.left ^= mixed(block.right, keys.pairs + 2 * number);
        for (Halves<Half>& block : blocks)
            block.right ^= mixed(block.left, keys.pairs + 2 * number + 2);
    }

    // keyed: plain rounds put the key in when they come to it.
    static Halves<Half> keyed(const Halves<Half>& block, const Keys& /*keys*/) { return block; }
};

#if UINTPTR_MAX > UINT32_MAX

// Wide rounds: a half is expanded, and has the key of the round that will look it up put in before, off the path on
// which one round waits for another.
struct Wide {
    using Half = std::uint64_t;
    static constexpr std::size_t kTogether = 3;

    // The keys of the first two rounds; then for each round what takes its key out again and puts in that of the round
    // after the next, of which the last two are none.
    struct Keys {
        std::uint64_t first[2];
        std::uint64_t next[16];

        explicit Keys(const std::uint32_t (&subkeys)[32]) {
            std::uint64_t keys[18] = {};
            for (std::size_t i = 0; i < 16; ++i)
                keys[i] = subkeys[2 * i] | static_cast<std::uint64_t>(subkeys[2 * i + 1]) << 32;
            first[0] = keys[0];
            first[1] = keys[1];
            for (std::size_t i = 0; i < 16; ++i)
                next[i] = keys[i] ^ keys[i + 2];
        }
    };

    static constexpr Half entered(std::uint32_t x) { return expanded(x); }
    static Half enter(std::uint32_t word) { return entered(rotateLeft(word, 1)); }

    static std::uint32_t leave(Half half) {
        const auto even = static_cast<std::uint32_t>(half);
        const auto odd = static_cast<std::uint32_t>(half >> 32);
        return rotateRight(even | (rotateLeft(odd, 4) & ~kGroups), 1);
    }

    // mixed: what is ready first is added first.
    static Half mixed(Half other, Half groups) {
        static constexpr Boxes<Half> kBoxes = makeBoxes<Wide>();
        const auto& rows = kBoxes.rows;
        const std::uint64_t first =
            together(other ^ rows[0][groups & 255]) ^ together(rows[1][groups >> 8 & 255] ^ rows[7][groups >> 56]);
        const std::uint64_t second = together(rows[2][groups >> 16 & 255] ^ rows[3][groups >> 24 & 255]) ^
                                     together(rows[4][groups >> 32 & 255] ^ rows[5][groups >> 40 & 255]);
        return together(together(first) ^ rows[6][groups >> 48 & 255]) ^ together(second);
    }

    template <std::size_t Count>
    static void twoRounds(Halves<Half> (&blocks)[Count], const Keys& keys, std::size_t number) {
        for (Halves<Half>& block : blocks) {
            block.left = mixed(block.left, block.right);
            block.right ^= keys.next[number];
        }
        for (Halves<Half>& block : blocks) {
            block.right = mixed(block.right, block.left);
            block.left ^= keys.next[number + 1];
        }
    }

    static Halves<Half> keyed(const Halves<Half>& block, const Keys& keys) {
        return {block.left ^ keys.first[1], block.right ^ keys.first[0]};
    }
};

#endif

// The sixteen rounds, unrolled, side by side for a number of blocks. The halves change places at the end.
template <class Form, std::size_t Count, std::size_t... Pairs>
inline void runRounds(Halves<typename Form::Half> (&blocks)[Count], const typename Form::Keys& keys,
                      std::index_sequence<Pairs...> /*pairs*/) {
    for (auto& block : blocks)
        block = Form::keyed(block, keys);
    (Form::twoRounds(blocks, keys, 2 * Pairs), ...);
    for (auto& block : blocks)
        std::swap(block.left, block.right);
}

template <class Form, std::size_t Count>
inline void runRounds(Halves<typename Form::Half> (&blocks)[Count], const typename Form::Keys& keys) {
    runRounds<Form>(blocks, keys, std::make_index_sequence<8>());
}

// What the two ciphers have in common for cbc.h: permuted blocks.
template <class Form>
struct Permuted {
    using Block = Halves<typename Form::Half>;
    static constexpr std::size_t kTogether = Form::kTogether;

    static Block enter(Words words) {
        const Words permuted = initialPermutation(words);
        return {Form::enter(permuted.left), Form::enter(permuted.right)};
    }
    static Words leave(const Block& block) {
        return finalPermutation({Form::leave(block.left), Form::leave(block.right)});
    }
    static Block load(const std::uint8_t* bytes) { return enter({loadBigEndian(bytes), loadBigEndian(bytes + 4)}); }
    static void store(const Block& block, std::uint8_t* bytes) {
        const Words words = leave(block);
        storeBigEndian(words.left, bytes);
        storeBigEndian(words.right, bytes + 4);
    }
    static Block join(const Block& a, const Block& b) { return {a.left ^ b.left, a.right ^ b.right}; }
};

template <class Form>
struct One : Permuted<Form> {
    typename Form::Keys keys;

    explicit One(const DES_CTX& context) : keys(context.subkeys) {}

    template <std::size_t Count>
    void crypt(Halves<typename Form::Half> (&blocks)[Count]) const {
        runRounds<Form>(blocks, keys);
    }
};

// Between stages FP and IP cancel out.
template <class Form>
struct Three : Permuted<Form> {
    typename Form::Keys stages[3];

    explicit Three(const DES3_CTX& context)
        : stages{typename Form::Keys(context.subkeys1), typename Form::Keys(context.subkeys2),
                 typename Form::Keys(context.subkeys3)} {}

    template <std::size_t Count>
    void crypt(Halves<typename Form::Half> (&blocks)[Count]) const {
        for (const typename Form::Keys& stage : stages)
            runRounds<Form>(blocks, stage);
    }
};

template <class Core, class Context>
void encrypt(Context& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) {
    typename Core::Block chain = Core::enter({context.chain[0], context.chain[1]});
    cbc::encryptChain(Core(context), chain, input, output, blocks);
    const Words words = Core::leave(chain);
    context.chain[0] = words.left;
    context.chain[1] = words.right;
}

template <class Core, class Context>
void decrypt(Context& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) {
    typename Core::Block chain = Core::enter({context.chain[0], context.chain[1]});
    cbc::decryptChain(Core(context), chain, input, output, blocks);
    const Words words = Core::leave(chain);
    context.chain[0] = words.left;
    context.chain[1] = words.right;
}

}  // namespace

const CbcLoops<DES_CTX> kPlainDes = {encrypt<One<Plain>>, decrypt<One<Plain>>};
const CbcLoops<DES3_CTX> kPlainDes3 = {encrypt<Three<Plain>>, decrypt<Three<Plain>>};

#if UINTPTR_MAX > UINT32_MAX

const CbcLoops<DES_CTX> kWideDes = {encrypt<One<Wide>>, decrypt<One<Wide>>};
const CbcLoops<DES3_CTX> kWideDes3 = {encrypt<Three<Wide>>, decrypt<Three<Wide>>};

#else

const CbcLoops<DES_CTX> kWideDes = {nullptr, nullptr};
const CbcLoops<DES3_CTX> kWideDes3 = {nullptr, nullptr};

#endif

}  // namespace crypto
