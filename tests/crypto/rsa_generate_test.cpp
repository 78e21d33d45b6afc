// Key generation: which keys a fresh thread makes is part of the interface.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "crypto/runtime_rand.h"
#include "tests/crypto/rsa_keys.h"
#include "tests/support/failing_heap.h"
#include "tests/vectors/rsa_generated_keys.h"

namespace {

using rsakeys::Bytes;
using rsakeys::bytesOf;
using rsakeys::hex;

// Runs the work on a thread of its own, whose generator nobody has drawn.
template <class Work>
void onFreshThread(Work&& work) {
    std::thread(work).join();
}

std::unique_ptr<RSA_CTX> generate(int bits, int* code) {
    auto context = std::make_unique<RSA_CTX>();
    *code = RSA_GenerateKey(context.get(), bits, nullptr);
    return context;
}

// Whole limbs, as the key items have them.
Bytes limbsOf(const std::uint32_t* x) {
    return bytesOf(x, static_cast<int>(x[0] * 4));
}

TEST(rsa_generate_test, TheFirstKeysOfAFreshThread) {
    for (const RsaGeneratedKey& row : kRsaGeneratedKeys) {
        onFreshThread([&] {
            int code = -1;
            std::unique_ptr<RSA_CTX> context;
            for (int i = 0; i < row.number; ++i)
                context = generate(row.bits, &code);
            ASSERT_EQ(code, 0) << row.bits;
            const std::uint32_t* const numbers[] = {
                context->modulus, context->publicExponent, context->privateExponent, context->prime1,
                context->prime2,  context->exponent1,      context->exponent2,       context->coefficient};
            for (std::size_t i = 0; i < RSA_ITEM_COUNT; ++i)
                EXPECT_EQ(limbsOf(numbers[i]), hex(row.items[i])) << row.bits << " " << row.number << " " << i;
            EXPECT_EQ(context->isPrivate, 1);
        });
    }
}

TEST(rsa_generate_test, ItemsAreTheSameKeyInWholeLimbs) {
    for (const RsaGeneratedKey& row : kRsaGeneratedKeys) {
        if (row.number != 1)
            continue;
        onFreshThread([&] {
            KEY_ITEM* items = nullptr;
            ASSERT_EQ(RSA_GenerateKeyItems(&items, row.bits), 0);
            for (std::size_t i = 0; i < RSA_ITEM_COUNT; ++i) {
                EXPECT_EQ(Bytes(items[i].bytes, items[i].bytes + items[i].length), hex(row.items[i])) << row.bits;
                EXPECT_EQ(items[i].bytes[items[i].length], 0) << "a zero stands behind";
            }
            KeyItemsFree(&items, RSA_ITEM_COUNT);
            EXPECT_EQ(items, nullptr);
        });
    }
}

TEST(rsa_generate_test, EverySizeIsExactAndEveryKeyIsAcceptedAndHasItsExponent) {
    for (int bits = 24; bits <= 200; bits += 7) {
        KEY_ITEM* items = nullptr;
        ASSERT_EQ(RSA_GenerateKeyItems(&items, bits), 0) << bits;
        RSA_CTX context;
        EXPECT_EQ(RSA_Init(&context, items, 64, nullptr), 0) << bits;
        EXPECT_EQ(MPI_BitLength(context.modulus), bits);
        EXPECT_GE(context.publicExponent[1], 65539U);
        KeyItemsFree(&items, RSA_ITEM_COUNT);
    }
}

TEST(rsa_generate_test, SizesWithoutAKeyEndAfterTenAttempts) {
    for (const int bits : kRsaSizesWithoutKey) {
        onFreshThread([&] {
            int code = 0;
            generate(bits, &code);
            EXPECT_EQ(code, -101) << bits;
        });
        KEY_ITEM* items = nullptr;
        EXPECT_EQ(RSA_GenerateKeyItems(&items, bits), -11) << bits;
        EXPECT_EQ(items, nullptr);
    }
    for (const int bits : {5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23}) {
        onFreshThread([&] {
            int code = 0;
            const auto context = generate(bits, &code);
            EXPECT_EQ(code, 0) << bits;
            EXPECT_EQ(MPI_BitLength(context->modulus), bits);
        });
    }
}

TEST(rsa_generate_test, SizesOutsideTheFieldsAreRefusedBeforeAnythingIsDrawn) {
    for (const int bits : {INT32_MIN, -1, 0, 1, 8193, 16384, INT32_MAX}) {
        onFreshThread([&] {
            int code = 0;
            generate(bits, &code);
            EXPECT_EQ(code, -101) << bits;
            KEY_ITEM* items = nullptr;
            EXPECT_EQ(RSA_GenerateKeyItems(&items, bits), -11) << bits;
            EXPECT_EQ(RuntimeRand(), 41) << "the first value of a fresh thread";
        });
    }
}

TEST(rsa_generate_test, APositiveFlagCancelsBeforeTheFirstStep) {
    onFreshThread([] {
        RSA_CTX context;
        const std::atomic<std::int32_t> cancel{1};
        EXPECT_EQ(RSA_GenerateKey(&context, 512, &cancel), -101);
        EXPECT_EQ(RuntimeRand(), 41) << "the first value of a fresh thread";
    });
}

TEST(rsa_generate_test, AFlagOfZeroOrBelowDoesNotCancel) {
    for (const std::int32_t value : {0, -1, INT32_MIN}) {
        RSA_CTX context;
        const std::atomic<std::int32_t> cancel{value};
        EXPECT_EQ(RSA_GenerateKey(&context, 128, &cancel), 0) << value;
    }
}

TEST(rsa_generate_test, AFlagThatIsRaisedOnTheWayCancels) {
    std::atomic<std::int32_t> cancel{0};
    std::atomic<int> drawn{0};
    int code = 0;
    std::thread worker([&] {
        RSA_CTX context;
        drawn = 1;
        // Far more keys than there is time for, and most of the time within one.
        while (code == 0)
            code = RSA_GenerateKey(&context, 768, &cancel);
    });
    while (drawn == 0)
        std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    cancel = 1;
    worker.join();
    EXPECT_EQ(code, -101);
}

TEST(rsa_generate_test, ItemsNeedSomewhereToStand) {
    EXPECT_EQ(RSA_GenerateKeyItems(nullptr, 512), -2);
}

TEST(rsa_generate_test, ExhaustedMemoryIsOneCodeForTheArrayAndAnotherForAString) {
    for (long n = 1; n <= 10; ++n) {
        KEY_ITEM* items = nullptr;
        int code = 0;
        {
            const support::FailingHeap heap(n);
            code = RSA_GenerateKeyItems(&items, 96);
        }
        EXPECT_EQ(code, n == 1 ? -1 : n <= 9 ? -11 : 0) << n;
        EXPECT_EQ(items == nullptr, n <= 9) << n;
        KeyItemsFree(&items, RSA_ITEM_COUNT);
    }
}

TEST(rsa_generate_test, FreeingNoItemsIsNothing) {
    KeyItemsFree(nullptr, RSA_ITEM_COUNT);
    KEY_ITEM* items = nullptr;
    KeyItemsFree(&items, RSA_ITEM_COUNT);
    EXPECT_EQ(items, nullptr);
}

}  // namespace
