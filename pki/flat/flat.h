/* The flat interface: plain records and functions of C linkage over the toolkit. C99 as well as C++.
 *
 * Conventions, said once:
 *  - A function that returns int32_t gives 0 for success and a code below otherwise, unless it says something else.
 *  - Lengths are in bytes. Numbers in records are big-endian byte strings.
 *  - Every buffer that a function hands out comes from T_malloc, with a zero byte behind its data that the length does
 *    not count. The caller frees it with T_free. An output record is overwritten, never read or freed first.
 *  - Nothing takes a lock. A record or a list belongs to one caller at a time.
 *
 * What stands where, by the headings below:
 *
 *     Codes                              the codes that this interface gives by itself
 *     Records                            PKCS_Blob, PKCS_Alg, PKCS_*Key; PKCS_Init*, PKCS_Free*
 *     Memory and text                    T_malloc, T_free and their like
 *     Lists                              VT_List, VT_CreateList to VT_DestroyList
 *     Microsoft public keys              VT_MSPubKeyToVPK, VT_MSPubKeyToP1Der
 *     Libraries, files and diagnostics   VT_LoadLibrary, VT_GetFileLen, VT_Log, VT_PrintBuf
 *     Contexts and PKCS#11 modules       PKCS_Ctx; PKCS_Initialize, PKCS_Finalize, PKCS_CreateCtx, PKCS_DestroyCtx
 *     Data and signed messages           PKCS7_GetMsgType; PKCS7_Read*, PKCS7_Write*; PKCS7_GetLeafCert
 *     Digested, encrypted and enveloped messages   the rest of PKCS7_Read* and PKCS7_Write*
 *     PFX files and certificates         VT_GenPFX, VT_Get*FromPFX; VT_Verify*, VT_Check*, VT_Get*FromCert
 *     Forms of RSA keys                  between Microsoft blobs, records and the DER of PKCS#1; VT_RSABig*
 *     Key objects and tokens             VTPKCS_KeyObj
 *     Work with key objects and tokens   VTPKCS_*: key objects, signed messages, requests, tokens, base64
 */
#ifndef VT_PKI_FLAT_FLAT_H
#define VT_PKI_FLAT_FLAT_H

/* A C header: typedef, <stdint.h> and (void) are the language. NOLINTBEGIN(modernize-*) */
#include <stddef.h>
#include <stdint.h>

#include "foundation/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Codes ------------------------------------------------------------------------------------------------------ */

enum {
    VT_E_KEY_BITS = -1008,         /* a Microsoft key blob of another bit length than 512, 1024 or 2048 */
    VT_E_NULL_ARGUMENT = -1010,    /* a null argument; malformed DER too, in the functions that say so */
    VT_E_BUFFER_TOO_SMALL = -1019, /* the caller's buffer is too small */
    VT_E_MEMORY = -1031,           /* memory allocation failed */
    VT_E_MALFORMED = -3000,        /* malformed DER */
    VT_E_NO_CERTIFICATES = 8014    /* PKCS7_GetLeafCert got no certificates */
};

/* The list functions have small codes of their own. */
enum {
    VT_LIST_E_NODE_MEMORY = -1, /* a node cannot be allocated */
    VT_LIST_E_DATA_MEMORY = -2, /* its data cannot be allocated */
    VT_LIST_E_NEGATIVE = -3,    /* a negative index */
    VT_LIST_E_ARGUMENT = -4     /* null or empty data, a null list, or an index past the end */
};

/* ---- Records ---------------------------------------------------------------------------------------------------- */

/* Bytes and their number. */
typedef struct PKCS_Blob {
    uint8_t* data;   /* null for none */
    uint32_t length; /* in bytes */
} PKCS_Blob;

/* An algorithm with its parameters. iv may be null. */
typedef struct PKCS_Alg {
    int32_t algType;        /* 1 SHA-1, 2 MD5, 3 MD2, 4 DES, 5 triple DES, 6 RC2, 7 RC4, 8 RSA (token/alg.h) */
    uint8_t* iv;            /* initial value of a block cipher */
    uint32_t ivLength;      /* in bytes */
    uint32_t effectiveBits; /* of an RC2 key */
} PKCS_Alg;

/* A session key. keyLength is the length that the cipher is told, which can differ from the bytes at hand. */
typedef struct PKCS_Key {
    uint8_t* data;      /* the key */
    uint32_t length;    /* in bytes */
    uint32_t keyLength; /* the length that the cipher is told, in bytes */
} PKCS_Key;

/* An RSA public key (PKCS#1 RSAPublicKey). */
typedef struct PKCS_PubKey {
    PKCS_Blob modulus;        /* n */
    PKCS_Blob publicExponent; /* e */
} PKCS_PubKey;

/* An RSA private key (PKCS#1 RSAPrivateKey). */
typedef struct PKCS_PriKey {
    PKCS_Blob modulus;         /* n */
    PKCS_Blob publicExponent;  /* e */
    PKCS_Blob privateExponent; /* d */
    PKCS_Blob prime1;          /* p */
    PKCS_Blob prime2;          /* q */
    PKCS_Blob exponent1;       /* privateExponent mod (prime1 - 1) */
    PKCS_Blob exponent2;       /* privateExponent mod (prime2 - 1) */
    PKCS_Blob coefficient;     /* inverse of prime2 mod prime1 */
} PKCS_PriKey;

/* PKCS_InitAlg, PKCS_InitKey, PKCS_InitPubKey, PKCS_InitPriKey fill a record with zeros, whatever it held. A null
 * pointer is accepted. Always 0. */
VT_API int32_t PKCS_InitAlg(PKCS_Alg* alg);
VT_API int32_t PKCS_InitKey(PKCS_Key* key);
VT_API int32_t PKCS_InitPubKey(PKCS_PubKey* key);
VT_API int32_t PKCS_InitPriKey(PKCS_PriKey* key);

