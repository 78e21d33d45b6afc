#include "platform/nss/der.h"
#include "platform/nss/entries.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

// The number without the leading bytes that only repeat the sign of a two's complement number, which stands least
// significant byte first.
Span significantBytes(const CRYPT_INTEGER_BLOB& number) {
    std::size_t length = number.cbData;
    while (length > 1) {
        const BYTE top = number.pbData[length - 1];
        const bool nextIsNegative = (number.pbData[length - 2] & 0x80) != 0;
        if (top != (nextIsNegative ? 0xFF : 0x00))
            break;
        --length;
    }
    return {number.pbData, length};
}

// Modulus and exponent of an RSAPublicKey, without leading zeros.
bool readRsaPublicKey(const CRYPT_BIT_BLOB& bits, Bytes (&numbers)[2]) {
    Element sequence = {};
    DerReader outer({bits.pbData, bits.cbData});
    if (!outer.expect(kDerSequence, sequence))
        return false;
    DerReader reader(sequence.content);
    for (Bytes& number : numbers) {
        Element integer = {};
        if (!reader.expect(kDerInteger, integer))
            return false;
        number = withoutLeadingZeros(integer.content);
    }
    return true;
}

}  // namespace

BOOL CertCompareIntegerBlob(PCRYPT_INTEGER_BLOB a, PCRYPT_INTEGER_BLOB b) {
    return areEqual(significantBytes(*a), significantBytes(*b)) ? TRUE : FALSE;
}

// A certificate is known by its issuer and serial number.
BOOL CertCompareCertificate(DWORD /*encoding*/, PCERT_INFO a, PCERT_INFO b) {
    return areEqual(spanOf(a->Issuer), spanOf(b->Issuer)) ? CertCompareIntegerBlob(&a->SerialNumber, &b->SerialNumber)
                                                          : FALSE;
}

// RSA keys are compared as numbers, which providers may encode with or without leading zeros; others as they stand.
BOOL CertComparePublicKeyInfo(DWORD /*encoding*/, PCERT_PUBLIC_KEY_INFO a, PCERT_PUBLIC_KEY_INFO b) {
    const CRYPT_BIT_BLOB& aBits = a->PublicKey;
    const CRYPT_BIT_BLOB& bBits = b->PublicKey;
    if (areEqual({aBits.pbData, aBits.cbData}, {bBits.pbData, bBits.cbData}))
        return TRUE;
    Bytes aNumbers[2];
    Bytes bNumbers[2];
    if (!readRsaPublicKey(aBits, aNumbers) || !readRsaPublicKey(bBits, bNumbers))
        return FALSE;
    return aNumbers[0] == bNumbers[0] && aNumbers[1] == bNumbers[1] ? TRUE : FALSE;
}

}  // namespace platform::nss
