// A certificate that a token holds, read in one go. For pki.
#ifndef VT_TOKEN_STORED_CERTIFICATE_H
#define VT_TOKEN_STORED_CERTIFICATE_H

#include <cstdint>

#include "foundation/byte.h"

class VT_P11_OP;

namespace token {

struct StoredCertificate {
    // read gives the certificate of the label, or nothing where VT_P11_OP::GetCertFromToken tells a length of 0 or
    // fails. Length and bytes are of one reading: others may replace a certificate between two of them.
    static MiByte read(const VT_P11_OP& op, const std::uint8_t* label, std::uint32_t labelLength);
};

}  // namespace token

#endif
