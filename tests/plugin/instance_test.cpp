#include <cstring>

#include "tests/plugin/plugin_test.h"
#include "tests/support/failing_heap.h"
#include "tests/support/failing_tables.h"

namespace {

using platform::SystemApi;
using support::Replaced;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kWelcome[] = "Welcome to Vemtrel CertEnroll Plugin";

// Window calls in the tests' hands: what is set, and what a painting does.
struct FakeWindows {
    std::vector<std::string> log;
    LONG_PTR formerProcedure = 0x1234;
    LONG_PTR userData = 0;
    std::string drawn;
    UINT drawnFormat = 0;

    support::FailingTables everythingElseFails;
    Replaced<&SystemApi::SetWindowLongA> setLong{[this](HWND window, int index, LONG_PTR value) -> LONG_PTR {
        std::string what = std::to_string(value);
        if (value == reinterpret_cast<LONG_PTR>(&plugin::PluginWinProc))
            what = "PluginWinProc";
        if (index == -21) {
            userData = value;
            what = "record";
        }
        log.push_back("SetWindowLongA " + std::to_string(reinterpret_cast<LONG_PTR>(window)) + " " +
                      std::to_string(index) + " " + what);
        return index == -4 ? formerProcedure : 0;
    }};
    Replaced<&SystemApi::GetWindowLongA> getLong{[this](HWND, int index) -> LONG_PTR {
        log.push_back("GetWindowLongA " + std::to_string(index));
        return userData;
    }};
    Replaced<&SystemApi::BeginPaint> beginPaint{[this](HWND, PAINTSTRUCT*) {
        log.emplace_back("BeginPaint");
        return reinterpret_cast<HDC>(LONG_PTR{7});
    }};
    Replaced<&SystemApi::EndPaint> endPaint{[this](HWND, const PAINTSTRUCT*) {
        log.emplace_back("EndPaint");
        return TRUE;
    }};
    Replaced<&SystemApi::GetClientRect> clientRect{[this](HWND, RECT* rect) {
        log.emplace_back("GetClientRect");
        *rect = {1, 2, 30, 40};
        return TRUE;
    }};
    Replaced<&SystemApi::GetStockObject> stockObject{[this](int object) {
        log.push_back("GetStockObject " + std::to_string(object));
        return reinterpret_cast<HGDIOBJ>(LONG_PTR{9});
    }};
    Replaced<&SystemApi::FrameRect> frameRect{[this](HDC dc, const RECT* rect, HBRUSH brush) {
        EXPECT_EQ(dc, reinterpret_cast<HDC>(LONG_PTR{7}));
        EXPECT_EQ(brush, reinterpret_cast<HBRUSH>(LONG_PTR{9}));
        log.push_back("FrameRect " + std::to_string(rect->left) + " " + std::to_string(rect->top) + " " +
                      std::to_string(rect->right) + " " + std::to_string(rect->bottom));
        return 1;
    }};
    Replaced<&SystemApi::DrawTextA> drawText{[this](HDC, LPCSTR text, int length, RECT*, UINT format) {
        log.emplace_back("DrawTextA");
        drawn = length < 0 ? std::string(text) : std::string(text, static_cast<std::size_t>(length));
        drawnFormat = format;
        return 1;
    }};
    Replaced<&SystemApi::DefWindowProcA> defaultProcedure{[this](HWND, UINT message, WPARAM w, LPARAM l) -> LRESULT {
        log.push_back("DefWindowProcA " + std::to_string(message) + " " + std::to_string(w) + " " + std::to_string(l));
        return 55;
    }};
};

NPWindow windowAt(std::uintptr_t handle) {
    NPWindow window = {};
    window.window = reinterpret_cast<void*>(handle);
    window.width = 10;
    window.height = 10;
    return window;
}

class instance_test : public BrowserTest {
  protected:
    NPError makeInstance(NPP npp) { return operations.newp(nullptr, npp, 1, 0, nullptr, nullptr, nullptr); }
    static plugin::PluginInstance* record(NPP npp) { return static_cast<plugin::PluginInstance*>(npp->pdata); }

