// VT_P11_Key: a key, as a plain value: bytes, numbers, or the label of a key in a token.
//
//     code   key
//     1      triple DES, three keys
//     2      DES
//     3      RC2
//     4      RC4
//     5      RSA public
//     6      RSA private
//     7      triple DES, recorded when the integer given with the key is 16
//
// It does no cryptography: it converts to and from RSAPublicKey and RSAPrivateKey, and makes the engine's KEY_OBJ for
// one operation. Session key, public key, private key and label are independent of each other; the code says which of
// the first three is meant, and a label wins over all of them. So a private key does not serve as a public one before
// its public half is set as well.
//
// Numbers are big-endian and unsigned. The fields and their order are a binary contract. Results are 0 or a code of
// token/codes.h; the exceptions of the ASN.1 runtime pass. Key bytes are freed as they stand, without being cleared. An
// object belongs to one thread at a time.
#ifndef VT_TOKEN_KEY_H
#define VT_TOKEN_KEY_H

#include <cstdint>

#include "foundation/export.h"

class AlgorithmIdentifier;
class MiByte;
class RSAPrivateKey;
class RSAPublicKey;

namespace token {

// The codes of keys, as in the table above.
enum KeyCode : std::int32_t {
    kDes3Key = 1,
    kDesKey = 2,
    kRc2Key = 3,
    kRc4Key = 4,
    kRsaPublicKey = 5,
    kRsaPrivateKey = 6,
    kDes3TwoKey = 7
};

}  // namespace token

// The exchange structures, plain and owned by the caller. A setter copies what they point to. A getter overwrites the
// structure with fresh buffers, each with a zero byte behind its data, which the caller frees: with the functions
// below, or one by one with T_free (pki/flat/flat.h), inside the library with FreeBuffer (crypto/alloc_buffer.h).
//
// The two RSA structures have the layouts of PKCS_PubKey and PKCS_PriKey.
struct VT_PKCS11_BYTES {
    unsigned char* data;   // null for none
    std::uint32_t length;  // in bytes
};

// The key of a cipher.
struct VT_PKCS11_SESSION_KEY {
    VT_PKCS11_BYTES bytes;  // the key
    std::int32_t use;       // the integer given with the key; for RC2 the number of its bytes in use
};

// An RSA public key (PKCS#1 RSAPublicKey).
struct VT_PKCS11_RSA_PUBLIC_KEY {
    VT_PKCS11_BYTES modulus;         // n
    VT_PKCS11_BYTES publicExponent;  // e
};

// An RSA private key (PKCS#1 RSAPrivateKey), in the order of RSA_KEY_ITEMS.
struct VT_PKCS11_RSA_PRIVATE_KEY {
    VT_PKCS11_BYTES modulus;          // n
    VT_PKCS11_BYTES publicExponent;   // e
    VT_PKCS11_BYTES privateExponent;  // d
    VT_PKCS11_BYTES prime1;           // p
    VT_PKCS11_BYTES prime2;           // q
    VT_PKCS11_BYTES exponent1;        // privateExponent mod (prime1 - 1)
    VT_PKCS11_BYTES exponent2;        // privateExponent mod (prime2 - 1)
    VT_PKCS11_BYTES coefficient;      // inverse of prime2 mod prime1
};

// Each frees what a getter gave, and fills the structure with zeros, so that freeing it again does no harm. Null is
// accepted.
extern "C" VT_API void VT_FreeSessionKey(VT_PKCS11_SESSION_KEY* key);
extern "C" VT_API void VT_FreePublicKey(VT_PKCS11_RSA_PUBLIC_KEY* key);
extern "C" VT_API void VT_FreePrivateKey(VT_PKCS11_RSA_PRIVATE_KEY* key);

class VT_API VT_P11_Key {
  public:
    VT_P11_Key();  // code -1, and nothing else

    // Copies have buffers of their own. One whose memory is exhausted is absent, which is not reported.
    VT_P11_Key(const VT_P11_Key& other);
    VT_P11_Key& operator=(const VT_P11_Key& other);
    ~VT_P11_Key();

    // setKeyType stores a code; 0, or -1006 for none of 1 to 7, when the old one stays. getKeyType gives the code, or
    // -1 if there is none; always 0.
    int setKeyType(int type);
    int getKeyType(int& type) const;

    // The key class for VT_P11_Alg::GetVCKAIObj: 2 for code 5, 3 for code 6, 1 for all others.
    int getAK() const;

    // setTokenKeyLabel copies a NUL-terminated label, and makes this the key of that label in a token. 0; -1010 for a
    // null or empty label; -1031. After a failure the old label stays.
    int setTokenKeyLabel(const unsigned char* text);

