// What the tests of digested, encrypted and enveloped messages and of requests share.
#ifndef VT_TESTS_PKI_ENVELOPES_H
#define VT_TESTS_PKI_ENVELOPES_H

#include <array>
#include <cstring>
#include <string>

#include "pki/pki.h"
#include "schema/schema.h"
#include "tests/schema/bytes.h"
#include "tests/support/der.h"
#include "tests/support/hex.h"
#include "tests/token/soft_op.h"
#include "tests/vectors/enveloped_messages.h"
#include "token/token.h"

namespace envelopes {

using support::Bytes;
using support::hex;
using support::toHex;
using Software = support::SoftOp;

inline Bytes bytesOf(const MiByte& data) {
    return {data.GetChars(), data.GetChars() + data.GetLength()};
}

inline std::string hexOf(const char* text) {
    return toHex(hex(text));
}

inline std::string hexOf(const MiByte& data) {
    return toHex(bytesOf(data));
}

inline std::string hexOf(const AsnObject& value) {
    return toHex(encode(value));
}

// ---- Keys and algorithms

using KeyItems = const char* const[8];

inline VT_P11_Key privateKey(const KeyItems& items) {
    return support::rsaPrivateKey(items);
}

inline RSAPublicKey publicNumbers(const KeyItems& items) {
    const auto number = [](const char* digits) {
        const Bytes bytes = der::join({{0}, hex(digits)});
        AsnInteger value;
        value.SetData(reinterpret_cast<const char*>(bytes.data()), 0, static_cast<unsigned int>(bytes.size()));
        return value;
    };
    RSAPublicKey numbers;
    numbers.SetPkModulus(number(items[0]));
    numbers.SetPublicExponent(number(items[1]));
    return numbers;
}

inline VT_P11_Key publicKey(const KeyItems& items) {
    VT_P11_Key key;
    key.setRSAPublicKey(publicNumbers(items));
    return key;
}

inline VT_P11_Alg algorithmOf(int type, const Bytes& iv = {}, int bits = 0) {
    VT_P11_Alg alg;
    alg.setAlgType(type);
    if (!iv.empty())
        alg.setIV(toMiByte(iv));
    alg.setEffectiveBits(bits);
    return alg;
}

inline AlgorithmIdentifier identifierOf(const VT_P11_Alg& alg) {
    AlgorithmIdentifier identifier;
    alg.getAlgorithmIdentifier(identifier);
    return identifier;
}

inline VT_P11_Key secretKey(const Bytes& bytes, const AlgorithmIdentifier& identifier) {
    VT_P11_Key key;
    key.setSessionKey(toMiByte(bytes), static_cast<int>(bytes.size()), identifier);
    return key;
}

const Bytes kIv = {0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7};
const Bytes kDes3Key = hex("10 21 32 43 54 65 76 87 98 A9 BA CB DC ED FE 0F 1E 2D 3C 4B 5A 69 78 07");

inline VT_P11_Alg des3() {
    return algorithmOf(token::kDes3Cbc, kIv);
}

inline VT_P11_Key des3Key() {
    return secretKey(kDes3Key, identifierOf(des3()));
}

// ---- Elements by hand

const Bytes kNull = {0x05, 0x00};
const Bytes kSha1Algorithm = der::sequence({der::oid({1, 3, 14, 3, 2, 26}), kNull});
const Bytes kRsaAlgorithm = der::sequence({der::oid({1, 2, 840, 113549, 1, 1, 1}), kNull});
const Bytes kDes3Algorithm = der::sequence({der::oid({1, 2, 840, 113549, 3, 7}), der::tlv(0x04, kIv)});

inline Bytes pkcs7(std::uint64_t type) {
    return der::oid({1, 2, 840, 113549, 1, 7, type});
}

inline Bytes contentOf(std::uint64_t type, const Bytes& content) {
    return der::sequence({pkcs7(type), der::tagged(0, content)});
}

inline Bytes dataOf(const Bytes& data) {
    return contentOf(1, der::tlv(0x04, data));
}

inline ContentInfo dataContent(const Bytes& bytes) {
    return decoded<ContentInfo>(dataOf(bytes));
}

inline ContentInfo textContent() {
    return dataContent(hex(vectors::kText));
}

inline ContentInfo message(const char* text) {
    return decoded<ContentInfo>(hex(text));
}

// A ContentInfo with a type and no content, and one without a type.
inline ContentInfo typeAlone() {
    return decoded<ContentInfo>(der::sequence({pkcs7(1)}));
}

inline ContentInfo contentAlone() {
    ContentInfo content = textContent();
    content.Find("contentType")->SetAsnPresent(false);
    return content;
}

inline IssuerAndSerialNumber issuerAndSerial(const char* certificateHex) {
    VT_Certificate certificate;
    certificate.setCertificate(toMiByte(hex(certificateHex)));
    IssuerAndSerialNumber value;
    certificate.getIssuerAndSerialNumber(value);
    return value;
}

// ---- Layout

// The pointers of an object that has nothing else from the offset on: which of them are set.
template <std::size_t Count, class Class>
std::string setPointers(const Class& object, std::size_t offset = 0) {
    static_assert(sizeof(Class) >= Count * sizeof(void*), "so many pointers");
    std::array<const void*, Count> pointers;
    std::memcpy(pointers.data(), reinterpret_cast<const char*>(&object) + offset, sizeof pointers);
    std::string set;
    for (const void* pointer : pointers)
        set += pointer == nullptr ? '-' : 'x';
    return set;
}

}  // namespace envelopes

#endif
