// Codes, labels, session keys and the engine's objects. The numbers of RSA keys are in key_numbers_test.cpp.
#include "token/key.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <type_traits>

#include "foundation/exceptions.h"
#include "tests/support/failing_heap.h"
#include "tests/token/values.h"

namespace {

using support::FailingHeap;
using values::Bytes;
using values::bytesOf;
using values::fieldsOf;
using values::hex;
using values::identified;
using values::isShell;
using values::KeyFields;
using values::KeyObject;
using values::miByte;
using values::oidOf;
using values::over;
using values::typeOf;

const char* const kDes = "1.3.14.3.2.7";
const char* const kDes3 = "1.2.840.113549.3.7";
const char* const kRc2 = "1.2.840.113549.3.2";
const char* const kRc4 = "1.2.840.113549.3.4";

const unsigned char* text(const char* label) {
    return reinterpret_cast<const unsigned char*>(label);
}

Bytes numbered(std::size_t length) {
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<std::uint8_t>(i + 1);
    return bytes;
}

VT_P11_Key withCode(int code) {
    VT_P11_Key key;
    EXPECT_EQ(key.setKeyType(code), 0);
    return key;
}

void setSessionKey(VT_P11_Key& key, const Bytes& bytes, int use = 0) {
    const VT_PKCS11_SESSION_KEY given = {over(bytes), use};
    ASSERT_EQ(key.setSessionKey(&given), 0);
}

VT_P11_Key sessionKey(int code, const Bytes& bytes, int use = 0) {
    VT_P11_Key key = withCode(code);
    setSessionKey(key, bytes, use);
    return key;
}

// Eight numbers that differ in length and in their bytes.
struct Numbers {
    Bytes bytes[8];
    VT_PKCS11_RSA_PRIVATE_KEY record;
    Numbers() : record() {
        VT_PKCS11_BYTES* const pairs[] = {&record.modulus,   &record.publicExponent, &record.privateExponent,
                                          &record.prime1,    &record.prime2,         &record.exponent1,
                                          &record.exponent2, &record.coefficient};
        for (std::size_t i = 0; i < 8; ++i) {
            bytes[i] = Bytes(i + 3, static_cast<std::uint8_t>(0x10 * (i + 1)));
            *pairs[i] = over(bytes[i]);
        }
    }
    Numbers(const Numbers&) = delete;
    Numbers& operator=(const Numbers&) = delete;
};

VT_P11_Key rsaKey(int code) {
    const Numbers numbers;
    const VT_PKCS11_RSA_PUBLIC_KEY publicKey = {numbers.record.modulus, numbers.record.publicExponent};
    VT_P11_Key key = withCode(code);
    EXPECT_EQ(code == 5 ? key.setPublicKey(&publicKey) : key.setPrivateKey(&numbers.record), 0);
    return key;
}

// Everything at once: a label, a session key and both kinds of RSA key.
VT_P11_Key full() {
    const Numbers numbers;
    const VT_PKCS11_RSA_PUBLIC_KEY publicKey = {numbers.record.modulus, numbers.record.publicExponent};
    VT_P11_Key key = sessionKey(3, numbered(24), 5);
    EXPECT_EQ(key.setTokenKeyLabel(text("label")), 0);
    EXPECT_EQ(key.setPublicKey(&publicKey), 0);
    EXPECT_EQ(key.setPrivateKey(&numbers.record), 0);
    return key;
}

void expectNew(const VT_P11_Key& key) {
    const KeyFields fields = fieldsOf(key);
    EXPECT_EQ(fields.keyType, -1);
    EXPECT_EQ(fields.isTokenKey, 0);
    EXPECT_EQ(fields.label, nullptr);
    EXPECT_EQ(fields.sessionKey, nullptr);
    EXPECT_EQ(fields.sessionKeyLength, 0U);
    EXPECT_EQ(fields.sessionKeyUse, 0);
    for (const VT_PKCS11_BYTES& number : {fields.publicModulus, fields.publicExponent})
        EXPECT_TRUE(number.data == nullptr && number.length == 0);
    for (const VT_PKCS11_BYTES& number : fields.privateNumbers)
        EXPECT_TRUE(number.data == nullptr && number.length == 0);
}

void expectFull(const VT_P11_Key& key) {
    const Numbers numbers;
    const KeyFields fields = fieldsOf(key);
    EXPECT_EQ(fields.keyType, 3);
    EXPECT_EQ(fields.isTokenKey, 1);
    EXPECT_STREQ(fields.label, "label");
    EXPECT_EQ(bytesOf(fields.sessionKey, fields.sessionKeyLength), numbered(24));
    EXPECT_EQ(fields.sessionKeyUse, 5);
    EXPECT_EQ(bytesOf(fields.publicModulus), numbers.bytes[0]);
    EXPECT_EQ(bytesOf(fields.publicExponent), numbers.bytes[1]);
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(bytesOf(fields.privateNumbers[i]), numbers.bytes[i]) << i;
}

TEST(key_test, FieldsStandInTheirOrderAndNothingElseIsThere) {
    EXPECT_TRUE(std::is_standard_layout_v<VT_P11_Key>);
    EXPECT_FALSE(std::is_polymorphic_v<VT_P11_Key>);
    constexpr std::size_t pointer = sizeof(void*);
    EXPECT_EQ(sizeof(VT_P11_Key), pointer == 8 ? 192U : 104U);
    EXPECT_EQ(offsetof(KeyFields, isTokenKey), 4U);
    EXPECT_EQ(offsetof(KeyFields, label), 8U);
    EXPECT_EQ(offsetof(KeyFields, sessionKey), 8 + pointer);
    EXPECT_EQ(offsetof(KeyFields, sessionKeyLength), 8 + 2 * pointer);
    EXPECT_EQ(offsetof(KeyFields, sessionKeyUse), 12 + 2 * pointer);
    EXPECT_EQ(offsetof(KeyFields, publicModulus), 16 + 2 * pointer);
    EXPECT_EQ(offsetof(KeyFields, publicExponent), 16 + 4 * pointer);
    EXPECT_EQ(offsetof(KeyFields, privateNumbers), 16 + 6 * pointer);
    expectFull(full());
}

TEST(key_test, ExchangeStructuresStandInTheirOrder) {
    constexpr std::size_t pair = 2 * sizeof(void*);
    EXPECT_EQ(sizeof(VT_PKCS11_BYTES), pair);
    EXPECT_EQ(offsetof(VT_PKCS11_SESSION_KEY, use), pair);
    EXPECT_EQ(offsetof(VT_PKCS11_RSA_PUBLIC_KEY, publicExponent), pair);
    EXPECT_EQ(sizeof(VT_PKCS11_RSA_PUBLIC_KEY), 2 * pair);
    EXPECT_EQ(offsetof(VT_PKCS11_RSA_PRIVATE_KEY, modulus), 0U);
    EXPECT_EQ(offsetof(VT_PKCS11_RSA_PRIVATE_KEY, publicExponent), pair);
    EXPECT_EQ(offsetof(VT_PKCS11_RSA_PRIVATE_KEY, privateExponent), 2 * pair);
    EXPECT_EQ(offsetof(VT_PKCS11_RSA_PRIVATE_KEY, prime1), 3 * pair);
    EXPECT_EQ(offsetof(VT_PKCS11_RSA_PRIVATE_KEY, prime2), 4 * pair);
    EXPECT_EQ(offsetof(VT_PKCS11_RSA_PRIVATE_KEY, exponent1), 5 * pair);
    EXPECT_EQ(offsetof(VT_PKCS11_RSA_PRIVATE_KEY, exponent2), 6 * pair);
    EXPECT_EQ(offsetof(VT_PKCS11_RSA_PRIVATE_KEY, coefficient), 7 * pair);
    EXPECT_EQ(sizeof(VT_PKCS11_RSA_PRIVATE_KEY), sizeof(RSA_KEY_ITEMS));
}

TEST(key_test, ANewOneHasNoCodeAndNothingElse) {
    const VT_P11_Key key;
    expectNew(key);
    EXPECT_EQ(typeOf(key), -1);
    EXPECT_EQ(key.getAK(), 1);
}

TEST(key_test, CodesAreOneToSeven) {
    for (int code = 1; code <= 7; ++code)
        EXPECT_EQ(typeOf(withCode(code)), code);
    VT_P11_Key key = withCode(5);
    for (const int code : {0, -1, 8, 9, INT_MIN, INT_MAX})
        EXPECT_EQ(key.setKeyType(code), -1006) << code;
    EXPECT_EQ(typeOf(key), 5) << "a refused code leaves the old one";
}

TEST(key_test, KeyClassesTellTheHalvesOfRsa) {
    for (int code = 1; code <= 7; ++code)
        EXPECT_EQ(withCode(code).getAK(), code == 5 ? 2 : code == 6 ? 3 : 1) << code;
    VT_P11_Key labelled = withCode(6);
    labelled.setTokenKeyLabel(text("label"));
    EXPECT_EQ(labelled.getAK(), 3);
}

TEST(key_test, ALabelIsCopied) {
    char label[] = "first";
    VT_P11_Key key;
    ASSERT_EQ(key.setTokenKeyLabel(text(label)), 0);
    label[0] = 'X';
    EXPECT_STREQ(fieldsOf(key).label, "first");
    EXPECT_EQ(fieldsOf(key).isTokenKey, 1);
    ASSERT_EQ(key.setTokenKeyLabel(text("another one")), 0);
    EXPECT_STREQ(fieldsOf(key).label, "another one");
    EXPECT_EQ(fieldsOf(key).keyType, -1) << "the code is not touched";
}

TEST(key_test, AnAbsentOrEmptyLabelIsRefused) {
    VT_P11_Key key;
    for (const unsigned char* label : {static_cast<const unsigned char*>(nullptr), text("")}) {
        EXPECT_EQ(key.setTokenKeyLabel(label), -1010);
        expectNew(key);
    }
    ASSERT_EQ(key.setTokenKeyLabel(text("old")), 0);
    EXPECT_EQ(key.setTokenKeyLabel(nullptr), -1010);
    EXPECT_STREQ(fieldsOf(key).label, "old");
}

TEST(key_test, ALabelWithoutMemoryLeavesTheOldOne) {
    VT_P11_Key key;
    int code = 0;
    {
        const FailingHeap heap(1);
        code = key.setTokenKeyLabel(text("label"));
    }
    EXPECT_EQ(code, -1031);
    expectNew(key);
    ASSERT_EQ(key.setTokenKeyLabel(text("old")), 0);
    {
        const FailingHeap heap(1);
        code = key.setTokenKeyLabel(text("new"));
    }
    EXPECT_EQ(code, -1031);
    EXPECT_STREQ(fieldsOf(key).label, "old");
}

TEST(key_test, ASessionKeyGoesInAndOutAsACopy) {
    Bytes bytes = numbered(16);
    const VT_PKCS11_SESSION_KEY given = {over(bytes), -7};
    VT_P11_Key key = withCode(4);
    ASSERT_EQ(key.setSessionKey(&given), 0);
    bytes.assign(16, 0);
    EXPECT_EQ(typeOf(key), 4) << "the code is not touched";
    VT_PKCS11_SESSION_KEY got = {};
    ASSERT_EQ(key.getSessionKey(&got), 0);
    key.Reset();
    EXPECT_EQ(bytesOf(got.bytes), numbered(16));
    EXPECT_EQ(got.bytes.data[16], 0) << "a zero byte behind the data";
    EXPECT_EQ(got.use, -7);
    VT_FreeSessionKey(&got);
    EXPECT_TRUE(got.bytes.data == nullptr && got.bytes.length == 0 && got.use == 0);
    VT_FreeSessionKey(&got);
    VT_FreeSessionKey(nullptr);
}

TEST(key_test, AnAbsentOrEmptySessionKeyIsRefused) {
    VT_P11_Key key = sessionKey(2, numbered(8), 8);
    EXPECT_EQ(key.setSessionKey(nullptr), -1010);
    unsigned char byte = 1;
    for (const VT_PKCS11_BYTES& nothing : {VT_PKCS11_BYTES{nullptr, 8}, VT_PKCS11_BYTES{&byte, 0}}) {
        const VT_PKCS11_SESSION_KEY given = {nothing, 3};
        EXPECT_EQ(key.setSessionKey(&given), -1010);
    }
    EXPECT_EQ(fieldsOf(key).sessionKeyUse, 8);
    EXPECT_EQ(bytesOf(fieldsOf(key).sessionKey, 8), numbered(8)) << "the old one stays";
}

TEST(key_test, NoSessionKeyGivesZeros) {
    const VT_P11_Key key;
    unsigned char byte = 1;
    VT_PKCS11_SESSION_KEY got = {{&byte, 1}, 1};
    EXPECT_EQ(key.getSessionKey(&got), -1003);
    EXPECT_TRUE(got.bytes.data == nullptr && got.bytes.length == 0 && got.use == 0);
    EXPECT_EQ(key.getSessionKey(nullptr), -1010);
    EXPECT_EQ(sessionKey(2, numbered(8)).getSessionKey(nullptr), -1010);
}

TEST(key_test, ASessionKeyWithoutMemory) {
    VT_P11_Key key = sessionKey(2, numbered(8), 8);
    const Bytes bytes = numbered(24);
    const VT_PKCS11_SESSION_KEY given = {over(bytes), 24};
    VT_PKCS11_SESSION_KEY got = given;
    int setCode = 0;
    int getCode = 0;
    {
        const FailingHeap heap(1);
        setCode = key.setSessionKey(&given);
    }
    {
        const FailingHeap heap(1);
        getCode = key.getSessionKey(&got);
    }
    EXPECT_EQ(setCode, -1031);
    EXPECT_EQ(fieldsOf(key).sessionKeyUse, 8);
    EXPECT_EQ(bytesOf(fieldsOf(key).sessionKey, fieldsOf(key).sessionKeyLength), numbered(8)) << "the old one stays";
    EXPECT_EQ(getCode, -1031);
    EXPECT_TRUE(got.bytes.data == nullptr && got.bytes.length == 0 && got.use == 0);
}

struct Named {
    const char* oid;
    int use;
    int code;
};
constexpr Named kNamed[] = {
    {"1.3.14.3.2.7", 8, 2},         {"1.3.14.3.2.7", 16, 2},       {"1.2.840.113549.3.7", 24, 1},
    {"1.2.840.113549.3.7", 16, 7},  {"1.2.840.113549.3.7", 0, 1},  {"1.2.840.113549.3.7", 15, 1},
    {"1.2.840.113549.3.7", -16, 1}, {"1.2.840.113549.3.2", 16, 3}, {"1.2.840.113549.3.4", 16, 4}};

TEST(key_test, AnIdentifierGivesASessionKeyItsCode) {
    for (const Named& row : kNamed) {
        VT_P11_Key key = withCode(5);
        ASSERT_EQ(key.setSessionKey(miByte(numbered(24)), row.use, identified(row.oid)), 0);
        EXPECT_EQ(typeOf(key), row.code) << row.oid << " " << row.use;
        MiByte bytes;
        int use = 77;
        AlgorithmIdentifier identifier;
        ASSERT_EQ(key.getSessionKey(bytes, use, identifier), 0);
        EXPECT_EQ(bytesOf(bytes), numbered(24));
        EXPECT_EQ(use, row.use);
        EXPECT_EQ(oidOf(identifier), row.oid);
        EXPECT_EQ(identifier.GetParameters(), nullptr);
    }
}

TEST(key_test, AnEmptySessionKeyChangesNothing) {
    VT_P11_Key key = full();
    EXPECT_EQ(key.setSessionKey(MiByte(), 9, identified(kDes)), 0);
    expectFull(key);
}

TEST(key_test, ASessionKeyOfAnotherAlgorithmIsNotHeld) {
    AlgorithmIdentifier empty;
    const AlgorithmIdentifier rsa = identified("1.2.840.113549.1.1.1");
    const AlgorithmIdentifier sha1 = identified("1.3.14.3.2.26");
    const AlgorithmIdentifier aes = identified("2.16.840.1.101.3.4.1.2");
    for (const AlgorithmIdentifier* identifier : {&rsa, &sha1, &aes, static_cast<const AlgorithmIdentifier*>(&empty)}) {
        VT_P11_Key key = sessionKey(2, numbered(8), 8);
        EXPECT_EQ(key.setSessionKey(miByte(numbered(24)), 24, *identifier), 0);
        EXPECT_EQ(typeOf(key), -1);
        EXPECT_EQ(fieldsOf(key).sessionKey, nullptr);
        EXPECT_EQ(fieldsOf(key).sessionKeyLength, 0U);
        VT_PKCS11_SESSION_KEY got = {};
        EXPECT_EQ(key.getSessionKey(&got), -1003);
        KeyObject object;
        EXPECT_EQ(key.GetVCKKIObj(&object.object, 1), -1006);
    }
}

TEST(key_test, ASessionKeyWithoutMemoryIsNotHeld) {
    VT_P11_Key key = sessionKey(2, numbered(8), 8);
    const MiByte bytes = miByte(numbered(24));
    const AlgorithmIdentifier identifier = identified(kDes3);
    int code = 1;
    {
        const FailingHeap heap(1);
        code = key.setSessionKey(bytes, 24, identifier);
    }
    EXPECT_EQ(code, 0);
    EXPECT_EQ(fieldsOf(key).sessionKey, nullptr);
    KeyObject object;
    EXPECT_EQ(key.GetVCKKIObj(&object.object, 1), -1003);
}

TEST(key_test, AMissingElementThrowsAndTheKeyStays) {
    AlgorithmIdentifier identifier;
    identifier.DelElement("algorithm");
    VT_P11_Key key = full();
    EXPECT_THROW(key.setSessionKey(miByte(numbered(8)), 8, identifier), AsnDataExp);
    expectFull(key);
}

TEST(key_test, AnAlgorithmIsGivenForSessionKeysAlone) {
    for (const int code : {1, 2, 3, 4, 5, 6, 7}) {
        const VT_P11_Key key = sessionKey(code, numbered(24), 24);
        MiByte bytes;
        int use = 0;
        AlgorithmIdentifier identifier;
        EXPECT_EQ(key.getSessionKey(bytes, use, identifier), 0);
        EXPECT_EQ(bytesOf(bytes), numbered(24));
        EXPECT_EQ(use, 24);
        const char* const expected = code == 2                ? kDes
                                     : code == 3              ? kRc2
                                     : code == 4              ? kRc4
                                     : code == 5 || code == 6 ? ""
                                                              : kDes3;
        EXPECT_EQ(oidOf(identifier), expected) << code;
    }
    VT_P11_Key noCode;
    setSessionKey(noCode, numbered(8));
    MiByte bytes;
    int use = 0;
    AlgorithmIdentifier identifier;
    EXPECT_EQ(noCode.getSessionKey(bytes, use, identifier), 0);
    EXPECT_EQ(identifier.GetAlgorithm(), nullptr);
}

TEST(key_test, NoSessionKeyLeavesTheTargets) {
    MiByte bytes = miByte(numbered(3));
    int use = 77;
    AlgorithmIdentifier identifier = identified("1.2.3");
    EXPECT_EQ(withCode(1).getSessionKey(bytes, use, identifier), -1003);
    EXPECT_EQ(bytesOf(bytes), numbered(3));
    EXPECT_EQ(use, 77);
    EXPECT_EQ(oidOf(identifier), "1.2.3");
}

TEST(key_test, EachSessionKeyHasItsObject) {
    struct Row {
        int code;
        KeyAllocator allocator;
        CK_ULONG keyType;
        std::size_t kept;
    };
    for (const Row& row : {Row{1, KeyAllocDes3, 0x15, 24}, Row{7, KeyAllocDes3, 0x15, 24}, Row{2, KeyAllocDes, 0x13, 8},
                           Row{3, KeyAllocRc2, 0x11, 20}, Row{4, KeyAllocRc4, 0x12, 30}}) {
        const VT_P11_Key key = sessionKey(row.code, numbered(30), 20);
        KeyObject object;
        ASSERT_EQ(key.GetVCKKIObj(&object.object, 1), 0) << row.code;
        EXPECT_EQ(object->allocator, row.allocator);
        EXPECT_EQ(bytesOf(object->data, object->length), numbered(row.kept));
        EXPECT_EQ(bytesOf(object->attributes[1].value, object->attributes[1].valueLength),
                  bytesOf(&row.keyType, sizeof row.keyType));
        EXPECT_EQ(object->isTokenObject, 0);
    }
}

TEST(key_test, SessionKeysHaveTheLengthsOfTheirCiphers) {
    struct Row {
        int code;
        std::size_t length;
        int result;
    };
    for (const Row& row : {Row{1, 23, -7}, Row{1, 16, -7}, Row{1, 24, 0}, Row{7, 16, -7}, Row{7, 24, 0}, Row{2, 7, -7},
                           Row{2, 8, 0}, Row{4, 1, 0}, Row{4, 256, 0}, Row{4, 257, -7}}) {
        KeyObject object;
        EXPECT_EQ(sessionKey(row.code, numbered(row.length), 16).GetVCKKIObj(&object.object, 1), row.result)
            << row.code << " " << row.length;
        EXPECT_EQ(object.object == nullptr, row.result != 0) << "freed by the engine";
    }
}

TEST(key_test, AKeyOfSixteenBytesForTripleDesIsRefusedByItsObject) {
    VT_P11_Key key;
    ASSERT_EQ(key.setSessionKey(miByte(numbered(16)), 16, identified(kDes3)), 0);
    EXPECT_EQ(typeOf(key), 7);
    KeyObject object;
    EXPECT_EQ(key.GetVCKKIObj(&object.object, 1), -7);
}

TEST(key_test, OfAnRc2KeyTheBytesInUseCount) {
    struct Row {
        std::size_t length;
        int use;
        int result;
    };
    for (const Row& row :
         {Row{16, 16, 0}, Row{16, 5, 0}, Row{16, 17, -1007}, Row{16, INT_MAX, -1007}, Row{16, -1, -1007},
          Row{16, INT_MIN, -1007}, Row{16, 0, -7}, Row{200, 128, 0}, Row{200, 129, -7}}) {
        KeyObject object;
        EXPECT_EQ(sessionKey(3, numbered(row.length), row.use).GetVCKKIObj(&object.object, 1), row.result) << row.use;
        if (row.result == 0) {
            EXPECT_EQ(bytesOf(object->data, object->length), numbered(static_cast<std::size_t>(row.use)));
        }
        if (row.result == -1007) {
            EXPECT_TRUE(isShell(object));
        }
    }
}

TEST(key_test, APublicKeyHasItsObject) {
    const Numbers numbers;
    KeyObject object;
    ASSERT_EQ(rsaKey(5).GetVCKKIObj(&object.object, 2), 0);
    EXPECT_EQ(object->allocator, KeyAllocRsaPublic);
    EXPECT_EQ(object->length, 16U);
    const auto* items = static_cast<const KEY_ITEM*>(object->data);
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_EQ(bytesOf(items[i].bytes, items[i].length), numbers.bytes[i]) << i;
}

TEST(key_test, APrivateKeyHasItsObject) {
    const Numbers numbers;
    KeyObject object;
    ASSERT_EQ(rsaKey(6).GetVCKKIObj(&object.object, 3), 0);
    EXPECT_EQ(object->allocator, KeyAllocRsaPrivate);
    EXPECT_EQ(object->length, 64U);
    const auto* items = static_cast<const KEY_ITEM*>(object->data);
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(bytesOf(items[i].bytes, items[i].length), numbers.bytes[i]) << i;
}

TEST(key_test, TheKeyClassIsNotLookedAt) {
    for (const int keyClass : {INT_MIN, -1, 0, 1, 2, 3, 4, INT_MAX}) {
        KeyObject object;
        EXPECT_EQ(rsaKey(6).GetVCKKIObj(&object.object, keyClass), 0);
        EXPECT_EQ(object->allocator, KeyAllocRsaPrivate);
    }
}

TEST(key_test, ALabelWinsOverEverythingElse) {
    const VT_P11_Key labelled = full();
    VT_P11_Key noCode;
    noCode.setTokenKeyLabel(text("label"));
    for (const VT_P11_Key* key : {&labelled, static_cast<const VT_P11_Key*>(&noCode)}) {
        KeyObject object;
        ASSERT_EQ(key->GetVCKKIObj(&object.object, 1), 0);
        EXPECT_EQ(object->allocator, KeyAllocTokenKey);
        EXPECT_EQ(object->isTokenObject, 1);
        EXPECT_EQ(object->data, nullptr);
        ASSERT_EQ(object->templateCount, 1U);
        EXPECT_EQ(object->attributes[0].type, CKA_LABEL);
        EXPECT_EQ(bytesOf(object->attributes[0].value, object->attributes[0].valueLength), hex("6c 61 62 65 6c"));
    }
}

TEST(key_test, AbsentMaterialIsReported) {
    for (int code = 1; code <= 7; ++code) {
        KeyObject object;
        EXPECT_EQ(withCode(code).GetVCKKIObj(&object.object, 1), -1003) << code;
        EXPECT_TRUE(isShell(object));
    }
}

TEST(key_test, OneKindOfMaterialDoesNotServeForAnother) {
    for (int code = 1; code <= 7; ++code) {
        VT_P11_Key key = code == 5 || code == 6 ? sessionKey(code, numbered(24), 24) : rsaKey(5);
        key.setKeyType(code);
        KeyObject object;
        EXPECT_EQ(key.GetVCKKIObj(&object.object, 1), -1003) << code;
    }
    VT_P11_Key publicAsPrivate = rsaKey(5);
    publicAsPrivate.setKeyType(6);
    VT_P11_Key privateAsPublic = rsaKey(6);
    privateAsPublic.setKeyType(5);
    for (const VT_P11_Key* key : {&publicAsPrivate, &privateAsPublic}) {
        KeyObject object;
        EXPECT_EQ(key->GetVCKKIObj(&object.object, 1), -1003);
    }
}

TEST(key_test, NoCodeHasNoObject) {
    VT_P11_Key noCode;
    setSessionKey(noCode, numbered(24), 24);
    VT_P11_Key unknown = rsaKey(5);
    ASSERT_EQ(unknown.setSessionKey(miByte(numbered(24)), 24, AlgorithmIdentifier()), 0);
    for (const VT_P11_Key* key : {&noCode, &unknown}) {
        KeyObject object;
        EXPECT_EQ(key->GetVCKKIObj(&object.object, 1), -1006);
        EXPECT_TRUE(isShell(object));
    }
}

// setKeyType does not take the code 8; a program that writes the field is answered all the same.
TEST(key_test, CodeEightBuildsNothing) {
    const std::int32_t eight = 8;
    VT_P11_Key key;
    std::memcpy(reinterpret_cast<unsigned char*>(&key), &eight, sizeof eight);
    KeyObject object;
    EXPECT_EQ(key.GetVCKKIObj(&object.object, 1), -1003);
    EXPECT_EQ(typeOf(key), -1);
    EXPECT_EQ(key.getAK(), 1);
    setSessionKey(key, numbered(3));
    EXPECT_EQ(key.GetVCKKIObj(&object.object, 1), 0);
    EXPECT_TRUE(isShell(object));
    EXPECT_EQ(key.GetVCKKIObj(nullptr, 1), 0);
}

TEST(key_test, AnAbsentShellIsRefused) {
    for (const VT_P11_Key& key : {sessionKey(1, numbered(24)), rsaKey(5), rsaKey(6), full()}) {
        EXPECT_EQ(key.GetVCKKIObj(nullptr, 1), -2);
        unsigned char* none = nullptr;
        EXPECT_EQ(key.GetVCKKIObj(&none, 1), -2);
        EXPECT_EQ(none, nullptr);
    }
}

TEST(key_test, AnObjectWithoutMemoryIsFreedOnce) {
    for (const VT_P11_Key& key : {sessionKey(1, numbered(24)), rsaKey(5), rsaKey(6), full()}) {
        long n = 1;
        for (bool failed = true; failed; ++n) {
            KeyObject object;
            int code = 0;
            {
                const FailingHeap heap(n);
                code = key.GetVCKKIObj(&object.object, 1);
                failed = heap.failed();
            }
            EXPECT_EQ(code, failed ? -1 : 0);
            EXPECT_EQ(object.object == nullptr, failed);
        }
        EXPECT_GT(n, 3) << "attributes and their values at least";
    }
}

TEST(key_test, CopiesAreDeep) {
    VT_P11_Key original = full();
    const VT_P11_Key copy(original);
    VT_P11_Key assigned = rsaKey(6);
    assigned = original;
    original.Reset();
    expectFull(copy);
    expectFull(assigned);
    assigned = original;
    expectNew(assigned);
}

TEST(key_test, AssigningToItselfChangesNothing) {
    VT_P11_Key key = full();
    const VT_P11_Key& same = key;
    key = same;
    expectFull(key);
}

// One piece after the other: label, session key, two and eight numbers.
TEST(key_test, ACopyWithoutMemoryLacksThatPieceAlone) {
    const VT_P11_Key original = full();
    constexpr long kPieces = 12;
    for (long n = 1; n <= kPieces + 1; ++n) {
        VT_P11_Key copy = rsaKey(5);
        {
            const FailingHeap heap(n);
            copy = original;
        }
        const KeyFields fields = fieldsOf(copy);
        const void* pieces[kPieces] = {fields.label, fields.sessionKey, fields.publicModulus.data,
                                       fields.publicExponent.data};
        std::uint32_t lengths[kPieces] = {1, fields.sessionKeyLength, fields.publicModulus.length,
                                          fields.publicExponent.length};
        for (std::size_t i = 0; i < 8; ++i) {
            pieces[4 + i] = fields.privateNumbers[i].data;
            lengths[4 + i] = fields.privateNumbers[i].length;
        }
        for (long i = 0; i < kPieces; ++i) {
            EXPECT_EQ(pieces[i] == nullptr, i + 1 == n) << n << " " << i;
            EXPECT_EQ(lengths[i] == 0, i != 0 && i + 1 == n) << n << " " << i;
        }
        EXPECT_EQ(fields.keyType, 3);
        EXPECT_EQ(fields.isTokenKey, 1);
        EXPECT_EQ(fields.sessionKeyUse, 5);
    }
}

TEST(key_test, ALabelThatWasNotCopiedGivesNoOtherKey) {
    const VT_P11_Key original = full();
    VT_P11_Key copy;
    {
        const FailingHeap heap(1);
        copy = original;
    }
    KeyObject object;
    EXPECT_EQ(copy.GetVCKKIObj(&object.object, 1), -1003);
    EXPECT_TRUE(isShell(object));
}

TEST(key_test, ResetMakesItNew) {
    VT_P11_Key key = full();
    key.Reset();
    expectNew(key);
    key.Reset();
    expectNew(key);
    setSessionKey(key, numbered(8));
    ASSERT_EQ(key.setKeyType(2), 0);
    KeyObject object;
    EXPECT_EQ(key.GetVCKKIObj(&object.object, 1), 0) << "and of use again";
}

}  // namespace
