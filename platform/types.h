// The platform's published types and constants, under their published names.
//
// On Windows they come from the system's headers. Elsewhere this header declares just those that the program uses, with
// the layouts and values that Microsoft publishes for CryptoAPI (wincrypt.h), so that the code above reads the same on
// both. Wide text is wchar_t on both: 16-bit units on Windows, 32-bit code points elsewhere.
#ifndef VT_PLATFORM_TYPES_H
#define VT_PLATFORM_TYPES_H

#if defined(_WIN32)

#ifndef NOMINMAX
#define NOMINMAX
#endif
// Version 1 keeps EnumProcessModules and GetModuleBaseNameA the functions of psapi.dll and not macros.
#ifndef PSAPI_VERSION
#define PSAPI_VERSION 1
#endif
// clang-format off: windows.h comes first
#include <objbase.h>
#include <psapi.h>
#include <wincrypt.h>
#include <windows.h>
// clang-format on

namespace platform {
inline constexpr char kPathSeparator[] = "\\";
}  // namespace platform

#else

#include <cstddef>
#include <cstdint>

#define WINAPI
#define CALLBACK

using BOOL = int;
using BYTE = unsigned char;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using LONG = std::int32_t;
using HRESULT = std::int32_t;
using CHAR = char;
using WCHAR = wchar_t;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = wchar_t*;
using LPCWSTR = const wchar_t*;
using LPVOID = void*;
using LPBYTE = BYTE*;
using ULONG_PTR = std::uintptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;

using HANDLE = void*;
using HMODULE = void*;
using HKEY = void*;
using HWND = void*;
using HDC = void*;
using HBRUSH = void*;
using HGDIOBJ = void*;
using FARPROC = void (*)();
using REGSAM = DWORD;

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;
inline constexpr DWORD MAX_PATH = 260;

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};

struct FILETIME {
    DWORD dwLowDateTime;   // 100 ns steps since 1601-01-01 UTC, low half
    DWORD dwHighDateTime;  // and high half
};

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;      // 1 to 12
    WORD wDayOfWeek;  // 0 is Sunday
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

struct WIN32_FIND_DATAA {
    DWORD dwFileAttributes;
    CHAR cFileName[MAX_PATH];
};

struct RECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};

struct PAINTSTRUCT {
    HDC hdc;
    BOOL fErase;
    RECT rcPaint;
};

// A macro as on Windows: a constant of pointer type cannot be made at compile time.
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1)))

// The registry.
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(std::uintptr_t{0x80000002u}))
inline constexpr REGSAM KEY_READ = 0x20019;

// Errors of GetLastError.
inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_INVALID_DATA = 13;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_MORE_DATA = 234;
inline constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
inline constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;
inline constexpr DWORD ERROR_CANCELLED = 1223;
inline constexpr DWORD E_INVALIDARG = 0x80070057u;
inline constexpr DWORD NTE_BAD_UID = 0x80090001u;
inline constexpr DWORD NTE_BAD_HASH = 0x80090002u;
inline constexpr DWORD NTE_BAD_KEY = 0x80090003u;
inline constexpr DWORD NTE_BAD_LEN = 0x80090004u;
inline constexpr DWORD NTE_BAD_DATA = 0x80090005u;
inline constexpr DWORD NTE_BAD_ALGID = 0x80090008u;
inline constexpr DWORD NTE_BAD_FLAGS = 0x80090009u;
inline constexpr DWORD NTE_BAD_TYPE = 0x8009000Au;
inline constexpr DWORD NTE_BAD_KEY_STATE = 0x8009000Bu;
inline constexpr DWORD NTE_BAD_HASH_STATE = 0x8009000Cu;
inline constexpr DWORD NTE_NO_KEY = 0x8009000Du;
inline constexpr DWORD NTE_NO_MEMORY = 0x8009000Eu;
inline constexpr DWORD NTE_EXISTS = 0x8009000Fu;
inline constexpr DWORD NTE_PERM = 0x80090010u;
inline constexpr DWORD NTE_BAD_PROV_TYPE = 0x80090014u;
inline constexpr DWORD NTE_BAD_PUBLIC_KEY = 0x80090015u;
inline constexpr DWORD NTE_BAD_KEYSET = 0x80090016u;
inline constexpr DWORD NTE_PROV_TYPE_NOT_DEF = 0x80090017u;
inline constexpr DWORD NTE_KEYSET_NOT_DEF = 0x80090019u;
inline constexpr DWORD NTE_PROV_TYPE_NO_MATCH = 0x8009001Bu;
inline constexpr DWORD NTE_PROV_DLL_NOT_FOUND = 0x8009001Eu;
inline constexpr DWORD NTE_FAIL = 0x80090020u;
inline constexpr DWORD CRYPT_E_NOT_FOUND = 0x80092004u;
inline constexpr DWORD CRYPT_E_EXISTS = 0x80092005u;
inline constexpr DWORD CRYPT_E_PENDING_CLOSE = 0x8009200Fu;
inline constexpr DWORD CRYPT_E_INVALID_PRINTABLE_STRING = 0x80092021u;
inline constexpr DWORD CRYPT_E_INVALID_IA5_STRING = 0x80092022u;
inline constexpr DWORD CRYPT_E_ASN1_ERROR = 0x80093100u;
inline constexpr DWORD CRYPT_E_ASN1_EOD = 0x80093102u;
inline constexpr DWORD CRYPT_E_ASN1_CORRUPT = 0x80093103u;
inline constexpr DWORD CRYPT_E_ASN1_BADTAG = 0x8009310Bu;
inline constexpr DWORD CRYPT_E_ASN1_CHOICE = 0x8009310Cu;
inline constexpr DWORD SCARD_E_NOT_READY = 0x80100010u;
inline constexpr DWORD SCARD_W_WRONG_CHV = 0x8010006Bu;
inline constexpr DWORD SCARD_W_CANCELLED_BY_USER = 0x8010006Eu;

