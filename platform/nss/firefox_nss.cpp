#include <dlfcn.h>
#include <unistd.h>

#include <memory>
#include <type_traits>
#include <utility>

#include "platform/nss/firefox.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

struct CloseLibrary {
    void operator()(void* library) const { dlclose(library); }
};
using Library = std::unique_ptr<void, CloseLibrary>;

Library open(const std::string& name, int flags = 0) {
    return Library(dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL | flags));
}

bool exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

// NSS of one kind or another is in the process: its own parts would be mixed with a second one's.
bool isNssInUse() {
    return open("libnss3.so", RTLD_NOLOAD) != nullptr || open("libnssutil3.so", RTLD_NOLOAD) != nullptr;
}

// The installation's own libraries in the order in which they need each other; what it has none of is the system's.
// They name each other without their folder, so that each has to be there before it is needed.
constexpr const char* kOwnLibraries[] = {"libnspr4.so",      "libplc4.so", "libplds4.so", "libnssutil3.so",
                                         "libmozsqlite3.so", "libnss3.so", "libsmime3.so"};

// Libraries that close again unless they are kept.
class NssLibraries {
  public:
    // False where a library cannot be loaded.
    bool load(const std::string& installation) {
        const bool hasOwn = !isNssInUse() && exists(installation + "/libnss3.so");
        if (hasOwn && !loadOwn(installation))
            return false;
        nss_ = open("libnss3.so");
        smime_ = open("libsmime3.so");
        return nss_ != nullptr && smime_ != nullptr;
    }

    // False where a function is missing.
    bool bind(FirefoxFunctions& functions) const {
        bool isComplete = true;
        // The second library brings the first along, where dlsym finds the rest.
        const auto find = [&](auto& function, const char* name) {
            function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(smime_.get(), name));
            isComplete = isComplete && function != nullptr;
        };
#define VT_NSS(name) find(functions.name, #name);
#define VT_NSS_OLD(name) find(functions.name, "__" #name);
#include "platform/nss/firefox_functions.def"
#undef VT_NSS
#undef VT_NSS_OLD
        return isComplete && (own_.empty() || canServeTheProvider());
    }

    void keep() {
        for (Library& library : own_)
            (void)library.release();
        (void)nss_.release();
        (void)smime_.release();
    }

  private:
    bool loadOwn(const std::string& installation) {
        for (const char* name : kOwnLibraries) {
            const std::string path = installation + "/" + name;
            if (!exists(path) || open(name, RTLD_NOLOAD) != nullptr)
                continue;
            Library library = open(path);
            if (library == nullptr)
                return false;
            own_.push_back(std::move(library));
        }
        return true;
    }

    // Keys and stores are served by the same NSS from now on.
    bool canServeTheProvider() const {
        bool isComplete = true;
#define VT_NSS(name) isComplete = isComplete && dlsym(nss_.get(), #name) != nullptr;
#include "platform/nss/functions.def"
#undef VT_NSS
        return isComplete;
    }

    std::vector<Library> own_;
    Library nss_;
    Library smime_;
};

const FirefoxFunctions*& boundFunctions() {
    static const FirefoxFunctions* bound = nullptr;
    return bound;
}

}  // namespace

BOOL LoadNss(LPCSTR installation) {
    if (boundFunctions() != nullptr)
        return TRUE;
    NssLibraries libraries;
    if (!libraries.load(installation))
        return posix::fail(ERROR_MOD_NOT_FOUND);
    static FirefoxFunctions functions = {};
    if (!libraries.bind(functions))
        return posix::fail(ERROR_PROC_NOT_FOUND);
    libraries.keep();
    boundFunctions() = &functions;
    return TRUE;
}

const FirefoxFunctions* firefoxNss() {
    return boundFunctions();
}

}  // namespace platform::nss
