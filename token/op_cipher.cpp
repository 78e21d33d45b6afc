// Encryption and decryption, and the two signatures that give back what they are made of.
#include <algorithm>

#include "token/op.h"
#include "token/op_frame.h"

namespace {

using token::bytesOf;
using token::Frame;
using token::isOnToken;
using token::Output;

using Init = decltype(&EncryptInitOp);
using Run = decltype(&EncryptOp);

// What Encrypt and SignRecover allow for beside the input, as callers of 1024-bit keys know it.
constexpr std::uint64_t kExpansion = 128;

bool isRsa(const ALG_OBJ* alg) {
    const CK_MECHANISM_TYPE code = alg->mechanism->code;
    return code == CKM_RSA_PKCS || code == CKM_MD2_RSA_PKCS || code == CKM_MD5_RSA_PKCS || code == CKM_SHA1_RSA_PKCS;
}

// The byte length of the modulus. Of a key in a token that is not known: the longest one then.
std::uint64_t modulusLength(const KEY_OBJ* key) {
    if (key->isTokenObject != 0)
        return MPI_MAX_BYTES;
    if (!KeyIsRsa(key) || key->data == nullptr)
        return 0;
    const KEY_ITEM& modulus = static_cast<const KEY_ITEM*>(key->data)[RSA_MODULUS];
    std::uint32_t zeros = 0;
    while (zeros < modulus.length && modulus.bytes[zeros] == 0)
        ++zeros;
    return modulus.length - zeros;
}

// The room for one block, or for all the blocks that software makes of an input.
std::uint64_t roomForBlock(const Frame& frame, std::uint32_t length) {
    return std::max(length + kExpansion, isRsa(frame.alg) ? modulusLength(frame.key) : 0);
}

std::uint64_t roomForBlocks(const Frame& frame, std::uint32_t length) {
    const std::uint64_t k = isRsa(frame.alg) ? modulusLength(frame.key) : 0;
    if (k <= RSA_BLOCK_OVERHEAD)
        return length + kExpansion;
    const std::uint64_t data = k - RSA_BLOCK_OVERHEAD;
    return std::max(length + kExpansion, (length + data - 1) / data * k);
}

// The frame around an init and its run, with room for so many bytes.
int transform(Frame& frame, CHOOSER* chooser, Init init, Run run, const MiByte& input, std::uint64_t room,
              MiByte& output) {
    Output result;
    if (const int code = result.allocate(room))
        return code;
    if (const int code = init(frame.alg, frame.key, chooser))
        return code;
    return result.take(output, [&](std::uint8_t* bytes, std::uint32_t* length) {
        return run(frame.alg, bytesOf(input), input.GetLength(), bytes, length);
    });
}

// RSA with the size of the output asked for first.
int transformBig(CHOOSER* chooser, Init init, Run run, const VT_P11_Key& key, const MiByte& input, MiByte& output) {
    Frame frame;
    if (const int code = frame.buildKey(key, key.getAK()))
        return code;
    if (frame.alg == nullptr)
        return crypto::kNoMemory;
    if (const int code = AlgSetup(frame.alg.address(), AlgAllocRsa, nullptr))
        return code;
    if (const int code = init(frame.alg, frame.key, chooser))
        return code;
    const auto runInto = [&](std::uint8_t* bytes, std::uint32_t* length) {
        return run(frame.alg, bytesOf(input), input.GetLength(), bytes, length);
    };
    Output result;
    std::uint32_t size = 0;
    int code = runInto(nullptr, &size);
    if (code == 0)
        code = result.allocate(size);
    if (code != 0) {
        if (code < 0 && isOnToken(chooser))  // a size that is refused here: the module waits for the call with room
            Output::drop(runInto);
        return code;
    }
    return result.take(output, runInto);
}

}  // namespace

int VT_P11_OP::Encrypt(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output) {
    Frame frame;
    if (const int code = frame.build(alg, key))
        return code;
    auto* where = static_cast<CHOOSER*>(chooser);
    const auto room = isOnToken(where) ? roomForBlock : roomForBlocks;
    return transform(frame, where, EncryptInitOp, EncryptOp, input, room(frame, input.GetLength()), output);
}

int VT_P11_OP::Decrypt(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output) {
    Frame frame;
    if (const int code = frame.build(alg, key))
        return code;
    auto* where = static_cast<CHOOSER*>(chooser);
    return transform(frame, where, DecryptInitOp, DecryptOp, input, input.GetLength(), output);
}

int VT_P11_OP::VerifyRecover(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output) {
    return Decrypt(alg, key, input, output);
}

int VT_P11_OP::SignRecover(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output) {
    Frame frame;
    if (const int code = frame.build(alg, key))
        return code;
    auto* where = static_cast<CHOOSER*>(chooser);
    return transform(frame, where, SignInitOp, SignOp, input, roomForBlock(frame, input.GetLength()), output);
}

int VT_P11_OP::RSABigEncrypt(const VT_P11_Key& key, const MiByte& input, MiByte& output) {
    return transformBig(static_cast<CHOOSER*>(chooser), EncryptInitOp, EncryptOp, key, input, output);
}

int VT_P11_OP::RSABigDecrypt(const VT_P11_Key& key, const MiByte& input, MiByte& output) {
    return transformBig(static_cast<CHOOSER*>(chooser), DecryptInitOp, DecryptOp, key, input, output);
}
