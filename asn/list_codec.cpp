#include "asn/list_codec.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "asn/byte_cache.h"
#include "asn/decode.h"
#include "asn/encode.h"
#include "foundation/byte_buffer.h"
#include "foundation/exceptions.h"

namespace AsnListCodec {

namespace {

// Where the encoding of an item stands in the buffer.
struct Piece {
    unsigned int start;
    unsigned int length;
};

Piece encodeItem(const AsnObject& item, AsnEncode& enc, MiByteBuffer& out) {
    const unsigned int start = out.GetLength();
    return {start, item.Encode(enc, out, start)};
}

// The order of MiByteBuffer.
auto inOrder(const MiByteBuffer& out) {
    return [&out](const Piece& a, const Piece& b) {
        if (a.length != b.length)
            return a.length < b.length;
        return std::memcmp(out.GetChars() + a.start, out.GetChars() + b.start, a.length) < 0;
    };
}

}  // namespace

AsnObject* At(const AsnList& items, unsigned int index) {
    if (index >= items.Size())
        throw MiOutOfRangeExp();
    return items[index];
}

unsigned int Encode(const AsnObject& list, AsnEncode& enc, MiByteBuffer& out, unsigned int offset) {
    if (AsnByteCache::WriteElement(list, out, offset))
        return out.GetLength() - offset;
    // The content leaves one octet free for the length, which most lists need no more than.
    const unsigned int at = offset + enc.EncodeTag(list.GetAsnTag(), out, offset);
    const MiByte length = enc.EncodeLength(list.EncodeContent(enc, out, at + 1));
    out.SetCharAt(at, length[0]);
    out.Insert(at + 1, length.GetChars(), 1, length.GetLength() - 1);
    return out.GetLength() - offset;
}

unsigned int EncodeInOrder(const AsnObject& list, const AsnList& items, AsnEncode& enc, MiByteBuffer& out,
                           unsigned int offset) {
    if (!AsnByteCache::WriteContent(list, out, offset))
        for (const AsnObject* item : items)
            encodeItem(*item, enc, out);
    return out.GetLength() - offset;
}

unsigned int EncodeSorted(const AsnObject& list, const AsnList& items, AsnEncode& enc, MiByteBuffer& out,
                          unsigned int offset) {
    if (items.Size() < 2 || list.GetAsnByteType() == AsnObject::ASN_CONTENT_BYTE)
        return EncodeInOrder(list, items, enc, out, offset);
    out.SetLength(offset);
    std::vector<Piece> pieces;
    pieces.reserve(items.Size());
    for (const AsnObject* item : items)
        pieces.push_back(encodeItem(*item, enc, out));
    if (std::is_sorted(pieces.begin(), pieces.end(), inOrder(out)))
        return out.GetLength() - offset;
    std::stable_sort(pieces.begin(), pieces.end(), inOrder(out));
    const std::vector<char> unsorted(out.GetChars() + offset, out.GetChars() + out.GetLength());
    out.SetLength(offset);
    for (const Piece& piece : pieces)
        out.Append(unsorted.data() + (piece.start - offset), piece.length);
    return out.GetLength() - offset;
}

unsigned int Decode(AsnObject& list, AsnDecode& dec, const MiByte& in, unsigned int offset) {
    list.Reset(nullptr);
    AsnTag tag;  // read and thrown away
    unsigned int length = 0;
    unsigned int header = dec.DecodeTag(tag, in, offset);
    header += dec.DecodeLength(length, in, offset + header);
    const std::uint64_t size = std::uint64_t{header} + length;
    if (AsnByteCache::KeepElement(list, in, offset, size))
        return static_cast<unsigned int>(size);
    return header + list.DecodeContent(dec, in, offset + header, length);
}

unsigned int DecodeContent(AsnObject& list, AsnList& items, AsnObject* (*make)(),
                           AsnObject::ASN_BYTE_TYPE componentByteType, AsnDecode& dec, const MiByte& in,
                           unsigned int offset, unsigned int length) {
    items.Clear();
    if (length == 0)
        return 0;
    if (in.Empty())
        throw MiInvalidArgumentExp();
    if (std::uint64_t{offset} + length > in.GetLength())
        throw MiOutOfRangeExp();
    if (AsnByteCache::KeepContent(list, in, offset, length))
        return length;
    std::uint64_t consumed = 0;
    while (consumed < length) {
        std::unique_ptr<AsnObject> item(make());
        if (componentByteType != AsnObject::ASN_NO_BYTE)
            item->SetAsnByteType(componentByteType);
        consumed += item->Decode(dec, in, offset + static_cast<unsigned int>(consumed));
        items.Append(item.get());
        (void)item.release();  // not before: a list that cannot grow takes nothing over
    }
    if (consumed != length)
        throw AsnDecodeExp();
    return length;
}

}  // namespace AsnListCodec
