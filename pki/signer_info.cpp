#include "pki/signer_info.h"

#include <cstddef>

#include "asn/asn.h"
#include "foundation/byte_buffer.h"
#include "pki/certificate_elements.h"
#include "pki/collection.h"
#include "pki/content.h"
#include "pki/signer_access.h"
#include "pki/software.h"
#include "schema/schema.h"
#include "token/alg.h"
#include "token/codes.h"
#include "token/key.h"
#include "token/op.h"

namespace {

using Attributes = AsnSetOf<PKCS7Attribute>;

constexpr int kVersion = 1;

// PKCS#9.
constexpr const char* kContentTypeAttribute = "1.2.840.113549.1.9.3";
constexpr const char* kMessageDigestAttribute = "1.2.840.113549.1.9.4";

constexpr char kSetTag = 0x31;

int loadAlgorithm(const Held<AlgorithmIdentifier>& identifier, VT_P11_Alg& alg) {
    return identifier ? alg.setAlgorithmIdentifier(*identifier) : token::kMaterialMissing;
}

int digestContent(VT_P11_OP& op, const VT_P11_Alg& alg, const ContentInfo* content, MiByte& digest) {
    if (content == nullptr)
        return token::kMaterialMissing;
    const AsnOctetString* const value = content->GetContent();
    if (value == nullptr)
        return token::kElementAbsent;
    MiByte scratch;
    return op.Digest(alg, pki::contentOctets(*value, scratch), digest);
}

// A signer has the attributes under the tag [0]; what is signed is the same bytes under the tag of a SET.
int digestAttributes(VT_P11_OP& op, const VT_P11_Alg& alg, const Attributes& attributes, MiByte& digest) {
    MiByteBuffer buffer;
    attributes.DerEncode(buffer, 0);
    buffer.SetCharAt(0, kSetTag);
    return op.Digest(alg, buffer.GetByte(), digest);
}

PKCS7Attribute makeAttribute(const char* type, const AsnObject& value) {
    AsnSetOf<AsnOctetString> values;
    values.AddElement(pki::anyOf(value));
    PKCS7Attribute attribute;
    attribute.SetType(AsnOid(type));
    attribute.SetValues(values);
    return attribute;
}

// What the attributes must tell of the content: its digest, and, if they tell a type, its type.
int checkAttributes(const Attributes& attributes, const ContentInfo& content, const MiByte& contentDigest) {
    const MiByte* told = nullptr;
    for (unsigned int i = 0; i < attributes.Size(); ++i) {
        const AsnOid* const type = attributes.Get(i)->GetType();
        const AsnSetOf<AsnOctetString>* const values = attributes.Get(i)->GetValues();
        if (type == nullptr || values == nullptr || values->Empty())
            return token::kElementAbsent;
        if (type->GetData() == kMessageDigestAttribute)
            told = &values->Get(0)->GetData();
        if (type->GetData() != kContentTypeAttribute)
            continue;
        const AsnOid* const contentType = content.GetContentType();
        if (contentType == nullptr)
            return token::kElementAbsent;
        AsnOid toldType;
        values->Get(0)->GetDerObject(&toldType);
        if (toldType != *contentType)
            return token::kWrongContentType;
    }
    if (told == nullptr)
        return token::kNoMessageDigest;
    return *told == contentDigest ? 0 : token::kDigestMismatch;
}

int readDigestInfo(const MiByte& der, const AlgorithmIdentifier& expected, MiByte& digest) {
    DigestInfo info;
    pki::decodeDer(der, info);
    const AlgorithmIdentifier* const algorithm = info.GetDigestAlgorithm();
    if (algorithm == nullptr)
        return token::kElementAbsent;
    if (*algorithm != expected)
        return token::kDigestAlgorithmMismatch;
    const AsnOctetString* const held = info.GetDigest();
    if (held == nullptr)
        return token::kElementAbsent;
    digest = held->GetData();
    return 0;
}

void writeDigestInfo(const AlgorithmIdentifier& algorithm, const MiByte& digest, MiByte& der) {
    DigestInfo info;
    info.SetDigestAlgorithm(algorithm);
    info.SetDigest(pki::octetsOf(digest));
    pki::encodeDer(info, der);
}

int loadSignersKey(const Certificate& certificate, const IssuerAndSerialNumber& signer, VT_P11_Key& key) {
    bool matches = false;
    const int result = pki::matchSigner(certificate, signer, matches);
    if (result != 0)
        return result;
    if (!matches)
        return token::kNotTheSigner;
    return pki::readRsaKey(certificate, key);
}

}  // namespace

