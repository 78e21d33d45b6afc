// The toolkit's own codes, all from codes.def, and the texts of the engine's codes for programs that link
// the shared library.
#ifndef VT_TOKEN_CODES_H
#define VT_TOKEN_CODES_H

#include "foundation/export.h"

namespace token {

#define VT_TOOLKIT_CODE(value, constant, raised, cause, remedy) inline constexpr int constant = value;
#include "token/codes.def"
#undef VT_TOOLKIT_CODE

}  // namespace token

// VT_EngineText gives the text of an engine code, 0 or negative, NUL-terminated and in GBK; null for a code without a
// text (below -21, or positive). Entry i of the table goes with code -i.
extern "C" VT_API const char* VT_EngineText(int code);

#endif
