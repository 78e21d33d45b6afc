// Primes, the search for them, and the runtime's generator.
#include <gtest/gtest.h>

#include <thread>

#include "crypto/mpi.h"
#include "crypto/runtime_rand.h"
#include "tests/crypto/mpi_operands.h"

using mpi_test::inEveryForm;
using mpi_test::kOnes;
using mpi_test::Mpi;
using mpi_test::number;
using mpi_test::room;
using mpi_test::taken;
using mpi_test::widened;
using mpi_test::word;

namespace {

bool isProbablePrime(const Mpi& n) {
    return MPI_IsProbablePrime(n.data()) == 1;
}

bool divides(std::uint32_t divisor, std::uint32_t n) {
    return n % divisor == 0;
}

bool isPrime(std::uint32_t n) {
    for (std::uint32_t divisor = 2; divisor * divisor <= n; ++divisor) {
        if (divides(divisor, n))
            return false;
    }
    return n > 1;
}

Mpi product(const Mpi& a, const Mpi& b) {
    Mpi r = room(static_cast<int>(a[0] + b[0]));
    MPI_Mul(r.data(), a.data(), b.data());
    return taken(r);
}

}  // namespace

// The odd primes up to 9739 fall to the trial division; the search looks at them by itself.
TEST(mpi_prime_test, ThePrimesOfTheTrialDivisionAreNotPrimeButTwoIs) {
    for (std::uint32_t n = 0; n <= 9740; ++n)
        ASSERT_EQ(isProbablePrime(word(n)), n == 2) << n;
}

TEST(mpi_prime_test, NumbersBehindTheTrialDivision) {
    inEveryForm([] {
        for (std::uint32_t n = 9741; n < 15000; ++n)
            ASSERT_EQ(isProbablePrime(word(n)), isPrime(n)) << n;
        // The next prime after 9739, its square, and products with its neighbours: no small factor.
        EXPECT_TRUE(isProbablePrime(word(9743)));
        EXPECT_FALSE(isProbablePrime(word(9743 * 9743)));
        EXPECT_FALSE(isProbablePrime(word(9743 * 9749)));
        EXPECT_TRUE(isProbablePrime(word(4294967291U)));
        EXPECT_FALSE(isProbablePrime(word(kOnes)));
    });
}

TEST(mpi_prime_test, EveryPrimeOfTheTableDivides) {
    const Mpi factor = number("1fffffffffffffff");  // 2^61 - 1, prime
    for (std::uint32_t p = 3; p <= 9739; p += 2) {
        ASSERT_FALSE(isPrime(p) && isProbablePrime(product(word(p), factor))) << p;
    }
}

// 2^89 - 1, 2^107 - 1, 2^127 - 1, 2^521 - 1 and 2^607 - 1 are prime, and so are the moduli of RFC 2409, 6.1 and 6.2;
// 2^61 + 1, 2^67 - 1 and 2^101 - 1 are not.
TEST(mpi_prime_test, KnownPrimesAndComposites) {
    const auto mersenne = [](int k) {
        Mpi n = room(k / 32 + 1);
        MPI_SetPowerOfTwo(n.data(), k);
        MPI_SubWord(n.data(), 1);
        return taken(n);
    };
    inEveryForm([&] {
        for (const int k : {61, 89, 107, 127, 521, 607})
            EXPECT_TRUE(isProbablePrime(mersenne(k))) << k;
        for (const int k : {67, 101, 103, 109, 137, 512})
            EXPECT_FALSE(isProbablePrime(mersenne(k))) << k;
        EXPECT_FALSE(isProbablePrime(product(mersenne(89), mersenne(107))));
        EXPECT_FALSE(isProbablePrime(product(mersenne(127), mersenne(127))));
        EXPECT_TRUE(isProbablePrime(number(
            "FFFFFFFFFFFFFFFFC90FDAA22168C234C4C6628B80DC1CD129024E088A67CC74020BBEA63B139B22514A08798E3404DD"
            "EF9519B3CD3A431B302B0A6DF25F14374FE1356D6D51C245E485B576625E7EC6F44C42E9A63A3620FFFFFFFFFFFFFFFF")));
    });
}

// 2^64 - 2^32 + 1, 5 2^39 + 1, 5 2^75 + 1 and 5 2^127 + 1 are prime, 2^64 + 1 and 5 2^128 + 1 are not (openssl prime).
// Each is one above a number whose lowest limb is zero.
TEST(mpi_prime_test, NumbersOneAboveAMultipleOfAHighPowerOfTwo) {
    inEveryForm([] {
        for (const char* prime :
             {"ffffffff00000001", "028000000001", "28000000000000000001", "0280000000000000000000000000000001"})
            EXPECT_TRUE(isProbablePrime(number(prime))) << prime;
        for (const char* composite : {"010000000000000001", "0500000000000000000000000000000001"})
            EXPECT_FALSE(isProbablePrime(number(composite))) << composite;
    });
}

