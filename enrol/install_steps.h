// What the ways of installing a certificate have in common.
#ifndef VT_ENROL_INSTALL_STEPS_H
#define VT_ENROL_INSTALL_STEPS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "enrol/ber_handles.h"
#include "enrol/container.h"
#include "enrol/reasons.h"

namespace enrol {

// Thrown inside an installation and caught by the operation itself; only its number leaves. The message is UTF-8.
struct InstallFailure {
    std::int32_t reason;
    const char* message;
};

// Messages of InstallFailure, as bytes to be independent of the encoding of the sources.
inline constexpr char kMessageBadBase64[] = "BASE64 \xE8\xA7\xA3\xE7\xA0\x81\xE5\xA4\xB1\xE8\xB4\xA5";
inline constexpr char kMessageNoMemory[] = "\xE6\x97\xA0\xE5\x8F\xAF\xE7\x94\xA8\xE5\x86\x85\xE5\xAD\x98";
inline constexpr char kMessageBadEncoding[] = "\xE8\xA7\xA3\xE7\xA0\x81\xE5\xA4\xB1\xE8\xB4\xA5";
inline constexpr char kMessageNotSignedData[] =
    "\xE9\x9D\x9E"
    "P7\xE7\xAD\xBE\xE5\x90\x8D\xE6\x95\xB0\xE6\x8D\xAE";

// Decoded DER, shared by all who hold it and freed by the last.
using CertBytes = std::shared_ptr<const std::vector<std::uint8_t>>;

// decodeCertificateText reads base64. Throws InstallFailure 8223 for a bad encoding, 8203 for exhausted memory.
CertBytes decodeCertificateText(const char* text, std::size_t length);

// openReader gives a reader over a copy of the bytes. Throws InstallFailure 8203 when there is no memory for it.
BerReaderPtr openReader(const std::uint8_t* bytes, std::size_t size);

// takeWaitingContainer begins every installation: it reads the marker and deletes it, so that an answer is installed
// once or not at all, and then looks at the arguments. 0, 22038309, 22068201 for an empty provider or 22068204 for no
// text.
std::int32_t takeWaitingContainer(const char* provider, std::size_t textLength, ContainerName& container);

}  // namespace enrol

#endif
