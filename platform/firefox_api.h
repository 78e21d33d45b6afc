// FirefoxApi: the user's Firefox, where there is no registry that leads to it and no libraries of fixed names.
//
// On Windows every entry is null: there the program walks from the registry to the browser's libraries itself, by the
// entries of SystemApi. Elsewhere platform/nss fills the table. Failures leave a last error (GetLastError); exhausted
// memory is NTE_NO_MEMORY in each.
#ifndef VT_PLATFORM_FIREFOX_API_H
#define VT_PLATFORM_FIREFOX_API_H

#include "platform/types.h"

namespace platform {

// One entry a line, which clang-format does not keep for pointers to functions.
// clang-format off
struct FirefoxApi {
    // FindInstallation writes the folder of the installed Firefox: where a program "firefox" or "firefox-esr" of $PATH
    // lies, else one of the folders that distributions use. FALSE with ERROR_FILE_NOT_FOUND when there is neither, with
    // ERROR_INVALID_DATA when there is a program and nothing tells where it belongs, or with ERROR_INSUFFICIENT_BUFFER.
    BOOL (WINAPI* FindInstallation)(LPSTR folder, DWORD capacity);

    // LoadNss finds the NSS that opens the profile: the one that the process uses already, else the installation's own,
    // else the system's. It stays loaded. FALSE with ERROR_MOD_NOT_FOUND when a library cannot be loaded, or with
    // ERROR_PROC_NOT_FOUND when it lacks a function.
    BOOL (WINAPI* LoadNss)(LPCSTR installation);

    // OpenProfile opens the certificate database in that folder for reading, after LoadNss. The caller closes what it
    // gives by CloseProfile. Null with NTE_FAIL when there is no database that NSS can open.
    HANDLE (WINAPI* OpenProfile)(LPCSTR folder);

    // FindCertificate: whether the certificate, in any form that NSS reads (DER, PEM, PKCS#7), is in the database
    // itself. FALSE with CRYPT_E_NOT_FOUND when it is not, CRYPT_E_ASN1_CORRUPT when it is no certificate, NTE_FAIL
    // when the database cannot be read.
    BOOL (WINAPI* FindCertificate)(HANDLE profile, const BYTE* certificate, DWORD size);

    BOOL (WINAPI* CloseProfile)(HANDLE profile);
};
// clang-format on

// The table in force.
const FirefoxApi& firefoxApi();

// The same table for tests, which replace single entries for their lifetime (tests/support/replace.h).
FirefoxApi& replaceableFirefoxApi();

}  // namespace platform

#endif
