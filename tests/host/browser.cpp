#include "tests/host/browser.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace host {
namespace {

Browser* theBrowser = nullptr;

constexpr char kUserAgent[] = "Mozilla/5.0 (plug-in host)";

// The window object has nothing that script could reach; the plug-in only holds it.
NPObject* NP_CALL allocatePlain(NPP /*npp*/, NPClass* /*aClass*/) {
    return static_cast<NPObject*>(std::calloc(1, sizeof(NPObject)));
}
void NP_CALL freePlain(NPObject* object) {
    std::free(object);
}
NPClass windowClass = {NP_CLASS_STRUCT_VERSION,
                       allocatePlain,
                       freePlain,
                       nullptr,
                       nullptr,
                       nullptr,
                       nullptr,
                       nullptr,
                       nullptr,
                       nullptr,
                       nullptr,
                       nullptr,
                       nullptr};

std::vector<NPVariant> variantsOf(const std::vector<Value>& values) {
    std::vector<NPVariant> variants;
    variants.reserve(values.size() + 1);
    for (const Value& value : values)
        variants.push_back(value.variant());
    return variants;
}

std::shared_ptr<char> unterminatedCopy(const char* text, std::size_t length) {
    std::shared_ptr<char> block(static_cast<char*>(std::malloc(std::max<std::size_t>(length, 1))), std::free);
    if (length != 0)
        std::memcpy(block.get(), text, length);
    return block;
}

NPVariant textVariant(const char* text, std::size_t length) {
    NPVariant variant = {};
    variant.type = NPVariantType_String;
    variant.value.stringValue = {text, static_cast<std::uint32_t>(length)};
    return variant;
}

}  // namespace

Value::Value() = default;
Value::Value(int number) {
    variant_.type = NPVariantType_Int32;
    variant_.value.intValue = number;
}
Value::Value(double number) {
    variant_.type = NPVariantType_Double;
    variant_.value.doubleValue = number;
}
Value::Value(bool flag) {
    variant_.type = NPVariantType_Bool;
    variant_.value.boolValue = flag;
}
Value::Value(const char* text) : Value(std::string(text)) {}
Value::Value(const std::string& text) : bytes_(unterminatedCopy(text.data(), text.size())) {
    variant_ = textVariant(bytes_.get(), text.size());
}
Value Value::null() {
    Value value;
    value.variant_.type = NPVariantType_Null;
    return value;
}
Value Value::object(NPObject* object) {
    Value value;
    value.variant_.type = NPVariantType_Object;
    value.variant_.value.objectValue = object;
    return value;
}
Value Value::nullText(std::uint32_t length) {
    Value value;
    value.variant_ = textVariant(nullptr, length);
    return value;
}

// The browser's operations. Those that this plug-in has no use for answer as a browser without them does.
struct Operations {
    static Browser& self() { return *theBrowser; }
    static void note(const std::string& call) { self().calls.push_back(call); }

    // Streams, pages, timers
    static NPError NP_CALL getURL(NPP, const char*, const char*) { return unused("GetURL"); }
    static NPError NP_CALL postURL(NPP, const char*, const char*, std::uint32_t, const char*, NPBool) {
        return unused("PostURL");
    }
    static NPError NP_CALL requestRead(NPStream*, NPByteRange*) { return unused("RequestRead"); }
    static NPError NP_CALL newStream(NPP, NPMIMEType, const char*, NPStream**) { return unused("NewStream"); }
    static std::int32_t NP_CALL write(NPP, NPStream*, std::int32_t, void*) { return unused("Write"); }
    static NPError NP_CALL destroyStream(NPP, NPStream*, NPReason) { return unused("DestroyStream"); }
    static void NP_CALL status(NPP, const char*) { note("Status"); }
    static NPError NP_CALL getURLNotify(NPP, const char*, const char*, void*) { return unused("GetURLNotify"); }
    static NPError NP_CALL postURLNotify(NPP, const char*, const char*, std::uint32_t, const char*, NPBool, void*) {
        return unused("PostURLNotify");
    }
    static void NP_CALL invalidateRect(NPP, NPRect*) { note("InvalidateRect"); }
    static void NP_CALL invalidateRegion(NPP, NPRegion) { note("InvalidateRegion"); }
    static void NP_CALL forceRedraw(NPP) { note("ForceRedraw"); }
    static void NP_CALL reloadPlugins(NPBool) { note("ReloadPlugins"); }
    static std::uint32_t NP_CALL memFlush(std::uint32_t) { return 0; }
    static NPError NP_CALL setValue(NPP, NPPVariable, void*) { return unused("SetValue"); }
    static NPError unused(const char* name) {
        note(name);
        return NPERR_GENERIC_ERROR;
    }

