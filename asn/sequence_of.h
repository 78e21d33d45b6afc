// AsnSequenceOf<T>: SEQUENCE OF, any number of values of one type.
//
// T is a concrete value with a default constructor. The library exports the instances that the schema has. A decode
// makes new items, each with its full schema.
#ifndef VT_ASN_SEQUENCE_OF_H
#define VT_ASN_SEQUENCE_OF_H

#include <memory>

#include "asn/list_codec.h"
#include "asn/member.h"
#include "asn/ostream.h"

template <class T>
class AsnSequenceOf : public AsnObject {
  public:
    AsnSequenceOf();
    // Copies clone all items and start without a component mode.
    AsnSequenceOf(const AsnSequenceOf& other);
    AsnSequenceOf& operator=(const AsnSequenceOf& other);
    ~AsnSequenceOf() override;

    // As EqualsContent.
    bool operator==(const AsnSequenceOf& other) const;
    bool operator!=(const AsnSequenceOf& other) const;

    unsigned int Size() const;  // how many items there are
    bool Empty() const;         // whether there are none
    // An item, which the list keeps. MiOutOfRangeExp at or past Size().
    T* Get(unsigned int index);
    const T* Get(unsigned int index) const;
    // Appends a clone.
    void AddElement(const T& item);
    void ClearAllElements();  // deletes all items

    // The byte mode (object.h) that a decode gives to each item.
    void OnComponentByte();
    void OnComponentContentByte();
    void OffComponentByte();
    void OffComponentContentByte();
    ASN_BYTE_TYPE GetComponentByteType() const;

    // Deletes all items; those of other, if given, are cloned.
    void Reset(const AsnObject* other) override;
    bool EqualsContent(const AsnObject* other) const override;
    unsigned int Encode(AsnEncode& enc, MiByteBuffer& out, unsigned int offset) const override;
    unsigned int EncodeContent(AsnEncode& enc, MiByteBuffer& out, unsigned int offset) const override;
    unsigned int Decode(AsnDecode& dec, const MiByte& in, unsigned int offset) override;
    unsigned int DecodeContent(AsnDecode& dec, const MiByte& in, unsigned int offset, unsigned int length) override;
    AsnObject* Clone() const override;
    void ToOstream(std::basic_ostream<char>& os, unsigned int level) const override;

  protected:
    AsnList items;                                  // all of them T
    ASN_BYTE_TYPE componentByteType = ASN_NO_BYTE;  // what a decode sets in each item
};

// Outside the class, since what is inline would not be exported.

template <class T>
AsnSequenceOf<T>::AsnSequenceOf() {
    asnTag.tagForm = ASN_CONSTRUCTED;
    asnTag.tagNumber = 16;
}

template <class T>
AsnSequenceOf<T>::AsnSequenceOf(const AsnSequenceOf& other) : AsnObject(other), items(other.items) {}

template <class T>
AsnSequenceOf<T>& AsnSequenceOf<T>::operator=(const AsnSequenceOf& other) {
    if (this == &other)
        return *this;
    AsnList clones = other.items;
    SetAsnBaseData(&other);
    items.Swap(clones);
    componentByteType = ASN_NO_BYTE;
    return *this;
}

template <class T>
AsnSequenceOf<T>::~AsnSequenceOf() = default;

template <class T>
bool AsnSequenceOf<T>::operator==(const AsnSequenceOf& other) const {
    return AsnSequenceOf::EqualsContent(&other);
}

template <class T>
bool AsnSequenceOf<T>::operator!=(const AsnSequenceOf& other) const {
    return !AsnSequenceOf::EqualsContent(&other);
}

template <class T>
unsigned int AsnSequenceOf<T>::Size() const {
    return items.Size();
}

template <class T>
bool AsnSequenceOf<T>::Empty() const {
    return items.Size() == 0;
}

template <class T>
T* AsnSequenceOf<T>::Get(unsigned int index) {
    return static_cast<T*>(AsnListCodec::At(items, index));
}

template <class T>
const T* AsnSequenceOf<T>::Get(unsigned int index) const {
    return static_cast<const T*>(AsnListCodec::At(items, index));
}

template <class T>
void AsnSequenceOf<T>::AddElement(const T& item) {
    std::unique_ptr<AsnObject> clone(item.Clone());
    items.Append(clone.get());
    (void)clone.release();  // not before: a list that cannot grow takes nothing over
}

template <class T>
void AsnSequenceOf<T>::ClearAllElements() {
    items.Clear();
}

template <class T>
void AsnSequenceOf<T>::OnComponentByte() {
    componentByteType = ASN_WHOLE_BYTE;
}

template <class T>
void AsnSequenceOf<T>::OnComponentContentByte() {
    componentByteType = ASN_CONTENT_BYTE;
}

template <class T>
void AsnSequenceOf<T>::OffComponentByte() {
    componentByteType = ASN_NO_BYTE;
}

template <class T>
void AsnSequenceOf<T>::OffComponentContentByte() {
    componentByteType = ASN_NO_BYTE;
}

template <class T>
AsnObject::ASN_BYTE_TYPE AsnSequenceOf<T>::GetComponentByteType() const {
    return componentByteType;
}

template <class T>
void AsnSequenceOf<T>::Reset(const AsnObject* other) {
    if (other == nullptr)
        items.Clear();
    else if (other != this)
        items = static_cast<const AsnSequenceOf*>(other)->items;
}

template <class T>
bool AsnSequenceOf<T>::EqualsContent(const AsnObject* other) const {
    if (other == this)
        return true;
    const auto* that = dynamic_cast<const AsnSequenceOf*>(other);
    return that != nullptr && AsnListCodec::EqualInOrder(items, that->items);
}

template <class T>
unsigned int AsnSequenceOf<T>::Encode(AsnEncode& enc, MiByteBuffer& out, unsigned int offset) const {
    return AsnListCodec::Encode(*this, enc, out, offset);
}

template <class T>
unsigned int AsnSequenceOf<T>::EncodeContent(AsnEncode& enc, MiByteBuffer& out, unsigned int offset) const {
    return AsnListCodec::EncodeInOrder(*this, items, enc, out, offset);
}

template <class T>
unsigned int AsnSequenceOf<T>::Decode(AsnDecode& dec, const MiByte& in, unsigned int offset) {
    return AsnListCodec::Decode(*this, dec, in, offset);
}

template <class T>
unsigned int AsnSequenceOf<T>::DecodeContent(AsnDecode& dec, const MiByte& in, unsigned int offset,
                                             unsigned int length) {
    return AsnListCodec::DecodeContent(*this, items, AsnMake<T>, componentByteType, dec, in, offset, length);
}

template <class T>
AsnObject* AsnSequenceOf<T>::Clone() const {
    return new AsnSequenceOf(*this);
}

template <class T>
void AsnSequenceOf<T>::ToOstream(std::basic_ostream<char>& os, unsigned int level) const {
    AsnOstream::DoVisitList(*this, items, "SEQUENCE OF ", os, level);
}

#endif