// Composites that Miller-Rabin takes for primes to each of the first bases: 3317044064679887385961981 to 2 ... 41,
// 318665857834031151167461 to 2 ... 37 and 1195068768795265792518361315725116351898245581 to 2 ... 31 (python3).
TEST(mpi_prime_test, AStrongPseudoprimeToManyBases) {
    inEveryForm([] {
        EXPECT_FALSE(isProbablePrime(number("3596b777667a970614493bebd9d75c9d64d9cd")));
        EXPECT_FALSE(isProbablePrime(number("02be6951adc5b22410a5fd")));
        EXPECT_FALSE(isProbablePrime(number("437ae92817f9fc85b7e5")));
    });
}

// Carmichael numbers (6k + 1)(12k + 1)(18k + 1) of three primes above the table, k = 2040, 1000051 and
// 1152921504606847306 (python3): x^(n - 1) is 1 for any x without a factor of n, and the squarings to it meet a root of
// 1 that is not -1.
TEST(mpi_prime_test, CarmichaelNumbersAreNotPrime) {
    inEveryForm([] {
        EXPECT_FALSE(isProbablePrime(number("0a02209161e1")));
        EXPECT_FALSE(isProbablePrime(number("46445ed4c703fc1749")));
        EXPECT_FALSE(isProbablePrime(number("51000000000013956c000000019409bd4000000ada9e6b99")));
    });
}

TEST(mpi_prime_test, Searches) {
    inEveryForm([] {
        for (const mpi_numbers::Search& search : mpi_numbers::kSearches) {
            Mpi x = widened(number(search.start),
                            std::max(static_cast<int>(number(search.start)[0]), (search.bits + 31) / 32));
            MPI_FindPrime(x.data(), search.bits);
            ASSERT_EQ(taken(x), number(search.prime)) << search.bits << " bits from " << search.start;
            ASSERT_EQ(MPI_BitLength(x.data()), search.bits);
        }
    });
}

TEST(mpi_prime_test, TheSearchOfTwoBitsFindsThreeWhichTheTestRefuses) {
    Mpi x = {0, 9};
    MPI_FindPrime(x.data(), 2);
    EXPECT_EQ(taken(x), word(3));
    EXPECT_FALSE(isProbablePrime(x));
}

// Every start of up to 14 bits ends: where the walk of 64 would go round for ever the table is searched.
TEST(mpi_prime_test, SearchesAmongTheSmallestPrimes) {
    for (int bits = 2; bits <= 14; ++bits) {
        const std::uint32_t low = 1U << (bits - 1);
        for (std::uint32_t start = low; start < 2 * low; start += bits < 12 ? 1 : 61) {
            Mpi x = word(start);
            MPI_FindPrime(x.data(), bits);
            ASSERT_EQ(MPI_BitLength(x.data()), bits) << start;
            ASSERT_TRUE(isPrime(x[1])) << start;
            if (start <= 9739 && bits > 2) {
                std::uint32_t expected = start | 1;
                while (!isPrime(expected))
                    expected = expected + 2 < 2 * low ? expected + 2 : low + 1;
                ASSERT_EQ(x[1], expected) << start;
            }
        }
    }
}

TEST(mpi_prime_test, ASearchOfNoBitsIsZero) {
    Mpi x = {1, 77};
    MPI_FindPrime(x.data(), 0);
    EXPECT_EQ(x[0], 0U);
}

TEST(mpi_prime_test, TheRuntimesGenerator) {
    RuntimeRandRestart();
    for (const int expected : {41, 18467, 6334, 26500, 19169, 15724, 11478, 29358, 26962, 24464})
        EXPECT_EQ(RuntimeRand(), expected);
    RuntimeRandRestart();
    EXPECT_EQ(RuntimeRand(), 41);
}

TEST(mpi_prime_test, EveryThreadStartsTheSequenceAfresh) {
    RuntimeRandRestart();
    RuntimeRand();
    RuntimeRand();
    int first = 0;
    std::thread([&first] { first = RuntimeRand(); }).join();
    EXPECT_EQ(first, 41);
    EXPECT_EQ(RuntimeRand(), 6334) << "the other thread's draw is not this one's";
}

// 41, 18467, 6334, 26500 are 29, 4823, 18be, 6784; then 19169 (4ae1), 15724 (3d6c), 11478 (2cd6), 29358 (72ae).
TEST(mpi_prime_test, RandomLimbsTakeTheLowBytesOfFourDraws) {
    RuntimeRandRestart();
    Mpi x = room(2);
    MPI_FillRandom(x.data(), 2);
    EXPECT_EQ(x, (Mpi{2, 0x2923be84, 0xe16cd6ae}));
    EXPECT_EQ(RuntimeRand(), 26962) << "four draws for each limb, no more";
    MPI_FillRandom(x.data(), 0);
    EXPECT_EQ(x[0], 0U);
    EXPECT_EQ(RuntimeRand(), 24464) << "no limb, no draw";
}
