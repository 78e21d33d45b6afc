#include "asn/members.h"

#include <memory>
#include <utility>

#include "asn/list_codec.h"
#include "asn/member.h"
#include "asn/object.h"
#include "foundation/exceptions.h"

namespace AsnMembers {

namespace {

void requireIndex(const AsnList* elements, unsigned int index) {
    if (elements == nullptr)
        throw MiInvalidArgumentExp();
    if (index >= elements->Size())
        throw MiOutOfRangeExp();
}

unsigned int requireName(const AsnList* elements, const char* name) {
    if (elements == nullptr || name == nullptr)
        throw MiInvalidArgumentExp();
    const unsigned int index = elements->IndexOf(name);
    if (index == elements->Size())
        throw MiInvalidArgumentExp();
    return index;
}

AsnObject& memberFor(const AsnList* elements, const char* name, const AsnObject* value) {
    if (value == nullptr)
        throw MiInvalidArgumentExp();
    const unsigned int index = requireName(elements, name);
    return *(*elements)[index];
}

// The last that is done with the value, which ends here if it lies inside the member. Its own flag does not count: a
// value fresh from SetDerObject is not itself present anywhere.
void take(AsnObject& member, const AsnObject* value) {
    if (&member != value)
        member.Reset(value);
    member.SetAsnPresent(true);
}

}  // namespace

void RequireNamed(const AsnObject* e) {
    if (e == nullptr || e->GetAsnName().Empty())
        throw MiInvalidArgumentExp();
}

void Add(AsnList*& elements, const AsnObject* e) {
    RequireNamed(e);
    std::unique_ptr<AsnObject> clone(e->Clone());
    if (elements == nullptr)
        elements = new AsnList;
    elements->Append(clone.get());
    (void)clone.release();
}

void Insert(AsnList*& elements, unsigned int index, const AsnObject* e) {
    RequireNamed(e);
    if (index > (elements == nullptr ? 0 : elements->Size()))
        throw MiOutOfRangeExp();
    std::unique_ptr<AsnObject> clone(e->Clone());
    if (elements == nullptr)
        elements = new AsnList;
    elements->Insert(index, clone.get());
    (void)clone.release();
}

void Replace(AsnList* elements, unsigned int index, const AsnObject* e) {
    RequireNamed(e);
    requireIndex(elements, index);
    elements->Replace(index, e->Clone());
}

void Replace(AsnList* elements, const char* name, const AsnObject* e) {
    RequireNamed(e);
    const unsigned int index = requireName(elements, name);
    elements->Replace(index, e->Clone());
}

void Delete(AsnList* elements, unsigned int index) {
    requireIndex(elements, index);
    elements->Delete(index);
}

void Delete(AsnList* elements, const char* name) {
    const unsigned int index = requireName(elements, name);
    elements->Delete(index);
}

AsnObject* Find(const AsnList* elements, unsigned int index) {
    requireIndex(elements, index);
    return (*elements)[index];
}

AsnObject* Find(const AsnList* elements, const char* name) {
    if (elements == nullptr || name == nullptr)
        throw MiInvalidArgumentExp();
    const unsigned int index = elements->IndexOf(name);
    return index == elements->Size() ? nullptr : (*elements)[index];
}

void Set(const AsnList* elements, const char* name, const AsnObject* value) {
    take(memberFor(elements, name, value), value);
}

void SetComplete(const AsnList* elements, const char* name, const AsnObject* value) {
    AsnObject& member = memberFor(elements, name, value);
    member.SetAsnBaseData(value);
    take(member, value);
}

std::unique_ptr<AsnList> Clones(const AsnList* from) {
    return from == nullptr || from->Size() == 0 ? nullptr : std::make_unique<AsnList>(*from);
}

void Copy(AsnList*& to, const AsnList* from) {
    delete std::exchange(to, Clones(from).release());
}

bool EqualContents(const AsnList* a, const AsnList* b) {
    if (a == nullptr || b == nullptr)
        return a == b;
    return AsnListCodec::EqualInOrder(*a, *b);
}

AsnList* Make(const AsnMember* members, unsigned int count) {
    auto made = std::make_unique<AsnList>();
    made->Reserve(count);
    for (const AsnMember* member = members; member != members + count; ++member)
        made->Append(AsnMakeMember(*member));
    return made.release();
}

}  // namespace AsnMembers
