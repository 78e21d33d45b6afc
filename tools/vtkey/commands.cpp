#include "tools/vtkey/commands.h"

#include <iostream>
#include <memory>

#include "foundation/exceptions.h"
#include "token/codes.h"
#include "tools/common/codes.h"
#include "tools/common/input.h"
#include "tools/common/keys.h"
#include "tools/common/output.h"
#include "tools/common/session.h"
#include "tools/vtkey/explain.h"
#include "tools/vtkey/forms.h"
#include "tools/vtkey/password.h"
#include "tools/vtkey/pfx.h"
#include "tools/vtkey/repair.h"
#include "tools/vtkey/survey.h"

namespace vtkey {

namespace {

using tools::Arguments;
using tools::firstDer;
using tools::from;
using tools::InputError;
using tools::needed;
using tools::readCertificate;
using tools::UsageError;

Key privateKeyOf(const std::string& file) {
    return from(file, [](const std::string& name) {
        Key key = readKey(tools::readInput(name));
        if (!key.isPrivate)
            throw InputError("this is a public key");
        return key;
    });
}

std::string convert(const Arguments& arguments, const std::string& input) {
    const std::string form = needed(arguments, "--to");
    return writeKey(readKey(input), form, arguments.value("--form"));
}

std::string check(const Arguments& arguments, const std::string& /*input*/) {
    const std::string certificate = readCertificate(needed(arguments, "--cert"));
    const Key key = privateKeyOf(needed(arguments, "--key"));
    const std::string modulus = tools::magnitude(key.numbers.modulus);
    const std::string exponent = tools::magnitude(key.numbers.publicExponent);
    PKCS_PriKey record{};
    record.modulus = tools::lend(modulus);
    record.publicExponent = tools::lend(exponent);
    const PKCS_Blob blob = tools::lend(certificate);
    tools::require(VT_CheckCertAndPriKey(&blob, &record));
    return "key and certificate belong together\n";
}

// ---- PFX

std::string make(const Arguments& arguments, const std::string& /*input*/) {
    const std::string certificate = readCertificate(needed(arguments, "--cert"));
    const Key key = privateKeyOf(needed(arguments, "--key"));
    const std::unique_ptr<tools::PrivateKey> record = from(needed(arguments, "--key"), [&](const std::string&) {
        return std::make_unique<tools::PrivateKey>(key.numbers);
    });
    const std::vector<std::string> others = tools::readAll(arguments.values("--add-cert"), "CERTIFICATE");
    return makePfx(certificate, *record, askPassword(arguments, Ask::kTwice), others);
}

std::string schemeText(const Scheme& scheme) {
    const std::string iterations =
        scheme.iterations.GetSign() == 0
            ? std::string()
            : ", " + std::string(scheme.iterations.GetStringBase10().GetChars()) + " iterations";
    return nameOf(scheme.identifier) + iterations;
}

std::string certificateText(const std::string& der) {
    try {
        return ", " + tools::subjectOf(der);
    } catch (const MiException&) {
        return ", malformed";
    }
}

std::string bagText(const Bag& bag) {
    constexpr const char* kTypes[] = {"unknown bag", "certificate",   "revocation list",
                                      "key",         "encrypted key", "secret"};
    std::string text = std::string("  ") + kTypes[static_cast<int>(bag.type)];
    if (bag.encryption)
        text += ", " + schemeText(*bag.encryption);
    if (bag.type == BagType::kCertificate)
        text += certificateText(bag.der);
    if (!bag.name.empty())
        text += ", name " + tools::quoted(bag.name);
    return text + (bag.id.empty() ? "\n" : ", id " + bag.id + "\n");
}

std::string contentText(const Content& content) {
    std::string text = nameOf(content.type) + (content.encryption ? ", " + schemeText(*content.encryption) : "") + "\n";
    for (const Bag& bag : content.bags)
        text += bagText(bag);
    if (!content.fault.empty())
        text += "  not opened: " + content.fault + "\n";
    return text;
}

std::string list(const Arguments& arguments, const std::string& input) {
    const std::string der = firstDer(input);
    std::optional<std::string> password;
    if (!arguments.has("--no-password"))
        password = askPassword(arguments, Ask::kOnce);
    const Survey pfx = survey(der, password);
    std::string text = "MAC: " + (pfx.mac ? schemeText(*pfx.mac) : "none") + "\n";
    for (const Content& content : pfx.contents)
        text += contentText(content);
    return text;
}

// A code alone says too little to somebody with a file that does not open.
[[noreturn]] void failToOpen(std::int32_t code) {
    const std::string reason = code == token::kDigestMismatch
                                   ? std::to_string(code) + ": the password is wrong, or the file was changed."
                                   : tools::explained(code);
    throw InputError(reason + " `vtkey explain` looks into the file.");
}

std::string unpack(const Arguments& arguments, const std::string& input) {
    const std::string part = arguments.value("--part", "all");
    const bool all = part == "all";
    if (!all && part != "key" && part != "cert" && part != "chain")
        throw UsageError("no part " + tools::quoted(part) + "; there are all, key, cert and chain");
    const std::string form = arguments.value("--to", "pkcs8");
    if (form != "pkcs8" && form != "pkcs1")
        throw UsageError("a key of a PFX is written as pkcs8 or pkcs1, and not as " + tools::quoted(form));
    Opened opened;
    const std::int32_t code = tryPfx(firstDer(input), askPassword(arguments, Ask::kOnce), opened);
    if (code != 0)
        failToOpen(code);
    std::string text;
    if (all || part == "key")
        text += writeKey({opened.key, true, {}}, form, "pem");
    if (all || part == "cert")
        text += tools::pem("CERTIFICATE", opened.certificate);
    for (const std::string& der : opened.chain)
        if (all || part == "chain")
            text += tools::pem("CERTIFICATE", der);
    return text;
}

// ---- Repair

std::string repair(const Arguments& arguments, const std::string& input) {
    const Key key = readKey(input);
    if (!key.isPrivate)
        throw InputError("this is a public key");
    const Repair result = repaired(key.numbers);
    std::string text = writeKey({result.key, true, {}}, arguments.value("--to", key.form), arguments.value("--form"));
    // Standard output is for the key.
    for (const std::string& change : result.changes)
        std::cerr << "vtkey: " + change + "\n";
    if (result.changes.empty())
        std::cerr << "vtkey: nothing to repair\n";
    return text;
}

}  // namespace

const std::vector<tools::Option>& knownOptions() {
    static const std::vector<tools::Option> options = {
        {"--help", "-h", nullptr},
        {"--out", "-o", "a file"},
        {"--to", nullptr, "a form of keys"},
        {"--form", "-f", "pem, der or base64"},
        {"--cert", nullptr, "the file of a certificate"},
        {"--key", nullptr, "the file of a private key"},
        {"--add-cert", nullptr, "a file of certificates"},
        {"--part", nullptr, "all, key, cert or chain"},
        {"--no-password", nullptr, nullptr},
        {"--password-file", nullptr, "a file with the password in its first line"},
        {"--password-env", nullptr, "the name of a variable"},
    };
    return options;
}

const std::vector<tools::Command>& commands() {
    using tools::Access;
    using tools::Reads;
    static const std::vector<tools::Command> all = {
        {"convert",
         "--to FORM [--form F]",
         "writes a key in another form",
         {"--to", "--form"},
         convert,
         Reads::kFile,
         Access::kOwner},
        {"check",
         "--cert FILE --key FILE",
         "says whether certificate and private key belong together",
         {"--cert", "--key"},
         check,
         Reads::kNothing},
        {"make-pfx",
         "--cert FILE --key FILE [--add-cert FILE]... [PASSWORD]",
         "makes a PFX",
         {"--cert", "--key", "--add-cert", "--password-file", "--password-env"},
         make,
         Reads::kNothing,
         Access::kOwner},
        {"list-pfx",
         "[--no-password | PASSWORD]",
         "prints what is in a PFX",
         {"--no-password", "--password-file", "--password-env"},
         list},
        {"unpack-pfx",
         "[--part PART] [--to pkcs8|pkcs1] [PASSWORD]",
         "prints key, certificate and the other certificates of a PFX",
         {"--part", "--to", "--password-file", "--password-env"},
         unpack,
         Reads::kFile,
         Access::kOwner},
        {"explain",
         "[PASSWORD]",
         "says why a PFX cannot be opened, and what makes it readable",
         {"--password-file", "--password-env"},
         explainPfx},
        {"repair",
         "[--to FORM] [--form F]",
         "makes a private key that is refused with -14 acceptable",
         {"--to", "--form"},
         repair,
         Reads::kFile,
         Access::kOwner},
    };
    return all;
}

}  // namespace vtkey
