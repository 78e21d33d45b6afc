// Whether a certificate is known to the user's Firefox.
#ifndef VT_ENROL_FIREFOX_H
#define VT_ENROL_FIREFOX_H

#include <cstddef>
#include <cstdint>

namespace enrol {

// CheckCertificateInFirefox: whether the certificate stands in the user's Firefox profile. This build reads no Firefox
// installation, so that it always gives 22208313, the code for one that cannot be found.
std::int32_t CheckCertificateInFirefox(const char* text, std::size_t length);

}  // namespace enrol

#endif
