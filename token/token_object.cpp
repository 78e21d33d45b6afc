#include "token/token_object.h"

#include <algorithm>
#include <iterator>

#include "token/op_frame.h"

using token::isOnToken;
using token::View;

namespace {

constexpr CK_ULONG kLongestNumber = 1024;
constexpr CK_ULONG kLongestValue = UINT32_MAX - 1;  // a token gives all ones for what it does not tell

int codeOf(CK_RV value) {
    return static_cast<int>(value);
}

// Entries of a template, over values that outlive it.
ATTRIBUTE bytesEntry(CK_ATTRIBUTE_TYPE type, const View& bytes) {
    return {type, const_cast<std::uint8_t*>(bytes.bytes), bytes.length};
}

ATTRIBUTE numberEntry(CK_ATTRIBUTE_TYPE type, const CK_ULONG& number) {
    return {type, const_cast<CK_ULONG*>(&number), sizeof number};
}

const CK_BBOOL kYes = CK_TRUE;
const CK_BBOOL kNo = CK_FALSE;

ATTRIBUTE flagEntry(CK_ATTRIBUTE_TYPE type, const CK_BBOOL& flag) {
    return {type, const_cast<CK_BBOOL*>(&flag), sizeof flag};
}

// What a search for one object gave. opening is the sum of the codes of its first two calls.
struct Search {
    CK_RV opening;
    CK_RV closing;
    bool found;
    CK_OBJECT_HANDLE object;
};

Search search(const CHOOSER& chooser, ATTRIBUTE* attributes, CK_ULONG count) {
    const CK_FUNCTION_LIST& functions = *chooser.functions;
    Search result = {};
    CK_ULONG number = 0;
    result.opening = functions.C_FindObjectsInit(chooser.session, attributes, count);
    result.opening += functions.C_FindObjects(chooser.session, &result.object, 1, &number);
    result.closing = functions.C_FindObjectsFinal(chooser.session);
    result.found = result.opening == CKR_OK && number != 0;
    return result;
}

// Added as CK_RV, which wraps around where a module answers something large.
int failureOf(const Search& result) {
    const int code = codeOf(static_cast<CK_RV>(crypto::kObjectNotFound) + result.closing);
    return code != 0 ? code : crypto::kObjectNotFound;
}

// The size of an attribute.
int readSize(const CHOOSER& chooser, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type, CK_ULONG& size) {
    ATTRIBUTE attribute = {type, nullptr, 0};
    const CK_RV code = chooser.functions->C_GetAttributeValue(chooser.session, object, &attribute, 1);
    size = attribute.valueLength;
    return codeOf(code);
}

// Its value, of the size that was told.
int readValue(const CHOOSER& chooser, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type, CK_ULONG size,
              token::Buffer& value) {
    if (!value.allocate(static_cast<std::uint32_t>(size)))
        return crypto::kNoMemory;
    ATTRIBUTE attribute = {type, value.bytes.get(), size};
    if (const CK_RV code = chooser.functions->C_GetAttributeValue(chooser.session, object, &attribute, 1))
        return codeOf(code);
    if (attribute.valueLength > size)
        return crypto::kAttributeTooLong;
    value.length = static_cast<std::uint32_t>(attribute.valueLength);
    return 0;
}

int readAttribute(const CHOOSER& chooser, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type, CK_ULONG longest,
                  token::Buffer& value) {
    CK_ULONG size = 0;
    if (const int code = readSize(chooser, object, type, size))
        return code;
    return size > longest ? crypto::kAttributeTooLong : readValue(chooser, object, type, size, value);
}

int findPublicKey(const CHOOSER* chooser, const View& label, CK_OBJECT_HANDLE& object) {
    if (!isOnToken(chooser))
        return crypto::kArgumentAbsent;
    ATTRIBUTE attribute = bytesEntry(CKA_LABEL, label);
    return FindTokenObject(*chooser, &attribute, 1, object);
}

bool areEqual(const token::Buffer& own, const View& other) {
    return own.length == other.length && std::equal(other.bytes, other.bytes + other.length, own.bytes.get());
}

// Sets the public shell up with the numbers that the token gives of a key that it made.
int takePublicKey(const CHOOSER& chooser, CK_OBJECT_HANDLE object, CK_ULONG bits, KEY_OBJ** publicKey) {
    constexpr std::uint32_t kExponentSize = 3;
    token::Buffer modulus;
    std::uint8_t exponent[kExponentSize] = {};
    if (!modulus.allocate(static_cast<std::uint32_t>(bits / 8)))
        return crypto::kNoMemory;
    ATTRIBUTE numbers[] = {{CKA_MODULUS, modulus.bytes.get(), modulus.length},
                           {CKA_PUBLIC_EXPONENT, exponent, kExponentSize}};
    if (const CK_RV code = chooser.functions->C_GetAttributeValue(chooser.session, object, numbers, 2))
        return codeOf(code);
    if (numbers[0].valueLength > modulus.length || numbers[1].valueLength > kExponentSize)
        return crypto::kAttributeTooLong;
    const KEY_ITEM items[RSA_PUBLIC_ITEM_COUNT] = {
        {modulus.bytes.get(), static_cast<std::uint32_t>(numbers[0].valueLength)},
        {exponent, static_cast<std::uint32_t>(numbers[1].valueLength)}};
    return KeySetup(publicKey, KeyAllocRsaPublic, items);
}

// One C_GenerateKeyPair. Tokens look at what is given and in which order, so the entries stand as they always have.
CK_RV generate(const CHOOSER& chooser, CK_ULONG bits, const View& publicLabel, const View& privateLabel,
               CK_OBJECT_HANDLE& publicObject) {
    static const CK_ULONG kPublicClass = CKO_PUBLIC_KEY;
    static const CK_ULONG kPrivateClass = CKO_PRIVATE_KEY;
    static const CK_ULONG kRsaType = CKK_RSA;
    static const std::uint8_t kExponent[] = {0x01, 0x00, 0x01};
    const View exponent = {kExponent, sizeof kExponent};
    ATTRIBUTE publicEntries[] = {
        numberEntry(CKA_CLASS, kPublicClass),
        flagEntry(CKA_TOKEN, kYes),
        flagEntry(CKA_PRIVATE, kNo),
        bytesEntry(CKA_LABEL, publicLabel),
        numberEntry(CKA_KEY_TYPE, kRsaType),
        numberEntry(CKA_MODULUS_BITS, bits),
        bytesEntry(CKA_PUBLIC_EXPONENT, exponent),
        flagEntry(CKA_ENCRYPT, kYes),
        flagEntry(CKA_VERIFY, kYes),
        flagEntry(CKA_WRAP, kYes),
    };
    ATTRIBUTE privateEntries[] = {
        numberEntry(CKA_CLASS, kPrivateClass),
        flagEntry(CKA_TOKEN, kYes),
        flagEntry(CKA_PRIVATE, kYes),
        bytesEntry(CKA_LABEL, privateLabel),
        numberEntry(CKA_KEY_TYPE, kRsaType),
        flagEntry(CKA_SENSITIVE, kNo),
        flagEntry(CKA_EXTRACTABLE, kNo),
        numberEntry(CKA_MODULUS_BITS, bits),
        bytesEntry(CKA_PUBLIC_EXPONENT, exponent),
        flagEntry(CKA_DECRYPT, kYes),
        flagEntry(CKA_SIGN, kYes),
        flagEntry(CKA_UNWRAP, kYes),
    };
    MECHANISM mechanism = {CKM_RSA_PKCS_KEY_PAIR_GEN, nullptr, 0};
    CK_OBJECT_HANDLE privateObject = 0;
    return chooser.functions->C_GenerateKeyPair(chooser.session, &mechanism, publicEntries, std::size(publicEntries),
                                                privateEntries, std::size(privateEntries), &publicObject,
                                                &privateObject);
}

int generateInToken(const CHOOSER& chooser, CK_ULONG bits, KEY_OBJ** publicKey, const View& publicLabel,
                    KEY_OBJ** privateKey, const View& privateLabel) {
    CK_OBJECT_HANDLE publicObject = 0;
    if (const CK_RV code = generate(chooser, bits, publicLabel, privateLabel, publicObject))
        return codeOf(code);
    if (const int code = takePublicKey(chooser, publicObject, bits, publicKey))
        return code;
    const KEY_ITEM label = {const_cast<std::uint8_t*>(privateLabel.bytes), privateLabel.length};
    return KeySetup(privateKey, KeyAllocTokenKey, &label);
}

}  // namespace

