// Wide text as the platform's runtime treats it in its "C" locale, in which the plug-in runs: case is folded for the
// letters A to Z alone.
#ifndef VT_ENROL_WIDE_TEXT_H
#define VT_ENROL_WIDE_TEXT_H

#include <cstddef>
#include <string_view>

namespace enrol {

// foldCase gives the lower-case letter of A to Z, and every other character as it is.
wchar_t foldCase(wchar_t c);

// compareNoCase orders two texts without regard to case: below, equal to or above 0.
int compareNoCase(std::wstring_view a, std::wstring_view b);

// compareNoCase over at most count characters of each, as _wcsnicmp does: a text that ends earlier is the lesser one.
int compareNoCase(std::wstring_view a, std::wstring_view b, std::size_t count);

// WideTokens walks a text as wcstok does: pieces between delimiters, empty ones skipped, up to the first NUL. The
// pieces point into the text.
class WideTokens {
  public:
    WideTokens(std::wstring_view text, wchar_t delimiter);

    // next stores the next piece; false at the end.
    bool next(std::wstring_view& token);

  private:
    std::wstring_view rest_;
    wchar_t delimiter_;
};

}  // namespace enrol

#endif
