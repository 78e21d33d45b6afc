// CryptoApi: one entry for each CryptoAPI call that the program makes, under the platform's name and signature.
//
// On Windows each entry is the system's own function. Elsewhere platform/nss fills the table from the user's NSS
// database, with the same contracts: results, GetLastError codes, the two-call way of asking a size first, and who
// frees what are those that Microsoft publishes for the function of that name.
#ifndef VT_PLATFORM_CRYPTO_API_H
#define VT_PLATFORM_CRYPTO_API_H

#include "platform/types.h"

namespace platform {

// One entry a line, which clang-format does not keep for pointers to functions.
// clang-format off
struct CryptoApi {
    // Providers and containers
    BOOL (WINAPI* CryptEnumProvidersA)(DWORD index, DWORD* reserved, DWORD flags, DWORD* type, LPSTR name, DWORD* size);
    BOOL (WINAPI* CryptAcquireContextA)(HCRYPTPROV* prov, LPCSTR container, LPCSTR provider, DWORD type, DWORD flags);
    BOOL (WINAPI* CryptAcquireContextW)(HCRYPTPROV* prov, LPCWSTR container, LPCWSTR provider, DWORD type, DWORD flags);
    BOOL (WINAPI* CryptReleaseContext)(HCRYPTPROV prov, DWORD flags);

    // Keys
    BOOL (WINAPI* CryptGenKey)(HCRYPTPROV prov, ALG_ID spec, DWORD flags, HCRYPTKEY* key);
    BOOL (WINAPI* CryptGetUserKey)(HCRYPTPROV prov, DWORD spec, HCRYPTKEY* key);
    BOOL (WINAPI* CryptDestroyKey)(HCRYPTKEY key);
    BOOL (WINAPI* CryptExportKey)
        (HCRYPTKEY key, HCRYPTKEY wrapping, DWORD blobType, DWORD flags, BYTE* data, DWORD* size);
    BOOL (WINAPI* CryptImportKey)
        (HCRYPTPROV prov, const BYTE* data, DWORD size, HCRYPTKEY wrapping, DWORD flags, HCRYPTKEY* key);
    BOOL (WINAPI* CryptSetKeyParam)(HCRYPTKEY key, DWORD param, const BYTE* data, DWORD flags);
    BOOL (WINAPI* CryptExportPublicKeyInfo)
        (HCRYPTPROV prov, DWORD spec, DWORD encoding, PCERT_PUBLIC_KEY_INFO info, DWORD* size);

    // Hashing and signing
    BOOL (WINAPI* CryptCreateHash)(HCRYPTPROV prov, ALG_ID alg, HCRYPTKEY key, DWORD flags, HCRYPTHASH* hash);
    BOOL (WINAPI* CryptHashData)(HCRYPTHASH hash, const BYTE* data, DWORD size, DWORD flags);
    BOOL (WINAPI* CryptSignHashA)
        (HCRYPTHASH hash, DWORD spec, LPCSTR description, DWORD flags, BYTE* signature, DWORD* size);
    BOOL (WINAPI* CryptDestroyHash)(HCRYPTHASH hash);

    // Names
    BOOL (WINAPI* CryptEncodeObjectEx)
        (DWORD encoding, LPCSTR type, const void* info, DWORD flags, CRYPT_ENCODE_PARA* para, void* encoded,
         DWORD* size);
    DWORD (WINAPI* CertNameToStrW)(DWORD encoding, PCERT_NAME_BLOB name, DWORD strType, LPWSTR text, DWORD chars);

    // Certificate contexts
    PCCERT_CONTEXT (WINAPI* CertCreateCertificateContext)(DWORD encoding, const BYTE* der, DWORD size);
    PCCERT_CONTEXT (WINAPI* CertDuplicateCertificateContext)(PCCERT_CONTEXT cert);
    BOOL (WINAPI* CertFreeCertificateContext)(PCCERT_CONTEXT cert);
    BOOL (WINAPI* CertSetCertificateContextProperty)
        (PCCERT_CONTEXT cert, DWORD property, DWORD flags, const void* data);
    BOOL (WINAPI* CertGetCertificateContextProperty)(PCCERT_CONTEXT cert, DWORD property, void* data, DWORD* size);
    DWORD (WINAPI* CertEnumCertificateContextProperties)(PCCERT_CONTEXT cert, DWORD property);
    BOOL (WINAPI* CertCompareCertificate)(DWORD encoding, PCERT_INFO a, PCERT_INFO b);
    BOOL (WINAPI* CertCompareIntegerBlob)(PCRYPT_INTEGER_BLOB a, PCRYPT_INTEGER_BLOB b);
    BOOL (WINAPI* CertComparePublicKeyInfo)(DWORD encoding, PCERT_PUBLIC_KEY_INFO a, PCERT_PUBLIC_KEY_INFO b);

    // Stores
    HCERTSTORE (WINAPI* CertOpenStore)
        (LPCSTR provider, DWORD encoding, HCRYPTPROV_LEGACY prov, DWORD flags, const void* para);
    HCERTSTORE (WINAPI* CertOpenSystemStoreA)(HCRYPTPROV_LEGACY prov, LPCSTR name);
    BOOL (WINAPI* CertCloseStore)(HCERTSTORE store, DWORD flags);
    BOOL (WINAPI* CertControlStore)(HCERTSTORE store, DWORD flags, DWORD control, const void* para);
    PCCERT_CONTEXT (WINAPI* CertEnumCertificatesInStore)(HCERTSTORE store, PCCERT_CONTEXT previous);
    BOOL (WINAPI* CertAddEncodedCertificateToStore)
        (HCERTSTORE store, DWORD encoding, const BYTE* der, DWORD size, DWORD disposition, PCCERT_CONTEXT* added);
    BOOL (WINAPI* CertAddCertificateContextToStore)
        (HCERTSTORE store, PCCERT_CONTEXT cert, DWORD disposition, PCCERT_CONTEXT* added);
    BOOL (WINAPI* CertDeleteCertificateFromStore)(PCCERT_CONTEXT cert);
};
// clang-format on

// The table in force. The first call fills it; nothing is loaded or opened before an entry is called.
const CryptoApi& capi();

// The same table for tests, which replace single entries for their lifetime (tests/support/replace.h).
CryptoApi& replaceableCryptoApi();

}  // namespace platform

#endif
