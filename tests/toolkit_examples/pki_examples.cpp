// Every code block on messages and requests in docs/toolkit.md stands here word for word; toolkit_doc_test.py holds it.
#include "tests/toolkit_examples/pki_examples.h"

#include "foundation/foundation.h"
#include "pki/pki.h"
#include "schema/schema.h"
#include "tests/toolkit_examples/token_examples.h"
#include "token/token.h"

// The session key for the holder of a certificate's private key.
int sealKey(VT_P11_OP& op, const MiByte& certificateDer, const MiByte& sessionKey, RecipientInfo& made) {
    VT_Certificate certificate;
    certificate.setCertificate(certificateDer);
    IssuerAndSerialNumber identity;
    if (const int code = certificate.getIssuerAndSerialNumber(identity))
        return code;
    RSAPublicKey numbers;
    if (const int code = certificate.getRSAPublicKey(numbers))
        return code;
    VT_P11_Key key;
    if (const int code = key.setRSAPublicKey(numbers))
        return code;

    VT_P11_Alg rsa;
    rsa.setAlgType(token::kRsa);
    AlgorithmIdentifier algorithm;
    rsa.getAlgorithmIdentifier(algorithm);
    VT_RecipientInfo recipient;
    recipient.setIssuerAndSerialNumber(identity);
    recipient.setKeyEncryptionAlgorithmIdentifier(algorithm);
    if (const int code = recipient.encryptKey(op, key, sessionKey))
        return code;
    return recipient.composeRecipientInfo(made);
}

// Data by triple DES, under a session key of 24 bytes and an initial value of 8 that the caller draws at random.
int envelop(VT_P11_OP& op, const MiByte& certificateDer, const MiByte& sessionKey, const MiByte& iv, const MiByte& data,
            MiByte& message) {
    RecipientInfo recipient;
    if (const int code = sealKey(op, certificateDer, sessionKey, recipient))
        return code;
    VT_P11_Alg des3;
    des3.setAlgType(token::kDes3Cbc);
    if (const int code = des3.setIV(iv))
        return code;
    AlgorithmIdentifier algorithm;
    des3.getAlgorithmIdentifier(algorithm);
    VT_P11_Key key;
    key.setSessionKey(sessionKey, static_cast<int>(sessionKey.GetLength()), algorithm);

    ContentInfo content;
    VT_DataContentInfo plain;
    plain.setData(data);
    plain.composeDataContentInfo(content);
    VT_EnvelopedDataContentInfo enveloped;
    enveloped.setInnerContentInfo(content);
    enveloped.addRecipientInfo(recipient);
    if (const int code = enveloped.composeAttachedEncryptedContentInfo(op, des3, key))
        return code;
    if (const int code = enveloped.composeEnvelopedDataContentInfo(content))
        return code;
    MiByteBuffer der;
    content.DerEncode(der, 0);
    message = der.GetByte();
    return 0;
}

// A request, signed by SHA-1 with RSA: composing leaves the signature empty, and the caller puts it in.
int signedRequest(VT_P11_OP& op, const Name& name, const RSAPublicKey& numbers, const VT_P11_Key& key, MiByte& der) {
    VT_PKCS10 request;
    request.setName(name);
    request.setRSAPublickKey(numbers);
    VT_P11_Alg sha1WithRsa;
    sha1WithRsa.setAlgType(token::kSha1Rsa);
    CertificationRequest composed;
    if (const int code = request.composePKCS10(op, &key, &sha1WithRsa, composed))
        return code;

    MiByteBuffer out;
    composed.GetCertificationRequestInfo()->DerEncode(out, 0);
    MiByte signature;
    if (const int code = signData(op, key, out.GetByte(), signature))
        return code;
    composed.SetSignature(AsnBitString(MiBitSet(signature, signature.GetLength() * 8)));
    composed.DerEncode(out, 0);
    der = out.GetByte();
    return 0;
}

// The certificate of a file's first key, by the identifier that both carry.
int certificateOfKey(VT_P11_OP& op, const MiByte& file, const MiByte& password, MiByte& certificate, MiByte& name) {
    VT_PFX pfx;
    if (const int code = pfx.decomposePFXBaseOnPassword(op, password, file, 0))
        return code;
    AsnSequenceOf<SafeBag> bags;
    if (const int code = pfx.getDataSafeContentsByIndex(0, bags))
        return code;
    VT_SafeContents keys;
    if (const int code = keys.decomposeSafeContents(bags))
        return code;
    MiByte key;
    MiByte id;
    if (const int code = keys.getShroudedKeyDerByIndex(0, key, id))
        return code;

    if (const int code = pfx.getEncryptSafeContentsByIndex(op, password, 0, bags))
        return code;
    VT_SafeContents certificates;
    if (const int code = certificates.decomposeSafeContents(bags))
        return code;
    return certificates.getCertDerByID(id, certificate, name);
}
