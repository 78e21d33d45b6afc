#include <gtest/gtest.h>

#include "platform/platform.h"

using platform::sys;

TEST(posix_window_test, ThereAreNoWindows) {
    PAINTSTRUCT paint = {};
    RECT rect = {1, 2, 3, 4};
    EXPECT_EQ(sys().SetWindowLongA(nullptr, GWL_WNDPROC, 7), 0);
    EXPECT_EQ(sys().GetWindowLongA(nullptr, GWL_WNDPROC), 0);
    EXPECT_EQ(sys().BeginPaint(nullptr, &paint), nullptr);
    EXPECT_FALSE(sys().EndPaint(nullptr, &paint));
    EXPECT_FALSE(sys().GetClientRect(nullptr, &rect));
    EXPECT_EQ(rect.right, 3) << "left alone";
    EXPECT_EQ(sys().FrameRect(nullptr, &rect, nullptr), 0);
    EXPECT_EQ(sys().GetStockObject(BLACK_BRUSH), nullptr);
    EXPECT_EQ(sys().DrawTextA(nullptr, "x", 1, &rect, DT_CENTER), 0);
    EXPECT_EQ(sys().DefWindowProcA(nullptr, WM_PAINT, 0, 0), 0);
}
