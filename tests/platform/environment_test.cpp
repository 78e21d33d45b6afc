#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "platform/platform.h"

using platform::sys;

namespace {

std::string expand(const char* source) {
    char text[1024];
    const DWORD needed = sys().ExpandEnvironmentStringsA(source, text, sizeof text);
    EXPECT_EQ(needed, std::string(text).size() + 1) << "the count has the NUL";
    return text;
}

void setVariable(const char* name, const char* value) {
#if defined(_WIN32)
    SetEnvironmentVariableA(name, value);
#else
    setenv(name, value, 1);
#endif
}

}  // namespace

TEST(environment_test, ReplacesVariablesInsideText) {
    setVariable("VT_TEST_ONE", "1");
    setVariable("VT_TEST_TWO", "two words");
    EXPECT_EQ(expand("a%VT_TEST_ONE%b%VT_TEST_TWO%"), "a1btwo words");
    EXPECT_EQ(expand("%VT_TEST_ONE%%VT_TEST_ONE%"), "11");
}

TEST(environment_test, LeavesWhatItDoesNotKnow) {
    EXPECT_EQ(expand("%VT_TEST_NO_SUCH%"), "%VT_TEST_NO_SUCH%");
    EXPECT_EQ(expand("100%"), "100%");
    EXPECT_EQ(expand("%"), "%");
    EXPECT_EQ(expand("%%"), "%%");
    EXPECT_EQ(expand("%%%"), "%%%");
    EXPECT_EQ(expand(""), "");
}

TEST(environment_test, SecondPercentOfAnUnknownNameBeginsNoOther) {
    setVariable("VT_TEST_ONE", "1");
    EXPECT_EQ(expand("%VT_TEST_NO_SUCH%VT_TEST_ONE%b"), "%VT_TEST_NO_SUCH%VT_TEST_ONE%b");
    EXPECT_EQ(expand("%VT_TEST_NO_SUCH%%VT_TEST_ONE%b"), "%VT_TEST_NO_SUCH%1b");
}

TEST(environment_test, GivesTheSizeNeededWhenItDoesNotFit) {
    setVariable("VT_TEST_TWO", "two words");
    EXPECT_EQ(sys().ExpandEnvironmentStringsA("[%VT_TEST_TWO%]", nullptr, 0), 12u);
    for (DWORD capacity = 0; capacity < 12; ++capacity) {
        std::string text(32, '#');
        EXPECT_EQ(sys().ExpandEnvironmentStringsA("[%VT_TEST_TWO%]", text.data(), capacity), 12u);
        EXPECT_EQ(text.substr(capacity), std::string(32 - capacity, '#')) << "nothing is written past the capacity";
    }
    std::string text(32, '#');
    EXPECT_EQ(sys().ExpandEnvironmentStringsA("[%VT_TEST_TWO%]", text.data(), 12), 12u);
    EXPECT_STREQ(text.c_str(), "[two words]");
}

#if !defined(_WIN32)

TEST(environment_test, HomeIsAllPathAndNoDrive) {
    setVariable("HOME", "/home/somebody");
    EXPECT_EQ(expand("%HOMEDRIVE%"), "");
    EXPECT_EQ(expand("%HOMEPATH%"), "/home/somebody");
    EXPECT_EQ(expand("%HomeDrive%%homepath%/x"), "/home/somebody/x") << "their case does not count";
    setVariable("HOME", "/elsewhere");
    EXPECT_EQ(expand("%HOMEPATH%"), "/elsewhere") << "$HOME is looked at each time";
}

TEST(environment_test, WithoutHomeThePasswordDatabaseKnows) {
    unsetenv("HOME");
    EXPECT_EQ(expand("%HOMEPATH%").substr(0, 1), "/");
}

TEST(environment_test, RefusesNull) {
    char text[8];
    sys().SetLastError(0);
    EXPECT_EQ(sys().ExpandEnvironmentStringsA(nullptr, text, sizeof text), 0u);
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
    sys().SetLastError(0);
    EXPECT_EQ(sys().ExpandEnvironmentStringsA("x", nullptr, 8), 0u);
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
}

#endif
