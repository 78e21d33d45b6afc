#include "platform/nss/certificate.h"

#include <algorithm>

#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

constexpr BYTE kTagVersion = 0xA0;
constexpr BYTE kTagIssuerUniqueId = 0x81;
constexpr BYTE kTagSubjectUniqueId = 0x82;
constexpr BYTE kTagExtensions = 0xA3;
constexpr BYTE kLastVersion = 2;  // version 3
constexpr char kBasicConstraints[] = "2.5.29.19";

CRYPTOAPI_BLOB blobOf(Span span) {
    return {static_cast<DWORD>(span.size), const_cast<BYTE*>(span.data)};
}

// Two decimal digits, or -1.
int twoDigits(const BYTE* text) {
    const bool good = text[0] >= '0' && text[0] <= '9' && text[1] >= '0' && text[1] <= '9';
    return good ? (text[0] - '0') * 10 + (text[1] - '0') : -1;
}

bool isLeapYear(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int daysOfMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

// Days from 1601-01-01.
std::int64_t daysBefore(int year, int month, int day) {
    const std::int64_t years = year - 1601;
    std::int64_t days = years * 365 + years / 4 - years / 100 + years / 400 + day - 1;
    for (int before = 1; before < month; ++before)
        days += daysOfMonth(year, before);
    return days;
}

// "MMDDHHMMSSZ" of a year that FILETIME can tell.
bool readTimeOfYear(const BYTE* text, int year, FILETIME& time) {
    int parts[5];
    for (std::size_t i = 0; i < 5; ++i)
        parts[i] = twoDigits(text + 2 * i);
    const auto [month, day, hour, minute, second] = parts;
    if (text[10] != 'Z' || year < 1601 || month < 1 || month > 12 || day < 1 || day > daysOfMonth(year, month) ||
        hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59)
        return false;
    const std::int64_t seconds =
        daysBefore(year, month, day) * 86400 + std::int64_t{hour} * 3600 + std::int64_t{minute} * 60 + second;
    const auto steps = static_cast<std::uint64_t>(seconds) * 10000000;
    time = {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
    return true;
}

// UTCTime "YYMMDDHHMMSSZ" lies in 1950 to 2049 (RFC 5280, 4.1.2.5.1); GeneralizedTime has four digits of year.
bool readTime(DerReader& reader, FILETIME& time) {
    Element element = {};
    if (!reader.read(element))
        return false;
    const BYTE* text = element.content.data;
    if (element.tag == kDerUtcTime && element.content.size == 13) {
        const int year = twoDigits(text);
        return year >= 0 && readTimeOfYear(text + 2, year + (year < 50 ? 2000 : 1900), time);
    }
    if (element.tag != kDerGeneralizedTime || element.content.size != 15)
        return false;
    const int century = twoDigits(text);
    const int year = twoDigits(text + 2);
    return century >= 0 && year >= 0 && readTimeOfYear(text + 4, century * 100 + year, time);
}

bool readBits(Span content, CRYPT_BIT_BLOB& bits) {
    if (content.size == 0 || content.data[0] > 7 || (content.size == 1 && content.data[0] != 0))
        return false;
    bits = {static_cast<DWORD>(content.size - 1), const_cast<BYTE*>(content.data + 1), content.data[0]};
    return true;
}

}  // namespace

class CertificateParser {
  public:
    explicit CertificateParser(Certificate& certificate) : out_(certificate), info_(certificate.info_) {}

    bool parse() {
        Element whole = {};
        Element body = {};
        Element signature = {};
        CRYPT_ALGORITHM_IDENTIFIER outerAlgorithm = {};
        CRYPT_BIT_BLOB signatureBits = {};
        if (!DerReader(spanOf(out_.bytes_)).expect(kDerSequence, whole))
            return false;
        out_.der_ = whole.whole;
        DerReader reader(whole.content);
        return reader.expect(kDerSequence, body) && readAlgorithm(reader, outerAlgorithm) &&
               reader.expect(kDerBitString, signature) && readBits(signature.content, signatureBits) &&
               reader.atEnd() && parseBody(body.content);
    }

  private:
    bool parseBody(Span content) {
        DerReader reader(content);
        return readVersion(reader) && readSerialNumber(reader) && readAlgorithm(reader, info_.SignatureAlgorithm) &&
               readName(reader, info_.Issuer) && readValidity(reader) && readName(reader, info_.Subject) &&
               readPublicKey(reader) && readUniqueId(reader, kTagIssuerUniqueId, info_.IssuerUniqueId) &&
               readUniqueId(reader, kTagSubjectUniqueId, info_.SubjectUniqueId) && readExtensions(reader) &&
               reader.atEnd();
    }

    bool readVersion(DerReader& reader) {
        Element wrapper = {};
        Element version = {};
        info_.dwVersion = 0;
        if (!reader.isNext(kTagVersion))
            return true;
        if (!reader.read(wrapper))
            return false;
        DerReader inner(wrapper.content);
        if (!inner.expect(kDerInteger, version) || !inner.atEnd() || version.content.size != 1)
            return false;
        info_.dwVersion = version.content.data[0];
        return info_.dwVersion <= kLastVersion;
    }

    // Least significant byte first, all bytes kept.
    bool readSerialNumber(DerReader& reader) {
        Element serial = {};
        if (!reader.expect(kDerInteger, serial) || serial.content.size == 0)
            return false;
        out_.serialNumber_.assign(serial.content.data, serial.content.data + serial.content.size);
        std::reverse(out_.serialNumber_.begin(), out_.serialNumber_.end());
        info_.SerialNumber = blobOf(spanOf(out_.serialNumber_));
        return true;
    }

    bool readObjectId(DerReader& reader, LPSTR& objectId) {
        Element element = {};
        if (!reader.expect(kDerObjectIdentifier, element))
            return false;
        out_.objectIds_.push_back(objectIdText(element.content));
        objectId = out_.objectIds_.back().data();
        return !out_.objectIds_.back().empty();
    }

    bool readAlgorithm(DerReader& reader, CRYPT_ALGORITHM_IDENTIFIER& algorithm) {
        Element sequence = {};
        if (!reader.expect(kDerSequence, sequence))
            return false;
        DerReader inner(sequence.content);
        if (!readObjectId(inner, algorithm.pszObjId))
            return false;
        Element parameters = {};
        if (inner.atEnd())
            return true;
        if (!inner.read(parameters) || !inner.atEnd())
            return false;
        algorithm.Parameters = blobOf(parameters.whole);
        return true;
    }

    static bool readName(DerReader& reader, CERT_NAME_BLOB& name) {
        Element element = {};
        if (!reader.expect(kDerSequence, element))
            return false;
        name = blobOf(element.whole);
        return true;
    }

    bool readValidity(DerReader& reader) {
        Element validity = {};
        if (!reader.expect(kDerSequence, validity))
            return false;
        DerReader inner(validity.content);
        return readTime(inner, info_.NotBefore) && readTime(inner, info_.NotAfter) && inner.atEnd();
    }

    bool readPublicKey(DerReader& reader) {
        Element publicKey = {};
        Element bits = {};
        if (!reader.expect(kDerSequence, publicKey))
            return false;
        DerReader inner(publicKey.content);
        return readAlgorithm(inner, info_.SubjectPublicKeyInfo.Algorithm) && inner.expect(kDerBitString, bits) &&
               readBits(bits.content, info_.SubjectPublicKeyInfo.PublicKey) && inner.atEnd();
    }

    static bool readUniqueId(DerReader& reader, BYTE tag, CRYPT_BIT_BLOB& uniqueId) {
        Element element = {};
        if (!reader.isNext(tag))
            return true;
        return reader.read(element) && readBits(element.content, uniqueId);
    }

    bool readExtensions(DerReader& reader) {
        Element wrapper = {};
        Element sequence = {};
        if (!reader.isNext(kTagExtensions))
            return true;
        if (!reader.read(wrapper))
            return false;
        DerReader outer(wrapper.content);
        if (!outer.expect(kDerSequence, sequence) || !outer.atEnd())
            return false;
        for (DerReader inner(sequence.content); !inner.atEnd();) {
            if (!readExtension(inner))
                return false;
        }
        info_.cExtension = static_cast<DWORD>(out_.extensions_.size());
        info_.rgExtension = out_.extensions_.data();
        return true;
    }

    bool readExtension(DerReader& reader) {
        Element sequence = {};
        Element critical = {};
        Element value = {};
        CERT_EXTENSION extension = {};
        if (!reader.expect(kDerSequence, sequence))
            return false;
        DerReader inner(sequence.content);
        if (!readObjectId(inner, extension.pszObjId))
            return false;
        if (inner.isNext(kDerBoolean) && (!inner.read(critical) || critical.content.size != 1))
            return false;
        if (!inner.expect(kDerOctetString, value) || !inner.atEnd())
            return false;
        extension.fCritical = critical.content.size == 1 && critical.content.data[0] != 0 ? TRUE : FALSE;
        extension.Value = blobOf(value.content);
        out_.extensions_.push_back(extension);
        return true;
    }

    Certificate& out_;
    CERT_INFO& info_;
};

bool Certificate::isSelfIssued() const {
    return areEqual(spanOf(info_.Issuer), spanOf(info_.Subject));
}

bool Certificate::isAuthority() const {
    for (const CERT_EXTENSION& extension : extensions_) {
        if (std::string(extension.pszObjId) != kBasicConstraints)
            continue;
        Element sequence = {};
        Element authority = {};
        DerReader reader(spanOf(extension.Value));
        return reader.expect(kDerSequence, sequence) && DerReader(sequence.content).expect(kDerBoolean, authority) &&
               authority.content.size == 1 && authority.content.data[0] != 0;
    }
    return info_.dwVersion == 0 && isSelfIssued();
}

Bytes Certificate::rsaModulus() const {
    const CRYPT_BIT_BLOB& bits = info_.SubjectPublicKeyInfo.PublicKey;
    Element sequence = {};
    Element modulus = {};
    DerReader reader({bits.pbData, bits.cbData});
    if (!reader.expect(kDerSequence, sequence) || !DerReader(sequence.content).expect(kDerInteger, modulus))
        return {};
    return withoutLeadingZeros(modulus.content);
}

std::shared_ptr<Certificate> parseCertificate(const BYTE* data, std::size_t size) {
    if (data == nullptr || size == 0) {
        posix::setLastError(CRYPT_E_ASN1_EOD);
        return nullptr;
    }
    auto certificate = std::make_shared<Certificate>();
    certificate->bytes_.assign(data, data + size);
    if (!CertificateParser(*certificate).parse()) {
        posix::setLastError(CRYPT_E_ASN1_CORRUPT);
        return nullptr;
    }
    return certificate;
}

}  // namespace platform::nss
