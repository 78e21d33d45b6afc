// The Netscape Plug-in Application Programming Interface, version 0.27: the types and tables that a browser and a
// plug-in exchange. Names, orders and values are the published ones; our own declarations, so that no browser's headers
// are needed to build.
//
// On Windows the exported NP_ entry points are __stdcall (NP_ENTRY), while everything that travels in a table is
// __cdecl (NP_CALL). Elsewhere there is but one convention.
#ifndef VT_PLUGIN_NPAPI_H
#define VT_PLUGIN_NPAPI_H

#include <cstdint>

#if defined(_WIN32)
#define NP_ENTRY __stdcall
#define NP_CALL __cdecl
#define NP_EXPORT  // plugin/npvemtrel_certenroll.def exports them undecorated
#else
#define NP_ENTRY
#define NP_CALL
#define NP_EXPORT __attribute__((visibility("default")))
#endif

// Numbers and small types

using NPBool = unsigned char;
using NPError = std::int16_t;
using NPReason = std::int16_t;
using NPMIMEType = char*;
using NPUTF8 = char;
using NPIdentifier = void*;
using NPMenu = void;

inline constexpr NPError NPERR_NO_ERROR = 0;
inline constexpr NPError NPERR_GENERIC_ERROR = 1;
inline constexpr NPError NPERR_INVALID_INSTANCE_ERROR = 2;
inline constexpr NPError NPERR_INVALID_FUNCTABLE_ERROR = 3;
inline constexpr NPError NPERR_MODULE_LOAD_FAILED_ERROR = 4;
inline constexpr NPError NPERR_OUT_OF_MEMORY_ERROR = 5;

enum NPPVariable : int {
    NPPVpluginNameString = 1,
    NPPVpluginDescriptionString = 2,
    NPPVpluginWindowBool = 3,
    NPPVpluginTransparentBool = 4,
    NPPVpluginWindowSize = 6,
    NPPVpluginTimerInterval = 7,
    NPPVpluginUrlRequestsDisplayedBool = 13,
    NPPVpluginNeedsXEmbed = 14,
    NPPVpluginScriptableNPObject = 15,
    NPPVformValue = 16,
    NPPVpluginWantsAllNetworkStreams = 18,
};

enum NPNVariable : int {
    NPNVxDisplay = 1,
    NPNVxtAppContext = 2,
    NPNVnetscapeWindow = 3,
    NPNVjavascriptEnabledBool = 4,
    NPNVasdEnabledBool = 5,
    NPNVisOfflineBool = 6,
    NPNVToolkit = 13,
    NPNVSupportsXEmbedBool = 14,
    NPNVWindowNPObject = 15,
    NPNVPluginElementNPObject = 16,
    NPNVSupportsWindowless = 17,
    NPNVprivateModeBool = 18,
};

enum NPNURLVariable : int { NPNURLVCookie = 501, NPNURLVProxy = 502 };

enum NPWindowType : int { NPWindowTypeWindow = 1, NPWindowTypeDrawable = 2 };

enum NPCoordinateSpace : int {
    NPCoordinateSpacePlugin = 1,
    NPCoordinateSpaceWindow,
    NPCoordinateSpaceFlippedWindow,
    NPCoordinateSpaceScreen,
    NPCoordinateSpaceFlippedScreen,
};

// Instances, windows, streams

struct NPP_t {
    void* pdata;  // the plug-in's
    void* ndata;  // the browser's
};
using NPP = NPP_t*;

struct NPRect {
    std::uint16_t top;
    std::uint16_t left;
    std::uint16_t bottom;
    std::uint16_t right;
};

struct NPWindow {
    void* window;  // HWND on Windows, an X11 window id elsewhere
    std::int32_t x;
    std::int32_t y;
    std::uint32_t width;
    std::uint32_t height;
    NPRect clipRect;
#if !defined(_WIN32)
    void* ws_info;
#endif
    NPWindowType type;
};

struct NPSavedData {
    std::int32_t len;
    void* buf;
};

struct NPStream {
    void* pdata;
    void* ndata;
    const char* url;
    std::uint32_t end;
    std::uint32_t lastmodified;
    void* notifyData;
    const char* headers;
};

struct NPByteRange {
    std::int32_t offset;
    std::uint32_t length;
    NPByteRange* next;
};

struct NPPrint;  // never looked at
using NPRegion = void*;
struct NPEvent;

// Values and objects of script

