#include "platform/system_api.h"

#include "platform/posix/entries.h"
#include "platform/posix/last_error.h"

namespace platform {

SystemApi& replaceableSystemApi() {
    static SystemApi table = {
        posix::lastError,
        posix::setLastError,
        posix::CoCreateGuid,
        posix::ExpandEnvironmentStringsA,
        posix::MultiByteToWideChar,
        posix::WideCharToMultiByte,
        posix::FileTimeToSystemTime,
        posix::RegOpenKeyExA,
        posix::RegQueryValueExA,
        posix::RegCloseKey,
        posix::GetUserNameA,
        posix::GetPrivateProfileStringA,
        posix::FindFirstFileA,
        posix::FindClose,
        posix::DeleteFileA,
        posix::GetCurrentProcess,
        posix::EnumProcessModules,
        posix::GetModuleBaseNameA,
        posix::LoadLibraryA,
        posix::GetProcAddress,
        posix::FreeLibrary,
        posix::SetWindowLongA,
        posix::GetWindowLongA,
        posix::BeginPaint,
        posix::EndPaint,
        posix::GetClientRect,
        posix::FrameRect,
        posix::GetStockObject,
        posix::DrawTextA,
        posix::DefWindowProcA,
    };
    return table;
}

const SystemApi& sys() {
    return replaceableSystemApi();
}

}  // namespace platform
