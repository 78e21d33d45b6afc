// A module that takes no memory for itself, for tests in which memory runs out: what fails then is the library's own.
// It has one token without a label, at slot 7, and stands in for whatever file is loaded, for its lifetime.
#ifndef VT_TESTS_TOKEN_FRUGAL_MODULE_H
#define VT_TESTS_TOKEN_FRUGAL_MODULE_H

#include "crypto/pkcs11.h"
#include "tests/support/replace.h"

namespace support {

class FrugalModule {
  public:
    FrugalModule() {
        openCount() = 0;
        list().C_Initialize = [](void*) { return CKR_OK; };
        list().C_GetSlotList = [](CK_BBOOL, CK_SLOT_ID* slots, CK_ULONG* count) {
            if (slots != nullptr)
                *slots = 7;
            *count = 1;
            return CKR_OK;
        };
        list().C_GetTokenInfo = [](CK_SLOT_ID, CK_TOKEN_INFO*) { return CKR_OK; };
        list().C_OpenSession = [](CK_SLOT_ID, CK_FLAGS, void*, CK_NOTIFY, CK_SESSION_HANDLE* session) {
            *session = kSession;
            ++openCount();
            return CKR_OK;
        };
        list().C_CloseSession = [](CK_SESSION_HANDLE session) {
            openCount() -= session == kSession ? 1 : 0;
            return CKR_OK;
        };
        list().C_Login = [](CK_SESSION_HANDLE, CK_USER_TYPE, CK_BYTE*, CK_ULONG) { return CKR_OK; };
    }

    static int openSessions() { return openCount(); }

  private:
    static constexpr CK_SESSION_HANDLE kSession = 5;

    static CK_FUNCTION_LIST& list() {
        static CK_FUNCTION_LIST functions = {};
        return functions;
    }
    static int& openCount() {
        static int count = 0;
        return count;
    }
    static CK_RV getFunctionList(CK_FUNCTION_LIST** given) {
        *given = &list();
        return CKR_OK;
    }

    Replaced<&platform::SystemApi::GetProcAddress> getProcAddress_{
        [](HMODULE, LPCSTR) { return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(getFunctionList)); }};
};

}  // namespace support

#endif
