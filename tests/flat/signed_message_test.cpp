#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "pki/flat/flat.h"
#include "tests/flat/records.h"
#include "tests/p11/recording_module.h"
#include "tests/pki/signers.h"
#include "tests/support/broken_der.h"
#include "tests/support/certificate.h"
#include "tests/support/failing_heap.h"
#include "tests/support/noise.h"
#include "tests/support/replace.h"

namespace {

using namespace signers;
using records::List;
using records::Output;
using records::PrivateKey;
using support::hex;
using testing::ElementsAre;
using testing::IsEmpty;

PKCS_Blob blobOf(Bytes& bytes) {
    return {bytes.data(), static_cast<uint32_t>(bytes.size())};
}

// A message with these certificates in place of its own.
Bytes withCertificates(const char* message, const Bytes& certificates) {
    const std::vector<Bytes> parts = elementsOf(signedDataOf(message));
    return der::sequence({kSignedOid, der::tagged(0, der::sequence({parts[0], parts[1], parts[2],
                                                                    der::tagged(0, certificates), parts[4]}))});
}

class signed_message_test : public testing::Test {
  protected:
    signed_message_test() { PKCS_CreateCtx(&ctx, nullptr); }
    ~signed_message_test() override { PKCS_DestroyCtx(&ctx); }

    int32_t typeOf(Bytes message) {
        const PKCS_Blob blob = blobOf(message);
        return PKCS7_GetMsgType(ctx, &blob);
    }

    int32_t readAttached(Bytes message, Output& data, VT_List* certificates = nullptr, VT_List* lists = nullptr) {
        const PKCS_Blob blob = blobOf(message);
        return PKCS7_ReadSignedDataMsg(ctx, &blob, 1, nullptr, certificates, lists, &data.blob);
    }

    int32_t readAttached(const char* message) {
        Output data;
        return readAttached(hex(message), data);
    }

    int32_t readDetached(const char* message, Bytes content) {
        Bytes der = hex(message);
        const PKCS_Blob blob = blobOf(der);
        PKCS_Blob data = blobOf(content);
        const PKCS_Blob before = data;
        const int32_t result = PKCS7_ReadSignedDataMsg(ctx, &blob, 2, nullptr, nullptr, nullptr, &data);
        EXPECT_EQ(data.data, before.data);
        EXPECT_EQ(data.length, before.length);
        EXPECT_EQ(support::toHex(content), support::toHex(Bytes(before.data, before.data + before.length)));
        return result;
    }

    int32_t readExternal(const char* message, PKCS_Blob external) {
        Bytes der = hex(message);
        const PKCS_Blob blob = blobOf(der);
        Output data;
        return PKCS7_ReadSignedDataMsg(ctx, &blob, 1, &external, nullptr, nullptr, &data.blob);
    }

    // What a message is written from; a test changes what it is about.
    struct Parts {
        Bytes content = hex(vectors::kContent);
        Bytes certificate = hex(vectors::kAlice);
        PrivateKey key{vectors::kAliceKey.items};
        PKCS_Alg digest = {1, nullptr, 0, 0};
        PKCS_Alg signature = {8, nullptr, 0, 0};
        int32_t mode = 1;
        const VT_List* certificates = nullptr;
        const VT_List* certificateLists = nullptr;
    };

    int32_t write(Parts& parts, Output& message) {
        const PKCS_Blob content = blobOf(parts.content);
        const PKCS_Blob certificate = blobOf(parts.certificate);
        return PKCS7_WriteSignedDataMsg(ctx, &content, &parts.digest, &parts.signature, parts.mode, &certificate,
                                        &parts.key.record, parts.certificates, parts.certificateLists, &message.blob);
    }

    int32_t write(Parts& parts) {
        Output message;
        const int32_t result = write(parts, message);
        EXPECT_TRUE(result == 0 || message.blob.data == nullptr);
        return result;
    }

