#include <initializer_list>

#include "pki/flat/flat.h"

namespace {

template <class Record>
int32_t clear(Record* record) {
    if (record != nullptr)
        *record = {};
    return 0;
}

void release(PKCS_Blob& blob) {
    T_free(blob.data);
}

}  // namespace

int32_t PKCS_InitAlg(PKCS_Alg* alg) {
    return clear(alg);
}

int32_t PKCS_InitKey(PKCS_Key* key) {
    return clear(key);
}

int32_t PKCS_InitPubKey(PKCS_PubKey* key) {
    return clear(key);
}

int32_t PKCS_InitPriKey(PKCS_PriKey* key) {
    return clear(key);
}

int32_t PKCS_FreeAlg(PKCS_Alg* alg) {
    if (alg != nullptr)
        T_free(alg->iv);
    return clear(alg);
}

int32_t PKCS_FreeKey(PKCS_Key* key) {
    if (key != nullptr)
        T_free(key->data);
    return clear(key);
}

int32_t PKCS_FreePubKey(PKCS_PubKey* key) {
    if (key == nullptr)
        return 0;
    release(key->modulus);
    release(key->publicExponent);
    return clear(key);
}

int32_t PKCS_FreePriKey(PKCS_PriKey* key) {
    if (key == nullptr)
        return 0;
    for (PKCS_Blob* blob : {&key->modulus, &key->publicExponent, &key->privateExponent, &key->prime1, &key->prime2,
                            &key->exponent1, &key->exponent2, &key->coefficient})
        release(*blob);
    return clear(key);
}
