// Bytes, sizes, sums, differences, shifts and products.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "crypto/mpi.h"
#include "tests/crypto/mpi_operands.h"

using mpi_test::digest;
using mpi_test::forCases;
using mpi_test::inEveryForm;
using mpi_test::kOnes;
using mpi_test::limbsOf;
using mpi_test::Mpi;
using mpi_test::operand;
using mpi_test::room;
using mpi_test::taken;
using mpi_test::widened;
using mpi_test::word;

namespace {

using Bytes = std::vector<unsigned char>;

int read(const Bytes& bytes, Mpi& x) {
    return MPI_FromBytes(bytes.data(), static_cast<int>(bytes.size()), x.data());
}

Bytes written(const Mpi& x, int length, int result) {
    Bytes bytes(static_cast<std::size_t>(length), 0xcc);
    EXPECT_EQ(MPI_ToBytes(bytes.data(), length, x.data()), result);
    return bytes;
}

// power: 2^k.
Mpi power(int k) {
    Mpi x = room(k / 32 + 1);
    MPI_SetPowerOfTwo(x.data(), k);
    return taken(x);
}

}  // namespace

TEST(mpi_number_test, TheCapacities) {
    EXPECT_EQ(MPI_HALF_WORDS, 129);
    EXPECT_EQ(MPI_FULL_WORDS, 257);
    EXPECT_EQ(MPI_DOUBLE_WORDS, 513);
}

TEST(mpi_number_test, BytesFillTheLimbsFromTheTop) {
    Mpi x = room(2);
    EXPECT_EQ(read({0x12}, x), 1);
    EXPECT_EQ(taken(x), (Mpi{1, 0x12}));
    EXPECT_EQ(read({1, 2, 3, 4}, x), 1);
    EXPECT_EQ(taken(x), (Mpi{1, 0x01020304}));
    EXPECT_EQ(read({1, 2, 3, 4, 5}, x), 2);
    EXPECT_EQ(taken(x), (Mpi{2, 0x02030405, 0x01}));
    EXPECT_EQ(read({1, 2, 3, 4, 5, 6, 7, 8}, x), 2);
    EXPECT_EQ(taken(x), (Mpi{2, 0x05060708, 0x01020304}));
}

TEST(mpi_number_test, LeadingZeroBytesAreSkipped) {
    Mpi x = room(1);
    EXPECT_EQ(read({0, 0, 0, 0, 0, 0x80, 0, 1}, x), 1);
    EXPECT_EQ(taken(x), (Mpi{1, 0x00800001}));
}

TEST(mpi_number_test, NoBytesAndZeroBytesAreZero) {
    Mpi x = room(0);
    EXPECT_EQ(read(Bytes(1024, 0), x), 0);
    EXPECT_EQ(x[0], 0U);
    x[0] = 9;
    EXPECT_EQ(read({}, x), 0);
    EXPECT_EQ(x[0], 0U);
    x[0] = 9;
    EXPECT_EQ(MPI_FromBytes(nullptr, -1, x.data()), 0);
    EXPECT_EQ(x[0], 0U);
}

TEST(mpi_number_test, TheLongestStringIs1024BytesWithItsZeros) {
    Mpi x = room(256);
    EXPECT_EQ(read(Bytes(1024, 0xff), x), 256);
    EXPECT_EQ(x[1], kOnes);
    EXPECT_EQ(x[256], kOnes);
    const Mpi before = x;
    EXPECT_EQ(read(Bytes(1025, 0xff), x), -10);
    EXPECT_EQ(read(Bytes(1025, 0), x), -10);
    EXPECT_EQ(x, before) << "a string that is too long leaves the number alone";
}

TEST(mpi_number_test, AFixedWidthKeepsLeadingZeros) {
    EXPECT_EQ(written(Mpi{0}, 4, 1), Bytes(4, 0));
    EXPECT_EQ(written(Mpi{1, 0x0102}, 7, 2), (Bytes{0, 0, 0, 0, 0, 1, 2}));
    EXPECT_EQ(written(Mpi{2, 0x02030405, 0x01}, 5, 2), (Bytes{1, 2, 3, 4, 5}));
    EXPECT_EQ(written(Mpi{1, 7}, 0, 0), Bytes());
    EXPECT_EQ(MPI_ToBytes(nullptr, -4, Mpi{1, 7}.data()), 0);
}