    PKCS_Ctx* ctx = nullptr;
};

// ---- The type of a message

TEST_F(signed_message_test, TypesAreTold) {
    const auto message = [](std::uint8_t type) {
        return der::sequence({der::oid({1, 2, 840, 113549, 1, 7, type}), der::tagged(0, hex("04 00"))});
    };
    EXPECT_EQ(typeOf(message(1)), 1);
    EXPECT_EQ(typeOf(message(6)), 2);
    EXPECT_EQ(typeOf(message(5)), 3);
    EXPECT_EQ(typeOf(message(2)), 4);
    EXPECT_EQ(typeOf(message(3)), 5);
    EXPECT_EQ(typeOf(message(4)), 6);
    EXPECT_EQ(typeOf(message(7)), 0);
    EXPECT_EQ(typeOf(der::sequence({der::oid({1, 2, 840, 113549, 1, 7}), der::tagged(0, hex("04 00"))})), 0);
    EXPECT_EQ(typeOf(hex(vectors::kPlain)), 4);
    EXPECT_EQ(typeOf(hex(vectors::kDataMessage)), 1);
    EXPECT_EQ(typeOf(der::sequence({kSignedOid})), 4) << "by its type alone";
}

TEST_F(signed_message_test, WhatIsNoMessageHasNoType) {
    EXPECT_EQ(typeOf(hex(vectors::kContent)), 0);
    EXPECT_EQ(typeOf(hex("00")), 0);
    EXPECT_EQ(typeOf(hex("30 80")), -1001) << "an empty sequence has no type";
    EXPECT_EQ(typeOf(hex("30 00")), -1001);
    std::uint8_t byte = 0;
    const PKCS_Blob empty = {&byte, 0};
    EXPECT_EQ(PKCS7_GetMsgType(ctx, &empty), 0);
}

TEST_F(signed_message_test, TypeNeedsItsArguments) {
    const PKCS_Blob none = {};
    EXPECT_EQ(PKCS7_GetMsgType(nullptr, &none), -1010);
    EXPECT_EQ(PKCS7_GetMsgType(ctx, nullptr), -1010);
    EXPECT_EQ(PKCS7_GetMsgType(ctx, &none), -1003);
}

// ---- Data messages

TEST_F(signed_message_test, DataAreWrittenAndRead) {
    Bytes content = hex(vectors::kContent);
    const PKCS_Blob data = blobOf(content);
    Output message;
    ASSERT_EQ(PKCS7_WriteDataMsg(ctx, &data, &message.blob), 0);
    EXPECT_EQ(message.text(), hexOf(vectors::kDataMessage));
    EXPECT_EQ(message.blob.data[message.blob.length], 0);
    Output back;
    ASSERT_EQ(PKCS7_ReadDataMsg(ctx, &message.blob, &back.blob), 0);
    EXPECT_EQ(back.text(), hexOf(vectors::kContent));
    EXPECT_EQ(back.blob.data[back.blob.length], 0);
}

// Unlike the other writers.
TEST_F(signed_message_test, DataThatAreAMessageAreWrappedAllTheSame) {
    Bytes inner = hex(vectors::kDataMessage);
    const PKCS_Blob data = blobOf(inner);
    Output message;
    ASSERT_EQ(PKCS7_WriteDataMsg(ctx, &data, &message.blob), 0);
    EXPECT_EQ(message.text(), support::toHex(dataContent(inner)));
}

TEST_F(signed_message_test, EmptyDataAreWrittenAndRead) {
    std::uint8_t byte = 0;
    const PKCS_Blob data = {&byte, 0};
    Output message;
    ASSERT_EQ(PKCS7_WriteDataMsg(ctx, &data, &message.blob), 0);
    EXPECT_EQ(message.text(), support::toHex(dataContent({})));
    Output back;
    ASSERT_EQ(PKCS7_ReadDataMsg(ctx, &message.blob, &back.blob), 0);
    EXPECT_EQ(back.blob.length, 0u);
    EXPECT_NE(back.blob.data, nullptr);
}

TEST_F(signed_message_test, DataMessagesHaveTheirCodes) {
    const auto read = [&](Bytes der) {
        const PKCS_Blob message = blobOf(der);
        Output data;
        const int32_t result = PKCS7_ReadDataMsg(ctx, &message, &data.blob);
        EXPECT_EQ(data.blob.data, nullptr);
        return result;
    };
    EXPECT_EQ(read(hex(vectors::kPlain)), -1009);
    EXPECT_EQ(read(der::sequence({kDataOid})), -1001);
    EXPECT_EQ(read(hex("30 00")), -1001);
    EXPECT_EQ(read(hex("30 05 06")), -3000);
    const PKCS_Blob none = {};
    Output out;
    EXPECT_EQ(PKCS7_ReadDataMsg(ctx, &none, &out.blob), -1003);
    EXPECT_EQ(PKCS7_WriteDataMsg(ctx, &none, &out.blob), -1003);
    EXPECT_EQ(PKCS7_ReadDataMsg(nullptr, &none, &out.blob), -1010);
    EXPECT_EQ(PKCS7_ReadDataMsg(ctx, nullptr, &out.blob), -1010);
    EXPECT_EQ(PKCS7_ReadDataMsg(ctx, &none, nullptr), -1010);
    EXPECT_EQ(PKCS7_WriteDataMsg(nullptr, &none, &out.blob), -1010);
    EXPECT_EQ(PKCS7_WriteDataMsg(ctx, nullptr, &out.blob), -1010);
    EXPECT_EQ(PKCS7_WriteDataMsg(ctx, &none, nullptr), -1010);
}

// ---- Reading signed messages

TEST_F(signed_message_test, ReadsWhatOpensslSigned) {
    for (const char* message : {vectors::kPlain, vectors::kPlainWithChain, vectors::kPlainMd5, vectors::kAttributes,
                                vectors::kAttributesSmime, vectors::kBig, vectors::kTwoSigners, vectors::kWithLists}) {
        Output data;
        ASSERT_EQ(readAttached(hex(message), data), 0);
        EXPECT_EQ(data.text(), hexOf(vectors::kContent));
        EXPECT_EQ(data.blob.data[data.blob.length], 0);
    }
}

TEST_F(signed_message_test, ReadsDetachedMessages) {
    for (const char* message : {vectors::kDetached, vectors::kAttributesDetachedMd5, vectors::kPlain}) {
        EXPECT_EQ(readDetached(message, hex(vectors::kContent)), 0);
        EXPECT_EQ(readDetached(message, hex("00")), -1017) << "another content";
    }
}

TEST_F(signed_message_test, NestedMessageComesBackWhole) {
    Output data;
    ASSERT_EQ(readAttached(hex(vectors::kNested), data), 0);
    EXPECT_EQ(data.text(), support::toHex(elementsOf(signedDataOf(vectors::kNested)).at(2)));
}

TEST_F(signed_message_test, OneGoodSignerIsEnough) {
    EXPECT_EQ(readAttached(vectors::kSecondIsGood), 0);
    EXPECT_EQ(readAttached(vectors::kNoneIsGood), -1017);
    EXPECT_EQ(readAttached(vectors::kAttributesOfOther), -1017);
}

TEST_F(signed_message_test, BadSignerEndsTheCall) {
    EXPECT_EQ(readAttached(vectors::kSecondHasVersion2), -1020);
}

TEST_F(signed_message_test, SignerWithoutACertificateIsPassedOver) {
    EXPECT_EQ(readAttached(vectors::kNoCertificates), -1017);
}

TEST_F(signed_message_test, NewerAlgorithmsAreRefused) {
    EXPECT_EQ(readAttached(vectors::kSha256), -1006);
}

// The decoder lets a member reach past the end of the element that it is in.
TEST_F(signed_message_test, MessageWhoseLengthIsTooShortIsReadWhole) {
    Bytes message = hex(vectors::kPlain);
    ASSERT_EQ(message.at(1), 0x82);
    const unsigned int length = message[2] * 256U + message[3];
    ASSERT_EQ(length + 4, message.size());
    for (const unsigned int told : {length - 1, 12U}) {
        message[2] = static_cast<std::uint8_t>(told / 256);
        message[3] = static_cast<std::uint8_t>(told % 256);
        EXPECT_EQ(typeOf(message), 4);
        Output data;
        EXPECT_EQ(readAttached(message, data), 0);
        EXPECT_EQ(data.text(), hexOf(vectors::kContent));
        Parts parts;
        parts.content = message;
        Output nested;
        ASSERT_EQ(write(parts, nested), 0);
        EXPECT_EQ(support::toHex(elementsOf(signedDataOf(nested.text().c_str())).at(2)), hexOf(vectors::kPlain));
    }
    // Here the content lies behind the end, and is none.
    message[3] = 11;
    EXPECT_EQ(typeOf(message), 4);
    Output data;
    EXPECT_EQ(readAttached(message, data), -1001);
}

TEST_F(signed_message_test, BytesBehindAMessageAreNotLookedAt) {
    Bytes message = hex(vectors::kPlain);
    message.insert(message.end(), {0xFF, 0xFF, 0xFF});
    EXPECT_EQ(typeOf(message), 4);
    Output data;
    EXPECT_EQ(readAttached(message, data), 0);
    EXPECT_EQ(data.text(), hexOf(vectors::kContent));
}

TEST_F(signed_message_test, SignerKnownByItsKeyIsMalformed) {
    EXPECT_EQ(readAttached(vectors::kKeyIdentifier), -3000);
}

TEST_F(signed_message_test, ModesDecideWhereTheContentIs) {
    EXPECT_EQ(readAttached(vectors::kDetached), -1003);
    Bytes der = hex(vectors::kPlain);
    const PKCS_Blob message = blobOf(der);
    for (const int32_t mode : {0, 3, -1}) {
        Output data;
        EXPECT_EQ(PKCS7_ReadSignedDataMsg(ctx, &message, mode, nullptr, nullptr, nullptr, &data.blob), -1006) << mode;
    }
    PKCS_Blob none = {};
    EXPECT_EQ(PKCS7_ReadSignedDataMsg(ctx, &message, 2, nullptr, nullptr, nullptr, &none), -1003);
}

TEST_F(signed_message_test, ReadingNeedsItsArguments) {
    Bytes der = hex(vectors::kPlain);
    const PKCS_Blob message = blobOf(der);
    const PKCS_Blob none = {};
    Output data;
    EXPECT_EQ(PKCS7_ReadSignedDataMsg(nullptr, &message, 1, nullptr, nullptr, nullptr, &data.blob), -1010);
    EXPECT_EQ(PKCS7_ReadSignedDataMsg(ctx, nullptr, 1, nullptr, nullptr, nullptr, &data.blob), -1010);
    EXPECT_EQ(PKCS7_ReadSignedDataMsg(ctx, &message, 1, nullptr, nullptr, nullptr, nullptr), -1010);
    EXPECT_EQ(PKCS7_ReadSignedDataMsg(ctx, &none, 1, nullptr, nullptr, nullptr, &data.blob), -1003);
}

TEST_F(signed_message_test, OtherMessagesAndMalformedOnesHaveTheirCodes) {
    Output data;
    EXPECT_EQ(readAttached(hex(vectors::kDataMessage), data), -1009);
    EXPECT_EQ(readAttached(der::sequence({kSignedOid}), data), -1001);
    EXPECT_EQ(readAttached(hex("30 00"), data), -1001);
    EXPECT_EQ(readAttached(hex("30 05 06"), data), -3000);
    EXPECT_EQ(readAttached(hex("00"), data), -3000);
    EXPECT_EQ(data.blob.data, nullptr);
}

// Callers act on -1017: the certificate that they bring is looked at and never used.
TEST_F(signed_message_test, ExternalCertificateNeverVerifies) {
    Bytes certificate = hex(vectors::kAlice);
    EXPECT_EQ(readExternal(vectors::kPlain, blobOf(certificate)), -1017);
    EXPECT_EQ(readExternal(vectors::kNoCertificates, blobOf(certificate)), -1017);
    EXPECT_EQ(readExternal(vectors::kPlain, PKCS_Blob{}), -1003);
    Bytes broken = hex("30 05 06");
    EXPECT_EQ(readExternal(vectors::kPlain, blobOf(broken)), -3000);
    EXPECT_EQ(readExternal(vectors::kCertificatesOnly, PKCS_Blob{}), -1003) << "no content";
}

TEST_F(signed_message_test, ContextWithoutAnOperationObjectIsNoticedLate) {
    PKCS_Ctx empty = {};
    Bytes der = hex(vectors::kPlain);
    PKCS_Blob message = blobOf(der);
    Output data;
    EXPECT_EQ(PKCS7_ReadSignedDataMsg(&empty, &message, 1, nullptr, nullptr, nullptr, &data.blob), -1013);
    der = hex(vectors::kNoCertificates);
    message = blobOf(der);
    EXPECT_EQ(PKCS7_ReadSignedDataMsg(&empty, &message, 1, nullptr, nullptr, nullptr, &data.blob), -1017);
}

TEST_F(signed_message_test, ListsReceiveCertificatesAndRevocationLists) {
    const List certificates({vectors::kRoot});
    const List lists;
    Output data;
    ASSERT_EQ(readAttached(hex(vectors::kWithLists), data, certificates.list, lists.list), 0);
    EXPECT_THAT(certificates.items(), ElementsAre(hexOf(vectors::kRoot), hexOf(vectors::kAlice)));
    EXPECT_THAT(lists.items(), ElementsAre(hexOf(vectors::kIssuerList), hexOf(vectors::kRootList)));
}

TEST_F(signed_message_test, ListsKeepWhatAFailingCallGaveThem) {
    const List certificates;
    const List lists;
    Output data;
    EXPECT_EQ(readAttached(hex(vectors::kNoneIsGood), data, certificates.list, lists.list), -1017);
    EXPECT_THAT(certificates.items(), ElementsAre(hexOf(vectors::kAlice)));
    EXPECT_THAT(lists.items(), IsEmpty());
}

// The mode is looked at once the lists are full.
TEST_F(signed_message_test, ListsAreFilledBeforeTheModeIsLookedAt) {
    Bytes der = hex(vectors::kWithLists);
    const PKCS_Blob message = blobOf(der);
    for (const int32_t mode : {2, 3}) {
        const List certificates;
        const List lists;
        PKCS_Blob data = {};
        EXPECT_EQ(PKCS7_ReadSignedDataMsg(ctx, &message, mode, nullptr, certificates.list, lists.list, &data),
                  mode == 2 ? -1003 : -1006);
        EXPECT_THAT(certificates.items(), ElementsAre(hexOf(vectors::kAlice)));
        EXPECT_THAT(lists.items(), ElementsAre(hexOf(vectors::kIssuerList), hexOf(vectors::kRootList)));
    }
}

// What an authority answers with. Its reader goes by the list, and by the code not being 0.
TEST_F(signed_message_test, CertificatesOnlyFillTheListAndFail) {
    const List certificates;
    Output data;
    EXPECT_EQ(readAttached(hex(vectors::kCertificatesOnly), data, certificates.list), -1003);
    std::vector<std::string> expected = {hexOf(vectors::kAlice), hexOf(vectors::kIssuer), hexOf(vectors::kRoot)};
    EXPECT_THAT(certificates.items(), testing::UnorderedElementsAreArray(expected));
    EXPECT_EQ(readDetached(vectors::kCertificatesOnly, hex(vectors::kContent)), -1017);
    const List lists;
    EXPECT_EQ(readAttached(hex(vectors::kCertificatesAndList), data, nullptr, lists.list), -1003);
    EXPECT_THAT(lists.items(), ElementsAre(hexOf(vectors::kIssuerList)));
}

TEST_F(signed_message_test, ChoiceWithoutACertificateEndsTheCall) {
    // An extended certificate, [0] in place of the SEQUENCE, in front of Alice's.
    Bytes extended = hex(vectors::kAlice);
    extended[0] = 0xA0;
    const Bytes message = withCertificates(vectors::kPlain, der::join({extended, hex(vectors::kAlice)}));
    Output data;
    EXPECT_EQ(readAttached(message, data), -1001);
    const List certificates;
    EXPECT_EQ(readAttached(message, data, certificates.list), -1001);
    EXPECT_THAT(certificates.items(), IsEmpty());
}

// ---- Writing signed messages

TEST_F(signed_message_test, WritesTheMessageInSchemaOrder) {
    Parts parts;
    Output message;
    ASSERT_EQ(write(parts, message), 0);
    const Bytes signer = der::sequence({der::integer(1), issuerAndSerial(vectors::kAlice), algorithm(kSha1Oid),
                                        algorithm(kRsaOid), der::tlv(0x04, hex(vectors::kAliceSha1))});
    const Bytes expected = der::sequence(
        {kSignedOid,
         der::tagged(0, der::sequence({der::integer(1), der::set({algorithm(kSha1Oid)}), dataContent(parts.content),
                                       der::tagged(0, hex(vectors::kAlice)), der::set({signer})}))});
    EXPECT_EQ(message.text(), support::toHex(expected));
    EXPECT_EQ(message.blob.data[message.blob.length], 0);
}

TEST_F(signed_message_test, WritesDetachedMessages) {
    Parts parts;
    parts.mode = 2;
    Output message;
    ASSERT_EQ(write(parts, message), 0);
    EXPECT_EQ(support::toHex(elementsOf(signedDataOf(message.text().c_str())).at(2)),
              support::toHex(der::sequence({kDataOid})));
    EXPECT_EQ(readDetached(message.text().c_str(), parts.content), 0);
}

TEST_F(signed_message_test, WritesAndReadsBackInEveryWay) {
    for (const int32_t digest : {1, 2, 3}) {
        Parts parts;
        parts.digest.algType = digest;
        Output message;
        ASSERT_EQ(write(parts, message), 0);
        Output data;
        ASSERT_EQ(readAttached(message.bytes(), data), 0);
        EXPECT_EQ(data.text(), hexOf(vectors::kContent));
    }
    Parts big;
    big.certificate = hex(vectors::kDave);
    big.key = PrivateKey(vectors::kDaveKey.items);
    Output message;
    ASSERT_EQ(write(big, message), 0);
    EXPECT_EQ(readAttached(message.text().c_str()), 0);
}

TEST_F(signed_message_test, CertificatesAndListsGoAlong) {
    const List certificates({vectors::kIssuer, vectors::kRoot});
    const List lists({vectors::kIssuerList, vectors::kRootList});
    Parts parts;
    parts.certificates = certificates.list;
    parts.certificateLists = lists.list;
    Output message;
    ASSERT_EQ(write(parts, message), 0);
    const List readCertificates;
    const List readLists;
    Output data;
    ASSERT_EQ(readAttached(message.bytes(), data, readCertificates.list, readLists.list), 0);
    EXPECT_THAT(readCertificates.items(),
                testing::UnorderedElementsAre(hexOf(vectors::kAlice), hexOf(vectors::kIssuer), hexOf(vectors::kRoot)));
    EXPECT_THAT(readLists.items(),
                testing::UnorderedElementsAre(hexOf(vectors::kIssuerList), hexOf(vectors::kRootList)));
}

TEST_F(signed_message_test, MessageOfAMessageIsNested) {
    Parts parts;
    parts.content = hex(vectors::kDetached);
    Output message;
    ASSERT_EQ(write(parts, message), 0);
    EXPECT_EQ(support::toHex(elementsOf(signedDataOf(message.text().c_str())).at(2)), hexOf(vectors::kDetached));
    Output data;
    ASSERT_EQ(readAttached(message.bytes(), data), 0);
    EXPECT_EQ(data.text(), hexOf(vectors::kDetached));
    EXPECT_EQ(typeOf(data.bytes()), 4);
}

TEST_F(signed_message_test, NestedMessageHasTheTagOfTheFormat) {
    Parts parts;
    parts.content = hex(vectors::kDetached);
    Output usual;
    ASSERT_EQ(write(parts, usual), 0);
    for (const char* tag : {"24", "31", "A0", "1F 81 01"}) {
        parts.content = hex(vectors::kDetached);
        const Bytes octets = hex(tag);
        parts.content.insert(parts.content.erase(parts.content.begin()), octets.begin(), octets.end());
        Output message;
        ASSERT_EQ(write(parts, message), 0);
        EXPECT_EQ(message.text(), usual.text());
    }
}

TEST_F(signed_message_test, MessageWithoutATypeIsTakenForOne) {
    Parts parts;
    parts.content = hex("30 00");
    EXPECT_EQ(write(parts), -1001);
}

TEST_F(signed_message_test, SignsNothing) {
    Parts parts;
    parts.content.reserve(1);
    parts.content.clear();
    Output message;
    ASSERT_EQ(write(parts, message), 0);
    Output data;
    ASSERT_EQ(readAttached(message.bytes(), data), 0);
    EXPECT_EQ(data.blob.length, 0u);
}

TEST_F(signed_message_test, WritingNeedsItsArguments) {
    Parts parts;
    const PKCS_Blob content = blobOf(parts.content);
    const PKCS_Blob certificate = blobOf(parts.certificate);
    Output out;
    const auto writeWithout = [&](int argument) {
        const auto given = [&](int number, auto* pointer) { return number == argument ? nullptr : pointer; };
        return PKCS7_WriteSignedDataMsg(given(0, ctx), given(1, &content), given(2, &parts.digest),
                                        given(3, &parts.signature), 1, given(4, &certificate),
                                        given(5, &parts.key.record), nullptr, nullptr, given(6, &out.blob));
    };
    for (int argument = 0; argument < 7; ++argument)
        EXPECT_EQ(writeWithout(argument), -1010) << argument;
    EXPECT_EQ(writeWithout(7), 0);
}

TEST_F(signed_message_test, WritingHasItsCodes) {
    const auto writeWith = [&](auto change) {
        Parts parts;
        change(parts);
        return write(parts);
    };
    EXPECT_EQ(writeWith([](Parts& parts) { parts.content = Bytes(); }), -1003);
    EXPECT_EQ(writeWith([](Parts& parts) { parts.certificate = Bytes(); }), -1003);
    EXPECT_EQ(writeWith([](Parts& parts) { parts.certificate = hex("30 05 06"); }), -1010);
    EXPECT_EQ(writeWith([](Parts& parts) { parts.certificate = hex("30 00"); }), -1001);
    EXPECT_EQ(writeWith([](Parts& parts) { parts.mode = 0; }), -1003);
    EXPECT_EQ(writeWith([](Parts& parts) { parts.mode = 3; }), -1003);
    EXPECT_EQ(writeWith([](Parts& parts) { parts.digest.algType = 0; }), -1006);
    EXPECT_EQ(writeWith([](Parts& parts) { parts.digest.algType = 12; }), -1006);
    EXPECT_EQ(writeWith([](Parts& parts) { parts.signature.algType = 12; }), -1006);
    std::uint8_t iv = 0;
    EXPECT_EQ(writeWith([&](Parts& parts) { parts.signature.iv = &iv; }), -1010) << "an empty IV";
    EXPECT_EQ(writeWith([](Parts& parts) { parts.key.record.prime1 = PKCS_Blob{}; }), -1003);
    EXPECT_EQ(writeWith([](Parts& parts) { parts.key.numbers[2].back() ^= 2; }), -14) << "numbers that do not fit";
    const List broken({"30 05 06"});
    EXPECT_EQ(writeWith([&](Parts& parts) { parts.certificates = broken.list; }), -1010);
    EXPECT_EQ(writeWith([&](Parts& parts) { parts.certificateLists = broken.list; }), -1010);
}

// The codes come in the order in which the arguments are looked at.
TEST_F(signed_message_test, FirstFaultIsTold) {
    Parts parts;
    parts.signature.algType = 12;
    parts.content = Bytes();
    EXPECT_EQ(write(parts), -1006);
    parts.signature.algType = 8;
    parts.certificate = hex("30 05 06");
    EXPECT_EQ(write(parts), -1003);
    const List broken({"30 05 06"});
    Parts late;
    late.certificates = broken.list;
    late.mode = 3;
    EXPECT_EQ(write(late), -1010) << "the list before the mode";
    late.key.numbers[2].back() ^= 2;
    EXPECT_EQ(write(late), -14) << "the signature before the list";
}

TEST_F(signed_message_test, WritingNeedsAnOperationObject) {
    Parts parts;
    PKCS_Ctx empty = {};
    std::swap(*ctx, empty);
    EXPECT_EQ(write(parts), -1013);
    parts.certificate = hex("30 05 06");
    EXPECT_EQ(write(parts), -1010) << "the certificate is looked at before";
    std::swap(*ctx, empty);
}

// ---- On a token

class signed_message_test_on_token : public signed_message_test {
  protected:
    signed_message_test_on_token() {
        PKCS_DestroyCtx(&ctx);
        module.addToken("Card");
        const PKCS_Settings settings = {0, "token", 5, "pin", 3, 0};
        EXPECT_EQ(PKCS_Initialize(module.path(), "Card", "1234"), 0);
        EXPECT_EQ(PKCS_CreateCtx(&ctx, &settings), 0);
        module.forgetCalls();
    }
    ~signed_message_test_on_token() override {
        PKCS_DestroyCtx(&ctx);
        PKCS_Finalize();
    }

