#include "platform/nss/pin.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace platform::nss {
namespace {

// A prompt program: its standard input and output are this end's socket. A socket and no pipe, since writing to a
// program that has gone must not end the host with SIGPIPE.
class PromptProgram {
  public:
    PromptProgram(const char* program, const char* argument);
    ~PromptProgram() { finish(); }
    PromptProgram(const PromptProgram&) = delete;
    PromptProgram& operator=(const PromptProgram&) = delete;

    bool isRunning() const { return process_ > 0; }
    bool send(const std::string& line) const;
    // receive reads one character; false at the end of the output.
    bool receive(char& c) const;
    // finish waits for the program; true if it said that all went well.
    bool finish();

  private:
    void spawn(const char* program, const char* argument, int childEnd);

    int socket_ = -1;
    pid_t process_ = -1;
};

PromptProgram::PromptProgram(const char* program, const char* argument) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return;
    socket_ = ends[0];
    spawn(program, argument, ends[1]);
    close(ends[1]);
}

void PromptProgram::spawn(const char* program, const char* argument, int childEnd) {
    std::string name = program;
    std::string argumentText = argument != nullptr ? argument : "";
    char* arguments[] = {name.data(), argument != nullptr ? argumentText.data() : nullptr, nullptr};
    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0)
        return;
    const bool ready = posix_spawn_file_actions_adddup2(&actions, childEnd, STDIN_FILENO) == 0 &&
                       posix_spawn_file_actions_adddup2(&actions, childEnd, STDOUT_FILENO) == 0;
    if (!ready || posix_spawnp(&process_, program, &actions, nullptr, arguments, environ) != 0)
        process_ = -1;
    posix_spawn_file_actions_destroy(&actions);
}

bool PromptProgram::send(const std::string& line) const {
    const std::string text = line + "\n";
    return ::send(socket_, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
}

bool PromptProgram::receive(char& c) const {
    ssize_t got = 0;
    do {
        got = read(socket_, &c, 1);
    } while (got < 0 && errno == EINTR);
    return got == 1;
}

bool PromptProgram::finish() {
    if (socket_ >= 0)
        close(socket_);
    socket_ = -1;
    if (process_ <= 0)
        return false;
    int status = 0;
    pid_t ended = 0;
    do {
        ended = waitpid(process_, &status, 0);
    } while (ended < 0 && errno == EINTR);
    process_ = -1;
    // A host that reaps all its children leaves no status; then the answer itself has to do.
    return ended < 0 || (WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

std::optional<Pin> askWithAskpass(const char* program, const std::string& prompt) {
    PromptProgram askpass(program, prompt.c_str());
    if (!askpass.isRunning())
        return std::nullopt;
    Pin pin;
    char c = '\0';
    bool fits = true;
    while (fits && askpass.receive(c) && c != '\n')
        fits = pin.append(c);
    const bool answered = askpass.finish() && fits && pin.length() != 0;
    return answered ? std::optional<Pin>(std::move(pin)) : std::nullopt;
}

constexpr char kHexDigits[] = "0123456789ABCDEF";

// Texts to pinentry are escaped as in URLs (Assuan protocol, "Client requests").
std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && c != '%')
            result += c;
        else
            result.append({'%', kHexDigits[byte >> 4], kHexDigits[byte & 15]});
    }
    return result;
}

int hexDigit(char c) {
    const char* found = c != '\0' ? std::strchr(kHexDigits, c >= 'a' ? c - 0x20 : c) : nullptr;
    return found != nullptr ? static_cast<int>(found - kHexDigits) : -1;
}

// Reads the rest of a data line, "%25" standing for "%".
bool receiveData(const PromptProgram& program, Pin& pin) {
    char c = '\0';
    bool good = true;
    while (good && program.receive(c) && c != '\n') {
        if (c == '%') {
            char high = '\0';
            char low = '\0';
            good = program.receive(high) && program.receive(low) && hexDigit(high) >= 0 && hexDigit(low) >= 0;
            c = static_cast<char>(hexDigit(high) * 16 + hexDigit(low));
        }
        good = good && pin.append(c);
    }
    return good;
}

// Reads lines up to the one that ends an answer, "OK" or "ERR"; "D " lines carry the PIN.
bool receiveAnswer(const PromptProgram& program, Pin& pin) {
    for (;;) {
        char line[2] = {};
        if (!program.receive(line[0]) || !program.receive(line[1]))
            return false;
        if (line[0] == 'D' && line[1] == ' ') {
            if (!receiveData(program, pin))
                return false;
            continue;
        }
        char c = line[1];
        while (c != '\n' && program.receive(c)) {
        }
        if (line[0] == 'O' || line[0] == 'E')
            return line[0] == 'O';
    }
}

bool request(const PromptProgram& program, const std::string& line) {
    Pin none;
    return program.send(line) && receiveAnswer(program, none);
}

std::optional<Pin> askWithPinentry(const std::string& prompt) {
    const PromptProgram pinentry("pinentry", nullptr);
    Pin greeting;
    Pin pin;
    const bool answered = pinentry.isRunning() && receiveAnswer(pinentry, greeting) &&
                          request(pinentry, "SETDESC " + escaped(prompt)) && request(pinentry, "SETPROMPT PIN:") &&
                          pinentry.send("GETPIN") && receiveAnswer(pinentry, pin) && pin.length() != 0;
    if (pinentry.isRunning())
        pinentry.send("BYE");
    return answered ? std::optional<Pin>(std::move(pin)) : std::nullopt;
}

}  // namespace

Pin::~Pin() {
    explicit_bzero(bytes_, sizeof bytes_);
}

Pin::Pin(Pin&& other) noexcept : length_(other.length_) {
    std::memcpy(bytes_, other.bytes_, sizeof bytes_);
}

bool Pin::append(char c) {
    if (length_ + 1 == kCapacity)
        return false;
    bytes_[length_++] = c;
    return true;
}

std::optional<Pin> askForPin(const std::string& tokenName) {
    const std::string prompt = "Enter the PIN of the token \"" + tokenName + "\".";
    const char* askpass = std::getenv("SSH_ASKPASS");
    if (askpass != nullptr && *askpass != '\0')
        return askWithAskpass(askpass, prompt);
    return askWithPinentry(prompt);
}

}  // namespace platform::nss
