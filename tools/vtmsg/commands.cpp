#include "tools/vtmsg/commands.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <random>

#include "crypto/codes.h"
#include "token/codes.h"
#include "tools/common/input.h"
#include "tools/common/keys.h"
#include "tools/common/output.h"
#include "tools/common/session.h"

namespace vtmsg {

namespace {

using tools::Arguments;
using tools::Context;
using tools::Failure;
using tools::firstDer;
using tools::from;
using tools::InputError;
using tools::lend;
using tools::List;
using tools::needed;
using tools::OtherFileError;
using tools::Output;
using tools::PrivateKey;
using tools::quoted;
using tools::readCertificate;
using tools::require;
using tools::UsageError;

std::string contentOf(const std::string& file) {
    return from(file, tools::readInput);
}

std::unique_ptr<PrivateKey> privateKey(const Arguments& arguments) {
    return from(needed(arguments, "--key"), [](const std::string& file) { return std::make_unique<PrivateKey>(file); });
}

// As require, for a call with the private key: one that is not consistent is the fault of its file, not of the message.
void requireWithKey(const Arguments& arguments, std::int32_t code) {
    if (code == crypto::kInconsistentKey)
        throw OtherFileError(needed(arguments, "--key"), Failure(code).what());
    require(code);
}

std::string asMessage(const Arguments& arguments, const std::string& der) {
    const std::string form = arguments.value("--form", "pem");
    if (form == "pem")
        return tools::pem("PKCS7", der);
    if (form == "base64")
        return tools::base64(der);
    if (form == "der")
        return der;
    throw UsageError("no form " + quoted(form) + "; there are pem, der and base64");
}

struct Named {
    const char* name;
    std::int32_t algType;
    std::uint32_t effectiveBits;  // of a cipher; the length of a session key that is made for it
    std::size_t ivLength;
};

constexpr Named kDigests[] = {{"sha1", 1, 0, 0}, {"md5", 2, 0, 0}, {"md2", 3, 0, 0}};
constexpr Named kCiphers[] = {{"des3", 5, 192, 8},  {"des", 4, 64, 8},    {"rc2-128", 6, 128, 8},
                              {"rc2-64", 6, 64, 8}, {"rc2-40", 6, 40, 8}, {"rc4", 7, 128, 0}};
constexpr std::int32_t kRsa = 8;

// The entry that an option names; the first where it is not given.
template <std::size_t N>
const Named& chosen(const Arguments& arguments, const std::string& option, const Named (&table)[N]) {
    const std::string name = arguments.value(option, table[0].name);
    const auto* found =
        std::find_if(std::begin(table), std::end(table), [&](const Named& entry) { return name == entry.name; });
    if (found != std::end(table))
        return *found;
    std::string names;
    for (const Named& entry : table)
        names += std::string(" ") + entry.name;
    throw UsageError("no " + option.substr(2) + " " + quoted(name) + "; there are" + names);
}

std::string randomBytes(std::size_t count) {
    std::random_device device;
    std::string bytes;
    while (bytes.size() < count)
        bytes += static_cast<char>(device());
    return bytes;
}

std::string fromHex(const std::string& option, const std::string& text) {
    constexpr char kDigits[] = "0123456789abcdef";
    const auto digit = [&](char c) {
        const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
        const char* const found = std::find(std::begin(kDigits), std::end(kDigits) - 1, lower);
        if (found == std::end(kDigits) - 1)
            throw InputError(option + ": no hexadecimal number");
        return static_cast<int>(found - kDigits);
    };
    if (text.size() % 2 != 0)
        throw InputError(option + ": an odd number of hexadecimal digits");
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); i += 2)
        bytes += static_cast<char>(digit(text[i]) << 4 | digit(text[i + 1]));
    return bytes;
}

// A cipher with its initial value, which stays with this object.
class Cipher {
  public:
    explicit Cipher(const Arguments& arguments) {
        const Named& cipher = chosen(arguments, "--cipher", kCiphers);
        iv = arguments.has("--iv") ? fromHex("--iv", arguments.value("--iv")) : randomBytes(cipher.ivLength);
        if (iv.size() != cipher.ivLength)
            throw UsageError("--iv has " + std::to_string(iv.size()) + " bytes where the cipher takes " +
                             std::to_string(cipher.ivLength));
        alg.algType = cipher.algType;
        alg.effectiveBits = cipher.effectiveBits;
        alg.ivLength = static_cast<std::uint32_t>(iv.size());
        alg.iv = iv.empty() ? nullptr : lend(iv).data;
    }
    Cipher(const Cipher&) = delete;
    Cipher& operator=(const Cipher&) = delete;

