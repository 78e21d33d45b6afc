// Signing and verifying through the objects, on the software side.
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "crypto/codes.h"
#include "tests/crypto/engine_objects.h"
#include "tests/crypto/rsa_keys.h"

namespace {

using engine::Alg;
using engine::Bytes;
using engine::bytesOf;
using engine::hex;
using engine::Key;
using engine::SoftChooser;
using rsakeys::ofBits;

// A digest with RSA, and the digest of "abc" as RFC 1319, RFC 1321 and FIPS 180-1 give it.
struct Mechanism {
    AlgAllocator allocator;
    CK_MECHANISM_TYPE code;
    const char* abc;
};
constexpr Mechanism kDigests[] = {
    {AlgAllocMd2Rsa, CKM_MD2_RSA_PKCS, "da 85 3b 0d 3f 88 d9 9b 30 28 3a 69 e6 de d6 bb"},
    {AlgAllocMd5Rsa, CKM_MD5_RSA_PKCS, "90 01 50 98 3c d2 4f b0 d6 96 3f 7d 28 e1 7f 72"},
    {AlgAllocSha1Rsa, CKM_SHA1_RSA_PKCS, "a9 99 3e 36 47 06 81 6a ba 3e 25 71 78 50 c2 6c 9c d0 d8 9d"},
};
const Bytes kAbc = {'a', 'b', 'c'};

struct Pair {
    explicit Pair(int bits)
        : source(ofBits(bits)),
          privateKey(KeyAllocRsaPrivate, source.items()),
          publicKey(KeyAllocRsaPublic, source.items()) {}
    rsakeys::Key source;
    Key privateKey;
    Key publicKey;
    SoftChooser chooser;
};

std::uint32_t sizeOf(const Bytes& bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}

Bytes sign(ALG_OBJ* alg, const Bytes& message) {
    std::uint32_t room = 0;
    EXPECT_EQ(SignOp(alg, message.data(), sizeOf(message), nullptr, &room), 0);
    Bytes signature(room);
    std::uint32_t length = 0;
    EXPECT_EQ(SignOp(alg, message.data(), sizeOf(message), signature.data(), &length), 0);
    EXPECT_EQ(length, room);
    return signature;
}

// What the block of a signature carries.
Bytes opened(const Pair& pair, const Bytes& signature) {
    const auto context = rsakeys::load(const_cast<Pair&>(pair).source.items(), RSA_PUBLIC_LENGTH);
    Bytes data(signature.size());
    const int length =
        RSA_RecoverBlock(context.get(), signature.data(), data.data(), static_cast<std::int32_t>(signature.size()));
    EXPECT_GE(length, 0);
    data.resize(static_cast<std::size_t>(std::max(length, 0)));
    return data;
}

TEST(soft_operation_signature_test, RsaSignsTheDataAsAnotherProgramDoes) {
    for (const int bits : {96, 512, 1024, 2048, 4096}) {
        Pair pair(bits);
        const Alg alg(AlgAllocRsa);
        const Bytes message = hex(ofBits(bits).message);
        ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
        const Bytes signature = sign(alg, message);
        EXPECT_EQ(signature, hex(ofBits(bits).signedBlock)) << bits;
        ASSERT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), 0);
        EXPECT_EQ(VerifyOp(alg, message.data(), sizeOf(message), signature.data(), sizeOf(signature)), 0) << bits;
    }
}

TEST(soft_operation_signature_test, ADigestIsSignedBare) {
    for (const Mechanism& mechanism : kDigests) {
        Pair pair(512);
        const Alg alg(mechanism.allocator);
        ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0) << mechanism.code;
        const Bytes signature = sign(alg, kAbc);
        EXPECT_EQ(opened(pair, signature), hex(mechanism.abc)) << "no DigestInfo around it";
        ASSERT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), 0);
        EXPECT_EQ(VerifyOp(alg, kAbc.data(), 3, signature.data(), sizeOf(signature)), 0);
    }
}

