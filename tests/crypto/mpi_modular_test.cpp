// Division, Montgomery's reduction, inverses and powers.
#include <gtest/gtest.h>

#include "crypto/mpi.h"
#include "crypto/mpi_montgomery.h"
#include "tests/crypto/mpi_operands.h"

using mpi_test::digest;
using mpi_test::forCases;
using mpi_test::inEveryForm;
using mpi_test::kOnes;
using mpi_test::limbsOf;
using mpi_test::Mpi;
using mpi_test::number;
using mpi_test::operand;
using mpi_test::room;
using mpi_test::taken;
using mpi_test::widened;
using mpi_test::word;

namespace {

struct Division {
    int result;
    Mpi quotient;
    Mpi rest;
};

Division divide(const Mpi& a, const Mpi& d) {
    Mpi rest = a;
    Mpi quotient = room(std::max(1, limbsOf(a) - limbsOf(d) + 1));
    const int result = MPI_DivMod(rest.data(), d.data(), quotient.data());
    return {result, quotient, rest};
}

Mpi product(const Mpi& a, const Mpi& b) {
    Mpi r = room(limbsOf(a) + limbsOf(b));
    MPI_Mul(r.data(), a.data(), b.data());
    return taken(r);
}

Mpi odd(Mpi x) {
    x[1] |= 1;
    return x;
}

enum class By { window, digits };

Mpi power(By by, const Mpi& x, const Mpi& e, const Mpi& n) {
    Mpi r = room(std::max(1, limbsOf(n)));
    if (by == By::window)
        MPI_ModExpSmallWindow(r.data(), x.data(), e.data(), n.data());
    else
        MPI_ModExpNAF(r.data(), x.data(), e.data(), n.data());
    return taken(r);
}

}  // namespace

TEST(mpi_modular_test, Divisions) {
    forCases(mpi_numbers::k_divisions, [](const mpi_numbers::Case& c) {
        const Mpi a = operand(mpi_numbers::divisions, c.number, 0, c.a);
        const Mpi d = operand(mpi_numbers::divisions, c.number, 1, c.b);
        const Division division = divide(a, d);
        EXPECT_EQ(division.result, 0);
        EXPECT_EQ(digest({division.quotient, division.rest}), c.digest);
        Mpi rest = a;
        EXPECT_EQ(MPI_Mod(rest.data(), d.data()), 0);
        EXPECT_EQ(taken(rest), taken(division.rest));
    });
}

TEST(mpi_modular_test, DivisionByZeroLeavesTheDividend) {
    inEveryForm([] {
        const Division division = divide({2, 3, 4}, {0});
        EXPECT_EQ(division.result, 1);
        EXPECT_EQ(division.rest, (Mpi{2, 3, 4}));
        Mpi a = {2, 3, 4};
        EXPECT_EQ(MPI_Mod(a.data(), Mpi{0}.data()), 1);
        EXPECT_EQ(a, (Mpi{2, 3, 4}));
    });
}

TEST(mpi_modular_test, EqualValuesHaveQuotientOne) {
    inEveryForm([] {
        const Division division = divide({2, 3, 4}, {2, 3, 4});
        EXPECT_EQ(division.result, 0);
        EXPECT_EQ(taken(division.rest), Mpi{0});
        EXPECT_EQ(taken(division.quotient), (Mpi{1, 1}));
    });
}

TEST(mpi_modular_test, ASmallerDividendIsItsOwnRemainder) {
    inEveryForm([] {
        for (const Mpi& a : {Mpi{2, 2, 4}, Mpi{1, 9}, Mpi{0}}) {
            const Division division = divide(a, {2, 3, 4});
            EXPECT_EQ(division.result, 0);
            EXPECT_EQ(division.rest, a);
            EXPECT_EQ(taken(division.quotient), Mpi{0});
        }
    });
}

