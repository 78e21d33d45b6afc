// PKCS#11 (version 2.20): the declarations that the engine and the token layer use, under their published names.
//
// The engine's algorithms and keys are described by PKCS#11 mechanisms and attributes on every path, so that one
// description serves a token as well. CK_ULONG is 32 bits on Windows and a machine word elsewhere. The standard asks
// for structures packed to one byte on Windows, where the pointers of a function list then stand at odd places, and for
// natural alignment elsewhere.
//
// Functions that nobody here calls are in the list for their place only.
#ifndef VT_CRYPTO_PKCS11_H
#define VT_CRYPTO_PKCS11_H

#include <cstddef>

using CK_BYTE = unsigned char;
using CK_BBOOL = unsigned char;
using CK_ULONG = unsigned long;
using CK_FLAGS = CK_ULONG;
using CK_RV = CK_ULONG;
using CK_SLOT_ID = CK_ULONG;
using CK_SESSION_HANDLE = CK_ULONG;
using CK_OBJECT_HANDLE = CK_ULONG;
using CK_MECHANISM_TYPE = CK_ULONG;
using CK_ATTRIBUTE_TYPE = CK_ULONG;
using CK_USER_TYPE = CK_ULONG;
using CK_NOTIFICATION = CK_ULONG;

inline constexpr CK_BBOOL CK_FALSE = 0;
inline constexpr CK_BBOOL CK_TRUE = 1;

inline constexpr CK_MECHANISM_TYPE CKM_RSA_PKCS_KEY_PAIR_GEN = 0x000;
inline constexpr CK_MECHANISM_TYPE CKM_RSA_PKCS = 0x001;
inline constexpr CK_MECHANISM_TYPE CKM_MD2_RSA_PKCS = 0x004;
inline constexpr CK_MECHANISM_TYPE CKM_MD5_RSA_PKCS = 0x005;
inline constexpr CK_MECHANISM_TYPE CKM_SHA1_RSA_PKCS = 0x006;
inline constexpr CK_MECHANISM_TYPE CKM_RC2_CBC = 0x102;
inline constexpr CK_MECHANISM_TYPE CKM_RC2_CBC_PAD = 0x105;
inline constexpr CK_MECHANISM_TYPE CKM_RC4 = 0x111;
inline constexpr CK_MECHANISM_TYPE CKM_DES_CBC = 0x122;
inline constexpr CK_MECHANISM_TYPE CKM_DES_CBC_PAD = 0x125;
inline constexpr CK_MECHANISM_TYPE CKM_DES3_CBC = 0x133;
inline constexpr CK_MECHANISM_TYPE CKM_DES3_CBC_PAD = 0x136;
inline constexpr CK_MECHANISM_TYPE CKM_MD2 = 0x200;
inline constexpr CK_MECHANISM_TYPE CKM_MD5 = 0x210;
inline constexpr CK_MECHANISM_TYPE CKM_SHA_1 = 0x220;
inline constexpr CK_MECHANISM_TYPE CKM_RC5_CBC = 0x332;
inline constexpr CK_MECHANISM_TYPE CKM_RC5_CBC_PAD = 0x335;

inline constexpr CK_ATTRIBUTE_TYPE CKA_CLASS = 0x000;
inline constexpr CK_ATTRIBUTE_TYPE CKA_TOKEN = 0x001;
inline constexpr CK_ATTRIBUTE_TYPE CKA_PRIVATE = 0x002;
inline constexpr CK_ATTRIBUTE_TYPE CKA_LABEL = 0x003;
inline constexpr CK_ATTRIBUTE_TYPE CKA_VALUE = 0x011;
inline constexpr CK_ATTRIBUTE_TYPE CKA_CERTIFICATE_TYPE = 0x080;
inline constexpr CK_ATTRIBUTE_TYPE CKA_KEY_TYPE = 0x100;
inline constexpr CK_ATTRIBUTE_TYPE CKA_SENSITIVE = 0x103;
inline constexpr CK_ATTRIBUTE_TYPE CKA_ENCRYPT = 0x104;
inline constexpr CK_ATTRIBUTE_TYPE CKA_DECRYPT = 0x105;
inline constexpr CK_ATTRIBUTE_TYPE CKA_WRAP = 0x106;
inline constexpr CK_ATTRIBUTE_TYPE CKA_UNWRAP = 0x107;
inline constexpr CK_ATTRIBUTE_TYPE CKA_SIGN = 0x108;
inline constexpr CK_ATTRIBUTE_TYPE CKA_VERIFY = 0x10A;
inline constexpr CK_ATTRIBUTE_TYPE CKA_MODULUS = 0x120;
inline constexpr CK_ATTRIBUTE_TYPE CKA_MODULUS_BITS = 0x121;
inline constexpr CK_ATTRIBUTE_TYPE CKA_PUBLIC_EXPONENT = 0x122;
inline constexpr CK_ATTRIBUTE_TYPE CKA_PRIVATE_EXPONENT = 0x123;
inline constexpr CK_ATTRIBUTE_TYPE CKA_PRIME_1 = 0x124;
inline constexpr CK_ATTRIBUTE_TYPE CKA_PRIME_2 = 0x125;
inline constexpr CK_ATTRIBUTE_TYPE CKA_EXPONENT_1 = 0x126;
inline constexpr CK_ATTRIBUTE_TYPE CKA_EXPONENT_2 = 0x127;
inline constexpr CK_ATTRIBUTE_TYPE CKA_COEFFICIENT = 0x128;
inline constexpr CK_ATTRIBUTE_TYPE CKA_EXTRACTABLE = 0x162;

