// Names as CERT_X500_NAME_STR shows them. Both builds must show the same text for the same certificate: pages find
// certificates by it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/platform.h"
#include "tests/support/hex.h"

using platform::capi;
using support::Bytes;

namespace {

constexpr BYTE kUtf8 = 0x0C;
constexpr BYTE kNumeric = 0x12;
constexpr BYTE kPrintable = 0x13;
constexpr BYTE kT61 = 0x14;
constexpr BYTE kVideotex = 0x15;
constexpr BYTE kIa5 = 0x16;
constexpr BYTE kVisible = 0x1A;
constexpr BYTE kGeneral = 0x1B;
constexpr BYTE kUniversal = 0x1C;
constexpr BYTE kBmp = 0x1E;

constexpr char kCommonName[] = "55 04 03";

// A DER builder of four functions, so that the names are what each test says and no more.
Bytes element(BYTE tag, const Bytes& content) {
    Bytes out;
    out.reserve(content.size() + 4);
    out.push_back(tag);
    if (content.size() >= 0x100) {
        out.push_back(0x82);
        out.push_back(static_cast<BYTE>(content.size() >> 8));
    } else if (content.size() >= 0x80) {
        out.push_back(0x81);
    }
    out.push_back(static_cast<BYTE>(content.size()));
    out.insert(out.end(), content.begin(), content.end());
    return out;
}

Bytes join(const std::vector<Bytes>& parts) {
    Bytes whole;
    for (const Bytes& part : parts)
        whole.insert(whole.end(), part.begin(), part.end());
    return whole;
}

Bytes attribute(const char* objectId, BYTE tag, const std::string& value) {
    return element(0x30,
                   join({element(0x06, support::hex(objectId)), element(tag, Bytes(value.begin(), value.end()))}));
}

using Rdns = std::vector<std::vector<Bytes>>;

Bytes name(const Rdns& rdns) {
    Bytes content;
    for (const std::vector<Bytes>& rdn : rdns) {
        const Bytes set = element(0x31, join(rdn));
        content.insert(content.end(), set.begin(), set.end());
    }
    return element(0x30, content);
}

DWORD textInto(Bytes der, wchar_t* text, DWORD chars) {
    BYTE none = 0;
    CERT_NAME_BLOB blob = {static_cast<DWORD>(der.size()), der.empty() ? &none : der.data()};
    return capi().CertNameToStrW(X509_ASN_ENCODING | PKCS_7_ASN_ENCODING, &blob, CERT_X500_NAME_STR, text, chars);
}

std::wstring textOf(const Bytes& der) {
    const DWORD chars = textInto(der, nullptr, 0);
    std::vector<wchar_t> text(chars + 1, L'#');
    EXPECT_EQ(textInto(der, text.data(), chars), chars);
    EXPECT_EQ(text[chars - 1], L'\0');
    EXPECT_EQ(text[chars], L'#') << "nothing is written behind the text";
    return {text.data(), chars - 1};
}

std::wstring commonName(BYTE tag, const std::string& value) {
    return textOf(name({{attribute(kCommonName, tag, value)}}));
}

}  // namespace

TEST(name_text_test, OrderIsTheCertificates) {
    EXPECT_EQ(textOf(name({{attribute("55 04 06", kPrintable, "DE")},
                           {attribute("55 04 0A", kUtf8, "Example")},
                           {attribute(kCommonName, kUtf8, "Alice")}})),
              L"C=DE, O=Example, CN=Alice");
    EXPECT_EQ(textOf(name({{attribute(kCommonName, kUtf8, "Alice")}, {attribute("55 04 06", kPrintable, "DE")}})),
              L"CN=Alice, C=DE");
    EXPECT_EQ(textOf(name({})), L"");
}