    const PKCS_Alg* record() const { return &alg; }

  private:
    std::string iv;
    PKCS_Alg alg{};
};

// A session key stands in a file, as hexadecimal digits: a command line is for everybody to see.
std::string sessionKey(const Arguments& arguments) {
    const std::string file = needed(arguments, "--session-key");
    std::string digits = contentOf(file);
    digits.erase(std::remove_if(digits.begin(), digits.end(), [](unsigned char c) { return c <= ' '; }), digits.end());
    std::string key = fromHex("--session-key", digits);
    if (key.empty())
        throw OtherFileError(file, "empty");
    return key;
}

PKCS_Alg algorithm(std::int32_t type) {
    PKCS_Alg alg{};
    alg.algType = type;
    return alg;
}

std::string readType(const Arguments& /*arguments*/, const std::string& input) {
    constexpr const char* kTypes[] = {"data",        "encrypted data", "digested data",
                                      "signed data", "enveloped data", "signed and enveloped data"};
    const std::string message = firstDer(input);
    const PKCS_Blob blob = lend(message);
    const std::int32_t type = PKCS7_GetMsgType(Context(), &blob);
    if (type < 0)
        throw Failure(type);
    if (type == PKCS7_UNKNOWN)
        throw InputError("no PKCS#7 message, or one of a type that is not known");
    return std::string(kTypes[type - 1]) + "\n";
}

std::string readData(const Arguments& /*arguments*/, const std::string& input) {
    const std::string message = firstDer(input);
    const PKCS_Blob blob = lend(message);
    Output data;
    require(PKCS7_ReadDataMsg(Context(), &blob, data));
    return data.bytes();
}

std::string writeData(const Arguments& arguments, const std::string& input) {
    const PKCS_Blob data = lend(input);
    Output message;
    require(PKCS7_WriteDataMsg(Context(), &data, message));
    return asMessage(arguments, message.bytes());
}

// The certificates of a signed message. The verdict about its signers does not matter here: a message that only carries
// certificates has none. Where there are none, the code says why the message could not be read, if it could not.
void listCertificates(const std::string& input, const List& certificates) {
    const std::string message = firstDer(input);
    const PKCS_Blob blob = lend(message);
    Output content;
    const std::int32_t code =
        PKCS7_ReadSignedDataMsg(Context(), &blob, PKCS7_ATTACHED, nullptr, certificates, nullptr, content);
    if (certificates.count() == 0)
        throw InputError(code == 0 || code == token::kNoSignerVerified ? "the message carries no certificates"
                                                                       : Failure(code).what());
}

std::string headed(const std::string& der) {
    return "subject: " + tools::subjectOf(der) + "\n" + tools::pem("CERTIFICATE", der);
}

std::string readCertificates(const Arguments& arguments, const std::string& input) {
    const List certificates;
    listCertificates(input, certificates);
    std::string text;
    if (arguments.has("--leaf")) {
        Output leaf;
        PKCS_Blob* const out = leaf;
        require(PKCS7_GetLeafCert(certificates, &out->data, &out->length));
        return headed(leaf.bytes());
    }
    for (std::uint32_t i = 0; i < certificates.count(); ++i)
        text += headed(certificates.at(i));
    return text;
}

std::string readSigned(const Arguments& arguments, const std::string& input) {
    const std::string message = firstDer(input);
    const PKCS_Blob blob = lend(message);
    if (!arguments.has("--content")) {
        Output content;
        require(PKCS7_ReadSignedDataMsg(Context(), &blob, PKCS7_ATTACHED, nullptr, nullptr, nullptr, content));
        return content.bytes();
    }
    const std::string content = contentOf(arguments.value("--content"));
    PKCS_Blob given = lend(content);
    require(PKCS7_ReadSignedDataMsg(Context(), &blob, PKCS7_DETACHED, nullptr, nullptr, nullptr, &given));
    return "verified\n";
}

