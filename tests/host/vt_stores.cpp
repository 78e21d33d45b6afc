// vt_stores list <store>: the current user's certificates in a system store, as CryptoAPI tells them, a line of JSON
// each: the SHA-1 of the certificate, the key container, its provider and key specification, and whether the key in
// that container is the certificate's ("key":true). vt_stores add <store> <file>: adds a certificate in DER. vt_stores
// containers <provider>: the names of the user's key containers in a provider, one a line.
//
// It knows nothing of the plug-in, so that the enrolment test has a witness.
#include <windows.h>
// clang-format off: wincrypt.h needs windows.h
#include <wincrypt.h>
// clang-format on

#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr DWORD kEncodings = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

std::vector<BYTE> property(PCCERT_CONTEXT cert, DWORD id) {
    DWORD size = 0;
    if (CertGetCertificateContextProperty(cert, id, nullptr, &size) == FALSE)
        return {};
    std::vector<BYTE> value(size);
    if (CertGetCertificateContextProperty(cert, id, value.data(), &size) == FALSE)
        return {};
    return value;
}

std::string hexOf(const std::vector<BYTE>& bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const BYTE byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::string narrow(const wchar_t* wide) {
    std::string text;
    for (; wide != nullptr && *wide != 0; ++wide)
        text += *wide < 0x80 ? static_cast<char>(*wide) : '?';
    return text;
}

// Whether the container holds the private key of the certificate.
bool holdsKeyOf(PCCERT_CONTEXT cert, const CRYPT_KEY_PROV_INFO& info) {
    HCRYPTPROV provider = 0;
    if (CryptAcquireContextW(&provider, info.pwszContainerName, info.pwszProvName, info.dwProvType, 0) == FALSE)
        return false;
    DWORD size = 0;
    CryptExportPublicKeyInfo(provider, info.dwKeySpec, kEncodings, nullptr, &size);
    std::vector<BYTE> exported(size);
    auto* const key = reinterpret_cast<PCERT_PUBLIC_KEY_INFO>(exported.data());
    const bool holds = size != 0 &&
                       CryptExportPublicKeyInfo(provider, info.dwKeySpec, kEncodings, key, &size) != FALSE &&
                       CertComparePublicKeyInfo(kEncodings, key, &cert->pCertInfo->SubjectPublicKeyInfo) != FALSE;
    CryptReleaseContext(provider, 0);
    return holds;
}

void print(PCCERT_CONTEXT cert) {
    std::cout << "{\"sha1\":\"" << hexOf(property(cert, CERT_SHA1_HASH_PROP_ID)) << "\"";
    const std::vector<BYTE> record = property(cert, CERT_KEY_PROV_INFO_PROP_ID);
    if (!record.empty()) {
        const auto& info = *reinterpret_cast<const CRYPT_KEY_PROV_INFO*>(record.data());
        std::cout << ",\"container\":\"" << narrow(info.pwszContainerName) << "\",\"provider\":\""
                  << narrow(info.pwszProvName) << "\",\"type\":" << info.dwProvType << ",\"flags\":" << info.dwFlags
                  << ",\"spec\":" << info.dwKeySpec << ",\"key\":" << (holdsKeyOf(cert, info) ? "true" : "false");
    }
    std::cout << "}" << std::endl;
}

int list(HCERTSTORE store) {
    PCCERT_CONTEXT cert = nullptr;
    while ((cert = CertEnumCertificatesInStore(store, cert)) != nullptr)
        print(cert);
    return 0;
}

int add(HCERTSTORE store, const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> der{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const BOOL added =
        CertAddEncodedCertificateToStore(store, kEncodings, reinterpret_cast<const BYTE*>(der.data()),
                                         static_cast<DWORD>(der.size()), CERT_STORE_ADD_USE_EXISTING, nullptr);
    if (added == FALSE)
        std::cerr << "cannot add " << path << ": " << GetLastError() << std::endl;
    return added == FALSE ? 1 : 0;
}

int listContainers(const char* provider) {
    HCRYPTPROV prov = 0;
    if (CryptAcquireContextA(&prov, nullptr, provider, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT) == FALSE)
        return 2;
    BYTE name[1024] = {};
    DWORD size = sizeof(name);
    DWORD flags = CRYPT_FIRST;
    while (CryptGetProvParam(prov, PP_ENUMCONTAINERS, name, &size, flags) != FALSE) {
        std::cout << reinterpret_cast<const char*>(name) << std::endl;
        size = sizeof(name);
        flags = CRYPT_NEXT;
    }
    CryptReleaseContext(prov, 0);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string command = argc > 2 ? argv[1] : "";
    if (command == "containers" && argc == 3)
        return listContainers(argv[2]);
    if (!(command == "list" && argc == 3) && !(command == "add" && argc == 4)) {
        std::cerr << "usage: vt_stores list <store> | add <store> <file> | containers <provider>" << std::endl;
        return 2;
    }
    HCERTSTORE const store = CertOpenSystemStoreA(0, argv[2]);
    if (store == nullptr) {
        std::cerr << "cannot open " << argv[2] << std::endl;
        return 2;
    }
    const int result = command == "list" ? list(store) : add(store, argv[3]);
    CertCloseStore(store, 0);
    return result;
}
