#include "tools/common/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "foundation/byte.h"
#include "pki/base64.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
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

#if defined(_WIN32)
std::FILE* openOutput(const char* file, Access /*access*/) {
    return std::fopen(file, "wb");
}
#else
// A pipe or a device has no mode of its own to set.
bool closeToOthers(int file) {
    struct stat status = {};
    return fstat(file, &status) == 0 && (!S_ISREG(status.st_mode) || fchmod(file, S_IRUSR | S_IWUSR) == 0);
}

std::FILE* openOutput(const char* file, Access access) {
    if (access == Access::kAll)
        return std::fopen(file, "wb");
    const int descriptor = open(file, O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor < 0)
        return nullptr;
    std::FILE* out = closeToOthers(descriptor) ? fdopen(descriptor, "wb") : nullptr;
    if (out == nullptr || (ftruncate(descriptor, 0) != 0 && errno != EINVAL)) {
        const int reason = errno;
        out != nullptr ? std::fclose(out) : close(descriptor);
        errno = reason;
        return nullptr;
    }
    return out;
}
#endif

}  // namespace

std::string pem(const std::string& label, const std::string& der) {
    return "-----BEGIN " + label + "-----\n" + encoded(der, true) + "-----END " + label + "-----\n";
}

std::string base64(const std::string& der) {
    return encoded(der, false) + "\n";
}

void writeOutput(const std::string& file, const std::string& bytes, Access access) {
    if (file == "-") {
#if defined(_WIN32)
        _setmode(_fileno(stdout), _O_BINARY);
#endif
        writeAll(stdout, bytes);
        return;
    }
    std::FILE* out = openOutput(file.c_str(), access);
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
