#include "platform/crypto_api.h"

namespace platform {

CryptoApi& replaceableCryptoApi() {
    static CryptoApi table = {};
    return table;
}

const CryptoApi& capi() { return replaceableCryptoApi(); }

}  // namespace platform
