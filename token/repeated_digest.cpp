#include "token/repeated_digest.h"

#include "crypto/sha1.h"
#include "token/op.h"
#include "token/op_frame.h"

namespace {

constexpr std::uint32_t kDigestLength = 20;

int callByCall(VT_P11_OP& op, const MiByte& input, int times, MiByte& digest) {
    VT_P11_Alg sha1;
    int code = sha1.setAlgType(token::kSha1);
    if (code == 0)
        code = op.Digest(sha1, input, digest);
    for (; times > 1 && code == 0; --times)
        code = op.Digest(sha1, digest, digest);
    return code;
}

void inOneGo(const MiByte& input, int times, MiByte& digest) {
    SHA1_CTX context;
    SHA1_Init(&context);
    SHA1_Update(&context, token::bytesOf(input), input.GetLength());
    std::uint8_t bytes[kDigestLength];
    std::uint32_t length = 0;
    SHA1_Final(&context, bytes, &length);
    if (times > 1)
        SHA1_Repeat(bytes, static_cast<std::uint32_t>(times) - 1);
    digest.SetByte(reinterpret_cast<const char*>(bytes), length);
}

}  // namespace

int token::RepeatedDigest::sha1(VT_P11_OP& op, const MiByte& input, int times, MiByte& digest) {
    const auto* where = static_cast<const CHOOSER*>(op.chooser);
    if (where == nullptr || isOnToken(where))
        return callByCall(op, input, times, digest);
    inOneGo(input, times, digest);
    return 0;
}
