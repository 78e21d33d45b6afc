// Attributes of PKCS#11 objects, and walks over the objects of a token.
#ifndef VT_PLATFORM_NSS_ATTRIBUTE_H
#define VT_PLATFORM_NSS_ATTRIBUTE_H

#include <functional>

#include "platform/nss/loader.h"
#include "platform/nss/output.h"

namespace platform::nss {

// readAttribute gives the value of an object's attribute; empty where it has none or keeps it to itself.
Bytes readAttribute(SECKEYPrivateKey* key, CK_ATTRIBUTE_TYPE type);
Bytes readAttribute(PK11GenericObject* object, CK_ATTRIBUTE_TYPE type);

// readNumber gives an attribute that is a number, without leading zeros, which tokens give or not.
Bytes readNumber(SECKEYPrivateKey* key, CK_ATTRIBUTE_TYPE type);
Bytes readNumber(PK11GenericObject* object, CK_ATTRIBUTE_TYPE type);

// writeAttribute changes an attribute's value. False if the token refuses.
bool writeAttribute(PK11GenericObject* object, CK_ATTRIBUTE_TYPE type, Bytes value);

// hasAttribute: whether a truth value is there and is true.
bool hasAttribute(SECKEYPrivateKey* key, CK_ATTRIBUTE_TYPE type);
bool hasAttribute(PK11GenericObject* object, CK_ATTRIBUTE_TYPE type);

// forEachObject visits the token's objects of a class, among them private ones only where the token is logged in. The
// objects end with the walk.
void forEachObject(PK11SlotInfo* slot, CK_OBJECT_CLASS objectClass,
                   const std::function<void(PK11GenericObject*)>& visit);

}  // namespace platform::nss

#endif
