// The same RSA key of 2048 bits for every benchmark: only its bytes matter, no operation is done with it.
#ifndef VT_BENCH_KEY_H
#define VT_BENCH_KEY_H

#include "bench/pattern.h"

namespace bench {

// publicKeyBlob: a Microsoft PUBLICKEYBLOB of 2048 bits with the exponent 65537.
Bytes publicKeyBlob();

// publicKeyDer: the same key as DER RSAPublicKey.
Bytes publicKeyDer();

// signature: what stands for the provider's signature, most significant byte first.
Bytes signature();

}  // namespace bench

#endif
