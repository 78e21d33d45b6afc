#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "pki/flat/flat.h"
#include "tests/support/replace.h"

namespace {

using platform::SystemApi;
using support::Replaced;

#if defined(_WIN32)
constexpr char kLibrary[] = "kernel32.dll";
constexpr char kFunction[] = "GetVersion";
#else
constexpr char kLibrary[] = "libm.so.6";
constexpr char kFunction[] = "cos";
#endif

void function() {}

TEST(library_test, LoadsFindsAndFrees) {
    void* library = VT_LoadLibrary(kLibrary);
    ASSERT_NE(library, nullptr);
    EXPECT_NE(VT_GetFuncAddress(library, kFunction), nullptr);
    EXPECT_EQ(VT_GetFuncAddress(library, "no_such_function_here"), nullptr);
    EXPECT_NE(VT_FreeLibrary(library), 0);
}

TEST(library_test, MissingLibraryIsNull) {
    EXPECT_EQ(VT_LoadLibrary("no_such_library_here"), nullptr);
}

TEST(library_test, NullArgumentsAreFailures) {
    EXPECT_EQ(VT_LoadLibrary(nullptr), nullptr);
    EXPECT_EQ(VT_GetFuncAddress(nullptr, kFunction), nullptr);
    void* library = VT_LoadLibrary(kLibrary);
    EXPECT_EQ(VT_GetFuncAddress(library, nullptr), nullptr);
    VT_FreeLibrary(library);
    EXPECT_EQ(VT_FreeLibrary(nullptr), 0);
}

TEST(library_test, GoesThroughThePlatform) {
    int place = 0;
    void* const handle = &place;
    std::string path;
    std::string name;
    const Replaced<&SystemApi::LoadLibraryA> load([&](LPCSTR given) {
        path = given;
        return static_cast<HMODULE>(handle);
    });
    const Replaced<&SystemApi::GetProcAddress> find([&](HMODULE module, LPCSTR given) {
        EXPECT_EQ(module, handle);
        name = given;
        return reinterpret_cast<FARPROC>(function);
    });
    const Replaced<&SystemApi::FreeLibrary> free([&](HMODULE module) {
        EXPECT_EQ(module, handle);
        return TRUE;
    });
    EXPECT_EQ(VT_LoadLibrary("token.dll"), handle);
    EXPECT_EQ(path, "token.dll");
    EXPECT_EQ(VT_GetFuncAddress(handle, "C_GetFunctionList"), function);
    EXPECT_EQ(name, "C_GetFunctionList");
    EXPECT_NE(VT_FreeLibrary(handle), 0);
}

TEST(library_test, FailureToFreeIsZero) {
    int place = 0;
    const Replaced<&SystemApi::FreeLibrary> free([](HMODULE) { return FALSE; });
    EXPECT_EQ(VT_FreeLibrary(&place), 0);
}

TEST(library_test, FileLengthIsItsSize) {
    const std::string path = testing::TempDir() + "flat_library_test.bin";
    std::filesystem::remove(path);
    EXPECT_EQ(VT_GetFileLen(path.c_str()), 0) << "no file";
    for (const std::string& content : {std::string(), std::string("\r\n\0x", 4), std::string(70000, 'x')}) {
        std::ofstream(path, std::ios::binary) << content;
        EXPECT_EQ(VT_GetFileLen(path.c_str()), static_cast<std::int64_t>(content.size()));
    }
    std::filesystem::remove(path);
}

TEST(library_test, NullPathHasNoLength) {
    EXPECT_EQ(VT_GetFileLen(nullptr), 0);
}

}  // namespace
