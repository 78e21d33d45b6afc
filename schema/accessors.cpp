#include "schema/accessors.h"

#include "asn/choice.h"
#include "asn/container.h"
#include "asn/octet_string.h"
#include "asn/sequence.h"
#include "asn/set.h"
#include "foundation/exceptions.h"

namespace SchemaAccess {

namespace {

template <class Composite>
const AsnObject* present(const Composite& of, const char* name) {
    const AsnObject* member = of.Get(name);
    if (member == nullptr)
        throw AsnDataExp();
    return member->IsAsnPresent() ? member : nullptr;
}

// A replaced schema can have a member of that name and of another type.
template <class Composite>
AsnContainer& container(Composite& of, const char* name) {
    auto* member = dynamic_cast<AsnContainer*>(of.Find(name));
    if (member == nullptr)
        throw AsnDataExp();
    return *member;
}

}  // namespace

const AsnObject* Present(const AsnSequence& of, const char* name) {
    return present(of, name);
}

const AsnObject* Present(const AsnSet& of, const char* name) {
    return present(of, name);
}

const AsnObject* Inner(const AsnSequence& of, const char* name) {
    const AsnObject* member = of.Get(name);
    const auto* around = dynamic_cast<const AsnContainer*>(member);
    if (around == nullptr)
        throw AsnDataExp();
    return around->IsAsnPresent() ? around->GetData() : nullptr;
}

const AsnObject* Inner(const AsnChoice& of, const char* name) {
    const auto* around = dynamic_cast<const AsnContainer*>(of.Get());
    if (around == nullptr || around->GetAsnName() != name)
        return nullptr;
    return around->GetData();
}

void SetInner(AsnSequence& of, const char* name, const AsnObject& value) {
    AsnContainer& around = container(of, name);
    around.SetData(&value);
    around.SetAsnPresent(true);
}

void SetInner(AsnChoice& of, const char* name, const AsnObject& value) {
    container(of, name).SetData(&value);
    of.Set(name);
}

void SetAny(AsnSequence& of, const char* name, const AsnOctetString& value) {
    AsnObject* member = of.Find(name);
    if (member == nullptr)
        throw AsnDataExp();
    member->SetAsnTag(value.GetAsnTag());
    member->Reset(&value);
    member->SetAsnPresent(true);
}

}  // namespace SchemaAccess
