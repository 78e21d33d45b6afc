#include <new>

#include "pki/flat/flat.h"
#include "pki/flat/message.h"
#include "token/module.h"
#include "token/op.h"

namespace {

constexpr const char kVersion[] = "VTF4C 0.99(beta) Build20030320, the PKI toolkit of Vemtrel CertEnroll";

void destroy(PKCS_Ctx* ctx) {
    // An operation object leaves its chooser to its user.
    if (ctx->operation != nullptr && ctx->chooserCreated != 0)
        ctx->operation->destroyChooser();
    delete ctx->operation;
    T_free(ctx);
}

int32_t createOperation(PKCS_Ctx& ctx, const PKCS_Settings* settings) {
    ctx.operation = new (std::nothrow) VT_P11_OP;
    if (ctx.operation == nullptr)
        return VT_E_MEMORY;
    const PKCS_Settings given = settings != nullptr ? *settings : PKCS_Settings{};
    VT_P11_SELECTION selection = {given.first, given.text1, given.length1, given.text2, given.length2};
    const int32_t result = ctx.operation->createChooser(&selection);
    // Also of one that failed halfway.
    ctx.chooserCreated = 1;
    return result;
}

}  // namespace

const char* PKCS_GetVersion(void) {
    return kVersion;
}

int32_t PKCS_Initialize(const char* module, const char* label, const char* pin) {
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] { return int32_t{TokenModuleLoad(module, label, pin)}; });
}

int32_t PKCS_Finalize(void) {
    return flat::guarded(VT_E_NULL_ARGUMENT, [] { return int32_t{TokenModuleUnload()}; });
}

int32_t PKCS_CreateCtx(PKCS_Ctx** ctx, const PKCS_Settings* settings) {
    if (ctx == nullptr)
        return VT_E_NULL_ARGUMENT;
    *ctx = static_cast<PKCS_Ctx*>(T_malloc(sizeof(PKCS_Ctx)));
    if (*ctx == nullptr)
        return VT_E_MEMORY;
    const int32_t result = flat::guarded(VT_E_NULL_ARGUMENT, [&] { return createOperation(**ctx, settings); });
    if (result != 0)
        PKCS_DestroyCtx(ctx);
    return result;
}

int32_t PKCS_DestroyCtx(PKCS_Ctx** ctx) {
    if (ctx == nullptr || *ctx == nullptr)
        return 0;
    destroy(*ctx);
    *ctx = nullptr;
    return 0;
}
