#include "tests/support/scratch_home.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace support {

ScratchHome::ScratchHome() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vt_home_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no scratch folder");
    path_ = pattern;
    if (const char* home = std::getenv("HOME"); home != nullptr)
        before_ = home;
    setenv("HOME", path_.c_str(), 1);
}

ScratchHome::~ScratchHome() {
    setenv("HOME", before_.c_str(), 1);
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string ScratchHome::file(const std::string& name, const std::string& bytes) const {
    const std::string path = file(name);
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

std::string ScratchHome::script(const std::string& name, const std::string& text) const {
    const std::string path = file(name, "#!/bin/sh\n" + text + "\n");
    chmod(path.c_str(), 0700);
    return path;
}

}  // namespace support
