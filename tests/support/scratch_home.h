// A scratch home folder for one test: $HOME points to it, and it goes in the end with all that lies in it.
#ifndef VT_TESTS_SUPPORT_SCRATCH_HOME_H
#define VT_TESTS_SUPPORT_SCRATCH_HOME_H

#include <string>

namespace support {

class ScratchHome {
  public:
    ScratchHome();
    ~ScratchHome();
    ScratchHome(const ScratchHome&) = delete;
    ScratchHome& operator=(const ScratchHome&) = delete;

    const std::string& path() const { return path_; }

    // database names the NSS database in it, as NSS's own tools take it behind -d.
    std::string database() const { return "sql:" + path_ + "/.pki/nssdb"; }

    // file gives the path of a file in it, and writes the bytes there.
    std::string file(const std::string& name) const { return path_ + "/" + name; }
    std::string file(const std::string& name, const std::string& bytes) const;

    // script gives the path of a file in it that is a shell script of that text.
    std::string script(const std::string& name, const std::string& text) const;

  private:
    std::string path_;
    std::string before_;
};

}  // namespace support

#endif
