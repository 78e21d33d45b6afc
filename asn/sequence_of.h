// AsnSequenceOf<T>: SEQUENCE OF, any number of values of one type.
//
// T is a concrete value with a default constructor. The library exports the instances that the schema has. A decode
// makes new items, each with its full schema.
#ifndef VT_ASN_SEQUENCE_OF_H
#define VT_ASN_SEQUENCE_OF_H

#include "asn/list_codec.h"
#include "asn/member.h"
#include "asn/ostream.h"

template <class T>
class AsnSequenceOf : public AsnObject {
  public:
    AsnSequenceOf() {
        asnTag.tagForm = ASN_CONSTRUCTED;
        asnTag.tagNumber = 16;
    }
    // Copies clone all items and start without a component mode.
    AsnSequenceOf(const AsnSequenceOf& other) : AsnObject(other), items(other.items) {}
    AsnSequenceOf& operator=(const AsnSequenceOf& other) {
        if (this == &other)
            return *this;
        SetAsnBaseData(&other);
        items = other.items;
        componentByteType = ASN_NO_BYTE;
        return *this;
    }
    ~AsnSequenceOf() override = default;

    bool operator==(const AsnSequenceOf& other) const { return AsnSequenceOf::EqualsContent(&other); }
    bool operator!=(const AsnSequenceOf& other) const { return !AsnSequenceOf::EqualsContent(&other); }

    unsigned int Size() const { return items.Size(); }
    bool Empty() const { return items.Size() == 0; }
    // An item, which the list keeps. MiOutOfRangeExp at or past Size().
    T* Get(unsigned int index) { return static_cast<T*>(AsnListCodec::At(items, index)); }
    const T* Get(unsigned int index) const { return static_cast<const T*>(AsnListCodec::At(items, index)); }
    // Appends a clone.
    void AddElement(const T& item) { items.Append(item.Clone()); }
    void ClearAllElements() { items.Clear(); }

    // The byte mode (object.h) that a decode gives to each item.
    void OnComponentByte() { componentByteType = ASN_WHOLE_BYTE; }
    void OnComponentContentByte() { componentByteType = ASN_CONTENT_BYTE; }
    void OffComponentByte() { componentByteType = ASN_NO_BYTE; }
    void OffComponentContentByte() { componentByteType = ASN_NO_BYTE; }
    ASN_BYTE_TYPE GetComponentByteType() const { return componentByteType; }

    // Deletes all items; those of other, if given, are cloned.
    void Reset(const AsnObject* other) override {
        if (other == nullptr)
            items.Clear();
        else if (other != this)
            items = static_cast<const AsnSequenceOf*>(other)->items;
    }
    bool EqualsContent(const AsnObject* other) const override {
        if (other == this)
            return true;
        const auto* that = dynamic_cast<const AsnSequenceOf*>(other);
        return that != nullptr && AsnListCodec::EqualInOrder(items, that->items);
    }
    unsigned int Encode(AsnEncode& enc, MiByteBuffer& out, unsigned int offset) const override {
        return AsnListCodec::Encode(*this, enc, out, offset);
    }
    unsigned int EncodeContent(AsnEncode& enc, MiByteBuffer& out, unsigned int offset) const override {
        return AsnListCodec::EncodeInOrder(*this, items, enc, out, offset);
    }
    unsigned int Decode(AsnDecode& dec, const MiByte& in, unsigned int offset) override {
        return AsnListCodec::Decode(*this, dec, in, offset);
    }
    unsigned int DecodeContent(AsnDecode& dec, const MiByte& in, unsigned int offset, unsigned int length) override {
        return AsnListCodec::DecodeContent(*this, items, AsnMake<T>, componentByteType, dec, in, offset, length);
    }
    AsnObject* Clone() const override { return new AsnSequenceOf(*this); }
    void ToOstream(std::basic_ostream<char>& os, unsigned int level) const override {
        AsnOstream::DoVisitList(*this, items, "SEQUENCE OF ", os, level);
    }

  protected:
    AsnList items;  // all of them T
    ASN_BYTE_TYPE componentByteType = ASN_NO_BYTE;
};

#endif
