#include <cstring>

#include "pki/flat/flat.h"
#include "pki/flat/message.h"

namespace {

// copyNumber stores a copy of a number. -1010 for none, -1031.
int32_t copyNumber(const PKCS_Blob& number, PKCS_Blob& copy) {
    if (!flat::holds(number))
        return VT_E_NULL_ARGUMENT;
    return flat::giveBlob(reinterpret_cast<const char*>(number.data), number.length, copy);
}

int32_t copyNumbers(const PKCS_PubKey& key, PKCS_PubKey& copy) {
    const int32_t result = copyNumber(key.modulus, copy.modulus);
    return result != 0 ? result : copyNumber(key.publicExponent, copy.publicExponent);
}

int32_t copyNumbers(const PKCS_PriKey& key, PKCS_PriKey& copy) {
    constexpr PKCS_Blob PKCS_PriKey::*kNumbers[] = {
        &PKCS_PriKey::modulus, &PKCS_PriKey::publicExponent, &PKCS_PriKey::privateExponent, &PKCS_PriKey::prime1,
        &PKCS_PriKey::prime2,  &PKCS_PriKey::exponent1,      &PKCS_PriKey::exponent2,       &PKCS_PriKey::coefficient};
    int32_t result = 0;
    for (const auto number : kNumbers)
        if (result == 0)
            result = copyNumber(key.*number, copy.*number);
    return result;
}

int32_t copyNumbers(const PKCS_Key& key, PKCS_Key& copy) {
    PKCS_Blob bytes = {nullptr, 0};
    const int32_t result = copyNumber({key.data, key.length}, bytes);
    if (result == 0)
        copy = {bytes.data, bytes.length, key.keyLength};
    return result;
}

// replaceKey puts a copy of a key in the place of the old one, or nothing if there is no whole copy. The copy is made
// first: the key may be the object's own.
template <class Record>
int32_t replaceKey(Record& held, const Record& key, int32_t (*release)(Record*), int32_t& kind, int32_t newKind) {
    Record copy = {};
    const int32_t result = copyNumbers(key, copy);
    if (result != 0)
        release(&copy);
    release(&held);
    held = copy;
    if (result == 0)
        kind = newKind;
    return result;
}

}  // namespace

int32_t VTPKCS_InitKeyObj(VTPKCS_KeyObj** object) {
    if (object == nullptr)
        return VT_E_NULL_ARGUMENT;
    *object = static_cast<VTPKCS_KeyObj*>(T_malloc(sizeof(VTPKCS_KeyObj)));
    return *object != nullptr ? 0 : VT_E_MEMORY;
}

int32_t VTPKCS_SetPubKeyObj(VTPKCS_KeyObj* object, const PKCS_PubKey* key) {
    if (flat::anyNull(object, key))
        return VT_E_NULL_ARGUMENT;
    return replaceKey(object->publicKey, *key, PKCS_FreePubKey, object->kind, VTPKCS_PUBLIC_KEY);
}

int32_t VTPKCS_SetPriKeyObj(VTPKCS_KeyObj* object, const PKCS_PriKey* key) {
    if (flat::anyNull(object, key))
        return VT_E_NULL_ARGUMENT;
    return replaceKey(object->privateKey, *key, PKCS_FreePriKey, object->kind, VTPKCS_PRIVATE_KEY);
}

int32_t VTPKCS_SetSessionKeyObj(VTPKCS_KeyObj* object, const PKCS_Key* key) {
    if (flat::anyNull(object, key))
        return VT_E_NULL_ARGUMENT;
    return replaceKey(object->sessionKey, *key, PKCS_FreeKey, object->kind, VTPKCS_SESSION_KEY);
}

int32_t VTPKCS_SetTokenKeyObj(VTPKCS_KeyObj* object, const char* label) {
    if (flat::anyNull(object, label))
        return VT_E_NULL_ARGUMENT;
    const std::size_t length = std::strlen(label);
    auto* const copy = static_cast<char*>(T_malloc(length));
    if (copy != nullptr)
        std::memcpy(copy, label, length + 1);
    T_free(object->tokenKeyLabel);
    object->tokenKeyLabel = copy;
    if (copy == nullptr)
        return VT_E_MEMORY;
    object->kind = VTPKCS_TOKEN_KEY;
    return 0;
}

int32_t VTPKCS_DestroyKeyObj(VTPKCS_KeyObj** object) {
    if (object == nullptr)
        return VT_E_NULL_ARGUMENT;
    if (*object == nullptr)
        return 0;
    PKCS_FreeKey(&(*object)->sessionKey);
    PKCS_FreePriKey(&(*object)->privateKey);
    PKCS_FreePubKey(&(*object)->publicKey);
    T_free((*object)->tokenKeyLabel);
    T_free(*object);
    *object = nullptr;
    return 0;
}