    NPP_t first = {};
    NPP_t second = {};
};

TEST_F(instance_test, EveryOperationRefusesANullInstance) {
    char byte = 0;
    NPWindow window = windowAt(1);
    EXPECT_EQ(makeInstance(nullptr), 2);
    EXPECT_EQ(operations.destroy(nullptr, nullptr), 2);
    EXPECT_EQ(operations.setwindow(nullptr, &window), 2);
    EXPECT_EQ(operations.newstream(nullptr, nullptr, nullptr, 0, nullptr), 2);
    EXPECT_EQ(operations.destroystream(nullptr, nullptr, 0), 2);
    EXPECT_EQ(operations.writeready(nullptr, nullptr), 2);
    EXPECT_EQ(operations.write(nullptr, nullptr, 0, 100, &byte), 2);
    EXPECT_EQ(operations.getvalue(nullptr, NPPVpluginNameString, &byte), 2);
    EXPECT_EQ(operations.setvalue(nullptr, NPNVWindowNPObject, &byte), 2);
}

TEST_F(instance_test, OperationsWithoutBehaviourAnswerTheirFixedNumber) {
    char byte = 0;
    NPP npp = &first;  // no record is needed
    EXPECT_EQ(operations.newstream(npp, nullptr, nullptr, 0, nullptr), 0);
    EXPECT_EQ(operations.destroystream(npp, nullptr, 0), 0);
    EXPECT_EQ(operations.setvalue(npp, NPNVWindowNPObject, &byte), 0);
    EXPECT_EQ(operations.writeready(npp, nullptr), 0x0FFFFFFF);
    EXPECT_EQ(operations.write(npp, nullptr, 5, 1234, &byte), 1234);
    EXPECT_EQ(operations.write(npp, nullptr, 0, -1, &byte), -1);
    EXPECT_EQ(operations.event(npp, &byte), 0);
    EXPECT_EQ(operations.event(nullptr, nullptr), 0);
    operations.asfile(nullptr, nullptr, nullptr);
    operations.print(nullptr, nullptr);
    operations.urlnotify(nullptr, nullptr, 0, nullptr);
    EXPECT_THAT(browser.calls, IsEmpty());
}

TEST_F(instance_test, NewAsksTheBrowserInOrder) {
    ASSERT_EQ(makeInstance(&first), 0);
    EXPECT_THAT(
        browser.calls,
        ElementsAre("GetValue 15", "GetStringIdentifier foof", "GetStringIdentifier document",
                    "GetStringIdentifier body", "GetStringIdentifier createElement",
                    "GetStringIdentifier createTextNode", "GetStringIdentifier appendChild",
                    "GetStringIdentifier genP10", "GetStringIdentifier genP10_exp_withdn", "GetStringIdentifier setCSP",
                    "GetStringIdentifier listCSP", "GetStringIdentifier writeClientCert",
                    "GetStringIdentifier writeClientCert_noprotect", "GetStringIdentifier writeClientCert_exp_X509",
                    "GetStringIdentifier SetHashAlgorithm", "GetStringIdentifier getVersion",
                    "GetStringIdentifier deleteCert", "GetStringIdentifier IsCertExist", "GetStringIdentifier KeySpec",
                    "GetStringIdentifier CheckCertValid", "GetStringIdentifier leavingMostRecentCert", "UserAgent"));
    EXPECT_EQ(plugin::sDocument_id, browser.identifier("document"));
    EXPECT_EQ(plugin::sBody_id, browser.identifier("body"));
    EXPECT_EQ(plugin::sCreateElement_id, browser.identifier("createElement"));
    EXPECT_EQ(plugin::sCreateTextNode_id, browser.identifier("createTextNode"));
    EXPECT_EQ(plugin::sAppendChild_id, browser.identifier("appendChild"));
    EXPECT_EQ(plugin::sKeySpec_id, browser.identifier("KeySpec"));
    EXPECT_EQ(plugin::sWindowObj, browser.window());
    operations.destroy(&first, nullptr);
}

TEST_F(instance_test, NewMakesAFreshRecord) {
    ASSERT_EQ(makeInstance(&first), 0);
    const plugin::PluginInstance* const made = record(&first);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->npp, &first);
    EXPECT_EQ(made->hWnd, nullptr);
    EXPECT_EQ(made->spare, 0u);
    EXPECT_FALSE(made->initialized);
    EXPECT_EQ(made->scriptableObject, nullptr);
    EXPECT_STREQ(made->text, kWelcome);
    EXPECT_EQ(sizeof(made->text), 128u);
    operations.destroy(&first, nullptr);
}

