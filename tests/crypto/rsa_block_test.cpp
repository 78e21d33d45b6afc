// Blocks of type 1 and 2, and the entries that make and open one.
#include <gtest/gtest.h>

#include <algorithm>

#include "crypto/rsa.h"
#include "tests/crypto/rsa_keys.h"

namespace {

using rsakeys::Bytes;
using rsakeys::bytesOf;
using rsakeys::hex;
using rsakeys::Key;
using rsakeys::lengthOf;
using rsakeys::load;
using rsakeys::loadPrivate;
using rsakeys::loadPublic;
using rsakeys::Number;
using rsakeys::number;
using rsakeys::ofBits;

using BlockFunction = int (*)(const RSA_CTX*, const std::uint8_t*, std::uint8_t*, std::int32_t);
using Entry = int (*)(void*, const std::uint8_t*, std::uint8_t*, std::uint32_t, std::uint32_t*);

constexpr BlockFunction kBlockFunctions[] = {RSA_EncryptBlock, RSA_SignBlock, RSA_RecoverBlock, RSA_DecryptBlock};

struct Result {
    int code;
    Bytes bytes;
};

// Into a block of exactly room bytes, so that the address checker sees one too many.
Result run(BlockFunction function, const RSA_CTX& context, const Bytes& input, std::size_t room) {
    Bytes output(room, 0x5A);
    const int code = function(&context, input.data(), output.data(), static_cast<std::int32_t>(input.size()));
    if (code < 0) {
        EXPECT_EQ(output, Bytes(room, 0x5A)) << "written on failure";
        return {code, {}};
    }
    output.resize(static_cast<std::size_t>(code));
    return {code, output};
}

Bytes noise(std::size_t length) {
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 89 + 3);
    return bytes;
}

// The keys that blocks fit into.
std::vector<const RsaKeyVector*> usableKeys() {
    std::vector<const RsaKeyVector*> keys;
    for (const RsaKeyVector& vector : kRsaKeys) {
        if (vector.bits >= 96)
            keys.push_back(&vector);
    }
    return keys;
}

TEST(rsa_block_test, EncryptBlockGivesTheBlockWithConstantFiller) {
    for (const RsaKeyVector* vector : usableKeys()) {
        const Result result = run(RSA_EncryptBlock, *loadPublic(*vector), hex(vector->message), lengthOf(*vector));
        EXPECT_EQ(result.bytes, hex(vector->constantPad)) << vector->bits;
    }
}

TEST(rsa_block_test, TwoEncryptionsOfOneMessageAreOneBlock) {
    const auto context = loadPublic(ofBits(1024));
    const Result first = run(RSA_EncryptBlock, *context, noise(50), 128);
    EXPECT_EQ(first.code, 128);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(run(RSA_EncryptBlock, *context, noise(50), 128).bytes, first.bytes);
}

TEST(rsa_block_test, TheFillerOfAnEncryptedBlockIsAllOnes) {
    const RsaKeyVector& vector = ofBits(1024);
    const auto context = loadPrivate(vector);
    const Bytes message = noise(40);
    const Result encrypted = run(RSA_EncryptBlock, *loadPublic(vector), message, 128);
    Number raw;
    RSA_PrivateOp(raw.data(), number(encrypted.bytes).data(), context->prime1, context->prime2, context->exponent1,
                  context->exponent2, context->coefficient);
    Bytes expected = {0, 2};
    expected.insert(expected.end(), 128 - 3 - 40, 0x01);
    expected.push_back(0);
    expected.insert(expected.end(), message.begin(), message.end());
    EXPECT_EQ(bytesOf(raw.data(), 128), expected);
}

TEST(rsa_block_test, DecryptBlockOpensBlocksOfAnotherProgramAndOurs) {
    for (const RsaKeyVector* vector : usableKeys()) {
        const auto context = loadPrivate(*vector);
        for (const char* block : {vector->encrypted, vector->constantPad}) {
            const Result result = run(RSA_DecryptBlock, *context, hex(block), lengthOf(*vector) - 11);
            EXPECT_EQ(result.bytes, hex(vector->message)) << vector->bits;
        }
    }
}

TEST(rsa_block_test, SignBlockGivesTheBlockOfAnotherProgram) {
    for (const RsaKeyVector* vector : usableKeys()) {
        const Result result = run(RSA_SignBlock, *loadPrivate(*vector), hex(vector->message), lengthOf(*vector));
        EXPECT_EQ(result.bytes, hex(vector->signedBlock)) << vector->bits;
    }
}

