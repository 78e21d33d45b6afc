// The functions behind CryptoApi, each with the contract that Microsoft publishes for the function of that name. What
// is particular to this provider stands beside it, or in docs/linux-provider.md.
#ifndef VT_PLATFORM_NSS_ENTRIES_H
#define VT_PLATFORM_NSS_ENTRIES_H

#include "platform/types.h"

namespace platform::nss {

// Providers and containers (provider.cpp). Every provider is of type PROV_RSA_FULL.

// Errors: ERROR_NO_MORE_ITEMS past the end; NTE_BAD_FLAGS; ERROR_INVALID_PARAMETER for a reserved argument, a null type
// or size; NTE_PROV_DLL_NOT_FOUND or NTE_FAIL where there is no NSS or no database.
BOOL CryptEnumProvidersA(DWORD index, DWORD* reserved, DWORD flags, DWORD* type, LPSTR name, DWORD* size);

// A container that has no key yet (CryptGenKey) is known to this process alone. A null or empty container with
// CRYPT_NEWKEYSET, CRYPT_DELETEKEYSET or CRYPT_VERIFYCONTEXT touches no key and always succeeds. For a named container
// the token's PIN may be asked for (token.h tells the errors). Errors: ERROR_INVALID_PARAMETER; NTE_BAD_FLAGS;
// NTE_BAD_PROV_TYPE for what is no type; NTE_PROV_TYPE_NOT_DEF, or NTE_PROV_TYPE_NO_MATCH where a provider is named,
// for another type; NTE_KEYSET_NOT_DEF for an unknown provider; NTE_EXISTS; NTE_BAD_KEYSET; NTE_FAIL.
BOOL CryptAcquireContextA(HCRYPTPROV* prov, LPCSTR container, LPCSTR provider, DWORD type, DWORD flags);
BOOL CryptAcquireContextW(HCRYPTPROV* prov, LPCWSTR container, LPCWSTR provider, DWORD type, DWORD flags);
BOOL CryptReleaseContext(HCRYPTPROV prov, DWORD flags);

// Keys (key.cpp, key_blob.cpp).

// Sizes of 512 to 4096 bits in steps of 16; 0 in the high half of flags means 2048. A key that the container has
// already is replaced. Flags that ask for the platform's protection prompts are taken; here the token decides. Errors:
// ERROR_INVALID_PARAMETER; NTE_BAD_ALGID for another specification than AT_SIGNATURE and AT_KEYEXCHANGE; NTE_BAD_FLAGS
// for other flags or sizes; NTE_PERM for a context without a container; NTE_FAIL.
BOOL CryptGenKey(HCRYPTPROV prov, ALG_ID spec, DWORD flags, HCRYPTKEY* key);
BOOL CryptGetUserKey(HCRYPTPROV prov, DWORD spec, HCRYPTKEY* key);
BOOL CryptDestroyKey(HCRYPTKEY key);

// Errors: NTE_BAD_KEY_STATE for the private blob of a key that is not exportable, or whose primes differ in length so
// that the blob has no room for them, at the size query already; NTE_BAD_KEY; NTE_BAD_TYPE; NTE_BAD_FLAGS;
// ERROR_MORE_DATA.
BOOL CryptExportKey(HCRYPTKEY key, HCRYPTKEY wrapping, DWORD blobType, DWORD flags, BYTE* data, DWORD* size);

// KP_CERTIFICATE puts the certificate onto the key's token, where every NSS program finds it at once.
// Errors: NTE_BAD_TYPE; NTE_BAD_FLAGS; NTE_BAD_PUBLIC_KEY for a certificate of another key; ERROR_INVALID_PARAMETER or
// a CRYPT_E_ASN1 code for data that is no certificate; NTE_FAIL.
BOOL CryptImportKey(HCRYPTPROV prov, const BYTE* data, DWORD size, HCRYPTKEY wrapping, DWORD flags, HCRYPTKEY* key);
BOOL CryptSetKeyParam(HCRYPTKEY key, DWORD param, const BYTE* data, DWORD flags);
BOOL CryptExportPublicKeyInfo(HCRYPTPROV prov, DWORD spec, DWORD encoding, PCERT_PUBLIC_KEY_INFO info, DWORD* size);

// Hashing and signing (hash.cpp): MD5, SHA-1 and the SHA-2 of 256, 384 and 512 bits. Signatures are PKCS#1 v1.5, least
// significant byte first.
BOOL CryptCreateHash(HCRYPTPROV prov, ALG_ID alg, HCRYPTKEY key, DWORD flags, HCRYPTHASH* hash);
BOOL CryptHashData(HCRYPTHASH hash, const BYTE* data, DWORD size, DWORD flags);
BOOL CryptSignHashA(HCRYPTHASH hash, DWORD spec, LPCSTR description, DWORD flags, BYTE* signature, DWORD* size);
BOOL CryptDestroyHash(HCRYPTHASH hash);

// Names (name_encode.cpp, name_text.cpp).

// X509_NAME alone, of text values of the types CERT_RDN_PRINTABLE_STRING and CERT_RDN_UTF8_STRING.
BOOL CryptEncodeObjectEx(DWORD encoding, LPCSTR type, const void* info, DWORD flags, CRYPT_ENCODE_PARA* para,
                         void* encoded, DWORD* size);
DWORD CertNameToStrW(DWORD encoding, PCERT_NAME_BLOB name, DWORD strType, LPWSTR text, DWORD chars);

// Certificate contexts (context.cpp, property.cpp, compare.cpp).
PCCERT_CONTEXT CertCreateCertificateContext(DWORD encoding, const BYTE* der, DWORD size);
PCCERT_CONTEXT CertDuplicateCertificateContext(PCCERT_CONTEXT cert);
BOOL CertFreeCertificateContext(PCCERT_CONTEXT cert);
BOOL CertSetCertificateContextProperty(PCCERT_CONTEXT cert, DWORD property, DWORD flags, const void* data);
BOOL CertGetCertificateContextProperty(PCCERT_CONTEXT cert, DWORD property, void* data, DWORD* size);
DWORD CertEnumCertificateContextProperties(PCCERT_CONTEXT cert, DWORD property);
BOOL CertCompareCertificate(DWORD encoding, PCERT_INFO a, PCERT_INFO b);
BOOL CertCompareIntegerBlob(PCRYPT_INTEGER_BLOB a, PCRYPT_INTEGER_BLOB b);
BOOL CertComparePublicKeyInfo(DWORD encoding, PCERT_PUBLIC_KEY_INFO a, PCERT_PUBLIC_KEY_INFO b);

// Stores (store.cpp): "MY", "ROOT" and "CA", their case aside.
HCERTSTORE CertOpenStore(LPCSTR provider, DWORD encoding, HCRYPTPROV_LEGACY prov, DWORD flags, const void* para);
HCERTSTORE CertOpenSystemStoreA(HCRYPTPROV_LEGACY prov, LPCSTR name);
BOOL CertCloseStore(HCERTSTORE store, DWORD flags);
BOOL CertControlStore(HCERTSTORE store, DWORD flags, DWORD control, const void* para);
PCCERT_CONTEXT CertEnumCertificatesInStore(HCERTSTORE store, PCCERT_CONTEXT previous);
BOOL CertAddEncodedCertificateToStore(HCERTSTORE store, DWORD encoding, const BYTE* der, DWORD size, DWORD disposition,
                                      PCCERT_CONTEXT* added);
BOOL CertAddCertificateContextToStore(HCERTSTORE store, PCCERT_CONTEXT cert, DWORD disposition, PCCERT_CONTEXT* added);
BOOL CertDeleteCertificateFromStore(PCCERT_CONTEXT cert);

}  // namespace platform::nss

#endif