/* PKCS_FreeAlg, PKCS_FreeKey, PKCS_FreePubKey, PKCS_FreePriKey free every buffer of a record with T_free and fill the
 * record with zeros, so that freeing it again does no harm. The record itself stays the caller's. A null pointer is
 * accepted. Always 0. Key bytes are not wiped. */
VT_API int32_t PKCS_FreeAlg(PKCS_Alg* alg);
VT_API int32_t PKCS_FreeKey(PKCS_Key* key);
VT_API int32_t PKCS_FreePubKey(PKCS_PubKey* key);
VT_API int32_t PKCS_FreePriKey(PKCS_PriKey* key);

/* ---- Memory and text -------------------------------------------------------------------------------------------- */

/* T_malloc gives size + 1 bytes, all zero, so that text and data always end in a zero byte. Null if there is no memory;
 * a size of 0 gives one byte. The caller frees them with T_free. */
VT_API void* T_malloc(size_t size);

/* T_realloc is realloc: exactly size bytes, none of them zeroed. On failure null, and the old buffer stays. */
VT_API void* T_realloc(void* buffer, size_t size);

/* T_free is free. Null is accepted. */
VT_API void T_free(void* buffer);

/* T_memset, T_memcpy, T_memmove, T_memcmp, T_strlen, T_strcpy, T_strcmp are the functions of <string.h>. */
VT_API void* T_memset(void* buffer, int value, size_t length);
VT_API void* T_memcpy(void* to, const void* from, size_t length);
VT_API void* T_memmove(void* to, const void* from, size_t length);
VT_API int T_memcmp(const void* left, const void* right, size_t length);
VT_API size_t T_strlen(const char* text);
VT_API char* T_strcpy(char* to, const char* from);
VT_API int T_strcmp(const char* left, const char* right);

/* ---- Lists ------------------------------------------------------------------------------------------------------ */

/* A singly linked list of byte strings, such as the certificates of a message. The list is known by its head, a node
 * like any other, whose data is a text that nobody reads. Every further node owns a copy of its data with a zero byte
 * behind it.
 *
 * A caller may walk the nodes by next and read them. Only the functions below may link and unlink them: the head
 * remembers where the list ends and where the last look-up stood, so that filling a list and reading it in order take
 * time in proportion to its length. */
typedef struct VT_List {
    uint8_t* data;        /* the node's own copy */
    uint32_t length;      /* in bytes */
    struct VT_List* next; /* null for the last */
    uint8_t spare;        /* not used */
} VT_List;

/* VT_CreateList stores an empty list. -1 if the head cannot be allocated or list is null; -2 if its text cannot; *list
 * is null then. The caller frees the list with VT_DestroyList. */
VT_API int32_t VT_CreateList(VT_List** list);

/* VT_AddListNode copies the data into a new node at the end. -4 for a null list, null data or zero length; -1 or -2 for
 * exhausted memory (the node, its data). The list is as before then. */
VT_API int32_t VT_AddListNode(VT_List* list, const uint8_t* data, uint32_t length);

/* VT_GetListNodeTotal stores the number of nodes without the head. A null list has 0. -4 for a null total. */
VT_API int32_t VT_GetListNodeTotal(const VT_List* list, uint32_t* total);

/* VT_GetListNodeByIndex stores the length of a node, counted from 0 without the head, and copies its data to out. The
 * size of out is not checked; with a null out only the length is stored, which may be null as well. -3 for a negative
 * index; -4 for a null list or an index past the end. Nothing is stored then. */
VT_API int32_t VT_GetListNodeByIndex(const VT_List* list, int32_t index, uint8_t* out, uint32_t* length);

/* VT_DestroyList frees all nodes, the head included. The caller's pointer is left as it is and must not be used again.
 * Null, and a pointer to null, are accepted. Always 0. */
VT_API int32_t VT_DestroyList(VT_List** list);

/* ---- Microsoft public keys -------------------------------------------------------------------------------------- */

/* Both converters read a Microsoft PUBLICKEYBLOB (wincrypt.h: PUBLICKEYSTRUC, RSAPUBKEY, modulus, all little-endian) of
 * 512, 1024 or 2048 bits. They look at nothing of its header but the bit length, and trust it: the blob must have
 * 20 + bit length / 8 bytes. */

/* VT_MSPubKeyToVPK gives the numbers of the key. The modulus has bit length / 8 bytes; the exponent is the shortest
 * two's complement of the unsigned exponent word, so 65537 is 01 00 01, a set top bit has a zero byte in front, and 0
 * has no bytes. unused is not looked at. -1010 for a null blob or key; -1008 for another bit length; -1031 for
 * exhausted memory; key is untouched then. The caller frees the numbers with PKCS_FreePubKey. */
VT_API int32_t VT_MSPubKeyToVPK(void* unused, const uint8_t* blob, PKCS_PubKey* key);

/* VT_MSPubKeyToP1Der writes the key as DER RSAPublicKey (PKCS#1, RFC 8017 A.1.1). With a null der it stores the length
 * alone; otherwise *length holds the capacity of der and receives the length. -1010 for a null blob or length; -1008
 * and -1031 as above; -1019 if der is too small. *length is untouched then. */
VT_API int32_t VT_MSPubKeyToP1Der(const uint8_t* blob, uint8_t* der, uint32_t* length);

/* ---- Libraries, files and diagnostics --------------------------------------------------------------------------- */

/* Any function; the caller casts it to the type it has. */
typedef void (*VT_Func)(void);

/* VT_LoadLibrary is LoadLibrary of the platform (the platform's loader elsewhere). Null on failure or for a null path.
 * The caller gives the library back with VT_FreeLibrary. */
VT_API void* VT_LoadLibrary(const char* path);

/* VT_GetFuncAddress is GetProcAddress. Null if the library has no such name, or for a null library or name. */
VT_API VT_Func VT_GetFuncAddress(void* library, const char* name);

