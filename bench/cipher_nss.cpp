// NSS by its public interface: operations of its software token, which has neither RC5 nor MD2 any more.
#include <nss.h>
#include <pk11pub.h>

#include <cstdlib>

#include "bench/cipher_peers.h"

namespace bench {
namespace {

SECItem itemOf(const Bytes& bytes) {
    return {siBuffer, const_cast<unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size())};
}

// The parameter of a mechanism, which RC2 alone wants as a record.
SECItem* parameterOf(CK_MECHANISM_TYPE mechanism, const Job& job, CK_RC2_CBC_PARAMS& rc2, SECItem& item) {
    if (job.iv.empty())
        return nullptr;
    item = itemOf(job.iv);
    if (mechanism == CKM_RC2_CBC) {
        rc2.ulEffectiveBits = job.number;
        std::copy(job.iv.begin(), job.iv.end(), rc2.iv);
        item = {siBuffer, reinterpret_cast<unsigned char*>(&rc2), sizeof rc2};
    }
    return &item;
}

Run cipher(CK_MECHANISM_TYPE mechanism) {
    PK11SlotInfo* const slot = PK11_GetInternalSlot();
    return [=](const Job& job, const Bytes& in, Bytes& out) {
        SECItem keyItem = itemOf(job.key);
        CK_RC2_CBC_PARAMS rc2{};
        SECItem item;
        SECItem* const parameter = parameterOf(mechanism, job, rc2, item);
        SECItem none = {siBuffer, nullptr, 0};
        const CK_ATTRIBUTE_TYPE operation = job.encrypting ? CKA_ENCRYPT : CKA_DECRYPT;
        PK11SymKey* const key = PK11_ImportSymKey(slot, mechanism, PK11_OriginUnwrap, operation, &keyItem, nullptr);
        PK11Context* const context =
            PK11_CreateContextBySymKey(mechanism, operation, key, parameter != nullptr ? parameter : &none);
        int length = 0;
        PK11_CipherOp(context, out.data(), &length, static_cast<int>(out.size()), in.data(),
                      static_cast<int>(in.size()));
        PK11_DestroyContext(context, PR_TRUE);
        PK11_FreeSymKey(key);
    };
}

Run digest(SECOidTag algorithm) {
    PK11Context* const context = PK11_CreateDigestContext(algorithm);
    return [=](const Job& /*job*/, const Bytes& in, Bytes& out) {
        unsigned length = 0;
        PK11_DigestBegin(context);
        PK11_DigestOp(context, in.data(), static_cast<unsigned>(in.size()));
        PK11_DigestFinal(context, out.data(), &length, static_cast<unsigned>(out.size()));
    };
}

}  // namespace

std::vector<Peer> nssPeers() {
    if (NSS_NoDB_Init(nullptr) != SECSuccess)
        std::abort();
    return {{"DES-CBC", "NSS", cipher(CKM_DES_CBC)}, {"3DES-CBC", "NSS", cipher(CKM_DES3_CBC)},
            {"RC2-CBC", "NSS", cipher(CKM_RC2_CBC)}, {"RC4", "NSS", cipher(CKM_RC4)},
            {"MD5", "NSS", digest(SEC_OID_MD5)},     {"SHA-1", "NSS", digest(SEC_OID_SHA1)}};
}

}  // namespace bench