enum NPVariantType : int {
    NPVariantType_Void = 0,
    NPVariantType_Null = 1,
    NPVariantType_Bool = 2,
    NPVariantType_Int32 = 3,
    NPVariantType_Double = 4,
    NPVariantType_String = 5,
    NPVariantType_Object = 6,
};

struct NPString {
    const NPUTF8* UTF8Characters;  // need not be NUL-terminated
    std::uint32_t UTF8Length;
};

struct NPObject;

struct NPVariant {
    NPVariantType type;
    union {
        bool boolValue;
        std::int32_t intValue;
        double doubleValue;
        NPString stringValue;
        NPObject* objectValue;
    } value;
};

struct NPClass;

// What the browser sees of an object; whoever allocates one may have more of it around this part.
struct NPObject {
    NPClass* _class;
    std::uint32_t referenceCount;
};

using NPAllocateFunctionPtr = NPObject*(NP_CALL*)(NPP npp, NPClass* aClass);
using NPDeallocateFunctionPtr = void(NP_CALL*)(NPObject* object);
using NPInvalidateFunctionPtr = void(NP_CALL*)(NPObject* object);
using NPHasMethodFunctionPtr = bool(NP_CALL*)(NPObject* object, NPIdentifier name);
using NPInvokeFunctionPtr = bool(NP_CALL*)(NPObject* object, NPIdentifier name, const NPVariant* args,
                                           std::uint32_t argCount, NPVariant* result);
using NPInvokeDefaultFunctionPtr = bool(NP_CALL*)(NPObject* object, const NPVariant* args, std::uint32_t argCount,
                                                  NPVariant* result);
using NPHasPropertyFunctionPtr = bool(NP_CALL*)(NPObject* object, NPIdentifier name);
using NPGetPropertyFunctionPtr = bool(NP_CALL*)(NPObject* object, NPIdentifier name, NPVariant* result);
using NPSetPropertyFunctionPtr = bool(NP_CALL*)(NPObject* object, NPIdentifier name, const NPVariant* value);
using NPRemovePropertyFunctionPtr = bool(NP_CALL*)(NPObject* object, NPIdentifier name);
using NPEnumerationFunctionPtr = bool(NP_CALL*)(NPObject* object, NPIdentifier** names, std::uint32_t* count);
using NPConstructFunctionPtr = bool(NP_CALL*)(NPObject* object, const NPVariant* args, std::uint32_t argCount,
                                              NPVariant* result);

struct NPClass {
    std::uint32_t structVersion;
    NPAllocateFunctionPtr allocate;
    NPDeallocateFunctionPtr deallocate;
    NPInvalidateFunctionPtr invalidate;
    NPHasMethodFunctionPtr hasMethod;
    NPInvokeFunctionPtr invoke;
    NPInvokeDefaultFunctionPtr invokeDefault;
    NPHasPropertyFunctionPtr hasProperty;
    NPGetPropertyFunctionPtr getProperty;
    NPSetPropertyFunctionPtr setProperty;
    NPRemovePropertyFunctionPtr removeProperty;
    NPEnumerationFunctionPtr enumerate;
    NPConstructFunctionPtr construct;
};

inline constexpr std::uint32_t NP_CLASS_STRUCT_VERSION = 3;

// NPPluginFuncs: the plug-in's operations, filled by NP_GetEntryPoints

using NPP_NewProcPtr = NPError(NP_CALL*)(NPMIMEType mimeType, NPP instance, std::uint16_t mode, std::int16_t argc,
                                         char* argn[], char* argv[], NPSavedData* saved);
using NPP_DestroyProcPtr = NPError(NP_CALL*)(NPP instance, NPSavedData** save);
using NPP_SetWindowProcPtr = NPError(NP_CALL*)(NPP instance, NPWindow* window);
using NPP_NewStreamProcPtr = NPError(NP_CALL*)(NPP instance, NPMIMEType type, NPStream* stream, NPBool seekable,
                                               std::uint16_t* stype);
using NPP_DestroyStreamProcPtr = NPError(NP_CALL*)(NPP instance, NPStream* stream, NPReason reason);
using NPP_StreamAsFileProcPtr = void(NP_CALL*)(NPP instance, NPStream* stream, const char* fname);
using NPP_WriteReadyProcPtr = std::int32_t(NP_CALL*)(NPP instance, NPStream* stream);
using NPP_WriteProcPtr = std::int32_t(NP_CALL*)(NPP instance, NPStream* stream, std::int32_t offset, std::int32_t len,
                                                void* buffer);
