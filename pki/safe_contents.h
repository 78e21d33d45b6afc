// VT_SafeContents: the bags of a PKCS#12 file (RFC 7292 section 4.2), and the PKCS#8 forms of a private key.
//
//     SafeContents                SEQUENCE OF
//       SafeBag
//         bagId                   what the bag holds
//         bagValue                [0] the value, by bagId
//         bagAttributes           SET OF PKCS12Attribute, if there are any
//
//     type  bagId                          value
//     1     1.2.840.113549.1.12.10.1.3     certificate: CertBag, certId 1.2.840.113549.1.9.22.1,
//                                          certValue an OCTET STRING of the certificate's DER
//     2     1.2.840.113549.1.12.10.1.4     revocation list
//     3     1.2.840.113549.1.12.10.1.1     key in the clear
//     4     1.2.840.113549.1.12.10.1.2     shrouded key: EncryptedPrivateKeyInfo
//     5     1.2.840.113549.1.12.10.1.5     secret
//     6                                    a certificate and a key bag of the same value, which is neither
//     0     any other                      kept, and passed over
//
//     attribute      attrId                     value
//     identifier     1.2.840.113549.1.9.21      OCTET STRING; key and certificate that belong together have the same
//     name           1.2.840.113549.1.9.20      BMPString
#ifndef VT_PKI_SAFE_CONTENTS_H
#define VT_PKI_SAFE_CONTENTS_H

#include <cstdint>
#include <vector>

#include "foundation/export.h"
#include "pki/held.h"

template <class T>
class AsnSequenceOf;
template <class T>
class AsnSetOf;
class Certificate;
class EncryptedPrivateKeyInfo;
class MiByte;
class PKCS12Attribute;
class SafeBag;
class VT_P11_OP;

// Copies are deep. Operations give 0 or a code; codes of the token layer pass through, and so do the exceptions of
// malformed DER. After a failure outputs are as they were.
//
//     -1001   an element is absent
//     -1005   an index that is negative, or past the bags of its type
//     -1006   a password-based encryption, or an object identifier, that is not supported
//     -1014   more than 128 bags
class VT_API VT_SafeContents {
  public:
    VT_SafeContents();
    VT_SafeContents(const VT_SafeContents& other);
    VT_SafeContents& operator=(const VT_SafeContents& other);
    ~VT_SafeContents();

    // addCertDer appends a certificate: with no attributes, with those given, or with an identifier and a name. DER is
    // stored as it stands, so that its signature stays good, without what follows the certificate in the bytes. -1014
    // for the 129th bag.
    int addCertDer(const Certificate& certificate);
    int addCertDer(const MiByte& certificate);
    int addCertDer(const Certificate& certificate, const AsnSetOf<PKCS12Attribute>& attributes);
    int addCertDer(const MiByte& certificate, const MiByte& id);
    int addCertDer(const MiByte& certificate, const MiByte& id, const MiByte& name);

    // getCertDerByIndex gives a certificate and, where asked for, its attributes; -1001 for attributes that the bag
    // does not have. The index counts certificates alone. DER is given as it stands in the bag. -1006 for a bag with
    // another kind of certificate than X.509.
    int getCertDerByIndex(int index, Certificate& certificate) const;
    int getCertDerByIndex(int index, MiByte& certificate) const;
    int getCertDerByIndex(int index, Certificate& certificate, AsnSetOf<PKCS12Attribute>& attributes) const;
    int getCertDerByIndex(int index, MiByte& certificate, MiByte& id) const;
    int getCertDerByIndex(int index, MiByte& certificate, MiByte& id, MiByte& name) const;

    // getCertDerByID gives the first certificate with that identifier, and its name. Bags without an identifier are
    // passed over. -1005 if there is none; -1001 if it has no name.
    int getCertDerByID(const MiByte& id, MiByte& certificate, MiByte& name) const;

    // addShroudedKeyDer appends a key as P8EncryptPrivateKeyInfo gives it, with the attributes or the identifier.
    int addShroudedKeyDer(const EncryptedPrivateKeyInfo& key, const AsnSetOf<PKCS12Attribute>& attributes);
    int addShroudedKeyDer(const MiByte& key, const MiByte& id);

