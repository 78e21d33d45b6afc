// Algorithms and keys as their tests hold them: their fields, the engine's shells, and DER in and out.
#ifndef VT_TESTS_TOKEN_VALUES_H
#define VT_TESTS_TOKEN_VALUES_H

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>

#include "crypto/alg_object.h"
#include "crypto/key_object.h"
#include "foundation/byte.h"
#include "foundation/byte_buffer.h"
#include "schema/pkcs.h"
#include "schema/x509.h"
#include "tests/support/hex.h"
#include "token/alg.h"
#include "token/key.h"

namespace values {

using support::Bytes;
using support::hex;

struct AlgFields {
    std::int32_t algType;
    std::int32_t effectiveBits;
    unsigned char* iv;
    std::uint32_t ivLength;
};

struct KeyFields {
    std::int32_t keyType;
    std::uint8_t isTokenKey;
    char* label;
    unsigned char* sessionKey;
    std::uint32_t sessionKeyLength;
    std::int32_t sessionKeyUse;
    VT_PKCS11_BYTES publicModulus;
    VT_PKCS11_BYTES publicExponent;
    VT_PKCS11_BYTES privateNumbers[8];
};

template <class Fields, class Object>
Fields read(const Object& object) {
    static_assert(sizeof(Fields) == sizeof(Object));
    Fields fields;
    std::memcpy(&fields, reinterpret_cast<const unsigned char*>(&object), sizeof fields);
    return fields;
}
inline AlgFields fieldsOf(const VT_P11_Alg& alg) {
    return read<AlgFields>(alg);
}
inline KeyFields fieldsOf(const VT_P11_Key& key) {
    return read<KeyFields>(key);
}

inline Bytes bytesOf(const void* data, std::size_t length) {
    const auto* first = static_cast<const std::uint8_t*>(data);
    return {first, first + length};
}
inline Bytes bytesOf(const VT_PKCS11_BYTES& bytes) {
    return bytesOf(bytes.data, bytes.length);
}
inline Bytes bytesOf(const MiByte& bytes) {
    return bytesOf(bytes.GetChars(), bytes.GetLength());
}
inline Bytes ivOf(const VT_P11_Alg& alg) {
    return bytesOf(fieldsOf(alg).iv, fieldsOf(alg).ivLength);
}

inline MiByte miByte(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<unsigned int>(bytes.size())};
}

// A pair over the bytes, which must outlive it.
inline VT_PKCS11_BYTES over(const Bytes& bytes) {
    return {const_cast<unsigned char*>(bytes.data()), static_cast<std::uint32_t>(bytes.size())};
}

inline int typeOf(const VT_P11_Alg& alg) {
    int type = 77;
    EXPECT_EQ(alg.getAlgType(type), 0);
    return type;
}
inline int typeOf(const VT_P11_Key& key) {
    int type = 77;
    EXPECT_EQ(key.getKeyType(type), 0);
    return type;
}

template <class Value>
Value decoded(const Bytes& der) {
    Value value;
    value.DerDecode(miByte(der), 0);
    return value;
}
template <class Value>
Value decoded(std::string_view hexText) {
    return decoded<Value>(hex(hexText));
}

inline Bytes encoded(const AsnObject& value) {
    MiByteBuffer out;
    value.DerEncode(out, 0);
    return bytesOf(out.GetChars(), out.GetLength());
}

// An identifier without parameters.
inline AlgorithmIdentifier identified(const char* oid) {
    AlgorithmIdentifier identifier;
    identifier.SetAlgorithm(AsnOid(oid));
    return identifier;
}

inline std::string oidOf(const AlgorithmIdentifier& identifier) {
    const AsnOid* oid = identifier.GetAlgorithm();
    return oid == nullptr || oid->GetData().Empty() ? "" : oid->GetData().GetChars();
}

// A shell of the engine on its way through GetVCKAIObj or GetVCKKIObj.
template <class Object, Object* (*shell)(), void (*release)(Object**)>
class EngineObject {
  public:
    EngineObject() : object(reinterpret_cast<unsigned char*>(shell())) {}
    EngineObject(const EngineObject&) = delete;
    EngineObject& operator=(const EngineObject&) = delete;
    ~EngineObject() {
        Object* typed = get();
        release(&typed);
    }
    Object* get() const { return reinterpret_cast<Object*>(object); }
    Object* operator->() const { return get(); }

    unsigned char* object;
};

using AlgObject = EngineObject<ALG_OBJ, AlgShell, AlgFree>;
using KeyObject = EngineObject<KEY_OBJ, KeyShell, KeyFree>;

inline bool isShell(const AlgObject& object) {
    return object.object != nullptr && object->allocator == nullptr && object->mechanism == nullptr &&
           object->context == nullptr;
}
inline bool isShell(const KeyObject& object) {
    return object.object != nullptr && object->allocator == nullptr && object->attributes == nullptr &&
           object->data == nullptr;
}

}  // namespace values

#endif
