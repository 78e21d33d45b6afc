#include "enrol/request_body.h"

#include <cstring>

#include "platform/types.h"

namespace enrol {
namespace {

constexpr std::int32_t kArcCount = 7;
using Arcs = std::int32_t[kArcCount];
constexpr Arcs kRsaEncryption = {1, 2, 840, 113549, 1, 1, 1};
constexpr Arcs kMd5WithRsa = {1, 2, 840, 113549, 1, 1, 4};
constexpr Arcs kSha1WithRsa = {1, 2, 840, 113549, 1, 1, 5};
constexpr Arcs kEmailAddress = {1, 2, 840, 113549, 1, 9, 1};

// 65537, whatever exponent the provider's key has: authorities take no other from this program.
constexpr char kExponentHex[] = "010001";

constexpr std::int32_t kTagInteger = 2;
constexpr std::int32_t kContextConstructed = 0xA0;

bool isKeySize(std::int32_t bits) {
    return bits == 512 || bits == 1024 || bits == 2048 || bits == 4096;
}

std::int32_t narrowed(std::size_t length) {
    return static_cast<std::int32_t>(length);
}

}  // namespace

bool readModulus(const std::uint8_t* publicKeyDer, std::size_t length, StagedModulus& modulus) {
    const BerReaderPtr reader(BerReaderCreate(publicKeyDer, narrowed(length)));
    if (!reader)
        return false;
    BerOutput<std::uint8_t> number;
    BerOutput<std::uint8_t> exponent;
    // Read as a bit string, a modulus with its top bit set loses its leading zero byte. An exponent such as 17 does not
    // pass for a bit string, and need not.
    BerReaderScanf(reader.get(), "{BB}", &number.data, &number.size, &exponent.data, &exponent.size);
    if (number.data == nullptr || !isKeySize(number.size))
        return false;
    std::memcpy(modulus.bytes + 1, number.data, static_cast<std::size_t>(number.size) / 8);
    modulus.bits = number.size;
    return true;
}

BerValue writePublicKey(const StagedModulus& modulus) {
    BerValue key(BerWriterCreate());
    if (!key || BerWriterPrintf(key.get(), "{ToI}", kTagInteger, 0, modulus.bytes, modulus.bits / 8 + 1, kExponentHex,
                                narrowed(sizeof(kExponentHex) - 1)) < 0)
        return nullptr;
    return key;
}

BerValue writeRequestInfo(const BerWriter& publicKey, const std::uint8_t* subject, std::size_t subjectLength) {
    BerValue info(BerWriterCreate());
    if (!info)
        return nullptr;
    BerWriter* const out = info.get();
    const bool written = BerWriterPrintf(out, "{i", 0) >= 0 &&
                         (subject == nullptr ? BerWriterPrintf(out, "{}")
                                             : BerWriterPrintf(out, "A", subject, narrowed(subjectLength))) >= 0 &&
                         BerWriterPrintf(out, "{{On}", kRsaEncryption, kArcCount) >= 0 &&
                         BerWriterPrintf(out, "B}", publicKey.buffer, publicKey.used * 8) >= 0 &&
                         BerWriterPrintf(out, "T{{O", 0, kContextConstructed, kEmailAddress, kArcCount) >= 0 &&
                         BerWriterPrintf(out, "[a]}}}", kRequestEmail, narrowed(sizeof(kRequestEmail) - 1)) >= 0;
    return written ? std::move(info) : nullptr;
}

BerValue writeRequest(const BerWriter& requestInfo, std::int32_t hashAlgId, const std::uint8_t* signature,
                      std::size_t signatureLength) {
    const Arcs& algorithm = static_cast<ALG_ID>(hashAlgId) == CALG_MD5 ? kMd5WithRsa : kSha1WithRsa;
    BerValue request(BerWriterCreate());
    if (!request || BerWriterPrintf(request.get(), "{A{On}B}", requestInfo.buffer, requestInfo.used, algorithm,
                                    kArcCount, signature, narrowed(signatureLength) * 8) < 0)
        return nullptr;
    return request;
}

}  // namespace enrol
