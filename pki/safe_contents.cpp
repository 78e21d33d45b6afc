#include "pki/safe_contents.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "asn/asn.h"
#include "pki/content.h"
#include "pki/pkcs12_pbe.h"
#include "schema/schema.h"
#include "token/token.h"

namespace {

constexpr const char* kBagIds[] = {
    "1.2.840.113549.1.12.10.1.3",  // certificate
    "1.2.840.113549.1.12.10.1.4",  // revocation list
    "1.2.840.113549.1.12.10.1.1",  // key
    "1.2.840.113549.1.12.10.1.2",  // shrouded key
    "1.2.840.113549.1.12.10.1.5",  // secret
};
constexpr const char* kX509Certificate = "1.2.840.113549.1.9.22.1";
constexpr const char* kLocalKeyId = "1.2.840.113549.1.9.21";
constexpr const char* kFriendlyName = "1.2.840.113549.1.9.20";
constexpr const char* kRsaEncryption = "1.2.840.113549.1.1.1";

using Attributes = AsnSetOf<PKCS12Attribute>;

// The bytes of a certificate without what follows it.
MiByte certificateIn(const MiByte& bytes) {
    Certificate certificate;
    const unsigned int length = certificate.DerDecode(bytes, 0);
    return {bytes.GetChars(), length};
}

SafeBag bagOf(const char* bagId, const AsnOctetString& value, const Attributes* attributes) {
    SafeBag bag;
    bag.SetBagId(AsnOid(bagId));
    bag.SetBagValue(value);
    if (attributes != nullptr)
        bag.SetBagAttributes(*attributes);
    return bag;
}

int readCertBag(const SafeBag& bag, MiByte& certificate) {
    if (bag.GetBagValue() == nullptr)
        return token::kElementAbsent;
    CertBag value;
    bag.GetBagValue()->GetDerObject(&value);
    const AsnOid* const kind = value.GetCertId();
    const AsnOctetString* const octets = value.GetCertValue();
    if (kind == nullptr || octets == nullptr)
        return token::kElementAbsent;
    if (kind->GetData() != kX509Certificate)
        return token::kUnsupported;
    MiByte scratch;
    certificate = pki::contentOctets(*octets, scratch);
    return 0;
}

int readKeyBag(const SafeBag& bag, EncryptedPrivateKeyInfo& key) {
    if (bag.GetBagValue() == nullptr)
        return token::kElementAbsent;
    EncryptedPrivateKeyInfo value;
    bag.GetBagValue()->GetDerObject(&value);
    key = value;
    return 0;
}

int readAttributes(const SafeBag& bag, const Attributes*& attributes) {
    attributes = bag.GetBagAttributes();
    return attributes == nullptr ? token::kElementAbsent : 0;
}

int readId(const SafeBag& bag, MiByte& id) {
    const Attributes* attributes = nullptr;
    const int result = readAttributes(bag, attributes);
    return result != 0 ? result : VT_SafeContents::getIDAttribute(*attributes, id);
}

int readName(const SafeBag& bag, MiByte& name) {
    const Attributes* attributes = nullptr;
    const int result = readAttributes(bag, attributes);
    return result != 0 ? result : VT_SafeContents::getNameAttribute(*attributes, name);
}

// The number of a bag's type; 0 for one that is not known.
int typeOf(const AsnOid& bagId) {
    const auto* const found = std::find_if(std::begin(kBagIds), std::end(kBagIds),
                                           [&](const char* known) { return bagId.GetData() == known; });
    return found == std::end(kBagIds) ? 0 : static_cast<int>(found - kBagIds) + 1;
}

void addAttribute(const char* identifier, const AsnOctetString& value, Attributes& attributes) {
    AsnSetOf<AsnOctetString> values;
    values.AddElement(value);
    PKCS12Attribute attribute;
    attribute.SetAttrId(AsnOid(identifier));
    attribute.SetAttrValues(values);
    attributes.AddElement(attribute);
}

// The first value of the first attribute of that type; null if there is none.
const AsnOctetString* valueOf(const char* identifier, const Attributes& attributes) {
    for (unsigned int i = 0; i < attributes.Size(); ++i) {
        const PKCS12Attribute& attribute = *attributes.Get(i);
        if (attribute.GetAttrId() == nullptr || attribute.GetAttrId()->GetData() != identifier)
            continue;
        const AsnSetOf<AsnOctetString>* const values = attribute.GetAttrValues();
        return values == nullptr || values->Empty() ? nullptr : values->Get(0);
    }
    return nullptr;
}

}  // namespace

VT_SafeContents::VT_SafeContents() {
    bags.renew();
}

VT_SafeContents::VT_SafeContents(const VT_SafeContents& other) = default;

