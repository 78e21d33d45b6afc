// The bytes of a PKCS#10 request, apart from the key operations. L is a DER length:
//
//     30 L                                         CertificationRequest              writeRequest
//        30 L                                        CertificationRequestInfo        writeRequestInfo
//           02 01 00                                   version 0
//           30 00, or the subject's DER                subject
//           30 L                                       SubjectPublicKeyInfo
//              30 0D 06 09 2A 86 48 86 F7 0D 01 01 01 05 00    rsaEncryption, NULL
//              03 L 00                                         bit string
//                 30 L 02 L 00 modulus 02 03 01 00 01            RSAPublicKey        writePublicKey
//           A0 L                                       attributes
//              30 L 06 09 2A 86 48 86 F7 0D 01 09 01     emailAddress
//                 31 L 16 13 address                     SET of one IA5String of 19 bytes
//        30 0D 06 09 2A 86 48 86 F7 0D 01 01 0x 05 00   04 md5WithRSAEncryption, 05 sha1WithRSAEncryption
//        03 L 00 signature                              most significant byte first
//
// Sources: RFC 2986, PKCS#1 (RFC 8017), PKCS#9 for the attribute.
#ifndef VT_ENROL_REQUEST_BODY_H
#define VT_ENROL_REQUEST_BODY_H

#include <cstddef>
#include <cstdint>

#include "enrol/ber_handles.h"

namespace enrol {

// The address in every request of the program, whatever its subject.
inline constexpr char kRequestEmail[] = "enroll@vemtrel.test";
static_assert(sizeof(kRequestEmail) - 1 == 19);

// The modulus of a public key, behind a zero byte, as the request states it.
struct StagedModulus {
    static constexpr std::int32_t kMaxBits = 16384;
    std::uint8_t bytes[kMaxBits / 8 + 1] = {};
    std::int32_t bits = 0;
};

// readModulus takes the modulus out of the DER of an RSAPublicKey. False unless it has 512, 1024, 2048 or 4096 bits,
// the first of them set. The exponent is not looked at.
bool readModulus(const std::uint8_t* publicKeyDer, std::size_t length, StagedModulus& modulus);

// writePublicKey: an RSAPublicKey whose modulus has a leading zero byte and whose exponent is 65537.
BerValue writePublicKey(const StagedModulus& modulus);

// writeRequestInfo: the part that is signed. subject is the DER of a Name; null stands for the empty one.
BerValue writeRequestInfo(const BerWriter& publicKey, const std::uint8_t* subject, std::size_t subjectLength);

// writeRequest: the whole. Any hashAlgId but CALG_MD5 labels the signature sha1WithRSAEncryption.
BerValue writeRequest(const BerWriter& requestInfo, std::int32_t hashAlgId, const std::uint8_t* signature,
                      std::size_t signatureLength);

}  // namespace enrol

#endif
