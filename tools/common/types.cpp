#include "tools/common/types.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <typeinfo>

#include "asn/octet_string.h"
#include "asn/oid.h"
#include "asn/sequence.h"
#include "asn/sequence_of.h"
#include "foundation/byte_buffer.h"
#include "foundation/exceptions.h"
#include "schema/pkcs.h"
#include "schema/registry.h"
#include "tools/common/bytes.h"

namespace tools {

namespace {

struct LabelledType {
    const char* label;
    const char* type;
};

constexpr LabelledType kLabels[] = {
    {"CERTIFICATE", "Certificate"},
    {"X509 CERTIFICATE", "Certificate"},
    {"TRUSTED CERTIFICATE", "Certificate"},
    {"X509 CRL", "CertificateList"},
    {"CERTIFICATE REQUEST", "CertificationRequest"},
    {"NEW CERTIFICATE REQUEST", "CertificationRequest"},
    {"PKCS7", "ContentInfo"},
    {"PKCS #7 SIGNED DATA", "ContentInfo"},
    {"CMS", "ContentInfo"},
    {"PKCS12", "PFX"},
    {"PRIVATE KEY", "PrivateKeyInfo"},
    {"ENCRYPTED PRIVATE KEY", "EncryptedPrivateKeyInfo"},
    {"RSA PRIVATE KEY", "RSAPrivateKey"},
    {"RSA PUBLIC KEY", "RSAPublicKey"},
    {"PUBLIC KEY", "SubjectPublicKeyInfo"},
};

struct TriedType {
    const char* type;
    const char* octets;  // a member that has to be an OCTET STRING and does not stand for ANY
};

// Tried in this order where no label tells the type; those at the end are parts, whose shapes could be much else.
constexpr TriedType kTried[] = {
    {"Certificate", nullptr},
    {"CertificateList", nullptr},
    {"CertificationRequest", nullptr},
    {"ContentInfo", nullptr},
    {"PFX", nullptr},
    {"PrivateKeyInfo", "privateKey"},
    {"EncryptedPrivateKeyInfo", "encryptedData"},
    {"RSAPrivateKey", nullptr},
    {"RSAPublicKey", nullptr},
    {"SubjectPublicKeyInfo", nullptr},
    {"SignedData", nullptr},
    {"EnvelopedData", nullptr},
    {"SignedAndEnvelopedData", nullptr},
    {"DigestedData", "digest"},
    {"EncryptedData", nullptr},
    {"TBSCertificate", nullptr},
    {"TBSCertificateList", nullptr},
    {"CertificationRequestInfo", nullptr},
    {"Name", nullptr},
    {"AlgorithmIdentifier", nullptr},
};

// The types of PKCS#7 messages, by the content type of the ContentInfo around them.
constexpr char kData[] = "1.2.840.113549.1.7.1";
constexpr LabelledType kMessages[] = {
    {"1.2.840.113549.1.7.2", "SignedData"},
    {"1.2.840.113549.1.7.3", "EnvelopedData"},
    {"1.2.840.113549.1.7.4", "SignedAndEnvelopedData"},
    {"1.2.840.113549.1.7.5", "DigestedData"},
    {"1.2.840.113549.1.7.6", "EncryptedData"},
};

template <std::size_t N>
const char* typeFor(const LabelledType (&table)[N], const char* label) {
    const auto* found = std::find_if(std::begin(table), std::end(table), [label](const LabelledType& entry) {
        return std::strcmp(entry.label, label) == 0;
    });
    return found == std::end(table) ? nullptr : found->type;
}

// Calls decode and puts what it throws into words.
template <class Decode>
void inWords(const std::string& type, Decode decode) {
    const std::string start = "no " + type + ": ";
    try {
        decode();
    } catch (const MiOutOfRangeExp&) {
        throw InputError(start + "an element is longer than what it stands in");
    } catch (const MiRangeExp&) {
        throw InputError(start + "a tag or a length is not DER");
    } catch (const MiInvalidArgumentExp&) {
        throw InputError(start + "an element has no content where there must be some");
    } catch (const MiException&) {
        throw InputError(start + "the elements are not those of the type");
    }
}

bool roundTrips(const AsnObject& object, const MiByte& der) {
    MiByteBuffer again;
    object.DerEncode(again, 0);
    return again.GetByte() == der;
}

bool sameTag(const AsnObject& a, const AsnObject& b) {
    return a.GetAsnTagClass() == b.GetAsnTagClass() && a.GetAsnTagNumber() == b.GetAsnTagNumber();
}

// Whether what was read has the tags of its schema, of which blank is an empty value. The decoder does not look at the
// tags of mandatory members, and an octet string may stand for a value of any type; of a choice it does look at them.
bool tagsFit(const AsnObject& read, const AsnObject& blank) {
    if (blank.IsAsnChoice() || typeid(blank) == typeid(AsnOctetString))
        return true;
    if (!sameTag(read, blank))
        return false;
    const auto* members = dynamic_cast<const AsnSequence*>(&read);
    const auto* schema = dynamic_cast<const AsnSequence*>(&blank);
    for (unsigned int i = 0; members != nullptr && schema != nullptr && i < members->Size(); ++i) {
        if (members->Get(i)->IsAsnPresent() && !tagsFit(*members->Get(i), *schema->Get(i)))
            return false;
    }
    return true;
}

// Whether the member of that name is an OCTET STRING; true for no name.
bool hasOctets(const AsnObject& object, const char* name) {
    const AsnObject* member = name == nullptr ? nullptr : dynamic_cast<const AsnSequence&>(object).Get(name);
    return member == nullptr || sameTag(*member, AsnOctetString());
}

// How near to the bytes a type has to come. Files from the field have a BOOLEAN of 01 or an INTEGER with zeros in
// front, which are written as DER wants them.
enum class Fit { kSameBytes, kSameTags };

bool writesWell(const AsnObject& object, const MiByte& der, Fit fit) {
    // A choice is a name here: a list of lists, with next to no tags to tell it by.
    return fit == Fit::kSameTags ? !object.IsAsnChoice() : roundTrips(object, der);
}

// The value if the bytes are one of that type, else null.
std::unique_ptr<AsnObject> fitting(const TriedType& tried, const MiByte& der, Fit fit) {
    std::unique_ptr<AsnObject> object(AsnMakeSchemaObject(tried.type));
    const std::unique_ptr<AsnObject> blank(AsnMakeSchemaObject(tried.type));
    try {
        const unsigned int consumed = object->DerDecode(der, 0);
        if (consumed == der.GetLength() && tagsFit(*object, *blank) && hasOctets(*object, tried.octets) &&
            writesWell(*object, der, fit))
            return object;
    } catch (const MiException&) {
    }
    return nullptr;
}

bool hasContentType(const ContentInfo& info, const char* type) {
    return info.GetContentType() != nullptr && info.GetContentType()->GetData() == type;
}

// The message in a ContentInfo, if it is of a type that PKCS#7 knows.
void addMessage(std::vector<Value>& out, const ContentInfo& info) {
    if (info.GetContentType() == nullptr || info.GetContent() == nullptr || info.GetContentType()->GetData().Empty())
        return;
    const char* type = typeFor(kMessages, info.GetContentType()->GetData().GetChars());
    if (type == nullptr)
        return;
    Value value{type, std::unique_ptr<AsnObject>(AsnMakeSchemaObject(type))};
    inWords(type, [&] { info.GetContent()->GetDerObject(value.object.get()); });
    out.push_back(std::move(value));
}

// The list of that name in a ContentInfo of plain data, null if it has none.
template <class T>
std::unique_ptr<AsnSequenceOf<T>> listIn(const ContentInfo& info, const char* name) {
    if (!hasContentType(info, kData) || info.GetContent() == nullptr)
        return nullptr;
    auto list = std::make_unique<AsnSequenceOf<T>>();
    inWords(name, [&] { list->DerDecode(info.GetContent()->GetData(), 0); });
    return list;
}

void addSafes(std::vector<Value>& out, const ContentInfo& authSafe) {
    constexpr char kSafes[] = "AuthenticatedSafe";
    constexpr char kBags[] = "SafeContents";
    auto safes = listIn<ContentInfo>(authSafe, kSafes);
    if (safes == nullptr)
        return;
    const AsnSequenceOf<ContentInfo>& list = *safes;
    out.push_back({kSafes, std::move(safes)});
    for (unsigned int i = 0; i < list.Size(); ++i) {
        addMessage(out, *list.Get(i));
        if (auto bags = listIn<SafeBag>(*list.Get(i), kBags))
            out.push_back({kBags, std::move(bags)});
    }
}

}  // namespace

Value decodeAs(const std::string& type, const std::string& der) {
    Value value{type, std::unique_ptr<AsnObject>(AsnMakeSchemaObject(type.c_str()))};
    const MiByte bytes = bytesOf(der);
    inWords(type, [&] {
        if (value.object->DerDecode(bytes, 0) != bytes.GetLength())
            throw AsnDecodeExp();
    });
    return value;
}

Value decodeFound(const Block& block) {
    if (!block.label.empty()) {
        const char* type = typeFor(kLabels, block.label.c_str());
        if (type == nullptr)
            throw InputError("no type is known for the label \"" + block.label + "\"; name one with --type");
        return decodeAs(type, block.der);
    }
    const MiByte bytes = bytesOf(block.der);
    for (const Fit fit : {Fit::kSameBytes, Fit::kSameTags}) {
        for (const TriedType& tried : kTried) {
            if (auto object = fitting(tried, bytes, fit))
                return {tried.type, std::move(object)};
        }
    }
    throw InputError("fits none of the types that are tried; name one with --type");
}

std::vector<Value> insideOf(const Value& value, std::string& fault) {
    std::vector<Value> out;
    fault.clear();
    try {
        if (const auto* info = dynamic_cast<const ContentInfo*>(value.object.get()))
            addMessage(out, *info);
        const auto* pfx = dynamic_cast<const PFX*>(value.object.get());
        if (pfx != nullptr && pfx->GetAuthSafe() != nullptr) {
            addMessage(out, *pfx->GetAuthSafe());
            addSafes(out, *pfx->GetAuthSafe());
        }
    } catch (const InputError& error) {
        fault = error.what();
    }
    return out;
}

}  // namespace tools
