// The commands of vtmsg, one for each flat function.
#ifndef VT_TOOLS_VTMSG_COMMANDS_H
#define VT_TOOLS_VTMSG_COMMANDS_H

#include <vector>

#include "tools/common/arguments.h"
#include "tools/common/program.h"

namespace vtmsg {

const std::vector<tools::Command>& commands();

// What the options of all commands are.
const std::vector<tools::Option>& knownOptions();

}  // namespace vtmsg

#endif
