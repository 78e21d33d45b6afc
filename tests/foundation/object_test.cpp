#include "foundation/object.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "foundation/byte.h"
#include "foundation/exceptions.h"
#include "foundation/string_buffer.h"
#include "tests/support/failing_heap.h"
#include "tests/support/vtable.h"

namespace {

class Thing : public MiObject {
  public:
    int number = 0;
};

struct Refusal {};

class Refusing : public MiObject {
  public:
    Refusing() { throw Refusal(); }
};

TEST(object_test, HasNoDataAndOneVirtualOperation) {
    EXPECT_EQ(sizeof(void*), sizeof(MiObject));
    EXPECT_TRUE(std::has_virtual_destructor_v<MiObject>);
    EXPECT_EQ(1, support::firstOwnSlot<MiObject>());
}

TEST(object_test, IsMadeByItsDescendantsOnly) {
    EXPECT_FALSE(std::is_default_constructible_v<MiObject>);
    EXPECT_TRUE(std::is_copy_constructible_v<MiObject>);
    EXPECT_TRUE(std::is_copy_assignable_v<MiObject>);
}

TEST(object_test, AssignmentCopiesNothingAndReturnsTheObject) {
    Thing one;
    Thing two;
    one.number = 1;
    two.number = 2;
    MiObject& base = one;
    EXPECT_EQ(&one, &(base = two));
    EXPECT_EQ(1, one.number);
    const MiObject copy(base);
    EXPECT_NE(&copy, &base);
}

TEST(object_test, CountersAreSigned32BitAndStayZero) {
    EXPECT_TRUE((std::is_same_v<decltype(newnumber), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(delnumber), std::int32_t>));
    for (int i = 0; i < 100; ++i)
        delete new MiByte(100);
    EXPECT_EQ(0, newnumber);
    EXPECT_EQ(0, delnumber);
}

TEST(object_test, TerminalPrintsBothCounters) {
    testing::internal::CaptureStdout();
    terminal();
    EXPECT_EQ("new number : 0\ndelete number : 0\n", testing::internal::GetCapturedStdout());

    MiStringBuffer work("work");
    work.Append(5000U);
    testing::internal::CaptureStdout();
    terminal();
    EXPECT_EQ("new number : 0\ndelete number : 0\n", testing::internal::GetCapturedStdout());
}

TEST(object_test, TerminalPrintsWhatTheCountersHold) {
    newnumber = 2147483647;
    delnumber = -5;
    testing::internal::CaptureStdout();
    terminal();
    newnumber = 0;
    delnumber = 0;
    EXPECT_EQ("new number : 2147483647\ndelete number : -5\n", testing::internal::GetCapturedStdout());
}

TEST(object_test, MemoryFailureIsNoneOfTheExceptionTree) {
    EXPECT_THROW(MiMemoryFailure(), std::bad_alloc);
    try {
        MiMemoryFailure();
    } catch (const MiException&) {
        FAIL();
    } catch (const std::bad_alloc&) {
        SUCCEED();
    }
}

TEST(object_test, ExhaustedMemoryIsAMemoryFailureForNew) {
    // Larger than the pool keeps, so that each one is the system's.
    struct Large : MiObject {
        char room[20000];
    };
    int failures = 0;
    const long runs = support::forEachExhaustion([&] {
        try {
            delete new Large;
        } catch (const std::bad_alloc&) {
            ++failures;
        }
    });
    EXPECT_EQ(1, runs);
    EXPECT_EQ(1, failures);
}

TEST(object_test, ExhaustedMemoryIsNullForNothrowNew) {
    struct Large : MiObject {
        char room[20000];
    };
    int nulls = 0;
    const long runs = support::forEachExhaustion([&] {
        auto* const made = new (std::nothrow) Large;
        nulls += made == nullptr;
        delete made;
    });
    EXPECT_EQ(1, runs);
    EXPECT_EQ(1, nulls);
}

TEST(object_test, IsMadeAtAPlaceToo) {
    alignas(Thing) char place[sizeof(Thing)];
    auto* const thing = new (place) Thing;
    EXPECT_EQ(static_cast<void*>(place), thing);
    thing->~Thing();
}

// The leak checker sees to it that the block is given back.
TEST(object_test, AThrowingConstructorLosesNothing) {
    EXPECT_THROW(delete new Refusing, Refusal);
    EXPECT_THROW(delete new (std::nothrow) Refusing, Refusal);
    alignas(Refusing) char place[sizeof(Refusing)];
    EXPECT_THROW(new (place) Refusing, Refusal);
}

TEST(object_test, IsDeletedThroughTheRoot) {
    MiObject* const object = new MiByte(1000);
    delete object;
    MiObject* const buffer = new MiStringBuffer("text");
    delete buffer;
}

}  // namespace
