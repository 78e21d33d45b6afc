// Texts of parameters as NSS reads them.
#ifndef VT_PLATFORM_NSS_PARAMETER_H
#define VT_PLATFORM_NSS_PARAMETER_H

#include <string>

namespace platform::nss {

// quoted gives the value between quotes: configDir='sql:/home/o\'brien'.
inline std::string quoted(const std::string& value) {
    std::string text = "'";
    for (const char c : value) {
        if (c == '\'' || c == '\\')
            text += '\\';
        text += c;
    }
    return text + "'";
}

}  // namespace platform::nss

#endif
