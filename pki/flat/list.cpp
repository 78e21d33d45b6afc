#include <cstring>

#include "pki/flat/flat.h"

namespace {

// What a head made here carries as its data. Behind the text, out of the callers' sight, it remembers the end of the
// list and the node last asked for: callers fill a list node by node and read it by rising index, and both would
// otherwise walk from the head each time.
struct HeadData {
    char text[20];
    VT_List* last;
    VT_List* visited;
    int32_t visitedIndex;
};

constexpr char kHeadText[] = "This is a List Head";
static_assert(sizeof kHeadText == sizeof HeadData::text);

// In the spare byte of a head whose data is a HeadData. A plain node is zero there and is walked.
constexpr uint8_t kHeadMark = 1;

HeadData* headData(const VT_List& list) {
    return list.spare == kHeadMark ? reinterpret_cast<HeadData*>(list.data) : nullptr;
}

VT_List* newNode() {
    return static_cast<VT_List*>(T_malloc(sizeof(VT_List)));
}

void destroyNode(VT_List* node) {
    T_free(node->data);
    T_free(node);
}

VT_List* findLast(VT_List& list) {
    const HeadData* head = headData(list);
    VT_List* node = head != nullptr ? head->last : &list;
    while (node->next != nullptr)
        node = node->next;
    return node;
}

// The node of that index, or null. Starts from the node last asked for if that is not behind it.
VT_List* findNode(const VT_List& list, int32_t index) {
    HeadData* head = headData(list);
    VT_List* node = list.next;
    int32_t position = 0;
    if (head != nullptr && head->visited != nullptr && head->visitedIndex <= index) {
        node = head->visited;
        position = head->visitedIndex;
    }
    while (node != nullptr && position < index) {
        node = node->next;
        ++position;
    }
    if (head != nullptr && node != nullptr) {
        head->visited = node;
        head->visitedIndex = index;
    }
    return node;
}

}  // namespace

int32_t VT_CreateList(VT_List** list) {
    if (list == nullptr)
        return VT_LIST_E_NODE_MEMORY;
    *list = nullptr;
    VT_List* node = newNode();
    if (node == nullptr)
        return VT_LIST_E_NODE_MEMORY;
    auto* head = static_cast<HeadData*>(T_malloc(sizeof(HeadData)));
    if (head == nullptr) {
        T_free(node);
        return VT_LIST_E_DATA_MEMORY;
    }
    std::memcpy(head->text, kHeadText, sizeof kHeadText);
    head->last = node;
    node->data = reinterpret_cast<uint8_t*>(head);
    node->length = sizeof kHeadText - 1;
    node->spare = kHeadMark;
    *list = node;
    return 0;
}

int32_t VT_AddListNode(VT_List* list, const uint8_t* data, uint32_t length) {
    if (list == nullptr || data == nullptr || length == 0)
        return VT_LIST_E_ARGUMENT;
    VT_List* node = newNode();
    if (node == nullptr)
        return VT_LIST_E_NODE_MEMORY;
    node->data = static_cast<uint8_t*>(T_malloc(length));
    if (node->data == nullptr) {
        T_free(node);
        return VT_LIST_E_DATA_MEMORY;
    }
    std::memcpy(node->data, data, length);
    node->length = length;
    findLast(*list)->next = node;
    if (HeadData* head = headData(*list); head != nullptr)
        head->last = node;
    return 0;
}

int32_t VT_GetListNodeTotal(const VT_List* list, uint32_t* total) {
    if (total == nullptr)
        return VT_LIST_E_ARGUMENT;
    *total = 0;
    if (list == nullptr)
        return 0;
    for (const VT_List* node = list->next; node != nullptr; node = node->next)
        ++*total;
    return 0;
}

int32_t VT_GetListNodeByIndex(const VT_List* list, int32_t index, uint8_t* out, uint32_t* length) {
    if (index < 0)
        return VT_LIST_E_NEGATIVE;
    if (list == nullptr)
        return VT_LIST_E_ARGUMENT;
    const VT_List* node = findNode(*list, index);
    if (node == nullptr)
        return VT_LIST_E_ARGUMENT;
    if (out != nullptr)
        std::memcpy(out, node->data, node->length);
    if (length != nullptr)
        *length = node->length;
    return 0;
}

int32_t VT_DestroyList(VT_List** list) {
    VT_List* node = list != nullptr ? *list : nullptr;
    while (node != nullptr) {
        VT_List* next = node->next;
        destroyNode(node);
        node = next;
    }
    return 0;
}
