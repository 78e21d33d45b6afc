#include "crypto/des.h"

#include "crypto/block_kernels.h"
#include "crypto/cbc.h"
#include "crypto/codes.h"
#include "crypto/des_rounds.h"
#include "crypto/words.h"

namespace {

struct Des {
    using Context = DES_CTX;

    static void process(DES_CTX& context, const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) {
        const auto& loops = crypto::blockKernels().des;
        (context.encrypting != 0 ? loops.encrypt : loops.decrypt)(context, input, output, blocks);
    }
};

int init(void* context, const std::uint8_t* key, const void* parameter, bool encrypting) {
    auto* const des = static_cast<DES_CTX*>(context);
    const auto* const iv = static_cast<const std::uint8_t*>(parameter);
    if (des == nullptr || key == nullptr || iv == nullptr)
        return crypto::kArgumentAbsent;
    cbc::begin(*des, encrypting);
    for (std::size_t i = 0; i < 2; ++i)
        des->chain[i] = des->iv[i] = crypto::loadBigEndian(iv + 4 * i);
    crypto::desSchedule(key, encrypting, des->subkeys);
    return crypto::kSuccess;
}

}  // namespace

int DES_EncryptInit(void* context, const std::uint8_t* key, std::uint32_t /*keyLength*/, const void* parameter) {
    return init(context, key, parameter, true);
}

int DES_DecryptInit(void* context, const std::uint8_t* key, std::uint32_t /*keyLength*/, const void* parameter) {
    return init(context, key, parameter, false);
}

int DES_Update(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
               std::uint32_t* outputLength) {
    return cbc::update<Des>(context, input, output, inputLength, outputLength);
}

int DES_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength) {
    return cbc::plainFinal<Des>(context, output, outputLength);
}

int DES_FinalPad(void* context, std::uint8_t* output, std::uint32_t* outputLength) {
    return cbc::paddedFinal<Des>(context, output, outputLength);
}
