#include "asn/container.h"

#include <memory>

#include "asn/decode.h"
#include "asn/encode.h"
#include "asn/ostream.h"
#include "foundation/exceptions.h"

namespace {

AsnObject* cloneOf(const AsnObject* value) {
    return value == nullptr ? nullptr : value->Clone();
}

}  // namespace

AsnContainer::AsnContainer() = default;

AsnContainer::AsnContainer(const AsnContainer& other) : AsnObject(other), data(cloneOf(other.data)) {}

AsnContainer::~AsnContainer() {
    delete data;
}

AsnContainer& AsnContainer::operator=(const AsnContainer& other) {
    if (this == &other)
        return *this;
    std::unique_ptr<AsnObject> clone(cloneOf(other.data));
    SetAsnBaseData(&other);
    replace(clone.release());
    return *this;
}

// The clone is made before this, since the source may lie inside the old value.
void AsnContainer::replace(AsnObject* owned) {
    delete data;
    data = owned;
}

void AsnContainer::Reset(const AsnObject* other) {
    if (other != nullptr && other != this)
        replace(cloneOf(static_cast<const AsnContainer*>(other)->data));
    if (other == nullptr && data != nullptr)
        data->Reset(nullptr);
}

bool AsnContainer::EqualsContent(const AsnObject* other) const {
    const auto* that = dynamic_cast<const AsnContainer*>(other);
    if (that == nullptr)
        return false;
    if (data == nullptr || that->data == nullptr)
        return data == that->data;
    return data->EqualsContent(that->data);
}

void AsnContainer::SetData(const AsnObject* value) {
    if (value == nullptr)
        throw MiInvalidArgumentExp();
    replace(value->Clone());
}

void AsnContainer::SetDataSpace(AsnObject* value) {
    if (value == nullptr)
        throw MiInvalidArgumentExp();
    if (value != data)
        replace(value);
}

VT_ASN_DISPATCH(AsnContainer)
