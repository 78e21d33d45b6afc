#include "asn/times.h"

#include <cstring>
#include <utility>

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/ostream.h"
#include "foundation/exceptions.h"

namespace {

struct Offset {
    int hours;
    int minutes;
};

// The four digits of an offset, which MiTime's tests take partly on trust.
Offset readOffset(const char* digits) {
    const Offset offset = {MiTime::TestHourString(digits), MiTime::TestMinuteOrSecondString(digits + 2)};
    if (offset.hours < 0 || offset.minutes < 0)
        throw AsnDataExp();
    return offset;
}

void moveForward(MiTime& time, Offset offset) {
    for (int i = 0; i < offset.minutes; ++i)
        time.NextMinute();
    for (int i = 0; i < offset.hours; ++i)
        time.NextHour();
}

void moveBack(MiTime& time, Offset offset) {
    for (int i = 0; i < offset.minutes; ++i)
        time.PreMinute();
    for (int i = 0; i < offset.hours; ++i)
        time.PreHour();
}

void expectZ(char last) {
    if (last != 'Z' && last != 'z')
        throw AsnDataExp();
}

// The n bytes at p + offset, up to a zero byte among them, as a terminated text.
MiString textOf(const char* p, unsigned int offset, unsigned int n) {
    if (p == nullptr)
        throw MiInvalidArgumentExp();
    MiString text(n, ' ');
    if (n != 0)
        std::memcpy(static_cast<char*>(text), p + offset, n);
    return text;
}

}  // namespace

AsnUTCTime::AsnUTCTime() {
    asnTag.tagNumber = 23;
}

void AsnUTCTime::SetTime(const char* text) {
    data.Reset(nullptr);
    if (text == nullptr || *text == '\0')
        return;
    const unsigned int length = MiString::StringSize(text);
    const bool seconds = length == 12 || length == 13 || length == 17;
    if (!seconds && length != 10 && length != 11 && length != 15)
        throw AsnDataExp();
    data.SetTimeString(text, seconds ? "YYMMDDhhmmss" : "YYMMDDhhmm");
    const char* zone = text + (seconds ? 12 : 10);
    if (*zone == '\0')
        return;
    if (zone[1] == '\0') {
        expectZ(*zone);
        return;
    }
    const Offset offset = readOffset(zone + 1);
    if (*zone == '-')
        moveForward(data, offset);
    if (*zone == '+')
        moveBack(data, offset);
}

void AsnUTCTime::SetTime(const MiString& text) {
    SetTime(text.GetChars());
}

void AsnUTCTime::SetTime(const MiTime& time) {
    data = time;
}

void AsnUTCTime::SetTimeBytes(const char* p, unsigned int offset, unsigned int n) {
    SetTime(textOf(p, offset, n));
}

void AsnUTCTime::SetCurrentTime() {
    data.SetCurrentTime();
}

MiString AsnUTCTime::GetTimeString() const {
    return data.GetTimeString("YYMMDDhhmmssZ");
}

VT_ASN_DATUM(AsnUTCTime)
VT_ASN_DISPATCH(AsnUTCTime)

AsnGeneralizedTime::AsnGeneralizedTime() {
    asnTag.tagNumber = 24;
}

AsnGeneralizedTime::AsnGeneralizedTime(const AsnGeneralizedTime& other) = default;

AsnGeneralizedTime::~AsnGeneralizedTime() = default;

AsnGeneralizedTime& AsnGeneralizedTime::operator=(const AsnGeneralizedTime& other) {
    if (this == &other)
        return *this;
    MiString digits = other.fraction;
    SetAsnBaseData(&other);
    data = other.data;
    fraction = std::move(digits);
    return *this;
}

void AsnGeneralizedTime::Reset(const AsnObject* other) {
    const auto* that = static_cast<const AsnGeneralizedTime*>(other);
    fraction.Reset(that == nullptr ? nullptr : &that->fraction);
    data.Reset(that == nullptr ? nullptr : &that->data);
}

