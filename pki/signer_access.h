// What the flat functions do with a signer without copying: they lend it the content, and look at the values that it
// holds. For the sources of this room and of pki/flat.
#ifndef VT_PKI_SIGNER_ACCESS_H
#define VT_PKI_SIGNER_ACCESS_H

#include <array>

#include "foundation/byte.h"
#include "schema/forward.h"

class VT_P11_Alg;
class VT_P11_Key;
class VT_P11_OP;
class VT_SignerInfo;

namespace pki {

// matchSigner tells whether a certificate has that issuer and serial number. -1001 if it lacks one of them.
int matchSigner(const Certificate& certificate, const IssuerAndSerialNumber& signer, bool& matches);

// A content that signers are checked against. What it digests to is computed once for each algorithm, however many
// signers a message has: a short one can have thousands.
class SignedContent {
  public:
    // The content may be null, which counts as not set, and outlives this object.
    explicit SignedContent(const ContentInfo* content) : content_(content) {}

    const ContentInfo* get() const { return content_; }

    // digest gives the digest of the octets. -1003 if the content is null, -1001 if it has no octets, codes of
    // VT_P11_OP.
    int digest(VT_P11_OP& op, const VT_P11_Alg& alg, MiByte& result);

  private:
    const ContentInfo* content_;
    std::array<MiByte, 3> known_;  // SHA-1, MD5, MD2; empty until then
};

// VT_SignerInfo
struct SignerAccess {
    // sign is SignDigest of that content.
    static int sign(VT_SignerInfo& signer, VT_P11_OP& op, const VT_P11_Key& key, const ContentInfo& content);
    // verify is VerifyDigest of that content.
    static int verify(const VT_SignerInfo& signer, VT_P11_OP& op, const Certificate& certificate,
                      SignedContent& content);
    // Null if it is not set.
    static const IssuerAndSerialNumber* issuerAndSerialNumber(const VT_SignerInfo& signer);
};

}  // namespace pki

#endif