int FindTokenObject(const CHOOSER& chooser, ATTRIBUTE* attributes, CK_ULONG count, CK_OBJECT_HANDLE& object) {
    const Search result = search(chooser, attributes, count);
    object = result.object;
    return result.found ? codeOf(result.closing) : failureOf(result);
}

int LabelSearchOp(const CHOOSER* chooser, const View& label) {
    if (!isOnToken(chooser))
        return crypto::kArgumentAbsent;
    ATTRIBUTE attribute = bytesEntry(CKA_LABEL, label);
    const Search result = search(*chooser, &attribute, 1);
    if (result.opening != CKR_OK)
        return failureOf(result);
    if (result.closing != CKR_OK)
        return codeOf(result.closing);
    return result.found ? crypto::kLabelExists : 0;
}

int ReadPublicKeyOp(const CHOOSER* chooser, const View& label, TOKEN_PUBLIC_KEY& key) {
    CK_OBJECT_HANDLE object = 0;
    if (const int code = findPublicKey(chooser, label, object))
        return code;
    if (const int code = readAttribute(*chooser, object, CKA_MODULUS, kLongestNumber, key.modulus))
        return code;
    return readAttribute(*chooser, object, CKA_PUBLIC_EXPONENT, kLongestNumber, key.publicExponent);
}

