#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/byte.h"
#include "pki/pfx.h"
#include "pki/safe_contents.h"
#include "tests/flat/envelopes.h"
#include "tests/flat/token_context.h"
#include "tests/pki/pkcs12.h"
#include "tests/vectors/pfx_files.h"
#include "token/op.h"

namespace {

using namespace envelopes;
using testing::ElementsAre;

constexpr int32_t kIndexOutOfRange = -1005;
constexpr int32_t kTooLong = -1014;
constexpr int32_t kKeyMismatch = -1026;

const char* const kSecret = "73 65 63 72 65 74";

// A private key as an output.
struct KeyOutput : records::PrivateKeyOutput {
    [[nodiscard]] bool untouched() const {
        return record.modulus.data == nullptr && record.coefficient.data == nullptr;
    }
    [[nodiscard]] std::vector<std::string> numbers() const {
        std::vector<std::string> all;
        for (const PKCS_Blob& number : {record.modulus, record.publicExponent, record.privateExponent, record.prime1,
                                        record.prime2, record.exponent1, record.exponent2, record.coefficient})
            all.push_back(toHex(number.data, number.length));
        return all;
    }
};

std::vector<std::string> aliceNumbers() {
    std::vector<std::string> all;
    for (const char* number : vectors::kAliceNumbers)
        all.push_back(toHex(hex(number)));
    return all;
}

std::string textOf(const char* digits) {
    return toHex(hex(digits));
}

class pfx_file_test : public testing::Test {
  protected:
    pfx_file_test() { VTPKCS_InitKeyObj(&object); }
    ~pfx_file_test() override { VTPKCS_DestroyKeyObj(&object); }

    int32_t open(const Bytes& pfx, const char* password = kSecret, int32_t skipMac = 0, VT_List* list = nullptr) {
        KeyOutput key;
        Output certificate;
        const int32_t result =
            VT_GetCertAndPrivateKeyFromPFX(ctx, Input(pfx), Input(password), skipMac, key, certificate, list);
        EXPECT_EQ(key.untouched(), result != 0);
        EXPECT_EQ(certificate.untouched(), result != 0);
        if (result == 0) {
            EXPECT_EQ(key.numbers(), aliceNumbers());
            EXPECT_EQ(certificate.text(), textOf(vectors::kAliceCertificate));
        }
        return result;
    }

    Bytes generate(const VT_List* others = nullptr, const char* password = kSecret) {
        Output pfx;
        EXPECT_EQ(VT_GenPFX(ctx, alice, aliceKey, Input(password), others, pfx), 0);
        return pfx.bytes();
    }

