#include "pki/pfx.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "asn/asn.h"
#include "pki/content.h"
#include "pki/data_content_info.h"
#include "pki/pkcs12_kdf.h"
#include "pki/pkcs12_pbe.h"
#include "schema/schema.h"
#include "token/token.h"

namespace {

constexpr int kDefaultIterations = 2048;
constexpr int kSaltLength = 20;
constexpr unsigned int kMacKeyLength = 20;
constexpr const char* kSha1 = "1.3.14.3.2.26";

// By type, from 3.
constexpr const char* kContentTypes[] = {pki::kDataType, pki::kEncryptedDataType, pki::kEnvelopedDataType};

// The number of a content's type; 0 for one that is not known.
int typeOf(const AsnOid& type) {
    const auto* const found = std::find_if(std::begin(kContentTypes), std::end(kContentTypes),
                                           [&](const char* known) { return type.GetData() == known; });
    return found == std::end(kContentTypes) ? 0 : static_cast<int>(found - kContentTypes) + 3;
}

// ---- Contents

int composeData(const MiByte& octets, ContentInfo& content) {
    VT_DataContentInfo data;
    const int result = data.setData(octets);
    return result != 0 ? result : data.composeDataContentInfo(content);
}

int decomposeData(const ContentInfo& content, MiByte& octets) {
    VT_DataContentInfo data;
    const int result = data.decomposeDataContentInfo(content);
    return result != 0 ? result : data.getData(octets);
}

int composeEncrypted(VT_P11_OP& op, const MiByte& password, int pbeType, int iterations, const MiByte& plain,
                     ContentInfo& content) {
    AlgorithmIdentifier algorithm;
    MiByte encrypted;
    const int result = pki::pbeEncrypt(op, password, pbeType, iterations, plain, algorithm, encrypted);
    if (result != 0)
        return result;
    EncryptedContentInfo inner;
    inner.SetContentType(AsnOid(pki::kDataType));
    inner.SetContentEncryptionAlgorithm(algorithm);
    inner.SetEncryptedContent(pki::octetsOf(encrypted));
    EncryptedData value;
    value.SetVersion(AsnInteger(0));
    value.SetEncryptedContentInfo(inner);
    pki::storeContent(content, pki::kEncryptedDataType, value);
    return 0;
}

int decomposeEncrypted(VT_P11_OP& op, const MiByte& password, const ContentInfo& content, MiByte& plain) {
    const AsnOctetString* body = nullptr;
    const int result = pki::openContent(content, pki::kEncryptedDataType, body);
    if (result != 0)
        return result;
    EncryptedData value;
    body->GetDerObject(&value);
    const EncryptedContentInfo* const inner = value.GetEncryptedContentInfo();
    if (inner == nullptr || inner->GetContentType() == nullptr || inner->GetEncryptedContent() == nullptr ||
        inner->GetContentEncryptionAlgorithm() == nullptr)
        return token::kElementAbsent;
    if (inner->GetContentType()->GetData() != pki::kDataType)
        return token::kUnsupported;
    MiByte scratch;
    return pki::pbeDecrypt(op, password, *inner->GetContentEncryptionAlgorithm(),
                           pki::contentOctets(*inner->GetEncryptedContent(), scratch), plain);
}

int decodeBags(const MiByte& der, AsnSequenceOf<SafeBag>& bags) {
    AsnSequenceOf<SafeBag> decoded;
    pki::decodeDer(der, decoded);
    bags = decoded;
    return 0;
}

// ---- The MAC

int macOf(VT_P11_OP& op, const MiByte& password, const MiByte& salt, int iterations, const MiByte& octets,
          MiByte& mac) {
    MiByte key;
    const int result = pki::deriveMacKey(op, password, salt, iterations, kMacKeyLength, key);
    return result != 0 ? result : pki::hmacSha1(op, key.SetLength(kMacKeyLength), octets, mac);
}

int composeMac(VT_P11_OP& op, const MiByte& password, int iterations, const MiByte& octets, MacData& macData) {
    MiByte salt;
    int result = pki::makeSalt(op, kSaltLength, salt);
    MiByte mac;
    if (result == 0)
        result = macOf(op, password, salt, iterations, octets, mac);
    VT_P11_Alg sha1;
    if (result == 0)
        result = sha1.setAlgType(token::kSha1);
    AlgorithmIdentifier algorithm;
    if (result == 0)
        result = sha1.getAlgorithmIdentifier(algorithm);
    if (result != 0)
        return result;
    DigestInfo info;
    info.SetDigestAlgorithm(algorithm);
    info.SetDigest(pki::octetsOf(mac));
    macData.SetMacSalt(pki::octetsOf(salt));
    macData.SetIterations(AsnInteger(iterations));
    macData.SetMac(info);
    return 0;
}

int readDigest(const DigestInfo& info, MiByte& digest) {
    const AlgorithmIdentifier* const algorithm = info.GetDigestAlgorithm();
    if (algorithm == nullptr || algorithm->GetAlgorithm() == nullptr)
        return token::kElementAbsent;
    if (algorithm->GetAlgorithm()->GetData() != kSha1)
        return token::kUnsupported;
    if (info.GetDigest() == nullptr)
        return token::kElementAbsent;
    MiByte scratch;
    digest = pki::contentOctets(*info.GetDigest(), scratch);
    return 0;
}

int checkMac(VT_P11_OP& op, const MiByte& password, const MacData* macData, const MiByte& octets) {
    if (macData == nullptr || macData->GetMac() == nullptr || macData->GetMacSalt() == nullptr)
        return token::kElementAbsent;
    MiByte digest;
    int result = readDigest(*macData->GetMac(), digest);
    int iterations = 1;
    if (result == 0 && macData->GetIterations() != nullptr)
        result = pki::countOf(*macData->GetIterations(), iterations);
    MiByte scratch;
    MiByte mac;
    if (result == 0)
        result = macOf(op, password, pki::contentOctets(*macData->GetMacSalt(), scratch), iterations, octets, mac);
    if (result != 0)
        return result;
    return mac == digest ? 0 : token::kDigestMismatch;
}

}  // namespace