TEST(mpi_number_test, ANarrowWidthDropsTheHighBytes) {
    EXPECT_EQ(written(Mpi{2, 0x02030405, 0x01}, 4, 1), (Bytes{2, 3, 4, 5}));
    EXPECT_EQ(written(Mpi{2, 0x02030405, 0x01}, 3, 1), (Bytes{3, 4, 5}));
    EXPECT_EQ(written(Mpi{2, 0x02030405, 0x01}, 1, 1), (Bytes{5}));
}

TEST(mpi_number_test, BytesOfEveryLengthComeBack) {
    support::Noise noise(7);
    for (int length = 1; length <= 1024; ++length) {
        Bytes bytes(static_cast<std::size_t>(length));
        for (unsigned char& byte : bytes)
            byte = noise.byte();
        bytes.front() |= 1;
        Mpi x = room((length + 3) / 4);
        ASSERT_EQ(read(bytes, x), (length + 3) / 4);
        ASSERT_EQ(MPI_ByteLength(x.data()), length);
        ASSERT_EQ(written(taken(x), length, (length + 3) / 4), bytes);
    }
}

TEST(mpi_number_test, LengthsCountSignificantBytesAndBits) {
    const struct {
        Mpi x;
        int bytes;
        int bits;
    } cases[] = {{{0}, 0, 0},         {{1, 1}, 1, 1},     {{1, 0xff}, 1, 8},        {{1, 0x100}, 2, 9},
                 {{1, kOnes}, 4, 32}, {{2, 0, 1}, 5, 33}, {{2, 0, 0x10000}, 7, 49}, {{3, 9, 9, 0x80000000}, 12, 96}};
    for (const auto& c : cases) {
        EXPECT_EQ(MPI_ByteLength(c.x.data()), c.bytes);
        EXPECT_EQ(MPI_BitLength(c.x.data()), c.bits);
    }
}

TEST(mpi_number_test, CopiesTakeTheCountAndTheLimbs) {
    Mpi to = room(3);
    MPI_Copy(to.data(), Mpi{2, 5, 6}.data());
    EXPECT_EQ(to, (Mpi{2, 5, 6, 0xdeadbeef}));
    MPI_Copy(to.data(), Mpi{0}.data());
    EXPECT_EQ(to, (Mpi{0, 5, 6, 0xdeadbeef}));
}

TEST(mpi_number_test, ComparesCountsFirstThenLimbsFromTheTop) {
    const auto compare = [](const Mpi& a, const Mpi& b) { return MPI_Compare(a.data(), b.data()); };
    EXPECT_EQ(compare({0}, {0}), 0);
    EXPECT_EQ(compare({3, 0, 0, 1}, {1, kOnes}), 2) << "the difference of the counts";
    EXPECT_EQ(compare({0}, {4, 1, 1, 1, 1}), -4);
    EXPECT_EQ(compare({2, 5, 7}, {2, 5, 7}), 0);
    EXPECT_EQ(compare({2, kOnes, 7}, {2, 0, 8}), -1);
    EXPECT_EQ(compare({2, 1, 8}, {2, 0, 8}), 1);
    EXPECT_EQ(compare({1, 0x80000000}, {1, 0x7fffffff}), 1) << "limbs have no sign";
}

TEST(mpi_number_test, PowersOfTwo) {
    EXPECT_EQ(power(0), (Mpi{1, 1}));
    EXPECT_EQ(power(31), (Mpi{1, 0x80000000}));
    EXPECT_EQ(power(32), (Mpi{2, 0, 1}));
    EXPECT_EQ(MPI_BitLength(power(8191).data()), 8192);
}

