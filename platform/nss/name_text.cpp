// CERT_X500_NAME_STR: "C=DE, O=Example + OU=Unit, CN=Name". The order is the certificate's own. Values that hold one of
// + , " = < > ; # or a line feed, or begin or end in white space, stand in double quotes, and a double quote in them is
// doubled.
#include <algorithm>
#include <string>

#include "platform/nss/der.h"
#include "platform/nss/entries.h"
#include "platform/nss/wide_text.h"

namespace platform::nss {
namespace {

struct KeyName {
    const char* objectId;
    const wchar_t* name;
};

constexpr KeyName kKeyNames[] = {
    {"2.5.4.3", L"CN"},
    {"2.5.4.4", L"SN"},
    {"2.5.4.5", L"SERIALNUMBER"},
    {"2.5.4.6", L"C"},
    {"2.5.4.7", L"L"},
    {"2.5.4.8", L"S"},
    {"2.5.4.9", L"STREET"},
    {"2.5.4.10", L"O"},
    {"2.5.4.11", L"OU"},
    {"2.5.4.12", L"T"},
    {"2.5.4.13", L"Description"},
    {"2.5.4.17", L"PostalCode"},
    {"2.5.4.18", L"POBox"},
    {"2.5.4.20", L"Phone"},
    {"2.5.4.24", L"X21Address"},
    {"2.5.4.42", L"G"},
    {"2.5.4.43", L"I"},
    {"2.5.4.46", L"dnQualifier"},
    {"1.2.840.113549.1.9.1", L"E"},
    {"0.9.2342.19200300.100.1.25", L"DC"},
};

// Types whose bytes are characters one by one, whatever their standard says of T.61 escapes.
constexpr BYTE kByteStrings[] = {0x12, kDerPrintableString, 0x14, 0x15, 0x16, 0x19, 0x1A, 0x1B};
constexpr BYTE kBmpString = 0x1E;

// "CN=" for a known attribute, else its object identifier in digits.
std::wstring keyOf(const std::string& objectId) {
    const auto* known = std::find_if(std::begin(kKeyNames), std::end(kKeyNames),
                                     [&](const KeyName& key) { return objectId == key.objectId; });
    return (known != std::end(kKeyNames) ? known->name : widen(objectId)) + L"=";
}

bool isWhiteSpace(wchar_t c) {
    return c == L' ' || (c >= L'\t' && c <= L'\r');
}

std::wstring quoted(const std::wstring& value) {
    const bool isPlain = value.find_first_of(L"+,\"=<>;#\n") == std::wstring::npos &&
                         (value.empty() || (!isWhiteSpace(value.front()) && !isWhiteSpace(value.back())));
    if (isPlain)
        return value;
    std::wstring text = L"\"";
    for (const wchar_t c : value)
        text.append(c == L'"' ? 2 : 1, c);
    return text + L"\"";
}

// Big-endian units of two bytes; an odd last byte is dropped, and a lone surrogate stays.
std::wstring bmpText(Span content) {
    std::wstring text;
    for (std::size_t i = 0; i + 1 < content.size; i += 2) {
        const auto unit = static_cast<wchar_t>(content.data[i] << 8 | content.data[i + 1]);
        const bool isLow = unit >= 0xDC00 && unit < 0xE000;
        if (isLow && !text.empty() && text.back() >= 0xD800 && text.back() < 0xDC00)
            text.back() = 0x10000 + ((text.back() - 0xD800) << 10) + (unit - 0xDC00);
        else
            text += unit;
    }
    return text;
}

bool readText(const Element& value, std::wstring& text) {
    const Span content = value.content;
    text.clear();
    if (value.tag == kDerUtf8String)
        text = widen({content.data, content.data + content.size});
    else if (value.tag == kBmpString)
        text = bmpText(content);
    else if (std::find(std::begin(kByteStrings), std::end(kByteStrings), value.tag) != std::end(kByteStrings))
        text.assign(content.data, content.data + content.size);
    else
        return value.tag == kDerOctetString;  // shown as nothing
    return true;
}

bool appendAttribute(std::wstring& text, Span content) {
    DerReader reader(content);
    Element type = {};
    Element value = {};
    std::wstring valueText;
    if (!reader.expect(kDerObjectIdentifier, type) || !reader.read(value) || !reader.atEnd() ||
        !readText(value, valueText))
        return false;
    const std::string objectId = objectIdText(type.content);
    text += keyOf(objectId) + quoted(valueText);
    return !objectId.empty();
}

bool appendRdn(std::wstring& text, Span content) {
    DerReader reader(content);
    for (bool first = true; !reader.atEnd(); first = false) {
        Element attribute = {};
        text += first ? L"" : L" + ";
        if (!reader.expect(kDerSequence, attribute) || !appendAttribute(text, attribute.content))
            return false;
    }
    return true;
}

// Empty for what is no Name, or holds a value that is no text.
std::wstring nameText(Span der) {
    DerReader outer(der);
    Element name = {};
    if (!outer.expect(kDerSequence, name))
        return {};
    DerReader reader(name.content);
    std::wstring text;
    for (bool first = true; !reader.atEnd(); first = false) {
        Element rdn = {};
        text += first ? L"" : L", ";
        if (!reader.expect(kDerSet, rdn) || !appendRdn(text, rdn.content))
            return {};
    }
    return text;
}

}  // namespace

DWORD CertNameToStrW(DWORD encoding, PCERT_NAME_BLOB name, DWORD strType, LPWSTR text, DWORD chars) {
    const bool known = (encoding & X509_ASN_ENCODING) != 0 && strType == CERT_X500_NAME_STR && name != nullptr;
    const std::wstring whole = known ? nameText(spanOf(*name)) : std::wstring();
    if (text == nullptr || chars == 0)
        return static_cast<DWORD>(whole.size() + 1);
    const std::size_t length = std::min<std::size_t>(whole.size(), chars - 1);
    whole.copy(text, length);
    text[length] = L'\0';
    return static_cast<DWORD>(length + 1);
}

}  // namespace platform::nss
