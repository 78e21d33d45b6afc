#include "platform/nss/pkcs8.h"

#include <string.h>  // explicit_bzero

#include <algorithm>

#include "platform/nss/der.h"
#include "platform/nss/item.h"

namespace platform::nss {
namespace {

constexpr std::size_t kAesKeyLength = 32;
constexpr std::size_t kAesBlockLength = 16;

// More than the PrivateKeyInfo of 4096 bits (some 2,400 bytes) with what wrapping adds.
constexpr std::size_t kWrappedCapacity = 8192;

// A token knows one of these ways of wrapping with padding: the first are NSS and most cards, the second is RFC 5649
// under the number that older tokens have for it, which NSS unwraps under its newer one.
struct Wrapping {
    CK_MECHANISM_TYPE wrap;
    CK_MECHANISM_TYPE unwrap;
    bool hasIv;
};
constexpr Wrapping kWrappings[] = {
    {CKM_AES_CBC_PAD, CKM_AES_CBC_PAD, true},
    {CKM_AES_KEY_WRAP_PAD, CKM_AES_KEY_WRAP_KWP, false},
};

// The mechanism tells NSS no more than the kind of key.
SymmetricKey importKey(PK11SlotInfo* slot, CK_ATTRIBUTE_TYPE use, Bytes& aesKey) {
    SECItem item = itemOf(aesKey);
    return SymmetricKey(nss().PK11_ImportSymKey(slot, CKM_AES_CBC, PK11_OriginUnwrap, use, &item, nullptr));
}

// The key's PrivateKeyInfo (PKCS#8); empty if the token does not know the wrapping, or refuses.
Bytes privateKeyInfo(const Key& key, const Wrapping& wrapping, Bytes& aesKey, Bytes& iv) {
    PK11SlotInfo* slot = key.token.slot.get();
    if (nss().PK11_DoesMechanism(slot, wrapping.wrap) == PR_FALSE)
        return {};
    SECItem parameter = wrapping.hasIv ? itemOf(iv) : SECItem{siBuffer, nullptr, 0};
    const SymmetricKey wrappingKey = importKey(slot, CKA_WRAP, aesKey);
    Bytes wrapped(kWrappedCapacity);
    SECItem wrappedItem = itemOf(wrapped);
    if (wrappingKey == nullptr || nss().PK11_WrapPrivKey(slot, wrappingKey.get(), key.privateKey.get(), wrapping.wrap,
                                                         &parameter, &wrappedItem, nullptr) != SECSuccess)
        return {};
    const Slot unwrapper = ownSlot(nss().PK11_GetInternalSlot());
    const SymmetricKey unwrappingKey = importKey(unwrapper.get(), CKA_DECRYPT, aesKey);
    Bytes info(kWrappedCapacity);
    unsigned int length = 0;
    if (unwrappingKey == nullptr ||
        nss().PK11_Decrypt(unwrappingKey.get(), wrapping.unwrap, &parameter, info.data(), &length, kWrappedCapacity,
                           wrapped.data(), wrappedItem.len) != SECSuccess) {
        wipe(info);
        return {};
    }
    info.resize(length);
    return info;
}

// The content of the key's OCTET STRING, an RSAPrivateKey.
bool readInfo(const Bytes& info, Element& rsaPrivateKey) {
    DerReader outer(spanOf(info));
    Element sequence = {};
    Element ignored = {};
    Element octets = {};
    if (!outer.expect(kDerSequence, sequence))
        return false;
    DerReader inner(sequence.content);
    if (!inner.expect(kDerInteger, ignored) || !inner.expect(kDerSequence, ignored) ||
        !inner.expect(kDerOctetString, octets))
        return false;
    return DerReader(octets.content).expect(kDerSequence, rsaPrivateKey);
}

bool readNumbers(const Bytes& info, RsaPrivateNumbers& numbers) {
    Element rsaPrivateKey = {};
    if (!readInfo(info, rsaPrivateKey))
        return false;
    DerReader reader(rsaPrivateKey.content);
    Bytes version;
    Bytes modulus;
    Bytes publicExponent;
    for (Bytes* number : {&version, &modulus, &publicExponent, &numbers.privateExponent, &numbers.prime1,
                          &numbers.prime2, &numbers.exponent1, &numbers.exponent2, &numbers.coefficient}) {
        Element integer = {};
        if (!reader.expect(kDerInteger, integer))
            return false;
        number->assign(integer.content.data, integer.content.data + integer.content.size);
    }
    return true;
}

}  // namespace

void wipe(Bytes& bytes) {
    if (!bytes.empty())
        explicit_bzero(bytes.data(), bytes.size());
}

Bytes derInteger(const Bytes& number) {
    Bytes digits = withoutLeadingZeros(spanOf(number));
    Bytes content;
    // In one piece from the start: what the bytes would move out of is private too.
    content.reserve(digits.size() + 1);
    if (digits.empty() || (digits[0] & 0x80) != 0)
        content.push_back(0);
    append(content, digits);
    wipe(digits);
    Bytes element = derElement(kDerInteger, content);
    wipe(content);
    return element;
}

Bytes privateKeyInfoDer(const Bytes& modulus, const Bytes& publicExponent, const RsaPrivateNumbers& numbers) {
    Bytes content;
    // What the bytes move out of when they grow is private too.
    content.reserve(2 * modulus.size() * 5 + 64);
    append(content, derInteger({0}));
    for (const Bytes* number : {&modulus, &publicExponent, &numbers.privateExponent, &numbers.prime1, &numbers.prime2,
                                &numbers.exponent1, &numbers.exponent2, &numbers.coefficient}) {
        Bytes integer = derInteger(*number);
        append(content, integer);
        wipe(integer);
    }
    Bytes rsaPrivateKey = derElement(kDerSequence, content);
    wipe(content);
    Bytes octets = derElement(kDerOctetString, rsaPrivateKey);
    wipe(rsaPrivateKey);
    Bytes info = derInteger({0});
    append(info, derElement(kDerSequence, {kDerObjectIdentifier, 9, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01,
                                           0x01, kDerNull, 0}));
    info.reserve(info.size() + octets.size());
    append(info, octets);
    wipe(octets);
    Bytes whole = derElement(kDerSequence, info);
    wipe(info);
    return whole;
}

RsaPrivateNumbers::~RsaPrivateNumbers() {
    for (Bytes* number : {&privateExponent, &prime1, &prime2, &exponent1, &exponent2, &coefficient})
        wipe(*number);
}

bool readPrivateNumbers(const Key& key, RsaPrivateNumbers& numbers) {
    Bytes aesKey(kAesKeyLength);
    Bytes iv(kAesBlockLength);
    if (nss().PK11_GenerateRandom(aesKey.data(), static_cast<int>(aesKey.size())) != SECSuccess ||
        nss().PK11_GenerateRandom(iv.data(), static_cast<int>(iv.size())) != SECSuccess)
        return false;
    const bool good = std::any_of(std::begin(kWrappings), std::end(kWrappings), [&](const Wrapping& wrapping) {
        Bytes info = privateKeyInfo(key, wrapping, aesKey, iv);
        const bool read = readNumbers(info, numbers);
        wipe(info);
        return read;
    });
    wipe(aesKey);
    return good;
}

}  // namespace platform::nss