TEST(soft_operation_signature_test, ADigestTakesItsDataAtEveryCut) {
    Bytes message(40);
    for (std::size_t i = 0; i < message.size(); ++i)
        message[i] = static_cast<std::uint8_t>(i * 3);
    for (const Mechanism& mechanism : kDigests) {
        Pair pair(512);
        const Alg alg(mechanism.allocator);
        ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
        const Bytes signature = sign(alg, message);
        for (std::uint32_t cut = 0; cut <= 40; cut += 5) {
            ASSERT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), 0);
            EXPECT_EQ(VerifyUpdateOp(alg, message.data(), cut), 0);
            EXPECT_EQ(VerifyUpdateOp(alg, nullptr, 0), 0);
            EXPECT_EQ(VerifyUpdateOp(alg, message.data() + cut, 40 - cut), 0);
            EXPECT_EQ(VerifyFinalOp(alg, signature.data(), 64), 0) << cut;
        }
        ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
        for (const std::uint8_t& byte : message)
            EXPECT_EQ(SignUpdateOp(alg, &byte, 1), 0);
        Bytes again(64);
        std::uint32_t length = 0;
        EXPECT_EQ(SignFinalOp(alg, again.data(), &length), 0);
        EXPECT_EQ(again, signature);
    }
}

TEST(soft_operation_signature_test, AnEmptyMessageHasASignature) {
    for (const Mechanism& mechanism : kDigests) {
        Pair pair(512);
        const Alg alg(mechanism.allocator);
        ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
        Bytes signature(64);
        std::uint32_t length = 0;
        EXPECT_EQ(SignOp(alg, nullptr, 0, signature.data(), &length), 0);
        ASSERT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), 0);
        EXPECT_EQ(VerifyOp(alg, nullptr, 0, signature.data(), 64), 0);
        EXPECT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), 0);
        EXPECT_EQ(VerifyOp(alg, kAbc.data(), 3, signature.data(), 64), -13);
    }
}

TEST(soft_operation_signature_test, AQueryLeavesTheSignatureOpen) {
    for (const Mechanism& mechanism : kDigests) {
        Pair pair(512);
        const Alg alg(mechanism.allocator);
        ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
        ASSERT_EQ(SignUpdateOp(alg, kAbc.data(), 1), 0);
        std::uint32_t length = 0;
        EXPECT_EQ(SignFinalOp(alg, nullptr, &length), 0);
        EXPECT_EQ(length, 64U);
        ASSERT_EQ(SignUpdateOp(alg, kAbc.data() + 1, 2), 0);
        Bytes signature(64);
        EXPECT_EQ(SignFinalOp(alg, signature.data(), &length), 0);
        EXPECT_EQ(opened(pair, signature), hex(mechanism.abc));
    }
}

TEST(soft_operation_signature_test, RsaKeepsTheSignatureFromUpdateToFinal) {
    Pair pair(512);
    const Alg alg(AlgAllocRsa);
    ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
    const Bytes message = hex(ofBits(512).message);
    ASSERT_EQ(SignUpdateOp(alg, message.data(), sizeOf(message)), 0);
    const auto* context = static_cast<const RSA_CTX*>(alg->context);
    EXPECT_EQ(context->signatureLength, 64);
    EXPECT_EQ(bytesOf(context->signature, 64), hex(ofBits(512).signedBlock));
    std::uint32_t length = 0;
    EXPECT_EQ(SignFinalOp(alg, nullptr, &length), 0);
    EXPECT_EQ(length, 64U);
    Bytes signature(64);
    EXPECT_EQ(SignFinalOp(alg, signature.data(), &length), 0);
    EXPECT_EQ(length, 64U);
    EXPECT_EQ(signature, hex(ofBits(512).signedBlock));
}

TEST(soft_operation_signature_test, RsaWithoutAnUpdateHasASignatureOfNoBytes) {
    Pair pair(512);
    const Alg alg(AlgAllocRsa);
    ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
    Bytes signature(64, 0x5A);
    std::uint32_t length = 9;
    EXPECT_EQ(SignFinalOp(alg, signature.data(), &length), 0);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(signature, Bytes(64, 0));
}

TEST(soft_operation_signature_test, RsaSignsUpTo11BytesLessThanTheModulus) {
    Pair pair(512);
    const Alg alg(AlgAllocRsa);
    const Bytes message(54, 7);
    ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
    EXPECT_EQ(SignUpdateOp(alg, message.data(), 53), 0);
    EXPECT_EQ(SignUpdateOp(alg, message.data(), 54), -3);
    EXPECT_EQ(SignUpdateOp(alg, nullptr, 0), -2) << "no input at all";
}

TEST(soft_operation_signature_test, ADigestThatDoesNotFitTheModulusIsAWrongLength) {
    Pair pair(96);
    for (const Mechanism& mechanism : kDigests) {
        const Alg alg(mechanism.allocator);
        ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
        ASSERT_EQ(SignUpdateOp(alg, kAbc.data(), 3), 0);
        Bytes signature(12);
        std::uint32_t length = 0;
        EXPECT_EQ(SignFinalOp(alg, nullptr, &length), -3);
        EXPECT_EQ(SignFinalOp(alg, signature.data(), &length), -3);
    }
}

