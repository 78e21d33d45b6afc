#include "bench/pkcs10_peers.h"
#include "pki/flat/flat.h"

namespace bench {

bool weVerifyRequest(const Bytes& der) {
    static PKCS_Ctx* const context = [] {
        PKCS_Ctx* made = nullptr;
        PKCS_CreateCtx(&made, nullptr);
        return made;
    }();
    const PKCS_Blob blob = {const_cast<std::uint8_t*>(der.data()), static_cast<std::uint32_t>(der.size())};
    return VTPKCS_VerifyPKCS10(context, &blob) == 0;
}

}  // namespace bench
