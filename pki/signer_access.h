// What the flat functions do with the message classes without copying: they look at the values held, where the public
// operations copy out. For the sources of this room and of pki/flat.
#ifndef VT_PKI_SIGNER_ACCESS_H
#define VT_PKI_SIGNER_ACCESS_H

#include "asn/set_of.h"
#include "foundation/export.h"
#include "schema/forward.h"

class VT_P11_Key;
class VT_P11_OP;
class VT_SignedDataContentInfo;
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

// The parts of a SignedData where they stand in it. Certificates and revocation lists are null where there are none.
struct SignedDataParts {
    const ContentInfo* content = nullptr;
    const AsnSetOf<SignerInfo>* signers = nullptr;
    const AsnSetOf<ExtendedCertificateOrCertificate>* certificates = nullptr;
    const AsnSetOf<CertificateList>* certificateLists = nullptr;
};

// openSignedData reads the SignedData of a message into value, and finds its parts there. The codes are those of
// decomposeSignedDataContentInfo, which copies the parts.
int openSignedData(const ContentInfo& message, SignedData& value, SignedDataParts& parts);

// VT_SignedDataContentInfo
struct SignedDataAccess {
    // composeLast is composeSignedDataContentInfo for a message that is not needed any more: it lets go of its content.
    static int composeLast(VT_SignedDataContentInfo& message, ContentInfo& composed);
    static int compose(VT_SignedDataContentInfo& from, ContentInfo& message, bool keepsContent);
};

}  // namespace pki

#endif
