// Texts as the A and W entries have them.
#ifndef VT_PLATFORM_NSS_WIDE_TEXT_H
#define VT_PLATFORM_NSS_WIDE_TEXT_H

#include <string>

namespace platform::nss {

// narrow gives the UTF-8 of wide text.
std::string narrow(const std::wstring& wide);

// widen gives the wide text of UTF-8; malformed bytes become U+FFFD.
std::wstring widen(const std::string& text);

}  // namespace platform::nss

#endif
