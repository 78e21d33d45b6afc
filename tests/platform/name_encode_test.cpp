// Subjects of requests. The DER is that of openssl's asn1parse -genconf, and both builds must give the same bytes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/platform.h"
#include "tests/support/hex.h"

using platform::capi;
using platform::sys;
using support::Bytes;
using support::hex;
using support::toHex;

namespace {

constexpr char kCountry[] = "2.5.4.6";
constexpr char kOrganisation[] = "2.5.4.10";

// An attribute with its value, in the two forms that subjects use.
struct Attribute {
    Attribute(const char* objectId, const std::string& printable)
        : objectId_(objectId), bytes_(printable.begin(), printable.end()), type_(CERT_RDN_PRINTABLE_STRING) {}
    Attribute(const char* objectId, const std::wstring& wide)
        : objectId_(objectId),
          bytes_(reinterpret_cast<const BYTE*>(wide.data()), reinterpret_cast<const BYTE*>(wide.data() + wide.size())),
          type_(CERT_RDN_UTF8_STRING) {}

    CERT_RDN_ATTR record() {
        // Windows takes a length of 0 for a text that a NUL ends.
        static wchar_t nothing[1] = {};
        BYTE* value = bytes_.empty() ? reinterpret_cast<BYTE*>(nothing) : bytes_.data();
        return {objectId_.data(), type_, {static_cast<DWORD>(bytes_.size()), value}};
    }

    std::string objectId_;
    Bytes bytes_;
    DWORD type_;
};

struct Encoded {
    DWORD error;
    std::string der;
};

Encoded encode(const CERT_NAME_INFO& info) {
    DWORD size = 0;
    sys().SetLastError(0);
    if (capi().CryptEncodeObjectEx(X509_ASN_ENCODING, X509_NAME, &info, 0, nullptr, nullptr, &size) == FALSE)
        return {sys().GetLastError(), {}};
    Bytes der(size);
    EXPECT_TRUE(capi().CryptEncodeObjectEx(X509_ASN_ENCODING, X509_NAME, &info, 0, nullptr, der.data(), &size));
    EXPECT_EQ(size, der.size());
    return {0, toHex(der)};
}

// One RDN of one attribute for each.
Encoded encode(std::vector<Attribute> attributes) {
    std::vector<CERT_RDN_ATTR> records;
    for (Attribute& attribute : attributes)
        records.push_back(attribute.record());
    std::vector<CERT_RDN> rdns;
    for (CERT_RDN_ATTR& record : records)
        rdns.push_back({1, &record});
    return encode(CERT_NAME_INFO{static_cast<DWORD>(rdns.size()), rdns.data()});
}

std::string spaced(const char* text) {
    return toHex(hex(text));
}

}  // namespace

TEST(name_encode_test, EmptyNameIsAnEmptySequence) {
    EXPECT_EQ(encode(std::vector<Attribute>{}).der, "30 00");
}

TEST(name_encode_test, CountryIsPrintableAndOthersUtf8) {
    EXPECT_EQ(encode({{kCountry, std::string("DE")}}).der, spaced("300d310b3009060355040613024445"));
    EXPECT_EQ(encode({{kOrganisation, std::wstring(L"Ex")}}).der, spaced("300d310b3009060355040a0c024578"));
    EXPECT_EQ(encode({{kOrganisation, std::wstring(L"Gr\u00F6\u00DFe")}}).der,
              spaced("30123110300e060355040a0c074772c3b6c39f65"));
    EXPECT_EQ(encode({{kOrganisation, std::wstring(L"\U0001F600")}}).der, spaced("300f310d300b060355040a0c04f09f9880"));
}

TEST(name_encode_test, RdnsKeepTheirOrder) {
    EXPECT_EQ(encode({{"2.5.4.11", std::string("b")}, {"2.5.4.3", std::string("a")}}).der,
              spaced("3018310a3008060355040b130162310a30080603550403130161"));
}

TEST(name_encode_test, AttributesOfOneRdnAreSorted) {
    Attribute unit("2.5.4.11", std::string("b"));
    Attribute name("2.5.4.3", std::string("a"));
    CERT_RDN_ATTR records[] = {unit.record(), name.record()};
    CERT_RDN rdn = {2, records};
    EXPECT_EQ(encode(CERT_NAME_INFO{1, &rdn}).der, spaced("30163114300806035504031301613008060355040b130162"));
}

TEST(name_encode_test, OddValuesEncode) {
    EXPECT_EQ(encode({{kCountry, std::string()}}).der, spaced("300b3109300706035504061300"));
    EXPECT_EQ(encode({{kOrganisation, std::wstring()}}).der, spaced("300b31093007060355040a0c00"));
    EXPECT_EQ(encode({{kOrganisation, std::wstring(L"a\0b", 3)}}).der, spaced("300e310c300a060355040a0c03610062"));
    EXPECT_EQ(encode({{kOrganisation, std::wstring(1, static_cast<wchar_t>(0xD800)) + L"a"}}).der,
              spaced("300f310d300b060355040a0c04efbfbd61"))
        << "a lone surrogate is replaced";
    const std::string der = encode({{"2.5.4.3", std::wstring(300, L'x')}}).der;
    EXPECT_EQ(der.substr(0, 3 * 21), toHex(hex("3082013d31820139308201350603550403 0c82012c")) + " ");
    EXPECT_EQ(der.size(), 3u * 321 - 1);
}

