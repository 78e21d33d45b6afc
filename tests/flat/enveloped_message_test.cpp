#include "tests/flat/envelopes.h"

namespace {

using namespace envelopes;

struct Cipher {
    int32_t type;
    std::uint32_t bits;
};

// effectiveBits is the length of the session key, whatever the cipher.
constexpr Cipher kCiphers[] = {{5, 192}, {4, 64}, {6, 40}, {6, 64}, {6, 128}, {7, 128}};
constexpr int32_t kRc4 = 7;

const Bytes kSession = kDes3Key;

Bytes recipientInfo(std::int64_t version, const Bytes& encryptedKey) {
    return der::sequence({der::integer(version), der::sequence({der::name(3, 0x13, "R"), der::integer(1)}),
                          kRsaAlgorithm, der::tlv(0x04, encryptedKey)});
}

Bytes envelopedData(std::int64_t version, const Bytes& recipients, const Bytes& info) {
    return contentOf(3, der::sequence({der::integer(version), recipients, info}));
}

Bytes info(const Bytes& algorithm) {
    return der::sequence({pkcs7(1), algorithm, der::tlv(0x80, Bytes(8, 1))});
}

class enveloped_message_test : public testing::Test {
  protected:
    int32_t read(const Bytes& message, PKCS_Blob* data, int32_t mode = 1) {
        return PKCS7_ReadEnvelopedDataMsg(ctx, Input(message), mode, recipient, nullptr, data);
    }

    int32_t readDetached(const Bytes& message, const PKCS_Blob* ciphertext) {
        std::uint8_t byte = 7;
        PKCS_Blob data = {&byte, 1};
        const int32_t code = PKCS7_ReadEnvelopedDataMsg(ctx, Input(message), 2, recipient, ciphertext, &data);
        EXPECT_TRUE(data.data == &byte && data.length == 1 && byte == 7);
        return code;
    }

    int32_t write(const Bytes& bytes, const PKCS_Alg* alg, PKCS_Blob* message) {
        return PKCS7_WriteEnvelopedDataMsg(ctx, Input(bytes), alg, rsa, 1, certificate, nullptr, message);
    }

    // A recipient's part with a session key for triple DES.
    static Bytes goodRecipient() {
        MiByte encrypted;
        Software op;
        EXPECT_EQ(
            op->Encrypt(algorithmOf(token::kRsa), publicKey(vectors::kRecipientKey), toMiByte(kSession), encrypted), 0);
        return recipientInfo(0, bytesOf(encrypted));
    }

