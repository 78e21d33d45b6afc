#include "pki/safe_contents.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <type_traits>
#include <vector>

#include "pki/pkcs12_kdf.h"
#include "pki/pkcs12_pbe.h"
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
    std::int32_t certificates;
    std::int32_t revocations;
    std::int32_t keys;
    std::int32_t shroudedKeys;
    std::int32_t secrets;
    std::int32_t paired;
    std::int32_t total;
    std::uint8_t types[128];
    AsnSequenceOf<SafeBag>* bags;
};
static_assert(sizeof(VT_SafeContents) == sizeof(Layout) && !std::is_polymorphic_v<VT_SafeContents>);

const Layout& layoutOf(const VT_SafeContents& contents) {
    return reinterpret_cast<const Layout&>(contents);
}

std::vector<int> typesOf(const VT_SafeContents& contents) {
    const Layout& layout = layoutOf(contents);
    return {layout.types, layout.types + std::min(layout.total, 128)};
}

const Bytes kAlice = hex(vectors::kAliceCertificate);
const Bytes kRoot = hex(vectors::kRootCertificate);
const Bytes kShrouded = hex(vectors::kShroudedTripleDes);

MiByte composed(const VT_SafeContents& contents) {
    MiByte der;
    EXPECT_EQ(contents.composeSafeContents(der), 0);
    return der;
}

int decompose(VT_SafeContents& contents, const Bytes& der) {
    return contents.decomposeSafeContents(bytes(der));
}

AsnSetOf<PKCS12Attribute> attributesOf(const char* id) {
    AsnSetOf<PKCS12Attribute> attributes;
    EXPECT_EQ(VT_SafeContents::addIDAttribute(attributes, bytes(id)), 0);
    return attributes;
}

// ---- The derivation

int derive(VT_P11_OP& op, int purpose, const MiByte& password, const MiByte& salt, int iterations, unsigned int length,
           MiByte& output) {
    const auto entry = purpose == 1 ? pki::deriveKey : purpose == 2 ? pki::deriveIv : pki::deriveMacKey;
    return entry(op, password, salt, iterations, length, output);
}

TEST(safe_contents_test, DerivesAsOpensslDoes) {
    Software software;
    for (const vectors::Pkcs12Derivation& row : vectors::kPkcs12Derivations) {
        const std::string expected = hexOf(row.output);
        MiByte output;
        ASSERT_EQ(derive(software.op(), row.purpose, bytes(row.password), bytes(row.salt), row.iterations,
                         static_cast<unsigned int>(hex(row.output).size()), output),
                  0);
        EXPECT_EQ(hexOf(output), expected) << row.password << " " << row.iterations;
    }
}

TEST(safe_contents_test, DerivesTheFrontOfTheSameBytesForEachLength) {
    Software software;
    const vectors::Pkcs12Derivation& row = vectors::kPkcs12Derivations[6];
    for (unsigned int length = 0; length <= 64; ++length) {
        MiByte output = bytes("FF");
        ASSERT_EQ(
            derive(software.op(), row.purpose, bytes(row.password), bytes(row.salt), row.iterations, length, output),
            0);
        EXPECT_EQ(hexOf(output), hexOf(row.output).substr(0, length == 0 ? 0 : 3 * length - 1));
    }
}

TEST(safe_contents_test, DerivesFromNoSalt) {
    // SHA-1 of 64 bytes 01 and the password's characters up to 64 bytes, by hashlib of Python.
    Software software;
    MiByte output;
    ASSERT_EQ(pki::deriveKey(software.op(), text("ab"), MiByte(), 1, 20, output), 0);
    EXPECT_EQ(hexOf(output), hexOf("A8124AEE4C320E0A7060EFF552A53943C92BC525"));
}

TEST(safe_contents_test, HashesAtLeastOnce) {
    Software software;
    MiByte once;
    ASSERT_EQ(pki::deriveKey(software.op(), text("smeg"), bytes("0A58CF64530D823F"), 1, 24, once), 0);
    for (const int iterations : {0, -1, INT32_MIN}) {
        MiByte output;
        ASSERT_EQ(pki::deriveKey(software.op(), text("smeg"), bytes("0A58CF64530D823F"), iterations, 24, output), 0);
        EXPECT_EQ(hexOf(output), hexOf(once));
    }
}

