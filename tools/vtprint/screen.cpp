#include "tools/vtprint/screen.h"

#include <cstdio>

namespace vtprint {

namespace {

constexpr unsigned char kLead = 0xC2;

bool isControl(unsigned char byte) {
    return (byte < 0x20 && byte != '\n') || byte == 0x7F;
}

}  // namespace

Screen::~Screen() {
    if (afterC2)
        behind->sputc(static_cast<char>(kLead));
    stream.rdbuf(behind);
}

Screen::int_type Screen::overflow(int_type character) {
    if (traits_type::eq_int_type(character, traits_type::eof()))
        return traits_type::not_eof(character);
    const auto byte = static_cast<unsigned char>(traits_type::to_char_type(character));
    if (afterC2) {
        afterC2 = false;
        const bool control = byte >= 0x80 && byte < 0xA0;
        if (control)
            return putEscaped(kLead) && putEscaped(byte) ? character : traits_type::eof();
        if (!put(kLead))
            return traits_type::eof();
    }
    if (byte == kLead) {
        afterC2 = true;
        return character;
    }
    return (isControl(byte) ? putEscaped(byte) : put(byte)) ? character : traits_type::eof();
}

bool Screen::put(unsigned char byte) {
    return !traits_type::eq_int_type(behind->sputc(static_cast<char>(byte)), traits_type::eof());
}

bool Screen::putEscaped(unsigned char byte) {
    char text[5];
    const int length = std::snprintf(text, sizeof text, "\\x%02X", byte);
    return behind->sputn(text, length) == length;
}

}  // namespace vtprint
