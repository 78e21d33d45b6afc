#include "enrol/validity_text.h"

namespace enrol {
namespace {

// The characters for year, month and day, by number to be independent of the encoding of this file.
constexpr wchar_t kYear = L'\u5E74';
constexpr wchar_t kMonth = L'\u6708';
constexpr wchar_t kDay = L'\u65E5';

constexpr std::int64_t kLastSecond = 32535215999;  // 3000-12-31 23:59:59

void append(std::wstring& text, unsigned value, std::size_t width) {
    const std::wstring digits = std::to_wstring(value);
    if (digits.size() < width)
        text.append(width - digits.size(), L'0');
    text += digits;
}

bool readNumber(std::wstring_view& text, std::size_t width, std::int64_t& value) {
    const std::size_t start = text.find_first_not_of(L' ');
    text.remove_prefix(start == std::wstring_view::npos ? text.size() : start);
    std::size_t digits = 0;
    std::int64_t number = 0;
    while (digits < width && digits < text.size() && text[digits] >= L'0' && text[digits] <= L'9')
        number = number * 10 + (text[digits++] - L'0');
    if (digits == 0)
        return false;
    text.remove_prefix(digits);
    value = number;
    return true;
}

bool readMark(std::wstring_view& text, wchar_t mark) {
    if (text.empty() || text.front() != mark)
        return false;
    text.remove_prefix(1);
    return true;
}

// Days from 1970-01-01 in the Gregorian calendar, counted in eras of 400 years that begin with March. A month outside
// 1 to 12 runs over into the years.
std::int64_t daysFromDate(std::int64_t year, std::int64_t month, std::int64_t day) {
    const std::int64_t months = year * 12 + month - 3;
    const std::int64_t marchYear = (months >= 0 ? months : months - 11) / 12;
    const std::int64_t marchMonth = months - marchYear * 12;
    const std::int64_t era = (marchYear >= 0 ? marchYear : marchYear - 399) / 400;
    const std::int64_t yearOfEra = marchYear - era * 400;
    const std::int64_t dayOfYear = (153 * marchMonth + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

}  // namespace

std::wstring validityText(const SYSTEMTIME& time) {
    std::wstring text;
    append(text, time.wYear, 4);
    text += kYear;
    append(text, time.wMonth, 2);
    text += kMonth;
    append(text, time.wDay, 2);
    text += kDay;
    text += L' ';
    append(text, time.wHour, 2);
    text += L':';
    append(text, time.wMinute, 2);
    text += L':';
    append(text, time.wSecond, 2);
    return text;
}

std::int64_t readValidityText(std::wstring_view text) {
    std::int64_t year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    // The blank before the hour is skipped as white space.
    (void)(readNumber(text, 4, year) && readMark(text, kYear) && readNumber(text, 2, month) && readMark(text, kMonth) &&
           readNumber(text, 2, day) && readMark(text, kDay) && readNumber(text, 2, hour) && readMark(text, L':') &&
           readNumber(text, 2, minute) && readMark(text, L':') && readNumber(text, 2, second));
    const std::int64_t seconds = ((daysFromDate(year, month, day) * 24 + hour) * 60 + minute) * 60 + second;
    // The range of _mktime64, by which the order of certificates is defined: its -1 makes all times outside it equal.
    return seconds < 0 || seconds > kLastSecond ? -1 : seconds;
}

}  // namespace enrol
