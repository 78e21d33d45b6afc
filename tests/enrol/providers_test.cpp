#include "enrol/providers.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/call_plan.h"
#include "tests/support/failing_tables.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/fake_system_api.h"

namespace {

constexpr DWORD kProvDss = 3;
constexpr DWORD kProvRsaAes = 24;

class providers_test : public testing::Test {
  protected:
    // nameOf gives the index-th name, "(null)" past the end, "(code)" for a failure.
    static std::string nameOf(std::int32_t index) {
        enrol::HeapText name(new char[1]());
        std::uint32_t length = 99;
        if (enrol::EnumerateProvider(index, name, length) != 0)
            return "(code)";
        if (!name) {
            EXPECT_EQ(length, 0U);
            return "(null)";
        }
        EXPECT_EQ(length, std::string(name.get()).size() + 1);
        return name.get();
    }

    support::FailingTables tables;
    support::FakeSystemApi system;
    support::FakeCryptoApi crypto;
    support::CallPlan calls;
};

TEST_F(providers_test, TheIndexRunsOverRsaFullProvidersAlone) {
    crypto.providers = {{"a DSS provider", kProvDss}, {"first", PROV_RSA_FULL}, {"an AES provider", kProvRsaAes},
                        {"second", PROV_RSA_FULL},    {"third", PROV_RSA_FULL}, {"last", kProvDss}};
    EXPECT_EQ(nameOf(0), "first");
    EXPECT_EQ(nameOf(1), "second");
    EXPECT_EQ(nameOf(2), "third");
    EXPECT_EQ(nameOf(3), "(null)");
    EXPECT_EQ(nameOf(0x7FFFFFFF), "(null)");
}

TEST_F(providers_test, WithoutAnRsaFullProviderTheListIsEmpty) {
    crypto.providers = {{"a DSS provider", kProvDss}};
    EXPECT_EQ(nameOf(0), "(null)");
    crypto.providers.clear();
    EXPECT_EQ(nameOf(0), "(null)");
}

TEST_F(providers_test, ANegativeIndexIsRefusedUnasked) {
    for (const std::int32_t index : {-1, -2147483647 - 1}) {
        enrol::HeapText name;
        std::uint32_t length = 0;
        EXPECT_EQ(enrol::EnumerateProvider(index, name, length), 22018102);
        EXPECT_EQ(name, nullptr);
    }
    EXPECT_TRUE(calls.log().empty());
}

TEST_F(providers_test, ASizeThatCannotBeHadEndsTheList) {
    crypto.providers = {{"first", PROV_RSA_FULL}, {"second", PROV_RSA_FULL}};
    calls.failCall(1);
    EXPECT_EQ(nameOf(0), "(null)");
    calls.failCall(3);
    EXPECT_EQ(nameOf(1), "(null)");
}

TEST_F(providers_test, ANameThatCannotBeHadIsPassedOver) {
    crypto.providers = {{"first", PROV_RSA_FULL}, {"second", PROV_RSA_FULL}};
    calls.failCall(2);
    EXPECT_EQ(nameOf(0), "second");
    calls.failCall(2);
    EXPECT_EQ(nameOf(1), "(null)");
}

TEST_F(providers_test, AsksForEachSizeAndThenTheName) {
    crypto.providers = {{"first", PROV_RSA_FULL}, {"second", PROV_RSA_FULL}};
    nameOf(1);
    EXPECT_EQ(calls.count("CryptEnumProvidersA"), 4);
    EXPECT_EQ(calls.log().size(), 4U);
}

}  // namespace
