// Other people's programs, which judge what ours has made.
#ifndef VT_TESTS_SUPPORT_TOOL_H
#define VT_TESTS_SUPPORT_TOOL_H

#include <string>

namespace support {

struct ToolResult {
    int status;          // of the program's end; -1 where it was killed
    std::string output;  // standard output and error
};

// tool runs a command line of the shell.
ToolResult tool(const std::string& command);

}  // namespace support

#endif
