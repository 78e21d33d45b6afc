#include "tests/support/tool.h"

#include <sys/wait.h>

#include <cstdio>

namespace support {

ToolResult tool(const std::string& command) {
    std::FILE* pipe = popen(("( " + command + " ) 2>&1").c_str(), "r");
    if (pipe == nullptr)
        return {-1, "no shell"};
    ToolResult result = {-1, {}};
    char block[4096];
    for (std::size_t got = 0; (got = std::fread(block, 1, sizeof block, pipe)) != 0;)
        result.output.append(block, got);
    const int status = pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

}  // namespace support
