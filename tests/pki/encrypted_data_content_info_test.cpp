#include "pki/encrypted_data_content_info.h"

#include <gtest/gtest.h>

#include "foundation/exceptions.h"
#include "tests/pki/envelopes.h"

namespace {

using namespace envelopes;

constexpr int kNotSupported = -6;  // the engine's
constexpr int kElementAbsent = -1001;
constexpr int kMaterialMissing = -1003;
constexpr int kUnsupported = -1006;
constexpr int kWrongContentType = -1009;
constexpr int kRc2ParametersMissing = -1016;
constexpr int kWrongVersion = -1020;

// What openssl encrypted, and under which key.
struct Made {
    const char* message;
    const char* key;
};

constexpr Made kBlockCiphers[] = {
    {vectors::kEncryptedDes3, "000102030405060708090a0b0c0d0e0f1011121314151617"},
    {vectors::kEncryptedDes, "0102030405060708"},
    {vectors::kEncryptedRc240, "0102030405"},
    {vectors::kEncryptedRc264, "0001020304050607"},
    {vectors::kEncryptedRc2128, "000102030405060708090a0b0c0d0e0f"},
};
constexpr Made kRc4 = {vectors::kEncryptedRc4, "000102030405060708090a0b0c0d0e0f"};

VT_EncryptedDataContentInfo read(const char* text) {
    VT_EncryptedDataContentInfo encrypted;
    EXPECT_EQ(encrypted.decomposeEncryptedDataContentInfo(message(text)), 0);
    return encrypted;
}

VT_EncryptedDataContentInfo holding(const ContentInfo& content) {
    VT_EncryptedDataContentInfo encrypted;
    EXPECT_EQ(encrypted.setInnerContentInfo(content), 0);
    return encrypted;
}

AlgorithmIdentifier algorithmIn(const VT_EncryptedDataContentInfo& encrypted) {
    AlgorithmIdentifier identifier;
    EXPECT_EQ(encrypted.getEncryptedContentInfoAlgorithmIdentifier(identifier), 0);
    return identifier;
}

std::string innerOf(const VT_EncryptedDataContentInfo& encrypted) {
    ContentInfo content;
    EXPECT_EQ(encrypted.getInnerContentInfo(content), 0);
    return hexOf(content);
}

std::string composed(VT_EncryptedDataContentInfo& encrypted) {
    ContentInfo content = textContent();
    EXPECT_EQ(encrypted.composeEncryptedDataContentInfo(content), 0);
    return hexOf(content);
}

Bytes encryptedData(std::int64_t version, const Bytes& info) {
    return contentOf(6, der::sequence({der::integer(version), info}));
}

int decomposed(const Bytes& der) {
    VT_EncryptedDataContentInfo encrypted;
    return encrypted.decomposeEncryptedDataContentInfo(decoded<ContentInfo>(der));
}

class encrypted_data_content_info_test : public testing::Test {
  protected:
    // What VT_P11_OP itself gives, to compare with.
    Bytes ciphertextOf(const Bytes& plain) {
        MiByte out;
        EXPECT_EQ(op->Encrypt(des3(), des3Key(), toMiByte(plain), out), 0);
        return bytesOf(out);
    }

    int decrypted(const Bytes& der) {
        VT_EncryptedDataContentInfo encrypted;
        EXPECT_EQ(encrypted.decomposeEncryptedDataContentInfo(decoded<ContentInfo>(der)), 0);
        return encrypted.DecryptAttachedContentInfo(op, des3Key());
    }

