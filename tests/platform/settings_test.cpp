// The registry, the user's name and the files that programs keep their settings in.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "platform/platform.h"

using platform::sys;

namespace {

class settings_test : public testing::Test {
  protected:
    ~settings_test() override { (void)std::remove(file_.c_str()); }

    void write(const std::string& content) const { std::ofstream(file_, std::ios::binary) << content; }

    std::string valueOf(const char* section, const char* key, const char* fallback = nullptr) const {
        char value[64] = "unchanged";
        const DWORD length = sys().GetPrivateProfileStringA(section, key, fallback, value, sizeof value, file_.c_str());
        EXPECT_EQ(length, std::string(value).size());
        return value;
    }

    std::string file_ =
        (std::filesystem::temp_directory_path() / ("vt-" + std::to_string(std::random_device()()) + ".ini")).string();
};

}  // namespace

TEST_F(settings_test, ValuesAreFoundBySectionAndKey) {
    write(
        "[General]\r\nPath=no\r\n\r\n[Profile0]\r\nName=default\r\nIsRelative=1\r\nPath=Profiles/a.default\r\n"
        "Path=second\r\n[Profile1]\r\nPath=other\r\n[Profile0]\r\nLate=late\r\n");
    EXPECT_EQ(valueOf("Profile0", "Path"), "Profiles/a.default");
    EXPECT_EQ(valueOf("Profile1", "Path"), "other");
    EXPECT_EQ(valueOf("profile0", "PATH"), "Profiles/a.default");
    EXPECT_EQ(valueOf("Profile0", "Name", "fallback"), "default");
    EXPECT_EQ(valueOf("Profile0", "Late"), "") << "the first section of that name is the whole of it";
    EXPECT_EQ(valueOf("Profile0", "Nothing"), "");
    EXPECT_EQ(valueOf("Profile0", "Nothing", "fallback"), "fallback");
    EXPECT_EQ(valueOf("Profile2", "Path", "fallback"), "fallback");
    EXPECT_EQ(valueOf("Profile", "Path"), "");
}

TEST_F(settings_test, BlanksAndQuotesAroundAValueAreNoPartOfIt) {
    write(
        "[a]\n  k1 =  a value \t\nk2=\"quoted \"\nk3='single'\nk4=\"half\n k5=x=y\n;k6=remark\nk7\nk8=\n[b]k9=1\n "
        "k9=2");
    EXPECT_EQ(valueOf("a", "k1"), "a value");
    EXPECT_EQ(valueOf("a", "k2"), "quoted ");
    EXPECT_EQ(valueOf("a", "k3"), "single");
    EXPECT_EQ(valueOf("a", "k4"), "\"half");
    EXPECT_EQ(valueOf("a", "k5"), "x=y");
    EXPECT_EQ(valueOf("a", "k6"), "");
    EXPECT_EQ(valueOf("a", "k7"), "");
    EXPECT_EQ(valueOf("a", "k8", "fallback"), "");
    EXPECT_EQ(valueOf("b", "k9"), "2");
}

TEST_F(settings_test, LongValuesAreCut) {
    write("[s]\nk=" + std::string(100, 'v') + "\n");
    EXPECT_EQ(valueOf("s", "k"), std::string(63, 'v'));
    char one[1] = {'x'};
    EXPECT_EQ(sys().GetPrivateProfileStringA("s", "k", nullptr, one, 1, file_.c_str()), 0U);
    EXPECT_EQ(one[0], '\0');
}

TEST_F(settings_test, WithoutTheFileThereIsNoValue) {
    EXPECT_EQ(valueOf("s", "k"), "");
    EXPECT_EQ(valueOf("s", "k", "fallback"), "fallback");
}

TEST_F(settings_test, AnyBytesAreRead) {
    for (const std::string& content : {std::string("["), std::string("[]"), std::string("=\n[s\n=k"),
                                       std::string("[s]\nk"), std::string("\0[s]\nk=\0", 8), std::string(100000, '['),
                                       std::string(100000, '\n'), std::string(100000, '\xFF')}) {
        write(content);
        EXPECT_EQ(valueOf("s", "q", "fallback"), "fallback");
    }
}

TEST_F(settings_test, TheUserHasAName) {
    char name[256] = {};
    DWORD size = sizeof name;
    ASSERT_TRUE(sys().GetUserNameA(name, &size));
    EXPECT_EQ(size, std::string(name).size() + 1);
    EXPECT_GT(size, 1U);
    DWORD small = size - 1;
    EXPECT_FALSE(sys().GetUserNameA(name, &small));
    EXPECT_EQ(sys().GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(small, size) << "tells the size that is needed";
}

TEST_F(settings_test, AnUnknownKeyDoesNotOpen) {
    HKEY key = nullptr;
    EXPECT_EQ(sys().RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\vt no such key", 0, KEY_READ, &key),
              static_cast<LONG>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(key, nullptr);
}

#if !defined(_WIN32)

TEST_F(settings_test, TheRegistryIsEmpty) {
    DWORD size = 0;
    EXPECT_EQ(sys().RegQueryValueExA(nullptr, "name", nullptr, nullptr, nullptr, &size),
              static_cast<LONG>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(sys().RegCloseKey(nullptr), static_cast<LONG>(ERROR_INVALID_HANDLE));
}

TEST_F(settings_test, RefusesNulls) {
    char value[8];
    DWORD size = sizeof value;
    EXPECT_FALSE(sys().GetUserNameA(nullptr, &size));
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(sys().GetUserNameA(value, nullptr));
    for (int which = 0; which < 5; ++which) {
        sys().SetLastError(0);
        EXPECT_EQ(sys().GetPrivateProfileStringA(which == 0 ? nullptr : "s", which == 1 ? nullptr : "k", nullptr,
                                                 which == 2 ? nullptr : value, which == 3 ? 0 : 8,
                                                 which == 4 ? nullptr : file_.c_str()),
                  0U);
        EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER) << which;
    }
}

#else

TEST_F(settings_test, AKeysTextIsRead) {
    HKEY key = nullptr;
    ASSERT_EQ(
        sys().RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", 0, KEY_READ, &key),
        0);
    DWORD size = 0;
    EXPECT_EQ(sys().RegQueryValueExA(key, "CurrentVersion", nullptr, nullptr, nullptr, &size), 0);
    std::string text(size, '\0');
    EXPECT_EQ(
        sys().RegQueryValueExA(key, "CurrentVersion", nullptr, nullptr, reinterpret_cast<BYTE*>(text.data()), &size),
        0);
    EXPECT_GT(text.size(), 1U);
    EXPECT_EQ(text.back(), '\0');
    EXPECT_EQ(sys().RegQueryValueExA(key, "vt no such value", nullptr, nullptr, nullptr, &size), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(sys().RegCloseKey(key), 0);
}

#endif