// CryptoAPI, providers and keys.
using ALG_ID = unsigned int;
using HCRYPTPROV = ULONG_PTR;
using HCRYPTPROV_LEGACY = ULONG_PTR;
using HCRYPTKEY = ULONG_PTR;
using HCRYPTHASH = ULONG_PTR;
using HCERTSTORE = void*;

inline constexpr DWORD PROV_RSA_FULL = 1;
inline constexpr DWORD CRYPT_VERIFYCONTEXT = 0xF0000000u;
inline constexpr DWORD CRYPT_NEWKEYSET = 8;
inline constexpr DWORD CRYPT_DELETEKEYSET = 16;
inline constexpr DWORD CRYPT_EXPORTABLE = 1;
inline constexpr DWORD CRYPT_USER_PROTECTED = 2;
inline constexpr DWORD CRYPT_FORCE_KEY_PROTECTION_HIGH = 0x8000;
inline constexpr DWORD AT_KEYEXCHANGE = 1;
inline constexpr DWORD AT_SIGNATURE = 2;
inline constexpr DWORD PUBLICKEYBLOB = 6;
inline constexpr DWORD PRIVATEKEYBLOB = 7;
inline constexpr BYTE CUR_BLOB_VERSION = 2;
inline constexpr DWORD KP_CERTIFICATE = 26;
inline constexpr ALG_ID CALG_MD5 = 0x8003;
inline constexpr ALG_ID CALG_SHA1 = 0x8004;
inline constexpr ALG_ID CALG_SHA_256 = 0x800C;
inline constexpr ALG_ID CALG_SHA_384 = 0x800D;
inline constexpr ALG_ID CALG_SHA_512 = 0x800E;
inline constexpr ALG_ID CALG_RSA_SIGN = 0x2400;
inline constexpr ALG_ID CALG_RSA_KEYX = 0xA400;

struct PUBLICKEYSTRUC {
    BYTE bType;
    BYTE bVersion;
    WORD reserved;
    ALG_ID aiKeyAlg;
};

struct RSAPUBKEY {
    DWORD magic;
    DWORD bitlen;
    DWORD pubexp;
};

// CryptoAPI, certificates, names and stores.
inline constexpr DWORD X509_ASN_ENCODING = 1;
inline constexpr DWORD PKCS_7_ASN_ENCODING = 0x10000;
inline LPCSTR const X509_NAME = reinterpret_cast<LPCSTR>(std::uintptr_t{7});
inline LPCSTR const CERT_STORE_PROV_SYSTEM_W = reinterpret_cast<LPCSTR>(std::uintptr_t{10});
inline constexpr DWORD CERT_SYSTEM_STORE_CURRENT_USER = 0x10000;
inline constexpr DWORD CERT_STORE_NO_CRYPT_RELEASE_FLAG = 1;
inline constexpr DWORD CERT_STORE_ADD_NEW = 1;
inline constexpr DWORD CERT_STORE_ADD_USE_EXISTING = 2;
inline constexpr DWORD CERT_STORE_ADD_REPLACE_EXISTING = 3;
inline constexpr DWORD CERT_STORE_CTRL_COMMIT = 3;
inline constexpr DWORD CERT_CLOSE_STORE_CHECK_FLAG = 2;
inline constexpr DWORD CERT_KEY_PROV_INFO_PROP_ID = 2;
inline constexpr DWORD CERT_RDN_PRINTABLE_STRING = 4;
inline constexpr DWORD CERT_RDN_UTF8_STRING = 13;
inline constexpr DWORD CERT_X500_NAME_STR = 3;

