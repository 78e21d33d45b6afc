// VT_DigestedDataContentInfo: content with its digest (PKCS#7, RFC 2315, 12), which shows damage but proves nothing.
//
//     ContentInfo          contentType 1.2.840.113549.1.7.5
//       DigestedData       version 0, digestAlgorithm, contentInfo, digest
//
// The digest is that of the content octets of the inner content, without tag and length.
#ifndef VT_PKI_DIGESTED_DATA_CONTENT_INFO_H
#define VT_PKI_DIGESTED_DATA_CONTENT_INFO_H

#include "foundation/export.h"
#include "pki/held.h"

class AlgorithmIdentifier;
class AsnOctetString;
class ContentInfo;
class DigestedData;
class MiByte;
class VT_P11_OP;

// Setters copy in, getters copy out. Each operation gives 0 or a code (token/codes.def); codes of the token layer pass
// through, and so do the exceptions of malformed DER.
//
//     -1001   a required element of a decoded value is absent
//     -1003   a required member has not been set
class VT_API VT_DigestedDataContentInfo {
  public:
    VT_DigestedDataContentInfo();
    VT_DigestedDataContentInfo(const VT_DigestedDataContentInfo& other);
    VT_DigestedDataContentInfo& operator=(const VT_DigestedDataContentInfo& other);
    ~VT_DigestedDataContentInfo();

    // The digest: SHA-1, MD5 or MD2.
    int setDigestAlgorithmIdentifier(const AlgorithmIdentifier& identifier);
    int getDigestAlgorithmIdentifier(AlgorithmIdentifier& identifier) const;

    // The content that is digested.
    int setInnerContentInfo(const ContentInfo& content);
    int getInnerContentInfo(ContentInfo& content) const;

    // makeDigest digests the inner content, which must be set as well as the algorithm, and holds the result in place
    // of an earlier one.
    int makeDigest(VT_P11_OP& op);

    // Verify digests the inner content anew and compares: 0 if equal, -1012 if not, -1003 if no digest is held.
    int Verify(VT_P11_OP& op) const;

    // composeDigestedDataContentInfo makes the message from algorithm, content and digest, -1003 if one is missing.
    // content is reset first, and so holds nothing else afterwards.
    int composeDigestedDataContentInfo(ContentInfo& content);

    // decomposeDigestedDataContentInfo takes a message apart into the members: -1009 for another type of content, -1020
    // for another version than 0.
    int decomposeDigestedDataContentInfo(const ContentInfo& content);

    // Reset lets go of every member.
    void Reset();

  private:
    int digestContent(VT_P11_OP& op, MiByte& result) const;

    Held<AlgorithmIdentifier> digestAlgorithm;
    Held<ContentInfo> innerContent;
    Held<AsnOctetString> digest;
    Held<DigestedData> digestedData;  // the last one composed or decomposed
};

#endif
