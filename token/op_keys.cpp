// RSA key pairs, made here or in a token, and the public keys that a token holds.
#include <algorithm>

#include "token/op.h"
#include "token/op_frame.h"
#include "token/token_object.h"

using token::OwnedAlg;
using token::OwnedKey;
using token::View;

namespace {

constexpr std::int32_t kUsualBits = 1024;

View viewOf(const VT_PKCS11_BYTES& number) {
    return {number.data, number.length};
}

VT_PKCS11_BYTES numberOf(const token::Buffer& buffer) {
    return {buffer.bytes.get(), buffer.length};
}

VT_PKCS11_BYTES numberOf(const KEY_ITEM& item) {
    return {item.bytes, item.length};
}

// A copy with a zero behind it.
int copyLabel(const MiByte& label, token::Buffer& copy) {
    if (!copy.allocate(label.GetLength()))
        return token::kOutOfMemory;
    std::copy_n(token::bytesOf(label), label.GetLength(), copy.bytes.get());
    return 0;
}

int checkIsFree(const CHOOSER* chooser, const View& label, int codeIfTaken) {
    const int code = LabelSearchOp(chooser, label);
    return code == crypto::kLabelExists ? codeIfTaken : code;
}

// The setters do not tell when memory runs out: the key is empty then.
int checkIsThere(const VT_P11_Key& key) {
    OwnedKey object;
    const auto builder = [&](unsigned char** shell) { return key.GetVCKKIObj(shell, key.getAK()); };
    return object == nullptr || object.build(builder) != 0 ? token::kOutOfMemory : 0;
}

// Each makes the key anew, since a label that it had would win over the numbers.
int givePublicKey(const VT_PKCS11_RSA_PUBLIC_KEY& numbers, VT_P11_Key& key) {
    key.Reset();
    key.setKeyType(token::kRsaPublicKey);
    key.setPublicKey(&numbers);
    return numbers.modulus.length == 0 || numbers.publicExponent.length == 0 ? 0 : checkIsThere(key);
}

int givePrivateKey(const KEY_ITEM* items, VT_P11_Key& key) {
    const VT_PKCS11_RSA_PRIVATE_KEY numbers = {
        numberOf(items[RSA_MODULUS]),    numberOf(items[RSA_PUBLIC_EXPONENT]), numberOf(items[RSA_PRIVATE_EXPONENT]),
        numberOf(items[RSA_PRIME_1]),    numberOf(items[RSA_PRIME_2]),         numberOf(items[RSA_EXPONENT_1]),
        numberOf(items[RSA_EXPONENT_2]), numberOf(items[RSA_COEFFICIENT])};
    key.Reset();
    key.setKeyType(token::kRsaPrivateKey);
    key.setPrivateKey(&numbers);
    return checkIsThere(key);
}

int giveLabel(const token::Buffer& label, VT_P11_Key& key) {
    key.Reset();
    key.setKeyType(token::kRsaPrivateKey);
    return key.setTokenKeyLabel(label.bytes.get());
}

// What the getter of an RSA key gives.
template <std::uint32_t count>
class Items {
  public:
    Items() = default;
    ~Items() { KeyItemsFree(&items_, count); }
    Items(const Items&) = delete;
    Items& operator=(const Items&) = delete;

    int get(const KEY_OBJ* key) { return key->getter(key, &items_); }
    operator const KEY_ITEM*() const { return items_; }