VT_SafeContents& VT_SafeContents::operator=(const VT_SafeContents& other) {
    VT_SafeContents copy(other);
    std::swap(tally, copy.tally);
    std::swap(bags, copy.bags);
    return *this;
}

VT_SafeContents::~VT_SafeContents() = default;

void VT_SafeContents::Reset() {
    Held<AsnSequenceOf<SafeBag>> none;
    none.renew();
    take(std::move(none));
}

// ---- Certificates

int VT_SafeContents::addCertDer(const Certificate& certificate) {
    MiByte der;
    pki::encodeDer(certificate, der);
    return appendCertificate(der, nullptr);
}

int VT_SafeContents::addCertDer(const MiByte& certificate) {
    return appendCertificate(certificateIn(certificate), nullptr);
}

int VT_SafeContents::addCertDer(const Certificate& certificate, const Attributes& attributes) {
    MiByte der;
    pki::encodeDer(certificate, der);
    return appendCertificate(der, &attributes);
}

int VT_SafeContents::addCertDer(const MiByte& certificate, const MiByte& id) {
    Attributes attributes;
    const int result = addIDAttribute(attributes, id);
    return result != 0 ? result : appendCertificate(certificateIn(certificate), &attributes);
}

int VT_SafeContents::addCertDer(const MiByte& certificate, const MiByte& id, const MiByte& name) {
    Attributes attributes;
    int result = addIDAttribute(attributes, id);
    if (result == 0)
        result = addNameAttribute(attributes, name);
    return result != 0 ? result : appendCertificate(certificateIn(certificate), &attributes);
}

int VT_SafeContents::appendCertificate(const MiByte& der, const Attributes* attributes) {
    CertBag value;
    value.SetCertId(AsnOid(kX509Certificate));
    value.SetCertValue(pki::octetsOf(der));
    return append(bagOf(kBagIds[kCertificate - 1], pki::anyOf(value), attributes), kCertificate);
}

int VT_SafeContents::getCertDerByIndex(int index, Certificate& certificate) const {
    MiByte der;
    const int result = getCertDerByIndex(index, der);
    if (result != 0)
        return result;
    Certificate value;
    pki::decodeDer(der, value);
    certificate = value;
    return 0;
}

int VT_SafeContents::getCertDerByIndex(int index, MiByte& certificate) const {
    const SafeBag* bag = nullptr;
    return findCertificate(index, bag, certificate);
}

int VT_SafeContents::getCertDerByIndex(int index, Certificate& certificate, Attributes& attributes) const {
    const SafeBag* bag = nullptr;
    int result = find(kCertificate, index, bag);
    const Attributes* held = nullptr;
    if (result == 0)
        result = readAttributes(*bag, held);
    if (result == 0)
        result = getCertDerByIndex(index, certificate);
    if (result == 0)
        attributes = *held;
    return result;
}

int VT_SafeContents::getCertDerByIndex(int index, MiByte& certificate, MiByte& id) const {
    const SafeBag* bag = nullptr;
    MiByte der;
    int result = findCertificate(index, bag, der);
    if (result == 0)
        result = readId(*bag, id);
    if (result == 0)
        certificate = der;
    return result;
}

int VT_SafeContents::getCertDerByIndex(int index, MiByte& certificate, MiByte& id, MiByte& name) const {
    const SafeBag* bag = nullptr;
    MiByte der;
    MiByte identifier;
    int result = findCertificate(index, bag, der);
    if (result == 0)
        result = readId(*bag, identifier);
    if (result == 0)
        result = readName(*bag, name);
    if (result != 0)
        return result;
    certificate = der;
    id = identifier;
    return 0;
}

int VT_SafeContents::getCertDerByID(const MiByte& id, MiByte& certificate, MiByte& name) const {
    for (int index = 0;; ++index) {
        const SafeBag* bag = nullptr;
        int result = find(kCertificate, index, bag);
        if (result != 0)
            return result;
        MiByte held;
        if (readId(*bag, held) != 0 || held != id)
            continue;
        return getCertDerByIndex(index, certificate, held, name);
    }
}

int VT_SafeContents::findCertificate(int index, const SafeBag*& bag, MiByte& der) const {
    const int result = find(kCertificate, index, bag);
    return result != 0 ? result : readCertBag(*bag, der);
}

// ---- Shrouded keys

int VT_SafeContents::addShroudedKeyDer(const EncryptedPrivateKeyInfo& key, const Attributes& attributes) {
    return append(bagOf(kBagIds[kShroudedKey - 1], pki::anyOf(key), &attributes), kShroudedKey);
}

