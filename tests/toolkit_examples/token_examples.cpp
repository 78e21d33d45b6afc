// Every code block on the token layer in docs/toolkit.md stands here word for word; toolkit_doc_test.py holds it.
#include "tests/toolkit_examples/token_examples.h"

#include "asn/asn.h"
#include "foundation/foundation.h"
#include "schema/schema.h"
#include "token/token.h"

// Runs some work in the token of the loaded module, or in this library.
int withOperations(bool inToken, const std::function<int(VT_P11_OP&)>& work) {
    VT_P11_SELECTION selection = {};
    if (inToken)
        selection = {0, "token", 5, "token", 5};  // that both texts are there matters, not what they say
    VT_P11_OP op;
    if (const int code = op.createChooser(&selection))
        return code;
    const int code = work(op);
    op.destroyChooser();
    return code;
}

// A private key as PKCS#1 has it. Throws MiException for one that is no DER.
int readPrivateKey(const MiByte& der, VT_P11_Key& key) {
    RSAPrivateKey numbers;
    numbers.DerDecode(der, 0);
    return key.setRSAPrivateKey(numbers);
}

// A private key that stays where it is.
int keyInToken(const char* label, VT_P11_Key& key) {
    key.setKeyType(token::kRsaPrivateKey);
    return key.setTokenKeyLabel(reinterpret_cast<const unsigned char*>(label));
}

// What a standard signature by SHA-1 with RSA covers: the digest and the name of its algorithm (RFC 8017, 9.2).
int digestInfoOf(VT_P11_OP& op, const MiByte& data, MiByte& digestInfo) {
    VT_P11_Alg sha1;
    sha1.setAlgType(token::kSha1);
    MiByte digest;
    if (const int code = op.Digest(sha1, data, digest))
        return code;
    AlgorithmIdentifier identifier;
    sha1.getAlgorithmIdentifier(identifier);
    AsnOctetString value;
    value.SetData(digest);
    DigestInfo info;
    info.SetDigestAlgorithm(identifier);
    info.SetDigest(value);
    MiByteBuffer der;
    info.DerEncode(der, 0);
    digestInfo = der.GetByte();
    return 0;
}

int signData(VT_P11_OP& op, const VT_P11_Key& key, const MiByte& data, MiByte& signature) {
    MiByte digestInfo;
    if (const int code = digestInfoOf(op, data, digestInfo))
        return code;
    VT_P11_Alg rsa;
    rsa.setAlgType(token::kRsa);
    return op.SignRecover(rsa, key, digestInfo, signature);
}

// 0 for a signature of the data by the key's other half.
int verifyData(VT_P11_OP& op, const VT_P11_Key& key, const MiByte& data, const MiByte& signature) {
    MiByte digestInfo;
    if (const int code = digestInfoOf(op, data, digestInfo))
        return code;
    VT_P11_Alg rsa;
    rsa.setAlgType(token::kRsa);
    return op.Verify(rsa, key, digestInfo, signature);
}

int signOnCard(const char* module, const char* card, const char* pin, const char* label, const MiByte& data,
               MiByte& signature) {
    if (const int code = TokenModuleLoad(module, card, pin))
        return code;
    const int code = withOperations(true, [&](VT_P11_OP& op) {
        VT_P11_Key key;
        keyInToken(label, key);
        return signData(op, key, data, signature);
    });
    TokenModuleUnload();
    return code;
}

// Triple DES in CBC mode, by a key of 24 bytes and an initial value of 8.
int encryptTripleDes(VT_P11_OP& op, const MiByte& key, const MiByte& iv, const MiByte& data, MiByte& encrypted) {
    VT_P11_Alg alg;
    alg.setAlgType(token::kDes3Cbc);
    if (const int code = alg.setIV(iv))
        return code;
    AlgorithmIdentifier identifier;  // what a message says of its cipher
    alg.getAlgorithmIdentifier(identifier);
    VT_P11_Key secret;
    secret.setSessionKey(key, 24, identifier);
    return op.Encrypt(alg, secret, data, encrypted);
}
