// What the forms with 64-bit words have in common: everything but the inner rows.
//
// Arrays stay arrays of 32-bit limbs; word i is limbs 2 i and 2 i + 1, which on a little-endian machine lie in memory
// as one word does. An odd count of limbs is made even by a zero limb in a local copy.
#ifndef VT_CRYPTO_MPI_WORDS_H
#define VT_CRYPTO_MPI_WORDS_H

#include "crypto/mpi_kernels.h"
#include "crypto/mpi_limbs.h"

#if defined __SIZEOF_INT128__ && defined __BYTE_ORDER__ && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#define VT_MPI_HAS_WORDS 1

namespace mpi {

__extension__ using Word = unsigned long long;
__extension__ using DoubleWord = unsigned __int128;
static_assert(sizeof(Word) == 8);

constexpr int kWordBits = 64;

// fromWord: the limbs from word i on.
inline const std::uint32_t* fromWord(const std::uint32_t* limbs, int i) {
    return limbs + static_cast<std::ptrdiff_t>(2) * i;
}
inline std::uint32_t* fromWord(std::uint32_t* limbs, int i) {
    return limbs + static_cast<std::ptrdiff_t>(2) * i;
}
inline Word wordAt(const std::uint32_t* limbs, int i) {
    Word word;
    std::memcpy(&word, fromWord(limbs, i), sizeof word);
    return word;
}
inline void setWordAt(std::uint32_t* limbs, int i, Word word) {
    std::memcpy(fromWord(limbs, i), &word, sizeof word);
}
// apart is the word, kept from being read or written together with its neighbours.
inline Word apart(Word word) {
    __asm__("" : "+r"(word));
    return word;
}
inline Word lowWord(DoubleWord value) {
    return static_cast<Word>(value);
}
inline Word highWord(DoubleWord value) {
    return static_cast<Word>(value >> kWordBits);
}

// subWords: r = a - b; it returns the borrow. r may be a or b.
inline Word subWords(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, int words) {
    Word borrow = 0;
    for (int i = 0; i < words; ++i) {
        const DoubleWord difference = static_cast<DoubleWord>(wordAt(a, i)) - wordAt(b, i) - borrow;
        setWordAt(r, i, lowWord(difference));
        borrow = highWord(difference) & 1;
    }
    return borrow;
}
inline Word addWords(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, int words) {
    Word carry = 0;
    for (int i = 0; i < words; ++i) {
        const DoubleWord sum = static_cast<DoubleWord>(wordAt(a, i)) + wordAt(b, i) + carry;
        setWordAt(r, i, lowWord(sum));
        carry = highWord(sum);
    }
    return carry;
}

// The top two words of a divisor whose top bit is set, and the reciprocal by which a quotient word is found without a
// division (N. Moeller and T. Granlund, Improved division by invariant integers, 2011, algorithms 4 to 6).
class TopWords {
  public:
    // second is 0 for a divisor of one word.
    TopWords(Word top, Word second);

    // quotient divides (u2, u1, u0), of which (u2, u1) is below the two words, by them.
    [[nodiscard]] Word quotient(Word u2, Word u1, Word u0) const;

