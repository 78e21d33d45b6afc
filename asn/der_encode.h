// AsnDerEncode: values to DER (X.690).
//
// The length of an element is put in front of its content once that has been written; there is no pass over the sizes.
// Failures: AsnEncodeExp for a mandatory member that is absent and for a choice without a selection; AsnDataExp for an
// object identifier without text, without a second arc, with an empty or a negative arc, and for a container without a
// value. out then keeps what was written so far. The values never change.
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
