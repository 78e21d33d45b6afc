#include "platform/nss/store.h"

#include <strings.h>

#include <algorithm>
#include <string>

#include "platform/nss/entries.h"
#include "platform/nss/handle.h"
#include "platform/nss/token_certificate.h"
#include "platform/nss/wide_text.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

using Stores = Handles<Store>;

struct StoreName {
    StoreKind kind;
    const char* name;
    const char* nicknamePrefix;
};

constexpr StoreName kStoreNames[] = {
    {StoreKind::kMy, "MY", "MY - "},
    {StoreKind::kRoot, "ROOT", "ROOT - "},
    {StoreKind::kCa, "CA", "CA - "},
};

const StoreName* findStoreName(const std::string& name) {
    const auto* found = std::find_if(std::begin(kStoreNames), std::end(kStoreNames),
                                     [&](const StoreName& known) { return strcasecmp(name.c_str(), known.name) == 0; });
    return found == std::end(kStoreNames) ? nullptr : found;
}

const StoreName& nameOf(StoreKind kind) {
    return *std::find_if(std::begin(kStoreNames), std::end(kStoreNames),
                         [kind](const StoreName& known) { return known.kind == kind; });
}

// The store that the nickname says a certificate was added to.
std::optional<StoreKind> markedStore(const std::string& nickname) {
    for (const StoreName& known : kStoreNames) {
        if (nickname.rfind(known.nicknamePrefix, 0) == 0)
            return known.kind;
    }
    return std::nullopt;
}

// The store where a certificate without a mark stands; a key's certificate is in "MY" anyway.
std::optional<StoreKind> naturalStore(const Certificate& certificate) {
    if (!certificate.isAuthority())
        return std::nullopt;
    return certificate.isSelfIssued() ? StoreKind::kRoot : StoreKind::kCa;
}

bool belongsTo(StoreKind kind, const TokenCertificate& stored, bool hasKey) {
    const std::optional<StoreKind> marked = markedStore(stored.nickname);
    if (kind == StoreKind::kMy)
        return hasKey || marked == StoreKind::kMy;
    const bool isMarkedElsewhere = marked == StoreKind::kRoot || marked == StoreKind::kCa;
    return isMarkedElsewhere ? marked == kind : naturalStore(*stored.certificate) == kind;
}

KeyProviderInfo infoOf(const TokenKey& key) {
    return {widen(key.container), widen(key.token.name), PROV_RSA_FULL, 0, key.spec};
}

std::shared_ptr<CertificateElement> elementOf(const TokenCertificate& stored, const TokenKey* key) {
    auto element = std::make_shared<CertificateElement>();
    element->certificate = stored.certificate;
    element->token = stored.token;
    if (key != nullptr)
        element->keyInfo = infoOf(*key);
    return element;
}

void readToken(Store& store, const Token& token) {
    const std::vector<TokenKey> keys = listKeys(token);
    for (const TokenCertificate& stored : listCertificates(token)) {
        const TokenKey* key = findKeyOf(*stored.certificate, keys);
        if (belongsTo(store.kind, stored, key != nullptr))
            store.elements.push_back(elementOf(stored, key));
    }
}

HCERTSTORE openStore(const std::string& name, HCRYPTPROV provider) {
    const StoreName* known = findStoreName(name);
    if (known == nullptr) {
        posix::setLastError(ERROR_FILE_NOT_FOUND);
        return nullptr;
    }
    std::vector<Token> tokens = providerTokens();
    if (tokens.empty())
        return nullptr;
    // Authorities on a card are not the user's choice; the database's are.
    if (known->kind != StoreKind::kMy)
        tokens.resize(1);
    const auto store = std::make_shared<Store>();
    store->kind = known->kind;
    store->provider = provider;
    for (const Token& token : tokens)
        readToken(*store, token);
    return reinterpret_cast<HCERTSTORE>(Stores::instance().open(store));
}

std::shared_ptr<Store> findStore(HCERTSTORE handle) {
    return Stores::instance().find(reinterpret_cast<ULONG_PTR>(handle));
}

// The element of the same issuer and serial number, or null.
std::shared_ptr<CertificateElement> findSame(const Store& store, const Certificate& certificate) {
    const auto found = std::find_if(store.elements.begin(), store.elements.end(), [&](const auto& element) {
        return !element->isDeleted &&
               CertCompareCertificate(X509_ASN_ENCODING, &element->certificate->info(), &certificate.info()) != FALSE;
    });
    return found == store.elements.end() ? nullptr : *found;
}