    MessageContext ctx;
    PrivateKey recipient{vectors::kRecipientKey};
    Input certificate{vectors::kRecipientCertificate};
    Algorithm rsa{8};
    Algorithm des3{5, kIv, 192};
    Input text{vectors::kText};
};

// ---- Reading

TEST_F(enveloped_message_test, ReadsWhatOpensslWrote) {
    for (const char* made :
         {vectors::kEnvelopedDes3, vectors::kEnvelopedDes3Cms, vectors::kEnvelopedDes, vectors::kEnvelopedRc240,
          vectors::kEnvelopedRc264, vectors::kEnvelopedRc2128, vectors::kEnvelopedRc4, vectors::kEnvelopedForTwo}) {
        Output data;
        EXPECT_EQ(read(hex(made), data), 0);
        EXPECT_EQ(data.text(), hexOf(vectors::kText));
    }
    Output empty;
    EXPECT_EQ(read(hex(vectors::kEnvelopedEmpty), empty), 0);
    EXPECT_EQ(empty.blob.length, 0);
    const PrivateKey large(vectors::kLargeKey);
    Output data;
    EXPECT_EQ(PKCS7_ReadEnvelopedDataMsg(ctx, Input(vectors::kEnvelopedForLarge), 1, large, nullptr, data), 0);
    EXPECT_EQ(data.text(), hexOf(vectors::kText));
}

TEST_F(enveloped_message_test, OnlyTheFirstRecipientIsTried) {
    const PrivateKey second(vectors::kSignerKey);
    Output data;
    EXPECT_EQ(PKCS7_ReadEnvelopedDataMsg(ctx, Input(vectors::kEnvelopedForTwo), 1, second, nullptr, data), kRsaFailed);
    EXPECT_TRUE(data.untouched());
}

TEST_F(enveloped_message_test, NoRecipientIsMatchedAgainstTheKey) {
    // Another name and serial number than the certificate's.
    Software op;
    MiByte ciphertext;
    ASSERT_EQ(op->Encrypt(algorithmOf(token::kDes3Cbc, kIv), des3Key(), toMiByte({'x'}), ciphertext), 0);
    const Bytes made = envelopedData(0, der::set({goodRecipient()}),
                                     der::sequence({pkcs7(1), kDes3Algorithm, der::tlv(0x80, bytesOf(ciphertext))}));
    Output data;
    EXPECT_EQ(read(made, data), 0);
    EXPECT_EQ(data.bytes(), Bytes({'x'}));
}

TEST_F(enveloped_message_test, ADetachedReadConfirmsAndHandsNothingBack) {
    const Bytes message = hex(vectors::kEnvelopedDetached);
    EXPECT_EQ(readDetached(message, Input(vectors::kEnvelopedCiphertext)), 0);
    EXPECT_EQ(readDetached(message, nullptr), kNullArgument);
    EXPECT_EQ(readDetached(message, &kNullData), kMaterialMissing);
    EXPECT_EQ(readDetached(message, Input(Bytes(9))), kWrongLength);
    // An attached message opens with the ciphertext that is given, not with its own.
    EXPECT_EQ(readDetached(hex(vectors::kEnvelopedDes3), Input(Bytes(9))), kWrongLength);
    Output data;
    EXPECT_EQ(read(message, data), kElementAbsent);
}

TEST_F(enveloped_message_test, OtherModesAreRefusedOnceTheKeyIsOpen) {
    Output data;
    const Bytes message = hex(vectors::kEnvelopedDes3);
    for (const int32_t mode : {0, 3, -1})
        EXPECT_EQ(read(message, data, mode), kUnsupported);
    const PrivateKey wrong(vectors::kSignerKey);
    EXPECT_EQ(PKCS7_ReadEnvelopedDataMsg(ctx, Input(message), 3, wrong, nullptr, data), kRsaFailed);
    EXPECT_TRUE(data.untouched());
}

TEST_F(enveloped_message_test, WithoutARecipientTheKeyStaysEmpty) {
    Output data;
    EXPECT_EQ(read(envelopedData(0, der::set({}), info(kDes3Algorithm)), data), kUnsupported);
}

TEST_F(enveloped_message_test, WhatDoesNotFitIsRefused) {
    Output data;
    const Bytes recipients = der::set({goodRecipient()});
    EXPECT_EQ(read(hex(vectors::kEnvelopedAes128), data), kUnsupported);
    EXPECT_EQ(read(hex(vectors::kEnvelopedByKeyId), data), kNullArgument);
    EXPECT_EQ(read(envelopedData(1, recipients, info(kDes3Algorithm)), data), kWrongVersion);
    EXPECT_EQ(read(envelopedData(0, der::sequence({goodRecipient()}), info(kDes3Algorithm)), data), kElementAbsent);
    EXPECT_EQ(read(envelopedData(0, der::set({recipientInfo(1, {1})}), info(kDes3Algorithm)), data), kWrongVersion);
    EXPECT_EQ(read(envelopedData(0, der::set({recipientInfo(0, {1})}), info(kDes3Algorithm)), data), kWrongLength);
    EXPECT_EQ(read(envelopedData(0, recipients, der::sequence({})), data), kElementAbsent);
    EXPECT_EQ(read(hex(vectors::kDigestedSha1), data), kWrongContentType);
    EXPECT_EQ(read(der::sequence({pkcs7(3)}), data), kElementAbsent);
    EXPECT_EQ(read(der::sequence({}), data), kElementAbsent);
    EXPECT_EQ(read({}, data), kNullArgument);
    EXPECT_TRUE(data.untouched());
}

TEST_F(enveloped_message_test, AnIncompletePrivateKeyIsNoKey) {
    PKCS_PriKey record = recipient.record;
    record.coefficient = {nullptr, 0};
    Output data;
    EXPECT_EQ(PKCS7_ReadEnvelopedDataMsg(ctx, Input(vectors::kEnvelopedDes3), 1, &record, nullptr, data),
              kMaterialMissing);
}

TEST_F(enveloped_message_test, ReadingNeedsItsArguments) {
    const Input message(vectors::kEnvelopedDes3);
    Output out;
    EXPECT_EQ(PKCS7_ReadEnvelopedDataMsg(nullptr, message, 1, recipient, nullptr, out), kNullArgument);
    EXPECT_EQ(PKCS7_ReadEnvelopedDataMsg(ctx, nullptr, 1, recipient, nullptr, out), kNullArgument);
    EXPECT_EQ(PKCS7_ReadEnvelopedDataMsg(ctx, message, 1, nullptr, nullptr, out), kNullArgument);
    EXPECT_EQ(PKCS7_ReadEnvelopedDataMsg(ctx, message, 1, recipient, nullptr, nullptr), kNullArgument);
    EXPECT_EQ(PKCS7_ReadEnvelopedDataMsg(ctx, &kNullData, 1, recipient, nullptr, out), kMaterialMissing);
    EXPECT_EQ(PKCS7_ReadEnvelopedDataMsg(emptyContext(), message, 1, recipient, nullptr, out), kNoOperation);
    EXPECT_TRUE(out.untouched());
}

// ---- Writing

TEST_F(enveloped_message_test, WhatIsWrittenReads) {
    for (const Cipher& cipher : kCiphers) {
        const Algorithm alg(cipher.type, cipher.type == kRc4 ? Bytes() : kIv, cipher.bits);
        for (const Bytes& bytes : {Bytes{}, Bytes{0}, Bytes(16, 7), Bytes(5000, 0x30)}) {
            Output message, data;
            ASSERT_EQ(write(bytes, alg, message), 0);
            EXPECT_EQ(PKCS7_GetMsgType(ctx, message), 5);
            ASSERT_EQ(read(message.bytes(), data), 0);
            EXPECT_EQ(data.bytes(), bytes);
        }
    }
}

TEST_F(enveloped_message_test, KeysOfAnySizeCarryTheSessionKey) {
    Output message, data;
    const PrivateKey large(vectors::kLargeKey);
    ASSERT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, rsa, 1, Input(vectors::kLargeCertificate), nullptr, message),
              0);
    EXPECT_EQ(PKCS7_ReadEnvelopedDataMsg(ctx, message, 1, large, nullptr, data), 0);
    EXPECT_EQ(data.text(), hexOf(vectors::kText));
}

