#include "enrol/ch_cert.h"

#include <utility>
#include <vector>

#include "enrol/cert_handles.h"
#include "enrol/validity_text.h"

namespace enrol {
namespace {

PCCERT_CONTEXT duplicate(PCCERT_CONTEXT certificate) {
    return certificate == nullptr ? nullptr : capi().CertDuplicateCertificateContext(certificate);
}

std::wstring nameText(CERT_NAME_BLOB& name) {
    // Counts include the NUL.
    const DWORD count = capi().CertNameToStrW(kCertEncoding, &name, CERT_X500_NAME_STR, nullptr, 0);
    if (count == 0)
        return {};
    std::wstring text(count, L'\0');
    capi().CertNameToStrW(kCertEncoding, &name, CERT_X500_NAME_STR, text.data(), count);
    text.resize(text.find(L'\0') == std::wstring::npos ? text.size() : text.find(L'\0'));
    return text;
}

bool readKeySpec(PCCERT_CONTEXT certificate, DWORD& spec) {
    DWORD size = 0;
    if (capi().CertGetCertificateContextProperty(certificate, CERT_KEY_PROV_INFO_PROP_ID, nullptr, &size) == FALSE)
        return false;
    std::vector<BYTE> record(size);
    if (capi().CertGetCertificateContextProperty(certificate, CERT_KEY_PROV_INFO_PROP_ID, record.data(), &size) ==
            FALSE ||
        size < sizeof(CRYPT_KEY_PROV_INFO))
        return false;
    spec = reinterpret_cast<const CRYPT_KEY_PROV_INFO*>(record.data())->dwKeySpec;
    return true;
}

std::uint32_t foldedSerialOf(PCCERT_CONTEXT certificate) {
    if (certificate == nullptr)
        return 0;
    const CRYPT_INTEGER_BLOB& serial = certificate->pCertInfo->SerialNumber;
    return foldSerial(serial.pbData, serial.cbData);
}

}  // namespace

CHCert::CHCert(PCCERT_CONTEXT certificate) : context(duplicate(certificate)) {}

CHCert::CHCert(const CHCert& other) : context(duplicate(other.context)) {}

CHCert::CHCert(CHCert&& other) noexcept : context(std::exchange(other.context, nullptr)) {}

CHCert& CHCert::operator=(const CHCert& other) {
    return *this = CHCert(other);
}

CHCert& CHCert::operator=(CHCert&& other) noexcept {
    std::swap(context, other.context);
    return *this;
}

CHCert::~CHCert() {
    if (context != nullptr)
        capi().CertFreeCertificateContext(context);
}

std::wstring CHCert::GetSubjectName() const {
    return context == nullptr ? std::wstring() : nameText(context->pCertInfo->Subject);
}

std::wstring CHCert::GetIssuerName() const {
    return context == nullptr ? std::wstring() : nameText(context->pCertInfo->Issuer);
}

bool CHCert::GetKeySpec(DWORD& spec) const {
    if (context == nullptr)
        return false;
    DWORD property = 0;
    while ((property = capi().CertEnumCertificateContextProperties(context, property)) != 0) {
        if (property == CERT_KEY_PROV_INFO_PROP_ID)
            return readKeySpec(context, spec);
    }
    return false;
}

std::wstring CHCert::GetNotBeforeText() const {
    SYSTEMTIME time = {};
    if (context == nullptr || sys().FileTimeToSystemTime(&context->pCertInfo->NotBefore, &time) == FALSE)
        return {};
    return validityText(time);
}

int CHCert::CompareSerial(const CHCert& other) const {
    const std::uint32_t own = foldedSerialOf(context);
    const std::uint32_t others = foldedSerialOf(other.context);
    return own == others ? 0 : (own < others ? -1 : 1);
}

std::uint32_t foldSerial(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0)
        return 0;
    std::uint32_t number = 0;
    for (std::size_t i = size - 1; i != 0; --i)
        number = (number + bytes[i]) * 256;
    return number + bytes[0];
}

}  // namespace enrol
