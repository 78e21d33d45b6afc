// Digests, seeded random bytes and key pairs through the objects, on the software side.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <utility>

#include "crypto/hash_chain_random.h"
#include "tests/crypto/engine_objects.h"
#include "tests/support/failing_heap.h"
#include "tests/vectors/rsa_generated_keys.h"

namespace {

using engine::Alg;
using engine::Bytes;
using engine::bytesOf;
using engine::hex;
using engine::Key;
using engine::SoftChooser;

// From RFC 1319, RFC 1321 and FIPS 180-1.
struct Row {
    AlgAllocator allocator;
    CK_MECHANISM_TYPE code;
    const char* empty;
    const char* abc;
};
constexpr Row kRows[] = {
    {AlgAllocMd2, CKM_MD2, "83 50 e5 a3 e2 4c 15 3d f2 27 5c 9f 80 69 27 73",
     "da 85 3b 0d 3f 88 d9 9b 30 28 3a 69 e6 de d6 bb"},
    {AlgAllocMd5, CKM_MD5, "d4 1d 8c d9 8f 00 b2 04 e9 80 09 98 ec f8 42 7e",
     "90 01 50 98 3c d2 4f b0 d6 96 3f 7d 28 e1 7f 72"},
    {AlgAllocSha1, CKM_SHA_1, "da 39 a3 ee 5e 6b 4b 0d 32 55 bf ef 95 60 18 90 af d8 07 09",
     "a9 99 3e 36 47 06 81 6a ba 3e 25 71 78 50 c2 6c 9c d0 d8 9d"},
};
constexpr std::uint8_t kAbc[] = {'a', 'b', 'c'};

TEST(soft_operation_digest_test, GivesThePublishedDigests) {
    for (const Row& row : kRows) {
        SoftChooser chooser;
        const Alg alg(row.allocator);
        Bytes output(hex(row.abc).size());
        std::uint32_t length = 0;
        ASSERT_EQ(DigestInitOp(alg, chooser), 0);
        EXPECT_EQ(DigestOp(alg, kAbc, 3, nullptr, &length), 0);
        EXPECT_EQ(length, output.size()) << "a query takes nothing in";
        EXPECT_EQ(DigestOp(alg, kAbc, 3, output.data(), &length), 0);
        EXPECT_EQ(length, output.size());
        EXPECT_EQ(output, hex(row.abc));
        ASSERT_EQ(DigestInitOp(alg, chooser), 0);
        EXPECT_EQ(DigestOp(alg, nullptr, 0, output.data(), &length), 0);
        EXPECT_EQ(output, hex(row.empty));
    }
}

TEST(soft_operation_digest_test, TakesItsDataInPieces) {
    for (const Row& row : kRows) {
        SoftChooser chooser;
        const Alg alg(row.allocator);
        ASSERT_EQ(DigestInitOp(alg, chooser), 0);
        std::uint32_t length = 0;
        for (const std::uint8_t& byte : kAbc) {
            EXPECT_EQ(DigestUpdateOp(alg, &byte, 1), 0);
            EXPECT_EQ(DigestUpdateOp(alg, nullptr, 0), 0);
            EXPECT_EQ(DigestFinalOp(alg, nullptr, &length), 0) << "a query leaves it open";
        }
        Bytes output(length);
        EXPECT_EQ(DigestFinalOp(alg, output.data(), &length), 0);
        EXPECT_EQ(output, hex(row.abc));
    }
}

TEST(soft_operation_digest_test, OtherMechanismsAreNotSupported) {
    SoftChooser chooser;
    for (CK_MECHANISM_TYPE code = 0; code < 0x400; ++code) {
        if (code == CKM_MD2 || code == CKM_MD5 || code == CKM_SHA_1)
            continue;
        const Alg alg(AlgAllocRsa, nullptr, code);
        EXPECT_EQ(DigestInitOp(alg, chooser), -6) << code;
        alg->mechanism->code = CKM_RSA_PKCS;
    }
}

TEST(soft_operation_digest_test, StepsNeedTheirArgumentsAndAnInit) {
    SoftChooser chooser;
    const Alg alg(AlgAllocSha1);
    Bytes output(20);
    std::uint32_t length = 0;
    EXPECT_EQ(DigestUpdateOp(alg, kAbc, 3), -5);
    EXPECT_EQ(DigestFinalOp(alg, output.data(), &length), -5);
    EXPECT_EQ(DigestOp(alg, kAbc, 3, output.data(), &length), -5);
    EXPECT_EQ(DigestUpdateOp(nullptr, kAbc, 3), -2);
    EXPECT_EQ(DigestFinalOp(nullptr, output.data(), &length), -2);
    EXPECT_EQ(DigestOp(nullptr, kAbc, 3, output.data(), &length), -2);
    EXPECT_EQ(DigestInitOp(alg, nullptr), -2);
    EXPECT_EQ(DigestInitOp(nullptr, chooser), -2);
    ASSERT_EQ(DigestInitOp(alg, chooser), 0);
    EXPECT_EQ(DigestUpdateOp(alg, nullptr, 3), -2);
    EXPECT_EQ(DigestFinalOp(alg, output.data(), nullptr), -2);
    EXPECT_EQ(DigestOp(alg, nullptr, 3, output.data(), &length), -2);
    EXPECT_EQ(DigestOp(alg, kAbc, 3, output.data(), nullptr), -2);
    EXPECT_TRUE(chooser.table.digestInit != nullptr && chooser.table.encryptUpdate == nullptr);
}

TEST(soft_operation_digest_test, AnInitNeedsTheContext) {
    SoftChooser chooser;
    const Alg alg(AlgAllocSha1);
    void* const context = std::exchange(alg->context, nullptr);
    EXPECT_EQ(DigestInitOp(alg, chooser), -2);
    EXPECT_EQ(chooser.table.digestInit, nullptr);
    alg->context = context;
    EXPECT_EQ(DigestInitOp(alg, chooser), 0);
}

// By Python: W = bytearray((b"seed" + bytes(range(4, 256)))[:n]), then W[b * 20:b * 20 + 20] =
// hashlib.sha1(W[:n]).digest() for each b below n / 20, rounded up; the first n bytes.
TEST(soft_operation_digest_test, RandomBytesFollowFromTheSeed) {
    SoftChooser chooser;
    const Alg alg(AlgAllocHashChainRandom);
    const Bytes seed = {'s', 'e', 'e', 'd'};
    const char* const expected[] = {"a0", "3d 63 7f", "a1 d8 5d 81 d9 b7 65 97 cd b5 d2 7d 94 35 3c 28 eb ac b3 98",
                                    "4a 6a 96 f4 94 ef ce 93 8e 3e 68 7e 68 9a 31 f1 4b 81 d4 b2 f1",
                                    ("8f e8 c3 e3 1b df f2 13 72 a1 f1 dc 33 9c 34 c5 1b 14 46 1d 89 74 06 ae 8b 07"
                                     " 30 73 b9 ec ce 8b 89 7e de a9 68 b9 98 ee b6")};
    for (const char* bytes : expected) {
        ASSERT_EQ(RandomInitOp(alg, seed.data(), 4, chooser), 0);
        Bytes output(hex(bytes).size());
        EXPECT_EQ(RandomOp(alg, output.data(), static_cast<std::uint32_t>(output.size())), 0);
        EXPECT_EQ(output, hex(bytes));
    }
}

TEST(soft_operation_digest_test, TheVariantsOfTheGeneratorAreServedByTheirMechanism) {
    SoftChooser chooser;
    const Bytes seed = {'s', 'e', 'e', 'd'};
    struct Variant {
        CK_MECHANISM_TYPE code;
        RandomGenerate generate;
    };
    for (const Variant& variant : {Variant{HASH_CHAIN_RANDOM_MD2, HashChainRandom_MD2_Generate},
                                   {HASH_CHAIN_RANDOM_MD5, HashChainRandom_MD5_Generate},
                                   {HASH_CHAIN_RANDOM_SHA1, HashChainRandom_SHA1_Generate}}) {
        const Alg alg(AlgAllocHashChainRandom, nullptr, variant.code);
        ASSERT_EQ(RandomInitOp(alg, seed.data(), 4, chooser), 0);
        Bytes output(33);
        EXPECT_EQ(RandomOp(alg, output.data(), 33), 0);
        HASH_CHAIN_RANDOM_CTX context = {seed.data(), 4};
        Bytes direct(33);
        variant.generate(&context, direct.data(), 33);
        EXPECT_EQ(output, direct);
    }
    const Alg other(AlgAllocHashChainRandom, nullptr, 0x80000400);
    EXPECT_EQ(RandomInitOp(other, seed.data(), 4, chooser), -6);
}

TEST(soft_operation_digest_test, AnEmptySeedWorks) {
    SoftChooser chooser;
    const Alg alg(AlgAllocHashChainRandom);
    ASSERT_EQ(RandomInitOp(alg, nullptr, 0, chooser), 0);
    Bytes output(20);
    EXPECT_EQ(RandomOp(alg, output.data(), 20), 0);
    EXPECT_EQ(output, hex("60 2c 63 d2 f3 d1 3c a3 20 6c df 20 4c de 24 e7 d8 f4 26 6c")) << "sha1(bytes(range(20)))";
}

TEST(soft_operation_digest_test, RandomNeedsItsArgumentsAndASeed) {
    SoftChooser chooser;
    const Alg alg(AlgAllocHashChainRandom);
    Bytes output(20);
    EXPECT_EQ(RandomOp(alg, output.data(), 20), -5);
    EXPECT_EQ(RandomOp(nullptr, output.data(), 20), -2);
    EXPECT_EQ(RandomInitOp(alg, nullptr, 4, chooser), -2);
    EXPECT_EQ(RandomOp(alg, output.data(), 20), -5) << "the init failed";
    EXPECT_EQ(RandomInitOp(alg, output.data(), 4, nullptr), -2);
    EXPECT_EQ(RandomInitOp(nullptr, output.data(), 4, chooser), -2);
    ASSERT_EQ(RandomInitOp(alg, output.data(), 4, chooser), 0);
    EXPECT_EQ(RandomOp(alg, nullptr, 20), -2);
}

TEST(soft_operation_digest_test, AKeyPairIsSetUpInBothShells) {
    for (const RsaGeneratedKey& row : kRsaGeneratedKeys) {
        if (row.bits != 512 || row.number != 1)
            continue;
        std::thread([&] {
            SoftChooser chooser;
            const std::int32_t bits = row.bits;
            const Alg alg(AlgAllocRsaKeyPairGen, &bits);
            KEY_OBJ* publicKey = KeyShell();
            KEY_OBJ* privateKey = KeyShell();
            ASSERT_EQ(GenerateKeyPairOp(alg, &publicKey, &privateKey, chooser), 0);
            EXPECT_EQ(chooser.table.generateKeyPair, RSA_GenerateKeyItems);
            KEY_ITEM* items = nullptr;
            ASSERT_EQ(privateKey->getter(privateKey, &items), 0);
            for (std::size_t i = 0; i < RSA_ITEM_COUNT; ++i)
                EXPECT_EQ(bytesOf(items[i].bytes, items[i].length), hex(row.items[i])) << i;
            KeyItemsFree(&items, RSA_ITEM_COUNT);
            ASSERT_EQ(publicKey->getter(publicKey, &items), 0);
            for (std::size_t i = 0; i < RSA_PUBLIC_ITEM_COUNT; ++i)
                EXPECT_EQ(bytesOf(items[i].bytes, items[i].length), hex(row.items[i])) << i;
            KeyItemsFree(&items, RSA_PUBLIC_ITEM_COUNT);
            EXPECT_EQ(publicKey->length, 16U);
            EXPECT_EQ(privateKey->length, 64U);
            KeyFree(&publicKey);
            KeyFree(&privateKey);
        }).join();
    }
}

TEST(soft_operation_digest_test, AKeyPairNeedsItsArgumentsAndItsMechanism) {
    SoftChooser chooser;
    std::int32_t bits = 96;
    const Alg alg(AlgAllocRsaKeyPairGen, &bits);
    const Key publicKey(KeyAllocRsaPublic);
    const Key privateKey(KeyAllocRsaPrivate);
    KEY_OBJ* publicShell = KeyShell();
    KEY_OBJ* privateShell = KeyShell();
    EXPECT_EQ(GenerateKeyPairOp(nullptr, &publicShell, &privateShell, chooser), -2);
    EXPECT_EQ(GenerateKeyPairOp(alg, nullptr, &privateShell, chooser), -2);
    EXPECT_EQ(GenerateKeyPairOp(alg, &publicShell, nullptr, chooser), -2);
    EXPECT_EQ(GenerateKeyPairOp(alg, &publicShell, &privateShell, nullptr), -2);
    const Alg other(AlgAllocRsa);
    EXPECT_EQ(GenerateKeyPairOp(other, &publicShell, &privateShell, chooser), -6);
    bits = 4;  // of which there is no key
    const Alg none(AlgAllocRsaKeyPairGen, &bits);
    EXPECT_EQ(GenerateKeyPairOp(none, &publicShell, &privateShell, chooser), -11);
    bits = -512;
    const Alg negative(AlgAllocRsaKeyPairGen, &bits);
    EXPECT_EQ(GenerateKeyPairOp(negative, &publicShell, &privateShell, chooser), -11);
    KeyFree(&publicShell);
    KeyFree(&privateShell);
}

TEST(soft_operation_digest_test, AKeyPairWithoutMemoryLeaksNothing) {
    SoftChooser chooser;
    const std::int32_t bits = 96;
    const Alg alg(AlgAllocRsaKeyPairGen, &bits);
    int codes[64] = {};
    long runs = 0;
    long kept = 0;
    const long failures = support::forEachExhaustion([&] {
        KEY_OBJ* publicKey = KeyShell();
        KEY_OBJ* privateKey = KeyShell();
        codes[runs++] = publicKey == nullptr || privateKey == nullptr
                            ? -1
                            : GenerateKeyPairOp(alg, &publicKey, &privateKey, chooser);
        if (runs > 2 + 9 && codes[runs - 1] != 0)
            kept += (publicKey != nullptr ? 1 : 0) + (privateKey != nullptr ? 1 : 0);
        KeyFree(&publicKey);
        KeyFree(&privateKey);
    });
    EXPECT_EQ(failures, 2 + 9 + 18 + 10) << "shells, items, private key, public key";
    for (long i = 0; i < failures; ++i)
        EXPECT_EQ(codes[i], i >= 3 && i < 11 ? -11 : -1) << i;
    EXPECT_EQ(codes[failures], 0);
    EXPECT_EQ(kept, 0) << "a setup that fails leaves neither key";
}

}  // namespace
