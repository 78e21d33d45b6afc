// MiTime: a calendar time to the second, without a time zone; the value of the ASN.1 types UTCTime and GeneralizedTime.
//
// A fresh value is the epoch, 1970-01-01 00:00:00. The constructor of six fields stores what it is given, so that a
// value can be one that TestTime refuses; every setter tests. Times before the epoch are refused on purpose, though
// stepping can lead there. There are no leap seconds.
//
// Setters and steps return the object itself.
//
// Texts are digits in the order of a format, in which Y stands for the year (four or two), M for the month, D for the
// day, h, m and s for hour, minute and second (two each), and any other character for itself. Years of two digits are
// 1970 to 2069. No format at all (null) means "YYYYMMDDhhmmss".
#ifndef VT_FOUNDATION_CALENDAR_TIME_H
#define VT_FOUNDATION_CALENDAR_TIME_H

#include <cstdint>
#include <iosfwd>

#include "foundation/export.h"
#include "foundation/object.h"
#include "foundation/string.h"

class VT_API MiTime : public MiObject {
  public:
    MiTime() = default;
    MiTime(unsigned int seconds);  // since the epoch, as GMT
    MiTime(unsigned int yearValue, unsigned char monthValue, unsigned char dayValue, unsigned char hourValue,
           unsigned char minuteValue, unsigned char secondValue);  // not tested
    MiTime(const MiTime& other) = default;
    ~MiTime() override = default;

    MiTime& operator=(const MiTime& other) = default;
    MiTime& Reset(const MiTime* source);  // null gives the epoch

    // Field by field, from the year down to the second.
    bool operator==(const MiTime& other) const;
    bool operator!=(const MiTime& other) const { return !(*this == other); }
    bool operator>(const MiTime& other) const { return other < *this; }
    bool operator>=(const MiTime& other) const { return !(*this < other); }
    bool operator<(const MiTime& other) const;
    bool operator<=(const MiTime& other) const { return !(other < *this); }

    // The system's clock, as GMT or in the local time zone.
    MiTime& SetCurrentTime();
    MiTime& SetLocalCurrentTime();

    MiTime& SetTime(unsigned int seconds);  // since the epoch, as GMT

    // Throws MiInvalidArgumentExp for what TestTime refuses, and changes nothing then.
    MiTime& SetTime(unsigned int yearValue, unsigned char monthValue, unsigned char dayValue, unsigned char hourValue,
                    unsigned char minuteValue, unsigned char secondValue);

    // Reads a text that begins with the format; what follows in the text is ignored, and so are its characters where
    // the format has no field. A field that the format lacks is that of the epoch. MiInvalidArgumentExp is thrown for a
    // null text or one shorter than the format, for a field that stands in the format twice or in the wrong number of
    // letters, for a field that fails its test below, and for a result that TestTime refuses; with a format the value
    // is the epoch then, with none it is unchanged.
    MiTime& SetTimeString(const char* text, const char* format);
    MiTime& SetTimeString(const MiString& text, const char* format);

    // The format with each field in its place, the low digits of a value that is too long. Fields in the wrong number
    // of letters throw MiInvalidArgumentExp.
    [[nodiscard]] MiString GetTimeString(const char* format) const;

    // The fields as they are stored: year in full, month and day counted from 1, hour, minute and second from 0.
    [[nodiscard]] unsigned int GetYear() const { return year; }
    [[nodiscard]] unsigned char GetMonth() const { return month; }
    [[nodiscard]] unsigned char GetDay() const { return day; }
    [[nodiscard]] unsigned char GetHour() const { return hour; }
    [[nodiscard]] unsigned char GetMinute() const { return minute; }
    [[nodiscard]] unsigned char GetSecond() const { return second; }

    // MiInvalidArgumentExp for a value outside its range: year from 1970, month 1 to 12, hour to 23, minute and second
    // to 59. SetDay refuses what is outside 1 to 31 in the same way; any other day it stores, and throws afterwards if
    // the whole time does not pass TestTime.
    MiTime& SetYear(unsigned int number);
    MiTime& SetMonth(unsigned int number);
    MiTime& SetDay(unsigned int number);
    MiTime& SetHour(unsigned int number);
    MiTime& SetMinute(unsigned int number);
    MiTime& SetSecond(unsigned int number);

    // Seconds and whole days since the epoch, for any stored fields: a year before 1970 counts as 1970, months before 1
    // or past 12 add nothing.
    [[nodiscard]] std::int64_t GetTime() const;
    [[nodiscard]] std::int64_t GetDays() const;

    // One step, with a carry into the next field. Months and years step alone: January 31 is followed by a February 31,
    // which TestTime refuses. A day steps by the length of its month; a stored month outside 1 to 12 has none, and a
    // step of the day throws MiRangeExp. The year wraps at 2^32.
    MiTime& NextYear();
    MiTime& NextMonth();
    MiTime& NextDay();
    MiTime& NextHour();
    MiTime& NextMinute();
    MiTime& NextSecond();
    MiTime& PreYear();
    MiTime& PreMonth();
    MiTime& PreDay();
    MiTime& PreHour();
    MiTime& PreMinute();
    MiTime& PreSecond();

    // The amount as seconds, minutes, hours and days, each stepped in turn from the smallest up.
    MiTime& AddTime(unsigned int seconds);
    MiTime& SubtractTime(unsigned int seconds);

    // Tests of texts. The value of the field, which is two characters (four for the year; what follows is ignored), or
    // -1 for one that is refused, is null, or ends too early. Two of them look at some characters only and reckon with
    // any other as if it were a digit, so that the value can be out of every range: it is for TestTime to say so.
    //   TestYearString            four digits, the first not 0
    //   TestDayString             days and months: behind a 0 only 1 to 9; behind any other character anything
    //   TestHourString            behind a 0 or 1 only a digit; behind any other character anything
    //   TestMinuteOrSecondString  0 to 5, then a digit
    static int TestYearString(const char* text);
    static int TestDayString(const char* text);
    static int TestHourString(const char* text);
    static int TestMinuteOrSecondString(const char* text);

    // Whether the text begins with a time of the form "YYYYMMDDhhmmss" that passes the tests above and TestTime.
    static bool TestTimeString(const char* text);

    // A real calendar time from 1970 on, with the days of each month and of leap years.
    static bool TestTime(unsigned int yearValue, unsigned int monthValue, unsigned int dayValue, unsigned int hourValue,
                         unsigned int minuteValue, unsigned int secondValue);
    static bool TestTime(const MiTime& time);
    static bool IsLeapYear(unsigned int yearValue);

    // What the local clock shows more than GMT, now and with summer time counted, in hours to the nearest: 6 for an
    // offset of five hours and a half.
    static int AdvancedGMTHours();

    // A copy, moved by AdvancedGMTHours.
    static MiTime LocalTimeToGMT(const MiTime& local);
    static MiTime GMTToLocalTime(const MiTime& gmt);

    // level times four blanks, then GetTimeString(nullptr).
    void ToOstream(std::basic_ostream<char>& os, unsigned int level) const;

  protected:
    unsigned int year = 1970;  // in full
    unsigned char month = 1;   // from 1
    unsigned char day = 1;     // from 1
    unsigned char hour = 0;    // 0 to 23 in a value that TestTime takes
    unsigned char minute = 0;  // 0 to 59, likewise
    unsigned char second = 0;  // 0 to 59, likewise
};

#endif