  private:
    KEY_ITEM* items_ = nullptr;
};

// Gives out the numbers of a pair that was made in software.
int giveNumbers(const KEY_OBJ* publicObject, const KEY_OBJ* privateObject, VT_P11_Key& publicKey,
                VT_P11_Key& privateKey) {
    Items<RSA_PUBLIC_ITEM_COUNT> publicItems;
    if (const int code = publicItems.get(publicObject))
        return code;
    Items<RSA_ITEM_COUNT> privateItems;
    if (const int code = privateItems.get(privateObject))
        return code;
    const VT_PKCS11_RSA_PUBLIC_KEY numbers = {numberOf(publicItems[RSA_MODULUS]),
                                              numberOf(publicItems[RSA_PUBLIC_EXPONENT])};
    if (const int code = givePublicKey(numbers, publicKey))
        return code;
    return givePrivateKey(privateItems, privateKey);
}

int readPublicKey(const CHOOSER* chooser, const View& label, VT_P11_Key& key) {
    TOKEN_PUBLIC_KEY numbers;
    if (const int code = ReadPublicKeyOp(chooser, label, numbers))
        return code;
    return givePublicKey({numberOf(numbers.modulus), numberOf(numbers.publicExponent)}, key);
}

}  // namespace

int VT_P11_OP::GetHardPubKey(const MiByte& label, VT_P11_Key& key) {
    if (label.Empty())
        return token::kNullArgument;
    token::Buffer copy;
    if (const int code = copyLabel(label, copy))
        return code;
    return readPublicKey(static_cast<CHOOSER*>(chooser), copy, key);
}

int VT_P11_OP::GenRSAKeyPair(VT_P11_Key& publicKey, const MiByte& publicLabel, VT_P11_Key& privateKey,
                             const MiByte& privateLabel, int bits, int inToken) {
    const std::int32_t size = bits == 512 || bits == 2048 ? bits : kUsualBits;
    if (publicLabel.Empty() || privateLabel.Empty())
        return token::kNullArgument;
    token::Buffer publicText;
    if (const int code = copyLabel(publicLabel, publicText))
        return code;
    token::Buffer privateText;
    if (const int code = copyLabel(privateLabel, privateText))
        return code;
    auto* where = static_cast<CHOOSER*>(chooser);
    if (inToken != 0) {
        if (const int code = checkIsFree(where, publicText, token::kPublicLabelExists))
            return code;
        if (const int code = checkIsFree(where, privateText, token::kPrivateLabelExists))
            return code;
    } else if (token::isOnToken(where)) {
        return crypto::kArgumentAbsent;  // a token would keep the private key, under a label that was not looked for
    }
    OwnedAlg alg;
    OwnedKey publicObject;
    OwnedKey privateObject;
    if (alg == nullptr || publicObject == nullptr || privateObject == nullptr)
        return crypto::kNoMemory;
    if (const int code = AlgSetup(alg.address(), AlgAllocRsaKeyPairGen, &size))
        return code;
    if (const int code =
            GenerateKeyPairOp(alg, publicObject.address(), publicText, privateObject.address(), privateText, where))
        return code;
    if (inToken == 0)
        return giveNumbers(publicObject, privateObject, publicKey, privateKey);
    if (const int code = readPublicKey(where, publicText, publicKey))
        return code;
    return giveLabel(privateText, privateKey);
}

bool VT_P11_OP::CheckRSAKeyPair(const RSAPublicKey& publicKey, const unsigned char* label, std::uint32_t labelLength) {
    if (label == nullptr || labelLength == 0)
        return false;
    VT_P11_Key key;
    VT_PKCS11_RSA_PUBLIC_KEY numbers = {};
    if (key.setRSAPublicKey(publicKey) != 0 || key.getPublicKey(&numbers) != 0)
        return false;
    const bool same = CompareTokenPublicKeyOp(static_cast<CHOOSER*>(chooser), {label, labelLength},
                                              viewOf(numbers.modulus), viewOf(numbers.publicExponent));
    VT_FreePublicKey(&numbers);
    return same;
}

bool VT_P11_OP::CheckLabelExistInToken(const unsigned char* label, std::uint32_t labelLength, int /*unused*/) {
    if (label == nullptr || labelLength == 0)
        return false;
    return LabelSearchOp(static_cast<CHOOSER*>(chooser), {label, labelLength}) == crypto::kLabelExists;
}