/* VT_FreeLibrary is FreeLibrary: non-zero for success, 0 on failure or for a null library. */
VT_API int32_t VT_FreeLibrary(void* library);

/* VT_GetFileLen gives the size of a file as stat has it. A file that cannot be looked at, or a null path, has 0. */
VT_API int64_t VT_GetFileLen(const char* path);

/* Has the compiler check the arguments of VT_Log against its format. */
#if defined(__clang__)
#define VT_PRINTF_LIKE __attribute__((format(printf, 1, 2)))
#elif defined(__GNUC__)
#define VT_PRINTF_LIKE __attribute__((format(gnu_printf, 1, 2)))
#else
#define VT_PRINTF_LIKE
#endif

/* VT_Log writes to standard output as printf does. Gives the number of characters, or a negative number on failure and
 * for a null format. */
VT_API int32_t VT_Log(const char* format, ...) VT_PRINTF_LIKE;

/* VT_PrintBuf writes bytes to standard output by VT_Log: the title, if there is one, as "title (n bytes):", then
 * sixteen bytes a line in hex. Null bytes are written as "00". */
VT_API void VT_PrintBuf(const char* title, const uint8_t* bytes, uint32_t length);

/* ---- Contexts and PKCS#11 modules ------------------------------------------------------------------------------- */

#ifdef __cplusplus
}
class VT_P11_OP;
extern "C" {
#else
typedef struct VT_P11_OP VT_P11_OP;
#endif

/* A context: what the message functions compute with. It belongs to one caller at a time. */
typedef struct PKCS_Ctx {
    VT_P11_OP* operation;    /* owned */
    uint32_t chooserCreated; /* 1 if the operation has a chooser */
    uint8_t spare[2];        /* not used */
} PKCS_Ctx;

/* Where a context computes. If both texts are there and a module is loaded, that is the token of the newest module;
 * else this library's own engine. The other words are carried along. */
typedef struct PKCS_Settings {
    uint32_t first;    /* not looked at */
    const char* text1; /* borrowed; null for none */
    uint32_t length1;  /* in bytes */
    const char* text2; /* borrowed; null for none */
    uint32_t length2;  /* in bytes */
    uint32_t unused;   /* not looked at */
} PKCS_Settings;

/* PKCS_GetVersion gives a constant text that begins "VTF4C 0.99(beta) Build20030320". */
VT_API const char* PKCS_GetVersion(void);

/* PKCS_Initialize loads a PKCS#11 module by its file name, finds the first token whose label begins with the one given
 * (PKCS#11 C_GetTokenInfo), and logs in with the PIN. A null module loads nothing and gives 0. The contexts made from
 * then on can use the token. Codes: -20 if the module does not load, -17 if it is no PKCS#11 module or has no token,
 * -21 if no token has the label, and positive ones of the module, such as 160 for a wrong PIN. */
VT_API int32_t PKCS_Initialize(const char* module, const char* label, const char* pin);

/* PKCS_Finalize logs out of the newest module and unloads it; 0 if none is loaded. Destroy its contexts before. */
VT_API int32_t PKCS_Finalize(void);

/* PKCS_CreateCtx stores a new context; null settings are settings of zeros, which choose the software. -1010 for a null
 * ctx, -1031 or -1 for exhausted memory, -17 for a module that is none; *ctx is null then. A token that refuses a
 * session gives a context all the same, whose operations fail with -2. The caller gives the context back with
 * PKCS_DestroyCtx. */
VT_API int32_t PKCS_CreateCtx(PKCS_Ctx** ctx, const PKCS_Settings* settings);

/* PKCS_DestroyCtx frees a context and stores null. Null, and a pointer to null, are accepted. Always 0. */
VT_API int32_t PKCS_DestroyCtx(PKCS_Ctx** ctx);

/* ---- Data and signed messages ----------------------------------------------------------------------------------- */

/* PKCS#7 messages (RFC 2315) in DER.
 *
 * The Write functions but PKCS7_WriteDataMsg take raw bytes, or a message, which is nested as it stands: whatever
 * PKCS7_GetMsgType does not give 0 for. The Read functions give raw bytes, or the inner message whole where it is not
 * data.
 *
 * What all have in common:
 *
 *     0        success
 *     -1001    a required element of the message is absent
 *     -1003    a blob that must have data has none, or the message has no content
 *     -1006    an algorithm or a mode that is not supported
 *     -1009    a message of another type
 *     -1010    a null argument that is not optional
 *     -1013    the context has no operation object
 *     -1031    exhausted memory
 *     -3000    malformed DER (PKCS7_WriteSignedDataMsg: -1010)
 *     other    codes of the engine and of the token
 *
 * An output blob is written on success alone. The caller frees it with T_free. */

/* What PKCS7_GetMsgType gives. */
enum {
    PKCS7_UNKNOWN = 0,
    PKCS7_DATA = 1,
    PKCS7_ENCRYPTED = 2,
    PKCS7_DIGESTED = 3,
    PKCS7_SIGNED = 4,
    PKCS7_ENVELOPED = 5,
    PKCS7_SIGNED_AND_ENVELOPED = 6
};

/* Whether a message carries its content. */
enum { PKCS7_ATTACHED = 1, PKCS7_DETACHED = 2 };

/* PKCS7_GetMsgType tells the type of a message by its content type alone. Bytes that are no message are PKCS7_UNKNOWN
 * (0), malformed DER included. -1001 for a message without a content type, -1003 for a null data pointer, -1010 for a
 * null argument. */
VT_API int32_t PKCS7_GetMsgType(PKCS_Ctx* ctx, const PKCS_Blob* message);

/* PKCS7_ReadDataMsg gives the bytes of a data message. */
VT_API int32_t PKCS7_ReadDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, PKCS_Blob* data);

