// Text in a code page as wide text.
#ifndef VT_ENROL_ANSI_TEXT_H
#define VT_ENROL_ANSI_TEXT_H

#include <string>

#include "platform/platform.h"

namespace enrol {

// widen turns NUL-terminated text of a code page (CP_ACP, CP_THREAD_ACP) into wide text; null counts as empty.
// Throws std::runtime_error when the platform refuses the conversion.
std::wstring widen(UINT codePage, const char* text);

}  // namespace enrol

#endif
