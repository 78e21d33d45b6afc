// AsnIA5String and AsnTeletexString: strings of any bytes, kept as MiByte.
#ifndef VT_ASN_BYTE_STRINGS_H
#define VT_ASN_BYTE_STRINGS_H

#include "asn/value.h"
#include "foundation/byte.h"
#include "foundation/string.h"

// IA5String: seven bits a character by its standard, any byte here.
class VT_API AsnIA5String : public AsnObject {
  public:
    AsnIA5String();
    VT_ASN_VALUE(AsnIA5String);

    // All store what they get; null or length 0 empties.
    void SetData(const MiByte& value);
    void SetData(const char* p, unsigned int offset, unsigned int n);
    void SetVisibleString(const char* text);

    const MiByte& GetByte() const { return data; }  // the bytes, which stay the object's
    // As many characters as bytes: those from 0x20 to 0x7E in their places, blanks for all others.
    MiString GetVisibleString() const;

    // Always true: files from the field hold every byte here.
    static bool TestData(const char* p, unsigned int offset, unsigned int n);

  protected:
    MiByte data;  // the bytes as on the wire
};

// TeletexString, also called T61String: any byte, in whatever character set the writer meant.
class VT_API AsnTeletexString : public AsnObject {
  public:
    AsnTeletexString();
    VT_ASN_VALUE(AsnTeletexString);

    // As in AsnIA5String.
    void SetData(const MiByte& value);
    void SetData(const char* p, unsigned int offset, unsigned int n);
    void SetVisibleString(const char* text);

    const MiByte& GetData() const { return data; }  // the bytes, which stay the object's
    MiString GetVisibleString() const;              // as in AsnIA5String

    // As in AsnIA5String.
    static bool TestData(const char* p, unsigned int offset, unsigned int n);

  protected:
    MiByte data;  // the bytes as on the wire
};

#endif
