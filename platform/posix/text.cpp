#include <cstring>
#include <cwchar>

#include "platform/posix/entries.h"
#include "platform/posix/last_error.h"

namespace platform::posix {
namespace {

constexpr wchar_t kReplacement = 0xFFFD;
constexpr char32_t kMalformed = 0xFFFFFFFF;

bool isKnownCodePage(UINT codePage) {
    return codePage == CP_ACP || codePage == CP_THREAD_ACP || codePage == CP_UTF8;
}

bool isContinuation(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

bool isScalar(char32_t c) {
    return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF);
}

// How many bytes follow a leading byte of 0x80 and above; 0 for one that begins nothing.
int followersOf(unsigned char lead) {
    if (lead >= 0xC2 && lead <= 0xDF)
        return 1;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 2;
    return lead >= 0xF0 && lead <= 0xF4 ? 3 : 0;
}

// Whether a second byte can stand after the lead: not overlong, no surrogate, not above U+10FFFF (RFC 3629, section 4).
bool canFollow(unsigned char lead, unsigned char second) {
    switch (lead) {
        case 0xE0:
            return second >= 0xA0;
        case 0xED:
            return second <= 0x9F;
        case 0xF0:
            return second >= 0x90;
        case 0xF4:
            return second <= 0x8F;
        default:
            return true;
    }
}

// Reads one character and advances. Of a malformed sequence it takes what the platform takes for one U+FFFD: a sequence
// that the end of the text cuts off counts once, and a second byte that makes the value impossible is taken along.
char32_t readUtf8(const unsigned char*& at, const unsigned char* end) {
    const unsigned char lead = *at++;
    if (lead < 0x80)
        return lead;
    const int followers = followersOf(lead);
    if (end - at < followers) {
        at = end;
        return kMalformed;
    }
    char32_t c = lead & (0x3Fu >> followers);
    for (int i = 0; i < followers; ++i) {
        if (!isContinuation(*at))
            return kMalformed;
        if (i == 0 && !canFollow(lead, *at)) {
            ++at;
            return kMalformed;
        }
        c = (c << 6) | (*at++ & 0x3Fu);
    }
    return followers == 0 ? kMalformed : c;
}

int writeUtf8(char32_t c, char (&bytes)[4]) {
    if (c < 0x80) {
        bytes[0] = static_cast<char>(c);
        return 1;
    }
    static constexpr char32_t kLeads[] = {0, 0xC0, 0xE0, 0xF0};
    const int followers = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    for (int i = followers; i > 0; --i, c >>= 6)
        bytes[i] = static_cast<char>(0x80 | (c & 0x3F));
    bytes[0] = static_cast<char>(kLeads[followers] | c);
    return followers + 1;
}

// What both directions check of their arguments; fails with the error that is published for it.
bool areArgumentsGood(UINT codePage, const void* source, int length, const void* target, int capacity) {
    const bool good = source != nullptr && length != 0 && capacity >= 0 && (target != nullptr || capacity == 0) &&
                      source != target && isKnownCodePage(codePage);
    if (!good)
        setLastError(ERROR_INVALID_PARAMETER);
    return good;
}

}  // namespace

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR wide, int capacity) {
    if (!areArgumentsGood(codePage, text, length, wide, capacity))
        return 0;
    const std::size_t bytes = length < 0 ? std::strlen(text) + 1 : static_cast<std::size_t>(length);
    const auto* at = reinterpret_cast<const unsigned char*>(text);
    const unsigned char* end = at + bytes;
    int count = 0;
    while (at != end) {
        const char32_t c = readUtf8(at, end);
        if (c == kMalformed && (flags & MB_ERR_INVALID_CHARS) != 0)
            return fail(ERROR_NO_UNICODE_TRANSLATION);
        if (capacity != 0 && count == capacity)
            return fail(ERROR_INSUFFICIENT_BUFFER);
        if (capacity != 0)
            wide[count] = c == kMalformed ? kReplacement : static_cast<wchar_t>(c);
        ++count;
    }
    return count;
}

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int length, LPSTR text, int capacity,
                        LPCSTR /*unmappable*/, BOOL* usedUnmappable) {
    if (!areArgumentsGood(codePage, wide, length, text, capacity))
        return 0;
    const std::size_t chars = length < 0 ? std::wcslen(wide) + 1 : static_cast<std::size_t>(length);
    int count = 0;
    BOOL anyReplaced = FALSE;
    for (std::size_t i = 0; i < chars; ++i) {
        const auto c = static_cast<char32_t>(wide[i]);
        if (!isScalar(c) && (flags & WC_ERR_INVALID_CHARS) != 0)
            return fail(ERROR_NO_UNICODE_TRANSLATION);
        anyReplaced = isScalar(c) ? anyReplaced : TRUE;
        char bytes[4];
        const int size = writeUtf8(isScalar(c) ? c : static_cast<char32_t>(kReplacement), bytes);
        if (capacity != 0 && size > capacity - count)
            return fail(ERROR_INSUFFICIENT_BUFFER);
        if (capacity != 0)
            std::memcpy(text + count, bytes, static_cast<std::size_t>(size));
        count += size;
    }
    if (usedUnmappable != nullptr)
        *usedUnmappable = anyReplaced;
    return count;
}

}  // namespace platform::posix
