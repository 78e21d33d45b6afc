#include "tests/support/broken_der.h"

#include <cstdint>
#include <functional>
#include <stdexcept>

#include "tests/support/der.h"

namespace support {
namespace {

constexpr std::uint8_t kConstructed = 0x20;

struct Element {
    std::size_t place;
    std::uint8_t identifier;
    Bytes content;                  // of a primitive element
    std::vector<Element> children;  // of a constructed one
    std::size_t header;

    [[nodiscard]] bool constructed() const { return (identifier & kConstructed) != 0; }
};

std::vector<Element> parse(const Bytes& bytes, std::size_t from, std::size_t to) {
    std::vector<Element> elements;
    while (from < to) {
        Element element{from, bytes.at(from), {}, {}, 2};
        std::size_t length = bytes.at(from + 1);
        if (length >= 0x80) {
            const std::size_t octets = length & 0x7F;
            length = 0;
            for (std::size_t i = 0; i < octets; ++i)
                length = length << 8 | bytes.at(from + 2 + i);
            element.header += octets;
        }
        const std::size_t begin = from + element.header;
        if (begin + length > to || (element.identifier & 0x1F) == 0x1F)
            throw std::invalid_argument("not a good encoding");
        if (element.constructed())
            element.children = parse(bytes, begin, begin + length);
        else
            element.content.assign(bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                                   bytes.begin() + static_cast<std::ptrdiff_t>(begin + length));
        elements.push_back(element);
        from = begin + length;
    }
    return elements;
}

void forEach(const std::vector<Element>& elements, const std::function<void(const Element&)>& visit) {
    for (const Element& element : elements) {
        visit(element);
        forEach(element.children, visit);
    }
}

// Writes the elements again, the one at `place` by `write` from its content.
using Writer = std::function<Bytes(const Element&, const Bytes& content)>;
Bytes rebuilt(const std::vector<Element>& elements, std::size_t place, const Writer& write) {
    Bytes all;
    for (const Element& element : elements) {
        const Bytes content = element.constructed() ? rebuilt(element.children, place, write) : element.content;
        all =
            der::join({all, element.place == place ? write(element, content) : der::tlv(element.identifier, content)});
    }
    return all;
}

std::vector<Broken> eachConstructed(const Bytes& good, const Writer& write) {
    const std::vector<Element> elements = parse(good, 0, good.size());
    std::vector<Broken> broken;
    forEach(elements, [&](const Element& element) {
        if (element.constructed())
            broken.push_back({element.place, rebuilt(elements, element.place, write)});
    });
    return broken;
}

// The octet that holds the low end of the element's length.
std::size_t lengthOctet(const Element& element) {
    return element.place + element.header - 1;
}

}  // namespace

std::vector<Broken> truncations(const Bytes& good) {
    std::vector<Broken> broken;
    for (std::size_t n = 0; n < good.size(); ++n)
        broken.push_back({n, Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(n))});
    return broken;
}

std::vector<Broken> withTrailingData(const Bytes& good, const Bytes& extra) {
    return eachConstructed(good, [&](const Element& element, const Bytes& content) {
        return der::tlv(element.identifier, der::join({content, extra}));
    });
}

std::vector<Broken> withIndefiniteLengths(const Bytes& good) {
    return eachConstructed(good, [](const Element& element, const Bytes& content) {
        return der::join({{element.identifier, 0x80}, content, {0x00, 0x00}});
    });
}

std::vector<Broken> withShortLengths(const Bytes& good) {
    std::vector<Broken> broken;
    forEach(parse(good, 0, good.size()), [&](const Element& element) {
        Bytes bytes = good;
        if (bytes[lengthOctet(element)] == 0)
            return;
        --bytes[lengthOctet(element)];
        broken.push_back({element.place, bytes});
    });
    return broken;
}

std::vector<Broken> withLongLengths(const Bytes& good) {
    std::vector<Broken> broken;
    forEach(parse(good, 0, good.size()), [&](const Element& element) {
        Bytes bytes = good;
        if (element.header != 2 || bytes[lengthOctet(element)] == 0x7F)
            return;
        ++bytes[lengthOctet(element)];
        broken.push_back({element.place, bytes});
    });
    return broken;
}

std::vector<Broken> withTags(const Bytes& good, std::uint8_t identifier) {
    std::vector<Broken> broken;
    forEach(parse(good, 0, good.size()), [&](const Element& element) {
        Bytes bytes = good;
        bytes[element.place] = identifier;
        broken.push_back({element.place, bytes});
    });
    return broken;
}

}  // namespace support
