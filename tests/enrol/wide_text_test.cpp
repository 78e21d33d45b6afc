#include "enrol/wide_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using enrol::compareNoCase;
using enrol::foldCase;
using enrol::WideTokens;

std::vector<std::wstring> tokensOf(std::wstring_view text, wchar_t delimiter = L',') {
    std::vector<std::wstring> tokens;
    WideTokens walk(text, delimiter);
    for (std::wstring_view token; walk.next(token);)
        tokens.emplace_back(token);
    return tokens;
}

using Tokens = std::vector<std::wstring>;

TEST(wide_text_test, FoldsTheLettersAToZAlone) {
    EXPECT_EQ(foldCase(L'A'), L'a');
    EXPECT_EQ(foldCase(L'Z'), L'z');
    EXPECT_EQ(foldCase(L'a'), L'a');
    EXPECT_EQ(foldCase(L'@'), L'@');
    EXPECT_EQ(foldCase(L'['), L'[');
    EXPECT_EQ(foldCase(L'\u00C4'), L'\u00C4');
}

TEST(wide_text_test, ComparesWithoutRegardToCase) {
    EXPECT_EQ(compareNoCase(L"Example", L"eXAMPLE"), 0);
    EXPECT_EQ(compareNoCase(L"", L""), 0);
    EXPECT_LT(compareNoCase(L"a", L"B"), 0);
    EXPECT_GT(compareNoCase(L"B", L"a"), 0);
    EXPECT_LT(compareNoCase(L"ab", L"ABC"), 0);
    EXPECT_GT(compareNoCase(L"abc", L"AB"), 0);
    EXPECT_NE(compareNoCase(L"\u00E4", L"\u00C4"), 0);
}

// '_' lies between the cases: folding to lower case puts it below the letters.
TEST(wide_text_test, OrdersByTheLowerCaseLetters) {
    EXPECT_LT(compareNoCase(L"_", L"A"), 0);
}

TEST(wide_text_test, ComparesNoMoreThanTheCount) {
    EXPECT_EQ(compareNoCase(L"CNx", L"cny", 2), 0);
    EXPECT_NE(compareNoCase(L"CNx", L"cny", 3), 0);
    EXPECT_EQ(compareNoCase(L"CN", L"cn", 99), 0);
    EXPECT_LT(compareNoCase(L"C", L"CN", 2), 0);
    EXPECT_EQ(compareNoCase(L"a", L"b", 0), 0);
}

TEST(wide_text_test, SkipsEmptyTokens) {
    EXPECT_EQ(tokensOf(L"a,b"), (Tokens{L"a", L"b"}));
    EXPECT_EQ(tokensOf(L",,a,,,b,,"), (Tokens{L"a", L"b"}));
    EXPECT_EQ(tokensOf(L"a"), (Tokens{L"a"}));
    EXPECT_EQ(tokensOf(L" a , b "), (Tokens{L" a ", L" b "}));
    EXPECT_EQ(tokensOf(L""), Tokens{});
    EXPECT_EQ(tokensOf(L",,,"), Tokens{});
}

TEST(wide_text_test, EndsAtTheFirstNul) {
    EXPECT_EQ(tokensOf(std::wstring_view(L"a,b\0c,d", 7)), (Tokens{L"a", L"b"}));
    EXPECT_EQ(tokensOf(std::wstring_view(L"\0a", 2)), Tokens{});
}

}  // namespace
