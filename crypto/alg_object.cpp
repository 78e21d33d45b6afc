#include "crypto/alg_object.h"

#include <cstring>

#include "crypto/alloc_buffer.h"
#include "crypto/codes.h"
#include "crypto/des.h"
#include "crypto/des3.h"
#include "crypto/hash_chain_random.h"
#include "crypto/md2.h"
#include "crypto/md5.h"
#include "crypto/rc2.h"
#include "crypto/rc4.h"
#include "crypto/rc5.h"
#include "crypto/sha1.h"
#include "crypto/soft_table.h"

namespace {

constexpr std::uint32_t kIvLength = 8;

int fillMechanism(ALG_OBJ* object, AlgAllocator allocator, CK_MECHANISM_TYPE code) {
    if (object == nullptr)
        return crypto::kArgumentAbsent;
    object->allocator = allocator;
    object->mechanism = AllocStructure<MECHANISM>();
    if (object->mechanism == nullptr)
        return crypto::kNoMemory;
    object->mechanism->code = code;
    return 0;
}

template <class Context>
int fill(ALG_OBJ* object, AlgAllocator allocator, CK_MECHANISM_TYPE code) {
    if (const int failure = fillMechanism(object, allocator, code))
        return failure;
    object->context = AllocStructure<Context>();
    return object->context == nullptr ? crypto::kNoMemory : 0;
}

template <class Digest>
int fillPair(ALG_OBJ* object, AlgAllocator allocator, CK_MECHANISM_TYPE code) {
    if (const int failure = fill<DIGEST_RSA_PAIR>(object, allocator, code))
        return failure;
    auto* pair = static_cast<DIGEST_RSA_PAIR*>(object->context);
    pair->digest = AllocStructure<Digest>();
    pair->rsa = AllocStructure<RSA_CTX>();
    return pair->digest == nullptr || pair->rsa == nullptr ? crypto::kNoMemory : 0;
}

int checkIv(const KEY_ITEM& iv) {
    if (iv.bytes == nullptr)
        return crypto::kArgumentAbsent;
    return iv.length < kIvLength ? crypto::kWrongLength : 0;
}

// Takes the record over as the mechanism's parameter, in place of one that it had.
int replaceParameter(ALG_OBJ* object, void* record, CK_ULONG length) {
    if (record == nullptr)
        return crypto::kNoMemory;
    FreeBuffer(object->mechanism->parameter);
    object->mechanism->parameter = record;
    object->mechanism->parameterLength = length;
    return 0;
}

int setIv(ALG_OBJ* object, const void* parameter) {
    if (object == nullptr || object->mechanism == nullptr || parameter == nullptr)
        return crypto::kArgumentAbsent;
    const auto& iv = *static_cast<const KEY_ITEM*>(parameter);
    if (const int failure = checkIv(iv))
        return failure;
    return replaceParameter(object, CopyBuffer(iv.bytes, kIvLength), kIvLength);
}

int setRc2(ALG_OBJ* object, const void* parameter) {
    if (object == nullptr || object->mechanism == nullptr || parameter == nullptr)
        return crypto::kArgumentAbsent;
    const auto& setting = *static_cast<const RC2_SETTING*>(parameter);
    if (const int failure = checkIv(setting.iv))
        return failure;
    RC2_PARAMETER record = {static_cast<CK_ULONG>(setting.effectiveBits), {}};
    std::memcpy(record.iv, setting.iv.bytes, kIvLength);
    return replaceParameter(object, CopyBuffer(&record, sizeof record), sizeof record);
}

int setBits(ALG_OBJ* object, const void* parameter) {
    if (object == nullptr || object->mechanism == nullptr || parameter == nullptr)
        return crypto::kArgumentAbsent;
    object->mechanism->parameterLength = static_cast<CK_ULONG>(*static_cast<const std::int32_t*>(parameter));
    return 0;
}

int getParameter(const ALG_OBJ* object, KEY_ITEM* parameter) {
    if (object == nullptr || object->mechanism == nullptr || object->mechanism->parameter == nullptr ||
        parameter == nullptr)
        return crypto::kArgumentAbsent;
    const MECHANISM& mechanism = *object->mechanism;
    std::uint8_t* copy = CopyBuffer(mechanism.parameter, mechanism.parameterLength);
    if (copy == nullptr)
        return crypto::kNoMemory;
    *parameter = {copy, static_cast<std::uint32_t>(mechanism.parameterLength)};
    return 0;
}

int getBits(const ALG_OBJ* object, KEY_ITEM* parameter) {
    if (object == nullptr || object->mechanism == nullptr || parameter == nullptr)
        return crypto::kArgumentAbsent;
    *parameter = {nullptr, static_cast<std::uint32_t>(object->mechanism->parameterLength)};
    return 0;
}

int withAccess(ALG_OBJ* object, int result, AlgSetter setter, AlgGetter getter) {
    if (object != nullptr) {
        object->setter = setter;
        object->getter = getter;
    }
    return result;
}

void destroyTokenKey(const ALG_OBJ* object) {
    const CHOOSER* chooser = object->chooser;
    if (chooser == nullptr || chooser->useToken == 0 || object->tokenKey == 0 || object->keyIsTokenObject != 0)
        return;
    chooser->functions->C_DestroyObject(chooser->session, object->tokenKey);
}

void freeContext(ALG_OBJ* object) {
    if (object->context != nullptr && softtable::isDigestWithRsa(object->mechanism->code)) {
        auto* pair = static_cast<DIGEST_RSA_PAIR*>(object->context);
        FreeBuffer(pair->digest);
        FreeBuffer(pair->rsa);
    }
    FreeBuffer(object->context);
}

// The initial value of RC5 lies in a buffer of its own, to which the parameter points.
void freeMechanism(MECHANISM* mechanism) {
    const bool isRc5 = mechanism->code == CKM_RC5_CBC || mechanism->code == CKM_RC5_CBC_PAD;
    if (isRc5 && mechanism->parameter != nullptr)
        FreeBuffer(const_cast<std::uint8_t*>(static_cast<RC5_PARAMETER*>(mechanism->parameter)->iv));
    FreeBuffer(mechanism->parameter);
    FreeBuffer(mechanism);
}

}  // namespace

