// NSS, with the key and the signer's certificate in a database of its own, since it looks them up there.
#include <cert.h>
#include <cms.h>
#include <keyhi.h>
#include <nss.h>
#include <pk11pub.h>
#include <secitem.h>
#include <secoid.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

#include "bench/message_peers.h"

namespace bench {
namespace {

struct ReleaseMessage {
    void operator()(NSSCMSMessage* message) const { NSS_CMSMessage_Destroy(message); }
};
using Message = std::unique_ptr<NSSCMSMessage, ReleaseMessage>;
using Certificate = std::shared_ptr<CERTCertificate>;

template <class T>
T present(T object) {
    if (!object)
        std::abort();
    return object;
}

void check(SECStatus status) {
    if (status != SECSuccess)
        std::abort();
}

SECItem item(const Bytes& bytes) {
    return {siBuffer, const_cast<unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size())};
}

// A database in a scratch folder, without a password, until the program ends.
class Database {
  public:
    Database() {
        present(mkdtemp(folder_.data()));
        check(NSS_InitReadWrite(("sql:" + folder_).c_str()));
        PK11SlotInfo* slot = present(PK11_GetInternalKeySlot());
        check(PK11_InitPin(slot, nullptr, nullptr));
        PK11_FreeSlot(slot);
    }
    ~Database() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

  private:
    std::string folder_ = (std::filesystem::temp_directory_path() / "vt_bench_XXXXXX").string();
};

Certificate certificate(const Bytes& der) {
    SECItem in = item(der);
    return {present(CERT_NewTempCertificate(CERT_GetDefaultCertDB(), &in, nullptr, PR_FALSE, PR_TRUE)),
            CERT_DestroyCertificate};
}

void storeKey(const Bytes& der, CERTCertificate* signer) {
    SECItem in = item(der);
    PK11SlotInfo* slot = present(PK11_GetInternalKeySlot());
    SECKEYPublicKey* publicKey = present(CERT_ExtractPublicKey(signer));
    SECKEYPrivateKey* made = nullptr;
    check(PK11_ImportDERPrivateKeyInfoAndReturnKey(slot, &in, nullptr, &publicKey->u.rsa.modulus, PR_TRUE, PR_TRUE,
                                                   KU_ALL, &made, nullptr));
    check(PK11_ImportCert(slot, signer, CK_INVALID_HANDLE, "signer", PR_FALSE));
    SECKEY_DestroyPrivateKey(made);
    SECKEY_DestroyPublicKey(publicKey);
    PK11_FreeSlot(slot);
}

void append(void* out, const char* bytes, unsigned long length) {
    auto* der = static_cast<Bytes*>(out);
    der->insert(der->end(), bytes, bytes + length);
}

void giveEncoded(NSSCMSMessage* made, const Bytes& content, Bytes* message) {
    Bytes der;
    NSSCMSEncoderContext* encoder = present(NSS_CMSEncoder_Start(made, append, &der, nullptr, nullptr, nullptr, nullptr,
                                                                 nullptr, nullptr, nullptr, nullptr));
    check(NSS_CMSEncoder_Update(encoder, reinterpret_cast<const char*>(content.data()), content.size()));
    check(NSS_CMSEncoder_Finish(encoder));
    if (message != nullptr)
        *message = der;
}

Message decoded(const Bytes& der) {
    SECItem in = item(der);
    return present(Message(NSS_CMSMessage_CreateFromDER(&in, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr)));
}

std::size_t contentLength(NSSCMSMessage* message) {
    const SECItem* content = present(NSS_CMSMessage_GetContent(message));
    return Bytes(content->data, content->data + content->len).size();
}

void sign(const std::vector<Certificate>& certificates, const Bytes& content, Bytes* message) {
    const Message made(present(NSS_CMSMessage_Create(nullptr)));
    NSSCMSSignedData* data = present(NSS_CMSSignedData_Create(made.get()));
    check(NSS_CMSContentInfo_SetContent_SignedData(made.get(), NSS_CMSMessage_GetContentInfo(made.get()), data));
    check(NSS_CMSContentInfo_SetContent_Data(made.get(), NSS_CMSSignedData_GetContentInfo(data), nullptr, PR_FALSE));
    NSSCMSSignerInfo* signer = present(NSS_CMSSignerInfo_Create(made.get(), certificates.front().get(), SEC_OID_SHA1));
    check(NSS_CMSSignerInfo_IncludeCerts(signer, NSSCMSCM_CertOnly, certUsageEmailSigner));
    check(NSS_CMSSignedData_AddSignerInfo(data, signer));
    for (std::size_t i = 1; i < certificates.size(); ++i)
        check(NSS_CMSSignedData_AddCertificate(data, certificates[i].get()));
    giveEncoded(made.get(), content, message);
}

std::size_t verify(const Bytes& der) {
    const Message read = decoded(der);
    auto* data =
        static_cast<NSSCMSSignedData*>(NSS_CMSContentInfo_GetContent(NSS_CMSMessage_GetContentInfo(read.get())));
    check(NSS_CMSSignedData_ImportCerts(data, CERT_GetDefaultCertDB(), certUsageEmailSigner, PR_FALSE));
    NSSCMSSignerInfo* signer = NSS_CMSSignedData_GetSignerInfo(data, 0);
    present(NSS_CMSSignerInfo_GetSigningCertificate(signer, CERT_GetDefaultCertDB()));
    check(NSS_CMSSignerInfo_Verify(signer, *present(data->digests), &data->contentInfo.contentType));
    return contentLength(read.get());
}

void seal(CERTCertificate* recipient, const Bytes& content, Bytes* message) {
    const Message made(present(NSS_CMSMessage_Create(nullptr)));
    NSSCMSEnvelopedData* data = present(NSS_CMSEnvelopedData_Create(made.get(), SEC_OID_DES_EDE3_CBC, 0));
    check(NSS_CMSContentInfo_SetContent_EnvelopedData(made.get(), NSS_CMSMessage_GetContentInfo(made.get()), data));
    check(NSS_CMSContentInfo_SetContent_Data(made.get(), NSS_CMSEnvelopedData_GetContentInfo(data), nullptr, PR_FALSE));
    check(NSS_CMSEnvelopedData_AddRecipient(data, present(NSS_CMSRecipientInfo_Create(made.get(), recipient))));
    giveEncoded(made.get(), content, message);
}

std::size_t open(const Bytes& der) {
    return contentLength(decoded(der).get());
}

}  // namespace

MessagePeer nssMessages(const MessageInputs& inputs) {
    static const Database database;
    const std::vector<Certificate> certificates = {certificate(inputs.signer), certificate(inputs.authority),
                                                   certificate(inputs.root)};
    storeKey(inputs.key, certificates.front().get());
    return {
        "NSS", [certificates](const Bytes& content, Bytes* message) { sign(certificates, content, message); }, verify,
        [signer = certificates.front()](const Bytes& content, Bytes* message) { seal(signer.get(), content, message); },
        open};
}

}  // namespace bench