TEST_F(instance_test, WithoutMemoryNewGives5AndChangesNothing) {
    enrol::chooseProvider("P", 1);
    NPError error = 0;
    {
        const support::FailingHeap heap(1);
        error = makeInstance(&first);
    }
    EXPECT_EQ(error, 5);
    EXPECT_EQ(first.pdata, nullptr);
    EXPECT_THAT(browser.calls, IsEmpty());
    EXPECT_STREQ(enrol::sProviderName, "P");
}

TEST_F(instance_test, TheRecordKeepsItsOrderOfFields) {
    using Record = plugin::PluginInstance;
    EXPECT_EQ(offsetof(Record, npp), 0u);
    EXPECT_LT(offsetof(Record, npp), offsetof(Record, hWnd));
    EXPECT_LT(offsetof(Record, hWnd), offsetof(Record, window));
    EXPECT_LT(offsetof(Record, window), offsetof(Record, spare));
    EXPECT_LT(offsetof(Record, spare), offsetof(Record, initialized));
    EXPECT_LT(offsetof(Record, initialized), offsetof(Record, scriptableObject));
    EXPECT_LT(offsetof(Record, scriptableObject), offsetof(Record, text));
}

TEST_F(instance_test, ARefusedWindowObjectGoesUnnoticed) {
    ASSERT_EQ(makeInstance(&first), 0);
    browser.refuseValues = true;
    EXPECT_EQ(makeInstance(&second), 0);
    EXPECT_EQ(plugin::sWindowObj, browser.window()) << "it stays as it was";
    operations.destroy(&second, nullptr);
    operations.destroy(&first, nullptr);
    EXPECT_EQ(browser.windowReferences(), 0);
}

TEST_F(instance_test, DestroyReleasesWhatTheInstanceHeld) {
    ASSERT_EQ(makeInstance(&first), 0);
    NPObject* object = nullptr;
    ASSERT_EQ(operations.getvalue(&first, NPPVpluginScriptableNPObject, &object), 0);
    browser.release(object);
    EXPECT_EQ(browser.liveObjects(), 1u) << "the record's own reference";
    browser.calls.clear();
    EXPECT_EQ(operations.destroy(&first, nullptr), 0);
    EXPECT_THAT(browser.calls, ElementsAre("ReleaseObject", "ReleaseObject"));
    EXPECT_EQ(browser.liveObjects(), 0u);
    EXPECT_EQ(browser.windowReferences(), 0);
    EXPECT_EQ(plugin::sWindowObj, nullptr);
    EXPECT_NE(first.pdata, nullptr) << "pdata is not cleared";
}

TEST_F(instance_test, AnObjectOutlivesItsInstanceWhileThePageHoldsIt) {
    ASSERT_EQ(makeInstance(&first), 0);
    NPObject* object = nullptr;
    ASSERT_EQ(operations.getvalue(&first, NPPVpluginScriptableNPObject, &object), 0);
    operations.destroy(&first, nullptr);
    EXPECT_EQ(browser.liveObjects(), 1u);
    EXPECT_THAT(browser.call(object, "getVersion", {}), IsText("1.0.14.1"));
    browser.release(object);
    EXPECT_EQ(browser.liveObjects(), 0u);
}

