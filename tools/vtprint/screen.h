// A stream buffer between the printed text and the terminal. Texts in a file are whatever its maker wrote: control
// characters, with which they could clear the screen or fake lines, come out as "\x1B".
#ifndef VT_TOOLS_VTPRINT_SCREEN_H
#define VT_TOOLS_VTPRINT_SCREEN_H

#include <ostream>
#include <streambuf>

namespace vtprint {

// Takes the place of a stream's buffer as long as it lives. Line feeds go through; so does UTF-8, other than the
// control characters U+0080 to U+009F. The many flushes of a dump are left to the buffer behind.
class Screen : public std::streambuf {
  public:
    explicit Screen(std::ostream& of) : stream(of), behind(of.rdbuf(this)) {}
    ~Screen() override;
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

  protected:
    int_type overflow(int_type character) override;
    int sync() override { return 0; }

  private:
    bool put(unsigned char byte);
    bool putEscaped(unsigned char byte);

    std::ostream& stream;
    std::streambuf* behind;
    bool afterC2 = false;  // the byte that precedes U+0080 to U+00BF in UTF-8 is held back
};

}  // namespace vtprint

#endif
