// Which type a piece of DER is, and its value.
#ifndef VT_TOOLS_COMMON_TYPES_H
#define VT_TOOLS_COMMON_TYPES_H

#include <memory>
#include <string>
#include <vector>

#include "asn/object.h"
#include "tools/common/input.h"

namespace tools {

struct Value {
    std::string type;  // the name of a class, or of a list that a standard names
    std::unique_ptr<AsnObject> object;
};

// The value of a schema class. InputError for DER that does not fit it. The type's name must be known.
Value decodeAs(const std::string& type, const std::string& der);

// The value by a type that is found out: by the label of PEM, else the first of a list of types that decodes and gives
// the same bytes again, or if none does, the first that has the tags. InputError for none, and for DER that does not
// fit the type of its label.
Value decodeFound(const Block& block);

// What a ContentInfo or a PFX holds inside, from the outside in: the message of a ContentInfo, and the lists of a PFX
// as far as they are not encrypted. fault says why the rest is left out where something does not decode, and is empty
// otherwise.
std::vector<Value> insideOf(const Value& value, std::string& fault);

}  // namespace tools

#endif
