// operation.h: random bytes and key pairs.
#include "crypto/operation_steps.h"
#include "crypto/soft_table.h"

namespace {

using operation::begin;
using operation::isAbsent;
using operation::onToken;
using operation::ready;
using operation::usesToken;

}  // namespace

int RandomInitOp(ALG_OBJ* alg, const std::uint8_t* seed, std::uint32_t seedLength, CHOOSER* chooser) {
    return begin(
        alg, chooser, [&] { return onToken(TokenSide().randomInit, alg, seed, seedLength); },
        [&](SOFT_TABLE& table) {
            if (const int code = softtable::randomSlots(table, alg->mechanism->code))
                return code;
            return isAbsent(seed, seedLength) ? crypto::kArgumentAbsent : table.seed(alg->context, seed, seedLength);
        });
}

int RandomOp(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t length) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().random, alg, output, length);
    const RandomGenerate generate = alg->chooser->soft->generate;
    if (generate == nullptr)
        return crypto::kNoChooser;
    if (output == nullptr)
        return crypto::kArgumentAbsent;
    generate(alg->context, output, length);
    return 0;
}

int GenerateKeyPairOp(ALG_OBJ* alg, KEY_OBJ** publicKey, KEY_OBJ** privateKey, CHOOSER* chooser) {
    if (publicKey == nullptr || privateKey == nullptr)
        return crypto::kArgumentAbsent;
    return begin(
        alg, chooser, [] { return crypto::kUnsupportedMechanism; },
        [&](SOFT_TABLE& table) {
            const MECHANISM& mechanism = *alg->mechanism;
            if (mechanism.code != CKM_RSA_PKCS_KEY_PAIR_GEN)
                return crypto::kUnsupportedMechanism;
            table.generateKeyPair = RSA_GenerateKeyItems;
            KEY_ITEM* items = nullptr;
            if (const int code = table.generateKeyPair(&items, static_cast<std::int32_t>(mechanism.parameterLength)))
                return code;
            int code = KeySetup(privateKey, KeyAllocRsaPrivate, items);
            if (code == 0)
                code = KeySetup(publicKey, KeyAllocRsaPublic, items);
            KeyItemsFree(&items, RSA_ITEM_COUNT);
            if (code != 0) {
                KeyFree(privateKey);
                KeyFree(publicKey);
            }
            return code;
        });
}
