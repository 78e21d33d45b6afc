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
#ifndef VT_TOKEN_KEY_H
#define VT_TOKEN_KEY_H

#include <cstdint>

#include "foundation/export.h"

class AlgorithmIdentifier;
class MiByte;
class RSAPrivateKey;
class RSAPublicKey;

// Exchange structures, plain and owned by the caller.
struct VT_PKCS11_BYTES {
    unsigned char* data;
    std::uint32_t length;
};

struct VT_PKCS11_SESSION_KEY {
    VT_PKCS11_BYTES bytes;
    std::int32_t use;
};

struct VT_PKCS11_RSA_PUBLIC_KEY {
    VT_PKCS11_BYTES modulus;
    VT_PKCS11_BYTES publicExponent;
};

struct VT_PKCS11_RSA_PRIVATE_KEY {
    VT_PKCS11_BYTES modulus;
    VT_PKCS11_BYTES publicExponent;
    VT_PKCS11_BYTES privateExponent;
    VT_PKCS11_BYTES prime1;
    VT_PKCS11_BYTES prime2;
    VT_PKCS11_BYTES exponent1;
    VT_PKCS11_BYTES exponent2;
    VT_PKCS11_BYTES coefficient;
};

class VT_API VT_P11_Key {
  public:
    VT_P11_Key();
    VT_P11_Key(const VT_P11_Key& other);
    VT_P11_Key& operator=(const VT_P11_Key& other);
    ~VT_P11_Key();

    int setKeyType(int type);
    int getKeyType(int& type) const;
    int getAK() const;
    int setTokenKeyLabel(const unsigned char* text);
    int GetVCKKIObj(unsigned char** object, int keyClass) const;
    int setSessionKey(const VT_PKCS11_SESSION_KEY* key);
    int getSessionKey(VT_PKCS11_SESSION_KEY* key) const;
    int setPublicKey(const VT_PKCS11_RSA_PUBLIC_KEY* key);
    int getPublicKey(VT_PKCS11_RSA_PUBLIC_KEY* key) const;
    int setPrivateKey(const VT_PKCS11_RSA_PRIVATE_KEY* key);
    int getPrivateKey(VT_PKCS11_RSA_PRIVATE_KEY* key) const;
    int setSessionKey(const MiByte& key, int use, const AlgorithmIdentifier& identifier);
    int getSessionKey(MiByte& key, int& use, AlgorithmIdentifier& identifier) const;
    int setRSAPublicKey(const RSAPublicKey& key);
    int getRSAPublicKey(RSAPublicKey& key) const;
    int setRSAPrivateKey(const RSAPrivateKey& key);
    int getRSAPrivateKey(RSAPrivateKey& key) const;
    void Reset();

  private:
    std::int32_t keyType;
    std::uint8_t isTokenKey;
    char* label;
    unsigned char* sessionKey;
    std::uint32_t sessionKeyLength;
    std::int32_t sessionKeyUse;
    VT_PKCS11_BYTES publicModulus;
    VT_PKCS11_BYTES publicExponent;
    VT_PKCS11_BYTES modulus;
    VT_PKCS11_BYTES publicExponent2;
    VT_PKCS11_BYTES privateExponent;
    VT_PKCS11_BYTES prime1;
    VT_PKCS11_BYTES prime2;
    VT_PKCS11_BYTES exponent1;
    VT_PKCS11_BYTES exponent2;
    VT_PKCS11_BYTES coefficient;
};

#endif
