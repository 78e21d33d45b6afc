// Records that are freed unless they are handed on. For the sources of this room.
#ifndef VT_PKI_FLAT_OWNED_RECORD_H
#define VT_PKI_FLAT_OWNED_RECORD_H

#include "pki/flat/flat.h"

namespace flat {

inline void freeRecord(PKCS_Blob& record) {
    T_free(record.data);
}

inline void freeRecord(PKCS_PubKey& record) {
    PKCS_FreePubKey(&record);
}

inline void freeRecord(PKCS_PriKey& record) {
    PKCS_FreePriKey(&record);
}

template <class Record>
class OwnedRecord {
  public:
    OwnedRecord() = default;
    ~OwnedRecord() { freeRecord(record); }
    OwnedRecord(const OwnedRecord&) = delete;
    OwnedRecord& operator=(const OwnedRecord&) = delete;

    // release gives the record to the caller, who frees its buffers.
    Record release() {
        const Record released = record;
        record = {};
        return released;
    }

    Record record = {};
};

}  // namespace flat

#endif
