#include "foundation/big_integer.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <functional>
#include <iterator>
#include <new>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/exceptions.h"
#include "tests/support/failing_heap.h"
#include "tests/support/hex.h"
#include "tests/support/vtable.h"
#include "tests/vectors/big_integers.h"

namespace {

// The fields in their order behind the table of virtual operations, and nothing else.
struct Layout : MiBigInteger {
    static std::ptrdiff_t distance(const Layout& object, const void* field) {
        return static_cast<const char*>(field) - reinterpret_cast<const char*>(&object);
    }
    static void check() {
        const Layout object;
        EXPECT_EQ(distance(object, &object.value), static_cast<std::ptrdiff_t>(sizeof(MiObject)));
        EXPECT_EQ(distance(object, &object.sign), static_cast<std::ptrdiff_t>(sizeof(MiObject) + sizeof(MiByte)));
    }
};
static_assert(std::is_base_of_v<MiObject, MiBigInteger>);
static_assert(std::has_virtual_destructor_v<MiBigInteger>);
static_assert(sizeof(MiBigInteger) == sizeof(MiObject) + sizeof(MiByte) + sizeof(void*));

MiByte bytesOf(const std::string& hex) {
    const support::Bytes bytes = support::hex(hex);
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<unsigned int>(bytes.size())};
}

// A number from the digits of a vector, "." for zero.
MiBigInteger number(const std::string& hex) {
    return hex == "." ? MiBigInteger() : MiBigInteger(bytesOf(hex));
}

std::string hexOf(const MiByte& bytes) {
    return support::toHex(reinterpret_cast<const std::uint8_t*>(bytes.GetChars()), bytes.GetLength());
}

// A number as its sign and bytes, such as "-1 80", after a check that both agree.
std::string shown(const MiBigInteger& number) {
    const MiByte& bytes = number.GetByte();
    const int sign = bytes.Empty() ? 0 : bytes.CharAt(0) < 0x80 ? 1 : -1;
    EXPECT_EQ(number.GetSign(), sign);
    return std::to_string(number.GetSign()) + " " + hexOf(bytes);
}

std::string decimal(const MiBigInteger& number) {
    return number.GetStringBase10().GetChars();
}

MiBigInteger fromDecimal(const std::string& text) {
    MiBigInteger out;
    out.SetStringBase10(text.c_str());
    return out;
}

std::vector<std::string> fieldsOf(const char* row) {
    std::istringstream words(row);
    return {std::istream_iterator<std::string>(words), {}};
}

#define EXPECT_NUMBER(actual, hex) EXPECT_EQ(shown(actual), shown(number(hex))) << row

TEST(big_integer_test, FieldsStandInOrder) {
    Layout::check();
    EXPECT_EQ(support::firstOwnSlot<MiBigInteger>(), 1);  // the destructor is the only virtual operation
}

TEST(big_integer_test, ANewNumberIsZero) {
    EXPECT_EQ(shown(MiBigInteger()), "0 ");
    EXPECT_EQ(MiBigInteger().GetByte().GetChars(), nullptr);
    EXPECT_EQ(MiBigInteger().GetBitLength(), 0U);
}

TEST(big_integer_test, SetDataOfIntIsTheShortestForm) {
    const struct {
        int value;
        const char* shown;
    } cases[] = {{0, "0 "},
                 {1, "1 01"},
                 {127, "1 7F"},
                 {128, "1 00 80"},
                 {255, "1 00 FF"},
                 {256, "1 01 00"},
                 {32767, "1 7F FF"},
                 {32768, "1 00 80 00"},
                 {8388608, "1 00 80 00 00"},
                 {INT_MAX, "1 7F FF FF FF"},
                 {-1, "-1 FF"},
                 {-128, "-1 80"},
                 {-129, "-1 FF 7F"},
                 {-32768, "-1 80 00"},
                 {-32769, "-1 FF 7F FF"},
                 {INT_MIN, "-1 80 00 00 00"}};
    for (const auto& c : cases) {
        EXPECT_EQ(shown(MiBigInteger(c.value)), c.shown);
        MiBigInteger set(77);
        set.SetData(c.value);
        EXPECT_EQ(shown(set), c.shown);
        MiBigInteger assigned(77);
        assigned = c.value;
        EXPECT_EQ(shown(assigned), c.shown);
        EXPECT_EQ(set.GetInt32(), c.value);
    }
}