TEST(soft_operation_signature_test, AModulusTooShortIsToldByTheFinal) {
    Pair pair(88);
    const Alg alg(AlgAllocRsa);
    ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
    std::uint32_t length = 0;
    Bytes signature(11);
    EXPECT_EQ(SignUpdateOp(alg, kAbc.data(), 0), -106);
    EXPECT_EQ(SignFinalOp(alg, nullptr, &length), -106);
    EXPECT_EQ(SignFinalOp(alg, signature.data(), &length), -106);
    static_cast<RSA_CTX*>(alg->context)->modulus[0] = 257;
    EXPECT_EQ(SignFinalOp(alg, signature.data(), &length), -103);
}

// A signature of the data, made by the private key's own operation.
Bytes signatureOf(Pair& pair, const Bytes& data) {
    const auto context = rsakeys::load(pair.source.items(), RSA_PRIVATE_LENGTH);
    Bytes signature(static_cast<std::size_t>(RSA_ModulusLength(context.get())));
    RSA_SignBlock(context.get(), data.data(), signature.data(), static_cast<std::int32_t>(data.size()));
    return signature;
}

TEST(soft_operation_signature_test, AnotherSignatureIsRefusedUnderRsa) {
    Pair pair(512);
    const Alg alg(AlgAllocRsa);
    const Bytes data = hex("61 62 63 64 65");
    const Bytes good = signatureOf(pair, data);
    const auto verify = [&](const Bytes& signature) {
        EXPECT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), 0);
        EXPECT_EQ(VerifyUpdateOp(alg, data.data(), sizeOf(data)), 0);
        return VerifyFinalOp(alg, signature.data(), sizeOf(signature));
    };
    EXPECT_EQ(verify(good), 0);
    EXPECT_EQ(verify(signatureOf(pair, hex("61 62 63 64"))), -13) << "a shorter value";
    EXPECT_EQ(verify(signatureOf(pair, hex("61 62 63 64 65 66"))), -13) << "a longer value";
    EXPECT_EQ(verify(signatureOf(pair, hex("61 62 63 64 66"))), -13) << "another value";
    EXPECT_EQ(verify(signatureOf(pair, {})), -13) << "no value";
    Bytes damaged = good;
    damaged[20] ^= 1;
    EXPECT_EQ(verify(damaged), -13) << "a block that does not open";
    EXPECT_EQ(verify(Bytes(64, 0xFF)), -13) << "not below the modulus";
    EXPECT_EQ(verify(Bytes(63, 1)), -13) << "another length than the modulus";
    EXPECT_EQ(verify({good.begin(), good.end() - 1}), -13);
}

TEST(soft_operation_signature_test, UnderADigestTheRsaOperationsOwnCodeComesBack) {
    for (const Mechanism& mechanism : kDigests) {
        Pair pair(512);
        Pair tooShort(88);
        const Alg alg(mechanism.allocator);  // goes before the choosers that it was used with
        const Bytes digest = hex(mechanism.abc);
        const auto verify = [&](const Bytes& signature) {
            EXPECT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), 0);
            EXPECT_EQ(VerifyUpdateOp(alg, kAbc.data(), 3), 0);
            return VerifyFinalOp(alg, signature.data(), sizeOf(signature));
        };
        EXPECT_EQ(verify(signatureOf(pair, digest)), 0);
        Bytes other = digest;
        other.back() ^= 1;
        EXPECT_EQ(verify(signatureOf(pair, other)), -13);
        other.pop_back();
        EXPECT_EQ(verify(signatureOf(pair, other)), -13) << "a shorter value";
        EXPECT_EQ(verify(Bytes(64, 0xFF)), -12);
        EXPECT_EQ(verify(Bytes(64, 1)), -12);
        EXPECT_EQ(verify(Bytes(63, 1)), -3);
        ASSERT_EQ(VerifyInitOp(alg, tooShort.publicKey, tooShort.chooser), 0);
        EXPECT_EQ(VerifyFinalOp(alg, digest.data(), 11), -106);
    }
}

