// The codec's tests of exhausted memory rest on FailingHeap, so it is shown here to fail what it says it fails.
#include "tests/support/failing_heap.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>
#include <thread>

namespace {

using support::CountingHeap;
using support::FailingHeap;

// A compiler may drop an allocation that it sees freed unused.
void* volatile kept = nullptr;

bool mallocWorks() {
    void* block = std::malloc(16);
    kept = block;
    std::free(block);
    return block != nullptr;
}

bool reallocWorks() {
    kept = std::malloc(8);
    void* grown = std::realloc(kept, 64);
    std::free(grown == nullptr ? kept : grown);
    return grown != nullptr;
}

bool newWorks() {
    try {
        kept = new std::string(100, 'x');
        delete static_cast<std::string*>(kept);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

TEST(failing_heap_test, FailsTheNthMallocAlone) {
    bool first = false;
    bool second = true;
    bool third = false;
    bool failed = false;
    {
        const FailingHeap heap(2);
        first = mallocWorks();
        second = mallocWorks();
        third = mallocWorks();
        failed = heap.failed();
    }
    EXPECT_TRUE(first);
    EXPECT_FALSE(second);
    EXPECT_TRUE(third);
    EXPECT_TRUE(failed);
}

TEST(failing_heap_test, FailsCallocAndRealloc) {
    void* cleared = nullptr;
    {
        const FailingHeap heap(1);
        cleared = std::calloc(4, 4);
    }
    EXPECT_EQ(cleared, nullptr);
    std::free(cleared);

    bool grew = true;
    {
        const FailingHeap heap(2);
        grew = reallocWorks();
    }
    EXPECT_FALSE(grew);
}

TEST(failing_heap_test, FailsOperatorNewInOurCodeAndInTheStandardLibrary) {
    // The string object is one allocation, made here; its text is another, made in the standard library.
    EXPECT_EQ(support::forEachExhaustion([] { (void)newWorks(); }), 2);
    bool works = true;
    {
        const FailingHeap heap(2);
        works = newWorks();
    }
    EXPECT_FALSE(works);
}

TEST(failing_heap_test, FailsNothrowNewWithNull) {
    int* number = nullptr;
    {
        const FailingHeap heap(1);
        number = new (std::nothrow) int(5);
        kept = number;
    }
    EXPECT_EQ(number, nullptr);
    delete number;
}

TEST(failing_heap_test, CountsAndLeavesNothingArmed) {
    long allocations = 0;
    {
        const CountingHeap heap;
        (void)mallocWorks();
        (void)mallocWorks();
        allocations = heap.allocations();
    }
    EXPECT_EQ(allocations, 2);
    EXPECT_TRUE(mallocWorks());
    EXPECT_TRUE(newWorks());
}

TEST(failing_heap_test, LeavesOtherThreadsAlone) {
    bool works = false;
    bool failed = true;
    std::thread other;
    {
        const FailingHeap heap(1000);
        other = std::thread([&works] {
            works = true;
            for (int i = 0; i < 2000; ++i)
                works = works && mallocWorks();
        });
        other.join();
        failed = heap.failed();
    }
    EXPECT_TRUE(works);
    EXPECT_FALSE(failed);
}

}  // namespace
