// The command line of a tool: options with or without a value, and words (files, commands).
#ifndef VT_TOOLS_COMMON_ARGUMENTS_H
#define VT_TOOLS_COMMON_ARGUMENTS_H

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tools {

// Exit statuses that all tools share.
enum ExitStatus { kFine = 0, kBadInput = 1, kBadUsage = 2, kNoOutput = 3 };

// A mistake of the user's, in words for the user.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// What the user wrote, fit for a message: short, and without what a terminal would act on.
std::string quoted(std::string_view text);

struct Option {
    const char* name;       // "--type"
    const char* shortName;  // "-t", or null
    const char* value;      // what its value is called in a complaint: "a type"; null for an option without one
};

class Arguments {
  public:
    // Goes through the arguments behind the program's name. The value of an option is the next argument, or stands
    // behind "=". "-" is a word, and behind "--" everything is. UsageError for an unknown option and for a value that
    // is missing or not wanted.
    Arguments(int count, char** arguments, const std::vector<Option>& known);

    bool has(const std::string& option) const { return given.count(option) != 0; }

    // The value that was given last; the other text where none was.
    std::string value(const std::string& option, const std::string& other = {}) const;
    std::vector<std::string> values(const std::string& option) const;

    // The names of the options that were given, each once.
    std::vector<std::string> options() const;
    const std::vector<std::string>& words() const { return rest; }

  private:
    std::map<std::string, std::vector<std::string>> given;
    std::vector<std::string> rest;
};

}  // namespace tools

#endif
