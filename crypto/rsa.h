// RSA with PKCS#1 version 1.5 blocks (RFC 2313): the raw operations, blocks of type 1 and 2, key generation and the
// check of private keys.
//
// A block of k bytes, k being the byte length of the modulus, with at least eight filler bytes, none of which is 00:
//
//     type 1   00 01 ff ff ... ff 00 data      RSA_SignBlock (private key), opened by RSA_RecoverBlock (public key)
//     type 2   00 02 01 01 ... 01 00 data      RSA_EncryptBlock (public key), opened by RSA_DecryptBlock (private key)
//
// The filler of type 2 is the constant 01, where the format has random bytes: one message under one key always gives
// one block, which anybody with the public key can make again. The private operation is neither blinded nor checked,
// its time depends on the key, and nothing is wiped. docs/security.md says who can live with that.
//
// All of it works in one RSA_CTX and in local arrays, except RSA_GenerateKeyItems, whose result is on the heap. A
// context belongs to one thread. Codes are those of crypto/codes.h.
#ifndef VT_CRYPTO_RSA_H
#define VT_CRYPTO_RSA_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "crypto/mpi.h"

// A key and what is kept from one call to the next. It owns no memory.
struct RSA_CTX {
    std::uint8_t signature[1025];           // block kept between update and final of a signature or a verification
    std::int32_t signatureLength;           // bytes held in signature
    std::uint32_t modulus[MPI_FULL_WORDS];  // n
    std::uint32_t publicExponent[MPI_FULL_WORDS];   // e
    std::uint32_t privateExponent[MPI_FULL_WORDS];  // loaded and checked; the private operation does without
    std::uint32_t prime1[MPI_HALF_WORDS];           // p
    std::uint32_t prime2[MPI_HALF_WORDS];           // q; either may be the larger
    std::uint32_t exponent1[MPI_HALF_WORDS];        // d mod (p - 1)
    std::uint32_t exponent2[MPI_HALF_WORDS];        // d mod (q - 1)
    std::uint32_t coefficient[MPI_HALF_WORDS];      // inverse of q modulo p
    std::int32_t isPrivate;                         // 0 public key loaded, 1 private key loaded
};
static_assert(offsetof(RSA_CTX, signatureLength) == 1028 && offsetof(RSA_CTX, modulus) == 1032 &&
                  offsetof(RSA_CTX, publicExponent) == 2060 && offsetof(RSA_CTX, privateExponent) == 3088 &&
                  offsetof(RSA_CTX, prime1) == 4116 && offsetof(RSA_CTX, prime2) == 4632 &&
                  offsetof(RSA_CTX, exponent1) == 5148 && offsetof(RSA_CTX, exponent2) == 5664 &&
                  offsetof(RSA_CTX, coefficient) == 6180 && offsetof(RSA_CTX, isPrivate) == 6696 &&
                  sizeof(RSA_CTX) == 6700,
              "the layout of RSA_CTX is a contract");

// A pair of big-endian bytes and their number.
struct KEY_ITEM {
    std::uint8_t* bytes;   // most significant first
    std::uint32_t length;  // of them
};

// The byte-string form of a key: an array of eight pairs in this order; a public key is the first two alone.
enum RsaItem {
    RSA_MODULUS,           // n
    RSA_PUBLIC_EXPONENT,   // e
    RSA_PRIVATE_EXPONENT,  // d
    RSA_PRIME_1,           // p
    RSA_PRIME_2,           // q
    RSA_EXPONENT_1,        // d mod (p - 1)
    RSA_EXPONENT_2,        // d mod (q - 1)
    RSA_COEFFICIENT        // inverse of q modulo p
};
constexpr std::uint32_t RSA_ITEM_COUNT = 8;         // pairs of a private key
using RSA_KEY_ITEMS = KEY_ITEM[RSA_ITEM_COUNT];     // the numbers of a private key, by RsaItem
constexpr std::uint32_t RSA_PUBLIC_ITEM_COUNT = 2;  // pairs of a public key

// Which of the two an array is, is told by its length in bytes. These are the sizes with 32-bit pointers, and they
// stand for the kind of key where pointers are longer too.
constexpr std::uint32_t RSA_PUBLIC_LENGTH = 16;
constexpr std::uint32_t RSA_PRIVATE_LENGTH = 64;

// The object level: entries of the shapes of crypto/entries.h, on one block, with k checked first: -103 above 1024,
// -106 below 12.

