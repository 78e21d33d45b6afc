// AsnDerEncode: values to DER (X.690).
//
//     identifier | length, the shortest definite form | content
//
// The length is put in front of the content once that has been written; there is no pass over the sizes. Where it
// differs from X.690:
//
//   SET             members go out by their tags, exchanged pairwise; equal tags may change places
//   SET OF          shorter items first, those of equal length by their bytes (list_codec.h)
//   DEFAULT         a member is written whenever it is present, whatever it holds
//   identifiers     arcs count modulo 2^32, and neither of the first two is held to its range
//   UTF8String      characters up to 7FFFFFFF, in up to six octets (RFC 2279)
//   CHOICE          has no tag of its own: that of its selection is written, and one of zero for a choice in a choice
//
// Failures. AsnEncodeExp: a mandatory member is absent, a choice has no selection. AsnDataExp: an object identifier
// has no text, no second arc, an empty or a negative arc; a container has no value. MiInvalidArgumentExp: an arc is no
// decimal number, or begins with a zero. out then keeps what was written so far. The values never change.
#ifndef VT_ASN_DER_ENCODE_H
#define VT_ASN_DER_ENCODE_H

#include "asn/encode.h"

class VT_API AsnDerEncode : public AsnEncode {
  public:
    ~AsnDerEncode() override;

    unsigned int Encode(const AsnContainer& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnChoice& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnSet& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnSequence& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnTeletexString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnVisibleString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnPrintableString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnNumericString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnUTF8String& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnUniversalString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnIA5String& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnBMPString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnNull& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnUTCTime& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnGeneralizedTime& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnOid& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnEnumerated& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnBitString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnInteger& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnOctetString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int Encode(const AsnBoolean& value, MiByteBuffer& out, unsigned int offset) override;

    unsigned int EncodeContent(const AsnContainer& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnChoice& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnSet& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnSequence& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnTeletexString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnVisibleString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnPrintableString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnNumericString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnUTF8String& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnUniversalString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnIA5String& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnBMPString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnNull& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnUTCTime& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnGeneralizedTime& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnOid& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnEnumerated& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnBitString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnInteger& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnOctetString& value, MiByteBuffer& out, unsigned int offset) override;
    unsigned int EncodeContent(const AsnBoolean& value, MiByteBuffer& out, unsigned int offset) override;

    unsigned int EncodeTag(const AsnTag& tag, MiByteBuffer& out, unsigned int offset) override;
    MiByte EncodeLength(unsigned int length) override;
};

#endif
