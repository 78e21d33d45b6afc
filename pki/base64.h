// VT_Base64: the base64 codec (RFC 4648) of every function that takes or gives text.
//
// The decoder is forgiving: it reads what mail, files and web forms make of a text. Lengths are in bytes.
#ifndef VT_PKI_BASE64_H
#define VT_PKI_BASE64_H

#include <cstdint>

#include "foundation/export.h"

class MiByte;

class VT_API VT_Base64 {
  public:
    // The text of inLen bytes. Its n characters have no line breaks, or with wrap a line feed after each 64th and one
    // more at the very end. outLen receives n, or with wrap n + (n - 1) / 64 + 1, which is 1 for an empty input. With a
    // null out that is all.
    //
    // With wrap and n a multiple of 64 other than 0, two line feeds stand at the end, and the second of them is one
    // byte more than outLen tells: out needs room for it. Callers depend on the told length.
    //
    // No zero is written behind the text. in and out may overlap. -1010 for a null outLen, a negative length or a null
    // in that has one; -1031 if memory is exhausted or the text is too long for an int.
    static int Encode(const char* in, int inLen, char* out, int* outLen, bool wrap);

    // The same text, as many bytes of it as the form above reports. -1031 as above.
    static int Encode(const MiByte& in, MiByte& out, bool wrap);

    // The bytes of a text. With a null out, outLen receives inLen, which they never exceed; else their number.
    //
    // Every byte outside the alphabet and "=" is skipped. The others count in groups of four: "=" in the last place, or
    // the last two, gives two bytes or one, and reading goes on behind it, so that texts may follow each other; a group
    // with "=" anywhere else gives nothing. If one to three characters are left at the end, outLen is 0: a truncated
    // text reads as empty, though what was decoded is in out.
    //
    // Nothing is written behind what is decoded. in and out may be the same. -1010 for a null outLen, a negative length
    // or a null in that has one, -1031 if memory is exhausted.
    static int Decode(const char* in, int inLen, char* out, int* outLen);

    // The same. -1031 if memory is exhausted.
    static int Decode(const MiByte& in, MiByte& out);

  private:
    // What is carried from one piece of the input to the next.
    struct EncoderState {
        std::uint32_t count;     // bytes pending, 0 to 2
        unsigned char bytes[2];  // of them
        std::uint32_t column;    // in a line of 76 characters, from 1; lines are not broken by it
    };
    struct DecoderState {
        std::uint32_t count;      // characters pending, 0 to 3
        unsigned char values[3];  // of them, 0 to 64
    };

    static EncoderState* encodeini();
    static char* encodeupdate(EncoderState& state, const char* in, int inLen, char* out);
    static char* encodefinish(EncoderState& state, char* out);
    static DecoderState* decodeini();
    static char* decodeupdate(DecoderState& state, const char* in, int inLen, char* out);
    static int decodefinish(const DecoderState& state, int length);
};

#endif