    p11::RecordingModule module;
};

TEST_F(signed_message_test_on_token, TokenDigestsAndSigns) {
    Parts parts;
    Output message;
    ASSERT_EQ(write(parts, message), 0);
    EXPECT_THAT(module.names(),
                ElementsAre("C_DigestInit", "C_Digest", "C_CreateObject", "C_SignInit", "C_Sign", "C_DestroyObject"));
    EXPECT_EQ(support::toHex(module.calls().at(1).input), hexOf(vectors::kContent));
}

// Tokens often cannot use a public key that they do not hold.
TEST_F(signed_message_test_on_token, TokenOnlyDigestsWhereASignatureIsRead) {
    EXPECT_EQ(readAttached(vectors::kPlain), -1017) << "the module makes its digests up";
    EXPECT_THAT(module.names(), ElementsAre("C_DigestInit", "C_Digest"));
}

// Of thousands of signers none costs a run over the content.
TEST_F(signed_message_test_on_token, ContentIsDigestedOnceForAllSignersOfAnAlgorithm) {
    EXPECT_EQ(readAttached(vectors::kTwoSigners), -1017);
    EXPECT_THAT(module.names(), ElementsAre("C_DigestInit", "C_Digest"));
    module.forgetCalls();
    const std::vector<Bytes> parts = elementsOf(signedDataOf(vectors::kTwoSigners));
    const Bytes sha1 = signerOf(vectors::kPlain);
    const Bytes md5 = signerOf(vectors::kPlainMd5);
    Output data;
    EXPECT_EQ(
        readAttached(der::sequence({kSignedOid, der::tagged(0, der::sequence({parts[0], parts[1], parts[2], parts[3],
                                                                              der::set({sha1, md5, sha1, md5})}))}),
                     data),
        -1017);
    EXPECT_THAT(module.names(), ElementsAre("C_DigestInit", "C_Digest", "C_DigestInit", "C_Digest"));
}

TEST_F(signed_message_test_on_token, CodesOfTheTokenPassThrough) {
    module.fail("C_DigestInit", CKR_DEVICE_ERROR);
    EXPECT_EQ(readAttached(vectors::kPlain), static_cast<int32_t>(CKR_DEVICE_ERROR));
    Parts parts;
    EXPECT_EQ(write(parts), static_cast<int32_t>(CKR_DEVICE_ERROR));
    module.succeed();
    module.fail("C_SignInit", CKR_KEY_HANDLE_INVALID);
    EXPECT_EQ(write(parts), static_cast<int32_t>(CKR_KEY_HANDLE_INVALID));
}

// ---- The leaf of a chain

class Leaf {
  public:
    explicit Leaf(const VT_List* list) : code(PKCS7_GetLeafCert(list, &der_, &length_)) {}
    ~Leaf() { T_free(der_); }
    Leaf(const Leaf&) = delete;
    Leaf& operator=(const Leaf&) = delete;

