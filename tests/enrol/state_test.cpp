#include "enrol/state.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

TEST(state_test, StartsWithASignatureKeyAndSha1) {
    EXPECT_EQ(enrol::sProviderName, nullptr);
    EXPECT_EQ(enrol::sKeySpec, 2);
    EXPECT_EQ(enrol::sHashAlgId, 0x8004);
    EXPECT_EQ(enrol::sLastError, 0);
    EXPECT_EQ(sizeof(enrol::sRequestText), 4096U);
    EXPECT_EQ(sizeof(enrol::sProviderListText), 2048U);
}

TEST(state_test, KeepsATerminatedCopyOfTheProvidersName) {
    const char name[] = {'P', 'r', 'o', 'v', '#'};
    ASSERT_TRUE(enrol::chooseProvider(name, 4));
    EXPECT_STREQ(enrol::sProviderName, "Prov");
    ASSERT_TRUE(enrol::chooseProvider(name, 1));
    EXPECT_STREQ(enrol::sProviderName, "P");
    ASSERT_TRUE(enrol::chooseProvider("a\0b", 3));
    EXPECT_EQ(std::memcmp(enrol::sProviderName, "a\0b", 4), 0);
    enrol::forgetProvider();
}

TEST(state_test, ANameThatNoMemoryCanHoldIsRefused) {
    ASSERT_TRUE(enrol::chooseProvider("Prov", 4));
    EXPECT_FALSE(enrol::chooseProvider("x", SIZE_MAX));
    EXPECT_EQ(enrol::sProviderName, nullptr);
}

TEST(state_test, ForgettingClearsTheProviderAndTheListAlone) {
    ASSERT_TRUE(enrol::chooseProvider("Prov", 4));
    std::memset(enrol::sProviderListText, 'x', sizeof(enrol::sProviderListText));
    enrol::sKeySpec = 1;
    enrol::sHashAlgId = 0x8003;
    enrol::sLastError = 5;
    enrol::forgetProvider();
    EXPECT_EQ(enrol::sProviderName, nullptr);
    for (const char c : enrol::sProviderListText)
        ASSERT_EQ(c, '\0');
    EXPECT_EQ(enrol::sKeySpec, 1);
    EXPECT_EQ(enrol::sHashAlgId, 0x8003);
    EXPECT_EQ(enrol::sLastError, 5);
    enrol::forgetProvider();
    enrol::sKeySpec = 2;
    enrol::sHashAlgId = 0x8004;
    enrol::sLastError = 0;
}

}  // namespace
