#include "crypto/rsa.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/crypto/rsa_keys.h"

namespace {

using rsakeys::Bytes;
using rsakeys::bytesOf;
using rsakeys::hex;
using rsakeys::Key;
using rsakeys::lengthOf;
using rsakeys::load;
using rsakeys::loadPrivate;
using rsakeys::loadPublic;
using rsakeys::Number;
using rsakeys::number;
using rsakeys::ofBits;

constexpr RsaItem kItems[] = {RSA_MODULUS, RSA_PUBLIC_EXPONENT, RSA_PRIVATE_EXPONENT, RSA_PRIME_1,
                              RSA_PRIME_2, RSA_EXPONENT_1,      RSA_EXPONENT_2,       RSA_COEFFICIENT};

int init(Key& key, std::uint32_t length) {
    const auto context = std::make_unique<RSA_CTX>();
    return RSA_Init(context.get(), key.items(), length, nullptr);
}

TEST(RsaTest, TheItemsOfAKeyStandInTheirOrder) {
    for (std::size_t i = 0; i < RSA_ITEM_COUNT; ++i)
        EXPECT_EQ(kItems[i], static_cast<RsaItem>(i));
    EXPECT_EQ(RSA_ITEM_COUNT, 8U);
    EXPECT_EQ(RSA_PUBLIC_LENGTH, 16U) << "also where a pair is longer";
    EXPECT_EQ(RSA_PRIVATE_LENGTH, 64U) << "also where a pair is longer";
    EXPECT_EQ(sizeof(RSA_KEY_ITEMS), 8 * sizeof(KEY_ITEM));
}

TEST(RsaTest, InitLoadsEveryNumberOfAPrivateKey) {
    for (const RsaKeyVector& vector : kRsaKeys) {
        const auto context = loadPrivate(vector);
        ASSERT_NE(context, nullptr) << vector.bits;
        EXPECT_EQ(context->isPrivate, 1);
        const std::uint32_t* const fields[] = {context->modulus,   context->publicExponent, context->privateExponent,
                                               context->prime1,    context->prime2,         context->exponent1,
                                               context->exponent2, context->coefficient};
        for (std::size_t i = 0; i < RSA_ITEM_COUNT; ++i) {
            const Bytes expected = hex(vector.items[i]);
            EXPECT_EQ(bytesOf(fields[i], static_cast<int>(expected.size())), expected) << vector.bits << " " << i;
        }
    }
}

TEST(RsaTest, TheLengthOfTheItemsTellsTheKind) {
    Key key(ofBits(512));
    for (std::uint32_t length = 0; length <= 70; ++length) {
        RSA_CTX context = {};
        const int result = RSA_Init(&context, key.items(), length, nullptr);
        EXPECT_EQ(result, length < 16 ? -2 : 0) << length;
        if (result == 0) {
            EXPECT_EQ(context.isPrivate, length >= 64 ? 1 : 0) << length;
        }
    }
}

TEST(RsaTest, APublicKeyIsTheFirstTwoItemsAlone) {
    Key key(ofBits(512));
    const auto two = std::make_unique<KEY_ITEM[]>(2);  // the address checker guards what is behind
    std::copy_n(key.items(), 2, two.get());
    const auto context = load(two.get(), 16);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(bytesOf(context->modulus, 64), key[RSA_MODULUS]);
    EXPECT_EQ(context->publicExponent[1], 3U);
}

TEST(RsaTest, InitNeedsContextAndItems) {
    Key key(ofBits(512));
    RSA_CTX context = {};
    EXPECT_EQ(RSA_Init(nullptr, key.items(), 64, nullptr), -2);
    EXPECT_EQ(RSA_Init(&context, nullptr, 64, nullptr), -2);
}

TEST(RsaTest, InitForgetsAKeptSignatureEvenIfItFails) {
    Key key(ofBits(512));
    for (const std::uint32_t length : {0U, 16U, 64U}) {
        const auto context = std::make_unique<RSA_CTX>();
        std::memset(static_cast<void*>(context.get()), 0xAA, sizeof *context);
        RSA_Init(context.get(), key.items(), length, "ignored");
        EXPECT_EQ(std::count(std::begin(context->signature), std::end(context->signature), 0), 1025) << length;
        EXPECT_EQ(context->signatureLength, 0) << length;
    }
}

TEST(RsaTest, ANumberAbove1024BytesIsNotLoadedEvenIfTheExcessIsZeros) {
    for (const RsaItem item : kItems) {
        Key key(ofBits(512));
        key.set(item, Bytes(1025, 0));
        EXPECT_EQ(init(key, 64), -10) << item;
        key.set(item, Bytes(1025, 0xFF));
        EXPECT_EQ(init(key, 64), -10) << item;
        EXPECT_EQ(init(key, 16), item <= RSA_PUBLIC_EXPONENT ? -10 : 0) << item;
    }
}

TEST(RsaTest, ANumberThatDoesNotFitItsFieldIsNotLoadedAndOverwritesNothing) {
    for (const RsaItem item : {RSA_PRIME_1, RSA_PRIME_2, RSA_EXPONENT_1, RSA_EXPONENT_2, RSA_COEFFICIENT}) {
        for (const std::size_t length : {513U, 1024U}) {
            Key key(ofBits(512));
            key.set(item, Bytes(length, 0xFF));
            const auto context = std::make_unique<RSA_CTX>();
            context->isPrivate = -1;
            for (std::uint32_t* field : {context->prime2, context->exponent1, context->exponent2, context->coefficient})
                field[0] = 77;  // not loaded yet when the number before it is refused
            EXPECT_EQ(RSA_Init(context.get(), key.items(), 64, nullptr), -10) << item;
            EXPECT_EQ(context->isPrivate, 1) << item;
            if (item < RSA_EXPONENT_2) {
                EXPECT_EQ(context->coefficient[0], 77U) << item;
            }
        }
        Key key(ofBits(512));
        Bytes padded(1024, 0);
        std::copy(key[item].rbegin(), key[item].rend(), padded.rbegin());
        key.set(item, padded);
        EXPECT_EQ(init(key, 64), 0) << "leading zeros take no room: " << item;
    }
}

TEST(RsaTest, NumbersOfFullLengthAreLoaded) {
    Key key(ofBits(512));
    key.set(RSA_MODULUS, Bytes(1024, 0xFF));
    key.set(RSA_PUBLIC_EXPONENT, Bytes(1024, 0xFF));
    EXPECT_EQ(init(key, 16), 0);
    key.set(RSA_PRIME_1, Bytes(512, 0xFF));
    EXPECT_EQ(init(key, 64), -14) << "loaded, and found not to belong there";
}

TEST(RsaTest, AnItemWithoutBytesIsNotReadAndANumberOfNoBytesIsZero) {
    Key key(ofBits(512));
    RSA_KEY_ITEMS items;
    std::copy_n(key.items(), RSA_ITEM_COUNT, items);
    items[RSA_MODULUS].bytes = nullptr;
    RSA_CTX context = {};
    EXPECT_EQ(RSA_Init(&context, items, 16, nullptr), -10);
    items[RSA_MODULUS].length = 0;
    EXPECT_EQ(RSA_Init(&context, items, 16, nullptr), 0);
    EXPECT_EQ(RSA_ModulusLength(&context), -106);
}

TEST(RsaTest, AKeyWithAnyWrongNumberIsRefused) {
    for (const int bits : {96, 512, 1000, 2048}) {
        for (const RsaItem item : kItems) {
            Key key(ofBits(bits));
            Bytes wrong = key[item];
            wrong.at(wrong.size() - 1) ^= 2;
            key.set(item, wrong);
            EXPECT_EQ(init(key, 64), -14) << bits << " " << item;
            key.set(item, {});
            EXPECT_EQ(init(key, 64), -14) << "zero: " << bits << " " << item;
            key.set(item, {1});
            EXPECT_EQ(init(key, 64), -14) << "one: " << bits << " " << item;
        }
    }
}

TEST(RsaTest, ARefusedKeyIsNotUsable) {
    Key key(ofBits(512));
    key.set(RSA_EXPONENT_1, {5});
    RSA_CTX context = {};
    EXPECT_EQ(RSA_Init(&context, key.items(), 64, nullptr), -14);
    const Bytes input(64, 1);
    Bytes output(64);
    std::uint32_t length = 0;
    EXPECT_EQ(RSA_Decrypt(&context, input.data(), output.data(), 64, &length), -106);
}

// The sum of two numbers as bytes.
Bytes plus(const Bytes& a, const std::uint32_t* b) {
    Number sum = number(a);
    MPI_AddTo(sum.data(), b);
    return bytesOf(sum.data(), MPI_ByteLength(sum.data()));
}

Number lessOne(const Bytes& x) {
    Number result = number(x);
    MPI_SubWord(result.data(), 1);
    return result;
}

TEST(RsaTest, AnInverseAboveItsModulusIsRefused) {
    Key key(ofBits(1024));
    Number phi;
    MPI_Mul(phi.data(), lessOne(key[RSA_PRIME_1]).data(), lessOne(key[RSA_PRIME_2]).data());
    key.set(RSA_PRIVATE_EXPONENT, plus(key[RSA_PRIVATE_EXPONENT], phi.data()));
    EXPECT_EQ(init(key, 64), -14);

    Key other(ofBits(1024));
    other.set(RSA_COEFFICIENT, plus(other[RSA_COEFFICIENT], number(other[RSA_PRIME_1]).data()));
    EXPECT_EQ(init(other, 64), -14);
}

TEST(RsaTest, AKeyWhoseExponentIsReducedByTheLeastCommonMultipleIsRefused) {
    int found = 0;
    for (const RsaKeyVector& vector : kRsaKeys) {
        if (*vector.reducedD == '\0')
            continue;
        ++found;
        Key key(vector);
        key.set(RSA_PRIVATE_EXPONENT, hex(vector.reducedD));
        EXPECT_EQ(init(key, 64), -14) << vector.bits;
    }
    EXPECT_GT(found, 0) << "no vector is such a key";
}

TEST(RsaTest, PrimesInTheOtherOrderAreRefusedUnlessAllTheRestFollows) {
    Key key(ofBits(512));
    const Bytes p = key[RSA_PRIME_1];
    const Bytes exponent1 = key[RSA_EXPONENT_1];
    key.set(RSA_PRIME_1, key[RSA_PRIME_2]);
    key.set(RSA_PRIME_2, p);
    EXPECT_EQ(init(key, 64), -14);
    key.set(RSA_EXPONENT_1, key[RSA_EXPONENT_2]);
    key.set(RSA_EXPONENT_2, exponent1);
    EXPECT_EQ(init(key, 64), -14);
    Number inverse;
    ASSERT_EQ(MPI_ModInverse(number(p).data(), number(key[RSA_PRIME_1]).data(), inverse.data()), 1);
    key.set(RSA_COEFFICIENT, bytesOf(inverse.data(), 32));
    EXPECT_EQ(init(key, 64), 0);
}

TEST(RsaTest, PublicOpIsThePowerForEveryExponent) {
    for (const RsaKeyVector& vector : kRsaKeys) {
        const auto context = loadPublic(vector);
        ASSERT_NE(context, nullptr);
        Number result;
        RSA_PublicOp(result.data(), number(hex(vector.raw)).data(), context->publicExponent, context->modulus);
        EXPECT_EQ(bytesOf(result.data(), static_cast<int>(lengthOf(vector))), hex(vector.rawPower)) << vector.bits;
    }
}

TEST(RsaTest, PublicOpOfZeroAndOne) {
    for (const int bits : {96, 512, 2048}) {
        const auto context = loadPublic(ofBits(bits));
        const Number one = {1, 1};
        const Number zero = {0};
        Number result;
        RSA_PublicOp(result.data(), one.data(), context->publicExponent, context->modulus);
        EXPECT_EQ(MPI_Compare(result.data(), one.data()), 0) << bits;
        RSA_PublicOp(result.data(), zero.data(), context->publicExponent, context->modulus);
        EXPECT_EQ(result[0], 0U) << bits;
    }
}

// What the steps of the common exponent give where there is no Montgomery form: 16 squarings and a product, each
// reduced by the constant that lifting finds for an even number (worked out in python3). It is not x^65537.
TEST(RsaTest, PublicOpOfTheCommonExponentWithAnEvenModulusFollowsTheSteps) {
    const struct {
        const char* modulus;
        const char* input;
        const char* result;
    } rows[] = {
        {"fedcba98765432100123456789abcdee", "0123456789abcdef0f1e2d3c4b5a6978", "4438f45c36667f902e79cba69cd651c9"},
        {"fedcba98765432100123456789abcdee", "02", "c0906e7a31351ce8db12ba8ed3307ed5"},
        {"c0000000000000010000000000000006", "0123456789abcdef0f1e2d3c4b5a6978", "3325f63e9b1fd9de931054113c72d69a"},
        {"c0000000000000010000000000000006", "02", "2c8b3fbbd14eb92b5ffe55ea8bfa939a"},
    };
    const Number exponent = number({1, 0, 1});
    for (const auto& row : rows) {
        Number result;
        RSA_PublicOp(result.data(), number(hex(row.input)).data(), exponent.data(), number(hex(row.modulus)).data());
        EXPECT_EQ(bytesOf(result.data(), 16), hex(row.result)) << row.modulus << " " << row.input;
    }
}

void privateOp(const RSA_CTX& context, Number& result, const Number& input) {
    RSA_PrivateOp(result.data(), input.data(), context.prime1, context.prime2, context.exponent1, context.exponent2,
                  context.coefficient);
}

TEST(RsaTest, PrivateOpUndoesTheBarePower) {
    for (const RsaKeyVector& vector : kRsaKeys) {
        const auto context = loadPrivate(vector);
        ASSERT_NE(context, nullptr);
        Number result;
        privateOp(*context, result, number(hex(vector.rawPower)));
        EXPECT_EQ(bytesOf(result.data(), static_cast<int>(lengthOf(vector))), hex(vector.raw)) << vector.bits;
    }
}

TEST(RsaTest, PrivateOpOfAMultipleOfAPrimeGivesZeroForThatPrime) {
    const auto context = loadPrivate(ofBits(512));
    for (const std::uint32_t* prime : {context->prime1, context->prime2}) {
        Number input = {};
        MPI_Copy(input.data(), prime);
        Number root;
        privateOp(*context, root, input);
        Number power;
        RSA_PublicOp(power.data(), root.data(), context->publicExponent, context->modulus);
        EXPECT_EQ(MPI_Compare(power.data(), prime), 0);
    }
}

TEST(RsaTest, ABareNumberBetweenThePrimesComesBackWithTheModulusAdded) {
    Key key(ofBits(512));  // openssl's p is above its q
    const Bytes p = key[RSA_PRIME_1];
    const Bytes exponent1 = key[RSA_EXPONENT_1];
    key.set(RSA_PRIME_1, key[RSA_PRIME_2]);
    key.set(RSA_PRIME_2, p);
    key.set(RSA_EXPONENT_1, key[RSA_EXPONENT_2]);
    key.set(RSA_EXPONENT_2, exponent1);
    Number inverse;
    MPI_ModInverse(number(p).data(), number(key[RSA_PRIME_1]).data(), inverse.data());
    key.set(RSA_COEFFICIENT, bytesOf(inverse.data(), 32));
    const auto context = load(key.items(), 64);
    ASSERT_NE(context, nullptr);
    ASSERT_LT(MPI_Compare(context->prime1, context->prime2), 0);

    Number between = {};
    MPI_Copy(between.data(), context->prime1);
    MPI_AddWord(between.data(), 1);
    Number power;
    RSA_PublicOp(power.data(), between.data(), context->publicExponent, context->modulus);
    Number result;
    privateOp(*context, result, power);
    MPI_AddTo(between.data(), context->modulus);
    EXPECT_EQ(MPI_Compare(result.data(), between.data()), 0);
}

// Factors that are no primes, even or equal ones among them, make a key that the check accepts; what comes out is of no
// use, but it must be as long as the modulus and nothing else may happen.
TEST(RsaTest, KeysOfCompositeFactorsDoNoHarm) {
    const char* const factors[][2] = {{"80 00 00 00 00 00 00 00", "ff ff ff ff ff ff ff c5"},
                                      {"ff ff ff ff ff ff ff c5", "80 00 00 00 00 00 00 00"},
                                      {"04", "ff ff ff ff ff ff ff ff ff ff ff 61"},
                                      {"ff ff ff ff ff ff ff ff ff ff ff 61", "08"},
                                      {"ff ff ff ff ff ff ff ff", "ff ff ff ff ff ff ff fe"}};
    for (const auto& [first, second] : factors) {
        const Number p = number(hex(first));
        const Number q = number(hex(second));
        RSA_CTX context = {};
        MPI_Copy(context.prime1, p.data());
        MPI_Copy(context.prime2, q.data());
        MPI_Mul(context.modulus, p.data(), q.data());
        Number phi;
        MPI_Mul(phi.data(), lessOne(hex(first)).data(), lessOne(hex(second)).data());
        context.publicExponent[0] = 1;
        context.publicExponent[1] = 65537;
        while (MPI_ModInverse(context.publicExponent, phi.data(), context.privateExponent) == 0)
            context.publicExponent[1] += 1;
        Number d = {};
        MPI_Copy(d.data(), context.privateExponent);
        MPI_Mod(d.data(), lessOne(hex(first)).data());
        MPI_Copy(context.exponent1, d.data());
        MPI_Copy(d.data(), context.privateExponent);
        MPI_Mod(d.data(), lessOne(hex(second)).data());
        MPI_Copy(context.exponent2, d.data());
        if (MPI_ModInverse(q.data(), p.data(), context.coefficient) == 0)
            continue;
        context.isPrivate = 1;
        EXPECT_EQ(RSA_CheckKey(&context), 0) << first;
        const int k = RSA_ModulusLength(&context);
        ASSERT_GE(k, 12);
        Bytes block(static_cast<std::size_t>(k));
        EXPECT_EQ(RSA_SignBlock(&context, hex("61").data(), block.data(), 1), k);
        Bytes opened(static_cast<std::size_t>(k - 11));
        const int result = RSA_DecryptBlock(&context, block.data(), opened.data(), k);
        EXPECT_TRUE(result == -104 || result == -105 || result >= 0) << first << " " << result;
    }
}

TEST(RsaTest, ANumberOfNoneOrOfMoreLimbsThanAnyKeyHasIsRefused) {
    std::uint32_t* (*const numbers[])(RSA_CTX&) = {
        [](RSA_CTX& c) { return c.modulus; },         [](RSA_CTX& c) { return c.publicExponent; },
        [](RSA_CTX& c) { return c.privateExponent; }, [](RSA_CTX& c) { return c.prime1; },
        [](RSA_CTX& c) { return c.prime2; },          [](RSA_CTX& c) { return c.exponent1; },
        [](RSA_CTX& c) { return c.exponent2; },       [](RSA_CTX& c) { return c.coefficient; },
    };
    for (const auto& chosen : numbers) {
        for (const std::uint32_t limbs : {0U, static_cast<std::uint32_t>(MPI_FULL_WORDS), 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            const auto context = loadPrivate(ofBits(512));
            ASSERT_EQ(RSA_CheckKey(context.get()), 0);
            chosen(*context)[0] = limbs;  // no load gives that
            EXPECT_EQ(RSA_CheckKey(context.get()), -14) << limbs;
        }
    }
}

TEST(RsaTest, FactorsOfOneAreRefused) {
    Key key(ofBits(512));
    key.set(RSA_PRIME_1, {1});
    key.set(RSA_PRIME_2, key[RSA_MODULUS].size() > 512 ? Bytes{1} : key[RSA_MODULUS]);
    EXPECT_EQ(init(key, 64), -14);
    key.set(RSA_EXPONENT_1, key[RSA_PRIVATE_EXPONENT]);
    key.set(RSA_EXPONENT_2, key[RSA_PRIVATE_EXPONENT]);
    EXPECT_EQ(init(key, 64), -14);
}

TEST(RsaTest, FinalWritesNothingAndReportsNoBytes) {
    std::uint8_t output = 0x5A;
    std::uint32_t length = 9;
    EXPECT_EQ(RSA_Final(nullptr, &output, &length), 0);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(output, 0x5A);
    EXPECT_EQ(RSA_Final(nullptr, &output, nullptr), -2);
}

}  // namespace
