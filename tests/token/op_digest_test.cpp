// Digests and random bytes in software.
#include <gtest/gtest.h>

#include "tests/token/operations.h"

namespace {

using namespace operations;

TEST(op_digest_test, DigestsAgreeWithOpenssl) {
    SoftOp op;
    for (const TokenDigestVector& vector : kTokenDigests) {
        MiByte output = untouched();
        EXPECT_EQ(op.Digest(algorithm(vector.algorithm), mi(hex(vector.message)), output), 0);
        EXPECT_EQ(toHex(bytesOf(output)), toHex(hex(vector.digest))) << vector.algorithm << " " << vector.message;
    }
}

TEST(op_digest_test, TheOutputMayBeTheInput) {
    SoftOp op;
    MiByte value = mi("abc");
    EXPECT_EQ(op.Digest(algorithm(3), value, value), 0);
    EXPECT_EQ(bytesOf(value), hex("da853b0d3f88d99b30283a69e6ded6bb"));
}

TEST(op_digest_test, AlgorithmsThatAreNoDigest) {
    SoftOp op;
    MiByte output = untouched();
    const Bytes iv(8, 1);
    EXPECT_EQ(op.Digest(VT_P11_Alg(), mi("abc"), output), -1006);
    EXPECT_EQ(op.Digest(algorithm(8), mi("abc"), output), -1006);  // RSA needs a key of its own
    EXPECT_EQ(op.Digest(algorithm(6), mi("abc"), output), -1003);
    EXPECT_EQ(op.Digest(algorithm(4), mi("abc"), output), -2);
    EXPECT_EQ(op.Digest(algorithm(4, iv), mi("abc"), output), -6);
    EXPECT_EQ(op.Digest(algorithm(7), mi("abc"), output), -6);
    for (const int signature : {9, 10, 11})
        EXPECT_EQ(op.Digest(algorithm(signature), mi("abc"), output), -6);
    EXPECT_EQ(output, untouched());
}

TEST(op_digest_test, WithoutAChooser) {
    VT_P11_OP none;
    MiByte output = untouched();
    EXPECT_EQ(none.Digest(algorithm(1), mi("abc"), output), -2);
    EXPECT_EQ(none.GenerateRandom(output, 8, mi("seed")), -2);
    EXPECT_EQ(output, untouched());
}

TEST(op_digest_test, RandomBytesFollowFromSeedAndLength) {
    SoftOp op;
    for (const TokenRandomVector& vector : kTokenRandom) {
        MiByte output = untouched();
        EXPECT_EQ(op.GenerateRandom(output, vector.length, mi(hex(vector.seed))), 0);
        EXPECT_EQ(toHex(bytesOf(output)), toHex(hex(vector.output))) << vector.length;
    }
}

TEST(op_digest_test, TheSeedMayBeTheOutput) {
    SoftOp op;
    const TokenRandomVector& vector = kTokenRandom[0];
    MiByte value = mi(hex(vector.seed));
    EXPECT_EQ(op.GenerateRandom(value, vector.length, value), 0);
    EXPECT_EQ(bytesOf(value), hex(vector.output));
}

TEST(op_digest_test, LengthsOfRandomBytes) {
    SoftOp op;
    MiByte output = untouched();
    EXPECT_EQ(op.GenerateRandom(output, -1, mi("seed")), -3);
    EXPECT_EQ(op.GenerateRandom(output, INT32_MIN, mi("seed")), -3);
    EXPECT_EQ(output, untouched());
    EXPECT_EQ(op.GenerateRandom(output, 0, mi("seed")), 0);
    EXPECT_TRUE(output.Empty());
}

}  // namespace