VT_SignerInfo::VT_SignerInfo() {
    Reset();
}

VT_SignerInfo::VT_SignerInfo(const VT_SignerInfo& other) = default;
VT_SignerInfo& VT_SignerInfo::operator=(const VT_SignerInfo& other) = default;
VT_SignerInfo::~VT_SignerInfo() = default;

void VT_SignerInfo::Reset() {
    authenticatedPresent = false;
    unauthenticatedPresent = false;
    innerContent.clear();
    signer.clear();
    issuerAndSerialNumber.clear();
    digestAlgorithm.clear();
    digestEncryptionAlgorithm.clear();
    encryptedDigest.clear();
    authenticatedAttributes.renew();
    unauthenticatedAttributes.renew();
}

int VT_SignerInfo::setInnerContentInfo(const ContentInfo& content) {
    innerContent.set(content);
    return 0;
}

int VT_SignerInfo::setIssuerAndSerialNumber(const IssuerAndSerialNumber& value) {
    issuerAndSerialNumber.set(value);
    return 0;
}

int VT_SignerInfo::getIssuerAndSerialNumber(IssuerAndSerialNumber& value) const {
    return pki::copyField(issuerAndSerialNumber, value);
}

int VT_SignerInfo::setDigestAlgorithmIdentifier(const AlgorithmIdentifier& value) {
    digestAlgorithm.set(value);
    return 0;
}

int VT_SignerInfo::getDigestAlgorithmIdentifier(AlgorithmIdentifier& value) const {
    return pki::copyField(digestAlgorithm, value);
}

int VT_SignerInfo::setDigestEncryptionAlgorithmIdentifier(const AlgorithmIdentifier& value) {
    digestEncryptionAlgorithm.set(value);
    return 0;
}

int VT_SignerInfo::getDigestEncryptionAlgorithmIdentifier(AlgorithmIdentifier& value) const {
    return pki::copyField(digestEncryptionAlgorithm, value);
}

int VT_SignerInfo::composeSignerInfo(SignerInfo& value) {
    SignerInfo& made = signer.renew();
    made.SetVersion(AsnInteger(kVersion));
    if (!issuerAndSerialNumber)
        return token::kMaterialMissing;
    made.SetIssuerAndSerialNumber(*issuerAndSerialNumber);
    if (!digestEncryptionAlgorithm)
        return token::kMaterialMissing;
    made.SetDigestEncryptionAlgorithm(*digestEncryptionAlgorithm);
    if (!digestAlgorithm)
        return token::kMaterialMissing;
    made.SetDigestAlgorithm(*digestAlgorithm);
    if (!encryptedDigest)
        return token::kMaterialMissing;
    made.SetEncryptedDigest(*encryptedDigest);
    if (authenticatedPresent && !authenticatedAttributes)
        return token::kMaterialMissing;
    if (authenticatedPresent)
        pki::wrapSet(made, "authenticatedAttributes", "aaSet", *authenticatedAttributes);
    if (unauthenticatedPresent && !unauthenticatedAttributes)
        return token::kMaterialMissing;
    if (unauthenticatedPresent)
        pki::wrapSet(made, "unauthenticatedAttributes", "uaSet", *unauthenticatedAttributes);
    value = made;
    return 0;
}

int VT_SignerInfo::composeSignerInfo(MiByte& der) {
    SignerInfo value;
    const int result = composeSignerInfo(value);
    if (result == 0)
        pki::encodeDer(value, der);
    return result;
}

