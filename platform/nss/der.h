// A strict reader of DER, and a writer that is enough for names and public keys (ITU-T X.690).
#ifndef VT_PLATFORM_NSS_DER_H
#define VT_PLATFORM_NSS_DER_H

#include <cstddef>
#include <string>

#include "platform/nss/output.h"

namespace platform::nss {

// Tags of the elements that certificates, names and keys are made of.
inline constexpr BYTE kDerBoolean = 0x01;
inline constexpr BYTE kDerInteger = 0x02;
inline constexpr BYTE kDerBitString = 0x03;
inline constexpr BYTE kDerOctetString = 0x04;
inline constexpr BYTE kDerNull = 0x05;
inline constexpr BYTE kDerObjectIdentifier = 0x06;
inline constexpr BYTE kDerUtf8String = 0x0C;
inline constexpr BYTE kDerPrintableString = 0x13;
inline constexpr BYTE kDerUtcTime = 0x17;
inline constexpr BYTE kDerGeneralizedTime = 0x18;
inline constexpr BYTE kDerSequence = 0x30;
inline constexpr BYTE kDerSet = 0x31;

// Bytes within an encoding; they belong to whoever holds the encoding.
struct Span {
    const BYTE* data;
    std::size_t size;
};

inline Span spanOf(const Bytes& bytes) {
    return {bytes.data(), bytes.size()};
}

inline Span spanOf(const CRYPTOAPI_BLOB& blob) {
    return {blob.pbData, blob.cbData};
}

// areEqual: whether two spans hold the same bytes.
bool areEqual(Span a, Span b);

// withoutLeadingZeros gives a number that stands most significant byte first in its shortest form; empty for zero.
Bytes withoutLeadingZeros(Span number);

// One element: its tag, its content, and all of it with the header.
struct Element {
    BYTE tag;
    Span content;
    Span whole;
};

// DerReader takes elements one after another. It accepts tags of one byte and definite lengths in their shortest form;
// a read that fails leaves the place alone.
class DerReader {
  public:
    explicit DerReader(Span bytes) : at_(bytes.data), end_(bytes.data + bytes.size) {}

    bool atEnd() const { return at_ == end_; }

    // read takes the next element, whatever its tag.
    bool read(Element& element);
    // expect takes the next element if it has that tag.
    bool expect(BYTE tag, Element& element);
    // isNext: whether the next byte is that tag.
    bool isNext(BYTE tag) const { return at_ != end_ && *at_ == tag; }

  private:
    bool readLength(const BYTE*& at, std::size_t& length) const;

    const BYTE* at_;
    const BYTE* end_;
};

// objectIdText gives "2.5.4.3" for the content of an OBJECT IDENTIFIER; empty for a malformed one. The first byte alone
// makes the first two arcs, as the platform reads it.
std::string objectIdText(Span content);

// objectIdDer gives the content of an OBJECT IDENTIFIER for "2.5.4.3"; empty for what is none, or has an arc above
// 2^32 - 1.
Bytes objectIdDer(const std::string& text);

// derElement gives the element of that tag and content.
Bytes derElement(BYTE tag, const Bytes& content);

// append adds bytes at the end.
inline void append(Bytes& to, const Bytes& bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

}  // namespace platform::nss

#endif