void addAll(const Arguments& arguments, const std::string& option, const std::string& label, List& list) {
    for (const std::string& der : tools::readAll(arguments.values(option), label))
        list.add(der);
}

std::string writeSigned(const Arguments& arguments, const std::string& input) {
    const PKCS_Alg digest = algorithm(chosen(arguments, "--digest", kDigests).algType);
    const PKCS_Alg signature = algorithm(kRsa);
    const std::string certificate = readCertificate(needed(arguments, "--cert"));
    const std::unique_ptr<PrivateKey> key = privateKey(arguments);
    List certificates;
    List certificateLists;
    addAll(arguments, "--add-cert", "CERTIFICATE", certificates);
    addAll(arguments, "--crl", "X509 CRL", certificateLists);
    const PKCS_Blob data = lend(input);
    const PKCS_Blob signer = lend(certificate);
    Output message;
    requireWithKey(arguments,
                   PKCS7_WriteSignedDataMsg(Context(), &data, &digest, &signature,
                                            arguments.has("--detached") ? PKCS7_DETACHED : PKCS7_ATTACHED, &signer,
                                            key->record(), certificates, certificateLists, message));
    return asMessage(arguments, message.bytes());
}

std::string readEnveloped(const Arguments& arguments, const std::string& input) {
    const std::string message = firstDer(input);
    const PKCS_Blob blob = lend(message);
    const std::unique_ptr<PrivateKey> key = privateKey(arguments);
    Output data;
    if (!arguments.has("--ciphertext")) {
        requireWithKey(arguments,
                       PKCS7_ReadEnvelopedDataMsg(Context(), &blob, PKCS7_ATTACHED, key->record(), nullptr, data));
        return data.bytes();
    }
    const std::string ciphertext = contentOf(arguments.value("--ciphertext"));
    const PKCS_Blob given = lend(ciphertext);
    requireWithKey(arguments,
                   PKCS7_ReadEnvelopedDataMsg(Context(), &blob, PKCS7_DETACHED, key->record(), &given, data));
    return "decrypts\n";
}

std::string writeEnveloped(const Arguments& arguments, const std::string& input) {
    const Cipher cipher(arguments);
    const PKCS_Alg transport = algorithm(kRsa);
    const std::string certificate = readCertificate(needed(arguments, "--to"));
    const PKCS_Blob data = lend(input);
    const PKCS_Blob recipient = lend(certificate);
    Output ciphertext;
    Output message;
    require(PKCS7_WriteEnvelopedDataMsg(Context(), &data, cipher.record(), &transport,
                                        arguments.has("--ciphertext") ? PKCS7_DETACHED : PKCS7_ATTACHED, &recipient,
                                        ciphertext, message));
    if (arguments.has("--ciphertext"))
        tools::writeOutput(arguments.value("--ciphertext"), ciphertext.bytes());
    return asMessage(arguments, message.bytes());
}

std::string readSignedAndEnveloped(const Arguments& arguments, const std::string& input) {
    const std::string message = firstDer(input);
    const PKCS_Blob blob = lend(message);
    const std::unique_ptr<PrivateKey> key = privateKey(arguments);
    if (!arguments.has("--ciphertext")) {
        Output data;
        requireWithKey(arguments, PKCS7_ReadSignedAndEnvelopedDataMsg(Context(), &blob, PKCS7_ATTACHED, key->record(),
                                                                      nullptr, nullptr, nullptr, data));
        return data.bytes();
    }
    const std::string ciphertext = contentOf(arguments.value("--ciphertext"));
    PKCS_Blob given = lend(ciphertext);
    requireWithKey(arguments, PKCS7_ReadSignedAndEnvelopedDataMsg(Context(), &blob, PKCS7_DETACHED, key->record(),
                                                                  nullptr, nullptr, nullptr, &given));
    return "verified\n";
}

std::string readEncrypted(const Arguments& arguments, const std::string& input) {
    const std::string message = firstDer(input);
    const std::string key = sessionKey(arguments);
    const PKCS_Blob blob = lend(message);
    const PKCS_Blob keyBlob = lend(key);
    Output data;
    require(PKCS7_ReadEncryptedDataMsg(Context(), &blob, &keyBlob, data));
    return data.bytes();
}