    MessageContext ctx;
    const Input alice{vectors::kAliceCertificate};
    const PrivateKey aliceKey{vectors::kAliceNumbers};
    VTPKCS_KeyObj* object = nullptr;
};

// ---- Making

TEST_F(pfx_file_test, WhatIsMadeIsOpened) {
    const List others;
    const Bytes root = hex(vectors::kRootCertificate);
    const Bytes curve = hex(vectors::kCurveCertificate);
    VT_AddListNode(others, root.data(), static_cast<uint32_t>(root.size()));
    VT_AddListNode(others, curve.data(), static_cast<uint32_t>(curve.size()));
    const Bytes pfx = generate(others);
    EXPECT_EQ(VT_CheckPFXDer(ctx, Input(pfx)), 0);
    const List found;
    EXPECT_EQ(open(pfx, kSecret, 0, found), 0);
    EXPECT_THAT(found.items(), ElementsAre(textOf(vectors::kAliceCertificate), toHex(root), toHex(curve)));
    EXPECT_EQ(open(pfx, "53"), kDigestMismatch);
}

TEST_F(pfx_file_test, FileHasKeyInTheClearContentAndCertificatesInTheEncryptedOne) {
    const Bytes pfx = generate();
    VT_P11_OP& op = *static_cast<PKCS_Ctx*>(ctx)->operation;
    const MiByte password("secret", 6);
    VT_PFX opened;
    ASSERT_EQ(opened.decomposePFXBaseOnPassword(op, password, pkcs12::bytes(pfx), 0), 0);
    MiByte contents;
    VT_SafeContents keys;
    VT_SafeContents certificates;
    ASSERT_EQ(opened.getDataSafeContentsByIndex(0, contents), 0);
    ASSERT_EQ(keys.decomposeSafeContents(contents), 0);
    ASSERT_EQ(opened.getEncryptSafeContentsByIndex(op, password, 0, contents), 0);
    ASSERT_EQ(certificates.decomposeSafeContents(contents), 0);
    MiByte der;
    MiByte id;
    ASSERT_EQ(keys.getShroudedKeyDerByIndex(0, der, id), 0);
    EXPECT_EQ(pkcs12::hexOf(id), "01 00 00 00");
    const std::vector<Bytes> algorithm = signers::elementsOf(signers::elementsOf(pkcs12::vectorOf(der)).at(0));
    EXPECT_EQ(algorithm.at(0), pkcs12::pbeOid(3));
    EXPECT_EQ(signers::elementsOf(algorithm.at(1)).at(1), der::integer(2000));
    ASSERT_EQ(certificates.getCertDerByIndex(0, der, id), 0);
    EXPECT_EQ(pkcs12::hexOf(id), "01 00 00 00");
    EXPECT_EQ(pkcs12::hexOf(der), textOf(vectors::kAliceCertificate));
    // The type and the iterations of the second content, and those of the MAC.
    const Bytes rc2 = pkcs12::pbeOid(6);
    const auto found = std::search(pfx.begin(), pfx.end(), rc2.begin(), rc2.end());
    ASSERT_NE(found, pfx.end());
    const Bytes iterations = der::integer(2000);
    EXPECT_TRUE(std::equal(iterations.begin(), iterations.end(), found + static_cast<std::ptrdiff_t>(rc2.size()) + 12));
    EXPECT_TRUE(std::equal(iterations.begin(), iterations.end(), pfx.end() - 4));
}

TEST_F(pfx_file_test, FurtherCertificatesHaveNoAttributes) {
    const List others;
    const Bytes root = hex(vectors::kRootCertificate);
    VT_AddListNode(others, root.data(), static_cast<uint32_t>(root.size()));
    const Bytes pfx = generate(others);
    VT_P11_OP& op = *static_cast<PKCS_Ctx*>(ctx)->operation;
    const MiByte password("secret", 6);
    VT_PFX opened;
    ASSERT_EQ(opened.decomposePFXBaseOnPassword(op, password, pkcs12::bytes(pfx), 0), 0);
    MiByte contents;
    VT_SafeContents certificates;
    ASSERT_EQ(opened.getEncryptSafeContentsByIndex(op, password, 0, contents), 0);
    ASSERT_EQ(certificates.decomposeSafeContents(contents), 0);
    MiByte der;
    MiByte id;
    EXPECT_EQ(certificates.getCertDerByIndex(1, der, id), -1001);
    EXPECT_EQ(certificates.getCertDerByIndex(1, der), 0);
}

TEST_F(pfx_file_test, EmptyPasswordIsAPassword) {
    const Bytes pfx = generate(nullptr, "");
    EXPECT_EQ(open(pfx, ""), 0);
    EXPECT_EQ(open(pfx), kDigestMismatch);
}

TEST_F(pfx_file_test, KeyAndCertificateMustBelongTogether) {
    Output pfx;
    EXPECT_EQ(VT_GenPFX(ctx, Input(vectors::kBobCertificate), aliceKey, Input(kSecret), nullptr, pfx), kKeyMismatch);
    EXPECT_TRUE(pfx.untouched());
    EXPECT_EQ(VT_GenPFX(ctx, Input(vectors::kBobCertificate), aliceKey, &kNullData, nullptr, pfx), kKeyMismatch)
        << "before the password is looked at";
}

TEST_F(pfx_file_test, MakingNeedsItsArguments) {
    const Input password(kSecret);
    Output pfx;
    EXPECT_EQ(VT_GenPFX(nullptr, alice, aliceKey, password, nullptr, pfx), kNullArgument);
    EXPECT_EQ(VT_GenPFX(ctx, nullptr, aliceKey, password, nullptr, pfx), kNullArgument);
    EXPECT_EQ(VT_GenPFX(ctx, alice, nullptr, password, nullptr, pfx), kNullArgument);
    EXPECT_EQ(VT_GenPFX(ctx, alice, aliceKey, nullptr, nullptr, pfx), kNullArgument);
    EXPECT_EQ(VT_GenPFX(ctx, alice, aliceKey, password, nullptr, nullptr), kNullArgument);
    EXPECT_EQ(VT_GenPFX(ctx, &kNullData, aliceKey, password, nullptr, pfx), kMaterialMissing);
    EXPECT_EQ(VT_GenPFX(ctx, alice, aliceKey, &kNullData, nullptr, pfx), kMaterialMissing);
    EXPECT_EQ(VT_GenPFX(emptyContext(), alice, aliceKey, password, nullptr, pfx), kNoOperation);
    EXPECT_EQ(VT_GenPFX(ctx, Input("30 05"), aliceKey, password, nullptr, pfx), kNullArgument) << "malformed";
    const List others;
    const Bytes malformed = hex("30 05");
    VT_AddListNode(others, malformed.data(), static_cast<uint32_t>(malformed.size()));
    EXPECT_EQ(VT_GenPFX(ctx, alice, aliceKey, password, others, pfx), kNullArgument);
    EXPECT_TRUE(pfx.untouched());
}

TEST_F(pfx_file_test, AllNumbersOfTheKeyMustBeThere) {
    PrivateKey key(vectors::kAliceNumbers);
    key.record.coefficient = {nullptr, 0};
    Output pfx;
    EXPECT_EQ(VT_GenPFX(ctx, alice, key, Input(kSecret), nullptr, pfx), kMaterialMissing);
    EXPECT_TRUE(pfx.untouched());
}

TEST_F(pfx_file_test, Holds127FurtherCertificates) {
    const List others;
    const Bytes root = hex(vectors::kRootCertificate);
    for (int i = 0; i < 127; ++i)
        VT_AddListNode(others, root.data(), static_cast<uint32_t>(root.size()));
    EXPECT_EQ(open(generate(others)), 0);
    VT_AddListNode(others, root.data(), static_cast<uint32_t>(root.size()));
    Output pfx;
    EXPECT_EQ(VT_GenPFX(ctx, alice, aliceKey, Input(kSecret), others, pfx), kTooLong);
    EXPECT_TRUE(pfx.untouched());
}

// ---- Opening

TEST_F(pfx_file_test, OpensTheFilesOfOtherPrograms) {
    for (const char* pfx : {vectors::kPfxRc4, vectors::kPfxRc4Short, vectors::kPfxTripleDes, vectors::kPfxRc2,
                            vectors::kPfxRc2Short, vectors::kPfxOneIteration})
        EXPECT_EQ(open(hex(pfx)), 0);
    EXPECT_EQ(open(hex(vectors::kPfxTwoKeyDes)), kBadKey);
    EXPECT_EQ(open(hex(vectors::kPfxEmptyPassword), ""), 0);
    EXPECT_EQ(open(hex(vectors::kPfxHighBytes), "63 61 66 E9 FF 80"), 0);
    EXPECT_EQ(open(hex(vectors::kPfxNss)), kElementAbsent) << "indefinite lengths";
}

TEST_F(pfx_file_test, ListReceivesAllCertificates) {
    const List list;
    ASSERT_EQ(open(hex(vectors::kPfxChain), kSecret, 0, list), 0);
    EXPECT_THAT(list.items(), ElementsAre(textOf(vectors::kAliceCertificate), textOf(vectors::kRootCertificate),
                                          textOf(vectors::kBobCertificate), textOf(vectors::kCurveCertificate)));
    ASSERT_EQ(open(hex(vectors::kPfxRc4), kSecret, 0, list), 0);
    EXPECT_EQ(list.items().size(), 5U) << "behind what it holds";
}

TEST_F(pfx_file_test, MacIsCheckedUnlessSkipped) {
    EXPECT_EQ(open(hex(vectors::kPfxRc2), "77"), kDigestMismatch);
    EXPECT_NE(open(hex(vectors::kPfxRc2), "77", 1), 0) << "the key does not open";
    EXPECT_EQ(open(hex(vectors::kPfxRc2), kSecret, 1), 0);
    const std::vector<Bytes> parts = signers::elementsOf(hex(vectors::kPfxRc2));
    const Bytes withoutMac = der::sequence({parts.at(0), parts.at(1)});
    EXPECT_EQ(open(withoutMac, kSecret, 1), 0);
    EXPECT_EQ(open(withoutMac, kSecret, 0), kElementAbsent);
    EXPECT_EQ(open(hex(vectors::kPfxNoMac), kSecret, 1), kIndexOutOfRange) << "openssl leaves certificates open then";
}

TEST_F(pfx_file_test, WhatIsNotThereHasACode) {
    EXPECT_EQ(open(hex(vectors::kPfxNoKey)), kIndexOutOfRange);
    EXPECT_EQ(open(hex(vectors::kPfxNoCertificate)), kIndexOutOfRange);
    EXPECT_EQ(open(hex(vectors::kPfxOpenKey)), kIndexOutOfRange) << "a key bag, not a shrouded one";
    EXPECT_EQ(open(hex(vectors::kPfxOpenCertificate)), kIndexOutOfRange) << "no encrypted content";
    EXPECT_EQ(open(hex(vectors::kPfxCurve)), kUnsupported);
    EXPECT_EQ(open(hex(vectors::kPfxNew)), kUnsupported);
    EXPECT_EQ(open(hex(vectors::kPfxNew), kSecret, 1), kUnsupported);
    EXPECT_EQ(open(hex(vectors::kPfxNewEncryption)), kUnsupported);
}

TEST_F(pfx_file_test, NoneOfTheCertificatesIsTheKeys) {
    VT_P11_OP& op = *static_cast<PKCS_Ctx*>(ctx)->operation;
    const MiByte password("secret", 6);
    MiByte shrouded;
    MiByte der;
    ASSERT_EQ(
        VT_SafeContents::P8EncryptPrivateKeyInfo(op, password, 1, 1, pkcs12::bytes(vectors::kAlicePkcs1), shrouded), 0);
    VT_SafeContents keys;
    VT_SafeContents certificates;
    VT_PFX made;
    ASSERT_EQ(keys.addShroudedKeyDer(shrouded, MiByte()), 0);
    ASSERT_EQ(keys.composeSafeContents(der), 0);
    ASSERT_EQ(made.addDataSafeContents(der), 0);
    ASSERT_EQ(certificates.addCertDer(pkcs12::bytes(vectors::kBobCertificate)), 0);
    ASSERT_EQ(certificates.addCertDer(pkcs12::bytes(vectors::kCurveCertificate)), 0);
    ASSERT_EQ(certificates.composeSafeContents(der), 0);
    ASSERT_EQ(made.addEncryptSafeContents(op, password, 1, 1, der), 0);
    ASSERT_EQ(made.composePFXBaseOnPassword(op, password, 1, der), 0);
    const List list;
    EXPECT_EQ(open(pkcs12::vectorOf(der), kSecret, 0, list), kKeyMismatch);
    EXPECT_EQ(list.items().size(), 2U) << "the list keeps what it received";
}

TEST_F(pfx_file_test, EmptyCertificatesArePassedOver) {
    VT_P11_OP& op = *static_cast<PKCS_Ctx*>(ctx)->operation;
    const MiByte password("secret", 6);
    VT_PFX made;
    ASSERT_EQ(made.decomposePFXBaseOnPassword(op, password, pkcs12::bytes(vectors::kPfxRc4), 0), 0);
    MiByte keys;
    ASSERT_EQ(made.getDataSafeContentsByIndex(0, keys), 0);
    made.Reset();
    ASSERT_EQ(made.addDataSafeContents(keys), 0);
    const Bytes bags =
        der::sequence({pkcs12::bag(pkcs12::kCertBagOid, pkcs12::certBag({})),
                       pkcs12::bag(pkcs12::kCertBagOid, pkcs12::certBag(hex(vectors::kAliceCertificate)))});
    ASSERT_EQ(made.addEncryptSafeContents(op, password, 1, 1, pkcs12::bytes(bags)), 0);
    MiByte der;
    ASSERT_EQ(made.composePFXBaseOnPassword(op, password, 1, der), 0);
    const List list;
    EXPECT_EQ(open(pkcs12::vectorOf(der), kSecret, 0, list), 0);
    EXPECT_THAT(list.items(), ElementsAre(textOf(vectors::kAliceCertificate)));
    EXPECT_EQ(open(pkcs12::vectorOf(der)), 0);
}

// A token shows each step.
class pfx_file_test_on_token : public tokens::TokenTest {
  protected:
    int shroud(int pbeType, MiByte& shrouded) {
        module.forgetCalls();
        return VT_SafeContents::P8EncryptPrivateKeyInfo(*ctx->operation, pkcs12::kSecret, pbeType, 1,
                                                        pkcs12::bytes(vectors::kAlicePkcs1), shrouded);
    }
};

TEST_F(pfx_file_test_on_token, IvIsDerivedForBlockCiphersAlone) {
    MiByte shrouded;
    shroud(1, shrouded);
    EXPECT_EQ(module.count("C_Digest"), 1U) << "16 bytes of key";
    shroud(3, shrouded);
    EXPECT_EQ(module.count("C_Digest"), 3U) << "24 bytes of key, and an IV";
    shroud(6, shrouded);
    EXPECT_EQ(module.count("C_Digest"), 2U) << "5 bytes of key, and an IV";
}

TEST_F(pfx_file_test_on_token, TimeSeedsTheSalt) {
    MiByte shrouded;
    shroud(1, shrouded);
    const Bytes seed = module.call("C_SeedRandom").input;
    ASSERT_EQ(seed.size(), 13U);
    EXPECT_TRUE(
        std::all_of(seed.begin(), seed.end() - 1, [](std::uint8_t digit) { return digit >= '0' && digit <= '9'; }));
    EXPECT_EQ(seed.back(), 'Z');
    EXPECT_EQ(module.call("C_GenerateRandom").room, 8U);
}

TEST_F(pfx_file_test_on_token, ShortDigestsOfAModuleAreSurvived) {
    for (const std::size_t length : {0U, 1U, 19U}) {
        module.answer("C_Digest", Bytes(length, 0xD1));
        KeyOutput key;
        Output certificate;
        EXPECT_EQ(VT_GetCertAndPrivateKeyFromPFX(ctx, Input(vectors::kPfxOneIteration), Input(kSecret), 0, key,
                                                 certificate, nullptr),
                  kDigestMismatch)
            << length;
    }
}

TEST_F(pfx_file_test, OpeningNeedsItsArguments) {
    const Input pfx(vectors::kPfxRc4);
    const Input password(kSecret);
    KeyOutput key;
    Output certificate;
    EXPECT_EQ(VT_GetCertAndPrivateKeyFromPFX(nullptr, pfx, password, 0, key, certificate, nullptr), kNullArgument);
    EXPECT_EQ(VT_GetCertAndPrivateKeyFromPFX(ctx, nullptr, password, 0, key, certificate, nullptr), kNullArgument);
    EXPECT_EQ(VT_GetCertAndPrivateKeyFromPFX(ctx, pfx, nullptr, 0, key, certificate, nullptr), kNullArgument);
    EXPECT_EQ(VT_GetCertAndPrivateKeyFromPFX(ctx, pfx, password, 0, nullptr, certificate, nullptr), kNullArgument);
    EXPECT_EQ(VT_GetCertAndPrivateKeyFromPFX(ctx, pfx, password, 0, key, nullptr, nullptr), kNullArgument);
    EXPECT_EQ(VT_GetCertAndPrivateKeyFromPFX(ctx, &kNullData, password, 0, key, certificate, nullptr),
              kMaterialMissing);
    EXPECT_EQ(VT_GetCertAndPrivateKeyFromPFX(ctx, pfx, &kNullData, 0, key, certificate, nullptr), kMaterialMissing);
    EXPECT_EQ(VT_GetCertAndPrivateKeyFromPFX(emptyContext(), pfx, password, 0, key, certificate, nullptr),
              kNoOperation);
    EXPECT_EQ(open(hex("30 05")), kNullArgument) << "malformed";
    EXPECT_EQ(open({}), kNullArgument);
    EXPECT_TRUE(key.untouched() && certificate.untouched());
}

TEST_F(pfx_file_test, BrokenFilesAreSurvived) {
    const Input password(kSecret);
    survives(hex(vectors::kPfxOneIteration), kNullArgument, [&](const PKCS_Blob& pfx, Output& certificate) {
        KeyOutput key;
        return VT_GetCertAndPrivateKeyFromPFX(ctx, &pfx, password, 1, key, certificate, nullptr);
    });
}

TEST_F(pfx_file_test, ExhaustedMemoryIsACode) {
    const Input pfx(vectors::kPfxOneIteration);
    const Input password(kSecret);
    int32_t last = -1;
    for (long n = 1; n <= 3000 && last != 0; ++n) {
        KeyOutput key;
        Output certificate;
        const List list;
        last = whenAllocationFails(
            n, [&] { return VT_GetCertAndPrivateKeyFromPFX(ctx, pfx, password, 0, key, certificate, list); });
        EXPECT_TRUE(isCode(last)) << last;
        EXPECT_EQ(key.untouched(), last != 0);
        EXPECT_EQ(certificate.untouched(), last != 0);
    }
    EXPECT_EQ(last, 0);
    last = -1;
    for (long n = 1; n <= 3000 && last != 0; ++n) {
        Output made;
        last = whenAllocationFails(n, [&] { return VT_GenPFX(ctx, alice, aliceKey, password, nullptr, made); });
        EXPECT_TRUE(isCode(last)) << last;
        EXPECT_EQ(made.untouched(), last != 0);
    }
    EXPECT_EQ(last, 0);
}

// ---- Telling a PFX

TEST_F(pfx_file_test, AnyPfxIsOne) {
    EXPECT_EQ(VT_CheckPFXDer(ctx, Input(vectors::kPfxRc4)), 0);
    EXPECT_EQ(VT_CheckPFXDer(ctx, Input(vectors::kPfxNoMac)), 0);
    EXPECT_EQ(VT_CheckPFXDer(ctx, Input(vectors::kPfxNew)), 0);
    EXPECT_EQ(VT_CheckPFXDer(emptyContext(), Input(vectors::kPfxRc4)), kNoOperation);
    EXPECT_EQ(VT_CheckPFXDer(ctx, Input(vectors::kAlicePkcs1)), kNullArgument);
    EXPECT_EQ(VT_CheckPFXDer(ctx, Input("04 01 00")), kNullArgument);
    EXPECT_EQ(VT_CheckPFXDer(ctx, Input("30 05")), kNullArgument);
    EXPECT_EQ(VT_CheckPFXDer(ctx, Input("")), kNullArgument);
    EXPECT_EQ(VT_CheckPFXDer(ctx, &kNullData), kMaterialMissing);
    EXPECT_EQ(VT_CheckPFXDer(ctx, nullptr), kNullArgument);
    EXPECT_EQ(VT_CheckPFXDer(nullptr, Input(vectors::kPfxRc4)), kNullArgument);
}

// ---- A Microsoft blob

// What VT_VPKToMSPriKey makes of the key.
Bytes blobOfAlice() {
    const PrivateKey key(vectors::kAliceNumbers);
    uint32_t length = 0;
    EXPECT_EQ(VT_VPKToMSPriKey(nullptr, &key.record, nullptr, &length), 0);
    Bytes blob(length);
    EXPECT_EQ(VT_VPKToMSPriKey(nullptr, &key.record, blob.data(), &length), 0);
    return blob;
}

TEST_F(pfx_file_test, BlobAndCertificateGoIntoTheBuffersOfTheCaller) {
    const Bytes pfx = hex(vectors::kPfxChain);
    const Bytes expected = hex(vectors::kAliceCertificate);
    const auto size = static_cast<uint32_t>(pfx.size());
    uint32_t blobLength = 0;
    uint32_t certificateLength = 0;
    ASSERT_EQ(VT_GetMSCertAndKeyFromPFX(ctx, pfx.data(), size, "secret", 6, nullptr, &blobLength, nullptr,
                                        &certificateLength, nullptr),
              0);
    EXPECT_EQ(blobLength, 1172U);
    EXPECT_EQ(certificateLength, expected.size());
    Bytes blob(blobLength);
    Bytes certificate(certificateLength + 5);
    certificateLength += 5;
    const List list;
    ASSERT_EQ(VT_GetMSCertAndKeyFromPFX(ctx, pfx.data(), size, "secret and more", 6, blob.data(), &blobLength,
                                        certificate.data(), &certificateLength, list),
              0);
    EXPECT_EQ(toHex(blob), toHex(blobOfAlice()));
    EXPECT_EQ(certificateLength, expected.size() + 5) << "left as it is";
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), certificate.begin()));
    EXPECT_EQ(list.items().size(), 4U);
}

