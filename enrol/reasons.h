// Bare reasons: the last part of a code. The operations that serve several others give one of these, or 0 for success,
// and the caller adds its operation (makeCode in codes.h).
#ifndef VT_ENROL_REASONS_H
#define VT_ENROL_REASONS_H

#include <cstdint>

namespace enrol {

enum Reason : std::int32_t {
    kReasonLibraryNotReady = 8001,
    kReasonContextNotMade = 8002,
    kReasonListNotMade = 8012,
    kReasonNoCertificates = 8014,
    kReasonStoreNotOpened = 8101,
    kReasonContainerNotOpened = 8103,
    kReasonKeyNotFound = 8105,
    kReasonKeySizeQueryFailed = 8106,
    kReasonKeyExportFailed = 8108,
    kReasonCertificateNotAdded = 8110,
    kReasonCertificateNotParsed = 8113,
    kReasonKeyImportFailed = 8117,
    kReasonNotEncodable = 8124,
    kReasonNoMemory = 8203,
    kReasonWrongContentType = 8204,
    kReasonEmptyArgument = 8215,
    kReasonBadBase64 = 8223,
    kReasonBadEncoding = 8224,
    kReasonUnknownAttribute = 8227,
    kReasonNoEquals = 8228,
};

}  // namespace enrol

#endif
