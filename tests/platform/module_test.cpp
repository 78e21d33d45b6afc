#include <gtest/gtest.h>

#include <string>

#include "platform/platform.h"

using platform::sys;

namespace {

#if defined(_WIN32)
constexpr char kProgram[] = "test_platform.exe";
constexpr char kLibrary[] = "kernel32.dll";
constexpr char kFunction[] = "GetTickCount";
#else
constexpr char kProgram[] = "test_platform";
constexpr char kLibrary[] = "libc.so.6";
constexpr char kFunction[] = "getpid";
#endif

HMODULE firstModule() {
    HMODULE module = nullptr;
    DWORD needed = 0;
    EXPECT_TRUE(sys().EnumProcessModules(sys().GetCurrentProcess(), &module, sizeof module, &needed));
    EXPECT_GE(needed, sizeof module);
    return module;
}

}  // namespace

TEST(module_test, FirstModuleIsTheProgram) {
    char name[260] = "unknown";
    const DWORD length = sys().GetModuleBaseNameA(sys().GetCurrentProcess(), firstModule(), name, sizeof name);
    EXPECT_STREQ(name, kProgram);
    EXPECT_EQ(length, std::string(kProgram).size());
}

TEST(module_test, LoadsALibraryAndFindsAFunction) {
    HMODULE library = sys().LoadLibraryA(kLibrary);
    ASSERT_NE(library, nullptr);
    EXPECT_NE(sys().GetProcAddress(library, kFunction), nullptr);
    sys().SetLastError(0);
    EXPECT_EQ(sys().GetProcAddress(library, "vt_no_such_function"), nullptr);
    EXPECT_EQ(sys().GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
    EXPECT_TRUE(sys().FreeLibrary(library));
}

TEST(module_test, MissingLibraryGivesItsError) {
    sys().SetLastError(0);
    EXPECT_EQ(sys().LoadLibraryA("vt_no_such_library"), nullptr);
    EXPECT_EQ(sys().GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
}

TEST(module_test, EmptyNameIsNoLibrary) {
    EXPECT_EQ(sys().LoadLibraryA(""), nullptr);
}

#if !defined(_WIN32)

TEST(module_test, LongNameIsCut) {
    char name[6] = "#####";
    EXPECT_EQ(sys().GetModuleBaseNameA(sys().GetCurrentProcess(), nullptr, name, 5), 4u);
    EXPECT_STREQ(name, "test");
}

TEST(module_test, RefusesOtherProcessesAndNulls) {
    char name[8];
    HMODULE module = nullptr;
    DWORD needed = 0;
    EXPECT_FALSE(sys().EnumProcessModules(nullptr, &module, sizeof module, &needed));
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(sys().EnumProcessModules(sys().GetCurrentProcess(), &module, sizeof module, nullptr));
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(sys().EnumProcessModules(sys().GetCurrentProcess(), nullptr, sizeof module, &needed));
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_TRUE(sys().EnumProcessModules(sys().GetCurrentProcess(), nullptr, 0, &needed));
    EXPECT_EQ(needed, sizeof module);
    EXPECT_EQ(sys().GetModuleBaseNameA(nullptr, nullptr, name, sizeof name), 0u);
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(sys().GetModuleBaseNameA(sys().GetCurrentProcess(), &needed, name, sizeof name), 0u);
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(sys().GetModuleBaseNameA(sys().GetCurrentProcess(), nullptr, nullptr, 8), 0u);
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(sys().GetModuleBaseNameA(sys().GetCurrentProcess(), nullptr, name, 0), 0u);
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(sys().LoadLibraryA(nullptr), nullptr);
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(sys().GetProcAddress(nullptr, "getpid"), nullptr);
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(sys().FreeLibrary(nullptr));
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_HANDLE);
}

#endif
