// What AsnSetOf<T> and AsnSequenceOf<T> do with their items without knowing T, so that their forty instances stay thin.
#ifndef VT_ASN_LIST_CODEC_H
#define VT_ASN_LIST_CODEC_H

#include "asn/list.h"
#include "asn/object.h"

namespace AsnListCodec {

// An item by its position. MiOutOfRangeExp at or past the end.
VT_API AsnObject* At(const AsnList& items, unsigned int index);

// Tag, own EncodeContent, length: the element as AsnEncode's contract has it.
VT_API unsigned int Encode(const AsnObject& list, AsnEncode& enc, MiByteBuffer& out, unsigned int offset);

// The items' encodings in list order.
VT_API unsigned int EncodeInOrder(const AsnObject& list, const AsnList& items, AsnEncode& enc, MiByteBuffer& out,
                                  unsigned int offset);

// The items' encodings, shorter ones first, those of equal length as unsigned bytes. X.690 compares padded bytes
// instead; signatures were made over this order. The items stay in their order.
VT_API unsigned int EncodeSorted(const AsnObject& list, const AsnList& items, AsnEncode& enc, MiByteBuffer& out,
                                 unsigned int offset);

// The element at offset by the list's own DecodeContent. The list keeps its own tag, whatever the input has.
VT_API unsigned int Decode(AsnObject& list, AsnDecode& dec, const MiByte& in, unsigned int offset);

// As many new items as the content holds. AsnDecodeExp where the last does not end with it.
VT_API unsigned int DecodeContent(AsnObject& list, AsnList& items, AsnObject* (*make)(),
                                  AsnObject::ASN_BYTE_TYPE componentByteType, AsnDecode& dec, const MiByte& in,
                                  unsigned int offset, unsigned int length);

// Pairwise.
VT_API bool EqualInOrder(const AsnList& a, const AsnList& b);

// As many items, and the first equals in b of the items of a all different. So the order does not matter, and lists
// with repeated items are not even equal to their copies.
VT_API bool EqualInAnyOrder(const AsnList& a, const AsnList& b);

}  // namespace AsnListCodec

#endif