TEST_F(enveloped_message_test, AMessageTellsRecipientAndAlgorithms) {
    Output message;
    ASSERT_EQ(write({'x'}, des3, message), 0);
    VT_EnvelopedDataContentInfo enveloped;
    ASSERT_EQ(enveloped.decomposeEnvelopedDataContentInfo(decoded<ContentInfo>(message.bytes())), 0);
    ASSERT_EQ(enveloped.getRecipientInfoTotal(), 1);
    RecipientInfo info;
    ASSERT_EQ(enveloped.getRecipientInfoByIndex(0, info), 0);
    EXPECT_EQ(hexOf(*info.GetIssuerAndSerialNumber()), hexOf(issuerAndSerial(vectors::kRecipientCertificate)));
    EXPECT_EQ(hexOf(*info.GetKeyEncryptionAlgorithm()), toHex(kRsaAlgorithm));
    EXPECT_EQ(info.GetEncryptedKey()->GetData().GetLength(), 128);
    AlgorithmIdentifier algorithm;
    ASSERT_EQ(enveloped.getEncryptedContentInfoAlgorithmIdentifier(algorithm), 0);
    EXPECT_EQ(hexOf(algorithm), toHex(kDes3Algorithm));
}

TEST_F(enveloped_message_test, TheSessionKeyComesFromTheCurrentSecond) {
    MiTime first, last;
    first.SetCurrentTime();
    Output message;
    ASSERT_EQ(write({'x'}, des3, message), 0);
    last.SetCurrentTime();

    VT_EnvelopedDataContentInfo enveloped;
    ASSERT_EQ(enveloped.decomposeEnvelopedDataContentInfo(decoded<ContentInfo>(message.bytes())), 0);
    RecipientInfo info;
    ASSERT_EQ(enveloped.getRecipientInfoByIndex(0, info), 0);
    VT_RecipientInfo opened;
    ASSERT_EQ(opened.decomposeRecipientInfo(info), 0);
    Software op;
    MiByte sessionKey;
    ASSERT_EQ(opened.decryptKey(op, privateKey(vectors::kRecipientKey), sessionKey), 0);
    EXPECT_EQ(sessionKey.GetLength(), 24);

    bool found = false;
    for (MiTime second = first; second <= last; second.NextSecond()) {
        const MiString seed = second.GetTimeString("YYYYMMDDhhmmss");
        MiByte expected;
        ASSERT_EQ(op->GenerateRandom(expected, 24, MiByte(seed.GetChars(), seed.GetLength())), 0);
        found = found || expected == sessionKey;
    }
    EXPECT_TRUE(found);
}

