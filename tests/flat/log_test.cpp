#include <gmock/gmock.h>

#include <functional>
#include <string>

#include "pki/flat/flat.h"

namespace {

std::string written(const std::function<void()>& body) {
    testing::internal::CaptureStdout();
    body();
    return testing::internal::GetCapturedStdout();
}

std::string printed(const char* title, const std::string& bytes) {
    return written([&] {
        VT_PrintBuf(title, reinterpret_cast<const std::uint8_t*>(bytes.data()),
                    static_cast<std::uint32_t>(bytes.size()));
    });
}

const std::string kFullLine = " 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f      \n";

std::string rising(std::size_t count) {
    std::string bytes;
    for (std::size_t i = 0; i < count; ++i)
        bytes.push_back(static_cast<char>(i % 16));
    return bytes;
}

TEST(log_test, FormatsToStandardOutput) {
    EXPECT_EQ(written([] { VT_Log("p1PubkeyDerLen = %d\n", 270); }), "p1PubkeyDerLen = 270\n");
    EXPECT_EQ(written([] { VT_Log("%s|%02x|%c|%u", "text", 10U, 'x', 4294967295U); }), "text|0a|x|4294967295");
    EXPECT_EQ(written([] { EXPECT_EQ(VT_Log("plain"), 5); }), "plain");
}

TEST(log_test, NullFormatWritesNothing) {
    const char* none = nullptr;
    EXPECT_EQ(written([&] { EXPECT_LT(VT_Log(none, 1), 0); }), "");
}

TEST(log_test, TitleComesWithTheLength) {
    EXPECT_EQ(printed("key", rising(16)), "key (16 bytes):\n" + kFullLine);
}

TEST(log_test, NoTitleNoTitleLine) {
    EXPECT_EQ(printed(nullptr, rising(16)), kFullLine);
}

TEST(log_test, EmptyTitleIsATitle) {
    EXPECT_EQ(printed("", ""), " (0 bytes):\n");
}

TEST(log_test, TitleIsNotAFormat) {
    EXPECT_EQ(printed("100%s%n", ""), "100%s%n (0 bytes):\n");
}

TEST(log_test, NullBytesAreWrittenAsZeros) {
    EXPECT_EQ(written([] { VT_PrintBuf("iv", nullptr, 8); }), "iv (8 bytes):\n00\n");
    EXPECT_EQ(written([] { VT_PrintBuf(nullptr, nullptr, 0); }), "00\n");
}

TEST(log_test, LengthZeroEndsAfterTheTitle) {
    EXPECT_EQ(printed("data", ""), "data (0 bytes):\n");
    EXPECT_EQ(printed(nullptr, ""), "");
}

TEST(log_test, LastLineIsPaddedByThreeSpacesAColumn) {
    const auto pad = [](std::size_t columns) { return std::string(3 * columns, ' ') + "      \n"; };
    EXPECT_EQ(printed(nullptr, std::string("\xff", 1)), " ff" + pad(15));
    EXPECT_EQ(printed(nullptr, rising(15)), " 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e" + pad(1));
    EXPECT_EQ(printed(nullptr, rising(17)), kFullLine + " 00" + pad(15));
}

TEST(log_test, MultiplesOfSixteenEndTheirLastLineOnce) {
    EXPECT_EQ(printed(nullptr, rising(16)), kFullLine);
    EXPECT_EQ(printed(nullptr, rising(48)), kFullLine + kFullLine + kFullLine);
}

}  // namespace