bool AsnGeneralizedTime::EqualsContent(const AsnObject* other) const {
    const auto* that = dynamic_cast<const AsnGeneralizedTime*>(other);
    return that != nullptr && data == that->data && fraction == that->fraction;
}

constexpr unsigned int kDigits = 14;  // of "YYYYMMDDhhmmss"

void AsnGeneralizedTime::SetTime(const char* text) {
    data.Reset(nullptr);
    fraction.Reset(nullptr);
    if (text == nullptr || *text == '\0')
        return;
    const unsigned int length = MiString::StringSize(text);
    if (length < kDigits)
        throw AsnDataExp();
    data.SetTimeString(text, "YYYYMMDDhhmmss");
    if (length == kDigits)
        data = MiTime::LocalTimeToGMT(data);
    else if (length == kDigits + 1)
        expectZ(text[kDigits]);
    else if (text[kDigits] == '.')
        setFractionAndZone(text, length);
    else
        setZone(text, length);
}

// Behind whole seconds: a sign and four digits.
void AsnGeneralizedTime::setZone(const char* text, unsigned int length) {
    const char sign = text[kDigits];
    if ((sign != '-' && sign != '+') || length != kDigits + 5)
        throw AsnDataExp();
    const Offset offset = readOffset(text + kDigits + 1);
    if (sign == '-')
        moveForward(data, offset);
}

// Behind a point: a fraction, with a sign and four digits, Z, z or nothing.
void AsnGeneralizedTime::setFractionAndZone(const char* text, unsigned int length) {
    const char* digits = text + kDigits + 1;
    const char* end = text + length;
    const char* sign = std::strchr(digits + 1, '-');
    if (sign == nullptr)
        sign = std::strchr(digits + 1, '+');
    const bool zulu = end[-1] == 'Z' || end[-1] == 'z';
    const char* zone = end;
    if (sign != nullptr)
        zone = sign;
    else if (zulu)
        zone = end - 1;
    if ((sign != nullptr && end != sign + 5) || zone == digits)
        throw AsnDataExp();

    SetFracSecond(MiString(digits, 0, static_cast<unsigned int>(zone - digits)));

    if (sign == nullptr) {
        if (!zulu)
            data = MiTime::LocalTimeToGMT(data);
        return;
    }
    const Offset offset = readOffset(sign + 1);
    if (*sign == '-')
        moveForward(data, offset);
    else
        moveBack(data, offset);
}

void AsnGeneralizedTime::SetTime(const MiString& text) {
    SetTime(text.GetChars());
}

void AsnGeneralizedTime::SetTime(const MiTime& time) {
    data = time;
    fraction.Reset(nullptr);
}

void AsnGeneralizedTime::SetTimeBytes(const char* p, unsigned int offset, unsigned int n) {
    SetTime(textOf(p, offset, n));
}

void AsnGeneralizedTime::SetCurrentTime() {
    data.SetCurrentTime();
    fraction.Reset(nullptr);
}

void AsnGeneralizedTime::SetFracSecond(const char* digits) {
    const unsigned int length = MiString::StringSize(digits);
    unsigned int kept = 0;  // up to the last digit that is not 0
    for (unsigned int i = 0; i < length; ++i) {
        if (digits[i] < '0' || digits[i] > '9') {
            fraction.Reset(nullptr);
            throw AsnDataExp();
        }
        if (digits[i] != '0')
            kept = i + 1;
    }
    fraction.SetChars(digits, 0, kept);
}

void AsnGeneralizedTime::SetFracSecond(const MiString& digits) {
    SetFracSecond(digits.GetChars());
}

MiString AsnGeneralizedTime::GetTimeString() const {
    MiString text = data.GetTimeString(nullptr);
    if (!fraction.Empty()) {
        text.Concat(".");
        text.Concat(fraction);
    }
    text.Concat("Z");
    return text;
}

VT_ASN_DISPATCH(AsnGeneralizedTime)
