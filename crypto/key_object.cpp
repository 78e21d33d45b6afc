#include "crypto/key_object.h"

#include <algorithm>

#include "crypto/alloc_buffer.h"
#include "crypto/codes.h"

namespace {

// What the value of an attribute is when the object is new.
enum class Kind { kNumber, kFlag, kFromSetter };

struct Entry {
    CK_ATTRIBUTE_TYPE type;
    Kind kind;
    CK_ULONG value;
};

constexpr Entry kPrivateEntries[] = {
    {CKA_CLASS, Kind::kNumber, CKO_PRIVATE_KEY},  {CKA_KEY_TYPE, Kind::kNumber, CKK_RSA},
    {CKA_TOKEN, Kind::kFlag, CK_FALSE},           {CKA_SENSITIVE, Kind::kFlag, CK_TRUE},
    {CKA_PRIVATE, Kind::kFlag, CK_TRUE},          {CKA_DECRYPT, Kind::kFlag, CK_TRUE},
    {CKA_EXTRACTABLE, Kind::kFlag, CK_TRUE},      {CKA_UNWRAP, Kind::kFlag, CK_TRUE},
    {CKA_MODULUS, Kind::kFromSetter, 0},          {CKA_PUBLIC_EXPONENT, Kind::kFromSetter, 0},
    {CKA_PRIVATE_EXPONENT, Kind::kFromSetter, 0}, {CKA_PRIME_1, Kind::kFromSetter, 0},
    {CKA_PRIME_2, Kind::kFromSetter, 0},          {CKA_EXPONENT_1, Kind::kFromSetter, 0},
    {CKA_EXPONENT_2, Kind::kFromSetter, 0},       {CKA_COEFFICIENT, Kind::kFromSetter, 0},
};
constexpr std::uint32_t kPrivateNumbers = 8;  // index of the first entry from the setter

constexpr Entry kPublicEntries[] = {
    {CKA_TOKEN, Kind::kFlag, CK_FALSE},
    {CKA_ENCRYPT, Kind::kFlag, CK_TRUE},
    {CKA_CLASS, Kind::kNumber, CKO_PUBLIC_KEY},
    {CKA_KEY_TYPE, Kind::kNumber, CKK_RSA},
    {CKA_WRAP, Kind::kFlag, CK_TRUE},
    {CKA_MODULUS, Kind::kFromSetter, 0},
    {CKA_PUBLIC_EXPONENT, Kind::kFromSetter, 0},
    {CKA_MODULUS_BITS, Kind::kFromSetter, 0},
};
constexpr std::uint32_t kPublicNumbers = 5;
constexpr std::uint32_t kModulusBits = 7;

constexpr Entry kTokenEntries[] = {{CKA_LABEL, Kind::kFromSetter, 0}};

constexpr std::uint32_t kSecretValue = 5;

void setAttribute(ATTRIBUTE& attribute, void* value, CK_ULONG length) {
    FreeBuffer(attribute.value);
    attribute.value = value;
    attribute.valueLength = length;
}

int fillAttribute(ATTRIBUTE& attribute, const Entry& entry) {
    attribute.type = entry.type;
    if (entry.kind == Kind::kFromSetter)
        return 0;
    const auto flag = static_cast<CK_BBOOL>(entry.value);
    const bool isNumber = entry.kind == Kind::kNumber;
    const std::size_t length = isNumber ? sizeof entry.value : sizeof flag;
    void* value = CopyBuffer(isNumber ? static_cast<const void*>(&entry.value) : &flag, length);
    if (value == nullptr)
        return crypto::kNoMemory;
    setAttribute(attribute, value, static_cast<CK_ULONG>(length));
    return 0;
}

template <std::size_t count>
int fill(KEY_OBJ* object, KeyAllocator allocator, const Entry (&entries)[count], KeySetter setter, KeyGetter getter) {
    if (object == nullptr)
        return crypto::kArgumentAbsent;
    object->allocator = allocator;
    object->setter = setter;
    object->getter = getter;
    object->attributes = static_cast<ATTRIBUTE*>(AllocBuffer(count * sizeof(ATTRIBUTE)));
    if (object->attributes == nullptr)
        return crypto::kNoMemory;
    object->templateCount = count;
    for (std::size_t i = 0; i < count; ++i) {
        if (const int failure = fillAttribute(object->attributes[i], entries[i]))
            return failure;
    }
    return 0;
}

bool isNoValue(const KEY_ITEM* value) {
    return value == nullptr || value->bytes == nullptr;
}

KEY_ITEM copyOf(const KEY_ITEM& item) {
    return {CopyBuffer(item.bytes, item.length), item.length};
}

// A fresh array with copies of count pairs, or null.
KEY_ITEM* copyItems(const KEY_ITEM* items, std::uint32_t count) {
    auto* copies = static_cast<KEY_ITEM*>(AllocBuffer(count * sizeof(KEY_ITEM)));
    for (std::uint32_t i = 0; copies != nullptr && i < count; ++i) {
        copies[i] = copyOf(items[i]);
        if (copies[i].bytes == nullptr)
            KeyItemsFree(&copies, count);
    }
    return copies;
}

int giveItems(const KEY_ITEM* items, std::uint32_t count, KEY_ITEM** value) {
    KEY_ITEM* copies = copyItems(items, count);
    if (copies == nullptr)
        return crypto::kNoMemory;
    *value = copies;
    return 0;
}

// Secret keys. The rule: at least shortest and at most longest bytes, of which the first kept are kept.
template <std::uint32_t shortest, std::uint32_t longest, std::uint32_t kept>
int setSecret(KEY_OBJ* object, const KEY_ITEM* value) {
    if (object == nullptr || object->attributes == nullptr)
        return crypto::kKeyMissing;
    if (isNoValue(value))
        return 0;
    if (value->length < shortest || value->length > longest)
        return crypto::kBadKeyValue;
    const std::uint32_t length = std::min(value->length, kept);
    std::uint8_t* data = CopyBuffer(value->bytes, length);
    std::uint8_t* attribute = CopyBuffer(value->bytes, length);
    if (data == nullptr || attribute == nullptr) {
        FreeBuffer(data);
        FreeBuffer(attribute);
        return crypto::kNoMemory;
    }
    FreeBuffer(object->data);
    object->data = data;
    object->length = length;
    setAttribute(object->attributes[kSecretValue], attribute, length);
    return 0;
}

int getSecret(const KEY_OBJ* object, KEY_ITEM** value) {
    if (object == nullptr || value == nullptr)
        return crypto::kArgumentAbsent;
    if (object->data == nullptr || object->length == 0)
        return crypto::kKeyMissing;
    const KEY_ITEM item = {static_cast<std::uint8_t*>(object->data), object->length};
    return giveItems(&item, 1, value);
}

int fillSecret(KEY_OBJ* object, KeyAllocator allocator, CK_ULONG keyType, KeySetter setter) {
    const Entry entries[] = {
        {CKA_CLASS, Kind::kNumber, CKO_SECRET_KEY}, {CKA_KEY_TYPE, Kind::kNumber, keyType},
        {CKA_TOKEN, Kind::kFlag, CK_FALSE},         {CKA_ENCRYPT, Kind::kFlag, CK_TRUE},
        {CKA_DECRYPT, Kind::kFlag, CK_TRUE},        {CKA_VALUE, Kind::kFromSetter, 0},
    };
    return fill(object, allocator, entries, setter, getSecret);
}

// RSA keys. The strings of the new array become the attribute values from first on; data keeps the array.
int setItems(KEY_OBJ* object, const KEY_ITEM* value, std::uint32_t count, std::uint32_t first, std::uint32_t length) {
    const bool whole =
        std::all_of(value, value + count, [](const KEY_ITEM& item) { return item.bytes != nullptr && item.length; });
    if (!whole)
        return crypto::kBadKeyValue;
    KEY_ITEM* items = copyItems(value, count);
    if (items == nullptr)
        return crypto::kNoMemory;
    for (std::uint32_t i = 0; i < count; ++i)
        setAttribute(object->attributes[first + i], items[i].bytes, items[i].length);
    FreeBuffer(object->data);
    object->data = items;
    object->length = length;
    return 0;
}

int setPrivate(KEY_OBJ* object, const KEY_ITEM* value) {
    if (object == nullptr || object->attributes == nullptr)
        return crypto::kKeyMissing;
    if (value == nullptr)
        return 0;
    return setItems(object, value, RSA_ITEM_COUNT, kPrivateNumbers, RSA_PRIVATE_LENGTH);
}

int setPublic(KEY_OBJ* object, const KEY_ITEM* value) {
    if (object == nullptr || object->attributes == nullptr)
        return crypto::kKeyMissing;
    if (value == nullptr)
        return 0;
    std::uint32_t modulus[MPI_FULL_WORDS] = {};
    if (value->bytes != nullptr &&
        (value->length > MPI_MAX_BYTES || MPI_FromBytes(value->bytes, static_cast<int>(value->length), modulus) < 0))
        return crypto::kNumberNotLoaded;
    const auto bits = static_cast<CK_ULONG>(MPI_BitLength(modulus));
    void* bitsValue = CopyBuffer(&bits, sizeof bits);
    const int failure = bitsValue == nullptr
                            ? crypto::kNoMemory
                            : setItems(object, value, RSA_PUBLIC_ITEM_COUNT, kPublicNumbers, RSA_PUBLIC_LENGTH);
    if (failure != 0) {
        FreeBuffer(bitsValue);
        return failure;
    }
    setAttribute(object->attributes[kModulusBits], bitsValue, sizeof bits);
    return 0;
}

int getPairs(const KEY_OBJ* object, KEY_ITEM** value, std::uint32_t count, std::uint32_t length) {
    if (object == nullptr || value == nullptr)
        return crypto::kArgumentAbsent;
    if (object->data == nullptr || object->length < length)
        return crypto::kKeyMissing;
    return giveItems(static_cast<const KEY_ITEM*>(object->data), count, value);
}

int getPrivate(const KEY_OBJ* object, KEY_ITEM** value) {
    return getPairs(object, value, RSA_ITEM_COUNT, RSA_PRIVATE_LENGTH);
}

int getPublic(const KEY_OBJ* object, KEY_ITEM** value) {
    return getPairs(object, value, RSA_PUBLIC_ITEM_COUNT, RSA_PUBLIC_LENGTH);
}

int setLabel(KEY_OBJ* object, const KEY_ITEM* value) {
    if (object == nullptr || object->attributes == nullptr)
        return crypto::kKeyMissing;
    if (isNoValue(value))
        return 0;
    if (value->length == 0)
        return crypto::kBadKeyValue;
    std::uint8_t* label = CopyBuffer(value->bytes, value->length);
    if (label == nullptr)
        return crypto::kNoMemory;
    setAttribute(object->attributes[0], label, value->length);
    return 0;
}

}  // namespace

