// vtmsg: reads and writes PKCS#7 messages. docs/vtmsg.md is its manual.
#include "tools/common/program.h"
#include "tools/vtmsg/commands.h"

namespace {

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
    "  -h, --help           prints this text\n"
    "\n"
    "The key of a message made by write-enveloped follows from the second it was made in:\n"
    "do not rely on its secrecy. All these algorithms are old, and are here to read and to\n"
    "serve what knows no others.\n"
    "\n"
    "Exit status: 0 done; 1 the input is bad, or was refused for the reason that is told;\n"
    "2 bad usage; 3 the output could not be written.\n";

}  // namespace

int main(int count, char** given) {
    return tools::runProgram({"vtmsg", kHelp, vtmsg::knownOptions(), vtmsg::commands()}, count, given);
}