// q d + r is divided by d again, for digits where an estimate is likely to be off: a top limb of all ones or of one
// bit, quotient limbs of ones and zeros, and the largest and smallest remainders.
TEST(mpi_modular_test, DivisionsThatStrainTheEstimate) {
    inEveryForm([] {
        const Mpi divisors[] = {{1, 1},
                                {1, kOnes},
                                {1, 0x80000000},
                                {2, 0, kOnes},
                                {2, kOnes, 1},
                                {2, kOnes, kOnes},
                                {2, 0, 0x80000000},
                                {3, 0, 0, 1},
                                {3, 0, kOnes, kOnes},
                                {3, kOnes, 0, 0x80000000},
                                {4, kOnes, kOnes, kOnes, 0x7fffffff},
                                {4, 0, 0, kOnes, 0x80000000},
                                {5, 1, 0, 0, 0, 0x80000000},
                                {5, kOnes, kOnes, 0, kOnes, kOnes}};
        const Mpi quotients[] = {{1, kOnes},
                                 {2, kOnes, kOnes},
                                 {3, 0, 0, 1},
                                 {3, kOnes, 0, kOnes},
                                 {4, 0, kOnes, kOnes - 1, kOnes},
                                 {5, kOnes, kOnes, kOnes, kOnes, kOnes},
                                 {6, 1, 0x80000000, 0, 0, 0x80000000, 0x7fffffff}};
        for (const Mpi& d : divisors) {
            Mpi largest = room(limbsOf(d));
            MPI_Decrement(largest.data(), d.data());
            for (const Mpi& q : quotients) {
                for (const Mpi& r : {Mpi{0}, taken(largest)}) {
                    Mpi a = widened(product(q, d), limbsOf(q) + limbsOf(d) + 1);
                    MPI_AddTo(a.data(), r.data());
                    const Division division = divide(taken(a), d);
                    ASSERT_EQ(taken(division.quotient), q);
                    ASSERT_EQ(taken(division.rest), r);
                }
            }
        }
    });
}

TEST(mpi_modular_test, TheDivisorStaysWhatItWas) {
    inEveryForm([] {
        Mpi d = {3, 5, 6, 7};
        divide({5, 1, 2, 3, 4, 5}, d);
        EXPECT_EQ(d, (Mpi{3, 5, 6, 7}));
    });
}

TEST(mpi_modular_test, TheRemainderByAWordLeavesTheNumber) {
    const Mpi x = number("0123456789abcdef fedcba9876543210 55");
    EXPECT_EQ(MPI_ModWord(x.data(), 1000000007), 583221251U);
    EXPECT_EQ(MPI_ModWord(x.data(), 1), 0U);
    EXPECT_EQ(MPI_ModWord(x.data(), 256), 0x55U);
    EXPECT_EQ(MPI_ModWord(x.data(), 0), kOnes) << "there is no remainder by zero";
    EXPECT_EQ(MPI_ModWord(Mpi{0}.data(), 0), kOnes);
    EXPECT_EQ(MPI_ModWord(Mpi{0}.data(), 7), 0U);
    EXPECT_EQ(MPI_ModWord(Mpi{1, kOnes}.data(), kOnes), 0U);
    EXPECT_EQ(MPI_ModWord(Mpi{1, 5}.data(), 7), 5U);
    EXPECT_EQ(x, number("0123456789abcdef fedcba9876543210 55"));
}

TEST(mpi_modular_test, TheMontgomeryConstantIsMinusTheInverse) {
    EXPECT_EQ(MPI_MontConstant(word(1).data()), kOnes);
    EXPECT_EQ(MPI_MontConstant(word(3).data()), 0x55555555U);
    EXPECT_EQ(MPI_MontConstant(word(kOnes).data()), 1U);
    support::Noise noise(5);
    for (int i = 0; i < 2000; ++i) {
        const Mpi n = {2, noise.next() | 1, 7};
        ASSERT_EQ(n[1] * MPI_MontConstant(n.data()), kOnes) << n[1];
    }
}

