#include "tools/vtkey/survey.h"

#include <algorithm>
#include <iterator>
#include <memory>

#include "asn/asn.h"
#include "foundation/byte_buffer.h"
#include "foundation/exceptions.h"
#include "pki/content.h"
#include "pki/pkcs12_pbe.h"
#include "pki/safe_contents.h"
#include "schema/schema.h"
#include "tools/common/bytes.h"
#include "tools/common/input.h"
#include "tools/common/session.h"
#include "tools/common/types.h"

namespace vtkey {

namespace {

using tools::bytesOf;
using tools::InputError;
using tools::textOf;

std::string dotted(const AsnOid* identifier) {
    return identifier == nullptr || identifier->GetData().Empty() ? std::string()
                                                                  : std::string(identifier->GetData().GetChars());
}

struct Named {
    const char* identifier;
    const char* name;
};
constexpr Named kNames[] = {
    {"1.2.840.113549.1.12.1.1", "PBE-SHA1-RC4-128"},
    {"1.2.840.113549.1.12.1.2", "PBE-SHA1-RC4-40"},
    {"1.2.840.113549.1.12.1.3", "PBE-SHA1-3DES"},
    {"1.2.840.113549.1.12.1.4", "PBE-SHA1-2DES"},
    {"1.2.840.113549.1.12.1.5", "PBE-SHA1-RC2-128"},
    {"1.2.840.113549.1.12.1.6", "PBE-SHA1-RC2-40"},
    {"1.2.840.113549.1.5.13", "PBES2"},
    {"1.2.840.113549.1.5.14", "PBMAC1"},
    {"1.3.14.3.2.26", "SHA1"},
    {"2.16.840.1.101.3.4.2.1", "SHA256"},
    {"2.16.840.1.101.3.4.2.2", "SHA384"},
    {"2.16.840.1.101.3.4.2.3", "SHA512"},
    {"2.16.840.1.101.3.4.2.4", "SHA224"},
    {"1.2.840.113549.1.1.1", "RSA"},
    {"1.2.840.113549.1.1.10", "RSA-PSS"},
    {"1.2.840.10045.2.1", "EC"},
    {"1.2.840.10040.4.1", "DSA"},
    {"1.3.101.112", "Ed25519"},
    {"1.3.101.113", "Ed448"},
    {pki::kDataType, "data"},
    {pki::kSignedDataType, "signed data"},
    {pki::kEncryptedDataType, "encrypted data"},
    {pki::kEnvelopedDataType, "enveloped data"},
};

constexpr const char* kBags[] = {
    "1.2.840.113549.1.12.10.1.3",  // certificate
    "1.2.840.113549.1.12.10.1.4",  // revocation list
    "1.2.840.113549.1.12.10.1.1",  // key
    "1.2.840.113549.1.12.10.1.2",  // shrouded key
    "1.2.840.113549.1.12.10.1.5",  // secret
};
static_assert(std::size(kBags) == static_cast<std::size_t>(BagType::kSecret));  // in the order of BagType

// Runs what reads a part of the file; false where the part is malformed.
template <class Read>
bool reads(Read read) {
    try {
        read();
        return true;
    } catch (const MiException&) {
        return false;
    }
}

Scheme schemeOf(const AlgorithmIdentifier* algorithm) {
    Scheme scheme;
    if (algorithm == nullptr)
        return scheme;
    scheme.identifier = dotted(algorithm->GetAlgorithm());
    constexpr char kPkcs12[] = "1.2.840.113549.1.12.1.";
    if (scheme.identifier.compare(0, sizeof kPkcs12 - 1, kPkcs12) != 0 || algorithm->GetParameters() == nullptr)
        return scheme;
    reads([&] {
        PKCS12PbeParams parameters;
        algorithm->GetParameters()->GetDerObject(&parameters);
        if (parameters.GetIterations() != nullptr)
            scheme.iterations = parameters.GetIterations()->GetBigInteger();
    });
    return scheme;
}

// ---- Bags

std::string hex(const MiByte& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string digits;
    for (const char c : textOf(bytes)) {
        digits += kDigits[static_cast<unsigned char>(c) >> 4];
        digits += kDigits[static_cast<unsigned char>(c) & 15];
    }
    return digits;
}

void readValue(const SafeBag& from, Bag& bag) {
    if (from.GetBagValue() == nullptr)
        return;
    if (bag.type == BagType::kShroudedKey) {
        EncryptedPrivateKeyInfo key;
        from.GetBagValue()->GetDerObject(&key);
        bag.encryption = schemeOf(key.GetEncryptionAlgorithm());
        MiByteBuffer der;
        key.DerEncode(der, 0);
        bag.der = textOf(der.GetByte());
    }
    if (bag.type == BagType::kCertificate) {
        CertBag value;
        from.GetBagValue()->GetDerObject(&value);
        MiByte scratch;
        if (value.GetCertValue() != nullptr)
            bag.der = textOf(pki::contentOctets(*value.GetCertValue(), scratch));
    }
}

Bag bagOf(const SafeBag& from) {
    Bag bag;
    const std::string id = dotted(from.GetBagId());
    const auto* const found = std::find(std::begin(kBags), std::end(kBags), id);
    if (found != std::end(kBags))
        bag.type = static_cast<BagType>(found - kBags + 1);
    reads([&] { readValue(from, bag); });
    reads([&] {
        MiByte bytes;
        if (from.GetBagAttributes() == nullptr)
            return;
        if (VT_SafeContents::getIDAttribute(*from.GetBagAttributes(), bytes) == 0)
            bag.id = hex(bytes);
        if (VT_SafeContents::getNameAttribute(*from.GetBagAttributes(), bytes) == 0)
            bag.name = textOf(bytes);
    });
    return bag;
}

void takeBags(const MiByte& der, Content& content) {
    AsnSequenceOf<SafeBag> bags;
    bags.DerDecode(der, 0);
    for (unsigned int i = 0; i < bags.Size(); ++i)
        content.bags.push_back(bagOf(*bags.Get(i)));
    content.isOpen = true;
}

// ---- Contents

void openEncrypted(const EncryptedContentInfo& inner, const std::string& password, Content& content) {
    const tools::Context context;
    const PKCS_Ctx* const ctx = context;
    MiByte scratch;
    MiByte plain;
    const int code = pki::pbeDecrypt(*ctx->operation, bytesOf(password), *inner.GetContentEncryptionAlgorithm(),
                                     pki::contentOctets(*inner.GetEncryptedContent(), scratch), plain);
    if (code != 0)
        content.fault = tools::Failure(code).what();
    else if (!reads([&] { takeBags(plain, content); }))
        content.fault = "it decrypts to what is no list of bags: a wrong password";
}

void readEncrypted(const AsnOctetString& body, const std::optional<std::string>& password, Content& content) {
    EncryptedData value;
    body.GetDerObject(&value);
    const EncryptedContentInfo* const inner = value.GetEncryptedContentInfo();
    if (inner == nullptr || inner->GetContentEncryptionAlgorithm() == nullptr ||
        inner->GetEncryptedContent() == nullptr)
        return;
    content.encryption = schemeOf(inner->GetContentEncryptionAlgorithm());
    if (password)
        openEncrypted(*inner, *password, content);
}

void readBody(const ContentInfo& from, const std::optional<std::string>& password, Content& content) {
    if (from.GetContent() == nullptr)
        return;
    if (content.type == pki::kEncryptedDataType)
        readEncrypted(*from.GetContent(), password, content);
    MiByte scratch;
    if (content.type == pki::kDataType)
        takeBags(pki::contentOctets(*from.GetContent(), scratch), content);
}

Content contentOf(const ContentInfo& from, const std::optional<std::string>& password) {
    Content content;
    content.type = dotted(from.GetContentType());
    if (!reads([&] { readBody(from, password, content); }))
        content.fault = "malformed";
    return content;
}

void readMac(const PFX& pfx, Survey& out) {
    const MacData* const mac = pfx.GetMacData();
    if (mac == nullptr || mac->GetMac() == nullptr)
        return;
    out.mac = Scheme{};
    if (mac->GetMac()->GetDigestAlgorithm() != nullptr)
        out.mac->identifier = dotted(mac->GetMac()->GetDigestAlgorithm()->GetAlgorithm());
    out.mac->iterations = mac->GetIterations() == nullptr ? MiBigInteger(1) : mac->GetIterations()->GetBigInteger();
}

void checkLength(const std::string& der) {
    const std::size_t length = tools::elementLength(der);
    if (length > der.size())
        throw InputError("cut short: " + std::to_string(der.size()) + " bytes of " + std::to_string(length));
    if (length < der.size())
        throw InputError(std::to_string(der.size() - length) + " bytes stand behind the PFX");
}

// ---- BER

class Walk {
  public:
    explicit Walk(const std::string& from) : bytes(from) {}

