#include <gmock/gmock.h>

#include "tests/flat/envelopes.h"

namespace {

using namespace envelopes;
using testing::ElementsAre;
using testing::IsEmpty;

class signed_and_enveloped_message_test : public testing::Test {
  protected:
    int32_t read(const Bytes& message, PKCS_Blob* data, VT_List* certificates = nullptr, VT_List* lists = nullptr,
                 int32_t mode = 1) {
        return PKCS7_ReadSignedAndEnvelopedDataMsg(ctx, Input(message), mode, recipient, nullptr, certificates, lists,
                                                   data);
    }

    int32_t codeOf(const char* message) {
        Output data;
        const int32_t code = read(hex(message), data);
        EXPECT_EQ(code == 0, !data.untouched());
        return code;
    }

    int32_t withExternal(const PKCS_Blob* external) {
        Output data;
        const int32_t code = PKCS7_ReadSignedAndEnvelopedDataMsg(ctx, Input(vectors::kSealed), 1, recipient, external,
                                                                 nullptr, nullptr, data);
        EXPECT_TRUE(data.untouched());
        return code;
    }

    // data has the ciphertext, and keeps it.
    int32_t readDetached(const char* message, const Bytes& ciphertext) {
        Input data(ciphertext);
        const PKCS_Blob before = data.blob;
        const int32_t code = read(hex(message), &data.blob, nullptr, nullptr, 2);
        EXPECT_TRUE(data.blob.data == before.data && data.blob.length == before.length);
        EXPECT_TRUE(std::equal(ciphertext.begin(), ciphertext.end(), data.blob.data));
        return code;
    }

