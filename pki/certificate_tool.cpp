#include "pki/certificate_tool.h"

#include "foundation/byte.h"
#include "foundation/byte_buffer.h"
#include "pki/certificate_elements.h"
#include "pki/element.h"
#include "schema/pkcs.h"
#include "token/alg.h"
#include "token/codes.h"
#include "token/key.h"
#include "token/op.h"

using pki::Element;

namespace {

constexpr int kNoDigest = 0;

// What an RSA-1024 block holds.
constexpr unsigned int kTooLongWithoutDigest = 117;

struct Signature {
    const char* type;
    int digest;  // the code of VT_P11_Alg
};
constexpr Signature kSignatures[] = {
    {"1.2.840.113549.1.1.1", kNoDigest},
    {"1.2.840.113549.1.1.4", token::kMd5},
    {"1.2.840.113549.1.1.2", token::kMd2},
    {"1.2.840.113549.1.1.5", token::kSha1},
};

// What the signature of a certificate is checked with.
struct Signed {
    MiString type;  // of the signature, as the certificate tells it outside what is signed
    MiByte signature;
    MiByte body;  // the DER of the tBSCertificate
};

int readSigned(const Certificate& certificate, Signed& parts) {
    const auto* identifier = Element<AlgorithmIdentifier>(certificate, "algorithmIdentifier");
    if (identifier == nullptr)
        return token::kElementAbsent;
    VT_P11_Alg known;
    if (const int result = known.setAlgorithmIdentifier(*identifier); result != 0)
        return result;
    const auto* type = Element<AsnOid>(*identifier, "algorithm");
    const auto* signature = Element<AsnBitString>(certificate, "encrypted");
    const auto* body = Element<TBSCertificate>(certificate, "tBSCertificate");
    if (type == nullptr || signature == nullptr || body == nullptr)
        return token::kElementAbsent;
    MiByteBuffer buffer;
    body->DerEncode(buffer, 0);
    parts = {type->GetData(), signature->GetData().GetByte(), buffer.GetByte()};
    return 0;
}

// expectedDigest gives what the signature must hold.
int expectedDigest(VT_P11_OP& op, const Signed& parts, MiByte& expected) {
    for (const Signature& known : kSignatures) {
        if (parts.type != known.type)
            continue;
        if (known.digest == kNoDigest) {
            expected = parts.body;
            return parts.body.GetLength() >= kTooLongWithoutDigest ? token::kTooLong : 0;
        }
        VT_P11_Alg digest;
        if (const int result = digest.setAlgType(known.digest); result != 0)
            return result;
        return op.Digest(digest, parts.body, expected);
    }
    return token::kUnsupported;
}

int digestInside(VT_P11_OP& op, const VT_P11_Key& key, const MiByte& signature, MiByte& digest) {
    VT_P11_Alg rsa;
    if (const int result = rsa.setAlgType(token::kRsa); result != 0)
        return result;
    MiByte opened;
    if (const int result = op.Decrypt(rsa, key, signature, opened); result != 0)
        return result;
    DigestInfo info;
    info.DerDecode(opened, 0);
    const AsnOctetString* found = info.GetDigest();
    if (found == nullptr)
        return token::kElementAbsent;
    digest = found->GetData();
    return 0;
}

int readKey(const Certificate& holder, VT_P11_Key& key) {
    RSAPublicKey numbers;
    if (const int result = pki::ReadRsaPublicKey(holder, numbers); result != 0)
        return result;
    return key.setRSAPublicKey(numbers);
}

int checkIssuers(const Certificate& issuerCert, const Certificate& cert) {
    const Name* first = pki::IssuerOf(issuerCert);
    const Name* second = pki::IssuerOf(cert);
    if (first == nullptr || second == nullptr)
        return token::kElementAbsent;
    return first->EqualsContent(second) ? 0 : token::kIssuersDiffer;
}

int checkSignature(VT_P11_OP& op, const Certificate& keyHolder, const Certificate& cert) {
    VT_P11_Key key;
    if (const int result = readKey(keyHolder, key); result != 0)
        return result;
    Signed parts;
    if (const int result = readSigned(cert, parts); result != 0)
        return result;
    MiByte expected;
    if (const int result = expectedDigest(op, parts, expected); result != 0)
        return result;
    MiByte found;
    if (const int result = digestInside(op, key, parts.signature, found); result != 0)
        return result;
    return found == expected ? 0 : token::kSignatureMismatch;
}

}  // namespace

int VT_Certificate_Tool::VerifyCertificateChain(VT_P11_OP& op, const Certificate* issuerCert, const Certificate* cert) {
    if (issuerCert == nullptr && cert == nullptr)
        return token::kNullArgument;
    if (issuerCert == nullptr)
        return checkSignature(op, *cert, *cert);
    if (cert == nullptr)
        return checkSignature(op, *issuerCert, *issuerCert);
    if (const int result = checkIssuers(*issuerCert, *cert); result != 0)
        return result;
    return checkSignature(op, *issuerCert, *cert);
}

int VT_Certificate_Tool::VerifyCertificateChain(VT_P11_OP& op, const MiByte* issuerDer, const MiByte* certDer) {
    if (issuerDer == nullptr && certDer == nullptr)
        return token::kNullArgument;
    Certificate first;
    first.DerDecode(issuerDer == nullptr ? *certDer : *issuerDer, 0);
    if (issuerDer == nullptr || certDer == nullptr)
        return VerifyCertificateChain(op, &first, nullptr);
    Certificate second;
    second.DerDecode(*certDer, 0);
    return VerifyCertificateChain(op, &first, &second);
}
