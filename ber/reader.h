#ifndef VT_BER_READER_H
#define VT_BER_READER_H

#include <cstdint>

struct BerReader {
    std::int32_t fd;
    std::uint8_t* buffer;
    std::int32_t capacity;
    std::int32_t position;
    std::int32_t end;
};

BerReader* BerReaderCreate(const std::uint8_t* bytes, std::int32_t length);
void BerReaderFree(BerReader* reader);
int BerReaderScanf(BerReader* reader, const char* format, ...);

#endif
