// Enveloped messages, as openssl makes them and changed at will.
#include "fuzz/envelopes.h"

namespace {

fuzz::Reading read(fuzz::Bytes message) {
    return fuzz::reading([&](PKCS_Blob* data) {
        const PKCS_Blob blob = fuzz::blobOf(message);
        return PKCS7_ReadEnvelopedDataMsg(fuzz::context(), &blob, PKCS7_ATTACHED, &fuzz::recipientKey(), nullptr, data);
    });
}

// A detached reading leaves its output alone, whatever comes of it.
void readDetached(fuzz::Bytes message) {
    const PKCS_Blob blob = fuzz::blobOf(message);
    fuzz::Bytes ciphertext(24, 1);
    const PKCS_Blob apart = fuzz::blobOf(ciphertext);
    PKCS_Blob data = {nullptr, 7};
    FUZZ_ASSERT(fuzz::isTold(
        PKCS7_ReadEnvelopedDataMsg(fuzz::context(), &blob, PKCS7_DETACHED, &fuzz::recipientKey(), &apart, &data)));
    FUZZ_ASSERT(data.data == nullptr && data.length == 7);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 16384)
        return 0;
    const fuzz::Bytes message(data, data + size);
    fuzz::Reading first = read(message);
    FUZZ_ASSERT(first == read(message));
    readDetached(message);
    if (first.code != 0 || !fuzz::isRaw(first.data))
        return 0;
    // What was read is written for the same recipient, who reads the same.
    std::uint8_t iv[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    const PKCS_Alg des3 = {5, iv, sizeof iv, 192};
    const PKCS_Alg rsa = {8, nullptr, 0, 0};
    fuzz::Bytes certificate = fuzz::hex(vectors::kRecipientCertificate);
    const fuzz::Reading written = fuzz::reading([&](PKCS_Blob* out) {
        const PKCS_Blob blob = fuzz::blobOf(first.data);
        const PKCS_Blob certificateBlob = fuzz::blobOf(certificate);
        return PKCS7_WriteEnvelopedDataMsg(fuzz::context(), &blob, &des3, &rsa, PKCS7_ATTACHED, &certificateBlob,
                                           nullptr, out);
    });
    FUZZ_ASSERT(written.code == 0 && read(written.data) == first);
    return 0;
}