    // GetVCKKIObj builds the KEY_OBJ of one operation: the token's key for a label, otherwise by the code. *object is a
    // shell from KeyShell, as a byte pointer. keyClass is not looked at.
    //
    // 0; -1003 for absent material; -1006 for no code; -1007 for RC2 with more bytes in use than there are; -7 for a
    // session key of a length that its cipher does not take, among them fewer than 24 bytes for codes 1 and 7; -10 for
    // a public modulus above 1024 bytes; -2 for an absent shell; -1. If the engine fails (-1, -2, -7, -10), it has
    // freed the shell and *object is null; otherwise the shell is as it was. So the caller ends every path with KeyFree
    // on *object, null or not.
    int GetVCKKIObj(unsigned char** object, int keyClass) const;

    // setSessionKey copies bytes and use, and leaves the code to setKeyType. 0; -1010 for a null structure or no bytes;
    // -1031. After a failure the old key stays. getSessionKey gives a copy: 0; -1003 without a session key; -1010;
    // -1031. After a failure the structure is all zeros.
    int setSessionKey(const VT_PKCS11_SESSION_KEY* key);
    int getSessionKey(VT_PKCS11_SESSION_KEY* key) const;

    // setPublicKey copies modulus and exponent, and leaves the code to setKeyType. 0, or -1010 for a null structure. If
    // a number is null or empty, or memory is exhausted, there is no public key afterwards, and the result is 0 too.
    // getPublicKey gives copies, or a structure of zeros unless there are both; 0, or -1010.
    int setPublicKey(const VT_PKCS11_RSA_PUBLIC_KEY* key);
    int getPublicKey(VT_PKCS11_RSA_PUBLIC_KEY* key) const;

    // The same for the eight numbers of a private key.
    int setPrivateKey(const VT_PKCS11_RSA_PRIVATE_KEY* key);
    int getPrivateKey(VT_PKCS11_RSA_PRIVATE_KEY* key) const;

    // setSessionKey, with the algorithm that the key is for: DES gives code 2, triple DES 7 if use is 16 and otherwise
    // 1, RC2 3, RC4 4. Always 0. An empty key changes nothing. For any other algorithm, for none, and if memory is
    // exhausted, there is no session key afterwards; GetVCKKIObj tells.
    int setSessionKey(const MiByte& key, int use, const AlgorithmIdentifier& identifier);

    // getSessionKey gives the bytes, the integer, and for the codes 1, 2, 3, 4 and 7 the algorithm, without touching
    // the parameters. 0, or -1003 without a session key.
    int getSessionKey(MiByte& key, int& use, AlgorithmIdentifier& identifier) const;

    // setRSAPublicKey replaces the public key and gives code 5. 0; -1010 for an absent number; -1015 for one that is
    // zero; -1031. After a failure the code is the old one, and of the key there is what came before: the modulus, then
    // the exponent.
    //
    // Of a number whose length is a multiple of 8 and a leading zero byte, that byte is dropped: 129 bytes become 128,
    // 65 become 64. A leading zero at any other length stays.
    int setRSAPublicKey(const RSAPublicKey& key);

    // getRSAPublicKey resets the target and sets both numbers, in their shortest form. 0; -1000 if the code is not 5,
    // when the target is as it was; -1003 for a number that is not there.
    int getRSAPublicKey(RSAPublicKey& key) const;

    // The same for a private key, code 6, with the numbers in the order coefficient, modulus, primes, exponents 1 and
    // 2, private and public exponent. The version is not looked at by setRSAPrivateKey; getRSAPrivateKey writes 0.
    int setRSAPrivateKey(const RSAPrivateKey& key);
    int getRSAPrivateKey(RSAPrivateKey& key) const;

    // Reset makes the object as new. Destruction is the same.
    void Reset();

  private:
    std::int32_t keyType = -1;    // -1 when empty
    std::uint8_t isTokenKey = 0;  // 1 when the key is named by label
    char* label = nullptr;        // owned, as all buffers here
    unsigned char* sessionKey = nullptr;
    std::uint32_t sessionKeyLength = 0;
    std::int32_t sessionKeyUse = 0;
    VT_PKCS11_BYTES publicModulus = {};  // the public key
    VT_PKCS11_BYTES publicExponent = {};
    VT_PKCS11_BYTES modulus = {};  // the private key
    VT_PKCS11_BYTES publicExponent2 = {};
    VT_PKCS11_BYTES privateExponent = {};
    VT_PKCS11_BYTES prime1 = {};
    VT_PKCS11_BYTES prime2 = {};
    VT_PKCS11_BYTES exponent1 = {};
    VT_PKCS11_BYTES exponent2 = {};
    VT_PKCS11_BYTES coefficient = {};
};

#endif
