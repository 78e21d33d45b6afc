// The commands of vtkey.
#ifndef VT_TOOLS_VTKEY_COMMANDS_H
#define VT_TOOLS_VTKEY_COMMANDS_H

#include <vector>

#include "tools/common/arguments.h"
#include "tools/common/program.h"

namespace vtkey {

const std::vector<tools::Command>& commands();

// What the options of all commands are.
const std::vector<tools::Option>& knownOptions();

}  // namespace vtkey

#endif