// y is raised in each round whose masked product is above 2^i: for limbs 0 and 2 that never happens, for 6 in rounds 2,
// 3, 6, 7, ... (worked out in python3), so that y is cccccccd.
TEST(mpi_modular_test, TheMontgomeryConstantOfEvenNumbersIsWhatLiftingGives) {
    EXPECT_EQ(MPI_MontConstant(word(2).data()), kOnes);
    EXPECT_EQ(MPI_MontConstant(word(6).data()), 0x33333333U);
    EXPECT_EQ(MPI_MontConstant(Mpi{0}.data()), kOnes);
}

TEST(mpi_modular_test, MontgomeryReductions) {
    forCases(mpi_numbers::k_reductions, [](const mpi_numbers::Case& c) {
        const Mpi t = operand(mpi_numbers::reductions, c.number, 0, c.a);
        const Mpi n = odd(operand(mpi_numbers::reductions, c.number, 1, c.b));
        const std::uint32_t nPrime = MPI_MontConstant(n.data());
        Mpi r = room(c.b);
        MPI_MontReduce(r.data(), t.data(), n.data(), nPrime);
        EXPECT_EQ(digest({r}), c.digest);
        Mpi same = widened(t, std::max(c.a, c.b));
        MPI_MontReduce(same.data(), same.data(), n.data(), nPrime);
        EXPECT_EQ(taken(same), taken(r)) << "in place";
    });
}

TEST(mpi_modular_test, ReductionsByAnyOtherConstantAndModulus) {
    forCases(mpi_numbers::k_foreign_reductions, [](const mpi_numbers::Case& c) {
        const Mpi t = operand(mpi_numbers::foreign_reductions, c.number, 0, c.a);
        const Mpi n = operand(mpi_numbers::foreign_reductions, c.number, 1, c.b);
        Mpi r = room(c.b);
        MPI_MontReduce(r.data(), t.data(), n.data(), operand(mpi_numbers::foreign_reductions, c.number, 2, 1)[1]);
        EXPECT_EQ(digest({r}), c.digest);
    });
}

TEST(mpi_modular_test, ReductionsReadNoLimbsAboveThose) {
    inEveryForm([] {
        Mpi r = room(1);
        MPI_MontReduce(r.data(), Mpi{3, 0, 5, 9}.data(), word(7).data(), MPI_MontConstant(word(7).data()));
        EXPECT_EQ(taken(r), (Mpi{1, 5})) << "5 R / R mod 7";
        MPI_MontReduce(r.data(), Mpi{1, 5}.data(), Mpi{0}.data(), 1);
        EXPECT_EQ(r[0], 0U);
    });
}

TEST(mpi_modular_test, MontgomeryForms) {
    forCases(mpi_numbers::k_forms, [](const mpi_numbers::Case& c) {
        const Mpi x = operand(mpi_numbers::forms, c.number, 0, c.a);
        const Mpi n = operand(mpi_numbers::forms, c.number, 1, c.b);
        Mpi r = room(c.a + c.b);
        MPI_ToMontgomery(r.data(), x.data(), n.data());
        EXPECT_EQ(digest({r}), c.digest);
        Mpi same = widened(x, c.a + c.b);
        MPI_ToMontgomery(same.data(), same.data(), n.data());
        EXPECT_EQ(taken(same), taken(r)) << "in place";
    });
    Mpi r = room(1);
    MPI_ToMontgomery(r.data(), word(5).data(), Mpi{0}.data());
    EXPECT_EQ(taken(r), word(5)) << "a zero modulus";
}

TEST(mpi_modular_test, Inverses) {
    forCases(mpi_numbers::k_inverses, [](const mpi_numbers::Case& c) {
        const Mpi x = operand(mpi_numbers::inverses, c.number, 0, c.a);
        Mpi m = operand(mpi_numbers::inverses, c.number, 1, c.b);
        if (c.c != 0)
            m = odd(m);
        const bool exists = c.digest != 0;
        Mpi r = room(c.b);
        const Mpi before = r;
        EXPECT_EQ(MPI_ModInverse(x.data(), m.data(), nullptr), exists ? 1 : 0) << "coprimality alone";
        EXPECT_EQ(MPI_ModInverse(x.data(), m.data(), r.data()), exists ? 1 : 0);
        if (exists) {
            EXPECT_EQ(digest({r}), c.digest);
        } else {
            EXPECT_EQ(r, before);
        }
        Mpi again = room(c.b);
        EXPECT_EQ(MPI_MontInverse(m.data(), x.data(), again.data(), 0), exists ? 1 : 0);
        if (exists) {
            EXPECT_EQ(taken(again), taken(r));
        }
    });
}

