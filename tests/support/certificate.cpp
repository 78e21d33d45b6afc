#include "tests/support/certificate.h"

#include <stdexcept>

#include "tests/support/der.h"

namespace support {
namespace {

using der::join;
using der::tlv;

Bytes bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

Bytes attributeType(const std::string& key) {
    if (key == "E")
        return hex("06 09 2A 86 48 86 F7 0D 01 09 01");
    static const struct {
        const char* key;
        std::uint8_t arc;
    } kTypes[] = {{"CN", 3}, {"C", 6}, {"L", 7}, {"O", 10}, {"OU", 11}};
    for (const auto& type : kTypes) {
        if (key == type.key)
            return {0x06, 0x03, 0x55, 0x04, type.arc};
    }
    throw std::invalid_argument("no attribute type for " + key);
}

Bytes component(const std::string& text) {
    const std::size_t equals = text.find('=');
    const std::string key = text.substr(0, equals);
    // A country is a PrintableString and a mail address an IA5String; the others are UTF8String.
    const std::uint8_t kind = key == "C" ? 0x13 : (key == "E" ? 0x16 : 0x0C);
    const Bytes value = tlv(kind, bytesOf(text.substr(equals + 1)));
    return tlv(0x31, tlv(0x30, join({attributeType(key), value})));
}

Bytes publicKeyInfo(const Bytes& publicBlob) {
    const Bytes algorithm = hex("30 0D 06 09 2A 86 48 86 F7 0D 01 01 01 05 00");
    return tlv(0x30, join({algorithm, tlv(0x03, join({{0}, rsaPublicKeyDer(publicBlob)}))}));
}

}  // namespace

Bytes nameDer(const std::string& name) {
    Bytes components;
    for (std::size_t at = 0; at < name.size();) {
        const std::size_t end = std::min(name.find(", ", at), name.size());
        components = join({components, component(name.substr(at, end - at))});
        at = end + 2;
    }
    return tlv(0x30, components);
}

Bytes makeCertificate(const CertificateParts& parts) {
    const Bytes algorithm = hex("30 0D 06 09 2A 86 48 86 F7 0D 01 01 05 05 00");
    const Bytes validity =
        tlv(0x30, join({tlv(0x18, bytesOf(parts.notBefore)), tlv(0x18, bytesOf("20991231235959Z"))}));
    const Bytes tbs =
        tlv(0x30, join({parts.version ? hex("A0 03 02 01 02") : Bytes(), tlv(0x02, parts.serial), algorithm,
                        nameDer(parts.issuer), validity, nameDer(parts.subject), publicKeyInfo(parts.publicBlob)}));
    return tlv(0x30, join({tbs, algorithm, tlv(0x03, join({{0}, Bytes(128, 0x5A)}))}));
}

Bytes certificatesOnly(const std::vector<Bytes>& certificates) {
    Bytes all;
    for (const Bytes& certificate : certificates)
        all = join({all, certificate});
    const Bytes data = tlv(0x30, hex("06 09 2A 86 48 86 F7 0D 01 07 01"));
    const Bytes content = tlv(0x30, join({hex("02 01 01"), hex("31 00"), data, tlv(0xA0, all), hex("31 00")}));
    return tlv(0x30, join({hex("06 09 2A 86 48 86 F7 0D 01 07 02"), tlv(0xA0, content)}));
}

std::string base64(const Bytes& bytes) {
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t left = bytes.size() - i;
        const unsigned group = (static_cast<unsigned>(bytes[i]) << 16) |
                               (left > 1 ? static_cast<unsigned>(bytes[i + 1]) << 8 : 0U) |
                               (left > 2 ? static_cast<unsigned>(bytes[i + 2]) : 0U);
        text += kAlphabet[group >> 18];
        text += kAlphabet[(group >> 12) & 63];
        text += left > 1 ? kAlphabet[(group >> 6) & 63] : '=';
        text += left > 2 ? kAlphabet[group & 63] : '=';
        if (i % 48 == 45)
            text += "\r\n";
    }
    return text;
}

}  // namespace support
