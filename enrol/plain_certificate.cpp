#include "enrol/plain_certificate.h"

#include <cstring>

#include "enrol/ansi_text.h"
#include "enrol/codes.h"

namespace enrol {
namespace {

// Providers of the platform's own maker keep certificates in the store; the comparison minds the case.
bool isMicrosoftProvider(const char* provider) {
    static constexpr char kMaker[] = "Microsoft";
    return std::strncmp(kMaker, provider, sizeof kMaker - 1) == 0;
}

// The public key of the container as the platform's record; empty when it cannot be exported. It is the signature key's
// whatever the key specification in force.
std::vector<BYTE> exportPublicKey(HCRYPTPROV prov) {
    DWORD size = 0;
    if (capi().CryptExportPublicKeyInfo(prov, AT_SIGNATURE, kCertEncoding, nullptr, &size) == FALSE)
        return {};
    std::vector<BYTE> record(size);
    auto* info = reinterpret_cast<PCERT_PUBLIC_KEY_INFO>(record.data());
    if (size == 0 || capi().CryptExportPublicKeyInfo(prov, AT_SIGNATURE, kCertEncoding, info, &size) == FALSE ||
        size == 0)
        return {};
    return record;
}

// False only for a certificate of another key. Where the key cannot be exported or the certificate not be read there is
// nothing to compare, and installation goes on: providers exist that export nothing.
bool mayBelongTo(HCRYPTPROV prov, const std::vector<std::uint8_t>& der) {
    std::vector<BYTE> record = exportPublicKey(prov);
    if (record.empty())
        return true;
    const CertificateHandle certificate(
        capi().CertCreateCertificateContext(kCertEncoding, der.data(), static_cast<DWORD>(der.size())));
    if (!certificate)
        return true;
    return capi().CertComparePublicKeyInfo(kCertEncoding, reinterpret_cast<PCERT_PUBLIC_KEY_INFO>(record.data()),
                                           &certificate.get()->pCertInfo->SubjectPublicKeyInfo) != FALSE;
}

// The provider is given no length, so the certificate's own has to lie within the bytes.
bool isWhole(const std::vector<std::uint8_t>& der) {
    BerOutput<std::uint8_t> element;
    return BerReaderScanf(openReader(der.data(), der.size()).get(), "$", &element.data, &element.size) == 0;
}

std::int32_t setCertificateOnKey(HCRYPTPROV prov, const std::vector<std::uint8_t>& der) {
    if (prov == 0)
        return kInstallContainerNotOpened;
    KeyHandle key;
    if (capi().CryptGetUserKey(prov, AT_SIGNATURE, key.receive()) == FALSE)
        return kInstallKeyNotFound;
    if (!isWhole(der) || capi().CryptSetKeyParam(key.get(), KP_CERTIFICATE, der.data(), 0) == FALSE)
        return kInstallCertificateNotSetOnKey;
    return kSuccess;
}

// Notes on a certificate in a store where its key is.
void noteKey(PCCERT_CONTEXT certificate, const char* container, const char* provider, std::int32_t keySpec) {
    std::wstring wideContainer = widen(CP_THREAD_ACP, container);
    std::wstring wideProvider = widen(CP_THREAD_ACP, provider);
    CRYPT_KEY_PROV_INFO info = {};
    info.pwszContainerName = wideContainer.data();
    info.pwszProvName = wideProvider.data();
    info.dwProvType = PROV_RSA_FULL;
    info.dwKeySpec = static_cast<DWORD>(keySpec);
    capi().CertSetCertificateContextProperty(certificate, CERT_KEY_PROV_INFO_PROP_ID, 0, &info);
}

}  // namespace

void requirePlainCertificate(const char* text, std::size_t length) {
    const CertBytes der = decodeCertificateText(text, length);
    BerOutput<std::uint8_t> certificate, algorithm, signature;
    if (BerReaderScanf(openReader(der->data(), der->size()).get(), "{$$B}", &certificate.data, &certificate.size,
                       &algorithm.data, &algorithm.size, &signature.data, &signature.size) < 0)
        throw InstallFailure{kReasonBadEncoding, kMessageBadEncoding};
    std::int32_t version = 0;
    const BerReaderPtr inner = openReader(certificate.data, static_cast<std::size_t>(certificate.size));
    if (BerReaderScanf(inner.get(), "{(i", &version) < 0)
        throw InstallFailure{kReasonBadEncoding, kMessageBadEncoding};
}

std::int32_t IsPlainCertificate(const char* text, std::size_t length) {
    try {
        requirePlainCertificate(text, length);
        return 0;
    } catch (const InstallFailure& failure) {
        return failure.reason;
    } catch (const std::bad_alloc&) {
        return kReasonNoMemory;
    }
}

std::int32_t InstallPlainCertificate(const char* provider, const char* text, std::size_t length, std::int32_t keySpec) {
    try {
        ContainerName container = {};
        if (const std::int32_t code = takeWaitingContainer(provider, length, container); code != kSuccess)
            return code;
        const CertBytes certificate = decodeCertificateText(text, length);
        return InstallOnKey(provider, *certificate, container, [&](const std::vector<std::uint8_t>& der) {
            return BindCertificateToContainer(der.data(), der.size(), container, provider, keySpec);
        });
    } catch (...) {
        return kInstallException;
    }
}

std::int32_t InstallOnKey(const char* provider, const std::vector<std::uint8_t>& der, const char* container,
                          const BindInStore& bind) {
    ProviderHandle prov;
    // A container that does not open shows below, where it is used.
    capi().CryptAcquireContextW(prov.receive(), widen(CP_ACP, container).c_str(), widen(CP_ACP, provider).c_str(),
                                PROV_RSA_FULL, 0);
    if (prov && !mayBelongTo(prov.get(), der))
        return kInstallWrongKey;
    if (!isMicrosoftProvider(provider))
        return setCertificateOnKey(prov.get(), der);
    const std::int32_t reason = bind(der);
    return reason == 0 ? kSuccess : makeCode(Operation::kInstall, reason);
}

std::int32_t storeWithKey(ProviderHandle& prov, StoreHandle& store, const std::uint8_t* der, std::size_t length,
                          const char* container, const char* provider, std::int32_t keySpec) {
    store.reset(openMyStore(prov));
    if (!store)
        return kReasonStoreNotOpened;
    CertificateHandle added;
    if (capi().CertAddEncodedCertificateToStore(store.get(), kCertEncoding, der, static_cast<DWORD>(length),
                                                CERT_STORE_ADD_REPLACE_EXISTING, added.receive()) == FALSE)
        return kReasonCertificateNotAdded;
    noteKey(added.get(), container, provider, keySpec);
    return 0;
}

std::int32_t BindCertificateToContainer(const std::uint8_t* der, std::size_t length, const char* container,
                                        const char* provider, std::int32_t keySpec) {
    if (der == nullptr || length == 0 || container == nullptr || *container == '\0')
        return kReasonEmptyArgument;

    ProviderHandle prov;
    if (capi().CryptAcquireContextA(prov.receive(), container, provider, PROV_RSA_FULL, 0) == FALSE)
        return kReasonContainerNotOpened;
    StoreHandle store;
    return storeWithKey(prov, store, der, length, container, provider, keySpec);
}

}  // namespace enrol