TEST_F(enveloped_message_test, ADetachedMessageHandsItsCiphertextOut) {
    Output message, ciphertext;
    ASSERT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, rsa, 2, certificate, ciphertext, message), 0);
    EXPECT_EQ(ciphertext.blob.length, (hex(vectors::kText).size() / 8 + 1) * 8);
    EXPECT_EQ(readDetached(message.bytes(), ciphertext), 0);
    Output data;
    EXPECT_EQ(read(message.bytes(), data), kElementAbsent);
    // Whoever does not want the ciphertext gets the message alone.
    Output alone;
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, rsa, 2, certificate, nullptr, alone), 0);
    EXPECT_EQ(alone.blob.length, message.blob.length);
}

TEST_F(enveloped_message_test, AnyOtherModeWritesAttached) {
    for (const int32_t mode : {0, 1, 3, -2}) {
        Output message, ciphertext, data;
        ASSERT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, rsa, mode, certificate, ciphertext, message), 0);
        EXPECT_EQ(read(message.bytes(), data), 0);
        EXPECT_EQ(data.text(), hexOf(vectors::kText));
        EXPECT_EQ(ciphertext.blob.length, 0);
    }
}

TEST_F(enveloped_message_test, AMessageIsNestedAndComesBackWithItsTypeAndBytes) {
    const Bytes body = der::join({der::integer(1), kSha1Algorithm});
    Output message, data;
    ASSERT_EQ(write(contentOf(2, der::tlv(0x30, body)), des3, message), 0);
    EXPECT_EQ(read(message.bytes(), data), 0);
    EXPECT_EQ(data.text(), toHex(contentOf(2, der::tlv(0x04, body))));
}

TEST_F(enveloped_message_test, TheOuterTagOfANestedMessageIsNotThatOfTheNewOne) {
    for (const Bytes& nested : underOtherTags(hex(vectors::kDigestedSha1))) {
        for (const int32_t mode : {1, 2}) {
            Output message, ciphertext;
            ASSERT_EQ(
                PKCS7_WriteEnvelopedDataMsg(ctx, Input(nested), des3, rsa, mode, certificate, ciphertext, message), 0);
            EXPECT_EQ(message.bytes().front(), 0x30);
            EXPECT_EQ(PKCS7_GetMsgType(ctx, message), 5);
            if (mode == 2) {
                EXPECT_EQ(readDetached(message.bytes(), ciphertext), 0);
                continue;
            }
            Output data;
            EXPECT_EQ(read(message.bytes(), data), 0);
            EXPECT_EQ(PKCS7_GetMsgType(ctx, data), 3);
        }
    }
}

TEST_F(enveloped_message_test, EffectiveBitsAreTheLengthOfTheSessionKey) {
    Output out;
    EXPECT_EQ(write({'x'}, Algorithm(5, kIv, 128), out), kBadKey);     // 16 bytes are too few for triple DES
    EXPECT_EQ(write({'x'}, Algorithm(5, kIv, 0), out), kUnsupported);  // no key at all
    EXPECT_EQ(write({'x'}, Algorithm(4, kIv, 0xFFFFFFFF), out), kUnsupported);
    EXPECT_EQ(write({'x'}, Algorithm(4, kIv, 0x80000000), out), kWrongLength);
    EXPECT_EQ(write({'x'}, Algorithm(6, kIv, 56), out), kUnsupported);
    EXPECT_TRUE(out.untouched());
}

