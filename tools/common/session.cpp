#include "tools/common/session.h"

#include "tools/common/codes.h"
#include "tools/common/input.h"

namespace tools {

Failure::Failure(std::int32_t code) : std::runtime_error(explained(code)) {}

void require(std::int32_t code) {
    if (code != 0)
        throw Failure(code);
}

PKCS_Blob lend(const std::string& bytes) {
    auto* data = reinterpret_cast<std::uint8_t*>(const_cast<char*>(bytes.data()));
    return {data, static_cast<std::uint32_t>(bytes.size())};
}

std::string Output::bytes() const {
    return blob.data == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(blob.data), blob.length);
}

void List::add(const std::string& der) {
    const PKCS_Blob blob = lend(der);
    require(VT_AddListNode(list, blob.data, blob.length));
}

std::uint32_t List::count() const {
    std::uint32_t total = 0;
    require(VT_GetListNodeTotal(list, &total));
    return total;
}

std::string List::at(std::uint32_t index) const {
    std::uint32_t length = 0;
    require(VT_GetListNodeByIndex(list, static_cast<std::int32_t>(index), nullptr, &length));
    std::string der(length, '\0');
    require(VT_GetListNodeByIndex(list, static_cast<std::int32_t>(index), reinterpret_cast<std::uint8_t*>(der.data()),
                                  &length));
    return der;
}

}  // namespace tools