TEST(mpi_number_test, SumsAndDifferences) {
    forCases(mpi_numbers::k_sums, [](const mpi_numbers::Case& c) {
        const Mpi a = operand(mpi_numbers::sums, c.number, 0, c.a);
        const Mpi b = operand(mpi_numbers::sums, c.number, 1, c.b);
        const int longer = std::max(c.a, c.b);
        Mpi sum = room(longer + 1);
        Mpi difference = room(longer);
        MPI_Add(sum.data(), a.data(), b.data());
        const std::uint32_t borrow = MPI_Sub(difference.data(), a.data(), b.data());
        EXPECT_EQ(digest({sum, difference, word(borrow)}), c.digest);

        Mpi grown = widened(a, longer + 1);
        MPI_AddTo(grown.data(), b.data());
        EXPECT_EQ(taken(grown), taken(sum));
        Mpi shrunk = widened(a, longer);
        MPI_SubFrom(shrunk.data(), b.data());
        EXPECT_EQ(taken(shrunk), taken(difference));
    });
}

TEST(mpi_number_test, SumsAndDifferencesMayBeTheirOperands) {
    const Mpi a = operand(mpi_numbers::sums, 901, 0, 40);
    const Mpi b = operand(mpi_numbers::sums, 901, 1, 33);
    Mpi sum = room(41);
    Mpi difference = room(40);
    Mpi wrapped = room(40);
    MPI_Add(sum.data(), a.data(), b.data());
    MPI_Sub(difference.data(), a.data(), b.data());
    EXPECT_EQ(MPI_Sub(wrapped.data(), b.data(), a.data()), 1U);

    Mpi x = widened(a, 41);
    MPI_Add(x.data(), x.data(), b.data());
    EXPECT_EQ(taken(x), taken(sum));
    x = widened(b, 41);
    MPI_Add(x.data(), a.data(), x.data());
    EXPECT_EQ(taken(x), taken(sum));
    x = widened(a, 41);
    EXPECT_EQ(MPI_Sub(x.data(), x.data(), b.data()), 0U);
    EXPECT_EQ(taken(x), taken(difference));
    x = widened(b, 41);
    EXPECT_EQ(MPI_Sub(x.data(), a.data(), x.data()), 0U);
    EXPECT_EQ(taken(x), taken(difference));
    x = widened(a, 41);
    EXPECT_EQ(MPI_Sub(x.data(), b.data(), x.data()), 1U);
    EXPECT_EQ(taken(x), taken(wrapped));

    x = {2, 0x80000000, 0x80000000, 0};
    MPI_AddTo(x.data(), x.data());
    EXPECT_EQ(taken(x), (Mpi{3, 0, 1, 1}));
    MPI_SubFrom(x.data(), x.data());
    EXPECT_EQ(taken(x), Mpi{0});
}

TEST(mpi_number_test, CarriesRunThroughTheLongerOperand) {
    Mpi x = {3, kOnes, kOnes, kOnes, 0};
    MPI_AddTo(x.data(), word(1).data());
    EXPECT_EQ(x, (Mpi{4, 0, 0, 0, 1}));
    MPI_SubFrom(x.data(), word(1).data());
    EXPECT_EQ(taken(x), (Mpi{3, kOnes, kOnes, kOnes}));
}

TEST(mpi_number_test, ASubtrahendThatIsLargerWrapsWithABorrow) {
    Mpi r = room(3);
    EXPECT_EQ(MPI_Sub(r.data(), Mpi{1, 5}.data(), Mpi{3, 6, 0, 1}.data()), 1U);
    EXPECT_EQ(taken(r), (Mpi{3, kOnes, kOnes, kOnes - 1}));
    EXPECT_EQ(MPI_Sub(r.data(), Mpi{0}.data(), Mpi{1, 1}.data()), 1U);
    EXPECT_EQ(taken(r), (Mpi{1, kOnes}));
    EXPECT_EQ(MPI_Sub(r.data(), Mpi{2, 7, 3}.data(), Mpi{2, 7, 3}.data()), 0U);
    EXPECT_EQ(taken(r), Mpi{0});
    Mpi a = {1, 5, 0, 0};
    MPI_SubFrom(a.data(), Mpi{3, 6, 0, 1}.data());
    EXPECT_EQ(a, (Mpi{3, kOnes, kOnes, kOnes - 1}));
}

