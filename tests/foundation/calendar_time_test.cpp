#include "foundation/calendar_time.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <sstream>
#include <string>
#include <type_traits>

#include "foundation/exceptions.h"
#include "tests/support/vtable.h"

namespace {

// The fields in their order behind the table of virtual operations, and nothing else.
struct Layout : MiTime {
    static void check() {
        const Layout object;
        const auto* start = reinterpret_cast<const char*>(&object);
        const std::ptrdiff_t first = reinterpret_cast<const char*>(&object.year) - start;
        EXPECT_EQ(first, static_cast<std::ptrdiff_t>(sizeof(MiObject)));
        const unsigned char* bytes[] = {&object.month, &object.day, &object.hour, &object.minute, &object.second};
        for (std::size_t i = 0; i < std::size(bytes); ++i)
            EXPECT_EQ(reinterpret_cast<const char*>(bytes[i]) - start, first + 4 + static_cast<std::ptrdiff_t>(i));
    }
};
static_assert(std::is_base_of_v<MiObject, MiTime>);
static_assert(std::has_virtual_destructor_v<MiTime>);
static_assert(sizeof(MiTime) == (sizeof(MiObject) + 4 + 5 + sizeof(void*) - 1) / sizeof(void*) * sizeof(void*));

const MiTime kEpoch;
const MiTime kSample(2014, 10, 22, 1, 2, 3);

std::string plain(const MiTime& time) {
    return time.GetTimeString(nullptr).GetChars();
}

std::string formatted(const MiTime& time, const char* format) {
    const MiString text = time.GetTimeString(format);
    return text.Empty() ? "" : text.GetChars();
}

MiTime read(const char* text, const char* format) {
    MiTime time;
    time.SetTimeString(text, format);
    return time;
}

// A time zone of the form that POSIX describes, for this process and as long as the object lives.
class ZoneForTest {
  public:
    explicit ZoneForTest(const std::string& zone) : before(std::getenv("TZ") == nullptr ? "" : std::getenv("TZ")) {
        set(zone);
    }
    ~ZoneForTest() { set(before); }
    ZoneForTest(const ZoneForTest&) = delete;
    ZoneForTest& operator=(const ZoneForTest&) = delete;

  private:
    static void set(const std::string& zone) {
#if defined(_WIN32)
        _putenv(("TZ=" + zone).c_str());
        _tzset();
#else
        zone.empty() ? unsetenv("TZ") : setenv("TZ", zone.c_str(), 1);
#endif
    }

