// What a tool writes: bytes as they are, or DER as PEM or base64.
#ifndef VT_TOOLS_COMMON_OUTPUT_H
#define VT_TOOLS_COMMON_OUTPUT_H

#include <stdexcept>
#include <string>

namespace tools {

class OutputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// RFC 7468: base64 in lines of 64 characters between the two lines of the label.
std::string pem(const std::string& label, const std::string& der);

// Base64 in one line, with a line feed.
std::string base64(const std::string& der);

// Who may read a file that is written. On Windows the rights are those that its folder gives.
enum class Access { kAll, kOwner };

// Writes the bytes to a file that is made or overwritten, to standard output for "-". A file for its owner alone has
// mode 0600 before its first byte is there, also one that existed. OutputError with the reason.
void writeOutput(const std::string& file, const std::string& bytes, Access access = Access::kAll);

}  // namespace tools

#endif
