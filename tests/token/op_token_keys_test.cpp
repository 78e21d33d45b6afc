// Key pairs, public keys, labels and certificates of a token: which calls each operation makes, and what it makes of
// their answers.
#include <gtest/gtest.h>

#include <functional>

#include "schema/schema.h"
#include "tests/p11/recording_module.h"
#include "tests/token/operations.h"
#include "token/chooser_object.h"
#include "token/token_object.h"

namespace {

using namespace operations;
using p11::Attribute;
using p11::Call;
using Attributes = std::vector<Attribute>;
using Names = std::vector<std::string>;

constexpr int kDeviceError = 0x30;
constexpr int kNotInitialised = 0x91;

const Names kSearch = {"C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal"};
const Names kRead = {"C_GetAttributeValue", "C_GetAttributeValue"};

Names operator+(Names a, const Names& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

token::View labelBytes(const char* label) {
    return {text(label), static_cast<std::uint32_t>(std::char_traits<char>::length(label))};
}

// Room for so many bytes of an attribute, as a call gives it.
Attribute room(CK_ATTRIBUTE_TYPE type, CK_ULONG size) {
    return {type, {}, true, size};
}

class op_token_keys_test : public testing::Test {
  protected:
    void SetUp() override {
        module.addToken("Token");
        ASSERT_EQ(TokenModuleLoad(module.path(), "Token", "1234"), 0);
        openSession();
    }
    void TearDown() override {
        module.succeed();
        DestroyChooserObject(&chooser);
        EXPECT_EQ(op.destroyChooser(), 0);
        EXPECT_EQ(TokenModuleUnload(), 0);
    }

    // A session of its own, as one in which something failed may have been left in the middle of it.
    void openSession() {
        op.destroyChooser();
        DestroyChooserObject(&chooser);
        VT_P11_SELECTION selection = {0, "", 0, "", 0};
        ASSERT_EQ(op.createChooser(&selection), 0);
        CHOOSER_WORK work = {0, nullptr, selection};
        ASSERT_EQ(CreateChooserObject(&chooser, &work), 0);
        module.forgetCalls();
    }

    CK_OBJECT_HANDLE addPublicKey(const char* label, const Bytes& modulus, const Bytes& exponent) {
        return module.addObject(
            {p11::label(label), p11::attribute(CKA_MODULUS, modulus), p11::attribute(CKA_PUBLIC_EXPONENT, exponent)});
    }

    CK_OBJECT_HANDLE addCertificate(const char* label, const Bytes& value) {
        return module.addObject({p11::number(CKA_CLASS, 1), p11::number(CKA_CERTIFICATE_TYPE, 0),
                                 p11::flag(CKA_TOKEN, true), p11::label(label), p11::attribute(CKA_VALUE, value)});
    }

    // What the operation gives if the n-th call of a name fails, in a session of its own.
    int codeOf(const std::function<int()>& operation, const std::string& name, int n) {
        openSession();
        module.fail(name, CKR_DEVICE_ERROR, n);
        const int code = operation();
        module.succeed();
        return code;
    }

    int generate(int bits = 1024, int inToken = 1) {
        return op.GenRSAKeyPair(publicKey_, mi("public"), privateKey_, mi("private"), bits, inToken);
    }

    // Without what an earlier run made.
    int generateAnew() {
        module.objects().clear();
        publicKey_ = privateKey_ = VT_P11_Key();
        return generate();
    }

    p11::RecordingModule module;
    VT_P11_OP op;
    CHOOSER* chooser = nullptr;
    VT_P11_Key publicKey_;
    VT_P11_Key privateKey_;
};

TEST_F(op_token_keys_test, AKeyPairIsMadeAndReadBack) {
    publicKey_ = labelKey("old", 5);
    ASSERT_EQ(generate(), 0);
    EXPECT_EQ(module.names(),
              kSearch + kSearch + Names({"C_GenerateKeyPair", "C_GetAttributeValue"}) + kSearch + kRead + kRead);
    EXPECT_EQ(module.calls()[0].attributes, Attributes{p11::label("public")});
    EXPECT_EQ(module.calls()[3].attributes, Attributes{p11::label("private")});
    EXPECT_EQ(module.calls()[8].attributes, Attributes{p11::label("public")});

    const Call& call = module.call("C_GenerateKeyPair");
    EXPECT_EQ(call.mechanism, CKM_RSA_PKCS_KEY_PAIR_GEN);
    EXPECT_FALSE(call.hasParameter);
    EXPECT_EQ(call.parameterLength, 0u);
    const Bytes exponent = hex("010001");
    const Attributes kPublic = {
        p11::number(CKA_CLASS, 2),
        p11::flag(CKA_TOKEN, true),
        p11::flag(CKA_PRIVATE, false),
        p11::label("public"),
        p11::number(CKA_KEY_TYPE, 0),
        p11::number(CKA_MODULUS_BITS, 1024),
        p11::attribute(CKA_PUBLIC_EXPONENT, exponent),
        p11::flag(CKA_ENCRYPT, true),
        p11::flag(CKA_VERIFY, true),
        p11::flag(CKA_WRAP, true),
    };
    const Attributes kPrivate = {
        p11::number(CKA_CLASS, 3),
        p11::flag(CKA_TOKEN, true),
        p11::flag(CKA_PRIVATE, true),
        p11::label("private"),
        p11::number(CKA_KEY_TYPE, 0),
        p11::flag(CKA_SENSITIVE, false),
        p11::flag(CKA_EXTRACTABLE, false),
        p11::number(CKA_MODULUS_BITS, 1024),
        p11::attribute(CKA_PUBLIC_EXPONENT, exponent),
        p11::flag(CKA_DECRYPT, true),
        p11::flag(CKA_SIGN, true),
        p11::flag(CKA_UNWRAP, true),
    };
    EXPECT_EQ(call.attributes, kPublic);
    EXPECT_EQ(call.privateAttributes, kPrivate);

    EXPECT_EQ(module.calls()[7].attributes, (Attributes{room(CKA_MODULUS, 128), room(CKA_PUBLIC_EXPONENT, 3)}));
    EXPECT_EQ(module.calls()[11].attributes, Attributes{p11::query(CKA_MODULUS)});
    EXPECT_EQ(module.calls()[12].attributes, Attributes{room(CKA_MODULUS, 128)});
    EXPECT_EQ(module.calls()[13].attributes, Attributes{p11::query(CKA_PUBLIC_EXPONENT)});
    EXPECT_EQ(module.calls()[14].attributes, Attributes{room(CKA_PUBLIC_EXPONENT, 3)});

    EXPECT_EQ(typeOf(publicKey_), 5);
    EXPECT_EQ(PublicNumbers(publicKey_).modulus, Bytes(128, 0xC3));
    EXPECT_EQ(PublicNumbers(publicKey_).exponent, exponent);
    EXPECT_EQ(typeOf(privateKey_), 6);
    module.forgetCalls();
    MiByte output;
    EXPECT_EQ(op.Sign(algorithm(8), privateKey_, mi("text"), output), 0);
    EXPECT_EQ(module.names(), kSearch + Names({"C_SignInit", "C_Sign"}));
    EXPECT_EQ(module.calls()[0].attributes, Attributes{p11::label("private")});
    module.forgetCalls();
    EXPECT_EQ(op.Encrypt(algorithm(8), publicKey_, mi("text"), output), 0);  // by its numbers: the old label is gone
    EXPECT_EQ(module.names()[0], "C_CreateObject");
}

TEST_F(op_token_keys_test, BitsOtherThanThreeSizesAre1024) {
    const std::pair<int, CK_ULONG> kCases[] = {{512, 512}, {2048, 2048}, {1536, 1024}, {0, 1024}, {4096, 1024}};
    for (const auto& [asked, made] : kCases) {
        module.objects().clear();
        module.forgetCalls();
        EXPECT_EQ(generate(asked, -3), 0);  // any number but 0 is a token
        EXPECT_EQ(module.call("C_GenerateKeyPair").attributes[5], p11::number(CKA_MODULUS_BITS, made)) << asked;
        EXPECT_EQ(PublicNumbers(publicKey_).modulus.size(), made / 8);
    }
}

TEST_F(op_token_keys_test, LabelsThatExist) {
    module.addObject({p11::number(CKA_CLASS, 1), p11::label("private")});  // of any class
    EXPECT_EQ(generate(), -1030);
    EXPECT_EQ(module.names(), kSearch + kSearch);
    module.addObject({p11::label("public")});
    module.forgetCalls();
    EXPECT_EQ(generate(), -1029);
    EXPECT_EQ(module.names(), kSearch);
    EXPECT_EQ(typeOf(publicKey_), -1);
    EXPECT_EQ(typeOf(privateKey_), -1);
}

TEST_F(op_token_keys_test, LabelsAreNeeded) {
    EXPECT_EQ(op.GenRSAKeyPair(publicKey_, mi("public"), privateKey_, MiByte(), 1024, 1), -1010);
    EXPECT_EQ(op.GenRSAKeyPair(publicKey_, MiByte(), privateKey_, mi("private"), 1024, 1), -1010);
    EXPECT_TRUE(module.calls().empty());
}

TEST_F(op_token_keys_test, ATokenGivesNoPrivateKeyOut) {
    EXPECT_EQ(generate(1024, 0), -2);
    EXPECT_TRUE(module.calls().empty());
}

TEST_F(op_token_keys_test, CodesOfTheCallsForAKeyPair) {
    const auto run = [&] { return generateAnew(); };
    EXPECT_EQ(codeOf(run, "C_FindObjectsInit", 1), -19 + kNotInitialised);
    EXPECT_EQ(codeOf(run, "C_FindObjects", 1), -19);
    EXPECT_EQ(codeOf(run, "C_FindObjectsFinal", 1), kDeviceError);
    EXPECT_EQ(codeOf(run, "C_FindObjectsInit", 2), -19 + kNotInitialised);
    EXPECT_EQ(codeOf(run, "C_FindObjects", 2), -19);
    EXPECT_EQ(codeOf(run, "C_FindObjectsFinal", 2), kDeviceError);
    EXPECT_EQ(codeOf(run, "C_GenerateKeyPair", 1), kDeviceError);
    EXPECT_EQ(codeOf(run, "C_GetAttributeValue", 1), kDeviceError);
    EXPECT_EQ(codeOf(run, "C_FindObjectsInit", 3), -19 + kNotInitialised);
    EXPECT_EQ(codeOf(run, "C_FindObjects", 3), -19);
    EXPECT_EQ(codeOf(run, "C_FindObjectsFinal", 3), kDeviceError);
    for (int n = 2; n <= 5; ++n)
        EXPECT_EQ(codeOf(run, "C_GetAttributeValue", n), kDeviceError) << n;
    EXPECT_EQ(typeOf(publicKey_), -1);
    EXPECT_EQ(typeOf(privateKey_), -1);
    openSession();
    EXPECT_EQ(generateAnew(), 0);
}

TEST_F(op_token_keys_test, AModulusThatIsNotOfTheBits) {
    module.answer("C_GenerateKeyPair", Bytes(129, 0xC3));
    EXPECT_EQ(generateAnew(), 0x150);
    module.answer("C_GenerateKeyPair", Bytes(127, 0xC3));
    EXPECT_EQ(generateAnew(), 0);
    EXPECT_EQ(PublicNumbers(publicKey_).modulus, Bytes(127, 0xC3));
}

TEST_F(op_token_keys_test, GeneratingByTheObjects) {
    const std::int32_t bits = 1024;
    token::OwnedAlg alg;
    token::OwnedKey publicObject;
    token::OwnedKey privateObject;
    ASSERT_EQ(AlgSetup(alg.address(), AlgAllocRsaKeyPairGen, &bits), 0);
    const auto run = [&](ALG_OBJ* object) {
        return GenerateKeyPairOp(object, publicObject.address(), labelBytes("public"), privateObject.address(),
                                 labelBytes("private"), chooser);
    };
    token::OwnedAlg other;
    ASSERT_EQ(AlgSetup(other.address(), AlgAllocRsa, nullptr), 0);
    EXPECT_EQ(run(other), -6);
    EXPECT_EQ(run(nullptr), -2);
    EXPECT_TRUE(module.calls().empty());
    ASSERT_EQ(run(alg), 0);
    EXPECT_EQ(module.names(), (Names{"C_GenerateKeyPair", "C_GetAttributeValue"}));
    EXPECT_EQ(publicObject->length, 16u);
    EXPECT_EQ(privateObject->isTokenObject, 1);
    EXPECT_EQ(privateObject->templateCount, 1u);
    EXPECT_EQ(GenerateKeyPairOp(alg, publicObject.address(), {}, privateObject.address(), {}, nullptr), -2);
}

TEST_F(op_token_keys_test, APublicKeyIsRead) {
    const CK_OBJECT_HANDLE key = addPublicKey("key", Bytes(256, 0xB7), hex("03"));
    VT_P11_Key read = labelKey("old", 6);
    EXPECT_EQ(op.GetHardPubKey(mi("key"), read), 0);
    EXPECT_EQ(module.names(), kSearch + kRead + kRead);
    EXPECT_EQ(module.calls()[0].attributes, Attributes{p11::label("key")});
    EXPECT_EQ(module.calls()[1].room, 1u);
    EXPECT_EQ(module.calls()[3].attributes, Attributes{p11::query(CKA_MODULUS)});
    EXPECT_EQ(module.calls()[4].attributes, Attributes{room(CKA_MODULUS, 256)});
    EXPECT_EQ(module.calls()[5].attributes, Attributes{p11::query(CKA_PUBLIC_EXPONENT)});
    EXPECT_EQ(module.calls()[6].attributes, Attributes{room(CKA_PUBLIC_EXPONENT, 1)});
    for (int i = 3; i < 7; ++i)
        EXPECT_EQ(module.calls()[static_cast<std::size_t>(i)].object, key);
    EXPECT_EQ(typeOf(read), 5);
    EXPECT_EQ(PublicNumbers(read).modulus, Bytes(256, 0xB7));
    EXPECT_EQ(PublicNumbers(read).exponent, hex("03"));
    module.forgetCalls();
    MiByte output;
    EXPECT_EQ(op.Encrypt(algorithm(8), read, mi("text"), output), 0);
    EXPECT_EQ(module.names()[0], "C_CreateObject");  // by its numbers: the old label is gone
}

TEST_F(op_token_keys_test, PublicKeysThatCannotBeRead) {
    VT_P11_Key read = labelKey("old", 6);
    EXPECT_EQ(op.GetHardPubKey(MiByte(), read), -1010);
    EXPECT_EQ(op.GetHardPubKey(mi("nowhere"), read), -19);
    EXPECT_EQ(module.names(), kSearch);
    addPublicKey("key", Bytes(128, 1), hex("03"));
    const auto run = [&] { return op.GetHardPubKey(mi("key"), read); };
    EXPECT_EQ(codeOf(run, "C_FindObjectsInit", 1), -19 + kNotInitialised);
    EXPECT_EQ(codeOf(run, "C_FindObjects", 1), -19);
    EXPECT_EQ(codeOf(run, "C_FindObjectsFinal", 1), kDeviceError);
    for (int n = 1; n <= 4; ++n)
        EXPECT_EQ(codeOf(run, "C_GetAttributeValue", n), kDeviceError) << n;
    openSession();
    module.fail("C_FindObjects", CKR_DEVICE_ERROR);
    module.fail("C_FindObjectsFinal", CKR_FUNCTION_FAILED);
    EXPECT_EQ(run(), -19 + 6);
    module.succeed();
    openSession();
    module.fail("C_FindObjects", CKR_DEVICE_ERROR);
    module.fail("C_FindObjectsFinal", 19);  // makes up for -19, and is a failure nevertheless
    EXPECT_EQ(run(), -19);
    module.succeed();
    openSession();
    module.addObject({p11::label("no numbers")});
    EXPECT_EQ(op.GetHardPubKey(mi("no numbers"), read), 0x12);  // CKR_ATTRIBUTE_TYPE_INVALID
    EXPECT_EQ(typeOf(read), 6);
}

TEST_F(op_token_keys_test, NumbersOfMoreThan1024BytesAreNotRead) {
    VT_P11_Key read;
    addPublicKey("long enough", Bytes(1024, 1), Bytes(1024, 3));
    EXPECT_EQ(op.GetHardPubKey(mi("long enough"), read), 0);
    EXPECT_EQ(PublicNumbers(read).modulus, Bytes(1024, 1));
    EXPECT_EQ(PublicNumbers(read).exponent, Bytes(1024, 3));
    addPublicKey("long modulus", Bytes(1025, 1), hex("03"));
    module.forgetCalls();
    EXPECT_EQ(op.GetHardPubKey(mi("long modulus"), read), -16);
    EXPECT_EQ(module.names(), kSearch + Names({"C_GetAttributeValue"}));
    addPublicKey("long exponent", Bytes(128, 1), Bytes(1025, 3));
    module.forgetCalls();
    EXPECT_EQ(op.GetHardPubKey(mi("long exponent"), read), -16);
    EXPECT_EQ(module.names(), kSearch + kRead + Names({"C_GetAttributeValue"}));
}

TEST_F(op_token_keys_test, ATokenWithoutAModulusGivesAnEmptyKey) {
    addPublicKey("empty", {}, hex("03"));
    VT_P11_Key read = publicKey(keyOfBits(512).items);
    EXPECT_EQ(op.GetHardPubKey(mi("empty"), read), 0);
    EXPECT_EQ(typeOf(read), 5);
    EXPECT_TRUE(PublicNumbers(read).modulus.empty());
}

TEST_F(op_token_keys_test, ANumberThatChangesBetweenSizeAndValue) {
    const CK_OBJECT_HANDLE key = addPublicKey("key", Bytes(128, 1), hex("03"));
    VT_P11_Key read;
    module.before("C_GetAttributeValue", 2, [&] { module.objects()[key][1].value = Bytes(200, 2); });
    EXPECT_EQ(op.GetHardPubKey(mi("key"), read), 0x150);
    module.before("C_GetAttributeValue", 2, [&] { module.objects()[key][1].value = Bytes(64, 2); });
    EXPECT_EQ(op.GetHardPubKey(mi("key"), read), 0);
    EXPECT_EQ(PublicNumbers(read).modulus, Bytes(64, 2));
}

TEST_F(op_token_keys_test, ReadingForAComparisonPassesALongModulus) {
    addPublicKey("key", Bytes(1025, 1), hex("03"));
    TOKEN_PUBLIC_KEY read;
    EXPECT_EQ(ReadPublicKeyOp(chooser, labelBytes("key"), read), -16);
    module.forgetCalls();
    EXPECT_EQ(ReadPublicKeyCheckedOp(chooser, labelBytes("key"), read), 0);
    EXPECT_EQ(module.names(), kSearch + Names({"C_GetAttributeValue"}));
    EXPECT_EQ(read.modulus.length, 0u);
    EXPECT_EQ(read.publicExponent.length, 0u);
    addPublicKey("exponent", Bytes(128, 1), Bytes(1025, 3));
    EXPECT_EQ(ReadPublicKeyCheckedOp(chooser, labelBytes("exponent"), read), -16);
    addPublicKey("good", Bytes(128, 1), Bytes(1024, 3));
    EXPECT_EQ(ReadPublicKeyCheckedOp(chooser, labelBytes("good"), read), 0);
    EXPECT_EQ(read.modulus.length, 128u);
    EXPECT_EQ(read.publicExponent.length, 1024u);
    EXPECT_EQ(ReadPublicKeyCheckedOp(chooser, labelBytes("nowhere"), read), -19);
    EXPECT_EQ(ReadPublicKeyCheckedOp(nullptr, labelBytes("good"), read), -2);
}

TEST_F(op_token_keys_test, ComparingWithAKeyOfTheToken) {
    const Bytes modulus = hex(keyOfBits(1024).items[0]);
    const Bytes exponent = hex(keyOfBits(1024).items[1]);
    RSAPublicKey numbers;
    ASSERT_EQ(publicKey(keyOfBits(1024).items).getRSAPublicKey(numbers), 0);
    const auto same = [&](const char* label) {
        return op.CheckRSAKeyPair(numbers, text(label), labelBytes(label).length);
    };
    addPublicKey("same", modulus, exponent);
    EXPECT_TRUE(same("same"));
    EXPECT_EQ(module.names(), kSearch + kRead + kRead);
    Bytes changed = modulus;
    changed.back() ^= 2;
    addPublicKey("other modulus", changed, exponent);
    EXPECT_FALSE(same("other modulus"));
    addPublicKey("shorter", Bytes(modulus.begin(), modulus.end() - 1), exponent);
    EXPECT_FALSE(same("shorter"));
    addPublicKey("other exponent", modulus, hex("010003"));
    EXPECT_FALSE(same("other exponent"));
    addPublicKey("longer exponent", modulus, hex("01000100"));
    EXPECT_FALSE(same("longer exponent"));
    addPublicKey("long", Bytes(1025, 1), exponent);
    EXPECT_FALSE(same("long"));
    EXPECT_FALSE(same("nowhere"));
    module.forgetCalls();
    EXPECT_FALSE(same(""));
    EXPECT_FALSE(op.CheckRSAKeyPair(numbers, nullptr, 4));
    EXPECT_FALSE(op.CheckRSAKeyPair(RSAPublicKey(), text("same"), 4));
    EXPECT_TRUE(module.calls().empty());
    module.fail("C_GetAttributeValue", CKR_DEVICE_ERROR);
    EXPECT_FALSE(same("same"));
}

TEST_F(op_token_keys_test, SearchingForALabel) {
    module.addObject({p11::label("label")});
    EXPECT_TRUE(op.CheckLabelExistInToken(text("label"), 5, 0));
    EXPECT_EQ(module.names(), kSearch);
    EXPECT_EQ(module.calls()[0].attributes, Attributes{p11::label("label")});
    EXPECT_EQ(module.calls()[1].room, 1u);
    EXPECT_TRUE(op.CheckLabelExistInToken(text("label and more"), 5, -1));  // the length counts
    EXPECT_FALSE(op.CheckLabelExistInToken(text("label"), 4, 0));
    EXPECT_EQ(LabelSearchOp(chooser, labelBytes("label")), -22);
    EXPECT_EQ(LabelSearchOp(chooser, labelBytes("nowhere")), 0);
    EXPECT_EQ(LabelSearchOp(nullptr, labelBytes("label")), -2);
    module.forgetCalls();
    EXPECT_FALSE(op.CheckLabelExistInToken(text(""), 0, 0));
    EXPECT_FALSE(op.CheckLabelExistInToken(nullptr, 5, 0));
    EXPECT_TRUE(module.calls().empty());
}

TEST_F(op_token_keys_test, CodesOfASearchForALabel) {
    module.addObject({p11::label("label")});
    const auto run = [&] { return LabelSearchOp(chooser, labelBytes("label")); };
    EXPECT_EQ(codeOf(run, "C_FindObjectsInit", 1), -19 + kNotInitialised);
    EXPECT_EQ(codeOf(run, "C_FindObjects", 1), -19);
    EXPECT_EQ(codeOf(run, "C_FindObjectsFinal", 1), kDeviceError);
    openSession();
    module.fail("C_FindObjects", CKR_DEVICE_ERROR);
    module.fail("C_FindObjectsFinal", CKR_FUNCTION_FAILED);
    EXPECT_EQ(run(), -19 + 6);
    EXPECT_FALSE(op.CheckLabelExistInToken(text("label"), 5, 0));
}

TEST_F(op_token_keys_test, ACertificateIsStored) {
    const Bytes value = hex("30 03 02 01 05");
    EXPECT_EQ(op.SetCertIntoToken(text("mine"), 4, value.data(), 5), 0);
    EXPECT_EQ(module.names(), kSearch + Names({"C_CreateObject"}));
    const Attributes kTemplate = {p11::number(CKA_CLASS, 1), p11::number(CKA_CERTIFICATE_TYPE, 0),
                                  p11::flag(CKA_TOKEN, true), p11::label("mine"), p11::attribute(CKA_VALUE, value)};
    EXPECT_EQ(module.call("C_CreateObject").attributes, kTemplate);
    module.forgetCalls();
    EXPECT_EQ(op.SetCertIntoToken(text("mine"), 4, value.data(), 5), -1028);
    EXPECT_EQ(module.names(), kSearch);
}

TEST_F(op_token_keys_test, CertificatesThatCannotBeStored) {
    module.fail("C_CreateObject", 0xD1);  // CKR_TEMPLATE_INCONSISTENT
    EXPECT_EQ(op.SetCertIntoToken(text("mine"), 4, text("value"), 5), 0xD1);
    module.succeed();
    // A search that fails finds no label.
    module.fail("C_FindObjects", CKR_DEVICE_ERROR);
    EXPECT_EQ(op.SetCertIntoToken(text("mine"), 4, text("value"), 5), 0);
    module.forgetCalls();
    EXPECT_EQ(op.SetCertIntoToken(nullptr, 4, text("value"), 5), -1010);
    EXPECT_EQ(op.SetCertIntoToken(text("mine"), 0, text("value"), 5), -1010);
    EXPECT_EQ(op.SetCertIntoToken(text("mine"), 4, nullptr, 5), -1010);
    EXPECT_EQ(op.SetCertIntoToken(text("mine"), 4, text("value"), 0), -1010);
    EXPECT_TRUE(module.calls().empty());
    EXPECT_EQ(StoreCertValueOp(nullptr, labelBytes("mine"), labelBytes("value")), -2);
}

TEST_F(op_token_keys_test, ACertificateIsRead) {
    const CK_OBJECT_HANDLE handle = addCertificate("mine", hex("30 03 02 01 05"));
    std::uint32_t length = 0;
    EXPECT_EQ(op.GetCertFromToken(text("mine"), 4, nullptr, &length), 0);
    EXPECT_EQ(length, 5u);
    EXPECT_EQ(module.names(), kSearch + kRead);
    const Attributes kTemplate = {p11::number(CKA_CLASS, 1), p11::number(CKA_CERTIFICATE_TYPE, 0),
                                  p11::flag(CKA_TOKEN, true), p11::label("mine")};
    EXPECT_EQ(module.calls()[0].attributes, kTemplate);
    EXPECT_EQ(module.calls()[3].attributes, Attributes{p11::query(CKA_VALUE)});
    EXPECT_EQ(module.calls()[4].attributes, Attributes{room(CKA_VALUE, 5)});
    EXPECT_EQ(module.calls()[4].object, handle);
    length = 1;  // the room is not looked at
    Bytes output(5);
    EXPECT_EQ(op.GetCertFromToken(text("mine"), 4, output.data(), &length), 0);
    EXPECT_EQ(length, 5u);
    EXPECT_EQ(output, hex("30 03 02 01 05"));
    addCertificate("large", Bytes(100000, 0x30));
    EXPECT_EQ(op.GetCertFromToken(text("large"), 5, nullptr, &length), 0);
    EXPECT_EQ(length, 100000u);
}

TEST_F(op_token_keys_test, CertificatesThatAreNotThere) {
    Bytes output = {7};
    std::uint32_t length = 1;
    const auto expectNone = [&](const char* label) {
        length = 1;
        EXPECT_EQ(op.GetCertFromToken(text(label), labelBytes(label).length, output.data(), &length), 0);
        EXPECT_EQ(length, 0u);
        EXPECT_EQ(output, Bytes{7});
    };
    expectNone("nowhere");
    expectNone("");
    module.addObject({p11::label("no certificate"), p11::attribute(CKA_VALUE, hex("30 00"))});
    expectNone("no certificate");
    addCertificate("empty", {});
    expectNone("empty");
    addCertificate("mine", hex("30 00"));
    for (const char* name : {"C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal", "C_GetAttributeValue"}) {
        module.fail(name, CKR_DEVICE_ERROR);
        expectNone("mine");
        module.succeed();
        openSession();
    }
    module.fail("C_GetAttributeValue", CKR_DEVICE_ERROR, 2);
    expectNone("mine");
    EXPECT_EQ(op.GetCertFromToken(nullptr, 4, output.data(), &length), -1010);
    EXPECT_EQ(op.GetCertFromToken(text("mine"), 4, output.data(), nullptr), -1010);
}

// A module that tells lengths which no value has, and searches that fail half way.
struct OddModule {
    static inline CK_RV initCode = CKR_OK;
    static inline CK_RV findCode = CKR_OK;
    static inline CK_ULONG size = 0;   // of each attribute, when it is asked for
    static inline CK_ULONG given = 0;  // and when the value is read

    OddModule() {
        initCode = findCode = CKR_OK;
        list.C_FindObjectsInit = [](CK_SESSION_HANDLE, ATTRIBUTE*, CK_ULONG) { return initCode; };
        list.C_FindObjects = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE* object, CK_ULONG, CK_ULONG* count) {
            *object = *count = 1;
            return findCode;
        };
        list.C_FindObjectsFinal = [](CK_SESSION_HANDLE) { return CKR_OK; };
        list.C_GetAttributeValue = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE, ATTRIBUTE* attributes, CK_ULONG count) {
            for (CK_ULONG i = 0; i < count; ++i)
                attributes[i].valueLength = attributes[i].value == nullptr ? size : given;
            return CKR_OK;
        };
        list.C_GenerateKeyPair = [](CK_SESSION_HANDLE, MECHANISM*, ATTRIBUTE*, CK_ULONG, ATTRIBUTE*, CK_ULONG,
                                    CK_OBJECT_HANDLE*, CK_OBJECT_HANDLE*) { return CKR_OK; };
    }

