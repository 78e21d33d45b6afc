#include "tests/flat/envelopes.h"

namespace {

using namespace envelopes;

class digested_message_test : public testing::Test {
  protected:
    int32_t read(const Bytes& message, PKCS_Blob* data) { return PKCS7_ReadDigestedDataMsg(ctx, Input(message), data); }

    MessageContext ctx;
};

TEST_F(digested_message_test, ReadsWhatOpensslWrote) {
    for (const char* made : {vectors::kDigestedSha1, vectors::kDigestedMd5, vectors::kDigestedMd2}) {
        Output data;
        EXPECT_EQ(read(hex(made), data), 0);
        EXPECT_EQ(data.text(), hexOf(vectors::kText));
    }
    Output data;
    EXPECT_EQ(read(hex(vectors::kDigestedEmpty), data), 0);
    EXPECT_EQ(data.blob.length, 0);
    EXPECT_NE(data.blob.data, nullptr);
}

TEST_F(digested_message_test, WritesWhatOpensslWrites) {
    Output message;
    EXPECT_EQ(PKCS7_WriteDigestedDataMsg(ctx, Input(vectors::kText), Algorithm(2), message), 0);
    EXPECT_EQ(message.text(), hexOf(vectors::kDigestedMd5));
}

TEST_F(digested_message_test, WhatIsWrittenReads) {
    for (const int32_t type : {1, 2, 3}) {
        for (const Bytes& bytes : {Bytes{}, Bytes{0}, Bytes(5000, 0x30)}) {
            Output message, data;
            ASSERT_EQ(PKCS7_WriteDigestedDataMsg(ctx, Input(bytes), Algorithm(type), message), 0);
            EXPECT_EQ(PKCS7_GetMsgType(ctx, message), 3);
            EXPECT_EQ(read(message.bytes(), data), 0);
            EXPECT_EQ(data.bytes(), bytes);
            EXPECT_EQ(data.blob.data[data.blob.length], 0);
        }
    }
}

TEST_F(digested_message_test, AMessageIsNestedAndComesBackWhole) {
    for (const char* inner : {vectors::kDigestedSha1, vectors::kEnvelopedDes3}) {
        Output message, data;
        ASSERT_EQ(PKCS7_WriteDigestedDataMsg(ctx, Input(inner), Algorithm(1), message), 0);
        EXPECT_EQ(read(message.bytes(), data), 0);
        EXPECT_EQ(data.text(), hexOf(inner));
    }
    // One of data is what is in it.
    Output message, data;
    ASSERT_EQ(PKCS7_WriteDigestedDataMsg(ctx, Input(dataOf({1, 2})), Algorithm(1), message), 0);
    EXPECT_EQ(read(message.bytes(), data), 0);
    EXPECT_EQ(data.bytes(), Bytes({1, 2}));
}

TEST_F(digested_message_test, TheOuterTagOfANestedMessageIsNotThatOfTheNewOne) {
    Output plain;
    ASSERT_EQ(PKCS7_WriteDigestedDataMsg(ctx, Input(vectors::kEncryptedDes), Algorithm(1), plain), 0);
    for (const Bytes& nested : underOtherTags(hex(vectors::kEncryptedDes))) {
        Output message;
        ASSERT_EQ(PKCS7_WriteDigestedDataMsg(ctx, Input(nested), Algorithm(1), message), 0);
        EXPECT_EQ(message.text(), plain.text());
    }
}

TEST_F(digested_message_test, AChangedByteIsFound) {
    Bytes changed = hex(vectors::kDigestedSha1);
    const Bytes text = hex(vectors::kText);
    *std::search(changed.begin(), changed.end(), text.begin(), text.end()) ^= 1;
    Output data;
    EXPECT_EQ(read(changed, data), kDigestMismatch);
    changed = hex(vectors::kDigestedSha1);
    changed.back() ^= 1;
    EXPECT_EQ(read(changed, data), kDigestMismatch);
    EXPECT_TRUE(data.untouched());
}

TEST_F(digested_message_test, WhatDoesNotFitIsRefused) {
    Output data;
    EXPECT_EQ(read(hex(vectors::kDigestedSha256), data), kUnsupported);
    EXPECT_EQ(read(hex(vectors::kEncryptedDes3), data), kWrongContentType);
    EXPECT_EQ(read(der::sequence({pkcs7(5)}), data), kElementAbsent);
    EXPECT_EQ(read(der::sequence({}), data), kElementAbsent);
    const Bytes empty = contentOf(5, der::sequence({der::integer(0), kSha1Algorithm, der::sequence({}), {4, 0}}));
    EXPECT_EQ(read(empty, data), kElementAbsent);  // the content has no type and no content
    EXPECT_EQ(read(contentOf(5, der::sequence({der::integer(3), kSha1Algorithm, dataOf({}), {4, 0}})), data),
              kWrongVersion);
    EXPECT_EQ(read({}, data), -3000);
    EXPECT_EQ(read({'h', 'e', 'l', 'l', 'o'}, data), -3000);
    EXPECT_TRUE(data.untouched());
}

TEST_F(digested_message_test, ArgumentsAreLookedAtInTheirOrder) {
    const Input text(vectors::kText), message(vectors::kDigestedSha1);
    const Algorithm sha1(1), none(99);
    Output out;
    EXPECT_EQ(PKCS7_ReadDigestedDataMsg(nullptr, message, out), kNullArgument);
    EXPECT_EQ(PKCS7_ReadDigestedDataMsg(ctx, nullptr, out), kNullArgument);
    EXPECT_EQ(PKCS7_ReadDigestedDataMsg(ctx, message, nullptr), kNullArgument);
    EXPECT_EQ(PKCS7_ReadDigestedDataMsg(ctx, &kNullData, out), kMaterialMissing);
    EXPECT_EQ(PKCS7_ReadDigestedDataMsg(emptyContext(), message, out), kNoOperation);
    EXPECT_EQ(PKCS7_ReadDigestedDataMsg(emptyContext(), Input(Bytes{0x30}), out), -3000);

    EXPECT_EQ(PKCS7_WriteDigestedDataMsg(nullptr, text, sha1, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteDigestedDataMsg(ctx, nullptr, sha1, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteDigestedDataMsg(ctx, text, nullptr, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteDigestedDataMsg(ctx, text, sha1, nullptr), kNullArgument);
    EXPECT_EQ(PKCS7_WriteDigestedDataMsg(ctx, &kNullData, sha1, out), kMaterialMissing);
    EXPECT_EQ(PKCS7_WriteDigestedDataMsg(ctx, &kNullData, none, out), kUnsupported);
    EXPECT_EQ(PKCS7_WriteDigestedDataMsg(emptyContext(), text, sha1, out), kNoOperation);
    EXPECT_EQ(PKCS7_WriteDigestedDataMsg(emptyContext(), &kNullData, sha1, out), kMaterialMissing);
    EXPECT_EQ(PKCS7_WriteDigestedDataMsg(ctx, text, Algorithm(8), out), kUnsupported);  // RSA digests nothing
    PKCS_Alg emptyIv = {1, out.blob.data, 0, 0};
    std::uint8_t byte = 0;
    emptyIv.iv = &byte;
    EXPECT_EQ(PKCS7_WriteDigestedDataMsg(ctx, text, &emptyIv, out), kNullArgument);
    // A message that begins well, and then is none: writing has a code of its own for it.
    EXPECT_EQ(PKCS7_WriteDigestedDataMsg(ctx, Input(der::sequence({})), sha1, out), kElementAbsent);
    EXPECT_TRUE(out.untouched());
}

TEST_F(digested_message_test, SurvivesEveryMessage) {
    for (const char* good : {vectors::kDigestedSha1, vectors::kDigestedMd5})
        survives(hex(good), -3000, [&](const PKCS_Blob& message, PKCS_Blob* data) {
            return PKCS7_ReadDigestedDataMsg(ctx, &message, data);
        });
}

TEST_F(digested_message_test, SurvivesExhaustedMemory) {
    const Input text(vectors::kText), message(vectors::kDigestedSha1);
    const Algorithm sha1(1);
    survivesExhaustion([&](PKCS_Blob& out) { return PKCS7_ReadDigestedDataMsg(ctx, message, &out); });
    survivesExhaustion([&](PKCS_Blob& out) { return PKCS7_WriteDigestedDataMsg(ctx, text, sha1, &out); });
}

}  // namespace
