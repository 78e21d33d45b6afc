// AsnOctetString: OCTET STRING, and the stand-in for ANY.
//
// An octet string that took the tag of another value encodes as that value would. Members of type ANY are octet
// strings for that reason: the decoder keeps the tag and the content that it meets, and SetDerObject and GetDerObject
// move typed values in and out.
#ifndef VT_ASN_OCTET_STRING_H
#define VT_ASN_OCTET_STRING_H

#include "asn/value.h"
#include "foundation/byte.h"

class VT_API AsnOctetString : public AsnObject {
  public:
    AsnOctetString();
    VT_ASN_VALUE(AsnOctetString);

    // Copies the bytes.
    void SetData(const MiByte& value);
    // Copies the n bytes at p + offset; null or n = 0 empties.
    void SetData(const char* p, unsigned int offset, unsigned int n);
    const MiByte& GetData() const { return data; }  // the content, which stays the object's

    // Takes name, tag, role, flags and cache of obj, and its encoded content as the value. MiInvalidArgumentExp for
    // null, and what the encoding of obj throws.
    void SetDerObject(const AsnObject* obj);

    // Decodes the value as the content of obj, which may be the very value that this is a member of; no tag is looked
    // at. MiInvalidArgumentExp for null, and what the decoding throws.
    void GetDerObject(AsnObject* obj) const;

  protected:
    MiByte data;  // the content
};

#endif
