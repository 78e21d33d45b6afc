// The slots of virtual tables, to hold the order of virtual operations.
//
// Slots count as a reader of the class would: the destructor is one slot. In the table itself, as GCC and clang lay it
// out on both platforms (Itanium C++ ABI), a destructor has two entries, the complete and the deleting one.
#ifndef VT_TESTS_SUPPORT_VTABLE_H
#define VT_TESTS_SUPPORT_VTABLE_H

#include <cstddef>
#include <cstring>

namespace support {

// slotOf(&Class::Operation) gives the operation's slot in a class whose slot 0 is its destructor, or -1 if it is not
// virtual. The class must have a single line of bases.
template <class Member>
std::ptrdiff_t slotOf(Member member) {
    // A pointer to a virtual member is one more than the operation's offset in the table, so an odd number.
    std::ptrdiff_t words[2] = {0, 0};
    static_assert(sizeof member == sizeof words, "a pointer to member is an address or offset, and an adjustment");
    std::memcpy(words, &member, sizeof words);
    if (words[0] % 2 == 0)
        return -1;
    return words[0] / static_cast<std::ptrdiff_t>(sizeof(void*)) - 1;
}

// FirstOwnSlot<Class>() is the slot that the first new virtual operation of a class derived from it takes, so the
// number of virtual operations that Class has: 1 when its destructor is its only one.
template <class Class>
struct WithOneMore : Class {
    virtual void oneMore() {}
};

template <class Class>
std::ptrdiff_t firstOwnSlot() {
    return slotOf(&WithOneMore<Class>::oneMore);
}

}  // namespace support

#endif