TEST(rsa_block_test, RecoverBlockOpensTheBlockOfAnotherProgram) {
    for (const RsaKeyVector* vector : usableKeys()) {
        const Result result =
            run(RSA_RecoverBlock, *loadPublic(*vector), hex(vector->signedBlock), lengthOf(*vector) - 11);
        EXPECT_EQ(result.bytes, hex(vector->message)) << vector->bits;
    }
}

TEST(rsa_block_test, DataOfEveryLengthThatFitsGoesThroughBothTypes) {
    for (const int bits : {96, 97, 512}) {
        const RsaKeyVector& vector = ofBits(bits);
        const auto publicKey = loadPublic(vector);
        const auto privateKey = loadPrivate(vector);
        const std::size_t k = lengthOf(vector);
        for (std::size_t length = 0; length <= k - 11; ++length) {
            const Bytes data = noise(length);
            const Result encrypted = run(RSA_EncryptBlock, *publicKey, data, k);
            ASSERT_EQ(encrypted.code, static_cast<int>(k));
            EXPECT_EQ(run(RSA_DecryptBlock, *privateKey, encrypted.bytes, k - 11).bytes, data) << bits << " " << length;
            const Result signedBlock = run(RSA_SignBlock, *privateKey, data, k);
            ASSERT_EQ(signedBlock.code, static_cast<int>(k));
            EXPECT_EQ(run(RSA_RecoverBlock, *publicKey, signedBlock.bytes, k - 11).bytes, data)
                << bits << " " << length;
        }
        EXPECT_EQ(run(RSA_EncryptBlock, *publicKey, noise(k - 10), k).code, -102) << bits;
        EXPECT_EQ(run(RSA_SignBlock, *privateKey, noise(k - 10), k).code, -102) << bits;
    }
}

TEST(rsa_block_test, ALengthThatIsNoneIsABadArgument) {
    const RsaKeyVector& vector = ofBits(512);
    const auto context = loadPrivate(vector);
    const Bytes input(65, 0);
    Bytes output(64);
    for (const BlockFunction function : {RSA_EncryptBlock, RSA_SignBlock}) {
        EXPECT_EQ(function(context.get(), input.data(), output.data(), -1), -102);
        EXPECT_EQ(function(context.get(), input.data(), output.data(), INT32_MIN), -102);
        EXPECT_EQ(function(context.get(), input.data(), output.data(), INT32_MAX), -102);
    }
    for (const BlockFunction function : {RSA_RecoverBlock, RSA_DecryptBlock}) {
        for (const std::int32_t length : {-1, 0, 1, 63, 65})
            EXPECT_EQ(function(context.get(), input.data(), output.data(), length), -102) << length;
    }
}

TEST(rsa_block_test, AModulusOf11BytesIsRefused) {
    const RsaKeyVector& vector = ofBits(88);
    const auto context = loadPrivate(vector);
    ASSERT_NE(context, nullptr) << "it is loaded";
    EXPECT_EQ(RSA_ModulusLength(context.get()), -106);
    for (const BlockFunction function : kBlockFunctions)
        EXPECT_EQ(run(function, *context, {}, 11).code, -106);
    std::uint32_t length = 0;
    Bytes block(11);
    for (const Entry entry : {RSA_Encrypt, RSA_Decrypt}) {
        EXPECT_EQ(entry(context.get(), block.data(), block.data(), 11, &length), -106);
        EXPECT_EQ(entry(context.get(), block.data(), nullptr, 2000, &length), -106) << "before the length is looked at";
    }
}

TEST(rsa_block_test, AModulusOf12BytesTakesOneByte) {
    const auto context = loadPublic(ofBits(96));
    EXPECT_EQ(RSA_ModulusLength(context.get()), 12);
    EXPECT_EQ(run(RSA_EncryptBlock, *context, {7}, 12).code, 12);
    EXPECT_EQ(run(RSA_EncryptBlock, *context, {7, 7}, 12).code, -102);
}

TEST(rsa_block_test, AContextWithAModulusAbove1024BytesIsRefused) {
    const auto context = loadPrivate(ofBits(512));
    context->modulus[0] = 257;  // no load gives that
    EXPECT_EQ(RSA_ModulusLength(context.get()), -103);
    for (const BlockFunction function : kBlockFunctions)
        EXPECT_EQ(run(function, *context, {1}, 1028).code, -103);
    std::uint32_t length = 0;
    const Bytes input(1028);
    Bytes output(1028);
    EXPECT_EQ(RSA_Encrypt(context.get(), input.data(), output.data(), 1, &length), -103);
    EXPECT_EQ(RSA_Decrypt(context.get(), input.data(), output.data(), 1028, &length), -103);
}

