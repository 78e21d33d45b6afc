#include "tests/support/fake_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace support {
namespace {

using Element = FakeStore::Element;
using Context = FakeStore::Context;

FakeStore& fake() {
    return *FakeStore::current;
}

BOOL fail(DWORD error) {
    platform::sys().SetLastError(error);
    return FALSE;
}

// Cursor reads DER elements one after the other; it throws where they do not fit.
class Cursor {
  public:
    Cursor(const BYTE* begin, std::size_t size) : at_(begin), end_(begin + size) {}

    bool ended() const { return at_ == end_; }
    std::uint8_t tag() const { return ended() ? std::uint8_t{0} : *at_; }

    // whole gives the next element with its header, content without it.
    Bytes whole(std::uint8_t tag) { return take(tag, true); }
    Bytes content(std::uint8_t tag) { return take(tag, false); }

  private:
    Bytes take(std::uint8_t tag, bool withHeader) {
        const BYTE* start = at_;
        if (next() != tag)
            throw std::runtime_error("another element");
        std::size_t length = next();
        if (length >= 0x80) {
            const std::size_t count = length & 0x7F;
            if (count == 0 || count > 3)
                throw std::runtime_error("length");
            length = 0;
            for (std::size_t i = 0; i < count; ++i)
                length = length << 8 | next();
        }
        if (length > static_cast<std::size_t>(end_ - at_))
            throw std::runtime_error("truncated");
        const BYTE* content = at_;
        at_ += length;
        return {withHeader ? start : content, at_};
    }

    BYTE next() {
        if (ended())
            throw std::runtime_error("truncated");
        return *at_++;
    }