int ReadPublicKeyCheckedOp(const CHOOSER* chooser, const View& label, TOKEN_PUBLIC_KEY& key) {
    CK_OBJECT_HANDLE object = 0;
    if (const int code = findPublicKey(chooser, label, object))
        return code;
    CK_ULONG size = 0;
    if (const int code = readSize(*chooser, object, CKA_MODULUS, size))
        return code;
    if (size > kLongestNumber)
        return 0;  // no key of ours is as long: a comparison is to fail, not the operation
    if (const int code = readValue(*chooser, object, CKA_MODULUS, size, key.modulus))
        return code;
    return readAttribute(*chooser, object, CKA_PUBLIC_EXPONENT, kLongestNumber, key.publicExponent);
}

bool CompareTokenPublicKeyOp(const CHOOSER* chooser, const View& label, const View& modulus,
                             const View& publicExponent) {
    TOKEN_PUBLIC_KEY own;
    return ReadPublicKeyCheckedOp(chooser, label, own) == 0 && areEqual(own.modulus, modulus) &&
           areEqual(own.publicExponent, publicExponent);
}

int StoreCertValueOp(const CHOOSER* chooser, const View& label, const View& certificate) {
    if (!isOnToken(chooser))
        return crypto::kArgumentAbsent;
    const CK_ULONG objectClass = CKO_CERTIFICATE;
    const CK_ULONG type = CKC_X_509;
    ATTRIBUTE attributes[] = {numberEntry(CKA_CLASS, objectClass), numberEntry(CKA_CERTIFICATE_TYPE, type),
                              flagEntry(CKA_TOKEN, kYes), bytesEntry(CKA_LABEL, label),
                              bytesEntry(CKA_VALUE, certificate)};
    CK_OBJECT_HANDLE object = 0;
    return codeOf(chooser->functions->C_CreateObject(chooser->session, attributes, std::size(attributes), &object));
}

int FindCertValueOp(const CHOOSER* chooser, const View& label, token::Buffer& value) {
    if (!isOnToken(chooser))
        return crypto::kArgumentAbsent;
    const CK_ULONG objectClass = CKO_CERTIFICATE;
    const CK_ULONG type = CKC_X_509;
    ATTRIBUTE attributes[] = {numberEntry(CKA_CLASS, objectClass), numberEntry(CKA_CERTIFICATE_TYPE, type),
                              flagEntry(CKA_TOKEN, kYes), bytesEntry(CKA_LABEL, label)};
    CK_OBJECT_HANDLE object = 0;
    if (const int code = FindTokenObject(*chooser, attributes, std::size(attributes), object))
        return code;
    return readAttribute(*chooser, object, CKA_VALUE, kLongestValue, value);
}

int GenerateKeyPairOp(ALG_OBJ* alg, KEY_OBJ** publicKey, const View& publicLabel, KEY_OBJ** privateKey,
                      const View& privateLabel, CHOOSER* chooser) {
    if (!isOnToken(chooser))
        return GenerateKeyPairOp(alg, publicKey, privateKey, chooser);
    if (alg == nullptr || alg->mechanism == nullptr || publicKey == nullptr || privateKey == nullptr)
        return crypto::kArgumentAbsent;
    if (alg->mechanism->code != CKM_RSA_PKCS_KEY_PAIR_GEN)
        return crypto::kUnsupportedMechanism;
    alg->chooser = chooser;
    const int code =
        generateInToken(*chooser, alg->mechanism->parameterLength, publicKey, publicLabel, privateKey, privateLabel);
    if (code != 0) {
        KeyFree(publicKey);
        KeyFree(privateKey);
    }
    return code;
}
