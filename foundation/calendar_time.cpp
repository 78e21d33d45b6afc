#include "foundation/calendar_time.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <ostream>
#include <string>
#include <tuple>

#include "foundation/exceptions.h"
#include "foundation/indent.h"

namespace {

constexpr unsigned int kEpochYear = 1970;
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kSecondsPerHour = 3600;
constexpr const char* kPlainFormat = "YYYYMMDDhhmmss";
constexpr std::size_t kPlainLength = 14;
constexpr int kRefused = -1;

constexpr unsigned char kMonthLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

bool isMonth(unsigned int month) {
    return month >= 1 && month <= 12;
}

// The month is one of the twelve.
unsigned char monthLength(unsigned int year, unsigned int month) {
    return month == 2 && MiTime::IsLeapYear(year) ? 29 : kMonthLengths[month - 1];
}

unsigned int yearLength(unsigned int year) {
    return MiTime::IsLeapYear(year) ? 366 : 365;
}

std::int64_t leapYearsBefore(std::int64_t year) {
    return (year - 1) / 4 - (year - 1) / 100 + (year - 1) / 400;
}

MiTime fromSeconds(std::int64_t seconds) {
    std::int64_t days = seconds / kSecondsPerDay;
    unsigned int year = kEpochYear;
    for (; days >= yearLength(year); ++year)
        days -= yearLength(year);
    unsigned char month = 1;
    for (; days >= monthLength(year, month); ++month)
        days -= monthLength(year, month);
    const auto rest = static_cast<unsigned int>(seconds % kSecondsPerDay);
    return {year,
            month,
            static_cast<unsigned char>(days + 1),
            static_cast<unsigned char>(rest / 3600),
            static_cast<unsigned char>(rest / 60 % 60),
            static_cast<unsigned char>(rest % 60)};
}

// The clock and the local time zone, in 64-bit seconds also where time_t has 32 bits.
#if defined(_WIN32)
std::int64_t clockSeconds() {
    return _time64(nullptr);
}

bool breakDownLocally(std::int64_t seconds, std::tm& out) {
    return _localtime64_s(&out, &seconds) == 0;
}
#else
static_assert(sizeof(std::time_t) == sizeof(std::int64_t));

std::int64_t clockSeconds() {
    return std::time(nullptr);
}

bool breakDownLocally(std::int64_t seconds, std::tm& out) {
    tzset();  // the time zone may have changed since the last look
    return localtime_r(&seconds, &out) != nullptr;
}
#endif

// GMT where the system knows no local time.
MiTime localTime(std::int64_t seconds) {
    std::tm local{};
    if (!breakDownLocally(seconds, local))
        return fromSeconds(seconds);
    return {static_cast<unsigned int>(local.tm_year + 1900),
            static_cast<unsigned char>(local.tm_mon + 1),
            static_cast<unsigned char>(local.tm_mday),
            static_cast<unsigned char>(local.tm_hour),
            static_cast<unsigned char>(local.tm_min),
            static_cast<unsigned char>(std::min(local.tm_sec, 59))};  // zones with leap seconds have a sixtieth
}

void step(MiTime& time, int hours) {
    for (; hours > 0; --hours)
        time.NextHour();
    for (; hours < 0; ++hours)
        time.PreHour();
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool holds(const char* text, std::size_t n) {
    return text != nullptr && std::memchr(text, 0, n) == nullptr;
}

// What the characters would stand for if they were digits.
int asNumber(const char* text, std::size_t n) {
    int number = 0;
    for (std::size_t i = 0; i < n; ++i)
        number = number * 10 + (static_cast<signed char>(text[i]) - '0');
    return number;
}

// A year of two digits.
int testShortYear(const char* text) {
    const char* century = text[0] >= '7' && text[0] <= '9' ? "19" : "20";
    return MiTime::TestYearString((std::string(century) + std::string(text, 2)).c_str());
}

// A field of a format.
struct Run {
    std::size_t at;
    std::size_t length;  // 0 for a field that is not there
};

Run findRun(const char* format, char letter, std::size_t from) {
    const char* first = std::strchr(format + from, letter);
    if (first == nullptr)
        return {0, 0};
    std::size_t length = 1;
    while (first[length] == letter)
        ++length;
    if (length != 2 && !(letter == 'Y' && length == 4))
        throw MiInvalidArgumentExp();
    return {static_cast<std::size_t>(first - format), length};
}

// The value of a field in a text that is as long as the format; absent when the format does not have it.
unsigned int readField(const char* text, const char* format, char letter, int (*test)(const char*),
                       unsigned int absent) {
    const Run run = findRun(format, letter, 0);
    if (run.length == 0)
        return absent;
    if (findRun(format, letter, run.at + run.length).length != 0)
        throw MiInvalidArgumentExp();
    const int value = (run.length == 4 ? MiTime::TestYearString : test)(text + run.at);
    if (value < 0)
        throw MiInvalidArgumentExp();
    return static_cast<unsigned int>(value);
}

void writeField(std::string& text, const char* format, char letter, unsigned int value) {
    for (Run run = findRun(format, letter, 0); run.length != 0; run = findRun(format, letter, run.at + run.length)) {
        unsigned int rest = value;
        for (std::size_t i = run.length; i-- > 0; rest /= 10)
            text[run.at + i] = static_cast<char>('0' + rest % 10);
    }
}

void requireRange(unsigned int number, unsigned int least, unsigned int most) {
    if (number < least || number > most)
        throw MiInvalidArgumentExp();
}

}  // namespace

MiTime::MiTime(unsigned int seconds) {
    SetTime(seconds);
}

MiTime::MiTime(unsigned int yearValue, unsigned char monthValue, unsigned char dayValue, unsigned char hourValue,
               unsigned char minuteValue, unsigned char secondValue)
    : year(yearValue), month(monthValue), day(dayValue), hour(hourValue), minute(minuteValue), second(secondValue) {}

MiTime& MiTime::Reset(const MiTime* source) {
    return *this = source == nullptr ? MiTime() : *source;
}

bool MiTime::operator==(const MiTime& other) const {
    return !(*this < other) && !(other < *this);
}

bool MiTime::operator<(const MiTime& other) const {
    return std::tie(year, month, day, hour, minute, second) <
           std::tie(other.year, other.month, other.day, other.hour, other.minute, other.second);
}

MiTime& MiTime::SetCurrentTime() {
    return *this = fromSeconds(clockSeconds());
}

MiTime& MiTime::SetLocalCurrentTime() {
    return *this = localTime(clockSeconds());
}

MiTime& MiTime::SetTime(unsigned int seconds) {
    return *this = fromSeconds(seconds);
}

MiTime& MiTime::SetTime(unsigned int yearValue, unsigned char monthValue, unsigned char dayValue,
                        unsigned char hourValue, unsigned char minuteValue, unsigned char secondValue) {
    if (!TestTime(yearValue, monthValue, dayValue, hourValue, minuteValue, secondValue))
        throw MiInvalidArgumentExp();
    return *this = MiTime(yearValue, monthValue, dayValue, hourValue, minuteValue, secondValue);
}

MiTime& MiTime::SetTimeString(const char* text, const char* format) {
    if (format == nullptr) {
        if (!TestTimeString(text))
            throw MiInvalidArgumentExp();
        return SetTimeString(text, kPlainFormat);
    }
    const MiTime epoch;
    *this = epoch;
    if (text == nullptr || std::strlen(text) < std::strlen(format))
        throw MiInvalidArgumentExp();
    const unsigned int fields[] = {readField(text, format, 'Y', testShortYear, epoch.year),
                                   readField(text, format, 'M', TestDayString, epoch.month),
                                   readField(text, format, 'D', TestDayString, epoch.day),
                                   readField(text, format, 'h', TestHourString, epoch.hour),
                                   readField(text, format, 'm', TestMinuteOrSecondString, epoch.minute),
                                   readField(text, format, 's', TestMinuteOrSecondString, epoch.second)};
    if (!TestTime(fields[0], fields[1], fields[2], fields[3], fields[4], fields[5]))
        throw MiInvalidArgumentExp();
    const auto narrow = [&](std::size_t i) { return static_cast<unsigned char>(fields[i]); };
    return *this = MiTime(fields[0], narrow(1), narrow(2), narrow(3), narrow(4), narrow(5));
}

MiTime& MiTime::SetTimeString(const MiString& text, const char* format) {
    return SetTimeString(text.Empty() ? "" : text.GetChars(), format);
}

MiString MiTime::GetTimeString(const char* format) const {
    if (format == nullptr)
        format = kPlainFormat;
    std::string text = format;
    writeField(text, format, 'Y', year);
    writeField(text, format, 'M', month);
    writeField(text, format, 'D', day);
    writeField(text, format, 'h', hour);
    writeField(text, format, 'm', minute);
    writeField(text, format, 's', second);
    return text.c_str();
}

MiTime& MiTime::SetYear(unsigned int number) {
    if (number < kEpochYear)
        throw MiInvalidArgumentExp();
    year = number;
    return *this;
}

MiTime& MiTime::SetMonth(unsigned int number) {
    requireRange(number, 1, 12);
    month = static_cast<unsigned char>(number);
    return *this;
}

MiTime& MiTime::SetDay(unsigned int number) {
    requireRange(number, 1, 31);
    day = static_cast<unsigned char>(number);  // stays also where the month is shorter
    if (!TestTime(*this))
        throw MiInvalidArgumentExp();
    return *this;
}

MiTime& MiTime::SetHour(unsigned int number) {
    requireRange(number, 0, 23);
    hour = static_cast<unsigned char>(number);
    return *this;
}

MiTime& MiTime::SetMinute(unsigned int number) {
    requireRange(number, 0, 59);
    minute = static_cast<unsigned char>(number);
    return *this;
}

MiTime& MiTime::SetSecond(unsigned int number) {
    requireRange(number, 0, 59);
    second = static_cast<unsigned char>(number);
    return *this;
}

std::int64_t MiTime::GetTime() const {
    return GetDays() * kSecondsPerDay + std::int64_t{hour} * kSecondsPerHour + std::int64_t{minute} * 60 + second;
}

std::int64_t MiTime::GetDays() const {
    const std::int64_t from = std::max(year, kEpochYear);
    std::int64_t days = (from - kEpochYear) * 365 + leapYearsBefore(from) - leapYearsBefore(kEpochYear);
    for (unsigned int past = 1; past < month && isMonth(past); ++past)
        days += monthLength(year, past);
    return days + day - 1;
}

MiTime& MiTime::NextYear() {
    ++year;
    return *this;
}

MiTime& MiTime::NextMonth() {
    if (month < 12) {
        ++month;
        return *this;
    }
    month = 1;
    return NextYear();
}

MiTime& MiTime::NextDay() {
    if (!isMonth(month))
        throw MiRangeExp();
    if (day < monthLength(year, month)) {
        ++day;
        return *this;
    }
    day = 1;
    return NextMonth();
}

MiTime& MiTime::NextHour() {
    if (hour < 23) {
        ++hour;
        return *this;
    }
    NextDay();
    hour = 0;
    return *this;
}

MiTime& MiTime::NextMinute() {
    if (minute < 59) {
        ++minute;
        return *this;
    }
    NextHour();
    minute = 0;
    return *this;
}

MiTime& MiTime::NextSecond() {
    if (second < 59) {
        ++second;
        return *this;
    }
    NextMinute();
    second = 0;
    return *this;
}

MiTime& MiTime::PreYear() {
    --year;
    return *this;
}

MiTime& MiTime::PreMonth() {
    if (month > 1) {
        --month;
        return *this;
    }
    month = 12;
    return PreYear();
}

MiTime& MiTime::PreDay() {
    if (!isMonth(month))
        throw MiRangeExp();
    if (day > 1) {
        --day;
        return *this;
    }
    PreMonth();
    day = monthLength(year, month);
    return *this;
}

MiTime& MiTime::PreHour() {
    if (hour > 0) {
        --hour;
        return *this;
    }
    PreDay();
    hour = 23;
    return *this;
}

MiTime& MiTime::PreMinute() {
    if (minute > 0) {
        --minute;
        return *this;
    }
    PreHour();
    minute = 59;
    return *this;
}

MiTime& MiTime::PreSecond() {
    if (second > 0) {
        --second;
        return *this;
    }
    PreMinute();
    second = 59;
    return *this;
}

MiTime& MiTime::AddTime(unsigned int seconds) {
    for (unsigned int i = seconds % 60; i > 0; --i)
        NextSecond();
    for (unsigned int i = seconds / 60 % 60; i > 0; --i)
        NextMinute();
    for (unsigned int i = seconds / 3600 % 24; i > 0; --i)
        NextHour();
    for (unsigned int i = seconds / 86400; i > 0; --i)
        NextDay();
    return *this;
}

MiTime& MiTime::SubtractTime(unsigned int seconds) {
    for (unsigned int i = seconds % 60; i > 0; --i)
        PreSecond();
    for (unsigned int i = seconds / 60 % 60; i > 0; --i)
        PreMinute();
    for (unsigned int i = seconds / 3600 % 24; i > 0; --i)
        PreHour();
    for (unsigned int i = seconds / 86400; i > 0; --i)
        PreDay();
    return *this;
}

int MiTime::TestYearString(const char* text) {
    if (!holds(text, 4) || !std::all_of(text, text + 4, isDigit) || text[0] == '0')
        return kRefused;
    return asNumber(text, 4);
}

int MiTime::TestDayString(const char* text) {
    if (!holds(text, 2) || (text[0] == '0' && (!isDigit(text[1]) || text[1] == '0')))
        return kRefused;
    return asNumber(text, 2);
}

int MiTime::TestHourString(const char* text) {
    if (!holds(text, 2) || ((text[0] == '0' || text[0] == '1') && !isDigit(text[1])))
        return kRefused;
    return asNumber(text, 2);
}

int MiTime::TestMinuteOrSecondString(const char* text) {
    if (!holds(text, 2) || text[0] < '0' || text[0] > '5' || !isDigit(text[1]))
        return kRefused;
    return asNumber(text, 2);
}

bool MiTime::TestTimeString(const char* text) {
    if (!holds(text, kPlainLength))
        return false;
    const int fields[] = {TestYearString(text),
                          TestDayString(text + 4),
                          TestDayString(text + 6),
                          TestHourString(text + 8),
                          TestMinuteOrSecondString(text + 10),
                          TestMinuteOrSecondString(text + 12)};
    if (std::any_of(std::begin(fields), std::end(fields), [](int field) { return field < 0; }))
        return false;
    const auto field = [&](std::size_t i) { return static_cast<unsigned int>(fields[i]); };
    return TestTime(field(0), field(1), field(2), field(3), field(4), field(5));
}

bool MiTime::TestTime(unsigned int yearValue, unsigned int monthValue, unsigned int dayValue, unsigned int hourValue,
                      unsigned int minuteValue, unsigned int secondValue) {
    return yearValue >= kEpochYear && isMonth(monthValue) && dayValue >= 1 &&
           dayValue <= monthLength(yearValue, monthValue) && hourValue <= 23 && minuteValue <= 59 && secondValue <= 59;
}

bool MiTime::TestTime(const MiTime& time) {
    return TestTime(time.year, time.month, time.day, time.hour, time.minute, time.second);
}

bool MiTime::IsLeapYear(unsigned int yearValue) {
    return (yearValue % 4 == 0 && yearValue % 100 != 0) || yearValue % 400 == 0;
}

int MiTime::AdvancedGMTHours() {
    const std::int64_t now = clockSeconds();
    const std::int64_t ahead = localTime(now).GetTime() - now;
    return static_cast<int>((ahead + (ahead < 0 ? -1800 : 1800)) / kSecondsPerHour);
}

MiTime MiTime::LocalTimeToGMT(const MiTime& local) {
    MiTime gmt = local;
    step(gmt, -AdvancedGMTHours());
    return gmt;
}

MiTime MiTime::GMTToLocalTime(const MiTime& gmt) {
    MiTime local = gmt;
    step(local, AdvancedGMTHours());
    return local;
}

void MiTime::ToOstream(std::basic_ostream<char>& os, unsigned int level) const {
    foundation::WriteMargin(os, level);
    const MiString text = GetTimeString(nullptr);
    os.write(text.GetChars(), static_cast<std::streamsize>(text.GetLength()));
}
