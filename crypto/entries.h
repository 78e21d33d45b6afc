// The shapes of the engine's entries: what ciphers, digests and generators offer, and what a function table holds.
//
// Every entry takes the context as a plain pointer, so that one slot of a table fits all of a kind. Lengths are bytes.
// Results are 0 or a negative code; entries allocate nothing and throw nothing, but for the seeded generator, which has
// a working buffer.
//
// - A context is zeroed where it is allocated and set by one init; it belongs to one thread. After the final another
//   message needs another init.
// - A missing output asks for the size alone: the length is stored and the context stays as it was.
// - Unless a header says otherwise, -2 is a missing context, key, parameter record, output length, or input of more
//   than no bytes, and -3 a wrong length. On failure the output length is untouched unless a header says otherwise.
#ifndef VT_CRYPTO_ENTRIES_H
#define VT_CRYPTO_ENTRIES_H

#include <cstdint>

// A digest begins, absorbs length bytes, also none, and ends: the output is as long as the digest.
using DigestInit = int (*)(void* context);
using DigestUpdate = int (*)(void* context, const std::uint8_t* data, std::uint32_t length);
using DigestFinal = int (*)(void* context, std::uint8_t* output, std::uint32_t* outputLength);

// A cipher is given its key, takes input, whatever its length, and ends with what is left of the last block. The
// parameter is the cipher's record, laid out as in PKCS#11, whose integers are CK_ULONG: the same record goes to a
// token.
using CipherInit = int (*)(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter);
using CipherUpdate = int (*)(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
                             std::uint32_t* outputLength);
using CipherFinal = int (*)(void* context, std::uint8_t* output, std::uint32_t* outputLength);

// A generator is given a seed, and gives length bytes.
using RandomSeed = int (*)(void* context, const std::uint8_t* seed, std::uint32_t length);
using RandomGenerate = void (*)(void* context, std::uint8_t* output, std::uint32_t length);

#endif