  private:
    Word top_;
    Word second_;
    Word reciprocal_;
};

inline TopWords::TopWords(Word top, Word second) : top_(top), second_(second) {
    const DoubleWord ones = ~static_cast<DoubleWord>(0);
    Word v = lowWord((ones - (static_cast<DoubleWord>(top) << kWordBits)) / top);
    Word p = top * v + second;
    if (p < second) {
        --v;
        if (p >= top) {
            --v;
            p -= top;
        }
        p -= top;
    }
    const DoubleWord t = static_cast<DoubleWord>(v) * second;
    p += highWord(t);
    if (p < highWord(t)) {
        --v;
        if (p > top || (p == top && lowWord(t) >= second))
            --v;
    }
    reciprocal_ = v;
}

inline Word TopWords::quotient(Word u2, Word u1, Word u0) const {
    const DoubleWord divisor = static_cast<DoubleWord>(top_) << kWordBits | second_;
    const DoubleWord q = static_cast<DoubleWord>(reciprocal_) * u2 + (static_cast<DoubleWord>(u2) << kWordBits | u1);
    Word digit = highWord(q);
    DoubleWord rest = static_cast<DoubleWord>(u1 - digit * top_) << kWordBits | u0;
    rest -= static_cast<DoubleWord>(second_) * digit + divisor;
    ++digit;
    if (highWord(rest) >= lowWord(q)) {
        --digit;
        rest += divisor;
    }
    if (rest >= divisor)
        ++digit;
    return digit;
}

// WordForm makes a form out of Rows, which has, with counts of words:
//
//     multiply(r, a, aWords, b, bWords)          r = a b
//     square(r, a, words)                        r = a a
//     reduce(t, n, words, rows, nPrime)          `rows` rows of Montgomery's reduction on t of words + rows words; it
//                                                returns the overflow
//     subtractRow(r, a, words, w)                r -= a w; it returns what is to be taken from the word above
//     subtract(r, a, b, words)                   r = a - b; it returns the borrow
template <class Rows>
struct WordForm {
    static void multiply(std::uint32_t* r, const std::uint32_t* a, int aLimbs, const std::uint32_t* b, int bLimbs) {
        if (((aLimbs | bLimbs) & 1) == 0) {
            Rows::multiply(r, a, aLimbs / 2, b, bLimbs / 2);
            return;
        }
        std::uint32_t evenA[kDoubleLimbs];
        std::uint32_t evenB[kDoubleLimbs];
        std::uint32_t product[kDoubleLimbs + 2];
        Rows::multiply(product, even(evenA, a, aLimbs), (aLimbs + 1) / 2, even(evenB, b, bLimbs), (bLimbs + 1) / 2);
        copyLimbs(r, product, aLimbs + bLimbs);
    }

    static void square(std::uint32_t* r, const std::uint32_t* a, int limbs) {
        if (limbs % 2 == 0) {
            Rows::square(r, a, limbs / 2);
            return;
        }
        std::uint32_t evenA[kFullLimbs];
        std::uint32_t product[kDoubleLimbs];
        Rows::square(product, even(evenA, a, limbs), (limbs + 1) / 2);
        copyLimbs(r, product, 2 * limbs);
    }

    // An odd limb is reduced first, which leaves an even count of rows over an n with a zero limb on top.
    static void reduce(std::uint32_t* t, const std::uint32_t* n, int limbs, std::uint32_t nPrime) {
        if (limbs % 2 == 0) {
            *fromWord(t, limbs) = low(Rows::reduce(t, n, limbs / 2, limbs / 2, wide(n, nPrime)));
            return;
        }
        reduceLimb(t, n, limbs, nPrime);
        if (limbs == 1)
            return;
        std::uint32_t evenN[kFullLimbs];
        even(evenN, n, limbs);
        Rows::reduce(t + 1, evenN, (limbs + 1) / 2, (limbs - 1) / 2, wide(evenN, nPrime));
    }

    static void divide(std::uint32_t* q, std::uint32_t* a, int aLimbs, const std::uint32_t* d, int dLimbs) {
        // The divisor moves up until the top bit of its top word is set, and the dividend with it.
        const int dWords = (dLimbs + 1) / 2;
        const int shift = leadingZeros(d[dLimbs - 1]) + (dLimbs % 2 != 0 ? kLimbBits : 0);
        const int aWords = (aLimbs + 1) / 2 + 1;
        std::uint32_t divisor[kDoubleLimbs];
        std::uint32_t rest[kDoubleLimbs + 4];
        shiftUp(divisor, d, dLimbs, dWords, shift);
        shiftUp(rest, a, aLimbs, aWords, shift);
        const TopWords top(wordAt(divisor, dWords - 1), dWords > 1 ? wordAt(divisor, dWords - 2) : 0);
        for (int i = aWords - dWords - 1; i >= 0; --i) {
            const Word digit = quotientWord(fromWord(rest, i), divisor, dWords, top);
            if (q != nullptr)
                storeQuotient(q, aLimbs - dLimbs + 1, i, digit);
        }
        shiftDown(a, rest, dLimbs, shift);
        clearLimbs(a + dLimbs, aLimbs - dLimbs);
    }

    static void montMultiply(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, const std::uint32_t* n,
                             int limbs, std::uint64_t nPrime) {
        std::uint32_t t[2 * kFullLimbs];
        Rows::multiply(t, a, limbs / 2, b, limbs / 2);
        finish(r, t, n, limbs / 2, nPrime);
    }

    static void montSquare(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* n, int limbs,
                           std::uint64_t nPrime) {
        std::uint32_t t[2 * kFullLimbs];
        Rows::square(t, a, limbs / 2);
        finish(r, t, n, limbs / 2, nPrime);
    }