TEST(big_integer_test, SetDataOfUnsignedIsNeverNegative) {
    const struct {
        unsigned int value;
        const char* shown;
    } cases[] = {{0, "0 "},
                 {1, "1 01"},
                 {0x80, "1 00 80"},
                 {0x7FFFFFFF, "1 7F FF FF FF"},
                 {0x80000000, "1 00 80 00 00 00"},
                 {0xFFFFFFFF, "1 00 FF FF FF FF"}};
    for (const auto& c : cases) {
        EXPECT_EQ(shown(MiBigInteger(c.value)), c.shown);
        MiBigInteger set(-5);
        set.SetData(c.value);
        EXPECT_EQ(shown(set), c.shown);
        MiBigInteger assigned(-5);
        assigned = c.value;
        EXPECT_EQ(shown(assigned), c.shown);
    }
}

TEST(big_integer_test, SetDataOfBytesDropsWhatRepeatsTheSign) {
    const struct {
        const char* bytes;
        const char* shown;
    } cases[] = {{"00 00 80", "1 00 80"},
                 {"FF FF 80", "-1 80"},
                 {"00", "0 "},
                 {"00 00 00", "0 "},
                 {"", "0 "},
                 {"7F", "1 7F"},
                 {"00 7F", "1 7F"},
                 {"00 00 7F 00", "1 7F 00"},
                 {"FF", "-1 FF"},
                 {"FF FF FF", "-1 FF"},
                 {"FF 00", "-1 FF 00"},
                 {"FF FF 7F", "-1 FF 7F"},
                 {"80 00", "-1 80 00"},
                 {"01 00 00", "1 01 00 00"}};
    for (const auto& c : cases) {
        const MiByte bytes = bytesOf(c.bytes);
        EXPECT_EQ(shown(MiBigInteger(bytes)), c.shown);
        MiBigInteger set(-77);
        set.SetData(bytes);
        EXPECT_EQ(shown(set), c.shown);

        const std::string behind =
            "abc" + std::string(bytes.GetChars() == nullptr ? "" : bytes.GetChars(), bytes.GetLength());
        MiBigInteger fromPointer(-77);
        fromPointer.SetData(behind.data(), 3, bytes.GetLength());
        EXPECT_EQ(shown(fromPointer), c.shown);
    }
}

TEST(big_integer_test, SetDataOfNullIsZero) {
    MiBigInteger set(5);
    set.SetData(nullptr, 3, 9);
    EXPECT_EQ(shown(set), "0 ");
    set = 5;
    set.SetData("x", 0, 0);
    EXPECT_EQ(shown(set), "0 ");
}

TEST(big_integer_test, SetDataOfSignAndBytesPutsTheSignInFront) {
    const struct {
        char sign;
        const char* bytes;
        const char* shown;
    } cases[] = {{0, "7F", "0 "},
                 {1, "", "0 "},
                 {-1, "", "0 "},
                 {1, "7F", "1 7F"},
                 {1, "80", "1 00 80"},
                 {1, "FF FF", "1 00 FF FF"},
                 {1, "00 00 80", "1 00 80"},
                 {1, "00", "0 "},
                 {-1, "80", "-1 80"},
                 {-1, "FF FF", "-1 FF"},
                 {-1, "01", "-1 FF 01"},
                 {-1, "00 00", "-1 FF 00 00"},
                 {-1, "7F FF", "-1 FF 7F FF"},
                 {5, "80", "1 00 80"},
                 {-5, "01", "-1 FF 01"}};
    for (const auto& c : cases) {
        EXPECT_EQ(shown(MiBigInteger(c.sign, bytesOf(c.bytes))), c.shown);
        MiBigInteger set(77);
        set.SetData(c.sign, bytesOf(c.bytes));
        EXPECT_EQ(shown(set), c.shown);
    }
}

