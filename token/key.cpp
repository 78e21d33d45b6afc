#include "token/key.h"

#include <cstring>
#include <initializer_list>

#include "crypto/codes.h"
#include "crypto/key_object.h"
#include "schema/x509.h"
#include "token/alg.h"
#include "token/codes.h"
#include "token/identifiers.h"
#include "token/owned_bytes.h"

namespace {

// Builds nothing for a session key that is there. setKeyType does not take it.
constexpr int kNoObjectKey = 8;

// Keys of 16 bytes were recorded apart from those of 24, under one identifier.
constexpr int kTwoKeyUse = 16;

struct SessionKeyKind {
    int keyCode;
    int algorithmCode;
    KeyAllocator allocator;
};

// The key of 16 bytes comes behind the one that its algorithm stands for otherwise.
constexpr SessionKeyKind kSessionKeys[] = {
    {token::kDes3Key, token::kDes3Cbc, KeyAllocDes3},    {token::kDesKey, token::kDesCbc, KeyAllocDes},
    {token::kRc2Key, token::kRc2Cbc, KeyAllocRc2},       {token::kRc4Key, token::kRc4, KeyAllocRc4},
    {token::kDes3TwoKey, token::kDes3Cbc, KeyAllocDes3},
};

const SessionKeyKind* sessionKeyKindOf(int keyCode) {
    for (const SessionKeyKind& kind : kSessionKeys) {
        if (kind.keyCode == keyCode)
            return &kind;
    }
    return nullptr;
}

// The code of a session key for an algorithm, -1 for other algorithms.
int keyCodeOf(int algorithmCode, int use) {
    if (algorithmCode == token::kDes3Cbc && use == kTwoKeyUse)
        return token::kDes3TwoKey;
    for (const SessionKeyKind& kind : kSessionKeys) {
        if (kind.algorithmCode == algorithmCode)
            return kind.keyCode;
    }
    return -1;
}

KEY_ITEM item(const VT_PKCS11_BYTES& bytes) {
    return {bytes.data, bytes.length};
}

int setUp(unsigned char** object, KeyAllocator allocator, std::initializer_list<KEY_ITEM> material) {
    for (const KEY_ITEM& piece : material) {
        if (piece.bytes == nullptr)
            return token::kMaterialMissing;
    }
    if (object == nullptr)
        return crypto::kArgumentAbsent;
    auto* shell = reinterpret_cast<KEY_OBJ*>(*object);
    const int result = KeySetup(&shell, allocator, material.begin());
    *object = reinterpret_cast<unsigned char*>(shell);
    return result;
}

int setUpTokenKey(unsigned char** object, char* label) {
    const std::size_t length = label == nullptr ? 0 : std::strlen(label);
    return setUp(object, KeyAllocTokenKey,
                 {{reinterpret_cast<std::uint8_t*>(label), static_cast<std::uint32_t>(length)}});
}

}  // namespace

VT_P11_Key::VT_P11_Key() = default;

VT_P11_Key::VT_P11_Key(const VT_P11_Key& other) {
    *this = other;
}

VT_P11_Key::~VT_P11_Key() {
    Reset();
}

int VT_P11_Key::setKeyType(int type) {
    if (type < token::kDes3Key || type > token::kDes3TwoKey)
        return token::kUnsupported;
    keyType = type;
    return 0;
}

int VT_P11_Key::getKeyType(int& type) const {
    type = keyType < token::kDes3Key || keyType > token::kDes3TwoKey ? -1 : keyType;
    return 0;
}

int VT_P11_Key::getAK() const {
    if (keyType == token::kRsaPublicKey)
        return token::kPublicClass;
    return keyType == token::kRsaPrivateKey ? token::kPrivateClass : token::kSecretClass;
}

int VT_P11_Key::setTokenKeyLabel(const unsigned char* text) {
    if (text == nullptr || *text == 0)
        return token::kNullArgument;
    auto* copy = CopyBuffer(text, std::strlen(reinterpret_cast<const char*>(text)));
    if (copy == nullptr)
        return token::kOutOfMemory;
    FreeBuffer(label);
    label = reinterpret_cast<char*>(copy);
    isTokenKey = 1;
    return 0;
}

int VT_P11_Key::setSessionKey(const VT_PKCS11_SESSION_KEY* key) {
    if (key == nullptr || key->bytes.data == nullptr || key->bytes.length == 0)
        return token::kNullArgument;
    if (!token::replaceBytes(sessionKey, sessionKeyLength, key->bytes.data, key->bytes.length))
        return token::kOutOfMemory;
    sessionKeyUse = key->use;
    return 0;
}

int VT_P11_Key::getSessionKey(VT_PKCS11_SESSION_KEY* key) const {
    if (key == nullptr)
        return token::kNullArgument;
    *key = {};
    if (sessionKey == nullptr)
        return token::kMaterialMissing;
    if (!token::replaceBytes(key->bytes.data, key->bytes.length, sessionKey, sessionKeyLength))
        return token::kOutOfMemory;
    key->use = sessionKeyUse;
    return 0;
}

int VT_P11_Key::setSessionKey(const MiByte& key, int use, const AlgorithmIdentifier& identifier) {
    if (key.Empty())
        return 0;
    keyType = keyCodeOf(token::codeOf(identifier.GetAlgorithm()), use);
    sessionKeyUse = use;
    if (keyType == -1)
        token::clearBytes(sessionKey, sessionKeyLength);
    else
        token::copyBytes(sessionKey, sessionKeyLength, key.GetChars(), key.GetLength());
    return 0;
}

int VT_P11_Key::getSessionKey(MiByte& key, int& use, AlgorithmIdentifier& identifier) const {
    if (sessionKey == nullptr)
        return token::kMaterialMissing;
    key.SetByte(reinterpret_cast<const char*>(sessionKey), sessionKeyLength);
    use = sessionKeyUse;
    if (const SessionKeyKind* kind = sessionKeyKindOf(keyType))
        identifier.SetAlgorithm(AsnOid(token::identifierOf(kind->algorithmCode)));
    return 0;
}

int VT_P11_Key::GetVCKKIObj(unsigned char** object, int /*keyClass*/) const {
    if (isTokenKey == 1)
        return setUpTokenKey(object, label);
    switch (keyType) {
        case token::kRc2Key:
            if (sessionKey != nullptr && static_cast<std::uint32_t>(sessionKeyUse) > sessionKeyLength)
                return token::kRc2LengthInUse;
            return setUp(object, KeyAllocRc2, {{sessionKey, static_cast<std::uint32_t>(sessionKeyUse)}});
        case token::kRsaPublicKey:
            return setUp(object, KeyAllocRsaPublic, {item(publicModulus), item(publicExponent)});
        case token::kRsaPrivateKey:
            return setUp(object, KeyAllocRsaPrivate,
                         {item(modulus), item(publicExponent2), item(privateExponent), item(prime1), item(prime2),
                          item(exponent1), item(exponent2), item(coefficient)});
        case kNoObjectKey:
            return sessionKey == nullptr ? token::kMaterialMissing : 0;
        default:
            break;
    }
    const SessionKeyKind* kind = sessionKeyKindOf(keyType);
    return kind == nullptr ? token::kUnsupported : setUp(object, kind->allocator, {{sessionKey, sessionKeyLength}});
}
