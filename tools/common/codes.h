// What the codes of the flat functions mean, in words for the user.
#ifndef VT_TOOLS_COMMON_CODES_H
#define VT_TOOLS_COMMON_CODES_H

#include <cstdint>
#include <string>

namespace tools {

// One line: "-1017: no signer could be verified. The certificates of ...".
std::string explained(std::int32_t code);

}  // namespace tools

#endif
