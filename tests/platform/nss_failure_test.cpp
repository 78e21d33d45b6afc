// A function of NSS that fails: the call tells it, and keys and certificates are as they were.
#include <algorithm>
#include <memory>
#include <type_traits>
#include <vector>

#include "platform/nss/loader.h"
#include "tests/platform/nss_store_fixture.h"
#include "tests/support/der.h"

using namespace nss_test;
using platform::nss::Functions;
using support::tool;

namespace {

class nss_failure_test : public NssTest {};

template <class Result, class... Arguments>
Result failing(Arguments... /*arguments*/) {
    if constexpr (std::is_same_v<Result, SECStatus>)
        return SECFailure;
    else
        return Result{};
}

template <class Result, class... Arguments>
auto failureOf(Result (*)(Arguments...)) {
    return failing<Result, Arguments...>;
}

// Replaced<&Functions::PK11_Sign> makes that function fail while it lives, or calls another in its place. NSS must be
// bound already.
template <auto Function>
class Replaced {
  public:
    Replaced() { entry() = failureOf(former_); }
    template <class Other>
    explicit Replaced(Other* other) {
        entry() = other;
    }
    ~Replaced() { entry() = former_; }
    Replaced(const Replaced&) = delete;
    Replaced& operator=(const Replaced&) = delete;

  private:
    static auto& entry() { return const_cast<Functions&>(platform::nss::nss()).*Function; }
    std::decay_t<decltype(entry())> former_ = entry();
};

// A token with a keypad of its own, which takes the PIN past this program.
const char* typedPin = "none";
PRBool yes(PK11SlotInfo* /*slot*/) {
    return PR_TRUE;
}
PRBool notYet(PK11SlotInfo* /*slot*/, void* /*argument*/) {
    return PR_FALSE;
}
template <SECStatus Result>
SECStatus checkPin(PK11SlotInfo* /*slot*/, const char* pin) {
    typedPin = pin;
    return Result;
}

// Gives a key of 512 bits whose first prime is a byte longer than half of that.
SECStatus decryptToUnequalPrimes(PK11SymKey* /*key*/, CK_MECHANISM_TYPE /*mechanism*/, SECItem* /*parameter*/,
                                 unsigned char* out, unsigned int* length, unsigned int /*capacity*/,
                                 const unsigned char* /*encrypted*/, unsigned int /*size*/) {
    const auto number = [](std::size_t bytes) { return der::tlv(0x02, Bytes(bytes, 0x11)); };
    const Bytes rsa = der::sequence({der::integer(0), number(64), der::integer(65537), number(64), number(33),
                                     number(31), number(33), number(31), number(33)});
    const Bytes info =
        der::sequence({der::integer(0), der::sequence({der::oid({1, 2, 840, 113549, 1, 1, 1})}), der::tlv(0x04, rsa)});
    std::copy(info.begin(), info.end(), out);
    *length = static_cast<unsigned int>(info.size());
    return SECSuccess;
}

template <auto Function, class Call>
DWORD errorWithout(Call call) {
    const Replaced<Function> fails;
    return errorOf(call);
}

}  // namespace

TEST_F(nss_failure_test, AFailedGenerationLeavesTheFormerKey) {
    makeKey("c", 512);
    const Bytes former = exportKey("c", PUBLICKEYBLOB);
    const Prov prov("c", 0);
    KeyHandle key;
    const auto generate = [&] { return capi().CryptGenKey(prov.get(), AT_SIGNATURE, 512U << 16, key.out()); };
    EXPECT_EQ(errorWithout<&Functions::PK11_GenerateKeyPairWithOpFlags>(generate), NTE_FAIL);
    EXPECT_EQ(errorWithout<&Functions::PK11_SetPrivateKeyNickname>(generate), NTE_FAIL);
    EXPECT_EQ(errorWithout<&Functions::PK11_SetPublicKeyNickname>(generate), NTE_FAIL);
    EXPECT_EQ(key.get(), 0u);
    EXPECT_EQ(exportKey("c", PUBLICKEYBLOB), former);
    EXPECT_EQ(count(keyList(), "rsa "), 1) << "a key without a name is none that anybody would find";
}

TEST_F(nss_failure_test, AKeyThatIsNotReadIsNotOpened) {
    makeKey("c", 512);
    const Prov prov("c", 0);
    KeyHandle key;
    const auto open = [&] { return capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.out()); };
    EXPECT_EQ(errorWithout<&Functions::SECKEY_ConvertToPublicKey>(open), NTE_FAIL);
    EXPECT_EQ(errorWithout<&Functions::PK11_ListPrivKeysInSlot>(open), NTE_NO_KEY);
    EXPECT_EQ(key.get(), 0u);
    EXPECT_EQ(errorOf(open), 0u);
}

