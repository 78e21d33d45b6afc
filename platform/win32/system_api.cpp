#include "platform/system_api.h"

namespace platform {

SystemApi& replaceableSystemApi() {
    static SystemApi table = {
        GetLastError,
        SetLastError,
        CoCreateGuid,
        ExpandEnvironmentStringsA,
        MultiByteToWideChar,
        WideCharToMultiByte,
        FileTimeToSystemTime,
        FindFirstFileA,
        FindClose,
        DeleteFileA,
        GetCurrentProcess,
        EnumProcessModules,
        GetModuleBaseNameA,
        LoadLibraryA,
        GetProcAddress,
        FreeLibrary,
        SetWindowLongA,
        GetWindowLongA,
        BeginPaint,
        EndPaint,
        GetClientRect,
        FrameRect,
        GetStockObject,
        DrawTextA,
        DefWindowProcA,
    };
    return table;
}

const SystemApi& sys() { return replaceableSystemApi(); }

}  // namespace platform
