#include "asn/member.h"

#include <memory>

#include "asn/container.h"

AsnObject* AsnMakeMember(const AsnMember& member) {
    std::unique_ptr<AsnObject> made(member.make());
    if (member.tagMode == ASN_EXPLICIT) {
        auto container = std::make_unique<AsnContainer>();
        container->SetDataSpace(made.release());
        made = std::move(container);
    }
    made->SetAsnName(member.name);
    if (member.tagMode != ASN_NOT_TAGGED)
        made->SetAsnTag(member.tagClass, member.tagMode, member.tagNumber);
    if (member.constructed)
        made->SetAsnTagForm(ASN_CONSTRUCTED);
    made->SetAsnState(member.state);
    made->SetAsnAnyType(member.anyType);
    return made.release();
}
