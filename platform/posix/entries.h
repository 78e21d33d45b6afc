// The functions behind SystemApi, each with the contract that is published for the function of that name; what is
// different where there is no Windows stands beside it.
#ifndef VT_PLATFORM_POSIX_ENTRIES_H
#define VT_PLATFORM_POSIX_ENTRIES_H

#include "platform/types.h"

namespace platform::posix {

// A version 4 (random) GUID.
HRESULT CoCreateGuid(GUID* guid);

// "%HOMEDRIVE%" is empty and "%HOMEPATH%" the whole home folder; other names are environment variables.
DWORD ExpandEnvironmentStringsA(LPCSTR source, LPSTR target, DWORD capacity);

// Every code page (CP_ACP, CP_THREAD_ACP, CP_UTF8) is UTF-8. With flags 0 a malformed sequence becomes U+FFFD; with
// MB_ERR_INVALID_CHARS or WC_ERR_INVALID_CHARS it fails with ERROR_NO_UNICODE_TRANSLATION. `unmappable` has no use, and
// usedUnmappable tells whether U+FFFD was written.
int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR wide, int capacity);
int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int length, LPSTR text, int capacity,
                        LPCSTR unmappable, BOOL* usedUnmappable);

BOOL FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* systemTime);

// The registry is empty: no key opens (ERROR_FILE_NOT_FOUND), and no key is one (ERROR_INVALID_HANDLE).
LONG RegOpenKeyExA(HKEY parent, LPCSTR path, DWORD options, REGSAM access, HKEY* key);
LONG RegQueryValueExA(HKEY key, LPCSTR name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size);
LONG RegCloseKey(HKEY key);

// The name under which the user logs in.
BOOL GetUserNameA(LPSTR name, DWORD* size);

// Section and key have to be given: nothing is listed.
DWORD GetPrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR fallback, LPSTR value, DWORD capacity, LPCSTR file);

// FindFirstFileA finds the one file or folder of that path; "*" and "?" are characters like others.
HANDLE FindFirstFileA(LPCSTR path, WIN32_FIND_DATAA* found);
BOOL FindClose(HANDLE search);
BOOL DeleteFileA(LPCSTR path);

// The process has one module, its own program file; no other process can be asked.
HANDLE GetCurrentProcess();
BOOL EnumProcessModules(HANDLE process, HMODULE* modules, DWORD size, DWORD* needed);
DWORD GetModuleBaseNameA(HANDLE process, HMODULE module, LPSTR name, DWORD capacity);

// The dynamic loader's dlopen, dlsym and dlclose.
HMODULE LoadLibraryA(LPCSTR path);
FARPROC GetProcAddress(HMODULE module, LPCSTR name);
BOOL FreeLibrary(HMODULE module);

// There are no windows: these do nothing and give 0.
LONG_PTR SetWindowLongA(HWND window, int index, LONG_PTR value);
LONG_PTR GetWindowLongA(HWND window, int index);
HDC BeginPaint(HWND window, PAINTSTRUCT* paint);
BOOL EndPaint(HWND window, const PAINTSTRUCT* paint);
BOOL GetClientRect(HWND window, RECT* rect);
int FrameRect(HDC dc, const RECT* rect, HBRUSH brush);
HGDIOBJ GetStockObject(int object);
int DrawTextA(HDC dc, LPCSTR text, int length, RECT* rect, UINT format);
LRESULT DefWindowProcA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace platform::posix

#endif
