// AsnBitString: BIT STRING.
#ifndef VT_ASN_BIT_STRING_H
#define VT_ASN_BIT_STRING_H

#include "asn/value.h"
#include "foundation/bit_set.h"

class VT_API AsnBitString : public AsnObject {
  public:
    AsnBitString();
    AsnBitString(const MiBitSet& value);  // holds that value
    VT_ASN_VALUE(AsnBitString);

    // Copies the value.
    void SetData(const MiBitSet& value);
    // bits counts bits; the bytes from p + offset on hold them, bit 0 at the top of the first, and are kept as they
    // are. Null or bits = 0 empties.
    void SetData(const char* p, unsigned int offset, unsigned int bits);
    const MiBitSet& GetData() const { return data; }  // the value, which stays the object's

  protected:
    MiBitSet data;  // the value
};

#endif
