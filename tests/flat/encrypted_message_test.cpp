#include "tests/flat/envelopes.h"

namespace {

using namespace envelopes;

struct Cipher {
    int32_t type;
    std::uint32_t bits;  // effective bits, for RC2
    const char* key;
    const char* message;  // by openssl
};

constexpr Cipher kCiphers[] = {
    {5, 0, "000102030405060708090a0b0c0d0e0f1011121314151617", vectors::kEncryptedDes3},
    {4, 0, "0102030405060708", vectors::kEncryptedDes},
    {6, 40, "0102030405", vectors::kEncryptedRc240},
    {6, 64, "0001020304050607", vectors::kEncryptedRc264},
    {6, 128, "000102030405060708090a0b0c0d0e0f", vectors::kEncryptedRc2128},
    {7, 0, "000102030405060708090a0b0c0d0e0f", vectors::kEncryptedRc4},
};
constexpr int32_t kRc4 = 7;

// The IV in a message: the parameters end in it.
Bytes ivIn(const char* text) {
    VT_EncryptedDataContentInfo encrypted;
    EXPECT_EQ(encrypted.decomposeEncryptedDataContentInfo(message(text)), 0);
    AlgorithmIdentifier identifier;
    EXPECT_EQ(encrypted.getEncryptedContentInfoAlgorithmIdentifier(identifier), 0);
    const Bytes parameters = bytesOf(identifier.GetParameters()->GetData());
    return parameters.empty() ? Bytes() : Bytes(parameters.end() - 8, parameters.end());
}

// A key's record, with bytes of its own.
struct Key {
    Bytes bytes;
    PKCS_Key record;
    explicit Key(const Bytes& source) : Key(source, static_cast<std::uint32_t>(source.size())) {}
    Key(Bytes source, std::uint32_t keyLength) : bytes(std::move(source)) {
        record = {bytes.data(), static_cast<std::uint32_t>(bytes.size()), keyLength};
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    operator const PKCS_Key*() const { return &record; }
};

const Bytes kSecret = kDes3Key;

class encrypted_message_test : public testing::Test {
  protected:
    int32_t read(const Bytes& message, PKCS_Blob* data) {
        return PKCS7_ReadEncryptedDataMsg(ctx, Input(message), Input(kSecret), data);
    }

    MessageContext ctx;
};

TEST_F(encrypted_message_test, ReadsWhatOpensslWrote) {
    for (const Cipher& cipher : kCiphers) {
        Output data;
        EXPECT_EQ(PKCS7_ReadEncryptedDataMsg(ctx, Input(cipher.message), Input(cipher.key), data), 0);
        EXPECT_EQ(data.text(), hexOf(vectors::kText));
    }
}

TEST_F(encrypted_message_test, WritesWhatOpensslWrites) {
    for (const Cipher& cipher : kCiphers) {
        if (cipher.type == kRc4)  // whose parameters openssl writes as an empty string
            continue;
        Output message;
        const Algorithm alg(cipher.type, ivIn(cipher.message), cipher.bits);
        EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, Input(vectors::kText), alg, Key(hex(cipher.key)), message), 0);
        EXPECT_EQ(message.text(), hexOf(cipher.message));
    }
}

TEST_F(encrypted_message_test, WhatIsWrittenReads) {
    for (const Cipher& cipher : kCiphers) {
        for (const Bytes& bytes : {Bytes{}, Bytes{0}, Bytes(16, 7), Bytes(5000, 0x30)}) {
            Output message, data;
            const Algorithm alg(cipher.type, cipher.type == kRc4 ? Bytes() : kIv, cipher.bits);
            ASSERT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, Input(bytes), alg, Key(hex(cipher.key)), message), 0);
            EXPECT_EQ(PKCS7_GetMsgType(ctx, message), 2);
            ASSERT_EQ(PKCS7_ReadEncryptedDataMsg(ctx, message, Input(cipher.key), data), 0);
            EXPECT_EQ(data.bytes(), bytes);
            EXPECT_EQ(data.blob.data[data.blob.length], 0);
        }
    }
}

TEST_F(encrypted_message_test, LengthsOfEveryFormAreThoseOfTheClasses) {
    // A ciphertext is put into its message without a value around it. RC4's is as long as the text.
    const Bytes secret(16, 7);
    const VT_P11_Alg rc4 = algorithmOf(token::kRc4);
    const VT_P11_Key key = secretKey(secret, identifierOf(rc4));
    Software op;
    std::vector<std::size_t> sizes;
    for (std::size_t size = 1; size < 290; ++size)
        sizes.push_back(size);
    for (std::size_t size = 65450; size < 65545; size += 2)
        sizes.push_back(size);
    sizes.push_back(0x1000000 - 40);
    for (const std::size_t size : sizes) {
        const Bytes bytes(size, 0x41);
        VT_EncryptedDataContentInfo encrypted;
        encrypted.setInnerContentInfo(dataContent(bytes));
        ASSERT_EQ(encrypted.EncryptAttachedContentInfo(op, rc4, key), 0);
        ContentInfo composed;
        ASSERT_EQ(encrypted.composeEncryptedDataContentInfo(composed), 0);
        Output message;
        ASSERT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, Input(bytes), Algorithm(kRc4), Key(secret), message), 0);
        ASSERT_TRUE(message.bytes() == encode(composed)) << size;
    }
}

