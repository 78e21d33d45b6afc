// Any bytes as a certificate, and the text of its names.
#include "platform/nss/certificate.h"

#include "fuzz/target.h"
#include "platform/platform.h"

namespace {

using platform::capi;
using platform::nss::parseCertificate;

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

// Size and content agree, and a buffer that is too small is not overrun (the address sanitizer sees to that).
void checkText(CERT_NAME_BLOB& name) {
    const DWORD chars = capi().CertNameToStrW(kEncoding, &name, CERT_X500_NAME_STR, nullptr, 0);
    FUZZ_ASSERT(chars >= 1);
    std::vector<wchar_t> text(chars, L'#');
    FUZZ_ASSERT(capi().CertNameToStrW(kEncoding, &name, CERT_X500_NAME_STR, text.data(), chars) == chars);
    FUZZ_ASSERT(text.back() == L'\0');
    std::vector<wchar_t> less(chars / 2 + 1, L'#');
    const auto room = static_cast<DWORD>(less.size());
    FUZZ_ASSERT(capi().CertNameToStrW(kEncoding, &name, CERT_X500_NAME_STR, less.data(), room) <= chars);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 65536)
        return 0;
    // Any bytes may be asked for as a name, too.
    std::vector<BYTE> bytes(data, data + size);
    CERT_NAME_BLOB any = {static_cast<DWORD>(size), bytes.data()};
    checkText(any);

    const auto certificate = parseCertificate(data, size);
    if (certificate == nullptr)
        return 0;
    const auto der = certificate->der();
    FUZZ_ASSERT(certificate->bytes() == bytes && der.size <= size && std::equal(der.data, der.data + der.size, data));
    checkText(certificate->info().Subject);
    checkText(certificate->info().Issuer);
    (void)certificate->isAuthority();
    (void)certificate->rsaModulus();

    // What follows the certificate does not count, and it is nothing without its last byte.
    const auto again = parseCertificate(der.data, der.size);
    FUZZ_ASSERT(again != nullptr && again->der().size == der.size);
    FUZZ_ASSERT(again->info().SerialNumber.cbData == certificate->info().SerialNumber.cbData);
    FUZZ_ASSERT(again->isSelfIssued() == certificate->isSelfIssued());
    FUZZ_ASSERT(parseCertificate(der.data, der.size - 1) == nullptr);
    return 0;
}
