// AsnNull: NULL. Any two are equal.
#ifndef VT_ASN_NULL_H
#define VT_ASN_NULL_H

#include "asn/value.h"

class VT_API AsnNull : public AsnObject {
  public:
    AsnNull();
    VT_ASN_VALUE(AsnNull);
};

#endif
