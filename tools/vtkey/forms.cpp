#include "tools/vtkey/forms.h"

#include <algorithm>
#include <iterator>

#include "asn/bit_string.h"
#include "asn/integer.h"
#include "asn/octet_string.h"
#include "asn/oid.h"
#include "foundation/byte_buffer.h"
#include "pki/safe_contents.h"
#include "schema/pkcs.h"
#include "schema/schema.h"
#include "tools/common/arguments.h"
#include "tools/common/bytes.h"
#include "tools/common/input.h"
#include "tools/common/output.h"
#include "tools/common/session.h"
#include "tools/common/types.h"

namespace vtkey {

namespace {

using tools::Block;
using tools::bytesOf;
using tools::InputError;
using tools::kRsaEncryption;
using tools::quoted;
using tools::RsaNumbers;
using tools::textOf;
using tools::UsageError;

MiBigInteger positive(const std::string& magnitude) {
    return {char{1}, bytesOf(magnitude)};
}

// ---- Microsoft blobs (wincrypt.h: PUBLICKEYSTRUC, RSAPUBKEY, and the numbers). All is little-endian. The flat
// functions read private blobs of 2048 bits alone, and write two sizes; here it is any size.

constexpr std::size_t kHeader = 20;
constexpr char kPublicBlob = 6;
constexpr char kPrivateBlob = 7;

// A number of a private blob behind the modulus, in their order, and how many times it goes into the modulus' length.
struct Place {
    MiBigInteger RsaNumbers::*number;
    std::size_t part;
    const char* name;
};
constexpr Place kPlaces[] = {
    {&RsaNumbers::prime1, 2, "prime1"},           {&RsaNumbers::prime2, 2, "prime2"},
    {&RsaNumbers::exponent1, 2, "exponent1"},     {&RsaNumbers::exponent2, 2, "exponent2"},
    {&RsaNumbers::coefficient, 2, "coefficient"}, {&RsaNumbers::privateExponent, 1, "privateExponent"},
};

bool isBlob(const std::string& bytes) {
    return bytes.size() > kHeader && (bytes[0] == kPublicBlob || bytes[0] == kPrivateBlob) && bytes[1] == 2 &&
           (bytes.compare(8, 4, "RSA1") == 0 || bytes.compare(8, 4, "RSA2") == 0);
}

std::size_t word(const std::string& bytes, std::size_t at) {
    std::size_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

std::string wordOf(std::size_t value) {
    std::string bytes;
    for (unsigned int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(value >> shift & 0xFF);
    return bytes;
}

class BlobReader {
  public:
    BlobReader(const std::string& from, std::size_t start) : bytes(from), at(start) {}

    MiBigInteger next(std::size_t length) {
        if (length > bytes.size() - at)
            throw InputError("the blob is cut short: it has " + std::to_string(bytes.size()) + " bytes");
        std::string number = bytes.substr(at, length);
        std::reverse(number.begin(), number.end());
        at += length;
        return positive(number);
    }

  private:
    const std::string& bytes;
    std::size_t at;
};

Key fromBlob(const std::string& blob) {
    const std::size_t bits = word(blob, 12);
    if (bits == 0 || bits % 16 != 0)
        throw InputError("a blob of " + std::to_string(bits) + " bits");
    Key key;
    key.isPrivate = blob[0] == kPrivateBlob;
    key.form = key.isPrivate ? "ms-private" : "ms-public";
    key.numbers.publicExponent = BlobReader(blob, 16).next(4);
    BlobReader reader(blob, kHeader);
    key.numbers.modulus = reader.next(bits / 8);
    for (const Place& place : kPlaces)
        if (key.isPrivate)
            key.numbers.*place.number = reader.next(bits / 8 / place.part);
    return key;
}

std::string slot(const MiBigInteger& number, std::size_t length, const std::string& name) {
    std::string bytes = tools::magnitude(number);
    if (bytes.size() > length)
        throw InputError(name + " has " + std::to_string(bytes.size()) + " bytes, and its place in a blob " +
                         std::to_string(length));
    std::reverse(bytes.begin(), bytes.end());
    bytes.resize(length);
    return bytes;
}

std::string toBlob(const RsaNumbers& numbers, bool isPrivate) {
    const std::size_t length = tools::magnitude(numbers.modulus).size();
    if (length == 0 || length % 2 != 0)
        throw InputError("the modulus has " + std::to_string(length) + " bytes, and a blob takes an even number");
    std::string blob{isPrivate ? kPrivateBlob : kPublicBlob, 2, 0, 0};
    blob += wordOf(0xA400);  // CALG_RSA_KEYX
    blob += isPrivate ? "RSA2" : "RSA1";
    blob += wordOf(length * 8) + slot(numbers.publicExponent, 4, "the public exponent");
    blob += slot(numbers.modulus, length, "the modulus");
    for (const Place& place : kPlaces)
        if (isPrivate)
            blob += slot(numbers.*place.number, length / place.part, place.name);
    return blob;
}

// ---- DER

Key publicKey(const MiBigInteger& modulus, const MiBigInteger& exponent, const char* form) {
    Key key;
    key.numbers.modulus = modulus;
    key.numbers.publicExponent = exponent;
    key.form = form;
    return key;
}

Key fromPublicKey(const RSAPublicKey& key, const char* form) {
    const AsnInteger* modulus = key.GetPkModulus();
    const AsnInteger* exponent = key.GetPublicExponent();
    if (modulus == nullptr || exponent == nullptr)
        throw InputError("the public key lacks a number");
    if (modulus->GetBigInteger().GetSign() <= 0 || exponent->GetBigInteger().GetSign() <= 0)
        throw InputError("the public key has a number that is not positive");
    return publicKey(modulus->GetBigInteger(), exponent->GetBigInteger(), form);
}

Key fromInfo(const SubjectPublicKeyInfo& info) {
    if (info.GetAlgorithm() == nullptr || info.GetAlgorithm()->GetAlgorithm() == nullptr ||
        info.GetSubjectPublicKey() == nullptr)
        throw InputError("the public key is not whole");
    if (info.GetAlgorithm()->GetAlgorithm()->GetData() != kRsaEncryption)
        throw InputError("the key is no RSA key, and no other is supported");
    const tools::Value value = tools::decodeAs("RSAPublicKey", textOf(info.GetSubjectPublicKey()->GetData().GetByte()));
    return fromPublicKey(dynamic_cast<const RSAPublicKey&>(*value.object), "spki");
}

Key fromValue(const tools::Value& value, const Block& block) {
    if (const auto* certificate = dynamic_cast<const Certificate*>(value.object.get())) {
        const TBSCertificate* signedPart = certificate->GetTBSCertificate();
        if (signedPart == nullptr || signedPart->GetSubjectPublicKeyInfo() == nullptr)
            throw InputError("the certificate has no key");
        return fromInfo(*signedPart->GetSubjectPublicKeyInfo());
    }
    if (const auto* info = dynamic_cast<const SubjectPublicKeyInfo*>(value.object.get()))
        return fromInfo(*info);
    if (const auto* key = dynamic_cast<const RSAPublicKey*>(value.object.get()))
        return fromPublicKey(*key, "pkcs1-public");
    return {tools::privateNumbers({block}), true, value.type == "RSAPrivateKey" ? "pkcs1" : "pkcs8"};
}

bool maybeKey(const Block& block) {
    return block.label.empty() || block.label.find("KEY") != std::string::npos || block.label == "CERTIFICATE";
}

std::string derOf(const AsnObject& value) {
    MiByteBuffer der;
    value.DerEncode(der, 0);
    return textOf(der.GetByte());
}

std::string pkcs1(const RsaNumbers& numbers) {
    tools::Output der;
    tools::require(VT_PKCS1PriKeyEncode(tools::PrivateKey(numbers).record(), der));
    return der.bytes();
}

std::string pkcs8(const RsaNumbers& numbers) {
    const std::string inner = pkcs1(numbers);
    MiByte der;
    tools::require(VT_SafeContents::P8EncodePrivateKeyInfo(bytesOf(inner), der));
    return textOf(der);
}

std::string pkcs1Public(const RsaNumbers& numbers) {
    const std::string modulus = tools::magnitude(numbers.modulus);
    const std::string exponent = tools::magnitude(numbers.publicExponent);
    const PKCS_PubKey key{tools::lend(modulus), tools::lend(exponent)};
    tools::Output der;
    tools::require(VT_PKCS1PubKeyEncode(&key, der));
    return der.bytes();
}

std::string spki(const RsaNumbers& numbers) {
    constexpr char kNull[] = {5, 0};
    AsnOctetString parameters;
    parameters.DerDecode(MiByte(kNull, sizeof kNull), 0);
    AlgorithmIdentifier algorithm;
    algorithm.SetAlgorithm(AsnOid(kRsaEncryption));
    algorithm.SetParameters(parameters);
    const std::string inner = pkcs1Public(numbers);
    AsnBitString key;
    key.SetData(inner.data(), 0, static_cast<unsigned int>(inner.size() * 8));
    SubjectPublicKeyInfo info;
    info.SetAlgorithm(algorithm);
    info.SetSubjectPublicKey(key);
    return derOf(info);
}

std::string privateBlob(const RsaNumbers& numbers) {
    return toBlob(numbers, true);
}

std::string publicBlob(const RsaNumbers& numbers) {
    return toBlob(numbers, false);
}

struct Form {
    const char* name;
    const char* label;  // of PEM; null for a blob
    bool isPrivate;
    std::string (*write)(const RsaNumbers&);
};
constexpr Form kAll[] = {
    {"pkcs1", "RSA PRIVATE KEY", true, pkcs1},  {"pkcs8", "PRIVATE KEY", true, pkcs8},
    {"ms-private", nullptr, true, privateBlob}, {"pkcs1-public", "RSA PUBLIC KEY", false, pkcs1Public},
    {"spki", "PUBLIC KEY", false, spki},        {"ms-public", nullptr, false, publicBlob},
};

}  // namespace

Key readKey(const std::string& input) {
    const std::vector<Block> blocks = tools::findBlocks(input);
    const auto found = std::find_if(blocks.begin(), blocks.end(), maybeKey);
    if (found == blocks.end())
        throw InputError("no key");
    if (!found->fault.empty())
        throw InputError(found->fault);
    if (isBlob(found->der))
        return fromBlob(found->der);
    return fromValue(tools::decodeFound(*found), *found);
}

std::string writeKey(const Key& key, const std::string& form, const std::string& encoding) {
    const auto* const found =
        std::find_if(std::begin(kAll), std::end(kAll), [&](const Form& known) { return form == known.name; });
    if (found == std::end(kAll))
        throw UsageError("no form " + quoted(form) + "; there are " + kForms);
    const std::string in = !encoding.empty() ? encoding : found->label == nullptr ? "der" : "pem";
    if (in != "der" && in != "base64" && (in != "pem" || found->label == nullptr))
        throw UsageError("no encoding " + quoted(in) + " of " + form);
    if (found->isPrivate && !key.isPrivate)
        throw InputError("this is a public key, and " + form + " is a form of private ones");
    const std::string bytes = found->write(key.numbers);
    return in == "pem" ? tools::pem(found->label, bytes) : in == "base64" ? tools::base64(bytes) : bytes;
}

}  // namespace vtkey
