#include "tests/support/platform_home.h"

#ifndef _WIN32

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace {

class Folder {
  public:
    Folder() {
        std::string path = (std::filesystem::temp_directory_path() / "vt-home-XXXXXX").string();
        if (mkdtemp(path.data()) == nullptr || setenv("HOME", path.c_str(), 1) != 0)
            throw std::runtime_error("no scratch home folder");
        path_ = path;
    }
    ~Folder() {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

  private:
    std::filesystem::path path_;
};

}  // namespace

#endif

namespace support {

PlatformHome::PlatformHome() {
#ifndef _WIN32
    static const Folder folder;
#endif
}

}  // namespace support
