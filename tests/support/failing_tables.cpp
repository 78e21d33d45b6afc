#include "tests/support/failing_tables.h"

#include <gtest/gtest.h>

#include "tests/support/replace.h"

namespace support {
namespace {

using platform::CryptoApi;
using platform::SystemApi;

// The names of the entries, by index in the list.
constexpr const char* kNames[] = {
#define VT_ENTRY(table, entry) #entry,
#define VT_RELEASE(table, entry) #entry,
#define VT_ERROR(table, entry) #entry,
#include "tests/support/table_entries.def"
#undef VT_ENTRY
#undef VT_RELEASE
#undef VT_ERROR
};

// An entry that the list lacks would keep its real function.
static_assert(sizeof(kNames) / sizeof(kNames[0]) * sizeof(void*) == sizeof(CryptoApi) + sizeof(SystemApi),
              "tests/support/table_entries.def lists every entry of both tables");

// refuse sets the entry to a function that reports the call and gives zero, which nearly every entry means as failure.
template <int Index, class Result, class... Args>
void refuse(Result(WINAPI*& entry)(Args...)) {
    struct Refusal {
        static Result WINAPI call(Args... /*unused*/) {
            ADD_FAILURE() << "unexpected call of " << kNames[Index];
            return Result();
        }
    };
    entry = Refusal::call;
}

enum Index : int {
#define VT_ENTRY(table, entry) k##entry,
#define VT_RELEASE(table, entry) k##entry,
#define VT_ERROR(table, entry) k##entry,
#include "tests/support/table_entries.def"
#undef VT_ENTRY
#undef VT_RELEASE
#undef VT_ERROR
};

}  // namespace

FailingTables::FailingTables()
    : cryptoBefore_(platform::replaceableCryptoApi()), systemBefore_(platform::replaceableSystemApi()) {
#define VT_ENTRY(table, entry) refuse<k##entry>(tableOf(static_cast<table*>(nullptr)).entry);
#define VT_RELEASE(table, entry) VT_ENTRY(table, entry)
#define VT_ERROR(table, entry) VT_ENTRY(table, entry)
#include "tests/support/table_entries.def"
#undef VT_ENTRY
#undef VT_RELEASE
#undef VT_ERROR
}

FailingTables::~FailingTables() {
    platform::replaceableCryptoApi() = cryptoBefore_;
    platform::replaceableSystemApi() = systemBefore_;
}

}  // namespace support
