#include <cstddef>
#include <initializer_list>
#include <new>
#include <string>
#include <string_view>

#include "enrol/codes.h"
#include "enrol/firefox.h"
#include "enrol/firefox_steps.h"

namespace enrol {
namespace {

using namespace firefox;

// The profiles lie where Windows XP had them; later systems lead from there to the present place. Not taken from the
// environment, as instructions to users name this path.
constexpr char kUsers[] = R"(C:\Documents and Settings\)";
constexpr char kProfiles[] = R"(\Application Data\Mozilla\Firefox\)";

// join writes the pieces as one text; false, with an empty text, when they do not fit whole.
template <std::size_t kSize>
bool join(char (&text)[kSize], std::initializer_list<std::string_view> pieces) {
    std::size_t used = 0;
    text[0] = '\0';
    for (const std::string_view piece : pieces) {
        if (piece.size() >= kSize - used) {
            text[0] = '\0';
            return false;
        }
        piece.copy(text + used, piece.size());
        used += piece.size();
        text[used] = '\0';
    }
    return true;
}

std::string profileDirectory() {
    char user[256] = {};
    DWORD size = sizeof user;
    if (sys().GetUserNameA(user, &size) == FALSE)
        throw FirefoxFailure{kFirefoxUserNameNotRead, kMessageUserNameNotRead};
    user[sizeof user - 1] = '\0';

    char file[260];
    char path[260] = {};
    if (!join(file, {kUsers, user, kProfiles, "profiles.ini"}) ||
        sys().GetPrivateProfileStringA("Profile0", "Path", nullptr, path, sizeof path, file) == 0)
        throw FirefoxFailure{kFirefoxProfileListNotRead, kMessageProfileListNotRead};
    path[sizeof path - 1] = '\0';
    // The value is relative to the list, whatever the list says of it.
    return std::string(kUsers) + user + kProfiles + path;
}

// The browser's libraries, which need each other in this order.
enum Library : std::size_t { kGlue, kNspr, kPlc, kPlds, kNssUtil, kNss, kSmime, kLibraryCount };

constexpr const char* kFileNames[kLibraryCount] = {"\\mozutils.dll", "\\nspr4.dll", "\\plc4.dll",  "\\plds4.dll",
                                                   "\\nssutil3.dll", "\\nss3.dll",  "\\smime3.dll"};
// What replaced the first of them in later versions.
constexpr char kLaterGlue[] = "\\mozglue.dll";

using LibraryPath = char[256];

constexpr Library kFreedAfterTheCheck[] = {kSmime, kPlc, kPlds, kNssUtil, kNss, kGlue, kNspr};
constexpr Library kFreedAfterAFailure[] = {kSmime, kNss, kPlc, kPlds, kNssUtil, kGlue, kNspr};

class Libraries {
  public:
    explicit Libraries(const char* directory) {
        for (std::size_t i = 0; i < kLibraryCount; ++i)
            formPath(paths_[i], directory, kFileNames[i]);
        if (!exists(paths_[kGlue]))
            formPath(paths_[kGlue], directory, kLaterGlue);
    }
    ~Libraries() { freeAll(kFreedAfterAFailure); }
    Libraries(const Libraries&) = delete;
    Libraries& operator=(const Libraries&) = delete;

    HMODULE get(Library library) const { return modules_[library]; }

    // load loads these libraries; all are tried before one is missed. Throws FirefoxFailure 22208316.
    void load(std::initializer_list<Library> libraries) {
        for (const Library library : libraries)
            modules_[library] = sys().LoadLibraryA(paths_[library]);
        for (const Library library : libraries) {
            if (modules_[library] == nullptr)
                throw FirefoxFailure{kFirefoxLibraryNotLoaded, kMessageLibraryNotLoaded};
        }
    }

    void freeAfterTheCheck() { freeAll(kFreedAfterTheCheck); }

  private:
    static void formPath(LibraryPath& path, const char* directory, const char* name) {
        if (!join(path, {directory, name}))
            throw FirefoxFailure{kFirefoxLibraryNotLoaded, kMessageLibraryNotLoaded};
    }

    static bool exists(const char* path) {
        WIN32_FIND_DATAA found;
        HANDLE search = sys().FindFirstFileA(path, &found);
        if (search == INVALID_HANDLE_VALUE)
            return false;
        sys().FindClose(search);
        return true;
    }

    void freeAll(const Library (&order)[kLibraryCount]) {
        for (const Library library : order) {
            if (modules_[library] != nullptr)
                sys().FreeLibrary(modules_[library]);
            modules_[library] = nullptr;
        }
    }

    LibraryPath paths_[kLibraryCount] = {};
    HMODULE modules_[kLibraryCount] = {};
};

void startNss(const Libraries& libraries, const std::string& profile) {
    FunctionBinder binder;
    auto* init = binder.find<PR_Init>(libraries.get(kNspr), "PR_Init");
    auto* cleanup = binder.find<PR_Cleanup>(libraries.get(kNspr), "PR_Cleanup");
    binder.find<Unused>(libraries.get(kNss), "NSS_Init");
    auto* initialize = binder.find<NSS_Initialize>(libraries.get(kNss), "NSS_Initialize");
    binder.find<Unused>(libraries.get(kNss), "NSS_Shutdown");
    binder.requireAll();

    init(1, 1, 1);
    if (initialize(profile.c_str(), "", "", "secmod.db", 0) == 0)
        return;
    cleanup();
    throw FirefoxFailure{kFirefoxNssNotInitialised, kMessageNssNotStarted};
}

std::int32_t checkInProfile(const char* directory, const char* text, std::size_t length) {
    const std::string profile = profileDirectory();
    Libraries libraries(directory);
    libraries.load({kGlue, kNspr});
    libraries.load({kPlc, kPlds, kNssUtil, kNss});
    libraries.load({kSmime});
    startNss(libraries, profile);
    const std::int32_t code = FindCertificateInSlot(libraries.get(kNss), libraries.get(kSmime), text, length);
    // NSS is left as it runs: a browser of that age starts it again in the same process, and so does the next check.
    libraries.freeAfterTheCheck();
    return code;
}

}  // namespace

std::int32_t CheckInProfile(const char* directory, const char* text, std::size_t length) {
    try {
        return checkInProfile(directory, text, length);
    } catch (const FirefoxFailure& failure) {
        return failure.code;
    } catch (const std::bad_alloc&) {
        return kCheckNoMemory;
    }
}

}  // namespace enrol
