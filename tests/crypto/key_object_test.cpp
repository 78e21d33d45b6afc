#include "crypto/key_object.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/crypto/engine_objects.h"
#include "tests/crypto/rsa_keys.h"
#include "tests/support/failing_heap.h"

namespace {

using engine::Bytes;
using engine::bytesOf;
using engine::hex;
using engine::itemOf;
using engine::Key;
using engine::number;
using engine::valueOf;
using rsakeys::ofBits;
using support::FailingHeap;

constexpr std::uint8_t kNo = 0;
constexpr std::uint8_t kYes = 1;

struct Secret {
    KeyAllocator allocator;
    CK_ULONG keyType;
    std::size_t shortest;
    std::size_t longest;  // accepted
    std::size_t kept;
};

constexpr Secret kSecrets[] = {
    {KeyAllocDes, 0x13, 8, 1000, 8},
    {KeyAllocDes3, 0x15, 24, 1000, 24},
    {KeyAllocRc2, 0x11, 1, 128, 128},
    {KeyAllocRc4, 0x12, 1, 256, 256},
};

Bytes noise(std::size_t length) {
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 31 + 1);
    return bytes;
}

struct Expected {
    CK_ATTRIBUTE_TYPE type;
    Bytes value;
};

void expectAttributes(const KEY_OBJ* key, const std::vector<Expected>& expected) {
    ASSERT_EQ(key->templateCount, expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(key->attributes[i].type, expected[i].type) << i;
        EXPECT_EQ(valueOf(key->attributes[i]), expected[i].value) << i;
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_TRUE(key->attributes[i].value == nullptr || key->attributes[i].value != key->attributes[j].value)
                << "a buffer of its own for each";
    }
}

TEST(key_object_test, ASecretKeyHasSixAttributes) {
    for (const Secret& secret : kSecrets) {
        const Bytes bytes = noise(secret.kept);
        const Key key(secret.allocator, bytes);
        ASSERT_EQ(key.code, 0);
        expectAttributes(key, {{0x000, number(4)},
                               {0x100, number(secret.keyType)},
                               {0x001, {kNo}},
                               {0x104, {kYes}},
                               {0x105, {kYes}},
                               {0x011, bytes}});
        EXPECT_EQ(key->isTokenObject, 0);
        EXPECT_EQ(key->allocator, secret.allocator);
        EXPECT_EQ(bytesOf(key->data, key->length), bytes);
        EXPECT_FALSE(KeyIsRsa(key));
    }
}

TEST(key_object_test, ASecretKeyHasALengthByItsRule) {
    for (const Secret& secret : kSecrets) {
        for (const std::size_t length :
             {0U, 1U, 5U, 7U, 8U, 9U, 16U, 23U, 24U, 25U, 127U, 128U, 129U, 255U, 256U, 257U}) {
            const bool accepted = length >= secret.shortest && length <= secret.longest;
            const Bytes bytes = noise(length);
            const Key key(secret.allocator, bytes);
            ASSERT_EQ(key.code, accepted ? 0 : -7) << secret.keyType << " " << length;
            if (accepted) {
                const Bytes kept(bytes.begin(),
                                 bytes.begin() + static_cast<std::ptrdiff_t>(std::min(length, secret.kept)));
                EXPECT_EQ(bytesOf(key->data, key->length), kept) << length;
                EXPECT_EQ(valueOf(key->attributes[5]), kept) << length;
            } else {
                EXPECT_EQ(static_cast<KEY_OBJ*>(key), nullptr);
            }
        }
    }
}

TEST(key_object_test, ASetterGivenNoValueLeavesTheKeyEmpty) {
    for (const Secret& secret : kSecrets) {
        const KEY_ITEM noBytes = {nullptr, 8};
        for (const KEY_ITEM* value : {static_cast<const KEY_ITEM*>(nullptr), &noBytes}) {
            const Key key(secret.allocator, value);
            ASSERT_EQ(key.code, 0);
            EXPECT_EQ(key->data, nullptr);
            EXPECT_EQ(key->length, 0U);
            EXPECT_EQ(key->attributes[5].value, nullptr);
            KEY_ITEM* read = nullptr;
            EXPECT_EQ(key->getter(key, &read), -4);
        }
    }
    for (const KeyAllocator allocator : {KeyAllocRsaPrivate, KeyAllocRsaPublic}) {
        const Key key(allocator);
        ASSERT_EQ(key.code, 0);
        EXPECT_EQ(key->data, nullptr);
        EXPECT_EQ(key->length, 0U);
        KEY_ITEM* read = nullptr;
        EXPECT_EQ(key->getter(key, &read), -4);
    }
}

