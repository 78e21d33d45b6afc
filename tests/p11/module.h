// What the module's files and RecordingModule must agree upon.
#ifndef VT_TESTS_P11_MODULE_H
#define VT_TESTS_P11_MODULE_H

#include "crypto/pkcs11.h"

// The module's one export beside C_GetFunctionList: every function of the module calls its namesake of this list from
// now on. Null takes the list away; without one C_GetFunctionList gives CKR_GENERAL_ERROR.
inline constexpr char kUseRecorder[] = "VT_P11_UseRecorder";
using UseRecorder = void (*)(const CK_FUNCTION_LIST* recorder);

// All functions of a list in their order.
#define VT_P11_FUNCTIONS(FUNCTION)  \
    FUNCTION(C_Initialize)          \
    FUNCTION(C_Finalize)            \
    FUNCTION(C_GetInfo)             \
    FUNCTION(C_GetFunctionList)     \
    FUNCTION(C_GetSlotList)         \
    FUNCTION(C_GetSlotInfo)         \
    FUNCTION(C_GetTokenInfo)        \
    FUNCTION(C_GetMechanismList)    \
    FUNCTION(C_GetMechanismInfo)    \
    FUNCTION(C_InitToken)           \
    FUNCTION(C_InitPIN)             \
    FUNCTION(C_SetPIN)              \
    FUNCTION(C_OpenSession)         \
    FUNCTION(C_CloseSession)        \
    FUNCTION(C_CloseAllSessions)    \
    FUNCTION(C_GetSessionInfo)      \
    FUNCTION(C_GetOperationState)   \
    FUNCTION(C_SetOperationState)   \
    FUNCTION(C_Login)               \
    FUNCTION(C_Logout)              \
    FUNCTION(C_CreateObject)        \
    FUNCTION(C_CopyObject)          \
    FUNCTION(C_DestroyObject)       \
    FUNCTION(C_GetObjectSize)       \
    FUNCTION(C_GetAttributeValue)   \
    FUNCTION(C_SetAttributeValue)   \
    FUNCTION(C_FindObjectsInit)     \
    FUNCTION(C_FindObjects)         \
    FUNCTION(C_FindObjectsFinal)    \
    FUNCTION(C_EncryptInit)         \
    FUNCTION(C_Encrypt)             \
    FUNCTION(C_EncryptUpdate)       \
    FUNCTION(C_EncryptFinal)        \
    FUNCTION(C_DecryptInit)         \
    FUNCTION(C_Decrypt)             \
    FUNCTION(C_DecryptUpdate)       \
    FUNCTION(C_DecryptFinal)        \
    FUNCTION(C_DigestInit)          \
    FUNCTION(C_Digest)              \
    FUNCTION(C_DigestUpdate)        \
    FUNCTION(C_DigestKey)           \
    FUNCTION(C_DigestFinal)         \
    FUNCTION(C_SignInit)            \
    FUNCTION(C_Sign)                \
    FUNCTION(C_SignUpdate)          \
    FUNCTION(C_SignFinal)           \
    FUNCTION(C_SignRecoverInit)     \
    FUNCTION(C_SignRecover)         \
    FUNCTION(C_VerifyInit)          \
    FUNCTION(C_Verify)              \
    FUNCTION(C_VerifyUpdate)        \
    FUNCTION(C_VerifyFinal)         \
    FUNCTION(C_VerifyRecoverInit)   \
    FUNCTION(C_VerifyRecover)       \
    FUNCTION(C_DigestEncryptUpdate) \
    FUNCTION(C_DecryptDigestUpdate) \
    FUNCTION(C_SignEncryptUpdate)   \
    FUNCTION(C_DecryptVerifyUpdate) \
    FUNCTION(C_GenerateKey)         \
    FUNCTION(C_GenerateKeyPair)     \
    FUNCTION(C_WrapKey)             \
    FUNCTION(C_UnwrapKey)           \
    FUNCTION(C_DeriveKey)           \
    FUNCTION(C_SeedRandom)          \
    FUNCTION(C_GenerateRandom)      \
    FUNCTION(C_GetFunctionStatus)   \
    FUNCTION(C_CancelFunction)      \
    FUNCTION(C_WaitForSlotEvent)

#endif
