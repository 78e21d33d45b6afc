#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "platform/platform.h"

using platform::sys;

namespace {

constexpr char kName[] = "vt_file_test.data";

void makeFile(const char* path) {
    std::FILE* file = std::fopen(path, "wb");
    ASSERT_NE(file, nullptr);
    std::fclose(file);
}

}  // namespace

TEST(file_test, FindsAndDeletesAFile) {
    makeFile(kName);
    WIN32_FIND_DATAA found;
    HANDLE search = sys().FindFirstFileA(kName, &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_STREQ(found.cFileName, kName);
    EXPECT_TRUE(sys().FindClose(search));
    EXPECT_TRUE(sys().DeleteFileA(kName));
    EXPECT_EQ(sys().FindFirstFileA(kName, &found), INVALID_HANDLE_VALUE);
    EXPECT_EQ(sys().GetLastError(), ERROR_FILE_NOT_FOUND);
}

TEST(file_test, NameIsThePathsLastPart) {
    makeFile(kName);
    const std::string path = std::string(".") + platform::kPathSeparator + kName;
    WIN32_FIND_DATAA found;
    HANDLE search = sys().FindFirstFileA(path.c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_STREQ(found.cFileName, kName);
    EXPECT_TRUE(sys().FindClose(search));
    EXPECT_TRUE(sys().DeleteFileA(kName));
}

TEST(file_test, DeletingWhatIsNotThereFails) {
    sys().SetLastError(0);
    EXPECT_FALSE(sys().DeleteFileA("vt_no_such_file.data"));
    EXPECT_EQ(sys().GetLastError(), ERROR_FILE_NOT_FOUND);
}

#if !defined(_WIN32)

TEST(file_test, AFolderIsFoundAndNotDeleted) {
    WIN32_FIND_DATAA found;
    HANDLE search = sys().FindFirstFileA("/tmp", &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_EQ(found.dwFileAttributes, 0x10u);
    EXPECT_STREQ(found.cFileName, "tmp");
    EXPECT_TRUE(sys().FindClose(search));
    EXPECT_FALSE(sys().DeleteFileA("/tmp"));
    EXPECT_EQ(sys().GetLastError(), ERROR_ACCESS_DENIED);
}

TEST(file_test, ErrorsTellWhatStandsInTheWay) {
    WIN32_FIND_DATAA found;
    EXPECT_EQ(sys().FindFirstFileA("/dev/null/x", &found), INVALID_HANDLE_VALUE);
    EXPECT_EQ(sys().GetLastError(), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(sys().FindFirstFileA(std::string(300, 'x').c_str(), &found), INVALID_HANDLE_VALUE);
    EXPECT_EQ(sys().GetLastError(), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(sys().FindFirstFileA(nullptr, &found), INVALID_HANDLE_VALUE);
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(sys().FindFirstFileA("x", nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(sys().DeleteFileA(nullptr));
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(sys().FindClose(INVALID_HANDLE_VALUE));
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_HANDLE);
}

#endif
