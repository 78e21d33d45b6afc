// A program of commands: "vtmsg read-data FILE".
#ifndef VT_TOOLS_COMMON_PROGRAM_H
#define VT_TOOLS_COMMON_PROGRAM_H

#include <string>
#include <vector>

#include "tools/common/arguments.h"
#include "tools/common/input.h"
#include "tools/common/output.h"

namespace tools {

// Whether a command reads the FILE of the command line, or standard input without one.
enum class Reads { kFile, kNothing };

struct Command {
    const char* name;
    const char* arguments;             // for the usage text, FILE left out
    const char* summary;               // one line
    std::vector<const char*> options;  // that it takes, besides --out
    // Gives the bytes for the output. InputError for input that cannot be read, Failure for a code, UsageError for
    // options that do not go together. input is empty where the command reads nothing.
    std::string (*run)(const Arguments& arguments, const std::string& input);
    Reads reads = Reads::kFile;
    Access access = Access::kAll;  // to the file of the output
};

struct Program {
    const char* name;
    const char* help;  // behind the list of commands, with the text of the options
    const std::vector<Option>& options;
    const std::vector<Command>& commands;
};

// The value of an option that a command cannot do without; UsageError where it is not given.
std::string needed(const Arguments& arguments, const std::string& option);

// What is wrong with a file other than the one that the command reads. The complaint names that file alone.
class OtherFileError : public InputError {
  public:
    OtherFileError(const std::string& file, const std::string& what) : InputError(quoted(file) + ": " + what) {}
};

// Reads a file other than the one that the command reads.
template <typename Read>
auto from(const std::string& file, Read read) {
    try {
        return read(file);
    } catch (const InputError& error) {
        throw OtherFileError(file, error.what());
    }
}

// The name of the input for a message: quoted, or "standard input".
std::string inputName(const Arguments& arguments);

// Runs the command that the arguments name; complaints go to standard error. Gives the exit status.
int runProgram(const Program& program, int count, char** given);

}  // namespace tools

#endif