VT_PFX::VT_PFX() {
    contents.renew();
}

VT_PFX::VT_PFX(const VT_PFX& other) = default;

VT_PFX& VT_PFX::operator=(const VT_PFX& other) {
    VT_PFX copy(other);
    std::swap(tally, copy.tally);
    std::swap(contents, copy.contents);
    return *this;
}

VT_PFX::~VT_PFX() = default;

void VT_PFX::Reset() {
    contents.renew();
    tally = {};
}

// ---- Safe contents

int VT_PFX::addDataSafeContents(const AsnSequenceOf<SafeBag>& bags) {
    MiByte der;
    pki::encodeDer(bags, der);
    return addDataSafeContents(der);
}

int VT_PFX::addDataSafeContents(const MiByte& der) {
    ContentInfo content;
    const int result = composeData(der, content);
    return result != 0 ? result : append(content, kData);
}

int VT_PFX::getDataSafeContentsByIndex(int index, AsnSequenceOf<SafeBag>& bags) const {
    MiByte der;
    const int result = getDataSafeContentsByIndex(index, der);
    return result != 0 ? result : decodeBags(der, bags);
}

int VT_PFX::getDataSafeContentsByIndex(int index, MiByte& der) const {
    const ContentInfo* content = nullptr;
    const int result = find(kData, index, content);
    return result != 0 ? result : decomposeData(*content, der);
}

int VT_PFX::addEncryptSafeContents(VT_P11_OP& op, const MiByte& password, int pbeType, int iterations,
                                   const AsnSequenceOf<SafeBag>& bags) {
    MiByte der;
    pki::encodeDer(bags, der);
    return addEncryptSafeContents(op, password, pbeType, iterations, der);
}

int VT_PFX::addEncryptSafeContents(VT_P11_OP& op, const MiByte& password, int pbeType, int iterations,
                                   const MiByte& der) {
    ContentInfo content;
    const int result = composeEncrypted(op, password, pbeType, iterations, der, content);
    return result != 0 ? result : append(content, kEncrypted);
}

int VT_PFX::getEncryptSafeContentsByIndex(VT_P11_OP& op, const MiByte& password, int index,
                                          AsnSequenceOf<SafeBag>& bags) const {
    MiByte der;
    const int result = getEncryptSafeContentsByIndex(op, password, index, der);
    return result != 0 ? result : decodeBags(der, bags);
}

