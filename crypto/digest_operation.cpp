// operation.h: digests.
#include "crypto/operation_steps.h"
#include "crypto/soft_table.h"

namespace {

using operation::begin;
using operation::isAbsent;
using operation::onToken;
using operation::ready;
using operation::slotOf;
using operation::usesToken;

}  // namespace

int DigestInitOp(ALG_OBJ* alg, CHOOSER* chooser) {
    return begin(
        alg, chooser, [&] { return onToken(TokenSide().digestInit, alg); },
        [&](SOFT_TABLE& table) {
            if (const int code = softtable::digestSlots(table, alg->mechanism->code))
                return code;
            return alg->context == nullptr ? crypto::kArgumentAbsent : table.digestInit(alg->context);
        });
}

int DigestUpdateOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().digestUpdate, alg, input, length);
    const DigestUpdate update = slotOf(alg, &SOFT_TABLE::digestUpdate);
    if (update == nullptr)
        return crypto::kNoChooser;
    if (isAbsent(input, length))
        return crypto::kArgumentAbsent;
    return length == 0 ? 0 : update(alg->context, input, length);
}

int DigestFinalOp(ALG_OBJ* alg, std::uint8_t* output, std::uint32_t* outputLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().digestFinal, alg, output, outputLength);
    const DigestFinal final = slotOf(alg, &SOFT_TABLE::digestFinal);
    if (final == nullptr)
        return crypto::kNoChooser;
    return outputLength == nullptr ? crypto::kArgumentAbsent : final(alg->context, output, outputLength);
}

int DigestOp(ALG_OBJ* alg, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
             std::uint32_t* outputLength) {
    if (const int code = ready(alg))
        return code;
    if (usesToken(alg))
        return onToken(TokenSide().digest, alg, input, length, output, outputLength);
    if (outputLength == nullptr)
        return crypto::kArgumentAbsent;
    if (output != nullptr) {
        if (const int code = DigestUpdateOp(alg, input, length))
            return code;
    }
    return DigestFinalOp(alg, output, outputLength);
}
