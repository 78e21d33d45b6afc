#include <cstring>
#include <limits>

#include "tests/plugin/fake_enrol.h"
#include "tests/plugin/plugin_test.h"
#include "tests/support/failing_heap.h"
#include "tests/support/vtable.h"

namespace {

using host::Value;
using plugin::ScriptablePluginObject;
using plugin::ScriptablePluginObjectBase;
using support::slotOf;

class scriptable_test : public PageTest {
  protected:
    static NPClass& table() { return plugin::sScriptablePluginObject_NPClass; }
    NPIdentifier id(const char* name) { return browser.identifier(name); }
};

TEST_F(scriptable_test, VirtualOperationsStandInTheirFixedOrder) {
    using Base = ScriptablePluginObjectBase;
    const std::ptrdiff_t first = slotOf(&Base::Invalidate);
    EXPECT_EQ(first, 1) << "behind the destructor";
    EXPECT_EQ(slotOf(&Base::HasMethod), first + 1);
    EXPECT_EQ(slotOf(&Base::Invoke), first + 2);
    EXPECT_EQ(slotOf(&Base::InvokeDefault), first + 3);
    EXPECT_EQ(slotOf(&Base::HasProperty), first + 4);
    EXPECT_EQ(slotOf(&Base::GetProperty), first + 5);
    EXPECT_EQ(slotOf(&Base::SetProperty), first + 6);
    EXPECT_EQ(slotOf(&Base::RemoveProperty), first + 7);
    EXPECT_EQ(slotOf(&Base::Enumerate), first + 8);
    EXPECT_EQ(slotOf(&Base::Construct), first + 9);
}

TEST_F(scriptable_test, TheBrowserHoldsTheAddressOfTheNPObjectPart) {
    ScriptablePluginObject object(page.instance());
    NPObject* const part = &object;
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(part), reinterpret_cast<std::uintptr_t>(&object) + sizeof(void*));
}

TEST_F(scriptable_test, BothTablesDifferInAllocateAlone) {
    const NPClass& other = plugin::sConstructablePluginObject_NPClass;
    EXPECT_EQ(table().structVersion, 3u);
    EXPECT_EQ(other.structVersion, 3u);
    EXPECT_NE(table().allocate, other.allocate);
    EXPECT_EQ(table().deallocate, other.deallocate);
    EXPECT_EQ(table().invalidate, other.invalidate);
    EXPECT_EQ(table().hasMethod, other.hasMethod);
    EXPECT_EQ(table().invoke, other.invoke);
    EXPECT_EQ(table().invokeDefault, other.invokeDefault);
    EXPECT_EQ(table().hasProperty, other.hasProperty);
    EXPECT_EQ(table().getProperty, other.getProperty);
    EXPECT_EQ(table().setProperty, other.setProperty);
    EXPECT_EQ(table().removeProperty, other.removeProperty);
    EXPECT_EQ(table().enumerate, other.enumerate);
    EXPECT_EQ(table().construct, other.construct);
}

TEST_F(scriptable_test, AllocateKeepsTheInstanceAndDeallocateFrees) {
    NPObject* const part = table().allocate(page.instance(), &table());
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(static_cast<ScriptablePluginObjectBase*>(part)->mNpp, page.instance());
    table().deallocate(part);
}

TEST_F(scriptable_test, AllocateWithoutMemoryGivesNull) {
    for (NPClass* made : {&plugin::sScriptablePluginObject_NPClass, &plugin::sConstructablePluginObject_NPClass}) {
        const support::FailingHeap heap(1);
        NPObject* const part = made->allocate(page.instance(), made);
        ASSERT_EQ(part, nullptr);
    }
}

TEST_F(scriptable_test, ThePageSeesThirteenMethods) {
    for (const char* method : kMethodNames)
        EXPECT_TRUE(table().hasMethod(page.object(), id(method))) << method;
    for (const char* other : {"KeySpec", "foof", "document", "GENP10", "genp10", "toString", ""})
        EXPECT_FALSE(table().hasMethod(page.object(), id(other))) << other;
}

TEST_F(scriptable_test, ThePageSeesOneProperty) {
    EXPECT_TRUE(table().hasProperty(page.object(), id("KeySpec")));
    for (const char* method : kMethodNames)
        EXPECT_FALSE(table().hasProperty(page.object(), id(method))) << method;
    EXPECT_FALSE(table().hasProperty(page.object(), id("keyspec")));
}

TEST_F(scriptable_test, KeySpecCannotBeReadBack) {
    EXPECT_THAT(browser.get(page.object(), "KeySpec"), IsUndefined());
    ASSERT_TRUE(page.set("KeySpec", 1));
    EXPECT_THAT(browser.get(page.object(), "KeySpec"), IsUndefined());

    NPVariant result = {};
    result.type = NPVariantType_Int32;
    result.value.intValue = 4711;
    EXPECT_TRUE(table().getProperty(page.object(), id("KeySpec"), &result));
    EXPECT_TRUE(table().getProperty(page.object(), id("anything"), &result));
    EXPECT_EQ(result.type, NPVariantType_Int32) << "nothing is written";
    EXPECT_EQ(result.value.intValue, 4711);
}

TEST_F(scriptable_test, KeySpecTakesAnyInteger) {
    EXPECT_EQ(enrol::sKeySpec, 2);
    for (const int value : {1, 2, 0, -1, 2147483647, std::numeric_limits<int>::min()}) {
        enrol::sLastError = 99;
        EXPECT_TRUE(page.set("KeySpec", value));
        EXPECT_EQ(enrol::sKeySpec, value);
        EXPECT_EQ(enrol::sLastError, 0);
    }
}

