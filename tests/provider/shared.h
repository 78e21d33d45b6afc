// What the DLL and TestProvider must agree upon.
#ifndef VT_TESTS_PROVIDER_SHARED_H
#define VT_TESTS_PROVIDER_SHARED_H

#include <cctype>
#include <string>

namespace support {

inline std::string callLogOf(const std::string& folder) {
    return folder + "\\calls.log";
}

// Container names are GUIDs in the main; whatever else they hold must not lead out of the folder.
inline std::string certificateFileOf(const std::string& folder, const std::string& container) {
    std::string file = folder + "\\key-";
    for (const char letter : container) {
        file += std::isalnum(static_cast<unsigned char>(letter)) != 0 ? letter : '_';
    }
    return file + ".cer";
}

}  // namespace support

#endif
