// The operations that every concrete value has, declared and defined once.
#ifndef VT_ASN_VALUE_H
#define VT_ASN_VALUE_H

#include <utility>

#include "asn/object.h"

// In the class: copying, equality of the values alone, and the virtual operations of AsnObject in their order. An
// assignment that runs out of memory has changed nothing.
#define VT_ASN_VALUE(T)                                                                                              \
    T(const T& other);                                                                                               \
    T& operator=(const T& other);                                                                                    \
    ~T() override;                                                                                                   \
    bool operator==(const T& other) const {                                                                          \
        return T::EqualsContent(&other);                                                                             \
    }                                                                                                                \
    bool operator!=(const T& other) const {                                                                          \
        return !T::EqualsContent(&other);                                                                            \
    }                                                                                                                \
    void Reset(const AsnObject* other) override;                                                                     \
    bool EqualsContent(const AsnObject* other) const override;                                                       \
    unsigned int Encode(AsnEncode& enc, MiByteBuffer& out, unsigned int offset) const override;                      \
    unsigned int EncodeContent(AsnEncode& enc, MiByteBuffer& out, unsigned int offset) const override;               \
    unsigned int Decode(AsnDecode& dec, const MiByte& in, unsigned int offset) override;                             \
    unsigned int DecodeContent(AsnDecode& dec, const MiByte& in, unsigned int offset, unsigned int length) override; \
    AsnObject* Clone() const override;                                                                               \
    void ToOstream(std::basic_ostream<char>& os, unsigned int level) const override

// In the source of a value that consists of its field `data`: copying, equality and Reset. An assignment makes its
// copies before it changes anything.
#define VT_ASN_DATUM(T)                                   \
    T::T(const T& other) = default;                       \
    T::~T() = default;                                    \
    T& T::operator=(const T& other) {                     \
        if (this == &other)                               \
            return *this;                                 \
        auto copy = other.data;                           \
        SetAsnBaseData(&other);                           \
        std::swap(data, copy);                            \
        return *this;                                     \
    }                                                     \
    void T::Reset(const AsnObject* other) {               \
        if (other == nullptr)                             \
            data = decltype(data)();                      \
        else if (other != this)                           \
            data = static_cast<const T*>(other)->data;    \
    }                                                     \
    bool T::EqualsContent(const AsnObject* other) const { \
        const auto* that = dynamic_cast<const T*>(other); \
        return that != nullptr && data == that->data;     \
    }

// In the source, which includes encode.h, decode.h and ostream.h: what only names the type.
#define VT_ASN_DISPATCH(T)                                                                                      \
    unsigned int T::Encode(AsnEncode& enc, MiByteBuffer& out, unsigned int offset) const {                      \
        return enc.Encode(*this, out, offset);                                                                  \
    }                                                                                                           \
    unsigned int T::EncodeContent(AsnEncode& enc, MiByteBuffer& out, unsigned int offset) const {               \
        return enc.EncodeContent(*this, out, offset);                                                           \
    }                                                                                                           \
    unsigned int T::Decode(AsnDecode& dec, const MiByte& in, unsigned int offset) {                             \
        return dec.Decode(*this, in, offset);                                                                   \
    }                                                                                                           \
    unsigned int T::DecodeContent(AsnDecode& dec, const MiByte& in, unsigned int offset, unsigned int length) { \
        return dec.DecodeContent(*this, in, offset, length);                                                    \
    }                                                                                                           \
    AsnObject* T::Clone() const {                                                                               \
        return new T(*this);                                                                                    \
    }                                                                                                           \
    void T::ToOstream(std::basic_ostream<char>& os, unsigned int level) const {                                 \
        AsnOstream::DoVisit(*this, os, level);                                                                  \
    }

#endif
