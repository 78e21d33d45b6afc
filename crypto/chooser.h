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

using KeyPairGenerate = int (*)(KEY_ITEM** items, std::int32_t bits);

struct SOFT_TABLE {
    DigestInit digestInit;
    DigestUpdate digestUpdate;
    DigestFinal digestFinal;
    CipherInit encryptInit;
    CipherUpdate encryptUpdate;
    CipherFinal encryptFinal;
    CipherInit decryptInit;
    CipherUpdate decryptUpdate;
    CipherFinal decryptFinal;
    RandomSeed seed;
    RandomGenerate generate;
    void (*unused)();
    KeyPairGenerate generateKeyPair;
};
static_assert(sizeof(SOFT_TABLE) == 13 * sizeof(void*), "thirteen slots");

struct CHOOSER {
    CK_SESSION_HANDLE session;
    CK_FUNCTION_LIST* functions;
    SOFT_TABLE* soft;
    std::int32_t useToken;
};
static_assert(offsetof(CHOOSER, functions) == sizeof(void*) && offsetof(CHOOSER, soft) == 2 * sizeof(void*) &&
                  offsetof(CHOOSER, useToken) == 3 * sizeof(void*),
              "the layout of CHOOSER is a contract");

#endif