TEST(soft_operation_signature_test, KeptDataNeverRunsPastItsField) {
    Pair pair(512);
    const Alg alg(AlgAllocRsa);
    ASSERT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), 0);
    const Bytes data(1026, 0xA5);
    EXPECT_EQ(VerifyUpdateOp(alg, data.data(), 1025), 0);
    auto* context = static_cast<RSA_CTX*>(alg->context);
    EXPECT_EQ(context->signatureLength, 1025);
    EXPECT_EQ(bytesOf(context->signature, 1025), Bytes(1025, 0xA5));
    EXPECT_EQ(VerifyUpdateOp(alg, data.data(), 1026), -3);
    EXPECT_EQ(VerifyUpdateOp(alg, data.data(), UINT32_MAX), -3);
    EXPECT_EQ(context->signatureLength, 1025) << "what was kept stays";
    EXPECT_EQ(VerifyFinalOp(alg, data.data(), 64), -13);
}

TEST(soft_operation_signature_test, OtherMechanismsAreNotSupported) {
    Pair pair(512);
    for (CK_MECHANISM_TYPE code = 0; code < 0x400; ++code) {
        if (code == 1 || (code >= 4 && code <= 6))
            continue;
        const Alg alg(AlgAllocRsa, nullptr, code);
        EXPECT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), -6) << code;
        EXPECT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), -6) << code;
        alg->mechanism->code = CKM_RSA_PKCS;
    }
}

TEST(soft_operation_signature_test, AnInitNeedsObjectChooserAndAKeyThatFits) {
    Pair pair(512);
    const Key secret(KeyAllocRc4, Bytes(256, 1));
    const Key empty(KeyAllocRsaPrivate);
    for (const AlgAllocator allocator : {AlgAllocRsa, AlgAllocSha1Rsa}) {
        const Alg alg(allocator);
        for (const auto init : {SignInitOp, VerifyInitOp}) {
            EXPECT_EQ(init(alg, pair.privateKey, nullptr), -2);
            EXPECT_EQ(init(nullptr, pair.privateKey, pair.chooser), -2);
            EXPECT_EQ(init(alg, nullptr, pair.chooser), -4);
            EXPECT_EQ(init(alg, empty, pair.chooser), -4);
            EXPECT_EQ(init(alg, secret, pair.chooser), -4);
        }
    }
}

TEST(soft_operation_signature_test, AnInitNeedsTheContext) {
    Pair pair(512);
    for (const AlgAllocator allocator : {AlgAllocRsa, AlgAllocSha1Rsa}) {
        const Alg alg(allocator);
        void* const context = std::exchange(alg->context, nullptr);
        EXPECT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), -2);
        EXPECT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), -2);
        alg->context = context;
        EXPECT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
    }
}

TEST(soft_operation_signature_test, AKeyThatTheCheckRefusesIsToldByTheInit) {
    Pair pair(512);
    rsakeys::Key source(ofBits(512));
    source.set(RSA_COEFFICIENT, {5});
    const Key broken(KeyAllocRsaPrivate, source.items());
    for (const AlgAllocator allocator : {AlgAllocRsa, AlgAllocMd5Rsa})
        EXPECT_EQ(SignInitOp(Alg(allocator), broken, pair.chooser), -14);
}

TEST(soft_operation_signature_test, InitsFillTheSlotsOfTheirOperation) {
    Pair pair(512);
    SOFT_TABLE& table = pair.chooser.table;
    for (const AlgAllocator allocator : {AlgAllocRsa, AlgAllocMd2Rsa}) {
        const Alg alg(allocator);
        ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
        EXPECT_EQ(table.encryptUpdate, RSA_Encrypt);
        EXPECT_EQ(table.encryptFinal, RSA_Final);
        EXPECT_EQ(table.decryptUpdate, nullptr);
        EXPECT_EQ(table.digestUpdate != nullptr, allocator != AlgAllocRsa);
        ASSERT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), 0);
        EXPECT_EQ(table.decryptUpdate, RSA_Decrypt);
        EXPECT_EQ(table.decryptFinal, RSA_Final);
        EXPECT_EQ(table.encryptUpdate, nullptr);
        EXPECT_EQ(table.digestUpdate != nullptr, allocator != AlgAllocRsa);
    }
}

TEST(soft_operation_signature_test, NothingRunsWithoutAnInit) {
    Pair pair(512);
    const Bytes input(64);
    Bytes output(64);
    std::uint32_t length = 0;
    const auto expectClosed = [&](ALG_OBJ* alg, int code) {
        EXPECT_EQ(SignUpdateOp(alg, input.data(), 3), code);
        EXPECT_EQ(SignFinalOp(alg, output.data(), &length), code);
        EXPECT_EQ(SignOp(alg, input.data(), 3, output.data(), &length), code);
    };
    const auto expectVerifyClosed = [&](ALG_OBJ* alg, int code) {
        EXPECT_EQ(VerifyUpdateOp(alg, input.data(), 3), code);
        EXPECT_EQ(VerifyFinalOp(alg, input.data(), 64), code);
        EXPECT_EQ(VerifyOp(alg, input.data(), 3, input.data(), 64), code);
    };
    expectClosed(nullptr, -2);
    expectVerifyClosed(nullptr, -2);
    for (const AlgAllocator allocator : {AlgAllocRsa, AlgAllocSha1Rsa}) {
        const Alg alg(allocator);
        expectClosed(alg, -5);
        expectVerifyClosed(alg, -5);
        ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
        expectVerifyClosed(alg, -5);
        ASSERT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), 0);
        expectClosed(alg, -5);
        ASSERT_EQ(VerifyInitOp(alg, nullptr, pair.chooser), -4);
        expectVerifyClosed(alg, -5);
    }
}

