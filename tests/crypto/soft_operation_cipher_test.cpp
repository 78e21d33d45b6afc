// Encryption and decryption through the objects, on the software side.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "crypto/alloc_buffer.h"
#include "crypto/rc2.h"
#include "crypto/rc5.h"
#include "tests/crypto/engine_objects.h"
#include "tests/crypto/rsa_keys.h"
#include "tests/vectors/crypto_streams.h"

namespace {

using engine::Alg;
using engine::Bytes;
using engine::hex;
using engine::itemOf;
using engine::Key;
using engine::SoftChooser;
using rsakeys::lengthOf;
using rsakeys::ofBits;

struct Mechanism {
    const char* cipher;
    CK_MECHANISM_TYPE padded;
    CK_MECHANISM_TYPE plain;  // the same code if there is no other
    AlgAllocator algAllocator;
    KeyAllocator keyAllocator;
};

constexpr Mechanism kMechanisms[] = {
    {"Des", CKM_DES_CBC_PAD, CKM_DES_CBC, AlgAllocDesCbcPad, KeyAllocDes},
    {"Des3", CKM_DES3_CBC_PAD, CKM_DES3_CBC, AlgAllocDes3CbcPad, KeyAllocDes3},
    {"Rc2", CKM_RC2_CBC_PAD, CKM_RC2_CBC, AlgAllocRc2CbcPad, KeyAllocRc2},
    {"Rc4", CKM_RC4, CKM_RC4, AlgAllocRc4, KeyAllocRc4},
    // No allocator builds RC5: an object with a larger context is given its mechanism.
    {"Rc5", CKM_RC5_CBC_PAD, CKM_RC5_CBC, AlgAllocRc4, KeyAllocRc4},
};

const Mechanism& named(const std::string& cipher) {
    return *std::find_if(std::begin(kMechanisms), std::end(kMechanisms),
                         [&](const Mechanism& mechanism) { return cipher == mechanism.cipher; });
}

std::unique_ptr<Alg> makeAlg(const Mechanism& mechanism, CK_MECHANISM_TYPE code, const Bytes& iv, unsigned number) {
    const KEY_ITEM item = itemOf(iv);
    const RC2_SETTING rc2 = {static_cast<std::int32_t>(number), item};
    const bool isRc2 = mechanism.algAllocator == AlgAllocRc2CbcPad;
    auto alg = std::make_unique<Alg>(mechanism.algAllocator,
                                     isRc2 ? static_cast<const void*>(&rc2) : static_cast<const void*>(&item), code);
    if (code == CKM_RC5_CBC || code == CKM_RC5_CBC_PAD) {
        auto* parameter = AllocStructure<RC5_PARAMETER>();
        *parameter = {32, number, CopyBuffer(iv.data(), iv.size()), static_cast<CK_ULONG>(iv.size())};
        (*alg)->mechanism->parameter = parameter;
        (*alg)->mechanism->parameterLength = sizeof *parameter;
    }
    return alg;
}

struct Direction {
    decltype(&EncryptInitOp) init;
    decltype(&EncryptUpdateOp) update;
    decltype(&EncryptFinalOp) final;
    decltype(&EncryptOp) whole;
};
constexpr Direction kEncrypt = {EncryptInitOp, EncryptUpdateOp, EncryptFinalOp, EncryptOp};
constexpr Direction kDecrypt = {DecryptInitOp, DecryptUpdateOp, DecryptFinalOp, DecryptOp};

std::uint32_t sizeOf(const Bytes& bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}

// All in one, into the room that the query reports.
Bytes whole(const Direction& direction, ALG_OBJ* alg, const Bytes& input, int expected = 0) {
    std::uint32_t length = 0;
    EXPECT_EQ(direction.whole(alg, input.data(), sizeOf(input), nullptr, &length), 0);
    Bytes output(length);
    const int code = direction.whole(alg, input.data(), sizeOf(input), output.data(), &length);
    EXPECT_EQ(code, expected);
    if (code == 0)
        output.resize(length);
    return output;
}

// Two updates, each into the room that its query reports, and a final.
Bytes split(const Direction& direction, ALG_OBJ* alg, const Bytes& input, std::size_t cut) {
    Bytes output;
    const auto append = [&](auto&& entry) {
        std::uint32_t room = 0;
        EXPECT_EQ(entry(nullptr, &room), 0);
        Bytes part(std::max(room, 1U));  // one byte at least, so that it has an address
        std::uint32_t length = 0;
        EXPECT_EQ(entry(part.data(), &length), 0);
        EXPECT_LE(length, room);
        output.insert(output.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(length));
    };
    append([&](std::uint8_t* out, std::uint32_t* length) {
        return direction.update(alg, input.data(), static_cast<std::uint32_t>(cut), out, length);
    });
    append([&](std::uint8_t* out, std::uint32_t* length) {
        return direction.update(alg, input.data() + cut, static_cast<std::uint32_t>(input.size() - cut), out, length);
    });
    append([&](std::uint8_t* out, std::uint32_t* length) { return direction.final(alg, out, length); });
    return output;
}

TEST(soft_operation_cipher_test, GivesTheStreamsOfAnotherProgramAllInOne) {
    for (const CipherStream& stream : kCipherStreams) {
        const Mechanism& mechanism = named(stream.cipher);
        SoftChooser chooser;
        const Key key(mechanism.keyAllocator, hex(stream.key));
        const Bytes plain = hex(stream.plain);
        const Bytes enciphered = hex(stream.enciphered);
        const auto alg = makeAlg(mechanism, mechanism.padded, hex(stream.iv), stream.number);
        if (*stream.key == '\0') {
            EXPECT_EQ(EncryptInitOp(*alg, key, chooser), -4) << "RC5 has such a key, but an operation has not";
            continue;
        }
        ASSERT_EQ(EncryptInitOp(*alg, key, chooser), 0) << stream.cipher;
        const Bytes out = whole(kEncrypt, *alg, plain);
        EXPECT_EQ(out, plain.empty() ? Bytes() : enciphered) << stream.cipher << " " << plain.size();
        ASSERT_EQ(DecryptInitOp(*alg, key, chooser), 0) << stream.cipher;
        EXPECT_EQ(whole(kDecrypt, *alg, enciphered), plain) << stream.cipher << " " << plain.size();
    }
}

TEST(soft_operation_cipher_test, GivesTheStreamsOfAnotherProgramAtEveryCut) {
    for (const CipherStream& stream : kCipherStreams) {
        const Mechanism& mechanism = named(stream.cipher);
        const Bytes plain = hex(stream.plain);
        const Bytes enciphered = hex(stream.enciphered);
        if (plain.size() > 48 || *stream.key == '\0')
            continue;
        SoftChooser chooser;
        const Key key(mechanism.keyAllocator, hex(stream.key));
        const auto alg = makeAlg(mechanism, mechanism.padded, hex(stream.iv), stream.number);
        for (std::size_t cut = 0; cut <= plain.size(); ++cut) {
            ASSERT_EQ(EncryptInitOp(*alg, key, chooser), 0);
            EXPECT_EQ(split(kEncrypt, *alg, plain, cut), enciphered) << stream.cipher << " " << cut;
        }
        for (std::size_t cut = 0; cut <= enciphered.size(); ++cut) {
            ASSERT_EQ(DecryptInitOp(*alg, key, chooser), 0);
            EXPECT_EQ(split(kDecrypt, *alg, enciphered, cut), plain) << stream.cipher << " " << cut;
        }
    }
}

// Without padding, whole blocks give the padded stream less its last block.
TEST(soft_operation_cipher_test, ThePlainModesAreServedToo) {
    int seen = 0;
    for (const CipherStream& stream : kCipherStreams) {
        const Mechanism& mechanism = named(stream.cipher);
        const Bytes plain = hex(stream.plain);
        if (mechanism.plain == mechanism.padded || plain.empty() || plain.size() % 8 != 0 || *stream.key == '\0')
            continue;
        ++seen;
        Bytes enciphered = hex(stream.enciphered);
        enciphered.resize(plain.size());
        SoftChooser chooser;
        const Key key(mechanism.keyAllocator, hex(stream.key));
        const auto alg = makeAlg(mechanism, mechanism.plain, hex(stream.iv), stream.number);
        ASSERT_EQ(EncryptInitOp(*alg, key, chooser), 0);
        EXPECT_EQ(whole(kEncrypt, *alg, plain), enciphered) << stream.cipher;
        ASSERT_EQ(DecryptInitOp(*alg, key, chooser), 0);
        EXPECT_EQ(whole(kDecrypt, *alg, enciphered), plain) << stream.cipher;
        ASSERT_EQ(EncryptInitOp(*alg, key, chooser), 0);
        Bytes part(plain.begin(), plain.end() - 1);
        Bytes output(part.size() + 15);
        std::uint32_t length = 0;
        EXPECT_EQ(EncryptOp(*alg, part.data(), sizeOf(part), output.data(), &length), -3) << "no whole blocks";
    }
    EXPECT_GT(seen, 4);
}

// Something that every mechanism accepts, with the key that fits it.
struct Ready {
    explicit Ready(const Mechanism& mechanism, CK_MECHANISM_TYPE code)
        : key(mechanism.keyAllocator, Bytes(24, 0x31)), alg(makeAlg(mechanism, code, Bytes(8, 0x42), 64)) {}
    SoftChooser chooser;
    Key key;
    std::unique_ptr<Alg> alg;
};

TEST(soft_operation_cipher_test, NoInputGivesNoOutputForEveryMechanism) {
    const auto expectNothing = [](const Direction& direction, ALG_OBJ* alg) {
        std::uint8_t output = 0x5A;
        for (std::uint8_t* to : {static_cast<std::uint8_t*>(nullptr), &output}) {
            std::uint32_t length = 99;
            EXPECT_EQ(direction.whole(alg, nullptr, 0, to, &length), 0);
            EXPECT_EQ(length, 0U);
        }
        EXPECT_EQ(output, 0x5A);
    };
    for (const Mechanism& mechanism : kMechanisms) {
        for (const CK_MECHANISM_TYPE code : {mechanism.padded, mechanism.plain}) {
            Ready ready(mechanism, code);
            ASSERT_EQ(EncryptInitOp(*ready.alg, ready.key, ready.chooser), 0);
            expectNothing(kEncrypt, *ready.alg);
            ASSERT_EQ(DecryptInitOp(*ready.alg, ready.key, ready.chooser), 0);
            expectNothing(kDecrypt, *ready.alg);
        }
    }
    SoftChooser chooser;
    rsakeys::Key source(ofBits(512));
    const Key key(KeyAllocRsaPrivate, source.items());
    const Alg alg(AlgAllocRsa);
    ASSERT_EQ(EncryptInitOp(alg, key, chooser), 0);
    expectNothing(kEncrypt, alg);
    ASSERT_EQ(DecryptInitOp(alg, key, chooser), 0);
    expectNothing(kDecrypt, alg);
}

TEST(soft_operation_cipher_test, AQueryOfTheModesAdds15) {
    for (const Mechanism& mechanism : kMechanisms) {
        Ready ready(mechanism, mechanism.padded);
        const Bytes input(100);
        std::uint32_t length = 0;
        ASSERT_EQ(EncryptInitOp(*ready.alg, ready.key, ready.chooser), 0);
        for (const std::uint32_t n : {1U, 8U, 100U}) {
            EXPECT_EQ(EncryptOp(*ready.alg, input.data(), n, nullptr, &length), 0);
            EXPECT_EQ(length, n + 15);
        }
        EXPECT_EQ(EncryptOp(*ready.alg, input.data(), UINT32_MAX - 15, nullptr, &length), 0);
        EXPECT_EQ(length, UINT32_MAX);
        EXPECT_EQ(EncryptOp(*ready.alg, input.data(), UINT32_MAX - 14, nullptr, &length), -3);
        ASSERT_EQ(DecryptInitOp(*ready.alg, ready.key, ready.chooser), 0);
        EXPECT_EQ(DecryptOp(*ready.alg, input.data(), 16, nullptr, &length), 0);
        EXPECT_EQ(length, 31U);
    }
}

TEST(soft_operation_cipher_test, OtherMechanismsAreNotSupported) {
    const Key key(KeyAllocDes, Bytes(8, 1));
    SoftChooser chooser;
    constexpr CK_MECHANISM_TYPE kServed[] = {0x001, 0x102, 0x105, 0x111, 0x122, 0x125, 0x133, 0x136, 0x332, 0x335};
    for (CK_MECHANISM_TYPE code = 0; code < 0x400; ++code) {
        const Alg alg(AlgAllocMd5, nullptr, code);
        const bool served = std::find(std::begin(kServed), std::end(kServed), code) != std::end(kServed);
        if (!served) {
            EXPECT_EQ(EncryptInitOp(alg, key, chooser), -6) << code;
            EXPECT_EQ(DecryptInitOp(alg, key, chooser), -6) << code;
            EXPECT_EQ(EncryptInitOp(alg, nullptr, chooser), -6) << code;
        } else {
            EXPECT_EQ(EncryptInitOp(alg, nullptr, chooser), -4) << code;
            EXPECT_EQ(DecryptInitOp(alg, nullptr, chooser), -4) << code;
        }
        alg->mechanism->code = CKM_MD5;
    }
    const Alg hash(AlgAllocMd5, nullptr, 0x211);
    EXPECT_EQ(EncryptInitOp(hash, key, chooser), -6);
}

TEST(soft_operation_cipher_test, AnInitNeedsObjectAndChooser) {
    const Mechanism& mechanism = named("Des");
    Ready ready(mechanism, mechanism.padded);
    for (const Direction& direction : {kEncrypt, kDecrypt}) {
        EXPECT_EQ(direction.init(*ready.alg, ready.key, nullptr), -2);
        EXPECT_EQ(direction.init(nullptr, ready.key, ready.chooser), -2);
        CHOOSER noTable = {};
        EXPECT_EQ(direction.init(*ready.alg, ready.key, &noTable), -2);
        ALG_OBJ* shell = AlgShell();
        EXPECT_EQ(direction.init(shell, ready.key, ready.chooser), -2);
        AlgFree(&shell);
    }
}

TEST(soft_operation_cipher_test, AKeyMustBeThereAndFit) {
    rsakeys::Key source(ofBits(512));
    const Key rsaPrivate(KeyAllocRsaPrivate, source.items());
    const Key rsaPublic(KeyAllocRsaPublic, source.items());
    const Key inToken(KeyAllocTokenKey, Bytes(8, 'k'));
    for (const Mechanism& mechanism : kMechanisms) {
        Ready ready(mechanism, mechanism.padded);
        const Key empty(mechanism.keyAllocator);
        for (KEY_OBJ* key :
             {static_cast<KEY_OBJ*>(nullptr), static_cast<KEY_OBJ*>(empty), static_cast<KEY_OBJ*>(rsaPrivate),
              static_cast<KEY_OBJ*>(rsaPublic), static_cast<KEY_OBJ*>(inToken)}) {
            EXPECT_EQ(EncryptInitOp(*ready.alg, key, ready.chooser), -4) << mechanism.cipher;
            EXPECT_EQ(DecryptInitOp(*ready.alg, key, ready.chooser), -4) << mechanism.cipher;
        }
    }
    SoftChooser chooser;
    const Alg rsa(AlgAllocRsa);
    const Key empty(KeyAllocRsaPrivate);
    const Key secret(KeyAllocRc4, Bytes(256, 1));
    for (KEY_OBJ* key : {static_cast<KEY_OBJ*>(nullptr), static_cast<KEY_OBJ*>(empty), static_cast<KEY_OBJ*>(secret),
                         static_cast<KEY_OBJ*>(inToken)})
        EXPECT_EQ(EncryptInitOp(rsa, key, chooser), -4);
}

TEST(soft_operation_cipher_test, AKeyShorterThanTheCipherReadsIsRefused) {
    for (const std::size_t length : {1U, 7U, 8U, 23U, 24U}) {
        const Key key(KeyAllocRc4, Bytes(length, 1));  // the rule of another cipher
        const Mechanism& des = named("Des");
        Ready ready(des, des.padded);
        EXPECT_EQ(EncryptInitOp(*ready.alg, key, ready.chooser), length < 8 ? -7 : 0) << length;
        const Mechanism& des3 = named("Des3");
        Ready ready3(des3, des3.padded);
        EXPECT_EQ(DecryptInitOp(*ready3.alg, key, ready3.chooser), length < 24 ? -7 : 0) << length;
    }
    const Mechanism& rc2 = named("Rc2");
    Ready ready(rc2, rc2.padded);
    const Key tooLong(KeyAllocRc4, Bytes(129, 1));
    EXPECT_EQ(EncryptInitOp(*ready.alg, tooLong, ready.chooser), -3) << "by RC2 itself";
}

TEST(soft_operation_cipher_test, AParameterMustBeThereAndLongEnough) {
    for (const Mechanism& mechanism : kMechanisms) {
        if (mechanism.padded == CKM_RC4)
            continue;
        Ready ready(mechanism, mechanism.padded);
        MECHANISM& record = *(*ready.alg)->mechanism;
        --record.parameterLength;
        EXPECT_EQ(EncryptInitOp(*ready.alg, ready.key, ready.chooser), -3) << mechanism.cipher;
        void* const parameter = record.parameter;
        record.parameter = nullptr;
        EXPECT_EQ(EncryptInitOp(*ready.alg, ready.key, ready.chooser), -2) << mechanism.cipher;
        record.parameter = parameter;
    }
}

// Every step of a direction, none of which may do anything.
void expectClosed(const Direction& direction, ALG_OBJ* alg) {
    const Bytes input(16);
    Bytes output(32);
    std::uint32_t length = 7;
    EXPECT_EQ(direction.update(alg, input.data(), 16, output.data(), &length), -5);
    EXPECT_EQ(direction.final(alg, output.data(), &length), -5);
    EXPECT_EQ(direction.whole(alg, input.data(), 16, output.data(), &length), -5);
    EXPECT_EQ(direction.whole(alg, nullptr, 0, output.data(), &length), -5);
    EXPECT_EQ(length, 7U);
    EXPECT_EQ(output, Bytes(32));
}

TEST(soft_operation_cipher_test, NothingRunsWithoutAnInit) {
    const Mechanism& des = named("Des");
    Ready ready(des, des.padded);
    expectClosed(kEncrypt, *ready.alg);
    expectClosed(kDecrypt, *ready.alg);
    ASSERT_EQ(EncryptInitOp(*ready.alg, ready.key, ready.chooser), 0);
    expectClosed(kDecrypt, *ready.alg);
    ASSERT_EQ(EncryptInitOp(*ready.alg, nullptr, ready.chooser), -4);
    expectClosed(kEncrypt, *ready.alg);
    for (const Direction& direction : {kEncrypt, kDecrypt}) {
        std::uint32_t length = 0;
        EXPECT_EQ(direction.update(nullptr, nullptr, 0, nullptr, &length), -2);
        EXPECT_EQ(direction.final(nullptr, nullptr, &length), -2);
        EXPECT_EQ(direction.whole(nullptr, nullptr, 0, nullptr, &length), -2);
    }
}

// Whoever fills an object by hand may leave any part of it out.
TEST(soft_operation_cipher_test, AHalfMadeObjectIsAnAbsentArgument) {
    ALG_OBJ shell = {};
    SoftChooser chooser;
    const Key key(KeyAllocDes, Bytes(8, 1));
    CHOOSER empty = {0, nullptr, nullptr, 0};
    Bytes bytes(32);
    std::uint32_t length = 0;
    const Alg alg(AlgAllocRc4);
    for (const Direction& direction : {kEncrypt, kDecrypt}) {
        EXPECT_EQ(direction.init(&shell, key, chooser), -2);
        EXPECT_EQ(direction.init(alg, key, &empty), -2) << "neither a token nor a table";
        EXPECT_EQ(direction.update(&shell, bytes.data(), 8, bytes.data(), &length), -2);
        EXPECT_EQ(direction.final(&shell, bytes.data(), &length), -2);
        EXPECT_EQ(direction.whole(&shell, bytes.data(), 8, bytes.data(), &length), -2);
        alg->chooser = &empty;
        EXPECT_EQ(direction.update(alg, bytes.data(), 8, bytes.data(), &length), -5);
        EXPECT_EQ(direction.final(alg, bytes.data(), &length), -5);
        alg->chooser = nullptr;
    }
}

TEST(soft_operation_cipher_test, EveryStepNeedsTheContext) {
    rsakeys::Key source(ofBits(512));
    const Key key(KeyAllocRsaPublic, source.items());
    SoftChooser chooser;
    const Alg alg(AlgAllocRsa);
    ASSERT_EQ(EncryptInitOp(alg, key, chooser), 0);
    void* const context = std::exchange(alg->context, nullptr);
    Bytes bytes(64, 1);
    std::uint32_t length = 7;
    EXPECT_EQ(EncryptOp(alg, bytes.data(), 8, nullptr, &length), -2);
    EXPECT_EQ(EncryptOp(alg, bytes.data(), 8, bytes.data(), &length), -2);
    EXPECT_EQ(EncryptUpdateOp(alg, bytes.data(), 8, bytes.data(), &length), -2);
    EXPECT_EQ(EncryptInitOp(alg, key, chooser), -2);
    EXPECT_EQ(length, 7U);
    alg->context = context;
}

TEST(soft_operation_cipher_test, StepsNeedInputAndLength) {
    const Mechanism& des = named("Des");
    Ready ready(des, des.padded);
    Bytes output(32);
    std::uint32_t length = 0;
    ASSERT_EQ(EncryptInitOp(*ready.alg, ready.key, ready.chooser), 0);
    EXPECT_EQ(EncryptOp(*ready.alg, nullptr, 8, output.data(), &length), -2);
    EXPECT_EQ(EncryptOp(*ready.alg, output.data(), 8, output.data(), nullptr), -2);
    EXPECT_EQ(EncryptUpdateOp(*ready.alg, nullptr, 8, output.data(), &length), -2);
    EXPECT_EQ(EncryptUpdateOp(*ready.alg, output.data(), 8, output.data(), nullptr), -2);
    EXPECT_EQ(EncryptFinalOp(*ready.alg, output.data(), nullptr), -2);
}

TEST(soft_operation_cipher_test, AnInitFillsTheSlotsOfItsOwnOperationAlone) {
    const Mechanism& des = named("Des");
    Ready ready(des, des.padded);
    SOFT_TABLE& table = ready.chooser.table;
    std::memset(static_cast<void*>(&table), 0xAB, sizeof table);
    ASSERT_EQ(EncryptInitOp(*ready.alg, ready.key, ready.chooser), 0);
    EXPECT_EQ((*ready.alg)->chooser, static_cast<CHOOSER*>(ready.chooser));
    EXPECT_TRUE(table.encryptInit != nullptr && table.encryptUpdate != nullptr && table.encryptFinal != nullptr);
    EXPECT_TRUE(table.digestInit == nullptr && table.digestUpdate == nullptr && table.digestFinal == nullptr);
    EXPECT_TRUE(table.decryptInit == nullptr && table.decryptUpdate == nullptr && table.decryptFinal == nullptr);
    EXPECT_TRUE(table.seed == nullptr && table.generate == nullptr && table.unused == nullptr &&
                table.generateKeyPair == nullptr);
    ASSERT_EQ(DecryptInitOp(*ready.alg, ready.key, ready.chooser), 0);
    EXPECT_TRUE(table.decryptInit != nullptr && table.decryptUpdate != nullptr && table.decryptFinal != nullptr);
    EXPECT_TRUE(table.encryptInit == nullptr && table.encryptUpdate == nullptr && table.encryptFinal == nullptr);
}

TEST(soft_operation_cipher_test, DecryptingWhatIsNoWholeBlocksIsAWrongLength) {
    for (const char* cipher : {"Des", "Des3", "Rc2", "Rc5"}) {
        const Mechanism& mechanism = named(cipher);
        Ready ready(mechanism, mechanism.padded);
        ASSERT_EQ(DecryptInitOp(*ready.alg, ready.key, ready.chooser), 0);
        const Bytes input(11);
        Bytes output(26);
        std::uint32_t length = 0;
        EXPECT_EQ(DecryptOp(*ready.alg, input.data(), 11, output.data(), &length), -3) << cipher;
    }
}

// RSA.

class RsaPair {
  public:
    explicit RsaPair(int bits)
        : source_(ofBits(bits)),
          privateKey(KeyAllocRsaPrivate, source_.items()),
          publicKey(KeyAllocRsaPublic, source_.items()) {}