TEST(big_integer_test, OwnBytesAreASourceToo) {
    MiBigInteger set(bytesOf("12 34 80 56"));
    set.SetData(set.GetByte());
    EXPECT_EQ(shown(set), "1 12 34 80 56");
    set.SetData(set.GetByte().GetChars(), 2, 2);
    EXPECT_EQ(shown(set), "-1 80 56");
    set.SetData(1, set.GetByte());
    EXPECT_EQ(shown(set), "1 00 80 56");
}

TEST(big_integer_test, CopiesAreDeep) {
    MiBigInteger original(1000);
    MiBigInteger copy(original);
    MiBigInteger assigned;
    assigned = original;
    original = 5;
    EXPECT_EQ(shown(copy), "1 03 E8");
    EXPECT_EQ(shown(assigned), "1 03 E8");
    MiBigInteger& self = copy;
    copy = self;
    EXPECT_EQ(shown(copy), "1 03 E8");
}

TEST(big_integer_test, WhatWasMovedAwayIsZero) {
    MiBigInteger original(1000);
    const MiBigInteger taken(std::move(original));
    EXPECT_EQ(shown(taken), "1 03 E8");
    EXPECT_EQ(shown(original), "0 ");  // NOLINT(bugprone-use-after-move)
    MiBigInteger other(-3);
    original = std::move(other);
    EXPECT_EQ(shown(original), "-1 FD");
    EXPECT_EQ(shown(other), "0 ");  // NOLINT(bugprone-use-after-move)
    MiBigInteger& self = original;
    original = std::move(self);
    EXPECT_EQ(shown(original), "-1 FD");
}

TEST(big_integer_test, GetInt32CutsWithoutAWord) {
    EXPECT_EQ(number(".").GetInt32(), 0);
    EXPECT_EQ(number("0102030405060708090A0B0C0D0E0F10").GetInt32(), 0x0D0E0F10);
    // The magnitude of this one ends in 0D0E0F10 too.
    EXPECT_EQ(number("FEFDFCFBFAF9F8F7F6F5F4F3F2F1F0F0").GetInt32(), -0x0D0E0F10);
    EXPECT_EQ(number("0100000000").GetInt32(), 0);
    EXPECT_EQ(number("FF00000000").GetInt32(), 0);
    EXPECT_EQ(number("00FFFFFFFF").GetInt32(), -1);
    EXPECT_EQ(number("FF7FFFFFFF").GetInt32(), INT_MAX);
}

TEST(big_integer_test, BitLengthCountsWholeBytes) {
    EXPECT_EQ(MiBigInteger(1).GetBitLength(), 8U);
    EXPECT_EQ(MiBigInteger(128).GetBitLength(), 16U);
    EXPECT_EQ(MiBigInteger(-128).GetBitLength(), 8U);
}

TEST(big_integer_test, SumsDifferencesProductsAndBitsAreTrue) {
    for (const char* row : vectors::kPairs) {
        const std::vector<std::string> f = fieldsOf(row);
        ASSERT_EQ(f.size(), 7U);
        const MiBigInteger a = number(f[0]);
        const MiBigInteger b = number(f[1]);
        EXPECT_NUMBER(a.Add(b), f[2]);
        EXPECT_NUMBER(a + b, f[2]);
        EXPECT_NUMBER(a.Subtract(b), f[3]);
        EXPECT_NUMBER(a - b, f[3]);
        EXPECT_NUMBER(a.Multiply(b), f[4]);
        EXPECT_NUMBER(a * b, f[4]);
        EXPECT_NUMBER(a.And(b), f[5]);
        EXPECT_NUMBER(a & b, f[5]);
        EXPECT_NUMBER(a.Or(b), f[6]);
        EXPECT_NUMBER(a | b, f[6]);
        MiBigInteger sum = a;
        sum += b;
        EXPECT_NUMBER(sum, f[2]);
        MiBigInteger difference = a;
        difference -= b;
        EXPECT_NUMBER(difference, f[3]);
    }
}

TEST(big_integer_test, QuotientsAreCutTowardsZero) {
    for (const char* row : vectors::kQuotients) {
        const std::vector<std::string> f = fieldsOf(row);
        ASSERT_EQ(f.size(), 4U);
        const MiBigInteger a = number(f[0]);
        const MiBigInteger b = number(f[1]);
        EXPECT_NUMBER(a.Divide(b), f[2]);
        EXPECT_NUMBER(a / b, f[2]);
        EXPECT_NUMBER(a.Mod(b), f[3]);
        EXPECT_NUMBER(a % b, f[3]);
    }
}