TEST_F(pfx_file_test, PasswordWithoutALengthEndsAtItsZeroByte) {
    const Bytes pfx = hex(vectors::kPfxRc4);
    const auto size = static_cast<uint32_t>(pfx.size());
    uint32_t blobLength = 0;
    uint32_t certificateLength = 0;
    const auto open = [&](const char* password, uint32_t length) {
        return VT_GetMSCertAndKeyFromPFX(ctx, pfx.data(), size, password, length, nullptr, &blobLength, nullptr,
                                         &certificateLength, nullptr);
    };
    EXPECT_EQ(open("secret", 0), 0);
    EXPECT_EQ(open("secret", 5), kDigestMismatch);
    EXPECT_EQ(open("", 0), kDigestMismatch);
    const Bytes empty = hex(vectors::kPfxEmptyPassword);
    EXPECT_EQ(VT_GetMSCertAndKeyFromPFX(ctx, empty.data(), static_cast<uint32_t>(empty.size()), "", 0, nullptr,
                                        &blobLength, nullptr, &certificateLength, nullptr),
              0);
}

TEST_F(pfx_file_test, BuffersMustBeLargeEnough) {
    const Bytes pfx = hex(vectors::kPfxRc4);
    const auto size = static_cast<uint32_t>(pfx.size());
    Bytes blob(1172);
    Bytes certificate(hex(vectors::kAliceCertificate).size());
    uint32_t blobLength = 1172;
    auto certificateLength = static_cast<uint32_t>(certificate.size() - 1);
    const auto open = [&] {
        return VT_GetMSCertAndKeyFromPFX(ctx, pfx.data(), size, "secret", 6, blob.data(), &blobLength,
                                         certificate.data(), &certificateLength, nullptr);
    };
    EXPECT_EQ(open(), VT_E_BUFFER_TOO_SMALL);
    EXPECT_EQ(certificateLength, certificate.size() - 1);
    ++certificateLength;
    blobLength = 1171;
    EXPECT_EQ(open(), VT_E_BUFFER_TOO_SMALL);
    EXPECT_EQ(blobLength, 1171U);
    blobLength = 1172;
    EXPECT_EQ(open(), 0);
}

