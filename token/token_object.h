// Objects of a token by label: what stands behind the operations of VT_P11_OP that have no software side.
//
// A chooser that is absent or in software gives -2. Positive codes are the module's. A search calls C_FindObjectsInit,
// C_FindObjects for one object, and C_FindObjectsFinal, all three in any case: a failure of the first two is -19, to
// which the code of the last is added.
#ifndef VT_TOKEN_TOKEN_OBJECT_H
#define VT_TOKEN_TOKEN_OBJECT_H

#include "crypto/operation.h"
#include "token/holders.h"

// The numbers of a public key of the token.
struct TOKEN_PUBLIC_KEY {
    token::Buffer modulus;
    token::Buffer publicExponent;
};

// FindTokenObject gives the first object that matches a template: 0, or -19 if none does. The code is never 0 without
// an object, not even if a module's last code makes up for -19.
int FindTokenObject(const CHOOSER& chooser, ATTRIBUTE* attributes, CK_ULONG count, CK_OBJECT_HANDLE& object);

// LabelSearchOp gives -22 if an object of any class has the label, and 0 if none has.
int LabelSearchOp(const CHOOSER* chooser, const token::View& label);

// ReadPublicKeyOp reads modulus and exponent of the object of the label, each in two passes, size and value. 0; -1;
// -16 for a size of 1025 or more; -19 for no such object. ReadPublicKeyCheckedOp, its twin for comparisons, gives 0 for
// a modulus of such a size, and an empty key.
int ReadPublicKeyOp(const CHOOSER* chooser, const token::View& label, TOKEN_PUBLIC_KEY& key);
int ReadPublicKeyCheckedOp(const CHOOSER* chooser, const token::View& label, TOKEN_PUBLIC_KEY& key);

// CompareTokenPublicKeyOp says whether the token's key of the label has these numbers, byte for byte.
bool CompareTokenPublicKeyOp(const CHOOSER* chooser, const token::View& label, const token::View& modulus,
                             const token::View& publicExponent);

// StoreCertValueOp makes a certificate object of the token.
int StoreCertValueOp(const CHOOSER* chooser, const token::View& label, const token::View& certificate);

// FindCertValueOp reads the value of the certificate object of the label. 0; -1; -16 for a value that the token does
// not give, or above 32 bits; -19.
int FindCertValueOp(const CHOOSER* chooser, const token::View& label, token::Buffer& value);

// GenerateKeyPairOp with labels is for both sides: in software the engine's, without them; in a token one
// C_GenerateKeyPair, after which the public shell is set up with the numbers that the token gives, and the private one
// with the label. -16 for numbers that it does not give. After a failure of their setup both shells are freed and null;
// the pair stays in the token.
int GenerateKeyPairOp(ALG_OBJ* alg, KEY_OBJ** publicKey, const token::View& publicLabel, KEY_OBJ** privateKey,
                      const token::View& privateLabel, CHOOSER* chooser);

#endif
