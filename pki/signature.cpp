#include "pki/signature.h"

#include "pki/content.h"
#include "schema/schema.h"
#include "token/token.h"

namespace pki {

namespace {

constexpr SignatureAlgorithm kAlgorithms[] = {
    {"1.2.840.113549.1.1.1", 0},
    {"1.2.840.113549.1.1.2", token::kMd2},
    {"1.2.840.113549.1.1.4", token::kMd5},
    {"1.2.840.113549.1.1.5", token::kSha1},
};

// A block under a key of 1024 bits takes 117 bytes, and the limit is one less.
constexpr unsigned int kTooLongWithoutDigest = 117;

}  // namespace

const SignatureAlgorithm* signatureAlgorithmOf(const AsnOid& identifier) {
    for (const SignatureAlgorithm& known : kAlgorithms) {
        if (identifier.GetData() == known.identifier)
            return &known;
    }
    return nullptr;
}

int signedValue(VT_P11_OP& op, const SignatureAlgorithm& algorithm, const MiByte& text, MiByte& value) {
    if (algorithm.digest == 0) {
        if (text.GetLength() >= kTooLongWithoutDigest)
            return token::kTooLong;
        value = text;
        return 0;
    }
    VT_P11_Alg digest;
    const int result = digest.setAlgType(algorithm.digest);
    return result != 0 ? result : op.Digest(digest, text, value);
}

int valueInside(const MiByte& opened, MiByte& value) {
    DigestInfo info;
    decodeDer(opened, info);
    const AsnOctetString* const digest = info.GetDigest();
    if (digest == nullptr)
        return token::kElementAbsent;
    value = digest->GetData();
    return 0;
}

}  // namespace pki