TEST(safe_contents_test, RefusesMoreIterationsThanAnybodyWaitsFor) {
    Software software;
    MiByte output = bytes("01");
    for (const int iterations : {10'000'001, 2'000'000'000, INT32_MAX})
        EXPECT_EQ(pki::deriveKey(software.op(), kSecret, bytes("01"), iterations, 20, output), -1006);
    EXPECT_EQ(hexOf(output), "01");
    int count = 0;
    EXPECT_EQ(pki::countOf(AsnInteger(10'000'000), count), 0);
    EXPECT_EQ(count, 10'000'000);
    EXPECT_EQ(pki::countOf(AsnInteger(10'000'001), count), -1006);
    EXPECT_EQ(pki::countOf(AsnInteger(MiBigInteger(bytes("01 00 00 00 00 00 00 00 01"))), count), -1006);
    EXPECT_EQ(pki::countOf(AsnInteger(MiBigInteger(bytes("FF 00 00 00 00 00 00 00 01"))), count), 0) << "negative";
}

TEST(safe_contents_test, DerivationNeedsAChooser) {
    VT_P11_OP none;
    MiByte output;
    EXPECT_EQ(pki::deriveKey(none, kSecret, bytes("01"), 1, 20, output), -2);
    EXPECT_EQ(pki::hmacSha1(none, kSecret, bytes("01"), output), -2);
}

// RFC 2202, 3: test cases 1 to 3.
TEST(safe_contents_test, HmacGivesThePublishedValues) {
    const struct {
        MiByte key;
        MiByte data;
        const char* mac;
    } cases[] = {{MiByte(20, 0x0B), text("Hi There"), "B617318655057264E28BC0B6FB378C8EF146BE00"},
                 {text("Jefe"), text("what do ya want for nothing?"), "EFFCDF6AE5EB2FA2D27416D5F184DF9C259A7C79"},
                 {MiByte(20, 0xAA), MiByte(50, 0xDD), "125D7342B9AC11CD91A39AF48AA17B4F63F175D3"}};
    Software software;
    for (const auto& row : cases) {
        MiByte mac;
        ASSERT_EQ(pki::hmacSha1(software.op(), row.key, row.data, mac), 0);
        EXPECT_EQ(hexOf(mac), hexOf(row.mac));
    }
}

// ---- Bags

TEST(safe_contents_test, NewContentsAreEmpty) {
    const VT_SafeContents contents;
    EXPECT_EQ(hexOf(composed(contents)), hexOf("3000"));
    EXPECT_EQ(layoutOf(contents).total, 0);
    EXPECT_EQ(layoutOf(contents).reserved, 0);
    int total = 1;
    EXPECT_EQ(contents.getShroudedKeyDerTotal(total), 0);
    EXPECT_EQ(total, 0);
}

TEST(safe_contents_test, CertificateBagHasTheShapeOfTheStandard) {
    VT_SafeContents contents;
    ASSERT_EQ(contents.addCertDer(bytes(kAlice)), 0);
    EXPECT_EQ(hexOf(composed(contents)), support::toHex(der::sequence({bag(kCertBagOid, certBag(kAlice))})));
    EXPECT_EQ(layoutOf(contents).certificates, 1);
    EXPECT_EQ(typesOf(contents), std::vector<int>{1});
}

TEST(safe_contents_test, CertificateAsAValueMakesTheSameBag) {
    VT_SafeContents contents;
    ASSERT_EQ(contents.addCertDer(decoded<Certificate>(kAlice)), 0);
    ASSERT_EQ(contents.addCertDer(decoded<Certificate>(kRoot), attributesOf("01 00 00 00")), 0);
    EXPECT_EQ(
        hexOf(composed(contents)),
        support::toHex(der::sequence({bag(kCertBagOid, certBag(kAlice)),
                                      bag(kCertBagOid, certBag(kRoot), der::set({idAttribute(hex("01000000"))}))})));
}

TEST(safe_contents_test, CertificateCarriesIdentifierAndName) {
    VT_SafeContents contents;
    ASSERT_EQ(contents.addCertDer(bytes(kAlice), bytes("01 02")), 0);
    ASSERT_EQ(contents.addCertDer(bytes(kRoot), bytes("03"), text("Root")), 0);
    // A set is in the order of its encodings.
    EXPECT_EQ(hexOf(composed(contents)),
              support::toHex(der::sequence(
                  {bag(kCertBagOid, certBag(kAlice), der::set({idAttribute(hex("0102"))})),
                   bag(kCertBagOid, certBag(kRoot), der::set({idAttribute(hex("03")), nameAttribute("Root")}))})));
}

TEST(safe_contents_test, CertificateKeepsItsBytesButNotWhatFollows) {
    VT_SafeContents contents;
    ASSERT_EQ(contents.addCertDer(bytes(der::join({kAlice, hex("DE AD")}))), 0);
    MiByte certificate;
    ASSERT_EQ(contents.getCertDerByIndex(0, certificate), 0);
    EXPECT_EQ(hexOf(certificate), support::toHex(kAlice));
}

TEST(safe_contents_test, SomethingElseThanACertificateIsNotAdded) {
    VT_SafeContents contents;
    for (const char* malformed : {"", "30", "3005", "3003020100"}) {
        EXPECT_EQ(resultOf([&] { return contents.addCertDer(bytes(malformed)); }), kException) << malformed;
        EXPECT_EQ(resultOf([&] { return contents.addCertDer(bytes(malformed), bytes("01")); }), kException);
        EXPECT_EQ(resultOf([&] { return contents.addCertDer(bytes(malformed), bytes("01"), text("a")); }), kException);
    }
    EXPECT_EQ(layoutOf(contents).total, 0);
}

TEST(safe_contents_test, CertificatesAreGivenInEachForm) {
    VT_SafeContents contents;
    ASSERT_EQ(contents.addCertDer(bytes(kRoot)), 0);
    ASSERT_EQ(contents.addCertDer(bytes(kAlice), bytes("01 02"), text("Alice")), 0);
    Certificate value;
    ASSERT_EQ(contents.getCertDerByIndex(1, value), 0);
    EXPECT_EQ(hexOf(value), support::toHex(kAlice));
    AsnSetOf<PKCS12Attribute> attributes;
    Certificate again;
    ASSERT_EQ(contents.getCertDerByIndex(1, again, attributes), 0);
    EXPECT_EQ(hexOf(again), support::toHex(kAlice));
    EXPECT_EQ(attributes.Size(), 2U);
    MiByte certificate;
    MiByte id;
    ASSERT_EQ(contents.getCertDerByIndex(1, certificate, id), 0);
    EXPECT_EQ(hexOf(certificate), support::toHex(kAlice));
    EXPECT_EQ(hexOf(id), hexOf("0102"));
    MiByte name;
    certificate = id = MiByte();
    ASSERT_EQ(contents.getCertDerByIndex(1, certificate, id, name), 0);
    EXPECT_EQ(hexOf(certificate), support::toHex(kAlice));
    EXPECT_EQ(hexOf(id), hexOf("0102"));
    EXPECT_EQ(name, text("Alice"));
}

TEST(safe_contents_test, AttributesThatABagLacksAreAbsent) {
    VT_SafeContents contents;
    ASSERT_EQ(contents.addCertDer(bytes(kRoot)), 0);
    ASSERT_EQ(contents.addCertDer(bytes(kAlice), bytes("01")), 0);
    MiByte certificate = bytes("0C");
    MiByte id = bytes("0D");
    MiByte name = bytes("0E");
    Certificate value;
    AsnSetOf<PKCS12Attribute> attributes;
    EXPECT_EQ(contents.getCertDerByIndex(0, certificate, id), -1001);
    EXPECT_EQ(contents.getCertDerByIndex(0, certificate, id, name), -1001);
    EXPECT_EQ(contents.getCertDerByIndex(1, certificate, id, name), -1001) << "an identifier, and no name";
    EXPECT_EQ(contents.getCertDerByIndex(0, value, attributes), -1001);
    EXPECT_EQ(hexOf(certificate) + hexOf(id) + hexOf(name), "0C0D0E") << "as they were";
}

TEST(safe_contents_test, CertificateIsFoundByItsIdentifier) {
    VT_SafeContents contents;
    ASSERT_EQ(contents.addCertDer(bytes(kRoot)), 0);
    ASSERT_EQ(contents.addCertDer(bytes(kRoot), bytes("01")), 0);
    ASSERT_EQ(contents.addCertDer(bytes(kAlice), bytes("02"), text("Alice")), 0);
    ASSERT_EQ(contents.addCertDer(bytes(kRoot), bytes("02"), text("Root")), 0);
    MiByte certificate;
    MiByte name;
    ASSERT_EQ(contents.getCertDerByID(bytes("02"), certificate, name), 0);
    EXPECT_EQ(hexOf(certificate), support::toHex(kAlice)) << "the first";
    EXPECT_EQ(name, text("Alice"));
    EXPECT_EQ(contents.getCertDerByID(bytes("03"), certificate, name), -1005);
    EXPECT_EQ(contents.getCertDerByID(bytes("0200"), certificate, name), -1005);
    EXPECT_EQ(contents.getCertDerByID(bytes("01"), certificate, name), -1001) << "no name";
    EXPECT_EQ(hexOf(certificate), support::toHex(kAlice)) << "as it was";
}

TEST(safe_contents_test, ShroudedKeyBagHasTheShapeOfTheStandard) {
    VT_SafeContents contents;
    ASSERT_EQ(contents.addShroudedKeyDer(bytes(kShrouded), bytes("01 00 00 00")), 0);
    ASSERT_EQ(contents.addShroudedKeyDer(decoded<EncryptedPrivateKeyInfo>(kShrouded), attributesOf("05")), 0);
    EXPECT_EQ(
        hexOf(composed(contents)),
        support::toHex(der::sequence({bag(kShroudedKeyBagOid, kShrouded, der::set({idAttribute(hex("01000000"))})),
                                      bag(kShroudedKeyBagOid, kShrouded, der::set({idAttribute(hex("05"))}))})));
    EXPECT_EQ(layoutOf(contents).shroudedKeys, 2);
    EXPECT_EQ(typesOf(contents), (std::vector<int>{4, 4}));
    EXPECT_EQ(resultOf([&] { return contents.addShroudedKeyDer(bytes("0500"), bytes("01")); }), kException);
    EXPECT_EQ(layoutOf(contents).total, 2);
}

TEST(safe_contents_test, ShroudedKeysAreGivenInEachForm) {
    VT_SafeContents contents;
    ASSERT_EQ(contents.addShroudedKeyDer(bytes(kShrouded), bytes("07")), 0);
    int total = 0;
    EXPECT_EQ(contents.getShroudedKeyDerTotal(total), 0);
    EXPECT_EQ(total, 1);
    MiByte key;
    ASSERT_EQ(contents.getShroudedKeyDerByIndex(0, key), 0);
    EXPECT_EQ(hexOf(key), support::toHex(kShrouded));
    MiByte id;
    key = MiByte();
    ASSERT_EQ(contents.getShroudedKeyDerByIndex(0, key, id), 0);
    EXPECT_EQ(hexOf(key), support::toHex(kShrouded));
    EXPECT_EQ(hexOf(id), "07");
    EncryptedPrivateKeyInfo value;
    ASSERT_EQ(contents.getShroudedKeyDerByIndex(0, value), 0);
    EXPECT_EQ(hexOf(value), support::toHex(kShrouded));
    AsnSetOf<PKCS12Attribute> attributes;
    EncryptedPrivateKeyInfo again;
    ASSERT_EQ(contents.getShroudedKeyDerByIndex(0, again, attributes), 0);
    EXPECT_EQ(hexOf(again), support::toHex(kShrouded));
    EXPECT_EQ(attributes.Size(), 1U);
}

TEST(safe_contents_test, ShroudedKeyWithoutAttributesHasNoIdentifier) {
    VT_SafeContents contents;
    ASSERT_EQ(decompose(contents, der::sequence({bag(kShroudedKeyBagOid, kShrouded)})), 0);
    MiByte key;
    MiByte id;
    EncryptedPrivateKeyInfo value;
    AsnSetOf<PKCS12Attribute> attributes;
    EXPECT_EQ(contents.getShroudedKeyDerByIndex(0, key, id), -1001);
    EXPECT_EQ(contents.getShroudedKeyDerByIndex(0, value, attributes), -1001);
    EXPECT_EQ(contents.getShroudedKeyDerByIndex(0, key), 0);
}

TEST(safe_contents_test, IndexCountsBagsOfItsTypeAlone) {
    VT_SafeContents contents;
    ASSERT_EQ(contents.addShroudedKeyDer(bytes(kShrouded), bytes("01")), 0);
    ASSERT_EQ(contents.addCertDer(bytes(kAlice)), 0);
    ASSERT_EQ(contents.addShroudedKeyDer(bytes(kShrouded), bytes("02")), 0);
    ASSERT_EQ(contents.addCertDer(bytes(kRoot)), 0);
    MiByte found;
    MiByte id;
    ASSERT_EQ(contents.getCertDerByIndex(0, found), 0);
    EXPECT_EQ(hexOf(found), support::toHex(kAlice));
    ASSERT_EQ(contents.getCertDerByIndex(1, found), 0);
    EXPECT_EQ(hexOf(found), support::toHex(kRoot));
    ASSERT_EQ(contents.getShroudedKeyDerByIndex(1, found, id), 0);
    EXPECT_EQ(hexOf(id), "02");
    for (const int index : {2, 3, 128, INT32_MAX, -1, INT32_MIN}) {
        EXPECT_EQ(contents.getCertDerByIndex(index, found), -1005);
        EXPECT_EQ(contents.getShroudedKeyDerByIndex(index, found), -1005);
    }
}

TEST(safe_contents_test, Holds128Bags) {
    VT_SafeContents contents;
    for (int i = 0; i < 127; ++i)
        ASSERT_EQ(contents.addCertDer(bytes(kAlice)), 0);
    ASSERT_EQ(contents.addShroudedKeyDer(bytes(kShrouded), bytes("01")), 0);
    EXPECT_EQ(contents.addCertDer(bytes(kAlice)), -1014);
    EXPECT_EQ(contents.addShroudedKeyDer(bytes(kShrouded), bytes("01")), -1014);
    EXPECT_EQ(layoutOf(contents).total, 128);
    EXPECT_EQ(layoutOf(contents).certificates, 127);
    const MiByte der = composed(contents);
    VT_SafeContents again;
    EXPECT_EQ(again.decomposeSafeContents(der), 0);
    MiByte certificate;
    EXPECT_EQ(again.getCertDerByIndex(126, certificate), 0);
}

TEST(safe_contents_test, Bag129Fails) {
    const Bytes one = bag(kCertBagOid, certBag(kAlice));
    VT_SafeContents contents;
    EXPECT_EQ(decompose(contents, der::tlv(0x30, der::repeat(128, one))), 0);
    EXPECT_EQ(decompose(contents, der::tlv(0x30, der::repeat(129, one))), -1014);
    MiByte found;
    MiByte name;
    EXPECT_EQ(contents.getCertDerByIndex(0, found), -1014);
    EXPECT_EQ(contents.getCertDerByIndex(-1, found), -1014);
    EXPECT_EQ(contents.getCertDerByID(bytes("01"), found, name), -1014);
    EXPECT_EQ(contents.getShroudedKeyDerByIndex(0, found), -1014);
    EXPECT_EQ(contents.addCertDer(bytes(kAlice)), -1014);
    contents.Reset();
    EXPECT_EQ(contents.addCertDer(bytes(kAlice)), 0);
}

// ---- Decomposing

TEST(safe_contents_test, EachTypeIsCounted) {
    const Bytes key = hex(vectors::kAlicePkcs8);
    VT_SafeContents contents;
    ASSERT_EQ(decompose(contents, der::sequence({bag(kCertBagOid, certBag(kAlice)), bag(kCrlBagOid, der::integer(1)),
                                                 bag(kKeyBagOid, key), bag(kShroudedKeyBagOid, kShrouded),
                                                 bag(kSecretBagOid, der::integer(1)),
                                                 bag(kOtherBagOid, der::integer(1)), bag(kKeyBagOid, key)})),
              0);
    EXPECT_EQ(typesOf(contents), (std::vector<int>{1, 2, 3, 4, 5, 0, 3}));
    const Layout& layout = layoutOf(contents);
    EXPECT_EQ(layout.certificates, 1);
    EXPECT_EQ(layout.revocations, 1);
    EXPECT_EQ(layout.keys, 2);
    EXPECT_EQ(layout.shroudedKeys, 1);
    EXPECT_EQ(layout.secrets, 1);
    EXPECT_EQ(layout.paired, 0);
    EXPECT_EQ(layout.total, 7);
}

TEST(safe_contents_test, BagsWithoutAValueAreCounted) {
    AsnSequenceOf<SafeBag> bags;
    for (const Bytes& id : {kCertBagOid, kKeyBagOid, kShroudedKeyBagOid}) {
        SafeBag bag;
        bag.SetBagId(decoded<AsnOid>(id));
        bags.AddElement(bag);
    }
    VT_SafeContents contents;
    ASSERT_EQ(contents.decomposeSafeContents(bags), 0);
    EXPECT_EQ(typesOf(contents), (std::vector<int>{1, 3, 4}));
    MiByte found;
    Certificate value;
    EncryptedPrivateKeyInfo key;
    EXPECT_EQ(contents.getCertDerByIndex(0, found), -1001);
    EXPECT_EQ(contents.getCertDerByIndex(0, value), -1001);
    EXPECT_EQ(contents.getShroudedKeyDerByIndex(0, key), -1001);
}

TEST(safe_contents_test, EqualCertificateAndKeyBagsAreAPair) {
    const Bytes value = der::sequence({der::integer(1)});
    const Bytes other = der::sequence({der::integer(2)});
    VT_SafeContents contents;
    ASSERT_EQ(decompose(contents, der::sequence({bag(kKeyBagOid, other), bag(kCertBagOid, value),
                                                 bag(kCertBagOid, certBag(kAlice)), bag(kKeyBagOid, value)})),
              0);
    EXPECT_EQ(typesOf(contents), (std::vector<int>{3, 6, 1, 6}));
    EXPECT_EQ(layoutOf(contents).paired, 2);
    EXPECT_EQ(layoutOf(contents).certificates, 1);
    EXPECT_EQ(layoutOf(contents).keys, 1);
    MiByte found;
    ASSERT_EQ(contents.getCertDerByIndex(0, found), 0);
    EXPECT_EQ(hexOf(found), support::toHex(kAlice)) << "the pair is passed over";
}

TEST(safe_contents_test, BagWithoutAnIdentifierFails) {
    VT_SafeContents contents;
    EXPECT_EQ(decompose(contents, der::sequence({bag(kCertBagOid, certBag(kAlice)), der::sequence({})})), -1001);
}

TEST(safe_contents_test, DecomposingReplacesWhatWasThere) {
    VT_SafeContents contents;
    ASSERT_EQ(contents.addCertDer(bytes(kAlice)), 0);
    ASSERT_EQ(contents.addCertDer(bytes(kAlice)), 0);
    ASSERT_EQ(decompose(contents, der::sequence({bag(kCertBagOid, certBag(kRoot))})), 0);
    EXPECT_EQ(layoutOf(contents).total, 1);
    EXPECT_EQ(layoutOf(contents).certificates, 1);
    EXPECT_EQ(layoutOf(contents).types[1], 0);
    EXPECT_EQ(resultOf([&] { return decompose(contents, hex("3005")); }), kException);
    EXPECT_EQ(layoutOf(contents).total, 1) << "malformed DER changes nothing";
}

TEST(safe_contents_test, BagsPassAsValues) {
    VT_SafeContents contents;
    ASSERT_EQ(contents.addCertDer(bytes(kAlice)), 0);
    AsnSequenceOf<SafeBag> bags;
    ASSERT_EQ(contents.composeSafeContents(bags), 0);
    VT_SafeContents other;
    ASSERT_EQ(other.decomposeSafeContents(bags), 0);
    EXPECT_EQ(hexOf(composed(other)), hexOf(composed(contents)));
    EXPECT_EQ(typesOf(other), std::vector<int>{1});
}

TEST(safe_contents_test, CertificateOfAnotherKindIsNotSupported) {
    const Bytes sdsi =
        der::sequence({hex("06 0A 2A 86 48 86 F7 0D 01 09 16 02"), der::tagged(0, der::text(0x16, "x"))});
    VT_SafeContents contents;
    ASSERT_EQ(decompose(contents, der::sequence({bag(kCertBagOid, sdsi), bag(kCertBagOid, der::sequence({}))})), 0);
    MiByte found;
    EXPECT_EQ(contents.getCertDerByIndex(0, found), -1006);
    EXPECT_EQ(contents.getCertDerByIndex(1, found), -1001);
}

TEST(safe_contents_test, CopiesAreDeep) {
    VT_SafeContents contents;
    ASSERT_EQ(contents.addCertDer(bytes(kAlice)), 0);
    const VT_SafeContents copy = contents;
    VT_SafeContents assigned;
    assigned = contents;
    const VT_SafeContents& self = assigned;
    assigned = self;
    contents.Reset();
    EXPECT_EQ(hexOf(composed(contents)), hexOf("3000"));
    EXPECT_EQ(layoutOf(contents).certificates, 0);
    MiByte found;
    EXPECT_EQ(contents.getCertDerByIndex(0, found), -1005);
    EXPECT_EQ(copy.getCertDerByIndex(0, found), 0);
    EXPECT_EQ(assigned.getCertDerByIndex(0, found), 0);
}

// ---- Attributes

TEST(safe_contents_test, AttributesHaveTheShapeOfTheStandard) {
    AsnSetOf<PKCS12Attribute> attributes;
    ASSERT_EQ(VT_SafeContents::addIDAttribute(attributes, bytes("0A 0B")), 0);
    ASSERT_EQ(VT_SafeContents::addNameAttribute(attributes, text("Caf\xE9")), 0);
    EXPECT_EQ(hexOf(attributes), support::toHex(der::set({idAttribute(hex("0A0B")), nameAttribute("Caf\xE9")})));
}

TEST(safe_contents_test, AttributesAreRead) {
    AsnSetOf<PKCS12Attribute> attributes;
    MiByte value = bytes("09");
    EXPECT_EQ(VT_SafeContents::getIDAttribute(attributes, value), -1001);
    EXPECT_EQ(VT_SafeContents::getNameAttribute(attributes, value), -1001);
    EXPECT_EQ(hexOf(value), "09");
    attributes = decoded<AsnSetOf<PKCS12Attribute>>(
        der::set({nameAttribute("Caf\xE9 1"), idAttribute(hex("01")), idAttribute(hex("02")), der::sequence({})}));
    EXPECT_EQ(VT_SafeContents::getIDAttribute(attributes, value), 0);
    EXPECT_EQ(hexOf(value), "01") << "the first";
    EXPECT_EQ(VT_SafeContents::getNameAttribute(attributes, value), 0);
    EXPECT_EQ(value, text("Caf 1")) << "visible characters alone";
}

TEST(safe_contents_test, AttributeWithoutAValueIsAbsent) {
    PKCS12Attribute id;
    id.SetAttrId(decoded<AsnOid>(kIdOid));
    id.SetAttrValues(AsnSetOf<AsnOctetString>());
    PKCS12Attribute name;
    name.SetAttrId(decoded<AsnOid>(kNameOid));
    AsnSetOf<PKCS12Attribute> attributes;
    attributes.AddElement(id);
    attributes.AddElement(name);
    MiByte value;
    EXPECT_EQ(VT_SafeContents::getIDAttribute(attributes, value), -1001);
    EXPECT_EQ(VT_SafeContents::getNameAttribute(attributes, value), -1001);
}

TEST(safe_contents_test, EmptyAttributesAreAttributes) {
    AsnSetOf<PKCS12Attribute> attributes;
    ASSERT_EQ(VT_SafeContents::addIDAttribute(attributes, MiByte()), 0);
    ASSERT_EQ(VT_SafeContents::addNameAttribute(attributes, MiByte()), 0);
    EXPECT_EQ(hexOf(attributes), support::toHex(der::set({nameAttribute(""), idAttribute({})})));
    MiByte value = bytes("01");
    EXPECT_EQ(VT_SafeContents::getIDAttribute(attributes, value), 0);
    EXPECT_TRUE(value.Empty());
}

// ---- PKCS#8

TEST(safe_contents_test, Pkcs8IsThatOfOpenssl) {
    MiByte pkcs8;
    ASSERT_EQ(VT_SafeContents::P8EncodePrivateKeyInfo(bytes(vectors::kAlicePkcs1), pkcs8), 0);
    EXPECT_EQ(hexOf(pkcs8), hexOf(vectors::kAlicePkcs8));
    MiByte pkcs1;
    ASSERT_EQ(VT_SafeContents::P8DecodePrivateKeyInfo(bytes(vectors::kAlicePkcs8), pkcs1), 0);
    EXPECT_EQ(hexOf(pkcs1), hexOf(vectors::kAlicePkcs1));
}

TEST(safe_contents_test, Pkcs8NeedsAnRsaKey) {
    MiByte pkcs1 = bytes("01");
    const auto decode = [&](const Bytes& der) {
        return resultOf([&] { return VT_SafeContents::P8DecodePrivateKeyInfo(bytes(der), pkcs1); });
    };
    EXPECT_EQ(decode(hex(vectors::kCurvePkcs8)), -1006);
    EXPECT_EQ(decode(der::sequence({})), -1001);
    EXPECT_EQ(decode(der::sequence({der::integer(0), der::sequence({}), octets({})})), -1001) << "no identifier";
    EXPECT_EQ(decode(der::sequence({der::integer(0), algorithm(kRsaOid)})), kException) << "no key";
    EXPECT_EQ(decode(hex("3005")), kException);
    EXPECT_EQ(decode({}), kException);
    EXPECT_EQ(hexOf(pkcs1), "01");
}

const char* const kShroudedByType[] = {vectors::kShroudedRc4,       vectors::kShroudedRc4Short,
                                       vectors::kShroudedTripleDes, vectors::kShroudedTwoKeyDes,
                                       vectors::kShroudedRc2,       vectors::kShroudedRc2Short};

TEST(safe_contents_test, DecryptsTheKeysOfOpenssl) {
    Software software;
    for (int type = 1; type <= 6; ++type) {
        MiByte pkcs1;
        const int result =
            VT_SafeContents::P8DecryptPrivateKeyInfo(software.op(), kSecret, bytes(kShroudedByType[type - 1]), pkcs1);
        // Two-key triple DES is the one that the engine does not take.
        EXPECT_EQ(result, type == 4 ? -7 : 0) << type;
        EXPECT_EQ(hexOf(pkcs1), type == 4 ? "" : hexOf(vectors::kAlicePkcs1)) << type;
    }
}

TEST(safe_contents_test, EncryptsByEachType) {
    Software software;
    for (int type = 1; type <= 6; ++type) {
        MiByte encrypted;
        const int result = VT_SafeContents::P8EncryptPrivateKeyInfo(software.op(), kSecret, type, 3,
                                                                    bytes(vectors::kAlicePkcs1), encrypted);
        ASSERT_EQ(result, type == 4 ? -7 : 0) << type;
        if (result != 0)
            continue;
        const std::vector<Bytes> parts = elementsOf(vectorOf(encrypted));
        const std::vector<Bytes> algorithmParts = elementsOf(parts.at(0));
        EXPECT_EQ(algorithmParts.at(0), pbeOid(type));
        const std::vector<Bytes> parameters = elementsOf(algorithmParts.at(1));
        EXPECT_EQ(parameters.at(0).size(), 10U) << "a salt of 8 bytes";
        EXPECT_EQ(parameters.at(1), der::integer(3));
        EXPECT_EQ(parts.at(1).at(0), 0x04);
        MiByte pkcs1;
        ASSERT_EQ(VT_SafeContents::P8DecryptPrivateKeyInfo(software.op(), kSecret, encrypted, pkcs1), 0);
        EXPECT_EQ(hexOf(pkcs1), hexOf(vectors::kAlicePkcs1));
    }
}

TEST(safe_contents_test, OtherTypesAreNotSupported) {
    Software software;
    MiByte encrypted = bytes("01");
    for (const int type : {0, 7, -1, INT32_MAX, INT32_MIN})
        EXPECT_EQ(VT_SafeContents::P8EncryptPrivateKeyInfo(software.op(), kSecret, type, 1, bytes(vectors::kAlicePkcs1),
                                                           encrypted),
                  -1006);
    EXPECT_EQ(hexOf(encrypted), "01");
}

TEST(safe_contents_test, EncryptedKeyNeedsItsParts) {
    Software software;
    MiByte pkcs1 = bytes("01");
    const auto decrypt = [&](const Bytes& der) {
        return resultOf(
            [&] { return VT_SafeContents::P8DecryptPrivateKeyInfo(software.op(), kSecret, bytes(der), pkcs1); });
    };
    const Bytes some = octets(hex("0102030405060708"));
    const Bytes one = der::integer(1);
    EXPECT_EQ(decrypt(der::sequence({})), -1001);
    EXPECT_EQ(decrypt(der::sequence({pbe(3, hex("01"), one)})), kException) << "no data";
    EXPECT_EQ(decrypt(der::sequence({der::sequence({}), some})), -1001) << "no identifier";
    EXPECT_EQ(decrypt(der::sequence({der::sequence({pbeOid(3)}), some})), -1001) << "no parameters";
    EXPECT_EQ(decrypt(der::sequence({der::sequence({pbeOid(3), der::sequence({})}), some})), -1001) << "no salt";
    EXPECT_EQ(decrypt(der::sequence({der::sequence({pbeOid(3), der::sequence({octets({})})}), some})), kException)
        << "no iterations";
    EXPECT_EQ(decrypt(der::sequence({algorithm(kSha1Oid), some})), -1006);
    EXPECT_EQ(decrypt(der::sequence({pbe(7, hex("01"), one), some})), -1006);
    EXPECT_EQ(decrypt(der::sequence({pbe(3, hex("01"), der::integer(2'000'000'000)), some})), -1006);
    EXPECT_EQ(decrypt(der::sequence({pbe(3, hex("01"), hex("02 09 01 00 00 00 00 00 00 00 01")), some})), -1006);
    EXPECT_EQ(decrypt(der::sequence({pbe(3, hex("01"), one), octets(hex("010203"))})), -3) << "no whole block";
    EXPECT_EQ(decrypt({}), kException);
    EXPECT_EQ(hexOf(pkcs1), "01");
}

TEST(safe_contents_test, WrongPasswordDoesNotOpenAKey) {
    Software software;
    for (const char* shrouded : kShroudedByType) {
        MiByte pkcs1 = bytes("01");
        EXPECT_NE(resultOf([&] {
                      return VT_SafeContents::P8DecryptPrivateKeyInfo(software.op(), text("Secret"), bytes(shrouded),
                                                                      pkcs1);
                  }),
                  0);
        EXPECT_EQ(hexOf(pkcs1), "01");
    }
}

TEST(safe_contents_test, EncryptionNeedsAChooser) {
    VT_P11_OP none;
    MiByte out;
    EXPECT_EQ(VT_SafeContents::P8EncryptPrivateKeyInfo(none, kSecret, 3, 1, bytes(vectors::kAlicePkcs1), out), -2);
    EXPECT_EQ(VT_SafeContents::P8DecryptPrivateKeyInfo(none, kSecret, bytes(kShrouded), out), -2);
}

TEST(safe_contents_test, SaltsHaveTheLengthAskedFor) {
    Software software;
    for (const int length : {8, 20}) {
        MiByte salt;
        ASSERT_EQ(pki::makeSalt(software.op(), length, salt), 0);
        EXPECT_EQ(salt.GetLength(), static_cast<unsigned int>(length));
        EXPECT_NE(salt, MiByte(static_cast<unsigned int>(length))) << "not all zeros";
    }
}

// ---- Hostile input

// Goes through everything that came out of a decoding.
void readAll(const VT_SafeContents& contents) {
    MiByte found;
    MiByte id;
    MiByte name;
    Certificate certificate;
    for (int i = 0; i < 130; ++i) {
        if (contents.getCertDerByIndex(i, found) == -1005)
            break;
        resultOf([&] { return contents.getCertDerByIndex(i, certificate); });
        resultOf([&] { return contents.getCertDerByIndex(i, found, id, name); });
    }
    resultOf([&] { return contents.getShroudedKeyDerByIndex(0, found, id); });
    resultOf([&] { return contents.getCertDerByID(bytes("01"), found, name); });
    resultOf([&] { return contents.composeSafeContents(found); });
}

void readBroken(const std::vector<support::Broken>& inputs) {
    for (const support::Broken& broken : inputs) {
        VT_SafeContents contents;
        const int result = resultOf([&] { return decompose(contents, broken.bytes); });
        EXPECT_THAT(result, testing::AnyOf(0, -1001, kException)) << broken.place;
        resultOf([&] {
            readAll(contents);
            return 0;
        });
    }
}

TEST(safe_contents_test, BrokenContentsAreSurvived) {
    const Bytes good =
        der::sequence({bag(kCertBagOid, certBag(kAlice), der::set({idAttribute(hex("01")), nameAttribute("Alice")})),
                       bag(kShroudedKeyBagOid, kShrouded, der::set({idAttribute(hex("01"))}))});
    readBroken(support::truncations(good));
    readBroken(support::withTrailingData(good, hex("05 00")));
    readBroken(support::withShortLengths(good));
    readBroken(support::withLongLengths(good));
    readBroken(support::withIndefiniteLengths(good));
    for (const int identifier : {0x00, 0x02, 0x04, 0x05, 0x30, 0x31, 0x80, 0xA0, 0xFF})
        readBroken(support::withTags(good, static_cast<std::uint8_t>(identifier)));
    support::Noise noise(7);
    for (int i = 0; i < 300; ++i) {
        Bytes changed = good;
        changed[noise.below(static_cast<std::uint32_t>(changed.size()))] = noise.byte();
        readBroken({{0, changed}});
    }
}

// ---- Exhausted memory

template <class Call>
void survivesExhaustion(Call call) {
    bool done = false;
    const long runs = support::forEachExhaustion([&] {
        try {
            done = call() == 0;
        } catch (const std::bad_alloc&) {
            done = false;
        }
    });
    EXPECT_TRUE(done) << "the run without a failure";
    EXPECT_GT(runs, 0);
}

TEST(safe_contents_test, ExhaustedMemoryIsSurvived) {
    Software software;
    const MiByte certificate = bytes(kAlice);
    const MiByte id = bytes("01");
    const MiByte name = text("Alice");
    survivesExhaustion([&] {
        VT_SafeContents contents;
        contents.addCertDer(certificate, id, name);
        VT_SafeContents copy;
        copy = contents;
        MiByte der;
        copy.composeSafeContents(der);
        return contents.decomposeSafeContents(der);
    });
    const MiByte pkcs1 = bytes(vectors::kAlicePkcs1);
    survivesExhaustion([&] {
        MiByte encrypted;
        MiByte again;
        const int result = VT_SafeContents::P8EncryptPrivateKeyInfo(software.op(), kSecret, 6, 1, pkcs1, encrypted);
        return result != 0 ? result
                           : VT_SafeContents::P8DecryptPrivateKeyInfo(software.op(), kSecret, encrypted, again);
    });
}

}  // namespace
