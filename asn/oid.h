// AsnOid: OBJECT IDENTIFIER, kept as dotted text such as "1.2.840.113549".
#ifndef VT_ASN_OID_H
#define VT_ASN_OID_H

#include "asn/value.h"
#include "foundation/string.h"

class VT_API AsnOid : public AsnObject {
  public:
    AsnOid();
    AsnOid(const char* text);  // as SetData
    VT_ASN_VALUE(AsnOid);

    // The text is stored untested: it is the encoder that parses it. Null empties.
    void SetData(const char* text);
    const MiString& GetData() const { return data; }  // the dotted text, which stays the object's

  protected:
    MiString data;  // the dotted text
};

// ToOstream at level 0.
VT_API std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, AsnOid& oid);

#endif