    static const char* NP_CALL userAgent(NPP) {
        note("UserAgent");
        return kUserAgent;
    }
    static void* NP_CALL memAlloc(std::uint32_t size) {
        note("MemAlloc " + std::to_string(size));
        return self().allocate(size);
    }
    static void NP_CALL memFree(void* block) {
        note("MemFree");
        self().free(block);
    }
    static NPError NP_CALL getValue(NPP, NPNVariable variable, void* value) {
        note("GetValue " + std::to_string(static_cast<int>(variable)));
        if (variable != NPNVWindowNPObject || self().refuseValues)
            return NPERR_GENERIC_ERROR;
        Browser::retain(self().window_);
        *static_cast<NPObject**>(value) = self().window_;
        return NPERR_NO_ERROR;
    }

    // Identifiers
    static NPIdentifier NP_CALL getStringIdentifier(const NPUTF8* name) {
        note(std::string("GetStringIdentifier ") + name);
        return self().identifier(name);
    }
    static void NP_CALL getStringIdentifiers(const NPUTF8** names, std::int32_t count, NPIdentifier* identifiers) {
        for (std::int32_t i = 0; i < count; ++i)
            identifiers[i] = getStringIdentifier(names[i]);
    }
    static NPIdentifier NP_CALL getIntIdentifier(std::int32_t number) {
        self().identifiers_.push_back(
            std::make_unique<Browser::Identifier>(Browser::Identifier{false, std::string(), number}));
        return self().identifiers_.back().get();
    }
    static bool NP_CALL identifierIsString(NPIdentifier identifier) {
        return static_cast<Browser::Identifier*>(identifier)->isString;
    }
    static NPUTF8* NP_CALL utf8FromIdentifier(NPIdentifier identifier) {
        const std::string& name = static_cast<Browser::Identifier*>(identifier)->name;
        auto* const copy = static_cast<char*>(self().allocate(name.size() + 1));
        if (copy != nullptr)
            std::memcpy(copy, name.c_str(), name.size() + 1);
        return copy;
    }
    static std::int32_t NP_CALL intFromIdentifier(NPIdentifier identifier) {
        return static_cast<Browser::Identifier*>(identifier)->number;
    }

    // Objects
    static NPObject* NP_CALL createObject(NPP instance, NPClass* aClass) {
        note("CreateObject");
        return self().refuseObjects ? nullptr : self().create(instance, aClass);
    }
    static NPObject* NP_CALL retainObject(NPObject* object) {
        note("RetainObject");
        Browser::retain(object);
        return object;
    }
    static void NP_CALL releaseObject(NPObject* object) {
        note("ReleaseObject");
        self().release(object);
    }
    static bool NP_CALL invoke(NPP, NPObject* object, NPIdentifier name, const NPVariant* args, std::uint32_t count,
                               NPVariant* result) {
        return object->_class->invoke != nullptr && object->_class->invoke(object, name, args, count, result);
    }
    static bool NP_CALL invokeDefault(NPP, NPObject* object, const NPVariant* args, std::uint32_t count,
                                      NPVariant* result) {
        return object->_class->invokeDefault != nullptr && object->_class->invokeDefault(object, args, count, result);
    }
    static bool NP_CALL evaluate(NPP, NPObject*, NPString*, NPVariant*) {
        note("Evaluate");
        return false;
    }
    static bool NP_CALL getProperty(NPP, NPObject* object, NPIdentifier name, NPVariant* result) {
        return object->_class->getProperty != nullptr && object->_class->getProperty(object, name, result);
    }
    static bool NP_CALL setProperty(NPP, NPObject* object, NPIdentifier name, const NPVariant* value) {
        return object->_class->setProperty != nullptr && object->_class->setProperty(object, name, value);
    }
    static bool NP_CALL removeProperty(NPP, NPObject* object, NPIdentifier name) {
        return object->_class->removeProperty != nullptr && object->_class->removeProperty(object, name);
    }
    static bool NP_CALL hasProperty(NPP, NPObject* object, NPIdentifier name) {
        return object->_class->hasProperty != nullptr && object->_class->hasProperty(object, name);
    }
    static bool NP_CALL hasMethod(NPP, NPObject* object, NPIdentifier name) {
        return object->_class->hasMethod != nullptr && object->_class->hasMethod(object, name);
    }
    static bool NP_CALL enumerate(NPP, NPObject* object, NPIdentifier** names, std::uint32_t* count) {
        return object->_class->enumerate != nullptr && object->_class->enumerate(object, names, count);
    }
    static bool NP_CALL construct(NPP, NPObject* object, const NPVariant* args, std::uint32_t count,
                                  NPVariant* result) {
        return object->_class->construct != nullptr && object->_class->construct(object, args, count, result);
    }
    static void NP_CALL releaseVariantValue(NPVariant* variant) { self().releaseVariant(*variant); }
    static void NP_CALL setException(NPObject*, const NPUTF8* message) { note(std::string("SetException ") + message); }