int VT_SafeContents::addShroudedKeyDer(const MiByte& key, const MiByte& id) {
    EncryptedPrivateKeyInfo value;
    pki::decodeDer(key, value);
    Attributes attributes;
    const int result = addIDAttribute(attributes, id);
    return result != 0 ? result : addShroudedKeyDer(value, attributes);
}

int VT_SafeContents::getShroudedKeyDerByIndex(int index, EncryptedPrivateKeyInfo& key) const {
    const SafeBag* bag = nullptr;
    const int result = find(kShroudedKey, index, bag);
    return result != 0 ? result : readKeyBag(*bag, key);
}

int VT_SafeContents::getShroudedKeyDerByIndex(int index, MiByte& key) const {
    EncryptedPrivateKeyInfo value;
    const int result = getShroudedKeyDerByIndex(index, value);
    if (result == 0)
        pki::encodeDer(value, key);
    return result;
}

int VT_SafeContents::getShroudedKeyDerByIndex(int index, EncryptedPrivateKeyInfo& key, Attributes& attributes) const {
    const SafeBag* bag = nullptr;
    int result = find(kShroudedKey, index, bag);
    const Attributes* held = nullptr;
    if (result == 0)
        result = readAttributes(*bag, held);
    if (result == 0)
        result = readKeyBag(*bag, key);
    if (result == 0)
        attributes = *held;
    return result;
}

int VT_SafeContents::getShroudedKeyDerByIndex(int index, MiByte& key, MiByte& id) const {
    const SafeBag* bag = nullptr;
    int result = find(kShroudedKey, index, bag);
    MiByte identifier;
    if (result == 0)
        result = readId(*bag, identifier);
    if (result == 0)
        result = getShroudedKeyDerByIndex(index, key);
    if (result == 0)
        id = identifier;
    return result;
}

int VT_SafeContents::getShroudedKeyDerTotal(int& total) const {
    total = tally.counts[kShroudedKey - 1];
    return 0;
}

// ---- All bags

int VT_SafeContents::composeSafeContents(AsnSequenceOf<SafeBag>& contents) const {
    contents = *bags;
    return 0;
}

int VT_SafeContents::composeSafeContents(MiByte& der) const {
    pki::encodeDer(*bags, der);
    return 0;
}

int VT_SafeContents::decomposeSafeContents(const AsnSequenceOf<SafeBag>& contents) {
    Held<AsnSequenceOf<SafeBag>> copy;
    copy.set(contents);
    return take(std::move(copy));
}

int VT_SafeContents::decomposeSafeContents(const MiByte& der) {
    Held<AsnSequenceOf<SafeBag>> decoded;
    pki::decodeDer(der, decoded.renew());
    return take(std::move(decoded));
}

int VT_SafeContents::take(Held<AsnSequenceOf<SafeBag>> contents) {
    bags = std::move(contents);
    tally = {};
    tally.total = static_cast<std::int32_t>(bags->Size());
    return tally.total > kMostBags ? token::kTooLong : sort();
}

int VT_SafeContents::sort() {
    std::vector<int> certificates;
    std::vector<int> keys;
    for (int i = 0; i < tally.total; ++i) {
        const SafeBag& bag = *bags->Get(static_cast<unsigned int>(i));
        if (bag.GetBagId() == nullptr)
            return token::kElementAbsent;
        const auto type = static_cast<BagType>(typeOf(*bag.GetBagId()));
        const bool hasValue = bag.GetBagValue() != nullptr;
        if (type == kCertificate && hasValue)
            certificates.push_back(i);
        else if (type == kKey && hasValue)
            keys.push_back(i);
        else if (type != kUnknown)
            mark(i, type);
    }
    sortCandidates(certificates, keys);
    return 0;
}

// A certificate and a key bag of the same value are a pair, and are both out of the reach of the getters.
void VT_SafeContents::sortCandidates(const std::vector<int>& certificates, std::vector<int>& keys) {
    const auto valueAt = [this](int i) { return bags->Get(static_cast<unsigned int>(i))->GetBagValue(); };
    for (const int certificate : certificates) {
        const auto twin =
            std::find_if(keys.begin(), keys.end(), [&](int key) { return *valueAt(certificate) == *valueAt(key); });
        mark(certificate, twin == keys.end() ? kCertificate : kPaired);
        if (twin == keys.end())
            continue;
        mark(*twin, kPaired);
        keys.erase(twin);
    }
    for (const int key : keys)
        mark(key, kKey);
}

int VT_SafeContents::append(const SafeBag& bag, BagType type) {
    if (tally.total >= kMostBags)
        return token::kTooLong;
    bags->AddElement(bag);
    mark(tally.total, type);
    ++tally.total;
    return 0;
}

void VT_SafeContents::mark(int index, BagType type) {
    tally.types[index] = type;
    ++tally.counts[type - 1];
}

