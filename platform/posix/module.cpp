#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string_view>

#include "platform/posix/entries.h"
#include "platform/posix/last_error.h"

namespace platform::posix {
namespace {

// Stands for the program's own file.
char programModule;

HANDLE currentProcess() {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));
}

using Path = char[PATH_MAX];

// The name stands in the path; a browser asks for it in calls that no exception may leave, so that it takes no memory.
std::string_view programName(Path& path) {
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    if (length <= 0)
        return {};
    const std::string_view full(path, static_cast<std::size_t>(length));
    return full.substr(full.find_last_of('/') + 1);
}

}  // namespace

HANDLE GetCurrentProcess() {
    return currentProcess();
}

BOOL EnumProcessModules(HANDLE process, HMODULE* modules, DWORD size, DWORD* needed) {
    if (process != currentProcess())
        return fail(ERROR_INVALID_HANDLE);
    if (needed == nullptr || (modules == nullptr && size != 0))
        return fail(ERROR_INVALID_PARAMETER);
    if (size >= sizeof *modules)
        modules[0] = &programModule;
    *needed = sizeof *modules;
    return TRUE;
}

DWORD GetModuleBaseNameA(HANDLE process, HMODULE module, LPSTR name, DWORD capacity) {
    const bool known = process == currentProcess() && (module == nullptr || module == &programModule);
    Path path;
    const std::string_view program = known ? programName(path) : std::string_view();
    if (program.empty() || name == nullptr || capacity == 0) {
        setLastError(program.empty() ? ERROR_INVALID_HANDLE : ERROR_INVALID_PARAMETER);
        return 0;
    }
    // A longer name is cut, as on Windows.
    const std::size_t length = std::min<std::size_t>(program.size(), capacity - 1);
    std::memcpy(name, program.data(), length);
    name[length] = '\0';
    return static_cast<DWORD>(length);
}

// The empty name is no file; dlopen takes it for the program itself.
HMODULE LoadLibraryA(LPCSTR path) {
    void* module = path != nullptr && *path != '\0' ? dlopen(path, RTLD_NOW | RTLD_LOCAL) : nullptr;
    if (module == nullptr)
        setLastError(path != nullptr ? ERROR_MOD_NOT_FOUND : ERROR_INVALID_PARAMETER);
    return module;
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name) {
    void* symbol = module != nullptr && name != nullptr ? dlsym(module, name) : nullptr;
    if (symbol == nullptr)
        setLastError(module != nullptr ? ERROR_PROC_NOT_FOUND : ERROR_INVALID_HANDLE);
    return reinterpret_cast<FARPROC>(symbol);
}

BOOL FreeLibrary(HMODULE module) {
    if (module == nullptr || dlclose(module) != 0)
        return fail(ERROR_INVALID_HANDLE);
    return TRUE;
}

}  // namespace platform::posix