inline constexpr CK_ULONG CKO_CERTIFICATE = 1;
inline constexpr CK_ULONG CKO_PUBLIC_KEY = 2;
inline constexpr CK_ULONG CKO_PRIVATE_KEY = 3;
inline constexpr CK_ULONG CKO_SECRET_KEY = 4;
inline constexpr CK_ULONG CKK_RSA = 0x00;
inline constexpr CK_ULONG CKK_RC2 = 0x11;
inline constexpr CK_ULONG CKK_RC4 = 0x12;
inline constexpr CK_ULONG CKK_DES = 0x13;
inline constexpr CK_ULONG CKK_DES3 = 0x15;
inline constexpr CK_ULONG CKC_X_509 = 0;
inline constexpr CK_USER_TYPE CKU_USER = 1;
inline constexpr CK_FLAGS CKF_OS_LOCKING_OK = 2;
inline constexpr CK_FLAGS CKF_RW_SESSION = 2;
inline constexpr CK_FLAGS CKF_SERIAL_SESSION = 4;
inline constexpr CK_RV CKR_OK = 0;
inline constexpr CK_ULONG CK_EFFECTIVELY_INFINITE = 0;
inline constexpr CK_ULONG CK_UNAVAILABLE_INFORMATION = ~CK_ULONG{0};

#if defined(_WIN32)
#pragma pack(push, 1)
#endif

// A mechanism record: CK_MECHANISM, by the names that this program has for its fields.
struct MECHANISM {
    CK_MECHANISM_TYPE code;
    void* parameter;
    CK_ULONG parameterLength;
};

// An attribute record: CK_ATTRIBUTE.
struct ATTRIBUTE {
    CK_ATTRIBUTE_TYPE type;
    void* value;
    CK_ULONG valueLength;
};

struct CK_VERSION {
    CK_BYTE major;
    CK_BYTE minor;
};

struct CK_TOKEN_INFO {
    CK_BYTE label[32];  // padded with blanks, not terminated
    CK_BYTE manufacturerID[32];
    CK_BYTE model[16];
    CK_BYTE serialNumber[16];
    CK_FLAGS flags;
    CK_ULONG ulMaxSessionCount;
    CK_ULONG ulSessionCount;
    CK_ULONG ulMaxRwSessionCount;
    CK_ULONG ulRwSessionCount;
    CK_ULONG ulMaxPinLen;
    CK_ULONG ulMinPinLen;
    CK_ULONG ulTotalPublicMemory;
    CK_ULONG ulFreePublicMemory;
    CK_ULONG ulTotalPrivateMemory;
    CK_ULONG ulFreePrivateMemory;
    CK_VERSION hardwareVersion;
    CK_VERSION firmwareVersion;
    CK_BYTE utcTime[16];
};

using CK_CREATEMUTEX = CK_RV (*)(void** mutex);
using CK_MUTEX_FUNCTION = CK_RV (*)(void* mutex);

struct CK_C_INITIALIZE_ARGS {
    CK_CREATEMUTEX CreateMutex;
    CK_MUTEX_FUNCTION DestroyMutex;
    CK_MUTEX_FUNCTION LockMutex;
    CK_MUTEX_FUNCTION UnlockMutex;
    CK_FLAGS flags;
    void* pReserved;
};

using CK_NOTIFY = CK_RV (*)(CK_SESSION_HANDLE session, CK_NOTIFICATION event, void* application);

// A place in the list that nothing here calls.
using CK_UNCALLED = CK_RV (*)();

