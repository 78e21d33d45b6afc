#include "tests/plugin/fake_enrol.h"

#include <cstring>

#include "enrol/enrol.h"

namespace fake_enrol {

Script script;

namespace {

std::string shown(const char* data, std::size_t length) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
        if (data[i] == '\0')
            text += "\\0";
        else
            text += data[i];
    }
    return text;
}

std::int32_t called(const std::string& call) {
    script.calls.push_back(call);
    return script.code;
}

enrol::HeapText heapText(const std::string& text, std::size_t size) {
    enrol::HeapText copy(new char[size]());
    std::memcpy(copy.get(), text.data(), text.size() < size ? text.size() : size);
    return copy;
}

std::int32_t generated(const std::string& call, enrol::HeapText& text, std::size_t& textLength) {
    if (script.hasText)
        text = heapText(script.text, script.textLength);
    textLength = script.textLength;
    return called(call);
}

}  // namespace
}  // namespace fake_enrol

namespace enrol {

using fake_enrol::called;
using fake_enrol::generated;
using fake_enrol::heapText;
using fake_enrol::script;
using fake_enrol::shown;

std::int32_t EnumerateProvider(std::int32_t index, HeapText& name, std::uint32_t& length) {
    if (script.hasName) {
        name = heapText(script.name, script.name.size() + 1);
        length = static_cast<std::uint32_t>(script.name.size() + 1);
    }
    return called("EnumerateProvider " + std::to_string(index));
}

std::int32_t GenerateRequest(std::int32_t keyBits, HeapText& text, std::size_t& textLength) {
    return generated("GenerateRequest " + std::to_string(keyBits), text, textLength);
}

std::int32_t GenerateRequestWithSubject(std::int32_t keyBits, std::int32_t exportable, const char* subject,
                                        std::size_t subjectLength, HeapText& text, std::size_t& textLength) {
    return generated("GenerateRequestWithSubject " + std::to_string(keyBits) + " " + std::to_string(exportable) + " " +
                         shown(subject, subjectLength),
                     text, textLength);
}

std::int32_t WriteClientCert(const char* text, std::size_t length) {
    return called("WriteClientCert " + shown(text, length));
}
std::int32_t WriteClientCertNoProtect(const char* text, std::size_t length) {
    return called("WriteClientCertNoProtect " + shown(text, length));
}
std::int32_t WriteClientCertExpX509(const char* text, std::size_t length) {
    return called("WriteClientCertExpX509 " + shown(text, length));
}

std::int32_t DeleteCertificate(const char* issuerDn, const char* serialHex) {
    return called(std::string("DeleteCertificate ") + issuerDn + "|" + serialHex);
}
std::int32_t CertificateExists(const char* issuerDn, const char* serialHex) {
    return called(std::string("CertificateExists ") + issuerDn + "|" + serialHex);
}
std::int32_t PruneCertificates(const char* subjectDn, const char* issuerDn) {
    return called(std::string("PruneCertificates ") + subjectDn + "|" + issuerDn);
}
std::int32_t CheckCertificateInFirefox(const char* text, std::size_t length) {
    return called("CheckCertificateInFirefox " + shown(text, length));
}
std::int32_t CheckCertificateInWindowsStores(const char* text, std::size_t length) {
    return called("CheckCertificateInWindowsStores " + shown(text, length));
}

}  // namespace enrol
