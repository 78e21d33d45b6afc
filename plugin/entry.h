// The entry points that a browser looks up by name in the plug-in file.
#ifndef VT_PLUGIN_ENTRY_H
#define VT_PLUGIN_ENTRY_H

#include "plugin/npapi.h"

namespace plugin {

// MIME type under which a page embeds the plug-in, and what the plug-in calls itself at run time.
inline constexpr char kMimeType[] = "application/npvemtrel_certenroll";
inline constexpr char kPluginName[] = "NPVemtrelCertEnroll";
inline constexpr char kPluginDescription[] = "NPVemtrelCertEnroll scriptability API plugin";

// The browser's table as NP_Initialize found it, up to and including setexception; what follows stays null.
extern NPNetscapeFuncs NPNFuncs;

}  // namespace plugin

extern "C" {

// NP_GetEntryPoints writes version 19 and the operations from newp to setvalue into the browser's table and leaves size
// as the browser set it. 0, or 3 (NPERR_INVALID_FUNCTABLE_ERROR) for null.
NP_EXPORT NPError NP_ENTRY NP_GetEntryPoints(NPPluginFuncs* table);

// NP_Initialize writes a separator line to standard output and copies the browser's table. Neither size nor version is
// looked at: a table shorter than NPNetscapeFuncs up to setexception is read past its end. 0, or 3 for a null table.
//
// The browsers of X11 call it with both tables; there it does the work of NP_GetEntryPoints as well.
#if defined(_WIN32)
NP_EXPORT NPError NP_ENTRY NP_Initialize(NPNetscapeFuncs* browser);
#else
NP_EXPORT NPError NP_ENTRY NP_Initialize(NPNetscapeFuncs* browser, NPPluginFuncs* table);

// NP_GetMIMEDescription gives "type:extensions:description"; the text is static.
NP_EXPORT const char* NP_ENTRY NP_GetMIMEDescription();

// NP_GetValue answers a browser that has no instance yet: the name, the description (static texts) and NeedsXEmbed (an
// NPBool). 0, or 1 (NPERR_GENERIC_ERROR) for any other variable.
NP_EXPORT NPError NP_ENTRY NP_GetValue(void* future, NPPVariable variable, void* value);
#endif

// NP_Shutdown does nothing: no state of the module is released. 0.
NP_EXPORT NPError NP_ENTRY NP_Shutdown();
}

#endif
