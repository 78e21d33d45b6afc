// The three digests as the tests go through them, and what holds for all of them.
#ifndef VT_TESTS_CRYPTO_DIGESTS_H
#define VT_TESTS_CRYPTO_DIGESTS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "crypto/block_kernels.h"
#include "crypto/crypto.h"
#include "tests/support/hex.h"
#include "tests/vectors/crypto_streams.h"

namespace digests {

using support::Bytes;
using support::hex;

template <class Context>
struct Digest {
    const char* name;
    DigestInit init;
    DigestUpdate update;
    DigestFinal final;
    std::uint32_t size;
    std::uint32_t block;
};

inline constexpr Digest<MD2_CTX> kMd2 = {"Md2", MD2_Init, MD2_Update, MD2_Final, 16, 16};
inline constexpr Digest<MD5_CTX> kMd5 = {"Md5", MD5_Init, MD5_Update, MD5_Final, 16, 64};
inline constexpr Digest<SHA1_CTX> kSha1 = {"Sha1", SHA1_Init, SHA1_Update, SHA1_Final, 20, 64};

// begun: a context that held something else before.
template <class Context>
Context begun(const Digest<Context>& digest) {
    Context context;
    std::memset(&context, 0x5A, sizeof context);
    EXPECT_EQ(digest.init(&context), 0);
    return context;
}

template <class Context>
void absorb(const Digest<Context>& digest, Context& context, const Bytes& data) {
    // A block of exactly the data, and no pointer at all for none.
    EXPECT_EQ(digest.update(&context, data.empty() ? nullptr : data.data(), static_cast<std::uint32_t>(data.size())),
              0);
}

template <class Context>
Bytes ended(const Digest<Context>& digest, Context& context) {
    Bytes out(digest.size);
    std::uint32_t length = 999;
    EXPECT_EQ(digest.final(&context, out.data(), &length), 0);
    EXPECT_EQ(length, digest.size);
    return out;
}

template <class Context>
Bytes digestOf(const Digest<Context>& digest, const Bytes& data) {
    Context context = begun(digest);
    absorb(digest, context, data);
    return ended(digest, context);
}

inline Bytes bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

// The bytes that kDigestsByLength is about.
inline Bytes counted(std::size_t length) {
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<std::uint8_t>(i % 251);
    return bytes;
}

template <class Context>
void expectDigestsOfOtherPrograms(const Digest<Context>& digest) {
    int seen = 0;
    for (const crypto::BlockKernels* form : crypto::blockKernelForms()) {
        crypto::useBlockKernels(*form);
        for (const DigestByLength& known : kDigestsByLength) {
            if (std::string(known.digest) != digest.name)
                continue;
            ++seen;
            EXPECT_EQ(digestOf(digest, counted(known.length)), hex(known.value)) << form->name << ", " << known.length;
        }
    }
    crypto::useBlockKernels(crypto::fastestBlockKernels());
    EXPECT_GT(seen, 0);
}

// expectEveryCut: the digest is the same however the data is cut in two, and byte by byte.
template <class Context>
void expectEveryCut(const Digest<Context>& digest) {
    for (std::size_t length = 0; length <= 2 * digest.block + 2; ++length) {
        const Bytes data = counted(length);
        const Bytes expected = digestOf(digest, data);
        for (std::size_t cut = 0; cut <= length; ++cut) {
            const auto middle = data.begin() + static_cast<std::ptrdiff_t>(cut);
            Context context = begun(digest);
            absorb(digest, context, Bytes(data.begin(), middle));
            absorb(digest, context, Bytes(middle, data.end()));
            ASSERT_EQ(ended(digest, context), expected) << length << " cut at " << cut;
        }
        Context context = begun(digest);
        for (const std::uint8_t byte : data)
            absorb(digest, context, Bytes{byte});
        ASSERT_EQ(ended(digest, context), expected) << length;
    }
}

// expectQueryLeavesTheDigest: without an output the length is stored, and the digest goes on.
template <class Context>
void expectQueryLeavesTheDigest(const Digest<Context>& digest) {
    Context context = begun(digest);
    absorb(digest, context, counted(10));
    Context before = context;
    std::uint32_t length = 0;
    EXPECT_EQ(digest.final(&context, nullptr, &length), 0);
    EXPECT_EQ(length, digest.size);
    EXPECT_EQ(std::memcmp(&context, &before, sizeof context), 0);
    absorb(digest, context, bytesOf("and on"));
    absorb(digest, before, bytesOf("and on"));
    EXPECT_EQ(ended(digest, context), ended(digest, before));
}

template <class Context>
void expectFinalWipesTheContext(const Digest<Context>& digest) {
    for (const std::size_t length : {std::size_t{0}, std::size_t{10}, std::size_t{60}, std::size_t{200}}) {
        Context context = begun(digest);
        absorb(digest, context, Bytes(length, 0xFF));
        ended(digest, context);
        Context zero;
        std::memset(&zero, 0, sizeof zero);
        EXPECT_EQ(std::memcmp(&context, &zero, sizeof context), 0) << length;
    }
}

template <class Context>
void expectBitsAreCountedAndCarried(const Digest<Context>& digest) {
    Context context = begun(digest);
    absorb(digest, context, Bytes(3));
    EXPECT_EQ(context.bitsLow, 24U);
    EXPECT_EQ(context.bitsHigh, 0U);
    context.bitsLow = 0xFFFFFE00;
    absorb(digest, context, Bytes(63));
    EXPECT_EQ(context.bitsLow, 0xFFFFFFF8U);
    EXPECT_EQ(context.bitsHigh, 0U);
    absorb(digest, context, Bytes(2));
    EXPECT_EQ(context.bitsLow, 8U);
    EXPECT_EQ(context.bitsHigh, 1U);
}

template <class Context>
void expectAWholeBlockLeavesTheBufferEmpty(const Digest<Context>& digest) {
    Context context = begun(digest);
    Bytes block(digest.block, 0x11);
    absorb(digest, context, block);
    // Nothing of it is in the buffer: what the buffer holds does not count.
    std::memset(context.buffer, 0xEE, sizeof context.buffer);
    EXPECT_EQ(ended(digest, context), digestOf(digest, block));
}

// expectLongMessages: digests whose length needs both words, by setting the counter instead of hashing half a gigabyte.
template <class Context>
void expectLongMessages(const Digest<Context>& digest) {
    int seen = 0;
    for (const LongMessage& known : kLongMessages) {
        if (std::string(known.digest) != digest.name)
            continue;
        ++seen;
        Context context = begun(digest);
        context.bitsLow = known.bitsLow;
        context.bitsHigh = known.bitsHigh;
        absorb(digest, context, counted(known.length));
        EXPECT_EQ(ended(digest, context), hex(known.value)) << known.bitsHigh << ", " << known.length;
    }
    EXPECT_GT(seen, 0);
}

}  // namespace digests

#endif
