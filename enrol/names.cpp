#include "enrol/names.h"

#include <algorithm>

#include "enrol/wide_text.h"

namespace enrol {
namespace {

constexpr std::wstring_view kSeparator = L", ";

// A token such as "CN=a" taken apart at its first "=". Without one the whole token is the value.
struct Component {
    explicit Component(std::wstring_view token)
        : keyLength(token.find(L'=')),
          hasKey(keyLength != std::wstring_view::npos),
          value(hasKey ? token.substr(keyLength + 1) : token) {}

    std::size_t keyLength;
    bool hasKey;
    std::wstring_view value;
};

int digit(wchar_t c) {
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    const wchar_t letter = foldCase(c);
    return letter >= L'a' && letter <= L'f' ? letter - L'a' + 10 : -1;
}

}  // namespace

std::wstring normaliseName(std::wstring_view query) {
    std::wstring text;
    text.reserve(query.size() + query.size() / 8);
    for (std::size_t i = 0; i < query.size(); ++i) {
        text += query[i];
        const bool blankFollows = i + 1 < query.size() && query[i + 1] == L' ';
        if (query[i] == L',' && !blankFollows)
            text += L' ';
    }
    return text;
}

std::vector<std::wstring_view> splitName(std::wstring_view name) {
    std::vector<std::wstring_view> tokens;
    while (!name.empty()) {
        const std::size_t end = name.find(kSeparator);
        tokens.push_back(name.substr(0, end));
        if (end == std::wstring_view::npos)
            break;
        name.remove_prefix(end + kSeparator.size());
    }
    return tokens;
}

bool equalTokens(const std::wstring_view* certificate, const std::wstring_view* query) {
    if (certificate == nullptr || query == nullptr)
        return certificate == query;

    const Component a(*certificate);
    const Component b(*query);
    if (!a.hasKey || !b.hasKey)
        return compareNoCase(a.value, b.value) == 0;
    if (a.keyLength != b.keyLength)
        return compareNoCase(*certificate, *query) == 0;
    // Twice the key's length takes in the "=" and the first characters of the values as well.
    const std::size_t count = 2 * a.keyLength;
    return compareNoCase(*certificate, *query, count) == 0 && compareNoCase(a.value, b.value) == 0;
}

bool matchesName(std::wstring_view query, std::wstring_view certificateName) {
    const std::wstring normalised = normaliseName(query);
    const std::vector<std::wstring_view> wanted = splitName(normalised);
    const std::vector<std::wstring_view> own = splitName(certificateName);
    return std::all_of(own.begin(), own.end(), [&wanted](const std::wstring_view& token) {
        return std::any_of(wanted.begin(), wanted.end(),
                           [&token](const std::wstring_view& other) { return equalTokens(&token, &other); });
    });
}

bool parseSerial(std::wstring_view text, std::vector<std::uint8_t>& blob) {
    std::vector<std::uint8_t> digits;
    for (const wchar_t c : text) {
        if (c == L' ')
            continue;
        const int value = digit(c);
        if (value < 0 || digits.size() == kSerialDigits)
            return false;
        digits.push_back(static_cast<std::uint8_t>(value));
    }
    if (digits.empty() || digits.size() % 2 != 0)
        return false;

    blob.clear();
    for (std::size_t i = digits.size(); i != 0; i -= 2)
        blob.push_back(static_cast<std::uint8_t>(digits[i - 2] * 16 + digits[i - 1]));
    return true;
}

}  // namespace enrol
