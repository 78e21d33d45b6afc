#include "asn/list.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "asn/object.h"
#include "foundation/pool.h"

namespace {

constexpr std::size_t kPointer = sizeof(void*);

}  // namespace

AsnList::AsnList(const AsnList& other) : AsnList() {
    Reserve(other.size);
    for (const AsnObject* item : other)
        Append(item->Clone());
}

AsnList::AsnList(AsnList&& other) noexcept : AsnList() {
    Swap(other);
}

AsnList& AsnList::operator=(AsnList other) noexcept {
    Swap(other);
    return *this;
}

AsnList::~AsnList() {
    Clear();
    releaseItems();
}

// The array alone.
void AsnList::releaseItems() noexcept {
    if (!embedded())
        foundation::PoolGive(items, capacity * kPointer);
}

// NOLINTNEXTLINE(cert-dcl54-cpp,misc-new-delete-overloads): the delete with a size is the match
void* AsnList::operator new(std::size_t bytes) {
    return foundation::PoolTake(bytes);
}

void AsnList::operator delete(void* list, std::size_t bytes) noexcept {
    foundation::PoolGive(list, bytes);
}

unsigned int AsnList::IndexOf(const char* name) const {
    const std::size_t length = std::strlen(name);
    for (unsigned int i = 0; i < size; ++i) {
        const MiString& other = items[i]->GetAsnName();
        if (other.GetLength() == length && (length == 0 || std::memcmp(other.GetChars(), name, length) == 0))
            return i;
    }
    return size;
}

void AsnList::Insert(unsigned int index, AsnObject* item) {
    if (size == capacity)
        grow();
    std::copy_backward(items + index, items + size, items + size + 1);
    items[index] = item;
    ++size;
}

void AsnList::Replace(unsigned int index, AsnObject* item) {
    delete std::exchange(items[index], item);
}

void AsnList::Delete(unsigned int index) {
    delete items[index];
    std::copy(items + index + 1, items + size, items + index);
    --size;
}

void AsnList::Clear() {
    for (AsnObject* item : *this)
        delete item;
    size = 0;
}

void AsnList::Reserve(unsigned int n) {
    if (n <= capacity)
        return;
    if (std::uint64_t{n} > SIZE_MAX / kPointer)
        MiMemoryFailure();
    auto** grown = static_cast<AsnObject**>(foundation::PoolTake(n * kPointer));
    std::copy(items, items + size, grown);
    releaseItems();
    items = grown;
    capacity = n;
}

void AsnList::grow() {
    if (capacity > UINT32_MAX / 2)
        MiMemoryFailure();
    Reserve(2 * capacity);
}

void AsnList::Swap(AsnList& other) noexcept {
    const bool mine = embedded();
    const bool theirs = other.embedded();
    std::swap(items, other.items);
    std::swap(size, other.size);
    std::swap(capacity, other.capacity);
    std::swap(room, other.room);
    if (theirs)
        items = room;
    if (mine)
        other.items = other.room;
}
