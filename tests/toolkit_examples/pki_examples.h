// The examples of messages and requests in docs/toolkit.md.
#ifndef VT_TESTS_TOOLKIT_EXAMPLES_PKI_EXAMPLES_H
#define VT_TESTS_TOOLKIT_EXAMPLES_PKI_EXAMPLES_H

class MiByte;
class Name;
class RSAPublicKey;
class RecipientInfo;
class VT_P11_Key;
class VT_P11_OP;

int sealKey(VT_P11_OP& op, const MiByte& certificateDer, const MiByte& sessionKey, RecipientInfo& made);
int envelop(VT_P11_OP& op, const MiByte& certificateDer, const MiByte& sessionKey, const MiByte& iv, const MiByte& data,
            MiByte& message);
int certificateOfKey(VT_P11_OP& op, const MiByte& file, const MiByte& password, MiByte& certificate, MiByte& name);
int signedRequest(VT_P11_OP& op, const Name& name, const RSAPublicKey& numbers, const VT_P11_Key& key, MiByte& der);

#endif
