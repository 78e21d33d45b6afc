// The import of a private key in the Microsoft layout (key_blob.cpp has it).
#include <algorithm>
#include <cstring>

#include "platform/nss/attribute.h"
#include "platform/nss/container.h"
#include "platform/nss/der.h"
#include "platform/nss/entries.h"
#include "platform/nss/item.h"
#include "platform/nss/key_blob.h"
#include "platform/nss/pkcs8.h"
#include "platform/posix/last_error.h"

namespace platform::nss {
namespace {

// A blob taken apart: what is needed of its header, and its numbers most significant byte first.
struct PrivateBlob {
    DWORD spec = 0;
    Bytes modulus;
    Bytes publicExponent;
    RsaPrivateNumbers numbers;
};

// Takes the numbers of a blob one after another.
class BlobReader {
  public:
    BlobReader(const BYTE* data, DWORD size) : at_(data), left_(size) {}

    template <class Structure>
    bool take(Structure& structure) {
        if (left_ < sizeof structure)
            return false;
        std::memcpy(&structure, at_, sizeof structure);
        skip(sizeof structure);
        return true;
    }

    bool takeNumber(Bytes& number, DWORD length) {
        if (left_ < length)
            return false;
        number.assign(at_, at_ + length);
        std::reverse(number.begin(), number.end());
        skip(length);
        return true;
    }

  private:
    void skip(std::size_t length) {
        at_ += length;
        left_ -= static_cast<DWORD>(length);
    }

    const BYTE* at_;
    DWORD left_;
};

Bytes bigEndian(DWORD number) {
    return {static_cast<BYTE>(number >> 24), static_cast<BYTE>(number >> 16), static_cast<BYTE>(number >> 8),
            static_cast<BYTE>(number)};
}

bool readBlob(const BYTE* data, DWORD size, PrivateBlob& blob) {
    BlobReader reader(data, size);
    PUBLICKEYSTRUC header = {};
    RSAPUBKEY key = {};
    if (!reader.take(header) || !reader.take(key) || header.bVersion != CUR_BLOB_VERSION || key.magic != kPrivateMagic)
        return false;
    if (key.bitlen < 512 || key.bitlen > 16384 || key.bitlen % 16 != 0)
        return false;
    if (header.aiKeyAlg != CALG_RSA_SIGN && header.aiKeyAlg != CALG_RSA_KEYX)
        return false;
    blob.spec = header.aiKeyAlg == CALG_RSA_SIGN ? AT_SIGNATURE : AT_KEYEXCHANGE;
    blob.publicExponent = bigEndian(key.pubexp);
    const DWORD half = key.bitlen / 16;
    RsaPrivateNumbers& numbers = blob.numbers;
    return reader.takeNumber(blob.modulus, key.bitlen / 8) && reader.takeNumber(numbers.prime1, half) &&
           reader.takeNumber(numbers.prime2, half) && reader.takeNumber(numbers.exponent1, half) &&
           reader.takeNumber(numbers.exponent2, half) && reader.takeNumber(numbers.coefficient, half) &&
           reader.takeNumber(numbers.privateExponent, key.bitlen / 8);
}

// KU_... bits of the uses that follow from the specification, as CryptGenKey has them.
unsigned int usesOf(DWORD spec) {
    constexpr unsigned int kExchange = KU_KEY_ENCIPHERMENT | KU_DATA_ENCIPHERMENT;
    return KU_DIGITAL_SIGNATURE | (spec == AT_KEYEXCHANGE ? kExchange : 0U);
}

// A token keeps a key once: one that it has already gets the new name, and what the flags say.
PrivateKey importKey(const Token& token, PrivateBlob& blob, const std::string& name) {
    Bytes info = privateKeyInfoDer(blob.modulus, blob.publicExponent, blob.numbers);
    Bytes nickname(name.begin(), name.end());
    SECItem infoItem = itemOf(info);
    SECItem nameItem = itemOf(nickname);
    SECItem modulusItem = itemOf(blob.modulus);
    SECKEYPrivateKey* key = nullptr;
    const SECStatus status = nss().PK11_ImportDERPrivateKeyInfoAndReturnKey(
        token.slot.get(), &infoItem, &nameItem, &modulusItem, PR_TRUE, PR_TRUE, usesOf(blob.spec), &key, nullptr);
    wipe(info);
    return PrivateKey(status == SECSuccess ? key : nullptr);
}

bool forbidExport(const PrivateKey& key) {
    BYTE no = 0;
    SECItem item = {siBuffer, &no, sizeof no};
    return nss().PK11_WriteRawAttribute(PK11_TypePrivKey, key.get(), CKA_EXTRACTABLE, &item) == SECSuccess;
}

// A blob may have its modulus in more bytes than it needs.
bool isSameKey(const PrivateKey& key, const Bytes& modulus) {
    return readNumber(key.get(), CKA_MODULUS) == withoutLeadingZeros(spanOf(modulus));
}

}  // namespace

BOOL CryptImportKey(HCRYPTPROV prov, const BYTE* data, DWORD size, HCRYPTKEY wrapping, DWORD flags, HCRYPTKEY* key) {
    const std::shared_ptr<Container> container = findContainer(prov);
    if (container == nullptr || data == nullptr || key == nullptr)
        return posix::fail(ERROR_INVALID_PARAMETER);
    if (wrapping != 0)
        return posix::fail(NTE_BAD_KEY);
    if (size == 0 || data[0] != PRIVATEKEYBLOB)
        return posix::fail(NTE_BAD_TYPE);
    PrivateBlob blob;
    if (!readBlob(data, size, blob))
        return posix::fail(NTE_BAD_DATA);
    if ((flags & ~kKeyFlags) != 0)
        return posix::fail(NTE_BAD_FLAGS);
    if (container->name.empty())
        return posix::fail(NTE_PERM);
    if (!logIn(container->token))
        return FALSE;
    PrivateKey former = findPrivateKey(container->token, container->name);
    PrivateKey imported = importKey(container->token, blob, container->name);
    if (imported == nullptr || ((flags & CRYPT_EXPORTABLE) == 0 && !forbidExport(imported)))
        return posix::fail(NTE_FAIL);
    if (former != nullptr && !isSameKey(former, blob.modulus))
        deleteKeyPair(container->token, std::move(former));
    keylessContainers().erase(keylessName(container->token, container->name));
    const std::shared_ptr<Key> opened = openKey(*container, blob.spec);
    if (opened == nullptr)
        return FALSE;
    *key = Keys::instance().open(opened);
    return TRUE;
}

}  // namespace platform::nss
