// AsnUTCTime and AsnGeneralizedTime: times of X.680, read from several forms and kept as GMT.
//
// Both setters start from the epoch (1970, month 1, day 1, 00:00:00), which is also what null and empty text give. A
// setter that fails leaves the epoch or a half-set time. Failures are AsnDataExp for the form of the text, and those of
// MiTime (MiInvalidArgumentExp, MiRangeExp) for a field out of range. The four digits of an offset are tested as
// MiTime tests hours and minutes.
#ifndef VT_ASN_TIMES_H
#define VT_ASN_TIMES_H

#include "asn/value.h"
#include "foundation/calendar_time.h"
#include "foundation/string.h"

// UTCTime: two digits for the year, 1970 to 2069.
class VT_API AsnUTCTime : public AsnObject {
  public:
    AsnUTCTime();
    VT_ASN_VALUE(AsnUTCTime);

    // "YYMMDDhhmm" or "YYMMDDhhmmss", with nothing, Z, z or an offset of a sign and four digits behind it. The time
    // moves forward for "-" and back for "+"; with any other sign the offset is ignored.
    void SetTime(const char* text);
    void SetTime(const MiString& text);
    void SetTime(const MiTime& time);
    // The n bytes at p + offset as text. MiInvalidArgumentExp for null.
    void SetTimeBytes(const char* p, unsigned int offset, unsigned int n);
    // The present, as GMT.
    void SetCurrentTime();

    const MiTime& GetTime() const { return data; }  // as GMT, whatever was read; stays the object's
    // "YYMMDDhhmmssZ", whatever was read.
    MiString GetTimeString() const;

  protected:
    MiTime data;  // GMT
};

// GeneralizedTime: four digits for the year, and fractions of a second.
class VT_API AsnGeneralizedTime : public AsnObject {
  public:
    AsnGeneralizedTime();
    VT_ASN_VALUE(AsnGeneralizedTime);

    // "YYYYMMDDhhmmss" and then
    //
    //     nothing, or "." and a fraction            local time
    //     Z or z, or "." and a fraction and Z or z  GMT
    //     "-" and four digits                       the time moves forward, with or without a fraction
    //     "+" and four digits                       the time moves back with a fraction, and stays as written without
    //                                               one: certificates were issued and checked by that
    //
    // Also clears the fraction.
    void SetTime(const char* text);
    void SetTime(const MiString& text);
    void SetTime(const MiTime& time);
    // The n bytes at p + offset as text. MiInvalidArgumentExp for null.
    void SetTimeBytes(const char* p, unsigned int offset, unsigned int n);
    // The present, as GMT, without a fraction.
    void SetCurrentTime();

    // The digits behind the point; trailing zeros are dropped. Null and empty text clear. AsnDataExp for any other
    // character, with the fraction cleared.
    void SetFracSecond(const char* digits);
    void SetFracSecond(const MiString& digits);

    const MiTime& GetTime() const { return data; }              // as GMT, whatever was read; stays the object's
    const MiString& GetFracSecond() const { return fraction; }  // the digits behind the point; stays the object's
    // Fourteen digits, "." and the fraction if there is one, "Z".
    MiString GetTimeString() const;

  protected:
    MiTime data;        // GMT
    MiString fraction;  // the digits behind the point, without trailing zeros

  private:
    void setZone(const char* text, unsigned int length);
    void setFractionAndZone(const char* text, unsigned int length);
};

#endif