TEST(mpi_number_test, WordsAreAddedAndTaken) {
    forCases(mpi_numbers::k_words, [](const mpi_numbers::Case& c) {
        const Mpi x = operand(mpi_numbers::words, c.number, 0, c.a);
        const std::uint32_t w = operand(mpi_numbers::words, c.number, 1, 1)[1];
        Mpi sum = widened(x, c.a + 1);
        Mpi difference = widened(x, std::max(c.a, 1));
        const std::uint32_t carry = MPI_AddWord(sum.data(), w);
        const std::uint32_t borrow = MPI_SubWord(difference.data(), w);
        const Mpi rest = word(MPI_ModWord(x.data(), w));
        EXPECT_EQ(digest({rest, sum, difference, word(borrow)}), c.digest);
        EXPECT_EQ(carry, c.a > 0 && limbsOf(sum) > c.a ? 1U : 0U);
    });
}

TEST(mpi_number_test, TheCarryOfAWordIsAlsoALimb) {
    Mpi x = {2, kOnes, kOnes, 0};
    EXPECT_EQ(MPI_AddWord(x.data(), 1), 1U);
    EXPECT_EQ(x, (Mpi{3, 0, 0, 1}));
    EXPECT_EQ(MPI_AddWord(x.data(), kOnes), 0U);
    EXPECT_EQ(x, (Mpi{3, kOnes, 0, 1}));
    Mpi zero = {0, 9};
    EXPECT_EQ(MPI_AddWord(zero.data(), 0), 0U);
    EXPECT_EQ(taken(zero), Mpi{0});
    EXPECT_EQ(MPI_AddWord(zero.data(), 6), 0U);
    EXPECT_EQ(taken(zero), (Mpi{1, 6}));
}

TEST(mpi_number_test, AWordTakenFromZeroWrapsInOneLimb) {
    Mpi x = {0, 9};
    EXPECT_EQ(MPI_SubWord(x.data(), 1), 1U);
    EXPECT_EQ(taken(x), (Mpi{1, kOnes}));
    x = {0, 9};
    EXPECT_EQ(MPI_SubWord(x.data(), 0), 0U);
    EXPECT_EQ(taken(x), Mpi{0});
    x = {1, 3};
    EXPECT_EQ(MPI_SubWord(x.data(), 5), 1U);
    EXPECT_EQ(taken(x), (Mpi{1, kOnes - 1}));
    x = {1, 3};
    EXPECT_EQ(MPI_SubWord(x.data(), 3), 0U);
    EXPECT_EQ(taken(x), Mpi{0});
    x = {3, 0, 0, 1};
    EXPECT_EQ(MPI_SubWord(x.data(), 1), 0U);
    EXPECT_EQ(taken(x), (Mpi{2, kOnes, kOnes}));
}

TEST(mpi_number_test, OneLess) {
    Mpi r = room(2);
    EXPECT_EQ(MPI_Decrement(r.data(), Mpi{2, 0, 1}.data()), 0U);
    EXPECT_EQ(taken(r), (Mpi{1, kOnes}));
    EXPECT_EQ(MPI_Decrement(r.data(), Mpi{1, 1}.data()), 0U);
    EXPECT_EQ(taken(r), Mpi{0});
    EXPECT_EQ(MPI_Decrement(r.data(), Mpi{0}.data()), 1U) << "of zero";
    EXPECT_EQ(taken(r), (Mpi{1, kOnes}));
    EXPECT_EQ(MPI_Decrement(r.data(), r.data()), 0U) << "in place";
    EXPECT_EQ(taken(r), (Mpi{1, kOnes - 1}));
}

TEST(mpi_number_test, Products) {
    forCases(mpi_numbers::k_products, [](const mpi_numbers::Case& c) {
        const Mpi a = operand(mpi_numbers::products, c.number, 0, c.a);
        const Mpi b = operand(mpi_numbers::products, c.number, 1, c.b);
        Mpi r = room(c.a + c.b);
        MPI_Mul(r.data(), a.data(), b.data());
        EXPECT_EQ(digest({r}), c.digest);
        MPI_Mul(r.data(), b.data(), a.data());
        EXPECT_EQ(digest({r}), c.digest);
    });
}

