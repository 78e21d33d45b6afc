// vtkey: keys in all their forms, and PFX files. docs/vtkey.md is its manual.
#include "tools/common/program.h"
#include "tools/vtkey/commands.h"

namespace {

constexpr char kHelp[] =
    "\n"
    "FILE is what the command reads: a key, or a PFX. Without FILE, or for -, it is standard\n"
    "input. What is read is DER, PEM, base64 or a Microsoft key blob, and is found out.\n"
    "\n"
    "  -o, --out FILE       writes there instead of to standard output; a file that may hold\n"
    "                       a key is for its owner alone (mode 0600; not on Windows)\n"
    "      --to FORM        pkcs1, pkcs8, ms-private, pkcs1-public, spki or ms-public\n"
    "  -f, --form F         pem (as without the option), der or base64; a Microsoft blob is\n"
    "                       der (as it is, as without the option) or base64\n"
    "      --cert FILE      a certificate\n"
    "      --key FILE       its private key\n"
    "      --add-cert FILE  further certificates for the PFX\n"
    "      --part PART      all (as without the option), key, cert or chain\n"
    "      --no-password    lists what shows without it\n"
    "  -h, --help           prints this text\n"
    "\n"
    "PASSWORD is asked for at the terminal, or comes from\n"
    "      --password-file FILE  the first line of a file\n"
    "      --password-env NAME   a variable of the environment\n"
    "and never from the command line, which is for everybody to see.\n"
    "\n"
    "Exit status: 0 done; 1 the input is bad, or was refused for the reason that is told;\n"
    "2 bad usage; 3 the output could not be written.\n";

}  // namespace

int main(int count, char** given) {
    return tools::runProgram({"vtkey", kHelp, vtkey::knownOptions(), vtkey::commands()}, count, given);
}
