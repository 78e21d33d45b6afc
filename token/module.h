// PKCS#11 modules: loading, login, and the stack of which the newest is the current one.
#ifndef VT_TOKEN_MODULE_H
#define VT_TOKEN_MODULE_H

// TokenModuleLoad loads the module, finds the first token whose label begins with the given one, and logs in.
int TokenModuleLoad(const char* module, const char* label, const char* pin);

// TokenModuleUnload takes the newest module away.
int TokenModuleUnload();

#endif
