#include "asn/times.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "tests/asn/der_io.h"

namespace {

using der_io::bytes;

std::string text(const MiString& value) {
    return {value.GetChars() == nullptr ? "" : value.GetChars(), value.GetLength()};
}

// Local time is five hours ahead of GMT while this lives.
class FiveHoursAhead {
  public:
    FiveHoursAhead() { set("TST-5"); }
    FiveHoursAhead(const FiveHoursAhead&) = delete;
    FiveHoursAhead& operator=(const FiveHoursAhead&) = delete;
    ~FiveHoursAhead() { set("UTC0"); }

  private:
    static void set(const char* zone) {
#ifdef _WIN32
        _putenv_s("TZ", zone);
        _tzset();
#else
        setenv("TZ", zone, 1);
        tzset();
#endif
    }
};

const char* const kEpoch = "19700101000000";

// What is stored after that text, as fourteen digits.
std::string utc(const std::string& source) {
    AsnUTCTime value;
    value.SetCurrentTime();
    value.SetTime(source.c_str());
    return text(value.GetTime().GetTimeString(nullptr));
}

std::string generalized(const std::string& source) {
    AsnGeneralizedTime value;
    value.SetCurrentTime();
    value.SetTime(source.c_str());
    std::string stored = text(value.GetTime().GetTimeString(nullptr));
    if (!value.GetFracSecond().Empty())
        stored += "." + text(value.GetFracSecond());
    return stored;
}

TEST(times_test, BothStartAtTheEpoch) {
    EXPECT_EQ(text(AsnUTCTime().GetTimeString()), "700101000000Z");
    EXPECT_EQ(text(AsnGeneralizedTime().GetTimeString()), "19700101000000Z");
    EXPECT_EQ(utc(""), kEpoch);
    EXPECT_EQ(generalized(""), kEpoch);
    AsnUTCTime utcTime;
    utcTime.SetCurrentTime();
    utcTime.SetTime(static_cast<const char*>(nullptr));
    EXPECT_EQ(text(utcTime.GetTimeString()), "700101000000Z");
    AsnGeneralizedTime time;
    time.SetTime("20141022120000.5Z");
    time.SetTime(static_cast<const char*>(nullptr));
    EXPECT_EQ(text(time.GetTimeString()), "19700101000000Z");
}

TEST(times_test, UtcFormsByLength) {
    EXPECT_EQ(utc("1410221200"), "20141022120000");
    EXPECT_EQ(utc("1410221200Z"), "20141022120000");
    EXPECT_EQ(utc("1410221200z"), "20141022120000");
    EXPECT_EQ(utc("141022120034"), "20141022120034");
    EXPECT_EQ(utc("141022120034Z"), "20141022120034");
    EXPECT_EQ(utc("141022120034z"), "20141022120034");
    EXPECT_EQ(utc("1410221200-0000"), "20141022120000");
    EXPECT_EQ(utc("141022120034+0000"), "20141022120034");
}

TEST(times_test, UtcYearsAre1970To2069) {
    EXPECT_EQ(utc("700101000000Z"), "19700101000000");
    EXPECT_EQ(utc("991231235959Z"), "19991231235959");
    EXPECT_EQ(utc("691231235959Z"), "20691231235959");
}

TEST(times_test, UtcRefusesOtherLengthsAndEnds) {
    for (const char* bad : {"1", "141022120", "1410221200X", "141022120034X", "14102212003400", "141022120034+000",
                            "141022120034+00000", "141022120034Z+0000"})
        EXPECT_THROW(utc(bad), AsnDataExp) << bad;
}

TEST(times_test, UtcOffsetsGiveGmt) {
    EXPECT_EQ(utc("1410221200+0800"), "20141022040000");
    EXPECT_EQ(utc("1410221200-0800"), "20141022200000");
    EXPECT_EQ(utc("141022120034+0130"), "20141022103034");
    EXPECT_EQ(utc("141022120034-1345"), "20141023014534");
    EXPECT_EQ(utc("140301000000+0001"), "20140228235900");
    EXPECT_EQ(utc("141231235900-0001"), "20150101000000");
}

TEST(times_test, UtcIgnoresTheOffsetBehindAnyOtherSign) {
    EXPECT_EQ(utc("1410221200x0800"), "20141022120000");
    EXPECT_EQ(utc("141022120034 0800"), "20141022120034");
}

TEST(times_test, UtcTestsTheOffset) {
    for (const char* bad : {"1410221200+0a00", "1410221200+1x00", "1410221200-0060", "1410221200-000a",
                            "141022120034+0x00", "141022120034-0099"})
        EXPECT_THROW(utc(bad), AsnDataExp) << bad;
    // An hour with another first digit is taken on trust.
    EXPECT_EQ(utc("1410221200+2500"), "20141021110000");
}

TEST(times_test, BadFieldsAreFailuresOfMiTime) {
    EXPECT_THROW(utc("141322120000Z"), MiInvalidArgumentExp);
    EXPECT_THROW(utc("140230120000Z"), MiInvalidArgumentExp);
    EXPECT_THROW(utc("1410221260Z"), MiInvalidArgumentExp);
    EXPECT_THROW(generalized("20141322120000Z"), MiInvalidArgumentExp);
    EXPECT_THROW(generalized("19691231235959Z"), MiInvalidArgumentExp);
    EXPECT_THROW(generalized("2014102212000aZ"), MiInvalidArgumentExp);
}

TEST(times_test, UtcPrintsOneForm) {
    AsnUTCTime value;
    value.SetTime("1410221200+0800");
    EXPECT_EQ(text(value.GetTimeString()), "141022040000Z");
    value.SetTime(MiString("141022010203Z"));
    EXPECT_EQ(text(value.GetTimeString()), "141022010203Z");
    value.SetTime(MiTime(2014, 10, 22, 1, 2, 4));
    EXPECT_EQ(text(value.GetTimeString()), "141022010204Z");
}

template <class T>
class times_test_each : public ::testing::Test {};
using TimeTypes = ::testing::Types<AsnUTCTime, AsnGeneralizedTime>;
TYPED_TEST_SUITE(times_test_each, TimeTypes, );

TYPED_TEST(times_test_each, TakesBytes) {
    const MiByte source = bytes("FF 32 30 31 34 31 30 32 32 31 32 30 30 30 30 5A FF");  // "20141022120000Z"
    const bool isUtc = TypeParam().GetAsnTagNumber() == 23;
    TypeParam value;
    value.SetTimeBytes(source.GetChars(), isUtc ? 3 : 1, isUtc ? 13 : 15);
    EXPECT_EQ(text(value.GetTime().GetTimeString(nullptr)), "20141022120000");
    EXPECT_THROW(value.SetTimeBytes(nullptr, 0, 13), MiInvalidArgumentExp);
    EXPECT_THROW(value.SetTimeBytes(nullptr, 0, 0), MiInvalidArgumentExp);
    EXPECT_EQ(text(value.GetTime().GetTimeString(nullptr)), "20141022120000");
    value.SetTimeBytes(source.GetChars(), 1, 0);
    EXPECT_EQ(text(value.GetTime().GetTimeString(nullptr)), kEpoch);
}

TYPED_TEST(times_test_each, TheTextOfBytesEndsAtAZeroByte) {
    const char source[] = "20141022120000Z\0tail";
    const bool isUtc = TypeParam().GetAsnTagNumber() == 23;
    TypeParam value;
    value.SetTimeBytes(source, isUtc ? 2 : 0, isUtc ? 18 : 20);
    EXPECT_EQ(text(value.GetTime().GetTimeString(nullptr)), "20141022120000");
    value.SetTimeBytes(source, 15, 5);
    EXPECT_EQ(text(value.GetTime().GetTimeString(nullptr)), kEpoch);
}

TYPED_TEST(times_test_each, ThePresentIsGmt) {
    const FiveHoursAhead zone;
    const auto before = static_cast<unsigned int>(std::time(nullptr));
    TypeParam value;
    value.SetCurrentTime();
    const auto after = static_cast<unsigned int>(std::time(nullptr));
    EXPECT_GE(value.GetTime(), MiTime(before));
    EXPECT_LE(value.GetTime(), MiTime(after));
}

TEST(times_test, AFailureLeavesTheEpochOrHalfATime) {
    AsnUTCTime value;
    value.SetTime("141022120000Z");
    EXPECT_THROW(value.SetTime("bad"), AsnDataExp);
    EXPECT_EQ(text(value.GetTimeString()), "700101000000Z");
    AsnGeneralizedTime time;
    time.SetTime("20141022120000.5Z");
    EXPECT_THROW(time.SetTime("20141022"), AsnDataExp);
    EXPECT_EQ(text(time.GetTimeString()), "19700101000000Z");
}

TEST(times_test, GeneralizedAsZulu) {
    EXPECT_EQ(generalized("20141022120000Z"), "20141022120000");
    EXPECT_EQ(generalized("20141022120000z"), "20141022120000");
    EXPECT_EQ(generalized("99991231235959Z"), "99991231235959");
}

TEST(times_test, GeneralizedWithoutAZoneIsLocal) {
    const FiveHoursAhead zone;
    EXPECT_EQ(generalized("20141022120000"), "20141022070000");
    EXPECT_EQ(generalized("20141022020000"), "20141021210000");
    EXPECT_EQ(generalized("20141022120000.25"), "20141022070000.25");
    EXPECT_EQ(generalized("20141022120000Z"), "20141022120000");
    EXPECT_EQ(generalized("20141022120000.25Z"), "20141022120000.25");
}

TEST(times_test, GeneralizedRefusesOtherForms) {
    for (const char* bad : {"2014102212000", "20141022120000X", "20141022120000-", "20141022120000.",
                            "20141022120000+080", "20141022120000+08000", "20141022120000-080", "20141022120000-08000",
                            "20141022120000ZZ", "20141022120000,5Z", "20141022120000x0800"})
        EXPECT_THROW(generalized(bad), AsnDataExp) << bad;
}

TEST(times_test, GeneralizedMovesForMinusAndNotForPlus) {
    EXPECT_EQ(generalized("20141022120000-0800"), "20141022200000");
    EXPECT_EQ(generalized("20141022120000-1330"), "20141023013000");
    EXPECT_EQ(generalized("20141231233000-0030"), "20150101000000");
    EXPECT_EQ(generalized("20141022120000+0800"), "20141022120000");
}

TEST(times_test, GeneralizedWithAFractionMovesForBoth) {
    EXPECT_EQ(generalized("20141022120000.5-0800"), "20141022200000.5");
    EXPECT_EQ(generalized("20141022120000.5+0800"), "20141022040000.5");
    EXPECT_EQ(generalized("20141022120000.123+0130"), "20141022103000.123");
    EXPECT_EQ(generalized("20140301000000.5+0001"), "20140228235900.5");
    EXPECT_EQ(generalized("20141231235900.5-0001"), "20150101000000.5");
}

TEST(times_test, GeneralizedTestsTheOffset) {
    for (const char* bad : {"20141022120000-0a00", "20141022120000+0a00", "20141022120000-0060",
                            "20141022120000.5-0a00", "20141022120000.5+0060"})
        EXPECT_THROW(generalized(bad), AsnDataExp) << bad;
}

TEST(times_test, GeneralizedFractions) {
    EXPECT_EQ(generalized("20141022120000.500Z"), "20141022120000.5");
    EXPECT_EQ(generalized("20141022120000.000z"), "20141022120000");
    EXPECT_EQ(generalized("20141022120000.0501Z"), "20141022120000.0501");
    for (const char* bad :
         {"20141022120000.Z", "20141022120000.5a", "20141022120000.5aZ", "20141022120000.5ZZ", "20141022120000.-0800",
          "20141022120000.+0800", "20141022120000.5-080", "20141022120000.5-08000", "20141022120000.5+080",
          "20141022120000.5+08000", "20141022120000.5-0800Z", "20141022120000.5+08-0", "20141022120000..5Z"})
        EXPECT_THROW(generalized(bad), AsnDataExp) << bad;
}

TEST(times_test, TheMinusIsLookedForBeforeThePlus) {
    // The first "-" stands five from the end, and "5+1" in front of it is no fraction.
    EXPECT_THROW(generalized("20141022120000.5+1-0800"), AsnDataExp);
}

TEST(times_test, TheFractionIsSetApart) {
    AsnGeneralizedTime value;
    value.SetTime("20141022120000Z");
    EXPECT_EQ(text(value.GetTimeString()), "20141022120000Z");
    value.SetFracSecond("500");
    EXPECT_EQ(text(value.GetFracSecond()), "5");
    EXPECT_EQ(text(value.GetTimeString()), "20141022120000.5Z");
    value.SetFracSecond(MiString("0070"));
    EXPECT_EQ(text(value.GetTimeString()), "20141022120000.007Z");
    value.SetFracSecond(value.GetFracSecond());
    EXPECT_EQ(text(value.GetFracSecond()), "007");
    value.SetFracSecond("000");
    EXPECT_EQ(text(value.GetTimeString()), "20141022120000Z");
    for (const char* bad : {"5a", "-5", " 5", "5."}) {
        value.SetFracSecond("12");
        EXPECT_THROW(value.SetFracSecond(bad), AsnDataExp) << bad;
        EXPECT_TRUE(value.GetFracSecond().Empty()) << bad;
    }
    value.SetFracSecond("12");
    value.SetFracSecond(static_cast<const char*>(nullptr));
    EXPECT_TRUE(value.GetFracSecond().Empty());
    value.SetFracSecond("12");
    value.SetFracSecond("");
    EXPECT_TRUE(value.GetFracSecond().Empty());
}

TEST(times_test, EverySetterOfGeneralizedClearsTheFraction) {
    AsnGeneralizedTime value;
    value.SetFracSecond("12");
    value.SetTime(MiTime(2014, 10, 22, 1, 2, 3));
    EXPECT_EQ(text(value.GetTimeString()), "20141022010203Z");
    value.SetFracSecond("12");
    value.SetTime("20141022120000Z");
    EXPECT_TRUE(value.GetFracSecond().Empty());
    value.SetFracSecond("12");
    value.SetCurrentTime();
    EXPECT_TRUE(value.GetFracSecond().Empty());
    value.SetTime(MiString("20141022120000.5Z"));
    EXPECT_EQ(text(value.GetTimeString()), "20141022120000.5Z");
    AsnGeneralizedTime other;
    other.SetTime("20141022120000Z");
    EXPECT_FALSE(value == other);
    value.Reset(&other);
    EXPECT_TRUE(value == other);
}

}  // namespace
