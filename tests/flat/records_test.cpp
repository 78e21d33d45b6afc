#include <gmock/gmock.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "pki/flat/flat.h"

namespace {

// Callers in other languages lay the records out by hand, so that order and offsets are a contract.
constexpr std::size_t kPointer = sizeof(void*);

static_assert(std::is_trivial_v<PKCS_Blob> && std::is_standard_layout_v<PKCS_Blob>);
static_assert(offsetof(PKCS_Blob, data) == 0);
static_assert(offsetof(PKCS_Blob, length) == kPointer);
static_assert(sizeof(PKCS_Blob) == 2 * kPointer);
static_assert(sizeof(PKCS_Blob::length) == 4);

static_assert(offsetof(PKCS_Alg, algType) == 0);
static_assert(offsetof(PKCS_Alg, iv) == kPointer);
static_assert(offsetof(PKCS_Alg, ivLength) == 2 * kPointer);
static_assert(offsetof(PKCS_Alg, effectiveBits) == 2 * kPointer + 4);
static_assert(sizeof(PKCS_Alg) == (kPointer == 4 ? 16 : 24));
static_assert(std::is_same_v<decltype(PKCS_Alg::algType), std::int32_t>);

static_assert(offsetof(PKCS_Key, data) == 0);
static_assert(offsetof(PKCS_Key, length) == kPointer);
static_assert(offsetof(PKCS_Key, keyLength) == kPointer + 4);
static_assert(sizeof(PKCS_Key) == (kPointer == 4 ? 12 : 16));

constexpr std::size_t kBlob = sizeof(PKCS_Blob);
static_assert(offsetof(PKCS_PubKey, modulus) == 0);
static_assert(offsetof(PKCS_PubKey, publicExponent) == kBlob);
static_assert(sizeof(PKCS_PubKey) == 2 * kBlob);

static_assert(offsetof(PKCS_PriKey, modulus) == 0);
static_assert(offsetof(PKCS_PriKey, publicExponent) == kBlob);
static_assert(offsetof(PKCS_PriKey, privateExponent) == 2 * kBlob);
static_assert(offsetof(PKCS_PriKey, prime1) == 3 * kBlob);
static_assert(offsetof(PKCS_PriKey, prime2) == 4 * kBlob);
static_assert(offsetof(PKCS_PriKey, exponent1) == 5 * kBlob);
static_assert(offsetof(PKCS_PriKey, exponent2) == 6 * kBlob);
static_assert(offsetof(PKCS_PriKey, coefficient) == 7 * kBlob);
static_assert(sizeof(PKCS_PriKey) == 8 * kBlob);

static_assert(offsetof(VT_List, data) == 0);
static_assert(offsetof(VT_List, length) == kPointer);
static_assert(offsetof(VT_List, next) == 2 * kPointer);
static_assert(offsetof(VT_List, spare) == 3 * kPointer);
static_assert(sizeof(VT_List) == 4 * kPointer);
static_assert(sizeof(VT_List::spare) == 1);

bool isZero(const PKCS_Blob& blob) {
    return blob.data == nullptr && blob.length == 0;
}

bool isZero(const PKCS_Alg& alg) {
    return alg.algType == 0 && alg.iv == nullptr && alg.ivLength == 0 && alg.effectiveBits == 0;
}

bool isZero(const PKCS_Key& key) {
    return key.data == nullptr && key.length == 0 && key.keyLength == 0;
}

bool isZero(const PKCS_PubKey& key) {
    return isZero(key.modulus) && isZero(key.publicExponent);
}

bool isZero(const PKCS_PriKey& key) {
    return isZero(key.modulus) && isZero(key.publicExponent) && isZero(key.privateExponent) && isZero(key.prime1) &&
           isZero(key.prime2) && isZero(key.exponent1) && isZero(key.exponent2) && isZero(key.coefficient);
}

template <class Record>
Record garbage() {
    Record record;
    std::memset(&record, 0xA5, sizeof record);
    return record;
}

template <class Record>
void expectInit(std::int32_t (*init)(Record*)) {
    auto record = garbage<Record>();
    EXPECT_EQ(init(&record), 0);
    EXPECT_TRUE(isZero(record));
    EXPECT_EQ(init(nullptr), 0);
}

TEST(records_test, InitFillsWithZero) {
    expectInit(PKCS_InitAlg);
    expectInit(PKCS_InitKey);
    expectInit(PKCS_InitPubKey);
    expectInit(PKCS_InitPriKey);
}

PKCS_Blob someBlob() {
    return {static_cast<std::uint8_t*>(T_malloc(3)), 3};
}

// That the buffers really go is for the leak checker to say.
template <class Record>
void expectFree(std::int32_t (*free)(Record*), Record record) {
    EXPECT_EQ(free(&record), 0);
    EXPECT_TRUE(isZero(record));
    EXPECT_EQ(free(&record), 0) << "a second time";
    EXPECT_EQ(free(nullptr), 0);
}

TEST(records_test, FreeReleasesTheIv) {
    expectFree(PKCS_FreeAlg, PKCS_Alg{3, static_cast<std::uint8_t*>(T_malloc(8)), 8, 64});
}

TEST(records_test, FreeReleasesTheKeyBytes) {
    expectFree(PKCS_FreeKey, PKCS_Key{static_cast<std::uint8_t*>(T_malloc(24)), 24, 24});
}

TEST(records_test, FreeReleasesThePublicNumbers) {
    expectFree(PKCS_FreePubKey, PKCS_PubKey{someBlob(), someBlob()});
}

TEST(records_test, FreeReleasesAllEightPrivateNumbers) {
    expectFree(PKCS_FreePriKey, PKCS_PriKey{someBlob(), someBlob(), someBlob(), someBlob(), someBlob(), someBlob(),
                                            someBlob(), someBlob()});
}

TEST(records_test, FreeTakesAbsentNumbers) {
    PKCS_PriKey key = {};
    key.prime2 = someBlob();
    expectFree(PKCS_FreePriKey, key);
}

}  // namespace
