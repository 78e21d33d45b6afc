#include "enrol/ansi_text.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/support/call_plan.h"
#include "tests/support/fake_system_api.h"
#include "tests/support/replace.h"

namespace {

using enrol::widen;
using support::CallPlan;
using support::FakeSystemApi;
using support::Replaced;

TEST(ansi_text_test, TextIsConvertedWithoutItsNul) {
    const FakeSystemApi system;
    EXPECT_EQ(widen(CP_ACP, "CN=a, O=b"), L"CN=a, O=b");
    EXPECT_EQ(widen(CP_ACP, "\xC3\xA4"), L"\u00E4");
    EXPECT_EQ(widen(CP_ACP, std::string(1 << 20, 'x').c_str()), std::wstring(1 << 20, L'x'));
}

TEST(ansi_text_test, NothingIsEmptyAndNeedsNoConversion) {
    const FakeSystemApi system;
    const CallPlan calls;
    EXPECT_EQ(widen(CP_ACP, nullptr), L"");
    EXPECT_EQ(widen(CP_ACP, ""), L"");
    EXPECT_TRUE(calls.log().empty());
}

TEST(ansi_text_test, CodePageIsHandedOn) {
    const FakeSystemApi system;
    UINT asked = 99;
    const Replaced<&platform::SystemApi::MultiByteToWideChar> convert(
        [&](UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR wide, int capacity) {
            asked = codePage;
            EXPECT_EQ(flags, 0U);
            return convert.original(codePage, flags, text, length, wide, capacity);
        });
    widen(CP_THREAD_ACP, "a");
    EXPECT_EQ(asked, UINT{CP_THREAD_ACP});
    widen(CP_ACP, "a");
    EXPECT_EQ(asked, UINT{CP_ACP});
}

TEST(ansi_text_test, RefusedConversionThrows) {
    const FakeSystemApi system;
    for (int occurrence = 1; occurrence <= 2; ++occurrence) {
        CallPlan calls;
        calls.failCall("MultiByteToWideChar", occurrence);
        EXPECT_THROW(widen(CP_ACP, "a"), std::runtime_error) << occurrence;
    }
}

}  // namespace
