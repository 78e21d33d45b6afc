// The key information of a certificate, the one property that is kept. For a certificate of a store it is found through
// the key that lies on a token; what is set stays with the store's element while the store is open.
#include <cstring>

#include "platform/nss/context.h"
#include "platform/nss/entries.h"
#include "platform/nss/store.h"
#include "platform/nss/token_certificate.h"
#include "platform/nss/wide_text.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

std::size_t sizeOf(const std::wstring& text) {
    return (text.size() + 1) * sizeof(wchar_t);
}

// The record with both names behind it, in the caller's buffer.
void layOut(const KeyProviderInfo& info, void* data) {
    CRYPT_KEY_PROV_INFO record = {};
    auto* container = reinterpret_cast<wchar_t*>(static_cast<BYTE*>(data) + sizeof record);
    wchar_t* provider = container + info.container.size() + 1;
    record.pwszContainerName = container;
    record.pwszProvName = provider;
    record.dwProvType = info.providerType;
    record.dwFlags = info.flags;
    record.dwKeySpec = info.spec;
    std::memcpy(data, &record, sizeof record);
    std::memcpy(container, info.container.c_str(), sizeOf(info.container));
    std::memcpy(provider, info.provider.c_str(), sizeOf(info.provider));
}

KeyProviderInfo infoOf(const CRYPT_KEY_PROV_INFO& record) {
    return {record.pwszContainerName != nullptr ? record.pwszContainerName : L"",
            record.pwszProvName != nullptr ? record.pwszProvName : L"", record.dwProvType, record.dwFlags,
            record.dwKeySpec};
}

// A certificate of a store moves to the token of its key, so that every program finds both together.
void moveToKey(CertificateElement& element, const KeyProviderInfo& info) {
    const Token token = findToken(narrow(info.provider).c_str());
    if (token.slot == nullptr || token.slot == element.token.slot)
        return;
    const std::vector<TokenKey> keys = listKeys(token);
    const TokenKey* key = findKeyOf(*element.certificate, keys);
    if (key == nullptr || key->container != narrow(info.container) ||
        !importCertificate(*element.certificate, token, nicknameFor(*element.certificate, token, "")))
        return;
    removeCertificate(*element.certificate, element.token);
    element.token = token;
}

}  // namespace

BOOL CertSetCertificateContextProperty(PCCERT_CONTEXT cert, DWORD property, DWORD flags, const void* data) {
    if (cert == nullptr || property != CERT_KEY_PROV_INFO_PROP_ID || flags != 0)
        return posix::fail(E_INVALIDARG);
    CertificateElement& element = *contextBehind(cert).element;
    element.keyInfo.reset();
    if (data == nullptr)
        return TRUE;
    element.keyInfo = infoOf(*static_cast<const CRYPT_KEY_PROV_INFO*>(data));
    if (element.token.slot != nullptr && !element.isDeleted)
        moveToKey(element, *element.keyInfo);
    return TRUE;
}

BOOL CertGetCertificateContextProperty(PCCERT_CONTEXT cert, DWORD property, void* data, DWORD* size) {
    if (cert == nullptr || size == nullptr)
        return posix::fail(E_INVALIDARG);
    const std::optional<KeyProviderInfo>& info = contextBehind(cert).element->keyInfo;
    if (property != CERT_KEY_PROV_INFO_PROP_ID || !info)
        return posix::fail(CRYPT_E_NOT_FOUND);
    const DWORD capacity = *size;
    *size = static_cast<DWORD>(sizeof(CRYPT_KEY_PROV_INFO) + sizeOf(info->container) + sizeOf(info->provider));
    if (data == nullptr)
        return TRUE;
    if (capacity < *size)
        return posix::fail(ERROR_MORE_DATA);
    layOut(*info, data);
    return TRUE;
}

DWORD CertEnumCertificateContextProperties(PCCERT_CONTEXT cert, DWORD property) {
    const bool isFirst = property < CERT_KEY_PROV_INFO_PROP_ID;
    return cert != nullptr && isFirst && contextBehind(cert).element->keyInfo ? CERT_KEY_PROV_INFO_PROP_ID : 0;
}

}  // namespace platform::nss