    // Whether what stands in a range is BER and no DER. What is no encoding at all is neither.
    bool finds(std::size_t at, std::size_t end, int depth) {
        constexpr int kDeepest = 32;
        while (depth < kDeepest && at + 2 <= end) {
            const unsigned int tag = byte(at++);
            std::size_t length = byte(at++);
            const bool isConstructed = (tag & 0x20) != 0;
            if ((isConstructed && length == 0x80) || tag == kOctetsInPieces)
                return true;
            if (!readLength(at, end, length))
                return false;
            const bool isWrapped = tag == kOctets && length > 4 && byte(at) == kSequence;
            if ((isConstructed || isWrapped) && finds(at, at + length, depth + 1))
                return true;
            at += length;
        }
        return false;
    }

  private:
    static constexpr unsigned int kOctets = 0x04;
    static constexpr unsigned int kOctetsInPieces = 0x24;
    static constexpr unsigned int kSequence = 0x30;

    unsigned int byte(std::size_t at) const { return static_cast<unsigned char>(bytes[at]); }

    bool readLength(std::size_t& at, std::size_t end, std::size_t& length) const {
        if (length >= 0x80) {
            const std::size_t count = length - 0x80;
            if (count > 4 || count > end - at)
                return false;
            length = 0;
            for (std::size_t i = 0; i < count; ++i)
                length = length << 8 | byte(at++);
        }
        return length <= end - at;
    }

