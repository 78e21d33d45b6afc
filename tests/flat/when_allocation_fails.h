// What a call gives when its n-th allocation fails, counted from 1.
#ifndef VT_TESTS_FLAT_WHEN_ALLOCATION_FAILS_H
#define VT_TESTS_FLAT_WHEN_ALLOCATION_FAILS_H

#include "tests/support/failing_heap.h"

template <class Call>
auto whenAllocationFails(long n, Call call) {
    const support::FailingHeap heap(n);
    return call();
}

#endif
