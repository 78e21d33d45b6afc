#include <cstring>

#include "tests/plugin/plugin_test.h"

namespace {

constexpr char kSeparator[] = "============================\r\n";

// Standard output in text mode ends its lines as the platform does.
std::string printed(const std::string& text) {
#if defined(_WIN32)
    std::string ended;
    for (const char c : text)
        ended += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return ended;
#else
    return text;
#endif
}

// What reads the captured file in text mode has its line ends back.
MATCHER_P(Printed, text, "") {
    return arg == text || arg == printed(text);
}

class entry_test : public testing::Test {
  protected:
    static NPError initialize(NPNetscapeFuncs* table) {
#if defined(_WIN32)
        return NP_Initialize(table);
#else
        NPPluginFuncs ignored = {};
        return NP_Initialize(table, &ignored);
#endif
    }
};

TEST_F(entry_test, GetEntryPointsRefusesNull) {
    EXPECT_EQ(NP_GetEntryPoints(nullptr), 3);
}

TEST_F(entry_test, GetEntryPointsFillsTheTableAndKeepsItsSize) {
    NPPluginFuncs table;
    std::memset(&table, 0xEE, sizeof(table));
    table.size = 1234;
    ASSERT_EQ(NP_GetEntryPoints(&table), 0);
    EXPECT_EQ(table.size, 1234);
    EXPECT_EQ(table.version, 0x13);
    EXPECT_EQ(table.newp, NPP_New);
    EXPECT_EQ(table.destroy, NPP_Destroy);
    EXPECT_EQ(table.setwindow, NPP_SetWindow);
    EXPECT_EQ(table.newstream, NPP_NewStream);
    EXPECT_EQ(table.destroystream, NPP_DestroyStream);
    EXPECT_EQ(table.asfile, NPP_StreamAsFile);
    EXPECT_EQ(table.writeready, NPP_WriteReady);
    EXPECT_EQ(table.write, NPP_Write);
    EXPECT_EQ(table.print, NPP_Print);
    EXPECT_EQ(table.event, NPP_HandleEvent);
    EXPECT_EQ(table.urlnotify, NPP_URLNotify);
    EXPECT_EQ(table.javaClass, nullptr);
    EXPECT_EQ(table.getvalue, NPP_GetValue);
    EXPECT_EQ(table.setvalue, NPP_SetValue);
}

TEST_F(entry_test, GetEntryPointsWritesNothingBehindSetvalue) {
    NPPluginFuncs table;
    std::memset(&table, 0xEE, sizeof(table));
    ASSERT_EQ(NP_GetEntryPoints(&table), 0);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&table);
    for (std::size_t i = offsetof(NPPluginFuncs, gotfocus); i < sizeof(table); ++i)
        ASSERT_EQ(bytes[i], 0xEE) << "at " << i;
}

TEST_F(entry_test, InitializePrintsTheSeparatorAndRefusesNull) {
    testing::internal::CaptureStdout();
    const NPError error = initialize(nullptr);
    EXPECT_THAT(testing::internal::GetCapturedStdout(), Printed(kSeparator));
    EXPECT_EQ(error, 3);
}

TEST_F(entry_test, InitializePrintsTheSeparatorOnceOnSuccess) {
    NPNetscapeFuncs table = {};
    testing::internal::CaptureStdout();
    const NPError error = initialize(&table);
    EXPECT_THAT(testing::internal::GetCapturedStdout(), Printed(kSeparator));
    EXPECT_EQ(error, 0);
}

TEST_F(entry_test, InitializeCopiesUpToSetexceptionAndNothingBehind) {
    NPNetscapeFuncs table;
    std::memset(&table, 0x5A, sizeof(table));
    std::memset(&plugin::NPNFuncs, 0, sizeof(plugin::NPNFuncs));
    ASSERT_EQ(initialize(&table), 0);
    const auto* const copy = reinterpret_cast<const unsigned char*>(&plugin::NPNFuncs);
    const std::size_t end = offsetof(NPNetscapeFuncs, pushpopupsenabledstate);
    EXPECT_EQ(std::memcmp(copy, &table, end), 0);
    EXPECT_NE(plugin::NPNFuncs.setexception, nullptr);
    for (std::size_t i = end; i < sizeof(plugin::NPNFuncs); ++i)
        ASSERT_EQ(copy[i], 0) << "at " << i;
}

