#include <algorithm>

#include "crypto/operation_steps.h"
#include "crypto/soft_table.h"

namespace {

using operation::begin;
using operation::isAbsent;
using operation::onToken;
using operation::ready;
using operation::slotOf;
using operation::usesToken;

// What a size query of the modes adds to the input: a held block and the padding, less a byte.
constexpr std::uint32_t kMostAdded = 15;

// Stores a size if it can be told in 32 bits.
int report(std::uint64_t size, std::uint32_t* outputLength) {
    if (size > UINT32_MAX)
        return crypto::kWrongLength;
    *outputLength = static_cast<std::uint32_t>(size);
    return 0;
}

// RSA takes chunks of takes bytes, and makes up to gives bytes of each.
struct Chunks {
    std::uint32_t takes;
    std::uint32_t gives;
};

int reportChunks(const Chunks& chunks, std::uint32_t length, std::uint32_t* outputLength) {
    const std::uint64_t count = (std::uint64_t{chunks.takes} - 1 + length) / chunks.takes;
    return report(count * chunks.gives, outputLength);
}

// One direction of the one-shot operations.
struct Direction {
    decltype(&EncryptUpdateOp) update;
    decltype(&EncryptFinalOp) final;
    bool encrypts;
};

// Input in chunks of step bytes through the updates, each at the end of the output so far, and the final after them.
int runChunks(const Direction& direction, ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length,
              std::uint32_t step, std::uint8_t* output, std::uint32_t* outputLength) {
    std::uint32_t total = 0;
    std::uint32_t made = 0;
    for (std::uint32_t taken = 0; taken < length; taken += std::min(step, length - taken)) {
        if (const int code =
                direction.update(alg, input + taken, std::min(step, length - taken), output + total, &made))
            return code;
        total += made;
    }
    if (const int code = direction.final(alg, output + total, &made))
        return code;
    *outputLength = total + made;
    return 0;
}

int runWhole(const Direction& direction, ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length,
             std::uint8_t* output, std::uint32_t* outputLength) {
    if (outputLength == nullptr || isAbsent(input, length))
        return crypto::kArgumentAbsent;
    if (length == 0) {
        *outputLength = 0;
        return 0;
    }
    if (alg->mechanism->code != CKM_RSA_PKCS) {
        return output == nullptr ? report(std::uint64_t{length} + kMostAdded, outputLength)
                                 : runChunks(direction, alg, input, length, length, output, outputLength);
    }
    if (alg->context == nullptr)
        return crypto::kArgumentAbsent;
    const int k = RSA_ModulusLength(static_cast<const RSA_CTX*>(alg->context));
    if (k < 0)
        return k;
    const auto block = static_cast<std::uint32_t>(k);
    const std::uint32_t data = block - RSA_BLOCK_OVERHEAD;
    const Chunks chunks = direction.encrypts ? Chunks{data, block} : Chunks{block, data};
    return output == nullptr ? reportChunks(chunks, length, outputLength)
                             : runChunks(direction, alg, input, length, chunks.takes, output, outputLength);
}

}  // namespace

int EncryptInitOp(ALG_OBJ* alg, KEY_OBJ* key, CHOOSER* chooser) {
    return begin(
        alg, chooser, [&] { return onToken(TokenSide().encryptInit, alg, key); },
        [&](SOFT_TABLE& table) {
            if (const int code = softtable::encryptSlots(table, alg->mechanism->code))
                return code;
            if (const int code = softtable::fits(*alg->mechanism, key))
                return code;
            return softtable::run(table.encryptInit, alg->context, *key, *alg->mechanism);
        });
}

int EncryptUpdateOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
                    std::uint32_t* outputLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().encryptUpdate, alg, input, length, output, outputLength);
    const CipherUpdate update = slotOf(alg, &SOFT_TABLE::encryptUpdate);
    return update == nullptr ? crypto::kNoChooser : update(alg->context, input, output, length, outputLength);
}

int EncryptFinalOp(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t* outputLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().encryptFinal, alg, output, outputLength);
    const CipherFinal final = slotOf(alg, &SOFT_TABLE::encryptFinal);
    return final == nullptr ? crypto::kNoChooser : final(alg->context, output, outputLength);
}

int EncryptOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
              std::uint32_t* outputLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().encrypt, alg, input, length, output, outputLength);
    if (slotOf(alg, &SOFT_TABLE::encryptUpdate) == nullptr)
        return crypto::kNoChooser;
    return runWhole({EncryptUpdateOp, EncryptFinalOp, true}, alg, input, length, output, outputLength);
}

int DecryptInitOp(ALG_OBJ* alg, KEY_OBJ* key, CHOOSER* chooser) {
    return begin(
        alg, chooser, [&] { return onToken(TokenSide().decryptInit, alg, key); },
        [&](SOFT_TABLE& table) {
            if (const int code = softtable::decryptSlots(table, alg->mechanism->code))
                return code;
            if (const int code = softtable::fits(*alg->mechanism, key))
                return code;
            return softtable::run(table.decryptInit, alg->context, *key, *alg->mechanism);
        });
}

int DecryptUpdateOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
                    std::uint32_t* outputLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().decryptUpdate, alg, input, length, output, outputLength);
    const CipherUpdate update = slotOf(alg, &SOFT_TABLE::decryptUpdate);
    return update == nullptr ? crypto::kNoChooser : update(alg->context, input, output, length, outputLength);
}

int DecryptFinalOp(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t* outputLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().decryptFinal, alg, output, outputLength);
    const CipherFinal final = slotOf(alg, &SOFT_TABLE::decryptFinal);
    return final == nullptr ? crypto::kNoChooser : final(alg->context, output, outputLength);
}

int DecryptOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
              std::uint32_t* outputLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().decrypt, alg, input, length, output, outputLength);
    if (slotOf(alg, &SOFT_TABLE::decryptUpdate) == nullptr)
        return crypto::kNoChooser;
    return runWhole({DecryptUpdateOp, DecryptFinalOp, false}, alg, input, length, output, outputLength);
}
