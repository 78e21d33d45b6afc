// GetObject is a macro of the system's headers on Windows; this includes them first.
#if defined(_WIN32)
#include <windows.h>
#else
#define GetObject GetObjectA
#endif

#include <gtest/gtest.h>

#include <type_traits>

#include "schema/schema.h"
#include "tests/schema/get_object.h"

namespace {

#if !defined(GetObject)
#error "a header took the macro away from its owner"
#endif

#if defined(_WIN32)
TEST(get_object_test, IsReachedThroughTheMacro) {
    const CountryName country;
    const AdministrationDomainName domain;
    EXPECT_EQ(country.GetObject(), country.GetData());
    EXPECT_EQ(domain.GetObject(), domain.GetData());
    EXPECT_EQ(country.GetObject(), objectOf(country));
}
#endif

#undef GetObject

TEST(get_object_test, HasItsOwnNameWhateverCameFirst) {
    static_assert(std::is_same_v<decltype(&CountryName::GetObject), const TBTCountryName* (CountryName::*)() const>);
    const CountryName country;
    EXPECT_EQ(country.GetObject(), objectOf(country));
}

}  // namespace
