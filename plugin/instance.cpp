#include "plugin/instance.h"

#include <cstring>
#include <new>

#include "enrol/enrol.h"
#include "plugin/entry.h"
#include "plugin/scriptable.h"

namespace plugin {

using platform::sys;

NPObject* sWindowObj = nullptr;
WNDPROC sOldWndProc = nullptr;

NPIdentifier sDocument_id = nullptr;
NPIdentifier sBody_id = nullptr;
NPIdentifier sCreateElement_id = nullptr;
NPIdentifier sCreateTextNode_id = nullptr;
NPIdentifier sAppendChild_id = nullptr;
NPIdentifier sGenP10_id = nullptr;
NPIdentifier sGenP10_exp_withdn_id = nullptr;
NPIdentifier sSetCSP_id = nullptr;
NPIdentifier sListCSP_id = nullptr;
NPIdentifier sWriteClientCert_id = nullptr;
NPIdentifier sWriteClientCert_noprotect_id = nullptr;
NPIdentifier sWriteClientCert_exp_X509_id = nullptr;
NPIdentifier sSetHashAlgorithm_id = nullptr;
NPIdentifier sGetVersion_id = nullptr;
NPIdentifier sDeleteCert_id = nullptr;
NPIdentifier sIsCertExist_id = nullptr;
NPIdentifier sKeySpec_id = nullptr;
NPIdentifier sCheckCertValid_id = nullptr;
NPIdentifier sLeavingMostRecentCert_id = nullptr;

namespace {

constexpr char kWelcome[] = "Welcome to Vemtrel CertEnroll Plugin";
constexpr std::int32_t kWriteReady = 0x0FFFFFFF;

struct ScriptName {
    const char* name;
    NPIdentifier* identifier;  // null: the answer is dropped
};

// The order in which browsers are asked.
constexpr ScriptName kScriptNames[] = {
    {"foof", nullptr},
    {"document", &sDocument_id},
    {"body", &sBody_id},
    {"createElement", &sCreateElement_id},
    {"createTextNode", &sCreateTextNode_id},
    {"appendChild", &sAppendChild_id},
    {"genP10", &sGenP10_id},
    {"genP10_exp_withdn", &sGenP10_exp_withdn_id},
    {"setCSP", &sSetCSP_id},
    {"listCSP", &sListCSP_id},
    {"writeClientCert", &sWriteClientCert_id},
    {"writeClientCert_noprotect", &sWriteClientCert_noprotect_id},
    {"writeClientCert_exp_X509", &sWriteClientCert_exp_X509_id},
    {"SetHashAlgorithm", &sSetHashAlgorithm_id},
    {"getVersion", &sGetVersion_id},
    {"deleteCert", &sDeleteCert_id},
    {"IsCertExist", &sIsCertExist_id},
    {"KeySpec", &sKeySpec_id},
    {"CheckCertValid", &sCheckCertValid_id},
    {"leavingMostRecentCert", &sLeavingMostRecentCert_id},
};

void fetchIdentifiers() {
    for (const ScriptName& entry : kScriptNames) {
        NPIdentifier identifier = NPNFuncs.getstringidentifier(entry.name);
        if (entry.identifier != nullptr)
            *entry.identifier = identifier;
    }
}

PluginInstance* recordOf(NPP instance) {
    return static_cast<PluginInstance*>(instance->pdata);
}

NPError onlyAnInstance(NPP instance) {
    return instance == nullptr ? NPERR_INVALID_INSTANCE_ERROR : NPERR_NO_ERROR;
}

void paint(HWND hWnd) {
    PAINTSTRUCT area = {};
    HDC dc = sys().BeginPaint(hWnd, &area);
    RECT client = {};
    sys().GetClientRect(hWnd, &client);
    sys().FrameRect(dc, &client, static_cast<HBRUSH>(sys().GetStockObject(BLACK_BRUSH)));
    auto* const record = reinterpret_cast<PluginInstance*>(sys().GetWindowLongA(hWnd, GWL_USERDATA));
    if (record != nullptr) {
        if (record->text[0] == '\0')
            std::memcpy(record->text, kWelcome, sizeof(kWelcome));
        sys().DrawTextA(dc, record->text, -1, &client, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    }
    sys().EndPaint(hWnd, &area);
}

}  // namespace

PluginInstance::PluginInstance(NPP owner) : npp(owner) {
    NPNFuncs.getvalue(npp, NPNVWindowNPObject, static_cast<void*>(&sWindowObj));
    fetchIdentifiers();
    NPNFuncs.uagent(npp);
    std::memcpy(text, kWelcome, sizeof(kWelcome));
}

PluginInstance::~PluginInstance() {
    if (sWindowObj != nullptr)
        NPNFuncs.releaseobject(sWindowObj);
    if (scriptableObject != nullptr)
        NPNFuncs.releaseobject(scriptableObject);
    sWindowObj = nullptr;
}

bool PluginInstance::attach(NPWindow* newWindow) {
    hWnd = static_cast<HWND>(newWindow->window);
    if (hWnd == nullptr)
        return false;
    sOldWndProc =
        reinterpret_cast<WNDPROC>(sys().SetWindowLongA(hWnd, GWL_WNDPROC, reinterpret_cast<LONG_PTR>(&PluginWinProc)));
    sys().SetWindowLongA(hWnd, GWL_USERDATA, reinterpret_cast<LONG_PTR>(this));
    window = newWindow;
    initialized = true;
    return true;
}

void PluginInstance::detach() {
    sys().SetWindowLongA(hWnd, GWL_WNDPROC, reinterpret_cast<LONG_PTR>(sOldWndProc));
    hWnd = nullptr;
    initialized = false;
}

NPObject* PluginInstance::GetScriptableObject() {
    if (scriptableObject == nullptr)
        scriptableObject = NPNFuncs.createobject(npp, &sScriptablePluginObject_NPClass);
    if (scriptableObject != nullptr)
        NPNFuncs.retainobject(scriptableObject);
    return scriptableObject;
}

NPError describePlugin(NPPVariable variable, void* value) {
    switch (variable) {
        case NPPVpluginNameString:
            *static_cast<const char**>(value) = kPluginName;
            return NPERR_NO_ERROR;
        case NPPVpluginDescriptionString:
            *static_cast<const char**>(value) = kPluginDescription;
            return NPERR_NO_ERROR;
#if !defined(_WIN32)
        case NPPVpluginNeedsXEmbed:
            *static_cast<NPBool*>(value) = 1;
            return NPERR_NO_ERROR;
#endif
        default:
            return NPERR_GENERIC_ERROR;
    }
}

LRESULT CALLBACK PluginWinProc(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    if (msg == WM_PAINT)
        paint(hWnd);
    return sys().DefWindowProcA(hWnd, msg, wParam, lParam);
}

}  // namespace plugin

NPError NP_CALL NPP_New(NPMIMEType /*mimeType*/, NPP instance, std::uint16_t /*mode*/, std::int16_t /*argc*/,
                        char* /*argn*/[], char* /*argv*/[], NPSavedData* /*saved*/) {
    if (instance == nullptr)
        return NPERR_INVALID_INSTANCE_ERROR;
    auto* const record = new (std::nothrow) plugin::PluginInstance(instance);
    if (record == nullptr)
        return NPERR_OUT_OF_MEMORY_ERROR;
    instance->pdata = record;
    enrol::forgetProvider();
    return NPERR_NO_ERROR;
}

NPError NP_CALL NPP_Destroy(NPP instance, NPSavedData** /*save*/) {
    if (instance == nullptr)
        return NPERR_INVALID_INSTANCE_ERROR;
    plugin::PluginInstance* const record = plugin::recordOf(instance);
    if (record != nullptr) {
        record->detach();
        delete record;
    }
    enrol::forgetProvider();
    return NPERR_NO_ERROR;
}

NPError NP_CALL NPP_SetWindow(NPP instance, NPWindow* window) {
    if (instance == nullptr)
        return NPERR_INVALID_INSTANCE_ERROR;
    if (window == nullptr || instance->pdata == nullptr)
        return NPERR_GENERIC_ERROR;
    plugin::PluginInstance* const record = plugin::recordOf(instance);
    if (!record->initialized && window->window != nullptr && !record->attach(window)) {
        delete record;
        return NPERR_MODULE_LOAD_FAILED_ERROR;
    }
    return NPERR_NO_ERROR;
}

NPError NP_CALL NPP_GetValue(NPP instance, NPPVariable variable, void* value) {
    if (instance == nullptr)
        return NPERR_INVALID_INSTANCE_ERROR;
    if (instance->pdata == nullptr)
        return NPERR_GENERIC_ERROR;
    if (variable == NPPVpluginScriptableNPObject) {
        *static_cast<NPObject**>(value) = plugin::recordOf(instance)->GetScriptableObject();
        return NPERR_NO_ERROR;
    }
    return plugin::describePlugin(variable, value);
}

NPError NP_CALL NPP_NewStream(NPP instance, NPMIMEType /*type*/, NPStream* /*stream*/, NPBool /*seekable*/,
                              std::uint16_t* /*stype*/) {
    return plugin::onlyAnInstance(instance);
}

NPError NP_CALL NPP_DestroyStream(NPP instance, NPStream* /*stream*/, NPReason /*reason*/) {
    return plugin::onlyAnInstance(instance);
}

NPError NP_CALL NPP_SetValue(NPP instance, NPNVariable /*variable*/, void* /*value*/) {
    return plugin::onlyAnInstance(instance);
}

std::int32_t NP_CALL NPP_WriteReady(NPP instance, NPStream* /*stream*/) {
    return instance == nullptr ? NPERR_INVALID_INSTANCE_ERROR : plugin::kWriteReady;
}

std::int32_t NP_CALL NPP_Write(NPP instance, NPStream* /*stream*/, std::int32_t /*offset*/, std::int32_t len,
                               void* /*buffer*/) {
    return instance == nullptr ? NPERR_INVALID_INSTANCE_ERROR : len;
}

void NP_CALL NPP_StreamAsFile(NPP /*instance*/, NPStream* /*stream*/, const char* /*fname*/) {}

void NP_CALL NPP_Print(NPP /*instance*/, NPPrint* /*platformPrint*/) {}

std::int16_t NP_CALL NPP_HandleEvent(NPP /*instance*/, void* /*event*/) {
    return 0;
}

void NP_CALL NPP_URLNotify(NPP /*instance*/, const char* /*url*/, NPReason /*reason*/, void* /*notifyData*/) {}
