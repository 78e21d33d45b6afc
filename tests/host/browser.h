// Browser plays the browser's side of NPAPI: identifiers, memory, objects and the table of its operations. It writes
// down what the plug-in asks for, and knows at every moment what the plug-in still holds.
//
// One browser is alive at a time, since the operations of the table carry no context of their own.
#ifndef VT_TESTS_HOST_BROWSER_H
#define VT_TESTS_HOST_BROWSER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "plugin/npapi.h"

namespace host {

// What one call of script came to.
struct Outcome {
    bool ok = false;  // false: script sees an error
    NPVariantType type = NPVariantType_Void;
    double number = 0;           // of Bool, Int32 and Double
    std::string text;            // of String, exactly UTF8Length bytes
    bool terminated = false;     // of String: a NUL follows
    NPObject* object = nullptr;  // of Object, with one reference

    bool isUndefined() const { return ok && type == NPVariantType_Void; }
    bool isInteger() const { return ok && type == NPVariantType_Int32; }
    bool isText() const { return ok && type == NPVariantType_String; }
    std::int32_t integer() const { return static_cast<std::int32_t>(number); }
};

// An argument of script. Strings are handed over in a block of exactly their length, without a terminator.
class Value {
  public:
    Value();  // undefined
    Value(int number);
    Value(double number);
    Value(bool flag);
    Value(const char* text);
    Value(const std::string& text);

    static Value null();
    static Value object(NPObject* object);
    // A string without characters, whatever length it claims.
    static Value nullText(std::uint32_t length);

    const NPVariant& variant() const { return variant_; }

  private:
    NPVariant variant_ = {};
    std::shared_ptr<char> bytes_;
};

class Browser {
  public:
    Browser();
    ~Browser();
    Browser(const Browser&) = delete;
    Browser& operator=(const Browser&) = delete;

    // The table for NP_Initialize.
    NPNetscapeFuncs& table() { return table_; }

    NPIdentifier identifier(const std::string& name);

    // script calls a method of the object, its default method, or reads and writes a property, as a page does.
    Outcome call(NPObject* object, const std::string& method, const std::vector<Value>& args);
    Outcome callDefault(NPObject* object, const std::vector<Value>& args);
    Outcome get(NPObject* object, const std::string& property);
    bool has(NPObject* object, const std::string& name);  // as a method or a property
    bool set(NPObject* object, const std::string& property, const Value& value);
    Outcome construct(NPObject* object, const std::vector<Value>& args);

    // Objects made by this browser.
    NPObject* create(NPP instance, NPClass* aClass);
    static void retain(NPObject* object);
    void release(NPObject* object);

    // The window object that instances ask for; its references are counted like all others.
    NPObject* window() { return window_; }

    // The plug-in's operations in the order asked for: "GetValue 15", "GetStringIdentifier genP10", "UserAgent",
    // "CreateObject", "RetainObject", "ReleaseObject", "MemAlloc 9", "MemFree".
    std::vector<std::string> calls;

    // From now on so many allocations succeed and then all fail; -1 for no limit.
    int allocationsLeft = -1;
    // NPN_CreateObject answers null; NPN_GetValue answers an error.
    bool refuseObjects = false;
    bool refuseValues = false;

    // What the plug-in or the page still holds: "2 blocks, 1 object, window 1"; empty when nothing is.
    std::size_t liveBlocks() const { return blocks_.size(); }
    std::size_t liveObjects() const;
    int windowReferences() const;

    // What a browser would have crashed on: a block freed twice, an object released too often.
    const std::vector<std::string>& problems() const { return problems_; }

    static Browser* current();

  private:
    friend struct Operations;

    struct Identifier {
        bool isString;
        std::string name;
        std::int32_t number;
    };

    Outcome take(bool ok, NPVariant& result);
    void* allocate(std::size_t size);
    void free(void* block);
    void releaseVariant(NPVariant& variant);

    NPNetscapeFuncs table_ = {};
    std::vector<std::unique_ptr<Identifier>> identifiers_;
    std::map<void*, std::size_t> blocks_;
    std::map<NPObject*, bool> objects_;
    std::vector<std::string> problems_;
    NPObject* window_ = nullptr;
};

}  // namespace host

#endif
