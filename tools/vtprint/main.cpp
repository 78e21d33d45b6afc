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
#include "tools/common/arguments.h"
#include "tools/common/input.h"
#include "tools/common/types.h"

namespace {

using tools::Block;
using tools::InputError;
using tools::kBadInput;
using tools::kBadUsage;
using tools::kFine;
using tools::kNoOutput;
using tools::quoted;
using tools::UsageError;
using tools::Value;

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

struct Options {
    bool help = false;
    bool list = false;
    std::string type;
    std::string file = "-";
};

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

Options readOptions(int count, char** arguments) {
    const tools::Arguments given(count, arguments,
                                 {{"--help", "-h", nullptr}, {"--list", "-l", nullptr}, {"--type", "-t", "a type"}});
    Options options;
    options.help = given.has("--help");
    options.list = given.has("--list");
    for (const std::string& type : given.values("--type"))
        options.type = knownType(type);
    if (given.words().size() > 1)
        throw UsageError("more than one file: " + quoted(given.words()[1]));
    if (!given.words().empty())
        options.file = given.words()[0];
    return options;
}

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

// Prints one block; what cannot be printed of it is an error that comes behind the printed text.
void printBlock(Block block, const std::string& type) {
    if (!block.fault.empty())
        throw InputError(block.fault);
    const std::size_t length = tools::elementLength(block.der);
    if (length > block.der.size())
        throw InputError("cut short: " + std::to_string(block.der.size()) + " bytes of " + std::to_string(length));
    const std::size_t behind = block.der.size() - length;
    block.der.resize(length);
    std::string fault;
    if (!type.empty()) {
        print(tools::decodeAs(type, block.der));
    } else {
        const Value value = tools::decodeFound(block);
        printNamed(value);
        for (const Value& inner : tools::insideOf(value, fault))
            printNamed(inner);
    }
    if (!fault.empty())
        throw InputError("what is inside cannot be printed: " + fault);
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
        for (const Block& block : tools::findBlocks(tools::readInput(options.file))) {
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
        options = readOptions(count, arguments);
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