TEST(mpi_number_test, Squares) {
    forCases(mpi_numbers::k_squares, [](const mpi_numbers::Case& c) {
        const Mpi a = operand(mpi_numbers::squares, c.number, 0, c.a);
        Mpi r = room(2 * c.a);
        MPI_Square(r.data(), a.data());
        EXPECT_EQ(digest({r}), c.digest);
        MPI_Mul(r.data(), a.data(), a.data());
        EXPECT_EQ(digest({r}), c.digest);
    });
}

// (2^(32 n) - 1)^2 = 2^(64 n) - 2^(32 n + 1) + 1 sends a carry through every limb.
TEST(mpi_number_test, SquaresOfOnesAlone) {
    inEveryForm([] {
        for (int limbs = 1; limbs <= 256; ++limbs) {
            Mpi a(static_cast<std::size_t>(limbs) + 1, kOnes);
            a[0] = static_cast<std::uint32_t>(limbs);
            Mpi expected(2 * static_cast<std::size_t>(limbs) + 1, 0);
            expected[0] = 2 * a[0];
            expected[1] = 1;
            std::fill(expected.begin() + limbs + 1, expected.end(), kOnes);
            --expected[static_cast<std::size_t>(limbs) + 1];
            Mpi r = room(2 * limbs);
            MPI_Square(r.data(), a.data());
            ASSERT_EQ(r, expected);
            MPI_Mul(r.data(), a.data(), Mpi(a).data());
            ASSERT_EQ(r, expected);
        }
    });
}

TEST(mpi_number_test, ProductsWithZeroAndOne) {
    inEveryForm([] {
        Mpi r = room(3);
        MPI_Mul(r.data(), Mpi{0}.data(), Mpi{3, 1, 2, 3}.data());
        EXPECT_EQ(r[0], 0U);
        MPI_Mul(r.data(), Mpi{3, 1, 2, 3}.data(), Mpi{0}.data());
        EXPECT_EQ(r[0], 0U);
        MPI_Square(r.data(), Mpi{0}.data());
        EXPECT_EQ(r[0], 0U);
        MPI_Mul(r.data(), Mpi{2, 5, 6}.data(), word(1).data());
        EXPECT_EQ(taken(r), (Mpi{2, 5, 6})) << "one limb less than the two together";
    });
}

TEST(mpi_number_test, Shifts) {
    forCases(mpi_numbers::k_shifts, [](const mpi_numbers::Case& c) {
        const Mpi x = operand(mpi_numbers::shifts, c.number, 0, c.a);
        Mpi up = widened(x, c.a + c.b / 32 + 1);
        Mpi down = x;
        MPI_ShiftLeft(up.data(), c.b);
        const std::uint32_t lost = MPI_ShiftRight(down.data(), c.b);
        EXPECT_EQ(digest({up, down, word(lost)}), c.digest);
    });
}

TEST(mpi_number_test, ShiftsOfZeroAndBeyondTheEnd) {
    Mpi x = {0};
    MPI_ShiftLeft(x.data(), 1000);
    EXPECT_EQ(x, Mpi{0});
    EXPECT_EQ(MPI_ShiftRight(x.data(), 3), 0U);
    EXPECT_EQ(x, Mpi{0});
    x = {2, 7, 7};
    EXPECT_EQ(MPI_ShiftRight(x.data(), 64), 0U) << "no limb is left";
    EXPECT_EQ(x[0], 0U);
    x = {2, 7, 7};
    EXPECT_EQ(MPI_ShiftRight(x.data(), 1000000), 0U);
    EXPECT_EQ(x[0], 0U);
    x = {2, 0xffff0005, 7};
    EXPECT_EQ(MPI_ShiftRight(x.data(), 4), 5U) << "the bits shifted out of the low limb, as a number";
    EXPECT_EQ(taken(x), (Mpi{1, 0x7ffff000}));
    x = {2, 1, 6};
    EXPECT_EQ(MPI_ShiftRight(x.data(), 33), 0U) << "whole limbs do not count";
    EXPECT_EQ(taken(x), (Mpi{1, 3}));
}
