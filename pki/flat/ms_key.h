// Microsoft public key blobs of every size, for the request path. The exported converters (flat.h) stay with the three
// sizes that their callers know; a request must also be had for a key of 4096 bits.
#ifndef VT_PKI_FLAT_MS_KEY_H
#define VT_PKI_FLAT_MS_KEY_H

#include <cstddef>
#include <cstdint>

namespace flat {

// publicKeyBlobToP1Der writes the DER RSAPublicKey (PKCS#1) of a PUBLICKEYBLOB of 512, 1024, 2048 or 4096 bits. With a
// null der only *derLength is stored; otherwise *derLength holds the capacity and receives the length. It allocates
// nothing. 0; -1008 for another bit length or a blob shorter than its bit length says; -1010 for a null blob or length;
// -1019 for too small a buffer. *derLength is untouched then.
std::int32_t publicKeyBlobToP1Der(const std::uint8_t* blob, std::size_t blobLength, std::uint8_t* der,
                                  std::uint32_t* derLength);

}  // namespace flat

#endif
