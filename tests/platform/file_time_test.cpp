// Expected dates are those of Python's datetime, and of its proleptic calendar shifted by whole cycles of 400 years
// where it ends.
#include <gtest/gtest.h>

#include <cstdint>

#include "platform/platform.h"

using platform::sys;

namespace {

struct Case {
    std::uint64_t steps;
    WORD year, month, dayOfWeek, day, hour, minute, second, milliseconds;
};

constexpr Case kCases[] = {
    {0u, 1601, 1, 1, 1, 0, 0, 0, 0},
    {9999u, 1601, 1, 1, 1, 0, 0, 0, 0},
    {10000u, 1601, 1, 1, 1, 0, 0, 0, 1},
    {315359999999999u, 1601, 12, 1, 31, 23, 59, 59, 999},
    {997056000000000u, 1604, 2, 0, 29, 0, 0, 0, 0},
    {31292351990000000u, 1700, 2, 0, 28, 23, 59, 59, 0},
    {31292352000000000u, 1700, 3, 1, 1, 0, 0, 0, 0},
    {94404960000000000u, 1900, 2, 3, 28, 0, 0, 0, 0},
    {94405824000000000u, 1900, 3, 4, 1, 0, 0, 0, 0},
    {116444736000000000u, 1970, 1, 4, 1, 0, 0, 0, 0},
    {125911583999990000u, 1999, 12, 5, 31, 23, 59, 59, 999},
    {125962992000000000u, 2000, 2, 2, 29, 12, 0, 0, 0},
    {125963424000000000u, 2000, 3, 3, 1, 0, 0, 0, 0},
    {130583610000000000u, 2014, 10, 2, 21, 10, 30, 0, 0},
    {137919572480000000u, 2038, 1, 2, 19, 3, 14, 8, 0},
    {141690815990000000u, 2049, 12, 5, 31, 23, 59, 59, 0},
    {141690816000000000u, 2050, 1, 6, 1, 0, 0, 0, 0},
    {157519296000000000u, 2100, 2, 0, 28, 0, 0, 0, 0},
    {157520160000000000u, 2100, 3, 1, 1, 0, 0, 0, 0},
    {2650467743990000000u, 9999, 12, 5, 31, 23, 59, 59, 0},
    {9223372036854775807u, 30828, 9, 4, 14, 2, 48, 5, 477},
    {7283207964119141687u, 24680, 7, 1, 26, 20, 20, 11, 914},
    {890727360438182992u, 4423, 8, 3, 9, 10, 40, 43, 818},
    {1736392818365009963u, 7103, 5, 0, 31, 21, 50, 36, 500},
    {3960482443532127989u, 14151, 4, 5, 9, 17, 12, 33, 212},
    {1585446675937841368u, 6625, 1, 0, 30, 17, 26, 33, 784},
    {7713914763314685786u, 26045, 6, 0, 4, 2, 5, 31, 468},
    {4439448776366754703u, 15669, 1, 6, 19, 21, 33, 56, 675},
    {1090396360377453094u, 5056, 4, 3, 30, 19, 47, 17, 745},
    {1141153371300629929u, 5217, 3, 6, 4, 8, 45, 30, 62},
    {914761360679426580u, 4499, 10, 2, 6, 13, 47, 47, 942},
    {4078239883182463692u, 14524, 6, 2, 6, 1, 11, 58, 246},
    {2456641775679608523u, 9385, 10, 6, 15, 9, 19, 27, 960},
};

FILETIME fileTime(std::uint64_t steps) {
    FILETIME time;
    time.dwLowDateTime = static_cast<DWORD>(steps);
    time.dwHighDateTime = static_cast<DWORD>(steps >> 32);
    return time;
}

}  // namespace

TEST(file_time_test, ConvertsTheWholeRange) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.steps);
        const FILETIME time = fileTime(c.steps);
        SYSTEMTIME got = {};
        ASSERT_TRUE(sys().FileTimeToSystemTime(&time, &got));
        EXPECT_EQ(got.wYear, c.year);
        EXPECT_EQ(got.wMonth, c.month);
        EXPECT_EQ(got.wDayOfWeek, c.dayOfWeek);
        EXPECT_EQ(got.wDay, c.day);
        EXPECT_EQ(got.wHour, c.hour);
        EXPECT_EQ(got.wMinute, c.minute);
        EXPECT_EQ(got.wSecond, c.second);
        EXPECT_EQ(got.wMilliseconds, c.milliseconds);
    }
}

TEST(file_time_test, EveryDayFollowsTheOneBefore) {
    constexpr std::uint64_t kStepsPerDay = 864000000000;
    SYSTEMTIME before = {};
    FILETIME time = fileTime(0);
    ASSERT_TRUE(sys().FileTimeToSystemTime(&time, &before));
    for (std::uint64_t day = 1; day < 2 * std::uint64_t{146097}; ++day) {
        SYSTEMTIME now = {};
        time = fileTime(day * kStepsPerDay);
        ASSERT_TRUE(sys().FileTimeToSystemTime(&time, &now));
        ASSERT_EQ(now.wDayOfWeek, (before.wDayOfWeek + 1) % 7) << day;
        if (now.wDay != 1) {
            ASSERT_EQ(now.wDay, before.wDay + 1) << day;
            ASSERT_EQ(now.wMonth, before.wMonth) << day;
            ASSERT_EQ(now.wYear, before.wYear) << day;
        } else {
            ASSERT_EQ(now.wMonth, before.wMonth % 12 + 1) << day;
            ASSERT_EQ(now.wYear, before.wYear + (before.wMonth == 12 ? 1 : 0)) << day;
        }
        before = now;
    }
}

TEST(file_time_test, RefusesTheUpperHalf) {
    SYSTEMTIME got = {};
    for (const std::uint64_t steps : {std::uint64_t{1} << 63, ~std::uint64_t{0}}) {
        const FILETIME time = fileTime(steps);
        sys().SetLastError(0);
        EXPECT_FALSE(sys().FileTimeToSystemTime(&time, &got));
        EXPECT_EQ(sys().GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    }
}

#if !defined(_WIN32)
TEST(file_time_test, NullsAreRefused) {
    const FILETIME fileTime = {0, 0};
    SYSTEMTIME systemTime;
    sys().SetLastError(0);
    EXPECT_FALSE(sys().FileTimeToSystemTime(nullptr, &systemTime));
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
    sys().SetLastError(0);
    EXPECT_FALSE(sys().FileTimeToSystemTime(&fileTime, nullptr));
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
}
#endif
