#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/nss/firefox.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

struct FreeText {
    void operator()(char* text) const { std::free(text); }
};

// Firefox itself; the programs only start it.
bool isInstallation(const std::string& folder) {
    return access((folder + "/libxul.so").c_str(), R_OK) == 0;
}

// A folder may be "executed" as well.
bool isProgram(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(path.c_str(), X_OK) == 0;
}

// The folder of the file that a program is in the end; empty where there is no such program.
std::string folderOfProgram(const std::string& program) {
    if (!isProgram(program))
        return {};
    const std::unique_ptr<char, FreeText> real(realpath(program.c_str(), nullptr));
    if (real == nullptr)
        return {};
    const std::string path = real.get();
    return path.substr(0, path.find_last_of('/'));
}

// A relative folder depends on where the host happens to stand, which is no place to load libraries from.
std::vector<std::string> absoluteFolders(std::string_view path) {
    std::vector<std::string> folders;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find(':'), path.size());
        if (path.front() == '/')
            folders.emplace_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return folders;
}

}  // namespace

std::string findInstallation(std::string_view path, const std::vector<std::string>& others, bool& isProgramFound) {
    isProgramFound = false;
    const std::vector<std::string> folders = absoluteFolders(path);
    for (const char* name : {"/firefox", "/firefox-esr"}) {
        for (const std::string& folder : folders) {
            std::string installation = folderOfProgram(folder + name);
            isProgramFound = isProgramFound || !installation.empty();
            if (!installation.empty() && isInstallation(installation))
                return installation;
        }
    }
    const auto found = std::find_if(others.begin(), others.end(), isInstallation);
    return found != others.end() ? *found : std::string();
}

BOOL FindInstallation(LPSTR folder, DWORD capacity) {
    // Where the program is a script, as it is with some distributions and with snap packages.
    static const std::vector<std::string> usual = {"/usr/lib/firefox",     "/usr/lib64/firefox",
                                                   "/usr/lib/firefox-esr", "/usr/lib64/firefox-esr",
                                                   "/opt/firefox",         "/snap/firefox/current/usr/lib/firefox"};
    const char* path = std::getenv("PATH");
    bool isProgramFound = false;
    const std::string found = findInstallation(path != nullptr ? path : "", usual, isProgramFound);
    if (found.empty())
        return posix::fail(isProgramFound ? ERROR_INVALID_DATA : ERROR_FILE_NOT_FOUND);
    if (found.size() >= capacity)
        return posix::fail(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(folder, found.c_str(), found.size() + 1);
    return TRUE;
}

}  // namespace platform::nss
