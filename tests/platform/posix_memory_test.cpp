#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/platform.h"
#include "tests/support/failing_heap.h"

using platform::sys;

// The script object asks for it in calls of the browser, which no exception may leave.
TEST(posix_memory_test, TheProgramsNameTakesNoMemory) {
    char name[260] = "unknown";
    long taken = 0;
    {
        const support::CountingHeap heap;
        sys().GetModuleBaseNameA(sys().GetCurrentProcess(), nullptr, name, sizeof name);
        taken = heap.allocations();
    }
    EXPECT_EQ(taken, 0);
    EXPECT_STREQ(name, "test_platform_memory");
}

TEST(posix_memory_test, AnExpansionWithoutMemoryIsAFailure) {
    setenv("HOME", "/home/of somebody whose name is long", 1);
    char text[64];
    const long runs = support::forEachExhaustion([&] {
        sys().SetLastError(0);
        const DWORD needed = sys().ExpandEnvironmentStringsA("%HOMEDRIVE%%HOMEPATH%", text, sizeof text);
        if (needed == 0)
            EXPECT_EQ(sys().GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
        else
            EXPECT_EQ(needed, 37u);
    });
    EXPECT_GT(runs, 0);
    EXPECT_STREQ(text, "/home/of somebody whose name is long");
}

TEST(posix_memory_test, FindingTakesNoMemory) {
    const std::string path = "./" + std::string(100, 'n');
    std::FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::fclose(file);
    WIN32_FIND_DATAA found;
    HANDLE search = INVALID_HANDLE_VALUE;
    long taken = 0;
    {
        const support::CountingHeap heap;
        search = sys().FindFirstFileA(path.c_str(), &found);
        taken = heap.allocations();
    }
    EXPECT_EQ(taken, 0);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_EQ(found.cFileName, path.substr(2));
    EXPECT_TRUE(sys().FindClose(search));
    EXPECT_TRUE(sys().DeleteFileA(path.c_str()));
}