TEST_F(instance_test, DestroyingOneOfTwoZeroesTheSharedWindowObject) {
    ASSERT_EQ(makeInstance(&first), 0);
    ASSERT_EQ(makeInstance(&second), 0);
    EXPECT_EQ(browser.windowReferences(), 2);
    operations.destroy(&first, nullptr);
    EXPECT_EQ(plugin::sWindowObj, nullptr);
    browser.calls.clear();
    operations.destroy(&second, nullptr);
    EXPECT_THAT(browser.calls, IsEmpty()) << "nothing is left to release";
    EXPECT_EQ(browser.windowReferences(), 1);
    browser.release(browser.window());
}

TEST_F(instance_test, DestroyWithoutARecordStillForgetsTheProvider) {
    enrol::chooseProvider("P", 1);
    EXPECT_EQ(operations.destroy(&first, nullptr), 0);
    EXPECT_EQ(enrol::sProviderName, nullptr);
}

TEST_F(instance_test, EachNewAndDestroyForgetsTheChosenProvider) {
    ASSERT_EQ(makeInstance(&first), 0);
    enrol::chooseProvider("P", 1);
    std::memset(enrol::sProviderListText, 'x', sizeof(enrol::sProviderListText));
    ASSERT_EQ(makeInstance(&second), 0);
    EXPECT_EQ(enrol::sProviderName, nullptr);
    EXPECT_EQ(std::count(std::begin(enrol::sProviderListText), std::end(enrol::sProviderListText), '\0'), 2048);

    enrol::chooseProvider("P", 1);
    std::memset(enrol::sProviderListText, 'x', sizeof(enrol::sProviderListText));
    operations.destroy(&second, nullptr);
    EXPECT_EQ(enrol::sProviderName, nullptr);
    EXPECT_EQ(std::count(std::begin(enrol::sProviderListText), std::end(enrol::sProviderListText), '\0'), 2048);
    operations.destroy(&first, nullptr);
    browser.release(browser.window());
}

TEST_F(instance_test, OtherSettingsSurviveInstances) {
    enrol::sKeySpec = 1;
    enrol::sHashAlgId = 0x8003;
    enrol::sLastError = 42;
    ASSERT_EQ(makeInstance(&first), 0);
    operations.destroy(&first, nullptr);
    EXPECT_EQ(enrol::sKeySpec, 1);
    EXPECT_EQ(enrol::sHashAlgId, 0x8003);
    EXPECT_EQ(enrol::sLastError, 42);
}

TEST_F(instance_test, GetValueTellsNameAndDescription) {
    const char* text = nullptr;
    EXPECT_EQ(operations.getvalue(&first, NPPVpluginNameString, &text), 1) << "without a record";
    ASSERT_EQ(makeInstance(&first), 0);
    EXPECT_EQ(operations.getvalue(&first, NPPVpluginNameString, &text), 0);
    EXPECT_STREQ(text, "NPVemtrelCertEnroll");
    EXPECT_EQ(operations.getvalue(&first, NPPVpluginDescriptionString, &text), 0);
    EXPECT_STREQ(text, "NPVemtrelCertEnroll scriptability API plugin");
    operations.destroy(&first, nullptr);
}

TEST_F(instance_test, GetValueRefusesEveryOtherVariable) {
    ASSERT_EQ(makeInstance(&first), 0);
    for (int variable = 0; variable < 30; ++variable) {
        if (variable == 1 || variable == 2 || variable == 15)
            continue;
        std::uint64_t value = 0;
#if !defined(_WIN32)
        if (variable == 14) {
            EXPECT_EQ(operations.getvalue(&first, NPPVpluginNeedsXEmbed, &value), 0);
            EXPECT_EQ(value, 1u);
            continue;
        }
#endif
        EXPECT_EQ(operations.getvalue(&first, static_cast<NPPVariable>(variable), &value), 1) << variable;
        EXPECT_EQ(value, 0u) << variable;
    }
    operations.destroy(&first, nullptr);
}

