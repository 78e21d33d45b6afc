// VT_PFX: a password-protected PKCS#12 file (RFC 7292), put together and taken apart.
//
//     PFX
//       version                INTEGER 3
//       authSafe               ContentInfo, data 1.2.840.113549.1.7.1
//         AuthenticatedSafe    SEQUENCE OF ContentInfo, each of them one of
//           data               type 3, 1.2.840.113549.1.7.1: SafeContents in the clear
//           encrypted data     type 4, 1.2.840.113549.1.7.6: SafeContents under the password
//           enveloped data     type 5, 1.2.840.113549.1.7.3: counted, and passed over
//       macData
//         mac                  DigestInfo, 1.3.14.3.2.26 (SHA-1): HMAC over the octets of the data
//         macSalt              20 random bytes
//         iterations           INTEGER
//
// Each SafeContents (pki/safe_contents.h) is an argument here, as bags or as DER.
#ifndef VT_PKI_PFX_H
#define VT_PKI_PFX_H

#include <cstdint>

#include "foundation/export.h"
#include "pki/held.h"

template <class T>
class AsnSequenceOf;
class ContentInfo;
class MiByte;
class PFX;
class SafeBag;
class VT_P11_OP;

// Copies are deep. Operations give 0 or a code; codes of the token layer pass through, and so do the exceptions of
// malformed DER. Passwords are strings of single bytes, with no zero byte behind them; the empty one is a password like
// any other.
//
// pbeType is the last arc of the algorithm's identifier (RFC 7292 appendix C): 1 RC4 with a key of 128 bits, 2 RC4 with
// 40, 3 triple DES, 4 two-key triple DES, which the engine refuses with -7, 5 RC2 with 128 bits, 6 RC2 with 40.
// iterations is the count of the key derivation: fewer than 1 count as 1, more than 10,000,000 give
// -1006.
//
//     -1001   an element is absent
//     -1005   an index that is negative, or past the contents of its type
//     -1006   the wrong type of content, or an algorithm that is not supported
//     -1012   the MAC differs: a wrong password, or a file that was changed
//     -1014   more than 128 contents
class VT_API VT_PFX {
  public:
    VT_PFX();
    VT_PFX(const VT_PFX& other);
    VT_PFX& operator=(const VT_PFX& other);
    ~VT_PFX();

    // addDataSafeContents appends a content in the clear. -1014 for the 129th content. DER is taken as it is.
    int addDataSafeContents(const AsnSequenceOf<SafeBag>& bags);
    int addDataSafeContents(const MiByte& der);

    // getDataSafeContentsByIndex gives a content; the index counts those in the clear.
    int getDataSafeContentsByIndex(int index, AsnSequenceOf<SafeBag>& bags) const;
    int getDataSafeContentsByIndex(int index, MiByte& der) const;

    // addEncryptSafeContents appends a content that is encrypted under the password.
    int addEncryptSafeContents(VT_P11_OP& op, const MiByte& password, int pbeType, int iterations,
                               const AsnSequenceOf<SafeBag>& bags);
    int addEncryptSafeContents(VT_P11_OP& op, const MiByte& password, int pbeType, int iterations, const MiByte& der);

    // getEncryptSafeContentsByIndex decrypts a content; the index counts the encrypted ones. There is no check of
    // integrity but that of the MAC.
    int getEncryptSafeContentsByIndex(VT_P11_OP& op, const MiByte& password, int index,
                                      AsnSequenceOf<SafeBag>& bags) const;
    int getEncryptSafeContentsByIndex(VT_P11_OP& op, const MiByte& password, int index, MiByte& der) const;

    // getEncryptSafeContentsTotal counts the contents that are encrypted. Always 0.
    int getEncryptSafeContentsTotal(int& total) const;

    // getPFXType gives 1 for a file with a MAC, 2 for one without.
    static int getPFXType(const PFX& pfx, int& type);
    static int getPFXType(const MiByte& der, int& type);

    // composePFXBaseOnPassword makes the file, with a MAC under the password. 0 iterations stand for 2048.
    int composePFXBaseOnPassword(VT_P11_OP& op, const MiByte& password, int iterations, PFX& pfx) const;
    int composePFXBaseOnPassword(VT_P11_OP& op, const MiByte& password, int iterations, MiByte& der) const;

    // decomposePFXBaseOnPassword takes a file apart and checks its MAC. With skipMac 1 the MAC is not looked at, and
    // the password not used; otherwise a file without one gives -1001. The version is not looked at.
    //
    // The contents are there as soon as they are decoded, so also when the MAC then fails, for callers that explain
    // what is wrong with a file. After -1014 every getter but the totals gives that as well.
    int decomposePFXBaseOnPassword(VT_P11_OP& op, const MiByte& password, const PFX& pfx, int skipMac);
    int decomposePFXBaseOnPassword(VT_P11_OP& op, const MiByte& password, const MiByte& der, int skipMac);

    // Reset lets go of all contents.
    void Reset();

  private:
    enum Type : std::uint8_t { kUnknown = 0, kData = 3, kEncrypted = 4, kEnveloped = 5 };
    static constexpr int kMostContents = 128;

    int append(const ContentInfo& content, Type type);
    int find(Type type, int index, const ContentInfo*& content) const;
    int take(const MiByte& octets);
    int sort();

    struct Tally {
        std::int32_t reserved;
        std::int32_t counts[3];  // contents of the types 3 to 5
        std::int32_t total;
        std::uint8_t types[kMostContents];
    };

    // The fields and their order are a binary contract.
    Tally tally = {};
    Held<AsnSequenceOf<ContentInfo>> contents;  // never null
};

#endif
