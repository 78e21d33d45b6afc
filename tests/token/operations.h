// Operations in tests: algorithms, keys and choosers by short names, and results as bytes.
#ifndef VT_TESTS_TOKEN_OPERATIONS_H
#define VT_TESTS_TOKEN_OPERATIONS_H

#include <gtest/gtest.h>

#include <string>

#include "foundation/byte.h"
#include "tests/support/hex.h"
#include "tests/token/soft_op.h"
#include "tests/vectors/rsa_keys.h"
#include "tests/vectors/token_operations.h"
#include "token/token.h"

namespace operations {

using support::Bytes;
using support::hex;
using support::SoftOp;
using support::toHex;

inline MiByte mi(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<unsigned int>(bytes.size())};
}
inline MiByte mi(const std::string& text) {
    return {text.data(), static_cast<unsigned int>(text.size())};
}
inline Bytes bytesOf(const MiByte& value) {
    return {value.GetChars(), value.GetChars() + value.GetLength()};
}
inline const unsigned char* text(const char* characters) {
    return reinterpret_cast<const unsigned char*>(characters);
}

// What an output holds before an operation, to see that a failure leaves it.
inline MiByte untouched() {
    return mi("untouched");
}

inline VT_P11_Alg algorithm(int code, const Bytes& iv = {}, int effectiveBits = 0) {
    VT_P11_Alg made;
    EXPECT_EQ(made.setAlgType(code), 0);
    if (!iv.empty()) {
        EXPECT_EQ(made.setIV(mi(iv)), 0);
    }
    made.setEffectiveBits(effectiveBits);
    return made;
}

inline VT_P11_Key sessionKey(int code, Bytes bytes) {
    VT_P11_Key made;
    const auto length = static_cast<std::uint32_t>(bytes.size());
    const VT_PKCS11_SESSION_KEY value = {{bytes.data(), length}, static_cast<std::int32_t>(length)};
    EXPECT_EQ(made.setKeyType(code), 0);
    EXPECT_EQ(made.setSessionKey(&value), 0);
    return made;
}

// The first key of a size in rsa_keys.h.
inline const RsaKeyVector& keyOfBits(int bits) {
    const RsaKeyVector* vector = kRsaKeys;
    while (vector->bits != bits)
        ++vector;
    return *vector;
}

inline VT_P11_Key publicKey(const char* const (&items)[8]) {
    Bytes numbers[] = {hex(items[0]), hex(items[1])};
    const auto item = [&](int i) {
        return VT_PKCS11_BYTES{numbers[i].data(), static_cast<std::uint32_t>(numbers[i].size())};
    };
    const VT_PKCS11_RSA_PUBLIC_KEY value = {item(0), item(1)};
    VT_P11_Key made;
    EXPECT_EQ(made.setKeyType(5), 0);
    EXPECT_EQ(made.setPublicKey(&value), 0);
    return made;
}

inline VT_P11_Key privateKey(const char* const (&items)[8]) {
    return support::rsaPrivateKey(items);
}

inline VT_P11_Key labelKey(const char* label, int code) {
    VT_P11_Key made;
    EXPECT_EQ(made.setKeyType(code), 0);
    EXPECT_EQ(made.setTokenKeyLabel(text(label)), 0);
    return made;
}

// The numbers of a public key.
struct PublicNumbers {
    explicit PublicNumbers(const VT_P11_Key& key) {
        VT_PKCS11_RSA_PUBLIC_KEY value = {};
        EXPECT_EQ(key.getPublicKey(&value), 0);
        modulus.assign(value.modulus.data, value.modulus.data + value.modulus.length);
        exponent.assign(value.publicExponent.data, value.publicExponent.data + value.publicExponent.length);
        VT_FreePublicKey(&value);
    }
    Bytes modulus;
    Bytes exponent;
};

inline int typeOf(const VT_P11_Key& key) {
    int type = 0;
    key.getKeyType(type);
    return type;
}

}  // namespace operations

#endif
