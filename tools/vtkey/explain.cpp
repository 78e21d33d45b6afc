#include "tools/vtkey/explain.h"

#include <algorithm>
#include <vector>

#include "pki/content.h"
#include "pki/pkcs12_kdf.h"
#include "token/codes.h"
#include "tools/common/codes.h"
#include "tools/common/input.h"
#include "tools/common/session.h"
#include "tools/vtkey/password.h"
#include "tools/vtkey/pfx.h"
#include "tools/vtkey/repair.h"
#include "tools/vtkey/survey.h"

namespace vtkey {

namespace {

using tools::Arguments;

constexpr std::size_t kMost = 128;  // contents of a file, and bags of a content
constexpr char kAtMost[] = ", and at most 128 fit";
constexpr char kSha1[] = "1.3.14.3.2.26";
constexpr char kTwoKeyTripleDes[] = "1.2.840.113549.1.12.1.4";
constexpr char kPkcs12Encryptions[] = "1.2.840.113549.1.12.1.";

// What openssl can do about a reason.
enum class Remedy {
    kNone,       // the reason says what to do
    kRemake,     // take the file apart and put it together again
    kRemakeOwn,  // the same, without certificates that are not the key's
    kAskAgain,   // try the password
    kNewKey,     // make another key
};

struct Reason {
    std::string text;
    Remedy remedy;
};

class Reasons {
  public:
    void add(const std::string& text, Remedy remedy = Remedy::kRemake) {
        const auto same = [&](const Reason& reason) { return reason.text == text; };
        if (std::none_of(all.begin(), all.end(), same))
            all.push_back({text, remedy});
    }

    bool empty() const { return all.empty(); }

    std::string text() const {
        std::string out = "This PFX cannot be opened:\n";
        for (const Reason& reason : all)
            out += "- " + reason.text + "\n";
        return out;
    }

    bool has(Remedy remedy) const {
        return std::any_of(all.begin(), all.end(), [&](const Reason& reason) { return reason.remedy == remedy; });
    }

