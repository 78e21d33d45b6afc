// RC5 with 32-bit words (RFC 2040) in CBC mode, with PKCS#5 padding or none. crypto/cbc.h tells how messages are
// streamed.
#ifndef VT_CRYPTO_RC5_H
#define VT_CRYPTO_RC5_H

#include <cstddef>
#include <cstdint>

// The parameter record, laid out as CK_RC5_CBC_PARAMS.
struct RC5_PARAMETER {
    unsigned long wordSize;  // ignored: words are 32 bits
    unsigned long rounds;    // 8, 12 or 16; any other number counts as 16
    const std::uint8_t* iv;  // initial value
    unsigned long ivLength;  // a value below 8 bytes is followed by zeros; of a longer one the first 8 bytes count
};

// What RC5 in CBC mode keeps from one call to the next. It owns no memory.
struct RC5_CTX {
    std::int32_t rounds;        // 8, 12 or 16
    std::uint32_t subkeys[34];  // 2 (rounds + 1) of them in use
    std::uint8_t chain[8];      // current chaining value
    std::uint8_t buffer[8];     // block being filled
    std::int32_t count;         // bytes in buffer, 0 to 8
    std::int32_t encrypting;    // 1 encrypt, 0 decrypt
};
static_assert(sizeof(RC5_CTX) == 164 && offsetof(RC5_CTX, subkeys) == 4 && offsetof(RC5_CTX, chain) == 140 &&
                  offsetof(RC5_CTX, buffer) == 148 && offsetof(RC5_CTX, count) == 156 &&
                  offsetof(RC5_CTX, encrypting) == 160,
              "the layout of RC5_CTX is a contract");

// RC5_EncryptInit and RC5_DecryptInit expand a key of 0 to 256 bytes; parameter is an RC5_PARAMETER. 0; -2, also for an
// initial value of more than no bytes that is missing; -3 for another length of the key.
int RC5_EncryptInit(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter);
int RC5_DecryptInit(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter);

// RC5_Update: cbc::update. 0, or -2.
int RC5_Update(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
               std::uint32_t* outputLength);

// RC5_Final ends an unpadded message: cbc::plainFinal. The count is checked before anything else, so that a query of
// the size fails too. 0, -2, or -3 for a message that is not whole blocks.
int RC5_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength);

// RC5_FinalPad ends a padded message: cbc::paddedFinal. 0, -2, or -3 for ciphertext that is not whole blocks.
int RC5_FinalPad(void* context, std::uint8_t* output, std::uint32_t* outputLength);

#endif
