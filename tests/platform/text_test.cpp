// Conversions between UTF-8 and wide text. The expectations hold on both platforms, so characters are compared as code
// points: beyond U+FFFF Windows has two units and Linux one.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/platform.h"

using platform::sys;

namespace {

std::u32string codePoints(const std::wstring& wide) {
    std::u32string points;
    for (std::size_t i = 0; i < wide.size(); ++i) {
        const auto c = static_cast<char32_t>(wide[i]);
        const bool isPair = sizeof(wchar_t) == 2 && c >= 0xD800 && c < 0xDC00 && i + 1 < wide.size();
        points += isPair ? 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(wide[++i]) - 0xDC00) : c;
    }
    return points;
}

std::u32string decode(const std::string& bytes) {
    const int length = static_cast<int>(bytes.size());
    const int size = sys().MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'#');
    EXPECT_EQ(sys().MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, wide.data(), size), size);
    return codePoints(wide);
}

std::string encode(const std::wstring& wide) {
    const int length = static_cast<int>(wide.size());
    const int size = sys().WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '#');
    EXPECT_EQ(sys().WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, bytes.data(), size, nullptr, nullptr), size);
    return bytes;
}

struct Case {
    const char* bytes;
    std::u32string points;
};

}  // namespace

TEST(text_test, DecodesWellFormedText) {
    const Case cases[] = {
        {"CN=a", U"CN=a"},
        {"\x7F", U"\x7F"},
        {"\xC2\x80\xDF\xBF", U"\u0080\u07FF"},
        {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", U"\u0800\uD7FF\uE000\uFFFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", U"\U00010000\U0010FFFF"},
        {"\xE8\xAF\x81\xE4\xB9\xA6", U"\u8BC1\u4E66"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(decode(c.bytes), c.points) << c.bytes;
}

// What takes the place of malformed bytes must be the same on both platforms: it goes into requests.
TEST(text_test, ReplacesMalformedBytes) {
    const Case cases[] = {
        {"\x80", U"\uFFFD"},
        {"\xBF\x41", U"\uFFFD\u0041"},
        {"\xC0\x80", U"\uFFFD\uFFFD"},
        {"\xC1\xBF\x41", U"\uFFFD\uFFFD\u0041"},
        {"\xC2", U"\uFFFD"},
        {"\xC2\x41", U"\uFFFD\u0041"},
        {"\xE0\x80\x80", U"\uFFFD\uFFFD"},
        {"\xE1\x80", U"\uFFFD"},
        {"\xE1\x41", U"\uFFFD"},
        {"\xE1\x41\x42", U"\uFFFD\u0041\u0042"},
        {"\xE1\x80\x41\x42", U"\uFFFD\u0041\u0042"},
        {"\xED\xA0\x80", U"\uFFFD\uFFFD"},
        {"\xED\xA0\x80\xED\xB0\x80", U"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xF0\x80\x80\x80", U"\uFFFD\uFFFD\uFFFD"},
        {"\xF0\x90\x80", U"\uFFFD"},
        {"\xF1\x41\x42\x43", U"\uFFFD\u0041\u0042\u0043"},
        {"\xF4\x90\x80\x80", U"\uFFFD\uFFFD\uFFFD"},
        {"\xF5\x80\x80\x80", U"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xFF\xFE", U"\uFFFD\uFFFD"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(decode(c.bytes), c.points) << ::testing::PrintToString(c.bytes);
}

TEST(text_test, MalformedBytesFailWhereAsked) {
    wchar_t wide[4];
    sys().SetLastError(0);
    EXPECT_EQ(sys().MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, "a\xFF", 2, wide, 4), 0);
    EXPECT_EQ(sys().GetLastError(), static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));
    EXPECT_EQ(sys().MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, "\xC3\xBC", 2, wide, 4), 1);
}

TEST(text_test, EncodesWideText) {
    EXPECT_EQ(encode(L"CN=a"), "CN=a");
    EXPECT_EQ(encode(L"\u0080\u07FF"), "\xC2\x80\xDF\xBF");
    EXPECT_EQ(encode(L"\u0800\uFFFF"), "\xE0\xA0\x80\xEF\xBF\xBF");
    EXPECT_EQ(encode(L"\U00010000\U0010FFFF"), "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
    EXPECT_EQ(encode(std::wstring(1, static_cast<wchar_t>(0xD800)) + L"A"), "\xEF\xBF\xBD\x41");
}

TEST(text_test, LoneSurrogateFailsWhereAsked) {
    const wchar_t wide[] = {static_cast<wchar_t>(0xDC00), L'A'};
    char text[8];
    sys().SetLastError(0);
    EXPECT_EQ(sys().WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, wide, 2, text, 8, nullptr, nullptr), 0);
    EXPECT_EQ(sys().GetLastError(), static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));
}

TEST(text_test, NegativeLengthMeansUpToTheNul) {
    wchar_t wide[8];
    EXPECT_EQ(sys().MultiByteToWideChar(CP_UTF8, 0, "abc", -1, wide, 8), 4);
    EXPECT_EQ(std::wstring(wide), L"abc");
    char text[8];
    EXPECT_EQ(sys().WideCharToMultiByte(CP_UTF8, 0, L"abc", -1, text, 8, nullptr, nullptr), 4);
    EXPECT_STREQ(text, "abc");
}

TEST(text_test, TooSmallABufferFails) {
    wchar_t wide[8];
    sys().SetLastError(0);
    EXPECT_EQ(sys().MultiByteToWideChar(CP_UTF8, 0, "abc", 3, wide, 2), 0);
    EXPECT_EQ(sys().GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    for (int capacity = 1; capacity < 7; ++capacity) {
        std::vector<char> text(static_cast<std::size_t>(capacity));
        sys().SetLastError(0);
        EXPECT_EQ(sys().WideCharToMultiByte(CP_UTF8, 0, L"a\u8BC1\u8BC1", 3, text.data(), capacity, nullptr, nullptr),
                  0);
        EXPECT_EQ(sys().GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    }
}

TEST(text_test, RefusesBadArguments) {
    wchar_t wide[8] = L"abc";
    char text[8] = "abc";
    const auto refuses = [](int result) {
        EXPECT_EQ(result, 0);
        EXPECT_EQ(sys().GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
        sys().SetLastError(0);
    };
    refuses(sys().MultiByteToWideChar(CP_UTF8, 0, nullptr, 3, wide, 8));
    refuses(sys().MultiByteToWideChar(CP_UTF8, 0, text, 0, wide, 8));
    refuses(sys().MultiByteToWideChar(CP_UTF8, 0, text, 3, wide, -1));
    refuses(sys().MultiByteToWideChar(CP_UTF8, 0, text, 3, nullptr, 8));
    refuses(sys().MultiByteToWideChar(12345, 0, text, 3, wide, 8));
    refuses(sys().WideCharToMultiByte(CP_UTF8, 0, nullptr, 3, text, 8, nullptr, nullptr));
    refuses(sys().WideCharToMultiByte(CP_UTF8, 0, wide, 0, text, 8, nullptr, nullptr));
    refuses(sys().WideCharToMultiByte(CP_UTF8, 0, wide, 3, text, -1, nullptr, nullptr));
}

TEST(text_test, AnsiCodePagesTakePlainText) {
    for (const UINT codePage : {UINT{CP_ACP}, UINT{CP_THREAD_ACP}}) {
        wchar_t wide[8];
        EXPECT_EQ(sys().MultiByteToWideChar(codePage, 0, "DE", 2, wide, 8), 2);
        EXPECT_EQ(std::wstring(wide, 2), L"DE");
        char text[8];
        EXPECT_EQ(sys().WideCharToMultiByte(codePage, 0, L"DE", 2, text, 8, nullptr, nullptr), 2);
        EXPECT_EQ(std::string(text, 2), "DE");
    }
}

#if !defined(_WIN32)
TEST(text_test, AnsiCodePagesAreUtf8) {
    wchar_t wide[8];
    EXPECT_EQ(sys().MultiByteToWideChar(CP_ACP, 0, "\xC3\xBC", 2, wide, 8), 1);
    EXPECT_EQ(wide[0], L'\u00FC');
    char text[8];
    EXPECT_EQ(sys().WideCharToMultiByte(CP_THREAD_ACP, 0, L"\u00FC", 1, text, 8, nullptr, nullptr), 2);
    EXPECT_EQ(std::string(text, 2), "\xC3\xBC");
}
#endif

#if !defined(_WIN32)
// Windows takes no such pointer with UTF-8.
TEST(text_test, AReplacedCharacterIsTold) {
    char text[8];
    BOOL replaced = 7;
    EXPECT_EQ(sys().WideCharToMultiByte(CP_UTF8, 0, L"ab", 2, text, 8, nullptr, &replaced), 2);
    EXPECT_EQ(replaced, FALSE);
    const wchar_t surrogate[] = {L'a', static_cast<wchar_t>(0xD800), L'b'};
    EXPECT_EQ(sys().WideCharToMultiByte(CP_UTF8, 0, surrogate, 3, text, 8, nullptr, &replaced), 5);
    EXPECT_EQ(replaced, TRUE);
    EXPECT_EQ(std::string(text, 5),
              "a\xEF\xBF\xBD"
              "b");
}
#endif
