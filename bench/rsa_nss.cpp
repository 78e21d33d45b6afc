// NSS by its public interface, on its software token. It blinds the private operation and checks its result.
#include <keyhi.h>
#include <nss.h>
#include <pk11pub.h>

#include <cstdlib>
#include <memory>

#include "bench/rsa_peers.h"

namespace bench {
namespace {

std::shared_ptr<SECKEYPrivateKey> load(const RsaNumbers& key) {
    Bytes der = privateKeyInfoDer(key);
    SECItem item = {siBuffer, der.data(), static_cast<unsigned>(der.size())};
    SECKEYPrivateKey* made = nullptr;
    PK11SlotInfo* slot = PK11_GetInternalSlot();
    const SECStatus status = PK11_ImportDERPrivateKeyInfoAndReturnKey(slot, &item, nullptr, nullptr, PR_FALSE, PR_TRUE,
                                                                      KU_ALL, &made, nullptr);
    PK11_FreeSlot(slot);
    if (status != SECSuccess)
        std::abort();
    return {made, SECKEY_DestroyPrivateKey};
}

RsaRun publicOp(const RsaNumbers& numbers) {
    const std::shared_ptr<SECKEYPublicKey> key(SECKEY_ConvertToPublicKey(load(numbers).get()), SECKEY_DestroyPublicKey);
    return [key](const Bytes& in, Bytes& out) {
        PK11_PubEncryptRaw(key.get(), out.data(), in.data(), static_cast<unsigned>(in.size()), nullptr);
    };
}

RsaRun privateOp(const RsaNumbers& numbers) {
    return [key = load(numbers)](const Bytes& in, Bytes& out) {
        unsigned length = 0;
        PK11_PrivDecryptRaw(key.get(), out.data(), &length, static_cast<unsigned>(out.size()), in.data(),
                            static_cast<unsigned>(in.size()));
    };
}

void generate(int bits) {
    PK11SlotInfo* slot = PK11_GetInternalSlot();
    PK11RSAGenParams parameters = {bits, 65537};
    SECKEYPublicKey* publicKey = nullptr;
    SECKEYPrivateKey* privateKey =
        PK11_GenerateKeyPair(slot, CKM_RSA_PKCS_KEY_PAIR_GEN, &parameters, &publicKey, PR_FALSE, PR_FALSE, nullptr);
    if (privateKey == nullptr)
        std::abort();
    SECKEY_DestroyPrivateKey(privateKey);
    SECKEY_DestroyPublicKey(publicKey);
    PK11_FreeSlot(slot);
}

}  // namespace

std::vector<RsaPeer> nssRsa() {
    if (!NSS_IsInitialized() && NSS_NoDB_Init(nullptr) != SECSuccess)
        std::abort();
    return {{"NSS", publicOp, privateOp, generate, 1024}};
}

}  // namespace bench
