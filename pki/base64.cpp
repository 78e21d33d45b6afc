#include "pki/base64.h"

#include <climits>
#include <cstring>
#include <functional>
#include <memory>
#include <new>

#include "foundation/byte.h"
#include "pki/base64_kernel.h"
#include "token/codes.h"

using pki::kBase64Alphabet;
using pki::kBase64Foreign;
using pki::kBase64Pad;
using pki::kBase64Values;

namespace {

constexpr int kLineChars = 64;
constexpr int kLineBytes = kLineChars / 4 * 3;
constexpr std::uint32_t kColumns = 76;

// Lengths are signed, and twice the input must still be one.
constexpr int kMostInput = (INT_MAX - 5) / 2;

using Block = std::unique_ptr<char[]>;

// A block of that size and one byte, so that no bytes are a block too. Null if there is no memory.
Block takeBlock(int size) {
    return Block(new (std::nothrow) char[static_cast<std::size_t>(size) + 1]);
}

const std::uint8_t* bytesAt(const char* p) {
    return reinterpret_cast<const std::uint8_t*>(p);
}

int charsFor(int inLen) {
    return (inLen + 2) / 3 * 4;
}

// What is told for a text of that many characters.
int toldLength(int chars, bool wrap) {
    return wrap ? chars + (chars - 1) / kLineChars + 1 : chars;
}

// What is written for it, which is one more if the last line is full.
int writtenLength(int chars, bool wrap) {
    return wrap ? chars + chars / kLineChars + 1 : chars;
}

bool badInput(const char* in, int inLen, const int* outLen) {
    return outLen == nullptr || inLen < 0 || (in == nullptr && inLen != 0);
}

bool overlap(const char* a, int aLength, const char* b, int bLength) {
    const std::less<> before;
    return before(a, b + bLength) && before(b, a + aLength);
}

// encodeLast writes the group of the one or two last bytes.
char* encodeLast(const unsigned char (&bytes)[2], std::uint32_t count, char* out) {
    const auto bits = static_cast<std::uint32_t>(bytes[0] << 16 | (count == 2 ? bytes[1] << 8 : 0));
    *out++ = kBase64Alphabet[bits >> 18];
    *out++ = kBase64Alphabet[bits >> 12 & 63];
    *out++ = count == 2 ? kBase64Alphabet[bits >> 6 & 63] : '=';
    *out++ = '=';
    return out;
}

// decodeGroup writes the bytes of four values: none where "=" stands at a place that is not its own.
char* decodeGroup(const std::uint8_t (&values)[4], char* out) {
    if (values[0] == kBase64Pad || values[1] == kBase64Pad)
        return out;
    if (values[2] == kBase64Pad && values[3] != kBase64Pad)
        return out;
    *out++ = static_cast<char>(values[0] << 2 | values[1] >> 4);
    if (values[2] == kBase64Pad)
        return out;
    *out++ = static_cast<char>(values[1] << 4 | values[2] >> 2);
    if (values[3] == kBase64Pad)
        return out;
    *out++ = static_cast<char>(values[2] << 6 | values[3]);
    return out;
}

}  // namespace

// Encoding

VT_Base64::EncoderState* VT_Base64::encodeini() {
    auto* state = new (std::nothrow) EncoderState();
    if (state != nullptr)
        state->column = 1;
    return state;
}

char* VT_Base64::encodeupdate(EncoderState& state, const char* in, int inLen, char* out) {
    const char* const start = out;
    const char* const end = in + inLen;
    while (state.count != 0 && in != end) {
        const auto byte = static_cast<unsigned char>(*in++);
        if (state.count < 2) {
            state.bytes[state.count++] = byte;
            continue;
        }
        const std::uint8_t group[3] = {state.bytes[0], state.bytes[1], byte};
        out = pki::plainBase64().encode(group, 3, out);
        state.count = 0;
    }
    const auto whole = (end - in) / 3 * 3;
    out = pki::base64Kernel().encode(bytesAt(in), static_cast<std::size_t>(whole), out);
    for (in += whole; in != end; ++in)
        state.bytes[state.count++] = static_cast<unsigned char>(*in);
    state.column = (state.column - 1 + static_cast<std::uint32_t>(out - start)) % kColumns + 1;
    return out;
}