/* PKCS7_WriteDataMsg makes a data message of any bytes, those of another message included. */
VT_API int32_t PKCS7_WriteDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* data, PKCS_Blob* message);

/* PKCS7_WriteSignedDataMsg signs data (RSA, PKCS#1 v1.5). digest is 1 (SHA-1), 2 (MD5) or 3 (MD2); signature is 8
 * (RSA). signerCertificate is the X.509 certificate of the key, which goes into the message first; certificates and
 * certificateLists, which may be null, are lists of DER that follow it. mode is PKCS7_ATTACHED, or PKCS7_DETACHED for a
 * message without the data; any other gives -1003. The signer has no authenticated attributes. That the key belongs to
 * the certificate is not checked. */
VT_API int32_t PKCS7_WriteSignedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* data, const PKCS_Alg* digest,
                                        const PKCS_Alg* signature, int32_t mode, const PKCS_Blob* signerCertificate,
                                        const PKCS_PriKey* key, const VT_List* certificates,
                                        const VT_List* certificateLists, PKCS_Blob* message);

/* PKCS7_ReadSignedDataMsg verifies a message. certificates and certificateLists, which may be null, receive the
 * certificates and revocation lists of the message as DER, behind what they hold; what they received stays there when
 * the function fails. With PKCS7_ATTACHED, data receives the content; with PKCS7_DETACHED, data has the content and is
 * left as it is.
 *
 * The first signer that verifies makes the message good. A signer is checked by the certificate of the message that has
 * its issuer and serial number; one without such a certificate is passed over, and so is one whose digest differs.
 * Nothing is asked of the certificates themselves: neither who issued them nor whether they are still valid. With a
 * signerCertificate, which may be null, no signer is found: callers rely on -1017 there.
 *
 *     -1003         attached content is asked for and there is none; so for a message of certificates alone, which
 *                   fills the list
 *     -1017         no signer verified
 *     -1009, -1018, -1020, -1021, -1022   what is wrong with a signer (pki/signer_info.h); it ends the call */
VT_API int32_t PKCS7_ReadSignedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, int32_t mode,
                                       const PKCS_Blob* signerCertificate, VT_List* certificates,
                                       VT_List* certificateLists, PKCS_Blob* data);

/* PKCS7_GetLeafCert gives the first certificate of a list that issued none of the others, as subjects and issuers tell:
 * the end of a chain in any order. A lone certificate is the leaf. 8014 for a null or an empty list; -1001 if each
 * issued another; -1010 for a null der or length, and for something that is no certificate; -1031 for exhausted memory.
 * The caller frees *der with T_free. */
VT_API int32_t PKCS7_GetLeafCert(const VT_List* list, uint8_t** der, uint32_t* length);

/* ---- Digested, encrypted and enveloped messages ----------------------------------------------------------------- */

/* The other kinds of PKCS#7 messages (RFC 2315), under the rules of the signed ones: a context carries the operations,
 * the Write functions take raw bytes or a message to be nested, and the Read functions give raw bytes, or the inner
 * message whole where it is not data. An inner message that was encrypted comes back with its content as an OCTET
 * STRING, as encryption keeps the content's bytes alone.
 *
 * What all have in common:
 *
 *     0        success
 *     -1001    a required element of the message is absent
 *     -1003    a blob that must have data has none
 *     -1006    an algorithm or a mode that is not supported
 *     -1009    a message of another type
 *     -1010    a null argument that is not optional, or malformed DER (PKCS7_ReadDigestedDataMsg: -3000 for the latter)
 *     -1013    the context has no operation object
 *     -1020    another version of the format
 *     -1031    exhausted memory
 *     other    codes of the engine and of the token, such as -12 for a key that does not open the session key
 *
 * An output blob is written on success alone. The caller frees it with T_free.
 *
 * mode is 1 for a message that carries its content, 2 for one that leaves it out. */

/* PKCS7_WriteEncryptedDataMsg encrypts under a key that the reader has already. alg names the cipher (4 to 7), with its
 * IV and, for RC2, the effective bits; of key, keyLength is what the cipher is told. */
VT_API int32_t PKCS7_WriteEncryptedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* data, const PKCS_Alg* alg,
                                           const PKCS_Key* key, PKCS_Blob* message);

/* PKCS7_ReadEncryptedDataMsg decrypts with the bytes of key, by the algorithm that the message names. There is no
 * check of integrity: a wrong key can give nonsense with 0. */
VT_API int32_t PKCS7_ReadEncryptedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, const PKCS_Blob* key,
                                          PKCS_Blob* data);

/* PKCS7_WriteDigestedDataMsg puts data and its digest into a message. alg is 1 (SHA-1), 2 (MD5) or 3 (MD2). */
VT_API int32_t PKCS7_WriteDigestedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* data, const PKCS_Alg* alg,
                                          PKCS_Blob* message);

/* PKCS7_ReadDigestedDataMsg gives the data if it has the digest in the message, else -1012. */
VT_API int32_t PKCS7_ReadDigestedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, PKCS_Blob* data);

/* PKCS7_WriteEnvelopedDataMsg encrypts for the holder of an X.509 certificate (DER, RSA key). contentAlg is the cipher
 * as above, but effectiveBits is also the length of the session key, whatever the cipher: 64 for DES, 192 for triple
 * DES, 40, 64 or 128 for RC2. keyAlg is 8 (RSA). With mode 2 the message leaves the ciphertext out, and ciphertext, if
 * it is not null, receives it; any other mode counts as 1, and a ciphertext that is not null becomes empty.
 *
 * The session key is derived from the current second, so whoever knows when a message was made can open it; see
 * docs/security.md. */
VT_API int32_t PKCS7_WriteEnvelopedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* data, const PKCS_Alg* contentAlg,
                                           const PKCS_Alg* keyAlg, int32_t mode, const PKCS_Blob* certificate,
                                           PKCS_Blob* ciphertext, PKCS_Blob* message);

