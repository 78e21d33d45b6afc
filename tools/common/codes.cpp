#include "tools/common/codes.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tools {

namespace {

struct Meaning {
    std::int32_t code;
    const char* raised;
    const char* cause;
    const char* remedy;
};

constexpr Meaning kMeanings[] = {
#define VT_ENGINE_CODE(value, constant, utf8, gbk, raised, cause, remedy) {value, raised, cause, remedy},
#define VT_ENGINE_CODE_WITHOUT_TEXT(value, constant, raised, cause, remedy) {value, raised, cause, remedy},
#define VT_RSA_CODE(value, constant, text, raised, remedy) {value, raised, "-", remedy},
#include "crypto/codes.def"
#undef VT_ENGINE_CODE
#undef VT_ENGINE_CODE_WITHOUT_TEXT
#undef VT_RSA_CODE
#define VT_TOOLKIT_CODE(value, constant, raised, cause, remedy) {value, raised, cause, remedy},
#include "token/codes.def"
#undef VT_TOOLKIT_CODE
};

// A dash in the lists stands for nothing to say.
std::string sentence(std::string_view text) {
    return text == "-" ? std::string() : " " + std::string(text);
}

}  // namespace

std::string explained(std::int32_t code) {
    const auto* const found = std::find_if(std::begin(kMeanings), std::end(kMeanings),
                                           [&](const Meaning& meaning) { return meaning.code == code; });
    if (found == std::end(kMeanings))
        return std::to_string(code) + ": a code that is not in the list";
    return std::to_string(code) + ": " + found->raised + "." + sentence(found->cause) + sentence(found->remedy);
}

}  // namespace tools
