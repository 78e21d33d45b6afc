#include "tests/support/fake_system_api.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

namespace support {
namespace {

namespace fs = std::filesystem;

constexpr char32_t kReplacement = 0xFFFD;

// nextCodePoint reads one character of UTF-8; a bad byte stands for U+FFFD and is one byte long.
char32_t nextCodePoint(const unsigned char*& p, const unsigned char* end) {
    const unsigned char lead = *p++;
    if (lead < 0x80)
        return lead;
    int more = 0;
    char32_t value = 0;
    char32_t least = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        more = 1, value = lead & 0x1F, least = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        more = 2, value = lead & 0x0F, least = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        more = 3, value = lead & 0x07, least = 0x10000;
    } else {
        return kReplacement;
    }
    const unsigned char* q = p;
    for (; more > 0; --more) {
        if (q == end || (*q & 0xC0) != 0x80)
            return kReplacement;
        value = (value << 6) | (*q++ & 0x3F);
    }
    if (value < least || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
        return kReplacement;
    p = q;
    return value;
}

void appendWide(std::wstring& text, char32_t c) {
    if (sizeof(wchar_t) == 2 && c > 0xFFFF) {
        text += static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
        text += static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
        text += static_cast<wchar_t>(c);
    }
}

void appendUtf8(std::string& text, char32_t c) {
    if (c < 0x80) {
        text += static_cast<char>(c);
    } else if (c < 0x800) {
        text += static_cast<char>(0xC0 | (c >> 6));
        text += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        text += static_cast<char>(0xE0 | (c >> 12));
        text += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        text += static_cast<char>(0xF0 | (c >> 18));
        text += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        text += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// deliver hands a converted text out in the manner of both conversion calls.
template <class Text, class Unit>
int deliver(const Text& converted, Unit* out, int capacity) {
    const int count = static_cast<int>(converted.size());
    if (capacity == 0)
        return count;
    if (count > capacity) {
        FakeSystemApi::current->lastError = ERROR_INSUFFICIENT_BUFFER;
        return 0;
    }
    std::copy(converted.begin(), converted.end(), out);
    return count;
}

bool usable(UINT codePage, const void* text, int length) {
    if (text != nullptr && length != 0 && length >= -1 &&
        (codePage == CP_UTF8 || codePage == CP_ACP || codePage == CP_THREAD_ACP))
        return true;
    FakeSystemApi::current->lastError = ERROR_INVALID_PARAMETER;
    return false;
}

DWORD WINAPI getLastError() {
    return FakeSystemApi::current->lastError;
}

void WINAPI setLastError(DWORD error) {
    FakeSystemApi::current->lastError = error;
}

HRESULT WINAPI createGuid(GUID* guid) {
    *guid = FakeSystemApi::current->guid;
    ++FakeSystemApi::current->guid.Data1;
    return 0;
}

DWORD WINAPI expandEnvironmentStrings(LPCSTR source, LPSTR target, DWORD capacity) {
    std::string text = source;
    for (const auto& [name, value] : FakeSystemApi::current->environment) {
        const std::string reference = "%" + name + "%";
        for (std::size_t at = text.find(reference); at != std::string::npos;
             at = text.find(reference, at + value.size()))
            text.replace(at, reference.size(), value);
    }
    // The platform leaves an unusable text behind when it does not fit; so does this.
    if (text.size() < capacity)
        std::memcpy(target, text.c_str(), text.size() + 1);
    else
        std::memset(target, '?', capacity);
    return static_cast<DWORD>(text.size() + 1);
}

int WINAPI multiByteToWideChar(UINT codePage, DWORD /*flags*/, LPCSTR text, int length, LPWSTR wide, int capacity) {
    if (!usable(codePage, text, length))
        return 0;
    const std::size_t bytes = length < 0 ? std::strlen(text) + 1 : static_cast<std::size_t>(length);
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    const auto* const end = p + bytes;
    std::wstring converted;
    while (p != end)
        appendWide(converted, nextCodePoint(p, end));
    return deliver(converted, wide, capacity);
}

int WINAPI wideCharToMultiByte(UINT codePage, DWORD /*flags*/, LPCWSTR wide, int length, LPSTR text, int capacity,
                               LPCSTR /*unmappable*/, BOOL* /*usedUnmappable*/) {
    if (!usable(codePage, wide, length))
        return 0;
    const std::size_t units = length < 0 ? std::wcslen(wide) + 1 : static_cast<std::size_t>(length);
    return deliver(utf8Of({wide, units}), text, capacity);
}

BOOL WINAPI fileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* systemTime) {
    const std::uint64_t ticks = (std::uint64_t{fileTime->dwHighDateTime} << 32) | fileTime->dwLowDateTime;
    if ((ticks >> 63) != 0) {
        FakeSystemApi::current->lastError = ERROR_INVALID_PARAMETER;
        return FALSE;
    }
    const std::uint64_t milliseconds = ticks / 10000;
    const std::uint64_t days = milliseconds / 86400000;
    const std::uint64_t ofDay = milliseconds % 86400000;
    // Days since 1601-01-01, a Monday and the start of a cycle of 400 years; years counted from March.
    const std::uint64_t shifted = days + 306;
    const std::uint64_t cycle = shifted / 146097;
    const std::uint64_t ofCycle = shifted % 146097;
    const std::uint64_t year = (ofCycle - ofCycle / 1460 + ofCycle / 36524 - ofCycle / 146096) / 365;
    const std::uint64_t ofYear = ofCycle - (365 * year + year / 4 - year / 100);
    const std::uint64_t month = (5 * ofYear + 2) / 153;
    systemTime->wYear = static_cast<WORD>(1600 + cycle * 400 + year + (month >= 10 ? 1 : 0));
    systemTime->wMonth = static_cast<WORD>(month < 10 ? month + 3 : month - 9);
    systemTime->wDay = static_cast<WORD>(ofYear - (153 * month + 2) / 5 + 1);
    systemTime->wDayOfWeek = static_cast<WORD>((days + 1) % 7);
    systemTime->wHour = static_cast<WORD>(ofDay / 3600000);
    systemTime->wMinute = static_cast<WORD>(ofDay / 60000 % 60);
    systemTime->wSecond = static_cast<WORD>(ofDay / 1000 % 60);
    systemTime->wMilliseconds = static_cast<WORD>(ofDay % 1000);
    return TRUE;
}

HANDLE WINAPI findFirstFile(LPCSTR path, WIN32_FIND_DATAA* found) {
    std::error_code error;
    if (!fs::exists(path, error)) {
        FakeSystemApi::current->lastError = ERROR_FILE_NOT_FOUND;
        return INVALID_HANDLE_VALUE;
    }
    std::memset(found, 0, sizeof(*found));
    return new char;
}

BOOL WINAPI findClose(HANDLE search) {
    delete static_cast<char*>(search);
    return TRUE;
}

BOOL WINAPI deleteFile(LPCSTR path) {
    return std::remove(path) == 0 ? TRUE : FALSE;
}

std::string makeHome() {
    std::random_device random;
    const fs::path home = fs::temp_directory_path() / ("vt-home-" + std::to_string(random()));
    fs::create_directories(home);
    return home.string();
}

}  // namespace

std::string utf8Of(std::wstring_view wide) {
    std::string text;
    for (std::size_t i = 0; i < wide.size(); ++i) {
        auto c = static_cast<char32_t>(wide[i]);
        if (sizeof(wchar_t) == 2 && c >= 0xD800 && c <= 0xDBFF && i + 1 < wide.size())
            c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(wide[++i]) - 0xDC00);
        appendUtf8(text, c);
    }
    return text;
}

FakeSystemApi* FakeSystemApi::current = nullptr;

FakeSystemApi::FakeSystemApi() : guid(), before_(platform::replaceableSystemApi()), home_(makeHome()) {
    guid = {0x01234567, 0x89AB, 0xCDEF, {0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10}};
    environment = {{"HOMEDRIVE", ""}, {"HOMEPATH", home_}};
    if (current != nullptr)
        ADD_FAILURE() << "two fakes at once";
    current = this;
    platform::SystemApi& table = platform::replaceableSystemApi();
    table.GetLastError = getLastError;
    table.SetLastError = setLastError;
    table.CoCreateGuid = createGuid;
    table.ExpandEnvironmentStringsA = expandEnvironmentStrings;
    table.MultiByteToWideChar = multiByteToWideChar;
    table.WideCharToMultiByte = wideCharToMultiByte;
    table.FileTimeToSystemTime = fileTimeToSystemTime;
    table.FindFirstFileA = findFirstFile;
    table.FindClose = findClose;
    table.DeleteFileA = deleteFile;
}

FakeSystemApi::~FakeSystemApi() {
    platform::replaceableSystemApi() = before_;
    current = nullptr;
    std::error_code error;
    fs::remove_all(home_, error);
}

std::string FakeSystemApi::markerPath() const {
    return home_ + platform::kPathSeparator + "vemtrelCertEnrollContainer.data";
}

std::string FakeSystemApi::marker() const {
    std::ifstream file(markerPath(), std::ios::binary);
    if (!file)
        return "(none)";
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void FakeSystemApi::writeMarker(const std::string& bytes) const {
    std::ofstream file(markerPath(), std::ios::binary | std::ios::trunc);
    file << bytes;
}

}  // namespace support