/* PKCS7_ReadEnvelopedDataMsg opens a message with the private key of its first recipient; no recipient is matched
 * against the key, and further ones are not looked at. With mode 2 ciphertext has the ciphertext, and 0 says that it
 * decrypts; data is left as it is. With mode 1 ciphertext is not looked at. */
VT_API int32_t PKCS7_ReadEnvelopedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, int32_t mode, const PKCS_PriKey* key,
                                          const PKCS_Blob* ciphertext, PKCS_Blob* data);

/* PKCS7_ReadSignedAndEnvelopedDataMsg opens a message as above and verifies its signers as PKCS7_ReadSignedDataMsg
 * does, with the same lists, the same treatment of an external signer's certificate, and -1017 if no signer is
 * verified. With mode 2 data has the ciphertext and is left as it is. */
VT_API int32_t PKCS7_ReadSignedAndEnvelopedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, int32_t mode,
                                                   const PKCS_PriKey* key, const PKCS_Blob* signerCertificate,
                                                   VT_List* certificates, VT_List* certificateLists, PKCS_Blob* data);

/* PKCS7_WriteSignedAndEnvelopedDataMsg does nothing, looks at none of its arguments and gives 0. No message of this
 * kind was ever written here, and there are callers that link to the name. */
VT_API int32_t PKCS7_WriteSignedAndEnvelopedDataMsg(PKCS_Ctx* ctx, ...);

/* ---- PFX files and certificates --------------------------------------------------------------------------------- */

/* PKCS#12 files (PFX, RFC 7292) with RSA keys, and questions to single certificates in DER. What all have in common:
 *
 *     0        success
 *     -1001    a required element is absent
 *     -1003    a blob that must have data has none
 *     -1005    the file has no key, or no certificate, where it is looked for
 *     -1006    an algorithm, or a type of content, that is not supported
 *     -1010    a null argument that is not optional; malformed DER too, where nothing else is said
 *     -1013    the context has no operation object
 *     -1014    more than 128 contents or bags
 *     -1026    key and certificate do not belong together
 *     -1031    exhausted memory
 *     other    codes of the engine and of the token, such as -3 for a ciphertext that is not whole blocks
 *
 * An output is written on success alone, but for lists: what they received stays there. The caller frees a blob with
 * T_free, a key with PKCS_FreePubKey and PKCS_FreePriKey. A password is bytes, one a character, of any value but 0; it
 * may be empty, but not null. */

/* VT_GenPFX makes a file of a certificate and its key, and of further certificates, which may be null. The key is
 * encrypted with triple DES, the certificates with 40-bit RC2, under 2000 iterations, and SHA-1 makes the MAC: what
 * every program reads, and no protection against one who guesses passwords (docs/security.md). */
VT_API int32_t VT_GenPFX(PKCS_Ctx* ctx, const PKCS_Blob* certificate, const PKCS_PriKey* key, const PKCS_Blob* password,
                         const VT_List* certificates, PKCS_Blob* pfx);

/* VT_GetCertAndPrivateKeyFromPFX opens a file: the first key of its first content in the clear, and the certificate of
 * that key from its first encrypted content. certificates, which may be null, receives all certificates of that content
 * behind what it holds. With skipMac 1 the MAC is not checked, and a wrong password gives whatever the decryption
 * gives. -1012 for a wrong password or a file that was changed; -1026 if none of the certificates is the key's; -7 for
 * two-key triple DES. A file of more than 10,000,000 iterations is refused with -1006. Each costs some 35 ns, or 120 on
 * a processor without SHA instructions, and a file has them seven times at most. */
VT_API int32_t VT_GetCertAndPrivateKeyFromPFX(PKCS_Ctx* ctx, const PKCS_Blob* pfx, const PKCS_Blob* password,
                                              int32_t skipMac, PKCS_PriKey* key, PKCS_Blob* certificate,
                                              VT_List* certificates);

/* VT_GetMSCertAndKeyFromPFX opens a file, with its MAC, into buffers of the caller, the key as a Microsoft
 * PRIVATEKEYBLOB of 2048 bits (VT_VPKToMSPriKey). A password of length 0 ends at its first zero byte. With a null
 * certificate only *certificateLength is stored; otherwise *certificateLength holds the capacity, and stays as it is.
 * blob and blobLength are those of VT_VPKToMSPriKey, whose null blob asks for the length. -1019 if a buffer is too
 * small. */
VT_API int32_t VT_GetMSCertAndKeyFromPFX(PKCS_Ctx* ctx, const uint8_t* pfx, uint32_t pfxLength, const char* password,
                                         uint32_t passwordLength, uint8_t* blob, uint32_t* blobLength,
                                         uint8_t* certificate, uint32_t* certificateLength, VT_List* certificates);

/* VT_CheckPFXDer gives 0 for what decodes as a PFX, with or without a MAC, and -1010 for what does not. No password is
 * needed, and the contents are not looked at. It does not tell a PFX from other DER of such a form, like that of a
 * certificate: the decoder looks at few tags. */
VT_API int32_t VT_CheckPFXDer(PKCS_Ctx* ctx, const PKCS_Blob* pfx);

/* VT_CheckCertAndPriKey gives 0 if modulus and public exponent of the certificate are those of the key, else -1026.
 * Leading zeros do not count. The private numbers are not looked at. */
VT_API int32_t VT_CheckCertAndPriKey(const PKCS_Blob* certificate, const PKCS_PriKey* key);

/* VT_VerifyCertificateChain checks the signature of a certificate with the key of its issuer's. One of the two may be
 * null; the other is then checked with its own key. The issuers of the two must be the same, so that this is for
 * self-signed roots alone: -1023. -1002 for another signature; further codes in pki/certificate_tool.h. -1010 if both
 * are null; -3000 for malformed DER. */
VT_API int32_t VT_VerifyCertificateChain(PKCS_Ctx* ctx, const PKCS_Blob* issuer, const PKCS_Blob* certificate);

