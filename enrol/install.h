// The issued certificate meets the key that waits for it.
#ifndef VT_ENROL_INSTALL_H
#define VT_ENROL_INSTALL_H

#include <cstddef>
#include <cstdint>

namespace enrol {

// The operations behind the three script methods of the same names. text is the base64 of the authority's answer. Each
// reads and deletes the marker file once the answer's shape is known, and gives 0 or a code.
std::int32_t WriteClientCert(const char* text, std::size_t length);
std::int32_t WriteClientCertNoProtect(const char* text, std::size_t length);
std::int32_t WriteClientCertExpX509(const char* text, std::size_t length);

}  // namespace enrol

#endif
