// operation.h: encryption and decryption.
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

// What tells the two directions apart: the slots of the software side, the entries of the token's side, and which size
// RSA takes and which it makes.
struct Direction {
    int (*setSlots)(SOFT_TABLE& table, CK_MECHANISM_TYPE code);
    CipherInit SOFT_TABLE::*init;
    CipherUpdate SOFT_TABLE::*update;
    CipherFinal SOFT_TABLE::*final;
    decltype(TOKEN_SIDE::encryptInit) TOKEN_SIDE::*tokenInit;
    decltype(TOKEN_SIDE::encryptUpdate) TOKEN_SIDE::*tokenUpdate;
    decltype(TOKEN_SIDE::encryptFinal) TOKEN_SIDE::*tokenFinal;
    decltype(TOKEN_SIDE::encrypt) TOKEN_SIDE::*tokenWhole;
    Chunks (*rsaChunks)(std::uint32_t k);
};

constexpr Direction kEncrypt = {
    softtable::encryptSlots,
    &SOFT_TABLE::encryptInit,
    &SOFT_TABLE::encryptUpdate,
    &SOFT_TABLE::encryptFinal,
    &TOKEN_SIDE::encryptInit,
    &TOKEN_SIDE::encryptUpdate,
    &TOKEN_SIDE::encryptFinal,
    &TOKEN_SIDE::encrypt,
    [](std::uint32_t k) {
        return Chunks{k - RSA_BLOCK_OVERHEAD, k}; },
};

constexpr Direction kDecrypt = {
    softtable::decryptSlots,
    &SOFT_TABLE::decryptInit,
    &SOFT_TABLE::decryptUpdate,
    &SOFT_TABLE::decryptFinal,
    &TOKEN_SIDE::decryptInit,
    &TOKEN_SIDE::decryptUpdate,
    &TOKEN_SIDE::decryptFinal,
    &TOKEN_SIDE::decrypt,
    [](std::uint32_t k) {
        return Chunks{k, k - RSA_BLOCK_OVERHEAD}; },
};

int runInit(const Direction& direction, ALG_OBJ* alg, KEY_OBJ* key, CHOOSER* chooser) {
    return begin(
        alg, chooser, [&] { return onToken(TokenSide().*direction.tokenInit, alg, key); },
        [&](SOFT_TABLE& table) {
            if (const int code = direction.setSlots(table, alg->mechanism->code))
                return code;
            if (const int code = softtable::fits(*alg->mechanism, key))
                return code;
            return softtable::run(table.*direction.init, alg->context, *key, *alg->mechanism);
        });
}

int runUpdate(const Direction& direction, ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length,
              std::uint8_t* output, std::uint32_t* outputLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().*direction.tokenUpdate, alg, input, length, output, outputLength);
    const CipherUpdate update = slotOf(alg, direction.update);
    return update == nullptr ? crypto::kNoChooser : update(alg->context, input, output, length, outputLength);
}

int runFinal(const Direction& direction, ALG_OBJ* alg, std::uint8_t* output, std::uint32_t* outputLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().*direction.tokenFinal, alg, output, outputLength);
    const CipherFinal final = slotOf(alg, direction.final);
    return final == nullptr ? crypto::kNoChooser : final(alg->context, output, outputLength);
}

// Input in chunks of step bytes through the updates, each at the end of the output so far, and the final after them.
int runChunks(const Direction& direction, ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length,
              std::uint32_t step, std::uint8_t* output, std::uint32_t* outputLength) {
    std::uint32_t total = 0;
    std::uint32_t made = 0;
    for (std::uint32_t taken = 0; taken < length; taken += std::min(step, length - taken)) {
        if (const int code =
                runUpdate(direction, alg, input + taken, std::min(step, length - taken), output + total, &made))
            return code;
        total += made;
    }
    if (const int code = runFinal(direction, alg, output + total, &made))
        return code;
    *outputLength = total + made;
    return 0;
}

int runRsa(const Direction& direction, ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length,
           std::uint8_t* output, std::uint32_t* outputLength) {
    if (alg->context == nullptr)
        return crypto::kArgumentAbsent;
    const int k = RSA_ModulusLength(static_cast<const RSA_CTX*>(alg->context));
    if (k < 0)
        return k;
    const Chunks chunks = direction.rsaChunks(static_cast<std::uint32_t>(k));
    std::uint32_t size = 0;
    if (const int code = reportChunks(chunks, length, &size))
        return code;
    if (output != nullptr)
        return runChunks(direction, alg, input, length, chunks.takes, output, outputLength);
    *outputLength = size;
    return 0;
}

int runWhole(const Direction& direction, ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length,
             std::uint8_t* output, std::uint32_t* outputLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().*direction.tokenWhole, alg, input, length, output, outputLength);
    if (slotOf(alg, direction.update) == nullptr)
        return crypto::kNoChooser;
    if (outputLength == nullptr || isAbsent(input, length))
        return crypto::kArgumentAbsent;
    if (length == 0) {
        *outputLength = 0;
        return 0;
    }
    if (alg->mechanism->code == CKM_RSA_PKCS)
        return runRsa(direction, alg, input, length, output, outputLength);
    return output == nullptr ? report(std::uint64_t{length} + kMostAdded, outputLength)
                             : runChunks(direction, alg, input, length, length, output, outputLength);
}

}  // namespace

int EncryptInitOp(ALG_OBJ* alg, KEY_OBJ* key, CHOOSER* chooser) {
    return runInit(kEncrypt, alg, key, chooser);
}

int EncryptUpdateOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
                    std::uint32_t* outputLength) {
    return runUpdate(kEncrypt, alg, input, length, output, outputLength);
}

int EncryptFinalOp(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t* outputLength) {
    return runFinal(kEncrypt, alg, output, outputLength);
}

int EncryptOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
              std::uint32_t* outputLength) {
    return runWhole(kEncrypt, alg, input, length, output, outputLength);
}

int DecryptInitOp(ALG_OBJ* alg, KEY_OBJ* key, CHOOSER* chooser) {
    return runInit(kDecrypt, alg, key, chooser);
}

int DecryptUpdateOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
                    std::uint32_t* outputLength) {
    return runUpdate(kDecrypt, alg, input, length, output, outputLength);
}

int DecryptFinalOp(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t* outputLength) {
    return runFinal(kDecrypt, alg, output, outputLength);
}

int DecryptOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
              std::uint32_t* outputLength) {
    return runWhole(kDecrypt, alg, input, length, output, outputLength);
}