TEST_F(enveloped_message_test, WritingLooksAtItsArgumentsInTheirOrder) {
    Output out;
    const Algorithm none(99);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(nullptr, text, des3, rsa, 1, certificate, nullptr, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, nullptr, des3, rsa, 1, certificate, nullptr, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, nullptr, rsa, 1, certificate, nullptr, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, nullptr, 1, certificate, nullptr, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, rsa, 1, nullptr, nullptr, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, rsa, 1, certificate, nullptr, nullptr), kNullArgument);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, &kNullData, none, rsa, 1, certificate, nullptr, out), kMaterialMissing);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, none, rsa, 1, &kNullData, nullptr, out), kMaterialMissing);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, none, rsa, 1, certificate, nullptr, out), kUnsupported);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, none, 1, certificate, nullptr, out), kUnsupported);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, Algorithm(7), 1, certificate, nullptr, out), kWrongKey);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(emptyContext(), text, des3, rsa, 1, certificate, nullptr, out), kNoOperation);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, Algorithm(5, {}, 192), rsa, 1, certificate, nullptr, out), -2);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, rsa, 1, Input(Bytes{0x30, 0x03}), nullptr, out),
              kNullArgument);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, rsa, 1, Input(der::sequence({})), nullptr, out),
              kElementAbsent);
    EXPECT_TRUE(out.untouched());
}

TEST_F(enveloped_message_test, TheCertificateIsReadBeforeTheAlgorithms) {
    Output out;
    const Algorithm none(99);
    const Input malformed(Bytes{0x30, 0x03}), empty(der::sequence({}));
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, none, none, 1, malformed, nullptr, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, none, none, 1, empty, nullptr, out), kElementAbsent);
    EXPECT_TRUE(out.untouched());
}

TEST_F(enveloped_message_test, OfTheAlgorithmOfTheKeyTheTypeAloneCounts) {
    // An IV without bytes is refused where it is looked at.
    std::uint8_t byte = 0;
    const PKCS_Alg keyAlg = {8, &byte, 0, 7};
    PKCS_Alg contentAlg = des3.record;
    Output message, data;
    ASSERT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, &contentAlg, &keyAlg, 1, certificate, nullptr, message), 0);
    EXPECT_EQ(read(message.bytes(), data), 0);
    contentAlg.ivLength = 0;
    Output refused;
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, &contentAlg, &keyAlg, 1, certificate, nullptr, refused),
              kNullArgument);
}

TEST_F(enveloped_message_test, ACertificateWithNoRsaKeyIsRefused) {
    // The recipient's own, with another algorithm of its key: the identifier's last arc is changed.
    Bytes other = hex(vectors::kRecipientCertificate);
    const Bytes rsaOid = der::oid({1, 2, 840, 113549, 1, 1, 1});
    const auto found = std::search(other.begin(), other.end(), rsaOid.begin(), rsaOid.end());
    ASSERT_NE(found, other.end());
    *(found + static_cast<std::ptrdiff_t>(rsaOid.size()) - 1) = 99;
    Output out;
    EXPECT_EQ(PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, rsa, 1, Input(other), nullptr, out), kUnsupported);
    EXPECT_TRUE(out.untouched());
}

// ---- Hostile input

TEST_F(enveloped_message_test, SurvivesEveryMessage) {
    survives(hex(vectors::kEnvelopedDes3), kNullArgument, [&](const PKCS_Blob& message, PKCS_Blob* data) {
        return PKCS7_ReadEnvelopedDataMsg(ctx, &message, 1, recipient, nullptr, data);
    });
}

TEST_F(enveloped_message_test, SurvivesEveryCertificate) {
    // A message is written all the same where the change is of no concern.
    for (const Bytes& bytes : spoiled(hex(vectors::kRecipientCertificate))) {
        Output message;
        const int32_t code = PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, rsa, 1, Input(bytes), nullptr, message);
        EXPECT_TRUE(isCode(code)) << code;
        EXPECT_EQ(code == 0, !message.untouched());
    }
}

TEST_F(enveloped_message_test, SurvivesExhaustedMemory) {
    const Input message(vectors::kEnvelopedDes3);
    survivesExhaustion(
        [&](PKCS_Blob& out) { return PKCS7_ReadEnvelopedDataMsg(ctx, message, 1, recipient, nullptr, &out); });
    survivesExhaustion([&](PKCS_Blob& out) {
        PKCS_Blob ciphertext = {nullptr, 0};
        const int32_t code = PKCS7_WriteEnvelopedDataMsg(ctx, text, des3, rsa, 2, certificate, &ciphertext, &out);
        const bool both = (code == 0) == (ciphertext.data != nullptr);
        T_free(ciphertext.data);
        return both ? code : 1;  // which is no code
    });
}

}  // namespace
