// Equality of lists. That in any order asks, for each item, for the first item of the other list that equals it. Long
// lists are looked up by a hash instead of one by one: they come from files, and a square of their length is too much.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <typeinfo>
#include <utility>
#include <vector>

#include "asn/byte_strings.h"
#include "asn/container.h"
#include "asn/integer.h"
#include "asn/list_codec.h"
#include "asn/octet_string.h"
#include "asn/oid.h"
#include "asn/sequence.h"
#include "asn/set.h"
#include "asn/text_strings.h"

namespace AsnListCodec {

namespace {

// Below this the hashes cost more than they save.
constexpr unsigned int kLong = 32;

// Calls visit(member) for what a value is made of, as far as that can be asked of it.
template <class Visit>
void forMembers(const AsnObject& value, Visit visit) {
    if (const auto* sequence = dynamic_cast<const AsnSequence*>(&value))
        for (unsigned int i = 0; i < sequence->Size(); ++i)
            visit(*sequence->Get(i));
    else if (const auto* set = dynamic_cast<const AsnSet*>(&value))
        for (unsigned int i = 0; i < set->Size(); ++i)
            visit(*set->Get(i));
    else if (const auto* container = dynamic_cast<const AsnContainer*>(&value))
        if (container->GetData() != nullptr)
            visit(*container->GetData());
}

// The types in a value, in order.
using Shape = std::vector<const std::type_info*>;

void addShape(const AsnObject& value, Shape& shape) {
    shape.push_back(&typeid(value));
    forMembers(value, [&](const AsnObject& member) { addShape(member, shape); });
    shape.push_back(nullptr);
}

bool sameShape(const Shape& a, const Shape& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const std::type_info* x, const std::type_info* y) {
        return x == y || (x != nullptr && y != nullptr && *x == *y);
    });
}

bool allOfShape(const AsnList& list, const Shape& shape) {
    Shape own;
    return std::all_of(list.begin(), list.end(), [&](const AsnObject* item) {
        own.clear();
        addShape(*item, own);
        return sameShape(own, shape);
    });
}

std::string_view bytesOf(const MiByte& value) {
    return {value.GetChars(), value.GetLength()};
}
std::string_view bytesOf(const MiString& value) {
    return {value.GetChars(), value.GetLength()};
}

// The datum of the types that fill long lists, nothing for all others.
std::string_view datumOf(const AsnObject& value) {
    const std::type_info& type = typeid(value);
    if (type == typeid(AsnOctetString))
        return bytesOf(static_cast<const AsnOctetString&>(value).GetData());
    if (type == typeid(AsnOid))
        return bytesOf(static_cast<const AsnOid&>(value).GetData());
    if (type == typeid(AsnInteger))
        return bytesOf(static_cast<const AsnInteger&>(value).GetBigInteger().GetByte());
    if (type == typeid(AsnIA5String))
        return bytesOf(static_cast<const AsnIA5String&>(value).GetByte());
    if (type == typeid(AsnPrintableString))
        return bytesOf(static_cast<const AsnPrintableString&>(value).GetData());
    return {};
}

// Values of one shape that are equal have one hash.
std::size_t hashOf(const AsnObject& value) {
    std::size_t hash = std::hash<std::string_view>()(datumOf(value));
    forMembers(value, [&](const AsnObject& member) { hash = hash * 31 + hashOf(member); });
    return hash;
}

// Finds in a list the first item that equals a value, by trying them all.
class PlainSearch {
  public:
    explicit PlainSearch(const AsnList& list) : list_(list) {}

    // Size() if there is none.
    unsigned int indexOf(const AsnObject& value) const {
        unsigned int i = 0;
        while (i < list_.Size() && !value.EqualsContent(list_[i]))
            ++i;
        return i;
    }

  private:
    const AsnList& list_;
};

// The same by hash, for a value of the shape that all items have.
class HashedSearch {
  public:
    explicit HashedSearch(const AsnList& list) : list_(list) {
        entries_.reserve(list.Size());
        for (unsigned int i = 0; i < list.Size(); ++i)
            entries_.emplace_back(hashOf(*list[i]), i);
        std::sort(entries_.begin(), entries_.end());
    }

    unsigned int indexOf(const AsnObject& value) const {
        const std::size_t hash = hashOf(value);
        auto entry = std::lower_bound(entries_.begin(), entries_.end(), std::make_pair(hash, 0U));
        for (; entry != entries_.end() && entry->first == hash; ++entry)
            if (value.EqualsContent(list_[entry->second]))
                return entry->second;
        return list_.Size();
    }

  private:
    const AsnList& list_;
    std::vector<std::pair<std::size_t, unsigned int>> entries_;
};

// Whether each item of the list has an equal that no other item has for its first.
template <class Search>
bool eachHasItsOwn(const AsnList& list, const Search& search) {
    std::vector<bool> taken(list.Size());
    return std::all_of(list.begin(), list.end(), [&](const AsnObject* item) {
        const unsigned int index = search.indexOf(*item);
        if (index == taken.size() || taken[index])
            return false;
        taken[index] = true;
        return true;
    });
}

}  // namespace

bool EqualInOrder(const AsnList& a, const AsnList& b) {
    if (a.Size() != b.Size())
        return false;
    for (unsigned int i = 0; i < a.Size(); ++i)
        if (!a[i]->EqualsContent(b[i]))
            return false;
    return true;
}

bool EqualInAnyOrder(const AsnList& a, const AsnList& b) {
    if (a.Size() != b.Size())
        return false;
    if (a.Size() < kLong)
        return eachHasItsOwn(a, PlainSearch(b));
    Shape shape;
    addShape(*a[0], shape);
    if (!allOfShape(a, shape) || !allOfShape(b, shape))
        return eachHasItsOwn(a, PlainSearch(b));
    return eachHasItsOwn(a, HashedSearch(b));
}

}  // namespace AsnListCodec
