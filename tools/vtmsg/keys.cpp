#include "tools/vtmsg/keys.h"

#include <algorithm>

#include "asn/integer.h"
#include "asn/octet_string.h"
#include "schema/pkcs.h"
#include "tools/common/input.h"
#include "tools/common/types.h"

namespace vtmsg {

namespace {

using tools::Block;
using tools::InputError;

std::string text(const MiByte& bytes) {
    return bytes.Empty() ? std::string() : std::string(bytes.GetChars(), bytes.GetLength());
}

template <typename T>
const T& as(const tools::Value& value) {
    return dynamic_cast<const T&>(*value.object);
}

// An encrypted key is found as well, so that it can be told apart from none at all.
Block keyBlock(const std::string& file) {
    for (Block& block : tools::findBlocks(tools::readInput(file))) {
        if (block.label.find("PRIVATE KEY") == std::string::npos && !block.label.empty())
            continue;
        if (!block.fault.empty())
            throw InputError(block.fault);
        if (block.label == "ENCRYPTED PRIVATE KEY")
            throw InputError("the key is encrypted; `openssl pkcs8 -in FILE -out PLAIN` decrypts it");
        return std::move(block);
    }
    throw InputError("no private key");
}

// The PKCS#1 key in a PKCS#8 one; empty if this is no PKCS#8 key, which a file that is not PEM does not say.
std::string innerKey(const Block& block) {
    try {
        const tools::Value value = tools::decodeAs("PrivateKeyInfo", block.der);
        const AsnOctetString* inner = as<PrivateKeyInfo>(value).GetPrivateKey();
        return inner == nullptr ? std::string() : text(inner->GetData());
    } catch (const InputError&) {
        if (!block.label.empty())
            throw;
        return {};
    }
}

// Big-endian and without the zero byte that DER has in front of a set top bit.
std::string magnitude(const AsnInteger* number) {
    if (number == nullptr || number->GetBigInteger().GetSign() <= 0)
        throw InputError("the key lacks a number, or has one that is not positive");
    const std::string bytes = text(number->GetBigInteger().GetByte());
    return bytes.substr(bytes.find_first_not_of('\0'));
}

}  // namespace

std::vector<std::string> readDer(const std::string& file, const std::string& label) {
    std::vector<std::string> found;
    for (const Block& block : tools::findBlocks(tools::readInput(file))) {
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

PrivateKey::PrivateKey(const std::string& file) {
    const Block block = keyBlock(file);
    const std::string inner = block.label == "RSA PRIVATE KEY" ? std::string() : innerKey(block);
    const tools::Value value = tools::decodeAs("RSAPrivateKey", inner.empty() ? block.der : inner);
    take(as<RSAPrivateKey>(value));
}

void PrivateKey::take(const RSAPrivateKey& from) {
    numbers = {magnitude(from.GetPkModulus()),       magnitude(from.GetPublicExponent()),
               magnitude(from.GetPrivateExponent()), magnitude(from.GetPrime1()),
               magnitude(from.GetPrime2()),          magnitude(from.GetExponent1()),
               magnitude(from.GetExponent2()),       magnitude(from.GetCoefficient())};
    PKCS_Blob* const blobs[] = {&key.modulus, &key.publicExponent, &key.privateExponent, &key.prime1,
                                &key.prime2,  &key.exponent1,      &key.exponent2,       &key.coefficient};
    for (std::size_t i = 0; i < numbers.size(); ++i)
        *blobs[i] = {reinterpret_cast<std::uint8_t*>(numbers[i].data()), static_cast<std::uint32_t>(numbers[i].size())};
}

}  // namespace vtmsg
