#include "pki/certificate.h"

#include "foundation/byte.h"
#include "pki/certificate_elements.h"
#include "pki/content.h"
#include "pki/element.h"
#include "pki/name_nodes.h"
#include "schema/pkcs.h"
#include "token/codes.h"
#include "token/key.h"

using pki::elementOf;

namespace {

constexpr const char* kRsaEncryption = "1.2.840.113549.1.1.1";

const TBSCertificate* bodyOf(const Certificate& certificate) {
    return elementOf<TBSCertificate>(certificate, "tBSCertificate");
}

// An element of the tBSCertificate, null where either is missing.
template <class T>
const T* bodyElement(const Certificate& certificate, const char* name) {
    const TBSCertificate* body = bodyOf(certificate);
    return body == nullptr ? nullptr : elementOf<T>(*body, name);
}

// The relative names of the subject, null where there are none to read. They are not copied: callers ask for one node
// after the other, and a hostile subject has thousands.
const pki::RdnSequence* subjectOf(const Certificate& certificate) {
    const Name* name = bodyElement<Name>(certificate, "subject");
    return name == nullptr ? nullptr : pki::rdnSequenceOf(*name);
}

// readBound leaves the time alone when it fails.
int readBound(const X509Time& bound, MiTime& time) {
    // The choice gives its selection by whatever name.
    const AsnObject* selection = bound.Get();
    if (const auto* generalized = dynamic_cast<const AsnGeneralizedTime*>(selection); generalized != nullptr)
        time = generalized->GetTime();
    else if (const auto* utc = dynamic_cast<const AsnUTCTime*>(selection); utc != nullptr)
        time = utc->GetTime();
    else
        return token::kNoTime;
    return 0;
}

}  // namespace

const Name* pki::issuerOf(const Certificate& certificate) {
    return bodyElement<Name>(certificate, "issuer");
}

int pki::readRsaPublicKey(const Certificate& certificate, RSAPublicKey& target) {
    return readRsaPublicKey(bodyElement<SubjectPublicKeyInfo>(certificate, "subjectPublicKeyInfo"), target);
}

int pki::readRsaPublicKey(const SubjectPublicKeyInfo* info, RSAPublicKey& target) {
    if (info == nullptr)
        return token::kElementAbsent;
    const auto* algorithm = elementOf<AlgorithmIdentifier>(*info, "algorithm");
    const auto* oid = algorithm == nullptr ? nullptr : elementOf<AsnOid>(*algorithm, "algorithm");
    if (oid == nullptr)
        return token::kElementAbsent;
    if (oid->GetData() != kRsaEncryption)
        return token::kUnsupported;
    const auto* key = elementOf<AsnBitString>(*info, "subjectPublicKey");
    if (key == nullptr)
        return token::kElementAbsent;
    target.Reset(nullptr);
    decodeDer(key->GetData().GetByte(), target);
    return 0;
}

int pki::readRsaKey(const Certificate& certificate, VT_P11_Key& key) {
    return readRsaKey(bodyElement<SubjectPublicKeyInfo>(certificate, "subjectPublicKeyInfo"), key);
}

int pki::readRsaKey(const SubjectPublicKeyInfo* info, VT_P11_Key& key) {
    RSAPublicKey numbers;
    const int result = readRsaPublicKey(info, numbers);
    return result != 0 ? result : key.setRSAPublicKey(numbers);
}

VT_Certificate::VT_Certificate() = default;
VT_Certificate::VT_Certificate(const VT_Certificate& other) = default;
VT_Certificate& VT_Certificate::operator=(const VT_Certificate& other) = default;
VT_Certificate::~VT_Certificate() = default;

int VT_Certificate::setCertificate(const Certificate& value) {
    certificate = value;
    return 0;
}

int VT_Certificate::getCertificate(Certificate& value) const {
    value = certificate;
    return 0;
}

int VT_Certificate::setCertificate(const MiByte& der) {
    pki::decodeDer(der, certificate);
    return 0;
}

int VT_Certificate::getCertificate(MiByte& der) const {
    pki::encodeDer(certificate, der);
    return 0;
}

int VT_Certificate::setExtendedCertificate(const ExtendedCertificateOrCertificate& choice) {
    // By index, since the choice gives its selection by whatever name.
    const auto* value = dynamic_cast<const Certificate*>(choice.Get(0U));
    return value == nullptr ? token::kElementAbsent : setCertificate(*value);
}

int VT_Certificate::getExtendedCertificate(ExtendedCertificateOrCertificate& choice) const {
    choice.SetCertificate(certificate);
    return 0;
}

int VT_Certificate::getIssuerAndSerialNumber(IssuerAndSerialNumber& target) const {
    const Name* issuer = pki::issuerOf(certificate);
    const auto* serialNumber = bodyElement<AsnInteger>(certificate, "serialNumber");
    if (issuer == nullptr || serialNumber == nullptr)
        return token::kElementAbsent;
    target.Reset(nullptr);
    target.SetSerialNumber(*serialNumber);
    target.SetIssuer(*issuer);
    return 0;
}

int VT_Certificate::getRSAPublicKey(RSAPublicKey& target) const {
    return pki::readRsaPublicKey(certificate, target);
}

int VT_Certificate::getSubjectsTotal(int& total) const {
    const pki::RdnSequence* subject = subjectOf(certificate);
    if (subject == nullptr)
        return token::kElementAbsent;
    total = static_cast<int>(subject->Size());
    return 0;
}

int VT_Certificate::getSubjectsByIndex(int index, MiByte& node) const {
    const pki::RdnSequence* subject = subjectOf(certificate);
    return subject == nullptr ? token::kElementAbsent : pki::readNameNode(*subject, index, node);
}

int VT_Certificate::VerifyValidityPeriod() const {
    const TBSCertificate* body = bodyOf(certificate);
    if (body == nullptr)
        return token::kMaterialMissing;
    const auto* validity = elementOf<Validity>(*body, "validity");
    if (validity == nullptr)
        return token::kElementAbsent;
    const auto* from = elementOf<X509Time>(*validity, "notBefore");
    const auto* to = elementOf<X509Time>(*validity, "notAfter");
    if (from == nullptr || to == nullptr)
        return token::kElementAbsent;

    MiTime notBefore;
    MiTime notAfter;
    if (const int result = readBound(*from, notBefore))
        return result;
    if (const int result = readBound(*to, notAfter))
        return result;
    MiTime now;
    now.SetCurrentTime();
    return notBefore <= now && now <= notAfter ? 0 : token::kOutsideValidity;
}