struct CRYPTOAPI_BLOB {
    DWORD cbData;
    BYTE* pbData;
};
using CRYPT_INTEGER_BLOB = CRYPTOAPI_BLOB;  // least significant byte first, two's complement
using PCRYPT_INTEGER_BLOB = CRYPT_INTEGER_BLOB*;
using CRYPT_OBJID_BLOB = CRYPTOAPI_BLOB;
using CERT_NAME_BLOB = CRYPTOAPI_BLOB;  // DER of a Name
using PCERT_NAME_BLOB = CERT_NAME_BLOB*;
using CERT_RDN_VALUE_BLOB = CRYPTOAPI_BLOB;

struct CRYPT_BIT_BLOB {
    DWORD cbData;
    BYTE* pbData;
    DWORD cUnusedBits;
};

struct CRYPT_ALGORITHM_IDENTIFIER {
    LPSTR pszObjId;
    CRYPT_OBJID_BLOB Parameters;
};

struct CERT_PUBLIC_KEY_INFO {
    CRYPT_ALGORITHM_IDENTIFIER Algorithm;
    CRYPT_BIT_BLOB PublicKey;
};
using PCERT_PUBLIC_KEY_INFO = CERT_PUBLIC_KEY_INFO*;

struct CERT_EXTENSION {
    LPSTR pszObjId;
    BOOL fCritical;
    CRYPT_OBJID_BLOB Value;
};
using PCERT_EXTENSION = CERT_EXTENSION*;

struct CERT_INFO {
    DWORD dwVersion;
    CRYPT_INTEGER_BLOB SerialNumber;
    CRYPT_ALGORITHM_IDENTIFIER SignatureAlgorithm;
    CERT_NAME_BLOB Issuer;
    FILETIME NotBefore;
    FILETIME NotAfter;
    CERT_NAME_BLOB Subject;
    CERT_PUBLIC_KEY_INFO SubjectPublicKeyInfo;
    CRYPT_BIT_BLOB IssuerUniqueId;
    CRYPT_BIT_BLOB SubjectUniqueId;
    DWORD cExtension;
    PCERT_EXTENSION rgExtension;
};
using PCERT_INFO = CERT_INFO*;

struct CERT_CONTEXT {
    DWORD dwCertEncodingType;
    BYTE* pbCertEncoded;
    DWORD cbCertEncoded;
    PCERT_INFO pCertInfo;
    HCERTSTORE hCertStore;
};
using PCCERT_CONTEXT = const CERT_CONTEXT*;

struct CERT_RDN_ATTR {
    LPSTR pszObjId;
    DWORD dwValueType;
    CERT_RDN_VALUE_BLOB Value;
};
using PCERT_RDN_ATTR = CERT_RDN_ATTR*;

struct CERT_RDN {
    DWORD cRDNAttr;
    PCERT_RDN_ATTR rgRDNAttr;
};
using PCERT_RDN = CERT_RDN*;

struct CERT_NAME_INFO {
    DWORD cRDN;
    PCERT_RDN rgRDN;
};

struct CRYPT_KEY_PROV_PARAM {
    DWORD dwParam;
    BYTE* pbData;
    DWORD cbData;
    DWORD dwFlags;
};
using PCRYPT_KEY_PROV_PARAM = CRYPT_KEY_PROV_PARAM*;

struct CRYPT_KEY_PROV_INFO {
    LPWSTR pwszContainerName;
    LPWSTR pwszProvName;
    DWORD dwProvType;
    DWORD dwFlags;
    DWORD cProvParam;
    PCRYPT_KEY_PROV_PARAM rgProvParam;
    DWORD dwKeySpec;
};

struct CRYPT_ENCODE_PARA;

// Text.
inline constexpr UINT CP_ACP = 0;
inline constexpr UINT CP_THREAD_ACP = 3;
inline constexpr UINT CP_UTF8 = 65001;
inline constexpr DWORD MB_ERR_INVALID_CHARS = 8;
inline constexpr DWORD WC_ERR_INVALID_CHARS = 0x80;

// Windows and painting.
using WNDPROC = LRESULT (*)(HWND, UINT, WPARAM, LPARAM);
inline constexpr int GWL_WNDPROC = -4;
inline constexpr int GWL_USERDATA = -21;
inline constexpr UINT WM_PAINT = 15;
inline constexpr int BLACK_BRUSH = 4;
inline constexpr UINT DT_CENTER = 1;
inline constexpr UINT DT_VCENTER = 4;
inline constexpr UINT DT_SINGLELINE = 0x20;

namespace platform {
inline constexpr char kPathSeparator[] = "/";
}  // namespace platform

#endif

#endif
