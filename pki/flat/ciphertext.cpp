#include "pki/flat/ciphertext.h"

#include <array>
#include <cstring>

#include "asn/asn.h"
#include "foundation/byte_buffer.h"
#include "schema/schema.h"

namespace flat {

namespace {

// Where the ciphertext goes:
//
//     ContentInfo              contentType, and last
//       [0]                    alone in it
//         EnvelopedData        version, recipients, and last
//           EncryptedContentInfo   contentType, algorithm, and last [0] IMPLICIT OCTET STRING
//
// So it stands at the end of four elements, each the last in the one before, whose lengths grow.
constexpr std::size_t kLayers = 4;
constexpr std::uint8_t kCiphertextTag = 0x80;
constexpr std::uint64_t kLargest = 0x7FFFFFFF;

struct Element {
    std::size_t at;
    std::size_t content;
    std::size_t end;
};

// An element of DER made here, so of a sound one.
Element elementAt(const std::uint8_t* der, std::size_t at) {
    const std::uint8_t first = der[at + 1];
    std::size_t content = at + 2;
    std::size_t length = first;
    if (first >= 0x80) {
        length = 0;
        for (int octets = first & 0x7F; octets > 0; --octets)
            length = length << 8 | der[content++];
    }
    return {at, content, content + length};
}

Element lastIn(const std::uint8_t* der, const Element& around) {
    Element element = elementAt(der, around.content);
    while (element.end < around.end)
        element = elementAt(der, element.end);
    return element;
}

std::size_t lengthOctets(std::uint64_t length) {
    std::size_t octets = 1;
    for (std::uint64_t rest = length; length >= 0x80 && rest != 0; rest >>= 8)
        ++octets;
    return octets;
}

std::uint8_t* putHeader(std::uint8_t* out, std::uint8_t tag, std::uint64_t length) {
    *out++ = tag;
    const std::size_t octets = lengthOctets(length);
    if (octets > 1)
        *out++ = static_cast<std::uint8_t>(0x80 | (octets - 1));
    for (std::size_t left = octets > 1 ? octets - 1 : 1; left > 0; --left)
        *out++ = static_cast<std::uint8_t>(length >> 8 * (left - 1));
    return out;
}

std::uint8_t* putBytes(std::uint8_t* out, const void* bytes, std::size_t length) {
    if (length != 0)
        std::memcpy(out, bytes, length);
    return out + length;
}

}  // namespace

int32_t giveWithCiphertext(const ContentInfo& message, const MiByte& ciphertext, PKCS_Blob& blob) {
    MiByteBuffer encoded;
    message.DerEncode(encoded, 0);
    const auto* const der = reinterpret_cast<const std::uint8_t*>(encoded.GetChars());
    std::array<Element, kLayers> layers;
    layers[0] = elementAt(der, 0);
    for (std::size_t i = 1; i < kLayers; ++i)
        layers[i] = lastIn(der, layers[i - 1]);

    // From the inside out: what each layer holds once the ciphertext is in.
    std::array<std::uint64_t, kLayers> lengths;
    std::uint64_t inner = 1 + lengthOctets(ciphertext.GetLength()) + std::uint64_t{ciphertext.GetLength()};
    for (std::size_t i = kLayers; i-- > 0;) {
        const std::size_t before = (i + 1 < kLayers ? layers[i + 1].at : layers[i].end) - layers[i].content;
        lengths[i] = before + inner;
        inner = 1 + lengthOctets(lengths[i]) + lengths[i];
    }
    if (inner > kLargest)
        return VT_E_MEMORY;
    auto* const data = static_cast<std::uint8_t*>(T_malloc(static_cast<std::size_t>(inner)));
    if (data == nullptr)
        return VT_E_MEMORY;

    std::uint8_t* out = data;
    for (std::size_t i = 0; i < kLayers; ++i) {
        const std::size_t next = i + 1 < kLayers ? layers[i + 1].at : layers[i].end;
        out = putHeader(out, der[layers[i].at], lengths[i]);
        out = putBytes(out, der + layers[i].content, next - layers[i].content);
    }
    out = putHeader(out, kCiphertextTag, ciphertext.GetLength());
    putBytes(out, ciphertext.GetChars(), ciphertext.GetLength());
    blob = {data, static_cast<uint32_t>(inner)};
    return 0;
}

}  // namespace flat
