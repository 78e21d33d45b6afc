// Algorithms, keys, operations and PKCS#11 modules: the one door to cryptography.
#ifndef VT_TOKEN_TOKEN_H
#define VT_TOKEN_TOKEN_H

#include "token/alg.h"
#include "token/codes.h"
#include "token/key.h"
#include "token/module.h"
#include "token/op.h"

#endif
