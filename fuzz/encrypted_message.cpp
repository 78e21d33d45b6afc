// Encrypted messages, as openssl makes them and changed at will, under a key of some length.
#include "fuzz/envelopes.h"

namespace {

fuzz::Reading read(fuzz::Bytes message, fuzz::Bytes key) {
    return fuzz::reading([&](PKCS_Blob* data) {
        const PKCS_Blob blob = fuzz::blobOf(message);
        const PKCS_Blob keyBlob = fuzz::blobOf(key);
        return PKCS7_ReadEncryptedDataMsg(fuzz::context(), &blob, &keyBlob, data);
    });
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2 || size > 16384)
        return 0;
    // The keys of the seeds: 0, 1, 2 ... or, with the top bit, 1, 2, 3 ...
    fuzz::Source source(data, size);
    const std::uint8_t form = source.byte();
    fuzz::Bytes key(form & 31);
    for (std::size_t i = 0; i < key.size(); ++i)
        key[i] = static_cast<std::uint8_t>(i + (form >> 7));
    const fuzz::Bytes message = source.rest();

    fuzz::Reading first = read(message, key);
    FUZZ_ASSERT(first == read(message, key));
    if (first.code != 0 || !fuzz::isRaw(first.data))
        return 0;
    // What was read is written, and reads the same.
    std::uint8_t iv[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    const PKCS_Alg rc2 = {6, iv, sizeof iv, 64};
    fuzz::Bytes secret(8, 0x5A);
    const PKCS_Key secretKey = {secret.data(), 8, 8};
    const fuzz::Reading written = fuzz::reading([&](PKCS_Blob* out) {
        const PKCS_Blob blob = fuzz::blobOf(first.data);
        return PKCS7_WriteEncryptedDataMsg(fuzz::context(), &blob, &rc2, &secretKey, out);
    });
    FUZZ_ASSERT(written.code == 0 && read(written.data, secret) == first);
    return 0;
}
