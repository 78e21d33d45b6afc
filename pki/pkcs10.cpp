#include "pki/pkcs10.h"

#include "pki/certificate_elements.h"
#include "pki/collection.h"
#include "pki/signature.h"
#include "pki/software.h"
#include "token/token.h"

namespace {

constexpr const char* kRsa = "1.2.840.113549.1.1.1";

// What a caller without a key gets as a signature, so that the request is complete in form.
constexpr char kFiller[] = "There is not a Signature\0\0\0\0\x20\x43";
constexpr unsigned int kFillerLength = sizeof kFiller - 1;
static_assert(kFillerLength == 30, "24 characters, four zeros, two bytes");

const AsnOid* oidOf(const AlgorithmIdentifier* algorithm) {
    return algorithm == nullptr ? nullptr : algorithm->GetAlgorithm();
}

int openSignature(const VT_P11_Key& key, const MiByte& signature, MiByte& opened) {
    VT_P11_Alg rsa;
    const int result = rsa.setAlgType(token::kRsa);
    return result != 0 ? result : pki::openInSoftware(rsa, key, signature, opened);
}

AsnBitString bitsOf(const MiByte& bytes) {
    MiBitSet bits;
    bits.SetBitsByte(bytes.GetChars(), 0, bytes.GetLength() * 8);
    return {bits};
}

}  // namespace

VT_PKCS10::VT_PKCS10() {
    attributes.renew();
    subjectKey.renew();
    subject.renew();
    requestInfo.renew();
}
VT_PKCS10::VT_PKCS10(const VT_PKCS10& other) = default;
VT_PKCS10& VT_PKCS10::operator=(const VT_PKCS10& other) = default;
VT_PKCS10::~VT_PKCS10() = default;

int VT_PKCS10::setRSAPublickKey(const RSAPublicKey& key) {
    MiByte der;
    pki::encodeDer(key, der);

    AlgorithmIdentifier algorithm;
    algorithm.SetAlgorithm(AsnOid(kRsa));
    algorithm.SetParameters(pki::anyOf(AsnNull()));

    SubjectPublicKeyInfo info;
    info.SetAlgorithm(algorithm);
    info.SetSubjectPublicKey(bitsOf(der));
    subjectKey.set(info);
    return 0;
}

int VT_PKCS10::getPublicKey(RSAPublicKey& key) const {
    const AsnOid* algorithm = oidOf(subjectKey->GetAlgorithm());
    if (algorithm == nullptr)
        return token::kElementAbsent;
    if (algorithm->GetData() != kRsa)
        return token::kWrongContentType;
    const AsnBitString* bits = subjectKey->GetSubjectPublicKey();
    if (bits == nullptr)
        return token::kElementAbsent;
    pki::decodeDer(bits->GetData().GetByte(), key);
    return 0;
}

int VT_PKCS10::addAttribute(const Attribute& attribute) {
    return pki::addItem(attributes, attribute);
}

int VT_PKCS10::getAttributesTotal(int& total) const {
    total = pki::totalOf(attributes);
    return 0;
}

int VT_PKCS10::getAttributeByIndex(int index, Attribute& attribute) const {
    if (index < 0 || index >= pki::totalOf(attributes))
        return token::kIndexOutOfRange;
    return pki::copyItem(attributes, index, attribute);
}

int VT_PKCS10::setName(const MiByte& der) {
    Name name;
    pki::decodeDer(der, name);
    return setName(name);
}

int VT_PKCS10::setName(const Name& name) {
    subject.set(name);
    return 0;
}

int VT_PKCS10::getName(MiByte& der) const {
    pki::encodeDer(*subject, der);
    return 0;
}

int VT_PKCS10::getName(Name& name) const {
    name = *subject;
    return 0;
}