    std::string text() const { return support::toHex(der_, length_); }

    std::uint8_t* der_ = nullptr;
    std::uint32_t length_ = 0;
    const int32_t code;
};

Bytes certificateOf(const char* subject, const char* issuer) {
    support::CertificateParts parts;
    parts.subject = subject;
    parts.issuer = issuer;
    return support::makeCertificate(parts);
}

TEST_F(signed_message_test, LeafIsFoundInAnyOrder) {
    std::vector<const char*> chain = {vectors::kAlice, vectors::kIssuer, vectors::kRoot};
    std::sort(chain.begin(), chain.end());
    do {
        const List list({chain[0], chain[1], chain[2]});
        const Leaf leaf(list.list);
        ASSERT_EQ(leaf.code, 0);
        EXPECT_EQ(leaf.text(), hexOf(vectors::kAlice));
        EXPECT_EQ(leaf.der_[leaf.length_], 0);
    } while (std::next_permutation(chain.begin(), chain.end()));
}

TEST_F(signed_message_test, LoneCertificateIsTheLeaf) {
    for (const char* lone : {vectors::kRoot, vectors::kIssuer, vectors::kAlice}) {
        const List list({lone});
        const Leaf leaf(list.list);
        ASSERT_EQ(leaf.code, 0);
        EXPECT_EQ(leaf.text(), hexOf(lone));
    }
}

TEST_F(signed_message_test, FirstOfTwoLeavesIsTaken) {
    const List list({vectors::kIssuer, vectors::kBob, vectors::kAlice});
    const Leaf leaf(list.list);
    ASSERT_EQ(leaf.code, 0);
    EXPECT_EQ(leaf.text(), hexOf(vectors::kBob));
}

TEST_F(signed_message_test, ChainThatLoopsHasNoLeaf) {
    List list;
    list.add(certificateOf("CN=One", "CN=Two"));
    list.add(certificateOf("CN=Two", "CN=One"));
    EXPECT_EQ(Leaf(list.list).code, -1001);
    const List twice({vectors::kRoot, vectors::kRoot});
    EXPECT_EQ(Leaf(twice.list).code, -1001) << "each is the other's issuer";
}

TEST_F(signed_message_test, LeafNeedsCertificates) {
    EXPECT_EQ(Leaf(nullptr).code, 8014);
    const List empty;
    EXPECT_EQ(Leaf(empty.list).code, 8014);
    const List junk({vectors::kAlice, "30 05 06"});
    EXPECT_EQ(Leaf(junk.list).code, -1010);
    const List list({vectors::kAlice});
    std::uint8_t* der = nullptr;
    std::uint32_t length = 0;
    EXPECT_EQ(PKCS7_GetLeafCert(list.list, nullptr, &length), -1010);
    EXPECT_EQ(PKCS7_GetLeafCert(list.list, &der, nullptr), -1010);
}

TEST_F(signed_message_test, LeafIsReadUnderBothEncodings) {
    std::vector<DWORD> encodings;
    int open = 0;
    const support::Replaced<& platform::CryptoApi::CertCreateCertificateContext>* opened = nullptr;
    const support::Replaced<&platform::CryptoApi::CertCreateCertificateContext> create(
        [&](DWORD encoding, const BYTE* der, DWORD size) {
            encodings.push_back(encoding);
            ++open;
            return opened->original(encoding, der, size);
        });
    opened = &create;
    const support::Replaced<& platform::CryptoApi::CertFreeCertificateContext>* closed = nullptr;
    const support::Replaced<&platform::CryptoApi::CertFreeCertificateContext> release([&](PCCERT_CONTEXT context) {
        --open;
        return closed->original(context);
    });
    closed = &release;
    const List list({vectors::kAlice, vectors::kIssuer});
    EXPECT_EQ(Leaf(list.list).code, 0);
    EXPECT_THAT(encodings, testing::Each(65537u));
    EXPECT_EQ(encodings.size(), 2u);
    EXPECT_EQ(open, 0);
}

// ---- Hostile input and exhausted memory

bool isDocumented(int32_t code) {
    constexpr int32_t kCodes[] = {0,     -1001, -1003, -1006, -1009, -1010, -1012,
                                  -1015, -1017, -1018, -1020, -1021, -1022, -3000};
    return std::find(std::begin(kCodes), std::end(kCodes), code) != std::end(kCodes) || (code < 0 && code > -1000);
}

class signed_message_test_hostile : public signed_message_test {
  protected:
    void tryAll(const Bytes& message) {
        Output attached;
        const List certificates;
        const List lists;
        const int32_t signedCode = readAttached(message, attached, certificates.list, lists.list);
        EXPECT_TRUE(isDocumented(signedCode)) << signedCode << " for " << support::toHex(message);
        Bytes copy = message;
        const PKCS_Blob blob = blobOf(copy);
        Output data;
        const int32_t dataCode = PKCS7_ReadDataMsg(ctx, &blob, &data.blob);
        EXPECT_TRUE(dataCode == 0 || dataCode == -1001 || dataCode == -1003 || dataCode == -1009 || dataCode == -3000);
        const int32_t type = PKCS7_GetMsgType(ctx, &blob);
        EXPECT_TRUE((type >= 0 && type <= 6) || type == -1001 || type == -1003) << type;
    }
};

TEST_F(signed_message_test, TruncatedMessagesAreRefused) {
    for (const char* message : {vectors::kAttributes, vectors::kWithLists}) {
        for (const support::Broken& broken : support::truncations(hex(message))) {
            if (broken.bytes.empty())
                continue;
            Output data;
            EXPECT_EQ(readAttached(broken.bytes, data), -3000) << broken.place;
        }
    }
}

TEST_F(signed_message_test_hostile, BrokenElementsGiveCodes) {
    for (const char* message : {vectors::kAttributes, vectors::kWithLists}) {
        const Bytes good = hex(message);
        for (const auto& kind :
             {support::withTrailingData(good, {5, 0}), support::withShortLengths(good), support::withLongLengths(good),
              support::withTags(good, 0x04), support::withTags(good, 0xA0), support::withTags(good, 0xA2),
              support::withIndefiniteLengths(good)})
            for (const support::Broken& broken : kind)
                tryAll(broken.bytes);
    }
}

TEST_F(signed_message_test_hostile, RandomChangesGiveCodes) {
    support::Noise noise(20260);
    const Bytes good = hex(vectors::kAttributes);
    for (int i = 0; i < 400; ++i) {
        Bytes changed = good;
        for (std::uint32_t n = 1 + noise.below(4); n != 0; --n)
            changed[noise.below(static_cast<std::uint32_t>(changed.size()))] = noise.byte();
        tryAll(changed);
    }
}

TEST_F(signed_message_test_hostile, DeepNestingGivesACode) {
    Bytes nested;
    for (int i = 0; i < 2000; ++i)
        nested = der::tlv(0x30, nested);
    tryAll(nested);
    tryAll(der::sequence({kSignedOid, der::tagged(0, nested)}));
    tryAll(der::repeat(20000, hex("30 80")));
    tryAll(der::repeat(20000, hex("A0 84 7F FF FF FF")));
}

TEST_F(signed_message_test_hostile, AbsurdLengthsGiveACode) {
    tryAll(hex("30 84 FF FF FF FF"));
    tryAll(der::join({hex("30 84 FF FF FF FF"), kSignedOid, hex("A0 84 FF FF FF F0 30 84 FF FF FF E0")}));
    tryAll(der::join({hex("30 85 01 00 00 00 00"), kSignedOid}));
}

TEST_F(signed_message_test, TenThousandCertificates) {
    const int32_t count = 10000;
    // Bob's first, so that Alice's is the last to be found.
    const Bytes all = der::join({der::repeat(count - 1, hex(vectors::kBob)), hex(vectors::kAlice)});
    const Bytes message = withCertificates(vectors::kPlain, all);
    const List certificates;
    Output data;
    ASSERT_EQ(readAttached(message, data, certificates.list), 0);
    uint32_t total = 0;
    VT_GetListNodeTotal(certificates.list, &total);
    EXPECT_EQ(total, static_cast<uint32_t>(count));
    EXPECT_EQ(data.text(), hexOf(vectors::kContent));
    const Leaf leaf(certificates.list);
    EXPECT_EQ(leaf.code, 0);
    EXPECT_EQ(leaf.text(), hexOf(vectors::kBob));
}

// Among few and among many certificates alike.
TEST_F(signed_message_test, FirstCertificateThatASignerNamesIsUsed) {
    const Bytes alice = hex(vectors::kAlice);
    const Bytes key = hex(vectors::kAliceKey.items[0]);
    Bytes impostor = alice;  // of the same name and number
    *std::search(impostor.begin(), impostor.end(), key.begin(), key.end()) ^= 1;
    Bytes extended = hex(vectors::kBob);
    extended[0] = 0xA0;
    const Bytes empty = hex("30 00");
    for (const std::size_t others : {0U, 40U}) {
        const auto read = [&](std::initializer_list<Bytes> certificates) {
            Output data;
            const Bytes all = der::join({der::repeat(others, hex(vectors::kBob)), der::join(certificates)});
            return readAttached(withCertificates(vectors::kPlain, all), data);
        };
        EXPECT_EQ(read({hex(vectors::kDave)}), -1017) << others;
        EXPECT_EQ(read({alice, impostor}), 0) << others;
        EXPECT_NE(read({impostor, alice}), 0) << others;
        EXPECT_EQ(read({alice, extended}), 0) << others;
        EXPECT_EQ(read({extended, alice}), -1001) << others;
        EXPECT_EQ(read({alice, empty}), 0) << others;
        EXPECT_EQ(read({empty, alice}), -1001) << others;
        EXPECT_EQ(read({hex(vectors::kDave), empty}), -1001) << others;
    }
}

// One tool writes a name in PrintableString where another has it in UTF8String.
TEST_F(signed_message_test, SignerMayNameItsCertificateInOtherStringTypes) {
    std::vector<Bytes> signer = elementsOf(signerOf(vectors::kPlain));
    ASSERT_EQ(std::count(signer[1].begin(), signer[1].end(), 0x0C), 2);
    std::replace(signer[1].begin(), signer[1].end(), std::uint8_t{0x0C}, std::uint8_t{0x13});
    const std::vector<Bytes> parts = elementsOf(signedDataOf(vectors::kPlain));
    for (const std::size_t others : {0U, 40U}) {
        const Bytes all = der::join({der::repeat(others, hex(vectors::kBob)), hex(vectors::kAlice)});
        const Bytes message = der::sequence(
            {kSignedOid,
             der::tagged(0, der::sequence({parts[0], parts[1], parts[2], der::tagged(0, all),
                                           der::set({der::sequence({der::join({signer[0], signer[1]}), signer[2],
                                                                    signer[3], signer[4]})})}))});
        Output data;
        EXPECT_EQ(readAttached(message, data), 0) << others;
    }
}

// The message has some 200 KB. Comparing each signer with each certificate takes minutes.
TEST_F(signed_message_test, ThousandsOfSignersAndCertificates) {
    constexpr std::size_t kCount = 5000;
    const Bytes none = hex("30 00");
    const Bytes certificate =
        der::sequence({der::sequence({der::integer(1), none, none, none, none, none}), none, hex("03 01 00")});
    const Bytes signer =
        der::sequence({der::integer(1), der::sequence({none, der::integer(2)}), none, none, hex("04 00")});
    const Bytes message =
        der::sequence({kSignedOid, der::tagged(0, der::sequence({der::integer(1), der::set({}), dataContent({1}),
                                                                 der::tagged(0, der::repeat(kCount, certificate)),
                                                                 der::set({der::repeat(kCount, signer)})}))});
    Output data;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(readAttached(message, data), -1017);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

// -1 is the engine's own code for exhausted memory, and -1003 tells of a key that could not be copied. The exceptions'
// constants are for malformed input alone.
TEST_F(signed_message_test, ExhaustedMemoryGivesItsCodeAndLeaksNothing) {
    Bytes der = hex(vectors::kWithLists);
    Parts parts;
    const PKCS_Blob content = blobOf(parts.content);
    const PKCS_Blob certificate = blobOf(parts.certificate);
    const auto exhaust = [](auto call) {
        int32_t unexpected = 0;
        const long failures = support::forEachExhaustion([&] {
            const int32_t result = call();
            if (result != 0 && result != -1031 && result != -1 && result != -1003)
                unexpected = result;
        });
        EXPECT_GT(failures, 0);
        EXPECT_EQ(unexpected, 0);
    };
    const PKCS_Blob message = blobOf(der);
    exhaust([&] {
        VT_List* certificates = nullptr;
        VT_List* lists = nullptr;
        PKCS_Blob data = {};
        int32_t result = VT_CreateList(&certificates);
        if (result == 0)
            result = VT_CreateList(&lists);
        if (result == 0)
            result = PKCS7_ReadSignedDataMsg(ctx, &message, 1, nullptr, certificates, lists, &data);
        else
            result = -1;
        T_free(data.data);
        VT_DestroyList(&certificates);
        VT_DestroyList(&lists);
        return result;
    });
    exhaust([&] {
        PKCS_Blob out = {};
        const int32_t result = PKCS7_WriteSignedDataMsg(ctx, &content, &parts.digest, &parts.signature, 1, &certificate,
                                                        &parts.key.record, nullptr, nullptr, &out);
        T_free(out.data);
        return result;
    });
    exhaust([&] {
        PKCS_Blob out = {};
        PKCS_Blob back = {};
        int32_t result = PKCS7_WriteDataMsg(ctx, &content, &out);
        if (result == 0)
            result = PKCS7_ReadDataMsg(ctx, &out, &back);
        T_free(out.data);
        T_free(back.data);
        return result;
    });
    const List chain({vectors::kAlice, vectors::kIssuer});
    exhaust([&] {
        std::uint8_t* leaf = nullptr;
        std::uint32_t length = 0;
        const int32_t result = PKCS7_GetLeafCert(chain.list, &leaf, &length);
        T_free(leaf);
        return result;
    });
}

}  // namespace
