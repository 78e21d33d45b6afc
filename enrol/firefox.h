// Whether a certificate stands in the user's Firefox profile. It is only looked for, never added.
//
// On Windows the registry leads to the installation, and the user's name to the profile; the browser's own NSS is bound
// at run time, by GetProcAddress, and opens the profile. Elsewhere the platform knows the installation and the
// profile's database (platform/firefox_api.h). Both give the same code for the same failure.
#ifndef VT_ENROL_FIREFOX_H
#define VT_ENROL_FIREFOX_H

#include <cstddef>
#include <cstdint>

#include "enrol/heap_text.h"
#include "platform/platform.h"

namespace enrol {

// CheckCertificateInFirefox: whether the certificate, as base64 text, is in the profile's own key slot. 0 when it is,
// 22208321 when it is not, even where NSS knows it from elsewhere as a root of its own; otherwise the code of the step
// that failed.
std::int32_t CheckCertificateInFirefox(const char* text, std::size_t length);

// The steps on Windows.

// FindFirefoxInstallDir reads the installation's folder out of the registry. 0; 22208313 when one of the two keys does
// not open, 22208314 when a value cannot be read, 22018203 for exhausted memory. directory is null unless it gives 0.
std::int32_t FindFirefoxInstallDir(HeapText& directory);

// CheckInProfile loads the libraries of the installation, opens the profile that the section "Profile0" names, and asks
// FindCertificateInSlot. NSS is not shut down before its libraries are freed, and the next call starts it again. Its
// own codes are 22208315 (user name), 22208322 (profile list), 22208316 (a library), 22208317 (a function) and 22208318
// (NSS does not start).
//
// Paths that are too long for their buffers are not cut: a profile list of more than 259 bytes of path gives 22208322,
// a library of more than 255 bytes 22208316. The profile's path in that list is cut by the system at 259 bytes.
std::int32_t CheckInProfile(const char* directory, const char* text, std::size_t length);

// FindCertificateInSlot walks the certificates of the internal key slot of an NSS that is open. 0 or 22208321; 22208203
// and 22208223 for the base64 text, 22208317 (a function), 22208319 (no certificate), 22208320 (no slot, or a node of
// the list without its certificate).
std::int32_t FindCertificateInSlot(HMODULE nss, HMODULE smime, const char* text, std::size_t length);

}  // namespace enrol

#endif
