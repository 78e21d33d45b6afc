// Files that openssl made (data/make.sh), each read into the class that its name begins with.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/foundation.h"
#include "schema/registry.h"
#include "schema/schema.h"
#include "tests/schema/bytes.h"
#include "tests/support/broken_der.h"

namespace {

namespace fs = std::filesystem;
using support::Bytes;
using Value = std::unique_ptr<AsnObject>;

fs::path folder() {
#ifdef _WIN32
    return fs::path("Z:" VT_SCHEMA_DATA);  // where Wine has the root
#else
    return {VT_SCHEMA_DATA};
#endif
}

Bytes read(const std::string& name) {
    std::ifstream file(folder() / name, std::ios::binary);
    EXPECT_TRUE(file.good()) << name;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> names() {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder())) {
        if (entry.path().extension() == ".der")
            names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string classOf(const std::string& name) {
    return name.substr(0, name.find('.'));
}

Bytes bytesOf(const MiByte& value) {
    return {value.GetChars(), value.GetChars() + value.GetLength()};
}

Bytes bytesOf(const AsnOctetString* value) {
    return value == nullptr ? Bytes() : bytesOf(value->GetData());
}

// Reads the whole of it, and finds that it is written alike.
template <class T>
T goesThrough(const Bytes& bytes) {
    T value;
    EXPECT_EQ(decode(value, bytes), bytes.size());
    EXPECT_TRUE(encode(value) == bytes);
    return value;
}

template <class T>
T fromFile(const std::string& name) {
    SCOPED_TRACE(name);
    return goesThrough<T>(read(name));
}

// The value inside a ContentInfo, a bag or an attribute, which stands there as content without its tag.
template <class T>
T inside(const AsnOctetString* any) {
    T value;
    EXPECT_NE(any, nullptr);
    if (any != nullptr) {
        any->GetDerObject(&value);
        MiByteBuffer out;
        value.DerEncodeContent(out, 0);
        EXPECT_TRUE(out.GetByte() == any->GetData());
    }
    return value;
}

std::string text(const AsnObject& value) {
    std::ostringstream os;
    value.ToOstream(os, 0);
    return os.str();
}

TEST(real_input_test, EachFileIsReadIntoItsClassAndWrittenAlike) {
    std::map<std::string, int> counts;
    for (const std::string& name : names()) {
        SCOPED_TRACE(name);
        const Bytes bytes = read(name);
        const Value value(AsnMakeSchemaObject(classOf(name).c_str()));
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(decode(*value, bytes), bytes.size());
        if (name != "ContentInfo.unsorted_chain.der") {
            EXPECT_TRUE(encode(*value) == bytes);
        }
        ++counts[classOf(name)];
    }
    EXPECT_GE(counts["Certificate"], 25);
    EXPECT_GE(counts["CertificateList"], 5);
    EXPECT_GE(counts["ContentInfo"], 10);
    EXPECT_GE(counts["CertificationRequest"], 4);
    EXPECT_GE(counts["PFX"], 8);
    EXPECT_GE(counts["PrivateKeyInfo"] + counts["EncryptedPrivateKeyInfo"], 8);
}

TEST(real_input_test, ACloneIsWrittenAlike) {
    for (const std::string& name : names()) {
        const Value value(AsnMakeSchemaObject(classOf(name).c_str()));
        decode(*value, read(name));
        const Value clone(value->Clone());
        EXPECT_TRUE(encode(*clone) == encode(*value)) << name;
        EXPECT_TRUE(value->EqualsContent(clone.get())) << name;
        EXPECT_EQ(text(*clone), text(*value)) << name;
    }
}

TEST(real_input_test, EachFileCutAnywhereIsRefused) {
    for (const std::string& name : names()) {
        Bytes bytes = read(name);
        if (bytes.size() > 1500)
            continue;
        const Value value(AsnMakeSchemaObject(classOf(name).c_str()));
        while (!bytes.empty()) {
            bytes.pop_back();
            EXPECT_THROW(decode(*value, bytes), MiException) << name << ' ' << bytes.size();
        }
    }
}

// Whatever comes of a broken file, it is one of the library's exceptions or a value.
TEST(real_input_test, EachFileBrokenInEachElement) {
    for (const char* name :
         {"Certificate.eight_extensions.der", "CertificateList.revoked.der", "CertificationRequest.attributes.der",
          "PFX.des3.der", "PrivateKeyInfo.rsa.der", "ContentInfo.signed.der", "ContentInfo.enveloped.der"}) {
        const Bytes good = read(name);
        const Value value(AsnMakeSchemaObject(classOf(name).c_str()));
        for (const auto& all :
             {support::withTrailingData(good, {0x05, 0x00}), support::withShortLengths(good),
              support::withLongLengths(good), support::withIndefiniteLengths(good), support::withTags(good, 0x1F),
              support::withTags(good, 0x30), support::withTags(good, 0x02)}) {
            for (const support::Broken& broken : all) {
                try {
                    EXPECT_LE(decode(*value, broken.bytes), broken.bytes.size());
                } catch (const MiException&) {
                }
            }
        }
    }
}

const TBSCertificate& tbsOf(const Certificate& certificate) {
    return *certificate.GetTBSCertificate();
}

std::string timeOf(const X509Time* time) {
    return time->Get()->GetAsnName().GetChars() + (": " + text(*time->Get()).substr(text(*time->Get()).find(": ") + 2));
}

TEST(real_input_test, Versions) {
    EXPECT_EQ(tbsOf(fromFile<Certificate>("Certificate.v1.der")).GetVersion(), nullptr);
    EXPECT_EQ(tbsOf(fromFile<Certificate>("Certificate.v1.der")).GetExtensions(), nullptr);
    EXPECT_EQ(tbsOf(fromFile<Certificate>("Certificate.rsa2048.der")).GetVersion()->GetInteger(), 2);
    EXPECT_EQ(fromFile<CertificateList>("CertificateList.v1.der").GetTBSCertificateList()->GetVersion(), nullptr);
}

TEST(real_input_test, SerialNumbers) {
    const auto serial = [](const char* name) {
        const MiString decimal =
            tbsOf(fromFile<Certificate>(name)).GetSerialNumber()->GetBigInteger().GetStringBase10();
        return std::string(decimal.GetChars());
    };
    EXPECT_EQ(serial("Certificate.negative_serial.der"), "-123456789012345678901234567890");
    // python3: 0xF0E0D0C0B0A090807060504030201000F1E1D1C1
    EXPECT_EQ(serial("Certificate.long_serial.der"), "1375171336846658425949623264973672591694118375873");
    EXPECT_EQ(serial("Certificate.zero_serial.der"), "0");
    EXPECT_EQ(serial("Certificate.issued_v1.der"), "4096");
}

TEST(real_input_test, Times) {
    const auto validity = [](const char* name) {
        const auto certificate = fromFile<Certificate>(name);
        const Validity* value = tbsOf(certificate).GetValidity();
        return timeOf(value->GetNotBefore()) + ", " + timeOf(value->GetNotAfter());
    };
    EXPECT_EQ(validity("Certificate.issued_v1.der"), "utcTime: 141022010203Z, utcTime: 241022010203Z");
    EXPECT_EQ(validity("Certificate.after_2049.der"), "utcTime: 141022010203Z, generalizedTime: 20991231235959Z");
    EXPECT_EQ(validity("Certificate.from_2050.der"),
              "generalizedTime: 20500101000000Z, generalizedTime: 99991231235959Z");
}

TEST(real_input_test, RelativeNames) {
    const auto multi = fromFile<Certificate>("Certificate.multi_valued.der");
    const auto* names = static_cast<const AsnSequenceOf<AsnSetOf<AttributeTypeAndDistinguishedValue>>*>(
        tbsOf(multi).GetSubject()->Get());
    ASSERT_EQ(names->Size(), 2U);
    EXPECT_EQ(names->Get(0)->Size(), 3U);
    EXPECT_EQ(names->Get(1)->Size(), 3U);
    const auto empty = fromFile<Certificate>("Certificate.empty_subject.der");
    EXPECT_EQ(tbsOf(empty).GetSubject()->Get()->GetAsnTagNumber(), 16U);
    EXPECT_EQ(encode(*tbsOf(empty).GetSubject()).size(), 2U);
}

// Tag numbers of the strings of a subject, by openssl asn1parse.
TEST(real_input_test, StringsOfNames) {
    const auto tags = [](const char* name) {
        const auto certificate = fromFile<Certificate>(name);
        const auto* names = static_cast<const AsnSequenceOf<AsnSetOf<AttributeTypeAndDistinguishedValue>>*>(
            tbsOf(certificate).GetSubject()->Get());
        std::vector<unsigned int> numbers;
        for (unsigned int i = 0; i < names->Size(); ++i)
            numbers.push_back(names->Get(i)->Get(0)->GetValue()->GetAsnTagNumber());
        return numbers;
    };
    const std::vector<unsigned int> utf8{19, 12, 12, 19, 22, 22, 12};
    const std::vector<unsigned int> byDefault{19, 30, 30, 19, 22, 22, 19};
    EXPECT_EQ(tags("Certificate.utf8_strings.der"), utf8);
    EXPECT_EQ(tags("Certificate.default_strings.der"), byDefault);
}

TEST(real_input_test, KeySizes) {
    for (const unsigned int bits : {512U, 1024U, 2048U, 4096U, 8192U}) {
        const auto certificate = fromFile<Certificate>("Certificate.rsa" + std::to_string(bits) + ".der");
        const MiBitSet& key = tbsOf(certificate).GetSubjectPublicKeyInfo()->GetSubjectPublicKey()->GetData();
        const auto rsa = goesThrough<RSAPublicKey>(bytesOf(key.GetByte()));
        EXPECT_EQ(rsa.GetPkModulus()->GetBigInteger().GetBitLength(), bits + 8);  // and a leading zero byte
        EXPECT_EQ(rsa.GetPublicExponent()->GetInteger(), 65537);
        EXPECT_EQ(certificate.GetEncrypted()->GetData().GetBitLength(), bits);
    }
    EXPECT_EQ(fromFile<RSAPublicKey>("RSAPublicKey.exponent3.der").GetPublicExponent()->GetInteger(), 3);
}

// Reads the value of an extension into its class; false for an extension that has none here.
bool extensionGoesThrough(const Extension& extension) {
    const std::string oid = extension.GetExtnId()->GetData().GetChars();
    const Bytes value = bytesOf(extension.GetExtnValue());
    const std::map<std::string, void (*)(const Bytes&)> readers{
        {"2.5.29.14", [](const Bytes& bytes) { goesThrough<AsnOctetString>(bytes); }},
        {"2.5.29.15", [](const Bytes& bytes) { goesThrough<AsnBitString>(bytes); }},
        {"2.5.29.17", [](const Bytes& bytes) { goesThrough<AsnSequenceOf<GeneralName>>(bytes); }},
        {"2.5.29.18", [](const Bytes& bytes) { goesThrough<AsnSequenceOf<GeneralName>>(bytes); }},
        {"2.5.29.19", [](const Bytes& bytes) { goesThrough<BasicConstraintsSyntax>(bytes); }},
        {"2.5.29.20", [](const Bytes& bytes) { goesThrough<AsnInteger>(bytes); }},
        {"2.5.29.21", [](const Bytes& bytes) { goesThrough<AsnEnumerated>(bytes); }},
        {"2.5.29.23", [](const Bytes& bytes) { goesThrough<AsnOid>(bytes); }},
        {"2.5.29.27", [](const Bytes& bytes) { goesThrough<AsnInteger>(bytes); }},
        {"2.5.29.28", [](const Bytes& bytes) { goesThrough<IssuingDistPointSyntax>(bytes); }},
        {"2.5.29.30", [](const Bytes& bytes) { goesThrough<NameConstraintsSyntax>(bytes); }},
        {"2.5.29.31", [](const Bytes& bytes) { goesThrough<AsnSequenceOf<DistributionPoint>>(bytes); }},
        {"2.5.29.32", [](const Bytes& bytes) { goesThrough<AsnSequenceOf<PolicyInformation>>(bytes); }},
        {"2.5.29.35", [](const Bytes& bytes) { goesThrough<AuthorityKeyIdentifier>(bytes); }},
        {"2.5.29.36", [](const Bytes& bytes) { goesThrough<PolicyConstraintsSyntax>(bytes); }},
        {"2.5.29.37", [](const Bytes& bytes) { goesThrough<AsnSequenceOf<AsnOid>>(bytes); }},
        {"2.5.29.54", [](const Bytes& bytes) { goesThrough<AsnInteger>(bytes); }},
        {"2.16.840.1.113730.1.13", [](const Bytes& bytes) { goesThrough<AsnIA5String>(bytes); }},
    };
    SCOPED_TRACE(oid);
    const auto found = readers.find(oid);
    if (found == readers.end())
        return false;
    found->second(value);
    return true;
}

unsigned int knownExtensions(const AsnSequenceOf<Extension>& extensions) {
    unsigned int known = 0;
    for (unsigned int i = 0; i < extensions.Size(); ++i)
        known += extensionGoesThrough(*extensions.Get(i)) ? 1 : 0;
    return known;
}

TEST(real_input_test, Extensions) {
    const auto eight = fromFile<Certificate>("Certificate.eight_extensions.der");
    ASSERT_EQ(tbsOf(eight).GetExtensions()->Size(), 8U);
    EXPECT_EQ(knownExtensions(*tbsOf(eight).GetExtensions()), 8U);
    EXPECT_EQ(tbsOf(eight).GetExtensions()->Get(0)->GetCritical(), nullptr);
    EXPECT_TRUE(tbsOf(eight).GetExtensions()->Get(1)->GetCritical()->GetData());
    const auto many = fromFile<Certificate>("Certificate.many_extensions.der");
    // All but authorityInfoAccess, tlsfeature and the private one.
    EXPECT_EQ(knownExtensions(*tbsOf(many).GetExtensions()), tbsOf(many).GetExtensions()->Size() - 3);
}

TEST(real_input_test, GeneralNames) {
    const auto many = fromFile<Certificate>("Certificate.many_extensions.der");
    const Bytes value = bytesOf(tbsOf(many).GetExtensions()->Get(1)->GetExtnValue());
    const auto names = goesThrough<AsnSequenceOf<GeneralName>>(value);
    std::vector<std::string> kinds;
    for (unsigned int i = 0; i < names.Size(); ++i)
        kinds.emplace_back(names.Get(i)->Get()->GetAsnName().GetChars());
    const std::vector<std::string> expected{"dNSName",      "dNSName",   "rfc822Name",
                                            "iPAddress",    "iPAddress", "uniformResourceIdentifier",
                                            "registeredID", "otherName", "directoryName"};
    EXPECT_EQ(kinds, expected);
    EXPECT_NE(text(names).find("dNSName  [2]  IMPLICIT  IA5String : \"*.example.test\""), std::string::npos);
    EXPECT_NE(text(names).find("registeredID  [8]  IMPLICIT  OBJECT IDENTIFER : 1.2.3.4"), std::string::npos);
}

TEST(real_input_test, RevokedCertificates) {
    const auto list = fromFile<CertificateList>("CertificateList.revoked.der");
    const auto* revoked = list.GetTBSCertificateList()->GetRevokedCertificates();
    ASSERT_NE(revoked, nullptr);
    ASSERT_EQ(revoked->Size(), 3U);
    EXPECT_EQ(revoked->Get(0)->GetSerialNumber()->GetInteger(), 0x1000);
    EXPECT_EQ(revoked->Get(2)->GetSerialNumber()->GetInteger(), 0x1002);
    EXPECT_EQ(revoked->Get(0)->GetCrlEntryExtensions(), nullptr);
    EXPECT_EQ(knownExtensions(*revoked->Get(1)->GetCrlEntryExtensions()), 1U);
    EXPECT_EQ(knownExtensions(*revoked->Get(2)->GetCrlEntryExtensions()), 2U);
    EXPECT_EQ(knownExtensions(*list.GetTBSCertificateList()->GetCrlExtensions()), 3U);
    const auto empty = fromFile<CertificateList>("CertificateList.empty.der");
    EXPECT_EQ(empty.GetTBSCertificateList()->GetRevokedCertificates(), nullptr);
    const auto delta = fromFile<CertificateList>("CertificateList.delta.der");
    EXPECT_EQ(knownExtensions(*delta.GetTBSCertificateList()->GetCrlExtensions()), 3U);
    const auto late = fromFile<CertificateList>("CertificateList.until_2050.der");
    EXPECT_EQ(timeOf(late.GetTBSCertificateList()->GetNextUpdate()), "generalizedTime: 20500101000000Z");
}

SignedData signedDataOf(const char* name) {
    const auto info = fromFile<ContentInfo>(name);
    EXPECT_STREQ(info.GetContentType()->GetData().GetChars(), "1.2.840.113549.1.7.2");
    return inside<SignedData>(info.GetContent());
}

template <class List>
unsigned int sizeOf(const AsnChoice* choice) {
    return choice == nullptr ? 0 : static_cast<const List*>(choice->Get())->Size();
}

TEST(real_input_test, SignedMessages) {
    using Certificates = AsnSetOf<ExtendedCertificateOrCertificate>;
    using Signers = AsnSetOf<SignerInfo>;
    const SignedData message = signedDataOf("ContentInfo.signed.der");
    EXPECT_EQ(sizeOf<Certificates>(message.GetCertificates()), 1U);
    EXPECT_EQ(sizeOf<Signers>(message.GetSignerInfos()), 1U);
    const auto content = inside<AsnOctetString>(message.GetContentInfo()->GetContent());
    EXPECT_EQ(bytesOf(&content), Bytes({'s', 'i', 'g', 'n', 'e', 'd', ' ', 'c', 'o', 'n', 't', 'e', 'n', 't', '\n'}));
    const auto* signers = static_cast<const Signers*>(message.GetSignerInfos()->Get());
    EXPECT_NE(signers->Get(0)->GetAuthenticatedAttributes(), nullptr);
    EXPECT_EQ(signers->Get(0)->GetUnauthenticatedAttributes(), nullptr);
    EXPECT_EQ(signers->Get(0)->GetEncryptedDigest()->GetData().GetLength(), 128U);

    const SignedData detached = signedDataOf("ContentInfo.detached.der");
    EXPECT_EQ(detached.GetContentInfo()->GetContent(), nullptr);
    const SignedData bare = signedDataOf("ContentInfo.no_attributes.der");
    EXPECT_EQ(static_cast<const Signers*>(bare.GetSignerInfos()->Get())->Get(0)->GetAuthenticatedAttributes(), nullptr);
    EXPECT_EQ(signedDataOf("ContentInfo.no_certificates.der").GetCertificates(), nullptr);
    EXPECT_EQ(sizeOf<Signers>(signedDataOf("ContentInfo.two_signers.der").GetSignerInfos()), 2U);
    EXPECT_EQ(sizeOf<Certificates>(signedDataOf("ContentInfo.chain.der").GetCertificates()), 3U);
    EXPECT_EQ(sizeOf<AsnSetOf<CertificateList>>(signedDataOf("ContentInfo.with_crl.der").GetCrls()), 1U);
    EXPECT_EQ(signedDataOf("ContentInfo.certificate.der").GetCrls(), nullptr);
}

// openssl writes the certificates of a chain as they come. A set goes out sorted, the shorter certificate first.
TEST(real_input_test, AChainOutOfOrderIsWrittenInOrder) {
    const auto info = fromFile<ContentInfo>("ContentInfo.unsorted_chain.der");
    SignedData message;
    info.GetContent()->GetDerObject(&message);
    const auto* chain =
        static_cast<const AsnSetOf<ExtendedCertificateOrCertificate>*>(message.GetCertificates()->Get());
    ASSERT_EQ(chain->Size(), 2U);
    const Bytes first = read("Certificate.rsa512.der");
    const Bytes second = read("Certificate.rsa2048.der");
    EXPECT_TRUE(encode(*chain->Get(0)) == second);
    EXPECT_TRUE(encode(*chain->Get(1)) == first);
    const Bytes written = encode(message);
    const auto at = [&](const Bytes& part) {
        return std::search(written.begin(), written.end(), part.begin(), part.end());
    };
    ASSERT_NE(at(first), written.end());
    ASSERT_NE(at(second), written.end());
    EXPECT_LT(at(first), at(second));
}

TEST(real_input_test, EnvelopedMessages) {
    for (const auto& [name, recipients] :
         {std::pair("ContentInfo.enveloped.der", 1U), std::pair("ContentInfo.enveloped_for_two.der", 2U)}) {
        const auto info = fromFile<ContentInfo>(name);
        const auto message = inside<EnvelopedData>(info.GetContent());
        EXPECT_EQ(sizeOf<AsnSetOf<RecipientInfo>>(message.GetRecipientInfos()), recipients);
        EXPECT_NE(message.GetEncryptedContentInfo()->GetEncryptedContent(), nullptr);
    }
}

TEST(real_input_test, Requests) {
    const auto plain = fromFile<CertificationRequest>("CertificationRequest.plain.der");
    EXPECT_EQ(plain.GetCertificationRequestInfo()->GetVersion()->GetInteger(), 0);
    EXPECT_EQ(plain.GetCertificationRequestInfo()->GetAttributes()->Size(), 0U);
    const auto attributes = fromFile<CertificationRequest>("CertificationRequest.attributes.der");
    EXPECT_EQ(attributes.GetCertificationRequestInfo()->GetAttributes()->Size(), 3U);
    const auto extensions = fromFile<CertificationRequest>("CertificationRequest.extensions.der");
    const Attribute* attribute = extensions.GetCertificationRequestInfo()->GetAttributes()->Get(0);
    EXPECT_STREQ(attribute->GetType()->GetData().GetChars(), "1.2.840.113549.1.9.14");
    const auto requested = inside<AsnSequenceOf<Extension>>(attribute->GetValues()->Get(0));
    EXPECT_EQ(knownExtensions(requested), 2U);
}

TEST(real_input_test, PrivateKeys) {
    const auto info = fromFile<PrivateKeyInfo>("PrivateKeyInfo.rsa.der");
    const auto key = goesThrough<RSAPrivateKey>(bytesOf(info.GetPrivateKey()));
    EXPECT_TRUE(encode(key) == read("RSAPrivateKey.rsa512.der"));
    const auto encrypted = fromFile<EncryptedPrivateKeyInfo>("EncryptedPrivateKeyInfo.des3.der");
    const AlgorithmIdentifier* algorithm = encrypted.GetEncryptionAlgorithm();
    EXPECT_STREQ(algorithm->GetAlgorithm()->GetData().GetChars(), "1.2.840.113549.1.12.1.3");
    EXPECT_EQ(inside<PKCS12PbeParams>(algorithm->GetParameters()).GetIterations()->GetInteger(), 2048);
}

TEST(real_input_test, Pkcs12Files) {
    EXPECT_EQ(fromFile<PFX>("PFX.without_mac.der").GetMacData(), nullptr);
    EXPECT_EQ(fromFile<PFX>("PFX.des3.der").GetMacData()->GetIterations()->GetInteger(), 2048);
    EXPECT_EQ(fromFile<PFX>("PFX.one_iteration.der").GetMacData()->GetIterations(), nullptr);

    const PFX open = fromFile<PFX>("PFX.open.der");
    EXPECT_EQ(open.GetVersion()->GetInteger(), 3);
    const auto safe = inside<AsnOctetString>(open.GetAuthSafe()->GetContent());
    const auto infos = goesThrough<AsnSequenceOf<ContentInfo>>(bytesOf(&safe));
    ASSERT_EQ(infos.Size(), 2U);
    std::vector<std::string> bagIds;
    for (unsigned int i = 0; i < infos.Size(); ++i) {
        const auto contents = inside<AsnOctetString>(infos.Get(i)->GetContent());
        const auto bags = goesThrough<AsnSequenceOf<SafeBag>>(bytesOf(&contents));
        for (unsigned int j = 0; j < bags.Size(); ++j) {
            bagIds.emplace_back(bags.Get(j)->GetBagId()->GetData().GetChars());
            EXPECT_EQ(bags.Get(j)->GetBagAttributes()->Size(), 2U);
            if (bagIds.back() == "1.2.840.113549.1.12.10.1.3") {
                const auto bag = inside<CertBag>(bags.Get(j)->GetBagValue());
                const auto certificate = inside<AsnOctetString>(bag.GetCertValue());
                EXPECT_TRUE(bytesOf(&certificate) == read("Certificate.rsa512.der"));
            } else {
                EXPECT_TRUE(encode(inside<PrivateKeyInfo>(bags.Get(j)->GetBagValue())) ==
                            read("PrivateKeyInfo.rsa.der"));
            }
        }
    }
    const std::vector<std::string> expected{"1.2.840.113549.1.12.10.1.3", "1.2.840.113549.1.12.10.1.1"};
    EXPECT_EQ(bagIds, expected);
}

}  // namespace
