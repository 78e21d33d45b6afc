#include "foundation/pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "foundation/byte.h"
#include "foundation/byte_buffer.h"
#include "foundation/string.h"
#include "tests/support/failing_heap.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

using foundation::kPoolLargest;
using foundation::kPoolLimit;
using foundation::PoolGive;
using foundation::PoolIsOn;
using foundation::PoolKept;
using foundation::PoolTake;
using foundation::PoolThreads;
using foundation::PoolTrim;
using foundation::TryPoolTake;

// What a small piece of work takes: objects, names, values and a buffer.
void work() {
    std::vector<std::unique_ptr<MiObject>> objects;
    objects.reserve(128);
    for (unsigned int i = 0; i < 100; ++i)
        objects.push_back(std::make_unique<MiByte>(MiByte(i % 60 + 1)));
    objects.push_back(std::make_unique<MiString>("serialNumber"));
    MiByteBuffer buffer;
    buffer.Append(std::vector<char>(4000).data(), 4000);
}

// The keeping build, and the two whose blocks are the system's own: under the address checker, and by VT_POOL=OFF.
TEST(pool_test, AWarmPoolMakesNoCallOfTheSystemsAllocator) {
    if (!PoolIsOn()) {
        PoolGive(PoolTake(100), 100);
        EXPECT_EQ(0U, PoolKept());
        return;
    }
    const auto objects = [] {
        MiByteBuffer buffer;
        for (unsigned int i = 0; i < 300; ++i) {
            auto* const byte = new MiByte(i + 1);
            buffer.Append(*byte);
            delete byte;
        }
    };
    objects();
    const support::CountingHeap heap;
    objects();
    // 300 blocks of up to 300 bytes go in and out; the buffer beyond 16 KB alone comes from the system.
    EXPECT_LE(heap.allocations(), 2);
}

TEST(pool_test, TheSmallestAndTheLargestBlockAreKept) {
    if (!PoolIsOn())
        return;
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{16}, std::size_t{17}, std::size_t{1040},
                                   std::size_t{1041}, std::size_t{2112}, std::size_t{2113}, kPoolLargest}) {
        PoolTrim();
        void* const block = PoolTake(size);
        std::memset(block, 0xFF, size);
        PoolGive(block, size);
        EXPECT_GE(PoolKept(), size);
        EXPECT_LE(PoolKept(), size < 1040 ? size + 16 : 2 * size + 64);
        EXPECT_EQ(block, PoolTake(size)) << size;
        EXPECT_EQ(0U, PoolKept());
        PoolGive(block, size);
    }
    PoolTrim();
    PoolGive(PoolTake(kPoolLargest + 1), kPoolLargest + 1);
    EXPECT_EQ(0U, PoolKept());
}

// Each size gets blocks that hold it, whatever sizes were given back before.
TEST(pool_test, BlocksHoldTheirSize) {
    std::vector<std::pair<unsigned char*, std::size_t>> blocks;
    for (int round = 0; round < 3; ++round) {
        for (std::size_t size = 1; size < 20000; size += size < 1200 ? 1 : 97) {
            auto* const block = static_cast<unsigned char*>(PoolTake(size));
            EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(block) % (2 * sizeof(void*)));
            std::memset(block, static_cast<int>(size % 251), size);
            blocks.emplace_back(block, size);
        }
        for (const auto& [block, size] : blocks) {
            ASSERT_EQ(size % 251, block[0]);
            ASSERT_EQ(size % 251, block[size - 1]);
            PoolGive(block, size);
        }
        blocks.clear();
    }
}

TEST(pool_test, KeepsNoMoreThanItsLimit) {
    std::vector<void*> blocks(1000);
    for (void*& block : blocks)
        block = PoolTake(1000);
    std::size_t most = 0;
    for (void* const block : blocks) {
        PoolGive(block, 1000);
        most = std::max(most, PoolKept());
    }
    EXPECT_LE(most, kPoolLimit);
    if (PoolIsOn()) {
        EXPECT_GT(most, kPoolLimit - 2000);
    }
    PoolTrim();
    EXPECT_EQ(0U, PoolKept());
}