/* VT_VerifyCertificateValidPeriod gives 0 if now is within the validity of a certificate, both ends included, else
 * -1025. -1024 for a bound that is no time; -3000 for malformed DER. */
VT_API int32_t VT_VerifyCertificateValidPeriod(PKCS_Ctx* ctx, const PKCS_Blob* certificate);

/* VT_GetPublicKeyFromCert gives the numbers of a certificate's RSA key. -1006 for a key that is not RSA. */
VT_API int32_t VT_GetPublicKeyFromCert(PKCS_Ctx* ctx, const PKCS_Blob* certificate, PKCS_PubKey* key);

/* VT_GetSubjectFromCert appends the attributes of a certificate's subject to a list, in their order, each as five
 * characters of label and the bytes of the value, such as " CN =Alice" (pki/name.h). -3000 for malformed DER. */
VT_API int32_t VT_GetSubjectFromCert(PKCS_Ctx* ctx, const PKCS_Blob* certificate, VT_List* subject);

/* ---- Forms of RSA keys ------------------------------------------------------------------------------------------ */

/* Between Microsoft key blobs (wincrypt.h: PUBLICKEYBLOB and PRIVATEKEYBLOB, little-endian), key records, and the DER
 * of PKCS#1 (RFC 8017 A.1).
 *
 *     offset in a blob of    2048 bits    1024 bits    length
 *     header, exponent word          0            0    20
 *     modulus                       20           20    bits / 8
 *     prime1                       276          148    bits / 16
 *     prime2                       404          212    bits / 16
 *     exponent1                    532          276    bits / 16
 *     exponent2                    660          340    bits / 16
 *     coefficient                  788          404    bits / 16
 *     privateExponent              916          468    bits / 8
 *     end of a public blob         276
 *     end of a private blob       1172          596
 *
 * Where there is a blob or DER out with a length: with a null output only *length is stored; otherwise *length holds
 * the capacity of the output and receives the length. -1019 if the output is too small, when *length is as it was.
 *
 *     -1003    a number is absent: a null pointer
 *     -1006    a number is longer than its place in the blob
 *     -1008    a blob of another bit length than 512, 1024 and 2048
 *     -1010    a null argument
 *     -1031    exhausted memory
 *     -3000    malformed DER
 *
 * and those of VT_P11_Key (token/key.h) for an RSA key with a number that is zero. A record that is given out is
 * written on success alone; the caller frees it with PKCS_FreePubKey or PKCS_FreePriKey. */

/* The sizes of the blobs that the converters write. */
enum { VT_MS_PUBLIC_BLOB_2048 = 276, VT_MS_PRIVATE_BLOB_2048 = 1172, VT_MS_PRIVATE_BLOB_1024 = 596 };

/* VT_MSPriKeyToVPK gives the numbers of a private blob, each as long as its place. It reads at the offsets of 2048 bits
 * whatever the blob declares, so that only a blob of 2048 bits gives a key: one of 512 or 1024 bits gives other
 * numbers, and must lie in a buffer of 1172 bytes all the same. Callers rely on the numbers that they have always got.
 */
VT_API int32_t VT_MSPriKeyToVPK(void* unused, const uint8_t* blob, PKCS_PriKey* key);

/* VT_VPKToMSPubKey writes a public blob of 2048 bits. The modulus must have 256 bytes and the exponent 3, else -1006;
 * the first 16 bytes of the blob, and *length, are written by then. */
VT_API int32_t VT_VPKToMSPubKey(void* unused, const PKCS_PubKey* key, uint8_t* blob, uint32_t* length);

/* VT_VPKToMSPriKey writes a private blob of 2048 bits, VT_VPKToMSPriKey1024 one of 1024. That is the only way to one of
 * 1024 bits, and there is none back. The numbers need not be of that size: the bytes of a place that a shorter number
 * leaves free stay as the caller had them, so fill the buffer with zeros first. After -1003 and -1006 the first 16
 * bytes of the blob, and *length, are written. */
VT_API int32_t VT_VPKToMSPriKey(void* unused, const PKCS_PriKey* key, uint8_t* blob, uint32_t* length);
VT_API int32_t VT_VPKToMSPriKey1024(void* unused, const PKCS_PriKey* key, uint8_t* blob, uint32_t* length);

/* VT_PKCS1PubKeyEncode and VT_PKCS1PriKeyEncode give the DER of RSAPublicKey and RSAPrivateKey, with each number in its
 * shortest form; -1003 also for a number of no bytes. VT_PKCS1PubKeyDecode and VT_PKCS1PriKeyDecode read it: -1003 for
 * a blob without data, -1015 for a number that is zero. What follows the DER in its blob does not count. The caller
 * frees the DER with T_free. */
VT_API int32_t VT_PKCS1PubKeyEncode(const PKCS_PubKey* key, PKCS_Blob* der);
VT_API int32_t VT_PKCS1PubKeyDecode(const PKCS_Blob* der, PKCS_PubKey* key);
VT_API int32_t VT_PKCS1PriKeyEncode(const PKCS_PriKey* key, PKCS_Blob* der);
VT_API int32_t VT_PKCS1PriKeyDecode(const PKCS_Blob* der, PKCS_PriKey* key);

/* VT_MSPriKeyToP1Der is VT_MSPriKeyToVPK and VT_PKCS1PriKeyEncode. VT_P1DerToMSPubKey and VT_P1DerToMSPriKey are the
 * decoders above with VT_VPKToMSPubKey and VT_VPKToMSPriKey: the blob is one of 2048 bits. */
VT_API int32_t VT_MSPriKeyToP1Der(const uint8_t* blob, uint8_t* der, uint32_t* length);
VT_API int32_t VT_P1DerToMSPubKey(const uint8_t* der, uint32_t derLength, uint8_t* blob, uint32_t* length);
VT_API int32_t VT_P1DerToMSPriKey(const uint8_t* der, uint32_t derLength, uint8_t* blob, uint32_t* length);

