// AsnBoolean: BOOLEAN.
#ifndef VT_ASN_BOOLEAN_H
#define VT_ASN_BOOLEAN_H

#include "asn/value.h"

class VT_API AsnBoolean : public AsnObject {
  public:
    AsnBoolean();
    AsnBoolean(bool value);
    VT_ASN_VALUE(AsnBoolean);

    void SetData(bool value) { data = value; }
    bool GetData() const { return data; }

  protected:
    bool data = false;
};

#endif
