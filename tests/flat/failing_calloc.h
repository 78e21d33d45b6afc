// FailingCalloc makes the n-th allocation that T_malloc asks for during its lifetime fail, counted from 0. The test
// program is linked with --wrap=calloc for it.
#ifndef VT_TESTS_FLAT_FAILING_CALLOC_H
#define VT_TESTS_FLAT_FAILING_CALLOC_H

class FailingCalloc {
  public:
    explicit FailingCalloc(int n);
    ~FailingCalloc();
    FailingCalloc(const FailingCalloc&) = delete;
    FailingCalloc& operator=(const FailingCalloc&) = delete;
};

#endif
