#include "platform/nss/token_certificate.h"

#include <algorithm>
#include <set>

#include "platform/nss/attribute.h"
#include "platform/nss/item.h"

namespace platform::nss {
namespace {

constexpr char kCommonName[] = "2.5.4.3";

// Public keys are used for the opposite of what their private keys are for.
DWORD specOf(PK11GenericObject* object, bool isPrivate) {
    const bool exchange = hasAttribute(object, isPrivate ? CKA_DECRYPT : CKA_ENCRYPT) ||
                          hasAttribute(object, isPrivate ? CKA_UNWRAP : CKA_WRAP);
    return exchange ? AT_KEYEXCHANGE : AT_SIGNATURE;
}

NssCertificate decode(const Certificate& certificate) {
    SECItem der = itemOf(certificate.der());
    return NssCertificate(
        nss().CERT_NewTempCertificate(nss().CERT_GetDefaultCertDB(), &der, nullptr, PR_FALSE, PR_TRUE));
}

// The nicknames of the certificate's key objects on a token. NSS gives them the certificate's nickname when it imports
// one, but a container goes by its name: what was there is put back when this ends.
class KeyNicknames {
  public:
    KeyNicknames(const Certificate& certificate, PK11SlotInfo* slot) : modulus_(certificate.rsaModulus()), slot_(slot) {
        visit([this](PK11GenericObject* object) { nicknames_.push_back(readAttribute(object, CKA_LABEL)); });
    }
    ~KeyNicknames() {
        std::size_t at = 0;
        visit([&](PK11GenericObject* object) {
            if (at < nicknames_.size() && readAttribute(object, CKA_LABEL) != nicknames_[at])
                writeAttribute(object, CKA_LABEL, nicknames_[at]);
            ++at;
        });
    }
    KeyNicknames(const KeyNicknames&) = delete;
    KeyNicknames& operator=(const KeyNicknames&) = delete;

  private:
    void visit(const std::function<void(PK11GenericObject*)>& each) const {
        for (const CK_OBJECT_CLASS kind : {CKO_PRIVATE_KEY, CKO_PUBLIC_KEY}) {
            forEachObject(slot_, kind, [&](PK11GenericObject* object) {
                const Bytes modulus = readNumber(object, CKA_MODULUS);
                if (!modulus.empty() && modulus == modulus_)
                    each(object);
            });
        }
    }

