// AsnList: an ordered list of values that it owns. What sequences, sets, choices and the list templates have in common.
#ifndef VT_ASN_LIST_H
#define VT_ASN_LIST_H

#include <cstddef>

#include "foundation/export.h"

class AsnObject;

class VT_API AsnList {
  public:
    AsnList() = default;
    // Clones every item.
    AsnList(const AsnList& other);
    AsnList(AsnList&& other) noexcept;
    AsnList& operator=(AsnList other) noexcept;
    ~AsnList();

    // Lists come from the pool, as the values do.
    // NOLINTNEXTLINE(cert-dcl54-cpp,misc-new-delete-overloads): the delete with a size is the match
    static void* operator new(std::size_t bytes);
    static void operator delete(void* list, std::size_t bytes) noexcept;

    unsigned int Size() const { return size; }  // how many items there are
    // An item by its position, which must be below Size(). The list keeps it.
    AsnObject* operator[](unsigned int index) const { return items[index]; }
    AsnObject* const* begin() const { return items; }       // for a range-based for; valid until the list changes
    AsnObject* const* end() const { return items + size; }  // likewise

    // The position of the first item of that name, Size() if there is none.
    unsigned int IndexOf(const char* name) const;

    // The list takes over what it is given, unless it cannot grow. Positions must be below Size(), that of Insert at
    // most Size().
    void Append(AsnObject* item) {
        if (size == capacity)
            grow();
        items[size++] = item;
    }
    void Insert(unsigned int index, AsnObject* item);
    void Replace(unsigned int index, AsnObject* item);
    void Delete(unsigned int index);  // deletes the item as well
    void Clear();                     // deletes all items
    // Makes room for n items in all.
    void Reserve(unsigned int n);

    // Exchanges the items of the two lists; none is moved or copied.
    void Swap(AsnList& other) noexcept;

  private:
    // Most types have no more members than this, and most sets of a name one item: no block of their own for those.
    static constexpr unsigned int kEmbedded = 4;

    bool embedded() const { return items == room; }
    void grow();
    void releaseItems() noexcept;

    AsnObject** items = room;
    unsigned int size = 0;
    unsigned int capacity = kEmbedded;
    AsnObject* room[kEmbedded] = {};
};

#endif
