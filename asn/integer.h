// AsnInteger and AsnEnumerated: INTEGER of any size, ENUMERATED of 32 bits.
#ifndef VT_ASN_INTEGER_H
#define VT_ASN_INTEGER_H

#include <cstdint>

#include "asn/value.h"
#include "foundation/big_integer.h"

class VT_API AsnInteger : public AsnObject {
  public:
    AsnInteger();
    AsnInteger(int value);
    AsnInteger(const MiBigInteger& value);
    VT_ASN_VALUE(AsnInteger);

    void SetData(int value);
    void SetData(const MiBigInteger& value);
    // The n bytes at p + offset are two's complement, most significant first. Null or n = 0 gives zero.
    void SetData(const char* p, unsigned int offset, unsigned int n);

    // The low 32 bits of the magnitude with the sign applied; wider values are cut without a word.
    int GetInteger() const;
    const MiBigInteger& GetBigInteger() const { return data; }

  protected:
    MiBigInteger data;
};

// Wider input is cut to 32 bits as by AsnInteger::GetInteger.
class VT_API AsnEnumerated : public AsnObject {
  public:
    AsnEnumerated();
    AsnEnumerated(int value);
    VT_ASN_VALUE(AsnEnumerated);

    void SetData(int value) { data = value; }
    int GetData() const { return data; }

  protected:
    std::int32_t data = 0;
};

#endif