  private:
    rsakeys::Key source_;

  public:
    Key privateKey;
    Key publicKey;
    SoftChooser chooser;
    Alg alg{AlgAllocRsa};
};

Bytes noise(std::size_t length) {
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 7 + 1);
    return bytes;
}

TEST(soft_operation_cipher_test, AQueryOfRsaReportsWholeBlocks) {
    RsaPair rsa(1024);
    std::uint32_t length = 0;
    const Bytes input(1000);
    struct Case {
        std::uint32_t input;
        std::uint32_t encrypted;
        std::uint32_t decrypted;
    };
    ASSERT_EQ(EncryptInitOp(rsa.alg, rsa.publicKey, rsa.chooser), 0);
    for (const Case& c : {Case{1, 128, 117},
                          {117, 128, 117},
                          {118, 256, 117},
                          {128, 256, 117},
                          {129, 256, 234},
                          {234, 256, 234},
                          {235, 384, 234},
                          {256, 384, 234},
                          {257, 384, 351}}) {
        EXPECT_EQ(EncryptOp(rsa.alg, input.data(), c.input, nullptr, &length), 0);
        EXPECT_EQ(length, c.encrypted) << c.input;
    }
    EXPECT_EQ(EncryptOp(rsa.alg, input.data(), UINT32_MAX, nullptr, &length), -3) << "more than 32 bits can tell";
    std::uint8_t untouched[1] = {0xA5};
    EXPECT_EQ(EncryptOp(rsa.alg, input.data(), UINT32_MAX, untouched, &length), -3) << "nothing is read or written";
    EXPECT_EQ(untouched[0], 0xA5);
    ASSERT_EQ(DecryptInitOp(rsa.alg, rsa.privateKey, rsa.chooser), 0);
    for (const Case& c : {Case{1, 0, 117}, {128, 0, 117}, {129, 0, 234}, {256, 0, 234}, {257, 0, 351}}) {
        EXPECT_EQ(DecryptOp(rsa.alg, input.data(), c.input, nullptr, &length), 0);
        EXPECT_EQ(length, c.decrypted) << c.input;
    }
    EXPECT_EQ(DecryptOp(rsa.alg, input.data(), UINT32_MAX, nullptr, &length), 0);
    EXPECT_EQ(length, 33554432U * 117U);
}

