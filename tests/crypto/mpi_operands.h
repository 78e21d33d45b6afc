// What the tests of the engine's numbers share: arrays of exactly the room that an operation may use (so that the
// address checker sees a limb too many), the operands and digests of tests/vectors/mpi_numbers.py, and every form of
// the kernels in turn.
#ifndef VT_TESTS_CRYPTO_MPI_OPERANDS_H
#define VT_TESTS_CRYPTO_MPI_OPERANDS_H

#include <gtest/gtest.h>

#include <initializer_list>
#include <string_view>
#include <vector>

#include "crypto/mpi.h"
#include "crypto/mpi_kernels.h"
#include "tests/support/hex.h"
#include "tests/support/noise.h"
#include "tests/vectors/mpi_numbers.h"

namespace mpi_test {

constexpr std::uint32_t kOnes = 0xffffffff;

// The words of a number: count and limbs, and no more.
using Mpi = std::vector<std::uint32_t>;

// room: an array for a result of up to `limbs` limbs, full of what nobody may read.
inline Mpi room(int limbs) {
    Mpi x(static_cast<std::size_t>(limbs) + 1, 0xdeadbeef);
    return x;
}

inline int limbsOf(const Mpi& x) {
    return static_cast<int>(x[0]);
}

// taken: the words of a result that count. It checks that the top limb is not zero.
inline Mpi taken(const Mpi& x) {
    EXPECT_LT(x[0], x.size());
    EXPECT_TRUE(x[0] == 0 || x[x[0]] != 0) << "a zero limb on top";
    return {x.begin(), x.begin() + limbsOf(x) + 1};
}

// widened: x in an array with room for `limbs` limbs.
inline Mpi widened(const Mpi& x, int limbs) {
    Mpi wide = room(limbs);
    std::copy(x.begin(), x.end(), wide.begin());
    return wide;
}

inline Mpi word(std::uint32_t w) {
    return w == 0 ? Mpi{0} : Mpi{1, w};
}

// number: the number of big-endian hex digits, at most 1024 bytes.
inline Mpi number(std::string_view digits) {
    const support::Bytes bytes = support::hex(digits);
    Mpi x = room(static_cast<int>(bytes.size() + 3) / 4);
    MPI_FromBytes(bytes.data(), static_cast<int>(bytes.size()), x.data());
    return taken(x);
}

// operand: operand `which` of a case, of exactly `limbs` limbs.
inline Mpi operand(mpi_numbers::Table table, int number, unsigned which, int limbs) {
    const unsigned place = 4 * (1000 * table + static_cast<unsigned>(number)) + which + 1;
    support::Noise noise(place * 2654435761U);
    Mpi x = room(limbs);
    x[0] = static_cast<std::uint32_t>(limbs);
    for (std::size_t i = 1; i < x.size(); ++i) {
        const std::uint32_t kind = noise.below(8);
        x[i] = kind == 0 ? 0 : kind == 1 ? kOnes : noise.next();
    }
    if (limbs > 0 && x.back() == 0)
        x.back() = 1;
    return x;
}

// digest: FNV-1a over the words that count.
inline std::uint64_t digest(std::initializer_list<Mpi> results) {
    std::uint64_t state = 0xcbf29ce484222325;
    for (const Mpi& result : results) {
        for (const std::uint32_t w : taken(result))
            state = (state ^ w) * 0x100000001b3;
    }
    return state;
}

// InEveryForm runs a test's body once for each form of the kernels that this machine has.
template <class Body>
void inEveryForm(Body body) {
    for (const mpi::Kernels* const* form = mpi::kernelForms(); *form != nullptr; ++form) {
        SCOPED_TRACE((*form)->name);
        mpi::useKernels(*form);
        body();
        mpi::useKernels(nullptr);
    }
}

// forCases runs the body for each case of a table, in every form.
template <std::size_t Count, class Body>
void forCases(const mpi_numbers::Case (&cases)[Count], Body body) {
    inEveryForm([&] {
        for (const mpi_numbers::Case& c : cases) {
            SCOPED_TRACE(c.number);
            body(c);
            if (testing::Test::HasFailure())
                return;
        }
    });
}

}  // namespace mpi_test

#endif
