#include "tools/vtkey/pfx.h"

#include "tools/common/session.h"

namespace vtkey {

namespace {

using tools::RsaNumbers;

// A key record that a function filled.
class KeyOutput {
  public:
    KeyOutput() = default;
    ~KeyOutput() { PKCS_FreePriKey(&key); }
    KeyOutput(const KeyOutput&) = delete;
    KeyOutput& operator=(const KeyOutput&) = delete;

    operator PKCS_PriKey*() { return &key; }

    RsaNumbers numbers() const {
        return {number(key.modulus), number(key.publicExponent), number(key.privateExponent), number(key.prime1),
                number(key.prime2),  number(key.exponent1),      number(key.exponent2),       number(key.coefficient)};
    }

  private:
    static MiBigInteger number(const PKCS_Blob& blob) {
        return {char{1}, MiByte(reinterpret_cast<const char*>(blob.data), blob.length)};
    }

    PKCS_PriKey key{};
};

}  // namespace

std::string makePfx(const std::string& certificate, const tools::PrivateKey& key, const std::string& password,
                    const std::vector<std::string>& others) {
    tools::List list;
    for (const std::string& der : others)
        list.add(der);
    const PKCS_Blob own = tools::lend(certificate);
    const PKCS_Blob secret = tools::lend(password);
    tools::Output pfx;
    tools::require(VT_GenPFX(tools::Context(), &own, key.record(), &secret, list, pfx));
    return pfx.bytes();
}

std::int32_t tryPfx(const std::string& pfx, const std::string& password, Opened& opened) {
    const PKCS_Blob file = tools::lend(pfx);
    const PKCS_Blob secret = tools::lend(password);
    KeyOutput key;
    tools::Output certificate;
    const tools::List list;
    const std::int32_t code =
        VT_GetCertAndPrivateKeyFromPFX(tools::Context(), &file, &secret, 0, key, certificate, list);
    if (code != 0)
        return code;
    opened = {key.numbers(), certificate.bytes(), {}};
    for (std::uint32_t i = 0; i < list.count(); ++i)
        if (list.at(i) != opened.certificate)
            opened.chain.push_back(list.at(i));
    return 0;
}

}  // namespace vtkey
