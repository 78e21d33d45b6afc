// Matching of names: laws that hold for any two texts. The input is two texts with a line feed between them.
#include "enrol/names.h"

#include <string>

#include "fuzz/target.h"

namespace {

using enrol::equalTokens;
using enrol::matchesName;
using enrol::normaliseName;
using enrol::splitName;

std::wstring without(std::wstring text, wchar_t dropped) {
    text.erase(std::remove(text.begin(), text.end(), dropped), text.end());
    return text;
}

void checkNormalising(const std::wstring& name) {
    const std::wstring normal = normaliseName(name);
    FUZZ_ASSERT(normaliseName(normal) == normal);
    FUZZ_ASSERT(without(normal, L' ') == without(name, L' '));
    for (std::size_t comma = normal.find(L','); comma != std::wstring::npos; comma = normal.find(L',', comma + 1))
        FUZZ_ASSERT(comma + 1 < normal.size() && normal[comma + 1] == L' ');
}

void checkSplitting(const std::wstring& name) {
    const auto tokens = splitName(name);
    std::wstring text;
    for (std::size_t i = 0; i < tokens.size(); ++i)
        text.append(i == 0 ? L"" : L", ").append(tokens[i]);
    FUZZ_ASSERT(text == name || text + L", " == name);
    for (const std::wstring_view token : tokens)
        FUZZ_ASSERT(token.find(L", ") == std::wstring_view::npos);
}

// Whether each token of the certificate's name has an equal in the query, asked pair by pair.
bool matchesPlainly(const std::wstring& query, const std::wstring& certificate) {
    const std::wstring normal = normaliseName(query);
    bool all = true;
    for (const std::wstring_view own : splitName(certificate)) {
        bool any = false;
        for (const std::wstring_view wanted : splitName(normal)) {
            const bool equal = equalTokens(&own, &wanted);
            FUZZ_ASSERT(equal == equalTokens(&wanted, &own));
            any = any || equal;
        }
        all = all && any;
    }
    return all;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    size = std::min<std::size_t>(size, 2048);
    const std::uint8_t* const middle = std::find(data, data + size, '\n');
    const std::wstring query(data, middle);
    const std::wstring certificate(middle, data + size);
    for (const std::wstring& name : {query, certificate}) {
        checkNormalising(name);
        checkSplitting(name);
        FUZZ_ASSERT(matchesName(name, normaliseName(name)));
        FUZZ_ASSERT(matchesName(name, L""));
        for (const std::wstring_view token : splitName(name))
            FUZZ_ASSERT(equalTokens(&token, &token) && !equalTokens(&token, nullptr));
    }
    FUZZ_ASSERT(matchesName(query, certificate) == matchesPlainly(query, certificate));
    return 0;
}
