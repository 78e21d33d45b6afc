// The form `adx`: 64-bit words, rows of up to eight products by mulx, whose lower and upper words are summed on two
// carry chains at once (adcx on CF, adox on OF).
//
// Up to eight words of one factor form a column. A row multiplies it by one word of the other factor and adds that to a
// window of as many words, which stays in registers; the lowest word is then done, leaves the window and is added to
// memory, and the window moves up by one.
#include "crypto/mpi_words.h"

#if defined VT_MPI_HAS_WORDS && defined __x86_64__

#include <cpuid.h>

namespace mpi {
namespace {

constexpr int kMostColumns = 8;

// The words above the lowest `Columns` of a sum, and the carry that has left for the word of memory next in turn.
template <int Columns>
struct Window {
    Word w[Columns + 1] = {};
    Word carry = 0;
};

// VT_STEP adds the product of word i of the column and the word in rdx to words i and i + 1 of the window.
#define VT_STEP(i, next)       \
    "mulx 8*" #i               \
    "(%[a]), %[lo], %[hi]\n\t" \
    "adcx %[lo], %[w" #i       \
    "]\n\t"                    \
    "adox %[hi], %[w" #next "]\n\t"
// VT_ROW: the steps of a row over `count` words. xor clears both carries and the word that joins the window; the last
// carry of the lower words goes there too.
#define VT_ROW(count, steps, ...)                                                     \
    Word lo;                                                                          \
    Word hi;                                                                          \
    __asm__("xor %k[w" #count "], %k[w" #count "]\n\t" steps                          \
            "mov $0, %k[lo]\n\t"                                                      \
            "adcx %[lo], %[w" #count "]\n\t"                                          \
            : __VA_ARGS__, [w##count] "=&r"(w[count]), [lo] "=&r"(lo), [hi] "=&r"(hi) \
            : [a] "r"(a), "d"(factor)                                                 \
            : "cc", "memory")
#define VT_IN(i) [w##i] "+&r"(w[i])

// row: w += column a times factor; w has one word more than the column, whose old value does not count.
template <int Columns>
void row(Word* w, const std::uint32_t* a, Word factor);

#define VT_DEFINE_ROW(count, steps, ...)                                                           \
    template <>                                                                                    \
    [[gnu::always_inline]] inline void row<count>(Word * w, const std::uint32_t* a, Word factor) { \
        VT_ROW(count, steps, __VA_ARGS__);                                                         \
    }
#define VT_STEPS_1 VT_STEP(0, 1)
#define VT_STEPS_2 VT_STEPS_1 VT_STEP(1, 2)
#define VT_STEPS_3 VT_STEPS_2 VT_STEP(2, 3)
#define VT_STEPS_4 VT_STEPS_3 VT_STEP(3, 4)
#define VT_STEPS_5 VT_STEPS_4 VT_STEP(4, 5)
#define VT_STEPS_6 VT_STEPS_5 VT_STEP(5, 6)
#define VT_STEPS_7 VT_STEPS_6 VT_STEP(6, 7)
#define VT_STEPS_8 VT_STEPS_7 VT_STEP(7, 8)
VT_DEFINE_ROW(1, VT_STEPS_1, VT_IN(0))
VT_DEFINE_ROW(2, VT_STEPS_2, VT_IN(0), VT_IN(1))
VT_DEFINE_ROW(3, VT_STEPS_3, VT_IN(0), VT_IN(1), VT_IN(2))
VT_DEFINE_ROW(4, VT_STEPS_4, VT_IN(0), VT_IN(1), VT_IN(2), VT_IN(3))
VT_DEFINE_ROW(5, VT_STEPS_5, VT_IN(0), VT_IN(1), VT_IN(2), VT_IN(3), VT_IN(4))
VT_DEFINE_ROW(6, VT_STEPS_6, VT_IN(0), VT_IN(1), VT_IN(2), VT_IN(3), VT_IN(4), VT_IN(5))
VT_DEFINE_ROW(7, VT_STEPS_7, VT_IN(0), VT_IN(1), VT_IN(2), VT_IN(3), VT_IN(4), VT_IN(5), VT_IN(6))
VT_DEFINE_ROW(8, VT_STEPS_8, VT_IN(0), VT_IN(1), VT_IN(2), VT_IN(3), VT_IN(4), VT_IN(5), VT_IN(6), VT_IN(7))

// withColumns calls visit with a Columns<n>: a count of words, 1 to 8, that the compiler knows.
template <int Count>
struct Columns {
    static constexpr int count = Count;
};
template <class Visit>
[[gnu::always_inline]] inline void withColumns(int count, Visit visit) {
    switch (count) {
        case 1:
            visit(Columns<1>());
            break;
        case 2:
            visit(Columns<2>());
            break;
        case 3:
            visit(Columns<3>());
            break;
        case 4:
            visit(Columns<4>());
            break;
        case 5:
            visit(Columns<5>());
            break;
        case 6:
            visit(Columns<6>());
            break;
        case 7:
            visit(Columns<7>());
            break;
        default:
            visit(Columns<8>());
            break;
    }
}

template <int Count>
[[gnu::always_inline]] inline void moveUp(Window<Count>& window) {
    for (int i = 0; i < Count; ++i)
        window.w[i] = window.w[i + 1];
}

// emit adds the lowest word of the window and the carry to word i of t.
template <int Count>
[[gnu::always_inline]] inline void emit(Window<Count>& window, std::uint32_t* t, int i) {
    const DoubleWord sum = static_cast<DoubleWord>(wordAt(t, i)) + window.w[0] + window.carry;
    setWordAt(t, i, lowWord(sum));
    window.carry = highWord(sum);
}

// addRows: the column a times each word of b in turn, added to t.
template <int Count>
[[gnu::always_inline]] inline void addRows(Window<Count>& window, std::uint32_t* t, const std::uint32_t* a,
                                           const std::uint32_t* b, int rows) {
    for (int i = 0; i < rows; ++i) {
        row<Count>(window.w, a, wordAt(b, i));
        emit(window, t, i);
        moveUp(window);
    }
}

// storeRows is addRows for a t that holds nothing yet.
template <int Count>
[[gnu::always_inline]] inline void storeRows(Window<Count>& window, std::uint32_t* t, const std::uint32_t* a,
                                             const std::uint32_t* b, int rows) {
    for (int i = 0; i < rows; ++i) {
        row<Count>(window.w, a, wordAt(b, i));
        setWordAt(t, i, window.w[0]);
        moveUp(window);
    }
}

// storeTop puts what is left in the window into the words of t, which hold nothing yet.
template <int Count>
[[gnu::always_inline]] inline void storeTop(const Window<Count>& window, std::uint32_t* t) {
    Word carry = window.carry;
    for (int i = 0; i < Count; ++i) {
        const DoubleWord sum = static_cast<DoubleWord>(window.w[i]) + carry;
        setWordAt(t, i, lowWord(sum));
        carry = highWord(sum);
    }
}

// triangle: the products of each two words of a column of Count words, into words 1 to Count - 1 of t and the window,
// which then stands at word Count. Add: whether t holds something.
template <int Count, bool Add, int Row>
[[gnu::always_inline]] inline void triangle(Window<Count>& window, std::uint32_t* t, const std::uint32_t* a) {
    if constexpr (Row < Count) {
        row<Row>(window.w, a, wordAt(a, Row));
        if constexpr (Add)
            emit(window, t, Row);
        else
            setWordAt(t, Row, window.w[0]);
        for (int i = 0; i < Row; ++i)
            window.w[i] = window.w[i + 1];
        window.w[Row] = 0;
        triangle<Count, Add, Row + 1>(window, t, a);
    }
}

// doubleAndAddSquares: r = 2 r + the squares of the words of a, two words of r each.
void doubleAndAddSquares(std::uint32_t* r, const std::uint32_t* a, long words) {
    Word lower;
    Word upper;
    Word lo;
    Word hi;
    __asm__ volatile(
        "xor %k[lo], %k[lo]\n"
        "1:\n\t"
        "mov (%[a]), %%rdx\n\t"
        "mulx %%rdx, %[lo], %[hi]\n\t"
        "mov (%[r]), %[lower]\n\t"
        "mov 8(%[r]), %[upper]\n\t"
        "adcx %[lower], %[lower]\n\t"
        "adox %[lo], %[lower]\n\t"
        "adcx %[upper], %[upper]\n\t"
        "adox %[hi], %[upper]\n\t"
        "mov %[lower], (%[r])\n\t"
        "mov %[upper], 8(%[r])\n\t"
        "lea 8(%[a]), %[a]\n\t"
        "lea 16(%[r]), %[r]\n\t"
        "lea -1(%%rcx), %%rcx\n\t"
        "jrcxz 2f\n\t"
        "jmp 1b\n"
        "2:"
        : [r] "+&r"(r), [a] "+&r"(a),
          "+&c"(words), [lower] "=&r"(lower), [upper] "=&r"(upper), [lo] "=&r"(lo), [hi] "=&r"(hi)
        :
        : "rdx", "cc", "memory");
}

struct AdxRows {
    static void multiply(std::uint32_t* r, const std::uint32_t* a, int aWords, const std::uint32_t* b, int bWords) {
        for (int at = 0; at < aWords; at += kMostColumns) {
            withColumns(aWords - at, [&](auto columns) {
                Window<columns.count> window;
                if (at == 0)
                    storeRows(window, r, a, b, bWords);
                else
                    addRows(window, r + 2 * at, a + 2 * at, b, bWords);
                storeTop(window, r + 2 * (at + bWords));
            });
        }
    }

    static void square(std::uint32_t* r, const std::uint32_t* a, int words) {
        setWordAt(r, 0, 0);
        for (int at = 0; at < words; at += kMostColumns) {
            withColumns(words - at, [&](auto columns) {
                constexpr int kCount = columns.count;
                const std::uint32_t* const column = a + 2 * at;
                std::uint32_t* const t = r + 4 * at;
                const int rows = words - at - kCount;
                Window<kCount> window;
                if (at == 0) {
                    triangle<kCount, false, 1>(window, t, column);
                    storeRows(window, t + 2 * kCount, column, column + 2 * kCount, rows);
                } else {
                    triangle<kCount, true, 1>(window, t, column);
                    addRows(window, t + 2 * kCount, column, column + 2 * kCount, rows);
                }
                storeTop(window, t + 2 * (kCount + rows));
            });
        }
        doubleAndAddSquares(r, a, words);
    }

    // Up to eight quotient words are found over the lowest words of n; then they are the column, and the other words of
    // n the rows.
    static Word reduce(std::uint32_t* t, const std::uint32_t* n, int words, int rows, Word nPrime) {
        Word overflow = 0;
        for (int at = 0; at < rows; at += kMostColumns) {
            withColumns(rows - at, [&](auto columns) {
                constexpr int kCount = columns.count;
                std::uint32_t* const low = t + 2 * at;
                std::uint32_t quotient[2 * kCount];
                Window<kCount> window;
                for (int i = 0; i < kCount; ++i)
                    window.w[i] = wordAt(low, i);
                for (int i = 0; i < kCount; ++i) {
                    const Word u = window.w[0] * nPrime;
                    setWordAt(quotient, i, u);
                    row<kCount>(window.w, n, u);
                    moveUp(window);
                }
                addRows(window, low + 2 * kCount, quotient, n + 2 * kCount, words - kCount);
                overflow = addTop(window, low + 2 * words, overflow);
            });
        }
        return overflow;
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

  private:
    template <int Count>
    [[gnu::always_inline]] static inline Word addTop(Window<Count>& window, std::uint32_t* t, Word overflow) {
        window.carry += overflow;
        Word carry = window.carry;
        for (int i = 0; i < Count; ++i) {
            const DoubleWord sum = static_cast<DoubleWord>(wordAt(t, i)) + window.w[i] + carry;
            setWordAt(t, i, lowWord(sum));
            carry = highWord(sum);
        }
        return carry;
    }
};

bool usable() {
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    return __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0 && (ebx & bit_BMI2) != 0 && (ebx & bit_ADX) != 0;
}

using Form = WordForm<AdxRows>;
constexpr Kernels kAdx = {"adx",        usable,       Form::multiply,     Form::square,
                          Form::reduce, Form::divide, Form::montMultiply, Form::montSquare};

}  // namespace

const Kernels* adxKernels() {
    return &kAdx;
}

}  // namespace mpi

#else

const mpi::Kernels* mpi::adxKernels() {
    return nullptr;
}

#endif
