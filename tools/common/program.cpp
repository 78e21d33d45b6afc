#include "tools/common/program.h"

#include <algorithm>
#include <iostream>
#include <new>

#include "foundation/exceptions.h"
#include "tools/common/session.h"

namespace tools {

namespace {

std::string usage(const Program& program) {
    const std::string name = program.name;
    return "usage: " + name + " COMMAND [OPTION]... [FILE]\n       " + name + " --help\n";
}

void printHelp(const Program& program) {
    std::cout << usage(program) << '\n';
    for (const Command& command : program.commands)
        std::cout << "  " << command.name << (*command.arguments == '\0' ? "" : " ") << command.arguments << "\n      "
                  << command.summary << '\n';
    std::cout << program.help;
}

const Command& findCommand(const Program& program, const std::string& name) {
    const auto found = std::find_if(program.commands.begin(), program.commands.end(),
                                    [&](const Command& command) { return name == command.name; });
    if (found == program.commands.end())
        throw UsageError("no command " + quoted(name));
    return *found;
}

void checkOptions(const Command& command, const Arguments& arguments) {
    for (const std::string& option : arguments.options()) {
        const auto known = std::find(command.options.begin(), command.options.end(), option);
        if (known == command.options.end() && option != "--out")
            throw UsageError(std::string(command.name) + " has no option " + option);
    }
}

void checkWords(const Command& command, const Arguments& arguments) {
    const std::vector<std::string>& words = arguments.words();
    if (words.size() > 2)
        throw UsageError("more than one file: " + quoted(words[2]));
    if (words.size() == 2 && command.reads == Reads::kNothing)
        throw UsageError(std::string(command.name) + " reads the files of its options alone, and not " +
                         quoted(words[1]));
}

std::string inputFile(const Arguments& arguments) {
    return arguments.words().size() >= 2 ? arguments.words()[1] : "-";
}

class Complaints {
  public:
    explicit Complaints(const Program& program) : start(std::string(program.name) + ": ") {}

    int operator()(const std::string& what, int status) const {
        std::cerr << start + what + "\n";
        return status;
    }

  private:
    std::string start;
};

int runCommand(const Program& program, const Arguments& arguments) {
    const Complaints complain(program);
    if (arguments.words().empty())
        throw UsageError("no command");
    const Command& command = findCommand(program, arguments.words()[0]);
    checkWords(command, arguments);
    checkOptions(command, arguments);
    const bool reads = command.reads == Reads::kFile;
    const std::string about = reads ? inputName(arguments) + ": " : std::string();
    try {
        const std::string input = reads ? readInput(inputFile(arguments)) : std::string();
        writeOutput(arguments.value("--out", "-"), command.run(arguments, input), command.access);
        return kFine;
    } catch (const OtherFileError& error) {
        return complain(error.what(), kBadInput);
    } catch (const InputError& error) {
        return complain(about + error.what(), kBadInput);
    } catch (const Failure& failure) {
        return complain(about + failure.what(), kBadInput);
    } catch (const std::bad_alloc&) {
        return complain(about + "too large for the memory there is", kBadInput);
    } catch (const MiException&) {
        return complain(about + "malformed DER", kBadInput);
    } catch (const OutputError& error) {
        return complain("the output cannot be written: " + std::string(error.what()), kNoOutput);
    }
}

}  // namespace

std::string needed(const Arguments& arguments, const std::string& option) {
    if (!arguments.has(option))
        throw UsageError("the command needs " + option);
    return arguments.value(option);
}

std::string inputName(const Arguments& arguments) {
    const std::string file = inputFile(arguments);
    return file == "-" ? "standard input" : quoted(file);
}

int runProgram(const Program& program, int count, char** given) {
    const Complaints complain(program);
    try {
        const Arguments arguments(count, given, program.options);
        if (!arguments.has("--help"))
            return runCommand(program, arguments);
        printHelp(program);
        return std::cout.flush() ? kFine : complain("standard output could not be written", kNoOutput);
    } catch (const UsageError& error) {
        return complain(error.what() + ("\n" + usage(program)) + program.name + " --help says more.", kBadUsage);
    }
}

}  // namespace tools
