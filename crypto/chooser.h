// CHOOSER: where an operation runs, in this library or in a token.
//
//                 session   functions   soft    useToken
//     software    0         null        table   0
//     token       set       set         null    1
//
// The token layer makes choosers and frees them. A chooser runs one operation at a time: each init clears the table and
// fills the slots of its own operation.
#ifndef VT_CRYPTO_CHOOSER_H
#define VT_CRYPTO_CHOOSER_H

#include "crypto/entries.h"
#include "crypto/pkcs11.h"
#include "crypto/rsa.h"

// As RSA_GenerateKeyItems (rsa.h).
using KeyPairGenerate = int (*)(KEY_ITEM** items, std::int32_t bits);

// What an operation runs in software, by its shapes (entries.h); null where the operation at hand has no such step.
struct SOFT_TABLE {
    DigestInit digestInit;            // of the digest, also under a signature
    DigestUpdate digestUpdate;        // likewise
    DigestFinal digestFinal;          // likewise
    CipherInit encryptInit;           // of the cipher, or of RSA when it encrypts or signs
    CipherUpdate encryptUpdate;       // likewise
    CipherFinal encryptFinal;         // likewise
    CipherInit decryptInit;           // of the cipher, or of RSA when it decrypts or verifies
    CipherUpdate decryptUpdate;       // likewise
    CipherFinal decryptFinal;         // likewise
    RandomSeed seed;                  // of the seeded generator
    RandomGenerate generate;          // likewise
    void (*unused)();                 // keeps the place of the slots behind it
    KeyPairGenerate generateKeyPair;  // of RSA
};
static_assert(sizeof(SOFT_TABLE) == 13 * sizeof(void*), "thirteen slots");

struct CHOOSER {
    CK_SESSION_HANDLE session;    // open in the module, or 0
    CK_FUNCTION_LIST* functions;  // the module's, or null
    SOFT_TABLE* soft;             // owned, or null
    std::int32_t useToken;        // 1 for a token, 0 for software
};
static_assert(offsetof(CHOOSER, functions) == sizeof(void*) && offsetof(CHOOSER, soft) == 2 * sizeof(void*) &&
                  offsetof(CHOOSER, useToken) == 3 * sizeof(void*),
              "the layout of CHOOSER is a contract");

#endif