// Inits by mechanism and key, parts of a message, and what ends one.
using CK_KEYED_INIT = CK_RV (*)(CK_SESSION_HANDLE session, MECHANISM* mechanism, CK_OBJECT_HANDLE key);
using CK_TRANSFORM = CK_RV (*)(CK_SESSION_HANDLE session, CK_BYTE* input, CK_ULONG inputLength, CK_BYTE* output,
                               CK_ULONG* outputLength);
using CK_ABSORB = CK_RV (*)(CK_SESSION_HANDLE session, CK_BYTE* part, CK_ULONG partLength);
using CK_EMIT = CK_RV (*)(CK_SESSION_HANDLE session, CK_BYTE* output, CK_ULONG* outputLength);

struct CK_FUNCTION_LIST {
    CK_VERSION version;
    CK_RV (*C_Initialize)(void* arguments);
    CK_RV (*C_Finalize)(void* reserved);
    CK_UNCALLED C_GetInfo;
    CK_RV (*C_GetFunctionList)(CK_FUNCTION_LIST** list);
    CK_RV (*C_GetSlotList)(CK_BBOOL tokenPresent, CK_SLOT_ID* list, CK_ULONG* count);
    CK_UNCALLED C_GetSlotInfo;
    CK_RV (*C_GetTokenInfo)(CK_SLOT_ID slot, CK_TOKEN_INFO* info);
    CK_UNCALLED C_GetMechanismList;
    CK_UNCALLED C_GetMechanismInfo;
    CK_UNCALLED C_InitToken;
    CK_UNCALLED C_InitPIN;
    CK_UNCALLED C_SetPIN;
    CK_RV(*C_OpenSession)
    (CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify, CK_SESSION_HANDLE* session);
    CK_RV (*C_CloseSession)(CK_SESSION_HANDLE session);
    CK_UNCALLED C_CloseAllSessions;
    CK_UNCALLED C_GetSessionInfo;
    CK_UNCALLED C_GetOperationState;
    CK_UNCALLED C_SetOperationState;
    CK_RV (*C_Login)(CK_SESSION_HANDLE session, CK_USER_TYPE user, CK_BYTE* pin, CK_ULONG pinLength);
    CK_RV (*C_Logout)(CK_SESSION_HANDLE session);
    CK_RV (*C_CreateObject)(CK_SESSION_HANDLE session, ATTRIBUTE* attributes, CK_ULONG count, CK_OBJECT_HANDLE* object);
    CK_UNCALLED C_CopyObject;
    CK_RV (*C_DestroyObject)(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object);
    CK_UNCALLED C_GetObjectSize;
    CK_RV(*C_GetAttributeValue)
    (CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, ATTRIBUTE* attributes, CK_ULONG count);
    CK_UNCALLED C_SetAttributeValue;
    CK_RV (*C_FindObjectsInit)(CK_SESSION_HANDLE session, ATTRIBUTE* attributes, CK_ULONG count);
    CK_RV (*C_FindObjects)(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* objects, CK_ULONG room, CK_ULONG* count);
    CK_RV (*C_FindObjectsFinal)(CK_SESSION_HANDLE session);
    CK_KEYED_INIT C_EncryptInit;
    CK_TRANSFORM C_Encrypt;
    CK_TRANSFORM C_EncryptUpdate;
    CK_EMIT C_EncryptFinal;
    CK_KEYED_INIT C_DecryptInit;
    CK_TRANSFORM C_Decrypt;
    CK_TRANSFORM C_DecryptUpdate;
    CK_EMIT C_DecryptFinal;
    CK_RV (*C_DigestInit)(CK_SESSION_HANDLE session, MECHANISM* mechanism);
    CK_TRANSFORM C_Digest;
    CK_ABSORB C_DigestUpdate;
    CK_UNCALLED C_DigestKey;
    CK_EMIT C_DigestFinal;
    CK_KEYED_INIT C_SignInit;
    CK_TRANSFORM C_Sign;
    CK_ABSORB C_SignUpdate;
    CK_EMIT C_SignFinal;
    CK_UNCALLED C_SignRecoverInit;
    CK_UNCALLED C_SignRecover;
    CK_KEYED_INIT C_VerifyInit;
    CK_RV(*C_Verify)
    (CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLength, CK_BYTE* signature, CK_ULONG signatureLength);
    CK_ABSORB C_VerifyUpdate;
    CK_ABSORB C_VerifyFinal;
    CK_UNCALLED C_VerifyRecoverInit;
    CK_UNCALLED C_VerifyRecover;
    CK_UNCALLED C_DigestEncryptUpdate;
    CK_UNCALLED C_DecryptDigestUpdate;
    CK_UNCALLED C_SignEncryptUpdate;
    CK_UNCALLED C_DecryptVerifyUpdate;
    CK_UNCALLED C_GenerateKey;
    CK_RV(*C_GenerateKeyPair)
    (CK_SESSION_HANDLE session, MECHANISM* mechanism, ATTRIBUTE* publicAttributes, CK_ULONG publicCount,
     ATTRIBUTE* privateAttributes, CK_ULONG privateCount, CK_OBJECT_HANDLE* publicKey, CK_OBJECT_HANDLE* privateKey);
    CK_UNCALLED C_WrapKey;
    CK_UNCALLED C_UnwrapKey;
    CK_UNCALLED C_DeriveKey;
    CK_ABSORB C_SeedRandom;
    CK_RV (*C_GenerateRandom)(CK_SESSION_HANDLE session, CK_BYTE* output, CK_ULONG length);
    CK_UNCALLED C_GetFunctionStatus;
    CK_UNCALLED C_CancelFunction;
    CK_UNCALLED C_WaitForSlotEvent;
};

