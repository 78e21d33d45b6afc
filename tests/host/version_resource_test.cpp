// The version resource of the built DLL, read by the platform as a browser reads it.
#include <windows.h>
// clang-format off: winver.h needs windows.h
#include <winver.h>
// clang-format on

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class version_resource_test : public testing::Test {
  protected:
    void SetUp() override {
        DWORD ignored = 0;
        const DWORD size = GetFileVersionInfoSizeA(VT_PLUGIN_FILE, &ignored);
        ASSERT_NE(size, 0u) << VT_PLUGIN_FILE << " " << GetLastError();
        data_.resize(size);
        ASSERT_NE(GetFileVersionInfoA(VT_PLUGIN_FILE, 0, size, data_.data()), 0);
    }

    // The value at a path of the resource; empty when there is none.
    std::string value(const std::string& path) const {
        void* bytes = nullptr;
        UINT size = 0;
        if (VerQueryValueA(data_.data(), path.c_str(), &bytes, &size) == 0)
            return {};
        return std::string(static_cast<const char*>(bytes), size);
    }

    // A string value of the one language, without its terminator.
    std::string text(const std::string& name) const {
        const std::string found = value("\\StringFileInfo\\040904E4\\" + name);
        return found.c_str();
    }

  private:
    std::vector<char> data_;
};

TEST_F(version_resource_test, EachStringIsThere) {
    EXPECT_EQ(text("MIMEType"), "application/npvemtrel_certenroll");
    EXPECT_EQ(text("OriginalFilename"), "npvemtrel_certenroll.dll");
    EXPECT_EQ(text("ProductName"), "npvemtrel_certenroll.dll");
    EXPECT_EQ(text("FileDescription"), "npvemtrel certenroll");
    EXPECT_EQ(text("InternalName"), "npvemtrel certenroll");
    EXPECT_EQ(text("FileVersion"), "1, 0, 14, 1");
    EXPECT_EQ(text("ProductVersion"), "1, 0, 14, 1");
    EXPECT_EQ(text("PrivateBuild"), "build 201410211030");
}

TEST_F(version_resource_test, NumbersAreTheVersions) {
    const std::string fixed = value("\\");
    ASSERT_EQ(fixed.size(), sizeof(VS_FIXEDFILEINFO));
    VS_FIXEDFILEINFO info;
    std::copy(fixed.begin(), fixed.end(), reinterpret_cast<char*>(&info));
    EXPECT_EQ(info.dwSignature, 0xFEEF04BDu);
    EXPECT_EQ(info.dwFileVersionMS, 0x00010000u);
    EXPECT_EQ(info.dwFileVersionLS, 0x000E0001u);
    EXPECT_EQ(info.dwProductVersionMS, 0x00010000u);
    EXPECT_EQ(info.dwProductVersionLS, 0x000E0001u);
    EXPECT_EQ(info.dwFileType, 2u) << "a DLL";
}

TEST_F(version_resource_test, TheTranslationNamesTheBlock) {
    const std::string translation = value("\\VarFileInfo\\Translation");
    EXPECT_EQ(translation, std::string("\x09\x04\xE4\x04", 4));
}

}  // namespace