TEST(mpi_modular_test, InversesOfFewLimbs) {
    inEveryForm([] {
        for (std::uint32_t m = 1; m < 60; ++m) {
            for (std::uint32_t x = 0; x < 130; ++x) {
                std::uint32_t inverse = 0;
                while (inverse < m && x * inverse % m != 1 % m)
                    ++inverse;
                Mpi r = {0, 0};
                Mpi mont = {0, 0};
                ASSERT_EQ(MPI_ModInverse(word(x).data(), word(m).data(), r.data()), inverse < m ? 1 : 0)
                    << x << ' ' << m;
                ASSERT_EQ(MPI_MontInverse(word(m).data(), word(x).data(), mont.data(), 3), inverse < m ? 1 : 0);
                if (inverse < m) {
                    ASSERT_EQ(taken(r), word(inverse)) << x << " modulo " << m;
                    ASSERT_EQ(taken(mont), word(8 * inverse % m)) << x << " modulo " << m;
                }
            }
        }
    });
}

// Few limbs and many numbers: where a step of the method ends within a limb, and where sums of two products grow by
// two.
TEST(mpi_modular_test, NumbersAndTheirInversesMultiplyToOne) {
    const auto check = [](const Mpi& x, const Mpi& m) {
        Mpi r = room(limbsOf(m));
        Mpi mont = room(limbsOf(m));
        const int exists = MPI_ModInverse(x.data(), m.data(), r.data());
        ASSERT_EQ(MPI_MontInverse(m.data(), x.data(), mont.data(), 0), exists);
        if (exists == 0)
            return;
        ASSERT_EQ(taken(divide(product(taken(r), x), m).rest), word(1));
        ASSERT_EQ(taken(mont), taken(r));
    };
    check(number("45bf63ff7dacfbf1b51ed403"), number("ffffffffffdd4d4786beceea5a75a773"));
    for (int i = 0; i < 6000; ++i) {
        const Mpi m = operand(mpi_numbers::inverses, i, 2, 2 + i % 7);
        const Mpi x = operand(mpi_numbers::inverses, i, 3, 1 + i % 5);
        check(x, m);
        if (HasFatalFailure())
            FAIL() << "number " << i;
    }
}

TEST(mpi_modular_test, AnInverseMayTakeThePlaceOfAnOperand) {
    inEveryForm([] {
        Mpi x = {1, 7};
        EXPECT_EQ(MPI_ModInverse(x.data(), word(40).data(), x.data()), 1);
        EXPECT_EQ(taken(x), word(23));
        Mpi m = {1, 40};
        EXPECT_EQ(MPI_ModInverse(word(7).data(), m.data(), m.data()), 1);
        EXPECT_EQ(taken(m), word(23));
        x = {1, 7};
        EXPECT_EQ(MPI_MontInverse(word(41).data(), x.data(), x.data(), 1), 1);
        EXPECT_EQ(taken(x), word(12)) << "7 times 6 is 1 modulo 41";
    });
}

TEST(mpi_modular_test, InversesModuloZero) {
    Mpi r = {0, 0};
    EXPECT_EQ(MPI_MontInverse(Mpi{0}.data(), word(1).data(), r.data(), 0), 0);
    EXPECT_EQ(MPI_ModInverse(Mpi{0}.data(), Mpi{0}.data(), r.data()), 0);
    EXPECT_EQ(MPI_ModInverse(word(5).data(), Mpi{0}.data(), r.data()), 0);
}