TEST_F(pfx_file_test, BlobNeedsItsArguments) {
    const Bytes pfx = hex(vectors::kPfxRc4);
    const auto size = static_cast<uint32_t>(pfx.size());
    uint32_t length = 0;
    const auto open = [&](PKCS_Ctx* context, const uint8_t* file, const char* password, uint32_t* blobLength,
                          uint32_t* certificateLength) {
        return VT_GetMSCertAndKeyFromPFX(context, file, size, password, 6, nullptr, blobLength, nullptr,
                                         certificateLength, nullptr);
    };
    EXPECT_EQ(open(nullptr, pfx.data(), "secret", &length, &length), kNullArgument);
    EXPECT_EQ(open(ctx, nullptr, "secret", &length, &length), kNullArgument);
    EXPECT_EQ(open(ctx, pfx.data(), nullptr, &length, &length), kNullArgument);
    EXPECT_EQ(open(ctx, pfx.data(), "secret", nullptr, &length), kNullArgument);
    EXPECT_EQ(open(ctx, pfx.data(), "secret", &length, nullptr), kNullArgument);
    EXPECT_EQ(open(emptyContext(), pfx.data(), "secret", &length, &length), kNoOperation);
    EXPECT_EQ(open(ctx, pfx.data(), "SECRET", &length, &length), kDigestMismatch);
}

