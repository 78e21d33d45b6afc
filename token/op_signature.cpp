// Signatures and their verification.
#include "token/op.h"
#include "token/op_frame.h"

using token::bytesOf;
using token::Frame;
using token::isOnToken;
using token::Output;

namespace {

// The most that a signature of Sign takes. Callers hold it in fixed buffers, made for keys of up to 2048 bits.
constexpr std::uint32_t kLongestSignature = 258;

// The engine writes a whole signature, whatever the room. A token is told the room.
int checkLength(ALG_OBJ* alg) {
    std::uint32_t length = 0;
    if (const int code = SignOp(alg, nullptr, 0, nullptr, &length))
        return code;
    return length > kLongestSignature ? crypto::kWrongLength : 0;
}

}  // namespace

int VT_P11_OP::Sign(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& input, MiByte& output) {
    Frame frame;
    if (const int code = frame.build(alg, key))
        return code;
    Output result;
    if (const int code = result.allocate(kLongestSignature))
        return code;
    auto* where = static_cast<CHOOSER*>(chooser);
    if (const int code = SignInitOp(frame.alg, frame.key, where))
        return code;
    if (!isOnToken(where)) {
        if (const int code = checkLength(frame.alg))
            return code;
    }
    return result.take(output, [&](std::uint8_t* bytes, std::uint32_t* length) {
        return SignOp(frame.alg, bytesOf(input), input.GetLength(), bytes, length);
    });
}

int VT_P11_OP::Verify(const VT_P11_Alg& alg, const VT_P11_Key& key, const MiByte& data, const MiByte& signature) {
    Frame frame;
    if (const int code = frame.build(alg, key))
        return code;
    if (chooser == nullptr)
        return crypto::kNoChooser;
    if (const int code = VerifyInitOp(frame.alg, frame.key, static_cast<CHOOSER*>(chooser)))
        return code;
    return VerifyOp(frame.alg, bytesOf(data), data.GetLength(), bytesOf(signature), signature.GetLength());
}
