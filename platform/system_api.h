// SystemApi: what the program asks of the operating system besides cryptography, under the platform's names.
//
// On Windows each entry is the system's own function. Elsewhere platform/posix gives the same answers where there is
// something to answer: "%HOMEDRIVE%" is empty and "%HOMEPATH%" is $HOME, the host module is the program's own file, the
// ANSI code page is UTF-8, the registry is empty, and there are no windows (their entries return 0 and do nothing).
#ifndef VT_PLATFORM_SYSTEM_API_H
#define VT_PLATFORM_SYSTEM_API_H

#include "platform/types.h"

namespace platform {

// One entry a line, which clang-format does not keep for pointers to functions.
// clang-format off
struct SystemApi {
    DWORD (WINAPI* GetLastError)();
    void (WINAPI* SetLastError)(DWORD error);

    // Names and text
    HRESULT (WINAPI* CoCreateGuid)(GUID* guid);
    DWORD (WINAPI* ExpandEnvironmentStringsA)(LPCSTR source, LPSTR target, DWORD capacity);
    int (WINAPI* MultiByteToWideChar)(UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR wide, int capacity);
    int (WINAPI* WideCharToMultiByte)
        (UINT codePage, DWORD flags, LPCWSTR wide, int length, LPSTR text, int capacity,
         LPCSTR unmappable, BOOL* usedUnmappable);
    BOOL (WINAPI* FileTimeToSystemTime)(const FILETIME* fileTime, SYSTEMTIME* systemTime);

    // The registry
    LONG (WINAPI* RegOpenKeyExA)(HKEY parent, LPCSTR path, DWORD options, REGSAM access, HKEY* key);
    LONG (WINAPI* RegQueryValueExA)
        (HKEY key, LPCSTR name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size);
    LONG (WINAPI* RegCloseKey)(HKEY key);

    // The user and the files that programs keep settings in
    BOOL (WINAPI* GetUserNameA)(LPSTR name, DWORD* size);
    DWORD (WINAPI* GetPrivateProfileStringA)
        (LPCSTR section, LPCSTR key, LPCSTR fallback, LPSTR value, DWORD capacity, LPCSTR file);

    // Files
    HANDLE (WINAPI* FindFirstFileA)(LPCSTR path, WIN32_FIND_DATAA* found);
    BOOL (WINAPI* FindClose)(HANDLE search);
    BOOL (WINAPI* DeleteFileA)(LPCSTR path);

    // The host process and loadable modules
    HANDLE (WINAPI* GetCurrentProcess)();
    BOOL (WINAPI* EnumProcessModules)(HANDLE process, HMODULE* modules, DWORD size, DWORD* needed);
    DWORD (WINAPI* GetModuleBaseNameA)(HANDLE process, HMODULE module, LPSTR name, DWORD capacity);
    HMODULE (WINAPI* LoadLibraryA)(LPCSTR path);
    FARPROC (WINAPI* GetProcAddress)(HMODULE module, LPCSTR name);
    BOOL (WINAPI* FreeLibrary)(HMODULE module);

    // The instance's window
    LONG_PTR (WINAPI* SetWindowLongA)(HWND window, int index, LONG_PTR value);
    LONG_PTR (WINAPI* GetWindowLongA)(HWND window, int index);
    HDC (WINAPI* BeginPaint)(HWND window, PAINTSTRUCT* paint);
    BOOL (WINAPI* EndPaint)(HWND window, const PAINTSTRUCT* paint);
    BOOL (WINAPI* GetClientRect)(HWND window, RECT* rect);
    int (WINAPI* FrameRect)(HDC dc, const RECT* rect, HBRUSH brush);
    HGDIOBJ (WINAPI* GetStockObject)(int object);
    int (WINAPI* DrawTextA)(HDC dc, LPCSTR text, int length, RECT* rect, UINT format);
    LRESULT (WINAPI* DefWindowProcA)(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
};
// clang-format on

// The table in force.
const SystemApi& sys();

// The same table for tests, which replace single entries for their lifetime (tests/support/replace.h).
SystemApi& replaceableSystemApi();

}  // namespace platform

#endif