using NPP_PrintProcPtr = void(NP_CALL*)(NPP instance, NPPrint* platformPrint);
using NPP_HandleEventProcPtr = std::int16_t(NP_CALL*)(NPP instance, void* event);
using NPP_URLNotifyProcPtr = void(NP_CALL*)(NPP instance, const char* url, NPReason reason, void* notifyData);
using NPP_GetValueProcPtr = NPError(NP_CALL*)(NPP instance, NPPVariable variable, void* value);
using NPP_SetValueProcPtr = NPError(NP_CALL*)(NPP instance, NPNVariable variable, void* value);
using NPP_GotFocusPtr = NPBool(NP_CALL*)(NPP instance, int direction);
using NPP_LostFocusPtr = void(NP_CALL*)(NPP instance);
using NPP_URLRedirectNotifyPtr = void(NP_CALL*)(NPP instance, const char* url, std::int32_t status, void* notifyData);
using NPP_ClearSiteDataPtr = NPError(NP_CALL*)(const char* site, std::uint64_t flags, std::uint64_t maxAge);
using NPP_GetSitesWithDataPtr = char**(NP_CALL*)();
using NPP_DidCompositePtr = void(NP_CALL*)(NPP instance);

struct NPPluginFuncs {
    std::uint16_t size;
    std::uint16_t version;
    NPP_NewProcPtr newp;
    NPP_DestroyProcPtr destroy;
    NPP_SetWindowProcPtr setwindow;
    NPP_NewStreamProcPtr newstream;
    NPP_DestroyStreamProcPtr destroystream;
    NPP_StreamAsFileProcPtr asfile;
    NPP_WriteReadyProcPtr writeready;
    NPP_WriteProcPtr write;
    NPP_PrintProcPtr print;
    NPP_HandleEventProcPtr event;
    NPP_URLNotifyProcPtr urlnotify;
    void* javaClass;
    NPP_GetValueProcPtr getvalue;
    NPP_SetValueProcPtr setvalue;
    NPP_GotFocusPtr gotfocus;
    NPP_LostFocusPtr lostfocus;
    NPP_URLRedirectNotifyPtr urlredirectnotify;
    NPP_ClearSiteDataPtr clearsitedata;
    NPP_GetSitesWithDataPtr getsiteswithdata;
    NPP_DidCompositePtr didComposite;
};

// NPNetscapeFuncs: the browser's operations, given to NP_Initialize

using NPN_GetURLProcPtr = NPError(NP_CALL*)(NPP instance, const char* url, const char* target);
using NPN_PostURLProcPtr = NPError(NP_CALL*)(NPP instance, const char* url, const char* target, std::uint32_t len,
                                             const char* buf, NPBool file);
using NPN_RequestReadProcPtr = NPError(NP_CALL*)(NPStream* stream, NPByteRange* rangeList);
using NPN_NewStreamProcPtr = NPError(NP_CALL*)(NPP instance, NPMIMEType type, const char* target, NPStream** stream);
using NPN_WriteProcPtr = std::int32_t(NP_CALL*)(NPP instance, NPStream* stream, std::int32_t len, void* buffer);
using NPN_DestroyStreamProcPtr = NPError(NP_CALL*)(NPP instance, NPStream* stream, NPReason reason);
using NPN_StatusProcPtr = void(NP_CALL*)(NPP instance, const char* message);
using NPN_UserAgentProcPtr = const char*(NP_CALL*)(NPP instance);
using NPN_MemAllocProcPtr = void*(NP_CALL*)(std::uint32_t size);
using NPN_MemFreeProcPtr = void(NP_CALL*)(void* memory);
using NPN_MemFlushProcPtr = std::uint32_t(NP_CALL*)(std::uint32_t size);
using NPN_ReloadPluginsProcPtr = void(NP_CALL*)(NPBool reloadPages);
using NPN_GetJavaEnvProcPtr = void*(NP_CALL*)();
using NPN_GetJavaPeerProcPtr = void*(NP_CALL*)(NPP instance);
using NPN_GetURLNotifyProcPtr = NPError(NP_CALL*)(NPP instance, const char* url, const char* target, void* notifyData);
using NPN_PostURLNotifyProcPtr = NPError(NP_CALL*)(NPP instance, const char* url, const char* target, std::uint32_t len,
                                                   const char* buf, NPBool file, void* notifyData);
