// One embedded object of a page: its record, its window and the operations that the browser calls on it.
#ifndef VT_PLUGIN_INSTANCE_H
#define VT_PLUGIN_INSTANCE_H

#include <cstdint>

#include "platform/platform.h"
#include "plugin/npapi.h"

namespace plugin {

// The record behind NPP::pdata. NPP_New makes it with the ordinary allocator; the browser's instance owns it until
// NPP_Destroy.
struct PluginInstance {
    // Asks the browser for its window object and for the identifiers of all names that script may use.
    explicit PluginInstance(NPP owner);
    // Releases the browser's window object and the script object.
    ~PluginInstance();
    PluginInstance(const PluginInstance&) = delete;
    PluginInstance& operator=(const PluginInstance&) = delete;

    // attach subclasses the window. False for a window without a handle.
    bool attach(NPWindow* newWindow);

    // detach gives the window its former procedure back, also where none was attached.
    void detach();

    // GetScriptableObject gives the object that script calls, made on first demand, with one reference for the caller;
    // null when the browser cannot make it.
    NPObject* GetScriptableObject();

    NPP npp;
    HWND hWnd = {};
    NPWindow* window = nullptr;
    std::uint32_t spare = 0;
    bool initialized = false;              // true once attached
    NPObject* scriptableObject = nullptr;  // one reference, null until asked for
    char text[128] = {};                   // what the window paints
};

// The browser's window object, one for the whole module: each instance gets it anew, and the first one that goes
// releases it and leaves null.
extern NPObject* sWindowObj;

// The window procedure that stood before, one for the whole module: with two windows the later attach overwrites it.
extern WNDPROC sOldWndProc;

// Identifiers of the names that script uses, obtained again by each instance. Those of the document are not used.
extern NPIdentifier sDocument_id;
extern NPIdentifier sBody_id;
extern NPIdentifier sCreateElement_id;
extern NPIdentifier sCreateTextNode_id;
extern NPIdentifier sAppendChild_id;
extern NPIdentifier sGenP10_id;
extern NPIdentifier sGenP10_exp_withdn_id;
extern NPIdentifier sSetCSP_id;
extern NPIdentifier sListCSP_id;
extern NPIdentifier sWriteClientCert_id;
extern NPIdentifier sWriteClientCert_noprotect_id;
extern NPIdentifier sWriteClientCert_exp_X509_id;
extern NPIdentifier sSetHashAlgorithm_id;
extern NPIdentifier sGetVersion_id;
extern NPIdentifier sDeleteCert_id;
extern NPIdentifier sIsCertExist_id;
extern NPIdentifier sKeySpec_id;
extern NPIdentifier sCheckCertValid_id;
extern NPIdentifier sLeavingMostRecentCert_id;

// describePlugin answers what needs no instance: name and description (static texts), and on X11 NeedsXEmbed (an
// NPBool). 0, or 1 for any other variable.
NPError describePlugin(NPPVariable variable, void* value);

// PluginWinProc paints frame and text on WM_PAINT. Every message, a painted one too, then goes to DefWindowProcA and
// not to sOldWndProc.
LRESULT CALLBACK PluginWinProc(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam);

}  // namespace plugin

extern "C" {

// NPP_New makes the instance's record and forgets the chosen provider; every argument but instance is ignored.
// 0, 2 for a null instance, 5 for exhausted memory.
NPError NP_CALL NPP_New(NPMIMEType mimeType, NPP instance, std::uint16_t mode, std::int16_t argc, char* argn[],
                        char* argv[], NPSavedData* saved);

// NPP_Destroy gives the window its procedure back, destroys the record and forgets the chosen provider. pdata keeps its
// value. 0, or 2 for a null instance.
NPError NP_CALL NPP_Destroy(NPP instance, NPSavedData** save);

// NPP_SetWindow attaches to the first window that has a handle; later windows and sizes are ignored.
// 0, 2 for a null instance, 1 for a null window or an instance without a record, 4 when the attach fails.
NPError NP_CALL NPP_SetWindow(NPP instance, NPWindow* window);

// NPP_GetValue gives name and description (static texts), the script object with one reference, and on X11 that the
// plug-in needs XEmbed. 0, 2 for a null instance, 1 for one without a record or another variable.
NPError NP_CALL NPP_GetValue(NPP instance, NPPVariable variable, void* value);

// There are no streams and nothing to set: 0, or 2 for a null instance.
NPError NP_CALL NPP_NewStream(NPP instance, NPMIMEType type, NPStream* stream, NPBool seekable, std::uint16_t* stype);
NPError NP_CALL NPP_DestroyStream(NPP instance, NPStream* stream, NPReason reason);
NPError NP_CALL NPP_SetValue(NPP instance, NPNVariable variable, void* value);

// What a browser streams nevertheless is swallowed: 0x0FFFFFFF and len, or 2 for a null instance.
std::int32_t NP_CALL NPP_WriteReady(NPP instance, NPStream* stream);
std::int32_t NP_CALL NPP_Write(NPP instance, NPStream* stream, std::int32_t offset, std::int32_t len, void* buffer);

// These do nothing; no event is handled (0).
void NP_CALL NPP_StreamAsFile(NPP instance, NPStream* stream, const char* fname);
void NP_CALL NPP_Print(NPP instance, NPPrint* platformPrint);
std::int16_t NP_CALL NPP_HandleEvent(NPP instance, void* event);
void NP_CALL NPP_URLNotify(NPP instance, const char* url, NPReason reason, void* notifyData);
}

#endif