TEST_F(entry_test, InitializeLooksAtNeitherSizeNorVersion) {
    NPNetscapeFuncs table = {};
    table.size = 4;
    table.version = 1;
    table.memfree = [](void*) {};
    ASSERT_EQ(initialize(&table), 0);
    EXPECT_EQ(plugin::NPNFuncs.size, 4);
    EXPECT_EQ(plugin::NPNFuncs.version, 1);
    EXPECT_EQ(plugin::NPNFuncs.memfree, table.memfree);
}

TEST_F(entry_test, ShutdownLeavesTheModuleAsItStands) {
    NPNetscapeFuncs table = {};
    table.size = 77;
    initialize(&table);
    enrol::sLastError = 5;
    enrol::chooseProvider("P", 1);
    EXPECT_EQ(NP_Shutdown(), 0);
    EXPECT_EQ(plugin::NPNFuncs.size, 77);
    EXPECT_EQ(enrol::sLastError, 5);
    EXPECT_STREQ(enrol::sProviderName, "P");
    resetSettings();
}

#if !defined(_WIN32)

TEST_F(entry_test, OnX11InitializeFillsBothTables) {
    NPNetscapeFuncs browser = {};
    browser.version = 20;
    NPPluginFuncs table = {};
    ASSERT_EQ(NP_Initialize(&browser, &table), 0);
    EXPECT_EQ(plugin::NPNFuncs.version, 20);
    EXPECT_EQ(table.version, 19);
    EXPECT_EQ(table.newp, NPP_New);
}

TEST_F(entry_test, OnX11ANullSecondTableIsRefused) {
    NPNetscapeFuncs browser = {};
    EXPECT_EQ(NP_Initialize(&browser, nullptr), 3);
}

TEST_F(entry_test, OnX11TheMimeDescriptionHasNoExtensions) {
    EXPECT_STREQ(NP_GetMIMEDescription(),
                 "application/npvemtrel_certenroll::NPVemtrelCertEnroll scriptability API plugin");
}

TEST_F(entry_test, OnX11GetValueNeedsNoInstance) {
    const char* text = nullptr;
    EXPECT_EQ(NP_GetValue(nullptr, NPPVpluginNameString, &text), 0);
    EXPECT_STREQ(text, "NPVemtrelCertEnroll");
    EXPECT_EQ(NP_GetValue(nullptr, NPPVpluginDescriptionString, &text), 0);
    EXPECT_STREQ(text, "NPVemtrelCertEnroll scriptability API plugin");
    NPBool needsXEmbed = 0;
    EXPECT_EQ(NP_GetValue(nullptr, NPPVpluginNeedsXEmbed, &needsXEmbed), 0);
    EXPECT_EQ(needsXEmbed, 1);
    EXPECT_EQ(NP_GetValue(nullptr, NPPVpluginWindowBool, &text), 1);
}

#endif

// The tables as published; a browser reads them by offset.
static_assert(offsetof(NPNetscapeFuncs, geturl) == sizeof(void*));
static_assert(offsetof(NPNetscapeFuncs, memalloc) == 9 * sizeof(void*));
static_assert(offsetof(NPNetscapeFuncs, getvalue) == 17 * sizeof(void*));
static_assert(offsetof(NPNetscapeFuncs, getstringidentifier) == 22 * sizeof(void*));
static_assert(offsetof(NPNetscapeFuncs, createobject) == 28 * sizeof(void*));
static_assert(offsetof(NPNetscapeFuncs, releasevariantvalue) == 39 * sizeof(void*));
static_assert(offsetof(NPNetscapeFuncs, setexception) == 40 * sizeof(void*));
static_assert(offsetof(NPNetscapeFuncs, urlredirectresponse) == 55 * sizeof(void*));
static_assert(offsetof(NPPluginFuncs, newp) == sizeof(void*));
static_assert(offsetof(NPPluginFuncs, javaClass) == 12 * sizeof(void*));
static_assert(offsetof(NPPluginFuncs, setvalue) == 14 * sizeof(void*));
static_assert(offsetof(NPPluginFuncs, didComposite) == 20 * sizeof(void*));
static_assert(sizeof(NPClass) == 13 * sizeof(void*));
static_assert(sizeof(NPVariant) == 16 + (sizeof(void*) == 8 ? 8 : 0));
static_assert(offsetof(NPVariant, value) == 8);

}  // namespace