using NPN_GetValueProcPtr = NPError(NP_CALL*)(NPP instance, NPNVariable variable, void* value);
using NPN_SetValueProcPtr = NPError(NP_CALL*)(NPP instance, NPPVariable variable, void* value);
using NPN_InvalidateRectProcPtr = void(NP_CALL*)(NPP instance, NPRect* rect);
using NPN_InvalidateRegionProcPtr = void(NP_CALL*)(NPP instance, NPRegion region);
using NPN_ForceRedrawProcPtr = void(NP_CALL*)(NPP instance);
using NPN_GetStringIdentifierProcPtr = NPIdentifier(NP_CALL*)(const NPUTF8* name);
using NPN_GetStringIdentifiersProcPtr = void(NP_CALL*)(const NPUTF8** names, std::int32_t count,
                                                       NPIdentifier* identifiers);
using NPN_GetIntIdentifierProcPtr = NPIdentifier(NP_CALL*)(std::int32_t number);
using NPN_IdentifierIsStringProcPtr = bool(NP_CALL*)(NPIdentifier identifier);
using NPN_UTF8FromIdentifierProcPtr = NPUTF8*(NP_CALL*)(NPIdentifier identifier);
using NPN_IntFromIdentifierProcPtr = std::int32_t(NP_CALL*)(NPIdentifier identifier);
using NPN_CreateObjectProcPtr = NPObject*(NP_CALL*)(NPP instance, NPClass* aClass);
using NPN_RetainObjectProcPtr = NPObject*(NP_CALL*)(NPObject* object);
using NPN_ReleaseObjectProcPtr = void(NP_CALL*)(NPObject* object);
using NPN_InvokeProcPtr = bool(NP_CALL*)(NPP instance, NPObject* object, NPIdentifier name, const NPVariant* args,
                                         std::uint32_t argCount, NPVariant* result);
using NPN_InvokeDefaultProcPtr = bool(NP_CALL*)(NPP instance, NPObject* object, const NPVariant* args,
                                                std::uint32_t argCount, NPVariant* result);
using NPN_EvaluateProcPtr = bool(NP_CALL*)(NPP instance, NPObject* object, NPString* script, NPVariant* result);
using NPN_GetPropertyProcPtr = bool(NP_CALL*)(NPP instance, NPObject* object, NPIdentifier name, NPVariant* result);
using NPN_SetPropertyProcPtr = bool(NP_CALL*)(NPP instance, NPObject* object, NPIdentifier name,
                                              const NPVariant* value);
using NPN_RemovePropertyProcPtr = bool(NP_CALL*)(NPP instance, NPObject* object, NPIdentifier name);
using NPN_HasPropertyProcPtr = bool(NP_CALL*)(NPP instance, NPObject* object, NPIdentifier name);
using NPN_HasMethodProcPtr = bool(NP_CALL*)(NPP instance, NPObject* object, NPIdentifier name);
using NPN_ReleaseVariantValueProcPtr = void(NP_CALL*)(NPVariant* variant);
using NPN_SetExceptionProcPtr = void(NP_CALL*)(NPObject* object, const NPUTF8* message);
using NPN_PushPopupsEnabledStateProcPtr = void(NP_CALL*)(NPP instance, NPBool enabled);
using NPN_PopPopupsEnabledStateProcPtr = void(NP_CALL*)(NPP instance);
using NPN_EnumerateProcPtr = bool(NP_CALL*)(NPP instance, NPObject* object, NPIdentifier** names, std::uint32_t* count);
using NPN_PluginThreadAsyncCallProcPtr = void(NP_CALL*)(NPP instance, void(NP_CALL* func)(void*), void* userData);
using NPN_ConstructProcPtr = bool(NP_CALL*)(NPP instance, NPObject* object, const NPVariant* args,
                                            std::uint32_t argCount, NPVariant* result);
using NPN_GetValueForURLPtr = NPError(NP_CALL*)(NPP instance, NPNURLVariable variable, const char* url, char** value,
                                                std::uint32_t* len);
using NPN_SetValueForURLPtr = NPError(NP_CALL*)(NPP instance, NPNURLVariable variable, const char* url,
                                                const char* value, std::uint32_t len);
using NPN_GetAuthenticationInfoPtr = NPError(NP_CALL*)(NPP instance, const char* protocol, const char* host,
                                                       std::int32_t port, const char* scheme, const char* realm,
                                                       char** username, std::uint32_t* ulen, char** password,
                                                       std::uint32_t* plen);
