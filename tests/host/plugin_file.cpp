#include "tests/host/plugin_file.h"

#include <stdexcept>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace host {
namespace {

#if defined(_WIN32)

void* loaded(const std::string& name, HMODULE module) {
    if (module == nullptr)
        throw std::runtime_error(name + ": LoadLibrary fails with " + std::to_string(GetLastError()));
    return reinterpret_cast<void*>(module);
}

void* loadFile(const std::string& path) {
    return loaded(path, LoadLibraryA(path.c_str()));
}

template <class Function>
void find(void* file, const char* name, Function& function) {
    const FARPROC address = GetProcAddress(reinterpret_cast<HMODULE>(file), name);
    if (address == nullptr)
        throw std::runtime_error(std::string("no entry point ") + name);
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(address));
}

#else

void* loadFile(const std::string& path) {
    void* const file = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (file == nullptr)
        throw std::runtime_error(dlerror());
    return file;
}

template <class Function>
void find(void* file, const char* name, Function& function) {
    void* const address = dlsym(file, name);
    if (address == nullptr)
        throw std::runtime_error(std::string("no entry point ") + name);
    function = reinterpret_cast<Function>(address);
}

#endif

void demand(NPError error, const char* what) {
    if (error != NPERR_NO_ERROR)
        throw std::runtime_error(std::string(what) + " gives " + std::to_string(error));
}

EntryPoints entryPointsOf(void* file) {
    EntryPoints entries;
    find(file, "NP_GetEntryPoints", entries.getEntryPoints);
    find(file, "NP_Initialize", entries.initialize);
    find(file, "NP_Shutdown", entries.shutdown);
    return entries;
}

}  // namespace

EntryPoints loadPluginFile(const std::string& path) {
    return entryPointsOf(loadFile(path));
}

#if defined(_WIN32)
EntryPoints loadPluginFile(const std::wstring& path) {
    return entryPointsOf(loaded("the plug-in", LoadLibraryW(path.c_str())));
}
#endif

NPPluginFuncs start(const EntryPoints& entries, Browser& browser) {
    NPPluginFuncs plugin = {};
    plugin.size = sizeof(plugin);
#if defined(_WIN32)
    demand(entries.getEntryPoints(&plugin), "NP_GetEntryPoints");
    demand(entries.initialize(&browser.table()), "NP_Initialize");
#else
    demand(entries.initialize(&browser.table(), &plugin), "NP_Initialize");
#endif
    return plugin;
}

Page::Page(Browser& browser, const NPPluginFuncs& plugin) : browser_(browser), plugin_(plugin) {
    static char mimeType[] = "application/npvemtrel_certenroll";
    demand(plugin_.newp(mimeType, &instance_, 1, 0, nullptr, nullptr, nullptr), "NPP_New");
    demand(plugin_.getvalue(&instance_, NPPVpluginScriptableNPObject, static_cast<void*>(&object_)), "NPP_GetValue");
    if (object_ == nullptr)
        throw std::runtime_error("no script object");
}

Page::~Page() {
    browser_.release(object_);
    plugin_.destroy(&instance_, nullptr);
}

}  // namespace host
