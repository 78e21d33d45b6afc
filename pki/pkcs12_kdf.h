// Keys from passwords (RFC 7292 appendix B), with SHA-1. For the sources of this room.
//
//     password  "ab" is 00 61 00 62 00 00: a zero byte in front of each byte, and two at the end
//     I         the salt, repeated to the next multiple of 64 bytes, and the password likewise
//     D         64 copies of the purpose: 1 a key, 2 an iv, 3 the key of a MAC
//     A         SHA-1 of D and I, and SHA-1 of that, `iterations` times in all: the next 20 bytes of the output
//     then      to each 64 bytes of I, A repeated to 64 bytes and 1 are added, modulo 2^512, for the next A
#ifndef VT_PKI_PKCS12_KDF_H
#define VT_PKI_PKCS12_KDF_H

#include "foundation/byte.h"

class AsnInteger;
class VT_P11_OP;

namespace pki {

// An iteration is a SHA-1 for each 20 bytes of output, and a caller cannot stop it: a file that asks for more
// than this is refused. It is ten times what the most careful of programs write.
inline constexpr int kMostIterations = 10'000'000;

// The entries give the first `length` bytes of the 64 that there are; what lies behind is not computed. Fewer
// iterations than one count as one. 0; -1006 for more than kMostIterations; codes of VT_P11_OP::Digest.
int deriveKey(VT_P11_OP& op, const MiByte& password, const MiByte& salt, int iterations, unsigned int length,
              MiByte& key);
int deriveIv(VT_P11_OP& op, const MiByte& password, const MiByte& salt, int iterations, unsigned int length,
             MiByte& iv);
int deriveMacKey(VT_P11_OP& op, const MiByte& password, const MiByte& salt, int iterations, unsigned int length,
                 MiByte& key);

// countOf gives an iteration count as the entries take it; -1006 for one above kMostIterations.
int countOf(const AsnInteger& number, int& iterations);

// hmacSha1 is HMAC (RFC 2104) with SHA-1. A key of more than 64 bytes is not hashed, but cut: there is none here.
int hmacSha1(VT_P11_OP& op, const MiByte& key, const MiByte& data, MiByte& mac);

}  // namespace pki

#endif
