#include "crypto/hash_chain_random.h"

#include <algorithm>
#include <limits>
#include <memory>

#include "crypto/alloc_buffer.h"
#include "crypto/codes.h"
#include "crypto/entries.h"
#include "crypto/md2.h"
#include "crypto/md5.h"
#include "crypto/sha1.h"

namespace {

int setSeed(void* context, const std::uint8_t* seed, std::uint32_t length) {
    auto* const random = static_cast<HASH_CHAIN_RANDOM_CTX*>(context);
    if (random == nullptr)
        return crypto::kArgumentAbsent;
    random->seed = seed;
    random->seedLength = length;
    return crypto::kSuccess;
}

// A digest of size bytes, by its entries.
template <class DigestContext, std::uint32_t size, DigestInit initEntry, DigestUpdate updateEntry,
          DigestFinal finalEntry>
struct DigestEntries {
    using Context = DigestContext;
    static constexpr std::uint32_t kSize = size;
    static constexpr auto init = initEntry;
    static constexpr auto update = updateEntry;
    static constexpr auto final = finalEntry;
};

using Md2 = DigestEntries<MD2_CTX, 16, MD2_Init, MD2_Update, MD2_Final>;
using Md5 = DigestEntries<MD5_CTX, 16, MD5_Init, MD5_Update, MD5_Final>;
using Sha1 = DigestEntries<SHA1_CTX, 20, SHA1_Init, SHA1_Update, SHA1_Final>;

// digestInto writes the digest of length bytes of work at a place in work itself.
template <class Digest>
void digestInto(std::uint8_t* place, const std::uint8_t* work, std::uint32_t length) {
    typename Digest::Context context;
    std::uint32_t size = 0;
    Digest::init(&context);
    Digest::update(&context, work, length);
    Digest::final(&context, place, &size);
}

// The working buffer has room for whole digests, the last of which may extend past the length asked for.
template <class Digest>
void generate(void* context, std::uint8_t* output, std::uint32_t length) {
    const auto* const random = static_cast<const HASH_CHAIN_RANDOM_CTX*>(context);
    if (random == nullptr || output == nullptr || length > std::numeric_limits<std::size_t>::max() - Digest::kSize)
        return;
    const std::size_t room = std::size_t{length} + Digest::kSize;
    const std::unique_ptr<std::uint8_t[], decltype(&FreeBuffer)> work(static_cast<std::uint8_t*>(AllocBuffer(room)),
                                                                      FreeBuffer);
    if (work == nullptr)
        return;
    for (std::uint32_t i = 0; i < length; ++i)
        work[i] = static_cast<std::uint8_t>(i);
    if (random->seed != nullptr)
        std::copy_n(random->seed, std::min(length, random->seedLength), work.get());
    for (std::size_t at = 0; at < length; at += Digest::kSize)
        digestInto<Digest>(work.get() + at, work.get(), length);
    std::copy_n(work.get(), length, output);
}

}  // namespace

int HashChainRandom_MD2_Seed(void* context, const std::uint8_t* seed, std::uint32_t length) {
    return setSeed(context, seed, length);
}

int HashChainRandom_MD5_Seed(void* context, const std::uint8_t* seed, std::uint32_t length) {
    return setSeed(context, seed, length);
}

int HashChainRandom_SHA1_Seed(void* context, const std::uint8_t* seed, std::uint32_t length) {
    return setSeed(context, seed, length);
}

void HashChainRandom_MD2_Generate(void* context, std::uint8_t* output, std::uint32_t length) {
    generate<Md2>(context, output, length);
}

void HashChainRandom_MD5_Generate(void* context, std::uint8_t* output, std::uint32_t length) {
    generate<Md5>(context, output, length);
}

void HashChainRandom_SHA1_Generate(void* context, std::uint8_t* output, std::uint32_t length) {
    generate<Sha1>(context, output, length);
}
