#include "foundation/exceptions.h"
#include "schema/x509.h"

void TBSCertificate::GetSubjectName(AsnSequenceOf<AttributeTypeAndDistinguishedValue>& out) const {
    const Name* subject = GetSubject();
    if (subject == nullptr)
        return;
    const auto* names = subject->GetRdnSequence();
    if (names == nullptr)
        return;
    out.Reset(nullptr);
    for (unsigned int i = 0; i < names->Size(); ++i) {
        const AsnSetOf<AttributeTypeAndDistinguishedValue>& attributes = *names->Get(i);
        for (unsigned int j = 0; j < attributes.Size(); ++j) {
            const AttributeTypeAndDistinguishedValue* attribute = attributes.Get(j);
            if (attribute == nullptr)
                throw MiInvalidArgumentExp();
            out.AddElement(*attribute);
        }
    }
}
