#include "token/alg.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <type_traits>

#include "foundation/exceptions.h"
#include "tests/support/broken_der.h"
#include "tests/support/der.h"
#include "tests/support/failing_heap.h"
#include "tests/support/noise.h"
#include "tests/token/values.h"
#include "tests/vectors/token_values.h"

namespace {

using support::Broken;
using support::FailingHeap;
using values::AlgFields;
using values::AlgObject;
using values::Bytes;
using values::bytesOf;
using values::decoded;
using values::encoded;
using values::fieldsOf;
using values::hex;
using values::identified;
using values::isShell;
using values::ivOf;
using values::miByte;
using values::oidOf;
using values::typeOf;

struct Row {
    int code;
    const char* oid;
    CK_MECHANISM_TYPE mechanism;
    AlgAllocator allocator;
};

constexpr Row kRows[] = {
    {1, "1.3.14.3.2.26", 0x220, AlgAllocSha1},
    {2, "1.2.840.113549.2.5", 0x210, AlgAllocMd5},
    {3, "1.2.840.113549.2.2", 0x200, AlgAllocMd2},
    {4, "1.3.14.3.2.7", 0x125, AlgAllocDesCbcPad},
    {5, "1.2.840.113549.3.7", 0x136, AlgAllocDes3CbcPad},
    {6, "1.2.840.113549.3.2", 0x105, AlgAllocRc2CbcPad},
    {7, "1.2.840.113549.3.4", 0x111, AlgAllocRc4},
    {8, "1.2.840.113549.1.1.1", 1, AlgAllocRsa},
    {9, "1.2.840.113549.1.1.5", 6, AlgAllocSha1Rsa},
    {10, "1.2.840.113549.1.1.4", 5, AlgAllocMd5Rsa},
    {11, "1.2.840.113549.1.1.2", 4, AlgAllocMd2Rsa},
};

const Bytes kIv = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
const char* const kNoCode = "1.2.840.113549.2.4";

bool isBlockCipher(int code) {
    return code >= 4 && code <= 6;
}

// An algorithm with all that its object needs.
VT_P11_Alg ready(int code) {
    VT_P11_Alg alg;
    EXPECT_EQ(alg.setAlgType(code), 0);
    if (isBlockCipher(code)) {
        EXPECT_EQ(alg.setIV(miByte(kIv)), 0);
    }
    if (code == 6) {
        EXPECT_EQ(alg.setEffectiveBits(40), 0);
    }
    return alg;
}

// An identifier whose parameters are this element.
AlgorithmIdentifier withParameters(const char* oid, const Bytes& element) {
    AlgorithmIdentifier identifier = identified(oid);
    const Bytes der = encoded(identifier);
    return decoded<AlgorithmIdentifier>(der::sequence({Bytes(der.begin() + 2, der.end()), element}));
}

Bytes rc2Parameters(const Bytes& version, const Bytes& iv) {
    return der::sequence({version, der::tlv(0x04, iv)});
}

void expectNothingBut(const VT_P11_Alg& alg, int type) {
    const AlgFields fields = fieldsOf(alg);
    EXPECT_EQ(fields.algType, type);
    EXPECT_EQ(fields.effectiveBits, 0);
    EXPECT_EQ(fields.iv, nullptr);
    EXPECT_EQ(fields.ivLength, 0U);
}

TEST(alg_test, FieldsStandInTheirOrderAndNothingElseIsThere) {
    EXPECT_TRUE(std::is_standard_layout_v<VT_P11_Alg>);
    EXPECT_FALSE(std::is_polymorphic_v<VT_P11_Alg>);
    EXPECT_EQ(sizeof(VT_P11_Alg), sizeof(void*) == 8 ? 24U : 16U);
    EXPECT_EQ(offsetof(AlgFields, effectiveBits), 4U);
    EXPECT_EQ(offsetof(AlgFields, iv), 8U);
    EXPECT_EQ(offsetof(AlgFields, ivLength), 8 + sizeof(void*));
    VT_P11_Alg alg = ready(6);
    alg.setEffectiveBits(128);
    const AlgFields fields = fieldsOf(alg);
    EXPECT_EQ(fields.algType, 6);
    EXPECT_EQ(fields.effectiveBits, 128);
    EXPECT_EQ(bytesOf(fields.iv, fields.ivLength), kIv);
}

TEST(alg_test, ANewOneHasNoCodeAndNothingElse) {
    const VT_P11_Alg alg;
    expectNothingBut(alg, 0);
    EXPECT_EQ(typeOf(alg), -1);
    EXPECT_EQ(alg.getEffectiveBits(), 0);
}

TEST(alg_test, CodesAreOneToEleven) {
    for (const Row& row : kRows) {
        VT_P11_Alg alg;
        EXPECT_EQ(alg.setAlgType(row.code), 0);
        EXPECT_EQ(typeOf(alg), row.code);
    }
    VT_P11_Alg alg;
    ASSERT_EQ(alg.setAlgType(9), 0);
    for (const int code : {0, -1, 12, 13, INT_MIN, INT_MAX})
        EXPECT_EQ(alg.setAlgType(code), -1006) << code;
    EXPECT_EQ(typeOf(alg), 9) << "a refused code leaves the old one";
}

TEST(alg_test, EffectiveBitsAreNotChecked) {
    VT_P11_Alg alg;
    for (const int bits : {40, 0, -1, 41, INT_MIN, INT_MAX}) {
        EXPECT_EQ(alg.setEffectiveBits(bits), 0);
        EXPECT_EQ(alg.getEffectiveBits(), bits);
    }
}

TEST(alg_test, TheIvIsACopyOfAnyLength) {
    VT_P11_Alg alg;
    for (const std::size_t length : {1U, 7U, 8U, 9U, 100000U}) {
        const Bytes iv(length, 0xA5);
        MiByte given = miByte(iv);
        ASSERT_EQ(alg.setIV(given), 0);
        given.SetByte("other", 5);
        EXPECT_EQ(ivOf(alg), iv);
    }
}

TEST(alg_test, AnEmptyIvIsRefusedAndTheOldOneStays) {
    VT_P11_Alg alg;
    EXPECT_EQ(alg.setIV(MiByte()), -1010);
    EXPECT_EQ(fieldsOf(alg).iv, nullptr);
    ASSERT_EQ(alg.setIV(miByte(kIv)), 0);
    EXPECT_EQ(alg.setIV(MiByte()), -1010);
    EXPECT_EQ(ivOf(alg), kIv);
}

TEST(alg_test, AnIvWithoutMemoryLeavesTheOldOne) {
    VT_P11_Alg alg;
    ASSERT_EQ(alg.setIV(miByte(kIv)), 0);
    const MiByte other = miByte({1, 2, 3});
    int code = 0;
    {
        const FailingHeap heap(1);
        code = alg.setIV(other);
    }
    EXPECT_EQ(code, -1031);
    EXPECT_EQ(ivOf(alg), kIv);
}

TEST(alg_test, EachIdentifierHasItsCode) {
    for (const Row& row : kRows) {
        VT_P11_Alg alg;
        const AlgorithmIdentifier identifier =
            row.code == 6 ? withParameters(row.oid, rc2Parameters(der::integer(58), kIv)) : identified(row.oid);
        EXPECT_EQ(alg.setAlgorithmIdentifier(identifier), 0) << row.oid;
        EXPECT_EQ(typeOf(alg), row.code);
    }
}

TEST(alg_test, EachCodeHasItsIdentifierAndParameters) {
    const Bytes null = {0x05, 0x00};
    for (const Row& row : kRows) {
        AlgorithmIdentifier identifier;
        ASSERT_EQ(ready(row.code).getAlgorithmIdentifier(identifier), 0);
        EXPECT_EQ(oidOf(identifier), row.oid);
        const Bytes parameters = row.code == 6             ? rc2Parameters(der::integer(160), kIv)
                                 : isBlockCipher(row.code) ? der::tlv(0x04, kIv)
                                                           : null;
        EXPECT_EQ(encoded(identifier), encoded(withParameters(row.oid, parameters))) << row.code;
    }
}

TEST(alg_test, ReadsWhatOpensslWritesAndWritesTheSame) {
    for (const AlgorithmVector& vector : kAlgorithmVectors) {
        const Bytes der = hex(vector.der);
        VT_P11_Alg alg;
        ASSERT_EQ(alg.setAlgorithmIdentifier(decoded<AlgorithmIdentifier>(der)), 0) << vector.der;
        EXPECT_EQ(typeOf(alg), vector.code);
        EXPECT_EQ(alg.getEffectiveBits(), vector.effectiveBits);
        EXPECT_EQ(ivOf(alg), isBlockCipher(vector.code) ? Bytes(der.end() - 8, der.end()) : Bytes());
        AlgorithmIdentifier written;
        ASSERT_EQ(alg.getAlgorithmIdentifier(written), 0);
        // openssl leaves out the parameters of SHA-1, which are NULL here.
        EXPECT_EQ(encoded(written), vector.code == 1 ? hex("300906052b0e03021a0500") : der);
    }
}

TEST(alg_test, DesParametersAreTheIvAndMayBeAbsent) {
    for (const int index : {3, 4}) {
        const Row& row = kRows[index];
        VT_P11_Alg alg = ready(6);
        EXPECT_EQ(alg.setAlgorithmIdentifier(identified(row.oid)), 0);
        expectNothingBut(alg, row.code);
        for (const char* nothing : {"05 00", "04 00"}) {
            alg = ready(6);
            EXPECT_EQ(alg.setAlgorithmIdentifier(withParameters(row.oid, hex(nothing))), 0);
            expectNothingBut(alg, row.code);
        }
        for (const Bytes& iv : {Bytes{7}, kIv, Bytes(1000, 0xEE)}) {
            EXPECT_EQ(alg.setAlgorithmIdentifier(withParameters(row.oid, der::tlv(0x04, iv))), 0);
            EXPECT_EQ(ivOf(alg), iv);
        }
    }
}

TEST(alg_test, DesParametersOfAnotherTypeCountByTheirContent) {
    VT_P11_Alg alg;
    EXPECT_EQ(alg.setAlgorithmIdentifier(withParameters("1.3.14.3.2.7", hex("02 02 01 00"))), 0);
    EXPECT_EQ(ivOf(alg), hex("01 00"));
    EXPECT_EQ(alg.setAlgorithmIdentifier(withParameters("1.2.840.113549.3.7", hex("30 04 04 02 01 02"))), 0);
    EXPECT_EQ(ivOf(alg), hex("04 02 01 02"));
}

TEST(alg_test, DesWithoutAnIvHasNullParameters) {
    for (const int index : {3, 4}) {
        VT_P11_Alg alg;
        ASSERT_EQ(alg.setAlgType(kRows[index].code), 0);
        AlgorithmIdentifier identifier;
        ASSERT_EQ(alg.getAlgorithmIdentifier(identifier), 0);
        EXPECT_EQ(encoded(identifier), encoded(withParameters(kRows[index].oid, hex("05 00"))));
    }
}

TEST(alg_test, ParametersOfTheOthersAreNotLookedAt) {
    for (const Row& row : kRows) {
        if (isBlockCipher(row.code))
            continue;
        VT_P11_Alg alg = ready(6);
        EXPECT_EQ(alg.setAlgorithmIdentifier(withParameters(row.oid, hex("04 03 01 02 03"))), 0);
        expectNothingBut(alg, row.code);
    }
}

struct Rc2Version {
    int version;
    int bits;
};
constexpr Rc2Version kRc2Versions[] = {{160, 40}, {120, 64}, {58, 128}};
const char* const kRc2 = "1.2.840.113549.3.2";

TEST(alg_test, Rc2VersionsStandForEffectiveBits) {
    for (const Rc2Version& row : kRc2Versions) {
        const AlgorithmIdentifier identifier = withParameters(kRc2, rc2Parameters(der::integer(row.version), kIv));
        VT_P11_Alg alg;
        ASSERT_EQ(alg.setAlgorithmIdentifier(identifier), 0);
        EXPECT_EQ(alg.getEffectiveBits(), row.bits);
        EXPECT_EQ(ivOf(alg), kIv);
        AlgorithmIdentifier written;
        ASSERT_EQ(alg.getAlgorithmIdentifier(written), 0);
        EXPECT_EQ(encoded(written), encoded(identifier));
    }
}

TEST(alg_test, OtherRc2VersionsAreRefused) {
    for (const std::int64_t version :
         {std::int64_t{100}, std::int64_t{0}, std::int64_t{-160}, std::int64_t{40}, std::int64_t{128},
          std::int64_t{256}, (std::int64_t{1} << 32) + 160, (std::int64_t{1} << 32) - 96}) {
        VT_P11_Alg alg = ready(6);
        EXPECT_EQ(alg.setAlgorithmIdentifier(withParameters(kRc2, rc2Parameters(der::integer(version), kIv))), -1006)
            << version;
        expectNothingBut(alg, -1);
    }
}

TEST(alg_test, Rc2NeedsParameters) {
    VT_P11_Alg alg = ready(6);
    EXPECT_EQ(alg.setAlgorithmIdentifier(identified(kRc2)), -1016);
    expectNothingBut(alg, -1);
    // Without members there is no version either.
    for (const char* empty : {"05 00", "30 00", "04 00"}) {
        alg = ready(6);
        EXPECT_EQ(alg.setAlgorithmIdentifier(withParameters(kRc2, hex(empty))), -1006) << empty;
        expectNothingBut(alg, -1);
    }
}

TEST(alg_test, Rc2ParametersThatAreNoneThrow) {
    for (const char* other :
         {"30 03 02 01 3A", "30 0A 04 08 11 22 33 44 55 66 77 88", "04 03 01 02 03", "30 05 02 01 3A 04 05"}) {
        VT_P11_Alg alg = ready(6);
        const AlgorithmIdentifier identifier = withParameters(kRc2, hex(other));
        EXPECT_THROW(alg.setAlgorithmIdentifier(identifier), MiException) << other;
        expectNothingBut(alg, -1);
    }
}

TEST(alg_test, AnEmptyRc2IvIsNone) {
    VT_P11_Alg alg = ready(6);
    const AlgorithmIdentifier identifier = withParameters(kRc2, rc2Parameters(der::integer(58), {}));
    EXPECT_EQ(alg.setAlgorithmIdentifier(identifier), 0);
    EXPECT_EQ(fieldsOf(alg).iv, nullptr);
    EXPECT_EQ(alg.getEffectiveBits(), 128);
    AlgorithmIdentifier written;
    EXPECT_EQ(alg.getAlgorithmIdentifier(written), 0);
    EXPECT_EQ(encoded(written), encoded(identifier));
}

TEST(alg_test, OtherEffectiveBitsHaveNoVersion) {
    for (const int bits : {0, 39, 41, 63, 127, 160, 120, 58, 1024, -40, INT_MAX}) {
        VT_P11_Alg alg = ready(6);
        alg.setEffectiveBits(bits);
        AlgorithmIdentifier identifier = identified("1.2.3");
        EXPECT_EQ(alg.getAlgorithmIdentifier(identifier), -1006) << bits;
        EXPECT_EQ(identifier.GetAlgorithm(), nullptr);
        EXPECT_EQ(identifier.GetParameters(), nullptr);
    }
}

TEST(alg_test, NoCodeHasNoIdentifier) {
    VT_P11_Alg alg;
    AlgorithmIdentifier identifier = withParameters("1.2.3", hex("05 00"));
    EXPECT_EQ(alg.getAlgorithmIdentifier(identifier), -1006);
    EXPECT_EQ(identifier.GetAlgorithm(), nullptr) << "the target is reset";
    EXPECT_EQ(identifier.GetParameters(), nullptr);
    ASSERT_EQ(alg.setAlgorithmIdentifier(identified(kNoCode)), -1006);
    EXPECT_EQ(alg.getAlgorithmIdentifier(identifier), -1006);
}

TEST(alg_test, AnIdentifierReplacesWhatTheTargetHeld) {
    AlgorithmIdentifier identifier = withParameters(kRc2, rc2Parameters(der::integer(58), kIv));
    ASSERT_EQ(ready(1).getAlgorithmIdentifier(identifier), 0);
    EXPECT_EQ(encoded(identifier), hex("300906052b0e03021a0500"));
}

TEST(alg_test, AnIdentifierWithoutAnAlgorithmIsRefused) {
    const AlgorithmIdentifier absent;
    const AlgorithmIdentifier emptyText = identified("");
    AlgorithmIdentifier noMembers = identified("1.3.14.3.2.26");
    noMembers.ClearAllElements();
    const AlgorithmIdentifier* const identifiers[] = {&absent, &emptyText, &noMembers};
    for (const AlgorithmIdentifier* identifier : identifiers) {
        VT_P11_Alg alg = ready(6);
        EXPECT_EQ(alg.setAlgorithmIdentifier(*identifier), -1001);
        expectNothingBut(alg, -1);
        EXPECT_EQ(typeOf(alg), -1);
    }
}

TEST(alg_test, AnUnknownIdentifierIsRefused) {
    for (const char* oid : {kNoCode, "1.3.14.3.2.2", "1.3.14.3.2.260", "1.2.840.113549.1.1.11", "2.5.4.3", "x"}) {
        VT_P11_Alg alg = ready(6);
        EXPECT_EQ(alg.setAlgorithmIdentifier(identified(oid)), -1006) << oid;
        expectNothingBut(alg, -1);
    }
}

TEST(alg_test, AMissingElementThrows) {
    AlgorithmIdentifier noMembers = identified("1.3.14.3.2.26");
    noMembers.ClearAllElements();
    const AlgorithmIdentifier noList(noMembers);
    VT_P11_Alg digest = ready(6);
    EXPECT_THROW(digest.setAlgorithmIdentifier(noList), MiInvalidArgumentExp);
    expectNothingBut(digest, -1);
    AlgorithmIdentifier identifier = identified("1.3.14.3.2.7");
    identifier.DelElement("parameters");
    VT_P11_Alg alg = ready(6);
    EXPECT_THROW(alg.setAlgorithmIdentifier(identifier), AsnDataExp);
    expectNothingBut(alg, -1);
}

TEST(alg_test, AnIdentifierWithoutMemoryForTheIvIsReported) {
    const AlgorithmIdentifier identifiers[] = {withParameters("1.3.14.3.2.7", der::tlv(0x04, Bytes(5000, 9))),
                                               withParameters(kRc2, rc2Parameters(der::integer(58), Bytes(5000, 9)))};
    for (const AlgorithmIdentifier& identifier : identifiers) {
        VT_P11_Alg alg;
        ASSERT_EQ(alg.setAlgorithmIdentifier(identifier), 0);  // fills the pool of small blocks
        long allocations = 0;
        {
            const support::CountingHeap heap;
            (void)alg.setAlgorithmIdentifier(identifier);
            allocations = heap.allocations();
        }
        // The copy of the iv is the last of them.
        alg = ready(6);
        int code = 0;
        {
            const FailingHeap heap(allocations);
            code = alg.setAlgorithmIdentifier(identifier);
        }
        EXPECT_EQ(code, -1031);
        expectNothingBut(alg, -1);
    }
}

TEST(alg_test, BrokenIdentifiersGiveACodeOrAnException) {
    for (const AlgorithmVector& vector : kAlgorithmVectors) {
        const Bytes good = hex(vector.der);
        for (const auto& list :
             {support::truncations(good), support::withShortLengths(good), support::withLongLengths(good),
              support::withTags(good, 0x05), support::withTags(good, 0x30), support::withTrailingData(good, {0, 0}),
              support::withIndefiniteLengths(good)}) {
            for (const Broken& broken : list) {
                VT_P11_Alg alg = ready(6);
                int code = -1;
                try {
                    code = alg.setAlgorithmIdentifier(decoded<AlgorithmIdentifier>(broken.bytes));
                    EXPECT_TRUE(code == 0 || code == -1001 || code == -1006 || code == -1016) << code;
                } catch (const MiException&) {
                    continue;
                }
                EXPECT_EQ(fieldsOf(alg).algType == -1, code != 0);
            }
        }
    }
}

TEST(alg_test, NoisyParametersGiveACodeOrAnException) {
    support::Noise noise(20091);
    for (int round = 0; round < 2000; ++round) {
        Bytes content(noise.below(40));
        for (std::uint8_t& byte : content)
            byte = noise.byte();
        const Row& row = kRows[3 + noise.below(3)];
        const AlgorithmIdentifier identifier = withParameters(row.oid, der::tlv(0x30, content));
        VT_P11_Alg alg;
        try {
            const int code = alg.setAlgorithmIdentifier(identifier);
            EXPECT_TRUE(code == 0 || (row.code == 6 && code == -1006)) << code;
        } catch (const MiException&) {
            EXPECT_EQ(row.code, 6);
            expectNothingBut(alg, -1);
        }
    }
}

TEST(alg_test, EachCodeHasItsObject) {
    for (const Row& row : kRows) {
        const VT_P11_Alg alg = ready(row.code);
        AlgObject object;
        ASSERT_EQ(alg.GetVCKAIObj(&object.object, row.code == 8 ? 2 : 1), 0) << row.code;
        EXPECT_EQ(object->mechanism->code, row.mechanism);
        EXPECT_EQ(object->allocator, row.allocator);
        EXPECT_EQ(object->chooser, nullptr);
        const Bytes parameter = bytesOf(object->mechanism->parameter, object->mechanism->parameterLength);
        if (row.code == 6) {
            const CK_ULONG bits = 40;
            Bytes expected = bytesOf(&bits, sizeof bits);
            expected.insert(expected.end(), kIv.begin(), kIv.end());
            EXPECT_EQ(parameter, expected);
        } else {
            EXPECT_EQ(parameter, isBlockCipher(row.code) ? kIv : Bytes()) << row.code;
        }
    }
}

TEST(alg_test, RsaNeedsTheClassOfAnRsaKey) {
    const VT_P11_Alg alg = ready(8);
    for (const int keyClass : {2, 3}) {
        AlgObject object;
        EXPECT_EQ(alg.GetVCKAIObj(&object.object, keyClass), 0);
        EXPECT_EQ(object->mechanism->code, 1U);
    }
    for (const int keyClass : {1, 0, 4, -1, INT_MAX}) {
        AlgObject object;
        EXPECT_EQ(alg.GetVCKAIObj(&object.object, keyClass), -1006) << keyClass;
        EXPECT_TRUE(isShell(object));
    }
}

TEST(alg_test, TheOthersTakeAnyKeyClass) {
    for (const Row& row : kRows) {
        for (const int keyClass : {-1, 0, 1, 2, 3, 99}) {
            if (row.code == 8)
                continue;
            AlgObject object;
            EXPECT_EQ(ready(row.code).GetVCKAIObj(&object.object, keyClass), 0) << row.code << " " << keyClass;
        }
    }
}

TEST(alg_test, NoCodeHasNoObject) {
    VT_P11_Alg failed;
    ASSERT_EQ(failed.setAlgorithmIdentifier(identified(kNoCode)), -1006);
    for (const VT_P11_Alg& alg : {VT_P11_Alg(), failed}) {
        AlgObject object;
        EXPECT_EQ(alg.GetVCKAIObj(&object.object, 1), -1006);
        EXPECT_TRUE(isShell(object));
    }
}

TEST(alg_test, Rc2NeedsEffectiveBitsAndIv) {
    VT_P11_Alg noBits = ready(6);
    noBits.setEffectiveBits(0);
    VT_P11_Alg noIv;
    noIv.setAlgType(6);
    noIv.setEffectiveBits(40);
    for (const VT_P11_Alg* alg : {&noBits, &noIv}) {
        AlgObject object;
        EXPECT_EQ(alg->GetVCKAIObj(&object.object, 1), -1003);
        EXPECT_TRUE(isShell(object));
    }
}

TEST(alg_test, DesWithoutAnIvFailsInTheEngine) {
    for (const int code : {4, 5}) {
        VT_P11_Alg alg;
        alg.setAlgType(code);
        AlgObject object;
        EXPECT_EQ(alg.GetVCKAIObj(&object.object, 1), -2);
        EXPECT_EQ(object.object, nullptr) << "the engine freed the shell";
    }
}

TEST(alg_test, AShortIvFailsAndOfALongOneEightBytesCount) {
    for (const int code : {4, 5, 6}) {
        VT_P11_Alg alg = ready(code);
        alg.setIV(miByte(Bytes(7, 1)));
        AlgObject refused;
        EXPECT_EQ(alg.GetVCKAIObj(&refused.object, 1), -3) << code;
        EXPECT_EQ(refused.object, nullptr);

        Bytes iv = kIv;
        iv.push_back(0x99);
        alg.setIV(miByte(iv));
        AlgObject object;
        ASSERT_EQ(alg.GetVCKAIObj(&object.object, 1), 0);
        const MECHANISM& mechanism = *object->mechanism;
        const Bytes parameter = bytesOf(mechanism.parameter, mechanism.parameterLength);
        EXPECT_EQ(Bytes(parameter.end() - 8, parameter.end()), kIv);
    }
}

TEST(alg_test, AnAbsentShellIsRefused) {
    for (const Row& row : kRows) {
        EXPECT_EQ(ready(row.code).GetVCKAIObj(nullptr, 2), -2);
        unsigned char* none = nullptr;
        EXPECT_EQ(ready(row.code).GetVCKAIObj(&none, 2), -2);
        EXPECT_EQ(none, nullptr);
    }
}

TEST(alg_test, AnObjectWithoutMemoryIsFreedOnce) {
    for (const Row& row : kRows) {
        const VT_P11_Alg alg = ready(row.code);
        long n = 1;
        for (bool failed = true; failed; ++n) {
            AlgObject object;
            int code = 0;
            {
                const FailingHeap heap(n);
                code = alg.GetVCKAIObj(&object.object, 2);
                failed = heap.failed();
            }
            EXPECT_EQ(code, failed ? -1 : 0);
            EXPECT_EQ(object.object == nullptr, failed);
        }
        EXPECT_GT(n, 3) << "a mechanism and a context at least";
    }
}

TEST(alg_test, CopiesAreDeep) {
    VT_P11_Alg original = ready(6);
    VT_P11_Alg copy(original);
    VT_P11_Alg assigned = ready(5);
    assigned = original;
    EXPECT_NE(fieldsOf(copy).iv, fieldsOf(original).iv);
    EXPECT_NE(fieldsOf(assigned).iv, fieldsOf(original).iv);
    original.Reset();
    for (const VT_P11_Alg* alg : {&copy, &assigned}) {
        EXPECT_EQ(typeOf(*alg), 6);
        EXPECT_EQ(alg->getEffectiveBits(), 40);
        EXPECT_EQ(ivOf(*alg), kIv);
    }
    assigned = original;
    expectNothingBut(assigned, 0);
}

TEST(alg_test, AssigningToItselfChangesNothing) {
    VT_P11_Alg alg = ready(6);
    const VT_P11_Alg& same = alg;
    alg = same;
    EXPECT_EQ(typeOf(alg), 6);
    EXPECT_EQ(ivOf(alg), kIv);
}

TEST(alg_test, ACopyWithoutMemoryHasNoIv) {
    const VT_P11_Alg original = ready(6);
    VT_P11_Alg assigned = ready(5);
    AlgFields copied = {};
    {
        const FailingHeap heap(1);
        VT_P11_Alg copy(original);
        copied = fieldsOf(copy);
        copy.Reset();
    }
    {
        const FailingHeap heap(1);
        assigned = original;
    }
    for (const AlgFields& fields : {copied, fieldsOf(assigned)}) {
        EXPECT_EQ(fields.algType, 6);
        EXPECT_EQ(fields.effectiveBits, 40);
        EXPECT_EQ(fields.iv, nullptr);
        EXPECT_EQ(fields.ivLength, 0U);
    }
}

TEST(alg_test, ResetMakesItNew) {
    VT_P11_Alg alg = ready(6);
    alg.Reset();
    expectNothingBut(alg, 0);
    alg.Reset();
    expectNothingBut(alg, 0);
    ASSERT_EQ(alg.setAlgType(1), 0);
    EXPECT_EQ(typeOf(alg), 1) << "and of use again";
}

}  // namespace