std::string writeEncrypted(const Arguments& arguments, const std::string& input) {
    const Cipher cipher(arguments);
    const std::string bytes = sessionKey(arguments);
    const PKCS_Blob blob = lend(bytes);
    const PKCS_Key key{blob.data, blob.length, blob.length};
    const PKCS_Blob data = lend(input);
    Output message;
    require(PKCS7_WriteEncryptedDataMsg(Context(), &data, cipher.record(), &key, message));
    return asMessage(arguments, message.bytes());
}

std::string readDigested(const Arguments& /*arguments*/, const std::string& input) {
    const std::string message = firstDer(input);
    const PKCS_Blob blob = lend(message);
    Output data;
    require(PKCS7_ReadDigestedDataMsg(Context(), &blob, data));
    return data.bytes();
}

std::string writeDigested(const Arguments& arguments, const std::string& input) {
    const PKCS_Alg digest = algorithm(chosen(arguments, "--digest", kDigests).algType);
    const PKCS_Blob data = lend(input);
    Output message;
    require(PKCS7_WriteDigestedDataMsg(Context(), &data, &digest, message));
    return asMessage(arguments, message.bytes());
}

}  // namespace

const std::vector<tools::Option>& knownOptions() {
    static const std::vector<tools::Option> options = {
        {"--help", "-h", nullptr},
        {"--out", "-o", "a file"},
        {"--form", "-f", "pem, der or base64"},
        {"--leaf", nullptr, nullptr},
        {"--content", nullptr, "the file of the content"},
        {"--cert", nullptr, "the file of the signer's certificate"},
        {"--key", nullptr, "the file of a private key"},
        {"--digest", nullptr, "sha1, md5 or md2"},
        {"--detached", nullptr, nullptr},
        {"--add-cert", nullptr, "a file of certificates"},
        {"--crl", nullptr, "a file of revocation lists"},
        {"--to", nullptr, "the file of the recipient's certificate"},
        {"--cipher", nullptr, "des3, des, rc2-128, rc2-64, rc2-40 or rc4"},
        {"--iv", nullptr, "the initial value in hexadecimal digits"},
        {"--ciphertext", nullptr, "the file of the ciphertext"},
        {"--session-key", nullptr, "a file with the key in hexadecimal digits"},
    };
    return options;
}

const std::vector<tools::Command>& commands() {
    static const std::vector<tools::Command> all = {
        {"type", "", "prints the type of a message", {}, readType},
        {"certs",
         "[--leaf]",
         "prints the certificates of a signed message, or the leaf alone",
         {"--leaf"},
         readCertificates},
        {"read-data", "", "prints the data of a data message", {}, readData},
        {"write-data", "", "makes a data message", {"--form"}, writeData},
        {"read-signed", "[--content FILE]", "verifies, and prints the content", {"--content"}, readSigned},
        {"write-signed",
         "--cert FILE --key FILE [--digest D] [--detached] [--add-cert FILE]... [--crl FILE]...",
         "signs",
         {"--form", "--cert", "--key", "--digest", "--detached", "--add-cert", "--crl"},
         writeSigned},
        {"read-enveloped",
         "--key FILE [--ciphertext FILE]",
         "decrypts with a private key",
         {"--key", "--ciphertext"},
         readEnveloped},
        {"write-enveloped",
         "--to FILE [--cipher C] [--iv HEX] [--ciphertext FILE]",
         "encrypts for the holder of a certificate",
         {"--form", "--to", "--cipher", "--iv", "--ciphertext"},
         writeEnveloped},
        {"read-signed-and-enveloped",
         "--key FILE [--ciphertext FILE]",
         "decrypts with a private key, and verifies",
         {"--key", "--ciphertext"},
         readSignedAndEnveloped},
        {"read-encrypted",
         "--session-key FILE",
         "decrypts with a key that both sides have",
         {"--session-key"},
         readEncrypted},
        {"write-encrypted",
         "--session-key FILE [--cipher C] [--iv HEX]",
         "encrypts with a key that both sides have",
         {"--form", "--session-key", "--cipher", "--iv"},
         writeEncrypted},
        {"read-digested", "", "checks the digest, and prints the content", {}, readDigested},
        {"write-digested", "[--digest D]", "makes a message of data and digest", {"--form", "--digest"}, writeDigested},
    };
    return all;
}

}  // namespace vtmsg
