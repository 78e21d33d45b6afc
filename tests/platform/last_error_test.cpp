#include <gtest/gtest.h>

#include <thread>

#include "platform/platform.h"

using platform::sys;

TEST(last_error_test, KeepsWhatWasStored) {
    sys().SetLastError(static_cast<DWORD>(NTE_EXISTS));
    EXPECT_EQ(sys().GetLastError(), static_cast<DWORD>(NTE_EXISTS));
    sys().SetLastError(0);
    EXPECT_EQ(sys().GetLastError(), 0u);
}

TEST(last_error_test, EachThreadHasItsOwn) {
    DWORD other = 0;
    sys().SetLastError(5);
    std::thread thread([&other] {
        sys().SetLastError(7);
        other = sys().GetLastError();
    });
    sys().SetLastError(5);  // the Windows runtime's thread start writes it
    thread.join();
    EXPECT_EQ(other, 7u);
    EXPECT_EQ(sys().GetLastError(), 5u);
}