TEST_F(encrypted_message_test, AMessageIsNestedAndComesBackWithItsTypeAndBytes) {
    const Bytes body = der::join({der::integer(0), kSha1Algorithm});
    Output message, data;
    ASSERT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, Input(contentOf(2, der::tlv(0x30, body))), Algorithm(5, kIv),
                                          Key(kSecret), message),
              0);
    EXPECT_EQ(read(message.bytes(), data), 0);
    EXPECT_EQ(data.text(), toHex(contentOf(2, der::tlv(0x04, body))));
    EXPECT_EQ(PKCS7_GetMsgType(ctx, data), 4);
}

TEST_F(encrypted_message_test, TheTagsOfANestedMessageAreNotThoseOfTheNewOne) {
    const Key secret(kSecret);
    Output plain;
    ASSERT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, Input(vectors::kDigestedSha1), Algorithm(5, kIv), secret, plain), 0);
    for (const Bytes& nested : underOtherTags(hex(vectors::kDigestedSha1))) {
        Output message;
        ASSERT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, Input(nested), Algorithm(5, kIv), secret, message), 0);
        EXPECT_EQ(message.text(), plain.text());
    }
    // The same for the tag of its type.
    const Bytes type = pkcs7(5);
    for (const char* tag : {"03", "1F 81 06", "BF 84 80 80 7F"}) {
        const Bytes oddType = der::join({hex(tag), Bytes(type.begin() + 1, type.end())});
        const Bytes nested = der::sequence({oddType, der::tagged(0, der::sequence({der::integer(0)}))});
        Output message, usual;
        ASSERT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, Input(nested), Algorithm(5, kIv), secret, message), 0);
        const Bytes same = der::sequence({type, der::tagged(0, der::sequence({der::integer(0)}))});
        ASSERT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, Input(same), Algorithm(5, kIv), secret, usual), 0);
        EXPECT_EQ(message.text(), usual.text());
    }
}

TEST_F(encrypted_message_test, TheKeysThirdFieldIsTheLengthInUse) {
    const Bytes twice = der::join({hex("0102030405"), hex("0102030405")});
    const Input text(vectors::kText);
    const Algorithm rc2(6, ivIn(vectors::kEncryptedRc240), 40);
    Output message, refused;
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, text, rc2, Key(twice, 5), message), 0);
    EXPECT_EQ(message.text(), hexOf(vectors::kEncryptedRc240));
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, text, rc2, Key(twice, 11), refused), kRc2LengthInUse);
    // Triple DES has 24 bytes whatever is told, and refuses fewer.
    const Algorithm des3(5, kIv);
    Output told, refusedShort;
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, text, des3, Key(kSecret, 16), told), 0);
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, text, des3, Key(Bytes(16, 1), 16), refusedShort), kBadKey);
}

TEST_F(encrypted_message_test, WhatDoesNotFitIsRefused) {
    const auto encrypted = [](std::int64_t version, const Bytes& info) {
        return contentOf(6, der::sequence({der::integer(version), info}));
    };
    Output data;
    EXPECT_EQ(read(encrypted(1, der::sequence({pkcs7(1), kDes3Algorithm, {0x80, 0}})), data), kWrongVersion);
    EXPECT_EQ(read(encrypted(0, der::sequence({pkcs7(1), kDes3Algorithm})), data), kElementAbsent);
    EXPECT_EQ(read(encrypted(0, der::sequence({})), data), kElementAbsent);
    EXPECT_EQ(read(encrypted(0, der::sequence({pkcs7(1), kSha1Algorithm, {0x80, 0}})), data), kUnsupported);
    EXPECT_EQ(read(encrypted(0, der::sequence({pkcs7(1), kDes3Algorithm, der::tlv(0x80, Bytes(9))})), data),
              kWrongLength);
    const Bytes rc2 = der::sequence({der::oid({1, 2, 840, 113549, 3, 2})});
    EXPECT_EQ(read(encrypted(0, der::sequence({pkcs7(1), rc2, {0x80, 0}})), data), kRc2ParametersMissing);
    EXPECT_EQ(read(hex(vectors::kDigestedSha1), data), kWrongContentType);
    EXPECT_EQ(read(der::sequence({pkcs7(6)}), data), kElementAbsent);
    EXPECT_EQ(read(der::sequence({}), data), kElementAbsent);
    EXPECT_EQ(read({}, data), kNullArgument);
    EXPECT_EQ(read({'h', 'e', 'l', 'l', 'o'}, data), kNullArgument);
    EXPECT_TRUE(data.untouched());
}

