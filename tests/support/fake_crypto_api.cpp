#include "tests/support/fake_crypto_api.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "tests/support/der.h"
#include "tests/support/fake_system_api.h"

namespace support {
namespace {

using der::join;
using der::tlv;

constexpr std::size_t kBlobHeader = 20;
constexpr char kPrivateTail[] = "DE AD BE EF";

BOOL fail(DWORD error) {
    platform::sys().SetLastError(error);
    return FALSE;
}

FakeCryptoApi& fake() {
    return *FakeCryptoApi::current;
}

// deliver hands bytes out in the two-call way: a null buffer asks for the size.
BOOL deliver(const Bytes& bytes, void* out, DWORD* size) {
    const DWORD capacity = *size;
    *size = static_cast<DWORD>(bytes.size());
    if (out == nullptr)
        return TRUE;
    if (capacity < bytes.size())
        return fail(ERROR_MORE_DATA);
    std::copy(bytes.begin(), bytes.end(), static_cast<BYTE*>(out));
    return TRUE;
}

std::string narrow(LPCWSTR wide) {
    std::string text;
    for (; wide != nullptr && *wide != 0; ++wide)
        text += static_cast<char>(*wide);
    return text;
}

BOOL WINAPI enumProviders(DWORD index, DWORD* /*reserved*/, DWORD /*flags*/, DWORD* type, LPSTR name, DWORD* size) {
    if (index >= fake().providers.size())
        return fail(ERROR_NO_MORE_ITEMS);
    const auto& provider = fake().providers[index];
    *type = provider.type;
    return deliver(Bytes(provider.name.c_str(), provider.name.c_str() + provider.name.size() + 1), name, size);
}

BOOL acquire(HCRYPTPROV* prov, const FakeCryptoApi::ContainerId& id, DWORD type, DWORD flags) {
    const auto& known = fake().providers;
    const bool there = std::any_of(known.begin(), known.end(), [&](const FakeCryptoApi::Provider& provider) {
        return provider.name == id.first && provider.type == type;
    });
    if (!there)
        return fail(NTE_KEYSET_NOT_DEF);
    const bool exists = fake().containers.count(id) != 0;
    if (flags == CRYPT_NEWKEYSET) {
        if (exists)
            return fail(NTE_EXISTS);
        fake().containers[id] = {};
    } else if (!exists) {
        return fail(NTE_BAD_KEYSET);
    }
    if (flags == CRYPT_DELETEKEYSET) {
        fake().containers.erase(id);
        *prov = 0;
        return TRUE;
    }
    *prov = fake().nextHandle++;
    fake().openProviders[*prov] = {id};
    return TRUE;
}

BOOL WINAPI acquireContextA(HCRYPTPROV* prov, LPCSTR container, LPCSTR provider, DWORD type, DWORD flags) {
    return acquire(prov, {provider, container != nullptr ? container : ""}, type, flags);
}

BOOL WINAPI acquireContextW(HCRYPTPROV* prov, LPCWSTR container, LPCWSTR provider, DWORD type, DWORD flags) {
    return acquire(prov, {narrow(provider), narrow(container)}, type, flags);
}

BOOL WINAPI releaseContext(HCRYPTPROV prov, DWORD /*flags*/) {
    return fake().openProviders.erase(prov) != 0 ? TRUE : fail(ERROR_INVALID_PARAMETER);
}

FakeCryptoApi::Key* findKey(const FakeCryptoApi::ContainerId& id, DWORD spec) {
    const auto container = fake().containers.find(id);
    if (container == fake().containers.end())
        return nullptr;
    const auto key = container->second.find(spec);
    return key == container->second.end() ? nullptr : &key->second;
}

BOOL openKey(const FakeCryptoApi::ContainerId& id, DWORD spec, HCRYPTKEY* key) {
    *key = fake().nextHandle++;
    fake().openKeys[*key] = {id, spec};
    return TRUE;
}

BOOL WINAPI genKey(HCRYPTPROV prov, ALG_ID spec, DWORD flags, HCRYPTKEY* key) {
    const auto opened = fake().openProviders.find(prov);
    if (opened == fake().openProviders.end())
        return fail(NTE_BAD_UID);
    if (spec != AT_KEYEXCHANGE && spec != AT_SIGNATURE)
        return fail(NTE_BAD_ALGID);
    const DWORD bits = flags >> 16;
    if (bits < 384)
        return fail(NTE_BAD_FLAGS);
    auto& made = fake().containers[opened->second.id][spec];
    made = {};
    made.flags = flags & 0xFFFF;
    made.bits = bits;
    made.publicBlob = fake().makePublicBlob(bits);
    return openKey(opened->second.id, spec, key);
}

BOOL WINAPI getUserKey(HCRYPTPROV prov, DWORD spec, HCRYPTKEY* key) {
    const auto opened = fake().openProviders.find(prov);
    if (opened == fake().openProviders.end())
        return fail(NTE_BAD_UID);
    if (findKey(opened->second.id, spec) == nullptr)
        return fail(NTE_NO_KEY);
    return openKey(opened->second.id, spec, key);
}

BOOL WINAPI destroyKey(HCRYPTKEY key) {
    return fake().openKeys.erase(key) != 0 ? TRUE : fail(NTE_BAD_KEY);
}

FakeCryptoApi::Key* keyBehind(HCRYPTKEY handle) {
    const auto opened = fake().openKeys.find(handle);
    return opened == fake().openKeys.end() ? nullptr : findKey(opened->second.id, opened->second.spec);
}

BOOL WINAPI exportKey(HCRYPTKEY handle, HCRYPTKEY /*wrapping*/, DWORD blobType, DWORD /*flags*/, BYTE* data,
                      DWORD* size) {
    const FakeCryptoApi::Key* key = keyBehind(handle);
    if (key == nullptr)
        return fail(NTE_BAD_KEY);
    if (blobType == PUBLICKEYBLOB)
        return deliver(key->publicBlob, data, size);
    if (blobType != PRIVATEKEYBLOB)
        return fail(NTE_BAD_TYPE);
    if ((key->flags & CRYPT_EXPORTABLE) == 0)
        return fail(NTE_BAD_KEY_STATE);
    return deliver(fakePrivateBlob(key->publicBlob), data, size);
}

// The public blob that the private one was made from; empty for what is none.
Bytes publicPartOf(const Bytes& privateBlob) {
    const Bytes tail = hex(kPrivateTail);
    if (privateBlob.size() < kBlobHeader + tail.size())
        return {};
    Bytes blob(privateBlob.begin(), privateBlob.end() - static_cast<std::ptrdiff_t>(tail.size()));
    blob[0] = PUBLICKEYBLOB;
    blob[11] = '1';
    return fakePrivateBlob(blob) == privateBlob ? blob : Bytes();
}

BOOL WINAPI importKey(HCRYPTPROV prov, const BYTE* data, DWORD size, HCRYPTKEY wrapping, DWORD flags, HCRYPTKEY* key) {
    const auto opened = fake().openProviders.find(prov);
    if (opened == fake().openProviders.end())
        return fail(NTE_BAD_UID);
    const Bytes blob = publicPartOf(Bytes(data, data + size));
    if (wrapping != 0 || blob.empty())
        return fail(NTE_BAD_DATA);
    ALG_ID alg = 0;
    std::memcpy(&alg, &blob[4], sizeof alg);
    DWORD bits = 0;
    std::memcpy(&bits, &blob[12], sizeof bits);
    const DWORD spec = alg == CALG_RSA_KEYX ? AT_KEYEXCHANGE : AT_SIGNATURE;
    FakeCryptoApi::Key& made = fake().containers[opened->second.id][spec];
    made = {};
    made.flags = flags;
    made.bits = bits;
    made.publicBlob = blob;
    return openKey(opened->second.id, spec, key);
}

// elementSize reads the header of a DER element and gives the element's size.
std::size_t elementSize(const BYTE* der) {
    if (der[1] < 0x80)
        return 2U + der[1];
    std::size_t length = 0;
    const std::size_t more = der[1] & 0x7FU;
    for (std::size_t i = 0; i < more; ++i)
        length = (length << 8) | der[2 + i];
    return 2 + more + length;
}

BOOL WINAPI setKeyParam(HCRYPTKEY handle, DWORD param, const BYTE* data, DWORD /*flags*/) {
    FakeCryptoApi::Key* key = keyBehind(handle);
    if (key == nullptr)
        return fail(NTE_BAD_KEY);
    if (param != KP_CERTIFICATE)
        return fail(NTE_BAD_TYPE);
    key->certificate.assign(data, data + elementSize(data));
    return TRUE;
}

BOOL WINAPI exportPublicKeyInfo(HCRYPTPROV prov, DWORD spec, DWORD /*encoding*/, PCERT_PUBLIC_KEY_INFO info,
                                DWORD* size) {
    static constexpr char kOid[] = "1.2.840.113549.1.1.1";
    static constexpr BYTE kNull[] = {5, 0};
    const auto opened = fake().openProviders.find(prov);
    if (opened == fake().openProviders.end())
        return fail(NTE_BAD_UID);
    const FakeCryptoApi::Key* key = findKey(opened->second.id, spec);
    if (key == nullptr)
        return fail(NTE_NO_KEY);
    const Bytes der = rsaPublicKeyDer(key->publicBlob);
    const std::size_t needed = sizeof(*info) + sizeof(kOid) + sizeof(kNull) + der.size();
    const DWORD capacity = *size;
    *size = static_cast<DWORD>(needed);
    if (info == nullptr)
        return TRUE;
    if (capacity < needed)
        return fail(ERROR_MORE_DATA);
    // The record comes first, what it points to behind it.
    auto* tail = reinterpret_cast<BYTE*>(info + 1);
    std::memset(info, 0, sizeof(*info));
    info->Algorithm.pszObjId = reinterpret_cast<LPSTR>(tail);
    std::memcpy(tail, kOid, sizeof(kOid));
    tail += sizeof(kOid);
    info->Algorithm.Parameters.cbData = sizeof(kNull);
    info->Algorithm.Parameters.pbData = tail;
    std::memcpy(tail, kNull, sizeof(kNull));
    tail += sizeof(kNull);
    info->PublicKey.cbData = static_cast<DWORD>(der.size());
    info->PublicKey.pbData = tail;
    std::memcpy(tail, der.data(), der.size());
    return TRUE;
}

BOOL WINAPI createHash(HCRYPTPROV prov, ALG_ID alg, HCRYPTKEY /*key*/, DWORD /*flags*/, HCRYPTHASH* hash) {
    const auto opened = fake().openProviders.find(prov);
    if (opened == fake().openProviders.end())
        return fail(NTE_BAD_UID);
    // SHA-256 stands for a hash that a provider knows and the request has no name for.
    constexpr ALG_ID kSha256 = 0x800C;
    if (alg != CALG_MD5 && alg != CALG_SHA1 && alg != kSha256)
        return fail(NTE_BAD_ALGID);
    *hash = fake().nextHandle++;
    fake().openHashes[*hash] = {opened->second.id, alg, {}};
    return TRUE;
}

BOOL WINAPI hashData(HCRYPTHASH hash, const BYTE* data, DWORD size, DWORD /*flags*/) {
    const auto opened = fake().openHashes.find(hash);
    if (opened == fake().openHashes.end())
        return fail(NTE_BAD_HASH);
    opened->second.hashed.insert(opened->second.hashed.end(), data, data + size);
    return TRUE;
}

BOOL WINAPI signHash(HCRYPTHASH hash, DWORD spec, LPCSTR /*description*/, DWORD /*flags*/, BYTE* signature,
                     DWORD* size) {
    const auto opened = fake().openHashes.find(hash);
    if (opened == fake().openHashes.end())
        return fail(NTE_BAD_HASH);
    const FakeCryptoApi::Key* key = findKey(opened->second.id, spec);
    if (key == nullptr)
        return fail(NTE_NO_KEY);
    fake().lastHashed = opened->second.hashed;
    fake().lastAlgorithm = opened->second.alg;
    return deliver(fake().makeSignature(*key, opened->second.alg, opened->second.hashed), signature, size);
}

BOOL WINAPI destroyHash(HCRYPTHASH hash) {
    return fake().openHashes.erase(hash) != 0 ? TRUE : fail(NTE_BAD_HASH);
}

Bytes oidElement(const std::string& text) {
    std::vector<std::uint32_t> arcs(1, 0);
    for (const char c : text) {
        if (c == '.')
            arcs.push_back(0);
        else
            arcs.back() = arcs.back() * 10 + static_cast<std::uint32_t>(c - '0');
    }
    Bytes content = {static_cast<std::uint8_t>(arcs[0] * 40 + arcs[1])};
    for (std::size_t i = 2; i < arcs.size(); ++i) {
        Bytes groups;
        for (std::uint32_t rest = arcs[i]; groups.empty() || rest != 0; rest >>= 7)
            groups.insert(groups.begin(), static_cast<std::uint8_t>((rest & 0x7F) | (groups.empty() ? 0 : 0x80)));
        content.insert(content.end(), groups.begin(), groups.end());
    }
    return tlv(0x06, content);
}

bool isPrintable(const Bytes& text) {
    static constexpr char kMarks[] = " '()+,-./:=?";
    return std::all_of(text.begin(), text.end(), [](std::uint8_t c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               (c != 0 && std::strchr(kMarks, c) != nullptr);
    });
}

// utf8Value: the value of a CERT_RDN_UTF8_STRING is wide text, its size in bytes.
Bytes utf8Value(const CERT_RDN_VALUE_BLOB& value) {
    const std::string text = utf8Of({reinterpret_cast<LPCWSTR>(value.pbData), value.cbData / sizeof(wchar_t)});
    return {text.begin(), text.end()};
}

BOOL WINAPI encodeObjectEx(DWORD encoding, LPCSTR type, const void* info, DWORD flags, CRYPT_ENCODE_PARA* para,
                           void* encoded, DWORD* size) {
    if (encoding != X509_ASN_ENCODING || type != X509_NAME || flags != 0 || para != nullptr) {
        ADD_FAILURE() << "CryptEncodeObjectEx for something that is not a name";
        return FALSE;
    }
    const auto* name = static_cast<const CERT_NAME_INFO*>(info);
    Bytes rdns;
    for (DWORD i = 0; i < name->cRDN; ++i) {
        Bytes attributes;
        for (DWORD j = 0; j < name->rgRDN[i].cRDNAttr; ++j) {
            const CERT_RDN_ATTR& attr = name->rgRDN[i].rgRDNAttr[j];
            Bytes value(attr.Value.pbData, attr.Value.pbData + attr.Value.cbData);
            if (attr.dwValueType == CERT_RDN_PRINTABLE_STRING && !isPrintable(value))
                return fail(CRYPT_E_INVALID_PRINTABLE_STRING);
            const bool printable = attr.dwValueType == CERT_RDN_PRINTABLE_STRING;
            const Bytes text = printable ? tlv(0x13, value) : tlv(0x0C, utf8Value(attr.Value));
            attributes = join({attributes, der::sequence({oidElement(attr.pszObjId), text})});
        }
        rdns = join({rdns, tlv(0x31, attributes)});
    }
    return deliver(tlv(0x30, rdns), encoded, size);
}

}  // namespace

FakeCryptoApi* FakeCryptoApi::current = nullptr;

FakeCryptoApi::FakeCryptoApi()
    : providers{{"Fake Provider", PROV_RSA_FULL}},
      makePublicBlob([](DWORD bits) { return fakePublicBlob(bits); }),
      makeSignature([](const Key& key, ALG_ID alg, const Bytes& hashed) {
          Bytes signature = fakeSignature(key.bits, alg, hashed);
          std::reverse(signature.begin(), signature.end());
          return signature;
      }),
      before_(platform::replaceableCryptoApi()) {
    if (current != nullptr)
        ADD_FAILURE() << "two fakes at once";
    current = this;
    platform::CryptoApi& table = platform::replaceableCryptoApi();
    table.CryptEnumProvidersA = enumProviders;
    table.CryptAcquireContextA = acquireContextA;
    table.CryptAcquireContextW = acquireContextW;
    table.CryptReleaseContext = releaseContext;
    table.CryptGenKey = genKey;
    table.CryptGetUserKey = getUserKey;
    table.CryptDestroyKey = destroyKey;
    table.CryptExportKey = exportKey;
    table.CryptImportKey = importKey;
    table.CryptSetKeyParam = setKeyParam;
    table.CryptExportPublicKeyInfo = exportPublicKeyInfo;
    table.CryptCreateHash = createHash;
    table.CryptHashData = hashData;
    table.CryptSignHashA = signHash;
    table.CryptDestroyHash = destroyHash;
    table.CryptEncodeObjectEx = encodeObjectEx;
}

FakeCryptoApi::~FakeCryptoApi() {
    platform::replaceableCryptoApi() = before_;
    current = nullptr;
}

FakeCryptoApi::Key& FakeCryptoApi::addKey(const std::string& provider, const std::string& container, DWORD spec,
                                          DWORD bits) {
    Key& key = containers[{provider, container}][spec];
    key.bits = bits;
    key.flags = CRYPT_EXPORTABLE;
    key.publicBlob = makePublicBlob(bits);
    return key;
}

Bytes fakeModulus(DWORD bits) {
    Bytes modulus(bits / 8);
    for (std::size_t i = 0; i < modulus.size(); ++i)
        modulus[i] = static_cast<std::uint8_t>(i * 7 + bits / 64);
    modulus.front() = 0xC1;
    modulus.back() |= 1;
    return modulus;
}

Bytes fakePublicBlob(DWORD bits, DWORD exponent) {
    Bytes blob = hex("06 02 00 00 00 24 00 00 52 53 41 31");
    for (const DWORD word : {bits, exponent}) {
        for (unsigned shift = 0; shift < 32; shift += 8)
            blob.push_back(static_cast<std::uint8_t>(word >> shift));
    }
    const Bytes modulus = fakeModulus(bits);
    blob.insert(blob.end(), modulus.rbegin(), modulus.rend());
    return blob;
}

Bytes fakePrivateBlob(const Bytes& publicBlob) {
    Bytes blob = join({publicBlob, hex(kPrivateTail)});
    blob[0] = PRIVATEKEYBLOB;
    blob[11] = '2';
    return blob;
}

Bytes fakeSignature(DWORD bits, ALG_ID alg, const Bytes& hashed) {
    // FNV-1a, stretched; so that another hashed byte gives another signature.
    std::uint32_t state = 2166136261U ^ alg;
    for (const std::uint8_t byte : hashed)
        state = (state ^ byte) * 16777619U;
    Bytes signature(bits / 8);
    for (std::uint8_t& byte : signature) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return signature;
}

Bytes rsaPublicKeyDer(const Bytes& publicBlob) {
    const auto integer = [](Bytes bigEndian) {
        while (bigEndian.size() > 1 && bigEndian.front() == 0)
            bigEndian.erase(bigEndian.begin());
        if ((bigEndian.front() & 0x80) != 0)
            bigEndian.insert(bigEndian.begin(), 0);
        return tlv(0x02, bigEndian);
    };
    const auto from = publicBlob.rend() - static_cast<std::ptrdiff_t>(kBlobHeader);
    const Bytes modulus(publicBlob.rbegin(), from);
    const Bytes exponent(from, from + 4);
    return der::sequence({integer(modulus), integer(exponent)});
}

}  // namespace support
