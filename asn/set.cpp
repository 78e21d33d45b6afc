#include "asn/set.h"

#include <memory>
#include <utility>

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/members.h"
#include "asn/ostream.h"

AsnSet::AsnSet() {
    asnTag.tagForm = ASN_CONSTRUCTED;
    asnTag.tagNumber = 17;
}

AsnSet::AsnSet(const AsnSet& other) : AsnObject(other) {
    AsnMembers::Copy(elements, other.elements);
}

AsnSet::~AsnSet() {
    delete elements;
}

AsnSet& AsnSet::operator=(const AsnSet& other) {
    if (this == &other)
        return *this;
    auto clones = AsnMembers::Clones(other.elements);
    SetAsnBaseData(&other);
    delete std::exchange(elements, clones.release());
    componentByteType = ASN_NO_BYTE;
    return *this;
}

void AsnSet::Reset(const AsnObject* other) {
    if (other == nullptr)
        SetupElements();
    else if (other != this)
        AsnMembers::Copy(elements, static_cast<const AsnSet*>(other)->elements);
}

bool AsnSet::EqualsContent(const AsnObject* other) const {
    if (other == this)
        return true;
    const auto* that = dynamic_cast<const AsnSet*>(other);
    return that != nullptr && AsnMembers::EqualContents(elements, that->elements);
}

void AsnSet::AddElement(const AsnObject* e) {
    AsnMembers::Add(elements, e);
}

void AsnSet::InsertElement(unsigned int index, const AsnObject* e) {
    AsnMembers::Insert(elements, index, e);
}

void AsnSet::ReplaceElement(unsigned int index, const AsnObject* e) {
    AsnMembers::Replace(elements, index, e);
}

void AsnSet::ReplaceElement(const char* name, const AsnObject* e) {
    AsnMembers::Replace(elements, name, e);
}

void AsnSet::DelElement(unsigned int index) {
    AsnMembers::Delete(elements, index);
}

void AsnSet::DelElement(const char* name) {
    AsnMembers::Delete(elements, name);
}

void AsnSet::ClearAllElements() {
    if (elements != nullptr)
        elements->Clear();
}

AsnObject* AsnSet::Find(unsigned int index) {
    return AsnMembers::Find(elements, index);
}

AsnObject* AsnSet::Find(const char* name) {
    return AsnMembers::Find(elements, name);
}

const AsnObject* AsnSet::Get(unsigned int index) const {
    return AsnMembers::Find(elements, index);
}

const AsnObject* AsnSet::Get(const char* name) const {
    return AsnMembers::Find(elements, name);
}

void AsnSet::Set(const char* name, const AsnObject* value) {
    AsnMembers::Set(elements, name, value);
}

void AsnSet::SetupElements() {
    if (elements == nullptr)
        return;
    for (AsnObject* member : *elements) {
        member->Reset(nullptr);
        member->SetAsnPresent(false);
    }
}

void AsnSet::SetupMembers(const AsnMember* members, unsigned int count) {
    if (elements != nullptr)
        AsnSet::SetupElements();
    else
        elements = AsnMembers::Make(members, count);
}

VT_ASN_DISPATCH(AsnSet)
