// A heap that runs out on command, to show that an operation survives exhausted memory at each of its allocations.
//
//     support::forEachExhaustion([&] {
//         BerWriter* writer = BerWriterCreate();   // null while an allocation of it fails
//         BerWriterFree(writer);
//     });
//
// A test program opts in by linking vt_failing_heap. malloc, calloc and realloc are caught where our own objects (and
// all statically linked ones) call them, operator new everywhere in the process. Memory that a shared library takes
// by malloc for itself (strdup, fopen) is not caught.
#ifndef VT_TESTS_SUPPORT_FAILING_HEAP_H
#define VT_TESTS_SUPPORT_FAILING_HEAP_H

#include <climits>

namespace support {

// While a FailingHeap lives, the n-th allocation of the thread that made it (counted from 1) fails: null from the C
// functions, std::bad_alloc from operator new. The ones before and after it succeed. One may live at a time; GoogleTest
// assertions belong after its life, since they allocate too.
class FailingHeap {
  public:
    explicit FailingHeap(long n);
    ~FailingHeap();
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;

    // Whether the n-th allocation was asked for, and so refused.
    [[nodiscard]] bool failed() const { return count_ >= failAt_; }

    // How many allocations were asked for.
    [[nodiscard]] long count() const { return count_; }

    // For the allocators alone: counts one more, and says whether it is the one to fail.
    bool takeOne() { return ++count_ == failAt_; }

  private:
    long failAt_;
    long count_ = 0;
};

// A FailingHeap that never fails, to count what an operation takes.
class CountingHeap {
  public:
    CountingHeap() : heap_(LONG_MAX) {}
    [[nodiscard]] long allocations() const { return heap_.count(); }

  private:
    FailingHeap heap_;
};

// forEachExhaustion runs the operation with its first allocation failing, then with its second, and so on until a run
// meets no failure. It returns the number of runs in which one failed, which a test compares with what it expects.
template <class Operation>
long forEachExhaustion(Operation&& operation) {
    for (long n = 1;; ++n) {
        const FailingHeap heap(n);
        operation();
        if (!heap.failed())
            return n - 1;
    }
}

}  // namespace support

#endif
