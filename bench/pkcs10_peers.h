// Requests checked, each from its DER by the key in it. In files of their own: headers that do not go with the others'.
#ifndef VT_BENCH_PKCS10_PEERS_H
#define VT_BENCH_PKCS10_PEERS_H

#include "bench/pattern.h"

namespace bench {

bool weVerifyRequest(const Bytes& der);
bool nssVerifiesRequest(const Bytes& der);

}  // namespace bench

#endif
