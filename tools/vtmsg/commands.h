// The commands of vtmsg, one for each flat function.
#ifndef VT_TOOLS_VTMSG_COMMANDS_H
#define VT_TOOLS_VTMSG_COMMANDS_H

#include <string>
#include <vector>

#include "tools/common/arguments.h"

namespace vtmsg {

struct Command {
    const char* name;
    const char* arguments;             // for the usage text, FILE left out
    const char* summary;               // one line
    std::vector<const char*> options;  // that it takes, besides those that all take
    // Gives the bytes for the output. InputError for input that cannot be read, Failure for a code, UsageError for
    // options that do not go together.
    std::string (*run)(const tools::Arguments& arguments, const std::string& input);
};

const std::vector<Command>& commands();

// What the options of all commands are.
const std::vector<tools::Option>& knownOptions();

}  // namespace vtmsg

#endif
