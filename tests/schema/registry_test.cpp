#include "schema/registry.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "tests/schema/bytes.h"
#include "tests/schema/table.h"

namespace {

TEST(registry_test, HasEveryClassOfTheTablesAndNoOther) {
    unsigned int count = 0;
    const AsnSchemaType* types = AsnSchemaTypes(count);
    ASSERT_NE(types, nullptr);
    EXPECT_EQ(count, table::types().size());
    for (const table::Type& type : table::types()) {
        const std::unique_ptr<AsnObject> made(AsnMakeSchemaObject(type.name));
        ASSERT_NE(made, nullptr) << type.name;
        EXPECT_TRUE(typeOf(*made) == *type.type) << type.name;
        EXPECT_STREQ(AsnFindSchemaType(type.name)->name, type.name);
    }
}

TEST(registry_test, IsOrderedByName) {
    unsigned int count = 0;
    const AsnSchemaType* types = AsnSchemaTypes(count);
    for (unsigned int i = 1; i < count; ++i)
        EXPECT_LT(std::strcmp(types[i - 1].name, types[i].name), 0) << types[i].name;
}

TEST(registry_test, MakesANewValueEachTime) {
    const std::unique_ptr<AsnObject> one(AsnMakeSchemaObject("Certificate"));
    const std::unique_ptr<AsnObject> two(AsnMakeSchemaObject("Certificate"));
    EXPECT_NE(one, two);
}

TEST(registry_test, UnknownNamesAreNull) {
    for (const char* name : {"", "A", "certificate", "Certificat", "Certificate ", "X509Timf", "zzz", "AsnInteger"}) {
        EXPECT_EQ(AsnFindSchemaType(name), nullptr) << name;
        EXPECT_EQ(AsnMakeSchemaObject(name), nullptr) << name;
    }
    EXPECT_EQ(AsnFindSchemaType(nullptr), nullptr);
    EXPECT_EQ(AsnMakeSchemaObject(nullptr), nullptr);
}

}  // namespace
