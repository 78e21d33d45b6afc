#include "crypto/alg_object.h"

#include <gtest/gtest.h>

#include <cstring>

#include "crypto/alloc_buffer.h"
#include "crypto/des.h"
#include "crypto/des3.h"
#include "crypto/hash_chain_random.h"
#include "crypto/md2.h"
#include "crypto/md5.h"
#include "crypto/rc2.h"
#include "crypto/rc4.h"
#include "crypto/rc5.h"
#include "crypto/sha1.h"
#include "tests/crypto/engine_objects.h"
#include "tests/support/failing_heap.h"

namespace {

using engine::Alg;
using engine::Bytes;
using engine::bytesOf;
using engine::hex;
using engine::itemOf;
using support::FailingHeap;

enum class Takes { kNothing, kIv, kRc2, kBits };

struct Row {
    AlgAllocator allocator;
    CK_MECHANISM_TYPE code;
    std::size_t context;  // bytes; 0 for a pair
    std::size_t digest;   // bytes of the pair's digest
    Takes takes;
};

constexpr Row kRows[] = {
    {AlgAllocDesCbcPad, 0x125, sizeof(DES_CTX), 0, Takes::kIv},
    {AlgAllocDes3CbcPad, 0x136, sizeof(DES3_CTX), 0, Takes::kIv},
    {AlgAllocRc2CbcPad, 0x105, sizeof(RC2_CTX), 0, Takes::kRc2},
    {AlgAllocRc4, 0x111, sizeof(RC4_CTX), 0, Takes::kNothing},
    {AlgAllocMd2, 0x200, sizeof(MD2_CTX), 0, Takes::kNothing},
    {AlgAllocMd5, 0x210, sizeof(MD5_CTX), 0, Takes::kNothing},
    {AlgAllocSha1, 0x220, sizeof(SHA1_CTX), 0, Takes::kNothing},
    {AlgAllocRsa, 1, sizeof(RSA_CTX), 0, Takes::kNothing},
    {AlgAllocMd2Rsa, 4, 0, sizeof(MD2_CTX), Takes::kNothing},
    {AlgAllocMd5Rsa, 5, 0, sizeof(MD5_CTX), Takes::kNothing},
    {AlgAllocSha1Rsa, 6, 0, sizeof(SHA1_CTX), Takes::kNothing},
    {AlgAllocRsaKeyPairGen, 0, sizeof(RSA_CTX), 0, Takes::kBits},
    {AlgAllocHashChainRandom, 0x80000300, sizeof(HASH_CHAIN_RANDOM_CTX), 0, Takes::kNothing},
};

// Something for every setter.
class Parameters {
  public:
    const void* of(const Row& row) const {
        switch (row.takes) {
            case Takes::kIv:
                return &iv_;
            case Takes::kRc2:
                return &rc2_;
            case Takes::kBits:
                return &bits_;
            default:
                return nullptr;
        }
    }

