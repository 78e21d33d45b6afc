// CBC mode over blocks of 8 bytes, as all block ciphers of the engine share it: how a message is streamed, padded and
// ended, and how blocks are chained.
//
// An update holds the last full block back until more input arrives or the final comes, in both directions: this is
// what lets the decrypting final see the padding. For count bytes held and L bytes of input, count + L up to 8 all wait
// in the buffer; of more, all blocks are processed but the last, which may be full:
//
//     held  input   written  held then
//        0      8         0          8
//        0      9         8          1
//        0     16         8          8
//        8      1         8          1
//
// The output of the first update may be its input. Where bytes are held, output runs ahead of input, and the two must
// not overlap.
#ifndef VT_CRYPTO_CBC_H
#define VT_CRYPTO_CBC_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "crypto/codes.h"

namespace cbc {

constexpr std::uint32_t kBlock = 8;

// A Cipher, for the templates below, names its Context, which has the members count, buffer and encrypting, and has
//
//     static void process(Context& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks);
//
// which enciphers or deciphers whole blocks in CBC mode and moves the chain on. output may be input.

// begin makes the context ready for a message in the direction.
template <class Context>
void begin(Context& context, bool encrypting) {
    context.encrypting = encrypting ? 1 : 0;
    context.count = 0;
    std::memset(context.buffer, 0, sizeof context.buffer);
}

// hold appends input to the buffer, which has room for it.
template <class Context>
void hold(Context& context, const std::uint8_t* input, std::uint32_t length) {
    if (length != 0)
        std::memcpy(context.buffer + context.count, input, length);
    context.count += static_cast<std::int32_t>(length);
}

// update processes what becomes certain not to be the last block. Without an output the length stored is that of all
// full blocks, the last one included. 0; -2; -3 for lengths whose sum does not fit 32 bits.
template <class Cipher>
int update(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
           std::uint32_t* outputLength) {
    auto* const cipher = static_cast<typename Cipher::Context*>(context);
    if (cipher == nullptr || outputLength == nullptr)
        return crypto::kArgumentAbsent;
    const auto held = static_cast<std::uint32_t>(cipher->count);
    if (inputLength > std::numeric_limits<std::uint32_t>::max() - held)
        return crypto::kWrongLength;
    if (output == nullptr) {
        *outputLength = (held + inputLength) & ~(kBlock - 1);
        return crypto::kSuccess;
    }
    if (input == nullptr && inputLength != 0)
        return crypto::kArgumentAbsent;
    *outputLength = 0;
    if (inputLength > kBlock - held) {
        if (held != 0) {
            const std::uint32_t fill = kBlock - held;
            hold(*cipher, input, fill);
            input += fill;
            inputLength -= fill;
            Cipher::process(*cipher, cipher->buffer, output, 1);
            *outputLength = kBlock;
        }
        const std::uint32_t whole = (inputLength - 1) & ~(kBlock - 1);
        Cipher::process(*cipher, input, output + *outputLength, whole / kBlock);
        input += whole;
        inputLength -= whole;
        *outputLength += whole;
        cipher->count = 0;
    }
    hold(*cipher, input, inputLength);
    return crypto::kSuccess;
}

// finish processes the buffer as the message's last block.
template <class Cipher>
void finish(typename Cipher::Context& cipher, std::uint8_t* output, std::uint32_t* outputLength) {
    Cipher::process(cipher, cipher.buffer, output, 1);
    cipher.count = 0;
    *outputLength = kBlock;
}

// plainFinal ends a message without padding: the block held back comes out. A message of no bytes gives a block too,
// that of the empty buffer. Without an output the length is 8. 0; -2; -3 for a count that is not a whole block.
template <class Cipher>
int plainFinal(void* context, std::uint8_t* output, std::uint32_t* outputLength) {
    auto* const cipher = static_cast<typename Cipher::Context*>(context);
    if (cipher == nullptr || outputLength == nullptr)
        return crypto::kArgumentAbsent;
    if (cipher->count % static_cast<std::int32_t>(kBlock) != 0)
        return crypto::kWrongLength;
    *outputLength = kBlock;
    if (output != nullptr)
        finish<Cipher>(*cipher, output, outputLength);
    return crypto::kSuccess;
}

// pad writes the last one or two blocks: n bytes of the value n, 1 to 8 of them, after the message.
template <class Cipher>
int pad(typename Cipher::Context& cipher, std::uint8_t* output, std::uint32_t* outputLength) {
    const auto held = static_cast<std::uint32_t>(cipher.count);
    const bool full = held == kBlock;
    if (output == nullptr) {
        *outputLength = full ? 2 * kBlock : kBlock;
        return crypto::kSuccess;
    }
    std::memset(cipher.buffer + held, static_cast<int>(kBlock - held), kBlock - held);
    finish<Cipher>(cipher, output, outputLength);
    if (!full)
        return crypto::kSuccess;
    std::memset(cipher.buffer, static_cast<int>(kBlock), kBlock);
    finish<Cipher>(cipher, output + kBlock, outputLength);
    *outputLength = 2 * kBlock;
    return crypto::kSuccess;
}

// paddedBytes: how many bytes of the last block are padding. The fewest that can be are taken, so that 01 01 is one
// byte of padding; 0 when none can.
inline std::uint32_t paddedBytes(const std::uint8_t* block) {
    const std::uint8_t* const end = block + kBlock;
    for (std::uint8_t i = 1; i <= kBlock; ++i)
        if (std::all_of(end - i, end, [i](std::uint8_t byte) { return byte == i; }))
            return i;
    return 0;
}

// unpad writes the last block, of which only what is not padding counts.
template <class Cipher>
int unpad(typename Cipher::Context& cipher, std::uint8_t* output, std::uint32_t* outputLength) {
    if (output == nullptr) {
        *outputLength = kBlock;
        return crypto::kSuccess;
    }
    if (cipher.count != static_cast<std::int32_t>(kBlock))
        return crypto::kWrongLength;
    finish<Cipher>(cipher, output, outputLength);
    *outputLength -= paddedBytes(output);
    return crypto::kSuccess;
}

// paddedFinal ends a message with PKCS#5 padding, which is written or taken off.
//
//   encrypting  8 bytes, or 16 when a full block was held; without an output, the length that will be
//   decrypting  0 to 8 bytes, for which output has room for 8; without an output, 8
//
// Wrong padding is not an error: the block comes out whole. A caller who must know whether the key was right looks at
// the content. 0; -2; -3 for ciphertext that is not whole blocks, told when an output is given.
template <class Cipher>
int paddedFinal(void* context, std::uint8_t* output, std::uint32_t* outputLength) {
    auto* const cipher = static_cast<typename Cipher::Context*>(context);
    if (cipher == nullptr || outputLength == nullptr)
        return crypto::kArgumentAbsent;
    return cipher->encrypting != 0 ? pad<Cipher>(*cipher, output, outputLength)
                                   : unpad<Cipher>(*cipher, output, outputLength);
}

// The chaining itself. A Core, for the two templates below, has a Block (the 8 bytes as it likes to hold them), load
// and store between a Block and bytes, join (the exclusive or of two Blocks), and crypt, which puts any number of
// Blocks through the cipher at once.

// encryptChain: each block is joined with the one before it, enciphered and written.
template <class Core>
void encryptChain(const Core& core, typename Core::Block& chain, const std::uint8_t* input, std::uint8_t* output,
                  std::size_t blocks) {
    for (; blocks != 0; --blocks, input += kBlock, output += kBlock) {
        typename Core::Block block[1] = {Core::join(Core::load(input), chain)};
        core.crypt(block);
        chain = block[0];
        Core::store(chain, output);
    }
}

// decryptTogether deciphers Count independent blocks side by side, which hides the time that each of them waits.
template <std::size_t Count, class Core>
void decryptTogether(const Core& core, typename Core::Block& chain, const std::uint8_t* input, std::uint8_t* output) {
    typename Core::Block given[Count];
    typename Core::Block block[Count];
    for (std::size_t i = 0; i < Count; ++i)
        block[i] = given[i] = Core::load(input + i * kBlock);
    core.crypt(block);
    for (std::size_t i = 0; i < Count; ++i) {
        Core::store(Core::join(block[i], chain), output + i * kBlock);
        chain = given[i];
    }
}

// decryptChain: each block is deciphered, joined with the ciphertext before it and written.
template <class Core>
void decryptChain(const Core& core, typename Core::Block& chain, const std::uint8_t* input, std::uint8_t* output,
                  std::size_t blocks) {
    constexpr std::size_t kTogether = Core::kTogether;
    for (; blocks >= kTogether; blocks -= kTogether, input += kTogether * kBlock, output += kTogether * kBlock)
        decryptTogether<kTogether>(core, chain, input, output);
    for (; blocks != 0; --blocks, input += kBlock, output += kBlock)
        decryptTogether<1>(core, chain, input, output);
}

}  // namespace cbc

#endif
