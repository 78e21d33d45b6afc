// Every code block of docs/toolkit.md stands here word for word; toolkit_doc_test.py holds it.
#include "tests/toolkit_examples/examples.h"

#include <sstream>

#include "asn/asn.h"
#include "foundation/foundation.h"
#include "schema/schema.h"

// Reads a certificate; false if the bytes are none, or go on behind it.
bool readCertificate(Certificate& certificate, const std::string& der) {
    const MiByte bytes(der.data(), static_cast<unsigned int>(der.size()));
    try {
        return certificate.DerDecode(bytes, 0) == bytes.GetLength();
    } catch (const MiException&) {
        return false;
    }
}

std::string serialNumber(const Certificate& certificate) {
    const TBSCertificate* tbs = certificate.GetTBSCertificate();
    if (tbs == nullptr || tbs->GetSerialNumber() == nullptr)
        return {};
    return tbs->GetSerialNumber()->GetBigInteger().GetStringBase10().GetChars();
}

// The value of the first attribute of that type in a name, such as "2.5.4.3" for the common name; null for none.
const AsnOctetString* findAttribute(const Name& name, const char* type) {
    const auto* sets = name.GetRdnSequence();
    for (unsigned int i = 0; sets != nullptr && i < sets->Size(); ++i) {
        for (unsigned int j = 0; j < sets->Get(i)->Size(); ++j) {
            const AttributeTypeAndDistinguishedValue* attribute = sets->Get(i)->Get(j);
            if (attribute->GetType() != nullptr && attribute->GetType()->GetData() == type)
                return attribute->GetValue();
        }
    }
    return nullptr;
}

// The text in an ANY that holds one of the string types of names; empty for any other.
std::string textOf(const AsnOctetString& any) {
    const AsnTag& tag = any.GetAsnTag();
    if (tag.tagClass != ASN_UNIVERSAL)
        return {};
    if (tag.tagNumber == AsnPrintableString().GetAsnTagNumber()) {
        AsnPrintableString text;
        any.GetDerObject(&text);
        return text.GetData().Empty() ? "" : text.GetData().GetChars();
    }
    if (tag.tagNumber == AsnUTF8String().GetAsnTagNumber())  // UTF-8 is the content as it stands
        return any.GetData().Empty() ? "" : std::string(any.GetData().GetChars(), any.GetData().GetLength());
    return {};
}

// Whether a certificate has the extension BasicConstraints and it says so. Throws MiException for one that is no DER.
bool isAuthority(const Certificate& certificate) {
    const TBSCertificate* tbs = certificate.GetTBSCertificate();
    const auto* extensions = tbs == nullptr ? nullptr : tbs->GetExtensions();
    for (unsigned int i = 0; extensions != nullptr && i < extensions->Size(); ++i) {
        const Extension& extension = *extensions->Get(i);
        if (extension.GetExtnId() == nullptr || extension.GetExtnValue() == nullptr)
            continue;
        if (extension.GetExtnId()->GetData() != "2.5.29.19")
            continue;
        BasicConstraintsSyntax constraints;
        constraints.DerDecode(extension.GetExtnValue()->GetData(), 0);
        return constraints.GetCA() != nullptr && constraints.GetCA()->GetData();  // absent means false
    }
    return false;
}

std::string lastDay(const Validity& validity) {
    const AsnObject* time = validity.GetNotAfter() == nullptr ? nullptr : validity.GetNotAfter()->Get();
    if (const auto* utc = dynamic_cast<const AsnUTCTime*>(time))
        return utc->GetTime().GetTimeString("YYYY-MM-DD").GetChars();
    if (const auto* generalized = dynamic_cast<const AsnGeneralizedTime*>(time))
        return generalized->GetTime().GetTimeString("YYYY-MM-DD").GetChars();
    return {};  // nothing is selected
}

// Sets the end, in the form that RFC 5280 asks for.
void validUntil(Validity& validity, const MiTime& end) {
    X509Time time;
    if (end.GetYear() < 2050) {
        AsnUTCTime utc;
        utc.SetTime(end);
        time.SetUtcTime(utc);
    } else {
        AsnGeneralizedTime generalized;
        generalized.SetTime(end);
        time.SetGeneralizedTime(generalized);
    }
    validity.SetNotAfter(time);
}