TEST(key_object_test, ASetterNeedsAnAllocatedObject) {
    const Bytes bytes = noise(24);
    const KEY_ITEM item = itemOf(bytes);
    for (const KeyAllocator allocator : {KeyAllocDes, KeyAllocDes3, KeyAllocRc2, KeyAllocRc4, KeyAllocRsaPrivate,
                                         KeyAllocRsaPublic, KeyAllocTokenKey}) {
        const Key key(allocator);
        EXPECT_EQ(key->setter(nullptr, &item), -4);
        KEY_OBJ* shell = KeyShell();
        EXPECT_EQ(key->setter(shell, &item), -4);
        KeyFree(&shell);
        EXPECT_EQ(allocator(nullptr), -2);
    }
}

TEST(key_object_test, ASecretGetterGivesAFreshPair) {
    for (const Secret& secret : kSecrets) {
        const Bytes bytes = noise(secret.shortest + 2);
        const Key key(secret.allocator, bytes);
        KEY_ITEM* read = nullptr;
        ASSERT_EQ(key->getter(key, &read), 0);
        EXPECT_EQ(bytesOf(read->bytes, read->length), bytesOf(key->data, key->length));
        EXPECT_NE(static_cast<void*>(read->bytes), key->data);
        KeyItemsFree(&read, 1);
        EXPECT_EQ(key->getter(nullptr, &read), -2);
        EXPECT_EQ(key->getter(key, nullptr), -2);
    }
}

TEST(key_object_test, ASecondKeyTakesThePlaceOfTheFirst) {
    const Bytes first = noise(8);
    const Bytes second(8, 0xEE);
    const Key key(KeyAllocDes, first);
    const KEY_ITEM item = itemOf(second);
    ASSERT_EQ(key->setter(key, &item), 0);
    EXPECT_EQ(bytesOf(key->data, 8), second);
    EXPECT_EQ(valueOf(key->attributes[5]), second);
    const Bytes seven(7);
    const KEY_ITEM broken = itemOf(seven);
    EXPECT_EQ(key->setter(key, &broken), -7);
    EXPECT_EQ(bytesOf(key->data, 8), second) << "a refused key changes nothing";
}

TEST(key_object_test, AnRsaPrivateKeyHasSixteenAttributes) {
    rsakeys::Key source(ofBits(512));
    const Key key(KeyAllocRsaPrivate, source.items());
    ASSERT_EQ(key.code, 0);
    expectAttributes(key, {{0x000, number(3)},
                           {0x100, number(0)},
                           {0x001, {kNo}},
                           {0x103, {kYes}},
                           {0x002, {kYes}},
                           {0x105, {kYes}},
                           {0x162, {kYes}},
                           {0x107, {kYes}},
                           {0x120, source[RSA_MODULUS]},
                           {0x122, source[RSA_PUBLIC_EXPONENT]},
                           {0x123, source[RSA_PRIVATE_EXPONENT]},
                           {0x124, source[RSA_PRIME_1]},
                           {0x125, source[RSA_PRIME_2]},
                           {0x126, source[RSA_EXPONENT_1]},
                           {0x127, source[RSA_EXPONENT_2]},
                           {0x128, source[RSA_COEFFICIENT]}});
    EXPECT_EQ(key->length, 64U) << "whatever the size of a pair";
    EXPECT_TRUE(KeyIsRsa(key));
    const auto* items = static_cast<const KEY_ITEM*>(key->data);
    for (std::size_t i = 0; i < RSA_ITEM_COUNT; ++i) {
        EXPECT_EQ(items[i].bytes, key->attributes[8 + i].value) << "the same buffers";
        EXPECT_EQ(items[i].length, key->attributes[8 + i].valueLength);
        EXPECT_NE(items[i].bytes, source.items()[i].bytes) << "copies";
    }
}

TEST(key_object_test, AnRsaPublicKeyHasEightAttributes) {
    for (const auto& [bits, exact] : {std::pair{512, 512}, {97, 97}, {88, 88}, {4096, 4096}}) {
        rsakeys::Key source(ofBits(bits));
        const Key key(KeyAllocRsaPublic, source.items());
        ASSERT_EQ(key.code, 0);
        expectAttributes(key, {{0x001, {kNo}},
                               {0x104, {kYes}},
                               {0x000, number(2)},
                               {0x100, number(0)},
                               {0x106, {kYes}},
                               {0x120, source[RSA_MODULUS]},
                               {0x122, source[RSA_PUBLIC_EXPONENT]},
                               {0x121, number(static_cast<CK_ULONG>(exact))}});
        EXPECT_EQ(key->length, 16U) << "whatever the size of a pair";
        EXPECT_TRUE(KeyIsRsa(key));
        const auto* items = static_cast<const KEY_ITEM*>(key->data);
        EXPECT_EQ(items[0].bytes, key->attributes[5].value);
        EXPECT_EQ(items[1].bytes, key->attributes[6].value);
    }
}