ALG_OBJ* AlgShell() {
    return AllocStructure<ALG_OBJ>();
}

int AlgSetup(ALG_OBJ** object, AlgAllocator allocator, const void* parameter) {
    if (object == nullptr || *object == nullptr || allocator == nullptr)
        return crypto::kArgumentAbsent;
    int result = allocator(*object);
    if (result == 0 && (*object)->setter != nullptr)
        result = (*object)->setter(*object, parameter);
    if (result != 0)
        AlgFree(object);
    return result;
}

void AlgFree(ALG_OBJ** object) {
    if (object == nullptr || *object == nullptr)
        return;
    destroyTokenKey(*object);
    if ((*object)->mechanism != nullptr) {
        freeContext(*object);
        freeMechanism((*object)->mechanism);
    }
    FreeBuffer(*object);
    *object = nullptr;
}

int AlgAllocDesCbcPad(ALG_OBJ* object) {
    return withAccess(object, fill<DES_CTX>(object, AlgAllocDesCbcPad, CKM_DES_CBC_PAD), setIv, getParameter);
}

int AlgAllocDes3CbcPad(ALG_OBJ* object) {
    return withAccess(object, fill<DES3_CTX>(object, AlgAllocDes3CbcPad, CKM_DES3_CBC_PAD), setIv, getParameter);
}

int AlgAllocRc2CbcPad(ALG_OBJ* object) {
    return withAccess(object, fill<RC2_CTX>(object, AlgAllocRc2CbcPad, CKM_RC2_CBC_PAD), setRc2, getParameter);
}

int AlgAllocRc4(ALG_OBJ* object) {
    return fill<RC4_CTX>(object, AlgAllocRc4, CKM_RC4);
}

int AlgAllocMd2(ALG_OBJ* object) {
    return fill<MD2_CTX>(object, AlgAllocMd2, CKM_MD2);
}

int AlgAllocMd5(ALG_OBJ* object) {
    return fill<MD5_CTX>(object, AlgAllocMd5, CKM_MD5);
}

int AlgAllocSha1(ALG_OBJ* object) {
    return fill<SHA1_CTX>(object, AlgAllocSha1, CKM_SHA_1);
}

int AlgAllocRsa(ALG_OBJ* object) {
    return fill<RSA_CTX>(object, AlgAllocRsa, CKM_RSA_PKCS);
}

int AlgAllocMd2Rsa(ALG_OBJ* object) {
    return fillPair<MD2_CTX>(object, AlgAllocMd2Rsa, CKM_MD2_RSA_PKCS);
}

int AlgAllocMd5Rsa(ALG_OBJ* object) {
    return fillPair<MD5_CTX>(object, AlgAllocMd5Rsa, CKM_MD5_RSA_PKCS);
}

int AlgAllocSha1Rsa(ALG_OBJ* object) {
    return fillPair<SHA1_CTX>(object, AlgAllocSha1Rsa, CKM_SHA1_RSA_PKCS);
}

int AlgAllocRsaKeyPairGen(ALG_OBJ* object) {
    return withAccess(object, fill<RSA_CTX>(object, AlgAllocRsaKeyPairGen, CKM_RSA_PKCS_KEY_PAIR_GEN), setBits,
                      getBits);
}

int AlgAllocHashChainRandom(ALG_OBJ* object) {
    return fill<HASH_CHAIN_RANDOM_CTX>(object, AlgAllocHashChainRandom, HASH_CHAIN_RANDOM_SHA1);
}
