// Signed messages, as openssl makes them and changed at will.
#include "asn/asn.h"
#include "foundation/foundation.h"
#include "fuzz/target.h"
#include "pki/flat/flat.h"
#include "pki/signed_data_content_info.h"
#include "schema/pkcs.h"

namespace {

// What one reading gives.
struct Reading {
    std::int32_t code = 0;
    fuzz::Bytes content;
    std::vector<fuzz::Bytes> certificates;
    std::vector<fuzz::Bytes> lists;

    bool operator==(const Reading& other) const {
        return code == other.code && content == other.content && certificates == other.certificates &&
               lists == other.lists;
    }
};

PKCS_Ctx* context() {
    static PKCS_Ctx* ctx = nullptr;
    if (ctx == nullptr)
        FUZZ_ASSERT(PKCS_CreateCtx(&ctx, nullptr) == 0);
    return ctx;
}

std::vector<fuzz::Bytes> itemsOf(VT_List* list) {
    std::vector<fuzz::Bytes> items;
    for (const VT_List* node = list->next; node != nullptr; node = node->next)
        items.emplace_back(node->data, node->data + node->length);
    VT_DestroyList(&list);
    return items;
}

bool isTold(std::int32_t code) {
    constexpr std::int32_t kCodes[] = {-1001, -1003, -1006, -1009, -1010, -1012, -1015,
                                       -1016, -1017, -1018, -1020, -1021, -1022, VT_E_MALFORMED};
    // Small ones are the engine's.
    return (code <= 0 && code > -1000) || std::find(std::begin(kCodes), std::end(kCodes), code) != std::end(kCodes);
}

Reading read(fuzz::Bytes message, std::int32_t mode) {
    Reading reading;
    VT_List* certificates = nullptr;
    VT_List* lists = nullptr;
    FUZZ_ASSERT(VT_CreateList(&certificates) == 0 && VT_CreateList(&lists) == 0);
    const PKCS_Blob blob = {message.data(), static_cast<std::uint32_t>(message.size())};
    std::uint8_t byte = 0;
    PKCS_Blob data = mode == PKCS7_DETACHED ? PKCS_Blob{&byte, 1} : PKCS_Blob{};
    reading.code = PKCS7_ReadSignedDataMsg(context(), &blob, mode, nullptr, certificates, lists, &data);
    FUZZ_ASSERT(isTold(reading.code));
    if (mode == PKCS7_ATTACHED) {
        FUZZ_ASSERT((reading.code == 0) == (data.data != nullptr));
        reading.content.assign(data.data, data.data + data.length);
        T_free(data.data);
    }
    reading.certificates = itemsOf(certificates);
    reading.lists = itemsOf(lists);
    return reading;
}

// A message put together anew from its parts; empty where it has several signers or certificates, whose order may
// change, and with it which of them is met first.
fuzz::Bytes putTogether(const fuzz::Bytes& message) {
    ContentInfo content;
    content.DerDecode(MiByte(reinterpret_cast<const char*>(message.data()), static_cast<unsigned int>(message.size())),
                      0);
    VT_SignedDataContentInfo parts;
    FUZZ_ASSERT(parts.decomposeSignedDataContentInfo(content) == 0);
    if (parts.getSignerInfoTotal() != 1 || parts.getCertificateTotal() != 1)
        return {};
    FUZZ_ASSERT(parts.composeSignedDataContentInfo(content) == 0);
    MiByteBuffer der;
    content.DerEncode(der, 0);
    return {der.GetChars(), der.GetChars() + der.GetLength()};
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 16384)
        return 0;
    const fuzz::Bytes message(data, data + size);
    const Reading attached = read(message, PKCS7_ATTACHED);
    FUZZ_ASSERT(attached == read(message, PKCS7_ATTACHED));
    (void)read(message, PKCS7_DETACHED);
    if (attached.code != 0)
        return 0;
    fuzz::Bytes again;
    try {
        again = putTogether(message);
    } catch (const MiException&) {
        return 0;  // what nobody looked at may be unfit to be written
    }
    if (again.empty())
        return 0;
    const Reading second = read(again, PKCS7_ATTACHED);
    FUZZ_ASSERT(second.code == 0 && second.content == attached.content);
    return 0;
}
