#include "platform/nss/attribute.h"

#include "platform/nss/item.h"

namespace platform::nss {
namespace {

Bytes read(PK11ObjectType kind, void* object, CK_ATTRIBUTE_TYPE type) {
    SECItem item = {siBuffer, nullptr, 0};
    if (nss().PK11_ReadRawAttribute(kind, object, type, &item) != SECSuccess)
        return {};
    Bytes value(item.data, item.data + item.len);
    nss().SECITEM_FreeItem(&item, PR_FALSE);
    return value;
}

bool isTrue(const Bytes& value) {
    return value.size() == 1 && value[0] != CK_FALSE;
}

}  // namespace

Bytes readAttribute(SECKEYPrivateKey* key, CK_ATTRIBUTE_TYPE type) {
    return read(PK11_TypePrivKey, key, type);
}

Bytes readAttribute(PK11GenericObject* object, CK_ATTRIBUTE_TYPE type) {
    return read(PK11_TypeGeneric, object, type);
}

Bytes readNumber(SECKEYPrivateKey* key, CK_ATTRIBUTE_TYPE type) {
    return withoutLeadingZeros(spanOf(readAttribute(key, type)));
}

Bytes readNumber(PK11GenericObject* object, CK_ATTRIBUTE_TYPE type) {
    return withoutLeadingZeros(spanOf(readAttribute(object, type)));
}

bool writeAttribute(PK11GenericObject* object, CK_ATTRIBUTE_TYPE type, Bytes value) {
    SECItem item = itemOf(value);
    return nss().PK11_WriteRawAttribute(PK11_TypeGeneric, object, type, &item) == SECSuccess;
}

bool hasAttribute(SECKEYPrivateKey* key, CK_ATTRIBUTE_TYPE type) {
    return isTrue(readAttribute(key, type));
}

bool hasAttribute(PK11GenericObject* object, CK_ATTRIBUTE_TYPE type) {
    return isTrue(readAttribute(object, type));
}

void forEachObject(PK11SlotInfo* slot, CK_OBJECT_CLASS objectClass,
                   const std::function<void(PK11GenericObject*)>& visit) {
    const std::unique_ptr<PK11GenericObject, Release<&Functions::PK11_DestroyGenericObjects>> first(
        nss().PK11_FindGenericObjects(slot, objectClass));
    for (PK11GenericObject* object = first.get(); object != nullptr; object = nss().PK11_GetNextGenericObject(object))
        visit(object);
}

}  // namespace platform::nss
