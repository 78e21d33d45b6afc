// The objects that page script calls, and the tables by which a browser reaches them.
//
// A browser holds the address of the NPObject part. The object's virtual table stands ahead of that part, so the two
// addresses differ; the functions of the NPClass tables convert the browser's back before they call the operation.
#ifndef VT_PLUGIN_SCRIPTABLE_H
#define VT_PLUGIN_SCRIPTABLE_H

#include <cstddef>
#include <cstdint>

#include "plugin/npapi.h"

namespace plugin {

// An object that has nothing and does nothing. The order of the virtual operations is fixed.
class ScriptablePluginObjectBase : public NPObject {
  public:
    explicit ScriptablePluginObjectBase(NPP npp) : NPObject{nullptr, 0}, mNpp(npp) {}
    virtual ~ScriptablePluginObjectBase() = default;
    ScriptablePluginObjectBase(const ScriptablePluginObjectBase&) = delete;
    ScriptablePluginObjectBase& operator=(const ScriptablePluginObjectBase&) = delete;

    virtual void Invalidate();
    virtual bool HasMethod(NPIdentifier name);
    virtual bool Invoke(NPIdentifier name, const NPVariant* args, std::uint32_t argCount, NPVariant* result);
    virtual bool InvokeDefault(const NPVariant* args, std::uint32_t argCount, NPVariant* result);
    virtual bool HasProperty(NPIdentifier name);
    virtual bool GetProperty(NPIdentifier name, NPVariant* result);

    // SetProperty stores an integer given to KeySpec, unchecked. False for anything else.
    virtual bool SetProperty(NPIdentifier name, const NPVariant* value);

    virtual bool RemoveProperty(NPIdentifier name);
    virtual bool Enumerate(NPIdentifier** names, std::uint32_t* count);
    virtual bool Construct(const NPVariant* args, std::uint32_t argCount, NPVariant* result);

    NPP mNpp;
};

// The object given to the page: thirteen methods and the property KeySpec, which can be written only.
class ScriptablePluginObject : public ScriptablePluginObjectBase {
  public:
    using ScriptablePluginObjectBase::ScriptablePluginObjectBase;

    // True for the thirteen methods.
    bool HasMethod(NPIdentifier name) override;

    // Invoke runs one method. False, which script sees as an error, for a null args, a wrong argCount, a wrong type of
    // an argument and an unknown name. Results are an integer or a text from NPN_MemAlloc; some leave result unwritten.
    bool Invoke(NPIdentifier name, const NPVariant* args, std::uint32_t argCount, NPVariant* result) override;

    // InvokeDefault writes a line to standard output and gives the text "default method return val".
    bool InvokeDefault(const NPVariant* args, std::uint32_t argCount, NPVariant* result) override;

    // True for KeySpec.
    bool HasProperty(NPIdentifier name) override;

    // True, and result stays unwritten: script reads undefined.
    bool GetProperty(NPIdentifier name, NPVariant* result) override;
};

// An object that script can construct more of. No page is given one.
class ConstructablePluginObject : public ScriptablePluginObjectBase {
  public:
    using ScriptablePluginObjectBase::ScriptablePluginObjectBase;

    // Construct writes a line to standard output and gives one more such object; false when the browser cannot make it.
    bool Construct(const NPVariant* args, std::uint32_t argCount, NPVariant* result) override;
};

extern NPClass sScriptablePluginObject_NPClass;
extern NPClass sConstructablePluginObject_NPClass;

// IsPluginContainerHost: whether the program that hosts the plug-in is the browser's separate plug-in process, by the
// name "plugin-container.exe" of its main module, case aside. False when the platform cannot tell.
bool IsPluginContainerHost();

// readInteger takes an Int32, or a Double truncated towards zero; one out of range gives the nearest integer, NaN 0.
// False for any other type.
bool readInteger(const NPVariant& variant, std::int32_t& integer);

// giveText gives a copy of the text from NPN_MemAlloc, NUL-terminated; result stays unwritten when there is no memory.
void giveText(const char* text, std::size_t length, NPVariant* result);

}  // namespace plugin

#endif