    Bytes modulus_;
    PK11SlotInfo* slot_;
    std::vector<Bytes> nicknames_;
};

// Puts the certificate onto a token as a PKCS#11 object, past NSS, which refuses a certificate while another one of
// that issuer and serial number is in use anywhere in the process.
bool createObject(const Certificate& certificate, PK11SlotInfo* slot, Bytes identifier, const std::string& nickname) {
    CK_OBJECT_CLASS objectClass = CKO_CERTIFICATE;
    CK_CERTIFICATE_TYPE type = CKC_X_509;
    CK_BBOOL isTrue = CK_TRUE;
    const CERT_INFO& info = certificate.info();
    Bytes serial(info.SerialNumber.pbData, info.SerialNumber.pbData + info.SerialNumber.cbData);
    std::reverse(serial.begin(), serial.end());
    serial = derElement(kDerInteger, serial);
    std::string label = nickname;
    const Span der = certificate.der();
    const CK_ATTRIBUTE attributes[] = {
        {CKA_CLASS, &objectClass, sizeof objectClass},
        {CKA_TOKEN, &isTrue, sizeof isTrue},
        {CKA_CERTIFICATE_TYPE, &type, sizeof type},
        {CKA_LABEL, label.data(), label.size()},
        {CKA_SUBJECT, info.Subject.pbData, info.Subject.cbData},
        {CKA_ISSUER, info.Issuer.pbData, info.Issuer.cbData},
        {CKA_SERIAL_NUMBER, serial.data(), serial.size()},
        {CKA_VALUE, const_cast<BYTE*>(der.data), der.size},
        {CKA_ID, identifier.data(), identifier.size()},
    };
    PK11GenericObject* object =
        nss().PK11_CreateGenericObject(slot, attributes, static_cast<int>(std::size(attributes)), PR_TRUE);
    if (object == nullptr)
        return false;
    nss().PK11_DestroyGenericObjects(object);
    return true;
}

// The identifier of the certificate's key on the token; empty if there is none.
Bytes keyIdentifier(const Certificate& certificate, PK11SlotInfo* slot) {
    Bytes identifier;
    const Bytes modulus = certificate.rsaModulus();
    for (const CK_OBJECT_CLASS kind : {CKO_PUBLIC_KEY, CKO_PRIVATE_KEY}) {
        forEachObject(slot, kind, [&](PK11GenericObject* object) {
            if (!modulus.empty() && readNumber(object, CKA_MODULUS) == modulus)
                identifier = readAttribute(object, CKA_ID);
        });
    }
    return identifier;
}

Bytes derOf(const Certificate& certificate) {
    const Span der = certificate.der();
    return {der.data, der.data + der.size};
}

bool holds(PK11SlotInfo* slot, const Certificate& certificate) {
    const Bytes value = derOf(certificate);
    bool found = false;
    forEachObject(slot, CKO_CERTIFICATE,
                  [&](PK11GenericObject* object) { found = found || readAttribute(object, CKA_VALUE) == value; });
    return found;
}

bool import(const Certificate& certificate, PK11SlotInfo* slot, CK_OBJECT_HANDLE key, const std::string& nickname) {
    const KeyNicknames kept(certificate, slot);
    const NssCertificate decoded = decode(certificate);
    const bool isImported =
        decoded != nullptr && nss().PK11_ImportCert(slot, decoded.get(), key, nickname.c_str(), PR_FALSE) == SECSuccess;
    return isImported || holds(slot, certificate) ||
           createObject(certificate, slot, keyIdentifier(certificate, slot), nickname);
}

bool isOnOneToken(CERTCertificate* certificate) {
    const SlotList slots(nss().PK11_GetAllSlotsForCert(certificate, nullptr));
    PK11SlotListElement* first = slots != nullptr ? nss().PK11_GetFirstSafe(slots.get()) : nullptr;
    return first == nullptr || nss().PK11_GetNextSafe(slots.get(), first, PR_FALSE) == nullptr;
}

bool destroyObject(const Certificate& certificate, PK11SlotInfo* slot) {
    const Bytes value = derOf(certificate);
    bool good = true;
    forEachObject(slot, CKO_CERTIFICATE, [&](PK11GenericObject* object) {
        if (readAttribute(object, CKA_VALUE) == value)
            good = nss().PK11_DestroyTokenObject(slot, nss().PK11_GetObjectHandle(PK11_TypeGeneric, object, nullptr)) ==
                       SECSuccess &&
                   good;
    });
    return good;
}

bool haveSameSubject(const Certificate& a, const Certificate& b) {
    return areEqual(spanOf(a.info().Subject), spanOf(b.info().Subject));
}

// The text without blanks before its hyphens: it must not look like a store's mark (store.h).
std::string unmarked(const std::string& text) {
    std::string result;
    for (const char c : text) {
        while (c == '-' && !result.empty() && (result.back() == ' ' || result.back() == ':'))
            result.pop_back();
        result += c;
    }
    return result;
}

// The text of the subject's last common name, else of its last attribute that is text in bytes.
std::string subjectText(const Certificate& certificate) {
    std::string commonName;
    std::string other;
    Element name = {};
    if (!DerReader(spanOf(certificate.info().Subject)).expect(kDerSequence, name))
        return {};
    Element rdn = {};
    for (DerReader rdns(name.content); rdns.expect(kDerSet, rdn);) {
        Element attribute = {};
        for (DerReader attributes(rdn.content); attributes.expect(kDerSequence, attribute);) {
            DerReader reader(attribute.content);
            Element type = {};
            Element value = {};
            if (!reader.expect(kDerObjectIdentifier, type) || !reader.read(value))
                continue;
            const bool isText = value.tag == kDerUtf8String || value.tag == kDerPrintableString;
            std::string& text = objectIdText(type.content) == kCommonName ? commonName : other;
            if (isText)
                text.assign(value.content.data, value.content.data + value.content.size);
        }
    }
    return unmarked(commonName.empty() ? other : commonName);
}

}  // namespace

std::vector<TokenKey> listKeys(const Token& token) {
    std::vector<TokenKey> keys;
    const bool isPrivate = isLoggedIn(token);
    forEachObject(token.slot.get(), isPrivate ? CKO_PRIVATE_KEY : CKO_PUBLIC_KEY, [&](PK11GenericObject* object) {
        const Bytes modulus = readNumber(object, CKA_MODULUS);
        if (!modulus.empty())
            keys.push_back({token, modulus,
                            containerNameOf(readAttribute(object, CKA_LABEL), readAttribute(object, CKA_ID)),
                            specOf(object, isPrivate)});
    });
    return keys;
}

std::vector<TokenCertificate> listCertificates(const Token& token) {
    std::vector<TokenCertificate> certificates;
    forEachObject(token.slot.get(), CKO_CERTIFICATE, [&](PK11GenericObject* object) {
        const Bytes der = readAttribute(object, CKA_VALUE);
        const Bytes label = readAttribute(object, CKA_LABEL);
        std::shared_ptr<Certificate> certificate = parseCertificate(der.data(), der.size());
        if (certificate != nullptr)
            certificates.push_back({token, std::move(certificate), {label.begin(), label.end()}});
    });
    return certificates;
}

const TokenKey* findKeyOf(const Certificate& certificate, const std::vector<TokenKey>& keys) {
    const Bytes modulus = certificate.rsaModulus();
    const auto found = std::find_if(keys.begin(), keys.end(),
                                    [&](const TokenKey& key) { return !modulus.empty() && key.modulus == modulus; });
    return found == keys.end() ? nullptr : &*found;
}

bool importForKey(const Certificate& certificate, const Key& key) {
    return import(certificate, key.token.slot.get(), key.privateKey->pkcs11ID, nicknameFor(certificate, key.token, ""));
}

bool importCertificate(const Certificate& certificate, const Token& token, const std::string& nickname) {
    return import(certificate, token.slot.get(), CK_INVALID_HANDLE, nickname);
}

bool removeCertificate(const Certificate& certificate, const Token& token) {
    PK11SlotInfo* slot = token.slot.get();
    SECItem der = itemOf(certificate.der());
    const NssCertificate found(nss().PK11_FindCertFromDERCertItem(slot, &der, nullptr));
    if (found == nullptr)
        return destroyObject(certificate, slot);
    // NSS deletes a certificate from every token that has it, which may be a database of the host's own as well.
    return isOnOneToken(found.get()) ? nss().SEC_DeletePermCertificate(found.get()) == SECSuccess
                                     : destroyObject(certificate, slot);
}

std::string nicknameFor(const Certificate& certificate, const Token& token, const std::string& prefix) {
    const std::string text = subjectText(certificate);
    std::string base = prefix + (text.empty() ? "Certificate" : text);
    std::replace(base.begin(), base.end(), ':', ' ');  // what stands before a colon NSS takes for a token's name
    std::set<std::string> taken;
    for (const TokenCertificate& other : listCertificates(token)) {
        if (haveSameSubject(*other.certificate, certificate) && !other.nickname.empty())
            return other.nickname;
        taken.insert(other.nickname);
    }
    std::string nickname = base;
    for (int count = 2; taken.count(nickname) != 0; ++count)
        nickname = base + " #" + std::to_string(count);
    return nickname;
}

}  // namespace platform::nss
