// AsnInstanceOf: INSTANCE OF (X.681), a type identifier and a value of that type, under the tag of EXTERNAL.
#ifndef VT_ASN_INSTANCE_OF_H
#define VT_ASN_INSTANCE_OF_H

#include "asn/octet_string.h"
#include "asn/oid.h"
#include "asn/sequence.h"

class VT_API AsnInstanceOf : public AsnSequence {
  public:
    AsnInstanceOf();
    AsnInstanceOf(const AsnInstanceOf& other);
    AsnInstanceOf& operator=(const AsnInstanceOf& other);
    ~AsnInstanceOf() override;
    AsnObject* Clone() const override;
    void ToOstream(std::basic_ostream<char>& os, unsigned int level) const override;

    // The members "type_id" and, in an explicit [0], "value". The getters give null for an absent member. AsnDataExp,
    // for SetType_id MiInvalidArgumentExp, if another schema has replaced the members.
    void SetType_id(const AsnOid& value);
    const AsnOid* GetType_id() const;
    void SetValue(const AsnOctetString& value);
    const AsnOctetString* GetValue() const;

  protected:
    void SetupElements() override;
};

#endif
