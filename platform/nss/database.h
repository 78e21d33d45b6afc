// The user's NSS database, sql:$HOME/.pki/nssdb, which Chromium and other programs of the desktop share.
#ifndef VT_PLATFORM_NSS_DATABASE_H
#define VT_PLATFORM_NSS_DATABASE_H

#include "platform/nss/loader.h"

namespace platform::nss {

// What the database is called, as a token and as a provider.
inline constexpr char kDatabaseName[] = "NSS Certificate DB";

// userDatabase gives the token of the database of the present $HOME. The first call for a home opens it beside whatever
// the host process has opened for itself, loads the modules that are configured in it, and makes folders (mode 700) and
// database (empty password) where they are missing. It stays open: NSS belongs to the host, which may use it too.
// Null with the last error NTE_PROV_DLL_NOT_FOUND (no NSS) or NTE_FAIL (there is no home, or no database can be opened
// or made).
Slot userDatabase();

}  // namespace platform::nss

#endif
