#include <nss.h>
#include <p12.h>
#include <p12plcy.h>
#include <pk11pub.h>
#include <secoid.h>

#include <cstdlib>
#include <memory>

#include "bench/pfx_peers.h"

namespace bench {
namespace {

void check(SECStatus status) {
    if (status != SECSuccess)
        std::abort();
}

template <class T>
T present(T object) {
    if (!object)
        std::abort();
    return object;
}

struct ReleaseDecoder {
    void operator()(SEC_PKCS12DecoderContext* decoder) const { SEC_PKCS12DecoderFinish(decoder); }
};

// As the library wants it: characters of two bytes, and one of zero.
Bytes wide(const std::string& password) {
    Bytes text;
    for (const char character : password) {
        text.push_back(0);
        text.push_back(static_cast<std::uint8_t>(character));
    }
    text.insert(text.end(), 2, 0);
    return text;
}

std::size_t open(const Bytes& der, const std::string& password) {
    Bytes text = wide(password);
    SECItem secret = {siBuffer, text.data(), static_cast<unsigned>(text.size())};
    PK11SlotInfo* slot = present(PK11_GetInternalKeySlot());
    const std::unique_ptr<SEC_PKCS12DecoderContext, ReleaseDecoder> decoder(
        present(SEC_PKCS12DecoderStart(&secret, slot, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr)));
    check(SEC_PKCS12DecoderUpdate(decoder.get(), const_cast<unsigned char*>(der.data()), der.size()));
    check(SEC_PKCS12DecoderVerify(decoder.get()));
    check(SEC_PKCS12DecoderIterateInit(decoder.get()));
    const SEC_PKCS12DecoderItem* item = nullptr;
    std::size_t certificates = 0;
    while (SEC_PKCS12DecoderIterateNext(decoder.get(), &item) == SECSuccess && item != nullptr)
        certificates += item->type == SEC_OID_PKCS12_V1_CERT_BAG_ID ? 1 : 0;
    PK11_FreeSlot(slot);
    return certificates;
}

}  // namespace

PfxPeer nssPfx() {
    check(NSS_NoDB_Init(nullptr));
    SEC_PKCS12EnableCipher(PKCS12_RC2_CBC_40, 1);
    SEC_PKCS12EnableCipher(PKCS12_DES_EDE3_168, 1);
    return {"NSS", open};
}

}  // namespace bench
