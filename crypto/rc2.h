// RC2 (RFC 2268) in CBC mode, with PKCS#5 padding or none. crypto/cbc.h tells how messages are streamed.
#ifndef VT_CRYPTO_RC2_H
#define VT_CRYPTO_RC2_H

#include <cstddef>
#include <cstdint>

// The parameter record, laid out as CK_RC2_CBC_PARAMS.
struct RC2_PARAMETER {
    unsigned long effectiveBits;  // below 1 or above 1024 counts as 1024
    std::uint8_t iv[8];           // initial value
};

// What RC2 in CBC mode keeps from one call to the next. It owns no memory.
struct RC2_CTX {
    std::uint16_t expandedKey[64];  // key schedule
    std::uint8_t chain[8];          // current chaining value
    std::uint8_t iv[8];             // the initial value as given
    std::int32_t count;             // bytes in buffer, 0 to 8
    std::uint8_t buffer[8];         // block being filled
    std::int32_t encrypting;        // 1 encrypt, 0 decrypt
};
static_assert(sizeof(RC2_CTX) == 160 && offsetof(RC2_CTX, chain) == 128 && offsetof(RC2_CTX, iv) == 136 &&
                  offsetof(RC2_CTX, count) == 144 && offsetof(RC2_CTX, buffer) == 148 &&
                  offsetof(RC2_CTX, encrypting) == 156,
              "the layout of RC2_CTX is a contract");

// RC2_EncryptInit and RC2_DecryptInit expand a key of 1 to 128 bytes; parameter is an RC2_PARAMETER. 0, -2, or -3 for
// another length of the key.
int RC2_EncryptInit(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter);
int RC2_DecryptInit(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter);

// RC2_Update: cbc::update. 0, or -2.
int RC2_Update(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
               std::uint32_t* outputLength);

// RC2_Final ends an unpadded message: cbc::plainFinal. The count is checked before anything else, so that a query of
// the size fails too. 0, -2, or -3 for a message that is not whole blocks.
int RC2_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength);

// RC2_FinalPad ends a padded message: cbc::paddedFinal. 0, -2, or -3 for ciphertext that is not whole blocks.
int RC2_FinalPad(void* context, std::uint8_t* output, std::uint32_t* outputLength);

#endif