    MessageContext ctx;
    PrivateKey recipient{vectors::kRecipientKey};
};

TEST_F(signed_and_enveloped_message_test, OpensAndVerifies) {
    for (const char* made : {vectors::kSealed, vectors::kSealedMd5, vectors::kSealedAttributes}) {
        Output data;
        EXPECT_EQ(read(hex(made), data), 0);
        EXPECT_EQ(data.text(), hexOf(vectors::kText));
    }
}

TEST_F(signed_and_enveloped_message_test, ContentOfAnotherTypeComesBackWithItsTypeAndBytes) {
    Output data;
    EXPECT_EQ(read(hex(vectors::kSealedNested), data), 0);
    EXPECT_EQ(data.text(), toHex(contentOf(2, der::tlv(0x04, der::integer(5)))));
}

TEST_F(signed_and_enveloped_message_test, OneGoodSignerIsEnough) {
    EXPECT_EQ(codeOf(vectors::kSealedSecondGood), 0);
}

TEST_F(signed_and_enveloped_message_test, WithoutAGoodSignerNothingIsHandedOut) {
    EXPECT_EQ(codeOf(vectors::kSealedSpoiled), kNoSignerVerified);
    EXPECT_EQ(codeOf(vectors::kSealedNoCertificate), kNoSignerVerified);
    EXPECT_EQ(codeOf(vectors::kSealedNoSigner), kNoSignerVerified);
}

TEST_F(signed_and_enveloped_message_test, TheSignatureMustBeEncrypted) {
    EXPECT_NE(codeOf(vectors::kSealedClearSignature), 0);
}

TEST_F(signed_and_enveloped_message_test, TheListsAreFilledAlsoWhenNoSignerIsGood) {
    List certificates, lists;
    Output data;
    EXPECT_EQ(read(hex(vectors::kSealedSpoiled), data, certificates, lists), kNoSignerVerified);
    EXPECT_THAT(certificates.items(), ElementsAre(hexOf(vectors::kSignerCertificate)));
    ASSERT_EQ(lists.items().size(), 1);
    CertificateList list;
    EXPECT_NO_THROW(decode(list, hex(lists.items()[0])));

    // Behind what they hold, in the order of the message.
    EXPECT_EQ(read(hex(vectors::kSealedSecondGood), data, certificates, lists), 0);
    EXPECT_THAT(certificates.items(),
                ElementsAre(hexOf(vectors::kSignerCertificate), hexOf(vectors::kSignerCertificate),
                            hexOf(vectors::kLargeCertificate)));
    EXPECT_EQ(lists.items().size(), 1);
}

TEST_F(signed_and_enveloped_message_test, TheListsStayEmptyWhenTheMessageDoesNotOpen) {
    List certificates, lists;
    Output data;
    const PrivateKey wrong(vectors::kSignerKey);
    EXPECT_EQ(
        PKCS7_ReadSignedAndEnvelopedDataMsg(ctx, Input(vectors::kSealed), 1, wrong, nullptr, certificates, lists, data),
        kRsaFailed);
    EXPECT_THAT(certificates.items(), IsEmpty());
}

TEST_F(signed_and_enveloped_message_test, AnExternalCertificateNeverVerifies) {
    EXPECT_EQ(withExternal(Input(vectors::kSignerCertificate)), kNoSignerVerified);
    EXPECT_EQ(withExternal(&kNullData), kMaterialMissing);
    EXPECT_EQ(withExternal(Input(Bytes{0x30, 0x01})), kNullArgument);
}

TEST_F(signed_and_enveloped_message_test, ADetachedReadTakesTheCiphertextAndLeavesIt) {
    EXPECT_EQ(readDetached(vectors::kSealedDetached, hex(vectors::kSealedCiphertext)), 0);
    EXPECT_EQ(readDetached(vectors::kSealedDetached, Bytes(9)), kWrongLength);
    PKCS_Blob none = {nullptr, 0};
    EXPECT_EQ(read(hex(vectors::kSealedDetached), &none, nullptr, nullptr, 2), kMaterialMissing);
    EXPECT_EQ(codeOf(vectors::kSealedDetached), kElementAbsent);
}

TEST_F(signed_and_enveloped_message_test, OtherModesAreRefused) {
    Output data;
    for (const int32_t mode : {0, 3, -1})
        EXPECT_EQ(read(hex(vectors::kSealed), data, nullptr, nullptr, mode), kUnsupported);
    // After the session key is opened, and before the lists are filled.
    const PrivateKey wrong(vectors::kSignerKey);
    const List certificates;
    EXPECT_EQ(
        PKCS7_ReadSignedAndEnvelopedDataMsg(ctx, Input(vectors::kSealed), 3, wrong, nullptr, nullptr, nullptr, data),
        kRsaFailed);
    EXPECT_EQ(read(hex(vectors::kSealed), data, certificates, nullptr, 3), kUnsupported);
    EXPECT_THAT(certificates.items(), IsEmpty());
    EXPECT_TRUE(data.untouched());
}

TEST_F(signed_and_enveloped_message_test, WhatDoesNotFitIsRefused) {
    EXPECT_EQ(codeOf(vectors::kSealedVersion0), kWrongVersion);
    EXPECT_EQ(codeOf(vectors::kSealedSignerVersion2), kWrongVersion);
    EXPECT_EQ(codeOf(vectors::kSealedRecipientSequence), kElementAbsent);
    EXPECT_EQ(codeOf(vectors::kSealedSignerSequence), kElementAbsent);
    EXPECT_EQ(codeOf(vectors::kSealedDigestSequence), kElementAbsent);
    EXPECT_EQ(codeOf(vectors::kSealedNoRecipient), kUnsupported);  // an empty key
    EXPECT_EQ(codeOf(vectors::kEnvelopedDes3), kWrongContentType);
    Output data;
    EXPECT_EQ(read(der::sequence({pkcs7(4)}), data), kElementAbsent);
    EXPECT_EQ(read(der::sequence({}), data), kElementAbsent);
    EXPECT_EQ(read({}, data), kNullArgument);
    EXPECT_TRUE(data.untouched());
}

TEST_F(signed_and_enveloped_message_test, ReadingNeedsItsArguments) {
    const Input message(vectors::kSealed);
    Output out;
    const auto read = [](PKCS_Ctx* context, const PKCS_Blob* der, const PKCS_PriKey* key, PKCS_Blob* data) {
        return PKCS7_ReadSignedAndEnvelopedDataMsg(context, der, 1, key, nullptr, nullptr, nullptr, data);
    };
    EXPECT_EQ(read(nullptr, message, recipient, out), kNullArgument);
    EXPECT_EQ(read(ctx, nullptr, recipient, out), kNullArgument);
    EXPECT_EQ(read(ctx, message, nullptr, out), kNullArgument);
    EXPECT_EQ(read(ctx, message, recipient, nullptr), kNullArgument);
    EXPECT_EQ(read(ctx, &kNullData, recipient, out), kMaterialMissing);
    EXPECT_EQ(read(emptyContext(), message, recipient, out), kNoOperation);
    EXPECT_TRUE(out.untouched());
}

TEST_F(signed_and_enveloped_message_test, WritingDoesNothingAndGivesZero) {
    EXPECT_EQ(PKCS7_WriteSignedAndEnvelopedDataMsg(nullptr), 0);
    EXPECT_EQ(PKCS7_WriteSignedAndEnvelopedDataMsg(nullptr, nullptr, nullptr, nullptr), 0);
    Output message;
    EXPECT_EQ(PKCS7_WriteSignedAndEnvelopedDataMsg(ctx, &message.blob, 7, "x"), 0);
    EXPECT_TRUE(message.untouched());
}

TEST_F(signed_and_enveloped_message_test, SurvivesEveryMessage) {
    survives(hex(vectors::kSealedAttributes), kNullArgument, [&](const PKCS_Blob& message, PKCS_Blob* data) {
        const List certificates, lists;
        return PKCS7_ReadSignedAndEnvelopedDataMsg(ctx, &message, 1, recipient, nullptr, certificates, lists, data);
    });
}

TEST_F(signed_and_enveloped_message_test, SurvivesExhaustedMemory) {
    const Input message(vectors::kSealed);
    survivesExhaustion([&](PKCS_Blob& out) {
        VT_List* certificates = nullptr;
        if (VT_CreateList(&certificates) != 0)
            return int32_t{-1};
        const int32_t code =
            PKCS7_ReadSignedAndEnvelopedDataMsg(ctx, message, 1, recipient, nullptr, certificates, nullptr, &out);
        VT_DestroyList(&certificates);
        return code;
    });
}

}  // namespace