// Whose slots a signature fills in part: but the context is a pair.
TEST(soft_operation_signature_test, ASignatureOfADigestIsNeitherACipherNorADigest) {
    Pair pair(512);
    const Bytes input(64);
    Bytes output(128);
    std::uint32_t length = 7;
    for (const Mechanism& mechanism : kDigests) {
        const Alg alg(mechanism.allocator);
        ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
        EXPECT_EQ(EncryptUpdateOp(alg, input.data(), 3, output.data(), &length), -5);
        EXPECT_EQ(EncryptFinalOp(alg, output.data(), &length), -5);
        EXPECT_EQ(EncryptOp(alg, input.data(), 3, output.data(), &length), -5);
        EXPECT_EQ(DigestUpdateOp(alg, input.data(), 3), -5);
        EXPECT_EQ(DigestFinalOp(alg, output.data(), &length), -5);
        EXPECT_EQ(DigestOp(alg, input.data(), 3, output.data(), &length), -5);
        ASSERT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), 0);
        EXPECT_EQ(DecryptUpdateOp(alg, input.data(), 64, output.data(), &length), -5);
        EXPECT_EQ(DecryptFinalOp(alg, output.data(), &length), -5);
        EXPECT_EQ(DecryptOp(alg, input.data(), 64, output.data(), &length), -5);
        EXPECT_EQ(DigestUpdateOp(alg, input.data(), 3), -5);
    }
    EXPECT_EQ(length, 7U);
    EXPECT_EQ(output, Bytes(128));
}

TEST(soft_operation_signature_test, ACipherDoesNotSign) {
    SoftChooser chooser;
    const Alg alg(AlgAllocRc4);
    const Key key(KeyAllocRc4, Bytes(5, 1));
    const Bytes input(64);
    Bytes output(64);
    std::uint32_t length = 7;
    ASSERT_EQ(EncryptInitOp(alg, key, chooser), 0);
    EXPECT_EQ(SignUpdateOp(alg, input.data(), 3), -5);
    EXPECT_EQ(SignFinalOp(alg, output.data(), &length), -5);
    EXPECT_EQ(SignOp(alg, input.data(), 3, output.data(), &length), -5);
    ASSERT_EQ(DecryptInitOp(alg, key, chooser), 0);
    EXPECT_EQ(VerifyUpdateOp(alg, input.data(), 3), -5);
    EXPECT_EQ(VerifyFinalOp(alg, input.data(), 64), -5);
    EXPECT_EQ(VerifyOp(alg, input.data(), 3, input.data(), 64), -5);
    EXPECT_EQ(length, 7U);
}

TEST(soft_operation_signature_test, StepsNeedTheirArguments) {
    Pair pair(512);
    for (const AlgAllocator allocator : {AlgAllocRsa, AlgAllocSha1Rsa}) {
        const Alg alg(allocator);
        Bytes output(64);
        std::uint32_t length = 0;
        ASSERT_EQ(SignInitOp(alg, pair.privateKey, pair.chooser), 0);
        EXPECT_EQ(SignUpdateOp(alg, nullptr, 3), -2);
        EXPECT_EQ(SignFinalOp(alg, output.data(), nullptr), -2);
        EXPECT_EQ(SignOp(alg, kAbc.data(), 3, output.data(), nullptr), -2);
        EXPECT_EQ(SignOp(alg, nullptr, 3, output.data(), &length), -2);
        ASSERT_EQ(VerifyInitOp(alg, pair.publicKey, pair.chooser), 0);
        EXPECT_EQ(VerifyUpdateOp(alg, nullptr, 3), -2);
        EXPECT_EQ(VerifyFinalOp(alg, nullptr, 64), -2);
        EXPECT_EQ(VerifyOp(alg, nullptr, 3, output.data(), 64), -2);
    }
}

}  // namespace
