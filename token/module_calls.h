// The engine's operations in a token (crypto/operation.h, crypto/token_side.h): which calls of the module each makes.
//
//     digest    C_DigestInit                C_Digest            C_DigestUpdate    C_DigestFinal
//     encrypt   key, then C_EncryptInit     C_Encrypt           C_EncryptUpdate   C_EncryptFinal
//     decrypt   key, then C_DecryptInit     C_Decrypt           C_DecryptUpdate   C_DecryptFinal
//     sign      key, then C_SignInit        C_Sign              C_SignUpdate      C_SignFinal
//     verify    key, then C_VerifyInit      C_Verify            C_VerifyUpdate    C_VerifyFinal
//     random    C_SeedRandom                C_GenerateRandom
//
// The key of an init is made or found first. A key that the program holds becomes a session object by C_CreateObject
// with the key object's attributes, once for an algorithm object, and AlgFree destroys it. A key of the token is found
// by its label: C_FindObjectsInit, C_FindObjects for one object and C_FindObjectsFinal, all three in any case. If the
// first two fail or find nothing, that is -19, to which the code of the last is added.
//
//   * What the module answers is passed up unchanged.
//   * *outputLength is read as well as written: on entry it holds the room of the output, which the module is told.
//     A null output asks for the size. On failure it is untouched.
//   * -2  input or output length absent; -4 a key that is absent or empty; -3 an output that is longer than its room or
//     than 32 bits can tell, and, for the updates of CKM_RSA_PKCS, input of more than 117 bytes to encrypt and 128 to
//     decrypt: they count with a key of 1024 bits, whatever the key. One-shots take input of any size.
#ifndef VT_TOKEN_MODULE_CALLS_H
#define VT_TOKEN_MODULE_CALLS_H

// InstallTokenSide makes the engine's operations find these entries. CreateChooserObject calls it for each chooser of
// the token path; it may be called any number of times.
void InstallTokenSide();

#endif
