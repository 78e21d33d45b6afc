// operation.h: signing and verifying.
#include <algorithm>
#include <array>
#include <cstring>

#include "crypto/operation_steps.h"
#include "crypto/soft_table.h"

namespace {

using operation::begin;
using operation::isAbsent;
using operation::onToken;
using operation::ready;
using operation::usesToken;

// What a signature is made over, or what it opened to: a digest, or all that a block carries.
struct Text {
    std::array<std::uint8_t, MPI_MAX_BYTES> bytes;
    std::uint32_t length;
};

// The two contexts of an algorithm object; digest is null under CKM_RSA_PKCS.
struct Contexts {
    void* digest;
    RSA_CTX* rsa;
};

Contexts contextsOf(const ALG_OBJ* alg) {
    if (!softtable::isDigestWithRsa(alg->mechanism->code))
        return {nullptr, static_cast<RSA_CTX*>(alg->context)};
    const auto* pair = static_cast<const DIGEST_RSA_PAIR*>(alg->context);
    return {pair->digest, pair->rsa};
}

// Sets the RSA slots by rsaSlots, and those of the digest, if the mechanism has one; loads the key into the RSA context
// by the slot rsaInit, and starts the digest.
int beginSoft(ALG_OBJ* alg, KEY_OBJ* key, SOFT_TABLE& table, int (*rsaSlots)(SOFT_TABLE&, CK_MECHANISM_TYPE),
              CipherInit SOFT_TABLE::*rsaInit) {
    const MECHANISM& mechanism = *alg->mechanism;
    const bool hasDigest = softtable::isDigestWithRsa(mechanism.code);
    if (!hasDigest && mechanism.code != CKM_RSA_PKCS)
        return crypto::kUnsupportedMechanism;
    rsaSlots(table, CKM_RSA_PKCS);
    if (hasDigest)
        softtable::digestSlots(table, softtable::digestOf(mechanism.code));
    if (const int code = softtable::fits(mechanism, key))
        return code;
    if (alg->context == nullptr)
        return crypto::kArgumentAbsent;
    const Contexts contexts = contextsOf(alg);
    if (const int code = softtable::run(table.*rsaInit, contexts.rsa, *key, mechanism))
        return code;
    return hasDigest ? table.digestInit(contexts.digest) : 0;
}

int absorb(const SOFT_TABLE& table, void* digest, const std::uint8_t* input, std::uint32_t length) {
    return length == 0 ? 0 : table.digestUpdate(digest, input, length);
}

// Finishes the digest. Without an output it only tells the length, so that a query of the size leaves the digest open.
int finish(const SOFT_TABLE& table, void* digest, bool forOutput, Text& text) {
    return table.digestFinal(digest, forOutput ? text.bytes.data() : nullptr, &text.length);
}

// isSigning and isVerifying look for the entry itself: the slot of a cipher takes another context.
bool isSigning(const SOFT_TABLE& table) {
    return table.encryptUpdate == RSA_Encrypt;
}

bool isVerifying(const SOFT_TABLE& table) {
    return table.decryptUpdate == RSA_Decrypt;
}

bool areEqual(const std::uint8_t* a, std::uint32_t aLength, const std::uint8_t* b, std::uint32_t bLength) {
    return aLength == bLength && std::equal(a, a + aLength, b);
}

}  // namespace

int SignInitOp(ALG_OBJ* alg, KEY_OBJ* key, CHOOSER* chooser) {
    return begin(
        alg, chooser, [&] { return onToken(TokenSide().signInit, alg, key); },
        [&](SOFT_TABLE& table) {
            return beginSoft(alg, key, table, softtable::encryptSlots, &SOFT_TABLE::encryptInit);
        });
}

int SignUpdateOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().signUpdate, alg, input, length);
    const SOFT_TABLE& table = *alg->chooser->soft;
    if (!isSigning(table))
        return crypto::kNoChooser;
    if (isAbsent(input, length))
        return crypto::kArgumentAbsent;
    const Contexts contexts = contextsOf(alg);
    if (contexts.digest != nullptr)
        return absorb(table, contexts.digest, input, length);
    std::uint32_t signatureLength = 0;
    if (const int code = table.encryptUpdate(contexts.rsa, input, contexts.rsa->signature, length, &signatureLength))
        return code;
    contexts.rsa->signatureLength = static_cast<std::int32_t>(signatureLength);
    return 0;
}