int VT_PFX::getEncryptSafeContentsByIndex(VT_P11_OP& op, const MiByte& password, int index, MiByte& der) const {
    const ContentInfo* content = nullptr;
    const int result = find(kEncrypted, index, content);
    return result != 0 ? result : decomposeEncrypted(op, password, *content, der);
}

int VT_PFX::getEncryptSafeContentsTotal(int& total) const {
    total = tally.counts[kEncrypted - kData];
    return 0;
}

int VT_PFX::append(const ContentInfo& content, Type type) {
    if (tally.total >= kMostContents)
        return token::kTooLong;
    contents->AddElement(content);
    tally.types[tally.total++] = type;
    ++tally.counts[type - kData];
    return 0;
}

int VT_PFX::find(Type type, int index, const ContentInfo*& content) const {
    if (tally.total > kMostContents)
        return token::kTooLong;
    for (int i = 0; i < tally.total && index >= 0; ++i)
        if (tally.types[i] == type && index-- == 0) {
            content = contents->Get(static_cast<unsigned int>(i));
            return 0;
        }
    return token::kIndexOutOfRange;
}

// ---- The file

int VT_PFX::getPFXType(const PFX& pfx, int& type) {
    type = pfx.GetMacData() != nullptr ? 1 : 2;
    return 0;
}

int VT_PFX::getPFXType(const MiByte& der, int& type) {
    PFX pfx;
    pki::decodeDer(der, pfx);
    return getPFXType(pfx, type);
}

int VT_PFX::composePFXBaseOnPassword(VT_P11_OP& op, const MiByte& password, int iterations, PFX& pfx) const {
    MiByte octets;
    pki::encodeDer(*contents, octets);
    ContentInfo authSafe;
    int result = composeData(octets, authSafe);
    MacData macData;
    if (result == 0)
        result = composeMac(op, password, iterations != 0 ? iterations : kDefaultIterations, octets, macData);
    if (result != 0)
        return result;
    pfx.Reset(nullptr);
    pfx.SetVersion(AsnInteger(3));
    pfx.SetAuthSafe(authSafe);
    pfx.SetMacData(macData);
    return 0;
}

int VT_PFX::composePFXBaseOnPassword(VT_P11_OP& op, const MiByte& password, int iterations, MiByte& der) const {
    PFX pfx;
    const int result = composePFXBaseOnPassword(op, password, iterations, pfx);
    if (result == 0)
        pki::encodeDer(pfx, der);
    return result;
}

int VT_PFX::decomposePFXBaseOnPassword(VT_P11_OP& op, const MiByte& password, const PFX& pfx, int skipMac) {
    const ContentInfo* const authSafe = pfx.GetAuthSafe();
    if (authSafe == nullptr || authSafe->GetContentType() == nullptr)
        return token::kElementAbsent;
    if (authSafe->GetContentType()->GetData() != pki::kDataType)
        return token::kUnsupported;
    MiByte octets;
    int result = decomposeData(*authSafe, octets);
    if (result == 0)
        result = take(octets);
    if (result != 0 || skipMac == 1)
        return result;
    return checkMac(op, password, pfx.GetMacData(), octets);
}

int VT_PFX::decomposePFXBaseOnPassword(VT_P11_OP& op, const MiByte& password, const MiByte& der, int skipMac) {
    PFX pfx;
    pki::decodeDer(der, pfx);
    return decomposePFXBaseOnPassword(op, password, pfx, skipMac);
}

int VT_PFX::take(const MiByte& octets) {
    Held<AsnSequenceOf<ContentInfo>> decoded;
    pki::decodeDer(octets, decoded.renew());
    contents = std::move(decoded);
    tally = {};
    tally.total = static_cast<std::int32_t>(contents->Size());
    return tally.total > kMostContents ? token::kTooLong : sort();
}

int VT_PFX::sort() {
    for (int i = 0; i < tally.total; ++i) {
        const AsnOid* const type = contents->Get(static_cast<unsigned int>(i))->GetContentType();
        if (type == nullptr)
            return token::kElementAbsent;
        const int number = typeOf(*type);
        tally.types[i] = static_cast<std::uint8_t>(number);
        if (number != kUnknown)
            ++tally.counts[number - kData];
    }
    return 0;
}
