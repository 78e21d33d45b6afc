// INTEGER of any size, and ENUMERATED of 32 bits.
#ifndef VT_ASN_INTEGER_H
#define VT_ASN_INTEGER_H

#include <cstdint>

#include "asn/value.h"
#include "foundation/big_integer.h"

// INTEGER of any size.
class VT_API AsnInteger : public AsnObject {
  public:
    AsnInteger();
    AsnInteger(int value);                  // holds that value
    AsnInteger(const MiBigInteger& value);  // holds that value
    VT_ASN_VALUE(AsnInteger);

    // Copies the value.
    void SetData(int value);
    void SetData(const MiBigInteger& value);
    // The n bytes at p + offset are two's complement, most significant first. Null or n = 0 gives zero.
    void SetData(const char* p, unsigned int offset, unsigned int n);

    // The low 32 bits of the magnitude with the sign applied; wider values are cut without a word.
    int GetInteger() const;
    const MiBigInteger& GetBigInteger() const { return data; }  // all of it; stays the object's

  protected:
    MiBigInteger data;  // the value
};

// ENUMERATED of 32 bits. Wider input is cut to 32 bits as by AsnInteger::GetInteger.
class VT_API AsnEnumerated : public AsnObject {
  public:
    AsnEnumerated();
    AsnEnumerated(int value);  // holds that value
    VT_ASN_VALUE(AsnEnumerated);

    void SetData(int value) { data = value; }  // negative ones too
    int GetData() const { return data; }       // 0 until one is set or read

  protected:
    std::int32_t data = 0;  // the value
};

#endif
