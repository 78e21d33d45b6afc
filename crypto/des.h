// DES (FIPS 46) in CBC mode (FIPS 81), with PKCS#5 padding or none. crypto/cbc.h tells how messages are streamed.
//
// The context is loaded for one direction. In the decrypt direction the subkeys stand in reverse order, so that the
// rounds have one form.
#ifndef VT_CRYPTO_DES_H
#define VT_CRYPTO_DES_H

#include <cstddef>
#include <cstdint>

// What DES in CBC mode keeps from one call to the next. It owns no memory.
struct DES_CTX {
    std::uint32_t subkeys[32];  // pairs, in the order of the direction; crypto/des_rounds.h draws them
    std::uint32_t chain[2];     // current chaining value, big-endian words
    std::uint32_t iv[2];        // the initial value as given
    std::int32_t encrypting;    // 1 encrypt, 0 decrypt
    std::uint8_t buffer[8];     // block being filled
    std::int32_t count;         // bytes in buffer, 0 to 8
};
static_assert(sizeof(DES_CTX) == 160 && offsetof(DES_CTX, chain) == 128 && offsetof(DES_CTX, iv) == 136 &&
                  offsetof(DES_CTX, encrypting) == 144 && offsetof(DES_CTX, buffer) == 148 &&
                  offsetof(DES_CTX, count) == 156,
              "the layout of DES_CTX is a contract");

// DES_EncryptInit and DES_DecryptInit load the first 8 bytes of the key, whatever keyLength says: the key objects above
// hold the rule of lengths. parameter is the 8 bytes of initial value. Parity bits are neither checked nor corrected.
// 0, or -2.
int DES_EncryptInit(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter);
int DES_DecryptInit(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter);

// DES_Update: cbc::update. 0, or -2.
int DES_Update(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
               std::uint32_t* outputLength);

// DES_Final ends an unpadded message: cbc::plainFinal. The count is checked before anything else, so that a query of
// the size fails too. 0, -2, or -3 for a message that is not whole blocks.
int DES_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength);

// DES_FinalPad ends a padded message: cbc::paddedFinal. 0, -2, or -3 for ciphertext that is not whole blocks.
int DES_FinalPad(void* context, std::uint8_t* output, std::uint32_t* outputLength);

#endif