// Where the certificate goes: beside its key if there is one, else into the user's database.
std::optional<TokenKey> keyAnywhere(const Certificate& certificate) {
    for (const Token& token : providerTokens()) {
        const std::vector<TokenKey> keys = listKeys(token);
        if (const TokenKey* key = findKeyOf(certificate, keys); key != nullptr)
            return *key;
    }
    return std::nullopt;
}

bool removeElement(CertificateElement& element) {
    if (!element.isDeleted && !removeCertificate(*element.certificate, element.token))
        return false;
    element.isDeleted = true;
    return true;
}

// Other certificates of that issuer and serial number must go first: NSS refuses to know two.
bool removeRivals(const Certificate& certificate, const Token& token) {
    const std::vector<TokenCertificate> all = listCertificates(token);
    return std::all_of(all.begin(), all.end(), [&](const TokenCertificate& stored) {
        const bool isRival =
            CertCompareCertificate(X509_ASN_ENCODING, &stored.certificate->info(), &certificate.info()) != FALSE;
        return !isRival || removeCertificate(*stored.certificate, token);
    });
}

// Whether the token has that very certificate where the store finds it.
bool isThere(StoreKind kind, const Certificate& certificate, const Token& token) {
    const std::vector<TokenCertificate> all = listCertificates(token);
    const Span der = certificate.der();
    return std::any_of(all.begin(), all.end(), [&](const TokenCertificate& stored) {
        return areEqual(der, stored.certificate->der()) && belongsTo(kind, stored, false);
    });
}

std::shared_ptr<CertificateElement> store(Store& into, const std::shared_ptr<Certificate>& certificate) {
    const std::optional<TokenKey> key =
        into.kind == StoreKind::kMy ? keyAnywhere(*certificate) : std::optional<TokenKey>();
    const Token token = key ? key->token : findToken(nullptr);
    const bool isNatural = key.has_value() || naturalStore(*certificate) == into.kind;
    if (token.slot == nullptr)
        return nullptr;
    // What is there already stays untouched: with it would go the trust that the user has given it.
    if (!key && isThere(into.kind, *certificate, token)) {
        into.elements.push_back(elementOf({token, certificate, {}}, nullptr));
        return into.elements.back();
    }
    if (!removeRivals(*certificate, token))
        return nullptr;
    const std::string nickname = nicknameFor(*certificate, token, isNatural ? "" : nameOf(into.kind).nicknamePrefix);
    if (!importCertificate(*certificate, token, nickname))
        return nullptr;
    into.elements.push_back(elementOf({token, certificate, nickname}, key ? &*key : nullptr));
    return into.elements.back();
}

// The element that the disposition leads to; null with the last error where it forbids to add, or adding fails.
std::shared_ptr<CertificateElement> add(Store& into, const std::shared_ptr<Certificate>& certificate,
                                        DWORD disposition) {
    std::shared_ptr<CertificateElement> same = findSame(into, *certificate);
    if (same != nullptr && disposition == CERT_STORE_ADD_USE_EXISTING)
        return same;
    if (same != nullptr && disposition == CERT_STORE_ADD_NEW) {
        posix::setLastError(CRYPT_E_EXISTS);
        return nullptr;
    }
    std::shared_ptr<CertificateElement> added = store(into, certificate);
    if (added == nullptr)
        posix::setLastError(NTE_FAIL);
    else if (same != nullptr)
        same->isDeleted = true;
    return added;
}

// Without a store the certificate becomes a context alone.
BOOL addToNoStore(DWORD encoding, const BYTE* der, DWORD size, PCCERT_CONTEXT* added) {
    PCCERT_CONTEXT context = CertCreateCertificateContext(encoding, der, size);
    if (context == nullptr)
        return FALSE;
    if (added != nullptr)
        *added = context;
    else
        CertFreeCertificateContext(context);
    return TRUE;
}

}  // namespace

HCERTSTORE CertOpenStore(LPCSTR provider, DWORD /*encoding*/, HCRYPTPROV_LEGACY prov, DWORD flags, const void* para) {
    constexpr DWORD kLocation = 0x00FF0000;
    if (provider != CERT_STORE_PROV_SYSTEM_W || para == nullptr ||
        (flags & kLocation) != CERT_SYSTEM_STORE_CURRENT_USER) {
        posix::setLastError(ERROR_FILE_NOT_FOUND);
        return nullptr;
    }
    const bool releases = (flags & CERT_STORE_NO_CRYPT_RELEASE_FLAG) == 0;
    return openStore(narrow(static_cast<const wchar_t*>(para)), releases ? prov : 0);
}

