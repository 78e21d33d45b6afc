// What the flat functions do with a signer without copying: they lend it the content, and look at the values that it
// holds. For the sources of this room and of pki/flat.
#ifndef VT_PKI_SIGNER_ACCESS_H
#define VT_PKI_SIGNER_ACCESS_H

#include "schema/forward.h"

class VT_P11_Key;
class VT_P11_OP;
class VT_SignerInfo;

namespace pki {

// matchSigner tells whether a certificate has that issuer and serial number. -1001 if it lacks one of them.
int matchSigner(const Certificate& certificate, const IssuerAndSerialNumber& signer, bool& matches);

// VT_SignerInfo
struct SignerAccess {
    // sign is SignDigest of that content.
    static int sign(VT_SignerInfo& signer, VT_P11_OP& op, const VT_P11_Key& key, const ContentInfo& content);
    // verify is VerifyDigest of that content, which may be null and then counts as not set.
    static int verify(const VT_SignerInfo& signer, VT_P11_OP& op, const Certificate& certificate,
                      const ContentInfo* content);
    // Null if it is not set.
    static const IssuerAndSerialNumber* issuerAndSerialNumber(const VT_SignerInfo& signer);
};

}  // namespace pki

#endif