TEST(rsa_block_test, ABlockThatIsNotBelowTheModulusIsRefused) {
    const RsaKeyVector& vector = ofBits(512);
    const auto publicKey = loadPublic(vector);
    const auto privateKey = loadPrivate(vector);
    std::uint32_t length = 0;
    Bytes output(53);
    for (const Bytes& block : {hex(vector.items[RSA_MODULUS]), Bytes(64, 0xFF)}) {
        EXPECT_EQ(run(RSA_RecoverBlock, *publicKey, block, 53).code, -104);
        EXPECT_EQ(run(RSA_DecryptBlock, *privateKey, block, 53).code, -104);
        EXPECT_EQ(RSA_Decrypt(publicKey.get(), block.data(), output.data(), 64, &length), -12);
        EXPECT_EQ(RSA_Decrypt(privateKey.get(), block.data(), output.data(), 64, &length), -12);
    }
    Bytes below = hex(vector.items[RSA_MODULUS]);
    below.back() -= 1;
    EXPECT_EQ(run(RSA_RecoverBlock, *publicKey, below, 53).code, -105) << "n - 1 is below n";
}

// The two keys of the 512-bit vector, and what opens when a plain block is put under the other key's operation.
class Forge {
  public:
    Result recover(const Bytes& block) const {
        Number power;
        RSA_PrivateOp(power.data(), number(block).data(), private_->prime1, private_->prime2, private_->exponent1,
                      private_->exponent2, private_->coefficient);
        return open(RSA_RecoverBlock, *public_, bytesOf(power.data(), 64));
    }
    Result decrypt(const Bytes& block) const {
        Number power;
        RSA_PublicOp(power.data(), number(block).data(), public_->publicExponent, public_->modulus);
        return open(RSA_DecryptBlock, *private_, bytesOf(power.data(), 64));
    }

  private:
    // The object level folds every failure into one code.
    static Result open(BlockFunction function, RSA_CTX& context, const Bytes& block) {
        Result result = run(function, context, block, 53);
        Bytes output(53, 0x5A);
        std::uint32_t length = 77;
        const int code = RSA_Decrypt(&context, block.data(), output.data(), 64, &length);
        EXPECT_EQ(code, result.code < 0 ? -12 : 0);
        EXPECT_EQ(length, result.code < 0 ? 77U : static_cast<std::uint32_t>(result.code));
        return result;
    }

    std::unique_ptr<RSA_CTX> public_ = loadPublic(ofBits(512));
    std::unique_ptr<RSA_CTX> private_ = loadPrivate(ofBits(512));
};

// 00, the type, count bytes of filler, then 00 and data up to 64 bytes.
Bytes blockOf(std::uint8_t type, std::uint8_t filler, std::size_t count) {
    Bytes block = {0, type};
    block.insert(block.end(), count, filler);
    block.push_back(0);
    while (block.size() < 64)
        block.push_back(static_cast<std::uint8_t>(block.size()));
    return block;
}

TEST(rsa_block_test, AType1BlockNeedsEightFillerBytes) {
    const Forge forge;
    for (std::size_t count = 0; count <= 61; ++count) {
        const Bytes block = blockOf(1, 0xFF, count);
        const Result result = forge.recover(block);
        if (count < 8) {
            EXPECT_EQ(result.code, -105) << count;
        } else {
            EXPECT_EQ(result.bytes, Bytes(block.begin() + static_cast<std::ptrdiff_t>(count) + 3, block.end()))
                << count;
            EXPECT_EQ(result.code, static_cast<int>(61 - count));
        }
    }
}

TEST(rsa_block_test, AType2BlockNeedsEightFillerBytesThatAreNotZero) {
    const Forge forge;
    for (std::size_t count = 0; count <= 61; ++count) {
        const Bytes block = blockOf(2, 0xA5, count);
        const Result result = forge.decrypt(block);
        if (count < 8) {
            EXPECT_EQ(result.code, -105) << count;
        } else {
            EXPECT_EQ(result.bytes, Bytes(block.begin() + static_cast<std::ptrdiff_t>(count) + 3, block.end()))
                << count;
        }
    }
}