HCERTSTORE CertOpenSystemStoreA(HCRYPTPROV_LEGACY /*prov*/, LPCSTR name) {
    if (name == nullptr) {
        posix::setLastError(E_INVALIDARG);
        return nullptr;
    }
    return openStore(name, 0);
}

BOOL CertCloseStore(HCERTSTORE store, DWORD flags) {
    if (store == nullptr)
        return TRUE;
    const std::shared_ptr<Store> opened = findStore(store);
    if (opened == nullptr)
        return posix::fail(E_INVALIDARG);
    Stores::instance().close(reinterpret_cast<ULONG_PTR>(store));
    if (opened->provider != 0)
        CryptReleaseContext(opened->provider, 0);
    const bool isPending = (flags & CERT_CLOSE_STORE_CHECK_FLAG) != 0 && opened->openContexts != 0;
    return isPending ? posix::fail(CRYPT_E_PENDING_CLOSE) : TRUE;
}

// Additions and deletions are done at once, so that there is nothing left to commit.
BOOL CertControlStore(HCERTSTORE store, DWORD /*flags*/, DWORD control, const void* /*para*/) {
    if (findStore(store) == nullptr)
        return posix::fail(E_INVALIDARG);
    return control == CERT_STORE_CTRL_COMMIT ? TRUE : posix::fail(ERROR_NOT_SUPPORTED);
}

PCCERT_CONTEXT CertEnumCertificatesInStore(HCERTSTORE store, PCCERT_CONTEXT previous) {
    const std::shared_ptr<Store> opened = findStore(store);
    const std::shared_ptr<CertificateElement> last = previous != nullptr ? contextBehind(previous).element : nullptr;
    CertFreeCertificateContext(previous);
    if (opened == nullptr) {
        posix::setLastError(E_INVALIDARG);
        return nullptr;
    }
    auto next = opened->elements.begin();
    if (last != nullptr) {
        next = std::find(next, opened->elements.end(), last);
        next += next != opened->elements.end() ? 1 : 0;
    }
    next = std::find_if(next, opened->elements.end(), [](const auto& element) { return !element->isDeleted; });
    if (next == opened->elements.end()) {
        posix::setLastError(CRYPT_E_NOT_FOUND);
        return nullptr;
    }
    return contextOf(*next, opened, store, X509_ASN_ENCODING);
}

BOOL CertAddEncodedCertificateToStore(HCERTSTORE store, DWORD encoding, const BYTE* der, DWORD size, DWORD disposition,
                                      PCCERT_CONTEXT* added) {
    if (added != nullptr)
        *added = nullptr;
    if (store == nullptr)
        return addToNoStore(encoding, der, size, added);
    const std::shared_ptr<Store> opened = findStore(store);
    if (opened == nullptr || disposition < CERT_STORE_ADD_NEW || disposition > CERT_STORE_ADD_REPLACE_EXISTING ||
        (encoding & X509_ASN_ENCODING) == 0)
        return posix::fail(E_INVALIDARG);
    const std::shared_ptr<Certificate> certificate = parseCertificate(der, size);
    if (certificate == nullptr)
        return FALSE;
    std::shared_ptr<CertificateElement> element = add(*opened, certificate, disposition);
    if (element == nullptr)
        return FALSE;
    if (added != nullptr)
        *added = contextOf(std::move(element), opened, store, encoding);
    return TRUE;
}

BOOL CertAddCertificateContextToStore(HCERTSTORE store, PCCERT_CONTEXT cert, DWORD disposition, PCCERT_CONTEXT* added) {
    if (cert == nullptr)
        return posix::fail(E_INVALIDARG);
    return CertAddEncodedCertificateToStore(store, cert->dwCertEncodingType, cert->pbCertEncoded, cert->cbCertEncoded,
                                            disposition, added);
}

BOOL CertDeleteCertificateFromStore(PCCERT_CONTEXT cert) {
    if (cert == nullptr)
        return TRUE;
    const Context& context = contextBehind(cert);
    const bool removed = context.store == nullptr || removeElement(*context.element);
    CertFreeCertificateContext(cert);
    return removed ? TRUE : posix::fail(NTE_FAIL);
}

}  // namespace platform::nss
