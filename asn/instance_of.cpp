#include "asn/instance_of.h"

#include "asn/container.h"
#include "asn/member.h"
#include "asn/ostream.h"
#include "foundation/exceptions.h"

namespace {

constexpr AsnMember kMembers[] = {
    {"type_id", AsnMake<AsnOid>},
    {"value", AsnMake<AsnOctetString>, AsnObject::ASN_MANDATORY, false, ASN_EXPLICIT, 0},
};

template <class T, class Object>
T& require(Object* member) {
    auto* typed = dynamic_cast<T*>(member);
    if (typed == nullptr)
        throw AsnDataExp();
    return *typed;
}

}  // namespace

AsnInstanceOf::AsnInstanceOf() {
    asnTag.tagNumber = 8;
    AsnInstanceOf::SetupElements();
}

AsnInstanceOf::AsnInstanceOf(const AsnInstanceOf& other) = default;

AsnInstanceOf::~AsnInstanceOf() = default;

AsnInstanceOf& AsnInstanceOf::operator=(const AsnInstanceOf& other) = default;

AsnObject* AsnInstanceOf::Clone() const {
    return new AsnInstanceOf(*this);
}

void AsnInstanceOf::ToOstream(std::basic_ostream<char>& os, unsigned int level) const {
    AsnOstream::DoVisit(*this, os, level);
}

void AsnInstanceOf::SetType_id(const AsnOid& value) {
    Set("type_id", &value);
}

const AsnOid* AsnInstanceOf::GetType_id() const {
    const auto& member = require<const AsnOid>(Get("type_id"));
    return member.IsAsnPresent() ? &member : nullptr;
}

void AsnInstanceOf::SetValue(const AsnOctetString& value) {
    auto& member = require<AsnContainer>(Find("value"));
    member.SetData(&value);
    member.SetAsnPresent(true);
}

const AsnOctetString* AsnInstanceOf::GetValue() const {
    const auto& member = require<const AsnContainer>(Get("value"));
    return member.IsAsnPresent() ? dynamic_cast<const AsnOctetString*>(member.GetData()) : nullptr;
}

void AsnInstanceOf::SetupElements() {
    SetupMembers(kMembers, 2);
}
