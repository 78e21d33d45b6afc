// What a file holds: DER, PEM with any text around it, or base64 alone.
#ifndef VT_TOOLS_COMMON_INPUT_H
#define VT_TOOLS_COMMON_INPUT_H

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace tools {

// Something that is wrong with the input, in words for the user.
class InputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// One piece of DER, and where it was found.
struct Block {
    std::string der;
    std::string label;     // of PEM: "CERTIFICATE"; empty otherwise
    std::size_t line = 0;  // of the label or of the fault, from 1
    std::string fault;     // why PEM could not be read; there is no DER then
};

// The bytes of a file, of standard input for "-". InputError for one that cannot be read or is larger than 256 MiB.
std::string readInput(const std::string& file);

// The blocks of a file in their order, at least one. A PEM block that does not end, has headers that say that it is
// encrypted, or holds what is not base64 comes with its fault. InputError for no bytes at all, and for a text that
// holds neither.
std::vector<Block> findBlocks(const std::string& input);

// The DER of the first block. InputError for its fault, and as findBlocks gives it.
std::string firstDer(const std::string& input);

// The length of the first element of DER as its header tells it, which may be more than there is. InputError where
// there is no whole header, or one that is not DER.
std::size_t elementLength(const std::string& der);

}  // namespace tools

#endif
