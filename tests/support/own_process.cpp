#include "tests/support/own_process.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>

#include "tests/support/tool.h"

namespace support {

bool inOwnProcess() {
    return std::getenv("VT_TEST_OWN_PROCESS") != nullptr;
}

void runInOwnProcess(const std::string& environment) {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string(test->test_suite_name()) + "." + test->name();
    const ToolResult result =
        tool(environment + " VT_TEST_OWN_PROCESS=1 /proc/" + std::to_string(getpid()) + "/exe --gtest_filter=" + name);
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_NE(result.output.find("[  PASSED  ] 1 test."), std::string::npos) << result.output;
}

}  // namespace support
