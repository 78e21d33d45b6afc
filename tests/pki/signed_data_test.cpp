#include <gmock/gmock.h>

#include <memory>
#include <type_traits>
#include <vector>

#include "pki/data_content_info.h"
#include "pki/signed_data_content_info.h"
#include "pki/signer_info.h"
#include "tests/pki/signers.h"
#include "tests/support/broken_der.h"
#include "tests/support/failing_heap.h"

namespace {

using namespace signers;
using support::hex;

// The fields as callers know them.
struct Layout {
    bool certificatesPresent;
    bool certificateListsPresent;
    SignedData* signedData;
    ContentInfo* content;
    AsnSetOf<SignerInfo>* signers;
    AsnSetOf<AlgorithmIdentifier>* digestAlgorithms;
    AsnSetOf<ExtendedCertificateOrCertificate>* certificates;
    AsnSetOf<CertificateList>* certificateLists;
};
static_assert(sizeof(VT_SignedDataContentInfo) == sizeof(Layout) && !std::is_polymorphic_v<VT_SignedDataContentInfo>);
static_assert(sizeof(VT_DataContentInfo) == sizeof(void*) && !std::is_polymorphic_v<VT_DataContentInfo>);

Layout& layoutOf(VT_SignedDataContentInfo& message) {
    return reinterpret_cast<Layout&>(message);
}

// Takes a set out of a message, as exhausted memory in Reset leaves it.
template <class T>
std::unique_ptr<T> takeOut(T*& field) {
    std::unique_ptr<T> taken(field);
    field = nullptr;
    return taken;
}

ContentInfo content() {
    return decoded<ContentInfo>(dataContent(hex(vectors::kContent)));
}

Bytes contentInfo(const Bytes& type, const Bytes& value) {
    return der::sequence({type, der::tagged(0, value)});
}

Bytes signedData(int version, const Bytes& algorithms, const Bytes& inner, const Bytes& optional,
                 const Bytes& signers) {
    return der::sequence({der::integer(version), algorithms, inner, optional, signers});
}

int decompose(VT_SignedDataContentInfo& message, const Bytes& signedDataDer) {
    return message.decomposeSignedDataContentInfo(decoded<ContentInfo>(contentInfo(kSignedOid, signedDataDer)));
}

VT_SignedDataContentInfo received(const char* message) {
    VT_SignedDataContentInfo opened;
    EXPECT_EQ(opened.decomposeSignedDataContentInfo(decoded<ContentInfo>(message)), 0);
    return opened;
}

// ---- Data

TEST(signed_data_test, DataIsComposedAsOpensslDoes) {
    VT_DataContentInfo data;
    ASSERT_EQ(data.setData(bytes(vectors::kContent)), 0);
    auto message = decoded<ContentInfo>(vectors::kPlain);
    ASSERT_EQ(data.composeDataContentInfo(message), 0);
    EXPECT_EQ(hexOf(message), hexOf(vectors::kDataMessage));
}

TEST(signed_data_test, DataIsTakenOutOfAMessage) {
    VT_DataContentInfo data;
    MiByte out;
    ASSERT_EQ(data.decomposeDataContentInfo(decoded<ContentInfo>(vectors::kDataMessage)), 0);
    ASSERT_EQ(data.getData(out), 0);
    EXPECT_EQ(hexOf(out), hexOf(vectors::kContent));
}

TEST(signed_data_test, DataMustBeSet) {
    const VT_DataContentInfo data;
    MiByte out;
    ContentInfo message;
    EXPECT_EQ(data.getData(out), -1003);
    EXPECT_EQ(data.composeDataContentInfo(message), -1003);
}

TEST(signed_data_test, EmptyDataAreData) {
    VT_DataContentInfo data;
    ASSERT_EQ(data.setData(MiByte()), 0);
    ContentInfo message;
    ASSERT_EQ(data.composeDataContentInfo(message), 0);
    EXPECT_EQ(hexOf(message), support::toHex(dataContent({})));
    MiByte out = bytes("01");
    ASSERT_EQ(data.decomposeDataContentInfo(message), 0);
    ASSERT_EQ(data.getData(out), 0);
    EXPECT_TRUE(out.Empty());
}

TEST(signed_data_test, DataMessageNeedsItsTypeAndContent) {
    VT_DataContentInfo data;
    data.setData(bytes("01"));
    EXPECT_EQ(data.decomposeDataContentInfo(ContentInfo()), -1001);
    EXPECT_EQ(data.decomposeDataContentInfo(decoded<ContentInfo>(vectors::kPlain)), -1009);
    EXPECT_EQ(data.decomposeDataContentInfo(decoded<ContentInfo>(der::sequence({kDataOid}))), -1001);
    MiByte out;
    ASSERT_EQ(data.getData(out), 0);
    EXPECT_EQ(hexOf(out), "01") << "kept on failure";
}

TEST(signed_data_test, DataAreCopied) {
    VT_DataContentInfo data;
    data.setData(bytes("01"));
    VT_DataContentInfo copy = data;
    VT_DataContentInfo assigned;
    assigned = data;
    data.setData(bytes("02"));
    MiByte out;
    copy.getData(out);
    EXPECT_EQ(hexOf(out), "01");
    assigned.getData(out);
    EXPECT_EQ(hexOf(out), "01");
}

// ---- Composing

TEST(signed_data_test, ComposesTheMessageInSchemaOrder) {
    const Bytes signer = signerOf(vectors::kPlain);
    VT_SignedDataContentInfo message;
    EXPECT_EQ(message.addSignerInfo(bytes(signer)), 0);
    EXPECT_EQ(message.addDigestAlgorithmIdentifier(bytes(algorithm(kSha1Oid))), 0);
    EXPECT_EQ(message.setToBeAttachedContentInfo(content()), 0);
    const Bytes inner = dataContent(hex(vectors::kContent));
    ContentInfo composed = content();
    ASSERT_EQ(message.composeSignedDataContentInfo(composed), 0);
    EXPECT_EQ(hexOf(composed), support::toHex(contentInfo(kSignedOid, signedData(1, der::set({algorithm(kSha1Oid)}),
                                                                                 inner, {}, der::set({signer})))));

    EXPECT_EQ(message.addCertificate(bytes(vectors::kAlice)), 0);
    EXPECT_EQ(message.addCertificateList(bytes(vectors::kIssuerList)), 0);
    ASSERT_EQ(message.composeSignedDataContentInfo(composed), 0);
    const Bytes optional = der::join({der::tagged(0, hex(vectors::kAlice)), der::tagged(1, hex(vectors::kIssuerList))});
    EXPECT_EQ(hexOf(composed),
              support::toHex(contentInfo(
                  kSignedOid, signedData(1, der::set({algorithm(kSha1Oid)}), inner, optional, der::set({signer})))));
}

TEST(signed_data_test, ComposesAnEmptyMessageOfADetachedContent) {
    VT_SignedDataContentInfo message;
    ASSERT_EQ(message.setToBeDetachedContentInfo(content()), 0);
    ContentInfo composed;
    ASSERT_EQ(message.composeSignedDataContentInfo(composed), 0);
    EXPECT_EQ(hexOf(composed),
              support::toHex(
                  contentInfo(kSignedOid, signedData(1, hex("31 00"), der::sequence({kDataOid}), {}, hex("31 00")))));
}

TEST(signed_data_test, ComposingAgainGivesWhatOpensslWrote) {
    for (const char* message : {vectors::kPlain, vectors::kPlainMd5, vectors::kDetached, vectors::kAttributesSmime,
                                vectors::kTwoSigners, vectors::kWithListsInOrder}) {
        VT_SignedDataContentInfo opened = received(message);
        ContentInfo composed;
        ASSERT_EQ(opened.composeSignedDataContentInfo(composed), 0);
        EXPECT_EQ(hexOf(composed), hexOf(message));
    }
}

TEST(signed_data_test, ItemsKeepTheirOrderUntilTheyAreComposed) {
    VT_SignedDataContentInfo opened = received(vectors::kWithLists);
    MiByte der;
    ASSERT_EQ(opened.getCertificateListByIndex(0, der), 0);
    EXPECT_EQ(hexOf(der), hexOf(vectors::kIssuerList));
    ASSERT_EQ(opened.getCertificateListByIndex(1, der), 0);
    EXPECT_EQ(hexOf(der), hexOf(vectors::kRootList));
    ContentInfo composed;
    ASSERT_EQ(opened.composeSignedDataContentInfo(composed), 0);
    EXPECT_EQ(hexOf(composed), hexOf(vectors::kWithListsInOrder));
}

TEST(signed_data_test, ComposingNeedsContentAndSets) {
    VT_SignedDataContentInfo message;
    ContentInfo composed;
    EXPECT_EQ(message.composeSignedDataContentInfo(composed), -1003);
    message.setToBeAttachedContentInfo(content());
    EXPECT_EQ(message.composeSignedDataContentInfo(composed), 0);
    message.addCertificate(bytes(vectors::kAlice));
    message.addCertificateList(bytes(vectors::kIssuerList));
    const auto without = [&](auto* Layout::*field) {
        VT_SignedDataContentInfo copy = message;
        const auto taken = takeOut(layoutOf(copy).*field);
        return copy.composeSignedDataContentInfo(composed);
    };
    EXPECT_EQ(without(&Layout::content), -1003);
    EXPECT_EQ(without(&Layout::signers), -1003);
    EXPECT_EQ(without(&Layout::digestAlgorithms), -1003);
    EXPECT_EQ(without(&Layout::certificates), -1003);
    EXPECT_EQ(without(&Layout::certificateLists), -1003);
}

// ---- Content

TEST(signed_data_test, AttachedContentIsThereAndDetachedIsNot) {
    VT_SignedDataContentInfo message;
    ContentInfo out;
    EXPECT_EQ(message.getAttachedContentInfo(out), -1003);
    EXPECT_EQ(message.setToBeAttachedContentInfo(content()), 0);
    EXPECT_EQ(message.getAttachedContentInfo(out), 0);
    EXPECT_EQ(hexOf(out), hexOf(content()));
    EXPECT_EQ(message.setToBeDetachedContentInfo(content()), 0);
    EXPECT_EQ(message.getAttachedContentInfo(out), -1003);
    EXPECT_EQ(message.setToBeDetachedContentInfo(ContentInfo()), -1001);
    EXPECT_EQ(received(vectors::kPlain).getAttachedContentInfo(out), 0);
    EXPECT_EQ(hexOf(out), hexOf(content()));
    EXPECT_EQ(received(vectors::kDetached).getAttachedContentInfo(out), -1003);
    EXPECT_EQ(received(vectors::kCertificatesOnly).getAttachedContentInfo(out), -1003);
}

// ---- Decomposing

TEST(signed_data_test, MessageNeedsItsTypeAndContent) {
    VT_SignedDataContentInfo message;
    EXPECT_EQ(message.decomposeSignedDataContentInfo(ContentInfo()), -1001);
    EXPECT_EQ(message.decomposeSignedDataContentInfo(decoded<ContentInfo>(vectors::kDataMessage)), -1009);
    EXPECT_EQ(message.decomposeSignedDataContentInfo(decoded<ContentInfo>(der::sequence({kSignedOid}))), -1001);
}

TEST(signed_data_test, AnyVersionIsTaken) {
    for (const int version : {0, 1, 2, 3, -1}) {
        VT_SignedDataContentInfo message;
        EXPECT_EQ(decompose(message, signedData(version, hex("31 00"), der::sequence({kDataOid}), {}, hex("31 00"))),
                  0);
    }
}

TEST(signed_data_test, SequencesOfSignersAndAlgorithmsAreRefused) {
    const Bytes inner = der::sequence({kDataOid});
    VT_SignedDataContentInfo message;
    EXPECT_EQ(decompose(message, signedData(1, hex("31 00"), inner, {}, hex("30 00"))), -1001);
    EXPECT_EQ(decompose(message, signedData(1, hex("30 00"), inner, {}, hex("31 00"))), -1001);
    EXPECT_EQ(decompose(message, hex("30 00")), -1001) << "no content either";
}

TEST(signed_data_test, SequencesOfCertificatesAndListsCountAsAbsent) {
    const Bytes optional = der::join({der::tagged(2, hex(vectors::kAlice)), der::tagged(3, hex(vectors::kIssuerList))});
    VT_SignedDataContentInfo message;
    ASSERT_EQ(decompose(message, signedData(1, hex("31 00"), der::sequence({kDataOid}), optional, hex("31 00"))), 0);
    Certificate certificate;
    CertificateList list;
    EXPECT_EQ(message.getCertificateTotal(), 0);
    EXPECT_EQ(message.getCertificateByIndex(0, certificate), -1003);
    EXPECT_EQ(message.getCertificateListByIndex(0, list), -1003);
}

TEST(signed_data_test, DecomposingNeedsTheSets) {
    const auto without = [](auto* Layout::*field) {
        VT_SignedDataContentInfo message;
        const auto taken = takeOut(layoutOf(message).*field);
        return message.decomposeSignedDataContentInfo(decoded<ContentInfo>(vectors::kWithLists));
    };
    EXPECT_EQ(without(&Layout::signers), -1003);
    EXPECT_EQ(without(&Layout::digestAlgorithms), -1003);
    EXPECT_EQ(without(&Layout::certificates), -1003);
    EXPECT_EQ(without(&Layout::certificateLists), -1003);
}

TEST(signed_data_test, DecomposingForgetsTheMessageBefore) {
    VT_SignedDataContentInfo message = received(vectors::kWithLists);
    EXPECT_TRUE(layoutOf(message).certificatesPresent);
    EXPECT_TRUE(layoutOf(message).certificateListsPresent);
    ASSERT_EQ(message.decomposeSignedDataContentInfo(decoded<ContentInfo>(vectors::kNoCertificates)), 0);
    EXPECT_FALSE(layoutOf(message).certificatesPresent);
    EXPECT_FALSE(layoutOf(message).certificateListsPresent);
    EXPECT_EQ(message.getCertificateTotal(), 0);
    EXPECT_EQ(message.getCertificateListTotal(), 0);
    EXPECT_EQ(message.getSignerInfoTotal(), 1);
    EXPECT_EQ(message.decomposeSignedDataContentInfo(ContentInfo()), -1001);
    EXPECT_EQ(message.getSignerInfoTotal(), 0);
}

// ---- Collections

TEST(signed_data_test, SignersByIndex) {
    VT_SignedDataContentInfo message = received(vectors::kTwoSigners);
    ASSERT_EQ(message.getSignerInfoTotal(), 2);
    for (int i = 0; i < 2; ++i) {
        SignerInfo signer;
        MiByte der;
        EXPECT_EQ(message.getSignerInfoByIndex(i, signer), 0);
        EXPECT_EQ(message.getSignerInfoByIndex(i, der), 0);
        EXPECT_EQ(hexOf(signer), support::toHex(signerOf(vectors::kTwoSigners, static_cast<std::size_t>(i))));
        EXPECT_EQ(hexOf(der), hexOf(signer));
    }
    SignerInfo signer;
    EXPECT_THROW(message.getSignerInfoByIndex(2, signer), MiOutOfRangeExp);
    EXPECT_THROW(message.getSignerInfoByIndex(-1, signer), MiOutOfRangeExp);
    EXPECT_EQ(message.addSignerInfo(decoded<SignerInfo>(signerOf(vectors::kPlain))), 0);
    EXPECT_EQ(message.addSignerInfo(bytes(signerOf(vectors::kPlainMd5))), 0);
    EXPECT_EQ(message.getSignerInfoTotal(), 4);
    message.getSignerInfoByIndex(3, signer);
    EXPECT_EQ(hexOf(signer), support::toHex(signerOf(vectors::kPlainMd5)));
}

TEST(signed_data_test, DigestAlgorithmsByIndex) {
    VT_SignedDataContentInfo message;
    const Bytes sha1 = algorithm(kSha1Oid);
    const Bytes md5 = algorithm(kMd5Oid);
    EXPECT_EQ(message.addDigestAlgorithmIdentifier(decoded<AlgorithmIdentifier>(md5)), 0);
    EXPECT_EQ(message.addDigestAlgorithmIdentifier(bytes(sha1)), 0);
    ASSERT_EQ(message.getDigestAlgorithmIdentifierTotal(), 2);
    AlgorithmIdentifier out;
    MiByte der;
    EXPECT_EQ(message.getDigestAlgorithmIdentifierByIndex(0, out), 0);
    EXPECT_EQ(hexOf(out), support::toHex(md5));
    EXPECT_EQ(message.getDigestAlgorithmIdentifierByIndex(1, der), 0);
    EXPECT_EQ(hexOf(der), support::toHex(sha1));
    EXPECT_THROW(message.getDigestAlgorithmIdentifierByIndex(2, out), MiOutOfRangeExp);
}

TEST(signed_data_test, CertificatesAndChoicesAreOneCollection) {
    VT_SignedDataContentInfo message;
    ExtendedCertificateOrCertificate choice;
    choice.SetCertificate(decoded<Certificate>(vectors::kBob));
    EXPECT_EQ(message.addCertificate(decoded<Certificate>(vectors::kAlice)), 0);
    EXPECT_EQ(message.addExtendedCertificateOrCertificate(choice), 0);
    EXPECT_EQ(message.addCertificate(bytes(vectors::kIssuer)), 0);
    EXPECT_EQ(message.addExtendedCertificateOrCertificate(bytes(vectors::kRoot)), 0);
    EXPECT_EQ(message.getCertificateTotal(), 4);
    EXPECT_EQ(message.getExtendedCertificateOrCertificateTotal(), 4);
    const char* const added[] = {vectors::kAlice, vectors::kBob, vectors::kIssuer, vectors::kRoot};
    for (int i = 0; i < 4; ++i) {
        Certificate certificate;
        ExtendedCertificateOrCertificate out;
        MiByte certificateDer;
        MiByte choiceDer;
        EXPECT_EQ(message.getCertificateByIndex(i, certificate), 0);
        EXPECT_EQ(message.getCertificateByIndex(i, certificateDer), 0);
        EXPECT_EQ(message.getExtendedCertificateOrCertificateByIndex(i, out), 0);
        EXPECT_EQ(message.getExtendedCertificateOrCertificateByIndex(i, choiceDer), 0);
        EXPECT_EQ(hexOf(certificate), hexOf(added[i]));
        EXPECT_EQ(hexOf(certificateDer), hexOf(added[i]));
        EXPECT_EQ(hexOf(out), hexOf(added[i]));
        EXPECT_EQ(hexOf(choiceDer), hexOf(added[i]));
    }
    Certificate certificate;
    EXPECT_THROW(message.getCertificateByIndex(4, certificate), MiOutOfRangeExp);
    EXPECT_THROW(message.getExtendedCertificateOrCertificateByIndex(4, choice), MiOutOfRangeExp);
}

TEST(signed_data_test, ChoiceWithoutACertificateHasNone) {
    VT_SignedDataContentInfo message;
    ExtendedCertificateOrCertificate extended;
    extended.SetExtendedCertificate(decoded<Certificate>(vectors::kBob));
    EXPECT_EQ(message.addExtendedCertificateOrCertificate(extended), 0);
    EXPECT_EQ(message.addExtendedCertificateOrCertificate(ExtendedCertificateOrCertificate()), 0);
    Certificate certificate;
    MiByte der;
    ExtendedCertificateOrCertificate out;
    EXPECT_EQ(message.getCertificateByIndex(0, certificate), -1001);
    EXPECT_EQ(message.getCertificateByIndex(1, der), -1001);
    EXPECT_EQ(message.getExtendedCertificateOrCertificateByIndex(0, out), 0);
    EXPECT_EQ(hexOf(out), hexOf(extended));
}

TEST(signed_data_test, RevocationListsByIndex) {
    VT_SignedDataContentInfo message;
    EXPECT_EQ(message.addCertificateList(decoded<CertificateList>(vectors::kIssuerList)), 0);
    EXPECT_EQ(message.addCertificateList(bytes(vectors::kRootList)), 0);
    EXPECT_EQ(message.getCertificateListTotal(), 2);
    CertificateList list;
    MiByte der;
    EXPECT_EQ(message.getCertificateListByIndex(0, list), 0);
    EXPECT_EQ(hexOf(list), hexOf(vectors::kIssuerList));
    EXPECT_EQ(message.getCertificateListByIndex(1, der), 0);
    EXPECT_EQ(hexOf(der), hexOf(vectors::kRootList));
    EXPECT_THROW(message.getCertificateListByIndex(2, list), MiOutOfRangeExp);
}

TEST(signed_data_test, WithoutCertificatesAndListsThereAreNone) {
    VT_SignedDataContentInfo fresh;
    VT_SignedDataContentInfo opened = received(vectors::kNoCertificates);
    for (const VT_SignedDataContentInfo* message : {&fresh, &opened}) {
        Certificate certificate;
        ExtendedCertificateOrCertificate choice;
        CertificateList list;
        MiByte der;
        EXPECT_EQ(message->getCertificateByIndex(0, certificate), -1003);
        EXPECT_EQ(message->getCertificateByIndex(0, der), -1003);
        EXPECT_EQ(message->getExtendedCertificateOrCertificateByIndex(0, choice), -1003);
        EXPECT_EQ(message->getExtendedCertificateOrCertificateByIndex(0, der), -1003);
        EXPECT_EQ(message->getCertificateListByIndex(0, list), -1003);
        EXPECT_EQ(message->getCertificateListByIndex(0, der), -1003);
    }
}

TEST(signed_data_test, NullSetsTakeAndGiveNothing) {
    VT_SignedDataContentInfo message = received(vectors::kWithLists);
    Layout& fields = layoutOf(message);
    const auto taken = std::make_tuple(takeOut(fields.signers), takeOut(fields.digestAlgorithms),
                                       takeOut(fields.certificates), takeOut(fields.certificateLists));
    fields.certificatesPresent = false;
    fields.certificateListsPresent = false;
    EXPECT_EQ(message.addSignerInfo(bytes(signerOf(vectors::kPlain))), -1003);
    EXPECT_EQ(message.addDigestAlgorithmIdentifier(bytes(algorithm(kSha1Oid))), -1003);
    EXPECT_EQ(message.addCertificate(bytes(vectors::kAlice)), -1003);
    EXPECT_EQ(message.addExtendedCertificateOrCertificate(ExtendedCertificateOrCertificate()), -1003);
    EXPECT_EQ(message.addCertificateList(CertificateList()), -1003);
    EXPECT_FALSE(fields.certificatesPresent);
    EXPECT_FALSE(fields.certificateListsPresent);
    fields.certificatesPresent = true;
    fields.certificateListsPresent = true;
    MiByte der;
    EXPECT_EQ(message.getSignerInfoByIndex(0, der), -1003);
    EXPECT_EQ(message.getDigestAlgorithmIdentifierByIndex(0, der), -1003);
    EXPECT_EQ(message.getCertificateByIndex(0, der), -1003);
    EXPECT_EQ(message.getExtendedCertificateOrCertificateByIndex(0, der), -1003);
    EXPECT_EQ(message.getCertificateListByIndex(0, der), -1003);
    EXPECT_EQ(message.getSignerInfoTotal() + message.getDigestAlgorithmIdentifierTotal(), 0);
    EXPECT_EQ(message.getCertificateTotal() + message.getCertificateListTotal(), 0);
}

TEST(signed_data_test, MalformedItemsAreNotAdded) {
    VT_SignedDataContentInfo message;
    const MiByte broken = bytes("30 05 02 01");
    EXPECT_THROW(message.addSignerInfo(broken), MiException);
    EXPECT_THROW(message.addDigestAlgorithmIdentifier(broken), MiException);
    EXPECT_THROW(message.addCertificate(broken), MiException);
    EXPECT_THROW(message.addExtendedCertificateOrCertificate(broken), MiException);
    EXPECT_THROW(message.addCertificateList(MiByte()), MiException);
    EXPECT_EQ(message.getSignerInfoTotal() + message.getDigestAlgorithmIdentifierTotal(), 0);
    EXPECT_EQ(message.getCertificateTotal() + message.getCertificateListTotal(), 0);
    EXPECT_FALSE(layoutOf(message).certificatesPresent);
    EXPECT_FALSE(layoutOf(message).certificateListsPresent);
}

// ---- Copies and Reset

TEST(signed_data_test, CopiesAreDeep) {
    VT_SignedDataContentInfo message = received(vectors::kWithLists);
    VT_SignedDataContentInfo copy = message;
    VT_SignedDataContentInfo assigned;
    assigned = message;
    message.addCertificate(bytes(vectors::kBob));
    EXPECT_EQ(copy.getCertificateTotal(), 1);
    EXPECT_EQ(assigned.getCertificateTotal(), 1);
    ContentInfo composed;
    ASSERT_EQ(assigned.composeSignedDataContentInfo(composed), 0);
    EXPECT_EQ(hexOf(composed), hexOf(vectors::kWithListsInOrder));
    EXPECT_NE(layoutOf(copy).signedData, layoutOf(message).signedData);
    EXPECT_NE(layoutOf(copy).content, layoutOf(message).content);
}

TEST(signed_data_test, ResetForgetsEverything) {
    VT_SignedDataContentInfo message = received(vectors::kWithLists);
    message.Reset();
    const Layout& fields = layoutOf(message);
    EXPECT_FALSE(fields.certificatesPresent);
    EXPECT_FALSE(fields.certificateListsPresent);
    EXPECT_EQ(fields.signedData, nullptr);
    EXPECT_EQ(fields.content, nullptr);
    ASSERT_NE(fields.signers, nullptr);
    EXPECT_TRUE(fields.signers->Empty());
    ASSERT_NE(fields.digestAlgorithms, nullptr);
    EXPECT_TRUE(fields.digestAlgorithms->Empty());
    ASSERT_NE(fields.certificates, nullptr);
    EXPECT_TRUE(fields.certificates->Empty());
    ASSERT_NE(fields.certificateLists, nullptr);
    EXPECT_TRUE(fields.certificateLists->Empty());
}

// ---- Hostile input and exhausted memory

void takeApart(const Bytes& der) {
    int result = 0;
    try {
        ContentInfo message;
        message.DerDecode(bytes(der), 0);
        VT_SignedDataContentInfo opened;
        result = opened.decomposeSignedDataContentInfo(message);
        Certificate certificate;
        if (result == 0 && opened.getCertificateTotal() > 0)
            result = opened.getCertificateByIndex(0, certificate);
    } catch (const MiException&) {
        return;
    }
    EXPECT_TRUE(result == 0 || result == -1001 || result == -1009) << result << " for " << support::toHex(der);
}

TEST(signed_data_test, BrokenMessagesGiveCodesOrExceptions) {
    const Bytes good = hex(vectors::kWithLists);
    for (const support::Broken& broken : support::truncations(good))
        takeApart(broken.bytes);
    for (const auto& broken :
         {support::withTrailingData(good, {5, 0}), support::withShortLengths(good), support::withLongLengths(good),
          support::withTags(good, 0x04), support::withTags(good, 0xA2), support::withIndefiniteLengths(good)})
        for (const support::Broken& one : broken)
            takeApart(one.bytes);
}

TEST(signed_data_test, ExhaustedMemoryLeaksNothing) {
    const auto whole = decoded<ContentInfo>(vectors::kWithLists);
    bool asExpected = true;
    const long failures = support::forEachExhaustion([&] {
        try {
            VT_SignedDataContentInfo message;
            ContentInfo composed;
            asExpected = asExpected && message.decomposeSignedDataContentInfo(whole) == 0 &&
                         message.composeSignedDataContentInfo(composed) == 0;
        } catch (const std::bad_alloc&) {
        }
    });
    EXPECT_GT(failures, 0);
    EXPECT_TRUE(asExpected);
}

}  // namespace
