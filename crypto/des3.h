// Triple DES with three keys (encrypt, decrypt, encrypt) in CBC mode, with PKCS#5 padding or none. crypto/cbc.h tells
// how messages are streamed.
//
// The three stages always run in the order 1, 2, 3; what differs by direction is what is loaded into them:
//
//              stage 1                  stage 2                 stage 3
//     encrypt  bytes 0..7, encrypting   bytes 8..15, decrypting bytes 16..23, encrypting
//     decrypt  bytes 16..23, decrypting bytes 8..15, encrypting bytes 0..7, decrypting
#ifndef VT_CRYPTO_DES3_H
#define VT_CRYPTO_DES3_H

#include <cstddef>
#include <cstdint>

// What triple DES in CBC mode keeps from one call to the next. It owns no memory.
struct DES3_CTX {
    std::uint32_t subkeys1[32];  // first stage, as in DES_CTX
    std::uint32_t subkeys2[32];  // second stage
    std::uint32_t subkeys3[32];  // third stage
    std::uint32_t chain[2];      // current chaining value, big-endian words
    std::uint32_t iv[2];         // the initial value as given
    std::int32_t encrypting;     // 1 encrypt, 0 decrypt
    std::uint8_t buffer[8];      // block being filled
    std::int32_t count;          // bytes in buffer, 0 to 8
};
static_assert(sizeof(DES3_CTX) == 416 && offsetof(DES3_CTX, subkeys2) == 128 && offsetof(DES3_CTX, subkeys3) == 256 &&
                  offsetof(DES3_CTX, chain) == 384 && offsetof(DES3_CTX, iv) == 392 &&
                  offsetof(DES3_CTX, encrypting) == 400 && offsetof(DES3_CTX, buffer) == 404 &&
                  offsetof(DES3_CTX, count) == 412,
              "the layout of DES3_CTX is a contract");

// DES3_EncryptInit and DES3_DecryptInit load the first 24 bytes of the key, whatever keyLength says: the key objects
// above hold the rule of lengths. parameter is the 8 bytes of initial value. 0, or -2.
int DES3_EncryptInit(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter);
int DES3_DecryptInit(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter);

// DES3_Update: cbc::update. 0, or -2.
int DES3_Update(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
                std::uint32_t* outputLength);

// DES3_Final ends an unpadded message: cbc::plainFinal. Unlike the other ciphers it checks the count only when an
// output is given, so that a query of the size never fails, and a failure leaves the length 0. 0, -2, or -3 for a
// message that is not whole blocks.
int DES3_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength);

// DES3_FinalPad ends a padded message: cbc::paddedFinal. 0, -2, or -3 for ciphertext that is not whole blocks.
int DES3_FinalPad(void* context, std::uint8_t* output, std::uint32_t* outputLength);

#endif
