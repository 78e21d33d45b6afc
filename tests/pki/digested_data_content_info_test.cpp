#include "pki/digested_data_content_info.h"

#include <gtest/gtest.h>

#include "foundation/exceptions.h"
#include "tests/pki/envelopes.h"

namespace {

using namespace envelopes;

constexpr int kElementAbsent = -1001;
constexpr int kMaterialMissing = -1003;
constexpr int kUnsupported = -1006;
constexpr int kWrongContentType = -1009;
constexpr int kDigestMismatch = -1012;
constexpr int kWrongVersion = -1020;

const char* const kMd5OfNothing = "d41d8cd98f00b204e9800998ecf8427e";  // RFC 1321 A.5

VT_DigestedDataContentInfo ready(int type, const ContentInfo& content) {
    VT_DigestedDataContentInfo digested;
    EXPECT_EQ(digested.setInnerContentInfo(content), 0);
    EXPECT_EQ(digested.setDigestAlgorithmIdentifier(identifierOf(algorithmOf(type))), 0);
    return digested;
}

VT_DigestedDataContentInfo read(const char* text) {
    VT_DigestedDataContentInfo digested;
    EXPECT_EQ(digested.decomposeDigestedDataContentInfo(message(text)), 0);
    return digested;
}

int decomposed(const Bytes& der) {
    VT_DigestedDataContentInfo digested;
    return digested.decomposeDigestedDataContentInfo(decoded<ContentInfo>(der));
}

class digested_data_content_info_test : public testing::Test {
  protected:
    Software op;
};

TEST_F(digested_data_content_info_test, ComposesWhatOpensslComposes) {
    VT_DigestedDataContentInfo digested = ready(token::kMd5, textContent());
    ASSERT_EQ(digested.makeDigest(op), 0);
    ContentInfo composed = typeAlone();
    ASSERT_EQ(digested.composeDigestedDataContentInfo(composed), 0);
    EXPECT_EQ(hexOf(composed), hexOf(vectors::kDigestedMd5));
}

TEST_F(digested_data_content_info_test, ElementsStandInTheOrderOfTheSchema) {
    VT_DigestedDataContentInfo digested = ready(token::kMd5, dataContent({}));
    ASSERT_EQ(digested.makeDigest(op), 0);
    ContentInfo composed;
    ASSERT_EQ(digested.composeDigestedDataContentInfo(composed), 0);
    const Bytes md5 = der::sequence({der::oid({1, 2, 840, 113549, 2, 5}), kNull});
    EXPECT_EQ(
        hexOf(composed),
        toHex(contentOf(5, der::sequence({der::integer(0), md5, dataOf({}), der::tlv(0x04, hex(kMd5OfNothing))}))));
}

TEST_F(digested_data_content_info_test, VerifiesWhatOpensslMade) {
    for (const char* made : {vectors::kDigestedSha1, vectors::kDigestedMd5, vectors::kDigestedMd2}) {
        const VT_DigestedDataContentInfo digested = read(made);
        EXPECT_EQ(digested.Verify(op), 0);
        ContentInfo content;
        EXPECT_EQ(digested.getInnerContentInfo(content), 0);
        EXPECT_EQ(hexOf(content), hexOf(textContent()));
    }
    EXPECT_EQ(read(vectors::kDigestedEmpty).Verify(op), 0);
    EXPECT_EQ(read(vectors::kDigestedTypeSigned).Verify(op), 0);
}

TEST_F(digested_data_content_info_test, VerifyFindsAChangedByteOfTheContent) {
    VT_DigestedDataContentInfo digested = read(vectors::kDigestedSha1);
    Bytes changed = hex(vectors::kText);
    changed.back() ^= 1;
    digested.setInnerContentInfo(dataContent(changed));
    EXPECT_EQ(digested.Verify(op), kDigestMismatch);
}

TEST_F(digested_data_content_info_test, OnlyTheOctetsOfTheContentAreDigested) {
    // Another tag and another type around the same octets have the same digest.
    VT_DigestedDataContentInfo digested = read(vectors::kDigestedSha1);
    digested.setInnerContentInfo(decoded<ContentInfo>(contentOf(2, der::tlv(0x13, hex(vectors::kText)))));
    EXPECT_EQ(digested.Verify(op), 0);
}

// Bytes that are kept as they were read stand for the value, as they do for the encoder.
TEST_F(digested_data_content_info_test, KeptBytesOfTheContentAreDigested) {
    ContentInfo content = dataContent({1, 2, 3});
    auto* const octets = const_cast<AsnOctetString*>(content.GetContent());
    const MiByte kept = toMiByte(hex(vectors::kText));
    octets->SetAsnContentByte(&kept);
    VT_DigestedDataContentInfo digested = read(vectors::kDigestedSha1);
    digested.setInnerContentInfo(content);
    EXPECT_EQ(digested.Verify(op), 0);
    octets->OffContentByte();
    digested.setInnerContentInfo(content);
    EXPECT_EQ(digested.Verify(op), kDigestMismatch);
}

TEST_F(digested_data_content_info_test, MakeDigestReplacesTheDigest) {
    VT_DigestedDataContentInfo digested = read(vectors::kDigestedSha1);
    digested.setInnerContentInfo(dataContent({1, 2, 3}));
    EXPECT_EQ(digested.makeDigest(op), 0);
    EXPECT_EQ(digested.Verify(op), 0);
}

TEST_F(digested_data_content_info_test, AlgorithmsOfOthersAreRefused) {
    VT_DigestedDataContentInfo digested = read(vectors::kDigestedSha256);
    EXPECT_EQ(digested.Verify(op), kUnsupported);
    EXPECT_EQ(digested.makeDigest(op), kUnsupported);
}

TEST_F(digested_data_content_info_test, DigestingNeedsContentAndAlgorithm) {
    VT_DigestedDataContentInfo digested;
    EXPECT_EQ(digested.makeDigest(op), kMaterialMissing);
    digested.setInnerContentInfo(textContent());
    EXPECT_EQ(digested.makeDigest(op), kMaterialMissing);
    EXPECT_EQ(digested.Verify(op), kMaterialMissing);
    digested.setInnerContentInfo(typeAlone());
    EXPECT_EQ(digested.makeDigest(op), kMaterialMissing);
    digested.Reset();
    digested.setDigestAlgorithmIdentifier(identifierOf(algorithmOf(token::kSha1)));
    EXPECT_EQ(digested.makeDigest(op), kMaterialMissing);
    digested.setInnerContentInfo(typeAlone());
    EXPECT_EQ(digested.makeDigest(op), kElementAbsent);
    EXPECT_EQ(digested.Verify(op), kElementAbsent);
}

TEST_F(digested_data_content_info_test, VerifyNeedsADigest) {
    EXPECT_EQ(ready(token::kSha1, textContent()).Verify(op), kMaterialMissing);
}

TEST_F(digested_data_content_info_test, CodesOfTheTokenLayerPass) {
    VT_P11_OP none;
    EXPECT_EQ(ready(token::kSha1, textContent()).makeDigest(none), -2);
    EXPECT_EQ(read(vectors::kDigestedSha1).Verify(none), -2);
}

TEST_F(digested_data_content_info_test, ComposingNeedsAllThree) {
    ContentInfo composed;
    VT_DigestedDataContentInfo digested;
    digested.setInnerContentInfo(textContent());
    EXPECT_EQ(digested.composeDigestedDataContentInfo(composed), kMaterialMissing);
    digested.setDigestAlgorithmIdentifier(identifierOf(algorithmOf(token::kSha1)));
    EXPECT_EQ(digested.composeDigestedDataContentInfo(composed), kMaterialMissing);
    EXPECT_EQ(digested.makeDigest(op), 0);
    EXPECT_EQ(digested.composeDigestedDataContentInfo(composed), 0);
}

TEST_F(digested_data_content_info_test, DecomposingLooksAtTypeAndVersion) {
    const Bytes rest = der::join({kSha1Algorithm, dataOf({1}), der::tlv(0x04, {2})});
    EXPECT_EQ(decomposed(contentOf(5, der::sequence({der::integer(0), rest}))), 0);
    EXPECT_EQ(decomposed(contentOf(5, der::sequence({der::integer(1), rest}))), kWrongVersion);
    EXPECT_EQ(decomposed(contentOf(5, der::sequence({}))), kWrongVersion);
    EXPECT_EQ(decomposed(contentOf(5, der::sequence({der::integer(2), rest}))), kWrongVersion);
    EXPECT_EQ(decomposed(contentOf(6, der::sequence({der::integer(0), rest}))), kWrongContentType);
    EXPECT_EQ(decomposed(der::sequence({pkcs7(5)})), kElementAbsent);
    EXPECT_EQ(decomposed(der::sequence({})), kElementAbsent);
}

TEST_F(digested_data_content_info_test, MalformedContentThrows) {
    EXPECT_THROW(decomposed(contentOf(5, der::sequence({der::integer(0), kSha1Algorithm}))), MiException);
}

TEST_F(digested_data_content_info_test, GettersGiveWhatIsSet) {
    VT_DigestedDataContentInfo digested;
    AlgorithmIdentifier algorithm;
    ContentInfo content;
    EXPECT_EQ(digested.getDigestAlgorithmIdentifier(algorithm), kMaterialMissing);
    EXPECT_EQ(digested.getInnerContentInfo(content), kMaterialMissing);
    digested = ready(token::kSha1, textContent());
    EXPECT_EQ(digested.getDigestAlgorithmIdentifier(algorithm), 0);
    EXPECT_EQ(hexOf(algorithm), toHex(kSha1Algorithm));
    EXPECT_EQ(digested.getInnerContentInfo(content), 0);
    EXPECT_EQ(hexOf(content), hexOf(textContent()));
}

TEST_F(digested_data_content_info_test, CopiesAreDeep) {
    VT_DigestedDataContentInfo first = read(vectors::kDigestedSha1);
    const VT_DigestedDataContentInfo second(first);
    VT_DigestedDataContentInfo third;
    third = first;
    third = static_cast<const VT_DigestedDataContentInfo&>(third);
    first.Reset();
    EXPECT_EQ(second.Verify(op), 0);
    EXPECT_EQ(third.Verify(op), 0);
    EXPECT_EQ(first.Verify(op), kMaterialMissing);
}

TEST_F(digested_data_content_info_test, FieldsStandInTheirOrder) {
    EXPECT_EQ(sizeof(VT_DigestedDataContentInfo), 4 * sizeof(void*));
    VT_DigestedDataContentInfo digested;
    EXPECT_EQ(setPointers<4>(digested), "----");
    digested.setDigestAlgorithmIdentifier(identifierOf(algorithmOf(token::kSha1)));
    EXPECT_EQ(setPointers<4>(digested), "x---");
    digested.setInnerContentInfo(textContent());
    EXPECT_EQ(setPointers<4>(digested), "xx--");
    digested.makeDigest(op);
    EXPECT_EQ(setPointers<4>(digested), "xxx-");
    ContentInfo composed;
    digested.composeDigestedDataContentInfo(composed);
    EXPECT_EQ(setPointers<4>(digested), "xxxx");
    digested.Reset();
    EXPECT_EQ(setPointers<4>(digested), "----");
}

}  // namespace
