// Bytes of the tools, which are strings, as the toolkit has them, and back.
#ifndef VT_TOOLS_COMMON_BYTES_H
#define VT_TOOLS_COMMON_BYTES_H

#include <string>

#include "foundation/byte.h"

namespace tools {

inline MiByte bytesOf(const std::string& text) {
    return {text.data(), static_cast<unsigned int>(text.size())};
}

inline std::string textOf(const MiByte& bytes) {
    return bytes.Empty() ? std::string() : std::string(bytes.GetChars(), bytes.GetLength());
}

}  // namespace tools

#endif
