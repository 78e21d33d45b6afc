// A subject text as a page gives it, to the DER of a Name, which is taken apart with the BER reader again.
#include "enrol/subject.h"

#include <climits>
#include <string>

#include "ber/ber.h"
#include "enrol/capi.h"
#include "fuzz/target.h"

namespace {

using enrol::sys;

std::wstring widen(const std::uint8_t* data, int size) {
    const char* const text = reinterpret_cast<const char*>(data);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    const int count = sys().MultiByteToWideChar(CP_UTF8, 0, text, size, wide.data(), size);
    FUZZ_ASSERT(count > 0);
    wide.resize(static_cast<std::size_t>(count));
    return wide;
}

std::string narrow(std::wstring_view wide) {
    if (wide.empty())
        return {};
    const int chars = static_cast<int>(wide.size());
    std::string text(wide.size() * 4, '\0');
    const int count = sys().WideCharToMultiByte(CP_UTF8, 0, wide.data(), chars, text.data(),
                                                static_cast<int>(text.size()), nullptr, nullptr);
    text.resize(static_cast<std::size_t>(count));
    return text;
}

std::vector<std::wstring> componentsOf(const std::wstring& text) {
    std::vector<std::wstring> components(1);
    for (const wchar_t c : text) {
        if (c != L',')
            components.back() += c;
        else if (!components.back().empty())
            components.emplace_back();
    }
    if (components.back().empty())
        components.pop_back();
    return components;
}

// One RDN with the value of one component. A country may be refused by the platform, or be in another code page.
void readComponent(BerReader* reader, const std::wstring& component) {
    std::int32_t* arcs = nullptr;
    std::int32_t count = 0;
    std::uint8_t* value = nullptr;
    std::int32_t length = 0;
    FUZZ_ASSERT(BerReaderScanf(reader, "[{Oo}]", &arcs, &count, &value, &length) == 0);
    const std::size_t equals = component.find(L'=');
    FUZZ_ASSERT(equals == 1 || equals == 2);
    FUZZ_ASSERT(count == 4 && arcs[0] == 2 && arcs[1] == 5 && arcs[2] == 4);
    const std::wstring key = component.substr(0, equals);
    const bool isKnown = ((key == L"C" || key == L"c") && arcs[3] == 6) ||
                         ((key == L"O" || key == L"o") && arcs[3] == 10) ||
                         (equals == 2 && (key[1] | 0x20) == L'u' && arcs[3] == 11) ||
                         (equals == 2 && (key[1] | 0x20) == L'n' && arcs[3] == 3);
    FUZZ_ASSERT(isKnown);
    const std::string bytes(reinterpret_cast<const char*>(value), static_cast<std::size_t>(length));
    FUZZ_ASSERT(arcs[3] == 6 || bytes == narrow(component.substr(equals + 1)));
    std::free(arcs);
    std::free(value);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 4096)
        return 0;
    std::wstring text = widen(data, static_cast<int>(size));
    enrol::HeapBytes der;
    const std::int32_t reason = enrol::BuildSubject(text, der);
    FUZZ_ASSERT(reason == 0 || reason == enrol::kReasonNotEncodable || reason == enrol::kReasonUnknownAttribute ||
                reason == enrol::kReasonNoEquals);
    if (reason != 0)
        return 0;

    text.resize(std::min(text.size(), text.find(L'\0')));
    const std::vector<std::wstring> components = componentsOf(text);
    FUZZ_ASSERT(components.size() <= enrol::kMaxSubjectComponents);
    BerReader* reader = BerReaderCreate(der.data.get(), static_cast<std::int32_t>(der.size));
    FUZZ_ASSERT(BerReaderScanf(reader, "{") == 0);
    for (const std::wstring& component : components)
        readComponent(reader, component);
    FUZZ_ASSERT(reader->position == reader->end);
    BerReaderFree(reader);
    return 0;
}
