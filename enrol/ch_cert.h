// CHCert: a certificate context as a value.
#ifndef VT_ENROL_CH_CERT_H
#define VT_ENROL_CH_CERT_H

#include <cstdint>
#include <string>

#include "platform/platform.h"

namespace enrol {

// CHCert owns one reference to a certificate context, or none. Copying duplicates the reference. Without a context the
// texts are empty, there is no key, and the serial number counts as 0.
class CHCert {
  public:
    CHCert() = default;
    // Takes a reference of its own; the caller keeps his.
    explicit CHCert(PCCERT_CONTEXT certificate);
    CHCert(const CHCert& other);
    CHCert(CHCert&& other) noexcept;
    CHCert& operator=(const CHCert& other);
    CHCert& operator=(CHCert&& other) noexcept;
    virtual ~CHCert();

    // The names as the platform writes them: components in encoded order, ", " between them.
    std::wstring GetSubjectName() const;
    std::wstring GetIssuerName() const;

    // GetKeySpec stores the key specification of the certificate's private key. False when the certificate has no key
    // information, which is how the program knows a certificate without a private key.
    bool GetKeySpec(DWORD& spec) const;

    // GetNotBeforeText gives the start of validity in UTC, such as "2014年10月21日 10:30:00".
    std::wstring GetNotBeforeText() const;

    // CompareSerial gives -1, 0 or 1 by the numbers that foldSerial makes of the two serials.
    int CompareSerial(const CHCert& other) const;

    PCCERT_CONTEXT context = nullptr;
};

// foldSerial folds a serial number, least significant byte first, into 32 bits. Only the low 32 bits of longer serials
// count: the order of such certificates rests on them.
std::uint32_t foldSerial(const std::uint8_t* bytes, std::size_t size);

}  // namespace enrol

#endif