    Software op;
};

TEST_F(encrypted_data_content_info_test, DecryptsWhatOpensslEncrypted) {
    const auto decrypts = [&](const Made& made) {
        VT_EncryptedDataContentInfo encrypted = read(made.message);
        const VT_P11_Key key = secretKey(hex(made.key), algorithmIn(encrypted));
        EXPECT_EQ(encrypted.DecryptAttachedContentInfo(op, key), 0);
        EXPECT_EQ(innerOf(encrypted), hexOf(textContent()));
    };
    for (const Made& made : kBlockCiphers)
        decrypts(made);
    decrypts(kRc4);
}

TEST_F(encrypted_data_content_info_test, EncryptsAndComposesWhatOpensslDoes) {
    for (const Made& made : kBlockCiphers) {
        const AlgorithmIdentifier algorithm = algorithmIn(read(made.message));
        VT_P11_Alg alg;
        ASSERT_EQ(alg.setAlgorithmIdentifier(algorithm), 0);
        VT_EncryptedDataContentInfo encrypted = holding(textContent());
        ASSERT_EQ(encrypted.EncryptAttachedContentInfo(op, alg, secretKey(hex(made.key), algorithm)), 0);
        EXPECT_EQ(composed(encrypted), hexOf(made.message));
    }
}

TEST_F(encrypted_data_content_info_test, Rc4GoesAndComesBack) {
    // OpenSSL writes the parameters of RC4 as an empty string, this library as NULL.
    const VT_P11_Alg rc4 = algorithmOf(token::kRc4);
    const VT_P11_Key key = secretKey(hex(kRc4.key), identifierOf(rc4));
    VT_EncryptedDataContentInfo encrypted = holding(textContent());
    ASSERT_EQ(encrypted.EncryptAttachedContentInfo(op, rc4, key), 0);
    ContentInfo made;
    ASSERT_EQ(encrypted.composeEncryptedDataContentInfo(made), 0);
    ASSERT_EQ(encrypted.decomposeEncryptedDataContentInfo(made), 0);
    EXPECT_EQ(hexOf(algorithmIn(encrypted)), toHex(der::sequence({der::oid({1, 2, 840, 113549, 3, 4}), kNull})));
    ASSERT_EQ(encrypted.DecryptAttachedContentInfo(op, key), 0);
    EXPECT_EQ(innerOf(encrypted), hexOf(textContent()));
}

TEST_F(encrypted_data_content_info_test, OnlyTheContentsOctetsAreEncrypted) {
    VT_EncryptedDataContentInfo encrypted = holding(dataContent({'a', 'b', 'c'}));
    ASSERT_EQ(encrypted.EncryptAttachedContentInfo(op, des3(), des3Key()), 0);
    const Bytes info = der::sequence({pkcs7(1), kDes3Algorithm, der::tlv(0x80, ciphertextOf({'a', 'b', 'c'}))});
    EXPECT_EQ(composed(encrypted), toHex(encryptedData(0, info)));
}

TEST_F(encrypted_data_content_info_test, AnotherTypeOfContentComesBackWithItsTypeAndBytes) {
    const Bytes octets = der::join({der::integer(1), der::integer(2)});
    const auto inner = decoded<ContentInfo>(contentOf(2, der::tlv(0x30, octets)));
    VT_EncryptedDataContentInfo encrypted = holding(inner);
    ASSERT_EQ(encrypted.EncryptAttachedContentInfo(op, des3(), des3Key()), 0);
    ContentInfo made;
    ASSERT_EQ(encrypted.composeEncryptedDataContentInfo(made), 0);

    VT_EncryptedDataContentInfo read;
    ASSERT_EQ(read.decomposeEncryptedDataContentInfo(made), 0);
    ASSERT_EQ(read.DecryptAttachedContentInfo(op, des3Key()), 0);
    EXPECT_EQ(innerOf(read), toHex(contentOf(2, der::tlv(0x04, octets))));
}

TEST_F(encrypted_data_content_info_test, ADetachedMessageLeavesTheCiphertextOut) {
    VT_EncryptedDataContentInfo encrypted = holding(dataContent({1, 2, 3}));
    MiByte ciphertext;
    ASSERT_EQ(encrypted.EncryptDettachedContentInfo(op, des3(), des3Key(), ciphertext), 0);
    EXPECT_EQ(bytesOf(ciphertext), ciphertextOf({1, 2, 3}));
    EXPECT_EQ(composed(encrypted), toHex(encryptedData(0, der::sequence({pkcs7(1), kDes3Algorithm}))));

    ContentInfo made;
    ASSERT_EQ(encrypted.composeEncryptedDataContentInfo(made), 0);
    VT_EncryptedDataContentInfo read;
    ASSERT_EQ(read.decomposeEncryptedDataContentInfo(made), 0);
    EXPECT_EQ(read.DecryptAttachedContentInfo(op, des3Key()), kElementAbsent);
    ASSERT_EQ(read.DecryptDettachedContentInfo(op, des3Key(), ciphertext), 0);
    EXPECT_EQ(innerOf(read), hexOf(dataContent({1, 2, 3})));
}

TEST_F(encrypted_data_content_info_test, AWrongCiphertextGivesTheCodeOfDecryption) {
    VT_EncryptedDataContentInfo encrypted = holding(dataContent({1, 2, 3}));
    MiByte ciphertext;
    ASSERT_EQ(encrypted.EncryptDettachedContentInfo(op, des3(), des3Key(), ciphertext), 0);
    for (const Bytes& wrong : {Bytes{1, 2, 3}, Bytes(8, 0), Bytes(16, 0xFF)}) {
        MiByte unused;
        const int code = op->Decrypt(des3(), des3Key(), toMiByte(wrong), unused);
        EXPECT_EQ(encrypted.DecryptDettachedContentInfo(op, des3Key(), toMiByte(wrong)), code);
    }
    EXPECT_NE(encrypted.DecryptDettachedContentInfo(op, des3Key(), toMiByte({1, 2, 3})), 0);
}

TEST_F(encrypted_data_content_info_test, NothingIsEncryptedToNothing) {
    VT_EncryptedDataContentInfo encrypted = holding(dataContent({}));
    ASSERT_EQ(encrypted.EncryptAttachedContentInfo(op, des3(), des3Key()), 0);
    EXPECT_EQ(composed(encrypted), toHex(encryptedData(0, der::sequence({pkcs7(1), kDes3Algorithm, {0x80, 0x00}}))));
    ASSERT_EQ(encrypted.DecryptAttachedContentInfo(op, des3Key()), 0);
    EXPECT_EQ(innerOf(encrypted), hexOf(dataContent({})));
}

TEST_F(encrypted_data_content_info_test, EncryptingNeedsACompleteContent) {
    VT_EncryptedDataContentInfo encrypted;
    MiByte ciphertext;
    EXPECT_EQ(encrypted.EncryptAttachedContentInfo(op, des3(), des3Key()), kMaterialMissing);
    EXPECT_EQ(encrypted.EncryptDettachedContentInfo(op, des3(), des3Key(), ciphertext), kMaterialMissing);
    for (const ContentInfo& incomplete : {typeAlone(), contentAlone()}) {
        encrypted.setInnerContentInfo(incomplete);
        EXPECT_EQ(encrypted.EncryptAttachedContentInfo(op, des3(), des3Key()), kElementAbsent);
        EXPECT_EQ(encrypted.EncryptDettachedContentInfo(op, des3(), des3Key(), ciphertext), kElementAbsent);
    }
}

TEST_F(encrypted_data_content_info_test, EncryptingLooksAtTypeAlgorithmAndContentInThisOrder) {
    const VT_P11_Alg none;
    MiByte ciphertext;
    EXPECT_EQ(VT_EncryptedDataContentInfo().EncryptAttachedContentInfo(op, none, des3Key()), kMaterialMissing);
    VT_EncryptedDataContentInfo withoutType = holding(contentAlone());
    EXPECT_EQ(withoutType.EncryptAttachedContentInfo(op, none, des3Key()), kElementAbsent);
    EXPECT_EQ(withoutType.EncryptDettachedContentInfo(op, none, des3Key(), ciphertext), kElementAbsent);
    VT_EncryptedDataContentInfo withoutContent = holding(typeAlone());
    EXPECT_EQ(withoutContent.EncryptAttachedContentInfo(op, none, des3Key()), kUnsupported);
    EXPECT_EQ(withoutContent.EncryptDettachedContentInfo(op, none, des3Key(), ciphertext), kUnsupported);
}

TEST_F(encrypted_data_content_info_test, EncryptingReplacesTheEncryptedContentAlsoWhereItFails) {
    VT_EncryptedDataContentInfo encrypted = read(vectors::kEncryptedDes3);
    AlgorithmIdentifier identifier;
    EXPECT_EQ(encrypted.EncryptAttachedContentInfo(op, des3(), des3Key()), kMaterialMissing);
    EXPECT_EQ(encrypted.getEncryptedContentInfoAlgorithmIdentifier(identifier), 0);  // nothing to encrypt, no new one
    encrypted.setInnerContentInfo(contentAlone());
    EXPECT_EQ(encrypted.EncryptAttachedContentInfo(op, des3(), des3Key()), kElementAbsent);
    EXPECT_EQ(encrypted.getEncryptedContentInfoAlgorithmIdentifier(identifier), kElementAbsent);
}

TEST_F(encrypted_data_content_info_test, DecryptingLooksAtTheAlgorithmFirst) {
    const Bytes unknown = der::sequence({der::oid({1, 2, 3}), kNull});
    EXPECT_EQ(decrypted(encryptedData(0, der::sequence({pkcs7(1), unknown}))), kUnsupported);
    EXPECT_EQ(decrypted(encryptedData(0, der::sequence({pkcs7(1), kDes3Algorithm}))), kElementAbsent);
}

TEST_F(encrypted_data_content_info_test, CodesOfTheTokenLayerPass) {
    VT_EncryptedDataContentInfo encrypted = holding(textContent());
    EXPECT_EQ(encrypted.EncryptAttachedContentInfo(op, VT_P11_Alg(), des3Key()), kUnsupported);
    EXPECT_EQ(encrypted.EncryptAttachedContentInfo(op, des3(), VT_P11_Key()), kUnsupported);
    VT_P11_OP none;
    EXPECT_EQ(encrypted.EncryptAttachedContentInfo(none, des3(), des3Key()), -2);
    VT_EncryptedDataContentInfo made = read(vectors::kEncryptedDes3);
    EXPECT_EQ(made.DecryptAttachedContentInfo(op, VT_P11_Key()), kUnsupported);
    EXPECT_EQ(made.DecryptAttachedContentInfo(none, des3Key()), -2);
}

TEST_F(encrypted_data_content_info_test, TheAlgorithmIsThatOfTheMessage) {
    EXPECT_EQ(decrypted(encryptedData(0, der::sequence({pkcs7(1), kSha1Algorithm, der::tlv(0x80, Bytes(8))}))),
              kNotSupported);  // SHA-1 is known, and decrypts nothing
    const Bytes aes = der::sequence({der::oid({2, 16, 840, 1, 101, 3, 4, 1, 2}), der::tlv(0x04, Bytes(16))});
    EXPECT_EQ(decrypted(encryptedData(0, der::sequence({pkcs7(1), aes, der::tlv(0x80, Bytes(16))}))), kUnsupported);
    const Bytes rc2 = der::sequence({der::oid({1, 2, 840, 113549, 3, 2})});
    EXPECT_EQ(decrypted(encryptedData(0, der::sequence({pkcs7(1), rc2, der::tlv(0x80, Bytes(8))}))),
              kRc2ParametersMissing);
}

TEST_F(encrypted_data_content_info_test, DecryptingNeedsAnEncryptedContent) {
    VT_EncryptedDataContentInfo encrypted;
    AlgorithmIdentifier identifier;
    EXPECT_EQ(encrypted.DecryptAttachedContentInfo(op, des3Key()), kMaterialMissing);
    EXPECT_EQ(encrypted.DecryptDettachedContentInfo(op, des3Key(), MiByte()), kMaterialMissing);
    EXPECT_EQ(encrypted.getEncryptedContentInfoAlgorithmIdentifier(identifier), kMaterialMissing);
    // An empty SEQUENCE is read whatever its type, and then has neither algorithm nor type.
    ASSERT_EQ(encrypted.decomposeEncryptedDataContentInfo(decoded<ContentInfo>(encryptedData(0, der::sequence({})))),
              0);
    EXPECT_EQ(encrypted.DecryptAttachedContentInfo(op, des3Key()), kElementAbsent);
    EXPECT_EQ(encrypted.DecryptDettachedContentInfo(op, des3Key(), toMiByte(Bytes(8))), kElementAbsent);
    EXPECT_EQ(encrypted.getEncryptedContentInfoAlgorithmIdentifier(identifier), kElementAbsent);
}

TEST_F(encrypted_data_content_info_test, TheInnerContentIsThereOnceDecrypted) {
    VT_EncryptedDataContentInfo encrypted = read(vectors::kEncryptedDes3);
    ContentInfo content;
    EXPECT_EQ(encrypted.getInnerContentInfo(content), kMaterialMissing);
    ASSERT_NE(encrypted.DecryptDettachedContentInfo(op, des3Key(), toMiByte({1, 2, 3})), 0);
    EXPECT_EQ(encrypted.getInnerContentInfo(content), kMaterialMissing);
}

TEST_F(encrypted_data_content_info_test, ComposingNeedsAnEncryptedContent) {
    ContentInfo content;
    EXPECT_EQ(holding(textContent()).composeEncryptedDataContentInfo(content), kMaterialMissing);
}

TEST_F(encrypted_data_content_info_test, DecomposingLooksAtTypeAndVersion) {
    const Bytes info = der::sequence({pkcs7(1), kDes3Algorithm});
    EXPECT_EQ(decomposed(encryptedData(0, info)), 0);
    EXPECT_EQ(decomposed(encryptedData(1, info)), kWrongVersion);
    EXPECT_EQ(decomposed(encryptedData(-1, info)), kWrongVersion);
    EXPECT_EQ(decomposed(contentOf(6, der::sequence({}))), kWrongVersion);
    EXPECT_EQ(decomposed(contentOf(5, der::sequence({der::integer(0), info}))), kWrongContentType);
    EXPECT_EQ(decomposed(der::sequence({pkcs7(6)})), kElementAbsent);
    EXPECT_EQ(decomposed(der::sequence({pkcs7(1)})), kWrongContentType);  // before a missing content
    EXPECT_EQ(decomposed(der::sequence({})), kElementAbsent);
    EXPECT_THROW(decomposed(contentOf(6, der::sequence({der::integer(0)}))), MiException);
}

TEST_F(encrypted_data_content_info_test, CopiesAreDeep) {
    VT_EncryptedDataContentInfo first = read(vectors::kEncryptedDes);
    const VT_P11_Key key = secretKey(hex("0102030405060708"), algorithmIn(first));
    VT_EncryptedDataContentInfo second(first);
    VT_EncryptedDataContentInfo third;
    third = first;
    first.Reset();
    EXPECT_EQ(first.DecryptAttachedContentInfo(op, key), kMaterialMissing);
    EXPECT_EQ(second.DecryptAttachedContentInfo(op, key), 0);
    EXPECT_EQ(third.DecryptAttachedContentInfo(op, key), 0);
}

TEST_F(encrypted_data_content_info_test, FieldsStandInTheirOrder) {
    EXPECT_EQ(sizeof(VT_EncryptedDataContentInfo), 3 * sizeof(void*));
    VT_EncryptedDataContentInfo encrypted;
    EXPECT_EQ(setPointers<3>(encrypted), "---");
    encrypted.setInnerContentInfo(textContent());
    EXPECT_EQ(setPointers<3>(encrypted), "-x-");
    encrypted.EncryptAttachedContentInfo(op, des3(), des3Key());
    EXPECT_EQ(setPointers<3>(encrypted), "xx-");
    (void)composed(encrypted);
    EXPECT_EQ(setPointers<3>(encrypted), "xxx");
    encrypted.Reset();
    EXPECT_EQ(setPointers<3>(encrypted), "---");
}

}  // namespace