  private:
    // even: a itself, or a copy with a zero limb above if its count is odd.
    static const std::uint32_t* even(std::uint32_t* copy, const std::uint32_t* a, int limbs) {
        if (limbs % 2 == 0)
            return a;
        copyLimbs(copy, a, limbs);
        copy[limbs] = 0;
        return copy;
    }

    // wide: -1/n mod 2^64 by Newton's step, which doubles the bits that are right.
    static Word wide(const std::uint32_t* n, std::uint32_t nPrime) { return nPrime * (2 + wordAt(n, 0) * nPrime); }

    // reduceLimb: one row of a limb, with its carry through t, which has 2 limbs + 1.
    static void reduceLimb(std::uint32_t* t, const std::uint32_t* n, int limbs, std::uint32_t nPrime) {
        const std::uint32_t u = t[0] * nPrime;
        std::uint64_t carry = 0;
        for (int i = 0; i < limbs; ++i) {
            carry += static_cast<std::uint64_t>(n[i]) * u + t[i];
            t[i] = low(carry);
            carry = high(carry);
        }
        for (int i = limbs; carry != 0; ++i) {
            carry += t[i];
            t[i] = low(carry);
            carry = high(carry);
        }
    }

    // finish: r = the reduced t, less n if it is not below n.
    static void finish(std::uint32_t* r, std::uint32_t* t, const std::uint32_t* n, int words, Word nPrime) {
        const Word overflow = Rows::reduce(t, n, words, words, nPrime);
        const std::uint32_t* const sum = fromWord(t, words);
        const Word borrow = Rows::subtract(r, sum, n, words);
        choose(borrow > overflow, r, sum, words);
    }

    // choose: r = a if so, else r stays. Which it is cannot be foretold, so there is no branch.
    static void choose(bool isChosen, std::uint32_t* r, const std::uint32_t* a, int words) {
        const Word mask = 0 - static_cast<Word>(isChosen);
        for (int i = 0; i < words; ++i)
            setWordAt(r, i, (apart(wordAt(r, i)) & ~mask) | (apart(wordAt(a, i)) & mask));
    }

    // quotientWord divides the words of `rest` from 0 to dWords, of which the upper are below the divisor.
    static Word quotientWord(std::uint32_t* rest, const std::uint32_t* divisor, int dWords, const TopWords& top) {
        const Word h = wordAt(rest, dWords);
        const Word next = wordAt(rest, dWords - 1);
        const Word second = dWords > 1 ? wordAt(divisor, dWords - 2) : 0;
        Word digit = ~static_cast<Word>(0);
        if (h != wordAt(divisor, dWords - 1) || next != second || dWords == 1)
            digit = top.quotient(h, next, dWords > 1 ? wordAt(rest, dWords - 2) : 0);
        Word left = h - Rows::subtractRow(rest, divisor, dWords, digit);
        while (left != 0) {  // the digit was too large, by one
            left += addWords(rest, rest, divisor, dWords);
            --digit;
        }
        setWordAt(rest, dWords, 0);
        return digit;
    }

    static void storeQuotient(std::uint32_t* q, int limbs, int i, Word digit) {
        if (2 * i + 1 < limbs)
            setWordAt(q, i, digit);
        else if (2 * i < limbs)
            *fromWord(q, i) = low(digit);
    }

    // shiftUp: r, of `words` words, is a moved up by shift, which is below 64.
    static void shiftUp(std::uint32_t* r, const std::uint32_t* a, int limbs, int words, int shift) {
        copyLimbs(r, a, limbs);
        clearLimbs(r + limbs, 2 * words - limbs);
        if (shift == 0)
            return;
        for (int i = words - 1; i > 0; --i)
            setWordAt(r, i, wordAt(r, i) << shift | wordAt(r, i - 1) >> (kWordBits - shift));
        setWordAt(r, 0, wordAt(r, 0) << shift);
    }

    // shiftDown: r, of `limbs` limbs, is a moved down by shift, which is below 64.
    static void shiftDown(std::uint32_t* r, std::uint32_t* a, int limbs, int shift) {
        const int words = (limbs + 1) / 2;
        if (shift != 0) {
            for (int i = 0; i < words; ++i) {
                const Word above = i + 1 < words ? wordAt(a, i + 1) << (kWordBits - shift) : 0;
                setWordAt(a, i, wordAt(a, i) >> shift | above);
            }
        }
        copyLimbs(r, a, limbs);
    }
};

}  // namespace mpi

#endif

#endif