    const BYTE* at_;
    const BYTE* end_;
};

Cursor inside(const Bytes& content) {
    return {content.data(), content.size()};
}

FILETIME fileTime(const std::string& text) {
    const auto number = [&text](std::size_t at, std::size_t count) { return std::stoul(text.substr(at, count)); };
    std::uint64_t days = 0;
    const auto isLeap = [](unsigned long y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; };
    for (unsigned long y = 1601; y < number(0, 4); ++y)
        days += isLeap(y) ? 366 : 365;
    static constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (unsigned long m = 1; m < number(4, 2); ++m)
        days += kDays[m - 1] + (m == 2 && isLeap(number(0, 4)) ? 1 : 0);
    days += number(6, 2) - 1;
    const std::uint64_t seconds = days * 86400 + number(8, 2) * 3600 + number(10, 2) * 60 + number(12, 2);
    const std::uint64_t ticks = seconds * 10000000;
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

FILETIME readTime(Cursor& validity) {
    if (validity.tag() == 0x18) {
        const Bytes text = validity.content(0x18);
        return fileTime({text.begin(), text.end()});
    }
    const Bytes text = validity.content(0x17);
    const std::string digits(text.begin(), text.end());
    return fileTime((digits < "50" ? "20" : "19") + digits);
}

std::string oidText(const Bytes& content) {
    std::string text;
    unsigned long arc = 0;
    for (const std::uint8_t byte : content) {
        arc = arc << 7 | (byte & 0x7FU);
        if ((byte & 0x80) != 0)
            continue;
        text += text.empty() ? std::to_string(arc / 40) + "." + std::to_string(arc % 40) : "." + std::to_string(arc);
        arc = 0;
    }
    return text;
}

void readCertificate(Element& element) {
    Cursor outer = inside(element.der);
    const Bytes certificate = outer.content(0x30);
    if (!outer.ended())
        throw std::runtime_error("bytes behind");
    Cursor parts = inside(certificate);
    const Bytes tbs = parts.content(0x30);
    parts.content(0x30);
    parts.content(0x03);

    Cursor fields = inside(tbs);
    if (fields.tag() == 0xA0)
        fields.content(0xA0);
    element.serial = fields.content(0x02);
    std::reverse(element.serial.begin(), element.serial.end());
    fields.content(0x30);
    element.issuer = fields.whole(0x30);
    const Bytes validityContent = fields.content(0x30);
    Cursor validity = inside(validityContent);
    element.notBefore = readTime(validity);
    element.subject = fields.whole(0x30);
    const Bytes keyContent = fields.content(0x30);
    Cursor key = inside(keyContent);
    const Bytes algorithmContent = key.content(0x30);
    Cursor algorithm = inside(algorithmContent);
    element.algorithm = oidText(algorithm.content(0x06));
    const Bytes bits = key.content(0x03);
    if (bits.empty())
        throw std::runtime_error("no bits");
    element.publicKey.assign(bits.begin() + 1, bits.end());
}

CRYPT_INTEGER_BLOB blobOf(Bytes& bytes) {
    return {static_cast<DWORD>(bytes.size()), bytes.data()};
}

PCCERT_CONTEXT makeContext(const std::shared_ptr<Element>& element, HCERTSTORE store) {
    auto* made = new Context;
    made->element = element;
    made->info.SerialNumber = blobOf(element->serial);
    made->info.Issuer = blobOf(element->issuer);
    made->info.Subject = blobOf(element->subject);
    made->info.NotBefore = element->notBefore;
    made->info.SubjectPublicKeyInfo.Algorithm.pszObjId = element->algorithm.data();
    made->info.SubjectPublicKeyInfo.PublicKey.cbData = static_cast<DWORD>(element->publicKey.size());
    made->info.SubjectPublicKeyInfo.PublicKey.pbData = element->publicKey.data();
    made->context.dwCertEncodingType = X509_ASN_ENCODING;
    made->context.pbCertEncoded = element->der.data();
    made->context.cbCertEncoded = static_cast<DWORD>(element->der.size());
    made->context.pCertInfo = &made->info;
    made->context.hCertStore = store;
    if (store != nullptr)
        ++fake().open.at(store).contexts;
    return &made->context;
}

Context* behind(PCCERT_CONTEXT context) {
    // The platform's record is the first member.
    return const_cast<Context*>(reinterpret_cast<const Context*>(context));
}

PCCERT_CONTEXT WINAPI createContext(DWORD encoding, const BYTE* der, DWORD size) {
    if ((encoding & X509_ASN_ENCODING) == 0)
        ADD_FAILURE() << "CertCreateCertificateContext without X509_ASN_ENCODING";
    const auto element = readElement(der, size);
    if (!element) {
        fail(CRYPT_E_ASN1_CORRUPT);
        return nullptr;
    }
    return makeContext(element, nullptr);
}

PCCERT_CONTEXT WINAPI duplicateContext(PCCERT_CONTEXT context) {
    if (context != nullptr)
        ++behind(context)->references;
    return context;
}

BOOL WINAPI freeContext(PCCERT_CONTEXT context) {
    if (context == nullptr || --behind(context)->references != 0)
        return TRUE;
    const auto store = fake().open.find(context->hCertStore);
    if (store != fake().open.end())
        --store->second.contexts;
    delete behind(context);
    return TRUE;
}

BOOL WINAPI setProperty(PCCERT_CONTEXT context, DWORD property, DWORD flags, const void* data) {
    if (property != CERT_KEY_PROV_INFO_PROP_ID || flags != 0) {
        ADD_FAILURE() << "CertSetCertificateContextProperty of " << property;
        return FALSE;
    }
    const auto* info = static_cast<const CRYPT_KEY_PROV_INFO*>(data);
    EXPECT_EQ(info->cProvParam, 0U);
    EXPECT_EQ(info->rgProvParam, nullptr);
    auto key = std::make_unique<FakeStore::KeyInfo>();
    key->container = info->pwszContainerName;
    key->provider = info->pwszProvName;
    key->type = info->dwProvType;
    key->flags = info->dwFlags;
    key->spec = info->dwKeySpec;
    behind(context)->element->key = std::move(key);
    return TRUE;
}

BOOL WINAPI getProperty(PCCERT_CONTEXT context, DWORD property, void* data, DWORD* size) {
    const auto& key = behind(context)->element->key;
    if (property != CERT_KEY_PROV_INFO_PROP_ID || !key)
        return fail(CRYPT_E_NOT_FOUND);
    const std::size_t container = (key->container.size() + 1) * sizeof(wchar_t);
    const std::size_t provider = (key->provider.size() + 1) * sizeof(wchar_t);
    const DWORD capacity = *size;
    *size = static_cast<DWORD>(sizeof(CRYPT_KEY_PROV_INFO) + container + provider);
    if (data == nullptr)
        return TRUE;
    if (capacity < *size)
        return fail(ERROR_MORE_DATA);
    // The record comes first, what it points to behind it.
    auto* info = static_cast<CRYPT_KEY_PROV_INFO*>(data);
    auto* tail = reinterpret_cast<BYTE*>(info + 1);
    *info = {};
    info->pwszContainerName = reinterpret_cast<LPWSTR>(tail);
    info->pwszProvName = reinterpret_cast<LPWSTR>(tail + container);
    info->dwProvType = key->type;
    info->dwFlags = key->flags;
    info->dwKeySpec = key->spec;
    std::memcpy(tail, key->container.c_str(), container);
    std::memcpy(tail + container, key->provider.c_str(), provider);
    return TRUE;
}

DWORD WINAPI enumProperties(PCCERT_CONTEXT context, DWORD property) {
    const Element& element = *behind(context)->element;
    std::vector<DWORD> all = element.properties;
    if (element.key)
        all.push_back(CERT_KEY_PROV_INFO_PROP_ID);
    std::sort(all.begin(), all.end());
    const auto next = std::upper_bound(all.begin(), all.end(), property);
    return next == all.end() ? 0 : *next;
}

bool sameBlob(const CRYPT_INTEGER_BLOB& a, const CRYPT_INTEGER_BLOB& b) {
    return std::equal(a.pbData, a.pbData + a.cbData, b.pbData, b.pbData + b.cbData);
}

BOOL WINAPI compareCertificate(DWORD encoding, PCERT_INFO a, PCERT_INFO b) {
    EXPECT_NE(encoding & X509_ASN_ENCODING, 0U);
    return sameBlob(a->SerialNumber, b->SerialNumber) && sameBlob(a->Issuer, b->Issuer) ? TRUE : FALSE;
}

// Leading zero bytes of positive numbers and leading FF bytes of negative ones do not count.
std::size_t significant(const CRYPT_INTEGER_BLOB& blob) {
    if (blob.cbData == 0)
        return 0;
    const bool negative = (blob.pbData[blob.cbData - 1] & 0x80) != 0;
    const BYTE filler = negative ? 0xFF : 0x00;
    std::size_t size = blob.cbData;
    while (size > 1 && blob.pbData[size - 1] == filler && ((blob.pbData[size - 2] & 0x80) != 0) == negative)
        --size;
    return size;
}

BOOL WINAPI compareIntegerBlob(PCRYPT_INTEGER_BLOB a, PCRYPT_INTEGER_BLOB b) {
    return std::equal(a->pbData, a->pbData + significant(*a), b->pbData, b->pbData + significant(*b)) ? TRUE : FALSE;
}

BOOL WINAPI comparePublicKeyInfo(DWORD encoding, PCERT_PUBLIC_KEY_INFO a, PCERT_PUBLIC_KEY_INFO b) {
    EXPECT_EQ(encoding, DWORD{X509_ASN_ENCODING | PKCS_7_ASN_ENCODING});
    const CRYPT_INTEGER_BLOB left = {a->PublicKey.cbData, a->PublicKey.pbData};
    const CRYPT_INTEGER_BLOB right = {b->PublicKey.cbData, b->PublicKey.pbData};
    return std::strcmp(a->Algorithm.pszObjId, b->Algorithm.pszObjId) == 0 && sameBlob(left, right) ? TRUE : FALSE;
}

HCERTSTORE openNamed(const std::string& name) {
    if (fake().stores.count(name) == 0) {
        fail(ERROR_FILE_NOT_FOUND);
        return nullptr;
    }
    auto store = std::make_unique<char>();
    fake().open[store.get()] = {name, 0};
    return store.release();
}

HCERTSTORE WINAPI openStore(LPCSTR provider, DWORD encoding, HCRYPTPROV_LEGACY prov, DWORD flags, const void* para) {
    EXPECT_EQ(provider, CERT_STORE_PROV_SYSTEM_W);
    EXPECT_EQ(encoding, 0U);
    EXPECT_EQ(flags, DWORD{CERT_SYSTEM_STORE_CURRENT_USER});
    const std::wstring name = static_cast<const wchar_t*>(para);
    fake().lastProvider = prov;
    std::string narrow;
    for (const wchar_t c : name)
        narrow += static_cast<char>(c);
    return openNamed(narrow);
}

HCERTSTORE WINAPI openSystemStore(HCRYPTPROV_LEGACY prov, LPCSTR name) {
    EXPECT_EQ(prov, 0U);
    return openNamed(name);
}

BOOL WINAPI closeStore(HCERTSTORE store, DWORD flags) {
    const auto found = fake().open.find(store);
    if (found == fake().open.end()) {
        ADD_FAILURE() << "a store is closed that is not open";
        return FALSE;
    }
    EXPECT_EQ(found->second.contexts, 0) << "contexts are held when their store is closed";
    for (const auto& element : fake().stores[found->second.name])
        element->deleted = false;
    fake().closeFlags.push_back(flags);
    fake().open.erase(found);
    delete static_cast<char*>(store);
    return TRUE;
}

BOOL WINAPI controlStore(HCERTSTORE store, DWORD flags, DWORD control, const void* para) {
    EXPECT_EQ(flags, 0U);
    EXPECT_EQ(control, DWORD{CERT_STORE_CTRL_COMMIT});
    EXPECT_EQ(para, nullptr);
    FakeStore::Elements& elements = fake().stores[fake().open.at(store).name];
    elements.erase(std::remove_if(elements.begin(), elements.end(), [](const auto& e) { return e->deleted; }),
                   elements.end());
    return TRUE;
}

PCCERT_CONTEXT WINAPI enumCertificates(HCERTSTORE store, PCCERT_CONTEXT previous) {
    const FakeStore::Elements& elements = fake().stores[fake().open.at(store).name];
    auto at = elements.begin();
    if (previous != nullptr) {
        at = std::find(elements.begin(), elements.end(), behind(previous)->element);
        if (at != elements.end())
            ++at;
        freeContext(previous);
    }
    while (at != elements.end() && (*at)->deleted)
        ++at;
    if (at == elements.end()) {
        fail(CRYPT_E_NOT_FOUND);
        return nullptr;
    }
    return makeContext(*at, store);
}

BOOL WINAPI addEncoded(HCERTSTORE store, DWORD encoding, const BYTE* der, DWORD size, DWORD disposition,
                       PCCERT_CONTEXT* added) {
    EXPECT_EQ(encoding, DWORD{X509_ASN_ENCODING | PKCS_7_ASN_ENCODING});
    EXPECT_EQ(disposition, DWORD{CERT_STORE_ADD_REPLACE_EXISTING});
    const auto element = readElement(der, size);
    if (!element)
        return fail(CRYPT_E_ASN1_CORRUPT);
    FakeStore::Elements& elements = fake().stores[fake().open.at(store).name];
    const auto same = std::find_if(elements.begin(), elements.end(), [&element](const auto& other) {
        return other->issuer == element->issuer && other->serial == element->serial;
    });
    if (same != elements.end())
        *same = element;
    else
        elements.push_back(element);
    if (added != nullptr)
        *added = makeContext(element, store);
    return TRUE;
}

BOOL WINAPI addContext(HCERTSTORE store, PCCERT_CONTEXT context, DWORD disposition, PCCERT_CONTEXT* added) {
    EXPECT_EQ(disposition, DWORD{CERT_STORE_ADD_USE_EXISTING});
    FakeStore::Elements& elements = fake().stores[fake().open.at(store).name];
    std::shared_ptr<Element> element = readElement(context->pbCertEncoded, context->cbCertEncoded);
    if (!element)
        return fail(static_cast<DWORD>(NTE_NO_MEMORY));
    const auto same = std::find_if(elements.begin(), elements.end(), [&element](const auto& other) {
        return other->issuer == element->issuer && other->serial == element->serial;
    });
    if (same != elements.end())
        element = *same;
    else
        elements.push_back(element);
    if (added != nullptr)
        *added = makeContext(element, store);
    return TRUE;
}

BOOL WINAPI deleteCertificate(PCCERT_CONTEXT context) {
    behind(context)->element->deleted = true;
    return freeContext(context);
}

std::wstring nameText(const CERT_NAME_BLOB& name) {
    static const std::map<std::string, std::wstring> kKeys = {
        {"2.5.4.3", L"CN"}, {"2.5.4.6", L"C"},   {"2.5.4.7", L"L"},
        {"2.5.4.10", L"O"}, {"2.5.4.11", L"OU"}, {"1.2.840.113549.1.9.1", L"E"},
    };
    std::wstring text;
    Cursor outer(name.pbData, name.cbData);
    const Bytes rdnsContent = outer.content(0x30);
    for (Cursor rdns = inside(rdnsContent); !rdns.ended();) {
        const Bytes rdnContent = rdns.content(0x31);
        const Bytes attributeContent = inside(rdnContent).content(0x30);
        Cursor attribute = inside(attributeContent);
        const std::wstring key = kKeys.at(oidText(attribute.content(0x06)));
        const Bytes value = attribute.content(attribute.tag());
        text += (text.empty() ? L"" : L", ") + key + L"=" + std::wstring(value.begin(), value.end());
    }
    return text;
}

DWORD WINAPI nameToStr(DWORD encoding, PCERT_NAME_BLOB name, DWORD strType, LPWSTR text, DWORD chars) {
    EXPECT_EQ(encoding, DWORD{X509_ASN_ENCODING | PKCS_7_ASN_ENCODING});
    EXPECT_EQ(strType, DWORD{CERT_X500_NAME_STR});
    const std::wstring full = nameText(*name);
    if (text == nullptr || chars == 0)
        return static_cast<DWORD>(full.size() + 1);
    const std::size_t count = std::min<std::size_t>(full.size(), chars - 1);
    std::copy_n(full.begin(), count, text);
    text[count] = L'\0';
    return static_cast<DWORD>(count + 1);
}

}  // namespace

std::shared_ptr<Element> readElement(const BYTE* der, std::size_t size) {
    auto element = std::make_shared<Element>();
    element->der.assign(der, der + size);
    try {
        readCertificate(*element);
    } catch (const std::exception&) {
        return nullptr;
    }
    return element;
}

FakeStore* FakeStore::current = nullptr;

FakeStore::FakeStore() : stores{{"MY", {}}, {"ROOT", {}}, {"CA", {}}}, before_(platform::replaceableCryptoApi()) {
    if (current != nullptr)
        ADD_FAILURE() << "two fakes at once";
    current = this;
    // Closing a store allocates nothing, so that it works when memory is exhausted.
    closeFlags.reserve(100);
    platform::CryptoApi& table = platform::replaceableCryptoApi();
    table.CertNameToStrW = nameToStr;
    table.CertCreateCertificateContext = createContext;
    table.CertDuplicateCertificateContext = duplicateContext;
    table.CertFreeCertificateContext = freeContext;
    table.CertSetCertificateContextProperty = setProperty;
    table.CertGetCertificateContextProperty = getProperty;
    table.CertEnumCertificateContextProperties = enumProperties;
    table.CertCompareCertificate = compareCertificate;
    table.CertCompareIntegerBlob = compareIntegerBlob;
    table.CertComparePublicKeyInfo = comparePublicKeyInfo;
    table.CertOpenStore = openStore;
    table.CertOpenSystemStoreA = openSystemStore;
    table.CertCloseStore = closeStore;
    table.CertControlStore = controlStore;
    table.CertEnumCertificatesInStore = enumCertificates;
    table.CertAddEncodedCertificateToStore = addEncoded;
    table.CertAddCertificateContextToStore = addContext;
    table.CertDeleteCertificateFromStore = deleteCertificate;
}

FakeStore::~FakeStore() {
    EXPECT_TRUE(open.empty()) << "a store is left open";
    platform::replaceableCryptoApi() = before_;
    current = nullptr;
}

Element& FakeStore::add(const std::string& store, const Bytes& der, bool withKey) {
    const auto element = readElement(der.data(), der.size());
    if (!element)
        throw std::invalid_argument("not a certificate");
    if (withKey) {
        element->key = std::make_unique<KeyInfo>();
        element->key->container = L"container";
        element->key->provider = L"Fake Provider";
        element->key->type = PROV_RSA_FULL;
        element->key->spec = AT_SIGNATURE;
    }
    stores.at(store).push_back(element);
    return *element;
}

std::vector<Bytes> FakeStore::ders(const std::string& store) const {
    std::vector<Bytes> all;
    for (const auto& element : stores.at(store))
        all.push_back(element->der);
    return all;
}

}  // namespace support