    std::string before;
};

TEST(calendar_time_test, FieldsStandInOrder) {
    Layout::check();
    EXPECT_EQ(support::firstOwnSlot<MiTime>(), 1);  // the destructor is the only virtual operation
}

TEST(calendar_time_test, ANewTimeIsTheEpoch) {
    const MiTime time;
    EXPECT_EQ(time.GetYear(), 1970U);
    EXPECT_EQ(time.GetMonth(), 1);
    EXPECT_EQ(time.GetDay(), 1);
    EXPECT_EQ(time.GetHour(), 0);
    EXPECT_EQ(time.GetMinute(), 0);
    EXPECT_EQ(time.GetSecond(), 0);
    EXPECT_EQ(time.GetTime(), 0);
    EXPECT_EQ(time.GetDays(), 0);
}

// Reckoned by python3: datetime(1970, 1, 1) + timedelta(seconds=...).
TEST(calendar_time_test, SecondsCountFromTheEpochAsGmt) {
    const struct {
        unsigned int seconds;
        const char* text;
    } cases[] = {{0U, "19700101000000"},          {1U, "19700101000001"},          {59U, "19700101000059"},
                 {60U, "19700101000100"},         {86399U, "19700101235959"},      {86400U, "19700102000000"},
                 {951782399U, "20000228235959"},  {951782400U, "20000229000000"},  {951868800U, "20000301000000"},
                 {1078012800U, "20040229000000"}, {1413939723U, "20141022010203"}, {2147483647U, "20380119031407"},
                 {2147483648U, "20380119031408"}, {4107542399U, "21000228235959"}, {4107542400U, "21000301000000"},
                 {4133980799U, "21001231235959"}, {4294967295U, "21060207062815"}};
    for (const auto& c : cases) {
        const MiTime time(c.seconds);
        EXPECT_EQ(plain(time), c.text);
        EXPECT_EQ(time.GetTime(), c.seconds);
        EXPECT_EQ(time.GetDays(), c.seconds / 86400);
        MiTime set(kSample);
        set.SetTime(c.seconds);
        EXPECT_EQ(set, time);
    }
}

TEST(calendar_time_test, SixFieldsAreStoredWithoutATest) {
    const MiTime time(4000000000U, 99, 0, 200, 255, 60);
    EXPECT_EQ(time.GetYear(), 4000000000U);
    EXPECT_EQ(time.GetMonth(), 99);
    EXPECT_EQ(time.GetDay(), 0);
    EXPECT_EQ(time.GetHour(), 200);
    EXPECT_EQ(time.GetMinute(), 255);
    EXPECT_EQ(time.GetSecond(), 60);
    EXPECT_FALSE(MiTime::TestTime(time));
}

TEST(calendar_time_test, SetTimeOfSixFieldsTests) {
    MiTime time(kSample);
    EXPECT_EQ(&time.SetTime(2024, 2, 29, 23, 59, 59), &time);
    EXPECT_EQ(plain(time), "20240229235959");
    EXPECT_THROW(time.SetTime(2023, 2, 29, 23, 59, 59), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetTime(1969, 12, 31, 23, 59, 59), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetTime(2023, 2, 28, 24, 0, 0), MiInvalidArgumentExp);
    EXPECT_EQ(plain(time), "20240229235959");
}

TEST(calendar_time_test, CopiesAndReset) {
    const MiTime copy(kSample);
    MiTime assigned;
    assigned = kSample;
    MiTime reset;
    reset.Reset(&kSample);
    EXPECT_EQ(copy, kSample);
    EXPECT_EQ(assigned, kSample);
    EXPECT_EQ(reset, kSample);
    reset.Reset(&reset);
    EXPECT_EQ(reset, kSample);
    reset.Reset(nullptr);
    EXPECT_EQ(reset, kEpoch);
}

// Each later time differs in one field upward while all below it go down.
TEST(calendar_time_test, OrderGoesFieldByField) {
    const MiTime ascending[] = {{2014, 5, 5, 5, 5, 5}, {2014, 5, 5, 5, 5, 6},  {2014, 5, 5, 5, 6, 0},
                                {2014, 5, 5, 6, 0, 0}, {2014, 5, 6, 0, 0, 0},  {2014, 6, 1, 0, 0, 0},
                                {2015, 1, 1, 0, 0, 0}, {2015, 1, 1, 0, 0, 200}};
    for (std::size_t i = 0; i < std::size(ascending); ++i) {
        for (std::size_t j = 0; j < std::size(ascending); ++j) {
            const MiTime& a = ascending[i];
            const MiTime& b = ascending[j];
            EXPECT_EQ(a == b, i == j) << i << " " << j;
            EXPECT_EQ(a != b, i != j) << i << " " << j;
            EXPECT_EQ(a < b, i < j) << i << " " << j;
            EXPECT_EQ(a <= b, i <= j) << i << " " << j;
            EXPECT_EQ(a > b, i > j) << i << " " << j;
            EXPECT_EQ(a >= b, i >= j) << i << " " << j;
        }
    }
}

TEST(calendar_time_test, SettersTestTheirField) {
    MiTime time(kSample);
    EXPECT_EQ(&time.SetYear(1970), &time);
    time.SetMonth(12).SetHour(23).SetMinute(59).SetSecond(59).SetDay(31);
    EXPECT_EQ(plain(time), "19701231235959");
    time.SetYear(UINT_MAX).SetMonth(1).SetHour(0).SetMinute(0).SetSecond(0).SetDay(1);
    EXPECT_EQ(time, MiTime(UINT_MAX, 1, 1, 0, 0, 0));
    time = kSample;
    EXPECT_THROW(time.SetYear(1969), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetYear(0), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetMonth(0), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetMonth(13), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetHour(24), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetMinute(60), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetSecond(60), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetDay(0), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetDay(32), MiInvalidArgumentExp);
    EXPECT_EQ(time, kSample);
}

TEST(calendar_time_test, FieldsAreTestedBeforeTheyAreNarrowed) {
    MiTime time(kSample);
    EXPECT_THROW(time.SetMonth(256 + 5), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetDay(256 + 5), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetHour(256 + 5), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetMinute(256 + 5), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetSecond(256 + 5), MiInvalidArgumentExp);
    EXPECT_EQ(time, kSample);
    EXPECT_FALSE(MiTime::TestTime(2014, 256 + 5, 5, 5, 5, 5));
    EXPECT_FALSE(MiTime::TestTime(2014, 5, 256 + 5, 5, 5, 5));
    EXPECT_FALSE(MiTime::TestTime(2014, 5, 5, 256 + 5, 5, 5));
}

TEST(calendar_time_test, SetDayStoresTheDayAndThenTestsTheWhole) {
    MiTime february(2015, 2, 5, 0, 0, 0);
    EXPECT_THROW(february.SetDay(29), MiInvalidArgumentExp);
    EXPECT_EQ(february.GetDay(), 29);
    MiTime badHour(2015, 2, 5, 99, 0, 0);
    EXPECT_THROW(badHour.SetDay(6), MiInvalidArgumentExp);
    EXPECT_EQ(badHour.GetDay(), 6);
}

TEST(calendar_time_test, LeapYears) {
    for (const unsigned int year : {0U, 4U, 1600U, 1972U, 2000U, 2004U, 2400U})
        EXPECT_TRUE(MiTime::IsLeapYear(year)) << year;
    for (const unsigned int year : {1U, 1700U, 1900U, 1970U, 2001U, 2100U, 2200U})
        EXPECT_FALSE(MiTime::IsLeapYear(year)) << year;
}

TEST(calendar_time_test, TestTimeKnowsTheCalendar) {
    EXPECT_TRUE(MiTime::TestTime(1970, 1, 1, 0, 0, 0));
    EXPECT_FALSE(MiTime::TestTime(1969, 12, 31, 23, 59, 59));
    EXPECT_TRUE(MiTime::TestTime(2000, 2, 29, 0, 0, 0));
    EXPECT_FALSE(MiTime::TestTime(1900, 2, 29, 0, 0, 0));
    EXPECT_FALSE(MiTime::TestTime(1900, 2, 28, 0, 0, 0));
    EXPECT_FALSE(MiTime::TestTime(2100, 2, 29, 0, 0, 0));
    EXPECT_TRUE(MiTime::TestTime(UINT_MAX, 12, 31, 23, 59, 59));
    const unsigned int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (unsigned int month = 1; month <= 12; ++month) {
        EXPECT_FALSE(MiTime::TestTime(2015, month, 0, 0, 0, 0)) << month;
        EXPECT_TRUE(MiTime::TestTime(2015, month, 1, 0, 0, 0)) << month;
        EXPECT_TRUE(MiTime::TestTime(2015, month, lengths[month - 1], 0, 0, 0)) << month;
        EXPECT_FALSE(MiTime::TestTime(2015, month, lengths[month - 1] + 1, 0, 0, 0)) << month;
    }
    EXPECT_FALSE(MiTime::TestTime(2015, 0, 1, 0, 0, 0));
    EXPECT_FALSE(MiTime::TestTime(2015, 13, 1, 0, 0, 0));
    EXPECT_TRUE(MiTime::TestTime(2015, 1, 1, 23, 59, 59));
    EXPECT_FALSE(MiTime::TestTime(2015, 1, 1, 24, 0, 0));
    EXPECT_FALSE(MiTime::TestTime(2015, 1, 1, 0, 60, 0));
    EXPECT_FALSE(MiTime::TestTime(2015, 1, 1, 0, 0, 60));
    EXPECT_TRUE(MiTime::TestTime(kSample));
    EXPECT_FALSE(MiTime::TestTime(MiTime(2015, 2, 29, 0, 0, 0)));
}

struct FieldCase {
    const char* text;
    int value;
};

TEST(calendar_time_test, TestYearString) {
    for (const FieldCase& c : {FieldCase{"1970", 1970},
                               {"1000", 1000},
                               {"9999", 9999},
                               {"20145", 2014},
                               {"2014x", 2014},
                               {"0970", -1},
                               {"197", -1},
                               {"", -1},
                               {"a970", -1},
                               {"1a70", -1},
                               {"19a0", -1},
                               {"197a", -1},
                               {"-197", -1},
                               {" 197", -1},
                               {"/970", -1},
                               {":970", -1},
                               {"197:", -1},
                               {nullptr, -1}})
        EXPECT_EQ(MiTime::TestYearString(c.text), c.value) << (c.text == nullptr ? "null" : c.text);
}

// What is no digit counts by its distance from '0' where it is not looked at.
TEST(calendar_time_test, TestDayStringTrustsWhatStandsBehindANonzero) {
    for (const FieldCase& c : {FieldCase{"01", 1},
                               {"09", 9},
                               {"10", 10},
                               {"31", 31},
                               {"99", 99},
                               {"315", 31},
                               {"00", -1},
                               {"0", -1},
                               {"0a", -1},
                               {"0/", -1},
                               {"0:", -1},
                               {"", -1},
                               {"1", -1},
                               {nullptr, -1},
                               {"1:", 20},
                               {"2;", 31},
                               {"1a", 10 + 'a' - '0'},
                               {"a1", ('a' - '0') * 10 + 1},
                               {" 5", (' ' - '0') * 10 + 5},
                               {"5\xFF", 50 - 1 - '0'}})
        EXPECT_EQ(MiTime::TestDayString(c.text), c.value) << (c.text == nullptr ? "null" : c.text);
}

TEST(calendar_time_test, TestHourStringTrustsWhatStandsBehindTwoAndMore) {
    for (const FieldCase& c : {FieldCase{"00", 0},
                               {"09", 9},
                               {"19", 19},
                               {"23", 23},
                               {"24", 24},
                               {"99", 99},
                               {"235", 23},
                               {"0a", -1},
                               {"1a", -1},
                               {"0/", -1},
                               {"1:", -1},
                               {"0", -1},
                               {"2", -1},
                               {"", -1},
                               {nullptr, -1},
                               {"2/", 19},
                               {"2a", 20 + 'a' - '0'},
                               {"a1", ('a' - '0') * 10 + 1},
                               {"/:", 0},
                               {" 5", (' ' - '0') * 10 + 5}})
        EXPECT_EQ(MiTime::TestHourString(c.text), c.value) << (c.text == nullptr ? "null" : c.text);
}

TEST(calendar_time_test, TestMinuteOrSecondStringTrustsNothing) {
    for (const FieldCase& c : {FieldCase{"00", 0},
                               {"09", 9},
                               {"59", 59},
                               {"599", 59},
                               {"60", -1},
                               {"99", -1},
                               {"5a", -1},
                               {"5/", -1},
                               {"5:", -1},
                               {"/1", -1},
                               {"a1", -1},
                               {" 1", -1},
                               {"5", -1},
                               {"", -1},
                               {nullptr, -1}})
        EXPECT_EQ(MiTime::TestMinuteOrSecondString(c.text), c.value) << (c.text == nullptr ? "null" : c.text);
}

TEST(calendar_time_test, TestTimeString) {
    for (const char* text :
         {"20141022010203", "20141022010203Z", "19700101000000", "20000229235959", "201410222/0203", "2014102:010203"})
        EXPECT_TRUE(MiTime::TestTimeString(text)) << text;
    for (const char* text :
         {"", "2014102201020", "19691231235959", "20150229000000", "20140022010203", "20141322010203", "20141000010203",
          "20141032010203", "20141022240203", "20141022016003", "20141022010260", "2014a022010203", "201410 2010203",
          "2014102a010203", "201410221a0203", "2014102201a203", "201410220102 3", "2014-10-22 01:02:03"})
        EXPECT_FALSE(MiTime::TestTimeString(text)) << text;
    EXPECT_FALSE(MiTime::TestTimeString(nullptr));
}

TEST(calendar_time_test, SetTimeStringWithoutAFormatReadsFourteenDigits) {
    EXPECT_EQ(read("20141022010203", nullptr), kSample);
    EXPECT_EQ(read("20141022010203Zabc", nullptr), kSample);
    MiTime time(kSample);
    time.SetTimeString(MiString("20240229235959"), nullptr);
    EXPECT_EQ(time, MiTime(2024, 2, 29, 23, 59, 59));
    for (const char* text : {"", "2014102201020", "20150229000000", "2014102201020x"})
        EXPECT_THROW(time.SetTimeString(text, nullptr), MiInvalidArgumentExp) << text;
    EXPECT_THROW(time.SetTimeString(static_cast<const char*>(nullptr), nullptr), MiInvalidArgumentExp);
    EXPECT_THROW(time.SetTimeString(MiString(), nullptr), MiInvalidArgumentExp);
    EXPECT_EQ(time, MiTime(2024, 2, 29, 23, 59, 59));  // nothing has changed
}

TEST(calendar_time_test, SetTimeStringFindsTheFieldsByTheFormat) {
    EXPECT_EQ(read("141022010203", "YYMMDDhhmmss"), kSample);
    EXPECT_EQ(read("141022010203Z", "YYMMDDhhmmssZ"), kSample);
    EXPECT_EQ(read("141022010203?", "YYMMDDhhmmssZ"), kSample);  // what is no field is not looked at
    EXPECT_EQ(read("2014-10-22 01:02:03", "YYYY-MM-DD hh:mm:ss"), kSample);
    EXPECT_EQ(read("01:02:03, 22.10.2014 and more", "hh:mm:ss, DD.MM.YYYY"), kSample);
    EXPECT_EQ(read("1410220102", "YYMMDDhhmm"), MiTime(2014, 10, 22, 1, 2, 0));
    EXPECT_EQ(read("2014", "YYYY"), MiTime(2014, 1, 1, 0, 0, 0));
    EXPECT_EQ(read("10", "MM"), MiTime(1970, 10, 1, 0, 0, 0));
    EXPECT_EQ(read("22", "DD"), MiTime(1970, 1, 22, 0, 0, 0));
    EXPECT_EQ(read("01", "hh"), MiTime(1970, 1, 1, 1, 0, 0));
    EXPECT_EQ(read("02", "mm"), MiTime(1970, 1, 1, 0, 2, 0));
    EXPECT_EQ(read("03", "ss"), MiTime(1970, 1, 1, 0, 0, 3));
    EXPECT_EQ(read("anything", ""), kEpoch);
    EXPECT_EQ(read("20 14", "hh mm"), MiTime(1970, 1, 1, 20, 14, 0));
    MiTime time;
    time.SetTimeString(MiString("141022010203"), "YYMMDDhhmmss");
    EXPECT_EQ(time, kSample);
    time.SetTimeString(MiString(), "");
    EXPECT_EQ(time, kEpoch);
}

TEST(calendar_time_test, YearsOfTwoDigitsGoFrom1970To2069) {
    EXPECT_EQ(read("69", "YY").GetYear(), 2069U);
    EXPECT_EQ(read("70", "YY").GetYear(), 1970U);
    EXPECT_EQ(read("99", "YY").GetYear(), 1999U);
    EXPECT_EQ(read("00", "YY").GetYear(), 2000U);
    EXPECT_EQ(read("690101000000", "YYMMDDhhmmss").GetYear(), 2069U);
    EXPECT_EQ(read("700101000000", "YYMMDDhhmmss").GetYear(), 1970U);
    for (const char* text : {"a1", "1a", "/1", ":1", "7:"})
        EXPECT_THROW(read(text, "YY"), MiInvalidArgumentExp) << text;
}

TEST(calendar_time_test, SetTimeStringRefusesAndLeavesTheEpoch) {
    const struct {
        const char* text;
        const char* format;
    } cases[] = {
        {"14102201020", "YYMMDDhhmmss"},  // shorter than the format
        {"", "YY"},
        {nullptr, "YY"},
        {"2014-1-2", "YYYY-M-DD"},  // letters that do not stand twice
        {"2014-111-2", "YYYY-MMM-DD"},
        {"201-10-22", "YYY-MM-DD"},
        {"20145-10-22", "YYYYY-MM-DD"},
        {"20-14", "YY-YY"},
        {"10 10", "MM MM"},
        {"2014", "YYsY"},
        {"141322010203", "YYMMDDhhmmss"},  // no such month, day, hour
        {"150229010203", "YYMMDDhhmmss"},
        {"141022240203", "YYMMDDhhmmss"},
        {"141022016003", "YYMMDDhhmmss"},  // a field that fails its test
        {"14102201020a", "YYMMDDhhmmss"},
        {"140022010203", "YYMMDDhhmmss"},
        {"19691231", "YYYYMMDD"},
        {"09701231", "YYYYMMDD"},
        {" 5", "DD"},  // trusted, but no day
        {"a1", "hh"},
    };
    for (const auto& c : cases) {
        MiTime time(kSample);
        EXPECT_THROW(time.SetTimeString(c.text, c.format), MiInvalidArgumentExp) << c.format;
        EXPECT_EQ(time, kEpoch) << c.format;
    }
}

TEST(calendar_time_test, TrustedCharactersMayMakeADate) {
    EXPECT_EQ(read("2;", "DD"), MiTime(1970, 1, 31, 0, 0, 0));
    EXPECT_EQ(read("2/", "hh"), MiTime(1970, 1, 1, 19, 0, 0));
}

TEST(calendar_time_test, GetTimeStringFillsTheFormat) {
    EXPECT_EQ(formatted(kSample, nullptr), "20141022010203");
    EXPECT_EQ(formatted(kSample, "YYMMDDhhmmssZ"), "141022010203Z");
    EXPECT_EQ(formatted(kSample, "YYYY-MM-DD hh:mm:ss"), "2014-10-22 01:02:03");
    EXPECT_EQ(formatted(kSample, "ss mm hh DD MM YY"), "03 02 01 22 10 14");
    EXPECT_EQ(formatted(kSample, "hh:mm, DD.MM.; hh"), "01:02, 22.10.; 01");
    EXPECT_EQ(formatted(kSample, "no field"), "no field");
    EXPECT_EQ(formatted(kSample, ""), "");
    EXPECT_EQ(formatted(MiTime(2005, 1, 2, 3, 4, 5), "YY"), "05");
    EXPECT_EQ(formatted(MiTime(2000, 1, 1, 0, 0, 0), "YY"), "00");
    EXPECT_EQ(formatted(MiTime(999, 1, 1, 0, 0, 0), "YYYY"), "0999");
    EXPECT_EQ(formatted(MiTime(12345, 101, 255, 0, 0, 0), "YYYY YY MM DD"), "2345 45 01 55");
    for (const char* format : {"M", "MMM", "YYY", "YYYYY", "Y", "hhh", "h", "YYYY-M", "ss s", "D", "m"})
        EXPECT_THROW((void)kSample.GetTimeString(format), MiInvalidArgumentExp) << format;
}

TEST(calendar_time_test, StepsForwardCarry) {
    const struct {
        MiTime from;
        MiTime to;
    } cases[] = {
        {{2014, 12, 31, 23, 59, 59}, {2015, 1, 1, 0, 0, 0}}, {{2014, 12, 31, 23, 59, 58}, {2014, 12, 31, 23, 59, 59}},
        {{2014, 4, 30, 23, 59, 59}, {2014, 5, 1, 0, 0, 0}},  {{2015, 2, 28, 23, 59, 59}, {2015, 3, 1, 0, 0, 0}},
        {{2016, 2, 28, 23, 59, 59}, {2016, 2, 29, 0, 0, 0}}, {{2016, 2, 29, 23, 59, 59}, {2016, 3, 1, 0, 0, 0}},
        {{2014, 1, 1, 22, 59, 59}, {2014, 1, 1, 23, 0, 0}},  {{2014, 1, 1, 0, 0, 59}, {2014, 1, 1, 0, 1, 0}}};
    for (const auto& c : cases) {
        MiTime forward(c.from);
        EXPECT_EQ(&forward.NextSecond(), &forward);
        EXPECT_EQ(plain(forward), plain(c.to));
        MiTime backward(c.to);
        EXPECT_EQ(&backward.PreSecond(), &backward);
        EXPECT_EQ(plain(backward), plain(c.from));
    }
}

TEST(calendar_time_test, EachStepMovesItsFieldAndKeepsTheLowerOnes) {
    const MiTime last(2014, 12, 31, 23, 59, 59);
    EXPECT_EQ(plain(MiTime(last).NextMinute()), "20150101000059");
    EXPECT_EQ(plain(MiTime(last).NextHour()), "20150101005959");
    EXPECT_EQ(plain(MiTime(last).NextDay()), "20150101235959");
    EXPECT_EQ(plain(MiTime(last).NextMonth()), "20150131235959");
    EXPECT_EQ(plain(MiTime(last).NextYear()), "20151231235959");
    const MiTime first(2014, 1, 1, 0, 0, 0);
    EXPECT_EQ(plain(MiTime(first).PreMinute()), "20131231235900");
    EXPECT_EQ(plain(MiTime(first).PreHour()), "20131231230000");
    EXPECT_EQ(plain(MiTime(first).PreDay()), "20131231000000");
    EXPECT_EQ(plain(MiTime(first).PreMonth()), "20131201000000");
    EXPECT_EQ(plain(MiTime(first).PreYear()), "20130101000000");
    const MiTime middle(2014, 6, 15, 12, 30, 30);
    EXPECT_EQ(plain(MiTime(middle).NextMinute()), "20140615123130");
    EXPECT_EQ(plain(MiTime(middle).NextHour()), "20140615133030");
    EXPECT_EQ(plain(MiTime(middle).NextDay()), "20140616123030");
    EXPECT_EQ(plain(MiTime(middle).NextMonth()), "20140715123030");
    EXPECT_EQ(plain(MiTime(middle).PreMinute()), "20140615122930");
    EXPECT_EQ(plain(MiTime(middle).PreHour()), "20140615113030");
    EXPECT_EQ(plain(MiTime(middle).PreDay()), "20140614123030");
    EXPECT_EQ(plain(MiTime(middle).PreMonth()), "20140515123030");
    MiTime chained(middle);
    EXPECT_EQ(&chained.NextMinute().NextHour().NextDay().NextMonth().NextYear(), &chained);
    EXPECT_EQ(&chained.PreMinute().PreHour().PreDay().PreMonth().PreYear(), &chained);
    EXPECT_EQ(chained, middle);
}

TEST(calendar_time_test, MonthsAndYearsStepAlone) {
    EXPECT_EQ(plain(MiTime(2015, 1, 31, 0, 0, 0).NextMonth()), "20150231000000");
    EXPECT_EQ(plain(MiTime(2015, 3, 31, 0, 0, 0).PreMonth()), "20150231000000");
    EXPECT_EQ(plain(MiTime(2016, 2, 29, 0, 0, 0).NextYear()), "20170229000000");
    EXPECT_EQ(plain(MiTime(2016, 2, 29, 0, 0, 0).PreYear()), "20150229000000");
    EXPECT_EQ(plain(MiTime(1970, 1, 1, 0, 0, 0).PreDay()), "19691231000000");  // stepping may leave what TestTime takes
    EXPECT_EQ(MiTime(UINT_MAX, 12, 31, 0, 0, 0).NextDay(), MiTime(0, 1, 1, 0, 0, 0));
}

TEST(calendar_time_test, ADayBeyondItsMonthStepsToTheNext) {
    EXPECT_EQ(MiTime(2015, 2, 31, 0, 0, 0).NextDay(), MiTime(2015, 3, 1, 0, 0, 0));
    EXPECT_EQ(MiTime(2015, 3, 0, 0, 0, 0).PreDay(), MiTime(2015, 2, 28, 0, 0, 0));
}

TEST(calendar_time_test, AStepOfTheDayInABadMonthIsARangeError) {
    for (const int number : {0, 13, 255}) {
        const auto month = static_cast<unsigned char>(number);
        MiTime time(2015, month, 5, 23, 59, 59);
        EXPECT_THROW(time.NextDay(), MiRangeExp);
        EXPECT_THROW(time.NextHour(), MiRangeExp);
        EXPECT_THROW(time.NextMinute(), MiRangeExp);
        EXPECT_THROW(time.NextSecond(), MiRangeExp);
        EXPECT_THROW(time.PreDay(), MiRangeExp);
        EXPECT_EQ(time, MiTime(2015, month, 5, 23, 59, 59));
        MiTime midnight(2015, month, 5, 0, 0, 0);
        EXPECT_THROW(midnight.PreHour(), MiRangeExp);
        EXPECT_THROW(midnight.PreMinute(), MiRangeExp);
        EXPECT_THROW(midnight.PreSecond(), MiRangeExp);
        EXPECT_EQ(midnight, MiTime(2015, month, 5, 0, 0, 0));
        EXPECT_NO_THROW(midnight.NextHour());
    }
}

// Every day from the epoch into the year 2105, stepped forth and counted.
TEST(calendar_time_test, DaysAndSecondsAgreeWithSteps) {
    MiTime time;
    for (unsigned int days = 0; days < 49500; ++days, time.NextDay()) {
        ASSERT_EQ(time.GetDays(), days);
        ASSERT_EQ(time.GetTime(), std::int64_t{days} * 86400);
        ASSERT_EQ(MiTime(days * 86400U), time);
        ASSERT_TRUE(MiTime::TestTime(time));
    }
}

TEST(calendar_time_test, DaysOfAnyStoredFields) {
    std::int64_t days = 0;
    for (unsigned int year = 1970; year < 12000; ++year) {
        ASSERT_EQ(MiTime(year, 1, 1, 0, 0, 0).GetDays(), days);
        ASSERT_EQ(MiTime(year, 3, 1, 0, 0, 0).GetDays(), days + (MiTime::IsLeapYear(year) ? 60 : 59));
        days += MiTime::IsLeapYear(year) ? 366 : 365;
    }
    EXPECT_EQ(MiTime(9999, 12, 31, 0, 0, 0).GetDays(), 2932896);  // by python3
    EXPECT_EQ(MiTime(4294966370U, 1, 1, 0, 0, 0).GetDays(), 4294964400 / 400 * 146097);
    EXPECT_EQ(MiTime(1900, 1, 1, 0, 0, 0).GetDays(), 0);
    EXPECT_EQ(MiTime(1900, 2, 2, 0, 0, 0).GetDays(), 32);
    EXPECT_EQ(MiTime(1970, 0, 0, 0, 0, 0).GetDays(), -1);
    EXPECT_EQ(MiTime(1970, 255, 1, 0, 0, 0).GetDays(), 365);
    EXPECT_EQ(MiTime(2038, 1, 19, 3, 14, 8).GetTime(), 2147483648);
    EXPECT_EQ(MiTime(1970, 1, 1, 255, 255, 255).GetTime(), 255 * 3600 + 255 * 60 + 255);
}

TEST(calendar_time_test, AddTimeAndSubtractTimeAreSteps) {
    for (const unsigned int seconds :
         {0U, 1U, 59U, 60U, 61U, 3599U, 3600U, 86399U, 86400U, 90061U, 31536000U, 951868800U, UINT_MAX}) {
        MiTime time;
        EXPECT_EQ(&time.AddTime(seconds), &time);
        EXPECT_EQ(time, MiTime(seconds));
        EXPECT_EQ(&time.SubtractTime(seconds), &time);
        EXPECT_EQ(time, kEpoch);
    }
    EXPECT_EQ(MiTime(2015, 2, 28, 23, 59, 30).AddTime(31), MiTime(2015, 3, 1, 0, 0, 1));
    EXPECT_EQ(MiTime(2015, 3, 1, 0, 0, 1).SubtractTime(31), MiTime(2015, 2, 28, 23, 59, 30));
}

TEST(calendar_time_test, CurrentTimeIsTheClockAsGmt) {
    const ZoneForTest zone("ZZZ-5:30");
    const std::int64_t before = std::time(nullptr);
    MiTime time(kSample);
    EXPECT_EQ(&time.SetCurrentTime(), &time);
    const std::int64_t after = std::time(nullptr);
    EXPECT_LE(before, time.GetTime());
    EXPECT_LE(time.GetTime(), after);
}

TEST(calendar_time_test, LocalCurrentTimeIsTheClockInItsZone) {
    for (const auto& [zone, ahead] :
         {std::pair<const char*, int>{"ZZZ-5:30", 19800}, {"ZZZ3:30", -12600}, {"ZZZ0", 0}}) {
        const ZoneForTest inZone(zone);
        const std::int64_t before = std::time(nullptr);
        MiTime time(kSample);
        EXPECT_EQ(&time.SetLocalCurrentTime(), &time);
        const std::int64_t after = std::time(nullptr);
        EXPECT_LE(before + ahead, time.GetTime()) << zone;
        EXPECT_LE(time.GetTime(), after + ahead) << zone;
    }
}

// The zones are written as POSIX has them, west of Greenwich counting up.
TEST(calendar_time_test, TheOffsetFromGmtGoesToTheNearestHour) {
    const struct {
        const char* zone;
        int hours;
    } cases[] = {{"ZZZ0", 0},     {"ZZZ-1", 1},      {"ZZZ5", -5},    {"ZZZ-5:30", 6}, {"ZZZ-5:45", 6},
                 {"ZZZ-5:29", 5}, {"ZZZ3:30", -4},   {"ZZZ3:29", -3}, {"ZZZ-0:30", 1}, {"ZZZ0:30", -1},
                 {"ZZZ0:29", 0},  {"ZZZ-12:45", 13}, {"ZZZ-14", 14},  {"ZZZ12", -12}};
    for (const auto& c : cases) {
        const ZoneForTest zone(c.zone);
        EXPECT_EQ(MiTime::AdvancedGMTHours(), c.hours) << c.zone;
        const MiTime gmt(2014, 12, 31, 12, 30, 15);
        const MiTime local = MiTime::GMTToLocalTime(gmt);
        EXPECT_EQ(local.GetTime() - gmt.GetTime(), std::int64_t{c.hours} * 3600) << c.zone;
        EXPECT_EQ(MiTime::LocalTimeToGMT(local), gmt) << c.zone;
        EXPECT_EQ(MiTime::LocalTimeToGMT(gmt).GetTime() - gmt.GetTime(), std::int64_t{c.hours} * -3600) << c.zone;
    }
}

#if !defined(_WIN32)
// A zone that keeps summer time the whole year; on Windows such rules cannot be given through the environment.
TEST(calendar_time_test, TheOffsetFromGmtCountsSummerTime) {
    const ZoneForTest zone("ZZZ-2YYY-3,J1/0,J365/25");
    EXPECT_EQ(MiTime::AdvancedGMTHours(), 3);
    const ZoneForTest half("ZZZ-2YYY-2:30,J1/0,J365/25");
    EXPECT_EQ(MiTime::AdvancedGMTHours(), 3);
}
#endif

TEST(calendar_time_test, PrintingIsTheFourteenDigitsBehindAMargin) {
    std::ostringstream os;
    os.width(30);
    kSample.ToOstream(os, 2);
    os << '\n';
    EXPECT_EQ(os.str().substr(0, 22), "        20141022010203");
    std::ostringstream flat;
    kSample.ToOstream(flat, 0);
    EXPECT_EQ(flat.str(), "20141022010203");
}

}  // namespace
