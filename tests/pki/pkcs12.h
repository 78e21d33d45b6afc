// What the tests of PKCS#12 share: the elements by hand, and calls that malformed input may end.
#ifndef VT_TESTS_PKI_PKCS12_H
#define VT_TESTS_PKI_PKCS12_H

#include <string_view>

#include "foundation/exceptions.h"
#include "tests/pki/signers.h"
#include "tests/vectors/pfx_files.h"

namespace pkcs12 {

using namespace signers;

inline const Bytes kCertBagOid = support::hex("06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 03");
inline const Bytes kCrlBagOid = support::hex("06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 04");
inline const Bytes kKeyBagOid = support::hex("06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01");
inline const Bytes kShroudedKeyBagOid = support::hex("06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 02");
inline const Bytes kSecretBagOid = support::hex("06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 05");
inline const Bytes kOtherBagOid = support::hex("06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 06");
inline const Bytes kX509Oid = support::hex("06 0A 2A 86 48 86 F7 0D 01 09 16 01");
inline const Bytes kIdOid = support::hex("06 09 2A 86 48 86 F7 0D 01 09 15");
inline const Bytes kNameOid = support::hex("06 09 2A 86 48 86 F7 0D 01 09 14");

inline Bytes octets(const Bytes& data) {
    return der::tlv(0x04, data);
}

// 1.2.840.113549.1.12.1.<type>
inline Bytes pbeOid(int type) {
    return der::join({support::hex("06 0A 2A 86 48 86 F7 0D 01 0C 01"), {static_cast<std::uint8_t>(type)}});
}

inline Bytes pbe(int type, const Bytes& salt, const Bytes& iterations) {
    return der::sequence({pbeOid(type), der::sequence({octets(salt), iterations})});
}

inline Bytes bag(const Bytes& id, const Bytes& value) {
    return der::sequence({id, der::tagged(0, value)});
}

inline Bytes bag(const Bytes& id, const Bytes& value, const Bytes& attributes) {
    return der::sequence({id, der::tagged(0, value), attributes});
}

inline Bytes certBag(const Bytes& certificate) {
    return der::sequence({kX509Oid, der::tagged(0, octets(certificate))});
}

inline Bytes idAttribute(const Bytes& id) {
    return der::sequence({kIdOid, der::set({octets(id)})});
}

// UCS-2 of a text of single bytes.
inline Bytes nameAttribute(std::string_view name) {
    Bytes wide;
    for (const char character : name) {
        wide.push_back(0);
        wide.push_back(static_cast<std::uint8_t>(character));
    }
    return der::sequence({kNameOid, der::set({der::tlv(0x1E, wide)})});
}

inline MiByte text(std::string_view characters) {
    return {characters.data(), static_cast<unsigned int>(characters.size())};
}

inline const MiByte kSecret = text("secret");
inline constexpr int kException = -99999;

// What the call gives; kException for an exception of malformed DER.
template <class Call>
int resultOf(Call call) {
    try {
        return call();
    } catch (const MiException&) {
        return kException;
    }
}

}  // namespace pkcs12

#endif