TEST(key_object_test, TheBitsOfAModulusDoNotCountItsLeadingZeros) {
    rsakeys::Key source(ofBits(512));
    source.set(RSA_MODULUS, hex("00 00 03 00 00"));
    const Key key(KeyAllocRsaPublic, source.items());
    ASSERT_EQ(key.code, 0);
    EXPECT_EQ(valueOf(key->attributes[7]), number(18));
    EXPECT_EQ(valueOf(key->attributes[5]), hex("00 00 03 00 00"));
}

TEST(key_object_test, AnRsaKeyNeedsAllItsPairs) {
    for (std::uint32_t i = 0; i < RSA_ITEM_COUNT; ++i) {
        rsakeys::Key source(ofBits(512));
        RSA_KEY_ITEMS items;
        std::copy_n(source.items(), RSA_ITEM_COUNT, items);
        items[i].length = 0;
        EXPECT_EQ(Key(KeyAllocRsaPrivate, items).code, -7) << i;
        EXPECT_EQ(Key(KeyAllocRsaPublic, items).code, i < 2 ? -7 : 0) << i;
        items[i] = {nullptr, 8};
        EXPECT_EQ(Key(KeyAllocRsaPrivate, items).code, -7) << i;
        EXPECT_EQ(Key(KeyAllocRsaPublic, items).code, i < 2 ? -7 : 0) << i;
    }
}

TEST(key_object_test, APublicModulusAbove1024BytesDoesNotLoad) {
    rsakeys::Key source(ofBits(512));
    source.set(RSA_MODULUS, Bytes(1025, 1));
    EXPECT_EQ(Key(KeyAllocRsaPublic, source.items()).code, -10);
    EXPECT_EQ(Key(KeyAllocRsaPrivate, source.items()).code, 0) << "the operation refuses it";
}

TEST(key_object_test, RsaGettersGiveFreshItems) {
    rsakeys::Key source(ofBits(512));
    const Key privateKey(KeyAllocRsaPrivate, source.items());
    const Key publicKey(KeyAllocRsaPublic, source.items());
    KEY_ITEM* read = nullptr;
    ASSERT_EQ(privateKey->getter(privateKey, &read), 0);
    for (std::uint32_t i = 0; i < RSA_ITEM_COUNT; ++i) {
        EXPECT_EQ(bytesOf(read[i].bytes, read[i].length), source[static_cast<RsaItem>(i)]) << i;
        EXPECT_NE(static_cast<void*>(read[i].bytes), privateKey->attributes[8 + i].value);
    }
    KeyItemsFree(&read, RSA_ITEM_COUNT);
    ASSERT_EQ(publicKey->getter(publicKey, &read), 0);
    EXPECT_EQ(bytesOf(read[0].bytes, read[0].length), source[RSA_MODULUS]);
    EXPECT_EQ(bytesOf(read[1].bytes, read[1].length), source[RSA_PUBLIC_EXPONENT]);
    KeyItemsFree(&read, RSA_PUBLIC_ITEM_COUNT);

    EXPECT_EQ(privateKey->getter(publicKey, &read), -4) << "16 bytes are no private key";
    ASSERT_EQ(publicKey->getter(privateKey, &read), 0) << "a private key has the public pairs";
    KeyItemsFree(&read, RSA_PUBLIC_ITEM_COUNT);
    EXPECT_EQ(privateKey->getter(nullptr, &read), -2);
    EXPECT_EQ(publicKey->getter(publicKey, nullptr), -2);
    publicKey->length = 15;
    EXPECT_EQ(publicKey->getter(publicKey, &read), -4);
    privateKey->length = 63;
    EXPECT_EQ(privateKey->getter(privateKey, &read), -4);
}

TEST(key_object_test, ASecondRsaKeyTakesThePlaceOfTheFirst) {
    rsakeys::Key first(ofBits(512));
    rsakeys::Key second(ofBits(768));
    for (const KeyAllocator allocator : {KeyAllocRsaPrivate, KeyAllocRsaPublic}) {
        const Key key(allocator, first.items());
        ASSERT_EQ(key->setter(key, second.items()), 0);
        const auto* items = static_cast<const KEY_ITEM*>(key->data);
        EXPECT_EQ(bytesOf(items[0].bytes, items[0].length), second[RSA_MODULUS]);
    }
}

