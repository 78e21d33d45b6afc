#include "tools/vtkey/password.h"

#include <algorithm>
#include <cstdlib>

#include "tools/common/input.h"
#include "tools/common/program.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>
#endif

namespace vtkey {

namespace {

using tools::Arguments;
using tools::InputError;
using tools::quoted;
using tools::UsageError;

// One byte a character.
char narrowed(unsigned int character) {
    if (character > 0xFF)
        throw InputError("the password has a character above U+00FF, which does not go into such a PFX");
    return static_cast<char>(character);
}

#if defined(_WIN32)

struct CloseHandleLater {
    ~CloseHandleLater() { CloseHandle(handle); }
    HANDLE handle;
};

HANDLE openConsole(const char* name) {
    const HANDLE handle = CreateFileA(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        throw InputError("there is no console to ask for the password at; give --password-file or --password-env");
    return handle;
}

std::string typed(const std::string& prompt) {
    const CloseHandleLater in{openConsole("CONIN$")};
    const CloseHandleLater out{openConsole("CONOUT$")};
    DWORD mode = 0;
    DWORD n = 0;
    if (GetConsoleMode(in.handle, &mode) == 0)
        throw InputError("the console cannot be asked for the password; give --password-file or --password-env");
    WriteConsoleA(out.handle, prompt.data(), static_cast<DWORD>(prompt.size()), &n, nullptr);
    SetConsoleMode(in.handle, (mode | ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT) & ~DWORD{ENABLE_ECHO_INPUT});
    wchar_t line[1024];
    const bool read = ReadConsoleW(in.handle, line, 1024, &n, nullptr) != 0;
    SetConsoleMode(in.handle, mode);
    DWORD written = 0;
    WriteConsoleA(out.handle, "\r\n", 2, &written, nullptr);
    if (!read || n == 0 || line[n - 1] != L'\n')
        throw InputError("no password was typed");
    std::string password;
    for (DWORD i = 0; i < n && line[i] != L'\r' && line[i] != L'\n'; ++i)
        password += narrowed(line[i]);
    return password;
}

std::string variable(const std::string& name) {
    const wchar_t* const value = _wgetenv(std::wstring(name.begin(), name.end()).c_str());
    if (value == nullptr)
        throw InputError("there is no variable " + quoted(name));
    std::string password;
    for (const wchar_t* c = value; *c != L'\0'; ++c)
        password += narrowed(*c);
    return password;
}

#else

// The terminal, which does not show what is typed as long as this lives.
class Terminal {
  public:
    Terminal() : file(open("/dev/tty", O_RDWR | O_CLOEXEC)) {
        if (file < 0 || tcgetattr(file, &before) != 0) {
            if (file >= 0)
                close(file);
            throw InputError("there is no terminal to ask for the password at; give --password-file or --password-env");
        }
        termios silent = before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(file, TCSAFLUSH, &silent);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal() {
        tcsetattr(file, TCSAFLUSH, &before);
        show("\n");
        close(file);
    }

    void show(const std::string& text) const {
        if (write(file, text.data(), text.size()) < 0)
            return;  // what is typed counts, also if nothing can be shown
    }

    std::string line() const {
        std::string text;
        char c = 0;
        while (read(file, &c, 1) == 1) {
            if (c == '\n')
                return text;
            text += c;
        }
        throw InputError("no password was typed");
    }

  private:
    int file;
    termios before = {};
};

std::string oneByteEach(const std::string& text);

std::string typed(const std::string& prompt) {
    const Terminal terminal;
    terminal.show(prompt);
    return oneByteEach(terminal.line());
}

std::string variable(const std::string& name) {
    const char* const value = std::getenv(name.c_str());
    if (value == nullptr)
        throw InputError("there is no variable " + quoted(name));
    return oneByteEach(value);
}

#endif

// Gives the character of UTF-8 at a place and moves behind it; false for bytes that are no UTF-8. Overlong forms, and
// what lies above the characters that a PFX can carry, need no exact check: both are refused by what comes of them.
bool nextCharacter(const std::string& text, std::size_t& at, unsigned int& character) {
    const auto first = static_cast<unsigned char>(text[at++]);
    if (first < 0x80) {
        character = first;
        return true;
    }
    if (first < 0xC2 || first > 0xF4)
        return false;
    const unsigned int more = first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    character = first & (0x3FU >> more);
    for (unsigned int i = 0; i < more; ++i) {
        if (at == text.size() || (static_cast<unsigned char>(text[at]) & 0xC0) != 0x80)
            return false;
        character = character << 6 | (static_cast<unsigned char>(text[at++]) & 0x3F);
    }
    return true;
}

bool isUtf8(const std::string& text) {
    unsigned int character = 0;
    for (std::size_t at = 0; at < text.size();)
        if (!nextCharacter(text, at, character))
            return false;
    return true;
}

std::string oneByteEach(const std::string& text) {
    if (!isUtf8(text))
        return text;
    std::string bytes;
    unsigned int character = 0;
    for (std::size_t at = 0; at < text.size();) {
        nextCharacter(text, at, character);
        bytes += narrowed(character);
    }
    return bytes;
}

std::string firstLine(const std::string& file) {
    return tools::from(file, [](const std::string& name) {
        const std::string text = tools::readInput(name);
        const std::string line = text.substr(0, text.find('\n'));
        return oneByteEach(line.substr(0, line.find_last_not_of('\r') + 1));
    });
}

}  // namespace

std::string askPassword(const Arguments& arguments, Ask ask) {
    if (arguments.has("--password-file") && arguments.has("--password-env"))
        throw UsageError("--password-file and --password-env do not go together");
    std::string password;
    if (arguments.has("--password-file"))
        password = firstLine(arguments.value("--password-file"));
    else if (arguments.has("--password-env"))
        password = variable(arguments.value("--password-env"));
    else
        password = typed("Password: ");
    if (password.find('\0') != std::string::npos)
        throw InputError("the password has a zero byte");
    const bool given = arguments.has("--password-file") || arguments.has("--password-env");
    if (ask == Ask::kTwice && !given && typed("Again: ") != password)
        throw InputError("the two passwords differ");
    return password;
}

std::string opensslSource(const Arguments& arguments, const std::string& option) {
    if (arguments.has("--password-file"))
        return " " + option + " " + shellWord("file:" + arguments.value("--password-file"));
    if (arguments.has("--password-env"))
        return " " + option + " " + shellWord("env:" + arguments.value("--password-env"));
    return {};
}

std::string shellWord(const std::string& word) {
    const bool plain = !word.empty() && std::all_of(word.begin(), word.end(), [](unsigned char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c > 0x7F ||
               std::string("_./:\\-+,=@").find(static_cast<char>(c)) != std::string::npos;
    });
#if defined(_WIN32)
    return plain ? word : '"' + word + '"';
#else
    if (plain && word.find('\\') == std::string::npos)
        return word;
    std::string out = "'";
    for (const char c : word)
        out += c == '\'' ? std::string("'\\''") : std::string(1, static_cast<unsigned char>(c) < 0x20 ? '?' : c);
    return out + "'";
#endif
}

}  // namespace vtkey