// RSA_Init loads a key of length bytes: private from 64 on, public from 16 to 63. The parameter is ignored. 0; -2 for
// an absent context or items, or a length below 16; -10 for a number that does not fit its field; -14 for a private key
// that RSA_CheckKey refuses. After a failure the context holds no usable key.
int RSA_Init(void* context, const KEY_ITEM* items, std::uint32_t length, const void* parameter);

// RSA_Encrypt makes one block: by a public key of type 2, by a private one of type 1. The output length is k, also
// without an output. 0; -2 for an absent context, input or output length; -3 for more than k - 11 bytes; -12 if the
// block function fails.
int RSA_Encrypt(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
                std::uint32_t* outputLength);

// RSA_Decrypt opens one block of k bytes: by a public key of type 1, by a private one of type 2. Without an output it
// reports k - 11, which no data exceeds, and computes nothing. Codes as RSA_Encrypt; -3 for another length than k.
int RSA_Decrypt(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
                std::uint32_t* outputLength);

// RSA_Final writes nothing and reports 0 bytes, also for RC4. 0, or -2 for an absent output length.
int RSA_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength);

// RSA_GenerateKeyItems makes a key of bits bits as eight strings, each a whole number of limbs long, so that it may
// begin with up to three zero bytes. The array is the caller's, to be freed by KeyItemsFree. 0; -1 if the array cannot
// be allocated; -11 for any other failure; -2 for an absent items.
int RSA_GenerateKeyItems(KEY_ITEM** items, std::int32_t bits);

// KeyItemsFree frees count strings and their array, and makes the pointer null. Null is accepted.
void KeyItemsFree(KEY_ITEM** items, std::uint32_t count);

// The core level. Pointers are not checked.

// What a block has besides data: 00, the type, eight filler bytes, 00.
constexpr int RSA_BLOCK_OVERHEAD = 11;

// RSA_ModulusLength gives k, or -103 above 1024 (RSA_Init loads no such modulus), or -106 below 12.
int RSA_ModulusLength(const RSA_CTX* context);

// RSA_PublicOp: result = input^e mod n, for an input below n. result is of full capacity.
void RSA_PublicOp(std::uint32_t* result, const std::uint32_t* input, const std::uint32_t* e, const std::uint32_t* n);

// RSA_PrivateOp: result = input^d mod n by the Chinese remainder theorem, for an input below n. result is of double
// capacity, since a power from p up to below q (for p < q) comes back with n added. An opened block begins with 00 02
// and is above both primes, and a signature is so small once in some 2^(bits / 2), so that blocks are not affected.
void RSA_PrivateOp(std::uint32_t* result, const std::uint32_t* input, const std::uint32_t* p, const std::uint32_t* q,
                   const std::uint32_t* exponent1, const std::uint32_t* exponent2, const std::uint32_t* coefficient);

// RSA_EncryptBlock and RSA_SignBlock make a block and write k bytes. They return k, or -103, -106, or -102 for a length
// below 0 or above k - 11.
int RSA_EncryptBlock(const RSA_CTX* context, const std::uint8_t* input, std::uint8_t* output, std::int32_t inputLength);
int RSA_SignBlock(const RSA_CTX* context, const std::uint8_t* input, std::uint8_t* output, std::int32_t inputLength);

// RSA_RecoverBlock and RSA_DecryptBlock open a block of k bytes and write the data, at most k - 11 bytes. They return
// its length, which may be 0, or -103, -106, -102 for another length than k, -104 for a block that is not below the
// modulus, -105 for one that is not of the type. On failure nothing is written.
int RSA_RecoverBlock(const RSA_CTX* context, const std::uint8_t* input, std::uint8_t* output, std::int32_t inputLength);
int RSA_DecryptBlock(const RSA_CTX* context, const std::uint8_t* input, std::uint8_t* output, std::int32_t inputLength);

// RSA_CheckKey looks whether the eight numbers belong together: none is zero, n = p q, the two exponents are d modulo
// p - 1 and q - 1, d is the inverse of e modulo (p - 1)(q - 1) and coefficient that of q modulo p. 0, or -14. A d that
// was reduced by anything else, such as the least common multiple of p - 1 and q - 1, is refused, though the key would
// work.
int RSA_CheckKey(const RSA_CTX* context);

// RSA_GenerateKey makes a private key whose modulus has exactly bits bits, 2 to 8192, from MPI_FillRandom: the first
// key of every fresh thread is the same, and no secret. q follows from p, and e is the first number from 65539 on that
// has an inverse. 0; -101 for another size, after ten attempts without a key, or once *cancel, which is read before
// each step, is positive. cancel may be null.
int RSA_GenerateKey(RSA_CTX* context, std::int32_t bits, const std::atomic<std::int32_t>* cancel);

#endif
