#include "platform/system_api.h"

namespace platform {

SystemApi& replaceableSystemApi() {
    // One entry a line, in the table's order.
    // clang-format off
    static SystemApi table = {
        GetLastError,
        SetLastError,
        CoCreateGuid,
        ExpandEnvironmentStringsA,
        MultiByteToWideChar,
        WideCharToMultiByte,
        FileTimeToSystemTime,
        RegOpenKeyExA,
        RegQueryValueExA,
        RegCloseKey,
        GetUserNameA,
        GetPrivateProfileStringA,
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
    // clang-format on
    return table;
}

const SystemApi& sys() {
    return replaceableSystemApi();
}

}  // namespace platform