TEST(soft_operation_cipher_test, RsaTakesAMessageInChunks) {
    for (const int bits : {96, 512, 1024}) {
        RsaPair rsa(bits);
        const std::size_t k = lengthOf(ofBits(bits));
        const std::size_t chunk = k - 11;
        for (const std::size_t length : {std::size_t{1}, chunk, chunk + 1, 2 * chunk, 2 * chunk + 1, 5 * chunk}) {
            const Bytes message = noise(length);
            ASSERT_EQ(EncryptInitOp(rsa.alg, rsa.publicKey, rsa.chooser), 0);
            const Bytes encrypted = whole(kEncrypt, rsa.alg, message);
            ASSERT_EQ(encrypted.size(), (length + chunk - 1) / chunk * k);
            ASSERT_EQ(DecryptInitOp(rsa.alg, rsa.privateKey, rsa.chooser), 0);
            EXPECT_EQ(whole(kDecrypt, rsa.alg, encrypted), message) << bits << " " << length;
        }
    }
}

TEST(soft_operation_cipher_test, RsaGivesTheBlocksOfAnotherProgram) {
    const RsaKeyVector& vector = ofBits(2048);
    RsaPair rsa(2048);
    const Bytes message = hex(vector.message);
    ASSERT_EQ(EncryptInitOp(rsa.alg, rsa.publicKey, rsa.chooser), 0);
    EXPECT_EQ(whole(kEncrypt, rsa.alg, message), hex(vector.constantPad));
    ASSERT_EQ(EncryptInitOp(rsa.alg, rsa.privateKey, rsa.chooser), 0);
    EXPECT_EQ(whole(kEncrypt, rsa.alg, message), hex(vector.signedBlock)) << "a private key makes type 1";
    ASSERT_EQ(DecryptInitOp(rsa.alg, rsa.privateKey, rsa.chooser), 0);
    EXPECT_EQ(whole(kDecrypt, rsa.alg, hex(vector.encrypted)), message);
    ASSERT_EQ(DecryptInitOp(rsa.alg, rsa.publicKey, rsa.chooser), 0);
    EXPECT_EQ(whole(kDecrypt, rsa.alg, hex(vector.signedBlock)), message) << "a public key opens type 1";
}

