// Codes of the script methods and their meanings, all from codes.def.
#ifndef VT_ENROL_CODES_H
#define VT_ENROL_CODES_H

#include <cstdint>

namespace enrol {

// Operations, the middle part of a code.
enum class Operation : std::int32_t {
#define VT_OPERATION(number, constant, name) constant = (number),
#define VT_CODE(value, constant, happened, cause, remedy)
#include "enrol/codes.def"
#undef VT_OPERATION
#undef VT_CODE
};

// Codes as the page or sLastError sees them.
#define VT_OPERATION(number, constant, name)
#define VT_CODE(value, constant, happened, cause, remedy) inline constexpr std::int32_t constant = value;
#include "enrol/codes.def"
#undef VT_OPERATION
#undef VT_CODE

// makeCode gives 22,000,000 + 10,000 x operation + reason; inner operations return the bare reason.
constexpr std::int32_t makeCode(Operation operation, std::int32_t reason) {
    return 22000000 + 10000 * static_cast<std::int32_t>(operation) + reason;
}

struct CodeText {
    std::int32_t value;
    const char* constant;
    const char* happened;
    const char* cause;
    const char* remedy;
};

// findCodeText gives the code's entry, or null for a number that is no code.
const CodeText* findCodeText(std::int32_t value);

}  // namespace enrol

#endif
