#include "tools/common/keys.h"

#include <algorithm>
#include <utility>

#include "asn/integer.h"
#include "asn/octet_string.h"
#include "asn/oid.h"
#include "pki/certificate.h"
#include "schema/pkcs.h"
#include "schema/x509.h"
#include "tools/common/bytes.h"
#include "tools/common/program.h"
#include "tools/common/types.h"

namespace tools {

namespace {

constexpr char kEncrypted[] = "the key is encrypted; `openssl pkcs8 -in FILE -out PLAIN` decrypts it";

template <typename T>
const T& as(const Value& value) {
    return dynamic_cast<const T&>(*value.object);
}

// An encrypted key is found as well, so that it can be told apart from none at all.
const Block& keyBlock(const std::vector<Block>& blocks) {
    for (const Block& block : blocks) {
        if (block.label.find("PRIVATE KEY") == std::string::npos && !block.label.empty())
            continue;
        if (!block.fault.empty())
            throw InputError(block.fault);
        if (block.label == "ENCRYPTED PRIVATE KEY")
            throw InputError(kEncrypted);
        return block;
    }
    throw InputError("no private key");
}

// The PKCS#1 key in a PKCS#8 one.
std::string innerKey(const PrivateKeyInfo& info) {
    const AlgorithmIdentifier* algorithm = info.GetPrivateKeyAlgorithm();
    if (algorithm == nullptr || algorithm->GetAlgorithm() == nullptr || info.GetPrivateKey() == nullptr)
        throw InputError("the PKCS#8 key is not whole");
    if (algorithm->GetAlgorithm()->GetData() != kRsaEncryption)
        throw InputError("the key is no RSA key, and no other is supported");
    return textOf(info.GetPrivateKey()->GetData());
}

// A file that is not PEM does not say which of the two it holds.
std::string pkcs1Of(const Block& block) {
    const Value value = decodeFound(block);
    if (value.type == "PrivateKeyInfo")
        return innerKey(as<PrivateKeyInfo>(value));
    if (value.type == "EncryptedPrivateKeyInfo")
        throw InputError(kEncrypted);
    if (value.type != "RSAPrivateKey")
        throw InputError("no private key, but a " + value.type);
    return block.der;
}

MiBigInteger numberOf(const AsnInteger* number) {
    if (number == nullptr || number->GetBigInteger().GetSign() < 0)
        throw InputError("the key lacks a number, or has a negative one");
    return number->GetBigInteger();
}

// A node is a label of four characters, "=" and the value: " CN =Root".
std::string named(const MiByte& node) {
    constexpr std::size_t kLabel = 4;
    const std::string whole = textOf(node);
    std::string label = whole.substr(0, kLabel);
    label.erase(std::remove(label.begin(), label.end(), ' '), label.end());
    return label + whole.substr(kLabel);
}

}  // namespace

std::vector<std::string> readDer(const std::string& file, const std::string& label) {
    std::vector<std::string> found;
    for (const Block& block : findBlocks(readInput(file))) {
        if (!block.label.empty() && block.label != label)
            continue;
        if (!block.fault.empty())
            throw InputError(block.fault);
        found.push_back(block.der);
    }
    if (found.empty())
        throw InputError("no block \"" + label + "\"");
    return found;
}

std::string readCertificate(const std::string& file) {
    return from(file, [](const std::string& name) { return readDer(name, "CERTIFICATE").front(); });
}

std::vector<std::string> readAll(const std::vector<std::string>& files, const std::string& label) {
    std::vector<std::string> all;
    for (const std::string& file : files)
        for (std::string& der : from(file, [&](const std::string& name) { return readDer(name, label); }))
            all.push_back(std::move(der));
    return all;
}

std::string subjectOf(const std::string& der) {
    VT_Certificate certificate;
    certificate.setCertificate(bytesOf(der));
    int total = 0;
    certificate.getSubjectsTotal(total);
    std::string subject;
    for (int i = 0; i < total; ++i) {
        MiByte node;
        if (certificate.getSubjectsByIndex(i, node) == 0)
            subject += (i == 0 ? "" : ", ") + named(node);
    }
    std::replace_if(
        subject.begin(), subject.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    return subject;
}

std::string magnitude(const MiBigInteger& number) {
    const std::string bytes = textOf(number.GetByte());
    const std::size_t first = bytes.find_first_not_of('\0');
    return first == std::string::npos ? std::string() : bytes.substr(first);
}

RsaNumbers privateNumbers(const std::vector<Block>& blocks) {
    const Value value = decodeAs("RSAPrivateKey", pkcs1Of(keyBlock(blocks)));
    const auto& key = as<RSAPrivateKey>(value);
    return {numberOf(key.GetPkModulus()), numberOf(key.GetPublicExponent()), numberOf(key.GetPrivateExponent()),
            numberOf(key.GetPrime1()),    numberOf(key.GetPrime2()),         numberOf(key.GetExponent1()),
            numberOf(key.GetExponent2()), numberOf(key.GetCoefficient())};
}

PrivateKey::PrivateKey(const std::string& file) : PrivateKey(privateNumbers(findBlocks(readInput(file)))) {}

PrivateKey::PrivateKey(const RsaNumbers& from)
    : numbers({magnitude(from.modulus), magnitude(from.publicExponent), magnitude(from.privateExponent),
               magnitude(from.prime1), magnitude(from.prime2), magnitude(from.exponent1), magnitude(from.exponent2),
               magnitude(from.coefficient)}) {
    PKCS_Blob* const blobs[] = {&key.modulus, &key.publicExponent, &key.privateExponent, &key.prime1,
                                &key.prime2,  &key.exponent1,      &key.exponent2,       &key.coefficient};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i].empty())
            throw InputError("the key lacks a number; `vtkey repair` computes what can be computed");
        *blobs[i] = {reinterpret_cast<std::uint8_t*>(numbers[i].data()), static_cast<std::uint32_t>(numbers[i].size())};
    }
}

}  // namespace tools