  private:
    Bytes bytes_ = hex("10 21 32 43 54 65 76 87");
    KEY_ITEM iv_ = itemOf(bytes_);
    RC2_SETTING rc2_ = {40, itemOf(bytes_)};
    std::int32_t bits_ = 1024;
};

bool isZero(const void* bytes, std::size_t length) {
    return bytesOf(bytes, length) == Bytes(length, 0);
}

TEST(alg_object_test, BuffersAreZeroAndOneByteLonger) {
    for (const std::size_t size : {0U, 1U, 8U, 1000U}) {
        void* buffer = AllocBuffer(size);
        ASSERT_NE(buffer, nullptr);
        EXPECT_TRUE(isZero(buffer, size + 1)) << size;
        std::memset(buffer, 0xFF, size + 1);  // the address checker objects if there is less
        FreeBuffer(buffer);
    }
    EXPECT_EQ(AllocBuffer(SIZE_MAX), nullptr);
    FreeBuffer(nullptr);
}

TEST(alg_object_test, EveryAllocatorGivesItsMechanismAndAZeroedContext) {
    for (const Row& row : kRows) {
        ALG_OBJ* object = AlgShell();
        ASSERT_NE(object, nullptr);
        EXPECT_TRUE(isZero(object, sizeof *object + 1)) << "a shell";
        ASSERT_EQ(row.allocator(object), 0) << row.code;
        EXPECT_EQ(object->mechanism->code, row.code);
        EXPECT_EQ(object->mechanism->parameter, nullptr);
        EXPECT_EQ(object->mechanism->parameterLength, 0U);
        EXPECT_EQ(object->chooser, nullptr);
        EXPECT_EQ(object->tokenKey, 0U);
        EXPECT_EQ(object->keyIsTokenObject, 0);
        EXPECT_EQ(object->allocator, row.allocator);
        EXPECT_EQ(object->setter != nullptr, row.takes != Takes::kNothing) << row.code;
        EXPECT_EQ(object->getter != nullptr, row.takes != Takes::kNothing) << row.code;
        if (row.digest == 0) {
            EXPECT_TRUE(isZero(object->context, row.context + 1)) << row.code;
        } else {
            const auto* pair = static_cast<const DIGEST_RSA_PAIR*>(object->context);
            EXPECT_TRUE(isZero(pair->digest, row.digest + 1)) << row.code;
            EXPECT_TRUE(isZero(pair->rsa, sizeof(RSA_CTX) + 1)) << row.code;
        }
        AlgFree(&object);
        EXPECT_EQ(object, nullptr);
    }
}

TEST(alg_object_test, AllocatorsNeedAnObject) {
    for (const Row& row : kRows)
        EXPECT_EQ(row.allocator(nullptr), -2) << row.code;
}

TEST(alg_object_test, TheInitialValueOfDesIsCopied) {
    for (const AlgAllocator allocator : {AlgAllocDesCbcPad, AlgAllocDes3CbcPad}) {
        Bytes iv = hex("01 02 03 04 05 06 07 08 09");
        const KEY_ITEM item = itemOf(iv);
        const Alg alg(allocator, &item);
        ASSERT_EQ(alg.code, 0);
        iv.assign(9, 0);
        EXPECT_EQ(alg->mechanism->parameterLength, 8U);
        EXPECT_EQ(bytesOf(alg->mechanism->parameter, 8), hex("01 02 03 04 05 06 07 08")) << "the first 8";
    }
}

TEST(alg_object_test, AnInitialValueHasAtLeast8Bytes) {
    const Bytes seven(7);
    for (const AlgAllocator allocator : {AlgAllocDesCbcPad, AlgAllocDes3CbcPad}) {
        const KEY_ITEM none = {nullptr, 8};
        const KEY_ITEM shorter = itemOf(seven);
        EXPECT_EQ(Alg(allocator).code, -2);
        EXPECT_EQ(Alg(allocator, &none).code, -2);
        EXPECT_EQ(Alg(allocator, &shorter).code, -3);
    }
    const RC2_SETTING none = {40, {nullptr, 0}};
    const RC2_SETTING shorter = {40, itemOf(seven)};
    EXPECT_EQ(Alg(AlgAllocRc2CbcPad).code, -2);
    EXPECT_EQ(Alg(AlgAllocRc2CbcPad, &none).code, -2);
    EXPECT_EQ(Alg(AlgAllocRc2CbcPad, &shorter).code, -3);
}

TEST(alg_object_test, TheParameterOfRc2IsARecordForTokensToo) {
    const Bytes iv = hex("01 02 03 04 05 06 07 08");
    const RC2_SETTING setting = {64, itemOf(iv)};
    const Alg alg(AlgAllocRc2CbcPad, &setting);
    ASSERT_EQ(alg.code, 0);
    ASSERT_EQ(alg->mechanism->parameterLength, sizeof(RC2_PARAMETER));
    const auto* record = static_cast<const RC2_PARAMETER*>(alg->mechanism->parameter);
    EXPECT_EQ(record->effectiveBits, 64U);
    EXPECT_EQ(bytesOf(record->iv, 8), iv);
    EXPECT_EQ(offsetof(RC2_PARAMETER, iv), sizeof(CK_ULONG));
}

TEST(alg_object_test, TheBitLengthStandsInTheParameterLength) {
    const std::int32_t bits = 2048;
    const Alg alg(AlgAllocRsaKeyPairGen, &bits);
    ASSERT_EQ(alg.code, 0);
    EXPECT_EQ(alg->mechanism->parameterLength, 2048U);
    EXPECT_EQ(alg->mechanism->parameter, nullptr);
    KEY_ITEM read = {};
    EXPECT_EQ(alg->getter(alg, &read), 0);
    EXPECT_EQ(read.bytes, nullptr);
    EXPECT_EQ(read.length, 2048U);
    EXPECT_EQ(alg->getter(alg, nullptr), -2);
    EXPECT_EQ(alg->getter(nullptr, &read), -2);
    EXPECT_EQ(Alg(AlgAllocRsaKeyPairGen).code, -2);
}

TEST(alg_object_test, AGetterGivesAFreshCopy) {
    const Parameters parameters;
    for (const Row& row : kRows) {
        if (row.takes != Takes::kIv && row.takes != Takes::kRc2)
            continue;
        const Alg alg(row.allocator, parameters.of(row));
        ASSERT_EQ(alg.code, 0);
        KEY_ITEM read = {};
        ASSERT_EQ(alg->getter(alg, &read), 0);
        EXPECT_EQ(bytesOf(read.bytes, read.length),
                  bytesOf(alg->mechanism->parameter, alg->mechanism->parameterLength));
        EXPECT_NE(static_cast<void*>(read.bytes), alg->mechanism->parameter);
        FreeBuffer(read.bytes);
        EXPECT_EQ(alg->getter(nullptr, &read), -2);
        EXPECT_EQ(alg->getter(alg, nullptr), -2);

        ALG_OBJ* unset = AlgShell();
        row.allocator(unset);
        EXPECT_EQ(unset->getter(unset, &read), -2);
        AlgFree(&unset);

        int code = 0;
        {
            const FailingHeap heap(1);
            code = alg->getter(alg, &read);
        }
        EXPECT_EQ(code, -1);
    }
}

TEST(alg_object_test, AccessorsNeedAMechanism) {
    const Parameters parameters;
    for (const Row& row : kRows) {
        if (row.takes == Takes::kNothing)
            continue;
        const Alg alg(row.allocator, parameters.of(row));
        ALG_OBJ shell = {};
        KEY_ITEM read = {};
        EXPECT_EQ(alg->setter(&shell, parameters.of(row)), -2);
        EXPECT_EQ(alg->setter(nullptr, parameters.of(row)), -2);
        EXPECT_EQ(alg->getter(&shell, &read), -2);
        EXPECT_EQ(shell.mechanism, nullptr);
    }
}

TEST(alg_object_test, ASecondSettingTakesThePlaceOfTheFirst) {
    const Bytes first = hex("01 01 01 01 01 01 01 01");
    const Bytes second = hex("02 02 02 02 02 02 02 02");
    const KEY_ITEM firstItem = itemOf(first);
    const KEY_ITEM secondItem = itemOf(second);
    const Alg alg(AlgAllocDesCbcPad, &firstItem);
    ASSERT_EQ(alg->setter(alg, &secondItem), 0);
    EXPECT_EQ(bytesOf(alg->mechanism->parameter, 8), second);
    int code = 0;
    {
        const FailingHeap heap(1);
        code = alg->setter(alg, &firstItem);
    }
    EXPECT_EQ(code, -1);
    EXPECT_EQ(bytesOf(alg->mechanism->parameter, 8), second) << "a failed setting changes nothing";
    EXPECT_EQ(alg->setter(nullptr, &firstItem), -2);
}

TEST(alg_object_test, AFailedSetupFreesTheObjectOnce) {
    ALG_OBJ* object = AlgShell();
    EXPECT_EQ(AlgSetup(&object, AlgAllocDesCbcPad, nullptr), -2);
    EXPECT_EQ(object, nullptr);
    AlgFree(&object);
    EXPECT_EQ(AlgSetup(&object, AlgAllocDesCbcPad, nullptr), -2) << "no object";
    EXPECT_EQ(AlgSetup(nullptr, AlgAllocDesCbcPad, nullptr), -2);
    object = AlgShell();
    EXPECT_EQ(AlgSetup(&object, nullptr, nullptr), -2);
    AlgFree(&object);
}

// The shell, the mechanism, the context, for a pair two more, and the parameter record.
TEST(alg_object_test, ExhaustedMemoryIsToldAndLeaksNothing) {
    const Parameters parameters;
    for (const Row& row : kRows) {
        int codes[8] = {};
        int runs = 0;
        const long failures = support::forEachExhaustion([&] {
            ALG_OBJ* object = AlgShell();
            codes[runs] = object == nullptr ? -1 : AlgSetup(&object, row.allocator, parameters.of(row));
            ++runs;
            AlgFree(&object);
        });
        const bool hasRecord = row.takes == Takes::kIv || row.takes == Takes::kRc2;
        EXPECT_EQ(failures, 3 + (row.digest != 0 ? 2 : 0) + (hasRecord ? 1 : 0)) << row.code;
        for (long i = 0; i < failures; ++i)
            EXPECT_EQ(codes[i], -1) << row.code << " " << i;
        EXPECT_EQ(codes[failures], 0) << row.code;
    }
}

TEST(alg_object_test, FreeingNothingAndAShell) {
    AlgFree(nullptr);
    ALG_OBJ* object = nullptr;
    AlgFree(&object);
    object = AlgShell();
    AlgFree(&object);
    EXPECT_EQ(object, nullptr);
}

TEST(alg_object_test, TheInitialValueInsideAnRc5ParameterIsFreed) {
    for (const CK_MECHANISM_TYPE code : {CKM_RC5_CBC, CKM_RC5_CBC_PAD}) {
        ALG_OBJ* object = AlgShell();
        object->mechanism = AllocStructure<MECHANISM>();
        object->mechanism->code = code;
        auto* parameter = AllocStructure<RC5_PARAMETER>();
        parameter->iv = CopyBuffer("12345678", 8);
        parameter->ivLength = 8;
        object->mechanism->parameter = parameter;
        AlgFree(&object);  // the leak checker watches
        object = AlgShell();
        object->mechanism = AllocStructure<MECHANISM>();
        object->mechanism->code = code;
        AlgFree(&object);
    }
}

// A module of which nothing but C_DestroyObject is called.
struct Destroyed {
    int calls = 0;
    CK_SESSION_HANDLE session = 0;
    CK_OBJECT_HANDLE object = 0;
} destroyed;

CK_RV destroyObject(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object) {
    destroyed = {destroyed.calls + 1, session, object};
    return CKR_OK;
}

TEST(alg_object_test, OnlyAKeyThatTheOperationMadeInTheTokenIsDestroyed) {
    struct Case {
        std::int32_t useToken;
        CK_OBJECT_HANDLE tokenKey;
        std::int32_t keyIsTokenObject;
        int calls;
    };
    constexpr Case kCases[] = {{1, 0x77, 0, 1}, {0, 0x77, 0, 0}, {1, 0, 0, 0}, {1, 0x77, 1, 0}};
    CK_FUNCTION_LIST functions = {};
    functions.C_DestroyObject = destroyObject;
    for (const Case& c : kCases) {
        CHOOSER chooser = {0x5E, &functions, nullptr, c.useToken};
        ALG_OBJ* object = AlgShell();
        ASSERT_EQ(AlgSetup(&object, AlgAllocRsa, nullptr), 0);
        object->chooser = &chooser;
        object->tokenKey = c.tokenKey;
        object->keyIsTokenObject = c.keyIsTokenObject;
        destroyed = {};
        AlgFree(&object);
        EXPECT_EQ(destroyed.calls, c.calls);
        if (c.calls != 0) {
            EXPECT_EQ(destroyed.session, 0x5EU);
            EXPECT_EQ(destroyed.object, 0x77U);
        }
    }
}

}  // namespace
