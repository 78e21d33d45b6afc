// The opening of signatures. For the sources of this room.
#ifndef VT_PKI_SOFTWARE_H
#define VT_PKI_SOFTWARE_H

class MiByte;
class VT_P11_Alg;
class VT_P11_Key;

namespace pki {

// openInSoftware decrypts by an operation object of its own, in this library's engine, whatever token the caller's is
// connected to: a public operation needs no token, and a token need not be able to do it with a key that it does not
// hold. Codes of the token layer.
int openInSoftware(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& sealed, MiByte& opened);

}  // namespace pki

#endif
