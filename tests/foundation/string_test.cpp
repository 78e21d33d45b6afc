#include "foundation/string.h"

#include <gtest/gtest.h>

#include <climits>
#include <sstream>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/exceptions.h"
#include "tests/foundation/fields.h"
#include "tests/support/failing_heap.h"
#include "tests/support/vtable.h"

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace {

using Peek = Fields<MiString>;

const char* const kNull = nullptr;

void expectContent(const std::string& content, const MiString& value) {
    EXPECT_EQ(content, contentOf(value));
    EXPECT_EQ(content.size(), value.GetLength());
    EXPECT_EQ(content.empty(), value.Empty());
    EXPECT_EQ(content.empty(), value.GetChars() == nullptr);
    if (!content.empty()) {
        EXPECT_EQ(0, value.GetChars()[content.size()]);
    }
}

TEST(string_test, LaysOutItsFields) {
    const MiString value;
    EXPECT_EQ(std::ptrdiff_t{sizeof(void*)}, Peek::dataOffset(value));
    EXPECT_EQ(std::ptrdiff_t{2 * sizeof(void*)}, Peek::lengthOffset(value));
    EXPECT_EQ(1, support::firstOwnSlot<MiString>());
    EXPECT_TRUE((std::is_base_of_v<MiObject, MiString>));
}

TEST(string_test, Constructors) {
    expectContent("", MiString());
    expectContent("abc", MiString("abc"));
    expectContent("", MiString(""));
    expectContent("", MiString(kNull));
    expectContent("bc", MiString("abcd", 1, 2));
    expectContent("", MiString(nullptr, 1, 2));
    expectContent("", MiString("abc", 9, 0));
    EXPECT_THROW(MiString("abc", 3, 1), MiOutOfRangeExp);
    expectContent("zzz", MiString(3, 'z'));
    expectContent("", MiString(0, 'z'));
    expectContent(bytes("\0\0"), MiString(2, '\0'));
}

TEST(string_test, CopiesAreDeep) {
    MiString first("abc");
    const MiString copy(first);
    MiString assigned("x");
    EXPECT_EQ(&assigned, &(assigned = first));
    first[0U] = 'z';
    expectContent("abc", copy);
    expectContent("abc", assigned);
    expectContent("zbc", first);
    assigned = "text";
    expectContent("text", assigned);
    assigned = kNull;
    expectContent("", assigned);
    assigned = "again";
    assigned = "";
    expectContent("", assigned);
    const MiString& same = first;
    first = same;
    expectContent("zbc", first);
}

TEST(string_test, MovesTakeTheStorage) {
    MiString value("abc");
    const char* const storage = value.GetChars();
    MiString taken(std::move(value));
    MiString assigned("old");
    assigned = std::move(taken);
    EXPECT_EQ(storage, assigned.GetChars());
    expectContent("", taken);  // NOLINT(bugprone-use-after-move): what is left behind is empty
    MiString& self = assigned;
    assigned = std::move(self);
    expectContent("abc", assigned);
}

TEST(string_test, Reset) {
    const MiString source("abc");
    MiString value("x");
    expectContent("abc", value.Reset(&source));
    expectContent("abc", value.Reset(&value));
    expectContent("", value.Reset(nullptr));
}

TEST(string_test, SetCharsOfAText) {
    MiString value("x");
    EXPECT_EQ(&value, &value.SetChars("abc"));
    expectContent("abc", value);
    const char* const storage = value.GetChars();
    EXPECT_EQ(storage, value.SetChars("xyz").GetChars()) << "the same length keeps the storage";
    expectContent("xyz", value);
    expectContent("", value.SetChars(nullptr));
    expectContent("", value.SetChars("abc").SetChars(""));
}

TEST(string_test, SetCharsOfARange) {
    MiString value("x");
    expectContent("bc", value.SetChars("abc", 1, 99));
    expectContent("bc", value.SetChars("abc", 1, UINT_MAX));
    expectContent("b", value.SetChars("abc", 1, 1));
    expectContent("abc", value.SetChars("abc", 0, 3));
    EXPECT_THROW(value.SetChars("abc", 3, 1), MiOutOfRangeExp);
    EXPECT_THROW(value.SetChars("abc", UINT_MAX, UINT_MAX), MiOutOfRangeExp);
    EXPECT_THROW(value.SetChars("", 0, 1), MiOutOfRangeExp) << "an empty text has no offset 0";
    expectContent("abc", value);
    expectContent("", value.SetChars("abc", 9, 0));
    expectContent("", value.SetChars("abc", 0, 3).SetChars(nullptr, 0, 3));
}

TEST(string_test, SetCharsReadsNoFurtherThanTheRange) {
    const std::vector<char> text = {'a', 'b', 'c'};  // without a zero byte
    MiString value;
    expectContent("bc", value.SetChars(text.data(), 1, 2));
}

TEST(string_test, SetLengthFillsTheText) {
    MiString value("abc");
    expectContent("zzz", value.SetLength(3, 'z'));
    expectContent("yyyyy", value.SetLength(5, 'y'));
    expectContent("x", value.SetLength(1, 'x'));
    expectContent("", value.SetLength(0, 'x'));
    expectContent("", value.SetLength(0, 'x'));
}

TEST(string_test, GivesItsStorageAndItself) {
    MiString value("abc");
    const MiString& fixed = value;
    const char* const read = fixed;
    char* const write = value;
    EXPECT_EQ(value.GetChars(), read);
    write[0] = 'z';
    expectContent("zbc", value);
    EXPECT_EQ(&value, &fixed.GetString());
    const char* const none = MiString();
    EXPECT_EQ(nullptr, none);
}

TEST(string_test, PositionsAreTested) {
    MiString value("ab");
    const MiString& fixed = value;
    EXPECT_EQ('b', value.CharAt(1));
    EXPECT_EQ('b', fixed[1U]);
    value[1U] = 'c';
    EXPECT_EQ('c', fixed[1]);
    value[0] = 'd';
    EXPECT_EQ('d', fixed[std::size_t{0}]);
    EXPECT_THROW((void)value.CharAt(2), MiOutOfRangeExp);
    EXPECT_THROW((void)fixed[2U], MiOutOfRangeExp);
    EXPECT_THROW(value[2U] = 'x', MiOutOfRangeExp);
    EXPECT_THROW((void)fixed[-1], MiOutOfRangeExp);
    EXPECT_THROW((void)value[0x100000000LL], MiOutOfRangeExp) << "positions are not narrowed";
    EXPECT_THROW((void)MiString().CharAt(0), MiOutOfRangeExp);
}

TEST(string_test, CompareTo) {
    EXPECT_EQ(0, MiString("ab").CompareTo("ab"));
    EXPECT_EQ(1, MiString("aa").CompareTo("z")) << "the longer text wins";
    EXPECT_EQ(-1, MiString("z").CompareTo("aa"));
    EXPECT_EQ(-1, MiString("ab").CompareTo("ac"));
    EXPECT_EQ(1, MiString("ac").CompareTo("ab"));
    EXPECT_EQ(-1, MiString("\x80").CompareTo("a")) << "signed characters";
    EXPECT_EQ(1, MiString("a").CompareTo(kNull));
    EXPECT_EQ(0, MiString().CompareTo(kNull));
    EXPECT_EQ(0, MiString().CompareTo("")) << "an empty text is no text";
    EXPECT_EQ(-1, MiString().CompareTo("a"));
    EXPECT_EQ(1, MiString("aa").CompareTo(MiString("z")));
    EXPECT_EQ(0, MiString("ab").CompareTo(MiString("ab")));
    EXPECT_EQ(-1, MiString().CompareTo(MiString("a")));
    EXPECT_EQ(1, MiString("a").CompareTo(MiString()));
    EXPECT_EQ(0, MiString().CompareTo(MiString()));
    EXPECT_EQ(-1, MiString("\xFF").CompareTo(MiString("a")));
    EXPECT_TRUE((std::is_same_v<char, decltype(MiString().CompareTo(""))>));
}

TEST(string_test, CompareToIgnoreCaseComparesUpperCase) {
    EXPECT_EQ(0, MiString("aBc").CompareToIgnoreCase("AbC"));
    EXPECT_EQ(0, MiString("aBc").CompareToIgnoreCase(MiString("ABC")));
    EXPECT_EQ(-1, MiString("a").CompareToIgnoreCase("B"));
    EXPECT_EQ(1, MiString("_").CompareToIgnoreCase("a")) << "_ is above A, as it is not above a";
    EXPECT_EQ(-1, MiString("\xE4").CompareToIgnoreCase("\xE5"));
    EXPECT_EQ(1, MiString("\xE4").CompareToIgnoreCase("\xC4")) << "A to Z alone";
    EXPECT_EQ(1, MiString("aa").CompareToIgnoreCase("Z"));
    EXPECT_EQ(-1, MiString("`").CompareToIgnoreCase("{")) << "below a and above z";
    EXPECT_EQ(1, MiString("{").CompareToIgnoreCase("z"));
    EXPECT_FALSE(MiString("{").EqualsIgnoreCase("["));
    EXPECT_EQ(0, MiString().CompareToIgnoreCase(kNull));
    EXPECT_EQ(1, MiString("a").CompareToIgnoreCase(kNull));
    EXPECT_EQ(-1, MiString().CompareToIgnoreCase(MiString("a")));
}

TEST(string_test, Equality) {
    const MiString value("ab");
    EXPECT_TRUE(value.Equals("ab"));
    EXPECT_FALSE(value.Equals("aB"));
    EXPECT_TRUE(value.Equals(MiString("ab")));
    EXPECT_FALSE(value.Equals(MiString("abc")));
    EXPECT_TRUE(value.EqualsIgnoreCase("AB"));
    EXPECT_FALSE(value.EqualsIgnoreCase("AC"));
    EXPECT_TRUE(value.EqualsIgnoreCase(MiString("aB")));
    EXPECT_TRUE(value == "ab");
    EXPECT_FALSE(value == "abc");
    EXPECT_TRUE(value == MiString("ab"));
    EXPECT_TRUE(value != "abc");
    EXPECT_FALSE(value != "ab");
    EXPECT_TRUE(value != MiString("ac"));
    EXPECT_FALSE(value != MiString("ab"));
    EXPECT_TRUE("ab" == value);
    EXPECT_TRUE("ac" != value);
    EXPECT_TRUE(MiString() == "");
    EXPECT_TRUE(MiString() == kNull);
    EXPECT_FALSE(value == kNull);
    EXPECT_TRUE(MiString() == MiString(""));
    EXPECT_TRUE(MiString(2, '\0') != MiString(3, '\0')) << "lengths count, not the first zero";
}

TEST(string_test, CopyOf) {
    const MiString source("abc");
    expectContent("abc", MiString::CopyOf(source));
    expectContent("abc", MiString::CopyOf("abc"));
    expectContent("", MiString::CopyOf(kNull));
    expectContent("bc", MiString::CopyOf("abcd", 1, 2));
    EXPECT_THROW(MiString::CopyOf("abc", 3, 1), MiOutOfRangeExp);
}

TEST(string_test, StringSize) {
    EXPECT_EQ(3U, MiString::StringSize("abc"));
    EXPECT_EQ(0U, MiString::StringSize(""));
    EXPECT_EQ(0U, MiString::StringSize(nullptr));
}

TEST(string_test, NumbersToText) {
    expectContent("0", MiString::IntToString(0, 10));
    expectContent("0", MiString::UIntToString(0, 2));
    expectContent("123", MiString::IntToString(123, 10));
    expectContent("-123", MiString::IntToString(-123, 10));
    expectContent("2147483647", MiString::IntToString(INT_MAX, 10));
    expectContent("-2147483648", MiString::IntToString(INT_MIN, 10));
    expectContent("-10000000000000000000000000000000", MiString::IntToString(INT_MIN, 2));
    expectContent("FF", MiString::IntToString(255, 16));
    expectContent("-FF", MiString::IntToString(-255, 16));
    expectContent("Z", MiString::IntToString(35, 36));
    expectContent("4294967295", MiString::UIntToString(UINT_MAX, 10));
    expectContent("11111111111111111111111111111111", MiString::UIntToString(UINT_MAX, 2));
    expectContent("FFFFFFFF", MiString::UIntToString(UINT_MAX, 16));
}

TEST(string_test, ABaseOutsideTheDigitsIsRefused) {
    for (const unsigned int base : {0U, 1U, 37U, UINT_MAX}) {
        EXPECT_THROW(MiString::IntToString(5, base), MiInvalidArgumentExp);
        EXPECT_THROW(MiString::UIntToString(5, base), MiInvalidArgumentExp);
        expectContent("0", MiString::IntToString(0, base));
        expectContent("0", MiString::UIntToString(0, base));
    }
}

// The factor is eleven, so 12 is 1 * 11 + 2.
TEST(string_test, TextToNumberCountsByEleven) {
    struct Row {
        const char* text;
        int value;
    };
    const Row rows[] = {{"0", 0},   {"+0", 0},  {"-0", 0},    {"7", 7},     {"-7", -7},   {"+7", 7},
                        {"10", 11}, {"12", 13}, {"-12", -13}, {"100", 121}, {"123", 146}, {"-100", -121}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(row.value, MiString(row.text).ToInt());
        EXPECT_EQ(row.value, MiString::StringToInt(row.text, 10));
        EXPECT_EQ(row.value, MiString::StringToInt(row.text, 16)) << "the base changes nothing";
        EXPECT_EQ(row.value, MiString::StringToInt(row.text, 0));
    }
}

TEST(string_test, TextToNumberWrapsAt32Bits) {
    // 11^9 = 2357947691, which as a signed 32-bit number is -1937019605.
    EXPECT_EQ(-1937019605, MiString("1000000000").ToInt());
    EXPECT_EQ(1937019605, MiString("-1000000000").ToInt());
    EXPECT_NO_THROW((void)MiString(1000, '9').ToInt());
}

TEST(string_test, TextToNumberRefusesWhatIsNone) {
    for (const char* text : {"007", "00", "-00", "+01", "-", "+", "a", "1a", "1 ", " 1", "--1", "+-1", "1-", "0x1"}) {
        SCOPED_TRACE(text);
        EXPECT_THROW((void)MiString(text).ToInt(), MiRangeExp);
        EXPECT_THROW(MiString::StringToInt(text, 10), MiRangeExp);
    }
    EXPECT_THROW((void)MiString(1, '\0').ToInt(), MiRangeExp);
}

TEST(string_test, NoTextIsZeroOrRefused) {
    EXPECT_EQ(0, MiString().ToInt());
    EXPECT_THROW(MiString::StringToInt(nullptr, 10), MiInvalidArgumentExp);
    EXPECT_THROW(MiString::StringToInt("", 10), MiInvalidArgumentExp);
}

TEST(string_test, Concat) {
    MiString value;
    expectContent("ab", value.Concat("ab"));
    expectContent("abcd", value.Concat(MiString("cd")));
    expectContent("abcd", value.Concat(kNull).Concat("").Concat(MiString()));
    expectContent("abcdabcd", value.Concat(value));
    expectContent("abcdabcdbcdabcd", value.Concat(value.GetChars() + 1));
}

TEST(string_test, CasesChangeLettersOfAsciiAlone) {
    const char* const mixed = "aZ@[`{09\xE4\xC4";
    expectContent("az@[`{09\xE4\xC4", MiString(mixed).ToLowerCase());
    expectContent("AZ@[`{09\xE4\xC4", MiString(mixed).ToUpperCase());
    expectContent("az@[`{09\xE4\xC4", MiString::ToLowerCase(mixed));
    expectContent("AZ@[`{09\xE4\xC4", MiString::ToUpperCase(mixed));
    expectContent("aBC", MiString("ABC").ToInitialLower());
    expectContent("Abc", MiString("abc").ToInitialUpper());
    expectContent("aBC", MiString::ToInitialLower("ABC"));
    expectContent("Abc", MiString::ToInitialUpper("abc"));
    expectContent("1bc", MiString("1bc").ToInitialUpper());
    MiString value("Ab");
    EXPECT_EQ(&value, &value.ToUpperCase());
    expectContent("AB", value);
}

TEST(string_test, CasesOfNoText) {
    expectContent("", MiString().ToLowerCase());
    expectContent("", MiString().ToUpperCase());
    expectContent("", MiString().ToInitialLower());
    expectContent("", MiString().ToInitialUpper());
    expectContent("", MiString::ToLowerCase(kNull));
    expectContent("", MiString::ToUpperCase(kNull));
    expectContent("", MiString::ToInitialLower(kNull));
    expectContent("", MiString::ToInitialUpper(kNull));
}

TEST(string_test, IndexOfACharacter) {
    const MiString value("abcabc");
    EXPECT_EQ(0, value.IndexOf('a'));
    EXPECT_EQ(2, value.IndexOf('c'));
    EXPECT_EQ(-1, value.IndexOf('x'));
    EXPECT_EQ(0, value.IndexOf('a', 0));
    EXPECT_EQ(3, value.IndexOf('a', 1));
    EXPECT_EQ(3, value.IndexOf('a', 3));
    EXPECT_EQ(-1, value.IndexOf('a', 4));
    EXPECT_EQ(5, value.IndexOf('c', 5));
    EXPECT_EQ(-1, value.IndexOf('c', 6));
    EXPECT_EQ(-1, value.IndexOf('c', UINT_MAX));
    EXPECT_EQ(-1, MiString().IndexOf('a'));
    EXPECT_EQ(1, MiString("a\xE4").IndexOf('\xE4'));
    EXPECT_EQ(-1, value.IndexOf('\0')) << "the terminating zero is no character of the text";
}

TEST(string_test, IndexOfAText) {
    const MiString value("abcabc");
    EXPECT_EQ(0, value.IndexOf("abc"));
    EXPECT_EQ(1, value.IndexOf("bc"));
    EXPECT_EQ(3, value.IndexOf("abc", 1));
    EXPECT_EQ(3, value.IndexOf("abc", 3));
    EXPECT_EQ(-1, value.IndexOf("abc", 4));
    EXPECT_EQ(-1, value.IndexOf("abcd"));
    EXPECT_EQ(-1, value.IndexOf("abcabcabc"));
    EXPECT_EQ(-1, value.IndexOf(""));
    EXPECT_EQ(-1, value.IndexOf("", 2));
    EXPECT_EQ(-1, value.IndexOf(kNull));
    EXPECT_EQ(-1, value.IndexOf(kNull, 1));
    EXPECT_EQ(-1, value.IndexOf("a", 6));
    EXPECT_EQ(-1, value.IndexOf("a", UINT_MAX));
    EXPECT_EQ(2, value.IndexOf(MiString("ca")));
    EXPECT_EQ(4, value.IndexOf(MiString("bc"), 2));
    EXPECT_EQ(-1, value.IndexOf(MiString()));
    EXPECT_EQ(-1, value.IndexOf(MiString(), 1));
    EXPECT_EQ(-1, MiString().IndexOf("a"));
    EXPECT_EQ(-1, MiString().IndexOf(MiString("a")));
}

TEST(string_test, Reverse) {
    expectContent("cba", MiString("abc").Reverse());
    expectContent("dcba", MiString::Reverse("abcd"));
    expectContent("", MiString().Reverse());
    expectContent("", MiString::Reverse(kNull));
}

TEST(string_test, ReplaceWorksForHighValuesToo) {
    MiString value(
        "a\xFF"
        "a\xFF");
    EXPECT_EQ(&value, &value.Replace('\xFF', 'b'));
    expectContent("abab", value);
    expectContent(
        "\x80"
        "b\x80"
        "b",
        value.Replace('a', '\x80'));
    expectContent("", MiString().Replace('a', 'b'));
}

TEST(string_test, SubStringFromAStart) {
    const MiString value("abc");
    expectContent("abc", value.SubString(0U));
    expectContent("c", value.SubString(2U));
    expectContent("", value.SubString(3U));
    EXPECT_THROW((void)value.SubString(4U), MiOutOfRangeExp);
    EXPECT_THROW((void)value.SubString(UINT_MAX), MiOutOfRangeExp);
    expectContent("", MiString().SubString(0U));
    EXPECT_THROW((void)MiString().SubString(1U), MiOutOfRangeExp);
}

TEST(string_test, SubStringOfARange) {
    const MiString value("abcd");
    expectContent("bc", value.SubString(1U, 3U));
    expectContent("bcd", value.SubString(1U, 99U));
    expectContent("abcd", value.SubString(0U, UINT_MAX));
    expectContent("", value.SubString(2U, 2U));
    expectContent("", value.SubString(4U, 4U));
    EXPECT_THROW((void)value.SubString(4U, 5U), MiOutOfRangeExp);
    EXPECT_THROW((void)value.SubString(3U, 2U), MiInvalidArgumentExp);
    EXPECT_THROW((void)value.SubString(9U, 2U), MiInvalidArgumentExp);
    expectContent("", MiString().SubString(0U, 3U));
}

TEST(string_test, SubStringUpToACharacter) {
    const MiString value("2.5.29");
    expectContent("2", value.SubString(0U, '.'));
    expectContent("5", value.SubString(2U, '.'));
    expectContent("29", value.SubString(4U, '.'));  // no stop behind it: to the end
    expectContent("", value.SubString(1U, '.'));
    expectContent("", value.SubString(6U, '.'));
    expectContent("", value.SubString(UINT_MAX, '.'));
    expectContent("", MiString().SubString(0U, '.'));
}

TEST(string_test, ToOstream) {
    std::ostringstream os;
    const MiString value("abc");
    value.ToOstream(os, 0);
    value.ToOstream(os, 2);
    MiString().ToOstream(os, 1);
    EXPECT_EQ(&os, &(os << value << MiString()));
    EXPECT_EQ("abc        abc    abc", os.str());
}

TEST(string_test, SourcesInsideTheTextWork) {
    MiString value("abcdef");
    expectContent("def", value.SetChars(value.GetChars() + 3));
    expectContent("ef", value.SetChars(value.GetChars(), 1, 9));
    value = value.GetChars() + 1;
    expectContent("f", value);
    value = value.GetChars();
    expectContent("f", value);
}

TEST(string_test, DeltReleasesAndInitForgets) {
    Peek value;
    value.SetChars("abc");
    value.Delt();
    EXPECT_EQ(nullptr, Peek::dataOf(value));
    EXPECT_EQ(0U, Peek::lengthOf(value));
    value.Init();
    expectContent("", value);
}

TEST(string_test, ExhaustedMemoryChangesNothing) {
    const std::string content(20000, 'a');
    const MiString source(30000, 'b');
    const auto survives = [&](auto&& change) {
        MiString value(content.c_str());
        int failures = 0;
        const long runs = support::forEachExhaustion([&] {
            try {
                change(value);
            } catch (const std::bad_alloc&) {
                failures += contentOf(value) == content;
            }
        });
        EXPECT_EQ(1, runs);
        EXPECT_EQ(1, failures);
    };
    survives([&](MiString& value) { value = source; });
    survives([&](MiString& value) { value = source.GetChars(); });
    survives([&](MiString& value) { value.SetChars(source.GetChars(), 1, 25000); });
    survives([&](MiString& value) { value.Concat(source); });
    survives([&](MiString& value) { value.SetLength(30000, 'c'); });
    survives([&](MiString& value) { value.Reset(&source); });
}

#if defined(__linux__)
// A text of 2^32 characters, which are the same 4 MB over and over.
class HugeText {
  public:
    HugeText() {
        file_ = memfd_create("text", 0);
        EXPECT_EQ(0, ftruncate(file_, kPiece));
        void* const start =
            mmap(nullptr, kLength + kPiece, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        text_ = static_cast<char*>(start);
        void* const piece = mmap(text_, kPiece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file_, 0);
        EXPECT_EQ(start, piece);
        std::memset(piece, 'a', kPiece);
        // What is left behind them is zero.
        for (std::size_t at = kPiece; at < kLength; at += kPiece)
            EXPECT_NE(MAP_FAILED, mmap(text_ + at, kPiece, PROT_READ, MAP_SHARED | MAP_FIXED, file_, 0));
    }
    ~HugeText() {
        munmap(text_, kLength + kPiece);
        close(file_);
    }
    HugeText(const HugeText&) = delete;
    HugeText& operator=(const HugeText&) = delete;

    // The last n characters.
    [[nodiscard]] const char* last(std::size_t n) const { return text_ + kLength - n; }

    static constexpr std::size_t kPiece = std::size_t{4} << 20;
    static constexpr std::size_t kLength = std::size_t{1} << 32;

  private:
    int file_;
    char* text_;
};

TEST(string_test, ALengthBeyond32BitsIsAMemoryFailure) {
    const HugeText text;
    EXPECT_EQ(UINT32_MAX, MiString::StringSize(text.last(UINT32_MAX)));
    EXPECT_THROW(MiString::StringSize(text.last(HugeText::kLength)), std::bad_alloc);
    EXPECT_THROW(MiString(text.last(HugeText::kLength)), std::bad_alloc);
    MiString value("b");
    EXPECT_THROW(value.Concat(text.last(UINT32_MAX)), std::bad_alloc);
    expectContent("b", value);
}
#endif

}  // namespace
