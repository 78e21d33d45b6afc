// An answer that is a PKCS#7 SignedData (RFC 2315, section 9) holding a chain of certificates.
#ifndef VT_ENROL_SIGNED_DATA_H
#define VT_ENROL_SIGNED_DATA_H

#include <cstddef>
#include <cstdint>

#include "platform/platform.h"

namespace enrol {

// requireSignedData asks whether the text is a ContentInfo of type signedData (1.2.840.113549.1.7.2) whose content has
// at least five elements. A sixth is let pass.
// Throws InstallFailure: 8223 for bad base64, 8203 for exhausted memory, 8224 for another shape, 8204 for another type.
void requireSignedData(const char* text, std::size_t length);

// IsSignedData: 0, or the reason that requireSignedData gives.
std::int32_t IsSignedData(const char* text, std::size_t length);

// InstallSignedCertificate binds the chain's leaf to the key in the container that the marker file names, as
// InstallPlainCertificate does, but that for a provider whose name begins with "Microsoft" the key moves to a container
// of its own, under the import flags (move_key.h). Then the chain's other certificates go into the stores of
// authorities (chain.h). 0 or a code; 22068017 when no leaf can be had of the message, and 22068207 when the chain
// could not be stored, with the leaf installed.
std::int32_t InstallSignedCertificate(const char* provider, const char* text, std::size_t length, std::int32_t keySpec,
                                      DWORD importFlags);

}  // namespace enrol

#endif
