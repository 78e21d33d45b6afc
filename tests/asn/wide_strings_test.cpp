#include "asn/wide_strings.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "tests/asn/der_io.h"

namespace {

using der_io::bytes;
using der_io::toHex;

static_assert(sizeof(AsnQuadruple) == 4);

std::string text(const MiString& value) {
    return {value.GetChars() == nullptr ? "" : value.GetChars(), value.GetLength()};
}

AsnQuadruple character(unsigned int number) {
    return {{static_cast<unsigned char>(number >> 24), static_cast<unsigned char>(number >> 16),
             static_cast<unsigned char>(number >> 8), static_cast<unsigned char>(number)}};
}

// The value's characters as hex, by each of its getters.
template <class T>
std::string stored(const T& value) {
    std::string quadruples = toHex(reinterpret_cast<const char*>(value.GetData()), 4 * value.GetDataLength());
    EXPECT_EQ(toHex(value.GetByte()), quadruples);
    return quadruples;
}

template <class T>
T filled() {
    T value;
    value.SetVisibleString("old");
    return value;
}

// A setter throws that very exception, and leaves the value empty.
template <class Exception, class T, class Set>
void expectRefused(Set set) {
    T value = filled<T>();
    EXPECT_THROW(set(value), Exception);
    EXPECT_EQ(value.GetDataLength(), 0U);
}

template <class T, class Set>
std::string after(Set set) {
    T value = filled<T>();
    set(value);
    return stored(value);
}

template <class T>
class wide_strings_test_each : public ::testing::Test {};
using WideTypes = ::testing::Types<AsnBMPString, AsnUniversalString, AsnUTF8String>;
TYPED_TEST_SUITE(wide_strings_test_each, WideTypes, );

TYPED_TEST(wide_strings_test_each, StartsEmpty) {
    const TypeParam value;
    EXPECT_EQ(value.GetData(), nullptr);
    EXPECT_EQ(value.GetDataLength(), 0U);
    EXPECT_TRUE(value.GetByte().Empty());
    EXPECT_TRUE(value.GetVisibleString().Empty());
}

TYPED_TEST(wide_strings_test_each, AVisibleTextGivesACharacterForEachByte) {
    EXPECT_EQ(after<TypeParam>([](TypeParam& v) { v.SetVisibleString("aB\xE9"); }),
              "00 00 00 61 00 00 00 42 00 00 00 E9");
    EXPECT_EQ(after<TypeParam>([](TypeParam& v) { v.SetVisibleString(static_cast<const char*>(nullptr)); }), "");
    EXPECT_EQ(after<TypeParam>([](TypeParam& v) { v.SetVisibleString(""); }), "");
}

TYPED_TEST(wide_strings_test_each, NullAndNothingEmpty) {
    const AsnQuadruple one = character('a');
    EXPECT_EQ(after<TypeParam>([](TypeParam& v) { v.SetData(MiByte()); }), "");
    EXPECT_EQ(after<TypeParam>([](TypeParam& v) { v.SetData(nullptr, 0, 0); }), "");
    EXPECT_EQ(after<TypeParam>([](TypeParam& v) { v.SetData("abcd", 0, 0); }), "");
    EXPECT_EQ(after<TypeParam>([](TypeParam& v) { v.SetData(static_cast<const AsnQuadruple*>(nullptr), 3); }), "");
    EXPECT_EQ(after<TypeParam>([&](TypeParam& v) { v.SetData(&one, 0); }), "");
}

TYPED_TEST(wide_strings_test_each, CharactersAreCopied) {
    std::vector<AsnQuadruple> source = {character('a'), character(0xFFFF)};
    TypeParam value;
    value.SetData(source.data(), 2);
    source[0] = character('z');
    EXPECT_EQ(stored(value), "00 00 00 61 00 00 FF FF");
    value.SetData(value.GetData() + 1, 1);
    EXPECT_EQ(stored(value), "00 00 FF FF");
    const TypeParam copy(value);
    value.Reset(nullptr);
    EXPECT_EQ(stored(copy), "00 00 FF FF");
}

TYPED_TEST(wide_strings_test_each, LongTextsGoThrough) {
    const std::string long_(100000, 'x');
    TypeParam value;
    value.SetVisibleString(long_.c_str());
    EXPECT_EQ(value.GetDataLength(), 100000U);
    EXPECT_EQ(text(value.GetVisibleString()), long_);
}

TEST(wide_strings_test, CharactersThatWereMovedAwayAreNone) {
    AsnCharacters characters(3);
    for (unsigned int i = 0; i < 3; ++i)
        characters.Data()[i] = {{0, 0, 0, static_cast<unsigned char>('a' + i)}};
    const AsnCharacters copy(characters);
    const AsnQuadruple* const data = characters.Data();
    const AsnCharacters moved(std::move(characters));
    EXPECT_TRUE(moved == copy);
    EXPECT_EQ(moved.Data(), data);
    EXPECT_EQ(characters.Length(), 0U);  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(characters.Data(), nullptr);
}

TEST(wide_strings_test, ACountThatNoByteStringCouldHoldIsAMemoryFailure) {
    EXPECT_THROW(AsnCharacters(0x40000000U), std::bad_alloc);
    EXPECT_THROW(AsnCharacters(UINT32_MAX), std::bad_alloc);
}

TEST(wide_strings_test, BmpReadsUcs2) {
    const MiByte source = bytes("FF 00 61 20 AC");
    EXPECT_EQ(after<AsnBMPString>([](AsnBMPString& v) { v.SetData(bytes("00 61 20 AC")); }), "00 00 00 61 00 00 20 AC");
    EXPECT_EQ(after<AsnBMPString>([&](AsnBMPString& v) { v.SetData(source.GetChars(), 1, 4); }),
              "00 00 00 61 00 00 20 AC");
    EXPECT_EQ(after<AsnBMPString>([&](AsnBMPString& v) { v.SetData(source.GetChars(), 3, 2); }), "00 00 20 AC");
}

TEST(wide_strings_test, BmpRefusesOddLengthsInTwoWays) {
    expectRefused<AsnDataExp, AsnBMPString>([](AsnBMPString& v) { v.SetData(bytes("00 61 00")); });
    expectRefused<MiInvalidArgumentExp, AsnBMPString>([](AsnBMPString& v) { v.SetData("abc", 0, 3); });
    expectRefused<MiInvalidArgumentExp, AsnBMPString>([](AsnBMPString& v) { v.SetData(nullptr, 0, 2); });
}

TEST(wide_strings_test, BmpTakesCharactersOfTwoBytes) {
    const AsnQuadruple good[] = {character(0xFFFF), character(0)};
    const AsnQuadruple bad[] = {character('a'), character(0x10000)};
    const AsnQuadruple worse[] = {character(0x01000000)};
    EXPECT_EQ(stored(AsnBMPString(good, 2)), "00 00 FF FF 00 00 00 00");
    EXPECT_THROW(AsnBMPString(bad, 2), AsnDataExp);
    expectRefused<AsnDataExp, AsnBMPString>([&](AsnBMPString& v) { v.SetData(bad, 2); });
    EXPECT_TRUE(AsnBMPString::TestData(good, 2));
    EXPECT_FALSE(AsnBMPString::TestData(bad, 2));
    EXPECT_TRUE(AsnBMPString::TestData(bad, 1));
    EXPECT_FALSE(AsnBMPString::TestData(worse, 1));
    EXPECT_FALSE(AsnBMPString::TestData(good, 0));
    EXPECT_FALSE(AsnBMPString::TestData(static_cast<const AsnQuadruple*>(nullptr), 1));
}

TEST(wide_strings_test, BmpTakesUniversalData) {
    EXPECT_EQ(after<AsnBMPString>([](AsnBMPString& v) { v.SetUniversalData(bytes("00 00 20 AC")); }), "00 00 20 AC");
    EXPECT_EQ(after<AsnBMPString>([](AsnBMPString& v) { v.SetUniversalData(MiByte()); }), "");
    for (const char* bad : {"00 00 20", "00 01 00 00", "01 00 00 00", "00 00 00 61 00"})
        expectRefused<AsnDataExp, AsnBMPString>([&](AsnBMPString& v) { v.SetUniversalData(bytes(bad)); });
    EXPECT_TRUE(AsnBMPString::TestData(bytes("00 00 FF FF 00 00 00 00")));
    EXPECT_FALSE(AsnBMPString::TestData(bytes("00 00 FF FF 00 01 00 00")));
    EXPECT_FALSE(AsnBMPString::TestData(bytes("00 00 FF")));
    EXPECT_FALSE(AsnBMPString::TestData(MiByte()));
}

TEST(wide_strings_test, BmpTakesATextObject) {
    EXPECT_EQ(after<AsnBMPString>([](AsnBMPString& v) { v.SetVisibleString(MiString("ab")); }),
              "00 00 00 61 00 00 00 62");
    EXPECT_EQ(after<AsnBMPString>([](AsnBMPString& v) { v.SetVisibleString(MiString()); }), "");
}

TEST(wide_strings_test, UniversalReadsFourBytesACharacter) {
    const MiByte source = bytes("FF 00 01 F6 00 7F FF FF FF");
    const std::string both = "00 01 F6 00 7F FF FF FF";
    EXPECT_EQ(after<AsnUniversalString>([&](AsnUniversalString& v) { v.SetData(bytes(both)); }), both);
    EXPECT_EQ(after<AsnUniversalString>([&](AsnUniversalString& v) { v.SetData(source.GetChars(), 1, 8); }), both);
}

TEST(wide_strings_test, UniversalRefusals) {
    using T = AsnUniversalString;
    const AsnQuadruple high = character(0x80000000);
    expectRefused<MiInvalidArgumentExp, T>([](T& v) { v.SetData(bytes("00 00 00 61 00")); });
    expectRefused<MiInvalidArgumentExp, T>([](T& v) { v.SetData(bytes("80 00 00")); });
    expectRefused<AsnDataExp, T>([](T& v) { v.SetData(bytes("00 00 00 61 80 00 00 00")); });
    expectRefused<MiInvalidArgumentExp, T>([](T& v) { v.SetData("abcdef", 0, 6); });
    expectRefused<MiInvalidArgumentExp, T>([](T& v) { v.SetData(nullptr, 0, 4); });
    expectRefused<AsnDataExp, T>([](T& v) { v.SetData("\x80zzz", 0, 4); });
    expectRefused<AsnDataExp, T>([&](T& v) { v.SetData(&high, 1); });
}

TEST(wide_strings_test, UniversalTestsUpToAPositionRatherThanALength) {
    const MiByte source = bytes("FF FF FF FF 00 00 00 61 80 00 00 00");
    // From 4 to position 8: the group at 8 goes untested, and is stored.
    EXPECT_TRUE(AsnUniversalString::TestData(source.GetChars(), 4, 8));
    EXPECT_EQ(after<AsnUniversalString>([&](AsnUniversalString& v) { v.SetData(source.GetChars(), 4, 8); }),
              "00 00 00 61 80 00 00 00");
    // From 8 to position 4: nothing is.
    EXPECT_EQ(after<AsnUniversalString>([&](AsnUniversalString& v) { v.SetData(source.GetChars(), 8, 4); }),
              "80 00 00 00");
    EXPECT_FALSE(AsnUniversalString::TestData(source.GetChars(), 0, 12));
    EXPECT_FALSE(AsnUniversalString::TestData(source.GetChars(), 4, 12));
    EXPECT_FALSE(AsnUniversalString::TestData(source.GetChars(), 4, 6));
    EXPECT_FALSE(AsnUniversalString::TestData(source.GetChars(), 4, 0));
    EXPECT_FALSE(AsnUniversalString::TestData(nullptr, 0, 4));
}

TEST(wide_strings_test, Utf8TakesFourBytesACharacter) {
    using T = AsnUTF8String;
    const AsnQuadruple good[] = {character(0x7FFFFFFF)};
    const AsnQuadruple bad[] = {character('a'), character(0x80000000)};
    EXPECT_EQ(after<T>([](T& v) { v.SetData(bytes("00 00 00 61 7F FF FF FF")); }), "00 00 00 61 7F FF FF FF");
    EXPECT_EQ(after<T>([](T& v) { v.SetData("\0\0\0a\0\0\0b", 0, 8); }), "00 00 00 61 00 00 00 62");
    for (const char* refused : {"00 00 00", "00 00 00 61 00", "80 00 00 00", "00 00 00 61 FF 00 00 00"})
        expectRefused<AsnDataExp, T>([&](T& v) { v.SetData(bytes(refused)); });
    expectRefused<AsnDataExp, T>([](T& v) { v.SetData("\0\0\0a\x80\0\0b", 0, 8); });
    expectRefused<AsnDataExp, T>([&](T& v) { v.SetData(bad, 2); });
    EXPECT_EQ(after<T>([](T& v) { v.SetData(nullptr, 0, 8); }), "");

    EXPECT_TRUE(T::TestData(bytes("7F 00 00 00")));
    EXPECT_FALSE(T::TestData(bytes("80 00 00 00")));
    EXPECT_FALSE(T::TestData(bytes("00 00 00 61 00 00")));
    EXPECT_FALSE(T::TestData(MiByte()));
    EXPECT_TRUE(T::TestData(good, 1));
    EXPECT_FALSE(T::TestData(bad, 2));
    EXPECT_FALSE(T::TestData(good, 0));
    EXPECT_FALSE(T::TestData(static_cast<const AsnQuadruple*>(nullptr), 1));
}

TEST(wide_strings_test, Utf8WalksUpToAPositionRatherThanALength) {
    using T = AsnUTF8String;
    const MiByte source = bytes("FF FF FF FF 00 00 00 61 80 00 00 00");
    EXPECT_EQ(after<T>([&](T& v) { v.SetData(source.GetChars(), 4, 8); }), "00 00 00 61");
    EXPECT_EQ(after<T>([&](T& v) { v.SetData(source.GetChars(), 4, 5); }), "00 00 00 61");
    EXPECT_EQ(after<T>([&](T& v) { v.SetData(source.GetChars(), 8, 4); }), "");
    expectRefused<AsnDataExp, T>([&](T& v) { v.SetData(source.GetChars(), 4, 12); });
    EXPECT_TRUE(T::TestData(source.GetChars(), 4, 8));
    EXPECT_TRUE(T::TestData(source.GetChars(), 8, 4));
    EXPECT_FALSE(T::TestData(source.GetChars(), 4, 9));
    EXPECT_FALSE(T::TestData(source.GetChars(), 4, 0));
    EXPECT_FALSE(T::TestData(nullptr, 0, 4));
}

TEST(wide_strings_test, Utf8ReadsNothingBehindItsInput) {
    using T = AsnUTF8String;
    // Exactly as many bytes as there are, so that the address checker sees a read of one more.
    const std::vector<char> six = {0, 0, 0, 'a', 0, 0};
    EXPECT_TRUE(T::TestData(six.data(), 0, 6));
    EXPECT_EQ(after<T>([&](T& v) { v.SetData(six.data(), 0, 6); }), "00 00 00 61");
    EXPECT_EQ(after<T>([&](T& v) { v.SetData(six.data(), 0, 3); }), "");
    EXPECT_EQ(after<T>([&](T& v) { v.SetData(six.data(), 2, 4); }), "00 61 00 00");
    const std::vector<char> badEnd = {0, 0, 0, 'a', '\x80'};
    EXPECT_FALSE(T::TestData(badEnd.data(), 0, 5));
    expectRefused<AsnDataExp, T>([&](T& v) { v.SetData(badEnd.data(), 0, 5); });
}

TEST(wide_strings_test, VisibleTextOfABmpShrinks) {
    AsnBMPString value;
    value.SetData(bytes("00 61 00 E9 00 62"));
    EXPECT_EQ(text(value.GetVisibleString()), "ab");
    value.SetData(bytes("00 1F 00 20 00 7E 00 7F 01 61 00 63"));
    EXPECT_EQ(text(value.GetVisibleString()), " ~c");
    value.SetData(bytes("00 E9"));
    EXPECT_EQ(text(value.GetVisibleString()), "");
}

TEST(wide_strings_test, VisibleTextOfTheOthersHasBlanks) {
    const MiByte source = bytes("00 00 00 61 00 00 00 E9 00 00 00 62 00 00 01 63 00 01 00 63 01 00 00 63");
    AsnUTF8String utf8;
    utf8.SetData(source);
    EXPECT_EQ(text(utf8.GetVisibleString()), "a b   ");
    AsnUniversalString universal;
    universal.SetData(source);
    EXPECT_EQ(text(universal.GetVisibleString()), "a b   ");
}

}  // namespace