    const std::string& bytes;
};

}  // namespace

std::string nameOf(const std::string& identifier) {
    const auto* const found = std::find_if(std::begin(kNames), std::end(kNames),
                                           [&](const Named& known) { return identifier == known.identifier; });
    return found == std::end(kNames) ? identifier : found->name;
}

Survey survey(const std::string& der, const std::optional<std::string>& password) {
    checkLength(der);
    const tools::Value value = tools::decodeFound({der, {}, 0, {}});
    const auto* const pfx = dynamic_cast<const PFX*>(value.object.get());
    if (pfx == nullptr)
        throw InputError("no PFX, but a " + value.type);
    Survey out;
    readMac(*pfx, out);
    const ContentInfo* const authSafe = pfx->GetAuthSafe();
    if (authSafe == nullptr)
        return out;
    out.authSafeType = dotted(authSafe->GetContentType());
    if (out.authSafeType != pki::kDataType || authSafe->GetContent() == nullptr)
        return out;
    MiByte scratch;
    AsnSequenceOf<ContentInfo> contents;
    if (!reads([&] { contents.DerDecode(pki::contentOctets(*authSafe->GetContent(), scratch), 0); }))
        throw InputError("the list of contents of the PFX is malformed");
    for (unsigned int i = 0; i < contents.Size(); ++i)
        out.contents.push_back(contentOf(*contents.Get(i), password));
    return out;
}

std::string keyAlgorithm(const Bag& bag, const std::string& password) {
    const tools::Context context;
    const PKCS_Ctx* const ctx = context;
    std::string identifier;
    reads([&] {
        EncryptedPrivateKeyInfo key;
        key.DerDecode(bytesOf(bag.der), 0);
        MiByte scratch;
        MiByte plain;
        if (key.GetEncryptionAlgorithm() == nullptr || key.GetEncryptedData() == nullptr ||
            pki::pbeDecrypt(*ctx->operation, bytesOf(password), *key.GetEncryptionAlgorithm(),
                            pki::contentOctets(*key.GetEncryptedData(), scratch), plain) != 0)
            return;
        PrivateKeyInfo info;
        info.DerDecode(plain, 0);
        if (info.GetPrivateKeyAlgorithm() != nullptr)
            identifier = dotted(info.GetPrivateKeyAlgorithm()->GetAlgorithm());
    });
    return identifier;
}

bool isBer(const std::string& bytes) {
    return Walk(bytes).finds(0, bytes.size(), 0);
}

}  // namespace vtkey
