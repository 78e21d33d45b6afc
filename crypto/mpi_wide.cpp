// The form `wide`: 64-bit words with 128-bit sums.
#include "crypto/mpi_words.h"

#ifdef VT_MPI_HAS_WORDS

namespace mpi {
namespace {

// addRow: r += a w; it returns the word above.
Word addRow(std::uint32_t* r, const std::uint32_t* a, int words, Word w) {
    Word carry = 0;
    for (int i = 0; i < words; ++i) {
        const DoubleWord sum = static_cast<DoubleWord>(wordAt(a, i)) * w + wordAt(r, i) + carry;
        setWordAt(r, i, lowWord(sum));
        carry = highWord(sum);
    }
    return carry;
}

struct WideRows {
    static void multiply(std::uint32_t* r, const std::uint32_t* a, int aWords, const std::uint32_t* b, int bWords) {
        clearLimbs(r, 2 * aWords);
        for (int i = 0; i < bWords; ++i)
            setWordAt(r, i + aWords, addRow(fromWord(r, i), a, aWords, wordAt(b, i)));
    }

    // The products of different words first; they are doubled where the squares of the words are added.
    static void square(std::uint32_t* r, const std::uint32_t* a, int words) {
        clearLimbs(r, 4 * words);
        for (int i = 0; i + 1 < words; ++i)
            setWordAt(r, i + words, addRow(fromWord(r, 2 * i + 1), fromWord(a, i + 1), words - i - 1, wordAt(a, i)));
        Word carry = 0;
        Word pushed = 0;
        for (int i = 0; i < words; ++i) {
            const DoubleWord square = static_cast<DoubleWord>(wordAt(a, i)) * wordAt(a, i);
            const Word lower = wordAt(r, 2 * i);
            const Word upper = wordAt(r, 2 * i + 1);
            DoubleWord sum = static_cast<DoubleWord>(lower << 1 | pushed) + lowWord(square) + carry;
            setWordAt(r, 2 * i, lowWord(sum));
            sum = static_cast<DoubleWord>(upper << 1 | lower >> (kWordBits - 1)) + highWord(square) + highWord(sum);
            setWordAt(r, 2 * i + 1, lowWord(sum));
            carry = highWord(sum);
            pushed = upper >> (kWordBits - 1);
        }
    }

    static Word reduce(std::uint32_t* t, const std::uint32_t* n, int words, int rows, Word nPrime) {
        Word overflow = 0;
        for (int i = 0; i < rows; ++i) {
            const Word carry = addRow(fromWord(t, i), n, words, wordAt(t, i) * nPrime);
            const DoubleWord sum = static_cast<DoubleWord>(wordAt(t, i + words)) + carry + overflow;
            setWordAt(t, i + words, lowWord(sum));
            overflow = highWord(sum);
        }
        return overflow;
    }

    static Word subtract(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, int words) {
        return subWords(r, a, b, words);
    }

    static Word subtractRow(std::uint32_t* r, const std::uint32_t* a, int words, Word w) {
        Word carry = 0;
        for (int i = 0; i < words; ++i) {
            const DoubleWord product = static_cast<DoubleWord>(wordAt(a, i)) * w + carry;
            const Word given = wordAt(r, i);
            setWordAt(r, i, given - lowWord(product));
            carry = highWord(product) + (given < lowWord(product) ? 1 : 0);
        }
        return carry;
    }
};

bool usable() {
    return true;
}

using Form = WordForm<WideRows>;
constexpr Kernels kWide = {"wide",       usable,       Form::multiply,     Form::square,
                           Form::reduce, Form::divide, Form::montMultiply, Form::montSquare};

}  // namespace

const Kernels* wideKernels() {
    return &kWide;
}

}  // namespace mpi

#else

const mpi::Kernels* mpi::wideKernels() {
    return nullptr;
}

#endif
