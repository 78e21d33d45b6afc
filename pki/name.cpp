#include "pki/name.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "foundation/byte.h"
#include "pki/content.h"
#include "pki/element.h"
#include "pki/name_nodes.h"
#include "token/codes.h"

namespace {

struct Label {
    const char* text;
    const char* type;
    bool ia5 = false;  // IA5String in place of PrintableString
};

constexpr unsigned int kLabelLength = 5;
constexpr const char* kUnknownLabel = " ?? =";
constexpr Label kLabels[] = {
    {" CN =", "2.5.4.3"},  {" SN =", "2.5.4.4"},
    {"  C =", "2.5.4.6"},  {"  L =", "2.5.4.7"},
    {"  S =", "2.5.4.8"},  {"  O =", "2.5.4.10"},
    {" OU =", "2.5.4.11"}, {"  T =", "2.5.4.12"},
    {"  N =", "2.5.4.41"}, {"  G =", "2.5.4.42"},
    {"  I =", "2.5.4.43"}, {" GQ =", "2.5.4.44"},
    {" DQ =", "2.5.4.46"}, {"  E =", "1.2.840.113549.1.9.1", true},
};

// labelOf finds the label of a node in either case; null for one that nobody may write.
const Label* labelOf(const MiByte& node) {
    const std::string label(node.GetChars(), kLabelLength);
    const MiString text = label.c_str();
    const auto* found = std::find_if(std::begin(kLabels), std::end(kLabels),
                                     [&](const Label& known) { return text.CompareToIgnoreCase(known.text) == 0; });
    return found == std::end(kLabels) ? nullptr : found;
}

const char* labelTextOf(const AsnOid& type) {
    const auto* found = std::find_if(std::begin(kLabels), std::end(kLabels),
                                     [&](const Label& known) { return type.GetData() == known.type; });
    return found == std::end(kLabels) ? kUnknownLabel : found->text;
}

// holderOf gives bytes under the tag of the string that the attribute is written as. They do not go through the string,
// which would refuse characters that it does not have.
AsnOctetString holderOf(const Label& label, const char* bytes, unsigned int length) {
    const AsnPrintableString printable;
    const AsnIA5String ia5;
    AsnOctetString holder;
    holder.SetDerObject(label.ia5 ? static_cast<const AsnObject*>(&ia5) : &printable);
    holder.SetData(bytes, 0, length);
    // The attribute's member takes over name and flag.
    holder.SetAsnName("value");
    holder.SetAsnPresent(true);
    return holder;
}

}  // namespace

const pki::RdnSequence* pki::rdnSequenceOf(const Name& name) {
    return dynamic_cast<const RdnSequence*>(name.Get("rdnSequence"));
}

int pki::readNameNode(const RdnSequence& names, int index, MiByte& node) {
    const AttributeTypeAndDistinguishedValue& attribute = *names.Get(static_cast<unsigned int>(index))->Get(0);
    const auto* type = elementOf<AsnOid>(attribute, "type");
    const auto* value = elementOf<AsnOctetString>(attribute, "value");
    if (type == nullptr || value == nullptr)
        return token::kElementAbsent;
    const MiByte& bytes = value->GetData();
    node.SetByte(labelTextOf(*type), kLabelLength).Concat(bytes.GetChars(), bytes.GetLength());
    return 0;
}

VT_Name::VT_Name() : rdnSequence(std::make_unique<RdnSequence>()) {}

VT_Name::VT_Name(const VT_Name& other) : rdnSequence(std::make_unique<RdnSequence>(*other.rdnSequence)) {}

VT_Name& VT_Name::operator=(const VT_Name& other) {
    if (this != &other)
        rdnSequence = std::make_unique<RdnSequence>(*other.rdnSequence);
    return *this;
}

VT_Name::~VT_Name() = default;

void VT_Name::Reset() {
    rdnSequence = std::make_unique<RdnSequence>();
}

int VT_Name::addNameNode(const MiByte& node) {
    if (node.GetLength() <= kLabelLength)
        return token::kBufferTooSmall;
    const Label* label = labelOf(node);
    if (label == nullptr)
        return token::kUnsupported;

    const AsnOid type(label->type);
    const AsnOctetString holder = holderOf(*label, node.GetChars() + kLabelLength, node.GetLength() - kLabelLength);
    AttributeTypeAndDistinguishedValue attribute;
    attribute.Set("type", &type);
    attribute.AddCompleteData("value", &holder);

    AsnSetOf<AttributeTypeAndDistinguishedValue> relativeName;
    relativeName.AddElement(attribute);
    rdnSequence->AddElement(relativeName);
    return 0;
}

int VT_Name::getNameNodeByIndex(int index, MiByte& node) const {
    return pki::readNameNode(*rdnSequence, index, node);
}

int VT_Name::getNameNodeTotal(int& total) const {
    total = static_cast<int>(rdnSequence->Size());
    return 0;
}

int VT_Name::getName(Name& target) const {
    target.Reset(nullptr);
    target.SetRdnSequence(*rdnSequence);
    return 0;
}

int VT_Name::setName(const Name& source) {
    const RdnSequence* names = pki::rdnSequenceOf(source);
    if (names == nullptr)
        return token::kElementAbsent;
    rdnSequence->Reset(names);
    return 0;
}

int VT_Name::getName(MiByte& der) const {
    Name name;
    getName(name);
    pki::encodeDer(name, der);
    return 0;
}

int VT_Name::setName(const MiByte& der) {
    Name name;
    pki::decodeDer(der, name);
    return setName(name);
}