TEST(rsa_block_test, AType2BlockMayHaveAnyFillerButZero) {
    const Forge forge;
    Bytes block = blockOf(2, 0xFF, 8);
    for (std::size_t i = 2; i < 10; ++i) {
        Bytes broken = block;
        broken[i] = 0;
        EXPECT_EQ(forge.decrypt(broken).code, -105) << i;
        block[i] = static_cast<std::uint8_t>(i);
    }
    EXPECT_EQ(forge.decrypt(block).code, 53);
}

TEST(rsa_block_test, AType1BlockEndsItsFillerWithZeroAlone) {
    const Forge forge;
    for (const unsigned end : {1U, 0x7FU, 0xFEU}) {
        Bytes block = blockOf(1, 0xFF, 20);
        block[22] = static_cast<std::uint8_t>(end);
        EXPECT_EQ(forge.recover(block).code, -105) << end;
    }
}

TEST(rsa_block_test, ABlockWithoutAnEndOfItsFillerIsRefused) {
    const Forge forge;
    Bytes block(64, 0xFF);
    block[0] = 0;
    block[1] = 1;
    EXPECT_EQ(forge.recover(block).code, -105);
    block[1] = 2;
    EXPECT_EQ(forge.decrypt(block).code, -105);
}

// The block of the longest modulus fills its array: the address sanitizer guards the end. To the power of 1 it is
// itself.
TEST(rsa_block_test, FillerWithoutAnEndIsReadNoFurtherThanTheLongestBlock) {
    Key key(ofBits(512));
    key.set(RSA_MODULUS, Bytes(MPI_MAX_BYTES, 0xFF));
    key.set(RSA_PUBLIC_EXPONENT, {1});
    const auto context = load(key.items(), RSA_PUBLIC_LENGTH);
    ASSERT_NE(context, nullptr);
    Bytes block(MPI_MAX_BYTES, 0xFF);
    block[0] = 0;
    block[1] = 1;
    EXPECT_EQ(run(RSA_RecoverBlock, *context, block, MPI_MAX_BYTES).code, -105);
    block.back() = 0;
    const Result empty = run(RSA_RecoverBlock, *context, block, MPI_MAX_BYTES);
    EXPECT_EQ(empty.code, 0);
    EXPECT_EQ(empty.bytes, Bytes());
}

TEST(rsa_block_test, ABlockBeginsWithZeroAndItsType) {
    const Forge forge;
    for (unsigned type = 0; type < 256; ++type) {
        EXPECT_EQ(forge.recover(blockOf(static_cast<std::uint8_t>(type), 0xFF, 20)).code, type == 1 ? 41 : -105);
        EXPECT_EQ(forge.decrypt(blockOf(static_cast<std::uint8_t>(type), 0xFF, 20)).code, type == 2 ? 41 : -105);
    }
    for (const unsigned first : {1U, 2U, 0x40U}) {
        Bytes block = blockOf(1, 0xFF, 20);
        block[0] = static_cast<std::uint8_t>(first);
        EXPECT_EQ(forge.recover(block).code, -105) << first;
        block[1] = 2;
        EXPECT_EQ(forge.decrypt(block).code, -105) << first;
    }
}

TEST(rsa_block_test, AnEntryMakesOrOpensByTheKindOfKey) {
    const RsaKeyVector& vector = ofBits(1024);
    const auto publicKey = loadPublic(vector);
    const auto privateKey = loadPrivate(vector);
    const Bytes message = hex(vector.message);
    struct Row {
        Entry entry;
        RSA_CTX* key;
        Bytes input;
        Bytes output;
    };
    const Row rows[] = {{RSA_Encrypt, publicKey.get(), message, hex(vector.constantPad)},
                        {RSA_Encrypt, privateKey.get(), message, hex(vector.signedBlock)},
                        {RSA_Decrypt, publicKey.get(), hex(vector.signedBlock), message},
                        {RSA_Decrypt, privateKey.get(), hex(vector.encrypted), message}};
    for (const Row& row : rows) {
        Bytes output(128);
        std::uint32_t length = 0;
        EXPECT_EQ(
            row.entry(row.key, row.input.data(), output.data(), static_cast<std::uint32_t>(row.input.size()), &length),
            0);
        output.resize(length);
        EXPECT_EQ(output, row.output);
    }
    EXPECT_EQ(run(RSA_RecoverBlock, *publicKey, hex(vector.encrypted), 117).code, -105);
    EXPECT_EQ(run(RSA_DecryptBlock, *privateKey, hex(vector.signedBlock), 117).code, -105);
}