char* VT_Base64::encodefinish(EncoderState& state, char* out) {
    if (state.count == 0)
        return out;
    out = encodeLast(state.bytes, state.count, out);
    state.column = (state.column - 1 + 4) % kColumns + 1;
    state.count = 0;
    return out;
}

int VT_Base64::Encode(const char* in, int inLen, char* out, int* outLen, bool wrap) {
    if (badInput(in, inLen, outLen))
        return token::kNullArgument;
    if (inLen > kMostInput)
        return token::kOutOfMemory;
    const int chars = charsFor(inLen);
    *outLen = toldLength(chars, wrap);
    if (out == nullptr)
        return 0;

    Block copy;
    if (overlap(in, inLen, out, writtenLength(chars, wrap))) {
        copy = takeBlock(inLen);
        if (copy == nullptr)
            return token::kOutOfMemory;
        in = static_cast<const char*>(std::memcpy(copy.get(), in, static_cast<std::size_t>(inLen)));
    }
    const std::unique_ptr<EncoderState> state(encodeini());
    if (state == nullptr)
        return token::kOutOfMemory;
    for (; wrap && inLen >= kLineBytes; in += kLineBytes, inLen -= kLineBytes) {
        out = encodeupdate(*state, in, kLineBytes, out);
        *out++ = '\n';
    }
    const char* const line = out;
    out = encodefinish(*state, encodeupdate(*state, in, inLen, out));
    if (wrap && out - line == kLineChars)
        *out++ = '\n';
    if (wrap)
        *out = '\n';
    return 0;
}

int VT_Base64::Encode(const MiByte& in, MiByte& out, bool wrap) {
    if (in.GetLength() > static_cast<unsigned int>(kMostInput))
        return token::kOutOfMemory;
    const int inLen = static_cast<int>(in.GetLength());
    const Block text = takeBlock(writtenLength(charsFor(inLen), wrap));
    if (text == nullptr)
        return token::kOutOfMemory;
    int length = 0;
    if (const int result = Encode(in.GetChars(), inLen, text.get(), &length, wrap); result != 0)
        return result;
    out.SetByte(text.get(), static_cast<unsigned int>(length));
    return 0;
}

// Decoding

VT_Base64::DecoderState* VT_Base64::decodeini() {
    return new (std::nothrow) DecoderState();
}

char* VT_Base64::decodeupdate(DecoderState& state, const char* in, int inLen, char* out) {
    const std::uint8_t* next = bytesAt(in);
    const std::uint8_t* const end = next + inLen;
    while (next != end) {
        if (state.count == 0) {
            const pki::Base64Progress at = pki::base64Kernel().decode(next, end, reinterpret_cast<std::uint8_t*>(out));
            next = at.next;
            out = reinterpret_cast<char*>(at.out);
            if (next == end)
                break;
        }
        const std::uint8_t value = kBase64Values[*next++];
        if (value == kBase64Foreign)
            continue;
        if (state.count < 3) {
            state.values[state.count++] = value;
            continue;
        }
        out = decodeGroup({state.values[0], state.values[1], state.values[2], value}, out);
        state.count = 0;
    }
    return out;
}

int VT_Base64::decodefinish(const DecoderState& state, int length) {
    return state.count == 0 ? length : 0;
}

int VT_Base64::Decode(const char* in, int inLen, char* out, int* outLen) {
    if (badInput(in, inLen, outLen))
        return token::kNullArgument;
    if (out == nullptr) {
        *outLen = inLen;
        return 0;
    }
    const std::unique_ptr<DecoderState> state(decodeini());
    if (state == nullptr)
        return token::kOutOfMemory;
    const char* const end = decodeupdate(*state, in, inLen, out);
    *outLen = decodefinish(*state, static_cast<int>(end - out));
    return 0;
}

int VT_Base64::Decode(const MiByte& in, MiByte& out) {
    if (in.GetLength() > static_cast<unsigned int>(INT_MAX))
        return token::kOutOfMemory;
    const int inLen = static_cast<int>(in.GetLength());
    const Block bytes = takeBlock(inLen);
    if (bytes == nullptr)
        return token::kOutOfMemory;
    int length = 0;
    if (const int result = Decode(in.GetChars(), inLen, bytes.get(), &length); result != 0)
        return result;
    out.SetByte(bytes.get(), static_cast<unsigned int>(length));
    return 0;
}