TEST(big_integer_test, TheNumberFormsBuildATemporary) {
    const MiBigInteger a(-1000);
    EXPECT_EQ(decimal(a.Add(7)), "-993");
    EXPECT_EQ(decimal(a.Add(4000000000U)), "3999999000");
    EXPECT_EQ(decimal(a + 7), "-993");
    EXPECT_EQ(decimal(a + 4000000000U), "3999999000");
    EXPECT_EQ(decimal(a.Subtract(7)), "-1007");
    EXPECT_EQ(decimal(a.Subtract(4000000000U)), "-4000001000");
    EXPECT_EQ(decimal(a - 7), "-1007");
    EXPECT_EQ(decimal(a - 4000000000U), "-4000001000");
    EXPECT_EQ(decimal(a.Multiply(-7)), "7000");
    EXPECT_EQ(decimal(a.Multiply(4000000000U)), "-4000000000000");
    EXPECT_EQ(decimal(a * -7), "7000");
    EXPECT_EQ(decimal(a * 4000000000U), "-4000000000000");
    EXPECT_EQ(decimal(a.Divide(-7)), "142");
    EXPECT_EQ(decimal(a.Divide(7U)), "-142");
    EXPECT_EQ(decimal(a / -7), "142");
    EXPECT_EQ(decimal(a / 4000000000U), "0");
    EXPECT_EQ(decimal(a.Mod(-7)), "-6");
    EXPECT_EQ(decimal(a.Mod(7U)), "-6");
    EXPECT_EQ(decimal(a % -7), "-6");
    EXPECT_EQ(decimal(a % 4000000000U), "-1000");
    MiBigInteger changing(5);
    EXPECT_EQ(&(changing += -7), &changing);
    EXPECT_EQ(decimal(changing), "-2");
    changing += 4000000000U;
    EXPECT_EQ(decimal(changing), "3999999998");
    changing -= 4000000000U;
    EXPECT_EQ(decimal(changing), "-2");
    EXPECT_EQ(&(changing -= -9), &changing);
    EXPECT_EQ(decimal(changing), "7");
}

TEST(big_integer_test, AnOperandMayBeTheNumberItself) {
    MiBigInteger n(128);
    const MiBigInteger& same = n;
    n += same;
    EXPECT_EQ(shown(n), "1 01 00");
    EXPECT_EQ(shown(n * n), "1 01 00 00");
    EXPECT_EQ(shown(n / n), "1 01");
    n -= same;
    EXPECT_EQ(shown(n), "0 ");
}

TEST(big_integer_test, DivisionByZeroIsADomainError) {
    for (const MiBigInteger& dividend : {MiBigInteger(), MiBigInteger(7), MiBigInteger(-7)}) {
        EXPECT_THROW((void)dividend.Divide(0), MiDomainExp);
        EXPECT_THROW((void)dividend.Divide(0U), MiDomainExp);
        EXPECT_THROW((void)dividend.Divide(MiBigInteger()), MiDomainExp);
        EXPECT_THROW((void)dividend.Mod(0), MiDomainExp);
        EXPECT_THROW((void)dividend.Mod(0U), MiDomainExp);
        EXPECT_THROW((void)dividend.Mod(MiBigInteger()), MiDomainExp);
        EXPECT_THROW(dividend / 0, MiDomainExp);
        EXPECT_THROW(dividend / MiBigInteger(), MiDomainExp);
        EXPECT_THROW(dividend % 0, MiDomainExp);
    }
}