TEST(soft_operation_cipher_test, ALastRsaChunkThatIsNoBlockIsAWrongLength) {
    RsaPair rsa(512);
    ASSERT_EQ(DecryptInitOp(rsa.alg, rsa.privateKey, rsa.chooser), 0);
    Bytes input = hex(ofBits(512).encrypted);
    input.push_back(0);
    whole(kDecrypt, rsa.alg, input, -3);
    whole(kDecrypt, rsa.alg, Bytes(63), -3);
}

TEST(soft_operation_cipher_test, ABlockThatDoesNotOpenIsOneCode) {
    RsaPair rsa(512);
    ASSERT_EQ(DecryptInitOp(rsa.alg, rsa.privateKey, rsa.chooser), 0);
    whole(kDecrypt, rsa.alg, hex(ofBits(512).items[RSA_MODULUS]), -12);
    whole(kDecrypt, rsa.alg, hex(ofBits(512).signedBlock), -12);
    Bytes twoBlocks = hex(ofBits(512).encrypted);
    twoBlocks.resize(128, 0);
    whole(kDecrypt, rsa.alg, twoBlocks, -12);
}

TEST(soft_operation_cipher_test, RsaUpdatesTakeOneBlockAndTheFinalIsEmpty) {
    RsaPair rsa(1024);
    ASSERT_EQ(EncryptInitOp(rsa.alg, rsa.publicKey, rsa.chooser), 0);
    const Bytes input(118);
    Bytes output(128);
    std::uint32_t length = 0;
    EXPECT_EQ(EncryptUpdateOp(rsa.alg, input.data(), 118, output.data(), &length), -3);
    EXPECT_EQ(EncryptUpdateOp(rsa.alg, input.data(), 117, output.data(), &length), 0);
    EXPECT_EQ(length, 128U);
    EXPECT_EQ(EncryptFinalOp(rsa.alg, output.data(), &length), 0);
    EXPECT_EQ(length, 0U);
}