// ---- A key object

TEST_F(pfx_file_test, KeyObjectIsFilledFromAPfx) {
    Output certificate;
    ASSERT_EQ(VTPKCS_GetCertAndPriKeyObj(ctx, Input(vectors::kPfxRc2), Input(kSecret), 2, object, certificate), 0);
    EXPECT_EQ(object->kind, 3);
    EXPECT_EQ(toHex(object->privateKey.modulus.data, object->privateKey.modulus.length), aliceNumbers()[0]);
    EXPECT_EQ(toHex(object->privateKey.coefficient.data, object->privateKey.coefficient.length), aliceNumbers()[7]);
    EXPECT_EQ(certificate.text(), textOf(vectors::kAliceCertificate));
}

TEST_F(pfx_file_test, KeyObjectNamesAKeyOfTheToken) {
    Output certificate;
    ASSERT_EQ(VTPKCS_GetCertAndPriKeyObj(ctx, alice, Input("6B 65 79"), 1, object, certificate), 0);
    EXPECT_EQ(object->kind, 4);
    EXPECT_STREQ(object->tokenKeyLabel, "key");
    EXPECT_EQ(certificate.text(), textOf(vectors::kAliceCertificate));
}

TEST_F(pfx_file_test, OtherSourcesOfAKeyObjectAreNotSupported) {
    Output certificate;
    for (const int32_t source : {0, 3, -1})
        EXPECT_EQ(VTPKCS_GetCertAndPriKeyObj(ctx, alice, Input(kSecret), source, object, certificate), kUnsupported);
    EXPECT_TRUE(certificate.untouched());
    EXPECT_EQ(object->kind, 0);
}