TEST(big_integer_test, ShiftsKeepTheSign) {
    for (const char* row : vectors::kShifts) {
        const std::vector<std::string> f = fieldsOf(row);
        ASSERT_EQ(f.size(), 4U);
        const MiBigInteger a = number(f[0]);
        const auto count = static_cast<unsigned int>(std::stoul(f[1]));
        EXPECT_NUMBER(a.ShiftLeft(count), f[2]);
        EXPECT_NUMBER(a << count, f[2]);
        EXPECT_NUMBER(a.ShiftRight(count), f[3]);
        EXPECT_NUMBER(a >> count, f[3]);
    }
    EXPECT_EQ(shown(MiBigInteger(77).ShiftRight(UINT_MAX)), "0 ");
    EXPECT_EQ(shown(MiBigInteger(-77).ShiftRight(UINT_MAX)), "-1 FF");
    EXPECT_EQ(shown(MiBigInteger().ShiftLeft(UINT_MAX)), "0 ");
}

TEST(big_integer_test, NegateAndAbs) {
    const struct {
        int value;
        const char* negated;
        const char* absolute;
    } cases[] = {{0, "0 ", "0 "},
                 {1, "-1 FF", "1 01"},
                 {-1, "1 01", "1 01"},
                 {128, "-1 80", "1 00 80"},
                 {-128, "1 00 80", "1 00 80"},
                 {-129, "1 00 81", "1 00 81"},
                 {256, "-1 FF 00", "1 01 00"},
                 {INT_MIN, "1 00 80 00 00 00", "1 00 80 00 00 00"}};
    for (const auto& c : cases) {
        EXPECT_EQ(shown(MiBigInteger::Negate(c.value)), c.negated);
        EXPECT_EQ(shown(-MiBigInteger(c.value)), c.negated);
        EXPECT_EQ(shown(MiBigInteger::Abs(c.value)), c.absolute);
    }
}

TEST(big_integer_test, StepsOfOneInBothForms) {
    MiBigInteger n(-1);
    EXPECT_EQ(shown(n++), "-1 FF");
    EXPECT_EQ(shown(n), "0 ");
    EXPECT_EQ(&++n, &n);
    EXPECT_EQ(shown(n), "1 01");
    EXPECT_EQ(shown(n--), "1 01");
    EXPECT_EQ(shown(n), "0 ");
    EXPECT_EQ(&--n, &n);
    EXPECT_EQ(shown(n), "-1 FF");
    n = 127;
    EXPECT_EQ(shown(++n), "1 00 80");
    n = -128;
    EXPECT_EQ(shown(--n), "-1 FF 7F");
}

TEST(big_integer_test, DecimalTextsBothWays) {
    for (const char* row : vectors::kDecimals) {
        const std::vector<std::string> f = fieldsOf(row);
        ASSERT_EQ(f.size(), 2U);
        EXPECT_EQ(decimal(number(f[0])), f[1]);
        EXPECT_NUMBER(fromDecimal(f[1]), f[0]);
    }
    EXPECT_EQ(decimal(1000), "1000");
    EXPECT_EQ(decimal(-1), "-1");
    EXPECT_EQ(decimal(MiBigInteger()), "0");
}

TEST(big_integer_test, SetStringBase10TakesASign) {
    EXPECT_EQ(shown(fromDecimal("+7")), "1 07");
    EXPECT_EQ(shown(fromDecimal("-7")), "-1 F9");
    EXPECT_EQ(shown(fromDecimal("0")), "0 ");
    EXPECT_EQ(shown(fromDecimal("-0")), "0 ");
    EXPECT_EQ(shown(fromDecimal("+0")), "0 ");
    EXPECT_EQ(shown(MiBigInteger(7).SetStringBase10("")), "0 ");
    EXPECT_EQ(shown(MiBigInteger(7).SetStringBase10(nullptr)), "0 ");
}

TEST(big_integer_test, SetStringBase10RefusesAnythingElse) {
    for (const char* text : {"007", "-007", "00", "01", "+", "-", "+-1", "--1", "1 ", " 1", "1.", "0x1", "a", "1a2",
                             "12-", "1234567890123456789012345678901234567890x", "\xB1", "1/", "1:"}) {
        MiBigInteger n(5);
        EXPECT_THROW(n.SetStringBase10(text), MiInvalidArgumentExp) << text;
        EXPECT_EQ(shown(n), "1 05") << text;
    }
}