TEST_F(nss_failure_test, APrivateKeyThatCannotBeWrappedIsNotExported) {
    makeKey("c", 512);
    const Prov prov("c", 0);
    KeyHandle key;
    ASSERT_TRUE(capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.out()));
    Bytes blob(308, 0x55);
    DWORD size = 308;
    const auto exported = [&] { return capi().CryptExportKey(key.get(), 0, PRIVATEKEYBLOB, 0, blob.data(), &size); };
    EXPECT_EQ(errorWithout<&Functions::PK11_GenerateRandom>(exported), NTE_BAD_KEY_STATE);
    EXPECT_EQ(errorWithout<&Functions::PK11_DoesMechanism>(exported), NTE_BAD_KEY_STATE);
    EXPECT_EQ(errorWithout<&Functions::PK11_ImportSymKey>(exported), NTE_BAD_KEY_STATE);
    EXPECT_EQ(errorWithout<&Functions::PK11_WrapPrivKey>(exported), NTE_BAD_KEY_STATE);
    EXPECT_EQ(errorWithout<&Functions::PK11_Decrypt>(exported), NTE_BAD_KEY_STATE);
    EXPECT_EQ(errorWithout<&Functions::PK11_ReadRawAttribute>(exported), NTE_BAD_KEY_STATE);
    EXPECT_EQ(blob, Bytes(308, 0x55));
    {
        const Replaced<&Functions::PK11_Decrypt> unequal(decryptToUnequalPrimes);
        EXPECT_EQ(errorOf(exported), NTE_BAD_KEY_STATE) << "the blob has no room for such primes";
    }
    EXPECT_EQ(blob, Bytes(308, 0x55));
    EXPECT_EQ(errorOf(exported), 0u);
}

TEST_F(nss_failure_test, AFailedImportLeavesTheFormerKey) {
    makeKey("other", 512);
    const Bytes blob = exportKey("other", PRIVATEKEYBLOB);
    makeKey("c", 512);
    const Bytes former = exportKey("c", PUBLICKEYBLOB);
    const Prov prov("c", 0);
    KeyHandle key;
    const auto import = [&] {
        return capi().CryptImportKey(prov.get(), blob.data(), static_cast<DWORD>(blob.size()), 0, CRYPT_EXPORTABLE,
                                     key.out());
    };
    EXPECT_EQ(errorWithout<&Functions::PK11_ImportDERPrivateKeyInfoAndReturnKey>(import), NTE_FAIL);
    EXPECT_EQ(key.get(), 0u);
    EXPECT_EQ(exportKey("c", PUBLICKEYBLOB), former);
}

TEST_F(nss_failure_test, AHashTellsEachFailure) {
    makeKey("c", 512);
    const Prov prov("c", 0);
    HCRYPTHASH hash = 0;
    const auto create = [&] { return capi().CryptCreateHash(prov.get(), CALG_SHA1, 0, 0, &hash); };
    EXPECT_EQ(errorWithout<&Functions::PK11_CreateDigestContext>(create), NTE_FAIL);
    EXPECT_EQ(errorWithout<&Functions::PK11_DigestBegin>(create), NTE_FAIL);
    EXPECT_EQ(hash, 0u);
    ASSERT_EQ(errorOf(create), 0u);

    const BYTE data[] = {'a', 'b', 'c'};
    const auto feed = [&] { return capi().CryptHashData(hash, data, sizeof data, 0); };
    EXPECT_EQ(errorWithout<&Functions::PK11_DigestOp>(feed), NTE_FAIL);
    EXPECT_EQ(errorOf(feed), 0u);

    Bytes signature(64, 0x55);
    DWORD size = 64;
    const auto sign = [&] { return capi().CryptSignHashA(hash, AT_SIGNATURE, nullptr, 0, signature.data(), &size); };
    EXPECT_EQ(errorWithout<&Functions::PK11_SignatureLen>(sign), NTE_FAIL);
    EXPECT_EQ(errorWithout<&Functions::PK11_DigestFinal>(sign), NTE_FAIL);
    EXPECT_EQ(errorWithout<&Functions::PK11_Sign>(sign), NTE_FAIL);
    EXPECT_EQ(signature, Bytes(64, 0x55));
    EXPECT_EQ(errorOf(sign), 0u);
    EXPECT_TRUE(capi().CryptDestroyHash(hash));
}

// A certificate that NSS refuses goes onto the token past it.
TEST_F(nss_failure_test, ACertificateIsAddedInEitherOfTwoWays) {
    const Bytes der = selfSigned(home_, "/CN=Root", "");
    {
        const StoreHandle root("ROOT");
        const Replaced<&Functions::PK11_ImportCert> refused;
        EXPECT_EQ((errorWithout<&Functions::PK11_CreateGenericObject>([&] { return addError(root, der) == 0; })),
                  NTE_FAIL);
    }
    EXPECT_TRUE(contents("ROOT").empty());
    {
        const StoreHandle root("ROOT");
        const Replaced<&Functions::PK11_ImportCert> refused;
        EXPECT_EQ(addError(root, der), 0u);
    }
    EXPECT_EQ(contents("ROOT"), std::vector<Bytes>{der});
}

