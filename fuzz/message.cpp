// Any bytes as a message and as data.
#include "fuzz/target.h"
#include "pki/flat/flat.h"

namespace {

// A context is for one caller at a time, and there is one.
PKCS_Ctx* context() {
    static PKCS_Ctx* ctx = nullptr;
    if (ctx == nullptr)
        FUZZ_ASSERT(PKCS_CreateCtx(&ctx, nullptr) == 0);
    return ctx;
}

void roundTrip(const PKCS_Blob& data) {
    PKCS_Blob message = {};
    PKCS_Blob back = {};
    FUZZ_ASSERT(PKCS7_WriteDataMsg(context(), &data, &message) == 0);
    FUZZ_ASSERT(PKCS7_GetMsgType(context(), &message) == PKCS7_DATA);
    FUZZ_ASSERT(PKCS7_ReadDataMsg(context(), &message, &back) == 0);
    FUZZ_ASSERT(back.length == data.length && std::equal(back.data, back.data + back.length, data.data));
    T_free(message.data);
    T_free(back.data);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 16384)
        return 0;
    fuzz::Bytes bytes(data, data + size);
    const PKCS_Blob input = {bytes.data(), static_cast<std::uint32_t>(size)};
    const std::int32_t type = PKCS7_GetMsgType(context(), &input);
    FUZZ_ASSERT((type >= PKCS7_UNKNOWN && type <= PKCS7_SIGNED_AND_ENVELOPED) || type == -1001);

    PKCS_Blob content = {};
    const std::int32_t result = PKCS7_ReadDataMsg(context(), &input, &content);
    FUZZ_ASSERT(result == 0 || result == -1001 || result == -1009 || result == VT_E_MALFORMED);
    FUZZ_ASSERT((result == 0) == (content.data != nullptr));
    FUZZ_ASSERT(result != 0 || type == PKCS7_DATA);
    FUZZ_ASSERT(type != PKCS7_DATA || result == 0 || result == -1001);
    if (result == 0)
        roundTrip(content);
    T_free(content.data);
    roundTrip(input);
    return 0;
}
