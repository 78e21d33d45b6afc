// The examples of the token layer in docs/toolkit.md, for their tests.
#ifndef VT_TESTS_TOOLKIT_EXAMPLES_TOKEN_EXAMPLES_H
#define VT_TESTS_TOOLKIT_EXAMPLES_TOKEN_EXAMPLES_H

#include <functional>

#include "foundation/byte.h"
#include "token/token.h"

int withOperations(bool inToken, const std::function<int(VT_P11_OP&)>& work);
int readPrivateKey(const MiByte& der, VT_P11_Key& key);
int keyInToken(const char* label, VT_P11_Key& key);
int digestInfoOf(VT_P11_OP& op, const MiByte& data, MiByte& digestInfo);
int signData(VT_P11_OP& op, const VT_P11_Key& key, const MiByte& data, MiByte& signature);
int verifyData(VT_P11_OP& op, const VT_P11_Key& key, const MiByte& data, const MiByte& signature);
int signOnCard(const char* module, const char* card, const char* pin, const char* label, const MiByte& data,
               MiByte& signature);
int encryptTripleDes(VT_P11_OP& op, const MiByte& key, const MiByte& iv, const MiByte& data, MiByte& encrypted);

#endif