using NPN_ScheduleTimerPtr = std::uint32_t(NP_CALL*)(NPP instance, std::uint32_t interval, NPBool repeat,
                                                     void(NP_CALL* timerFunc)(NPP, std::uint32_t));
using NPN_UnscheduleTimerPtr = void(NP_CALL*)(NPP instance, std::uint32_t timerID);
using NPN_PopUpContextMenuPtr = NPError(NP_CALL*)(NPP instance, NPMenu* menu);
using NPN_ConvertPointPtr = NPBool(NP_CALL*)(NPP instance, double sourceX, double sourceY,
                                             NPCoordinateSpace sourceSpace, double* destX, double* destY,
                                             NPCoordinateSpace destSpace);
using NPN_HandleEventPtr = NPBool(NP_CALL*)(NPP instance, void* event, NPBool handled);
using NPN_UnfocusInstancePtr = NPBool(NP_CALL*)(NPP instance, int direction);
using NPN_URLRedirectResponsePtr = void(NP_CALL*)(NPP instance, void* notifyData, NPBool allow);

struct NPNetscapeFuncs {
    std::uint16_t size;
    std::uint16_t version;
    NPN_GetURLProcPtr geturl;
    NPN_PostURLProcPtr posturl;
    NPN_RequestReadProcPtr requestread;
    NPN_NewStreamProcPtr newstream;
    NPN_WriteProcPtr write;
    NPN_DestroyStreamProcPtr destroystream;
    NPN_StatusProcPtr status;
    NPN_UserAgentProcPtr uagent;
    NPN_MemAllocProcPtr memalloc;
    NPN_MemFreeProcPtr memfree;
    NPN_MemFlushProcPtr memflush;
    NPN_ReloadPluginsProcPtr reloadplugins;
    NPN_GetJavaEnvProcPtr getJavaEnv;
    NPN_GetJavaPeerProcPtr getJavaPeer;
    NPN_GetURLNotifyProcPtr geturlnotify;
    NPN_PostURLNotifyProcPtr posturlnotify;
    NPN_GetValueProcPtr getvalue;
    NPN_SetValueProcPtr setvalue;
    NPN_InvalidateRectProcPtr invalidaterect;
    NPN_InvalidateRegionProcPtr invalidateregion;
    NPN_ForceRedrawProcPtr forceredraw;
    NPN_GetStringIdentifierProcPtr getstringidentifier;
    NPN_GetStringIdentifiersProcPtr getstringidentifiers;
    NPN_GetIntIdentifierProcPtr getintidentifier;
    NPN_IdentifierIsStringProcPtr identifierisstring;
    NPN_UTF8FromIdentifierProcPtr utf8fromidentifier;
    NPN_IntFromIdentifierProcPtr intfromidentifier;
    NPN_CreateObjectProcPtr createobject;
    NPN_RetainObjectProcPtr retainobject;
    NPN_ReleaseObjectProcPtr releaseobject;
    NPN_InvokeProcPtr invoke;
    NPN_InvokeDefaultProcPtr invokeDefault;
    NPN_EvaluateProcPtr evaluate;
    NPN_GetPropertyProcPtr getproperty;
    NPN_SetPropertyProcPtr setproperty;
    NPN_RemovePropertyProcPtr removeproperty;
    NPN_HasPropertyProcPtr hasproperty;
    NPN_HasMethodProcPtr hasmethod;
    NPN_ReleaseVariantValueProcPtr releasevariantvalue;
    NPN_SetExceptionProcPtr setexception;
    NPN_PushPopupsEnabledStateProcPtr pushpopupsenabledstate;
    NPN_PopPopupsEnabledStateProcPtr poppopupsenabledstate;
    NPN_EnumerateProcPtr enumerate;
    NPN_PluginThreadAsyncCallProcPtr pluginthreadasynccall;
    NPN_ConstructProcPtr construct;
    NPN_GetValueForURLPtr getvalueforurl;
    NPN_SetValueForURLPtr setvalueforurl;
    NPN_GetAuthenticationInfoPtr getauthenticationinfo;
    NPN_ScheduleTimerPtr scheduletimer;
    NPN_UnscheduleTimerPtr unscheduletimer;
    NPN_PopUpContextMenuPtr popupcontextmenu;
    NPN_ConvertPointPtr convertpoint;
    NPN_HandleEventPtr handleevent;
    NPN_UnfocusInstancePtr unfocusinstance;
    NPN_URLRedirectResponsePtr urlredirectresponse;
};

#endif