    // Up to setexception; what stands behind it is for a younger plug-in.
    static NPNetscapeFuncs filled() {
        NPNetscapeFuncs table = {};
        table.size = sizeof(NPNetscapeFuncs);
        table.version = 27;
        table.geturl = getURL;
        table.posturl = postURL;
        table.requestread = requestRead;
        table.newstream = newStream;
        table.write = write;
        table.destroystream = destroyStream;
        table.status = status;
        table.uagent = userAgent;
        table.memalloc = memAlloc;
        table.memfree = memFree;
        table.memflush = memFlush;
        table.reloadplugins = reloadPlugins;
        table.geturlnotify = getURLNotify;
        table.posturlnotify = postURLNotify;
        table.getvalue = getValue;
        table.setvalue = setValue;
        table.invalidaterect = invalidateRect;
        table.invalidateregion = invalidateRegion;
        table.forceredraw = forceRedraw;
        table.getstringidentifier = getStringIdentifier;
        table.getstringidentifiers = getStringIdentifiers;
        table.getintidentifier = getIntIdentifier;
        table.identifierisstring = identifierIsString;
        table.utf8fromidentifier = utf8FromIdentifier;
        table.intfromidentifier = intFromIdentifier;
        table.createobject = createObject;
        table.retainobject = retainObject;
        table.releaseobject = releaseObject;
        table.invoke = invoke;
        table.invokeDefault = invokeDefault;
        table.evaluate = evaluate;
        table.getproperty = getProperty;
        table.setproperty = setProperty;
        table.removeproperty = removeProperty;
        table.hasproperty = hasProperty;
        table.hasmethod = hasMethod;
        table.releasevariantvalue = releaseVariantValue;
        table.setexception = setException;
        table.enumerate = enumerate;
        table.construct = construct;
        return table;
    }
};

Browser::Browser() : table_(Operations::filled()) {
    theBrowser = this;
    window_ = create(nullptr, &windowClass);
}

Browser::~Browser() {
    theBrowser = nullptr;
    if (window_ != nullptr)
        freePlain(window_);
    for (const auto& block : blocks_)
        std::free(block.first);
}

Browser* Browser::current() {
    return theBrowser;
}

NPIdentifier Browser::identifier(const std::string& name) {
    const auto found = std::find_if(identifiers_.begin(), identifiers_.end(),
                                    [&name](const auto& known) { return known->isString && known->name == name; });
    if (found != identifiers_.end())
        return found->get();
    identifiers_.push_back(std::make_unique<Identifier>(Identifier{true, name, 0}));
    return identifiers_.back().get();
}

Outcome Browser::call(NPObject* object, const std::string& method, const std::vector<Value>& args) {
    const NPIdentifier name = identifier(method);
    if (!Operations::hasMethod(nullptr, object, name))
        return {};
    const std::vector<NPVariant> variants = variantsOf(args);
    NPVariant result = {};
    const bool ok = Operations::invoke(nullptr, object, name, variants.data(),
                                       static_cast<std::uint32_t>(variants.size()), &result);
    return take(ok, result);
}