int VT_SignerInfo::decomposeSignerInfo(const SignerInfo& value) {
    authenticatedPresent = false;
    unauthenticatedPresent = false;
    issuerAndSerialNumber.clear();
    digestAlgorithm.clear();
    digestEncryptionAlgorithm.clear();
    encryptedDigest.clear();
    pki::emptySet(authenticatedAttributes);
    pki::emptySet(unauthenticatedAttributes);
    signer.set(value);
    if (!pki::isVersion(value.GetVersion(), kVersion))
        return token::kWrongVersion;
    int result = pki::storeField(issuerAndSerialNumber, value.GetIssuerAndSerialNumber());
    if (result == 0)
        result = pki::storeField(digestAlgorithm, value.GetDigestAlgorithm());
    if (result == 0)
        result = pki::storeField(digestEncryptionAlgorithm, value.GetDigestEncryptionAlgorithm());
    if (result == 0)
        result = pki::storeField(encryptedDigest, value.GetEncryptedDigest());
    if (result != 0)
        return result;
    if (const auto* set = pki::selectedSet<PKCS7Attribute>(value.GetAuthenticatedAttributes())) {
        authenticatedAttributes.set(*set);
        authenticatedPresent = true;
    }
    if (const auto* set = pki::selectedSet<PKCS7Attribute>(value.GetUnauthenticatedAttributes())) {
        unauthenticatedAttributes.set(*set);
        unauthenticatedPresent = true;
    }
    return 0;
}

int VT_SignerInfo::decomposeSignerInfo(const MiByte& der) {
    SignerInfo value;
    pki::decodeDer(der, value);
    return decomposeSignerInfo(value);
}

int VT_SignerInfo::SignDigest(VT_P11_OP& op, const VT_P11_Key& key) {
    return sign(op, key, innerContent.get());
}

int VT_SignerInfo::sign(VT_P11_OP& op, const VT_P11_Key& key, const ContentInfo* content) {
    VT_P11_Alg digestAlg;
    VT_P11_Alg encryptionAlg;
    int result = loadAlgorithm(digestAlgorithm, digestAlg);
    if (result == 0)
        result = loadAlgorithm(digestEncryptionAlgorithm, encryptionAlg);
    MiByte digest;
    if (result == 0)
        result = digestContent(op, digestAlg, content, digest);
    if (result == 0 && authenticatedPresent)
        result = addContentAttributes(*content, digest);
    if (result == 0 && authenticatedPresent)
        result = digestAttributes(op, digestAlg, *authenticatedAttributes, digest);
    if (result != 0)
        return result;
    MiByte info;
    writeDigestInfo(*digestAlgorithm, digest, info);
    MiByte sealed;
    result = op.SignRecover(encryptionAlg, key, info, sealed);
    if (result == 0)
        encryptedDigest.renew().SetData(sealed);
    return result;
}

int VT_SignerInfo::addContentAttributes(const ContentInfo& content, const MiByte& digest) {
    const AsnOid* const contentType = content.GetContentType();
    if (contentType == nullptr)
        return token::kElementAbsent;
    if (!authenticatedAttributes)
        return token::kMaterialMissing;
    authenticatedAttributes->AddElement(makeAttribute(kContentTypeAttribute, *contentType));
    authenticatedAttributes->AddElement(makeAttribute(kMessageDigestAttribute, pki::octetsOf(digest)));
    return 0;
}

int VT_SignerInfo::VerifyDigest(VT_P11_OP& op, const Certificate& certificate) {
    pki::SignedContent content(innerContent.get());
    return verify(op, certificate, content);
}

int VT_SignerInfo::verify(VT_P11_OP& op, const Certificate& certificate, pki::SignedContent& content) const {
    if (!issuerAndSerialNumber)
        return token::kMaterialMissing;
    VT_P11_Key key;
    int result = loadSignersKey(certificate, *issuerAndSerialNumber, key);
    if (result == 0 && (!digestAlgorithm || !digestEncryptionAlgorithm || !encryptedDigest))
        result = token::kMaterialMissing;
    VT_P11_Alg digestAlg;
    VT_P11_Alg encryptionAlg;
    if (result == 0)
        result = loadAlgorithm(digestAlgorithm, digestAlg);
    if (result == 0)
        result = loadAlgorithm(digestEncryptionAlgorithm, encryptionAlg);
    MiByte opened;
    if (result == 0)
        result = pki::openInSoftware(encryptionAlg, key, encryptedDigest->GetData(), opened);
    MiByte signedDigest;
    if (result == 0)
        result = readDigestInfo(opened, *digestAlgorithm, signedDigest);
    MiByte digest;
    if (result == 0)
        result = content.digest(op, digestAlg, digest);
    if (result == 0 && authenticatedPresent)
        result = authenticatedAttributes ? checkAttributes(*authenticatedAttributes, *content.get(), digest)
                                         : token::kMaterialMissing;
    if (result == 0 && authenticatedPresent)
        result = digestAttributes(op, digestAlg, *authenticatedAttributes, digest);
    if (result == 0 && digest != signedDigest)
        result = token::kDigestMismatch;
    return result;
}