TEST(name_encode_test, HalfACharacterIsDropped) {
    Attribute attribute(kOrganisation, std::wstring(L"ab"));
    attribute.bytes_.pop_back();
    CERT_RDN_ATTR record = attribute.record();
    CERT_RDN rdn = {1, &record};
    EXPECT_EQ(encode(CERT_NAME_INFO{1, &rdn}).der, spaced("300c310a3008060355040a0c0161"));
}

TEST(name_encode_test, ObjectIdsOfManyArcsEncode) {
    EXPECT_EQ(encode({{"1.2.840.113549.1.9.1", std::string("x")}}).der,
              spaced("30123110300e06092a864886f70d010901130178"));
}

TEST(name_encode_test, RefusesWhatIsNoObjectId) {
    for (const char* objectId : {"foo", "", "2", "2.5.4x"})
        EXPECT_EQ(encode({{objectId, std::string("x")}}).error, static_cast<DWORD>(CRYPT_E_ASN1_ERROR)) << objectId;
}

TEST(name_encode_test, RefusesOtherStructuresAndEncodings) {
    const CERT_NAME_INFO info = {0, nullptr};
    DWORD size = 0;
    const auto error = [&](DWORD encoding, LPCSTR type, DWORD* sizeOut) {
        sys().SetLastError(0);
        EXPECT_FALSE(capi().CryptEncodeObjectEx(encoding, type, &info, 0, nullptr, nullptr, sizeOut));
        return sys().GetLastError();
    };
    EXPECT_EQ(error(0, X509_NAME, &size), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(error(X509_ASN_ENCODING, reinterpret_cast<LPCSTR>(std::uintptr_t{777}), &size),
              static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(error(X509_ASN_ENCODING, X509_NAME, nullptr), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(name_encode_test, TooSmallABufferFails) {
    Attribute attribute(kCountry, std::string("DE"));
    CERT_RDN_ATTR record = attribute.record();
    CERT_RDN rdn = {1, &record};
    const CERT_NAME_INFO info = {1, &rdn};
    Bytes der(14, 0x55);
    DWORD size = 14;
    EXPECT_FALSE(capi().CryptEncodeObjectEx(X509_ASN_ENCODING, X509_NAME, &info, 0, nullptr, der.data(), &size));
    EXPECT_EQ(sys().GetLastError(), static_cast<DWORD>(ERROR_MORE_DATA));
    EXPECT_EQ(size, 15u);
    EXPECT_EQ(der, Bytes(14, 0x55));
}

TEST(name_encode_test, RefusesOtherValueTypes) {
    Attribute attribute(kCountry, std::string("abcd"));
    for (const DWORD type : {11u, 14u, 99u}) {
        attribute.type_ = type;
        CERT_RDN_ATTR record = attribute.record();
        CERT_RDN rdn = {1, &record};
        EXPECT_EQ(encode(CERT_NAME_INFO{1, &rdn}).error, static_cast<DWORD>(CRYPT_E_ASN1_CHOICE)) << type;
    }
}

#if !defined(_WIN32)

// Wine lets these pass into a PrintableString, which no reader need accept.
TEST(name_encode_test, RefusesWhatIsNotPrintable) {
    EXPECT_EQ(encode({{kCountry, std::string("ABCxyz019 '()+,-./:=?")}}).error, 0u);
    for (const char* value : {"a@b", "*", "&", "_", "!", "\"", "#", "<", ";", "\xC3\xBC"})
        EXPECT_EQ(encode({{kCountry, std::string(value)}}).error, CRYPT_E_INVALID_PRINTABLE_STRING) << value;
    EXPECT_EQ(encode({{kCountry, std::string("D\0", 2)}}).error, CRYPT_E_INVALID_PRINTABLE_STRING);
}

TEST(name_encode_test, RefusesArcsThatObjectIdsCannotHave) {
    for (const char* objectId : {"3.5.4", "1.40.3", "2.5.", "1.2.4294967296", "2..5", ".2.5"})
        EXPECT_EQ(encode({{objectId, std::string("x")}}).error, CRYPT_E_ASN1_ERROR) << objectId;
    EXPECT_EQ(encode({{"2.999.3", std::string("x")}}).der, spaced("300c310a30080603883703130178"));
    EXPECT_EQ(encode({{"1.2.4294967295", std::string("x")}}).der, spaced("300f310d300b06062a8fffffff7f130178"));
}

TEST(name_encode_test, RefusesNulls) {
    DWORD size = 0;
    EXPECT_FALSE(capi().CryptEncodeObjectEx(X509_ASN_ENCODING, X509_NAME, nullptr, 0, nullptr, nullptr, &size));
    EXPECT_EQ(sys().GetLastError(), ERROR_INVALID_PARAMETER);
    char objectId[] = "2.5.4.6";
    CERT_RDN_ATTR record = {objectId, CERT_RDN_PRINTABLE_STRING, {5, nullptr}};
    CERT_RDN rdn = {1, &record};
    EXPECT_EQ(encode(CERT_NAME_INFO{1, &rdn}).error, ERROR_INVALID_PARAMETER);
    record.pszObjId = nullptr;
    EXPECT_EQ(encode(CERT_NAME_INFO{1, &rdn}).error, CRYPT_E_ASN1_ERROR);
}

#endif
