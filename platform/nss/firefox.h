// The user's Firefox on Linux: its installation, its NSS and its profile's certificate database.
//
// A process has one NSS. Whoever needs it first decides which: the host, the provider of keys and stores (loader.h), or
// the check of a profile, which prefers the browser's own, as a profile may be too new for the system's. What is loaded
// stays loaded, as the provider or the host may have come to use it.
#ifndef VT_PLATFORM_NSS_FIREFOX_H
#define VT_PLATFORM_NSS_FIREFOX_H

#include <string>
#include <string_view>
#include <vector>

#include "platform/nss/loader.h"
#include "platform/types.h"

namespace platform::nss {

// The functions behind FirefoxApi.
BOOL FindInstallation(LPSTR folder, DWORD capacity);
BOOL LoadNss(LPCSTR installation);
HANDLE OpenProfile(LPCSTR folder);
BOOL FindCertificate(HANDLE profile, const BYTE* certificate, DWORD size);
BOOL CloseProfile(HANDLE profile);

// findInstallation gives the folder of the program's library that a program of one of these folders ("/usr/bin:/bin")
// leads to, or the first of the others that has it. Empty when none has; isProgramFound tells whether there was a
// program.
std::string findInstallation(std::string_view path, const std::vector<std::string>& others, bool& isProgramFound);

// What the check calls, apart from the provider's Functions: a host's NSS may lack some of those.
struct FirefoxFunctions {
#define VT_NSS(name) decltype(&::name) name;
#define VT_NSS_OLD(name) VT_NSS(name)
#include "platform/nss/firefox_functions.def"
#undef VT_NSS
#undef VT_NSS_OLD
};

// firefoxNss gives the functions that LoadNss has bound, null before.
const FirefoxFunctions* firefoxNss();

}  // namespace platform::nss

#endif
