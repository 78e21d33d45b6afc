// The forms of an RSA key: found out in a file, and written.
#ifndef VT_TOOLS_VTKEY_FORMS_H
#define VT_TOOLS_VTKEY_FORMS_H

#include <string>

#include "tools/common/keys.h"

namespace vtkey {

struct Key {
    tools::RsaNumbers numbers;
    bool isPrivate = false;
    std::string form;  // the name of the form that it was read in
};

// The names of the forms, for messages.
constexpr char kForms[] = "pkcs1, pkcs8, ms-private, pkcs1-public, spki, ms-public";

// The first key in a file: PKCS#1, PKCS#8 that is not encrypted, SubjectPublicKeyInfo, a certificate's key (its form is
// "spki"), or a Microsoft blob of any bit length, in DER, PEM or base64. Numbers of a private key may be zero.
// InputError for anything else.
Key readKey(const std::string& input);

// The key in a form, as PEM, DER or base64; blobs are never PEM, and are bytes where encoding is empty, while every
// other form is PEM then. UsageError for an unknown form or encoding; InputError for a private form of a public key,
// and for numbers that do not go into a blob.
std::string writeKey(const Key& key, const std::string& form, const std::string& encoding);

}  // namespace vtkey

#endif
