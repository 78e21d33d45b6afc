// The private numbers of a key on their way out of a token and into one.
#ifndef VT_PLATFORM_NSS_PKCS8_H
#define VT_PLATFORM_NSS_PKCS8_H

#include "platform/nss/container.h"
#include "platform/nss/output.h"

namespace platform::nss {

// The numbers of an RSAPrivateKey (PKCS#1), most significant byte first; wiped in the end.
struct RsaPrivateNumbers {
    RsaPrivateNumbers() = default;
    ~RsaPrivateNumbers();
    RsaPrivateNumbers(const RsaPrivateNumbers&) = delete;
    RsaPrivateNumbers& operator=(const RsaPrivateNumbers&) = delete;

    Bytes privateExponent;
    Bytes prime1;
    Bytes prime2;
    Bytes exponent1;
    Bytes exponent2;
    Bytes coefficient;
};

// readPrivateNumbers has the token wrap the key under a fresh AES key and unwraps it here, as a token never gives the
// numbers of a sensitive key in the clear. False if the token refuses.
bool readPrivateNumbers(const Key& key, RsaPrivateNumbers& numbers);

// privateKeyInfoDer gives the PrivateKeyInfo (PKCS#8) of an RSA key, for the caller to wipe.
Bytes privateKeyInfoDer(const Bytes& modulus, const Bytes& publicExponent, const RsaPrivateNumbers& numbers);

// wipe makes all bytes zero.
void wipe(Bytes& bytes);

// derInteger gives an INTEGER that is not negative, from its bytes, most significant first.
Bytes derInteger(const Bytes& number);

}  // namespace platform::nss

#endif
