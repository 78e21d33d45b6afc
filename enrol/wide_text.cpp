#include "enrol/wide_text.h"

#include <algorithm>

namespace enrol {

wchar_t foldCase(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

int compareNoCase(std::wstring_view a, std::wstring_view b) {
    const std::size_t shared = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < shared; ++i) {
        const wchar_t left = foldCase(a[i]);
        const wchar_t right = foldCase(b[i]);
        if (left != right)
            return left < right ? -1 : 1;
    }
    if (a.size() == b.size())
        return 0;
    return a.size() < b.size() ? -1 : 1;
}

int compareNoCase(std::wstring_view a, std::wstring_view b, std::size_t count) {
    return compareNoCase(a.substr(0, count), b.substr(0, count));
}

WideTokens::WideTokens(std::wstring_view text, wchar_t delimiter)
    : rest_(text.substr(0, text.find(L'\0'))), delimiter_(delimiter) {}

bool WideTokens::next(std::wstring_view& token) {
    const std::size_t start = rest_.find_first_not_of(delimiter_);
    if (start == std::wstring_view::npos)
        return false;
    rest_.remove_prefix(start);
    token = rest_.substr(0, rest_.find(delimiter_));
    rest_.remove_prefix(token.size());
    return true;
}

}  // namespace enrol
