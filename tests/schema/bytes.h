// Between the bytes of tests/support and values.
#ifndef VT_TESTS_SCHEMA_BYTES_H
#define VT_TESTS_SCHEMA_BYTES_H

#include <typeinfo>

#include "asn/asn.h"
#include "foundation/foundation.h"
#include "tests/support/hex.h"

inline MiByte toMiByte(const support::Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<unsigned int>(bytes.size())};
}

inline support::Bytes encode(const AsnObject& value) {
    MiByteBuffer out;
    const unsigned int length = value.DerEncode(out, 0);
    const char* chars = out.GetChars();
    support::Bytes bytes(chars, chars + length);
    return bytes;
}

// The number of bytes that the value took.
inline unsigned int decode(AsnObject& value, const support::Bytes& bytes) {
    return value.DerDecode(toMiByte(bytes), 0);
}

inline const std::type_info& typeOf(const AsnObject& value) {
    return typeid(value);
}

template <class T>
T decoded(const support::Bytes& bytes) {
    T value;
    decode(value, bytes);
    return value;
}

#endif
