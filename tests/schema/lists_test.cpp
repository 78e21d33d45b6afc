// The instances of the list templates that callers link to.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>

#include "foundation/foundation.h"
#include "schema/schema.h"
#include "tests/schema/bytes.h"

namespace {

template <class List, class Item>
void checkList(const char* name) {
    SCOPED_TRACE(name);
    static_assert(std::is_same_v<decltype(std::declval<const List&>().Get(0)), const Item*>);
    List list;
    EXPECT_EQ(list.GetAsnTagNumber(), std::string(name).rfind("AsnSetOf<", 0) == 0 ? 17U : 16U);
    EXPECT_EQ(list.GetAsnTagForm(), ASN_CONSTRUCTED);
    EXPECT_EQ(list.Size(), 0U);
    EXPECT_THROW(list.Get(0), MiOutOfRangeExp);

    const Item item;
    list.AddElement(item);
    ASSERT_EQ(list.Size(), 1U);
    EXPECT_NE(list.Get(0), &item);
    EXPECT_TRUE(typeOf(*list.Get(0)) == typeid(Item));
    EXPECT_TRUE(list.Get(0)->EqualsContent(&item));

    const std::unique_ptr<AsnObject> clone(list.Clone());
    ASSERT_TRUE(typeOf(*clone) == typeid(List));
    EXPECT_EQ(static_cast<const List&>(*clone).Size(), 1U);
    list.ClearAllElements();
    EXPECT_EQ(list.Size(), 0U);
}

TEST(lists_test, AllInstancesWork) {
#define LIST(CLASS, ITEM) checkList<CLASS, ITEM>(#CLASS);
#include "tests/schema/tables/lists.def"
#undef LIST
}

}  // namespace
