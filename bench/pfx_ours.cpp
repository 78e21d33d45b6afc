#include <cstdlib>
#include <memory>

#include "bench/pfx_peers.h"
#include "pki/flat/flat.h"

namespace bench {
namespace {

void check(std::int32_t code) {
    if (code != 0)
        std::abort();
}

PKCS_Blob blob(const void* bytes, std::size_t length) {
    return {static_cast<std::uint8_t*>(const_cast<void*>(bytes)), static_cast<std::uint32_t>(length)};
}

struct DestroyContext {
    void operator()(PKCS_Ctx* context) const { PKCS_DestroyCtx(&context); }
};

std::size_t open(PKCS_Ctx* context, const Bytes& file, const std::string& password) {
    const PKCS_Blob pfx = blob(file.data(), file.size());
    const PKCS_Blob secret = blob(password.data(), password.size());
    PKCS_PriKey key = {};
    PKCS_Blob certificate = {};
    VT_List* all = nullptr;
    check(VT_CreateList(&all));
    check(VT_GetCertAndPrivateKeyFromPFX(context, &pfx, &secret, 0, &key, &certificate, all));
    std::uint32_t total = 0;
    check(VT_GetListNodeTotal(all, &total));
    VT_DestroyList(&all);
    PKCS_FreePriKey(&key);
    T_free(certificate.data);
    return total;
}

}  // namespace

PfxPeer ourPfx() {
    PKCS_Ctx* made = nullptr;
    check(PKCS_CreateCtx(&made, nullptr));
    const std::shared_ptr<PKCS_Ctx> context(made, DestroyContext());
    return {"ours",
            [context](const Bytes& file, const std::string& password) { return open(context.get(), file, password); }};
}

}  // namespace bench