    // getShroudedKeyDerByIndex gives a key and, where asked for, its attributes, as getCertDerByIndex does.
    int getShroudedKeyDerByIndex(int index, EncryptedPrivateKeyInfo& key) const;
    int getShroudedKeyDerByIndex(int index, MiByte& key) const;
    int getShroudedKeyDerByIndex(int index, EncryptedPrivateKeyInfo& key, AsnSetOf<PKCS12Attribute>& attributes) const;
    int getShroudedKeyDerByIndex(int index, MiByte& key, MiByte& id) const;

    // getShroudedKeyDerTotal counts these keys. Always 0.
    int getShroudedKeyDerTotal(int& total) const;

    // composeSafeContents gives all bags, in the order in which they came.
    int composeSafeContents(AsnSequenceOf<SafeBag>& contents) const;
    int composeSafeContents(MiByte& der) const;

    // decomposeSafeContents replaces all bags. -1001 for a bag without an identifier; the object is then left as far as
    // it had come, for Reset. After -1014 every getter but the totals gives that as well.
    int decomposeSafeContents(const AsnSequenceOf<SafeBag>& contents);
    int decomposeSafeContents(const MiByte& der);

    // P8EncodePrivateKeyInfo puts a PKCS#1 RSAPrivateKey into a PrivateKeyInfo (RFC 5208). P8DecodePrivateKeyInfo takes
    // it out: -1006 for a key that is not RSA. Neither looks into the key.
    static int P8EncodePrivateKeyInfo(const MiByte& pkcs1, MiByte& pkcs8);
    static int P8DecodePrivateKeyInfo(const MiByte& pkcs8, MiByte& pkcs1);

    // P8EncryptPrivateKeyInfo encrypts a PKCS#1 RSAPrivateKey under a password, into an EncryptedPrivateKeyInfo.
    // P8DecryptPrivateKeyInfo is the way back. pbeType and iterations are those of VT_PFX. There is no check
    // of integrity: a wrong password gives other bytes, and their decoding fails, with a code or an exception.
    static int P8EncryptPrivateKeyInfo(VT_P11_OP& op, const MiByte& password, int pbeType, int iterations,
                                       const MiByte& pkcs1, MiByte& encrypted);
    static int P8DecryptPrivateKeyInfo(VT_P11_OP& op, const MiByte& password, const MiByte& encrypted, MiByte& pkcs1);

    // addIDAttribute and addNameAttribute append an attribute. The name is a text of a character for each byte, up to
    // the first zero byte.
    static int addIDAttribute(AsnSetOf<PKCS12Attribute>& attributes, const MiByte& id);
    static int addNameAttribute(AsnSetOf<PKCS12Attribute>& attributes, const MiByte& name);

    // getIDAttribute and getNameAttribute give the first such attribute; -1001 if there is none, or it has no value.
    // Of a name all but the characters from 0x20 to 0x7E are dropped.
    static int getIDAttribute(const AsnSetOf<PKCS12Attribute>& attributes, MiByte& id);
    static int getNameAttribute(const AsnSetOf<PKCS12Attribute>& attributes, MiByte& name);

    // Reset lets go of all bags.
    void Reset();

  private:
    enum BagType : std::uint8_t { kUnknown, kCertificate, kCrl, kKey, kShroudedKey, kSecret, kPaired };
    static constexpr int kMostBags = 128;

    int append(const SafeBag& bag, BagType type);
    int appendCertificate(const MiByte& der, const AsnSetOf<PKCS12Attribute>* attributes);
    int find(BagType type, int index, const SafeBag*& bag) const;
    int findCertificate(int index, const SafeBag*& bag, MiByte& der) const;
    int take(Held<AsnSequenceOf<SafeBag>> contents);
    int sort();
    void sortCandidates(const std::vector<int>& certificates, std::vector<int>& keys);
    void mark(int index, BagType type);

    struct Tally {
        std::int32_t reserved;
        std::int32_t counts[6];  // bags of the types 1 to 6
        std::int32_t total;
        std::uint8_t types[kMostBags];
    };

    // The fields and their order are a binary contract.
    Tally tally = {};
    Held<AsnSequenceOf<SafeBag>> bags;  // never null
};

#endif