TEST(big_integer_test, AddCharsAddsTexts) {
    const struct {
        const char* a;
        const char* b;
        const char* sum;
    } cases[] = {{"1", "2", "3"},
                 {"999", "1", "1000"},
                 {"1", "999", "1000"},
                 {"007", "5", "012"},
                 {"0", "0", "0"},
                 {"", "5", "5"},
                 {"5", "", "5"},
                 {"5", "5", "10"},
                 {"12345678901234567890123", "98765432109876543210", "12444444333344444433333"}};
    for (const auto& c : cases)
        EXPECT_STREQ(MiBigInteger::AddChars(c.a, c.b).GetChars(), c.sum);
    EXPECT_TRUE(MiBigInteger::AddChars("", "").Empty());
    EXPECT_TRUE(MiBigInteger::AddChars(nullptr, "5").Empty());
    EXPECT_TRUE(MiBigInteger::AddChars("5", nullptr).Empty());
    EXPECT_TRUE(MiBigInteger::AddChars(nullptr, "x").Empty());
    EXPECT_THROW(MiBigInteger::AddChars("x", "5"), MiInvalidArgumentExp);
    EXPECT_THROW(MiBigInteger::AddChars("5", "x"), MiInvalidArgumentExp);
    EXPECT_THROW(MiBigInteger::AddChars("1", "12x4"), MiInvalidArgumentExp);
    EXPECT_THROW(MiBigInteger::AddChars("-1", "2"), MiInvalidArgumentExp);
    EXPECT_THROW(MiBigInteger::AddChars("1", "+2"), MiInvalidArgumentExp);
    EXPECT_THROW(MiBigInteger::AddChars("1/", "2:"), MiInvalidArgumentExp);
}

// The order is not that of the numbers: among values of one length the bytes count as signed.
TEST(big_integer_test, OrderTakesSignThenLengthThenSignedBytes) {
    const char* ascending[] = {"80000000", "FF0000", "8000", "FF7F",  // longer negative numbers are less
                               "80",       "FF",     ".",    "01",   "7F", "0080", "00FF", "0001000000"};
    // Within the length of two bytes: the first byte as signed, then the second.
    const char* pairs[][2] = {{"0180", "0100"}, {"01FF", "0100"}, {"0180", "017F"}, {"0180", "01FF"},
                              {"8080", "8000"}, {"80FF", "8000"}, {"FE80", "FE7F"}, {"80", "FE"}};
    for (std::size_t i = 0; i < std::size(ascending); ++i) {
        for (std::size_t j = 0; j < std::size(ascending); ++j) {
            const MiBigInteger a = number(ascending[i]);
            const MiBigInteger b = number(ascending[j]);
            const std::string row = std::string(ascending[i]) + " " + ascending[j];
            EXPECT_EQ(a > b, i > j) << row;
            EXPECT_EQ(a >= b, i >= j) << row;
            EXPECT_EQ(a < b, i < j) << row;
            EXPECT_EQ(a <= b, i <= j) << row;
            EXPECT_EQ(a == b, i == j) << row;
            EXPECT_EQ(a != b, i != j) << row;
            EXPECT_EQ(a.Equals(b), i == j) << row;
        }
    }
    for (const auto& pair : pairs) {
        const MiBigInteger less = number(pair[0]);
        const MiBigInteger more = number(pair[1]);
        EXPECT_TRUE(more > less) << pair[0];
        EXPECT_TRUE(more >= less) << pair[0];
        EXPECT_TRUE(less < more) << pair[0];
        EXPECT_TRUE(less <= more) << pair[0];
        EXPECT_FALSE(less > more) << pair[0];
        EXPECT_FALSE(less >= more) << pair[0];
        EXPECT_FALSE(more < less) << pair[0];
        EXPECT_FALSE(more <= less) << pair[0];
    }
}

TEST(big_integer_test, PrintingIsTheDecimalTextBehindAMargin) {
    std::ostringstream plain;
    plain << MiBigInteger(-1000) << ' ' << MiBigInteger();
    EXPECT_EQ(plain.str(), "-1000 0");
    std::ostringstream deep;
    deep << std::hex;
    deep.width(9);
    MiBigInteger(255).ToOstream(deep, 2);
    EXPECT_EQ(deep.str(), "        255");
}

