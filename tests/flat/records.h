// The records of the flat interface as its tests hold them: what is handed in, and what is freed at the end.
#ifndef VT_TESTS_FLAT_RECORDS_H
#define VT_TESTS_FLAT_RECORDS_H

#include <array>
#include <initializer_list>
#include <string>
#include <vector>

#include "pki/flat/flat.h"
#include "tests/support/hex.h"

namespace records {

using support::Bytes;

// An output of a flat function.
struct Output {
    PKCS_Blob blob = {nullptr, 0};
    Output() = default;
    ~Output() { T_free(blob.data); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    operator PKCS_Blob*() { return &blob; }
    [[nodiscard]] bool untouched() const { return blob.data == nullptr && blob.length == 0; }
    [[nodiscard]] Bytes bytes() const { return {blob.data, blob.data + blob.length}; }
    [[nodiscard]] std::string text() const { return support::toHex(bytes()); }
};

// A list, of items in hex if there are any.
struct List {
    VT_List* list = nullptr;
    List() { VT_CreateList(&list); }
    explicit List(std::initializer_list<const char*> items) : List() {
        for (const char* item : items)
            add(support::hex(item));
    }
    ~List() { VT_DestroyList(&list); }
    List(const List&) = delete;
    List& operator=(const List&) = delete;

    operator VT_List*() const { return list; }
    void add(const Bytes& item) const { VT_AddListNode(list, item.data(), static_cast<std::uint32_t>(item.size())); }
    [[nodiscard]] std::vector<std::string> items() const {
        std::vector<std::string> all;
        for (const VT_List* node = list->next; node != nullptr; node = node->next)
            all.push_back(support::toHex(node->data, node->length));
        return all;
    }
};

// A key that a flat function gives.
template <class Record, int32_t (*release)(Record*)>
struct KeyOutput {
    Record record = {};
    KeyOutput() = default;
    ~KeyOutput() { release(&record); }
    KeyOutput(const KeyOutput&) = delete;
    KeyOutput& operator=(const KeyOutput&) = delete;

    operator Record*() { return &record; }
    const Record* operator->() const { return &record; }
};
using PublicKeyOutput = KeyOutput<PKCS_PubKey, PKCS_FreePubKey>;
using PrivateKeyOutput = KeyOutput<PKCS_PriKey, PKCS_FreePriKey>;

// A private key's record; the numbers belong to this object.
struct PrivateKey {
    std::array<Bytes, 8> numbers;
    PKCS_PriKey record;

    explicit PrivateKey(const char* const (&items)[8]) {
        std::array<PKCS_Blob, 8> parts;
        for (std::size_t i = 0; i < 8; ++i) {
            numbers[i] = support::hex(items[i]);
            parts[i] = {numbers[i].data(), static_cast<std::uint32_t>(numbers[i].size())};
        }
        record = {parts[0], parts[1], parts[2], parts[3], parts[4], parts[5], parts[6], parts[7]};
    }
    // Moved numbers stay where they are in memory, so that the record stays good.
    PrivateKey(PrivateKey&&) = default;
    PrivateKey& operator=(PrivateKey&&) = default;

    operator const PKCS_PriKey*() const { return &record; }
};

}  // namespace records

#endif