    CK_FUNCTION_LIST list = {};
    CHOOSER chooser = {1, &list, nullptr, 1};
};

TEST(op_token_keys_test_odd_module, TheCodesOfASearchAreAdded) {
    OddModule module;
    TOKEN_PUBLIC_KEY read;
    EXPECT_EQ(LabelSearchOp(&module.chooser, labelBytes("label")), -22);
    OddModule::initCode = CKR_DEVICE_ERROR;  // though an object is said to be found
    EXPECT_EQ(LabelSearchOp(&module.chooser, labelBytes("label")), -19);
    EXPECT_EQ(ReadPublicKeyOp(&module.chooser, labelBytes("label"), read), -19);
    OddModule::initCode = CKR_OK;
    OddModule::findCode = CKR_DEVICE_ERROR;
    EXPECT_EQ(LabelSearchOp(&module.chooser, labelBytes("label")), -19);
    EXPECT_EQ(ReadPublicKeyCheckedOp(&module.chooser, labelBytes("label"), read), -19);
}

TEST(op_token_keys_test_odd_module, LengthsThatNoValueHas) {
    OddModule module;
    constexpr CK_ULONG kAllOnes = ~CK_ULONG{0};
    TOKEN_PUBLIC_KEY read;
    token::Buffer value;
    OddModule::size = OddModule::given = kAllOnes;
    EXPECT_EQ(ReadPublicKeyOp(&module.chooser, labelBytes("label"), read), -16);
    EXPECT_EQ(ReadPublicKeyCheckedOp(&module.chooser, labelBytes("label"), read), 0);
    EXPECT_EQ(FindCertValueOp(&module.chooser, labelBytes("label"), value), -16);
    OddModule::size = 8;
    OddModule::given = 9;
    EXPECT_EQ(ReadPublicKeyOp(&module.chooser, labelBytes("label"), read), -16);
    EXPECT_EQ(ReadPublicKeyCheckedOp(&module.chooser, labelBytes("label"), read), -16);
    EXPECT_EQ(FindCertValueOp(&module.chooser, labelBytes("label"), value), -16);
}

TEST(op_token_keys_test_odd_module, NumbersOfANewKeyThatCannotBe) {
    OddModule module;
    const std::int32_t bits = 512;
    token::OwnedAlg alg;
    ASSERT_EQ(AlgSetup(alg.address(), AlgAllocRsaKeyPairGen, &bits), 0);
    const std::pair<CK_ULONG, int> kCases[] = {
        {~CK_ULONG{0}, -16}, {65, -16}, {4, -16} /* more than the exponent's room */, {3, 0}, {0, -7}};
    for (const auto& [length, code] : kCases) {
        OddModule::given = length;
        token::OwnedKey publicObject;
        token::OwnedKey privateObject;
        EXPECT_EQ(GenerateKeyPairOp(alg, publicObject.address(), labelBytes("a"), privateObject.address(),
                                    labelBytes("b"), &module.chooser),
                  code)
            << length;
        EXPECT_EQ(publicObject == nullptr, code != 0);
        EXPECT_EQ(privateObject == nullptr, code != 0);
    }
}

}  // namespace
