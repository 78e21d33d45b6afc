#include "enrol/subject.h"

#include <cstring>
#include <iterator>
#include <limits>

#include "enrol/capi.h"
#include "enrol/wide_text.h"

namespace enrol {
namespace {

using HeapValue = std::unique_ptr<BYTE[]>;

struct AttributeKind {
    std::wstring_view key;
    const char* oid;
    DWORD valueType;
};
constexpr AttributeKind kKinds[] = {
    {L"C", "2.5.4.6", CERT_RDN_PRINTABLE_STRING},
    {L"O", "2.5.4.10", CERT_RDN_UTF8_STRING},
    {L"OU", "2.5.4.11", CERT_RDN_UTF8_STRING},
    {L"CN", "2.5.4.3", CERT_RDN_UTF8_STRING},
};

const AttributeKind* findKind(std::wstring_view key) {
    for (const AttributeKind& kind : kKinds) {
        if (compareNoCase(key, kind.key) == 0)
            return &kind;
    }
    return nullptr;
}

HeapValue allocateValue(std::size_t size) {
    return HeapValue(new (std::nothrow) BYTE[size]());
}

// setAnsiValue gives the component the text in the thread's ANSI code page.
std::int32_t setAnsiValue(std::wstring_view text, SubjectComponent& component) {
    const int chars = static_cast<int>(text.size());
    const int size =
        chars == 0 ? 0 : sys().WideCharToMultiByte(CP_THREAD_ACP, 0, text.data(), chars, nullptr, 0, nullptr, nullptr);
    if (chars != 0 && size <= 0)
        return kReasonNotEncodable;
    HeapValue value = allocateValue(static_cast<std::size_t>(size) + 1);
    if (!value)
        return kReasonNoMemory;
    if (size != 0 && sys().WideCharToMultiByte(CP_THREAD_ACP, 0, text.data(), chars,
                                               reinterpret_cast<char*>(value.get()), size, nullptr, nullptr) <= 0)
        return kReasonNotEncodable;
    component.attr.Value.cbData = static_cast<DWORD>(size);
    component.value = std::move(value);
    return 0;
}

}  // namespace

std::int32_t BuildSubjectComponent(std::wstring_view text, SubjectComponent& component) {
    component = {};
    const std::size_t equals = text.find(L'=');
    if (equals == std::wstring_view::npos)
        return kReasonNoEquals;
    const std::wstring_view value = text.substr(equals + 1);
    if (value.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()) / sizeof(wchar_t) - 1)
        return kReasonNoMemory;
    component.value = allocateValue((value.size() + 1) * sizeof(wchar_t));
    if (!component.value)
        return kReasonNoMemory;
    std::memcpy(component.value.get(), value.data(), value.size() * sizeof(wchar_t));
    component.attr.Value.cbData = static_cast<DWORD>(value.size() * sizeof(wchar_t));

    const AttributeKind* kind = findKind(text.substr(0, equals));
    if (kind == nullptr)
        return kReasonUnknownAttribute;
    if (kind->valueType == CERT_RDN_PRINTABLE_STRING) {
        const std::int32_t reason = setAnsiValue(value, component);
        if (reason != 0)
            return reason;
    }
    // The platform's record has a plain pointer, but does not write through it.
    component.attr.pszObjId = const_cast<LPSTR>(kind->oid);
    component.attr.dwValueType = kind->valueType;
    component.attr.Value.pbData = component.value.get();
    return 0;
}

std::int32_t EncodeSubject(const SubjectComponent* components, std::size_t count, HeapBytes& der) {
    if (count > kMaxSubjectComponents)
        return kReasonUnknownAttribute;
    CERT_RDN_ATTR attrs[kMaxSubjectComponents];
    CERT_RDN rdns[kMaxSubjectComponents];
    for (std::size_t i = 0; i < count; ++i) {
        attrs[i] = components[i].attr;
        rdns[i] = {1, &attrs[i]};
    }
    const CERT_NAME_INFO name = {static_cast<DWORD>(count), rdns};
    DWORD size = 0;
    if (capi().CryptEncodeObjectEx(X509_ASN_ENCODING, X509_NAME, &name, 0, nullptr, nullptr, &size) == FALSE)
        return kReasonNotEncodable;
    if (!der.allocate(size))
        return kReasonNoMemory;
    if (capi().CryptEncodeObjectEx(X509_ASN_ENCODING, X509_NAME, &name, 0, nullptr, der.data.get(), &size) == FALSE)
        return kReasonNotEncodable;
    der.size = size;
    return 0;
}

std::int32_t BuildSubject(std::wstring_view text, HeapBytes& der) {
    SubjectComponent components[kMaxSubjectComponents];
    std::size_t count = 0;
    WideTokens tokens(text, L',');
    for (std::wstring_view token; tokens.next(token); ++count) {
        if (count == kMaxSubjectComponents)
            return kReasonUnknownAttribute;
        const std::int32_t reason = BuildSubjectComponent(token, components[count]);
        if (reason != 0)
            return reason;
    }
    return EncodeSubject(components, count, der);
}

}  // namespace enrol