int VT_SafeContents::find(BagType type, int index, const SafeBag*& bag) const {
    if (tally.total > kMostBags)
        return token::kTooLong;
    for (int i = 0; i < tally.total && index >= 0; ++i)
        if (tally.types[i] == type && index-- == 0) {
            bag = bags->Get(static_cast<unsigned int>(i));
            return 0;
        }
    return token::kIndexOutOfRange;
}

// ---- PKCS#8

int VT_SafeContents::P8EncodePrivateKeyInfo(const MiByte& pkcs1, MiByte& pkcs8) {
    VT_P11_Alg rsa;
    AlgorithmIdentifier algorithm;
    int result = rsa.setAlgType(token::kRsa);
    if (result == 0)
        result = rsa.getAlgorithmIdentifier(algorithm);
    if (result != 0)
        return result;
    PrivateKeyInfo info;
    info.SetVersion(AsnInteger(0));
    info.SetPrivateKeyAlgorithm(algorithm);
    info.SetPrivateKey(pki::octetsOf(pkcs1));
    pki::encodeDer(info, pkcs8);
    return 0;
}

int VT_SafeContents::P8DecodePrivateKeyInfo(const MiByte& pkcs8, MiByte& pkcs1) {
    PrivateKeyInfo info;
    pki::decodeDer(pkcs8, info);
    const AlgorithmIdentifier* const algorithm = info.GetPrivateKeyAlgorithm();
    if (algorithm == nullptr || algorithm->GetAlgorithm() == nullptr)
        return token::kElementAbsent;
    if (algorithm->GetAlgorithm()->GetData() != kRsaEncryption)
        return token::kUnsupported;
    if (info.GetPrivateKey() == nullptr)
        return token::kElementAbsent;
    MiByte scratch;
    pkcs1 = pki::contentOctets(*info.GetPrivateKey(), scratch);
    return 0;
}

int VT_SafeContents::P8EncryptPrivateKeyInfo(VT_P11_OP& op, const MiByte& password, int pbeType, int iterations,
                                             const MiByte& pkcs1, MiByte& encrypted) {
    MiByte pkcs8;
    int result = P8EncodePrivateKeyInfo(pkcs1, pkcs8);
    AlgorithmIdentifier algorithm;
    MiByte octets;
    if (result == 0)
        result = pki::pbeEncrypt(op, password, pbeType, iterations, pkcs8, algorithm, octets);
    if (result != 0)
        return result;
    EncryptedPrivateKeyInfo info;
    info.SetEncryptionAlgorithm(algorithm);
    info.SetEncryptedData(pki::octetsOf(octets));
    pki::encodeDer(info, encrypted);
    return 0;
}

int VT_SafeContents::P8DecryptPrivateKeyInfo(VT_P11_OP& op, const MiByte& password, const MiByte& encrypted,
                                             MiByte& pkcs1) {
    EncryptedPrivateKeyInfo info;
    pki::decodeDer(encrypted, info);
    if (info.GetEncryptionAlgorithm() == nullptr || info.GetEncryptedData() == nullptr)
        return token::kElementAbsent;
    MiByte scratch;
    MiByte pkcs8;
    const int result = pki::pbeDecrypt(op, password, *info.GetEncryptionAlgorithm(),
                                       pki::contentOctets(*info.GetEncryptedData(), scratch), pkcs8);
    return result != 0 ? result : P8DecodePrivateKeyInfo(pkcs8, pkcs1);
}

// ---- Attributes

int VT_SafeContents::addIDAttribute(Attributes& attributes, const MiByte& id) {
    addAttribute(kLocalKeyId, pki::octetsOf(id), attributes);
    return 0;
}

int VT_SafeContents::addNameAttribute(Attributes& attributes, const MiByte& name) {
    AsnBMPString text;
    text.SetVisibleString(name.GetChars());
    addAttribute(kFriendlyName, pki::anyOf(text), attributes);
    return 0;
}

int VT_SafeContents::getIDAttribute(const Attributes& attributes, MiByte& id) {
    const AsnOctetString* const value = valueOf(kLocalKeyId, attributes);
    if (value == nullptr)
        return token::kElementAbsent;
    MiByte scratch;
    id = pki::contentOctets(*value, scratch);
    return 0;
}

int VT_SafeContents::getNameAttribute(const Attributes& attributes, MiByte& name) {
    const AsnOctetString* const value = valueOf(kFriendlyName, attributes);
    if (value == nullptr)
        return token::kElementAbsent;
    AsnBMPString text;
    value->GetDerObject(&text);
    const MiString visible = text.GetVisibleString();
    name.SetByte(visible.GetChars(), visible.GetLength());
    return 0;
}
