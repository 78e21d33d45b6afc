// vtprint: prints a certificate, request, key or message as indented text. docs/vtprint.md is its manual.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "schema/registry.h"
#include "tools/vtprint/input.h"
#include "tools/vtprint/types.h"

namespace {

using vtprint::Block;
using vtprint::InputError;
using vtprint::Value;

enum ExitStatus { kFine = 0, kBadInput = 1, kBadUsage = 2, kNoOutput = 3 };

constexpr char kUsage[] =
    "usage: vtprint [--type TYPE] [FILE]\n"
    "       vtprint --list | --help\n";

constexpr char kHelp[] =
    "\n"
    "Prints a certificate, revocation list, request, key or PKCS#7 or PKCS#12 message\n"
    "as indented text. FILE is DER, PEM with any text around it, or base64 alone;\n"
    "without FILE, or for -, standard input is read.\n"
    "\n"
    "  -t, --type TYPE  the type of what is in FILE, one of --list; else it is found out,\n"
    "                   named on a line of its own, and what a message holds is printed too\n"
    "  -l, --list       prints the names of all types\n"
    "  -h, --help       prints this text\n"
    "\n"
    "Exit status: 0 all was printed; 1 the input is bad; 2 bad usage; 3 the text could\n"
    "not be written.\n";

class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct Options {
    bool help = false;
    bool list = false;
    std::string type;
    std::string file = "-";
};

// What the user wrote, fit for a message: short, and without what a terminal would act on.
std::string quoted(std::string_view text) {
    constexpr std::size_t kMost = 60;
    std::string out = "\"";
    for (const char c : text.substr(0, kMost))
        out += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? '?' : c;
    return out + (text.size() > kMost ? "...\"" : "\"");
}

bool sameButForCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

std::string knownType(const std::string& name) {
    if (AsnFindSchemaType(name.c_str()) != nullptr)
        return name;
    unsigned int count = 0;
    const AsnSchemaType* types = AsnSchemaTypes(count);
    const AsnSchemaType* like =
        std::find_if(types, types + count, [&](const AsnSchemaType& type) { return sameButForCase(type.name, name); });
    throw UsageError("no type " + quoted(name) +
                     (like == types + count ? "" : "; is " + std::string(like->name) + " meant?"));
}

// Goes through the arguments; an option's value is in its own argument or behind "=".
class ArgumentReader {
  public:
    ArgumentReader(int count, char** arguments) : rest(arguments + std::min(count, 1), arguments + count) {}

    Options read() {
        bool onlyFiles = false;
        while (!rest.empty()) {
            const std::string argument = take();
            if (onlyFiles || argument == "-" || argument.empty() || argument[0] != '-')
                takeFile(argument);
            else if (argument == "--")
                onlyFiles = true;
            else
                takeOption(argument);
        }
        return options;
    }

  private:
    std::string take() {
        std::string first = rest.front();
        rest.erase(rest.begin());
        return first;
    }

    void takeFile(const std::string& name) {
        if (fileGiven)
            throw UsageError("more than one file: " + quoted(name));
        fileGiven = true;
        options.file = name;
    }

    void takeOption(const std::string& argument) {
        constexpr std::string_view kTypeIs = "--type=";
        if (argument == "-h" || argument == "--help")
            options.help = true;
        else if (argument == "-l" || argument == "--list")
            options.list = true;
        else if (argument.compare(0, kTypeIs.size(), kTypeIs) == 0)
            options.type = knownType(argument.substr(kTypeIs.size()));
        else if (argument != "-t" && argument != "--type")
            throw UsageError("no option " + quoted(argument));
        else if (rest.empty())
            throw UsageError(argument + " needs a type");
        else
            options.type = knownType(take());
    }

    std::vector<std::string> rest;
    Options options;
    bool fileGiven = false;
};

void listTypes() {
    unsigned int count = 0;
    const AsnSchemaType* types = AsnSchemaTypes(count);
    for (unsigned int i = 0; i < count; ++i)
        std::cout << types[i].name << '\n';
}

void print(const Value& value) {
    value.object->ToOstream(std::cout, 0);
    std::cout << '\n';
}

void printNamed(const Value& value) {
    std::cout << value.type << '\n';
    print(value);
}

// Prints one block; what follows its first element is an error that comes behind the printed text.
void printBlock(Block block, const std::string& type) {
    if (!block.fault.empty())
        throw InputError(block.fault);
    const std::size_t length = vtprint::elementLength(block.der);
    if (length > block.der.size())
        throw InputError("cut short: " + std::to_string(block.der.size()) + " bytes of " + std::to_string(length));
    const std::size_t behind = block.der.size() - length;
    block.der.resize(length);
    if (!type.empty()) {
        print(vtprint::decodeAs(type, block.der));
    } else {
        const Value value = vtprint::decodeFound(block);
        printNamed(value);
        for (const Value& inner : vtprint::insideOf(value))
            printNamed(inner);
    }
    if (behind != 0)
        throw InputError(std::to_string(behind) + " bytes behind the end");
}

void complain(const std::string& where, const std::string& what) {
    std::cerr << "vtprint: " + where + ": " + what + "\n";  // at once, as this stream keeps nothing
}

int printFile(const Options& options) {
    const std::string name = options.file == "-" ? "standard input" : quoted(options.file);
    int status = kFine;
    try {
        for (const Block& block : vtprint::findBlocks(vtprint::readInput(options.file))) {
            try {
                printBlock(block, options.type);
            } catch (const InputError& error) {
                complain(block.line == 0 ? name : name + ", line " + std::to_string(block.line), error.what());
                status = kBadInput;
            }
        }
    } catch (const InputError& error) {
        complain(name, error.what());
        status = kBadInput;
    } catch (const std::bad_alloc&) {
        complain(name, "too large for the memory there is");
        status = kBadInput;
    }
    return status;
}

int run(const Options& options) {
    if (options.help)
        std::cout << kUsage << kHelp;
    else if (options.list)
        listTypes();
    else
        return printFile(options);
    return kFine;
}

}  // namespace

int main(int count, char** arguments) {
    Options options;
    try {
        options = ArgumentReader(count, arguments).read();
    } catch (const UsageError& error) {
        std::cerr << "vtprint: " << error.what() << '\n' << kUsage << "vtprint --help says more.\n";
        return kBadUsage;
    }
    const int status = run(options);
    if (!std::cout.flush()) {
        complain("standard output", "could not be written");
        return kNoOutput;
    }
    return status;
}
