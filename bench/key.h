// The same RSA key of 2048 bits for every benchmark: only its bytes matter, no operation is done with it.
#ifndef VT_BENCH_KEY_H
#define VT_BENCH_KEY_H

#include <cstdint>
#include <vector>

namespace bench {

using Bytes = std::vector<std::uint8_t>;

// patternBytes: bytes without a pattern that an encoder could profit from, the same in every run. The first has its top
// bit set, the last is odd, as in a modulus.
Bytes patternBytes(std::size_t length);

// publicKeyBlob: a Microsoft PUBLICKEYBLOB of 2048 bits with the exponent 65537.
Bytes publicKeyBlob();

// publicKeyDer: the same key as DER RSAPublicKey.
Bytes publicKeyDer();

// signature: what stands for the provider's signature, most significant byte first.
Bytes signature();

}  // namespace bench

#endif