TEST(name_text_test, AttributesOfOneRdnAreJoinedByPlus) {
    EXPECT_EQ(textOf(name({{attribute(kCommonName, kPrintable, "a")},
                           {attribute("55 04 0A", kPrintable, "o"), attribute("55 04 0B", kPrintable, "u"),
                            attribute("55 04 0B", kPrintable, "v")},
                           {attribute("55 04 06", kPrintable, "DE")}})),
              L"CN=a, O=o + OU=u + OU=v, C=DE");
    EXPECT_EQ(textOf(name({{}, {attribute("55 04 06", kPrintable, "DE")}})), L", C=DE") << "an empty RDN shows";
    EXPECT_EQ(textOf(name({{attribute("55 04 06", kPrintable, "DE")}, {}})), L"C=DE, ");
}

TEST(name_text_test, KeysHaveTheirNames) {
    struct Case {
        const char* objectId;
        const wchar_t* key;
    };
    const Case cases[] = {
        {"55 04 03", L"CN"},
        {"55 04 04", L"SN"},
        {"55 04 05", L"SERIALNUMBER"},
        {"55 04 06", L"C"},
        {"55 04 07", L"L"},
        {"55 04 08", L"S"},
        {"55 04 09", L"STREET"},
        {"55 04 0A", L"O"},
        {"55 04 0B", L"OU"},
        {"55 04 0C", L"T"},
        {"55 04 0D", L"Description"},
        {"55 04 11", L"PostalCode"},
        {"55 04 12", L"POBox"},
        {"55 04 14", L"Phone"},
        {"55 04 18", L"X21Address"},
        {"55 04 2A", L"G"},
        {"55 04 2B", L"I"},
        {"55 04 2E", L"dnQualifier"},
        {"2A 86 48 86 F7 0D 01 09 01", L"E"},
        {"09 92 26 89 93 F2 2C 64 01 19", L"DC"},
        // Others go by their digits.
        {"55 04 0F", L"2.5.4.15"},
        {"55 04 29", L"2.5.4.41"},
        {"55 04 41", L"2.5.4.65"},
        {"2A 03", L"1.2.3"},
        {"09 92 26 89 93 F2 2C 64 01 01", L"0.9.2342.19200300.100.1.1"},
        {"2A 86 48 86 F7 0D 01 09 02", L"1.2.840.113549.1.9.2"},
        {"2B 06 01 04 01 82 37 3C 02 01 03", L"1.3.6.1.4.1.311.60.2.1.3"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(textOf(name({{attribute(c.objectId, kPrintable, "x")}})), std::wstring(c.key) + L"=x") << c.objectId;
}

TEST(name_text_test, SpecialCharactersAreQuoted) {
    for (const BYTE tag : {kPrintable, kUtf8, kT61, kIa5, kVisible, kGeneral}) {
        SCOPED_TRACE(static_cast<int>(tag));
        for (const char* special : {"+", ",", "=", "<", ">", ";", "#", "\n"}) {
            const std::wstring wide(special, special + 1);
            EXPECT_EQ(commonName(tag, std::string("a") + special + "b"), L"CN=\"a" + wide + L"b\"") << special;
            EXPECT_EQ(commonName(tag, std::string(special) + "ab"), L"CN=\"" + wide + L"ab\"") << special;
            EXPECT_EQ(commonName(tag, std::string("ab") + special), L"CN=\"ab" + wide + L"\"") << special;
            EXPECT_EQ(commonName(tag, special), L"CN=\"" + wide + L"\"") << special;
        }
        for (const char* plain : {"!", "$", "%", "&",  "'", "(", "*", "-", ".", "/", ":",
                                  "?", "@", "[", "\\", "^", "_", "`", "{", "|", "~", "\x7F"})
            EXPECT_EQ(commonName(tag, std::string("a") + plain + "bc"),
                      L"CN=a" + std::wstring(plain, plain + 1) + L"bc");
    }
}

TEST(name_text_test, InnerQuotesAreDoubled) {
    for (const BYTE tag : {kPrintable, kUtf8, kIa5}) {
        EXPECT_EQ(commonName(tag, "a\"b"), L"CN=\"a\"\"b\"");
        EXPECT_EQ(commonName(tag, "\""), L"CN=\"\"\"\"");
        EXPECT_EQ(commonName(tag, "say \"hi\", ok"), L"CN=\"say \"\"hi\"\", ok\"");
    }
}

TEST(name_text_test, WhiteSpaceAtTheEndsIsQuoted) {
    for (const char* space : {" ", "\t", "\n", "\v", "\f", "\r"}) {
        const std::wstring wide(space, space + 1);
        EXPECT_EQ(commonName(kPrintable, std::string(space) + "ab"), L"CN=\"" + wide + L"ab\"");
        EXPECT_EQ(commonName(kPrintable, std::string("ab") + space), L"CN=\"ab" + wide + L"\"");
        EXPECT_EQ(commonName(kUtf8, std::string(space) + "ab"), L"CN=\"" + wide + L"ab\"");
        EXPECT_EQ(commonName(kPrintable, space), L"CN=\"" + wide + L"\"");
    }
    EXPECT_EQ(commonName(kPrintable, "Test User"), L"CN=Test User") << "inside it needs no quotes";
    EXPECT_EQ(commonName(kUtf8, "Alice Example"), L"CN=Alice Example");
    EXPECT_EQ(commonName(kUtf8, "Two  Blanks"), L"CN=Two  Blanks");
}

#if !defined(_WIN32)
// Wine 8 looks at a wrong byte of UTF-8 and BMP values: it takes white space in their middle for one at their end. Here
// the published rule holds for these types as well.
TEST(name_text_test, WhiteSpaceInTheMiddleIsNotAtTheEnd) {
    EXPECT_EQ(commonName(kUtf8, "Test User"), L"CN=Test User");
    EXPECT_EQ(commonName(kUtf8, "a b"), L"CN=a b");
    EXPECT_EQ(commonName(kUtf8, "ab "), L"CN=\"ab \"");
    EXPECT_EQ(commonName(kBmp, std::string("\0a\0 \0b", 6)), L"CN=a b");
    EXPECT_EQ(commonName(kBmp, std::string("\0a\0b\0 ", 6)), L"CN=\"ab \"");
}
#endif

TEST(name_text_test, EveryStringTypeShows) {
    EXPECT_EQ(commonName(kUtf8,
                         "Gr\xC3\xB6\xC3\x9F"
                         "e \xE8\xAF\x81"),
              L"CN=Gr\u00F6\u00DFe \u8BC1");
    EXPECT_EQ(commonName(kUtf8, "\xF0\x9F\x98\x80x"), L"CN=\U0001F600x");
    EXPECT_EQ(commonName(kUtf8, "a\xFFz"), L"CN=a\uFFFDz") << "malformed bytes are replaced";
    EXPECT_EQ(commonName(kUtf8, ""), L"CN=");
    for (const BYTE tag : {kNumeric, kPrintable, kT61, kVideotex, kIa5, BYTE{0x19}, kVisible, kGeneral})
        EXPECT_EQ(commonName(tag, "\xE4z"), L"CN=\u00E4z") << "bytes are characters";
    EXPECT_EQ(commonName(kBmp, std::string("\0a\x8B\xC1", 4)), L"CN=a\u8BC1");
    EXPECT_EQ(commonName(kBmp, "\xD8\x3D"), std::wstring(L"CN=") + static_cast<wchar_t>(0xD83D))
        << "a lone surrogate stays";
    EXPECT_EQ(commonName(kBmp, std::string("\xD8\x3D\xDE\x00\0x", 6)), L"CN=\U0001F600x");
    EXPECT_EQ(commonName(kBmp, std::string("\0a\0", 3)), L"CN=a") << "half a character is dropped";
    EXPECT_EQ(commonName(0x04, "abc"), L"CN=") << "an octet string shows nothing";
    EXPECT_EQ(commonName(kUtf8, std::string("a\0b", 3)), std::wstring(L"CN=a\0b", 6));
}

// A value that is no text takes all of the name with it.
TEST(name_text_test, NameWithAnotherValueIsEmpty) {
    for (const BYTE tag : {BYTE{0x01}, BYTE{0x02}, BYTE{0x03}, BYTE{0x05}, BYTE{0x0A}, BYTE{0x17}, BYTE{0x18},
                           kUniversal, BYTE{0x30}, BYTE{0x80}, BYTE{0xA0}})
        EXPECT_EQ(textOf(name({{attribute("55 04 06", kPrintable, "DE")}, {attribute(kCommonName, tag, "abcd")}})), L"")
            << static_cast<int>(tag);
}

TEST(name_text_test, WhatIsNoNameIsEmpty) {
    const Bytes type = element(0x06, support::hex(kCommonName));
    const Bytes value = element(kPrintable, {'a'});
    EXPECT_EQ(textOf(element(0x30, element(0x31, element(0x30, join({type, value, value}))))), L"");
    EXPECT_EQ(textOf(element(0x30, element(0x31, element(0x30, type)))), L"");
    EXPECT_EQ(textOf(element(0x30, element(0x30, element(0x30, join({type, value}))))), L"");
    EXPECT_EQ(textOf(element(0x31, element(0x31, element(0x30, join({type, value}))))), L"");
    EXPECT_EQ(textOf({}), L"");
    // One byte short is left out: Wine 8 reads that one behind the end.
    const Bytes good = name({{attribute("55 04 06", kPrintable, "DE")}, {attribute(kCommonName, kUtf8, "ab")}});
    for (std::size_t cut = 0; cut + 1 < good.size(); ++cut)
        EXPECT_EQ(textOf(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(cut))), L"") << cut;
}

TEST(name_text_test, BytesBehindTheNameDoNotCount) {
    Bytes der = name({{attribute("55 04 06", kPrintable, "DE")}});
    der.push_back(0);
    EXPECT_EQ(textOf(der), L"C=DE");
}

TEST(name_text_test, LongNamesAreWhole) {
    EXPECT_EQ(commonName(kUtf8, std::string(300, 'x')), L"CN=" + std::wstring(300, L'x'));
}

TEST(name_text_test, ShortBufferHoldsTheBeginning) {
    const Bytes der = name({{attribute("55 04 06", kPrintable, "DE")}, {attribute(kCommonName, kPrintable, "ab")}});
    ASSERT_EQ(textInto(der, nullptr, 0), 12u);
    wchar_t text[12];
    for (const DWORD chars : {1u, 3u, 4u, 5u, 6u, 7u, 10u, 11u, 12u}) {
        EXPECT_EQ(textInto(der, text, chars), chars);
        EXPECT_EQ(std::wstring(text), std::wstring(L"C=DE, CN=ab").substr(0, chars - 1));
    }
}

#if !defined(_WIN32)

TEST(name_text_test, CutByOneByteIsEmptyToo) {
    Bytes der = name({{attribute("55 04 06", kPrintable, "DE")}});
    der.pop_back();
    EXPECT_EQ(textOf(der), L"");
}

TEST(name_text_test, OtherFormsAreNotHad) {
    Bytes der = name({{attribute("55 04 06", kPrintable, "DE")}});
    CERT_NAME_BLOB blob = {static_cast<DWORD>(der.size()), der.data()};
    EXPECT_EQ(capi().CertNameToStrW(X509_ASN_ENCODING, &blob, 2, nullptr, 0), 1u);
    EXPECT_EQ(capi().CertNameToStrW(0, &blob, CERT_X500_NAME_STR, nullptr, 0), 1u);
    EXPECT_EQ(capi().CertNameToStrW(X509_ASN_ENCODING, nullptr, CERT_X500_NAME_STR, nullptr, 0), 1u);
    CERT_NAME_BLOB none = {0, nullptr};
    EXPECT_EQ(capi().CertNameToStrW(X509_ASN_ENCODING, &none, CERT_X500_NAME_STR, nullptr, 0), 1u);
}

TEST(name_text_test, ArcsBeyondReasonMakeNoName) {
    for (const char* objectId : {"55 04 80 03", "55 84", "55 FF FF FF FF FF FF FF FF FF 7F", ""})
        EXPECT_EQ(textOf(name({{attribute(objectId, kPrintable, "a")}})), L"") << objectId;
    EXPECT_EQ(textOf(name({{attribute("55 8F FF FF FF 7F", kPrintable, "a")}})), L"2.5.4294967295=a");
}

#endif
