// BerWriter: one DER value built from format strings and argument lists, in the manner of printf.
//
//     format letter  arguments                                    default tag   what is written
//     t              std::int32_t tag                             -             nothing; the next element has this tag
//     T              std::int32_t tag, int classByte              -             nothing; it has this tag and class
//     {              -                                            16 SEQUENCE   an element is opened
//     [              -                                            17 SET        an element is opened
//     (              std::int32_t tag                             -             an element of that tag is opened
//     } ]            -                                            -             the innermost is closed, as constructed
//     )              -                                            -             the same, as context-specific too
//     i              std::int32_t value                           2             INTEGER, the shortest form
//     e              std::int32_t value                           10            ENUMERATED, the shortest form
//     b              int value                                    1             BOOLEAN, FF unless value is 0
//     n              -                                            5             NULL
//     o              const std::uint8_t* bytes, std::int32_t n    4             OCTET STRING
//     B              const std::uint8_t* bytes, std::int32_t bits 3             BIT STRING, unused bits zeroed
//     I              const char* hex, std::int32_t n              2             INTEGER of the bytes the digits spell
//     O              const std::int32_t* arcs, std::int32_t n     6             OBJECT IDENTIFIER
//     a              const std::uint8_t* bytes, std::int32_t n    22            IA5String
//     P              const std::uint8_t* bytes, std::int32_t n    19            PrintableString
//     6 M            const std::uint8_t* bytes, std::int32_t n    20            T61String
//     U              const std::uint8_t* bytes, std::int32_t n    28            UniversalString
//     m              const std::uint8_t* bytes, std::int32_t n    30            BMPString
//     u              const char* text                             23            UTCTime, the text without its NUL
//     g              const char* text                             24            GeneralizedTime, likewise
//     A              const std::uint8_t* bytes, std::int32_t n    -             the bytes as they stand, no header
//
// An std::int32_t travels through the argument list as the int it is; classByte is an int of which the low eight bits
// count. Byte pointers may be of any object type (a char array does). A null pointer goes with the length 0 only.
// Lengths are in bytes unless the table says bits or arcs. The arguments must not lie in the writer's own buffer.
//
//   t, T   act on exactly one following element. "(" takes the class of a waiting "T" and leaves its tag aside. A tag
//          set by the last letter of a call waits for the next call, its class does not.
//   class  the bits 80 40 of an identifier and the constructed bit 20: "T" with 0xA0, then "{...}", is [n] constructed.
//          What the closing letter adds is or-ed to it.
//   B      the last byte is masked, so "B" of 12 bits and FF FF is 03 03 04 FF F0; of 0 bits 03 01 00.
//   I      n is the text's own length, at most 256 digits of either case. No sign byte is added and no leading zero
//          dropped: "010001" is 02 03 01 00 01. Of an odd count the first digit stands alone in the first byte.
//   O      2 to 50 arcs, none negative, the first at most 2 and the second at most 39.
//
// An open element has its content written where it stays unless the header turns out shorter than was reserved:
//
//     buffer   | parent's content | reserve: identifier + 6 | content ...
//                                 ^ parent's position       ^ start       ^ cursor
//     closed   | parent's content | identifier length | content ... |
//                                                                   ^ parent's position
//
// Encodings: X.690, with definite and minimal lengths throughout.
#ifndef VT_BER_WRITER_H
#define VT_BER_WRITER_H

#include <cstdarg>
#include <cstdint>

// An element that is opened and not yet closed. The last of the list is the innermost.
struct BerOpenElement {
    std::int32_t tag;        // number
    std::uint8_t classBits;  // as given at opening; the closing letter adds its own
    std::int32_t start;      // offset in the buffer of the first content byte
    std::int32_t cursor;     // offset of the next one
    BerOpenElement* next;    // the element inside this one, or null
};

// buffer and used are the finished value once every element is closed; callers read them directly. The buffer is the
// writer's and moves when it grows.
struct BerWriter {
    std::int32_t tagPending;       // 1 only inside a call, between "t" or "T" and the end of its step
    std::int32_t pendingTag;       // the waiting tag, -1 for none
    std::uint8_t* buffer;          // the value, owned
    std::int32_t used;             // bytes of it
    std::int32_t capacity;         // bytes in buffer; grows by 8192 at a time
    BerOpenElement* openElements;  // the outermost, or null
};

// BerWriterCreate makes an empty writer, which the caller frees with BerWriterFree. Null when memory is exhausted.
BerWriter* BerWriterCreate();

// BerWriterFree frees the writer with its buffer and what is still open. Null is accepted.
void BerWriterFree(BerWriter* writer);

// BerWriterPrintf appends what the format says. Elements may be opened in one call and closed in a later one.
//
// It returns the number of bytes written, headers of elements counted when they are closed, or -1 for any failure: a
// letter outside the table, an argument outside the bounds above, a negative tag or length, a closing letter with
// nothing open, a value beyond 2^31 - 1 bytes, exhausted memory, a null writer or format. The step that fails writes
// nothing; what the ones before it wrote stays, what was open stays open, except an element whose closing fails, and a
// tag that was meant for the failed step waits for the next one.
int BerWriterPrintf(BerWriter* writer, const char* format, ...);

// BerWriterVprintf is BerWriterPrintf over a list of the caller's, which it leaves indeterminate as vprintf does.
int BerWriterVprintf(BerWriter* writer, const char* format, std::va_list arguments);

#endif