TEST_F(instance_test, TheScriptObjectIsMadeOnceAndRetainedEachTime) {
    ASSERT_EQ(makeInstance(&first), 0);
    browser.calls.clear();
    NPObject* object = nullptr;
    NPObject* again = nullptr;
    EXPECT_EQ(operations.getvalue(&first, NPPVpluginScriptableNPObject, &object), 0);
    EXPECT_EQ(operations.getvalue(&first, NPPVpluginScriptableNPObject, &again), 0);
    EXPECT_THAT(browser.calls, ElementsAre("CreateObject", "RetainObject", "RetainObject"));
    EXPECT_EQ(object, again);
    EXPECT_EQ(object->_class, &plugin::sScriptablePluginObject_NPClass);
    EXPECT_EQ(object->referenceCount, 3u);
    browser.release(object);
    browser.release(object);
    operations.destroy(&first, nullptr);
    EXPECT_EQ(browser.liveObjects(), 0u);
}

TEST_F(instance_test, ARefusedScriptObjectIsASuccessWithNull) {
    ASSERT_EQ(makeInstance(&first), 0);
    browser.refuseObjects = true;
    NPObject* object = browser.window();
    EXPECT_EQ(operations.getvalue(&first, NPPVpluginScriptableNPObject, &object), 0);
    EXPECT_EQ(object, nullptr);
    browser.refuseObjects = false;
    EXPECT_EQ(operations.getvalue(&first, NPPVpluginScriptableNPObject, &object), 0);
    EXPECT_NE(object, nullptr) << "asked for again, it is made";
    browser.release(object);
    operations.destroy(&first, nullptr);
}

TEST_F(instance_test, SetWindowNeedsAWindowAndARecord) {
    NPWindow window = windowAt(100);
    EXPECT_EQ(operations.setwindow(&first, &window), 1) << "without a record";
    ASSERT_EQ(makeInstance(&first), 0);
    EXPECT_EQ(operations.setwindow(&first, nullptr), 1);
    operations.destroy(&first, nullptr);
}

TEST_F(instance_test, SetWindowWithoutAHandleWaits) {
    FakeWindows windows;
    ASSERT_EQ(makeInstance(&first), 0);
    NPWindow window = windowAt(0);
    EXPECT_EQ(operations.setwindow(&first, &window), 0);
    EXPECT_THAT(windows.log, IsEmpty());
    EXPECT_FALSE(record(&first)->initialized);
    operations.destroy(&first, nullptr);
}

TEST_F(instance_test, SetWindowSubclassesOnce) {
    FakeWindows windows;
    ASSERT_EQ(makeInstance(&first), 0);
    NPWindow window = windowAt(100);
    NPWindow other = windowAt(200);
    EXPECT_EQ(operations.setwindow(&first, &window), 0);
    EXPECT_THAT(windows.log, ElementsAre("SetWindowLongA 100 -4 PluginWinProc", "SetWindowLongA 100 -21 record"));
    EXPECT_EQ(windows.userData, reinterpret_cast<LONG_PTR>(record(&first)));
    EXPECT_EQ(reinterpret_cast<LONG_PTR>(plugin::sOldWndProc), 0x1234);
    EXPECT_TRUE(record(&first)->initialized);
    EXPECT_EQ(record(&first)->hWnd, window.window);
    EXPECT_EQ(record(&first)->window, &window);

    windows.log.clear();
    EXPECT_EQ(operations.setwindow(&first, &other), 0) << "another handle does not subclass again";
    EXPECT_THAT(windows.log, IsEmpty());
    EXPECT_EQ(record(&first)->hWnd, window.window);

    operations.destroy(&first, nullptr);
    EXPECT_THAT(windows.log, ElementsAre("SetWindowLongA 100 -4 " + std::to_string(0x1234)));
}