TEST(big_integer_test, ExhaustedMemoryChangesNothing) {
    const MiByte bytes(300U, static_cast<unsigned char>(0x85));
    const MiBigInteger other(bytes);
    const std::string text(700, '7');
    const MiBigInteger before(1000);
    const std::function<void(MiBigInteger&)> operations[] = {[&](MiBigInteger& n) { n.SetData(bytes); },
                                                             [&](MiBigInteger& n) { n.SetData(1, bytes); },
                                                             [&](MiBigInteger& n) { n.SetStringBase10(text.c_str()); },
                                                             [&](MiBigInteger& n) { n = other; },
                                                             [&](MiBigInteger& n) { n += other; },
                                                             [&](MiBigInteger& n) { n = other * other; },
                                                             [&](MiBigInteger& n) { n = other / 7; },
                                                             [&](MiBigInteger& n) { n = other << 9; },
                                                             [&](MiBigInteger& n) { n = (other & bytes) | bytes; }};
    long failures = 0;  // of all: small blocks may be had without the heap
    for (const auto& operation : operations) {
        MiBigInteger n(before);
        int changed = 0;
        failures += support::forEachExhaustion([&] {
            n = before;
            try {
                operation(n);
            } catch (const std::bad_alloc&) {
                changed += n == before ? 0 : 1;
            }
        });
        EXPECT_EQ(changed, 0);
        EXPECT_NE(n, before);
    }
    EXPECT_GT(failures, 0);
}

// Large numbers, against the hashes that python3 took of its results.
std::uint64_t fnv(const char* data, std::size_t n) {
    std::uint64_t value = 0xCBF29CE484222325;
    for (std::size_t i = 0; i < n; ++i)
        value = (value ^ static_cast<unsigned char>(data[i])) * 0x100000001B3;
    return value;
}

std::uint64_t hashOf(const MiBigInteger& number) {
    return fnv(number.GetByte().GetChars(), number.GetByte().GetLength());
}

MiBigInteger pattern(unsigned size, unsigned factor) {
    std::string bytes;
    for (unsigned i = 0; i < size; ++i)
        bytes += static_cast<char>(i * factor + 13);
    return {MiByte(bytes.data(), size)};
}

TEST(big_integer_test, LargeNumbers) {
    for (const vectors::Large& c : vectors::kLarge) {
        const MiBigInteger a = pattern(c.size, c.factor);
        const MiBigInteger b = pattern(c.size2, c.factor2);
        const std::string text = decimal(a);
        EXPECT_EQ(fnv(text.data(), text.size()), c.decimal) << c.size;
        EXPECT_EQ(fromDecimal(text), a) << c.size;
        EXPECT_EQ(decimal(-a), "-" + text) << c.size;
        EXPECT_EQ(fromDecimal("-" + text), -a) << c.size;
        EXPECT_EQ(hashOf(a * b), c.product) << c.size;
        EXPECT_EQ(hashOf(b * a), c.product) << c.size;
        EXPECT_EQ(hashOf(-a * -b), c.product) << c.size;
        EXPECT_EQ(hashOf(a / b), c.quotient) << c.size;
        EXPECT_EQ(hashOf(a % b), c.remainder) << c.size;
        EXPECT_EQ(a * b / b, a) << c.size;
        EXPECT_EQ(a * b % a, MiBigInteger()) << c.size;
    }
}

// Linear steps on a number of 2 MB, and the text of one of 64 KB: done by the steps of one bit or one unit, each of
// these would take longer than anybody waits.
TEST(big_integer_test, HostileSizesEndSoon) {
    const MiBigInteger huge = pattern(2000000, 7);
    EXPECT_EQ((huge + huge) - huge, huge);
    EXPECT_EQ((huge << 9) >> 9, huge);
    EXPECT_EQ((huge & -1) | 0, huge);
    EXPECT_EQ(-(-huge), huge);
    EXPECT_TRUE(huge > pattern(1999999, 7));
    EXPECT_EQ(huge / 3 * 3 + huge % 3, huge * 1);
    const MiBigInteger large = pattern(65536, 7);
    EXPECT_EQ(fromDecimal(decimal(large)), large);
    EXPECT_EQ(large / 7U * 7U + large % 7U, large);
}

}  // namespace
