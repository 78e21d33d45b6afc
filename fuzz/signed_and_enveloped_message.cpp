// Signed and enveloped messages, changed at will.
#include "fuzz/envelopes.h"

namespace {

// The numbers of nodes that the two lists received.
struct Totals {
    std::uint32_t certificates = 0;
    std::uint32_t lists = 0;

    bool operator==(const Totals& other) const { return certificates == other.certificates && lists == other.lists; }
};

fuzz::Reading read(fuzz::Bytes message, Totals& totals) {
    VT_List* certificates = nullptr;
    VT_List* lists = nullptr;
    FUZZ_ASSERT(VT_CreateList(&certificates) == 0 && VT_CreateList(&lists) == 0);
    fuzz::Reading result = fuzz::reading([&](PKCS_Blob* data) {
        const PKCS_Blob blob = fuzz::blobOf(message);
        return PKCS7_ReadSignedAndEnvelopedDataMsg(fuzz::context(), &blob, PKCS7_ATTACHED, &fuzz::recipientKey(),
                                                   nullptr, certificates, lists, data);
    });
    FUZZ_ASSERT(VT_GetListNodeTotal(certificates, &totals.certificates) == 0);
    FUZZ_ASSERT(VT_GetListNodeTotal(lists, &totals.lists) == 0);
    VT_DestroyList(&certificates);
    VT_DestroyList(&lists);
    return result;
}

// A detached reading takes the ciphertext from data and leaves it there.
void readDetached(fuzz::Bytes message) {
    const PKCS_Blob blob = fuzz::blobOf(message);
    fuzz::Bytes ciphertext(24, 1);
    PKCS_Blob data = fuzz::blobOf(ciphertext);
    FUZZ_ASSERT(fuzz::isTold(PKCS7_ReadSignedAndEnvelopedDataMsg(
        fuzz::context(), &blob, PKCS7_DETACHED, &fuzz::recipientKey(), nullptr, nullptr, nullptr, &data)));
    FUZZ_ASSERT(data.data == ciphertext.data() && data.length == 24 && ciphertext == fuzz::Bytes(24, 1));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 16384)
        return 0;
    const fuzz::Bytes message(data, data + size);
    Totals totals, again;
    const fuzz::Reading first = read(message, totals);
    FUZZ_ASSERT(first == read(message, again) && totals == again);
    // A signer is verified by a certificate of the message, or not at all.
    FUZZ_ASSERT(first.code != 0 || totals.certificates > 0);
    readDetached(message);
    return 0;
}
