#include "tests/support/call_plan.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/replace.h"

namespace support {
namespace {

using platform::CryptoApi;
using platform::SystemApi;

// What stood in the tables before the plan; the wrappers call it.
CryptoApi theCrypto;
SystemApi theSystem;

const CryptoApi& before(const CryptoApi* /*kind*/) {
    return theCrypto;
}
const SystemApi& before(const SystemApi* /*kind*/) {
    return theSystem;
}
void opened(const char* kind, ULONG_PTR handle) {
    CallPlan::current->opened(kind, handle);
}
void opened(const char* kind, const void* handle) {
    opened(kind, reinterpret_cast<ULONG_PTR>(handle));
}
void closed(const char* kind, ULONG_PTR handle) {
    CallPlan::current->closed(kind, handle);
}
void closed(const char* kind, const void* handle) {
    closed(kind, reinterpret_cast<ULONG_PTR>(handle));
}

// Ledger<entry>::after keeps the ledger once the call was made. Entries that neither open nor close note nothing.
template <auto Entry>
struct Ledger {
    template <class... Args>
    static void after(const Args&... /*args*/) {}
};

// clang-format off
template <> struct Ledger<&CryptoApi::CryptAcquireContextA> {
    static void after(BOOL ok, const HCRYPTPROV* prov, LPCSTR, LPCSTR, DWORD, DWORD flags) {
        if (ok != FALSE && (flags & CRYPT_DELETEKEYSET) == 0)
            opened("provider", *prov);
    }
};
template <> struct Ledger<&CryptoApi::CryptAcquireContextW> {
    static void after(BOOL ok, const HCRYPTPROV* prov, LPCWSTR, LPCWSTR, DWORD, DWORD flags) {
        if (ok != FALSE && (flags & CRYPT_DELETEKEYSET) == 0)
            opened("provider", *prov);
    }
};
template <> struct Ledger<&CryptoApi::CryptReleaseContext> {
    static void after(BOOL, HCRYPTPROV prov, DWORD) { closed("provider", prov); }
};
template <> struct Ledger<&CryptoApi::CryptGenKey> {
    static void after(BOOL ok, HCRYPTPROV, ALG_ID, DWORD, const HCRYPTKEY* key) {
        if (ok != FALSE)
            opened("key", *key);
    }
};
template <> struct Ledger<&CryptoApi::CryptGetUserKey> {
    static void after(BOOL ok, HCRYPTPROV, DWORD, const HCRYPTKEY* key) {
        if (ok != FALSE)
            opened("key", *key);
    }
};
template <> struct Ledger<&CryptoApi::CryptImportKey> {
    static void after(BOOL ok, HCRYPTPROV, const BYTE*, DWORD, HCRYPTKEY, DWORD, const HCRYPTKEY* key) {
        if (ok != FALSE)
            opened("key", *key);
    }
};
template <> struct Ledger<&CryptoApi::CryptDestroyKey> {
    static void after(BOOL, HCRYPTKEY key) { closed("key", key); }
};
template <> struct Ledger<&CryptoApi::CryptCreateHash> {
    static void after(BOOL ok, HCRYPTPROV, ALG_ID, HCRYPTKEY, DWORD, const HCRYPTHASH* hash) {
        if (ok != FALSE)
            opened("hash", *hash);
    }
};
template <> struct Ledger<&CryptoApi::CryptDestroyHash> {
    static void after(BOOL, HCRYPTHASH hash) { closed("hash", hash); }
};
template <> struct Ledger<&CryptoApi::CertCreateCertificateContext> {
    static void after(PCCERT_CONTEXT cert, DWORD, const BYTE*, DWORD) {
        if (cert != nullptr)
            opened("certificate", cert);
    }
};
template <> struct Ledger<&CryptoApi::CertDuplicateCertificateContext> {
    static void after(PCCERT_CONTEXT cert, PCCERT_CONTEXT) {
        if (cert != nullptr)
            opened("certificate", cert);
    }
};
template <> struct Ledger<&CryptoApi::CertFreeCertificateContext> {
    static void after(BOOL, PCCERT_CONTEXT cert) {
        if (cert != nullptr)
            closed("certificate", cert);
    }
};
template <> struct Ledger<&CryptoApi::CertEnumCertificatesInStore> {
    static void after(PCCERT_CONTEXT cert, HCERTSTORE, PCCERT_CONTEXT previous) {
        if (previous != nullptr)
            closed("certificate", previous);
        if (cert != nullptr)
            opened("certificate", cert);
    }
};
template <> struct Ledger<&CryptoApi::CertAddEncodedCertificateToStore> {
    static void after(BOOL ok, HCERTSTORE, DWORD, const BYTE*, DWORD, DWORD, const PCCERT_CONTEXT* added) {
        if (ok != FALSE && added != nullptr)
            opened("certificate", *added);
    }
};
template <> struct Ledger<&CryptoApi::CertAddCertificateContextToStore> {
    static void after(BOOL ok, HCERTSTORE, PCCERT_CONTEXT, DWORD, const PCCERT_CONTEXT* added) {
        if (ok != FALSE && added != nullptr)
            opened("certificate", *added);
    }
};
template <> struct Ledger<&CryptoApi::CertDeleteCertificateFromStore> {
    static void after(BOOL, PCCERT_CONTEXT cert) { closed("certificate", cert); }
};
template <> struct Ledger<&CryptoApi::CertOpenStore> {
    // A store that opens takes over the provider's context: the platform releases it, and nobody else may.
    static void after(HCERTSTORE store, LPCSTR, DWORD, HCRYPTPROV_LEGACY prov, DWORD, const void*) {
        if (store == nullptr)
            return;
        opened("store", store);
        if (prov != 0)
            closed("provider", prov);
    }
};
template <> struct Ledger<&CryptoApi::CertOpenSystemStoreA> {
    static void after(HCERTSTORE store, HCRYPTPROV_LEGACY, LPCSTR) {
        if (store != nullptr)
            opened("store", store);
    }
};
template <> struct Ledger<&CryptoApi::CertCloseStore> {
    static void after(BOOL, HCERTSTORE store, DWORD) { closed("store", store); }
};
template <> struct Ledger<&SystemApi::RegOpenKeyExA> {
    static void after(LONG error, HKEY, LPCSTR, DWORD, REGSAM, const HKEY* key) {
        if (error == 0)
            opened("registry key", *key);
    }
};
template <> struct Ledger<&SystemApi::RegCloseKey> {
    static void after(LONG, HKEY key) { closed("registry key", key); }
};
template <> struct Ledger<&SystemApi::FindFirstFileA> {
    static void after(HANDLE search, LPCSTR, const WIN32_FIND_DATAA*) {
        if (search != INVALID_HANDLE_VALUE)
            opened("search", search);
    }
};
template <> struct Ledger<&SystemApi::FindClose> {
    static void after(BOOL, HANDLE search) { closed("search", search); }
};
template <> struct Ledger<&SystemApi::LoadLibraryA> {
    static void after(HMODULE module, LPCSTR) {
        if (module != nullptr)
            opened("library", reinterpret_cast<ULONG_PTR>(module));
    }
};
template <> struct Ledger<&SystemApi::FreeLibrary> {
    static void after(BOOL, HMODULE module) { closed("library", reinterpret_cast<ULONG_PTR>(module)); }
};

// Failure<entry>::call answers in place of the platform. Zero says "failed" for all but a few entries, and some take a
// handle away from their caller even then.
template <auto Entry>
struct Failure {
    template <class Result, class... Args>
    static Result call(const Args&... /*args*/) { return Result(); }
};
template <> struct Failure<&SystemApi::CoCreateGuid> {
    template <class Result> static Result call(GUID*) { return static_cast<Result>(0x80004005u); }  // E_FAIL
};
template <> struct Failure<&SystemApi::RegOpenKeyExA> {
    template <class Result> static Result call(HKEY, LPCSTR, DWORD, REGSAM, HKEY*) { return ERROR_ACCESS_DENIED; }
};
template <> struct Failure<&SystemApi::RegQueryValueExA> {
    template <class Result> static Result call(HKEY, LPCSTR, DWORD*, DWORD*, BYTE*, DWORD*) { return ERROR_ACCESS_DENIED; }
};
template <> struct Failure<&SystemApi::FindFirstFileA> {
    template <class Result> static Result call(LPCSTR, WIN32_FIND_DATAA*) { return INVALID_HANDLE_VALUE; }
};
template <> struct Failure<&CryptoApi::CertDeleteCertificateFromStore> {
    template <class Result> static Result call(PCCERT_CONTEXT cert) {
        theCrypto.CertFreeCertificateContext(cert);
        closed("certificate", cert);
        return Result();
    }
};
template <> struct Failure<&CryptoApi::CertEnumCertificatesInStore> {
    template <class Result> static Result call(HCERTSTORE, PCCERT_CONTEXT previous) {
        if (previous != nullptr) {
            theCrypto.CertFreeCertificateContext(previous);
            closed("certificate", previous);
        }
        return Result();
    }
};
// clang-format on

enum class Kind { ordinary, release };

template <auto Entry, Kind kKind, const char* const& kName>
struct Wrapper;

template <class Table, class Result, class... Args, Result (WINAPI* Table::*Entry)(Args...), Kind kKind,
          const char* const& kName>
struct Wrapper<Entry, kKind, kName> {
    static Result WINAPI call(Args... args) {
        const bool fails = CallPlan::current->next(kName);
        if (fails && kKind == Kind::ordinary) {
            theSystem.SetLastError(CallPlan::current->error());
            return Failure<Entry>::template call<Result>(args...);
        }
        const Result result = (before(static_cast<Table*>(nullptr)).*Entry)(args...);
        Ledger<Entry>::after(result, args...);
        return fails ? Result() : result;
    }
};

#define VT_ENTRY(table, entry) constexpr const char* kNameOf##entry = #entry;
#define VT_RELEASE(table, entry) VT_ENTRY(table, entry)
#define VT_ERROR(table, entry)
#include "tests/support/table_entries.def"
#undef VT_ENTRY
#undef VT_RELEASE
#undef VT_ERROR

void wrapAll() {
#define VT_ENTRY(table, entry) \
    tableOf(static_cast<table*>(nullptr)).entry = Wrapper<&table::entry, Kind::ordinary, kNameOf##entry>::call;
#define VT_RELEASE(table, entry) \
    tableOf(static_cast<table*>(nullptr)).entry = Wrapper<&table::entry, Kind::release, kNameOf##entry>::call;
#define VT_ERROR(table, entry)
#include "tests/support/table_entries.def"
#undef VT_ENTRY
#undef VT_RELEASE
#undef VT_ERROR
}

}  // namespace

CallPlan* CallPlan::current = nullptr;

CallPlan::CallPlan() {
    if (current != nullptr)
        ADD_FAILURE() << "two plans at once";
    current = this;
    theCrypto = platform::replaceableCryptoApi();
    theSystem = platform::replaceableSystemApi();
    wrapAll();
}

CallPlan::~CallPlan() {
    platform::replaceableCryptoApi() = theCrypto;
    platform::replaceableSystemApi() = theSystem;
    current = nullptr;
}

void CallPlan::failCall(int n, DWORD error) {
    failEntry_.clear();
    failAt_ = n;
    error_ = error;
}

void CallPlan::failCall(const std::string& entry, int occurrence, DWORD error) {
    failEntry_ = entry;
    failAt_ = occurrence;
    error_ = error;
}

int CallPlan::count(const std::string& entry) const {
    return static_cast<int>(std::count(log_.begin(), log_.end(), entry));
}

bool CallPlan::next(const char* entry) {
    log_.emplace_back(entry);
    if (failAt_ == 0 || (!failEntry_.empty() && failEntry_ != entry) || --failAt_ != 0)
        return false;
    failed_ = std::string(entry) + " " + std::to_string(count(entry));
    return true;
}

void CallPlan::opened(const char* kind, ULONG_PTR handle) {
    ++open_[{kind, handle}];
}

void CallPlan::closed(const char* kind, ULONG_PTR handle) {
    const auto found = open_.find({kind, handle});
    if (found == open_.end()) {
        ADD_FAILURE() << "a " << kind << " is closed that is not open";
        return;
    }
    if (--found->second == 0)
        open_.erase(found);
}

std::string CallPlan::openHandles() const {
    std::string kinds;
    for (const auto& [handle, times] : open_) {
        for (int i = 0; i < times; ++i)
            kinds += (kinds.empty() ? "" : " ") + handle.first;
    }
    return kinds;
}

}  // namespace support
