// What the steps of the Firefox check share.
#ifndef VT_ENROL_FIREFOX_STEPS_H
#define VT_ENROL_FIREFOX_STEPS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "enrol/capi.h"

namespace enrol {

// Thrown inside a step and caught by the step's own function; only its code leaves. The message is UTF-8.
struct FirefoxFailure {
    std::int32_t code;
    const char* message;
};

// Messages of FirefoxFailure, as bytes to be independent of the encoding of the sources.
inline constexpr char kMessageKeyNotOpened[] =
    "\xE6\x89\x93\xE5\xBC\x80\xE6\xB3\xA8\xE5\x86\x8C\xE8\xA1\xA8\xE5\xA4\xB1\xE8\xB4\xA5\xEF\xBC\x81";
inline constexpr char kMessageValueNotRead[] =
    "\xE8\xAF\xBB\xE5\x8F\x96\xE6\xB3\xA8\xE5\x86\x8C\xE8\xA1\xA8\xE5\xA4\xB1\xE8\xB4\xA5\xEF\xBC\x81";
inline constexpr char kMessageNoMemoryForValue[] =
    "\xE6\x97\xA0\xE5\x8F\xAF\xE7\x94\xA8\xE5\x86\x85\xE5\xAD\x98\xE7\xA9\xBA\xE9\x97\xB4\xEF\xBC\x81";
inline constexpr char kMessageUserNameNotRead[] =
    "\xE8\xAF\xBB\xE5\x8F\x96\xE7\x94\xA8\xE6\x88\xB7\xE5\x90\x8D\xE7\xA7\xB0\xE5\xA4\xB1\xE8\xB4\xA5";
inline constexpr char kMessageProfileListNotRead[] =
    "\xE8\xAF\xBB\xE5\x8F\x96\xE9\x85\x8D\xE7\xBD\xAE\xE6\x96\x87\xE4\xBB\xB6\xE5\xA4\xB1\xE8\xB4\xA5";
inline constexpr char kMessageLibraryNotLoaded[] =
    "\xE5\x8A\xA0\xE8\xBD\xBD\xE5\x8A\xA8\xE6\x80\x81\xE5\xBA\x93\xE5\xA4\xB1\xE8\xB4\xA5";
inline constexpr char kMessageNssNotStarted[] = "\xE5\x88\x9D\xE5\xA7\x8B\xE5\x8C\x96NSS\xE5\xA4\xB1\xE8\xB4\xA5";
inline constexpr char kMessageNoMemoryForCertificate[] =
    "\xE6\x97\xA0\xE5\x8F\xAF\xE7\x94\xA8\xE5\x86\x85\xE5\xAD\x98\xE7\xA9\xBA\xE9\x97\xB4";
inline constexpr char kMessageCertificateText[] = "BASE64\xE8\xA7\xA3\xE7\xA0\x81\xE5\xA4\xB1\xE8\xB4\xA5";
inline constexpr char kMessageFunctionNotFound[] =
    "\xE8\x8E\xB7\xE5\x8F\x96\xE5\x87\xBD\xE6\x95\xB0\xE5\xA4\xB1\xE8\xB4\xA5";
inline constexpr char kMessageNoCertificate[] =
    "\xE8\x8E\xB7\xE5\x8F\x96\xE8\xAF\x81\xE4\xB9\xA6\xE5\xA4\xB1\xE8\xB4\xA5";
inline constexpr char kMessageNoSlot[] =
    "\xE8\x8E\xB7\xE5\x8F\x96\xE5\xAF\x86\xE9\x92\xA5\xE6\x8F\x92\xE6\xA7\xBD\xE5\xA4\xB1\xE8\xB4\xA5";

// decodeCheckedCertificate reads the certificate's base64 text. Throws FirefoxFailure 22208203 or 22208223.
std::vector<std::uint8_t> decodeCheckedCertificate(const char* text, std::size_t length);

// NSS and NSPR as this program binds them, by name and at run time. Their functions follow the C calling convention,
// unlike those of the system. The structures are as in certt.h and prclist.h, down to the last member that is read.
namespace firefox {

struct Certificate {
    void* arena;
};

struct Link {
    Link* next;
    Link* previous;
};

struct CertificateNode {
    Link links;
    Certificate* certificate;
};

struct CertificateList {
    Link head;
};

using PR_Init = void(int type, int priority, unsigned maxPtds);
using PR_Cleanup = int();
using NSS_Initialize = int(const char* folder, const char* certPrefix, const char* keyPrefix, const char* moduleDb,
                           std::uint32_t flags);
using CERT_DecodeCertFromPackage = Certificate*(char* bytes, int size);
using CERT_GetDefaultCertDB = void*();
using PK11_GetInternalKeySlot = void*();
using PK11_ListCertsInSlot = CertificateList*(void* slot);
using CERT_DestroyCertificate = void(Certificate* certificate);
using PK11_FreeSlot = void(void* slot);

// Functions that are never called, and without which a library is refused all the same.
using Unused = void();

}  // namespace firefox

// FunctionBinder finds functions by name and remembers whether one was missing.
class FunctionBinder {
  public:
    // find gives the function of that type and name in the library, or null.
    template <class Function>
    Function* find(HMODULE library, const char* name) {
        const FARPROC found = sys().GetProcAddress(library, name);
        isComplete_ = isComplete_ && found != nullptr;
        return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(found));
    }

    // requireAll throws FirefoxFailure 22208317 if a function was missing.
    void requireAll() const;

  private:
    bool isComplete_ = true;
};

}  // namespace enrol

#endif
