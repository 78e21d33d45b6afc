#include "tests/support/own_process.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "tests/support/tool.h"

namespace support {

namespace {

// The link itself would do but for valgrind, where it is read as this program and opened as valgrind.
std::string thisProgram() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    return {path, length < 0 ? 0 : static_cast<std::size_t>(length)};
}

}  // namespace

bool inOwnProcess() {
    return std::getenv("VT_TEST_OWN_PROCESS") != nullptr;
}

void runInOwnProcess(const std::string& environment) {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string(test->test_suite_name()) + "." + test->name();
    const ToolResult result =
        tool(environment + " VT_TEST_OWN_PROCESS=1 $VT_TEST_RUNNER '" + thisProgram() + "' --gtest_filter=" + name);
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_NE(result.output.find("[  PASSED  ] 1 test."), std::string::npos) << result.output;
}

}  // namespace support
