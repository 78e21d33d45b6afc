// AsnDerDecode: DER (X.690), as certificates from the field have it, into values.
//
// Failures:
//
//     MiInvalidArgumentExp   empty input, or no content where a type needs some
//     MiOutOfRangeExp        an offset behind the input, or content that runs past it
//     MiRangeExp             a tag of more than six bytes, a length of more than four, or one that ends the input
//     AsnDecodeExp           input that does not fit the schema, a character outside its alphabet, a malformed time
//     AsnDataExp             a container without a value to read into
#ifndef VT_ASN_DER_DECODE_H
#define VT_ASN_DER_DECODE_H

#include "asn/decode.h"

class VT_API AsnDerDecode : public AsnDecode {
  public:
    ~AsnDerDecode() override;

    unsigned int Decode(AsnContainer& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnChoice& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnSet& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnSequence& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnTeletexString& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnVisibleString& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnPrintableString& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnNumericString& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnUTF8String& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnUniversalString& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnIA5String& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnBMPString& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnNull& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnUTCTime& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnGeneralizedTime& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnOid& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnEnumerated& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnBitString& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnInteger& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnOctetString& value, const MiByte& in, unsigned int offset) override;
    unsigned int Decode(AsnBoolean& value, const MiByte& in, unsigned int offset) override;

    unsigned int DecodeContent(AsnContainer& value, const MiByte& in, unsigned int offset,
                               unsigned int length) override;
    unsigned int DecodeContent(AsnChoice& value, const MiByte& in, unsigned int offset, unsigned int length) override;
    unsigned int DecodeContent(AsnSet& value, const MiByte& in, unsigned int offset, unsigned int length) override;
    unsigned int DecodeContent(AsnSequence& value, const MiByte& in, unsigned int offset, unsigned int length) override;
    unsigned int DecodeContent(AsnTeletexString& value, const MiByte& in, unsigned int offset,
                               unsigned int length) override;
    unsigned int DecodeContent(AsnVisibleString& value, const MiByte& in, unsigned int offset,
                               unsigned int length) override;
    unsigned int DecodeContent(AsnPrintableString& value, const MiByte& in, unsigned int offset,
                               unsigned int length) override;
    unsigned int DecodeContent(AsnNumericString& value, const MiByte& in, unsigned int offset,
                               unsigned int length) override;
    unsigned int DecodeContent(AsnUTF8String& value, const MiByte& in, unsigned int offset,
                               unsigned int length) override;
    unsigned int DecodeContent(AsnUniversalString& value, const MiByte& in, unsigned int offset,
                               unsigned int length) override;
    unsigned int DecodeContent(AsnIA5String& value, const MiByte& in, unsigned int offset,
                               unsigned int length) override;
    unsigned int DecodeContent(AsnBMPString& value, const MiByte& in, unsigned int offset,
                               unsigned int length) override;
    unsigned int DecodeContent(AsnNull& value, const MiByte& in, unsigned int offset, unsigned int length) override;
    unsigned int DecodeContent(AsnUTCTime& value, const MiByte& in, unsigned int offset, unsigned int length) override;
    unsigned int DecodeContent(AsnGeneralizedTime& value, const MiByte& in, unsigned int offset,
                               unsigned int length) override;
    unsigned int DecodeContent(AsnOid& value, const MiByte& in, unsigned int offset, unsigned int length) override;
    unsigned int DecodeContent(AsnEnumerated& value, const MiByte& in, unsigned int offset,
                               unsigned int length) override;
    unsigned int DecodeContent(AsnBitString& value, const MiByte& in, unsigned int offset,
                               unsigned int length) override;
    unsigned int DecodeContent(AsnInteger& value, const MiByte& in, unsigned int offset, unsigned int length) override;
    unsigned int DecodeContent(AsnOctetString& value, const MiByte& in, unsigned int offset,
                               unsigned int length) override;
    unsigned int DecodeContent(AsnBoolean& value, const MiByte& in, unsigned int offset, unsigned int length) override;

    unsigned int DecodeTag(AsnTag& tag, const MiByte& in, unsigned int offset) override;
    unsigned int DecodeLength(unsigned int& length, const MiByte& in, unsigned int offset) override;
};

#endif
