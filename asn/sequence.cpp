#include "asn/sequence.h"

#include <memory>
#include <utility>

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/members.h"
#include "asn/ostream.h"

AsnSequence::AsnSequence() {
    asnTag.tagForm = ASN_CONSTRUCTED;
    asnTag.tagNumber = 16;
}

AsnSequence::AsnSequence(const AsnSequence& other) : AsnObject(other) {
    AsnMembers::Copy(elements, other.elements);
}

AsnSequence::~AsnSequence() {
    delete elements;
}

AsnSequence& AsnSequence::operator=(const AsnSequence& other) {
    if (this == &other)
        return *this;
    auto clones = AsnMembers::Clones(other.elements);
    SetAsnBaseData(&other);
    delete std::exchange(elements, clones.release());
    componentByteType = ASN_NO_BYTE;
    return *this;
}

void AsnSequence::Reset(const AsnObject* other) {
    if (other == nullptr)
        SetupElements();
    else if (other != this)
        AsnMembers::Copy(elements, static_cast<const AsnSequence*>(other)->elements);
}

bool AsnSequence::EqualsContent(const AsnObject* other) const {
    if (other == this)
        return true;
    const auto* that = dynamic_cast<const AsnSequence*>(other);
    return that != nullptr && AsnMembers::EqualContents(elements, that->elements);
}

void AsnSequence::AddElement(const AsnObject* e) {
    AsnMembers::Add(elements, e);
}

void AsnSequence::InsertElement(unsigned int index, const AsnObject* e) {
    AsnMembers::Insert(elements, index, e);
}

void AsnSequence::ReplaceElement(unsigned int index, const AsnObject* e) {
    AsnMembers::Replace(elements, index, e);
}

void AsnSequence::ReplaceElement(const char* name, const AsnObject* e) {
    AsnMembers::Replace(elements, name, e);
}

void AsnSequence::DelElement(unsigned int index) {
    AsnMembers::Delete(elements, index);
}

void AsnSequence::DelElement(const char* name) {
    AsnMembers::Delete(elements, name);
}

void AsnSequence::ClearAllElements() {
    if (elements != nullptr)
        elements->Clear();
}

AsnObject* AsnSequence::Find(unsigned int index) {
    return AsnMembers::Find(elements, index);
}

AsnObject* AsnSequence::Find(const char* name) {
    return AsnMembers::Find(elements, name);
}

const AsnObject* AsnSequence::Get(unsigned int index) const {
    return AsnMembers::Find(elements, index);
}

const AsnObject* AsnSequence::Get(const char* name) const {
    return AsnMembers::Find(elements, name);
}

void AsnSequence::Set(const char* name, const AsnObject* value) {
    AsnMembers::Set(elements, name, value);
}

void AsnSequence::AddCompleteData(const char* name, const AsnObject* value) {
    AsnMembers::SetComplete(elements, name, value);
}

void AsnSequence::SetupElements() {
    if (elements == nullptr)
        return;
    for (AsnObject* member : *elements) {
        member->Reset(nullptr);
        member->SetAsnPresent(false);
    }
}

void AsnSequence::SetupMembers(const AsnMember* members, unsigned int count) {
    if (elements != nullptr)
        AsnSequence::SetupElements();
    else
        elements = AsnMembers::Make(members, count);
}

VT_ASN_DISPATCH(AsnSequence)
