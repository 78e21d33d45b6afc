// PKCS#12 files, as other programs make them under the password "secret", and changed at will.
#include "pki/pfx.h"
#include "asn/asn.h"
#include "foundation/foundation.h"
#include "fuzz/target.h"
#include "pki/flat/flat.h"
#include "pki/safe_contents.h"
#include "schema/schema.h"

namespace {

constexpr char kPassword[] = {'s', 'e', 'c', 'r', 'e', 't'};
constexpr int kException = 1;

PKCS_Ctx* context() {
    static PKCS_Ctx* ctx = nullptr;
    if (ctx == nullptr)
        FUZZ_ASSERT(PKCS_CreateCtx(&ctx, nullptr) == 0);
    return ctx;
}

VT_P11_OP& operation() {
    return *context()->operation;
}

MiByte bytesOf(const fuzz::Bytes& data) {
    return {reinterpret_cast<const char*>(data.data()), static_cast<unsigned int>(data.size())};
}

template <class Call>
int resultOf(Call call) {
    try {
        return call();
    } catch (const MiException&) {
        return kException;
    }
}

bool isTold(std::int32_t code) {
    constexpr std::int32_t kCodes[] = {-1001, -1003, -1005, -1006, -1009, -1010, -1012, -1014, -1015, -1026};
    // Small ones are the engine's.
    return (code <= 0 && code > -1000) || std::find(std::begin(kCodes), std::end(kCodes), code) != std::end(kCodes);
}

// ---- The flat functions

struct Reading {
    std::int32_t code = 0;
    fuzz::Bytes certificate;
    fuzz::Bytes modulus;
    std::uint32_t listed = 0;

    bool operator==(const Reading& other) const {
        return code == other.code && certificate == other.certificate && modulus == other.modulus &&
               listed == other.listed;
    }
};

Reading read(fuzz::Bytes file, std::int32_t skipMac) {
    Reading reading;
    fuzz::Bytes password(std::begin(kPassword), std::end(kPassword));
    file.push_back(0);  // never null
    const PKCS_Blob pfx = {file.data(), static_cast<std::uint32_t>(file.size() - 1)};
    const PKCS_Blob secret = {password.data(), static_cast<std::uint32_t>(password.size())};
    PKCS_PriKey key = {};
    PKCS_Blob certificate = {};
    VT_List* list = nullptr;
    FUZZ_ASSERT(VT_CreateList(&list) == 0);
    reading.code = VT_GetCertAndPrivateKeyFromPFX(context(), &pfx, &secret, skipMac, &key, &certificate, list);
    FUZZ_ASSERT(isTold(reading.code));
    FUZZ_ASSERT((reading.code == 0) == (certificate.data != nullptr));
    FUZZ_ASSERT((reading.code == 0) == (key.modulus.data != nullptr));
    FUZZ_ASSERT(reading.code != 0 || VT_CheckCertAndPriKey(&certificate, &key) == 0);
    FUZZ_ASSERT(reading.code != 0 || VT_CheckPFXDer(context(), &pfx) == 0);
    FUZZ_ASSERT(VT_GetListNodeTotal(list, &reading.listed) == 0 && reading.listed <= 128);
    reading.certificate.assign(certificate.data, certificate.data + certificate.length);
    reading.modulus.assign(key.modulus.data, key.modulus.data + key.modulus.length);
    VT_DestroyList(&list);
    T_free(certificate.data);
    PKCS_FreePriKey(&key);
    return reading;
}

// ---- The classes

// Bags that were taken apart are put together, and taken apart again, to the same bytes.
void checkBags(const MiByte& der) {
    VT_SafeContents bags;
    MiByte composed;
    if (resultOf([&] { return bags.decomposeSafeContents(der); }) != 0 ||
        resultOf([&] { return bags.composeSafeContents(composed); }) != 0)
        return;
    MiByte found;
    MiByte id;
    MiByte name;
    for (int i = 0; resultOf([&] { return bags.getCertDerByIndex(i, found); }) != -1005; ++i) {
        FUZZ_ASSERT(i < 128);
        resultOf([&] { return bags.getCertDerByIndex(i, found, id, name); });
        resultOf([&] { return bags.getCertDerByID(id, found, name); });
    }
    int keys = 0;
    FUZZ_ASSERT(bags.getShroudedKeyDerTotal(keys) == 0 && keys >= 0 && keys <= 128);
    for (int i = 0; i < keys; ++i)
        FUZZ_ASSERT(resultOf([&] { return bags.getShroudedKeyDerByIndex(i, found); }) != -1005);
    FUZZ_ASSERT(resultOf([&] { return bags.getShroudedKeyDerByIndex(keys, found); }) == -1005);
}

// A file that was taken apart is put together under another MAC, which the password opens and no other.
void checkFile(const MiByte& der) {
    const MiByte password(kPassword, sizeof kPassword);
    VT_PFX pfx;
    if (resultOf([&] { return pfx.decomposePFXBaseOnPassword(operation(), password, der, 1); }) != 0)
        return;
    MiByte contents;
    for (int i = 0; i < 4; ++i)
        if (resultOf([&] { return pfx.getDataSafeContentsByIndex(i, contents); }) == 0)
            checkBags(contents);
    MiByte composed;
    if (resultOf([&] { return pfx.composePFXBaseOnPassword(operation(), password, 1, composed); }) != 0)
        return;
    VT_PFX again;
    FUZZ_ASSERT(again.decomposePFXBaseOnPassword(operation(), password, composed, 0) == 0);
    FUZZ_ASSERT(again.decomposePFXBaseOnPassword(operation(), MiByte(), composed, 0) == -1012);
    int total = 0;
    int totalAgain = 0;
    pfx.getEncryptSafeContentsTotal(total);
    again.getEncryptSafeContentsTotal(totalAgain);
    FUZZ_ASSERT(total == totalAgain);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 65536)
        return 0;
    const fuzz::Bytes bytes(data, data + size);
    const Reading open = read(bytes, 1);
    const Reading checked = read(bytes, 0);
    // What the MAC lets pass is what is read without it.
    FUZZ_ASSERT(checked.code != 0 || checked == open);
    FUZZ_ASSERT(read(bytes, 1) == open);
    checkFile(bytesOf(bytes));
    checkBags(bytesOf(bytes));
    return 0;
}
