// What the flat functions do with the message classes without copying: they look at the values held, where the public
// operations copy out. For the sources of this room and of pki/flat.
#ifndef VT_PKI_ENVELOPED_ACCESS_H
#define VT_PKI_ENVELOPED_ACCESS_H

#include "asn/set_of.h"
#include "schema/forward.h"

class VT_DigestedDataContentInfo;
class VT_EncryptedDataContentInfo;
class VT_EnvelopedDataContentInfo;
class VT_SignedAndEnvelopedDataContentInfo;

namespace pki {

struct EnvelopedAccess {
    // composeLast is composeEnvelopedDataContentInfo for a message that is not needed any more: it lets go of its
    // contents.
    static int composeLast(VT_EnvelopedDataContentInfo& message, ContentInfo& composed);
    // dropTree lets go of the value that was decomposed, which the message keeps beside its parts.
    static void dropTree(VT_EnvelopedDataContentInfo& message);
    static int compose(VT_EnvelopedDataContentInfo& from, ContentInfo& message, bool keepsContent);

    // Each is null where it is not set or not present.
    static const ContentInfo* content(const VT_DigestedDataContentInfo& message);
    static const ContentInfo* content(const VT_EncryptedDataContentInfo& message);
    static const ContentInfo* content(const VT_EnvelopedDataContentInfo& message);
    static const ContentInfo* content(const VT_SignedAndEnvelopedDataContentInfo& message);

    static const AsnSetOf<SignerInfo>* signers(const VT_SignedAndEnvelopedDataContentInfo& message);
    static const AsnSetOf<ExtendedCertificateOrCertificate>* certificates(
        const VT_SignedAndEnvelopedDataContentInfo& message);
    static const AsnSetOf<CertificateList>* certificateLists(const VT_SignedAndEnvelopedDataContentInfo& message);
};

}  // namespace pki

#endif