int VT_PKCS10::composePKCS10(VT_P11_OP& op, const VT_P11_Key* key, const VT_P11_Alg* alg,
                             CertificationRequest& request) {
    if (alg == nullptr)
        return token::kNullArgument;
    CertificationRequestInfo& info = requestInfo.renew();
    info.SetVersion(AsnInteger(0));
    info.SetAttributes(*attributes);
    info.SetSubjectPKInfo(*subjectKey);
    info.SetSubject(*subject);
    request.SetCertificationRequestInfo(info);

    AlgorithmIdentifier identifier;
    int result = alg->getAlgorithmIdentifier(identifier);
    if (result != 0)
        return result;
    const AsnOid* oid = identifier.GetAlgorithm();
    if (oid == nullptr)
        return token::kElementAbsent;
    const pki::SignatureAlgorithm* const algorithm = pki::signatureAlgorithmOf(*oid);
    if (algorithm == nullptr)
        return token::kUnsupported;
    request.SetSignatureAlgorithm(identifier);

    MiByte text;
    pki::encodeDer(info, text);
    MiByte signature;
    if (key == nullptr) {
        signature.SetByte(kFiller, kFillerLength);
    } else {
        // Callers put the signature in. That there can be one is tested here, and nothing is signed.
        MiByte unused;
        result = pki::signedValue(op, *algorithm, text, unused);
        if (result != 0)
            return result;
    }
    request.SetSignature(bitsOf(signature));
    return 0;
}

int VT_PKCS10::composePKCS10(VT_P11_OP& op, const VT_P11_Key* key, const VT_P11_Alg* alg, MiByte& der) {
    CertificationRequest request;
    const int result = composePKCS10(op, key, alg, request);
    if (result != 0)
        return result;
    pki::encodeDer(request, der);
    return 0;
}

int VT_PKCS10::decomposePKCS10(VT_P11_OP& /*op*/, const CertificationRequest& request) {
    const CertificationRequestInfo* info = request.GetCertificationRequestInfo();
    if (info == nullptr)
        return token::kMaterialMissing;
    requestInfo.set(*info);
    if (requestInfo->GetAttributes() == nullptr || requestInfo->GetSubject() == nullptr ||
        requestInfo->GetSubjectPKInfo() == nullptr)
        return token::kMaterialMissing;
    attributes.set(*requestInfo->GetAttributes());
    subject.set(*requestInfo->GetSubject());
    subjectKey.set(*requestInfo->GetSubjectPKInfo());
    return 0;
}

int VT_PKCS10::decomposePKCS10(VT_P11_OP& op, const MiByte& der) {
    CertificationRequest request;
    pki::decodeDer(der, request);
    return decomposePKCS10(op, request);
}

namespace {

int loadSignatureAlgorithm(const AlgorithmIdentifier* identifier, const pki::SignatureAlgorithm*& algorithm) {
    const AsnOid* oid = oidOf(identifier);
    if (oid == nullptr)
        return token::kElementAbsent;
    algorithm = pki::signatureAlgorithmOf(*oid);
    if (algorithm == nullptr)
        return token::kUnsupported;
    VT_P11_Alg alg;
    return alg.setAlgorithmIdentifier(*identifier);
}

}  // namespace

int VT_PKCS10::verifyPKCS10(VT_P11_OP& op, const CertificationRequest& request) {
    const CertificationRequestInfo* info = request.GetCertificationRequestInfo();
    if (info == nullptr)
        return token::kElementAbsent;
    MiByte text;
    pki::encodeDer(*info, text);

    VT_P11_Key key;
    int result = pki::readRsaKey(info->GetSubjectPKInfo(), key);
    if (result != 0)
        return result;
    const pki::SignatureAlgorithm* algorithm = nullptr;
    result = loadSignatureAlgorithm(request.GetSignatureAlgorithm(), algorithm);
    if (result != 0)
        return result;
    const AsnBitString* signature = request.GetSignature();
    if (signature == nullptr)
        return token::kElementAbsent;
    MiByte expected;
    result = pki::signedValue(op, *algorithm, text, expected);
    if (result != 0)
        return result;

    MiByte opened;
    result = openSignature(key, signature->GetData().GetByte(), opened);
    if (result != 0)
        return result;
    MiByte found;
    result = pki::valueInside(opened, found);
    if (result != 0)
        return result;
    return found == expected ? 0 : token::kSignatureMismatch;
}

int VT_PKCS10::verifyPKCS10(VT_P11_OP& op, const MiByte& der) {
    CertificationRequest request;
    pki::decodeDer(der, request);
    return verifyPKCS10(op, request);
}

void VT_PKCS10::Reset() {
    *this = VT_PKCS10();
}
