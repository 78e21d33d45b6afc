// The password-based encryptions of PKCS#12 (RFC 7292 appendix C). For the sources of this room.
//
//     pbeType  algorithm                 cipher               key       iv
//     1        1.2.840.113549.1.12.1.1   RC4                  16 bytes
//     2        1.2.840.113549.1.12.1.2   RC4                  5 bytes
//     3        1.2.840.113549.1.12.1.3   triple DES, CBC      24 bytes  8 bytes
//     4        1.2.840.113549.1.12.1.4   two-key triple DES   16 bytes  8 bytes: the engine refuses it, -7
//     5        1.2.840.113549.1.12.1.5   RC2, CBC             16 bytes  8 bytes
//     6        1.2.840.113549.1.12.1.6   RC2, CBC             5 bytes   8 bytes
//
// The parameters are a PKCS12PbeParams of salt and iterations. iterations is what pki/pkcs12_kdf.h takes.
#ifndef VT_PKI_PKCS12_PBE_H
#define VT_PKI_PKCS12_PBE_H

class AlgorithmIdentifier;
class MiByte;
class VT_P11_OP;

namespace pki {

// pbeEncrypt encrypts under a fresh salt of 8 bytes, and tells the algorithm with its parameters. -1006 for another
// pbeType, and codes of the token layer.
int pbeEncrypt(VT_P11_OP& op, const MiByte& password, int pbeType, int iterations, const MiByte& plain,
               AlgorithmIdentifier& algorithm, MiByte& encrypted);

// pbeDecrypt decrypts by the algorithm told; a salt of any length will do. -1001 for a missing identifier, parameters
// or member of these; -1006 for another algorithm; codes of the token layer; exceptions of malformed parameters.
int pbeDecrypt(VT_P11_OP& op, const MiByte& password, const AlgorithmIdentifier& algorithm, const MiByte& encrypted,
               MiByte& plain);

// makeSalt gives so many random bytes. They are a salt and no secret: the current second seeds them.
int makeSalt(VT_P11_OP& op, int length, MiByte& salt);

}  // namespace pki

#endif
