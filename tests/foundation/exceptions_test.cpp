#include "foundation/exceptions.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "tests/support/vtable.h"

namespace {

// The message, which a class derived from MiException may look at.
struct Message : MiException {
    static const std::string& of(const MiException& exception) { return exception.*(&Message::message); }
    static std::ptrdiff_t offset(const MiException& exception) {
        return reinterpret_cast<const char*>(&of(exception)) - reinterpret_cast<const char*>(&exception);
    }
};

// Thrown by value, caught by reference to MiException, and copied there.
template <class Exception>
void expectCaught(const char* message) {
    try {
        throw Exception();
    } catch (const MiException& caught) {
        EXPECT_EQ(message, Message::of(caught));
        EXPECT_NE(nullptr, dynamic_cast<const Exception*>(&caught));
        const MiException copy(caught);
        EXPECT_EQ(message, Message::of(copy));
    } catch (...) {
        FAIL() << message;
    }
}

template <class Exception, class Base>
void expectOneOfTheTree(const char* message) {
    SCOPED_TRACE(message);
    expectCaught<Exception>(message);

    const Exception made;
    Exception copy(made);
    copy = made;
    EXPECT_EQ(message, Message::of(copy));
    MiException assigned;
    assigned = made;
    EXPECT_EQ(message, Message::of(assigned));

    EXPECT_TRUE((std::is_base_of_v<Base, Exception>));
    EXPECT_EQ(sizeof(MiException), sizeof(Exception));
    EXPECT_EQ(std::ptrdiff_t{sizeof(void*)}, Message::offset(made));
    EXPECT_EQ(1, support::firstOwnSlot<Exception>());
    EXPECT_TRUE(std::is_default_constructible_v<Exception>);
    EXPECT_FALSE((std::is_constructible_v<Exception, const char*>));
}

TEST(exceptions_test, HasElevenClassesWithTheirMessages) {
    expectOneOfTheTree<MiException, MiObject>("exp");
    expectOneOfTheTree<MiLogicExp, MiException>("logic exp");
    expectOneOfTheTree<MiInvalidArgumentExp, MiLogicExp>("invalid argument exp");
    expectOneOfTheTree<MiOutOfRangeExp, MiLogicExp>("out of range exp");
    expectOneOfTheTree<MiDomainExp, MiLogicExp>("domain exp");
    expectOneOfTheTree<MiRuntimeExp, MiException>("runtime exp");
    expectOneOfTheTree<MiRangeExp, MiRuntimeExp>("range exp");
    expectOneOfTheTree<AsnException, MiException>("asn exception");
    expectOneOfTheTree<AsnDataExp, AsnException>("asn data exception");
    expectOneOfTheTree<AsnDecodeExp, AsnException>("asn decode exception");
    expectOneOfTheTree<AsnEncodeExp, AsnException>("asn encode exception");
}

TEST(exceptions_test, HoldsTheMessageAlone) {
    EXPECT_EQ(sizeof(void*) + sizeof(std::string), sizeof(MiException));
}

TEST(exceptions_test, SplitsIntoLogicRuntimeAndAsn) {
    EXPECT_FALSE((std::is_base_of_v<MiRuntimeExp, MiOutOfRangeExp>));
    EXPECT_FALSE((std::is_base_of_v<MiLogicExp, MiRangeExp>));
    EXPECT_FALSE((std::is_base_of_v<MiLogicExp, AsnException>));
    EXPECT_FALSE((std::is_base_of_v<MiRuntimeExp, AsnException>));
    EXPECT_FALSE((std::is_base_of_v<std::exception, MiException>));
}

TEST(exceptions_test, AssignmentToItselfKeepsTheMessage) {
    AsnDecodeExp exception;
    const AsnDecodeExp& same = exception;
    exception = same;
    EXPECT_EQ("asn decode exception", Message::of(exception));
}

}  // namespace