TEST_F(nss_failure_test, ACertificateThatIsThereIsNotAddedAgain) {
    const Authority authority(home_);
    makeKey("alice", 512);
    const Bytes der = authority.certify(publicKeyPem(home_, "alice"), "/CN=Alice", 7);
    {
        const Prov prov("alice", 0);
        KeyHandle key;
        ASSERT_TRUE(capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.out()));
        const Replaced<&Functions::PK11_ImportCert> refused;
        EXPECT_TRUE(capi().CryptSetKeyParam(key.get(), KP_CERTIFICATE, der.data(), 0));
        EXPECT_TRUE(capi().CryptSetKeyParam(key.get(), KP_CERTIFICATE, der.data(), 0)) << "once more is no error";
    }
    EXPECT_EQ(contents("MY"), std::vector<Bytes>{der});
}

// One that NSS does not find is deleted past it as well.
TEST_F(nss_failure_test, ACertificateThatNssDoesNotFindIsDeletedAllTheSame) {
    const Bytes der = selfSigned(home_, "/CN=Root", "");
    {
        const StoreHandle root("ROOT");
        ASSERT_EQ(addError(root, der), 0u);
    }
    const auto remove = [&] {
        const StoreHandle root("ROOT");
        PCCERT_CONTEXT cert = find(root, der);
        EXPECT_NE(cert, nullptr);
        return errorOf([&] { return capi().CertDeleteCertificateFromStore(cert); });
    };
    {
        const Replaced<&Functions::SEC_DeletePermCertificate> refused;
        EXPECT_EQ(remove(), NTE_FAIL);
    }
    EXPECT_EQ(contents("ROOT"), std::vector<Bytes>{der});
    {
        const Replaced<&Functions::PK11_FindCertFromDERCertItem> unknown;
        {
            const Replaced<&Functions::PK11_DestroyTokenObject> refused;
            EXPECT_EQ(remove(), NTE_FAIL);
        }
        EXPECT_EQ(contents("ROOT"), std::vector<Bytes>{der});
        EXPECT_EQ(remove(), 0u);
    }
    EXPECT_TRUE(contents("ROOT").empty());
}

// A rival that stays in the way is a failure, and nothing is added beside it.
TEST_F(nss_failure_test, ARivalThatCannotBeRemovedKeepsItsPlace) {
    const Authority authority(home_);
    makeKey("alice", 512);
    const std::string key = publicKeyPem(home_, "alice");
    const Bytes first = authority.certify(key, "/CN=First", 7);
    const Bytes second = authority.certify(key, "/CN=Second", 7);
    {
        const StoreHandle my("MY");
        ASSERT_EQ(addError(my, first), 0u);
    }
    {
        const StoreHandle my("MY");
        const Replaced<&Functions::SEC_DeletePermCertificate> refused;
        const Replaced<&Functions::PK11_DestroyTokenObject> notDestroyed;
        EXPECT_EQ(addError(my, second), NTE_FAIL);
    }
    EXPECT_EQ(contents("MY"), std::vector<Bytes>{first});
}

TEST_F(nss_failure_test, ATokenWithAKeypadAsksForThePinItself) {
    makeKey("c", 512);
    const Prov prov("c", 0);
    KeyHandle key;
    const auto generate = [&] { return capi().CryptGenKey(prov.get(), AT_SIGNATURE, 512U << 16, key.out()); };
    const Replaced<&Functions::PK11_NeedLogin> needed(yes);
    const Replaced<&Functions::PK11_IsLoggedIn> isOut(notYet);
    const Replaced<&Functions::PK11_ProtectedAuthenticationPath> hasKeypad(yes);
    setenv("SSH_ASKPASS", home_.script("ask", "touch " + home_.file("asked")).c_str(), 1);
    {
        const Replaced<&Functions::PK11_CheckUserPassword> refused(checkPin<SECWouldBlock>);
        EXPECT_EQ(errorOf(generate), SCARD_W_WRONG_CHV);
    }
    {
        const Replaced<&Functions::PK11_CheckUserPassword> broken(checkPin<SECFailure>);
        EXPECT_EQ(errorOf(generate), NTE_FAIL);
    }
    const Replaced<&Functions::PK11_CheckUserPassword> good(checkPin<SECSuccess>);
    EXPECT_EQ(errorOf(generate), 0u);
    EXPECT_EQ(typedPin, nullptr);
    EXPECT_NE(tool("test -e " + home_.file("asked")).status, 0) << "nobody is asked here";
}
