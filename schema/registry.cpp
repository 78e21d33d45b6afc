#include "schema/registry.h"

#include <algorithm>
#include <cstring>

const AsnSchemaType* AsnFindSchemaType(const char* name) {
    if (name == nullptr)
        return nullptr;
    unsigned int count = 0;
    const AsnSchemaType* types = AsnSchemaTypes(count);
    const AsnSchemaType* end = types + count;
    const AsnSchemaType* found = std::lower_bound(types, end, name, [](const AsnSchemaType& type, const char* wanted) {
        return std::strcmp(type.name, wanted) < 0;
    });
    return found != end && std::strcmp(found->name, name) == 0 ? found : nullptr;
}

AsnObject* AsnMakeSchemaObject(const char* name) {
    const AsnSchemaType* type = AsnFindSchemaType(name);
    return type == nullptr ? nullptr : type->make();
}