KEY_OBJ* KeyShell() {
    return AllocStructure<KEY_OBJ>();
}

int KeySetup(KEY_OBJ** object, KeyAllocator allocator, const KEY_ITEM* value) {
    if (object == nullptr || *object == nullptr || allocator == nullptr)
        return crypto::kArgumentAbsent;
    int result = allocator(*object);
    if (result == 0 && (*object)->setter != nullptr)
        result = (*object)->setter(*object, value);
    if (result != 0)
        KeyFree(object);
    return result;
}

void KeyFree(KEY_OBJ** object) {
    if (object == nullptr || *object == nullptr)
        return;
    for (std::uint32_t i = (*object)->templateCount; i > 0; --i)
        FreeBuffer((*object)->attributes[i - 1].value);
    FreeBuffer((*object)->attributes);
    FreeBuffer((*object)->data);
    FreeBuffer(*object);
    *object = nullptr;
}

int KeyAllocDes(KEY_OBJ* object) {
    return fillSecret(object, KeyAllocDes, CKK_DES, setSecret<8, UINT32_MAX, 8>);
}

int KeyAllocDes3(KEY_OBJ* object) {
    return fillSecret(object, KeyAllocDes3, CKK_DES3, setSecret<24, UINT32_MAX, 24>);
}

int KeyAllocRc2(KEY_OBJ* object) {
    return fillSecret(object, KeyAllocRc2, CKK_RC2, setSecret<1, 128, 128>);
}

int KeyAllocRc4(KEY_OBJ* object) {
    return fillSecret(object, KeyAllocRc4, CKK_RC4, setSecret<1, 256, 256>);
}

int KeyAllocRsaPrivate(KEY_OBJ* object) {
    return fill(object, KeyAllocRsaPrivate, kPrivateEntries, setPrivate, getPrivate);
}

int KeyAllocRsaPublic(KEY_OBJ* object) {
    return fill(object, KeyAllocRsaPublic, kPublicEntries, setPublic, getPublic);
}

int KeyAllocTokenKey(KEY_OBJ* object) {
    const int result = fill(object, KeyAllocTokenKey, kTokenEntries, setLabel, nullptr);
    if (object != nullptr)
        object->isTokenObject = 1;
    return result;
}

bool KeyIsRsa(const KEY_OBJ* object) {
    return object->allocator == KeyAllocRsaPrivate || object->allocator == KeyAllocRsaPublic;
}