TEST(mpi_modular_test, InversesWithAPowerOfTwo) {
    forCases(mpi_numbers::k_mont_inverses, [](const mpi_numbers::Case& c) {
        const Mpi x = operand(mpi_numbers::mont_inverses, c.number, 0, c.a);
        const Mpi m = odd(operand(mpi_numbers::mont_inverses, c.number, 1, c.b));
        const bool exists = c.digest != 0;
        Mpi r = room(c.b);
        const Mpi before = r;
        EXPECT_EQ(MPI_MontInverse(m.data(), x.data(), r.data(), c.c), exists ? 1 : 0);
        if (exists) {
            EXPECT_EQ(digest({r}), c.digest);
        } else {
            EXPECT_EQ(r, before);
        }
    });
}

TEST(mpi_modular_test, ASharedFactorOfTwoIsNotInvertible) {
    Mpi r = room(2);
    EXPECT_EQ(MPI_MontInverse(Mpi{2, 0, 6}.data(), Mpi{1, 4}.data(), r.data(), 64), 0);
    EXPECT_EQ(MPI_MontInverse(word(12).data(), word(8).data(), r.data(), 32), 0);
}

TEST(mpi_modular_test, Powers) {
    forCases(mpi_numbers::k_powers, [](const mpi_numbers::Case& c) {
        const Mpi x = operand(mpi_numbers::powers, c.number, 0, c.a);
        const Mpi e = operand(mpi_numbers::powers, c.number, 2, c.c);
        Mpi n = operand(mpi_numbers::powers, c.number, 1, c.b);
        if (c.number % 8 != 0)
            n = odd(n);
        EXPECT_EQ(digest({power(By::window, x, e, n)}), c.digest);
        if (c.a > 0) {
            EXPECT_EQ(digest({power(By::digits, x, e, n)}), c.digest);
        }
    });
}

// 3 to the e modulo 1000003, for every e up to 2^13 and around the ends of a limb: each recoding of the digits.
TEST(mpi_modular_test, PowersOfSmallExponents) {
    inEveryForm([] {
        std::uint64_t expected = 1;
        for (std::uint32_t e = 0; e < 1U << 13; ++e) {
            ASSERT_EQ(power(By::window, word(3), word(e), word(1000003)), word(static_cast<std::uint32_t>(expected)))
                << e;
            ASSERT_EQ(power(By::digits, word(3), word(e), word(1000003)), word(static_cast<std::uint32_t>(expected)))
                << e;
            expected = expected * 3 % 1000003;
        }
    });
}

// Expected by python3: pow(3, e, 2**61 - 1).
TEST(mpi_modular_test, AnExponentWithTheTopBitOfItsLimbNeedsOneDigitMore) {
    const Mpi n = number("1fffffffffffffff");
    const struct {
        Mpi e;
        const char* power;
    } cases[] = {{{1, kOnes}, "1e46c51968102c73"},      {{1, 0x80000000}, "0dde9575355ea567"},
                 {{1, 0xc0000000}, "01ca6718521bc8d0"}, {{1, 0xaaaaaaab}, "0ccf5ecaa20b1c66"},
                 {{2, kOnes, kOnes}, "daf26b"},         {{2, 0, 0x80000000}, "19a1"},
                 {{2, kOnes, 1}, "04385f03231ab1a5"}};
    inEveryForm([&] {
        for (const auto& c : cases) {
            EXPECT_EQ(power(By::window, word(3), c.e, n), number(c.power));
            EXPECT_EQ(power(By::digits, word(3), c.e, n), number(c.power));
        }
    });
}

TEST(mpi_modular_test, ZeroToThePowerOfZeroDependsOnTheMethod) {
    inEveryForm([] {
        EXPECT_EQ(power(By::window, {0}, {0}, word(7)), word(1));
        EXPECT_EQ(power(By::digits, {0}, {0}, word(7)), Mpi{0}) << "the base is looked at first";
        EXPECT_EQ(power(By::window, {0}, word(3), word(7)), Mpi{0});
        EXPECT_EQ(power(By::digits, {0}, word(3), word(7)), Mpi{0}) << "without needing an inverse";
        EXPECT_EQ(power(By::window, word(5), {0}, word(7)), word(1));
        EXPECT_EQ(power(By::digits, word(5), {0}, word(7)), word(1));
    });
}