TEST(pool_test, SizesOfThePastDoNotStandInTheWay) {
    std::vector<void*> blocks(kPoolLimit / 2112);
    for (void*& block : blocks)
        block = PoolTake(2112);
    PoolTrim();
    for (void* const block : blocks)
        PoolGive(block, 2112);
    void* const block = PoolTake(1000);
    PoolGive(block, 1000);
    if (PoolIsOn()) {
        EXPECT_EQ(block, PoolTake(1000));
        PoolGive(block, 1000);
    }
}

TEST(pool_test, GiveTakesNull) {
    const std::size_t kept = PoolKept();
    PoolGive(nullptr, 100);
    EXPECT_EQ(kept, PoolKept());
}

TEST(pool_test, ExhaustedMemoryIsAMemoryFailureOrNull) {
    PoolTrim();
    int failures = 0;
    int nulls = 0;
    const long runs = support::forEachExhaustion([&] {
        try {
            PoolGive(PoolTake(100), 100);
        } catch (const std::bad_alloc&) {
            ++failures;
        }
        void* const block = TryPoolTake(200);
        nulls += block == nullptr;
        PoolGive(block, 200);
        PoolTrim();
    });
    EXPECT_EQ(2, runs);
    EXPECT_EQ(1, failures);
    EXPECT_EQ(1, nulls);
}

// The lists of a thread that has none cannot be had: the block goes to the system instead, and nothing is lost.
TEST(pool_test, AThreadWithoutListsGivesItsBlocksToTheSystem) {
    long runs = 0;
    std::thread([&] {
        runs = support::forEachExhaustion([] {
            void* const block = TryPoolTake(100);
            PoolGive(block, 100);
            PoolTrim();
        });
    }).join();
    EXPECT_EQ(PoolIsOn() ? 2 : 1, runs);
}

TEST(pool_test, AFreshThreadKeepsNothing) {
    PoolGive(PoolTake(100), 100);
    std::thread([] {
        EXPECT_EQ(0U, PoolKept());
        PoolTrim();
        EXPECT_EQ(0U, PoolKept());
    }).join();
}

TEST(pool_test, BlocksMayBeGivenBackOnAnotherThread) {
    std::vector<std::unique_ptr<MiByte>> objects;
    for (unsigned int i = 1; i < 500; ++i)
        objects.push_back(std::make_unique<MiByte>(i));
    std::thread([&] {
        for (unsigned int i = 1; i < 500; ++i)
            EXPECT_EQ(i, objects[i - 1]->GetLength());
        objects.clear();
        for (unsigned int i = 1; i < 500; ++i)
            objects.push_back(std::make_unique<MiByte>(i, static_cast<unsigned char>(i)));
    }).join();
    for (unsigned int i = 1; i < 500; ++i)
        EXPECT_EQ(static_cast<unsigned char>(i), objects[i - 1]->CharAt(i - 1));
}

TEST(pool_test, ManyThreadsWorkAtOnce) {
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 50; ++round)
                work();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

// The allocator of the system would show it only by what the process holds, so the pool counts its threads.
TEST(pool_test, AThreadGivesEverythingBackWhenItEnds) {
    work();
    const int before = PoolThreads();
    const std::size_t kept = PoolKept();
    int during = 0;
    std::thread([&] {
        work();
        during = PoolThreads();
    }).join();
    EXPECT_EQ(before, PoolThreads());
    EXPECT_EQ(before + (PoolIsOn() ? 1 : 0), during);
    EXPECT_EQ(kept, PoolKept());
}

#if defined(_WIN32)
TEST(pool_test, LeavesTheLastErrorAlone) {
    PoolGive(PoolTake(100), 100);
    SetLastError(1234);
    PoolGive(PoolTake(100), 100);
    EXPECT_EQ(1234U, GetLastError());
}
#else
// Not on Windows: MinGW frees what is thread_local before it runs the destructors.
// Objects that a thread's own thread_local holds are released after or before the lists, and both ways are sound.
TEST(pool_test, ObjectsThatOutliveTheListsOfTheirThreadAreSound) {
    const int before = PoolThreads();
    std::thread([] {
        thread_local MiByte late(100);
        thread_local MiByteBuffer buffer(5000);
        late.SetLength(50);
        buffer.SetLength(10);
    }).join();
    EXPECT_EQ(before, PoolThreads());
}
#endif

}  // namespace
