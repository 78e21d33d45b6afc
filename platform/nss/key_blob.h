// Keys as bytes: the Microsoft layout (key_blob.cpp has it), and the RSAPublicKey of PKCS#1.
#ifndef VT_PLATFORM_NSS_KEY_BLOB_H
#define VT_PLATFORM_NSS_KEY_BLOB_H

#include "platform/nss/container.h"
#include "platform/nss/output.h"

namespace platform::nss {

inline constexpr DWORD kPublicMagic = 0x31415352;   // "RSA1"
inline constexpr DWORD kPrivateMagic = 0x32415352;  // "RSA2"

// rsaPublicKeyDer gives the RSAPublicKey of PKCS#1.
Bytes rsaPublicKeyDer(const Key& key);

}  // namespace platform::nss

#endif
