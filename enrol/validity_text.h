// The start of a certificate's validity as text, by which certificates are put in order of age.
#ifndef VT_ENROL_VALIDITY_TEXT_H
#define VT_ENROL_VALIDITY_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/platform.h"

namespace enrol {

// validityText gives a text such as "2014年10月21日 10:30:00".
std::wstring validityText(const SYSTEMTIME& time);

// readValidityText reads such a text back and gives the seconds since 1970-01-01 00:00:00, without time zone and
// daylight saving, at 64 bits whatever the platform's time_t is; -1 for a time before that, or after the year 3000.
// Reading ends at the first piece that does not fit, and what was not read counts as 0.
std::int64_t readValidityText(std::wstring_view text);

}  // namespace enrol

#endif