int VT_SignerInfo::encryptDigest(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key) {
    if (!encryptedDigest)
        return token::kMaterialMissing;
    MiByte sealed;
    const int result = op.Encrypt(alg, key, encryptedDigest->GetData(), sealed);
    if (result == 0)
        encryptedDigest->SetData(sealed);
    return result;
}

int VT_SignerInfo::decryptDigest(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key) {
    if (!encryptedDigest)
        return token::kMaterialMissing;
    MiByte opened;
    const int result = op.Decrypt(alg, key, encryptedDigest->GetData(), opened);
    if (result == 0)
        encryptedDigest->SetData(opened);
    return result;
}

int VT_SignerInfo::addAuthPKCS7Attribute(const PKCS7Attribute& attribute) {
    return pki::raiseFlag(authenticatedPresent, pki::addItem(authenticatedAttributes, attribute));
}

int VT_SignerInfo::addUnAuthPKCS7Attribute(const PKCS7Attribute& attribute) {
    return pki::raiseFlag(unauthenticatedPresent, pki::addItem(unauthenticatedAttributes, attribute));
}

int VT_SignerInfo::getAuthPKCS7AttributeTotal() const {
    return pki::totalOf(authenticatedAttributes);
}

int VT_SignerInfo::getUnAuthPKCS7AttributeTotal() const {
    return pki::totalOf(unauthenticatedAttributes);
}

int VT_SignerInfo::getAuthPKCS7AttributeByIndex(int index, PKCS7Attribute& attribute) const {
    return pki::copyItem(authenticatedAttributes, index, attribute);
}

int VT_SignerInfo::getUnAuthPKCS7AttributeByIndex(int index, PKCS7Attribute& attribute) const {
    return pki::copyItem(unauthenticatedAttributes, index, attribute);
}

int pki::matchSigner(const Certificate& certificate, const IssuerAndSerialNumber& signer, bool& matches) {
    const TBSCertificate* const body = certificate.GetTBSCertificate();
    if (body == nullptr || body->GetIssuer() == nullptr || body->GetSerialNumber() == nullptr)
        return token::kElementAbsent;
    // The number first: it mostly tells, and is the shorter of the two.
    matches = body->GetSerialNumber()->EqualsContent(signer.GetSerialNumber()) &&
              body->GetIssuer()->EqualsContent(signer.GetIssuer());
    return 0;
}

int pki::SignedContent::digest(VT_P11_OP& op, const VT_P11_Alg& alg, MiByte& result) {
    int type = 0;
    alg.getAlgType(type);
    MiByte* const known =
        type >= 1 && type <= static_cast<int>(known_.size()) ? &known_[static_cast<std::size_t>(type - 1)] : nullptr;
    if (known == nullptr || known->Empty()) {
        const int code = digestContent(op, alg, content_, result);
        if (code == 0 && known != nullptr)
            *known = result;
        return code;
    }
    result = *known;
    return 0;
}

int pki::SignerAccess::sign(VT_SignerInfo& signer, VT_P11_OP& op, const VT_P11_Key& key, const ContentInfo& content) {
    return signer.sign(op, key, &content);
}

int pki::SignerAccess::verify(const VT_SignerInfo& signer, VT_P11_OP& op, const Certificate& certificate,
                              SignedContent& content) {
    return signer.verify(op, certificate, content);
}

const IssuerAndSerialNumber* pki::SignerAccess::issuerAndSerialNumber(const VT_SignerInfo& signer) {
    return signer.issuerAndSerialNumber.get();
}
