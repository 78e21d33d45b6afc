// What the tests of the room share: the plug-in linked in, started in a browser of the tests' own.
#ifndef VT_TESTS_PLUGIN_PLUGIN_TEST_H
#define VT_TESTS_PLUGIN_PLUGIN_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "enrol/enrol.h"
#include "platform/platform.h"
#include "plugin/plugin.h"
#include "tests/host/browser.h"
#include "tests/host/plugin_file.h"
#include "tests/support/replace.h"

inline host::EntryPoints linkedEntryPoints() {
    return {NP_GetEntryPoints, NP_Initialize, NP_Shutdown};
}

// The methods of the script object.
inline constexpr const char* kMethodNames[] = {"genP10",
                                               "genP10_exp_withdn",
                                               "setCSP",
                                               "listCSP",
                                               "writeClientCert",
                                               "writeClientCert_noprotect",
                                               "writeClientCert_exp_X509",
                                               "SetHashAlgorithm",
                                               "getVersion",
                                               "deleteCert",
                                               "IsCertExist",
                                               "CheckCertValid",
                                               "leavingMostRecentCert"};

// The settings as a freshly loaded module has them.
inline void resetSettings() {
    enrol::forgetProvider();
    enrol::sKeySpec = 2;
    enrol::sHashAlgId = 0x8004;
    enrol::sLastError = 0;
    std::fill(std::begin(enrol::sRequestText), std::end(enrol::sRequestText), '\0');
}

// A browser that has loaded the plug-in, without a page yet.
class BrowserTest : public testing::Test {
  protected:
    BrowserTest() {
        resetSettings();
        operations = host::start(linkedEntryPoints(), browser);
        browser.calls.clear();
    }
    ~BrowserTest() override {
        resetSettings();
        EXPECT_THAT(browser.problems(), testing::IsEmpty());
    }

    host::Browser browser;
    NPPluginFuncs operations = {};
};

// A page with one embedded object.
class PageTest : public BrowserTest {
  protected:
    host::Outcome call(const std::string& method, const std::vector<host::Value>& args = {}) {
        return page.call(method, args);
    }
    void chooseProvider(const std::string& name = "Provider") { page.call("setCSP", {name}); }

    host::Page page{browser, operations};
};

// Matchers of what script gets.
MATCHER_P(IsInteger, wanted, "the integer " + std::to_string(wanted)) {
    *result_listener << "type " << arg.type << ", number " << arg.number << ", text \"" << arg.text << "\"";
    return arg.isInteger() && arg.integer() == wanted;
}
MATCHER_P(IsText, wanted, "the text \"" + std::string(wanted) + "\"") {
    *result_listener << "type " << arg.type << ", number " << arg.number << ", text \"" << arg.text << "\"";
    return arg.isText() && arg.terminated && arg.text == wanted;
}
MATCHER(IsUndefined, "no result") {
    return arg.isUndefined();
}
MATCHER(IsScriptError, "an error of script") {
    return !arg.ok;
}

#endif
