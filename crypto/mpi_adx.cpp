// The form `adx`: 64-bit words, rows of up to eight products by mulx, whose lower and upper words are summed on two
// carry chains at once (adcx on CF, adox on OF).
//
// Up to eight words of one factor form a column. A row multiplies it by one word of the other factor and adds that to a
// window of as many words, which stays in registers. The lowest word is then done and goes to memory, and the window
// moves up by one. Where memory holds a sum already, its word is added in the same row: a window of C words, a word of
// memory and a row are (2^64)^(C+1) - 1 together at most, so there is never a carry left over.
#include "crypto/mpi_words.h"

#if defined VT_MPI_HAS_WORDS && defined __x86_64__

#include <cpuid.h>
#include <immintrin.h>

namespace mpi {
namespace {

constexpr int kMostColumns = 8;

// NOLINTBEGIN(readability-non-const-parameter): the linter does not see what asm writes.

// The asm texts of a row over `count` words w0, w1, ... of the window. The lowest word, once done, becomes the one that
// joins at the top, so no further register is needed.
#define VT_STEP(i, next)       \
    "mulx 8*" #i               \
    "(%[a]), %[lo], %[hi]\n\t" \
    "adcx %[lo], %[w" #i       \
    "]\n\t"                    \
    "adox %[hi], %[w" #next "]\n\t"
#define VT_FIRST(keep, next)        \
    "mulx (%[a]), %[lo], %[hi]\n\t" \
    "adcx %[lo], %[w0]\n\t" keep    \
    "mov $0, %k[w0]\n\t"            \
    "adox %[hi], %[w" #next "]\n\t"
#define VT_LAST          \
    "mov $0, %k[lo]\n\t" \
    "adcx %[lo], %[w0]\n\t"
#define VT_MID_2
#define VT_MID_3 VT_STEP(1, 2)
#define VT_MID_4 VT_MID_3 VT_STEP(2, 3)
#define VT_MID_5 VT_MID_4 VT_STEP(3, 4)
#define VT_MID_6 VT_MID_5 VT_STEP(4, 5)
#define VT_MID_7 VT_MID_6 VT_STEP(5, 6)
#define VT_MID_8 VT_MID_7 VT_STEP(6, 7)
#define VT_BODY_1(keep) VT_FIRST(keep, 0) VT_LAST
#define VT_BODY_2(keep) VT_FIRST(keep, 1) VT_MID_2 VT_STEP(1, 0) VT_LAST
#define VT_BODY_3(keep) VT_FIRST(keep, 1) VT_MID_3 VT_STEP(2, 0) VT_LAST
#define VT_BODY_4(keep) VT_FIRST(keep, 1) VT_MID_4 VT_STEP(3, 0) VT_LAST
#define VT_BODY_5(keep) VT_FIRST(keep, 1) VT_MID_5 VT_STEP(4, 0) VT_LAST
#define VT_BODY_6(keep) VT_FIRST(keep, 1) VT_MID_6 VT_STEP(5, 0) VT_LAST
#define VT_BODY_7(keep) VT_FIRST(keep, 1) VT_MID_7 VT_STEP(6, 0) VT_LAST
#define VT_BODY_8(keep) VT_FIRST(keep, 1) VT_MID_8 VT_STEP(7, 0) VT_LAST

// The window moves up: these cost no execution, as the processor only renames.
#define VT_MOVE(from, to) "mov %[w" #from "], %[w" #to "]\n\t"
#define VT_MOVES_1
#define VT_MOVES_2 VT_MOVE(1, 0)
#define VT_MOVES_3 VT_MOVES_2 VT_MOVE(2, 1)
#define VT_MOVES_4 VT_MOVES_3 VT_MOVE(3, 2)
#define VT_MOVES_5 VT_MOVES_4 VT_MOVE(4, 3)
#define VT_MOVES_6 VT_MOVES_5 VT_MOVE(5, 4)
#define VT_MOVES_7 VT_MOVES_6 VT_MOVE(6, 5)
#define VT_MOVES_8 VT_MOVES_7 VT_MOVE(7, 6)
#define VT_UP(count, top) "mov %[w0], %[hi]\n\t" VT_MOVES_##count "mov %[hi], %[w" #top "]\n\t"

#define VT_WINDOW_1 [w0] "+&r"(w[0])
#define VT_WINDOW_2 VT_WINDOW_1, [w1] "+&r"(w[1])
#define VT_WINDOW_3 VT_WINDOW_2, [w2] "+&r"(w[2])
#define VT_WINDOW_4 VT_WINDOW_3, [w3] "+&r"(w[3])
#define VT_WINDOW_5 VT_WINDOW_4, [w4] "+&r"(w[4])
#define VT_WINDOW_6 VT_WINDOW_5, [w5] "+&r"(w[5])
#define VT_WINDOW_7 VT_WINDOW_6, [w6] "+&r"(w[6])
#define VT_WINDOW_8 VT_WINDOW_7, [w7] "+&r"(w[7])

// Rows for a column a of Count words and its window w:
//
//     store     the column times each of the words at b, the lowest words to t
//     add       the same, added to the words of t
//     reduce    rows of Montgomery's reduction: the factor of each is the lowest word of the window times nPrime, which
//               makes that word zero; the factors go to t
//
// `rows` is at least 1.
template <int Count>
struct Rows;

// The address checker keeps locals where only one register more than there are can reach them.
#define VT_BARE [[gnu::no_sanitize_address]]

#define VT_LOOP(count, top, factor, given, keep, next, ...)                                                      \
    Word lo;                                                                                                     \
    Word hi;                                                                                                     \
    __asm__ volatile("1:\n\t" factor "xor %k[lo], %k[lo]\n\t" given VT_BODY_##count(keep) VT_UP(count, top) next \
                     "jne 1b"                                                                                    \
                     : VT_WINDOW_##count, [lo] "=&r"(lo), [hi] "=&r"(hi), [t] "+&r"(t), __VA_ARGS__              \
                     : "rdx", "cc", "memory")

#define VT_ROWS(count, top)                                                                                            \
    template <>                                                                                                        \
    struct Rows<count> {                                                                                               \
        VT_BARE static void store(Word* w, std::uint32_t* t, const std::uint32_t* a, const std::uint32_t* b,           \
                                  int rows) {                                                                          \
            const std::uint32_t* const end = fromWord(b, rows);                                                        \
            VT_LOOP(count, top, "mov (%[b]), %%rdx\n\t", "", "mov %[w0], (%[t])\n\t",                                  \
                    "lea 8(%[t]), %[t]\n\tlea 8(%[b]), %[b]\n\tcmp %[end], %[b]\n\t", [b] "+&r"(b)                     \
                    : [a] "r"(a), [end] "m"(end));                                                                     \
        }                                                                                                              \
        VT_BARE static void add(Word* w, std::uint32_t* t, const std::uint32_t* a, const std::uint32_t* b, int rows) { \
            const std::uint32_t* const end = fromWord(b, rows);                                                        \
            VT_LOOP(count, top, "mov (%[b]), %%rdx\n\t", "adox (%[t]), %[w0]\n\t", "mov %[w0], (%[t])\n\t",            \
                    "lea 8(%[t]), %[t]\n\tlea 8(%[b]), %[b]\n\tcmp %[end], %[b]\n\t", [b] "+&r"(b)                     \
                    : [a] "r"(a), [end] "m"(end));                                                                     \
        }                                                                                                              \
        VT_BARE static void reduce(Word* w, std::uint32_t* t, const std::uint32_t* a, Word nPrime, int rows) {         \
            const std::uint32_t* const end = fromWord(t, rows);                                                        \
            VT_LOOP(count, top, "mov %[w0], %%rdx\n\timul %[nPrime], %%rdx\n\tmov %%rdx, (%[t])\n\t", "", "",          \
                    "lea 8(%[t]), %[t]\n\tcmp %[end], %[t]\n\t", [a] "+&r"(a)                                          \
                    : [nPrime] "m"(nPrime), [end] "m"(end));                                                           \
        }                                                                                                              \
    }
VT_ROWS(1, 0);
VT_ROWS(2, 1);
VT_ROWS(3, 2);
VT_ROWS(4, 3);
VT_ROWS(5, 4);
VT_ROWS(6, 5);
VT_ROWS(7, 6);
VT_ROWS(8, 7);

template <int Count>
using Window = Word[Count];

// withColumns calls visit with a Columns<n>: a count of words, 1 to 8, that the compiler knows.
template <int Count>
struct Columns {
    static constexpr int count = Count;
};
template <class Visit>
[[gnu::always_inline]] inline void withColumns(int count, Visit visit) {
    switch (count) {
        case 1:
            return visit(Columns<1>());
        case 2:
            return visit(Columns<2>());
        case 3:
            return visit(Columns<3>());
        case 4:
            return visit(Columns<4>());
        case 5:
            return visit(Columns<5>());
        case 6:
            return visit(Columns<6>());
        case 7:
            return visit(Columns<7>());
        default:
            return visit(Columns<8>());
    }
}

// Words go from and to memory one by one, as the rows take and leave them: the processor has the ones just stored at
// hand only in the size that they were stored in.
template <int Count>
void load(Window<Count>& window, const std::uint32_t* t) {
    for (int i = 0; i < Count; ++i)
        window[i] = apart(wordAt(t, i));
}
template <int Count>
void store(std::uint32_t* t, const Window<Count>& window) {
    for (int i = 0; i < Count; ++i)
        setWordAt(t, i, apart(window[i]));
}

// triangle: the products of each two words of the column a, of Count words, are added to words 1 to Count - 1 of t and
// to the window, which then stands at word Count.
template <int Count, int Row = 1>
[[gnu::always_inline]] inline void triangle(Window<Count>& window, std::uint32_t* t, const std::uint32_t* a) {
    if constexpr (Row < Count) {
        Rows<Row>::add(window, fromWord(t, Row), a, fromWord(a, Row), 1);
        window[Row] = 0;
        triangle<Count, Row + 1>(window, t, a);
    }
}

// The same for a full column in one piece: word p of the sum is register p mod 8, and each row brings in two words
// more.
#define VT_PAIR(i, lower, upper) \
    "mulx 8*" #i                 \
    "(%[a]), %[lo], %[hi]\n\t"   \
    "adcx %[lo], %[w" #lower     \
    "]\n\t"                      \
    "adox %[hi], %[w" #upper "]\n\t"
#define VT_TRIANGLE_ROW(row, given, done, first, second, pairs)                                                     \
    "mov 8*" #row "(%[a]), %%rdx\n\txor %k[w" #first "], %k[w" #first                                               \
    "]\n\t"                                                                                                         \
    "xor %k[w" #second "], %k[w" #second "]\n\t" given(row, done) pairs "mov $0, %k[lo]\n\tadcx %[lo], %[w" #second \
                                                                        "]\n\tmov %[w" #done "], 8*" #row "(%[t])\n\t"
#define VT_GIVEN_NONE(row, done)
#define VT_GIVEN(row, done) "adox 8*" #row "(%[t]), %[w" #done "]\n\t"
#define VT_TRIANGLE(given)                                                                                  \
    VT_TRIANGLE_ROW(1, given, 1, 1, 2, VT_PAIR(0, 1, 2))                                                    \
    VT_TRIANGLE_ROW(2, given, 2, 3, 4, VT_PAIR(0, 2, 3) VT_PAIR(1, 3, 4))                                   \
    VT_TRIANGLE_ROW(3, given, 3, 5, 6, VT_PAIR(0, 3, 4) VT_PAIR(1, 4, 5) VT_PAIR(2, 5, 6))                  \
    VT_TRIANGLE_ROW(4, given, 4, 7, 0, VT_PAIR(0, 4, 5) VT_PAIR(1, 5, 6) VT_PAIR(2, 6, 7) VT_PAIR(3, 7, 0)) \
    VT_TRIANGLE_ROW(5, given, 5, 1, 2,                                                                      \
                    VT_PAIR(0, 5, 6) VT_PAIR(1, 6, 7) VT_PAIR(2, 7, 0) VT_PAIR(3, 0, 1) VT_PAIR(4, 1, 2))   \
    VT_TRIANGLE_ROW(6, given, 6, 3, 4,                                                                      \
                    VT_PAIR(0, 6, 7) VT_PAIR(1, 7, 0) VT_PAIR(2, 0, 1) VT_PAIR(3, 1, 2) VT_PAIR(4, 2, 3)    \
                        VT_PAIR(5, 3, 4))                                                                   \
    VT_TRIANGLE_ROW(7, given, 7, 5, 6,                                                                      \
                    VT_PAIR(0, 7, 0) VT_PAIR(1, 0, 1) VT_PAIR(2, 1, 2) VT_PAIR(3, 2, 3) VT_PAIR(4, 3, 4)    \
                        VT_PAIR(5, 4, 5) VT_PAIR(6, 5, 6))                                                  \
    "xor %k[w7], %k[w7]"
#define VT_FULL_TRIANGLE(given)                                    \
    Word lo;                                                       \
    Word hi;                                                       \
    __asm__ volatile(VT_TRIANGLE(given)                            \
                     : VT_WINDOW_8, [lo] "=&r"(lo), [hi] "=&r"(hi) \
                     : [a] "r"(a), [t] "r"(t)                      \
                     : "rdx", "cc", "memory")
// storeTriangle is for a t that holds nothing yet.
VT_BARE void storeTriangle(Word* w, std::uint32_t* t, const std::uint32_t* a) {
    VT_FULL_TRIANGLE(VT_GIVEN_NONE);
}
VT_BARE void addTriangle(Word* w, std::uint32_t* t, const std::uint32_t* a) {
    VT_FULL_TRIANGLE(VT_GIVEN);
}

// doubleAndAddSquares: r = 2 r + the squares of the words of a, two words of r each.
#define VT_DOUBLE(at)              \
    "mov 8*" #at                   \
    "(%[a]), %%rdx\n\t"            \
    "mulx %%rdx, %[lo], %[hi]\n\t" \
    "mov 16*" #at                  \
    "(%[r]), %[lower]\n\t"         \
    "mov 16*" #at                  \
    "+8(%[r]), %[upper]\n\t"       \
    "adcx %[lower], %[lower]\n\t"  \
    "adox %[lo], %[lower]\n\t"     \
    "adcx %[upper], %[upper]\n\t"  \
    "adox %[hi], %[upper]\n\t"     \
    "mov %[lower], 16*" #at        \
    "(%[r])\n\t"                   \
    "mov %[upper], 16*" #at "+8(%[r])\n\t"
// Both carries live from one turn to the next: only lea and jrcxz may count.
#define VT_DOUBLE_LOOP(body, words)                                \
    "xor %k[lo], %k[lo]\n"                                         \
    "1:\n\t" body "lea 8*" #words "(%[a]), %[a]\n\tlea 16*" #words \
    "(%[r]), %[r]\n\tlea -1(%%rcx), %%rcx\n\t"                     \
    "jrcxz 2f\n\tjmp 1b\n2:\n\t"
void doubleAndAddSquares(std::uint32_t* r, const std::uint32_t* a, std::ptrdiff_t words) {
    Word lower;
    Word upper;
    Word lo;
    Word hi;
    if (words % 4 == 0) {
        std::ptrdiff_t fours = words / 4;
        __asm__ volatile(VT_DOUBLE_LOOP(VT_DOUBLE(0) VT_DOUBLE(1) VT_DOUBLE(2) VT_DOUBLE(3), 4)
                         : [r] "+&r"(r), [a] "+&r"(a),
                           "+&c"(fours), [lower] "=&r"(lower), [upper] "=&r"(upper), [lo] "=&r"(lo), [hi] "=&r"(hi)
                         :
                         : "rdx", "cc", "memory");
        return;
    }
    __asm__ volatile(VT_DOUBLE_LOOP(VT_DOUBLE(0), 1)
                     : [r] "+&r"(r), [a] "+&r"(a),
                       "+&c"(words), [lower] "=&r"(lower), [upper] "=&r"(upper), [lo] "=&r"(lo), [hi] "=&r"(hi)
                     :
                     : "rdx", "cc", "memory");
}

// NOLINTEND(readability-non-const-parameter)

struct AdxRows {
    static void multiply(std::uint32_t* r, const std::uint32_t* a, int aWords, const std::uint32_t* b, int bWords) {
        for (int at = 0; at < aWords; at += kMostColumns) {
            withColumns(aWords - at, [&](auto columns) {
                constexpr int kCount = columns.count;
                Window<kCount> window = {};
                if (at == 0)
                    Rows<kCount>::store(window, r, a, b, bWords);
                else
                    Rows<kCount>::add(window, fromWord(r, at), fromWord(a, at), b, bWords);
                store<kCount>(fromWord(r, at + bWords), window);
            });
        }
    }

