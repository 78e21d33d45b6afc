#include "tests/host/script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

namespace {

using host::Outcome;
using host::splitCommand;
using host::valueOf;
using testing::ElementsAre;

TEST(script_test, ACommandIsSplitAtBlanksOutsideQuotes) {
    EXPECT_THAT(splitCommand("  call a 1\t\"b c\" d\r"), ElementsAre("call", "a", "1", "\"b c", "d"));
    EXPECT_THAT(splitCommand(R"("a\"\\\n\x00z")"), ElementsAre(std::string("\"a\"\\\n\0z", 7)));
    EXPECT_THAT(splitCommand("\"\""), ElementsAre("\""));
    EXPECT_TRUE(splitCommand("").empty());
    EXPECT_THROW(splitCommand("\"open"), std::runtime_error);
    EXPECT_THROW(splitCommand(R"("\q")"), std::runtime_error);
    EXPECT_THROW(splitCommand(R"("\xG0")"), std::runtime_error);
}

TEST(script_test, WordsBecomeValuesAsInABrowser) {
    EXPECT_EQ(valueOf("12").variant().type, NPVariantType_Int32);
    EXPECT_EQ(valueOf("-2147483648").variant().value.intValue, -2147483647 - 1);
    EXPECT_EQ(valueOf("2147483648").variant().type, NPVariantType_Double);
    EXPECT_EQ(valueOf("1024.9").variant().value.doubleValue, 1024.9);
    EXPECT_TRUE(std::isnan(valueOf("nan").variant().value.doubleValue));
    EXPECT_TRUE(std::isinf(valueOf("-inf").variant().value.doubleValue));
    EXPECT_EQ(valueOf("true").variant().type, NPVariantType_Bool);
    EXPECT_EQ(valueOf("null").variant().type, NPVariantType_Null);
    EXPECT_EQ(valueOf("undefined").variant().type, NPVariantType_Void);
    EXPECT_EQ(valueOf("\"12").variant().type, NPVariantType_String);
    EXPECT_EQ(valueOf("CN=a").variant().type, NPVariantType_String);
    EXPECT_EQ(valueOf("12a").variant().type, NPVariantType_String);
    EXPECT_THROW(valueOf("@no such file"), std::runtime_error);
}

TEST(script_test, OutcomesAreOneLineOfJson) {
    Outcome outcome;
    EXPECT_EQ(host::jsonOf(outcome), R"({"ok":false})");
    outcome.ok = true;
    EXPECT_EQ(host::jsonOf(outcome), R"({"ok":true,"type":"undefined"})");
    outcome.type = NPVariantType_Int32;
    outcome.number = 22188202;
    EXPECT_EQ(host::jsonOf(outcome), R"({"ok":true,"type":"number","value":22188202})");
    outcome.type = NPVariantType_String;
    outcome.text = "a\"\\\r\n\xC3\xA4\xFF";
    EXPECT_EQ(host::jsonOf(outcome),
              "{\"ok\":true,\"type\":\"string\",\"value\":\"a\\\"\\\\\\u000d\\u000a\xC3\xA4\\u00ff\"}");
}

}  // namespace
