// Strings with an alphabet, and the two that take any byte.
#include "asn/text_strings.h"

#include <gtest/gtest.h>

#include <string>

#include "asn/byte_strings.h"
#include "tests/asn/der_io.h"

namespace {

using der_io::bytes;
using der_io::toHex;

std::string text(const MiString& value) {
    return {value.GetChars() == nullptr ? "" : value.GetChars(), value.GetLength()};
}

// All bytes that a test of single characters accepts.
template <class Test>
std::string accepted(Test test) {
    std::string all;
    for (int c = 0; c < 256; ++c) {
        const char one[] = {static_cast<char>(c), '\0'};
        if (test(one))
            all += one[0];
    }
    return all;
}

template <class T>
std::string acceptedInRanges() {
    return accepted([](const char* one) { return T::TestData(one, 0, 1); });
}

template <class T>
std::string acceptedInTexts() {
    return accepted([](const char* one) { return T::TestData(one); });
}

const std::string kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
const std::string kSmallLetters = "abcdefghijklmnopqrstuvwxyz";

TEST(text_strings_test, NumericIsBlanksAndDigits) {
    EXPECT_EQ(acceptedInTexts<AsnNumericString>(), " 0123456789");
    EXPECT_EQ(acceptedInRanges<AsnNumericString>(), " 0123456789");
    EXPECT_TRUE(AsnNumericString::TestData("12 34"));
    EXPECT_FALSE(AsnNumericString::TestData("12a34"));
}

TEST(text_strings_test, PrintableHasTheBackquoteForTheApostrophe) {
    EXPECT_EQ(acceptedInTexts<AsnPrintableString>(), " ()+,-./0123456789:=?" + kLetters + "`" + kSmallLetters);
    EXPECT_FALSE(AsnPrintableString::TestData("O'Neill"));
    EXPECT_TRUE(AsnPrintableString::TestData("O`Neill"));
    EXPECT_FALSE(AsnPrintableString::TestData("O'Neill", 0, 7));
    EXPECT_TRUE(AsnPrintableString::TestData("O`Neill", 0, 7));
}

TEST(text_strings_test, PrintableTakesTheAtSignInRangesAlone) {
    EXPECT_EQ(acceptedInRanges<AsnPrintableString>(), " ()+,-./0123456789:=?@" + kLetters + "`" + kSmallLetters);
    AsnPrintableString value("before");
    EXPECT_THROW(value.SetData("a@b"), MiInvalidArgumentExp);
    EXPECT_EQ(text(value.GetData()), "before");
    value.SetData("a@b", 0, 3);
    EXPECT_EQ(text(value.GetData()), "a@b");
}

TEST(text_strings_test, VisibleIsWhatCanBeSeenAndTheBlank) {
    std::string visible;
    for (char c = 0x20; c < 0x7F; ++c)
        visible += c;
    EXPECT_EQ(acceptedInRanges<AsnVisibleString>(), visible);
}

TEST(text_strings_test, NothingIsInNoAlphabet) {
    EXPECT_FALSE(AsnNumericString::TestData(nullptr));
    EXPECT_FALSE(AsnNumericString::TestData(""));
    EXPECT_FALSE(AsnNumericString::TestData(nullptr, 0, 3));
    EXPECT_FALSE(AsnNumericString::TestData("123", 0, 0));
    EXPECT_FALSE(AsnPrintableString::TestData(nullptr));
    EXPECT_FALSE(AsnPrintableString::TestData(""));
    EXPECT_FALSE(AsnPrintableString::TestData(nullptr, 0, 3));
    EXPECT_FALSE(AsnPrintableString::TestData("abc", 0, 0));
    EXPECT_FALSE(AsnVisibleString::TestData(nullptr, 0, 3));
    EXPECT_FALSE(AsnVisibleString::TestData("abc", 0, 0));
}

template <class T>
class text_strings_test_checked : public ::testing::Test {};
using CheckedTypes = ::testing::Types<AsnNumericString, AsnPrintableString>;
TYPED_TEST_SUITE(text_strings_test_checked, CheckedTypes, );

TYPED_TEST(text_strings_test_checked, SettersTestAndKeepTheOldValue) {
    TypeParam value;
    EXPECT_TRUE(value.GetData().Empty());
    value.SetData("12 3");
    EXPECT_EQ(text(value.GetData()), "12 3");
    value.SetData("xx45", 2, 2);
    EXPECT_EQ(text(value.GetData()), "45");
    EXPECT_THROW(value.SetData("1*"), MiInvalidArgumentExp);
    EXPECT_THROW(value.SetData("1*", 0, 2), MiInvalidArgumentExp);
    EXPECT_THROW(value.SetData("1\0002", 0, 3), MiInvalidArgumentExp);
    EXPECT_EQ(text(value.GetData()), "45");
    value.SetData(value.GetData().GetChars(), 1, 1);
    EXPECT_EQ(text(value.GetData()), "5");
}

TYPED_TEST(text_strings_test_checked, NullAndNothingEmptyBeforeAnyTest) {
    TypeParam value("1");
    value.SetData(nullptr);
    EXPECT_TRUE(value.GetData().Empty());
    value.SetData("1");
    value.SetData("");
    EXPECT_TRUE(value.GetData().Empty());
    value.SetData("1");
    value.SetData(nullptr, 0, 5);
    EXPECT_TRUE(value.GetData().Empty());
    value.SetData("1");
    value.SetData("**", 0, 0);
    EXPECT_TRUE(value.GetData().Empty());
}

TYPED_TEST(text_strings_test_checked, ConstructorsTestNothing) {
    EXPECT_EQ(text(TypeParam("a*\x80").GetData()), "a*\x80");
    EXPECT_TRUE(TypeParam(nullptr).GetData().Empty());
}

TYPED_TEST(text_strings_test_checked, ARangeIsReadAndNoMore) {
    // Neither a zero byte in front nor the want of one behind counts.
    const char source[] = {'\0', '4', '2'};
    TypeParam value;
    value.SetData(source, 1, 2);
    EXPECT_EQ(text(value.GetData()), "42");
}

TEST(text_strings_test, VisibleTestsRangesAlone) {
    AsnVisibleString value("\x01");
    EXPECT_EQ(text(value.GetData()), "\x01");
    value.SetData("a\tb\x80");
    EXPECT_EQ(text(value.GetData()), "a\tb\x80");
    EXPECT_THROW(value.SetData("a\tb", 0, 3), MiInvalidArgumentExp);
    EXPECT_THROW(value.SetData("\x7F", 0, 1), MiInvalidArgumentExp);
    EXPECT_THROW(value.SetData("\x80", 0, 1), MiInvalidArgumentExp);
    value.SetData("xa~ y", 1, 3);
    EXPECT_EQ(text(value.GetData()), "a~ ");
    value.SetData(nullptr, 0, 3);
    EXPECT_TRUE(value.GetData().Empty());
    value.SetData("a");
    value.SetData(nullptr);
    EXPECT_TRUE(value.GetData().Empty());
}

const MiByte& stored(const AsnIA5String& value) {
    return value.GetByte();
}
const MiByte& stored(const AsnTeletexString& value) {
    return value.GetData();
}

template <class T>
class text_strings_test_any_byte : public ::testing::Test {};
using AnyByteTypes = ::testing::Types<AsnIA5String, AsnTeletexString>;
TYPED_TEST_SUITE(text_strings_test_any_byte, AnyByteTypes, );

TYPED_TEST(text_strings_test_any_byte, StoresWhatItGets) {
    TypeParam value;
    EXPECT_TRUE(stored(value).Empty());
    value.SetData(bytes("00 41 80 FF"));
    EXPECT_EQ(toHex(stored(value)), "00 41 80 FF");
    value.SetData(bytes("01 02 03 04").GetChars(), 1, 2);
    EXPECT_EQ(toHex(stored(value)), "02 03");
    value.SetVisibleString("a\x90");
    EXPECT_EQ(toHex(stored(value)), "61 90");
    value.SetVisibleString(nullptr);
    EXPECT_TRUE(stored(value).Empty());
    value.SetVisibleString("a");
    value.SetVisibleString("");
    EXPECT_TRUE(stored(value).Empty());
    value.SetVisibleString("a");
    value.SetData(nullptr, 0, 4);
    EXPECT_TRUE(stored(value).Empty());
    value.SetVisibleString("a");
    value.SetData(MiByte());
    EXPECT_TRUE(stored(value).Empty());
}

TYPED_TEST(text_strings_test_any_byte, TestDataIsAlwaysTrue) {
    EXPECT_TRUE(TypeParam::TestData("\xFF", 0, 1));
    EXPECT_TRUE(TypeParam::TestData(nullptr, 0, 0));
}

TYPED_TEST(text_strings_test_any_byte, VisibleTextHasBlanksForTheRest) {
    TypeParam value;
    EXPECT_EQ(text(value.GetVisibleString()), "");
    value.SetData(bytes("41 1F 20 7E 7F 80 FF 00 42"));
    EXPECT_EQ(text(value.GetVisibleString()), "A  ~    B");
}

}  // namespace
