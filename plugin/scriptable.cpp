#include "plugin/scriptable.h"

#include <cstdio>
#include <new>

#include "enrol/enrol.h"
#include "plugin/entry.h"
#include "plugin/instance.h"

namespace plugin {
namespace {

ScriptablePluginObjectBase* objectOf(NPObject* part) {
    return static_cast<ScriptablePluginObjectBase*>(part);
}

template <class Object>
NPObject* NP_CALL allocate(NPP npp, NPClass* /*aClass*/) {
    return new (std::nothrow) Object(npp);
}

void NP_CALL deallocate(NPObject* part) {
    delete objectOf(part);
}

void NP_CALL invalidate(NPObject* part) {
    objectOf(part)->Invalidate();
}

bool NP_CALL hasMethod(NPObject* part, NPIdentifier name) {
    return objectOf(part)->HasMethod(name);
}

bool NP_CALL invoke(NPObject* part, NPIdentifier name, const NPVariant* args, std::uint32_t argCount,
                    NPVariant* result) {
    return objectOf(part)->Invoke(name, args, argCount, result);
}

bool NP_CALL invokeDefault(NPObject* part, const NPVariant* args, std::uint32_t argCount, NPVariant* result) {
    return objectOf(part)->InvokeDefault(args, argCount, result);
}

bool NP_CALL hasProperty(NPObject* part, NPIdentifier name) {
    return objectOf(part)->HasProperty(name);
}

bool NP_CALL getProperty(NPObject* part, NPIdentifier name, NPVariant* result) {
    return objectOf(part)->GetProperty(name, result);
}

bool NP_CALL setProperty(NPObject* part, NPIdentifier name, const NPVariant* value) {
    return objectOf(part)->SetProperty(name, value);
}

bool NP_CALL removeProperty(NPObject* part, NPIdentifier name) {
    return objectOf(part)->RemoveProperty(name);
}

bool NP_CALL enumerate(NPObject* part, NPIdentifier** names, std::uint32_t* count) {
    return objectOf(part)->Enumerate(names, count);
}

bool NP_CALL construct(NPObject* part, const NPVariant* args, std::uint32_t argCount, NPVariant* result) {
    return objectOf(part)->Construct(args, argCount, result);
}

// The tables differ in allocate alone.
constexpr NPClass classTable(NPAllocateFunctionPtr allocateObject) {
    return {NP_CLASS_STRUCT_VERSION,
            allocateObject,
            deallocate,
            invalidate,
            hasMethod,
            invoke,
            invokeDefault,
            hasProperty,
            getProperty,
            setProperty,
            removeProperty,
            enumerate,
            construct};
}

}  // namespace

NPClass sScriptablePluginObject_NPClass = classTable(allocate<ScriptablePluginObject>);
NPClass sConstructablePluginObject_NPClass = classTable(allocate<ConstructablePluginObject>);

void ScriptablePluginObjectBase::Invalidate() {}

bool ScriptablePluginObjectBase::HasMethod(NPIdentifier /*name*/) {
    return false;
}

bool ScriptablePluginObjectBase::Invoke(NPIdentifier /*name*/, const NPVariant* /*args*/, std::uint32_t /*argCount*/,
                                        NPVariant* /*result*/) {
    return false;
}

bool ScriptablePluginObjectBase::InvokeDefault(const NPVariant* /*args*/, std::uint32_t /*argCount*/,
                                               NPVariant* /*result*/) {
    return false;
}

bool ScriptablePluginObjectBase::HasProperty(NPIdentifier /*name*/) {
    return false;
}

bool ScriptablePluginObjectBase::GetProperty(NPIdentifier /*name*/, NPVariant* /*result*/) {
    return false;
}

bool ScriptablePluginObjectBase::SetProperty(NPIdentifier name, const NPVariant* value) {
    std::int32_t keySpec = 0;
    if (name != sKeySpec_id || value == nullptr || !readInteger(*value, keySpec))
        return false;
    enrol::sKeySpec = keySpec;
    enrol::sLastError = enrol::kSuccess;
    return true;
}

bool ScriptablePluginObjectBase::RemoveProperty(NPIdentifier /*name*/) {
    return false;
}

bool ScriptablePluginObjectBase::Enumerate(NPIdentifier** /*names*/, std::uint32_t* /*count*/) {
    return false;
}

bool ScriptablePluginObjectBase::Construct(const NPVariant* /*args*/, std::uint32_t /*argCount*/,
                                           NPVariant* /*result*/) {
    return false;
}

bool ScriptablePluginObject::InvokeDefault(const NPVariant* /*args*/, std::uint32_t /*argCount*/, NPVariant* result) {
    static constexpr char kAnswer[] = "default method return val";
    (void)std::fputs("ScriptablePluginObject default method called!\n", stdout);
    giveText(kAnswer, sizeof(kAnswer) - 1, result);
    return true;
}

bool ScriptablePluginObject::HasProperty(NPIdentifier name) {
    return name == sKeySpec_id;
}

// Pages only ever assign KeySpec; reading it back has always given undefined, without an error.
bool ScriptablePluginObject::GetProperty(NPIdentifier /*name*/, NPVariant* /*result*/) {
    return true;
}

bool ConstructablePluginObject::Construct(const NPVariant* /*args*/, std::uint32_t /*argCount*/, NPVariant* result) {
    (void)std::fputs("Creating new ConstructablePluginObject!\n", stdout);
    NPObject* const object = NPNFuncs.createobject(mNpp, &sConstructablePluginObject_NPClass);
    if (object == nullptr)
        return false;
    result->type = NPVariantType_Object;
    result->value.objectValue = object;
    return true;
}

}  // namespace plugin
