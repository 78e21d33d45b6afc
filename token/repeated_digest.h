// A digest of a digest of a digest, as keys are made of passwords. For pki.
#ifndef VT_TOKEN_REPEATED_DIGEST_H
#define VT_TOKEN_REPEATED_DIGEST_H

class MiByte;
class VT_P11_OP;

namespace token {

struct RepeatedDigest {
    // sha1 gives what this does, times counted from 1:
    //
    //     op.Digest(alg, input, digest);                            // alg: algorithm 1
    //     while (--times > 0) op.Digest(alg, digest, digest);
    //
    // In software without an object, or an allocation, for each turn.
    static int sha1(VT_P11_OP& op, const MiByte& input, int times, MiByte& digest);
};

}  // namespace token

#endif
