// Which entries run a mechanism in this library. For the sources of the room; users of the engine include operation.h.
#ifndef VT_CRYPTO_SOFT_TABLE_H
#define VT_CRYPTO_SOFT_TABLE_H

#include "crypto/alg_object.h"
#include "crypto/key_object.h"

namespace softtable {

// Set the slots of one family by mechanism: 0, or -6. Signing and verifying go through encryptSlots and decryptSlots of
// CKM_RSA_PKCS, and those of a digest with RSA through digestSlots too.
int digestSlots(SOFT_TABLE& table, CK_MECHANISM_TYPE code);
int encryptSlots(SOFT_TABLE& table, CK_MECHANISM_TYPE code);
int decryptSlots(SOFT_TABLE& table, CK_MECHANISM_TYPE code);
int randomSlots(SOFT_TABLE& table, CK_MECHANISM_TYPE code);

// The digest of a digest with RSA, or the mechanism itself.
CK_MECHANISM_TYPE digestOf(CK_MECHANISM_TYPE code);
bool isDigestWithRsa(CK_MECHANISM_TYPE code);

// fits looks whether the mechanism's entries can read this key and this parameter: neither is checked by all of them.
// 0; -3 for a parameter that is too short; -4 for a key that is absent, empty or of the other kind; -7 for one that is
// too short.
int fits(const MECHANISM& mechanism, const KEY_OBJ* key);

// run calls the init entry with the key's data, its length and the mechanism's parameter.
int run(CipherInit init, void* context, const KEY_OBJ& key, const MECHANISM& mechanism);

}  // namespace softtable

#endif
