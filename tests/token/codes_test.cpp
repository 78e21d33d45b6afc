// The texts of the engine's codes, as a program sees them.
#include "token/codes.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

TEST(TokenCodes, TextOfEachEngineCode) {
    EXPECT_STREQ(VT_EngineText(0), "\xB7\xB5\xBB\xD8\xB3\xC9\xB9\xA6");
    EXPECT_STREQ(VT_EngineText(-21), "\xC6\xE4\xCB\xFB\xB4\xED\xCE\xF3");
    for (int code = 0; code >= -21; --code)
        EXPECT_NE(VT_EngineText(code), nullptr) << code;
}

TEST(TokenCodes, NoTextElsewhere) {
    for (const int code : {1, -22, -23, -101, -1000, INT_MAX, INT_MIN})
        EXPECT_EQ(VT_EngineText(code), nullptr) << code;
}

}  // namespace
