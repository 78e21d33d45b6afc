#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/platform.h"

using platform::sys;

TEST(last_error_test, KeepsWhatWasStored) {
    sys().SetLastError(static_cast<DWORD>(NTE_EXISTS));
    EXPECT_EQ(sys().GetLastError(), static_cast<DWORD>(NTE_EXISTS));
    sys().SetLastError(0);
    EXPECT_EQ(sys().GetLastError(), 0u);
}

// The Windows runtime itself writes the error where a thread starts and ends, so both threads wait in between.
TEST(last_error_test, EachThreadHasItsOwn) {
    std::atomic<int> step{0};
    DWORD other = 0;
    std::thread thread([&] {
        while (step != 1) {
        }
        sys().SetLastError(7);
        other = sys().GetLastError();
        step = 2;
    });
    sys().SetLastError(5);
    step = 1;
    while (step != 2) {
    }
    const DWORD own = sys().GetLastError();
    thread.join();
    EXPECT_EQ(other, 7u);
    EXPECT_EQ(own, 5u);
}
