// vtmsg: reads and writes PKCS#7 messages. docs/vtmsg.md is its manual.
#include <algorithm>
#include <exception>
#include <iostream>
#include <new>
#include <string>

#include "foundation/exceptions.h"
#include "tools/common/arguments.h"
#include "tools/common/input.h"
#include "tools/common/output.h"
#include "tools/vtmsg/commands.h"
#include "tools/vtmsg/session.h"

namespace {

using tools::Arguments;
using tools::kBadInput;
using tools::kBadUsage;
using tools::kFine;
using tools::kNoOutput;
using tools::quoted;
using tools::UsageError;
using vtmsg::Command;

constexpr char kUsage[] = "usage: vtmsg COMMAND [OPTION]... [FILE]\n       vtmsg --help\n";

constexpr char kHelp[] =
    "\n"
    "FILE is what the command reads: a message, or for the commands that write one its\n"
    "content. Without FILE, or for -, it is standard input.\n"
    "Messages, certificates and keys are DER, PEM or base64; keys are PKCS#8 or PKCS#1\n"
    "and not encrypted.\n"
    "\n"
    "  -o, --out FILE       writes there instead of to standard output\n"
    "  -f, --form FORM      of the message: pem (as without the option), der or base64\n"
    "      --leaf           only the certificate that has issued no other of the message\n"
    "      --content FILE   the content of a message that does not carry it\n"
    "      --cert FILE      the certificate of the signer\n"
    "      --key FILE       the private key: of the signer, or of the recipient\n"
    "      --digest D       sha1 (as without the option), md5 or md2\n"
    "      --detached       leaves the content out\n"
    "      --add-cert FILE  certificates to carry besides the signer's\n"
    "      --crl FILE       revocation lists to carry\n"
    "      --to FILE        the certificate of the recipient\n"
    "      --cipher C       des3 (as without the option), des, rc2-128, rc2-64, rc2-40, rc4\n"
    "      --iv HEX         the initial value; random without the option\n"
    "      --ciphertext FILE   the ciphertext of a message that does not carry it\n"
    "      --session-key FILE  the key, in hexadecimal digits\n"
    "\n"
    "The key of a message made by write-enveloped follows from the second it was made in:\n"
    "do not rely on its secrecy. All these algorithms are old, and are here to read and to\n"
    "serve what knows no others.\n"
    "\n"
    "Exit status: 0 done; 1 the input is bad, or was refused for the reason that is told;\n"
    "2 bad usage; 3 the output could not be written.\n";

void printHelp() {
    std::cout << kUsage << '\n';
    for (const Command& command : vtmsg::commands())
        std::cout << "  " << command.name << (*command.arguments == '\0' ? "" : " ") << command.arguments << "\n      "
                  << command.summary << '\n';
    std::cout << kHelp;
}

const Command& findCommand(const std::string& name) {
    const auto found = std::find_if(vtmsg::commands().begin(), vtmsg::commands().end(),
                                    [&](const Command& command) { return name == command.name; });
    if (found == vtmsg::commands().end())
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

int complain(const std::string& what, int status) {
    std::cerr << "vtmsg: " + what + "\n";
    return status;
}

int runCommand(const Arguments& arguments) {
    if (arguments.words().empty())
        throw UsageError("no command");
    if (arguments.words().size() > 2)
        throw UsageError("more than one file: " + quoted(arguments.words()[2]));
    const Command& command = findCommand(arguments.words()[0]);
    checkOptions(command, arguments);
    const std::string file = arguments.words().size() == 2 ? arguments.words()[1] : "-";
    const std::string name = file == "-" ? "standard input" : quoted(file);
    try {
        tools::writeOutput(arguments.value("--out", "-"), command.run(arguments, tools::readInput(file)));
        return kFine;
    } catch (const tools::InputError& error) {
        return complain(name + ": " + error.what(), kBadInput);
    } catch (const vtmsg::Failure& failure) {
        return complain(name + ": " + failure.what(), kBadInput);
    } catch (const std::bad_alloc&) {
        return complain(name + ": too large for the memory there is", kBadInput);
    } catch (const MiException&) {
        return complain(name + ": a certificate is malformed", kBadInput);
    } catch (const tools::OutputError& error) {
        return complain("the output cannot be written: " + std::string(error.what()), kNoOutput);
    }
}

}  // namespace

int main(int count, char** given) {
    try {
        const Arguments arguments(count, given, vtmsg::knownOptions());
        if (!arguments.has("--help"))
            return runCommand(arguments);
        printHelp();
        return std::cout.flush() ? kFine : complain("standard output could not be written", kNoOutput);
    } catch (const UsageError& error) {
        std::cerr << "vtmsg: " << error.what() << '\n' << kUsage << "vtmsg --help says more.\n";
        return kBadUsage;
    }
}
