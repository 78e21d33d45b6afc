#include "enrol/validity_text.h"

#include <gtest/gtest.h>

namespace {

using enrol::readValidityText;
using enrol::validityText;

SYSTEMTIME systemTime(unsigned year, unsigned month, unsigned day, unsigned hour, unsigned minute, unsigned second) {
    SYSTEMTIME time = {};
    time.wYear = static_cast<WORD>(year);
    time.wMonth = static_cast<WORD>(month);
    time.wDay = static_cast<WORD>(day);
    time.wHour = static_cast<WORD>(hour);
    time.wMinute = static_cast<WORD>(minute);
    time.wSecond = static_cast<WORD>(second);
    return time;
}

TEST(validity_text_test, TextHasYearMonthDayAndTime) {
    EXPECT_EQ(validityText(systemTime(2014, 10, 21, 10, 30, 0)), L"2014\u5E7410\u670821\u65E5 10:30:00");
    EXPECT_EQ(validityText(systemTime(2000, 1, 2, 3, 4, 5)), L"2000\u5E7401\u670802\u65E5 03:04:05");
    EXPECT_EQ(validityText(systemTime(1, 1, 1, 0, 0, 0)), L"0001\u5E7401\u670801\u65E5 00:00:00");
}

// Seconds by python3: calendar.timegm((year, month, day, hour, minute, second)).
TEST(validity_text_test, TextReadsBackAsSeconds) {
    EXPECT_EQ(readValidityText(L"1970\u5E7401\u670801\u65E5 00:00:00"), 0);
    EXPECT_EQ(readValidityText(L"2014\u5E7410\u670821\u65E5 10:30:00"), 1413887400);
    EXPECT_EQ(readValidityText(L"2000\u5E7402\u670829\u65E5 23:59:59"), 951868799);
    EXPECT_EQ(readValidityText(L"2100\u5E7402\u670828\u65E5 12:00:00"), 4107499200);
    EXPECT_EQ(readValidityText(L"2100\u5E7403\u670801\u65E5 12:00:00"), 4107585600);
}

TEST(validity_text_test, TimesBeyond32BitsAreTold) {
    EXPECT_EQ(readValidityText(L"2038\u5E7401\u670819\u65E5 03:14:08"), 2147483648);
    EXPECT_EQ(readValidityText(L"3000\u5E7412\u670831\u65E5 23:59:59"), 32535215999);
}

// The published range of _mktime64.
TEST(validity_text_test, TimesBefore1970AndAfter3000AreAllOne) {
    EXPECT_EQ(readValidityText(L"1969\u5E7412\u670831\u65E5 23:59:59"), -1);
    EXPECT_EQ(readValidityText(L"1950\u5E7401\u670801\u65E5 00:00:00"), -1);
    EXPECT_EQ(readValidityText(L"1601\u5E7401\u670801\u65E5 00:00:00"), -1);
    EXPECT_EQ(readValidityText(L"3001\u5E7401\u670801\u65E5 00:00:00"), -1);
    EXPECT_EQ(readValidityText(L"9999\u5E7412\u670831\u65E5 23:59:59"), -1);
}

TEST(validity_text_test, EveryDayFollowsTheOneBefore) {
    static constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    std::int64_t expected = 0;  // 1970-01-01
    for (unsigned year = 1970; year < 2410; ++year) {
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        for (unsigned month = 1; month <= 12; ++month) {
            const unsigned days = kDays[month - 1] + (month == 2 && leap ? 1 : 0);
            for (unsigned day = 1; day <= days; ++day, expected += 86400)
                ASSERT_EQ(readValidityText(validityText(systemTime(year, month, day, 0, 0, 0))), expected)
                    << year << '-' << month << '-' << day;
        }
    }
}

TEST(validity_text_test, TextWithAnotherCharacterEndsTheReading) {
    // Minutes and seconds are lost behind the wrong mark.
    EXPECT_EQ(readValidityText(L"1970\u5E7401\u670801\u65E5 01.02:03"), 3600);
    EXPECT_EQ(readValidityText(L"1970\u5E7401\u670802\u65E5"), 86400);
    EXPECT_EQ(readValidityText(L""), -1);
    EXPECT_EQ(readValidityText(L"x"), -1);
}

// What a cut text does not tell is zero, and month and day zero are those before the first (timegm of python3).
TEST(validity_text_test, TextThatIsCutTellsWhatItHas) {
    const struct {
        const wchar_t* text;
        std::int64_t seconds;
    } rows[] = {
        {L"2014", 1385769600},
        {L"2014\u5E74", 1385769600},
        {L"2014\u5E741", 1388448000},
        {L"2014\u5E7410", 1412035200},
        {L"2014\u5E7410\u6708", 1412035200},
        {L"2014\u5E7410\u67082", 1412208000},
        {L"2014\u5E7410\u670821", 1413849600},
        {L"2014\u5E7410\u670821\u65E5 ", 1413849600},
        {L"2014\u5E7410\u670821\u65E5 1", 1413853200},
        {L"2014\u5E7410\u670821\u65E5 10:", 1413885600},
        {L"2014\u5E7410\u670821\u65E5 10:3", 1413885780},
        {L"2014\u5E7410\u670821\u65E5 10:30", 1413887400},
        {L"2014\u5E7410\u670821\u65E5 10:30:", 1413887400},
        {L"2014\u5E7410\u670821\u65E5 10:30:0", 1413887400},
        {L"2014\u5E7410\u670821\u65E5 10:30:05", 1413887405},
        {L"2014\u5E74x", 1385769600},
        {L"2014\u5E7410\u670821\u65E5 10:30:x", 1413887400},
        {L"2014\u5E7410x21", 1412035200},
        {L"2014\u5E7410\u670821x10", 1413849600},
        {L"2014\u5E7410\u670821\u65E5 10:30x05", 1413887400},
    };
    for (const auto& row : rows)
        EXPECT_EQ(readValidityText(row.text), row.seconds) << row.text;
}

}  // namespace
