// What is in a PFX: its structure, which shows without the password, and what the password opens.
#ifndef VT_TOOLS_VTKEY_SURVEY_H
#define VT_TOOLS_VTKEY_SURVEY_H

#include <optional>
#include <string>
#include <vector>

#include "foundation/big_integer.h"

class AlgorithmIdentifier;
class PFX;

namespace vtkey {

// An algorithm with the iterations of its parameters, as far as they are of the PKCS#12 form.
struct Scheme {
    std::string identifier;  // "1.2.840.113549.1.12.1.3"
    MiBigInteger iterations;
};

// The name of an algorithm or a type, as openssl has it where it has one; else the identifier.
std::string nameOf(const std::string& identifier);

enum class BagType { kOther, kCertificate, kCrl, kKey, kShroudedKey, kSecret };

struct Bag {
    BagType type = BagType::kOther;
    std::string name;                  // friendly name, what is not ASCII left out
    std::string id;                    // local key identifier, in hexadecimal digits
    std::optional<Scheme> encryption;  // of a shrouded key
    std::string der;                   // of a certificate; the EncryptedPrivateKeyInfo of a shrouded key
};

struct Content {
    std::string type;                  // identifier of the content type
    std::optional<Scheme> encryption;  // of encrypted data
    bool isOpen = false;               // the bags are known
    std::string fault;                 // why it could not be opened with a password that was given
    std::vector<Bag> bags;
};

struct Survey {
    std::string authSafeType;
    std::optional<Scheme> mac;
    std::vector<Content> contents;
};

// InputError for what is no PFX. Encrypted contents are opened where there is a password.
Survey survey(const std::string& der, const std::optional<std::string>& password);

// The identifier of the algorithm of a shrouded key; empty where it does not open.
std::string keyAlgorithm(const Bag& bag, const std::string& password);

// Whether an element has an indefinite length, or octets come in pieces: BER that is no DER.
bool isBer(const std::string& bytes);

}  // namespace vtkey

#endif
