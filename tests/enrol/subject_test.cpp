#include "enrol/subject.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/call_plan.h"
#include "tests/support/failing_tables.h"
#include "tests/support/fake_crypto_api.h"
#include "tests/support/fake_system_api.h"
#include "tests/support/hex.h"
#include "tests/support/noise.h"

namespace {

using enrol::BuildSubject;
using enrol::BuildSubjectComponent;
using enrol::HeapBytes;
using enrol::SubjectComponent;
using support::hex;
using support::toHex;

class subject_test : public testing::Test {
  protected:
    static std::int32_t reasonOf(std::wstring_view text) {
        SubjectComponent component;
        return BuildSubjectComponent(text, component);
    }

    // derOf gives the hex of the Name, or the reason.
    static std::string derOf(std::wstring_view text) {
        HeapBytes der;
        const std::int32_t reason = BuildSubject(text, der);
        return reason == 0 ? toHex(der.data.get(), der.size) : std::to_string(reason);
    }

    support::FailingTables tables;
    support::FakeSystemApi system;
    support::FakeCryptoApi crypto;
    support::CallPlan calls;
};

std::string narrowValue(const SubjectComponent& component) {
    return {reinterpret_cast<const char*>(component.attr.Value.pbData), component.attr.Value.cbData};
}

std::wstring wideValue(const SubjectComponent& component) {
    return {reinterpret_cast<LPCWSTR>(component.attr.Value.pbData), component.attr.Value.cbData / sizeof(wchar_t)};
}

TEST_F(subject_test, CountryIsAPrintableStringInTheAnsiCodePage) {
    SubjectComponent component;
    ASSERT_EQ(BuildSubjectComponent(L"C=DE", component), 0);
    EXPECT_STREQ(component.attr.pszObjId, "2.5.4.6");
    EXPECT_EQ(component.attr.dwValueType, 4U);
    EXPECT_EQ(component.attr.Value.cbData, 2U);
    EXPECT_EQ(narrowValue(component), "DE");
}

TEST_F(subject_test, TheOthersAreUtf8StringsGivenAsWideText) {
    const std::pair<std::wstring, std::string> kinds[] = {{L"O", "2.5.4.10"}, {L"OU", "2.5.4.11"}, {L"CN", "2.5.4.3"}};
    for (const auto& [key, oid] : kinds) {
        SubjectComponent component;
        ASSERT_EQ(BuildSubjectComponent(key + L"=Gr\u00FC\u00DFe", component), 0);
        EXPECT_EQ(component.attr.pszObjId, oid);
        EXPECT_EQ(component.attr.dwValueType, 13U);
        EXPECT_EQ(component.attr.Value.cbData, 5 * sizeof(wchar_t));
        EXPECT_EQ(wideValue(component), L"Gr\u00FC\u00DFe");
    }
    EXPECT_TRUE(calls.log().empty());
}

TEST_F(subject_test, MoreComponentsThanASubjectHasAreNotEncoded) {
    const SubjectComponent components[enrol::kMaxSubjectComponents + 1];
    enrol::HeapBytes der;
    EXPECT_EQ(enrol::EncodeSubject(components, enrol::kMaxSubjectComponents + 1, der), 8227);
    EXPECT_TRUE(calls.log().empty());
}

TEST_F(subject_test, KeysAreReadInEitherCase) {
    for (const wchar_t* text : {L"c=x", L"o=x", L"ou=x", L"oU=x", L"cn=x", L"Cn=x"})
        EXPECT_EQ(reasonOf(text), 0) << support::utf8Of(text);
}

TEST_F(subject_test, AnUnknownKeyIsRefused) {
    for (const wchar_t* text : {L"=x", L"=", L"L=x", L"ST=x", L"E=x", L"CNN=x", L"CO=x", L"OUT=x", L"N=x", L" CN=x",
                                L"CN =x", L"\tO=x", L"2.5.4.3=x", L"\u212A=x"})
        EXPECT_EQ(reasonOf(text), 8227) << support::utf8Of(text);
}

TEST_F(subject_test, AComponentWithoutEqualsIsRefused) {
    for (const wchar_t* text : {L"", L"CN", L"x", L" "})
        EXPECT_EQ(reasonOf(text), 8228) << support::utf8Of(text);
}

TEST_F(subject_test, TheValueIsEverythingBehindTheFirstEquals) {
    SubjectComponent component;
    ASSERT_EQ(BuildSubjectComponent(L"CN= a = b ", component), 0);
    EXPECT_EQ(wideValue(component), L" a = b ");
    ASSERT_EQ(BuildSubjectComponent(L"C= D ", component), 0);
    EXPECT_EQ(narrowValue(component), " D ");
}

TEST_F(subject_test, AnEmptyValueIsAnEmptyTerminatedText) {
    SubjectComponent component;
    ASSERT_EQ(BuildSubjectComponent(L"CN=", component), 0);
    EXPECT_EQ(component.attr.Value.cbData, 0U);
    EXPECT_EQ(*reinterpret_cast<LPCWSTR>(component.attr.Value.pbData), L'\0');
    ASSERT_EQ(BuildSubjectComponent(L"C=", component), 0);
    EXPECT_EQ(component.attr.Value.cbData, 0U);
    EXPECT_EQ(*component.attr.Value.pbData, 0);
}

TEST_F(subject_test, ACountryThatCannotBeConvertedIsNotEncodable) {
    for (int occurrence = 1; occurrence <= 2; ++occurrence) {
        calls.failCall("WideCharToMultiByte", occurrence);
        EXPECT_EQ(reasonOf(L"C=DE"), 8124) << occurrence;
    }
}

TEST_F(subject_test, FourComponentsYieldFourNamesInTheTextsOrder) {
    EXPECT_EQ(derOf(L"C=DE,O=Org,OU=Unit,CN=J\u00F6rg"), toHex(hex("30 3A"
                                                                   "31 0B 30 09 06 03 55 04 06 13 02 44 45"
                                                                   "31 0C 30 0A 06 03 55 04 0A 0C 03 4F 72 67"
                                                                   "31 0D 30 0B 06 03 55 04 0B 0C 04 55 6E 69 74"
                                                                   "31 0E 30 0C 06 03 55 04 03 0C 05 4A C3 B6 72 67")));
    EXPECT_EQ(derOf(L"CN=b,CN=a"),
              toHex(hex("30 18 31 0A 30 08 06 03 55 04 03 0C 01 62 31 0A 30 08 06 03 55 04 03 0C 01 61")));
}

TEST_F(subject_test, EmptyComponentsVanish) {
    EXPECT_EQ(derOf(L",,CN=a,,,O=b,"), derOf(L"CN=a,O=b"));
}

TEST_F(subject_test, CommasAloneAreAnEmptyName) {
    EXPECT_EQ(derOf(L",,,"), "30 00");
}

TEST_F(subject_test, TheTextEndsAtItsFirstNul) {
    EXPECT_EQ(derOf(std::wstring_view(L"CN=a\0,bad", 9)), derOf(L"CN=a"));
}

TEST_F(subject_test, TenComponentsWorkAndElevenDoNot) {
    std::wstring text = L"CN=x";
    for (int i = 2; i <= 10; ++i)
        text += L",CN=x";
    EXPECT_EQ(derOf(text).substr(0, 5), "30 78");
    EXPECT_EQ(derOf(text + L","), derOf(text));
    EXPECT_EQ(derOf(text + L",CN=x"), "8227");
    // The eleventh is refused unread.
    EXPECT_EQ(derOf(text + L",x"), "8227");
}

TEST_F(subject_test, TheFirstBadComponentDecides) {
    EXPECT_EQ(derOf(L"CN=a,b,X=c"), "8228");
    EXPECT_EQ(derOf(L"CN=a,X=c,b"), "8227");
    EXPECT_EQ(derOf(L"CN=a, O=b"), "8227");
    EXPECT_EQ(calls.count("CryptEncodeObjectEx"), 0);
}

TEST_F(subject_test, AFailedEncodingIsNotEncodable) {
    for (int occurrence = 1; occurrence <= 2; ++occurrence) {
        calls.failCall("CryptEncodeObjectEx", occurrence);
        EXPECT_EQ(derOf(L"CN=a"), "8124") << occurrence;
    }
    EXPECT_EQ(derOf(L"C=D_"), "8124") << "an underscore is no character of a PrintableString";
}

// Whatever the page sends, the answer is a reason or a Name.
TEST_F(subject_test, HostileTexts) {
    static constexpr wchar_t kPieces[] = L"CNOUcnou==,,, \0\uFFFD\u00FCx";
    support::Noise noise(3);
    for (int round = 0; round < 5000; ++round) {
        std::wstring text;
        for (unsigned length = noise.below(40); length > 0; --length)
            text += kPieces[noise.below(sizeof(kPieces) / sizeof(wchar_t))];
        const std::string answer = derOf(text);
        ASSERT_TRUE(answer == "8124" || answer == "8227" || answer == "8228" || answer.substr(0, 3) == "30 ")
            << support::utf8Of(text) << ": " << answer;
    }
    EXPECT_EQ(derOf(L"CN=" + std::wstring(1 << 20, L'x')).substr(0, 14), "30 83 10 00 14");
}

}  // namespace