  private:
    std::vector<Reason> all;
};

bool startsWith(const std::string& text, const std::string& with) {
    return text.compare(0, with.size(), with) == 0;
}

bool isAbove(const MiBigInteger& number, int limit) {
    return (number - limit).GetSign() > 0;
}

// ---- The structure

void checkIterations(const Scheme& scheme, Reasons& reasons) {
    if (isAbove(scheme.iterations, pki::kMostIterations))
        reasons.add("it has " + std::string(scheme.iterations.GetStringBase10().GetChars()) +
                    " iterations, and at most " + std::to_string(pki::kMostIterations) + " are computed");
}

void checkMac(const Survey& pfx, Reasons& reasons) {
    if (!pfx.mac) {
        reasons.add("it has no MAC, so that nothing tells a wrong password or a changed file");
        return;
    }
    if (pfx.mac->identifier != kSha1)
        reasons.add("its MAC is newer than what is supported: " + nameOf(pfx.mac->identifier) + " and not SHA1");
    checkIterations(*pfx.mac, reasons);
}

void checkEncryption(const std::string& what, const Scheme& scheme, Reasons& reasons) {
    const std::string name = nameOf(scheme.identifier);
    if (scheme.identifier == kTwoKeyTripleDes)
        reasons.add(what + " under two-key triple DES (" + name + "), which is not supported");
    else if (!startsWith(scheme.identifier, kPkcs12Encryptions))
        reasons.add(what + " by an encryption newer than what is supported: " + name);
    checkIterations(scheme, reasons);
}

const Content* firstOf(const Survey& pfx, const char* type) {
    const auto found = std::find_if(pfx.contents.begin(), pfx.contents.end(),
                                    [&](const Content& content) { return content.type == type; });
    return found == pfx.contents.end() ? nullptr : &*found;
}

const Bag* firstOf(const Content& content, BagType type) {
    const auto found =
        std::find_if(content.bags.begin(), content.bags.end(), [&](const Bag& bag) { return bag.type == type; });
    return found == content.bags.end() ? nullptr : &*found;
}

const Bag* keyOf(const Survey& pfx) {
    const Content* const open = firstOf(pfx, pki::kDataType);
    return open == nullptr ? nullptr : firstOf(*open, BagType::kShroudedKey);
}

// The key is looked for in the first content that is not encrypted as a whole, and the certificates in the first that
// is.
void checkPlaces(const Survey& pfx, Reasons& reasons) {
    const Content* const open = firstOf(pfx, pki::kDataType);
    const Content* const closed = firstOf(pfx, pki::kEncryptedDataType);
    const Bag* const key = keyOf(pfx);
    if (key != nullptr && key->encryption)
        checkEncryption("its key is encrypted", *key->encryption, reasons);
    else if (open != nullptr && firstOf(*open, BagType::kKey) != nullptr)
        reasons.add("its key is not encrypted");
    else
        reasons.add("its first content that is not encrypted has no encrypted key, and no other is looked at");
    if (closed == nullptr)
        reasons.add("its certificates are not encrypted");
    else if (closed->encryption)
        checkEncryption("its certificates are encrypted", *closed->encryption, reasons);
}

void checkSizes(const Survey& pfx, Reasons& reasons) {
    if (pfx.contents.size() > kMost)
        reasons.add("it has " + std::to_string(pfx.contents.size()) + " contents" + kAtMost);
    for (const Content& content : pfx.contents)
        if (content.bags.size() > kMost)
            reasons.add("a content has " + std::to_string(content.bags.size()) + " bags" + kAtMost, Remedy::kRemakeOwn);
}

void checkStructure(const Survey& pfx, Reasons& reasons) {
    if (pfx.authSafeType != pki::kDataType) {
        reasons.add("it is protected by a signature (" + nameOf(pfx.authSafeType) +
                        ") and not by a password; have it exported under a password",
                    Remedy::kNone);
        return;
    }
    checkMac(pfx, reasons);
    checkPlaces(pfx, reasons);
    checkSizes(pfx, reasons);
}

// ---- With the password

void checkKeyType(const Survey& pfx, const std::string& password, Reasons& reasons) {
    const Bag* const key = keyOf(pfx);
    const std::string algorithm = key == nullptr ? std::string() : keyAlgorithm(*key, password);
    if (!algorithm.empty() && algorithm != tools::kRsaEncryption)
        reasons.add("its key is no RSA key but one of " + nameOf(algorithm) +
                        ": no program turns it into one; ask for a certificate for a new key",
                    Remedy::kNewKey);
}

void explainCode(std::int32_t code, const Survey& pfx, const std::string& password, Reasons& reasons) {
    if (code == token::kDigestMismatch) {
        reasons.add("the password is wrong, or the file was changed: the MAC is another (" + std::to_string(code) + ")",
                    Remedy::kAskAgain);
        return;
    }
    checkKeyType(pfx, password, reasons);
    checkSizes(pfx, reasons);
    if (!reasons.empty())
        return;
    if (code == token::kKeyMismatch)
        reasons.add("none of its certificates is that of its first key (" + std::to_string(code) +
                        "); put key and certificate together with `vtkey make-pfx`",
                    Remedy::kNone);
    else
        reasons.add(tools::explained(code));
}

std::string readable(const Opened& opened) {
    std::string out = "This PFX can be opened.\n";
    try {
        const Repair repair = repaired(opened.key);
        if (!repair.changes.empty())
            out += "Its key will be refused when it is used, with -14, until `vtkey repair` has set it right:\n";
        for (const std::string& change : repair.changes)
            out += "- " + change + "\n";
    } catch (const tools::InputError& error) {
        out += "Its key will be refused when it is used: " + std::string(error.what()) + "\n";
    }
    return out;
}

// ---- Commands

// openssl 3 has RC2 and RC4 in a provider that has to be named.
bool needsLegacy(const Survey& pfx) {
    const auto isOld = [](const std::optional<Scheme>& scheme) {
        return scheme && nameOf(scheme->identifier).find("-RC") != std::string::npos;
    };
    return std::any_of(pfx.contents.begin(), pfx.contents.end(), [&](const Content& content) {
        return isOld(content.encryption) || std::any_of(content.bags.begin(), content.bags.end(),
                                                        [&](const Bag& bag) { return isOld(bag.encryption); });
    });
}

std::string fileName(const Arguments& arguments) {
    return arguments.words().size() < 2 || arguments.words()[1] == "-" ? "FILE" : shellWord(arguments.words()[1]);
}

std::string remake(const Arguments& arguments, const std::string& options) {
    return "These commands make it readable, as readable.pfx; plain.pem has the key in the clear, so remove it:\n"
           "  openssl pkcs12 -in " +
           fileName(arguments) + options + " -noenc -out plain.pem" + opensslSource(arguments, "-passin") +
           "\n"
           "  openssl pkcs12 -export -in plain.pem -out readable.pfx -keypbe PBE-SHA1-3DES -certpbe PBE-SHA1-3DES "
           "-macalg sha1" +
           opensslSource(arguments, "-passout") + "\n";
}

std::string advice(const Arguments& arguments, const Reasons& reasons, const std::string& options) {
    if (reasons.has(Remedy::kNewKey))
        return "This command makes a new RSA key, and the request for its certificate:\n"
               "  openssl req -new -newkey rsa:2048 -noenc -keyout new.key -out new.csr\n";
    if (reasons.has(Remedy::kAskAgain))
        return "This command tells whether another program takes the password:\n"
               "  openssl pkcs12 -in " +
               fileName(arguments) + options + " -noout" + opensslSource(arguments, "-passin") + "\n";
    if (reasons.has(Remedy::kRemakeOwn))
        return remake(arguments, options + " -clcerts");
    return reasons.has(Remedy::kRemake) ? remake(arguments, options) : std::string();
}

std::string explainBer(const Arguments& arguments) {
    Reasons reasons;
    reasons.add("it is BER and not DER: lengths are indefinite, or octets come in pieces");
    return reasons.text() + advice(arguments, reasons, {}) +
           "If openssl does not know an encryption of the file, give its first command -legacy too.\n";
}

}  // namespace

std::string explainPfx(const Arguments& arguments, const std::string& input) {
    const std::string der = tools::firstDer(input);
    if (isBer(der))
        return explainBer(arguments);
    Survey pfx = survey(der, std::nullopt);
    const std::string options = needsLegacy(pfx) ? " -legacy" : "";
    Reasons reasons;
    checkStructure(pfx, reasons);
    if (!reasons.empty())
        return reasons.text() + advice(arguments, reasons, options);
    const std::string password = askPassword(arguments, Ask::kOnce);
    Opened opened;
    const std::int32_t code = tryPfx(der, password, opened);
    if (code == 0)
        return readable(opened);
    if (code != token::kDigestMismatch)
        pfx = survey(der, password);
    explainCode(code, pfx, password, reasons);
    return reasons.text() + advice(arguments, reasons, options);
}

}  // namespace vtkey