TEST(mpi_modular_test, PowersModuloZeroOneAndTwo) {
    inEveryForm([] {
        for (const By by : {By::window, By::digits}) {
            EXPECT_EQ(power(by, word(5), word(3), word(1)), Mpi{0});
            EXPECT_EQ(power(by, word(5), {0}, word(1)), word(1)) << "a zero exponent gives one";
            EXPECT_EQ(power(by, word(5), word(3), {0}), Mpi{0});
            EXPECT_EQ(power(by, word(5), word(3), word(2)), word(1));
            EXPECT_EQ(power(by, word(6), word(3), word(2)), Mpi{0});
        }
    });
}

// A base that shares a factor with n, as a multiple of one of an RSA modulus' primes does.
TEST(mpi_modular_test, ABaseWithoutAnInverseHasItsPowerToo) {
    inEveryForm([] {
        EXPECT_EQ(power(By::digits, word(6), word(5), word(15)), word(6));
        EXPECT_EQ(power(By::digits, word(15), word(5), word(15)), Mpi{0});
        EXPECT_EQ(power(By::digits, word(3), word(40), word(27 * 1000003)), word(8970318));
    });
}

TEST(mpi_modular_test, APowerMayTakeThePlaceOfAnOperand) {
    const Mpi n = odd(operand(mpi_numbers::powers, 900, 0, 6));
    const Mpi x = operand(mpi_numbers::powers, 900, 1, 6);
    const Mpi e = operand(mpi_numbers::powers, 900, 2, 6);
    inEveryForm([&] {
        const Mpi expected = power(By::window, x, e, n);
        for (const auto operation : {MPI_ModExpSmallWindow, MPI_ModExpNAF}) {
            Mpi r = x;
            operation(r.data(), r.data(), e.data(), n.data());
            EXPECT_EQ(taken(r), expected);
            r = e;
            operation(r.data(), x.data(), r.data(), n.data());
            EXPECT_EQ(taken(r), expected);
            r = n;
            operation(r.data(), x.data(), e.data(), r.data());
            EXPECT_EQ(taken(r), expected);
        }
    });
}

TEST(mpi_modular_test, ThePathOfTheCommonExponent) {
    const Mpi e = word(65537);
    inEveryForm([&] {
        for (int limbs = 1; limbs <= 66; ++limbs) {
            const Mpi n = odd(operand(mpi_numbers::powers, 910, 0, limbs));
            const Mpi x = operand(mpi_numbers::powers, 910, 1, limbs + 1 - limbs % 2);
            Mpi r = room(limbs);
            mpi::powerOf65537(r.data(), x.data(), n.data());
            ASSERT_EQ(taken(r), power(By::window, x, e, n)) << limbs;
        }
    });
}

// Every form steps through the same residues as the plain one, so a fault cannot hide in a later reduction.
TEST(mpi_modular_test, TheFormsAgreeOnEveryResidue) {
    for (int limbs = 1; limbs <= 256; limbs += limbs < 70 ? 1 : 31) {
        const Mpi n = odd(operand(mpi_numbers::powers, 920, 0, limbs));
        const Mpi x = operand(mpi_numbers::powers, 920, 1, limbs);
        std::vector<std::uint32_t> expected;
        inEveryForm([&] {
            const mpi::Montgomery field(n.data());
            const auto words = static_cast<std::size_t>(field.limbs());
            std::vector<std::uint32_t> a(words);
            std::vector<std::uint32_t> b(words);
            field.enter(a.data(), x.data());
            field.square(b.data(), a.data());
            field.multiply(a.data(), a.data(), b.data());
            field.multiplyWord(a.data(), 113);
            field.square(a.data(), a.data());
            if (expected.empty())
                expected = a;
            ASSERT_EQ(a, expected) << limbs;
        });
    }
}
