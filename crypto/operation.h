// The operations on an algorithm object and a key object: init, update and final, or all in one.
//
//     EncryptInitOp(alg, key, chooser);                       // attaches the chooser, loads key and parameters
//     EncryptOp(alg, input, length, output, &outputLength);
//
// The chooser decides where an operation runs: in this library through its SOFT_TABLE, whose slots the init sets by
// mechanism, or in a token through the entries that the token layer has installed (token_side.h). It stays attached,
// and must live until the object is freed.
//
// What follows holds for the software side.
//
// - An output must have the room that a query of the size reports: an output length is only given, never read. A null
//   output is such a query, wherever a size can be told beforehand, and changes nothing.
// - A failed init leaves the operation closed. After a final another message needs another init.
//
// Codes common to all, besides whatever the entries give:
//
//     -2  an absent object, output length, chooser at an init, or input of more than no bytes
//     -4  at an init: a key that is missing, empty, or of a kind that does not fit the mechanism
//     -5  at what follows: no chooser attached, or none whose init succeeded
//     -6  a mechanism that the operation does not have
//     -7  at an init: a key shorter than what the cipher reads
#ifndef VT_CRYPTO_OPERATION_H
#define VT_CRYPTO_OPERATION_H

#include "crypto/alg_object.h"
#include "crypto/key_object.h"

// Encryption and decryption by CKM_RSA_PKCS, CKM_DES_CBC(_PAD), CKM_DES3_CBC(_PAD), CKM_RC2_CBC(_PAD),
// CKM_RC5_CBC(_PAD) and CKM_RC4. No allocator builds the plain modes and RC5; an object can be given such a mechanism
// by hand.
int EncryptInitOp(ALG_OBJ* alg, KEY_OBJ* key, CHOOSER* chooser);
int DecryptInitOp(ALG_OBJ* alg, KEY_OBJ* key, CHOOSER* chooser);

// ...UpdateOp and ...FinalOp are the entries of the cipher. RSA takes one block at each update, and its final is empty.
int EncryptUpdateOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
                    std::uint32_t* outputLength);
int EncryptFinalOp(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t* outputLength);
int DecryptUpdateOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
                    std::uint32_t* outputLength);
int DecryptFinalOp(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t* outputLength);

// EncryptOp takes a whole message. No input gives no output, for padded modes too. RSA takes the input in chunks of up
// to k - 11 bytes, k being the modulus length, each of which makes a block of k; the other mechanisms report the input
// length + 15 for a query. -3 for a size above 32 bits.
int EncryptOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
              std::uint32_t* outputLength);

// DecryptOp is EncryptOp with chunks of k bytes and at most k - 11 bytes out of each; the last chunk is whatever is
// left.
int DecryptOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
              std::uint32_t* outputLength);

// Signing and verifying by CKM_RSA_PKCS, which signs the data themselves, at most k - 11 bytes, and by
// CKM_MD2_RSA_PKCS, CKM_MD5_RSA_PKCS and CKM_SHA1_RSA_PKCS, which sign their digest. The digest is signed bare, without
// a DigestInfo around it: for a standard signature the caller makes the DigestInfo and signs it by CKM_RSA_PKCS.
int SignInitOp(ALG_OBJ* alg, KEY_OBJ* key, CHOOSER* chooser);
int SignUpdateOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length);
int SignFinalOp(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t* outputLength);
int SignOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
           std::uint32_t* outputLength);

// VerifyUpdateOp under CKM_RSA_PKCS keeps the data for the final: -3 for more than 1025 bytes.
int VerifyInitOp(ALG_OBJ* alg, KEY_OBJ* key, CHOOSER* chooser);
int VerifyUpdateOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length);

// VerifyFinalOp gives 0 for a signature of the data, and -13 for any other. A signature that the RSA operation cannot
// open is -13 under CKM_RSA_PKCS; under a digest mechanism it is that operation's own code.
int VerifyFinalOp(ALG_OBJ* alg, const std::uint8_t* signature, std::uint32_t signatureLength);

// VerifyOp is VerifyUpdateOp and VerifyFinalOp.
int VerifyOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, const std::uint8_t* signature,
             std::uint32_t signatureLength);

// Digests by CKM_MD2, CKM_MD5 and CKM_SHA_1.
int DigestInitOp(ALG_OBJ* alg, CHOOSER* chooser);
int DigestUpdateOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length);
int DigestFinalOp(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t* outputLength);
int DigestOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
             std::uint32_t* outputLength);

// RandomInitOp seeds the generator of HASH_CHAIN_RANDOM_MD2, _MD5 or _SHA1 (hash_chain_random.h): the seed is borrowed
// and must outlive RandomOp. An empty seed works. The output depends on seed and length alone. The generator tells
// nothing: without memory for its working buffer RandomOp gives 0 too, and the output stays as it was.
int RandomInitOp(ALG_OBJ* alg, const std::uint8_t* seed, std::uint32_t seedLength, CHOOSER* chooser);
int RandomOp(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t length);

// GenerateKeyPairOp makes a key pair of the bits in a CKM_RSA_PKCS_KEY_PAIR_GEN object, and sets both shells up with
// it. The key is no secret (rsa.h). 0, -1, -2, -6 for another mechanism or a token's chooser (a key pair in a token has
// labels, which the token layer gives), -11. After a failure of their setup both shells are freed and null.
int GenerateKeyPairOp(ALG_OBJ* alg, KEY_OBJ** publicKey, KEY_OBJ** privateKey, CHOOSER* chooser);

#endif
