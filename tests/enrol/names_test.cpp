#include "enrol/names.h"

#include <gtest/gtest.h>

#include "tests/support/hex.h"

namespace {

using enrol::equalTokens;
using enrol::kSerialDigits;
using enrol::matchesName;
using enrol::normaliseName;
using enrol::parseSerial;
using enrol::splitName;
using support::hex;
using Tokens = std::vector<std::wstring_view>;

bool equal(std::wstring_view certificate, std::wstring_view query) {
    return equalTokens(&certificate, &query);
}

TEST(names_test, BlankIsInsertedAfterACommaThatNoneFollows) {
    EXPECT_EQ(normaliseName(L"CN=a,O=b"), L"CN=a, O=b");
    EXPECT_EQ(normaliseName(L"CN=a, O=b"), L"CN=a, O=b");
    EXPECT_EQ(normaliseName(L"CN=a,  O=b"), L"CN=a,  O=b");
    EXPECT_EQ(normaliseName(L",,"), L", , ");
    EXPECT_EQ(normaliseName(L"a,"), L"a, ");
    EXPECT_EQ(normaliseName(L""), L"");
    EXPECT_EQ(normaliseName(L"a,\tb"), L"a, \tb") << "the blank is the space alone";
}

TEST(names_test, SplitAtCommaAndBlank) {
    EXPECT_EQ(splitName(L"CN=a, O=b"), (Tokens{L"CN=a", L"O=b"}));
    EXPECT_EQ(splitName(L"CN=a,O=b"), (Tokens{L"CN=a,O=b"}));
    EXPECT_EQ(splitName(L"a,  b"), (Tokens{L"a", L" b"}));
}

TEST(names_test, SplitDropsOnlyTheEmptyRemainder) {
    EXPECT_EQ(splitName(L""), Tokens{});
    EXPECT_EQ(splitName(L"CN=a, "), (Tokens{L"CN=a"}));
    EXPECT_EQ(splitName(L", CN=a"), (Tokens{L"", L"CN=a"}));
    EXPECT_EQ(splitName(L"a, , b"), (Tokens{L"a", L"", L"b"}));
    EXPECT_EQ(splitName(L", "), (Tokens{L""}));
}

TEST(names_test, KeysOfTheSameLengthCompareKeyAndValue) {
    EXPECT_TRUE(equal(L"CN=Alice", L"cn=ALICE"));
    EXPECT_FALSE(equal(L"CN=Alice", L"SN=Alice"));
    EXPECT_FALSE(equal(L"CN=Alice", L"CN=Alicia"));
    EXPECT_FALSE(equal(L"CN=Alice", L"CN=Alice "));
    EXPECT_FALSE(equal(L"CN=Alice", L"CN=Alic"));
    EXPECT_TRUE(equal(L"CN=", L"cn="));
    EXPECT_TRUE(equal(L"CN=a=b", L"CN=A=B")) << "the key ends at the first equals sign";
    EXPECT_FALSE(equal(L"CN=a=b", L"CN=a=c"));
    EXPECT_TRUE(equal(L"=a", L"=A")) << "an empty key compares no characters";
    EXPECT_FALSE(equal(L"=a", L"=b"));
}

TEST(names_test, DoubleKeyLengthReachesIntoTheValuesAndPastShortOnes) {
    EXPECT_TRUE(equal(L"description=a", L"DESCRIPTION=A"));
    EXPECT_FALSE(equal(L"description=a", L"description=ab"));
    EXPECT_FALSE(equal(L"description=abc", L"description=abd"));
}

TEST(names_test, KeysOfDifferentLengthAreUnequal) {
    EXPECT_FALSE(equal(L"C=a", L"CN=a"));
    EXPECT_FALSE(equal(L"CN=a", L"C=a"));
    EXPECT_FALSE(equal(L"=a", L"C=a"));
}

TEST(names_test, OneKeyComparesTheValueWithTheWholeOther) {
    EXPECT_TRUE(equal(L"CN=Alice", L"alice"));
    EXPECT_TRUE(equal(L"Alice", L"cn=alice"));
    EXPECT_FALSE(equal(L"CN=Alice", L"CN"));
    EXPECT_FALSE(equal(L"CN", L"CN=Alice"));
    EXPECT_TRUE(equal(L"CN=", L""));
}

TEST(names_test, NoKeysCompareWhole) {
    EXPECT_TRUE(equal(L"Alice", L"aLICE"));
    EXPECT_FALSE(equal(L"Alice", L"Bob"));
    EXPECT_TRUE(equal(L"", L""));
    EXPECT_FALSE(equal(L"", L"a"));
}

TEST(names_test, NullTokens) {
    const std::wstring_view token;
    EXPECT_TRUE(equalTokens(nullptr, nullptr));
    EXPECT_FALSE(equalTokens(&token, nullptr));
    EXPECT_FALSE(equalTokens(nullptr, &token));
}

TEST(names_test, OnlyAsciiLettersFold) {
    EXPECT_FALSE(equal(L"CN=\u00C4", L"CN=\u00E4"));
    EXPECT_TRUE(equal(L"CN=\u00C4", L"cn=\u00C4"));
    EXPECT_FALSE(equal(L"CN=@", L"CN=`"));
    EXPECT_FALSE(equal(L"CN=[", L"CN={"));
}

TEST(names_test, QueryWithoutBlankAndInOtherCaseSelects) {
    EXPECT_TRUE(matchesName(L"CN=a,O=b", L"CN=A, O=B"));
}

TEST(names_test, QueryMayHoldMoreThanTheCertificate) {
    EXPECT_TRUE(matchesName(L"CN=a, O=b", L"CN=a"));
}

TEST(names_test, CertificateMayNotHoldMoreThanTheQuery) {
    EXPECT_FALSE(matchesName(L"CN=a", L"CN=a, O=b"));
}

TEST(names_test, QueryWithoutAKeySelectsByValue) {
    EXPECT_TRUE(matchesName(L"a", L"CN=a"));
    EXPECT_FALSE(matchesName(L"a", L"CN=b"));
}

TEST(names_test, OrderDoesNotCount) {
    EXPECT_TRUE(matchesName(L"O=b,CN=a", L"CN=a, O=b"));
}

TEST(names_test, OneTokenOfTheQueryServesSeveralOfTheCertificate) {
    EXPECT_TRUE(matchesName(L"a", L"CN=a, O=a, OU=a"));
}

TEST(names_test, CertificateWithoutTokensIsSelected) {
    EXPECT_TRUE(matchesName(L"CN=a", L""));
    EXPECT_TRUE(matchesName(L"", L""));
    EXPECT_FALSE(matchesName(L"", L"CN=a"));
}

TEST(names_test, ValueWithASeparatorSpansTwoTokens) {
    EXPECT_TRUE(matchesName(L"CN=\"a, b\"", L"CN=\"a, b\""));
    EXPECT_TRUE(matchesName(L"b\",CN=\"a", L"CN=\"a, b\""));
    EXPECT_FALSE(matchesName(L"CN=\"a", L"CN=\"a, b\""));
}

TEST(names_test, SerialReadsMostSignificantByteFirst) {
    std::vector<std::uint8_t> blob;
    ASSERT_TRUE(parseSerial(L"0A1B2c", blob));
    EXPECT_EQ(blob, hex("2C 1B 0A"));
}

TEST(names_test, SerialDropsBlanksAndTakesBothCases) {
    std::vector<std::uint8_t> spaced;
    std::vector<std::uint8_t> plain;
    ASSERT_TRUE(parseSerial(L" 0A 1 B ", spaced));
    ASSERT_TRUE(parseSerial(L"0a1b", plain));
    EXPECT_EQ(spaced, hex("1B 0A"));
    EXPECT_EQ(plain, spaced);
    ASSERT_TRUE(parseSerial(L"abcdefABCDEF0123456789", plain));
    EXPECT_EQ(plain, hex("89 67 45 23 01 EF CD AB EF CD AB"));
}

TEST(names_test, SerialReplacesWhatTheBlobHeld) {
    std::vector<std::uint8_t> blob = hex("FF FF FF");
    ASSERT_TRUE(parseSerial(L"01", blob));
    EXPECT_EQ(blob, hex("01"));
}

TEST(names_test, SerialOfNoOrOddDigitsFails) {
    std::vector<std::uint8_t> blob;
    EXPECT_FALSE(parseSerial(L"", blob));
    EXPECT_FALSE(parseSerial(L"   ", blob));
    EXPECT_FALSE(parseSerial(L"0A1", blob));
    EXPECT_FALSE(parseSerial(L"1", blob));
}

TEST(names_test, SerialOfOtherCharactersFails) {
    std::vector<std::uint8_t> blob;
    for (const wchar_t* text : {L"0G", L"0x", L"-1", L"0\t1", L"0:", L"@0", L"`0", L"\u06610", L"/0"})
        EXPECT_FALSE(parseSerial(text, blob)) << std::string(text, text + 2);
}

TEST(names_test, SerialHasRoomFor1024Digits) {
    std::vector<std::uint8_t> blob;
    const std::wstring full(kSerialDigits, L'7');
    ASSERT_TRUE(parseSerial(full, blob));
    EXPECT_EQ(blob, std::vector<std::uint8_t>(512, 0x77));
    EXPECT_TRUE(parseSerial(std::wstring(5000, L' ') + full, blob)) << "blanks take no room";
    EXPECT_FALSE(parseSerial(full + L"7", blob));
    EXPECT_FALSE(parseSerial(full + L"77", blob));
    EXPECT_FALSE(parseSerial(std::wstring(1 << 20, L'7'), blob));
}

}  // namespace
