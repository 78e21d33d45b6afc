// engine: what only the archive has, the software engine and BER by format strings, in C++.
#include <cstdint>
#include <cstdio>

#include "ber/ber.h"
#include "crypto/crypto.h"

namespace {

void print(const char* name, const std::uint8_t* bytes, std::size_t count) {
    std::printf("%s: ", name);
    for (std::size_t i = 0; i < count; ++i)
        std::printf("%02X", static_cast<unsigned>(bytes[i]));
    std::printf("\n");
}

}  // namespace

int main() {
    const std::uint8_t text[] = {'a', 'b', 'c'};
    SHA1_CTX context;
    std::uint8_t digest[20];
    std::uint32_t length = 0;
    SHA1_Init(&context);
    SHA1_Update(&context, text, sizeof(text));
    SHA1_Final(&context, digest, &length);
    print("sha1", digest, length);

    BerWriter* writer = BerWriterCreate();
    if (writer == nullptr || BerWriterPrintf(writer, "{ib}", std::int32_t{5}, 1) < 0)
        return 1;
    print("ber", writer->buffer, static_cast<std::size_t>(writer->used));
    BerWriterFree(writer);
    return 0;
}
