// What the tests of signed messages share: values and keys of the vectors, and elements by hand.
#ifndef VT_TESTS_PKI_SIGNERS_H
#define VT_TESTS_PKI_SIGNERS_H

#include <string>
#include <vector>

#include "asn/asn.h"
#include "foundation/foundation.h"
#include "schema/schema.h"
#include "tests/support/der.h"
#include "tests/support/hex.h"
#include "tests/token/soft_op.h"
#include "tests/vectors/signed_messages.h"
#include "token/token.h"

namespace signers {

using support::Bytes;
using Software = support::SoftOp;

inline MiByte bytes(const Bytes& data) {
    return {reinterpret_cast<const char*>(data.data()), static_cast<unsigned int>(data.size())};
}

inline MiByte bytes(const char* hex) {
    return bytes(support::hex(hex));
}

inline Bytes vectorOf(const MiByte& data) {
    const auto* const first = reinterpret_cast<const std::uint8_t*>(data.GetChars());
    return data.Empty() ? Bytes() : Bytes(first, first + data.GetLength());
}

inline std::string hexOf(const MiByte& data) {
    return support::toHex(vectorOf(data));
}

inline std::string hexOf(const char* hex) {
    return support::toHex(support::hex(hex));
}

inline std::string hexOf(const AsnObject& value) {
    MiByteBuffer der;
    value.DerEncode(der, 0);
    return hexOf(der.GetByte());
}

template <class T>
T decoded(const Bytes& der) {
    T value;
    value.DerDecode(bytes(der), 0);
    return value;
}

template <class T>
T decoded(const char* hex) {
    return decoded<T>(support::hex(hex));
}

inline VT_P11_Key privateKey(const vectors::SignersKey& key) {
    return support::rsaPrivateKey(key.items);
}

// ---- Elements by hand

inline const Bytes kSha1Oid = support::hex("06 05 2B 0E 03 02 1A");
inline const Bytes kMd5Oid = support::hex("06 08 2A 86 48 86 F7 0D 02 05");
inline const Bytes kRsaOid = support::hex("06 09 2A 86 48 86 F7 0D 01 01 01");
inline const Bytes kDataOid = support::hex("06 09 2A 86 48 86 F7 0D 01 07 01");
inline const Bytes kSignedOid = support::hex("06 09 2A 86 48 86 F7 0D 01 07 02");
inline const Bytes kNull = support::hex("05 00");

inline Bytes algorithm(const Bytes& oid) {
    return der::sequence({oid, kNull});
}

inline Bytes dataContent(const Bytes& data) {
    return der::sequence({kDataOid, der::tagged(0, der::tlv(0x04, data))});
}

// The elements inside a constructed element, whole.
inline std::vector<Bytes> elementsOf(const Bytes& element) {
    std::vector<Bytes> found;
    const auto contentAt = [&](std::size_t at, std::size_t& size) {
        std::size_t next = at + 2;
        size = element[at + 1];
        if (size >= 0x80) {
            const std::size_t octets = size & 0x7F;
            for (size = 0; next < at + 2 + octets; ++next)
                size = size << 8 | element[next];
        }
        return next;
    };
    std::size_t size = 0;
    for (std::size_t at = contentAt(0, size); at < element.size();) {
        const std::size_t end = contentAt(at, size) + size;
        found.emplace_back(element.begin() + static_cast<std::ptrdiff_t>(at),
                           element.begin() + static_cast<std::ptrdiff_t>(end));
        at = end;
    }
    return found;
}

// The SignedData of a message, and one of its signers.
inline Bytes signedDataOf(const char* message) {
    return elementsOf(elementsOf(support::hex(message)).at(1)).at(0);
}

inline Bytes signerOf(const char* message, std::size_t index = 0) {
    return elementsOf(elementsOf(signedDataOf(message)).back()).at(index);
}

// Issuer and serial number of a certificate of version 3.
inline Bytes issuerAndSerial(const char* certificate) {
    const std::vector<Bytes> body = elementsOf(elementsOf(support::hex(certificate)).at(0));
    return der::sequence({body.at(3), body.at(1)});
}

}  // namespace signers

#endif