/* VT_RSABigEncrypt and VT_RSABigDecrypt are RSA with PKCS#1 v1.5 blocks over input of any size (token/op.h): in
 * software, k - 11 bytes go into each block of k, k being the modulus length. -1003 for an absent number or input;
 * -1013 for a context without operation object; codes of the engine and of the token, such as -12 for a block that does
 * not open. The caller frees the output with T_free. */
VT_API int32_t VT_RSABigEncrypt(PKCS_Ctx* ctx, const PKCS_PubKey* key, const PKCS_Blob* input, PKCS_Blob* output);
VT_API int32_t VT_RSABigDecrypt(PKCS_Ctx* ctx, const PKCS_PriKey* key, const PKCS_Blob* input, PKCS_Blob* output);

/* ---- Key objects and tokens ------------------------------------------------------------------------------------- */

/* What a key object stands for. */
enum {
    VTPKCS_UNSET = 0,
    VTPKCS_SESSION_KEY = 1,
    VTPKCS_PUBLIC_KEY = 2,
    VTPKCS_PRIVATE_KEY = 3,
    VTPKCS_TOKEN_KEY = 4 /* a key in a token, named by its label */
};

/* A key object: one key of any kind. The fields are the object's own, and independent of each other; kind says which of
 * them is meant. Callers may read them, and change them through the functions alone. */
typedef struct VTPKCS_KeyObj {
    int32_t kind;           /* VTPKCS_UNSET to VTPKCS_TOKEN_KEY */
    PKCS_Key sessionKey;    /* VTPKCS_SESSION_KEY */
    PKCS_PriKey privateKey; /* VTPKCS_PRIVATE_KEY */
    PKCS_PubKey publicKey;  /* VTPKCS_PUBLIC_KEY */
    char* tokenKeyLabel;    /* VTPKCS_TOKEN_KEY: zero-terminated, null for none */
} VTPKCS_KeyObj;

/* ---- Work with key objects and tokens --------------------------------------------------------------------------- */

/* What these functions have in common:
 *
 *     -1003    a blob that must have data has none
 *     -1006    an algorithm that is not supported
 *     -1010    a null argument that is not optional; malformed DER (VTPKCS_VerifyPKCS10: -3000)
 *     -1013    the context has no operation object
 *     -1031    exhausted memory
 *     other    codes of the engine and of the token (token/op.h)
 *
 * Outputs are written on success alone, unless a function tells more. The caller frees blobs with T_free and public
 * keys with PKCS_FreePubKey. */

/* VTPKCS_InitKeyObj makes an object of kind 0 without keys. The caller frees it with VTPKCS_DestroyKeyObj. */
VT_API int32_t VTPKCS_InitKeyObj(VTPKCS_KeyObj** object);

/* Each copies a key into the object in place of the one of its kind, and sets the kind. -1010 if a number, or all bytes
 * of a session key, are absent or empty: the object has no key of that kind then, as after -1031, and its kind is as it
 * was. A label is a text, copied up to its zero byte; an empty one names no key, which its use tells. */
VT_API int32_t VTPKCS_SetPubKeyObj(VTPKCS_KeyObj* object, const PKCS_PubKey* key);
VT_API int32_t VTPKCS_SetPriKeyObj(VTPKCS_KeyObj* object, const PKCS_PriKey* key);
VT_API int32_t VTPKCS_SetSessionKeyObj(VTPKCS_KeyObj* object, const PKCS_Key* key);
VT_API int32_t VTPKCS_SetTokenKeyObj(VTPKCS_KeyObj* object, const char* label);

/* VTPKCS_DestroyKeyObj frees an object with all that it holds, and stores null. A pointer to null is accepted. Key
 * bytes are not wiped. */
VT_API int32_t VTPKCS_DestroyKeyObj(VTPKCS_KeyObj** object);

/* VTPKCS_GenSignedMsg is PKCS7_WriteSignedDataMsg with a key object: kind 4 signs in the token, by the key of the
 * label, and any other kind by the object's private key. digest is 1 (SHA-1), 2 (MD5) or 3 (MD2); the signature is RSA.
 * The message always carries its data, whatever mode is. */
VT_API int32_t VTPKCS_GenSignedMsg(PKCS_Ctx* ctx, const PKCS_Blob* data, const PKCS_Alg* digest, int32_t mode,
                                   const PKCS_Blob* signerCertificate, const VTPKCS_KeyObj* key,
                                   const VT_List* certificates, const VT_List* certificateLists, PKCS_Blob* message);

/* VTPKCS_VerifySignedMsg verifies the first signer of a message that carries its data, by the certificate of the
 * message that has its issuer and serial number. The lists, which may be null, are filled as by
 * PKCS7_ReadSignedDataMsg. data receives the content and signerCertificate the certificate, before the signature is
 * looked at: they are there also after a failure of the verification, for the caller to free and not to trust. Set both
 * to zeros before the call.
 *
 *     -1002         the content is not what was signed
 *     -1003         the message carries no data
 *     -1009         the message is of another type
 *     -1021         the message does not have the signer's certificate
 *     -1018, -1022  what is wrong with the signer (pki/signer_info.h) */
VT_API int32_t VTPKCS_VerifySignedMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, VT_List* certificates,
                                      VT_List* certificateLists, PKCS_Blob* signerCertificate, PKCS_Blob* data);

/* VTPKCS_GENPKCS10 makes a certification request (PKCS#10, RFC 2986) without a signature: it is an empty BIT STRING,
 * for the caller to replace. Of the object, a key of kind 4 needs its label, and any other kind is not asked for a key.
 *
 * subject has one name node per attribute, such as " CN =Alice" (pki/name.h); null stands for a sample subject, CN
 * Holmar, OU Test, O QTSA OCA, C CN. attributes has one DER Attribute per node; null stands for a sample, an e-mail
 * address. signatureType is 8 (RSA), 9 (SHA-1), 10 (MD5) or 11 (MD2 with RSA), else -1006.
 *
 *     -1003    a number of the public key is absent
 *     -1014    type 8 and a request of more than 116 bytes, as almost every one is
 *     -1019    a name node without a value
 *     -1006    a name node of an unknown label */
