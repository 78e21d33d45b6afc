#include "platform/posix/entries.h"
#include "platform/posix/last_error.h"

namespace platform::posix {
namespace {

constexpr std::uint64_t kStepsPerMillisecond = 10000;
constexpr std::uint64_t kMillisecondsPerDay = 86400000;
constexpr std::uint32_t kDaysPerEra = 146097;  // 400 years

struct Date {
    std::uint32_t year;
    std::uint32_t month;
    std::uint32_t day;
};

// The day counted from 1601-01-01, the first day of an era of 400 years. Counting years from March puts the leap day at
// their end, where it disturbs nothing.
Date dateOf(std::uint32_t daysSince1601) {
    const std::uint32_t days = daysSince1601 + 306;  // since 1600-03-01, as 1600 was a leap year
    const std::uint32_t era = days / kDaysPerEra;
    const std::uint32_t dayOfEra = days % kDaysPerEra;
    const std::uint32_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::uint32_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::uint32_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const std::uint32_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    const std::uint32_t year = 1600 + 400 * era + yearOfEra + (month <= 2 ? 1 : 0);
    return {year, month, dayOfYear - (153 * monthFromMarch + 2) / 5 + 1};
}

}  // namespace

BOOL FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* systemTime) {
    if (fileTime == nullptr || systemTime == nullptr)
        return fail(ERROR_INVALID_PARAMETER);
    const std::uint64_t steps = (std::uint64_t{fileTime->dwHighDateTime} << 32) | fileTime->dwLowDateTime;
    if (steps > INT64_MAX)
        return fail(ERROR_INVALID_PARAMETER);
    const std::uint64_t milliseconds = steps / kStepsPerMillisecond;
    const auto days = static_cast<std::uint32_t>(milliseconds / kMillisecondsPerDay);
    const auto ofDay = static_cast<std::uint32_t>(milliseconds % kMillisecondsPerDay);
    const Date date = dateOf(days);
    systemTime->wYear = static_cast<WORD>(date.year);
    systemTime->wMonth = static_cast<WORD>(date.month);
    systemTime->wDay = static_cast<WORD>(date.day);
    systemTime->wDayOfWeek = static_cast<WORD>((days + 1) % 7);  // 1601-01-01 was a Monday
    systemTime->wHour = static_cast<WORD>(ofDay / 3600000);
    systemTime->wMinute = static_cast<WORD>(ofDay / 60000 % 60);
    systemTime->wSecond = static_cast<WORD>(ofDay / 1000 % 60);
    systemTime->wMilliseconds = static_cast<WORD>(ofDay % 1000);
    return TRUE;
}

}  // namespace platform::posix
