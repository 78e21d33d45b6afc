// Keys as bytes.
#ifndef VT_PLATFORM_NSS_KEY_BLOB_H
#define VT_PLATFORM_NSS_KEY_BLOB_H

#include "platform/nss/container.h"
#include "platform/nss/output.h"

namespace platform::nss {

// rsaPublicKeyDer gives the RSAPublicKey of PKCS#1.
Bytes rsaPublicKeyDer(const Key& key);

}  // namespace platform::nss

#endif
