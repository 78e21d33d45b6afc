// What the flat functions do with the message classes without copying: they look at the values held, where the public
// operations copy out. For the sources of this room and of pki/flat.
#ifndef VT_PKI_ENVELOPED_ACCESS_H
#define VT_PKI_ENVELOPED_ACCESS_H

#include "asn/set_of.h"
#include "schema/forward.h"

class MiByte;
class VT_EncryptedDataContentInfo;
class VT_EnvelopedDataContentInfo;
class VT_P11_Alg;
class VT_P11_Key;
class VT_P11_OP;
class VT_SignedAndEnvelopedDataContentInfo;

namespace pki {

struct EnvelopedAccess {
    // encrypt is the detached encryption of that content.
    static int encrypt(VT_EncryptedDataContentInfo& message, VT_P11_OP& op, const VT_P11_Alg& alg,
                       const VT_P11_Key& key, const ContentInfo& content, MiByte& ciphertext);
    static int encrypt(VT_EnvelopedDataContentInfo& message, VT_P11_OP& op, const VT_P11_Alg& alg,
                       const VT_P11_Key& key, const ContentInfo& content, MiByte& ciphertext);

    // decompose takes a message apart, and lets go of the decoded value: its parts are held beside it.
    static int decompose(VT_EncryptedDataContentInfo& message, const ContentInfo& from);
    static int decompose(VT_EnvelopedDataContentInfo& message, const ContentInfo& from);
    static int decompose(VT_SignedAndEnvelopedDataContentInfo& message, const ContentInfo& from);

    // Each is null where it is not set or not present.
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