int SignFinalOp(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t* outputLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().signFinal, alg, output, outputLength);
    const SOFT_TABLE& table = *alg->chooser->soft;
    if (!isSigning(table))
        return crypto::kNoChooser;
    if (outputLength == nullptr)
        return crypto::kArgumentAbsent;
    const Contexts contexts = contextsOf(alg);
    if (contexts.digest != nullptr) {
        Text digest = {};
        finish(table, contexts.digest, output != nullptr, digest);
        return table.encryptUpdate(contexts.rsa, digest.bytes.data(), output, digest.length, outputLength);
    }
    const int k = RSA_ModulusLength(contexts.rsa);
    if (k < 0)
        return k;
    *outputLength = static_cast<std::uint32_t>(k);
    if (output != nullptr) {
        std::copy_n(contexts.rsa->signature, k, output);
        *outputLength = static_cast<std::uint32_t>(contexts.rsa->signatureLength);
    }
    return 0;
}

int SignOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
           std::uint32_t* outputLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().sign, alg, input, length, output, outputLength);
    if (outputLength == nullptr)
        return crypto::kArgumentAbsent;
    if (output != nullptr) {
        if (const int code = SignUpdateOp(alg, input, length))
            return code;
    }
    return SignFinalOp(alg, output, outputLength);
}

int VerifyInitOp(ALG_OBJ* alg, KEY_OBJ* key, CHOOSER* chooser) {
    return begin(
        alg, chooser, [&] { return onToken(TokenSide().verifyInit, alg, key); },
        [&](SOFT_TABLE& table) {
            return beginSoft(alg, key, table, softtable::decryptSlots, &SOFT_TABLE::decryptInit);
        });
}

int VerifyUpdateOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().verifyUpdate, alg, input, length);
    const SOFT_TABLE& table = *alg->chooser->soft;
    if (!isVerifying(table))
        return crypto::kNoChooser;
    if (isAbsent(input, length))
        return crypto::kArgumentAbsent;
    const Contexts contexts = contextsOf(alg);
    if (contexts.digest != nullptr)
        return absorb(table, contexts.digest, input, length);
    if (length > sizeof contexts.rsa->signature)
        return crypto::kWrongLength;
    std::copy_n(input, length, contexts.rsa->signature);
    contexts.rsa->signatureLength = static_cast<std::int32_t>(length);
    return 0;
}

int VerifyFinalOp(ALG_OBJ* alg, const std::uint8_t* signature, std::uint32_t signatureLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().verifyFinal, alg, signature, signatureLength);
    const SOFT_TABLE& table = *alg->chooser->soft;
    if (!isVerifying(table))
        return crypto::kNoChooser;
    if (signature == nullptr)
        return crypto::kArgumentAbsent;
    const Contexts contexts = contextsOf(alg);
    Text opened;
    Text digest;
    if (contexts.digest != nullptr)
        finish(table, contexts.digest, true, digest);
    const int code = table.decryptUpdate(contexts.rsa, signature, opened.bytes.data(), signatureLength, &opened.length);
    if (contexts.digest != nullptr) {
        if (code != 0)
            return code;
        const bool same = areEqual(opened.bytes.data(), opened.length, digest.bytes.data(), digest.length);
        return same ? 0 : crypto::kVerificationFailed;
    }
    const auto keptLength = static_cast<std::uint32_t>(contexts.rsa->signatureLength);
    const bool same = code == 0 && areEqual(opened.bytes.data(), opened.length, contexts.rsa->signature, keptLength);
    return same ? 0 : crypto::kVerificationFailed;
}

int VerifyOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, const std::uint8_t* signature,
             std::uint32_t signatureLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().verify, alg, input, length, signature, signatureLength);
    if (const int code = VerifyUpdateOp(alg, input, length))
        return code;
    return VerifyFinalOp(alg, signature, signatureLength);
}
