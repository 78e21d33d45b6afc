#include "crypto/des3.h"

#include "crypto/block_kernels.h"
#include "crypto/cbc.h"
#include "crypto/codes.h"
#include "crypto/des_rounds.h"
#include "crypto/words.h"

namespace {

struct Des3 {
    using Context = DES3_CTX;

    static void process(DES3_CTX& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) {
        const auto& loops = crypto::blockKernels().des3;
        (context.encrypting != 0 ? loops.encrypt : loops.decrypt)(context, input, output, blocks);
    }
};

int init(void* context, const std::uint8_t* key, const void* parameter, bool encrypting) {
    auto* const des3 = static_cast<DES3_CTX*>(context);
    const auto* const iv = static_cast<const std::uint8_t*>(parameter);
    if (des3 == nullptr || key == nullptr || iv == nullptr)
        return crypto::kArgumentAbsent;
    cbc::begin(*des3, encrypting);
    for (std::size_t i = 0; i < 2; ++i)
        des3->chain[i] = des3->iv[i] = crypto::loadBigEndian(iv + 4 * i);
    crypto::desSchedule(encrypting ? key : key + 16, encrypting, des3->subkeys1);
    crypto::desSchedule(key + 8, !encrypting, des3->subkeys2);
    crypto::desSchedule(encrypting ? key + 16 : key, encrypting, des3->subkeys3);
    return crypto::kSuccess;
}

}  // namespace

int DES3_EncryptInit(void* context, const std::uint8_t* key, std::uint32_t /*keyLength*/, const void* parameter) {
    return init(context, key, parameter, true);
}

int DES3_DecryptInit(void* context, const std::uint8_t* key, std::uint32_t /*keyLength*/, const void* parameter) {
    return init(context, key, parameter, false);
}

int DES3_Update(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
                std::uint32_t* outputLength) {
    return cbc::update<Des3>(context, input, output, inputLength, outputLength);
}

// Callers ask for the size before the message is whole, so the count is checked only when an output is given.
int DES3_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength) {
    auto* const des3 = static_cast<DES3_CTX*>(context);
    if (des3 == nullptr || outputLength == nullptr)
        return crypto::kArgumentAbsent;
    *outputLength = 0;
    if (output != nullptr)
        return cbc::plainFinal<Des3>(context, output, outputLength);
    *outputLength = cbc::kBlock;
    return crypto::kSuccess;
}

int DES3_FinalPad(void* context, std::uint8_t* output, std::uint32_t* outputLength) {
    return cbc::paddedFinal<Des3>(context, output, outputLength);
}
