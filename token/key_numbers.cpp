// The numbers of RSA keys in VT_P11_Key, and copying and freeing.
#include <cstring>
#include <initializer_list>

#include "schema/pkcs.h"
#include "token/codes.h"
#include "token/key.h"
#include "token/owned_bytes.h"

namespace {

struct Move {
    VT_PKCS11_BYTES* to;
    const VT_PKCS11_BYTES* from;
};

void clear(VT_PKCS11_BYTES& bytes) {
    token::clearBytes(bytes.data, bytes.length);
}

bool copy(VT_PKCS11_BYTES& to, const VT_PKCS11_BYTES& from) {
    return token::copyBytes(to.data, to.length, from.data, from.length);
}

void copyAllOrNone(std::initializer_list<Move> moves) {
    for (const Move& move : moves) {
        if (copy(*move.to, *move.from))
            continue;
        for (const Move& other : moves)
            clear(*other.to);
        return;
    }
}

// One number out of DER. The byte length of a whole key is what the leading zero is dropped for: a modulus of 1024 bits
// is 129 bytes in DER, and tokens and old messages have it in 128.
int load(VT_PKCS11_BYTES& to, const AsnInteger* from) {
    if (from == nullptr)
        return token::kNullArgument;
    const MiByte& number = from->GetBigInteger().GetByte();
    if (number.Empty())
        return token::kEmptyInteger;
    const unsigned int skipped = number.CharAt(0) == 0 && number.GetLength() % 8 == 1 ? 1 : 0;
    const bool held = token::copyBytes(to.data, to.length, number.GetChars() + skipped, number.GetLength() - skipped);
    return held ? 0 : token::kOutOfMemory;
}

const AsnInteger* present(const AsnSequence& key, const char* name) {
    const auto* number = static_cast<const AsnInteger*>(key.Get(name));
    return number != nullptr && number->IsAsnPresent() ? number : nullptr;
}

struct Loaded {
    VT_PKCS11_BYTES* to;
    const AsnInteger* from;
};

int loadAll(std::initializer_list<Loaded> numbers) {
    for (const Loaded& number : numbers)
        clear(*number.to);
    for (const Loaded& number : numbers) {
        if (const int failure = load(*number.to, number.from))
            return failure;
    }
    return 0;
}

struct Stored {
    const char* name;
    const VT_PKCS11_BYTES* from;
};

// Positive, so that a first byte of 80 or above gets a zero byte in front, and shortest, as DER wants it: generated
// numbers come in whole words and may begin with zeros.
AsnInteger positive(const VT_PKCS11_BYTES& number) {
    return {MiBigInteger(1, MiByte(reinterpret_cast<const char*>(number.data), number.length))};
}

int storeAll(AsnSequence& key, std::initializer_list<Stored> numbers) {
    for (const Stored& number : numbers) {
        if (number.from->data == nullptr)
            return token::kMaterialMissing;
        const AsnInteger value = positive(*number.from);
        key.Set(number.name, &value);
    }
    return 0;
}

}  // namespace

VT_P11_Key& VT_P11_Key::operator=(const VT_P11_Key& other) {
    if (this == &other)
        return *this;
    Reset();
    keyType = other.keyType;
    isTokenKey = other.isTokenKey;
    if (other.label != nullptr)
        label = reinterpret_cast<char*>(CopyBuffer(other.label, std::strlen(other.label)));
    token::copyBytes(sessionKey, sessionKeyLength, other.sessionKey, other.sessionKeyLength);
    sessionKeyUse = other.sessionKeyUse;
    copy(publicModulus, other.publicModulus);
    copy(publicExponent, other.publicExponent);
    copy(modulus, other.modulus);
    copy(publicExponent2, other.publicExponent2);
    copy(privateExponent, other.privateExponent);
    copy(prime1, other.prime1);
    copy(prime2, other.prime2);
    copy(exponent1, other.exponent1);
    copy(exponent2, other.exponent2);
    copy(coefficient, other.coefficient);
    return *this;
}

void VT_P11_Key::Reset() {
    keyType = -1;
    isTokenKey = 0;
    FreeBuffer(label);
    label = nullptr;
    token::clearBytes(sessionKey, sessionKeyLength);
    sessionKeyUse = 0;
    for (VT_PKCS11_BYTES* number : {&publicModulus, &publicExponent, &modulus, &publicExponent2, &privateExponent,
                                    &prime1, &prime2, &exponent1, &exponent2, &coefficient})
        clear(*number);
}

