// AsnBoolean: BOOLEAN.
#ifndef VT_ASN_BOOLEAN_H
#define VT_ASN_BOOLEAN_H

#include "asn/value.h"

class VT_API AsnBoolean : public AsnObject {
  public:
    AsnBoolean();
    AsnBoolean(bool value);  // holds that value
    VT_ASN_VALUE(AsnBoolean);

    void SetData(bool value) { data = value; }  // true goes out as FF
    bool GetData() const { return data; }       // any byte but 00 was read as true

  protected:
    bool data = false;  // the value
};

#endif