TEST_F(scriptable_test, KeySpecTakesADoubleTruncated) {
    EXPECT_TRUE(page.set("KeySpec", 1.9));
    EXPECT_EQ(enrol::sKeySpec, 1);
    EXPECT_TRUE(page.set("KeySpec", -1.9));
    EXPECT_EQ(enrol::sKeySpec, -1);
    EXPECT_TRUE(page.set("KeySpec", 3e9));
    EXPECT_EQ(enrol::sKeySpec, 2147483647);
    EXPECT_TRUE(page.set("KeySpec", -3e9));
    EXPECT_EQ(enrol::sKeySpec, std::numeric_limits<int>::min());
    EXPECT_TRUE(page.set("KeySpec", 2147483647.5));
    EXPECT_EQ(enrol::sKeySpec, 2147483647);
    EXPECT_TRUE(page.set("KeySpec", -2147483648.5));
    EXPECT_EQ(enrol::sKeySpec, std::numeric_limits<int>::min());
    EXPECT_TRUE(page.set("KeySpec", std::numeric_limits<double>::infinity()));
    EXPECT_EQ(enrol::sKeySpec, 2147483647);
    EXPECT_TRUE(page.set("KeySpec", -std::numeric_limits<double>::infinity()));
    EXPECT_EQ(enrol::sKeySpec, std::numeric_limits<int>::min());
    EXPECT_TRUE(page.set("KeySpec", std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(enrol::sKeySpec, 0);
    EXPECT_TRUE(page.set("KeySpec", std::numeric_limits<double>::denorm_min()));
    EXPECT_EQ(enrol::sKeySpec, 0);
}

TEST_F(scriptable_test, KeySpecRefusesEverythingElse) {
    enrol::sLastError = 99;
    const Value others[] = {Value(), Value::null(), Value(true), Value("1"), Value::object(page.object())};
    for (const Value& value : others)
        EXPECT_FALSE(page.set("KeySpec", value)) << value.variant().type;
    EXPECT_FALSE(page.set("keySpec", 1));
    EXPECT_FALSE(page.set("genP10", 1));
    EXPECT_EQ(enrol::sKeySpec, 2);
    EXPECT_EQ(enrol::sLastError, 99);
}

TEST_F(scriptable_test, OperationsWithoutBehaviourAnswerFalse) {
    NPIdentifier* names = nullptr;
    std::uint32_t count = 77;
    NPVariant result = {};
    EXPECT_FALSE(table().removeProperty(page.object(), id("KeySpec")));
    EXPECT_FALSE(table().enumerate(page.object(), &names, &count));
    EXPECT_EQ(count, 77u);
    EXPECT_FALSE(table().construct(page.object(), nullptr, 0, &result));
    table().invalidate(page.object());
    EXPECT_THAT(page.call("getVersion"), IsText("1.0.14.1")) << "nothing is invalidated";
}

TEST_F(scriptable_test, TheDefaultMethodPrintsAndAnswers) {
    testing::internal::CaptureStdout();
    const host::Outcome outcome = browser.callDefault(page.object(), {Value("x"), Value(1)});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ScriptablePluginObject default method called!\n");
    EXPECT_THAT(outcome, IsText("default method return val"));
    EXPECT_EQ(outcome.text.size(), 25u);
}

TEST_F(scriptable_test, ABaseObjectHasNothing) {
    ScriptablePluginObjectBase object(page.instance());
    NPVariant result = {};
    NPVariant argument = {};
    EXPECT_FALSE(object.HasMethod(plugin::sGetVersion_id));
    EXPECT_FALSE(object.Invoke(plugin::sGetVersion_id, &argument, 0, &result));
    EXPECT_FALSE(object.InvokeDefault(&argument, 0, &result));
    EXPECT_FALSE(object.HasProperty(plugin::sKeySpec_id));
    EXPECT_FALSE(object.GetProperty(plugin::sKeySpec_id, &result));
    EXPECT_FALSE(object.Construct(&argument, 0, &result));
}

TEST_F(scriptable_test, AConstructableObjectMakesMoreOfItself) {
    NPObject* const object = browser.create(page.instance(), &plugin::sConstructablePluginObject_NPClass);
    ASSERT_NE(object, nullptr);
    EXPECT_FALSE(table().hasMethod(object, id("genP10")));
    EXPECT_FALSE(table().hasProperty(object, id("KeySpec")));
    EXPECT_TRUE(browser.set(object, "KeySpec", 1)) << "assignment is inherited";

    testing::internal::CaptureStdout();
    const host::Outcome outcome = browser.construct(object, {});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Creating new ConstructablePluginObject!\n");
    ASSERT_TRUE(outcome.ok);
    EXPECT_EQ(outcome.type, 6);
    ASSERT_NE(outcome.object, nullptr);
    EXPECT_EQ(outcome.object->_class, &plugin::sConstructablePluginObject_NPClass);
    EXPECT_EQ(static_cast<ScriptablePluginObjectBase*>(outcome.object)->mNpp, page.instance());
    browser.release(outcome.object);

    browser.refuseObjects = true;
    EXPECT_FALSE(browser.construct(object, {}).ok);
    browser.release(object);
    EXPECT_EQ(browser.liveObjects(), 1u);
}

}  // namespace
