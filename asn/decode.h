// AsnDecode: the visitor that fills values from bytes. AsnDerDecode is the one that there is.
//
// Decode reads the element at offset, DecodeContent the length content octets at offset; the result is the number of
// bytes consumed. The value is reset first, and is left partly filled by a failure. The lists AsnSetOf and
// AsnSequenceOf have no overload: they read themselves by DecodeTag and DecodeLength.
#ifndef VT_ASN_DECODE_H
#define VT_ASN_DECODE_H

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
struct AsnTag;

class VT_API AsnDecode : public MiObject {
  public:
    AsnDecode() = default;
    AsnDecode(const AsnDecode& other) = default;
    ~AsnDecode() override = default;
    AsnDecode& operator=(const AsnDecode& other) = default;

    // Decode reads a whole element into a value. The order of the overloads, here and below, is that of the virtual
    // table, and part of the interface.
    virtual unsigned int Decode(AsnContainer& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnChoice& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnSet& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnSequence& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnTeletexString& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnVisibleString& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnPrintableString& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnNumericString& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnUTF8String& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnUniversalString& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnIA5String& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnBMPString& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnNull& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnUTCTime& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnGeneralizedTime& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnOid& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnEnumerated& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnBitString& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnInteger& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnOctetString& value, const MiByte& in, unsigned int offset) = 0;
    virtual unsigned int Decode(AsnBoolean& value, const MiByte& in, unsigned int offset) = 0;

    // DecodeContent reads content octets alone, which are length bytes.
    virtual unsigned int DecodeContent(AsnContainer& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnChoice& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnSet& value, const MiByte& in, unsigned int offset, unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnSequence& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnTeletexString& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnVisibleString& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnPrintableString& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnNumericString& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnUTF8String& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnUniversalString& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnIA5String& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnBMPString& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnNull& value, const MiByte& in, unsigned int offset, unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnUTCTime& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnGeneralizedTime& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnOid& value, const MiByte& in, unsigned int offset, unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnEnumerated& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnBitString& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnInteger& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnOctetString& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;
    virtual unsigned int DecodeContent(AsnBoolean& value, const MiByte& in, unsigned int offset,
                                       unsigned int length) = 0;

    // Class, form and number of the tag at offset; the mode is left alone.
    virtual unsigned int DecodeTag(AsnTag& tag, const MiByte& in, unsigned int offset) = 0;

    // The length at offset.
    virtual unsigned int DecodeLength(unsigned int& length, const MiByte& in, unsigned int offset) = 0;
};

#endif