TEST(soft_operation_cipher_test, AKeyThatIsTooShortForABlockIsToldByTheOperation) {
    RsaPair rsa(88);
    const Bytes input(11);
    Bytes output(64);
    std::uint32_t length = 0;
    ASSERT_EQ(EncryptInitOp(rsa.alg, rsa.publicKey, rsa.chooser), 0);
    for (std::uint8_t* to : {static_cast<std::uint8_t*>(nullptr), output.data()}) {
        EXPECT_EQ(EncryptOp(rsa.alg, input.data(), 1, to, &length), -106);
        EXPECT_EQ(EncryptUpdateOp(rsa.alg, input.data(), 1, to, &length), -106);
    }
    ASSERT_EQ(DecryptInitOp(rsa.alg, rsa.privateKey, rsa.chooser), 0);
    for (std::uint8_t* to : {static_cast<std::uint8_t*>(nullptr), output.data()})
        EXPECT_EQ(DecryptOp(rsa.alg, input.data(), 11, to, &length), -106);
    static_cast<RSA_CTX*>(rsa.alg->context)->modulus[0] = 257;
    EXPECT_EQ(DecryptOp(rsa.alg, input.data(), 11, nullptr, &length), -103);
}

TEST(soft_operation_cipher_test, ARefusedRsaKeyIsToldByTheInit) {
    SoftChooser chooser;
    const Alg alg(AlgAllocRsa);
    rsakeys::Key source(ofBits(512));
    source.set(RSA_EXPONENT_1, {5});
    EXPECT_EQ(DecryptInitOp(alg, Key(KeyAllocRsaPrivate, source.items()), chooser), -14);
    source.set(RSA_MODULUS, Bytes(1025, 1));
    EXPECT_EQ(DecryptInitOp(alg, Key(KeyAllocRsaPrivate, source.items()), chooser), -10);
    expectClosed(kDecrypt, alg);
}

}  // namespace
