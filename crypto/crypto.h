// Umbrella header of the room `crypto`: the software engine, as plain structures and tables of functions.
#ifndef VT_CRYPTO_CRYPTO_H
#define VT_CRYPTO_CRYPTO_H

#include "crypto/alg_object.h"
#include "crypto/chooser.h"
#include "crypto/codes.h"
#include "crypto/des.h"
#include "crypto/des3.h"
#include "crypto/entries.h"
#include "crypto/hash_chain_random.h"
#include "crypto/key_object.h"
#include "crypto/md2.h"
#include "crypto/md5.h"
#include "crypto/mpi.h"
#include "crypto/operation.h"
#include "crypto/pkcs11.h"
#include "crypto/rc2.h"
#include "crypto/rc4.h"
#include "crypto/rc5.h"
#include "crypto/rsa.h"
#include "crypto/runtime_rand.h"
#include "crypto/sha1.h"
#include "crypto/token_side.h"

#endif