int VT_P11_Key::setPublicKey(const VT_PKCS11_RSA_PUBLIC_KEY* key) {
    if (key == nullptr)
        return token::kNullArgument;
    copyAllOrNone({{&publicModulus, &key->modulus}, {&publicExponent, &key->publicExponent}});
    return 0;
}

int VT_P11_Key::getPublicKey(VT_PKCS11_RSA_PUBLIC_KEY* key) const {
    if (key == nullptr)
        return token::kNullArgument;
    *key = {};
    copyAllOrNone({{&key->modulus, &publicModulus}, {&key->publicExponent, &publicExponent}});
    return 0;
}

int VT_P11_Key::setPrivateKey(const VT_PKCS11_RSA_PRIVATE_KEY* key) {
    if (key == nullptr)
        return token::kNullArgument;
    copyAllOrNone({{&coefficient, &key->coefficient},
                   {&modulus, &key->modulus},
                   {&prime1, &key->prime1},
                   {&prime2, &key->prime2},
                   {&exponent1, &key->exponent1},
                   {&exponent2, &key->exponent2},
                   {&privateExponent, &key->privateExponent},
                   {&publicExponent2, &key->publicExponent}});
    return 0;
}

int VT_P11_Key::getPrivateKey(VT_PKCS11_RSA_PRIVATE_KEY* key) const {
    if (key == nullptr)
        return token::kNullArgument;
    *key = {};
    copyAllOrNone({{&key->coefficient, &coefficient},
                   {&key->modulus, &modulus},
                   {&key->prime1, &prime1},
                   {&key->prime2, &prime2},
                   {&key->exponent1, &exponent1},
                   {&key->exponent2, &exponent2},
                   {&key->privateExponent, &privateExponent},
                   {&key->publicExponent, &publicExponent2}});
    return 0;
}

int VT_P11_Key::setRSAPublicKey(const RSAPublicKey& key) {
    const int failure =
        loadAll({{&publicModulus, present(key, "pkModulus")}, {&publicExponent, key.GetPublicExponent()}});
    if (failure != 0)
        return failure;
    keyType = token::kRsaPublicKey;
    return 0;
}

int VT_P11_Key::getRSAPublicKey(RSAPublicKey& key) const {
    if (keyType != token::kRsaPublicKey)
        return token::kWrongKeyType;
    key.Reset(nullptr);
    return storeAll(key, {{"pkModulus", &publicModulus}, {"publicExponent", &publicExponent}});
}

int VT_P11_Key::setRSAPrivateKey(const RSAPrivateKey& key) {
    const int failure = loadAll({{&coefficient, present(key, "coefficient")},
                                 {&modulus, key.GetPkModulus()},
                                 {&prime1, key.GetPrime1()},
                                 {&prime2, key.GetPrime2()},
                                 {&exponent1, key.GetExponent1()},
                                 {&exponent2, key.GetExponent2()},
                                 {&privateExponent, key.GetPrivateExponent()},
                                 {&publicExponent2, key.GetPublicExponent()}});
    if (failure != 0)
        return failure;
    keyType = token::kRsaPrivateKey;
    return 0;
}

int VT_P11_Key::getRSAPrivateKey(RSAPrivateKey& key) const {
    if (keyType != token::kRsaPrivateKey)
        return token::kWrongKeyType;
    key.Reset(nullptr);
    key.SetVersion(AsnInteger(0));
    return storeAll(key, {{"coefficient", &coefficient},
                          {"pkModulus", &modulus},
                          {"prime1", &prime1},
                          {"prime2", &prime2},
                          {"exponent1", &exponent1},
                          {"exponent2", &exponent2},
                          {"privateExponent", &privateExponent},
                          {"publicExponent", &publicExponent2}});
}

void VT_FreeSessionKey(VT_PKCS11_SESSION_KEY* key) {
    if (key == nullptr)
        return;
    clear(key->bytes);
    key->use = 0;
}

void VT_FreePublicKey(VT_PKCS11_RSA_PUBLIC_KEY* key) {
    if (key == nullptr)
        return;
    for (VT_PKCS11_BYTES* number : {&key->modulus, &key->publicExponent})
        clear(*number);
}

void VT_FreePrivateKey(VT_PKCS11_RSA_PRIVATE_KEY* key) {
    if (key == nullptr)
        return;
    for (VT_PKCS11_BYTES* number : {&key->modulus, &key->publicExponent, &key->privateExponent, &key->prime1,
                                    &key->prime2, &key->exponent1, &key->exponent2, &key->coefficient})
        clear(*number);
}
