#ifndef VT_BER_WRITER_H
#define VT_BER_WRITER_H

#include <cstdint>

struct BerOpenElement {
    std::int32_t tag;
    std::uint8_t classBits;
    std::int32_t start;
    std::int32_t cursor;
    BerOpenElement* next;
};

struct BerWriter {
    std::int32_t tagPending;
    std::int32_t pendingTag;
    std::uint8_t* buffer;
    std::int32_t used;
    std::int32_t capacity;
    BerOpenElement* openElements;
};

BerWriter* BerWriterCreate();
void BerWriterFree(BerWriter* writer);
int BerWriterPrintf(BerWriter* writer, const char* format, ...);

#endif
