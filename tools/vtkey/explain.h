// Why a PFX cannot be opened.
#ifndef VT_TOOLS_VTKEY_EXPLAIN_H
#define VT_TOOLS_VTKEY_EXPLAIN_H

#include <string>

#include "tools/common/arguments.h"

namespace vtkey {

// A text for the user: the reasons, one a line, and commands of openssl that make the file readable. First the
// structure is looked at, and only if nothing is wrong with it the password is asked for. InputError for what is no
// PFX.
std::string explainPfx(const tools::Arguments& arguments, const std::string& input);

}  // namespace vtkey

#endif
