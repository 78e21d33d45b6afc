#include "plugin/entry.h"

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "plugin/instance.h"

namespace plugin {

NPNetscapeFuncs NPNFuncs = {};

namespace {

constexpr std::uint16_t kTableVersion = 19;

// Browsers before version 19 of the table end it here, and nothing behind it is called.
constexpr std::size_t kCopiedSize = offsetof(NPNetscapeFuncs, setexception) + sizeof(NPNetscapeFuncs::setexception);

NPError copyBrowserTable(const NPNetscapeFuncs* browser) {
    (void)std::fputs("============================\r\n", stdout);
    if (browser == nullptr)
        return NPERR_INVALID_FUNCTABLE_ERROR;
    std::memcpy(&NPNFuncs, browser, kCopiedSize);
    return NPERR_NO_ERROR;
}

}  // namespace
}  // namespace plugin

NPError NP_ENTRY NP_GetEntryPoints(NPPluginFuncs* table) {
    if (table == nullptr)
        return NPERR_INVALID_FUNCTABLE_ERROR;
    table->version = plugin::kTableVersion;
    table->newp = NPP_New;
    table->destroy = NPP_Destroy;
    table->setwindow = NPP_SetWindow;
    table->newstream = NPP_NewStream;
    table->destroystream = NPP_DestroyStream;
    table->asfile = NPP_StreamAsFile;
    table->writeready = NPP_WriteReady;
    table->write = NPP_Write;
    table->print = NPP_Print;
    table->event = NPP_HandleEvent;
    table->urlnotify = NPP_URLNotify;
    table->javaClass = nullptr;
    table->getvalue = NPP_GetValue;
    table->setvalue = NPP_SetValue;
    return NPERR_NO_ERROR;
}

#if defined(_WIN32)

NPError NP_ENTRY NP_Initialize(NPNetscapeFuncs* browser) {
    return plugin::copyBrowserTable(browser);
}

#else

NPError NP_ENTRY NP_Initialize(NPNetscapeFuncs* browser, NPPluginFuncs* table) {
    const NPError error = plugin::copyBrowserTable(browser);
    if (error != NPERR_NO_ERROR)
        return error;
    return NP_GetEntryPoints(table);
}

const char* NP_ENTRY NP_GetMIMEDescription() {
    return "application/npvemtrel_certenroll::NPVemtrelCertEnroll scriptability API plugin";
}

NPError NP_ENTRY NP_GetValue(void* /*future*/, NPPVariable variable, void* value) {
    return plugin::describePlugin(variable, value);
}

#endif

NPError NP_ENTRY NP_Shutdown() {
    return NPERR_NO_ERROR;
}
