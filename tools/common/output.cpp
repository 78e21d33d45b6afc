#include "tools/common/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "foundation/byte.h"
#include "pki/base64.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

namespace tools {

namespace {

std::string encoded(const std::string& bytes, bool lines) {
    MiByte text;
    VT_Base64::Encode(MiByte(bytes.data(), static_cast<unsigned int>(bytes.size())), text, lines);
    return {text.GetChars() == nullptr ? "" : text.GetChars(), text.GetLength()};
}

void writeAll(std::FILE* file, const std::string& bytes) {
    const bool whole = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    if (!whole || std::fflush(file) != 0)
        throw OutputError(std::strerror(errno));
}

}  // namespace

std::string pem(const std::string& label, const std::string& der) {
    return "-----BEGIN " + label + "-----\n" + encoded(der, true) + "-----END " + label + "-----\n";
}

std::string base64(const std::string& der) {
    return encoded(der, false) + "\n";
}

void writeOutput(const std::string& file, const std::string& bytes) {
    if (file == "-") {
#if defined(_WIN32)
        _setmode(_fileno(stdout), _O_BINARY);
#endif
        writeAll(stdout, bytes);
        return;
    }
    std::FILE* out = std::fopen(file.c_str(), "wb");
    if (out == nullptr)
        throw OutputError(std::strerror(errno));
    try {
        writeAll(out, bytes);
    } catch (const OutputError&) {
        std::fclose(out);
        throw;
    }
    if (std::fclose(out) != 0)
        throw OutputError(std::strerror(errno));
}

}  // namespace tools
