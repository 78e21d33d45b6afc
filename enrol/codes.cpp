#include "enrol/codes.h"

#include <algorithm>
#include <iterator>

namespace enrol {
namespace {

constexpr CodeText kTexts[] = {
#define VT_OPERATION(number, constant, name)
#define VT_CODE(value, constant, happened, cause, remedy) {value, #constant, happened, cause, remedy},
#include "enrol/codes.def"
#undef VT_OPERATION
#undef VT_CODE
};

}  // namespace

const CodeText* findCodeText(std::int32_t value) {
    const auto* found = std::find_if(std::begin(kTexts), std::end(kTexts),
                                     [value](const CodeText& text) { return text.value == value; });
    return found == std::end(kTexts) ? nullptr : found;
}

}  // namespace enrol
