#include "enrol/container.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "enrol/capi.h"

namespace enrol {
namespace {

constexpr char kMarkerName[] = "vemtrelCertEnrollContainer.data";
constexpr DWORD kExpansionCapacity = 1024;
using Expansion = char[kExpansionCapacity];
using Path = char[256];

struct CloseFile {
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

enum class Trace { silent, printed };

bool expand(const char* variable, Trace trace, Expansion& value) {
    const DWORD needed = sys().ExpandEnvironmentStringsA(variable, value, kExpansionCapacity);
    if (needed == 0 || needed > kExpansionCapacity)
        return false;
    if (trace == Trace::printed)
        std::printf("  %s\n", value);
    return true;
}

// join writes both texts into a path; false when they do not fit.
bool join(const char* left, const char* right, Path& path) {
    const int length = std::snprintf(path, sizeof(path), "%s%s", left, right);
    return length >= 0 && static_cast<std::size_t>(length) < sizeof(path);
}

// markerPath gives the file's path below the user's home; false when there is none of at most 255 bytes. Both variables
// are expanded in any case, as the trace shows both.
bool markerPath(Trace trace, Path& path) {
    Expansion drive;
    Expansion home;
    const bool hasDrive = expand("%HOMEDRIVE%", trace, drive);
    const bool hasHome = expand("%HOMEPATH%", trace, home);
    if (!hasDrive || !hasHome)
        return false;
    Path folder;
    Path file;
    return join(drive, home, folder) && join(platform::kPathSeparator, kMarkerName, file) && join(folder, file, path);
}

std::size_t lengthOf(const ContainerName& name) {
    return static_cast<std::size_t>(std::find(name, name + kContainerNameSize, '\0') - name);
}

}  // namespace

void GenerateContainerName(ContainerName& name) {
    GUID guid = {};
    if (sys().CoCreateGuid(&guid) < 0)
        throw std::runtime_error("can not create a random name!");
    std::memset(name, 0, sizeof(name));
    // The third group is lower case, unlike the others: containers of pending requests have such names.
    (void)std::snprintf(name, sizeof(name), "%08lX-%04X-%04x-%02X%02X-%02X%02X%02X%02X%02X%02X",
                        static_cast<unsigned long>(guid.Data1), guid.Data2, guid.Data3, guid.Data4[0], guid.Data4[1],
                        guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5], guid.Data4[6], guid.Data4[7]);
}

std::int32_t WriteContainerMarker(const ContainerName& name) {
    Path path;
    if (!markerPath(Trace::silent, path))
        return -1;
    File file(std::fopen(path, "wb"));
    if (!file)
        return -1;
    const std::size_t written = std::fwrite(name, 1, lengthOf(name), file.get());
    // The bytes leave the buffer at the close; a full disk shows only there.
    const bool closed = std::fclose(file.release()) == 0;
    return written != 0 && closed ? 0 : -2;
}

std::int32_t ReadContainerMarker(ContainerName& name) {
    std::memset(name, 0, sizeof(name));
    Path path;
    if (!markerPath(Trace::printed, path))
        return -1;
    const File file(std::fopen(path, "rb"));
    if (!file)
        return -1;
    return std::fread(name, 1, kContainerNameSize, file.get()) != 0 ? 0 : -2;
}

void DeleteContainerMarker() {
    Path path;
    if (!markerPath(Trace::printed, path))
        return;
    WIN32_FIND_DATAA found;
    HANDLE search = sys().FindFirstFileA(path, &found);
    if (search == INVALID_HANDLE_VALUE)
        return;
    sys().DeleteFileA(path);
    sys().FindClose(search);
}

}  // namespace enrol
