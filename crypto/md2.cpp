#include "crypto/md2.h"

#include <cstring>

#include "crypto/absorb.h"
#include "crypto/codes.h"

namespace {

// A permutation of the bytes from the digits of pi.
constexpr std::uint8_t kPi[256] = {41,  46,  67,  201, 162, 216, 124, 1,   61,  54,  84,  161, 236, 240, 6,   19,   //
                                   98,  167, 5,   243, 192, 199, 115, 140, 152, 147, 43,  217, 188, 76,  130, 202,  //
                                   30,  155, 87,  60,  253, 212, 224, 22,  103, 66,  111, 24,  138, 23,  229, 18,   //
                                   190, 78,  196, 214, 218, 158, 222, 73,  160, 251, 245, 142, 187, 47,  238, 122,  //
                                   169, 104, 121, 145, 21,  178, 7,   63,  148, 194, 16,  137, 11,  34,  95,  33,   //
                                   128, 127, 93,  154, 90,  144, 50,  39,  53,  62,  204, 231, 191, 247, 151, 3,    //
                                   255, 25,  48,  179, 72,  165, 181, 209, 215, 94,  146, 42,  172, 86,  170, 198,  //
                                   79,  184, 56,  210, 150, 164, 125, 182, 118, 252, 107, 226, 156, 116, 4,   241,  //
                                   69,  157, 112, 89,  100, 113, 135, 32,  134, 91,  207, 101, 230, 45,  168, 2,    //
                                   27,  96,  37,  173, 174, 176, 185, 246, 28,  70,  97,  105, 52,  64,  126, 15,   //
                                   85,  71,  163, 35,  221, 81,  175, 58,  195, 92,  249, 206, 186, 197, 234, 38,   //
                                   44,  83,  13,  110, 133, 40,  132, 9,   211, 223, 205, 244, 65,  129, 77,  82,   //
                                   106, 220, 55,  200, 108, 193, 171, 250, 36,  225, 123, 8,   12,  189, 177, 74,   //
                                   120, 136, 149, 139, 227, 99,  232, 109, 233, 203, 213, 254, 59,  0,   29,  57,   //
                                   242, 239, 183, 14,  102, 88,  208, 228, 166, 119, 114, 248, 235, 117, 75,  10,   //
                                   49,  68,  80,  180, 143, 237, 31,  26,  219, 153, 141, 51,  159, 17,  131, 20};

constexpr std::size_t kBlock = 16;
constexpr std::uint32_t kDigest = 16;

// compressBlock: each step waits for the one before it, through the table. State words of 32 bits keep the chain at one
// look-up and one exclusive or.
void compressBlock(MD2_CTX& md2, const std::uint8_t* block) {
    std::uint32_t x[48];
    for (std::size_t i = 0; i < 16; ++i) {
        x[i] = md2.state[i];
        x[16 + i] = block[i];
        x[32 + i] = x[i] ^ x[16 + i];
    }
    std::uint32_t t = 0;
    for (std::uint32_t round = 0; round < 18; ++round) {
        for (std::uint32_t& word : x)
            t = word ^= kPi[t];
        t = (t + round) & 255;
    }
    for (std::size_t i = 0; i < 16; ++i)
        md2.state[i] = static_cast<std::uint8_t>(x[i]);
    std::uint32_t last = md2.checksum[15];
    for (std::size_t i = 0; i < 16; ++i) {
        last = md2.checksum[i] ^ kPi[block[i] ^ last];
        md2.checksum[i] = static_cast<std::uint8_t>(last);
    }
}

void compress(MD2_CTX& md2, const std::uint8_t* data, std::size_t blocks) {
    for (; blocks != 0; --blocks, data += kBlock)
        compressBlock(md2, data);
}

void absorb(MD2_CTX& md2, const std::uint8_t* data, std::uint32_t length) {
    const std::size_t held =
        crypto::absorb(md2.buffer, md2.count, data, length,
                       [&md2](const std::uint8_t* whole, std::size_t blocks) { compress(md2, whole, blocks); });
    md2.count = static_cast<std::uint32_t>(held);
}

}  // namespace

int MD2_Init(void* context) {
    std::memset(context, 0, sizeof(MD2_CTX));
    return crypto::kSuccess;
}

int MD2_Update(void* context, const std::uint8_t* data, std::uint32_t length) {
    absorb(*static_cast<MD2_CTX*>(context), data, length);
    return crypto::kSuccess;
}

int MD2_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength) {
    *outputLength = kDigest;
    if (output == nullptr)
        return crypto::kSuccess;
    auto& md2 = *static_cast<MD2_CTX*>(context);
    const std::uint32_t pad = kBlock - md2.count;
    std::uint8_t padding[kBlock];
    std::memset(padding, static_cast<int>(pad), pad);
    absorb(md2, padding, pad);
    std::uint8_t checksum[kBlock];
    std::memcpy(checksum, md2.checksum, sizeof checksum);
    absorb(md2, checksum, sizeof checksum);
    std::memcpy(output, md2.state, kDigest);
    std::memset(&md2, 0, sizeof md2);
    return crypto::kSuccess;
}
