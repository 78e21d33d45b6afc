// What the tests of the codec share: values in and out as hex, members, and lists of what may come of hostile bytes.
#ifndef VT_TESTS_ASN_DER_IO_H
#define VT_TESTS_ASN_DER_IO_H

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <typeinfo>

#include "asn/asn.h"
#include "foundation/foundation.h"
#include "tests/support/hex.h"

namespace der_io {

inline const char* characters(const support::Bytes& bytes) {
    return reinterpret_cast<const char*>(bytes.data());
}

inline MiByte toMiByte(const support::Bytes& bytes) {
    return {characters(bytes), static_cast<unsigned int>(bytes.size())};
}

inline MiByte bytes(std::string_view hexText) {
    return toMiByte(support::hex(hexText));
}

inline std::string toHex(const char* data, unsigned int length) {
    return support::toHex(reinterpret_cast<const std::uint8_t*>(data), length);
}
inline std::string toHex(const MiByte& value) {
    return toHex(value.GetChars(), value.GetLength());
}
inline std::string toHex(const MiByteBuffer& buffer) {
    return toHex(buffer.GetChars(), buffer.GetLength());
}

inline support::Bytes toBytes(const MiByteBuffer& buffer) {
    return {buffer.GetChars(), buffer.GetChars() + buffer.GetLength()};
}

// The dynamic type.
inline const std::type_info& typeOf(const AsnObject& value) {
    return typeid(value);
}

// The element, or its content alone, as hex; the number reported must be what was written.
inline std::string encoded(const AsnObject& value) {
    MiByteBuffer out;
    const unsigned int written = value.DerEncode(out, 0);
    EXPECT_EQ(written, out.GetLength());
    return toHex(out);
}
inline std::string encodedContent(const AsnObject& value) {
    MiByteBuffer out;
    const unsigned int written = value.DerEncodeContent(out, 0);
    EXPECT_EQ(written, out.GetLength());
    return toHex(out);
}
inline support::Bytes encodedBytes(const AsnObject& value) {
    MiByteBuffer out;
    const unsigned int written = value.DerEncode(out, 0);
    EXPECT_EQ(written, out.GetLength());
    return toBytes(out);
}

// Decodes from the first byte and gives the number of bytes consumed.
inline unsigned int decode(AsnObject& value, const support::Bytes& input) {
    return value.DerDecode(toMiByte(input), 0);
}
inline unsigned int decode(AsnObject& value, std::string_view hexText) {
    return value.DerDecode(bytes(hexText), 0);
}
inline unsigned int decodeContent(AsnObject& value, std::string_view hexText) {
    const MiByte input = bytes(hexText);
    return value.DerDecodeContent(input, 0, input.GetLength());
}

// Decodes what may be anything. True if it was accepted, false for one of the exceptions of this library; any other
// exception ends the test.
inline bool decodes(AsnObject& value, const support::Bytes& input) {
    try {
        (void)decode(value, input);
        return true;
    } catch (const MiException&) {
        return false;
    }
}

// A member of that name and role.
template <class T>
T member(const char* name, T value = T(), AsnObject::ASN_STATE state = AsnObject::ASN_MANDATORY) {
    value.SetAsnName(name);
    value.SetAsnState(state);
    return value;
}

// The same under the context tag [number] IMPLICIT.
template <class T>
T implicit(unsigned int number, T value) {
    value.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, number);
    return value;
}

// A container around the value, under [number] EXPLICIT.
inline AsnContainer explicitly(unsigned int number, const char* name, const AsnObject& inner,
                               AsnObject::ASN_STATE state = AsnObject::ASN_MANDATORY) {
    AsnContainer container;
    container.SetAsnName(name);
    container.SetAsnState(state);
    container.SetAsnTag(ASN_CONTEXT, ASN_EXPLICIT, number);
    container.SetData(&inner);
    return container;
}

// A sequence, set or choice of these members.
template <class Composite, class... Members>
Composite composite(const Members&... members) {
    Composite value;
    (value.AddElement(&members), ...);
    return value;
}

template <class Composite>
void setPresent(Composite& value, bool present = true) {
    for (unsigned int i = 0; i < value.Size(); ++i)
        value.Find(i)->SetAsnPresent(present);
}

inline AsnOctetString octets(std::string_view hexText) {
    AsnOctetString value;
    value.SetData(bytes(hexText));
    return value;
}

inline AsnInteger big(std::string_view hexText) {
    const MiByte data = bytes(hexText);
    AsnInteger value;
    value.SetData(data.GetChars(), 0, data.GetLength());
    return value;
}

}  // namespace der_io

#endif
