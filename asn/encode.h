// AsnEncode: the visitor that writes values. AsnDerEncode is the one that there is.
//
// Every Encode and EncodeContent obeys one contract: out is first cut back to length offset, or filled with zeros up to
// it; the element, or its content alone, is written there; the result is the number of bytes between offset and the new
// end of out. So a call replaces whatever stood at and behind offset. The lists AsnSetOf and AsnSequenceOf have no
// overload: they write themselves by EncodeTag and EncodeLength.
#ifndef VT_ASN_ENCODE_H
#define VT_ASN_ENCODE_H

#include "foundation/byte.h"
#include "foundation/export.h"
#include "foundation/object.h"

class AsnBMPString;
class AsnBitString;
class AsnBoolean;
class AsnChoice;
class AsnContainer;
class AsnEnumerated;
class AsnGeneralizedTime;
class AsnIA5String;
class AsnInteger;
class AsnNull;
class AsnNumericString;
class AsnOctetString;
class AsnOid;
class AsnPrintableString;
class AsnSequence;
class AsnSet;
class AsnTeletexString;
class AsnUTCTime;
class AsnUTF8String;
class AsnUniversalString;
class AsnVisibleString;
class MiByteBuffer;
struct AsnTag;

class VT_API AsnEncode : public MiObject {
  public:
    AsnEncode() = default;
    AsnEncode(const AsnEncode& other) = default;
    ~AsnEncode() override = default;
    AsnEncode& operator=(const AsnEncode& other) = default;

    // Encode writes the whole element of a value. The order of the overloads, here and below, is that of the virtual
    // table, and part of the interface.
    virtual unsigned int Encode(const AsnContainer& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnChoice& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnSet& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnSequence& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnTeletexString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnVisibleString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnPrintableString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnNumericString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnUTF8String& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnUniversalString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnIA5String& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnBMPString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnNull& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnUTCTime& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnGeneralizedTime& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnOid& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnEnumerated& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnBitString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnInteger& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnOctetString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int Encode(const AsnBoolean& value, MiByteBuffer& out, unsigned int offset) = 0;

    // EncodeContent writes the content octets alone.
    virtual unsigned int EncodeContent(const AsnContainer& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnChoice& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnSet& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnSequence& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnTeletexString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnVisibleString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnPrintableString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnNumericString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnUTF8String& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnUniversalString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnIA5String& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnBMPString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnNull& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnUTCTime& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnGeneralizedTime& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnOid& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnEnumerated& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnBitString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnInteger& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnOctetString& value, MiByteBuffer& out, unsigned int offset) = 0;
    virtual unsigned int EncodeContent(const AsnBoolean& value, MiByteBuffer& out, unsigned int offset) = 0;

    // The identifier octets of tag, at offset.
    virtual unsigned int EncodeTag(const AsnTag& tag, MiByteBuffer& out, unsigned int offset) = 0;

    // The length octets of length.
    virtual MiByte EncodeLength(unsigned int length) = 0;
};

#endif
