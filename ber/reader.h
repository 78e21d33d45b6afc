// BerReader: a BER value walked by format strings, in the manner of scanf.
//
// The reader is positional: no tag is checked. A letter says only what to do with the next element, and an element of
// another kind is read just the same. Callers rely on that: "B" on an INTEGER whose first content byte is 0, as every
// modulus with its top bit set has, gives the magnitude as bits.
//
//     format letter  arguments                                 what is done with the next element
//     { [ ( n        -                                         its header is read: what follows is its content
//     } ] )          -                                         nothing at all; they close the brackets for the eye
//     i e            std::int32_t* value                       signed integer of 0 to 4 content bytes
//     b              std::uint8_t* value                       one content byte, which must be 00 or FF
//     o 6            std::uint8_t** bytes, std::int32_t* n     the content, with a NUL behind it
//     a              char** text                               the content, with a NUL behind it
//     g u            char* text                                the content and a NUL, into the caller's own buffer
//     B              std::uint8_t** bytes, std::int32_t* bits  bit string
//     I              char** text, std::int32_t* n              the content as 2L upper-case hex digits, NUL-terminated
//     O              std::int32_t** arcs, std::int32_t* n      object identifier of 2 to 50 arcs
//     t              std::int32_t* tag, std::uint8_t* class    tag number and class bits (E0) of the next identifier,
//                                                              which is left where it is
//     x              -                                         the content is skipped
//     $              std::uint8_t** bytes, std::int32_t* n     the whole element, header and all
//
// All pointers must be valid; L is the element's length.
//
//   g u  write exactly L + 1 bytes, and L is whatever the input says: the buffer must hold the whole input and a NUL.
//   b    reads one byte whatever L is; any further content stays in the input.
//   B    the first content byte u is the number of unused bits, at most 8; the bytes behind it are stored, the last one
//        masked with FF << u, and bits is 8 (L - 1) - u:
//            03 03 04 FF FF   12 bits   FF F0
//            02 03 00 AB CD   16 bits   AB CD      an INTEGER read by the same rule
//   O    the first two arcs are b / 40 and b mod 40 of the first byte, which must be below 120.
//
// Identifiers have at most five bytes behind the first and a tag number below 2^31; lengths at most four bytes behind
// the first and a value below 2^31. The indefinite form (80) reads as length 0.
//
// Encodings: X.690.
#ifndef VT_BER_READER_H
#define VT_BER_READER_H

#include <cstdarg>
#include <cstdint>

struct BerReader {
    std::int32_t fd;        // -1: the reader is over memory, and there is no other kind
    std::uint8_t* buffer;   // the reader's copy of the input
    std::int32_t capacity;  // bytes in buffer, at least 1
    std::int32_t position;  // offset of the next byte to read: all that is kept from call to call
    std::int32_t end;       // offset just past the last byte
};

// BerReaderCreate makes a reader over a copy of length bytes, which the caller frees with BerReaderFree. Null for null
// bytes, a negative length or exhausted memory. Length 0 is valid.
BerReader* BerReaderCreate(const std::uint8_t* bytes, std::int32_t length);

// BerReaderFree frees the reader and its copy. Null is accepted.
void BerReaderFree(BerReader* reader);

// BerReaderScanf walks the format. It returns
//
//      0   at the end of the format
//     -1   for a failure: input that ends early, a value that a letter refuses, a letter outside the table (which is
//          refused after the header of its element was read), exhausted memory, a null reader, buffer or format
//     -2   where the input ended cleanly at the start of an element
//
// What it allocates is the caller's, to be freed with free, also after a failure: start with null pointers and free
// those that are not null. A pointer is stored as soon as its buffer exists, its length only when the element is read.
// Nothing is allocated for an element that claims more content than the input has left.
int BerReaderScanf(BerReader* reader, const char* format, ...);

// BerReaderVscanf is BerReaderScanf over a list of the caller's, which it leaves indeterminate as vscanf does.
int BerReaderVscanf(BerReader* reader, const char* format, std::va_list arguments);

#endif