AlgorithmIdentifier algorithmOf(const char* oid) {
    AlgorithmIdentifier algorithm;
    algorithm.SetAlgorithm(AsnOid(oid));
    const AsnNull null;
    AsnOctetString parameters;
    parameters.SetDerObject(&null);
    algorithm.SetParameters(parameters);
    return algorithm;
}

AttributeTypeAndDistinguishedValue attributeOf(const char* type, const char* text) {
    AsnPrintableString string(text);
    string.SetAsnName("value");  // this member alone takes the name, too, of what is set
    AsnOctetString any;
    any.SetDerObject(&string);

    AttributeTypeAndDistinguishedValue attribute;
    attribute.SetType(AsnOid(type));
    attribute.SetValue(any);
    return attribute;
}

Name nameOf(const char* organization, const char* commonName) {
    AsnSequenceOf<AsnSetOf<AttributeTypeAndDistinguishedValue>> sets;
    for (const auto& attribute :
         {attributeOf("2.5.4.6", "DE"), attributeOf("2.5.4.10", organization), attributeOf("2.5.4.3", commonName)}) {
        AsnSetOf<AttributeTypeAndDistinguishedValue> set;
        set.AddElement(attribute);
        sets.AddElement(set);
    }
    Name name;
    name.SetRdnSequence(sets);
    return name;
}

AsnSequenceOf<Extension> authorityExtensions() {
    BasicConstraintsSyntax constraints;
    constraints.SetCA(AsnBoolean(true));
    constraints.SetPathLenConstraint(AsnInteger(0));
    MiByteBuffer der;
    constraints.DerEncode(der, 0);
    AsnOctetString value;
    value.SetData(der.GetByte());

    Extension extension;
    extension.SetExtnId(AsnOid("2.5.29.19"));
    extension.SetCritical(AsnBoolean(true));
    extension.SetExtnValue(value);
    AsnSequenceOf<Extension> extensions;
    extensions.AddElement(extension);
    return extensions;
}

std::string derOf(const AsnObject& value) {
    MiByteBuffer out;
    value.DerEncode(out, 0);
    return {out.GetChars(), out.GetLength()};
}

// A certificate that signs itself. sign gives the signature over the bytes, SHA-256 with RSA.
std::string makeAuthority(const SubjectPublicKeyInfo& key, const std::function<MiByte(const std::string&)>& sign) {
    const AlgorithmIdentifier sha256WithRsa = algorithmOf("1.2.840.113549.1.1.11");
    const Name name = nameOf("Example", "Example Authority");

    AsnUTCTime start;
    start.SetTime("260101000000Z");
    X509Time notBefore;
    notBefore.SetUtcTime(start);
    Validity validity;
    validity.SetNotBefore(notBefore);
    validUntil(validity, MiTime(2036, 1, 1, 0, 0, 0));

    TBSCertificate tbs;
    tbs.SetVersion(AsnInteger(2));  // the third version
    tbs.SetSerialNumber(AsnInteger(1000));
    tbs.SetSignature(sha256WithRsa);
    tbs.SetIssuer(name);
    tbs.SetValidity(validity);
    tbs.SetSubject(name);
    tbs.SetSubjectPublicKeyInfo(key);
    tbs.SetExtensions(authorityExtensions());

    const MiByte signature = sign(derOf(tbs));
    Certificate certificate;
    certificate.SetTBSCertificate(tbs);
    certificate.SetAlgorithmIdentifier(sha256WithRsa);
    certificate.SetEncrypted(AsnBitString(MiBitSet(signature, signature.GetLength() * 8)));
    return derOf(certificate);
}

// Checks the signature over the bytes that were received, however they were encoded.
bool hasValidSignature(const std::string& der,
                       const std::function<bool(const MiByte& data, const MiByte& signature)>& verify) {
    Certificate certificate;
    certificate.Find("tBSCertificate")->OnByte();  // before the decoding: keep this member's bytes, do not read it
    if (!readCertificate(certificate, der) || certificate.GetEncrypted() == nullptr)
        return false;
    const MiByte* signedBytes = certificate.Find("tBSCertificate")->GetAsnByte();
    return signedBytes != nullptr && verify(*signedBytes, certificate.GetEncrypted()->GetData().GetByte());
}

std::string printed(const AsnObject& value) {
    std::ostringstream text;
    value.ToOstream(text, 0);
    return text.str();
}