#if defined(_WIN32)
#pragma pack(pop)
#endif

using CK_MECHANISM = MECHANISM;
using CK_ATTRIBUTE = ATTRIBUTE;
using CK_C_GetFunctionList = CK_RV (*)(CK_FUNCTION_LIST** list);

// The layouts, as the standard gives them for each platform.
#if defined(_WIN32)
inline constexpr std::size_t CK_FIRST_FUNCTION = 2;
inline constexpr std::size_t CK_TOKEN_INFO_SIZE = 160;
#else
inline constexpr std::size_t CK_FIRST_FUNCTION = sizeof(void*);
inline constexpr std::size_t CK_TOKEN_INFO_SIZE = 208;
#endif
static_assert(sizeof(CK_ULONG) == sizeof(void*), "32 bits on Windows, a machine word elsewhere");
static_assert(sizeof(MECHANISM) == 3 * sizeof(void*) && offsetof(MECHANISM, parameter) == sizeof(void*) &&
                  offsetof(MECHANISM, parameterLength) == 2 * sizeof(void*) && sizeof(ATTRIBUTE) == 3 * sizeof(void*) &&
                  offsetof(ATTRIBUTE, value) == sizeof(void*) && offsetof(ATTRIBUTE, valueLength) == 2 * sizeof(void*),
              "modules read these records");
static_assert(sizeof(CK_C_INITIALIZE_ARGS) == 6 * sizeof(void*) &&
                  offsetof(CK_C_INITIALIZE_ARGS, flags) == 4 * sizeof(void*) &&
                  offsetof(CK_C_INITIALIZE_ARGS, pReserved) == 5 * sizeof(void*),
              "modules read this record");
static_assert(offsetof(CK_FUNCTION_LIST, C_Initialize) == CK_FIRST_FUNCTION &&
                  offsetof(CK_FUNCTION_LIST, C_WaitForSlotEvent) == CK_FIRST_FUNCTION + 67 * sizeof(void*) &&
                  sizeof(CK_FUNCTION_LIST) == CK_FIRST_FUNCTION + 68 * sizeof(void*),
              "modules fill this record");
static_assert(sizeof(CK_VERSION) == 2 && sizeof(CK_TOKEN_INFO) == CK_TOKEN_INFO_SIZE &&
                  offsetof(CK_TOKEN_INFO, manufacturerID) == 32 && offsetof(CK_TOKEN_INFO, model) == 64 &&
                  offsetof(CK_TOKEN_INFO, serialNumber) == 80 && offsetof(CK_TOKEN_INFO, flags) == 96 &&
                  offsetof(CK_TOKEN_INFO, ulMaxSessionCount) == 96 + sizeof(CK_ULONG) &&
                  offsetof(CK_TOKEN_INFO, ulSessionCount) == 96 + 2 * sizeof(CK_ULONG) &&
                  offsetof(CK_TOKEN_INFO, ulMaxRwSessionCount) == 96 + 3 * sizeof(CK_ULONG) &&
                  offsetof(CK_TOKEN_INFO, ulRwSessionCount) == 96 + 4 * sizeof(CK_ULONG) &&
                  offsetof(CK_TOKEN_INFO, hardwareVersion) == 96 + 11 * sizeof(CK_ULONG) &&
                  offsetof(CK_TOKEN_INFO, firmwareVersion) == 98 + 11 * sizeof(CK_ULONG) &&
                  offsetof(CK_TOKEN_INFO, utcTime) == 100 + 11 * sizeof(CK_ULONG),
              "modules fill this record");

#endif
