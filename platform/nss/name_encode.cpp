#include <algorithm>
#include <string>

#include "platform/nss/der.h"
#include "platform/nss/entries.h"
#include "platform/nss/wide_text.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

// PrintableString (X.680, 41.4).
bool isPrintable(const Bytes& value) {
    static const std::string kMarks = " '()+,-./:=?";
    return std::all_of(value.begin(), value.end(), [](BYTE c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
               kMarks.find(static_cast<char>(c)) != std::string::npos;
    });
}

// Wide text counted in bytes; a last byte that is no whole character is dropped.
std::wstring wideValue(const CERT_RDN_VALUE_BLOB& value) {
    std::wstring wide(value.cbData / sizeof(wchar_t), L'\0');
    if (!wide.empty())
        std::memcpy(wide.data(), value.pbData, wide.size() * sizeof(wchar_t));
    return wide;
}

// Each of these appends to an encoding, and gives 0 or the error.
DWORD appendValue(Bytes& to, const CERT_RDN_ATTR& attribute) {
    const CERT_RDN_VALUE_BLOB& value = attribute.Value;
    if (value.cbData != 0 && value.pbData == nullptr)
        return ERROR_INVALID_PARAMETER;
    if (attribute.dwValueType == CERT_RDN_PRINTABLE_STRING) {
        const Bytes bytes(value.pbData, value.pbData + value.cbData);
        append(to, derElement(kDerPrintableString, bytes));
        return isPrintable(bytes) ? ERROR_SUCCESS : CRYPT_E_INVALID_PRINTABLE_STRING;
    }
    if (attribute.dwValueType != CERT_RDN_UTF8_STRING)
        return CRYPT_E_ASN1_CHOICE;
    const std::string text = narrow(wideValue(value));
    append(to, derElement(kDerUtf8String, Bytes(text.begin(), text.end())));
    return ERROR_SUCCESS;
}

DWORD appendAttribute(Bytes& to, const CERT_RDN_ATTR& attribute) {
    const Bytes type = objectIdDer(attribute.pszObjId != nullptr ? attribute.pszObjId : "");
    if (type.empty())
        return CRYPT_E_ASN1_ERROR;
    Bytes content = derElement(kDerObjectIdentifier, type);
    const DWORD error = appendValue(content, attribute);
    append(to, derElement(kDerSequence, content));
    return error;
}

// A SET OF stands in the order of its encodings (X.690, 11.6).
DWORD appendRdn(Bytes& to, const CERT_RDN& rdn) {
    std::vector<Bytes> attributes(rdn.cRDNAttr);
    for (DWORD i = 0; i < rdn.cRDNAttr; ++i) {
        if (const DWORD error = appendAttribute(attributes[i], rdn.rgRDNAttr[i]); error != ERROR_SUCCESS)
            return error;
    }
    std::sort(attributes.begin(), attributes.end());
    Bytes content;
    for (const Bytes& attribute : attributes)
        append(content, attribute);
    append(to, derElement(kDerSet, content));
    return ERROR_SUCCESS;
}

DWORD encodeName(const CERT_NAME_INFO& name, Bytes& der) {
    Bytes content;
    for (DWORD i = 0; i < name.cRDN; ++i) {
        if (const DWORD error = appendRdn(content, name.rgRDN[i]); error != ERROR_SUCCESS)
            return error;
    }
    der = derElement(kDerSequence, content);
    return ERROR_SUCCESS;
}

}  // namespace

BOOL CryptEncodeObjectEx(DWORD encoding, LPCSTR type, const void* info, DWORD flags, CRYPT_ENCODE_PARA* para,
                         void* encoded, DWORD* size) {
    if (size == nullptr || info == nullptr || flags != 0 || para != nullptr)
        return posix::fail(ERROR_INVALID_PARAMETER);
    if ((encoding & X509_ASN_ENCODING) == 0 || type != X509_NAME)
        return posix::fail(ERROR_FILE_NOT_FOUND);
    Bytes der;
    if (const DWORD error = encodeName(*static_cast<const CERT_NAME_INFO*>(info), der); error != ERROR_SUCCESS) {
        *size = 0;
        return posix::fail(error);
    }
    return giveOut(der, encoded, size);
}

}  // namespace platform::nss
