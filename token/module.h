// PKCS#11 modules: loading, login, and the stack of which the newest is the current one.
//
//     int code = TokenModuleLoad("/usr/lib/softhsm/libsofthsm2.so", "Signing card", "1234");
//     ...                                        // choosers, and operations through them (op.h)
//     code = TokenModuleUnload();
//
// A chooser that is made while a module is loaded can run on the token of the current module, which is the one that was
// loaded last; a chooser that is made while none is loaded runs in software. Destroy a module's choosers before it is
// unloaded: they call into it.
//
// The stack is a global without a lock: load, unload and the making of choosers belong to one thread, or under a lock
// of the caller's. Modules are told to lock for themselves (CKF_OS_LOCKING_OK).
//
// Codes: 0; positive, what a call of the module gave; -17, -20 and -21 of the engine's list.
#ifndef VT_TOKEN_MODULE_H
#define VT_TOKEN_MODULE_H

// TokenModuleLoad loads the module, logs in to its first token whose label begins with the given one, and makes it the
// current one. All three are NUL-terminated. Without a module (null) nothing is loaded, and the result is 0: this is
// how a caller asks for software.
//
// The label is compared byte for byte, case and blanks included, with the token's field of 32 bytes; a longer one
// matches nothing, and a null or empty one matches the first token that tells about itself. A null PIN counts as empty.
// A wrong one gives the module's code, and nobody here counts how often.
//
//     -17   the file has no C_GetFunctionList, or that gave no list; no token is present; memory is exhausted
//     -20   the file does not load, or sixteen modules are loaded
//     -21   no token has the label, or the first that has it has no session left
//
// A maximum of 0 or of all ones (of 32 bits or of a CK_ULONG) says that sessions have no limit. A module that another
// user has initialised is used as it is. The session of the login stays open. After a failure the file stays loaded,
// though it is not on the stack: a module may have threads and handlers that do not survive being unloaded.
int TokenModuleLoad(const char* module, const char* label, const char* pin);

// TokenModuleUnload logs out, finalises and unloads the current module; the one that was loaded before it is the
// current one again. With none loaded it does nothing and gives 0. Otherwise the code is that of the first step that
// failed (-17 for a C_GetFunctionList that is not there or gives no list): the steps after it are left out, but the
// file is unloaded all the same. C_Finalize ends what sessions the module has.
int TokenModuleUnload();

#endif
