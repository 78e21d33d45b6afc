// AsnDerDecode: DER (X.690), as certificates from the field have it, into values.
//
// The schema is the tree of values itself. The reader is forgiving in some places and strict in others, and has to stay
// so, since what has been issued goes through it:
//
//   tags        one that an element has is taken over by the value, and compared only where it selects: for optional
//               members, in a SET and in a CHOICE; class and number count, the form does not
//   lengths     up to four octets of any form; 80 is a length of zero, as there is no indefinite form
//   SEQUENCE    an empty one fits any schema; what is left behind the last member is neither an error nor skipped
//   SET         any order; a missing member is not noticed, of a repeated one the last counts; unknown ones fail
//   BOOLEAN     any byte but zero is true; the first one counts and is all that is reported as consumed
//   integers    in any form; an ENUMERATED is cut to 32 bits
//   identifiers arcs modulo 2^32; an unfinished last arc is dropped
//   UTF8String  a character is stored when the next lead byte or the end shows it complete, so that ASCII behind it
//               comes before it; overlong forms are taken
//   EXPLICIT    the inner element must fill the outer one
//
// Only lists grow with the input, and the depth is that of the schema. No byte outside the input is read, whatever its
// lengths say.
//
// Failures:
//
//     MiInvalidArgumentExp   empty input, or no content where a type needs some
//     MiOutOfRangeExp        an offset behind the input, content that runs past it, more unused bits than there are,
//                            an element whose size has no room in a result
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