TEST_F(encrypted_message_test, AWrongKeyGivesACode) {
    const Input message(vectors::kEncryptedDes3);
    Output data;
    EXPECT_EQ(PKCS7_ReadEncryptedDataMsg(ctx, message, Input(Bytes(5, 1)), data), kBadKey);
    EXPECT_EQ(PKCS7_ReadEncryptedDataMsg(ctx, message, &kNullData, data), kUnsupported);  // no key at all
    EXPECT_TRUE(data.untouched());
}

TEST_F(encrypted_message_test, ArgumentsAreLookedAtInTheirOrder) {
    const Input text(vectors::kText), message(vectors::kEncryptedDes3), key(kSecret);
    const Algorithm des3(5, kIv), none(99), withoutIv(5), badBits(6, kIv, 56);
    const Key secret(kSecret);
    Output out;
    EXPECT_EQ(PKCS7_ReadEncryptedDataMsg(nullptr, message, key, out), kNullArgument);
    EXPECT_EQ(PKCS7_ReadEncryptedDataMsg(ctx, nullptr, key, out), kNullArgument);
    EXPECT_EQ(PKCS7_ReadEncryptedDataMsg(ctx, message, nullptr, out), kNullArgument);
    EXPECT_EQ(PKCS7_ReadEncryptedDataMsg(ctx, message, key, nullptr), kNullArgument);
    EXPECT_EQ(PKCS7_ReadEncryptedDataMsg(ctx, &kNullData, key, out), kMaterialMissing);
    EXPECT_EQ(PKCS7_ReadEncryptedDataMsg(emptyContext(), message, key, out), kNoOperation);
    EXPECT_EQ(PKCS7_ReadEncryptedDataMsg(emptyContext(), Input(Bytes{0x30}), key, out), kNullArgument);

    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(nullptr, text, des3, secret, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, nullptr, des3, secret, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, text, nullptr, secret, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, text, des3, nullptr, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, text, des3, secret, nullptr), kNullArgument);
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, &kNullData, des3, secret, out), kMaterialMissing);
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, &kNullData, none, secret, out), kUnsupported);
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, &kNullData, badBits, secret, out), kUnsupported);
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(emptyContext(), &kNullData, des3, secret, out), kMaterialMissing);
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(emptyContext(), text, des3, secret, out), kNoOperation);
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, text, withoutIv, secret, out), -2);  // the cipher's own
    PKCS_Alg emptyIv = des3.record;
    emptyIv.ivLength = 0;
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, text, &emptyIv, secret, out), kNullArgument);
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, text, des3, Key({}), out), kUnsupported);
    EXPECT_EQ(PKCS7_WriteEncryptedDataMsg(ctx, Input(der::sequence({})), des3, secret, out), kElementAbsent);
    EXPECT_TRUE(out.untouched());
}

TEST_F(encrypted_message_test, SurvivesEveryMessage) {
    for (const Cipher& cipher : {kCiphers[0], kCiphers[2]}) {
        const Input key(cipher.key);
        survives(hex(cipher.message), kNullArgument, [&](const PKCS_Blob& message, PKCS_Blob* data) {
            return PKCS7_ReadEncryptedDataMsg(ctx, &message, key, data);
        });
    }
}

TEST_F(encrypted_message_test, WhateverIsNestedComesOutAsOfTheClasses) {
    // Bytes that decode as a message are wrapped as that message, however odd: the ciphertext is put in all the same.
    const Key secret(kSecret);
    Software op;
    int nested = 0;
    for (const Bytes& bytes : spoiled(hex(vectors::kEncryptedDes))) {
        const Input data(bytes);
        Output message;
        const int32_t code = PKCS7_WriteEncryptedDataMsg(ctx, data, Algorithm(5, kIv), secret, message);
        ASSERT_TRUE(isCode(code)) << code;
        ASSERT_EQ(code == 0, !message.untouched());
        if (code != 0 || PKCS7_GetMsgType(ctx, data) == 0)
            continue;
        VT_EncryptedDataContentInfo encrypted;
        encrypted.setInnerContentInfo(decoded<ContentInfo>(bytes));
        ASSERT_EQ(encrypted.EncryptAttachedContentInfo(op, des3(), des3Key()), 0);
        ContentInfo composed;
        ASSERT_EQ(encrypted.composeEncryptedDataContentInfo(composed), 0);
        ASSERT_EQ(message.text(), hexOf(composed));
        ++nested;
    }
    EXPECT_GT(nested, 100);
}

TEST_F(encrypted_message_test, SurvivesExhaustedMemory) {
    const Input text(vectors::kText), message(vectors::kEncryptedRc240), key("0102030405");
    const Algorithm des3(5, kIv);
    const Key secret(kSecret);
    survivesExhaustion([&](PKCS_Blob& out) { return PKCS7_ReadEncryptedDataMsg(ctx, message, key, &out); });
    survivesExhaustion([&](PKCS_Blob& out) { return PKCS7_WriteEncryptedDataMsg(ctx, text, des3, secret, &out); });
}

}  // namespace