TEST_F(pfx_file_test, KeyObjectNeedsItsArguments) {
    const Input pfx(vectors::kPfxRc2);
    const Input password(kSecret);
    Output certificate;
    EXPECT_EQ(VTPKCS_GetCertAndPriKeyObj(nullptr, pfx, password, 2, object, certificate), kNullArgument);
    EXPECT_EQ(VTPKCS_GetCertAndPriKeyObj(ctx, nullptr, password, 2, object, certificate), kNullArgument);
    EXPECT_EQ(VTPKCS_GetCertAndPriKeyObj(ctx, pfx, nullptr, 2, object, certificate), kNullArgument);
    EXPECT_EQ(VTPKCS_GetCertAndPriKeyObj(ctx, pfx, password, 2, nullptr, certificate), kNullArgument);
    EXPECT_EQ(VTPKCS_GetCertAndPriKeyObj(ctx, pfx, password, 2, object, nullptr), kNullArgument);
    for (const int32_t source : {1, 2}) {
        EXPECT_EQ(VTPKCS_GetCertAndPriKeyObj(ctx, &kNullData, password, source, object, certificate), kMaterialMissing);
        EXPECT_EQ(VTPKCS_GetCertAndPriKeyObj(ctx, pfx, &kNullData, source, object, certificate), kMaterialMissing);
    }
    for (const int32_t source : {1, 2})
        EXPECT_EQ(VTPKCS_GetCertAndPriKeyObj(emptyContext(), pfx, password, source, object, certificate), kNoOperation);
    EXPECT_EQ(VTPKCS_GetCertAndPriKeyObj(ctx, pfx, Input("77"), 2, object, certificate), kDigestMismatch);
    EXPECT_TRUE(certificate.untouched());
    EXPECT_EQ(object->kind, 0);
}

}  // namespace
