// Every class of the schema over any bytes. The input: a byte that selects the class, and what is decoded into it.
#include <algorithm>
#include <iostream>
#include <memory>
#include <streambuf>

#include "asn/asn.h"
#include "foundation/foundation.h"
#include "fuzz/target.h"
#include "schema/registry.h"

namespace {

using Value = std::unique_ptr<AsnObject>;

class Nowhere : public std::streambuf {
  protected:
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

Value valueOf(std::uint8_t choice) {
    unsigned int count = 0;
    const AsnSchemaType* types = AsnSchemaTypes(count);
    return Value(types[choice % count].make());
}

MiByte bytesOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), static_cast<unsigned int>(size)};
}

// Whether the input was accepted. Nothing but the exceptions of the library may come out.
bool decodes(AsnObject& value, const MiByte& input) {
    try {
        FUZZ_ASSERT(value.DerDecode(input, 0) <= input.GetLength());
        return true;
    } catch (const MiException&) {
        return false;
    }
}

// What was read need not be fit to be written: members may be missing from an empty sequence, arcs from an identifier.
bool encodes(const AsnObject& value, MiByteBuffer& out) {
    try {
        FUZZ_ASSERT(value.DerEncode(out, 0) == out.GetLength());
        return true;
    } catch (const MiException&) {
        return false;
    }
}

fuzz::Bytes sorted(const MiByteBuffer& bytes) {
    fuzz::Bytes all(bytes.GetChars(), bytes.GetChars() + bytes.GetLength());
    std::sort(all.begin(), all.end());
    return all;
}

void print(const AsnObject& value) {
    Nowhere nowhere;
    std::ostream os(&nowhere);
    std::streambuf* const standard = std::cout.rdbuf(&nowhere);
    value.ToOstream(os, 0);
    std::cout.rdbuf(standard);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1 || size > 8192)
        return 0;
    const Value value = valueOf(data[0]);
    const MiByte input = bytesOf(data + 1, size - 1);
    const bool accepted = decodes(*value, input);
    print(*value);
    const Value clone(value->Clone());
    (void)value->EqualsContent(clone.get());  // either way: sets with repeated items differ even from their copies
    if (!accepted)
        return 0;

    // Decoding into a used value gives what decoding into a fresh one does.
    const Value used = valueOf(data[0]);
    used->Reset(value.get());
    FUZZ_ASSERT(decodes(*used, input));

    MiByteBuffer written;
    MiByteBuffer again;
    const bool writable = encodes(*value, written);
    FUZZ_ASSERT(encodes(*clone, again) == writable && (!writable || again == written));
    FUZZ_ASSERT(encodes(*used, again) == writable && (!writable || again == written));
    if (!writable)
        return 0;

    // What was written reads back to its end, and is of the same bytes when it is written again; their order may
    // change, where an ASCII character of UTF-8 overtakes another.
    const Value second = valueOf(data[0]);
    FUZZ_ASSERT(second->DerDecode(written.GetByte(), 0) == written.GetLength());
    FUZZ_ASSERT(encodes(*second, again) && sorted(again) == sorted(written));
    return 0;
}
