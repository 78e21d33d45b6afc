#include <cstdlib>
#include <memory>

#include "bench/message_peers.h"
#include "foundation/byte.h"
#include "pki/flat/flat.h"
#include "schema/schema.h"
#include "token/token.h"

namespace bench {
namespace {

void check(int code) {
    if (code != 0)
        std::abort();
}

MiByte asMiByte(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<unsigned>(bytes.size())};
}

PKCS_Blob blob(const Bytes& bytes) {
    return {const_cast<std::uint8_t*>(bytes.data()), static_cast<std::uint32_t>(bytes.size())};
}

// What a function hands out.
struct Output : PKCS_Blob {
    Output() : PKCS_Blob{} {}
    ~Output() { T_free(data); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    void give(Bytes* message) const {
        if (message != nullptr)
            message->assign(data, data + length);
    }
};

PKCS_PriKey privateKey(const Bytes& der) {
    PrivateKeyInfo info;
    info.DerDecode(asMiByte(der), 0);
    RSAPrivateKey numbers;
    numbers.DerDecode(info.GetPrivateKey()->GetData(), 0);
    VT_P11_Key key;
    check(key.setRSAPrivateKey(numbers));
    VT_PKCS11_RSA_PRIVATE_KEY copied = {};
    check(key.getPrivateKey(&copied));
    const auto number = [](const VT_PKCS11_BYTES& each) { return PKCS_Blob{each.data, each.length}; };
    return {number(copied.modulus),   number(copied.publicExponent), number(copied.privateExponent),
            number(copied.prime1),    number(copied.prime2),         number(copied.exponent1),
            number(copied.exponent2), number(copied.coefficient)};
}

// The context, the key and the certificates.
class Ours {
  public:
    explicit Ours(const MessageInputs& inputs) : signer_(inputs.signer), key_(privateKey(inputs.key)) {
        check(PKCS_CreateCtx(&context_, nullptr));
        check(VT_CreateList(&authorities_));
        for (const Bytes* each : {&inputs.authority, &inputs.root})
            check(VT_AddListNode(authorities_, each->data(), static_cast<std::uint32_t>(each->size())));
    }
    ~Ours() {
        VT_DestroyList(&authorities_);
        PKCS_FreePriKey(&key_);
        PKCS_DestroyCtx(&context_);
    }
    Ours(const Ours&) = delete;
    Ours& operator=(const Ours&) = delete;

    void sign(const Bytes& content, Bytes* made) const {
        const PKCS_Blob in = blob(content);
        const PKCS_Blob certificate = blob(signer_);
        const PKCS_Alg sha1 = {token::kSha1, nullptr, 0, 0};
        Output message;
        check(PKCS7_WriteSignedDataMsg(context_, &in, &sha1, &kRsa, PKCS7_ATTACHED, &certificate, &key_, authorities_,
                                       nullptr, &message));
        message.give(made);
    }

    [[nodiscard]] std::size_t verify(const Bytes& der) const {
        const PKCS_Blob message = blob(der);
        Output content;
        check(PKCS7_ReadSignedDataMsg(context_, &message, PKCS7_ATTACHED, nullptr, nullptr, nullptr, &content));
        return content.length;
    }

    void seal(const Bytes& content, Bytes* made) const {
        Bytes iv = {1, 2, 3, 4, 5, 6, 7, 8};
        const PKCS_Blob in = blob(content);
        const PKCS_Blob certificate = blob(signer_);
        const PKCS_Alg tripleDes = {token::kDes3Cbc, iv.data(), 8, 192};
        Output message;
        check(PKCS7_WriteEnvelopedDataMsg(context_, &in, &tripleDes, &kRsa, 1, &certificate, nullptr, &message));
        message.give(made);
    }

    [[nodiscard]] std::size_t open(const Bytes& der) const {
        const PKCS_Blob message = blob(der);
        Output content;
        check(PKCS7_ReadEnvelopedDataMsg(context_, &message, 1, &key_, nullptr, &content));
        return content.length;
    }

    void digest(const Bytes& content, Bytes* made) const {
        const PKCS_Blob in = blob(content);
        const PKCS_Alg sha1 = {token::kSha1, nullptr, 0, 0};
        Output message;
        check(PKCS7_WriteDigestedDataMsg(context_, &in, &sha1, &message));
        message.give(made);
    }

    [[nodiscard]] std::size_t checkDigest(const Bytes& der) const {
        const PKCS_Blob message = blob(der);
        Output content;
        check(PKCS7_ReadDigestedDataMsg(context_, &message, &content));
        return content.length;
    }

  private:
    static constexpr PKCS_Alg kRsa = {token::kRsa, nullptr, 0, 0};

    Bytes signer_;
    PKCS_PriKey key_;
    PKCS_Ctx* context_ = nullptr;
    VT_List* authorities_ = nullptr;
};

}  // namespace

MessagePeer ourMessages(const MessageInputs& inputs) {
    const auto ours = std::make_shared<Ours>(inputs);
    return {"ours",
            [ours](const Bytes& content, Bytes* message) { ours->sign(content, message); },
            [ours](const Bytes& der) { return ours->verify(der); },
            [ours](const Bytes& content, Bytes* message) { ours->seal(content, message); },
            [ours](const Bytes& der) { return ours->open(der); },
            [ours](const Bytes& content, Bytes* message) { ours->digest(content, message); },
            [ours](const Bytes& der) { return ours->checkDigest(der); },
            // NSS writes indefinite lengths, which are no DER; wolfSSL names a digest with RSA where PKCS#7 has RSA.
            {"NSS", "wolfSSL"},
            {"NSS"}};
}

}  // namespace bench
