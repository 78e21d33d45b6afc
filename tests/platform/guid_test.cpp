#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "platform/platform.h"

using platform::sys;

TEST(guid_test, IsRandomOfVersionFour) {
    std::set<std::string> seen;
    GUID anyBits = {};
    GUID allBits;
    std::memset(&allBits, 0xFF, sizeof allBits);
    for (int i = 0; i < 500; ++i) {
        GUID guid = {};
        ASSERT_EQ(sys().CoCreateGuid(&guid), 0);
        EXPECT_EQ(guid.Data3 >> 12, 4);
        EXPECT_EQ(guid.Data4[0] & 0xC0, 0x80);
        seen.insert(std::string(reinterpret_cast<const char*>(&guid), sizeof guid));
        anyBits.Data1 |= guid.Data1;
        allBits.Data1 &= guid.Data1;
    }
    EXPECT_EQ(seen.size(), 500u);
    EXPECT_EQ(anyBits.Data1, 0xFFFFFFFFu) << "no bit is stuck at 0";
    EXPECT_EQ(allBits.Data1, 0u) << "no bit is stuck at 1";
}

#if !defined(_WIN32)
TEST(guid_test, RefusesNull) {
    EXPECT_EQ(sys().CoCreateGuid(nullptr), static_cast<HRESULT>(0x80070057u));
}
#endif
