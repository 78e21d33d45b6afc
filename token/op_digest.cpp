// Digests and random bytes.
#include <algorithm>

#include "token/op.h"
#include "token/op_frame.h"

using token::bytesOf;
using token::Output;

namespace {

constexpr std::uint32_t kLongestDigest = 256;

}  // namespace

int VT_P11_OP::Digest(const VT_P11_Alg& alg, const MiByte& input, MiByte& output) {
    token::OwnedAlg object;
    if (object == nullptr)
        return crypto::kNoMemory;
    if (const int code =
            object.build([&](unsigned char** shell) { return alg.GetVCKAIObj(shell, token::kSecretClass); }))
        return code;
    Output result;
    if (const int code = result.allocate(kLongestDigest))
        return code;
    if (const int code = DigestInitOp(object, static_cast<CHOOSER*>(chooser)))
        return code;
    return result.take(output, [&](std::uint8_t* bytes, std::uint32_t* size) {
        return DigestOp(object, bytesOf(input), input.GetLength(), bytes, size);
    });
}

int VT_P11_OP::GenerateRandom(MiByte& output, int length, const MiByte& seed) {
    if (length < 0)
        return crypto::kWrongLength;
    token::OwnedAlg object;
    if (object == nullptr)
        return crypto::kNoMemory;
    if (const int code = AlgSetup(object.address(), AlgAllocHashChainRandom, nullptr))
        return code;
    Output result;
    if (const int code = result.allocate(static_cast<std::uint32_t>(length)))
        return code;
    // The generator writes nothing when memory runs out, and does not tell.
    std::fill_n(result.bytes(), result.length, std::uint8_t{0});
    if (const int code = RandomInitOp(object, bytesOf(seed), seed.GetLength(), static_cast<CHOOSER*>(chooser)))
        return code;
    return result.take(output,
                       [&](std::uint8_t* bytes, const std::uint32_t* size) { return RandomOp(object, bytes, *size); });
}