VT_API int32_t VTPKCS_GENPKCS10(PKCS_Ctx* ctx, const VTPKCS_KeyObj* key, const PKCS_PubKey* publicKey,
                                const VT_List* subject, const VT_List* attributes, int32_t signatureType,
                                PKCS_Blob* request);

/* VT_GENPKCS10 is the same with a private key, which must have the modulus and the exponent of the public key: -1026
 * for numbers of other lengths, and for numbers of the same length what memcmp gives, which is not 0. A subject that is
 * not null is not read, and the request has an empty name then: requests have been made so. */
VT_API int32_t VT_GENPKCS10(PKCS_Ctx* ctx, const PKCS_PriKey* key, const PKCS_PubKey* publicKey, const VT_List* subject,
                            const VT_List* attributes, int32_t signatureType, PKCS_Blob* request);

/* VTPKCS_DecomposePKCS10 gives the public key of a request, and appends its subject to a list that is not null, one
 * name node per relative name. -1001 if the key lacks an element, -1003 if the request does, -1009 for a key that is no
 * RSA key. Nodes that were appended stay in the list when the function fails. */
VT_API int32_t VTPKCS_DecomposePKCS10(PKCS_Ctx* ctx, const PKCS_Blob* request, PKCS_PubKey* publicKey,
                                      VT_List* subject);

/* VTPKCS_VerifyPKCS10 checks the signature of a request against the key in it: -1002 if it is not of these bytes, and
 * the codes of VT_PKCS10::verifyPKCS10 (pki/pkcs10.h). */
VT_API int32_t VTPKCS_VerifyPKCS10(PKCS_Ctx* ctx, const PKCS_Blob* request);

/* VTPKCS_GetPubKeyFromToken reads the public key of the label from the token. -2 for a context in software, -19 if the
 * label is not there, -1010 for an empty label. */
VT_API int32_t VTPKCS_GetPubKeyFromToken(PKCS_Ctx* ctx, PKCS_PubKey* publicKey, const PKCS_Blob* label);

/* VTPKCS_GenRSAKeyPair makes a key pair of 512, 1024 or 2048 bits; any other number counts as 1024. Neither label may
 * be empty. With store 0 the pair is made in software and the object receives the private key (kind 3); with any other
 * it stays in the token, under the labels, and the object receives the private label (kind 4). Codes are those of
 * VT_P11_OP::GenRSAKeyPair (token/op.h): -2 if context and store do not fit, -1029 and -1030 for labels that exist. */
VT_API int32_t VTPKCS_GenRSAKeyPair(PKCS_Ctx* ctx, PKCS_PubKey* publicKey, const PKCS_Blob* publicLabel,
                                    VTPKCS_KeyObj* privateKey, const PKCS_Blob* privateLabel, int32_t bits,
                                    int32_t store);

/* VTPKCS_SetCertIntoToken stores a certificate in the token under a label: -2 for a context in software, -1010 for a
 * null or empty argument, -1028 if an object has the label.
 *
 * VTPKCS_GetCertFromToken gives the length of the certificate of a label, and its bytes if output is not null, which
 * must have the room: ask for the length first. A length of 0 says that there is none; the result is 0 then too. */
VT_API int32_t VTPKCS_SetCertIntoToken(PKCS_Ctx* ctx, const uint8_t* label, uint32_t labelLength,
                                       const uint8_t* certificate, uint32_t certificateLength);
VT_API int32_t VTPKCS_GetCertFromToken(PKCS_Ctx* ctx, const uint8_t* label, uint32_t labelLength, uint8_t* output,
                                       uint32_t* outputLength);

/* VTPKCS_CheckCertAndRSAPrivateKeyInToken gives 1 if the certificate and the private key of these labels belong
 * together, as modulus and exponent tell. 0 for everything else, errors included. */
VT_API int32_t VTPKCS_CheckCertAndRSAPrivateKeyInToken(PKCS_Ctx* ctx, const uint8_t* certificateLabel,
                                                       uint32_t certificateLabelLength, const uint8_t* keyLabel,
                                                       uint32_t keyLabelLength);

/* VTPKCS_Base64Encode writes lines of 64 characters (VT_Base64::Encode with wrap, pki/base64.h), VTPKCS_Base64Decode
 * reads any base64. With a null output *outputLength receives the room that is needed, else what was written; the
 * output is trusted to have the room. Encoding needs one byte more than it tells where the text without its line feeds
 * is a multiple of 64. -1010 for a null outputLength, a negative length, or a null input that has one. */
VT_API int32_t VTPKCS_Base64Encode(const char* input, int32_t inputLength, char* output, int32_t* outputLength);
VT_API int32_t VTPKCS_Base64Decode(const char* input, int32_t inputLength, char* output, int32_t* outputLength);

/* VTPKCS_GetCertAndPriKeyObj fills a key object and gives its certificate. With source 1 the key is the token's of that
 * label, the bytes of secret, and input is the certificate already, of which a copy is given. With source 2 input is a
 * PFX and secret its password: VT_GetCertAndPrivateKeyFromPFX, with the MAC checked. -1006 for any other source. */
VT_API int32_t VTPKCS_GetCertAndPriKeyObj(PKCS_Ctx* ctx, const PKCS_Blob* input, const PKCS_Blob* secret,
                                          int32_t source, VTPKCS_KeyObj* object, PKCS_Blob* certificate);

#ifdef __cplusplus
}
#endif
/* NOLINTEND(modernize-*) */

#endif
