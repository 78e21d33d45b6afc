#include "pki/pfx.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <type_traits>
#include <vector>

#include "pki/pkcs12_kdf.h"
#include "pki/safe_contents.h"
#include "tests/pki/pkcs12.h"
#include "tests/support/broken_der.h"
#include "tests/support/failing_heap.h"
#include "tests/support/noise.h"

namespace {

using namespace pkcs12;
using support::hex;

// The fields as callers know them.
struct Layout {
    std::int32_t reserved;
    std::int32_t data;
    std::int32_t encrypted;
    std::int32_t enveloped;
    std::int32_t total;
    std::uint8_t types[128];
    AsnSequenceOf<ContentInfo>* contents;
};
static_assert(sizeof(VT_PFX) == sizeof(Layout) && !std::is_polymorphic_v<VT_PFX>);

const Layout& layoutOf(const VT_PFX& pfx) {
    return reinterpret_cast<const Layout&>(pfx);
}

std::vector<int> typesOf(const VT_PFX& pfx) {
    const Layout& layout = layoutOf(pfx);
    return {layout.types, layout.types + std::min(layout.total, 128)};
}

const Bytes kEncryptedOid = hex("06 09 2A 86 48 86 F7 0D 01 07 06");
const Bytes kEnvelopedOid = hex("06 09 2A 86 48 86 F7 0D 01 07 03");
const Bytes kSha256Oid = hex("06 09 60 86 48 01 65 03 04 02 01");
const Bytes kBags = der::sequence({bag(kCertBagOid, certBag(hex(vectors::kAliceCertificate)))});

Bytes content(const Bytes& type, const Bytes& value) {
    return der::sequence({type, der::tagged(0, value)});
}

// ---- Files by hand, with a MAC of the derivation and the HMAC that their own tests hold against published values

struct Mac {
    Bytes algorithm = signers::algorithm(kSha1Oid);
    Bytes salt = hex("01 02 03 04 05 06 07 08");
    Bytes iterations = der::integer(1);
    int count = 1;
    MiByte password = kSecret;
};

Bytes macOver(const Bytes& data, const Mac& mac) {
    Software software;
    MiByte key;
    MiByte digest;
    EXPECT_EQ(pki::deriveMacKey(software.op(), mac.password, bytes(mac.salt), mac.count, 20, key), 0);
    EXPECT_EQ(pki::hmacSha1(software.op(), key, bytes(data), digest), 0);
    return der::sequence({der::sequence({mac.algorithm, octets(vectorOf(digest))}), octets(mac.salt), mac.iterations});
}

Bytes fileOf(const Bytes& authSafe, const Bytes& macData) {
    return der::sequence({der::integer(3), authSafe, macData});
}

Bytes file(const Bytes& contents, const Mac& mac = Mac()) {
    return fileOf(dataContent(contents), macOver(contents, mac));
}

int decompose(VT_PFX& pfx, const Bytes& der, const MiByte& password = kSecret, int skipMac = 0) {
    Software software;
    return pfx.decomposePFXBaseOnPassword(software.op(), password, bytes(der), skipMac);
}

int decompose(const Bytes& der, const MiByte& password = kSecret, int skipMac = 0) {
    VT_PFX pfx;
    return resultOf([&] { return decompose(pfx, der, password, skipMac); });
}

Bytes compose(const VT_PFX& pfx, int iterations, const MiByte& password = kSecret) {
    Software software;
    MiByte der;
    EXPECT_EQ(pfx.composePFXBaseOnPassword(software.op(), password, iterations, der), 0);
    return vectorOf(der);
}

// ---- Composing

TEST(pfx_test, NewFileIsEmpty) {
    const VT_PFX pfx;
    EXPECT_EQ(layoutOf(pfx).reserved, 0);
    EXPECT_EQ(layoutOf(pfx).total, 0);
    int total = 1;
    EXPECT_EQ(pfx.getEncryptSafeContentsTotal(total), 0);
    EXPECT_EQ(total, 0);
    const std::vector<Bytes> parts = elementsOf(compose(pfx, 1));
    EXPECT_EQ(parts.at(1), dataContent(hex("30 00")));
}

TEST(pfx_test, FileHasTheShapeOfTheStandard) {
    VT_PFX pfx;
    ASSERT_EQ(pfx.addDataSafeContents(bytes(kBags)), 0);
    const std::vector<Bytes> parts = elementsOf(compose(pfx, 5));
    ASSERT_EQ(parts.size(), 3U);
    EXPECT_EQ(parts[0], der::integer(3));
    const Bytes contents = der::sequence({dataContent(kBags)});
    EXPECT_EQ(parts[1], dataContent(contents));
    const std::vector<Bytes> macData = elementsOf(parts[2]);
    ASSERT_EQ(macData.size(), 3U);
    EXPECT_EQ(macData[1].size(), 22U) << "a salt of 20 bytes";
    EXPECT_EQ(macData[2], der::integer(5));
    Mac mac;
    mac.salt.assign(macData[1].begin() + 2, macData[1].end());
    mac.count = 5;
    mac.iterations = der::integer(5);
    EXPECT_EQ(support::toHex(parts[2]), support::toHex(macOver(contents, mac)));
}

TEST(pfx_test, NoIterationsStandFor2048) {
    const VT_PFX pfx;
    EXPECT_EQ(elementsOf(elementsOf(compose(pfx, 0)).at(2)).at(2), der::integer(2048));
    EXPECT_EQ(elementsOf(elementsOf(compose(pfx, 1)).at(2)).at(2), der::integer(1));
    EXPECT_EQ(decompose(compose(pfx, 0)), 0);
    EXPECT_EQ(decompose(compose(pfx, 1)), 0);
}

TEST(pfx_test, FileAsAValueReplacesWhatTheArgumentHeld) {
    Software software;
    VT_PFX pfx;
    ASSERT_EQ(pfx.addDataSafeContents(bytes(kBags)), 0);
    PFX value = decoded<PFX>(vectors::kPfxRc4);
    ASSERT_EQ(pfx.composePFXBaseOnPassword(software.op(), kSecret, 1, value), 0);
    VT_PFX again;
    EXPECT_EQ(again.decomposePFXBaseOnPassword(software.op(), kSecret, value, 0), 0);
    EXPECT_EQ(typesOf(again), std::vector<int>{3});
}

TEST(pfx_test, EncryptedContentHasTheShapeOfTheStandard) {
    Software software;
    VT_PFX pfx;
    ASSERT_EQ(pfx.addEncryptSafeContents(software.op(), kSecret, 6, 7, bytes(kBags)), 0);
    const Bytes contents = elementsOf(elementsOf(elementsOf(compose(pfx, 1)).at(1)).at(1)).at(0);
    const Bytes safe(contents.begin() + 4, contents.end());
    const std::vector<Bytes> info = elementsOf(elementsOf(safe).at(0));
    EXPECT_EQ(info.at(0), kEncryptedOid);
    const std::vector<Bytes> encryptedData = elementsOf(elementsOf(info.at(1)).at(0));
    EXPECT_EQ(encryptedData.at(0), der::integer(0));
    const std::vector<Bytes> inner = elementsOf(encryptedData.at(1));
    EXPECT_EQ(inner.at(0), kDataOid);
    const std::vector<Bytes> algorithmParts = elementsOf(inner.at(1));
    EXPECT_EQ(algorithmParts.at(0), pbeOid(6));
    EXPECT_EQ(elementsOf(algorithmParts.at(1)).at(0).size(), 10U) << "a salt of 8 bytes";
    EXPECT_EQ(elementsOf(algorithmParts.at(1)).at(1), der::integer(7));
    EXPECT_EQ(inner.at(2).at(0), 0x80) << "[0] IMPLICIT";
}

TEST(pfx_test, EncryptsByEachType) {
    Software software;
    for (int type = 1; type <= 6; ++type) {
        VT_PFX pfx;
        const int result = pfx.addEncryptSafeContents(software.op(), kSecret, type, 2, bytes(kBags));
        ASSERT_EQ(result, type == 4 ? -7 : 0) << type;
        EXPECT_EQ(typesOf(pfx), type == 4 ? std::vector<int>() : std::vector<int>{4});
        if (result != 0)
            continue;
        VT_PFX again;
        ASSERT_EQ(decompose(again, compose(pfx, 1)), 0);
        MiByte der;
        ASSERT_EQ(again.getEncryptSafeContentsByIndex(software.op(), kSecret, 0, der), 0);
        EXPECT_EQ(hexOf(der), support::toHex(kBags)) << type;
    }
    VT_PFX pfx;
    for (const int type : {0, 7, -1})
        EXPECT_EQ(pfx.addEncryptSafeContents(software.op(), kSecret, type, 2, bytes(kBags)), -1006);
}

TEST(pfx_test, BagsPassAsValues) {
    Software software;
    const auto bags = decoded<AsnSequenceOf<SafeBag>>(kBags);
    VT_PFX pfx;
    ASSERT_EQ(pfx.addDataSafeContents(bags), 0);
    ASSERT_EQ(pfx.addEncryptSafeContents(software.op(), kSecret, 3, 1, bags), 0);
    AsnSequenceOf<SafeBag> data;
    AsnSequenceOf<SafeBag> encrypted;
    ASSERT_EQ(pfx.getDataSafeContentsByIndex(0, data), 0);
    ASSERT_EQ(pfx.getEncryptSafeContentsByIndex(software.op(), kSecret, 0, encrypted), 0);
    EXPECT_EQ(hexOf(data), support::toHex(kBags));
    EXPECT_EQ(hexOf(encrypted), support::toHex(kBags));
}

TEST(pfx_test, IndexCountsContentsOfItsTypeAlone) {
    Software software;
    VT_PFX pfx;
    ASSERT_EQ(pfx.addEncryptSafeContents(software.op(), kSecret, 1, 1, bytes("30 00")), 0);
    ASSERT_EQ(pfx.addDataSafeContents(bytes("30 00")), 0);
    ASSERT_EQ(pfx.addEncryptSafeContents(software.op(), kSecret, 1, 1, bytes(kBags)), 0);
    ASSERT_EQ(pfx.addDataSafeContents(bytes(kBags)), 0);
    EXPECT_EQ(typesOf(pfx), (std::vector<int>{4, 3, 4, 3}));
    int total = 0;
    EXPECT_EQ(pfx.getEncryptSafeContentsTotal(total), 0);
    EXPECT_EQ(total, 2);
    MiByte der;
    ASSERT_EQ(pfx.getDataSafeContentsByIndex(1, der), 0);
    EXPECT_EQ(hexOf(der), support::toHex(kBags));
    ASSERT_EQ(pfx.getEncryptSafeContentsByIndex(software.op(), kSecret, 1, der), 0);
    EXPECT_EQ(hexOf(der), support::toHex(kBags));
    AsnSequenceOf<SafeBag> bags;
    for (const int index : {2, 128, INT32_MAX, -1, INT32_MIN}) {
        EXPECT_EQ(pfx.getDataSafeContentsByIndex(index, der), -1005);
        EXPECT_EQ(pfx.getDataSafeContentsByIndex(index, bags), -1005);
        EXPECT_EQ(pfx.getEncryptSafeContentsByIndex(software.op(), kSecret, index, der), -1005);
        EXPECT_EQ(pfx.getEncryptSafeContentsByIndex(software.op(), kSecret, index, bags), -1005);
    }
}

TEST(pfx_test, Holds128Contents) {
    Software software;
    VT_PFX pfx;
    for (int i = 0; i < 128; ++i)
        ASSERT_EQ(pfx.addDataSafeContents(bytes("30 00")), 0);
    EXPECT_EQ(pfx.addDataSafeContents(bytes("30 00")), -1014);
    EXPECT_EQ(pfx.addEncryptSafeContents(software.op(), kSecret, 1, 1, bytes("30 00")), -1014);
    EXPECT_EQ(layoutOf(pfx).data, 128);
    EXPECT_EQ(decompose(compose(pfx, 1)), 0);
}

TEST(pfx_test, CompositionNeedsAChooser) {
    VT_P11_OP none;
    const VT_PFX pfx;
    MiByte der = bytes("01");
    EXPECT_EQ(pfx.composePFXBaseOnPassword(none, kSecret, 1, der), -2);
    EXPECT_EQ(pfx.composePFXBaseOnPassword(Software().op(), kSecret, 10'000'001, der), -1006);
    EXPECT_EQ(hexOf(der), "01");
}

// ---- Decomposing

TEST(pfx_test, OpensTheFilesOfOtherPrograms) {
    const char* const files[] = {
        vectors::kPfxRc4,      vectors::kPfxRc4Short,     vectors::kPfxTripleDes,      vectors::kPfxRc2,
        vectors::kPfxRc2Short, vectors::kPfxOneIteration, vectors::kPfxManyIterations, vectors::kPfxChain,
        vectors::kPfxGnutls};
    Software software;
    for (const char* der : files) {
        VT_PFX pfx;
        ASSERT_EQ(decompose(pfx, hex(der)), 0);
        EXPECT_EQ(layoutOf(pfx).total, 2);
        VT_SafeContents certificates;
        VT_SafeContents keys;
        MiByte contents;
        ASSERT_EQ(pfx.getEncryptSafeContentsByIndex(software.op(), kSecret, 0, contents), 0);
        ASSERT_EQ(certificates.decomposeSafeContents(contents), 0);
        ASSERT_EQ(pfx.getDataSafeContentsByIndex(0, contents), 0);
        ASSERT_EQ(keys.decomposeSafeContents(contents), 0);
        MiByte certificate;
        MiByte shrouded;
        MiByte id;
        MiByte keyId;
        MiByte pkcs1;
        ASSERT_EQ(certificates.getCertDerByIndex(0, certificate, id), 0);
        EXPECT_EQ(hexOf(certificate), hexOf(vectors::kAliceCertificate));
        ASSERT_EQ(keys.getShroudedKeyDerByIndex(0, shrouded, keyId), 0);
        EXPECT_EQ(hexOf(id), hexOf(keyId));
        ASSERT_EQ(VT_SafeContents::P8DecryptPrivateKeyInfo(software.op(), kSecret, shrouded, pkcs1), 0);
        EXPECT_EQ(hexOf(pkcs1), hexOf(vectors::kAlicePkcs1));
    }
}

TEST(pfx_test, NamesAreRead) {
    Software software;
    VT_PFX pfx;
    ASSERT_EQ(decompose(pfx, hex(vectors::kPfxChain)), 0);
    VT_SafeContents bags;
    MiByte contents;
    ASSERT_EQ(pfx.getEncryptSafeContentsByIndex(software.op(), kSecret, 0, contents), 0);
    ASSERT_EQ(bags.decomposeSafeContents(contents), 0);
    MiByte certificate;
    MiByte id;
    MiByte name;
    ASSERT_EQ(bags.getCertDerByIndex(0, certificate, id, name), 0);
    EXPECT_EQ(name, text("Alice's key"));
    EXPECT_EQ(bags.getCertDerByID(id, certificate, name), 0);
    EXPECT_EQ(bags.getCertDerByIndex(1, certificate, id), -1001) << "the others have names alone";
    Certificate value;
    AsnSetOf<PKCS12Attribute> attributes;
    ASSERT_EQ(bags.getCertDerByIndex(1, value, attributes), 0);
    ASSERT_EQ(VT_SafeContents::getNameAttribute(attributes, name), 0);
    EXPECT_EQ(name, text("root"));
    EXPECT_EQ(hexOf(value), hexOf(vectors::kRootCertificate));
    EXPECT_EQ(bags.getCertDerByIndex(3, certificate), 0);
    EXPECT_EQ(bags.getCertDerByIndex(4, certificate), -1005);
}

TEST(pfx_test, TwoKeyTripleDesIsRefused) {
    Software software;
    VT_PFX pfx;
    ASSERT_EQ(decompose(pfx, hex(vectors::kPfxTwoKeyDes)), 0);
    MiByte contents;
    EXPECT_EQ(pfx.getEncryptSafeContentsByIndex(software.op(), kSecret, 0, contents), -7);
}

TEST(pfx_test, PasswordsAreBytes) {
    EXPECT_EQ(decompose(hex(vectors::kPfxEmptyPassword), MiByte()), 0);
    EXPECT_EQ(decompose(hex(vectors::kPfxEmptyPassword), text("x")), -1012);
    EXPECT_EQ(decompose(hex(vectors::kPfxHighBytes), text("caf\xE9\xFF\x80")), 0);
    EXPECT_EQ(decompose(hex(vectors::kPfxHighBytes), text("caf\xE9\xFF\x81")), -1012);
    EXPECT_EQ(decompose(hex(vectors::kPfxRc4), text("Secret")), -1012);
    EXPECT_EQ(decompose(hex(vectors::kPfxRc4), MiByte()), -1012);
    EXPECT_EQ(decompose(hex(vectors::kPfxRc4), MiByte("secret", 0, 7)), -1012) << "a zero byte is one of its bytes";
}

TEST(pfx_test, SkippedMacIsNotLookedAt) {
    VT_PFX pfx;
    EXPECT_EQ(decompose(pfx, hex(vectors::kPfxRc4), text("wrong"), 1), 0);
    EXPECT_EQ(typesOf(pfx), (std::vector<int>{4, 3}));
    EXPECT_EQ(decompose(pfx, hex(vectors::kPfxRc4), text("wrong"), 2), -1012) << "1 alone skips";
    EXPECT_EQ(decompose(pfx, hex(vectors::kPfxRc4), text("wrong"), -1), -1012);
    EXPECT_EQ(decompose(pfx, hex(vectors::kPfxNew), text("wrong"), 1), 0);
    EXPECT_EQ(decompose(pfx, hex(vectors::kPfxNoMac), kSecret, 1), 0);
    EXPECT_EQ(decompose(pfx, hex(vectors::kPfxNoMac), kSecret, 0), -1001);
    VT_P11_OP none;
    EXPECT_EQ(pfx.decomposePFXBaseOnPassword(none, kSecret, bytes(vectors::kPfxRc4), 1), 0);
    EXPECT_EQ(pfx.decomposePFXBaseOnPassword(none, kSecret, bytes(vectors::kPfxRc4), 0), -2);
}

TEST(pfx_test, ContentsAreThereWhenTheMacDiffers) {
    VT_PFX pfx;
    EXPECT_EQ(decompose(pfx, hex(vectors::kPfxRc4), text("wrong")), -1012);
    MiByte contents;
    EXPECT_EQ(pfx.getDataSafeContentsByIndex(0, contents), 0);
}

TEST(pfx_test, NewerAlgorithmsAreNotSupported) {
    Software software;
    VT_PFX pfx;
    EXPECT_EQ(decompose(pfx, hex(vectors::kPfxNew)), -1006) << "a MAC of SHA-256";
    ASSERT_EQ(decompose(pfx, hex(vectors::kPfxNewEncryption)), 0);
    MiByte contents;
    EXPECT_EQ(pfx.getEncryptSafeContentsByIndex(software.op(), kSecret, 0, contents), -1006);
    Mac mac;
    mac.algorithm = algorithm(kSha256Oid);
    EXPECT_EQ(decompose(file(hex("30 00"), mac)), -1006);
}

TEST(pfx_test, ChangedContentsAreNoticed) {
    const Bytes contents = der::sequence({dataContent(kBags), dataContent(hex("30 00"))});
    ASSERT_EQ(decompose(file(contents)), 0);
    const Bytes macData = macOver(contents, Mac());
    for (std::size_t i = 0; i < contents.size(); ++i) {
        Bytes changed = contents;
        changed[i] ^= 0x01U;
        VT_PFX pfx;
        const int result = resultOf([&] { return decompose(pfx, fileOf(dataContent(changed), macData)); });
        // What cannot be decoded any more does not come as far as the MAC.
        EXPECT_THAT(result, testing::AnyOf(-1012, kException)) << i;
    }
}

TEST(pfx_test, ChangedMacIsNoticed) {
    const Bytes contents = hex("30 00");
    const Bytes good = macOver(contents, Mac());
    const Bytes digestValue = hex("04 14");
    const auto digestAt = std::search(good.begin(), good.end(), digestValue.begin(), digestValue.end()) + 2;
    const auto saltAt = digestAt + 20 + 2;
    for (auto at = digestAt; at < saltAt + 8; ++at) {
        if (at == digestAt + 20 || at == digestAt + 21)
            continue;  // tag and length of the salt
        Bytes changed = good;
        changed[static_cast<std::size_t>(at - good.begin())] ^= 0x01U;
        EXPECT_EQ(decompose(fileOf(dataContent(contents), changed)), -1012) << at - good.begin();
    }
    const std::vector<Bytes> parts = elementsOf(good);
    const Bytes digest = elementsOf(parts[0])[1];
    for (const Bytes& other : {octets({}), octets(Bytes(digest.begin() + 2, digest.end() - 1)),
                               octets(der::join({Bytes(digest.begin() + 2, digest.end()), {0}}))})
        EXPECT_EQ(decompose(fileOf(dataContent(contents),
                                   der::sequence({der::sequence({algorithm(kSha1Oid), other}), parts[1], parts[2]}))),
                  -1012);
}

TEST(pfx_test, IterationsOfTheMac) {
    const Bytes contents = hex("30 00");
    Mac mac;
    for (const std::int64_t one : {0, -1, -128, -2147483647 - 1}) {
        mac.iterations = der::integer(one);
        EXPECT_EQ(decompose(file(contents, mac)), 0) << one << " counts as one";
    }
    mac.iterations = {};
    EXPECT_EQ(decompose(file(contents, mac)), 0) << "one where there is none";
    mac.iterations = hex("02 05 00 00 00 00 01");
    EXPECT_EQ(decompose(file(contents, mac)), 0) << "leading zeros";
    for (const std::int64_t many : {std::int64_t{10'000'001}, std::int64_t{2'000'000'000}, std::int64_t{1} << 32,
                                    (std::int64_t{1} << 32) + 1, INT64_MAX}) {
        mac.iterations = der::integer(many);
        EXPECT_EQ(decompose(file(contents, mac)), -1006) << many;
    }
}

TEST(pfx_test, SaltsOfAnyLengthAreTaken) {
    for (const std::size_t length : {0U, 1U, 63U, 64U, 65U, 1000U}) {
        Mac mac;
        mac.salt = Bytes(length, 0xA5);
        EXPECT_EQ(decompose(file(hex("30 00"), mac)), 0) << length;
    }
}

TEST(pfx_test, AuthenticatedSafeMustBeData) {
    EXPECT_EQ(decompose(der::sequence({})), -1001);
    EXPECT_EQ(decompose(der::sequence({der::integer(3), der::sequence({})})), -1001);
    EXPECT_EQ(decompose(der::sequence({der::integer(3), content(kSignedOid, octets(hex("30 00")))})), -1006);
    EXPECT_EQ(decompose(der::sequence({der::integer(3), content(kEncryptedOid, octets(hex("30 00")))})), -1006);
    EXPECT_EQ(decompose(der::sequence({der::integer(3), der::sequence({kDataOid})})), -1001) << "no content";
    EXPECT_EQ(decompose(der::sequence({der::integer(3), dataContent({})})), kException) << "no sequence";
    EXPECT_EQ(decompose({}), kException);
}

TEST(pfx_test, MacNeedsItsParts) {
    const Bytes safe = dataContent(hex("30 00"));
    EXPECT_EQ(decompose(fileOf(safe, der::sequence({}))), -1001);
    EXPECT_EQ(decompose(fileOf(safe, der::sequence({der::sequence({}), octets({})}))), -1001) << "no algorithm";
    EXPECT_EQ(decompose(fileOf(safe, der::sequence({der::sequence({der::sequence({}), octets({})}), octets({})}))),
              -1001);
}

TEST(pfx_test, ContentsAreSortedByType) {
    const Bytes contents = der::sequence({dataContent(hex("30 00")), content(kEnvelopedOid, der::sequence({})),
                                          content(kEncryptedOid, der::sequence({})),
                                          content(kSignedOid, der::sequence({})), dataContent(hex("30 00"))});
    VT_PFX pfx;
    ASSERT_EQ(decompose(pfx, file(contents)), 0);
    EXPECT_EQ(typesOf(pfx), (std::vector<int>{3, 5, 4, 0, 3}));
    EXPECT_EQ(layoutOf(pfx).data, 2);
    EXPECT_EQ(layoutOf(pfx).encrypted, 1);
    EXPECT_EQ(layoutOf(pfx).enveloped, 1);
    EXPECT_EQ(layoutOf(pfx).total, 5);
    EXPECT_EQ(decompose(file(der::sequence({dataContent(hex("30 00")), der::sequence({})}))), -1001) << "no type";
}

TEST(pfx_test, Content129Fails) {
    VT_PFX pfx;
    EXPECT_EQ(decompose(pfx, file(der::tlv(0x30, der::repeat(128, dataContent(hex("30 00")))))), 0);
    EXPECT_EQ(decompose(pfx, file(der::tlv(0x30, der::repeat(129, dataContent(hex("30 00")))))), -1014);
    EXPECT_EQ(decompose(pfx, file(der::tlv(0x30, der::repeat(129, dataContent(hex("30 00"))))), kSecret, 1), -1014);
    Software software;
    MiByte found;
    EXPECT_EQ(pfx.getDataSafeContentsByIndex(0, found), -1014);
    EXPECT_EQ(pfx.getEncryptSafeContentsByIndex(software.op(), kSecret, 0, found), -1014);
    EXPECT_EQ(pfx.addDataSafeContents(bytes("30 00")), -1014);
    pfx.Reset();
    EXPECT_EQ(pfx.addDataSafeContents(bytes("30 00")), 0);
}

TEST(pfx_test, EncryptedContentNeedsItsParts) {
    Software software;
    const Bytes some = der::tlv(0x80, hex("0102030405060708"));
    const Bytes good = pbe(3, hex("01"), der::integer(1));
    const auto open = [&](const Bytes& inner) {
        VT_PFX pfx;
        const Bytes data = der::sequence({der::integer(0), inner});
        EXPECT_EQ(decompose(pfx, file(der::sequence({content(kEncryptedOid, data)}))), 0);
        MiByte found;
        return resultOf([&] { return pfx.getEncryptSafeContentsByIndex(software.op(), kSecret, 0, found); });
    };
    EXPECT_EQ(open(der::sequence({})), -1001);
    EXPECT_EQ(open(der::sequence({kDataOid, good})), -1001) << "no data";
    EXPECT_EQ(open(der::sequence({kSignedOid, good, some})), -1006);
    EXPECT_EQ(open(der::sequence({kDataOid, algorithm(kSha1Oid), some})), -1006);
    EXPECT_EQ(open(der::sequence({kDataOid, der::sequence({pbeOid(3)}), some})), -1001) << "no parameters";
    EXPECT_EQ(open(der::sequence({kDataOid, pbe(3, hex("01"), der::integer(2'000'000'000)), some})), -1006);
    EXPECT_EQ(open(der::sequence({kDataOid, good, der::tlv(0x80, hex("010203"))})), -3);
}

TEST(pfx_test, TypeTellsOfTheMac) {
    int type = 0;
    EXPECT_EQ(VT_PFX::getPFXType(bytes(vectors::kPfxRc4), type), 0);
    EXPECT_EQ(type, 1);
    EXPECT_EQ(VT_PFX::getPFXType(bytes(vectors::kPfxNoMac), type), 0);
    EXPECT_EQ(type, 2);
    EXPECT_EQ(VT_PFX::getPFXType(decoded<PFX>(vectors::kPfxRc4), type), 0);
    EXPECT_EQ(type, 1);
    EXPECT_EQ(resultOf([&] { return VT_PFX::getPFXType(bytes("30 05"), type); }), kException);
    EXPECT_EQ(type, 1);
}

// The length octet 80 counts as no content, so that such a file is an empty one.
TEST(pfx_test, IndefiniteLengthsAreNotRead) {
    EXPECT_EQ(decompose(hex(vectors::kPfxNss)), -1001);
}

TEST(pfx_test, CopiesAreDeep) {
    VT_PFX pfx;
    ASSERT_EQ(pfx.addDataSafeContents(bytes(kBags)), 0);
    const VT_PFX copy = pfx;
    VT_PFX assigned;
    assigned = pfx;
    const VT_PFX& self = assigned;
    assigned = self;
    pfx.Reset();
    MiByte found;
    EXPECT_EQ(pfx.getDataSafeContentsByIndex(0, found), -1005);
    EXPECT_EQ(copy.getDataSafeContentsByIndex(0, found), 0);
    EXPECT_EQ(assigned.getDataSafeContentsByIndex(0, found), 0);
}

// ---- Hostile input

void readAll(const Bytes& der) {
    Software software;
    VT_PFX pfx;
    MiByte found;
    resultOf([&] { return decompose(pfx, der); });
    resultOf([&] { return pfx.getDataSafeContentsByIndex(0, found); });
    resultOf([&] { return pfx.getEncryptSafeContentsByIndex(software.op(), kSecret, 0, found); });
    VT_SafeContents bags;
    resultOf([&] { return bags.decomposeSafeContents(found); });
    resultOf([&] { return bags.getCertDerByIndex(0, found); });
    resultOf([&] { return bags.getShroudedKeyDerByIndex(0, found); });
    resultOf([&] { return VT_SafeContents::P8DecryptPrivateKeyInfo(software.op(), kSecret, found, found); });
}

TEST(pfx_test, BrokenFilesAreRefused) {
    const Bytes good = hex(vectors::kPfxOneIteration);
    ASSERT_EQ(decompose(good), 0);
    for (const support::Broken& broken : support::truncations(good))
        EXPECT_EQ(decompose(broken.bytes), kException) << broken.place;
    for (const auto& all : {support::withTrailingData(good, hex("05 00")), support::withShortLengths(good),
                            support::withLongLengths(good), support::withTags(good, 0x05),
                            support::withTags(good, 0xA1), support::withIndefiniteLengths(good)})
        for (const support::Broken& broken : all)
            readAll(broken.bytes);
    support::Noise noise(11);
    for (int i = 0; i < 500; ++i) {
        Bytes changed = good;
        changed[noise.below(static_cast<std::uint32_t>(changed.size()))] = noise.byte();
        readAll(changed);
    }
}

TEST(pfx_test, DeepNestingIsSurvived) {
    Bytes nested = hex("30 00");
    for (int i = 0; i < 2000; ++i)
        nested = der::sequence({nested});
    readAll(nested);
    readAll(file(nested));
    readAll(file(der::sequence({content(kEncryptedOid, nested)})));
}

// ---- Exhausted memory

TEST(pfx_test, ExhaustedMemoryIsSurvived) {
    Software software;
    const MiByte bags = bytes(kBags);
    bool done = false;
    const long runs = support::forEachExhaustion([&] {
        try {
            VT_PFX pfx;
            VT_PFX copy;
            MiByte der;
            int result = pfx.addDataSafeContents(bags);
            if (result == 0)
                result = pfx.addEncryptSafeContents(software.op(), kSecret, 6, 1, bags);
            copy = pfx;
            if (result == 0)
                result = copy.composePFXBaseOnPassword(software.op(), kSecret, 1, der);
            if (result == 0)
                result = pfx.decomposePFXBaseOnPassword(software.op(), kSecret, der, 0);
            if (result == 0)
                result = pfx.getEncryptSafeContentsByIndex(software.op(), kSecret, 0, der);
            done = result == 0;
        } catch (const std::bad_alloc&) {
            done = false;
        }
    });
    EXPECT_TRUE(done) << "the run without a failure";
    EXPECT_GT(runs, 0);
}

}  // namespace
