// bench_start LIBRARY [instance]: prints the nanoseconds that loading the library takes in this fresh process; with
// "instance" also NP_Initialize and NPP_New, as a browser calls them when a page embeds the plug-in.
#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "plugin/npapi.h"

namespace {

int objects = 0;

NPIdentifier identifierOf(const NPUTF8* name) {
    return const_cast<NPUTF8*>(name);
}

NPError valueOf(NPP /*instance*/, NPNVariable /*variable*/, void* value) {
    static NPObject window = {};
    *static_cast<NPObject**>(value) = &window;
    ++objects;
    return NPERR_NO_ERROR;
}

const char* agent(NPP /*instance*/) {
    return "bench_start";
}

NPObject* retain(NPObject* object) {
    ++objects;
    return object;
}

void release(NPObject* /*object*/) {
    --objects;
}

// Only what an instance asks for when it is made and destroyed.
NPNetscapeFuncs browserTable() {
    NPNetscapeFuncs table = {};
    table.size = sizeof table;
    table.version = 27;
    table.getstringidentifier = identifierOf;
    table.getvalue = valueOf;
    table.uagent = agent;
    table.retainobject = retain;
    table.releaseobject = release;
    return table;
}

using Initialize = NPError (*)(NPNetscapeFuncs*, NPPluginFuncs*);

bool makeInstance(void* library, NPNetscapeFuncs& browser, NPPluginFuncs& plugin, NPP_t& instance) {
    auto* const initialize = reinterpret_cast<Initialize>(dlsym(library, "NP_Initialize"));
    if (initialize == nullptr || initialize(&browser, &plugin) != NPERR_NO_ERROR)
        return false;
    char type[] = "application/npvemtrel_certenroll";
    return plugin.newp(type, &instance, 1, 0, nullptr, nullptr, nullptr) == NPERR_NO_ERROR;
}

int fail(const char* what) {
    static_cast<void>(std::fprintf(stderr, "bench_start: %s\n", what));
    return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2)
        return fail("bench_start LIBRARY [instance]");
    const bool wantsInstance = argc > 2 && std::strcmp(argv[2], "instance") == 0;
    NPNetscapeFuncs browser = browserTable();
    NPPluginFuncs plugin = {};
    plugin.size = sizeof plugin;
    NPP_t instance = {};

    const auto start = std::chrono::steady_clock::now();
    void* const library = dlopen(argv[1], RTLD_LAZY | RTLD_LOCAL);
    const bool ready = library != nullptr && (!wantsInstance || makeInstance(library, browser, plugin, instance));
    const auto end = std::chrono::steady_clock::now();

    if (!ready)
        return fail(library == nullptr ? dlerror() : "no instance");
    if (wantsInstance)
        plugin.destroy(&instance, nullptr);
    std::printf("%lld\n",
                static_cast<long long>(std::chrono::duration_cast<std::chrono::nanoseconds>(end - start).count()));
    return EXIT_SUCCESS;
}