    static void square(std::uint32_t* r, const std::uint32_t* a, int words) {
        if (words < kMostColumns)
            clearLimbs(r, 2 * words);
        setWordAt(r, 0, 0);
        for (int at = 0; at < words; at += kMostColumns) {
            withColumns(words - at, [&](auto columns) {
                constexpr int kCount = columns.count;
                const std::uint32_t* const column = fromWord(a, at);
                std::uint32_t* const t = fromWord(r, 2 * at);
                const int rows = words - at - kCount;
                Window<kCount> window = {};
                if (kCount == kMostColumns && at == 0)
                    storeTriangle(window, t, column);
                else if (kCount == kMostColumns)
                    addTriangle(window, t, column);
                else
                    triangle<kCount>(window, t, column);
                if (rows > 0 && at == 0)
                    Rows<kCount>::store(window, fromWord(t, kCount), column, fromWord(column, kCount), rows);
                else if (rows > 0)
                    Rows<kCount>::add(window, fromWord(t, kCount), column, fromWord(column, kCount), rows);
                store<kCount>(fromWord(t, kCount + rows), window);
            });
        }
        doubleAndAddSquares(r, a, words);
    }

    // Up to eight quotient words are found over the lowest words of n; then they are the column, and the other words of
    // n the rows.
    static Word reduce(std::uint32_t* t, const std::uint32_t* n, int words, int rows, Word nPrime) {
        unsigned char overflow = 0;
        for (int at = 0; at < rows; at += kMostColumns) {
            withColumns(rows - at, [&](auto columns) {
                constexpr int kCount = columns.count;
                std::uint32_t* const low = fromWord(t, at);
                std::uint32_t quotient[2 * kCount];
                Window<kCount> window;
                load<kCount>(window, low);
                Rows<kCount>::reduce(window, quotient, n, nPrime, kCount);
                if (words > kCount)
                    Rows<kCount>::add(window, fromWord(low, kCount), quotient, fromWord(n, kCount), words - kCount);
                overflow = addTop<kCount>(fromWord(low, words), window, overflow);
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

    static Word subtract(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, int words) {
        unsigned char borrow = 0;
        int i = 0;
        for (; i + 4 <= words; i += 4) {
            borrow = subtractWord(borrow, r, a, b, i);
            borrow = subtractWord(borrow, r, a, b, i + 1);
            borrow = subtractWord(borrow, r, a, b, i + 2);
            borrow = subtractWord(borrow, r, a, b, i + 3);
        }
        for (; i < words; ++i)
            borrow = subtractWord(borrow, r, a, b, i);
        return borrow;
    }

  private:
    static unsigned char subtractWord(unsigned char borrow, std::uint32_t* r, const std::uint32_t* a,
                                      const std::uint32_t* b, int i) {
        Word difference;
        borrow = _subborrow_u64(borrow, wordAt(a, i), wordAt(b, i), &difference);
        setWordAt(r, i, difference);
        return borrow;
    }

    template <int Count>
    static unsigned char addTop(std::uint32_t* t, const Window<Count>& window, unsigned char overflow) {
        _Pragma("GCC unroll 8") for (int i = 0; i < Count; ++i) {
            Word sum;
            overflow = _addcarry_u64(overflow, wordAt(t, i), window[i], &sum);
            setWordAt(t, i, sum);
        }
        return overflow;
    }
};

bool usable() {
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    return __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0 && (ebx & bit_BMI2) != 0 && (ebx & bit_ADX) != 0;
}

// Four words, the size of the primes of a 512-bit key, in registers from the factors to the result: the sum's word p is
// register p. The rows of the reduction hand on what they carry beyond their top word in `carry`.
#define VT_FOUR_PAIR(i, lower, upper) \
    "mulx 8*" #i                      \
    "(%[a]), %[lo], %[hi]\n\t"        \
    "adcx %[lo], %[w" #lower          \
    "]\n\t"                           \
    "adox %[hi], %[w" #upper "]\n\t"
#define VT_FOUR_PAIRS(p0, p1, p2, p3, p4) \
    VT_FOUR_PAIR(0, p0, p1) VT_FOUR_PAIR(1, p1, p2) VT_FOUR_PAIR(2, p2, p3) VT_FOUR_PAIR(3, p3, p4)
#define VT_FOUR_PRODUCT(row, p0, p1, p2, p3, p4)                                    \
    "mov %[b], %%rdx\n\tmov 8*" #row "(%%rdx), %%rdx\n\txor %k[w" #p4 "], %k[w" #p4 \
    "]\n\t" VT_FOUR_PAIRS(p0, p1, p2, p3, p4) "mov $0, %k[lo]\n\tadcx %[lo], %[w" #p4 "]\n\t"
#define VT_FOUR_REDUCE(p0, p1, p2, p3, p4)                                                     \
    "mov %[w" #p0 "], %%rdx\n\timul %[nPrime], %%rdx\n\txor %k[lo], %k[lo]\n\t" VT_FOUR_PAIRS( \
        p0, p1, p2, p3, p4) "adcx %[carry], %[w" #p4                                           \
                            "]\n\tmov $0, %k[carry]\n\t"                                       \
                            "mov $0, %k[lo]\n\tadcx %[lo], %[carry]\n\tadox %[lo], %[carry]\n\t"
// NOLINTNEXTLINE(readability-non-const-parameter)
VT_BARE void multiplyFour(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, const std::uint32_t* n,
                          Word nPrime) {
    Word w[8];
    Word lo;
    Word hi;
    Word carry;
    __asm__ volatile(
        "xor %k[w0], %k[w0]\n\txor %k[w1], %k[w1]\n\txor %k[w2], %k[w2]\n\txor %k[w3], %k[w3]\n\t"
        VT_FOUR_PRODUCT(0, 0, 1, 2, 3, 4) VT_FOUR_PRODUCT(1, 1, 2, 3, 4, 5)
        VT_FOUR_PRODUCT(2, 2, 3, 4, 5, 6) VT_FOUR_PRODUCT(3, 3, 4, 5, 6, 7)
        "mov %[n], %[a]\n\tmov $0, %k[carry]\n\t"
        VT_FOUR_REDUCE(0, 1, 2, 3, 4) VT_FOUR_REDUCE(1, 2, 3, 4, 5)
        VT_FOUR_REDUCE(2, 3, 4, 5, 6) VT_FOUR_REDUCE(3, 4, 5, 6, 7)
        "mov %[w4], %[w0]\n\tmov %[w5], %[w1]\n\tmov %[w6], %[w2]\n\tmov %[w7], %[w3]\n\t"
        "sub (%[a]), %[w4]\n\tsbb 8(%[a]), %[w5]\n\tsbb 16(%[a]), %[w6]\n\tsbb 24(%[a]), %[w7]\n\t"
        "sbb $0, %[carry]\n\t"
        "cmovc %[w0], %[w4]\n\tcmovc %[w1], %[w5]\n\tcmovc %[w2], %[w6]\n\tcmovc %[w3], %[w7]\n\t"
        "mov %[r], %%rdx\n\tmov %[w4], (%%rdx)\n\tmov %[w5], 8(%%rdx)\n\tmov %[w6], 16(%%rdx)\n\t"
        "mov %[w7], 24(%%rdx)"
        : [w0] "=&r"(w[0]), [w1] "=&r"(w[1]), [w2] "=&r"(w[2]), [w3] "=&r"(w[3]), [w4] "=&r"(w[4]), [w5] "=&r"(w[5]),
          [w6] "=&r"(w[6]), [w7] "=&r"(w[7]), [lo] "=&r"(lo), [hi] "=&r"(hi), [carry] "=&r"(carry), [a] "+&r"(a)
        : [b] "m"(b), [n] "m"(n), [r] "m"(r), [nPrime] "m"(nPrime)
        : "rdx", "cc", "memory");
}

struct Form : WordForm<AdxRows> {
    static void montMultiply(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, const std::uint32_t* n,
                             int limbs, std::uint64_t nPrime) {
        if (limbs == 8)
            multiplyFour(r, a, b, n, nPrime);
        else
            WordForm::montMultiply(r, a, b, n, limbs, nPrime);
    }
    static void montSquare(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* n, int limbs,
                           std::uint64_t nPrime) {
        if (limbs == 8)
            multiplyFour(r, a, a, n, nPrime);
        else
            WordForm::montSquare(r, a, n, limbs, nPrime);
    }
};

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
