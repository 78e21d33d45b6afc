// ALG_OBJ: one algorithm of one operation, as a PKCS#11 mechanism and the context that the software entries work in.
//
//     ALG_OBJ* alg = AlgShell();
//     int code = AlgSetup(&alg, AlgAllocDesCbcPad, &iv);   // on failure alg is freed and null
//     ...                                                   // init, update and final (operation.h)
//     AlgFree(&alg);
//
// Objects are built for one operation and belong to one thread. All their memory comes from AllocBuffer. Key material
// in a context is freed as it stands.
#ifndef VT_CRYPTO_ALG_OBJECT_H
#define VT_CRYPTO_ALG_OBJECT_H

#include "crypto/chooser.h"

struct ALG_OBJ;

// What an object is built with: an allocator fills a shell, a setter stores parameters, a getter gives a copy of them.
// Results are codes.
using AlgAllocator = int (*)(ALG_OBJ* object);
using AlgSetter = int (*)(ALG_OBJ* object, const void* parameter);
using AlgGetter = int (*)(const ALG_OBJ* object, KEY_ITEM* parameter);

struct ALG_OBJ {
    void* context;                  // of the cipher, digest or RSA; a DIGEST_RSA_PAIR for a digest with RSA
    MECHANISM* mechanism;           // owned
    CHOOSER* chooser;               // borrowed, set when an operation starts
    CK_OBJECT_HANDLE tokenKey;      // key object in the token, 0 if none
    std::int32_t keyIsTokenObject;  // 1 if tokenKey was found by label, so that it must not be destroyed
    AlgSetter setter;               // stores parameters, may be absent
    AlgGetter getter;               // reads them back, may be absent
    AlgAllocator allocator;         // what built this object
};
static_assert(offsetof(ALG_OBJ, mechanism) == sizeof(void*) && offsetof(ALG_OBJ, chooser) == 2 * sizeof(void*) &&
                  offsetof(ALG_OBJ, tokenKey) == 3 * sizeof(void*) &&
                  offsetof(ALG_OBJ, keyIsTokenObject) == 4 * sizeof(void*) &&
                  offsetof(ALG_OBJ, setter) == 5 * sizeof(void*) && offsetof(ALG_OBJ, getter) == 6 * sizeof(void*) &&
                  offsetof(ALG_OBJ, allocator) == 7 * sizeof(void*),
              "the layout of ALG_OBJ is a contract");

// The context of a digest with RSA.
struct DIGEST_RSA_PAIR {
    void* digest;  // the context of the digest, owned
    RSA_CTX* rsa;  // owned
};

// What the setter of RC2 is given.
struct RC2_SETTING {
    std::int32_t effectiveBits;  // of the key
    KEY_ITEM iv;                 // 8 bytes of initial value
};

// AlgShell gives an object of zeros, for AlgSetup or for an allocator; null for exhausted memory.
ALG_OBJ* AlgShell();

// AlgSetup runs the allocator on a shell, and then the setter, if there is one, with the parameter. 0, -2 for an absent
// object, or what allocator or setter gave; after a failure the object is freed and the pointer null.
int AlgSetup(ALG_OBJ** object, AlgAllocator allocator, const void* parameter);

// AlgFree frees the object with everything in it and makes the pointer null. A key that the operation made in the token
// is destroyed there first, while the chooser must still be alive. Null, shells and half-built objects are accepted.
void AlgFree(ALG_OBJ** object);

// The allocators: each fills a shell with mechanism, zeroed context, setter and getter. 0; -1 for exhausted memory,
// when what was allocated stays in the shell for AlgFree; -2 for an absent object.
//
//     allocator                   mechanism                   context                parameter of the setter
//     AlgAllocDesCbcPad           CKM_DES_CBC_PAD             DES_CTX                KEY_ITEM, initial value
//     AlgAllocDes3CbcPad          CKM_DES3_CBC_PAD            DES3_CTX               KEY_ITEM, initial value
//     AlgAllocRc2CbcPad           CKM_RC2_CBC_PAD             RC2_CTX                RC2_SETTING
//     AlgAllocRc4                 CKM_RC4                     RC4_CTX                -
//     AlgAllocMd2                 CKM_MD2                     MD2_CTX                -
//     AlgAllocMd5                 CKM_MD5                     MD5_CTX                -
//     AlgAllocSha1                CKM_SHA_1                   SHA1_CTX               -
//     AlgAllocRsa                 CKM_RSA_PKCS                RSA_CTX                -
//     AlgAllocMd2Rsa              CKM_MD2_RSA_PKCS            pair                   -
//     AlgAllocMd5Rsa              CKM_MD5_RSA_PKCS            pair                   -
//     AlgAllocSha1Rsa             CKM_SHA1_RSA_PKCS           pair                   -
//     AlgAllocRsaKeyPairGen       CKM_RSA_PKCS_KEY_PAIR_GEN   RSA_CTX                std::int32_t, bits
//     AlgAllocHashChainRandom     HASH_CHAIN_RANDOM_SHA1      HASH_CHAIN_RANDOM_CTX  -
//
// A setter copies 8 bytes of initial value; one that is absent gives -2, a shorter one -3, of a longer one the first 8
// count. The bit length stands in the parameter length of its mechanism, which has no parameter. A getter gives a copy
// of the mechanism's parameter, to be freed by FreeBuffer (of the bit length: no bytes, and the number as their
// length): 0, -1, -2 for an absent argument or if nothing is set.
int AlgAllocDesCbcPad(ALG_OBJ* object);
int AlgAllocDes3CbcPad(ALG_OBJ* object);
int AlgAllocRc2CbcPad(ALG_OBJ* object);
int AlgAllocRc4(ALG_OBJ* object);
int AlgAllocMd2(ALG_OBJ* object);
int AlgAllocMd5(ALG_OBJ* object);
int AlgAllocSha1(ALG_OBJ* object);
int AlgAllocRsa(ALG_OBJ* object);
int AlgAllocMd2Rsa(ALG_OBJ* object);
int AlgAllocMd5Rsa(ALG_OBJ* object);
int AlgAllocSha1Rsa(ALG_OBJ* object);
int AlgAllocRsaKeyPairGen(ALG_OBJ* object);
int AlgAllocHashChainRandom(ALG_OBJ* object);

#endif
