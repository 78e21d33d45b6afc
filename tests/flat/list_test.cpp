#include <gmock/gmock.h>

#include <cstring>
#include <memory>
#include <string>

#include "pki/flat/flat.h"
#include "tests/flat/when_allocation_fails.h"

namespace {

struct Destroy {
    void operator()(VT_List* list) const { VT_DestroyList(&list); }
};
using ListPtr = std::unique_ptr<VT_List, Destroy>;

ListPtr newList() {
    VT_List* list = nullptr;
    EXPECT_EQ(VT_CreateList(&list), 0);
    return ListPtr(list);
}

std::int32_t add(const ListPtr& list, const std::string& text) {
    return VT_AddListNode(list.get(), reinterpret_cast<const std::uint8_t*>(text.data()),
                          static_cast<std::uint32_t>(text.size()));
}

std::string at(const ListPtr& list, std::int32_t index) {
    std::uint32_t length = 0;
    EXPECT_EQ(VT_GetListNodeByIndex(list.get(), index, nullptr, &length), 0);
    std::string text(length, '-');
    EXPECT_EQ(VT_GetListNodeByIndex(list.get(), index, reinterpret_cast<std::uint8_t*>(text.data()), &length), 0);
    EXPECT_EQ(length, text.size());
    return text;
}

std::uint32_t total(const VT_List* list) {
    std::uint32_t count = 77;
    EXPECT_EQ(VT_GetListNodeTotal(list, &count), 0);
    return count;
}

TEST(list_test, HeadCarriesItsText) {
    const ListPtr list = newList();
    ASSERT_NE(list, nullptr);
    EXPECT_STREQ(reinterpret_cast<const char*>(list->data), "This is a List Head");
    EXPECT_EQ(list->length, 19U);
    EXPECT_EQ(list->next, nullptr);
}

TEST(list_test, CreateTellsWhichAllocationFailed) {
    VT_List* list = nullptr;
    EXPECT_EQ(whenAllocationFails(1, [&] { return VT_CreateList(&list); }), -1);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(whenAllocationFails(2, [&] { return VT_CreateList(&list); }), -2);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(VT_CreateList(nullptr), -1);
}

TEST(list_test, FreshListHasNoNodes) {
    EXPECT_EQ(total(newList().get()), 0U);
}

TEST(list_test, NullListHasNoNodes) {
    EXPECT_EQ(total(nullptr), 0U);
}

TEST(list_test, TotalNeedsSomewhereToGo) {
    EXPECT_EQ(VT_GetListNodeTotal(newList().get(), nullptr), -4);
}

TEST(list_test, TotalLeavesTheHeadOut) {
    const ListPtr list = newList();
    add(list, "a");
    EXPECT_EQ(total(list.get()), 1U);
    add(list, "b");
    add(list, "c");
    EXPECT_EQ(total(list.get()), 3U);
}

TEST(list_test, IndexZeroIsTheFirstNodeAdded) {
    const ListPtr list = newList();
    add(list, "first");
    add(list, "second");
    EXPECT_EQ(at(list, 0), "first");
    EXPECT_EQ(at(list, 1), "second");
}

TEST(list_test, NodesOwnACopyWithAZeroBehind) {
    const ListPtr list = newList();
    std::string text = "abc";
    ASSERT_EQ(add(list, text), 0);
    text[0] = 'X';
    const VT_List* node = list->next;
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(std::memcmp(node->data, "abc", 4), 0);
    EXPECT_EQ(node->length, 3U);
    EXPECT_EQ(node->next, nullptr);
}

TEST(list_test, DataMayHoldZeros) {
    const ListPtr list = newList();
    add(list, std::string("a\0b", 3));
    EXPECT_EQ(at(list, 0), std::string("a\0b", 3));
}

TEST(list_test, AddRefusesNullAndEmpty) {
    const ListPtr list = newList();
    const std::uint8_t byte = 1;
    EXPECT_EQ(VT_AddListNode(list.get(), nullptr, 1), -4);
    EXPECT_EQ(VT_AddListNode(list.get(), &byte, 0), -4);
    EXPECT_EQ(VT_AddListNode(nullptr, &byte, 1), -4);
    EXPECT_EQ(total(list.get()), 0U);
}

TEST(list_test, AddTellsWhichAllocationFailedAndLeavesTheList) {
    const ListPtr list = newList();
    add(list, "a");
    const std::string b = "b";
    EXPECT_EQ(whenAllocationFails(1, [&] { return add(list, b); }), -1);
    EXPECT_EQ(whenAllocationFails(2, [&] { return add(list, b); }), -2);
    EXPECT_EQ(total(list.get()), 1U);
    EXPECT_EQ(add(list, "c"), 0);
    EXPECT_EQ(at(list, 1), "c");
}

TEST(list_test, NegativeIndexIsRefused) {
    const ListPtr list = newList();
    add(list, "a");
    std::uint32_t length = 77;
    std::uint8_t out = 0x55;
    EXPECT_EQ(VT_GetListNodeByIndex(list.get(), -1, &out, &length), -3);
    EXPECT_EQ(VT_GetListNodeByIndex(list.get(), INT32_MIN, &out, &length), -3);
    EXPECT_EQ(VT_GetListNodeByIndex(nullptr, -1, &out, &length), -3);
    EXPECT_EQ(length, 77U);
    EXPECT_EQ(out, 0x55);
}

TEST(list_test, IndexPastTheEndIsRefused) {
    const ListPtr list = newList();
    std::uint32_t length = 77;
    std::uint8_t out = 0x55;
    EXPECT_EQ(VT_GetListNodeByIndex(list.get(), 0, &out, &length), -4);
    add(list, "a");
    EXPECT_EQ(VT_GetListNodeByIndex(list.get(), 1, &out, &length), -4);
    EXPECT_EQ(VT_GetListNodeByIndex(list.get(), INT32_MAX, &out, &length), -4);
    EXPECT_EQ(VT_GetListNodeByIndex(nullptr, 0, &out, &length), -4);
    EXPECT_EQ(length, 77U);
    EXPECT_EQ(out, 0x55);
}

TEST(list_test, NullOutGivesTheLengthAlone) {
    const ListPtr list = newList();
    add(list, "abcde");
    std::uint32_t length = 0;
    EXPECT_EQ(VT_GetListNodeByIndex(list.get(), 0, nullptr, &length), 0);
    EXPECT_EQ(length, 5U);
    EXPECT_EQ(VT_GetListNodeByIndex(list.get(), 0, nullptr, nullptr), 0);
}

TEST(list_test, LookUpsInAnyOrderAgree) {
    const ListPtr list = newList();
    for (int i = 0; i < 50; ++i)
        add(list, "node " + std::to_string(i));
    for (const int i : {7, 8, 8, 3, 49, 0, 48, 7, 20})
        EXPECT_EQ(at(list, i), "node " + std::to_string(i));
    std::uint32_t length = 0;
    EXPECT_EQ(VT_GetListNodeByIndex(list.get(), 50, nullptr, &length), -4);
    add(list, "late");
    EXPECT_EQ(at(list, 50), "late");
    EXPECT_EQ(at(list, 0), "node 0");
}

TEST(list_test, LongListsStayUsable) {
    constexpr std::int32_t kNodes = 100000;
    const ListPtr list = newList();
    for (std::int32_t i = 0; i < kNodes; ++i)
        ASSERT_EQ(VT_AddListNode(list.get(), reinterpret_cast<const std::uint8_t*>(&i), sizeof i), 0);
    EXPECT_EQ(total(list.get()), static_cast<std::uint32_t>(kNodes));
    for (std::int32_t i = 0; i < kNodes; ++i) {
        std::int32_t value = -1;
        std::uint32_t length = 0;
        ASSERT_EQ(VT_GetListNodeByIndex(list.get(), i, reinterpret_cast<std::uint8_t*>(&value), &length), 0);
        ASSERT_EQ(value, i);
    }
}

TEST(list_test, HeadIsANodeLikeAnyOther) {
    const ListPtr list = newList();
    add(list, "a");
    add(list, "b");
    // From the first node on, as a list of its own.
    EXPECT_EQ(total(list->next), 1U);
    std::uint32_t length = 0;
    std::uint8_t out[1] = {};
    EXPECT_EQ(VT_GetListNodeByIndex(list->next, 0, out, &length), 0);
    EXPECT_EQ(out[0], 'b');
    EXPECT_EQ(VT_AddListNode(list->next, reinterpret_cast<const std::uint8_t*>("c"), 1), 0);
    EXPECT_EQ(at(list, 2), "c");
    EXPECT_EQ(add(list, "d"), 0);
    EXPECT_EQ(at(list, 3), "d");
    EXPECT_EQ(total(list.get()), 4U);
}

TEST(list_test, DestroyLeavesTheCallersPointer) {
    VT_List* list = nullptr;
    ASSERT_EQ(VT_CreateList(&list), 0);
    const std::uint8_t byte = 1;
    ASSERT_EQ(VT_AddListNode(list, &byte, 1), 0);
    EXPECT_EQ(VT_DestroyList(&list), 0);
    EXPECT_NE(list, nullptr);
}

TEST(list_test, DestroyAcceptsNull) {
    VT_List* none = nullptr;
    EXPECT_EQ(VT_DestroyList(&none), 0);
    EXPECT_EQ(VT_DestroyList(nullptr), 0);
}

}  // namespace
