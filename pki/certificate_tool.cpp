#include "pki/certificate_tool.h"

#include "foundation/byte.h"
#include "pki/certificate_elements.h"
#include "pki/content.h"
#include "pki/element.h"
#include "pki/signature.h"
#include "schema/pkcs.h"
#include "token/alg.h"
#include "token/codes.h"
#include "token/key.h"
#include "token/op.h"

using pki::elementOf;

namespace {

// What the signature of a certificate is checked with.
struct Signed {
    const AsnOid* type = nullptr;  // of the signature, as the certificate tells it outside what is signed
    MiByte signature;
    MiByte body;  // the DER of the tBSCertificate
};

int readSigned(const Certificate& certificate, Signed& parts) {
    const auto* identifier = elementOf<AlgorithmIdentifier>(certificate, "algorithmIdentifier");
    if (identifier == nullptr)
        return token::kElementAbsent;
    VT_P11_Alg known;
    if (const int result = known.setAlgorithmIdentifier(*identifier))
        return result;
    const auto* type = elementOf<AsnOid>(*identifier, "algorithm");
    const auto* signature = elementOf<AsnBitString>(certificate, "encrypted");
    const auto* body = elementOf<TBSCertificate>(certificate, "tBSCertificate");
    if (type == nullptr || signature == nullptr || body == nullptr)
        return token::kElementAbsent;
    parts.type = type;
    parts.signature = signature->GetData().GetByte();
    pki::encodeDer(*body, parts.body);
    return 0;
}

int openSignature(VT_P11_OP& op, const VT_P11_Key& key, const MiByte& signature, MiByte& opened) {
    VT_P11_Alg rsa;
    const int result = rsa.setAlgType(token::kRsa);
    return result != 0 ? result : op.Decrypt(rsa, key, signature, opened);
}

int checkIssuers(const Certificate& issuerCert, const Certificate& cert) {
    const Name* first = pki::issuerOf(issuerCert);
    const Name* second = pki::issuerOf(cert);
    if (first == nullptr || second == nullptr)
        return token::kElementAbsent;
    return first->EqualsContent(second) ? 0 : token::kIssuersDiffer;
}

int checkSignature(VT_P11_OP& op, const Certificate& keyHolder, const Certificate& cert) {
    VT_P11_Key key;
    if (const int result = pki::readRsaKey(keyHolder, key))
        return result;
    Signed parts;
    if (const int result = readSigned(cert, parts))
        return result;
    const pki::SignatureAlgorithm* const algorithm = pki::signatureAlgorithmOf(*parts.type);
    if (algorithm == nullptr)
        return token::kUnsupported;
    MiByte expected;
    if (const int result = pki::signedValue(op, *algorithm, parts.body, expected))
        return result;
    MiByte opened;
    if (const int result = openSignature(op, key, parts.signature, opened))
        return result;
    MiByte found;
    if (const int result = pki::valueInside(opened, found))
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
    if (const int result = checkIssuers(*issuerCert, *cert))
        return result;
    return checkSignature(op, *issuerCert, *cert);
}

int VT_Certificate_Tool::VerifyCertificateChain(VT_P11_OP& op, const MiByte* issuerDer, const MiByte* certDer) {
    if (issuerDer == nullptr && certDer == nullptr)
        return token::kNullArgument;
    Certificate first;
    pki::decodeDer(issuerDer == nullptr ? *certDer : *issuerDer, first);
    if (issuerDer == nullptr || certDer == nullptr)
        return VerifyCertificateChain(op, &first, nullptr);
    Certificate second;
    pki::decodeDer(*certDer, second);
    return VerifyCertificateChain(op, &first, &second);
}
