// Digested messages, as openssl makes them and changed at will.
#include "fuzz/envelopes.h"

namespace {

fuzz::Reading read(fuzz::Bytes message) {
    return fuzz::reading([&](PKCS_Blob* data) {
        const PKCS_Blob blob = fuzz::blobOf(message);
        return PKCS7_ReadDigestedDataMsg(fuzz::context(), &blob, data);
    });
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 16384)
        return 0;
    fuzz::Bytes message(data, data + size);
    fuzz::Reading first = read(message);
    FUZZ_ASSERT(first == read(message));
    if (first.code != 0 || !fuzz::isRaw(first.data))
        return 0;
    // What was read is written, and reads the same.
    const PKCS_Alg sha1 = {1, nullptr, 0, 0};
    const fuzz::Reading written = fuzz::reading([&](PKCS_Blob* out) {
        const PKCS_Blob blob = fuzz::blobOf(first.data);
        return PKCS7_WriteDigestedDataMsg(fuzz::context(), &blob, &sha1, out);
    });
    FUZZ_ASSERT(written.code == 0 && read(written.data) == first);
    return 0;
}