TEST_F(instance_test, AttachRefusesAZeroHandle) {
    FakeWindows windows;
    ASSERT_EQ(makeInstance(&first), 0);
    NPWindow window = windowAt(0);
    EXPECT_FALSE(record(&first)->attach(&window));
    EXPECT_THAT(windows.log, IsEmpty());
    operations.destroy(&first, nullptr);
}

TEST_F(instance_test, DestroyRestoresAlsoWhereNoWindowWasAttached) {
    FakeWindows windows;
    plugin::sOldWndProc = nullptr;
    ASSERT_EQ(makeInstance(&first), 0);
    operations.destroy(&first, nullptr);
    EXPECT_THAT(windows.log, ElementsAre("SetWindowLongA 0 -4 0"));
}

TEST_F(instance_test, OneSlotHoldsTheFormerProcedureOfTheLaterWindow) {
    FakeWindows windows;
    ASSERT_EQ(makeInstance(&first), 0);
    ASSERT_EQ(makeInstance(&second), 0);
    NPWindow window = windowAt(100);
    NPWindow other = windowAt(200);
    windows.formerProcedure = 1001;
    operations.setwindow(&first, &window);
    windows.formerProcedure = 1002;
    operations.setwindow(&second, &other);
    windows.log.clear();
    operations.destroy(&first, nullptr);
    EXPECT_THAT(windows.log, ElementsAre("SetWindowLongA 100 -4 1002"));
    operations.destroy(&second, nullptr);
    browser.release(browser.window());
}

TEST_F(instance_test, PaintDrawsFrameAndTextThenGoesToTheDefaultProcedure) {
    FakeWindows windows;
    ASSERT_EQ(makeInstance(&first), 0);
    NPWindow window = windowAt(100);
    operations.setwindow(&first, &window);
    windows.log.clear();
    EXPECT_EQ(plugin::PluginWinProc(static_cast<HWND>(window.window), 15, 3, 4), 55);
    EXPECT_THAT(windows.log, ElementsAre("BeginPaint", "GetClientRect", "GetStockObject 4", "FrameRect 1 2 30 40",
                                         "GetWindowLongA -21", "DrawTextA", "EndPaint", "DefWindowProcA 15 3 4"));
    EXPECT_EQ(windows.drawn, kWelcome);
    EXPECT_EQ(windows.drawnFormat, 0x25u);
    operations.destroy(&first, nullptr);
}

TEST_F(instance_test, PaintDrawsTheRecordsTextAndFillsAnEmptyOne) {
    FakeWindows windows;
    ASSERT_EQ(makeInstance(&first), 0);
    NPWindow window = windowAt(100);
    operations.setwindow(&first, &window);
    std::strcpy(record(&first)->text, "another text");
    plugin::PluginWinProc(static_cast<HWND>(window.window), 15, 0, 0);
    EXPECT_EQ(windows.drawn, "another text");
    record(&first)->text[0] = '\0';
    plugin::PluginWinProc(static_cast<HWND>(window.window), 15, 0, 0);
    EXPECT_EQ(windows.drawn, kWelcome);
    EXPECT_STREQ(record(&first)->text, kWelcome);
    operations.destroy(&first, nullptr);
}

TEST_F(instance_test, PaintOfAWindowWithoutARecordDrawsTheFrameAlone) {
    FakeWindows windows;
    plugin::PluginWinProc(reinterpret_cast<HWND>(LONG_PTR{300}), 15, 0, 0);
    EXPECT_THAT(windows.log, ElementsAre("BeginPaint", "GetClientRect", "GetStockObject 4", "FrameRect 1 2 30 40",
                                         "GetWindowLongA -21", "EndPaint", "DefWindowProcA 15 0 0"));
}

TEST_F(instance_test, OtherMessagesGoToTheDefaultProcedureAlone) {
    FakeWindows windows;
    EXPECT_EQ(plugin::PluginWinProc(reinterpret_cast<HWND>(LONG_PTR{300}), 16, 1, 2), 55);
    EXPECT_THAT(windows.log, ElementsAre("DefWindowProcA 16 1 2"));
}

}  // namespace