Outcome Browser::callDefault(NPObject* object, const std::vector<Value>& args) {
    const std::vector<NPVariant> variants = variantsOf(args);
    NPVariant result = {};
    const bool ok = Operations::invokeDefault(nullptr, object, variants.data(),
                                              static_cast<std::uint32_t>(variants.size()), &result);
    return take(ok, result);
}

Outcome Browser::construct(NPObject* object, const std::vector<Value>& args) {
    const std::vector<NPVariant> variants = variantsOf(args);
    NPVariant result = {};
    const bool ok =
        Operations::construct(nullptr, object, variants.data(), static_cast<std::uint32_t>(variants.size()), &result);
    return take(ok, result);
}

Outcome Browser::get(NPObject* object, const std::string& property) {
    const NPIdentifier name = identifier(property);
    if (!Operations::hasProperty(nullptr, object, name))
        return {};
    NPVariant result = {};
    const bool ok = Operations::getProperty(nullptr, object, name, &result);
    return take(ok, result);
}

bool Browser::has(NPObject* object, const std::string& name) {
    const NPIdentifier known = identifier(name);
    return Operations::hasMethod(nullptr, object, known) || Operations::hasProperty(nullptr, object, known);
}

bool Browser::set(NPObject* object, const std::string& property, const Value& value) {
    return Operations::setProperty(nullptr, object, identifier(property), &value.variant());
}

// A failed call leaves nothing in its result that a browser would look at or free.
Outcome Browser::take(bool ok, NPVariant& result) {
    Outcome outcome;
    outcome.ok = ok;
    if (!ok)
        return outcome;
    outcome.type = result.type;
    switch (result.type) {
        case NPVariantType_Bool:
            outcome.number = result.value.boolValue ? 1 : 0;
            break;
        case NPVariantType_Int32:
            outcome.number = result.value.intValue;
            break;
        case NPVariantType_Double:
            outcome.number = result.value.doubleValue;
            break;
        case NPVariantType_String: {
            const NPString& text = result.value.stringValue;
            outcome.text.assign(text.UTF8Characters, text.UTF8Length);
            const auto block = blocks_.find(const_cast<char*>(text.UTF8Characters));
            if (block == blocks_.end())
                problems_.emplace_back("a text that is not from MemAlloc");
            else
                outcome.terminated =
                    block->second == text.UTF8Length + std::size_t{1} && text.UTF8Characters[text.UTF8Length] == '\0';
            break;
        }
        case NPVariantType_Object:
            outcome.object = result.value.objectValue;
            return outcome;
        default:
            break;
    }
    releaseVariant(result);
    return outcome;
}

void* Browser::allocate(std::size_t size) {
    if (allocationsLeft == 0)
        return nullptr;
    if (allocationsLeft > 0)
        --allocationsLeft;
    void* const block = std::malloc(std::max<std::size_t>(size, 1));
    if (block != nullptr)
        blocks_[block] = size;
    return block;
}

void Browser::free(void* block) {
    if (block == nullptr)
        return;
    if (blocks_.erase(block) == 0) {
        problems_.emplace_back("a block freed that is not held");
        return;
    }
    std::free(block);
}

void Browser::releaseVariant(NPVariant& variant) {
    if (variant.type == NPVariantType_String)
        free(const_cast<char*>(variant.value.stringValue.UTF8Characters));
    else if (variant.type == NPVariantType_Object)
        release(variant.value.objectValue);
    variant.type = NPVariantType_Void;
}

NPObject* Browser::create(NPP instance, NPClass* aClass) {
    NPObject* const object = aClass->allocate(instance, aClass);
    if (object == nullptr)
        return nullptr;
    object->_class = aClass;
    object->referenceCount = 1;
    objects_[object] = true;
    return object;
}

void Browser::retain(NPObject* object) {
    ++object->referenceCount;
}

void Browser::release(NPObject* object) {
    if (objects_.find(object) == objects_.end()) {
        problems_.emplace_back("an object released that is not alive");
        return;
    }
    if (--object->referenceCount != 0)
        return;
    objects_.erase(object);
    if (object == window_) {
        problems_.emplace_back("the window object released too often");
        window_ = nullptr;
    }
    object->_class->deallocate(object);
}

std::size_t Browser::liveObjects() const {
    return objects_.size() - objects_.count(window_);
}

int Browser::windowReferences() const {
    return window_ == nullptr ? -1 : static_cast<int>(window_->referenceCount) - 1;
}

}  // namespace host
