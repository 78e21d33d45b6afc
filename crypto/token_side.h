// The seam to tokens: where the operations of operation.h go when their chooser uses a token.
//
// This room knows PKCS#11's records, but calls no module, save to destroy a session key (AlgFree). The token layer,
// which makes the choosers, installs its entries before it makes the first one for a token.
#ifndef VT_CRYPTO_TOKEN_SIDE_H
#define VT_CRYPTO_TOKEN_SIDE_H

#include "crypto/operation.h"

// One entry for each operation, with the operation's own arguments. The inits find the chooser attached. Arguments
// other than the algorithm object are passed on as they came.
struct TOKEN_SIDE {
    // A digest, in the order of its steps; digest is all of it at once.
    int (*digestInit)(ALG_OBJ* alg);
    decltype(&DigestUpdateOp) digestUpdate;
    decltype(&DigestFinalOp) digestFinal;
    decltype(&DigestOp) digest;
    // Encryption; encrypt is all of it at once.
    int (*encryptInit)(ALG_OBJ* alg, KEY_OBJ* key);
    decltype(&EncryptUpdateOp) encryptUpdate;
    decltype(&EncryptFinalOp) encryptFinal;
    decltype(&EncryptOp) encrypt;
    // Decryption; decrypt is all of it at once.
    int (*decryptInit)(ALG_OBJ* alg, KEY_OBJ* key);
    decltype(&DecryptUpdateOp) decryptUpdate;
    decltype(&DecryptFinalOp) decryptFinal;
    decltype(&DecryptOp) decrypt;
    // Signing; sign is all of it at once.
    int (*signInit)(ALG_OBJ* alg, KEY_OBJ* key);
    decltype(&SignUpdateOp) signUpdate;
    decltype(&SignFinalOp) signFinal;
    decltype(&SignOp) sign;
    // The check of a signature; verify is all of it at once.
    int (*verifyInit)(ALG_OBJ* alg, KEY_OBJ* key);
    decltype(&VerifyUpdateOp) verifyUpdate;
    decltype(&VerifyFinalOp) verifyFinal;
    decltype(&VerifyOp) verify;
    // Random bytes: the seed is mixed in, and the bytes are given.
    int (*randomInit)(ALG_OBJ* alg, const std::uint8_t* seed, std::uint32_t seedLength);
    decltype(&RandomOp) random;
};

// UseTokenSide installs the entries, which must outlive every operation; null takes them away. An operation whose entry
// is absent gives -6.
void UseTokenSide(const TOKEN_SIDE* side);

// TokenSide gives what is installed, or entries that are all absent.
const TOKEN_SIDE& TokenSide();

#endif
