// The plug-in as a browser uses it: entry points, the table of its operations, and one embedded object.
#ifndef VT_TESTS_HOST_PLUGIN_FILE_H
#define VT_TESTS_HOST_PLUGIN_FILE_H

#include <string>

#include "plugin/npapi.h"
#include "tests/host/browser.h"

namespace host {

// The entry points of a plug-in file, or of one that is linked in.
struct EntryPoints {
    using GetEntryPoints = NPError(NP_ENTRY*)(NPPluginFuncs*);
#if defined(_WIN32)
    using Initialize = NPError(NP_ENTRY*)(NPNetscapeFuncs*);
#else
    using Initialize = NPError(NP_ENTRY*)(NPNetscapeFuncs*, NPPluginFuncs*);
#endif
    using Shutdown = NPError(NP_ENTRY*)();

    GetEntryPoints getEntryPoints = nullptr;
    Initialize initialize = nullptr;
    Shutdown shutdown = nullptr;
};

// loadPluginFile loads the file for the rest of the process and finds its entry points. Throws std::runtime_error with
// the loader's words.
EntryPoints loadPluginFile(const std::string& path);
#if defined(_WIN32)
// The same with a name of any letters.
EntryPoints loadPluginFile(const std::wstring& path);
#endif

// start calls NP_Initialize and NP_GetEntryPoints in the order of the platform's browsers and gives the operations.
// Throws std::runtime_error when one of them fails.
NPPluginFuncs start(const EntryPoints& entries, Browser& browser);

// Page is one embedded object of a page: the instance from NPP_New to NPP_Destroy and the script object.
class Page {
  public:
    // Throws std::runtime_error when the plug-in refuses.
    Page(Browser& browser, const NPPluginFuncs& plugin);
    ~Page();
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;

    NPP instance() { return &instance_; }
    NPObject* object() { return object_; }

    Outcome call(const std::string& method, const std::vector<Value>& args = {}) {
        return browser_.call(object_, method, args);
    }
    bool set(const std::string& property, const Value& value) { return browser_.set(object_, property, value); }

  private:
    Browser& browser_;
    const NPPluginFuncs& plugin_;
    NPP_t instance_ = {};
    NPObject* object_ = nullptr;
};

}  // namespace host

#endif
