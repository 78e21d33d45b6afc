#include "asn/choice.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/members.h"
#include "asn/ostream.h"
#include "foundation/exceptions.h"

namespace {

// The alternatives of a choice, cloned, and the clone of the selected one.
struct Clones {
    Clones(const AsnList* from, const AsnObject* selectedFrom) : elements(AsnMembers::Clones(from)) {
        if (selectedFrom == nullptr)
            return;
        const auto position = std::find(from->begin(), from->end(), selectedFrom) - from->begin();
        selected = (*elements)[static_cast<unsigned int>(position)];
    }

    std::unique_ptr<AsnList> elements;
    AsnObject* selected = nullptr;
};

}  // namespace

AsnChoice::AsnChoice() = default;

AsnChoice::AsnChoice(const AsnChoice& other) : AsnObject(other) {
    copyAlternatives(other);
}

AsnChoice::~AsnChoice() {
    delete elements;
}

AsnChoice& AsnChoice::operator=(const AsnChoice& other) {
    if (this == &other)
        return *this;
    Clones clones(other.elements, other.selected);
    SetAsnBaseData(&other);
    delete std::exchange(elements, clones.elements.release());
    selected = clones.selected;
    return *this;
}

// other may lie inside one of the old alternatives, so those go last.
void AsnChoice::copyAlternatives(const AsnChoice& other) {
    Clones clones(other.elements, other.selected);
    delete std::exchange(elements, clones.elements.release());
    selected = clones.selected;
}

void AsnChoice::Reset(const AsnObject* other) {
    if (other == nullptr) {
        SetupElements();
        selected = nullptr;
    } else if (other != this) {
        copyAlternatives(*static_cast<const AsnChoice*>(other));
    }
}

bool AsnChoice::EqualsContent(const AsnObject* other) const {
    const auto* that = dynamic_cast<const AsnChoice*>(other);
    if (that == nullptr)
        return false;
    return that == this || selected == nullptr || selected->EqualsContent(that->selected);
}

bool AsnChoice::IsAsnChoice() const {
    return true;
}

void AsnChoice::AddElement(const AsnObject* e) {
    AsnMembers::Add(elements, e);
}

void AsnChoice::ReplaceElement(unsigned int index, const AsnObject* e) {
    AsnMembers::RequireNamed(e);
    if (index >= Size())
        return;
    AsnObject* clone = e->Clone();
    deselect(index);
    elements->Replace(index, clone);
}

void AsnChoice::ReplaceElement(const char* name, const AsnObject* e) {
    ReplaceElement(indexOf(name), e);
}

void AsnChoice::DelElement(unsigned int index) {
    if (index >= Size())
        return;
    deselect(index);
    elements->Delete(index);
}

void AsnChoice::DelElement(const char* name) {
    DelElement(indexOf(name));
}

void AsnChoice::ClearAllElements() {
    selected = nullptr;
    if (elements != nullptr)
        elements->Clear();
}

AsnObject* AsnChoice::Find(unsigned int index) {
    if (elements == nullptr)
        return nullptr;
    return AsnMembers::Find(elements, index);
}

AsnObject* AsnChoice::Find(const char* name) {
    const unsigned int index = indexOf(name);
    return index < Size() ? (*elements)[index] : nullptr;
}

const AsnObject* AsnChoice::Get(unsigned int index) const {
    if (selected == nullptr || elements == nullptr)
        return nullptr;
    return AsnMembers::Find(elements, index) == selected ? selected : nullptr;
}

const AsnObject* AsnChoice::Get(const char* /*name*/) const {
    return selected;
}

void AsnChoice::Set(const char* name, const AsnObject* value) {
    AsnObject* alternative = requireAlternative(name);
    if (value != alternative)
        alternative->Reset(value);
    selected = alternative;
}

void AsnChoice::Set(const char* name) {
    selected = requireAlternative(name);
}

void AsnChoice::SetupElements() {
    if (elements == nullptr)
        return;
    for (AsnObject* alternative : *elements)
        alternative->Reset(nullptr);
}

void AsnChoice::SetupMembers(const AsnMember* members, unsigned int count) {
    if (elements != nullptr)
        AsnChoice::SetupElements();
    else
        elements = AsnMembers::Make(members, count);
}

// Size() for an unknown name, and for a null one.
unsigned int AsnChoice::indexOf(const char* name) const {
    return elements == nullptr || name == nullptr ? Size() : elements->IndexOf(name);
}

AsnObject* AsnChoice::requireAlternative(const char* name) const {
    if (name == nullptr)
        throw MiInvalidArgumentExp();
    const unsigned int index = indexOf(name);
    if (index >= Size())
        throw AsnDataExp();
    return (*elements)[index];
}

void AsnChoice::deselect(unsigned int index) {
    if (selected == (*elements)[index])
        selected = nullptr;
}

VT_ASN_DISPATCH(AsnChoice)
