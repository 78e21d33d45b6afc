#ifndef VT_ENROL_FIREFOX_H
#define VT_ENROL_FIREFOX_H

#include <cstddef>
#include <cstdint>

namespace enrol {

// CheckCertificateInFirefox: whether the certificate stands in the user's Firefox profile. 0 or a code.
std::int32_t CheckCertificateInFirefox(const char* text, std::size_t length);

}  // namespace enrol

#endif