TEST(rsa_block_test, EncryptTakesUpTo11BytesLessThanTheModulus) {
    for (const RsaKeyVector* vector : usableKeys()) {
        const auto context = loadPublic(*vector);
        const auto k = static_cast<std::uint32_t>(lengthOf(*vector));
        const Bytes data = noise(k);
        Bytes output(k);
        std::uint32_t length = 0;
        EXPECT_EQ(RSA_Encrypt(context.get(), data.data(), output.data(), k - 11, &length), 0) << vector->bits;
        EXPECT_EQ(length, k);
        length = 5;
        EXPECT_EQ(RSA_Encrypt(context.get(), data.data(), output.data(), k - 10, &length), -3) << vector->bits;
        EXPECT_EQ(RSA_Encrypt(context.get(), data.data(), nullptr, k - 10, &length), -3) << vector->bits;
        EXPECT_EQ(RSA_Encrypt(context.get(), data.data(), output.data(), UINT32_MAX, &length), -3) << vector->bits;
        EXPECT_EQ(length, 5U);
        EXPECT_EQ(RSA_Encrypt(context.get(), data.data(), nullptr, 0, &length), 0) << vector->bits;
        EXPECT_EQ(length, k);
    }
}

TEST(rsa_block_test, DecryptTakesABlockOfTheModulusLengthAlone) {
    for (const RsaKeyVector* vector : usableKeys()) {
        const auto context = loadPrivate(*vector);
        const auto k = static_cast<std::uint32_t>(lengthOf(*vector));
        const Bytes block = hex(vector->encrypted);
        Bytes output(k);
        std::uint32_t length = 5;
        for (const std::uint32_t wrong : {0U, 1U, k - 1, k + 1, UINT32_MAX}) {
            EXPECT_EQ(RSA_Decrypt(context.get(), block.data(), output.data(), wrong, &length), -3) << vector->bits;
            EXPECT_EQ(RSA_Decrypt(context.get(), block.data(), nullptr, wrong, &length), -3) << vector->bits;
        }
        EXPECT_EQ(length, 5U);
    }
}

TEST(rsa_block_test, DecryptWithoutOutputReportsTheMostWithoutComputing) {
    const auto context = loadPrivate(ofBits(1024));
    const Bytes notBelow(128, 0xFF);
    std::uint32_t length = 0;
    EXPECT_EQ(RSA_Decrypt(context.get(), notBelow.data(), nullptr, 128, &length), 0);
    EXPECT_EQ(length, 117U);
}

TEST(rsa_block_test, EntriesNeedContextInputAndLength) {
    const auto context = loadPublic(ofBits(512));
    const Bytes input(64);
    Bytes output(64);
    std::uint32_t length = 0;
    for (const Entry entry : {RSA_Encrypt, RSA_Decrypt}) {
        EXPECT_EQ(entry(nullptr, input.data(), output.data(), 64, &length), -2);
        EXPECT_EQ(entry(context.get(), nullptr, output.data(), 64, &length), -2);
        EXPECT_EQ(entry(context.get(), nullptr, output.data(), 0, &length), -2);
        EXPECT_EQ(entry(context.get(), input.data(), output.data(), 64, nullptr), -2);
    }
}

TEST(rsa_block_test, BlocksLeaveTheContextAsItIs) {
    const RsaKeyVector& vector = ofBits(512);
    const auto context = loadPrivate(vector);
    const auto before = std::make_unique<RSA_CTX>(*context);
    run(RSA_SignBlock, *context, hex(vector.message), 64);
    run(RSA_DecryptBlock, *context, hex(vector.encrypted), 53);
    run(RSA_DecryptBlock, *context, Bytes(64, 0xFF), 53);
    EXPECT_EQ(context->isPrivate, before->isPrivate);
    EXPECT_EQ(context->signatureLength, before->signatureLength);
    EXPECT_TRUE(std::equal(std::begin(context->signature), std::end(context->signature), before->signature));
    EXPECT_EQ(MPI_Compare(context->prime1, before->prime1), 0);
    EXPECT_EQ(MPI_Compare(context->prime2, before->prime2), 0);
    EXPECT_EQ(MPI_Compare(context->modulus, before->modulus), 0);
}

}  // namespace