TEST(key_object_test, AKeyInATokenIsItsLabel) {
    const Bytes label = hex("6c 61 62 65 6c");
    const Key key(KeyAllocTokenKey, label);
    ASSERT_EQ(key.code, 0);
    expectAttributes(key, {{0x003, label}});
    EXPECT_EQ(key->isTokenObject, 1);
    EXPECT_EQ(key->data, nullptr);
    EXPECT_EQ(key->length, 0U);
    EXPECT_EQ(key->getter, nullptr);
    EXPECT_EQ(Key(KeyAllocTokenKey, Bytes()).code, -7);
    EXPECT_EQ(Key(KeyAllocTokenKey).code, 0) << "no value at all";
    const Bytes other = hex("6f");
    const KEY_ITEM item = itemOf(other);
    ASSERT_EQ(key->setter(key, &item), 0);
    EXPECT_EQ(valueOf(key->attributes[0]), other);
}

TEST(key_object_test, AFailedSetupFreesTheObjectOnce) {
    const Bytes seven(7);
    const KEY_ITEM item = itemOf(seven);
    KEY_OBJ* object = KeyShell();
    EXPECT_EQ(KeySetup(&object, KeyAllocDes, &item), -7);
    EXPECT_EQ(object, nullptr);
    KeyFree(&object);
    EXPECT_EQ(KeySetup(&object, KeyAllocDes, &item), -2) << "no object";
    EXPECT_EQ(KeySetup(nullptr, KeyAllocDes, &item), -2);
    object = KeyShell();
    EXPECT_EQ(KeySetup(&object, nullptr, &item), -2);
    KeyFree(&object);
}

TEST(key_object_test, FreeingNothingAndAShell) {
    KeyFree(nullptr);
    KEY_OBJ* object = nullptr;
    KeyFree(&object);
    object = KeyShell();
    KeyFree(&object);
    EXPECT_EQ(object, nullptr);
}

// Runs the setup with each of its allocations failing, and gives how many there are.
long exhaust(KeyAllocator allocator, const KEY_ITEM* value) {
    std::vector<int> codes;
    codes.reserve(64);
    const long failures = support::forEachExhaustion([&] {
        KEY_OBJ* object = KeyShell();
        codes.push_back(object == nullptr ? -1 : KeySetup(&object, allocator, value));
        KeyFree(&object);
    });
    for (long i = 0; i < failures; ++i)
        EXPECT_EQ(codes[static_cast<std::size_t>(i)], -1) << i;
    EXPECT_EQ(codes.back(), 0);
    return failures;
}

// Shell, attributes, fixed values, and then what the setter makes.
TEST(key_object_test, ExhaustedMemoryIsToldAndLeaksNothing) {
    const Bytes bytes = noise(24);
    const KEY_ITEM item = itemOf(bytes);
    for (const Secret& secret : kSecrets)
        EXPECT_EQ(exhaust(secret.allocator, &item), 2 + 5 + 2);
    rsakeys::Key source(ofBits(512));
    EXPECT_EQ(exhaust(KeyAllocRsaPrivate, source.items()), 2 + 8 + 1 + 8);
    EXPECT_EQ(exhaust(KeyAllocRsaPublic, source.items()), 2 + 5 + 1 + 1 + 2);
    EXPECT_EQ(exhaust(KeyAllocTokenKey, &item), 2 + 1);
}

TEST(key_object_test, AGetterWithoutMemoryGivesNothing) {
    rsakeys::Key source(ofBits(512));
    const Key key(KeyAllocRsaPrivate, source.items());
    const Bytes bytes = noise(8);
    const Key secret(KeyAllocDes, bytes);
    for (long n = 1; n <= 10; ++n) {
        KEY_ITEM* items = nullptr;
        KEY_ITEM* pair = nullptr;
        int ofItems = 0;
        int ofPair = 0;
        {
            const FailingHeap heap(n);
            ofItems = key->getter(key, &items);
        }
        {
            const FailingHeap heap(n);
            ofPair = secret->getter(secret, &pair);
        }
        EXPECT_EQ(ofItems, n <= 9 ? -1 : 0) << n;
        EXPECT_EQ(items == nullptr, n <= 9) << n;
        EXPECT_EQ(ofPair, n <= 2 ? -1 : 0) << n;
        EXPECT_EQ(pair == nullptr, n <= 2) << n;
        KeyItemsFree(&items, RSA_ITEM_COUNT);
        KeyItemsFree(&pair, 1);
    }
}

}  // namespace
