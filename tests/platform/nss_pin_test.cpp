// Tokens with a PIN: a SoftHSM token that the user's database knows as a module, and prompt programs that answer.
#include "tests/platform/nss_store_fixture.h"
#include "tests/support/own_process.h"

using namespace nss_test;
using support::tool;
using support::ToolResult;

namespace {

constexpr char kCard[] = "card";

class nss_pin_test : public NssTest {
  protected:
    // Makes the token and tells the database of it; the environment is this process's.
    void makeCard(const std::string& label = kCard) {
        home_.file("softhsm.conf", "directories.tokendir = " + home_.path() + "/tokens\nobjectstore.backend = file\n");
        setenv("SOFTHSM2_CONF", home_.file("softhsm.conf").c_str(), 1);
        const ToolResult made = tool(
            "cd " + home_.path() + " && mkdir -p tokens .pki/nssdb && softhsm2-util --init-token --free --label '" +
            label + "' --pin 1234 --so-pin 5678 && certutil -N --empty-password -d " + home_.database() +
            " && modutil -force -add softhsm -libfile " VT_SOFTHSM " -dbdir " + home_.database());
        ASSERT_EQ(made.status, 0) << made.output;
    }

    // The prompt program says this, and notes what it was asked.
    void answerPrompt(const std::string& script) {
        setenv("SSH_ASKPASS", home_.script("ask", "echo \"$1\" >> " + home_.file("asked") + "\n" + script).c_str(), 1);
    }

    std::string asked() const { return textOf(readFile(home_.file("asked"))); }

    static DWORD acquireError(DWORD flags, const char* provider = kCard) {
        HCRYPTPROV prov = 0;
        const DWORD error =
            errorOf([&] { return capi().CryptAcquireContextA(&prov, "c", provider, PROV_RSA_FULL, flags); });
        if (prov != 0) {
            EXPECT_TRUE(capi().CryptReleaseContext(prov, 0));
        }
        return error;
    }
};

}  // namespace

TEST_F(nss_pin_test, TokenOfTheDatabaseIsAProvider) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeCard();
    answerPrompt("echo 1234");
    DWORD type = 0;
    char name[64];
    DWORD size = sizeof name;
    ASSERT_TRUE(capi().CryptEnumProvidersA(0, nullptr, 0, &type, name, &size));
    EXPECT_STREQ(name, kDatabaseProvider);
    size = sizeof name;
    ASSERT_TRUE(capi().CryptEnumProvidersA(1, nullptr, 0, &type, name, &size));
    EXPECT_STREQ(name, kCard);
    EXPECT_EQ(type, PROV_RSA_FULL);
    EXPECT_FALSE(capi().CryptEnumProvidersA(2, nullptr, 0, &type, name, &size));
    EXPECT_TRUE(Prov(nullptr, CRYPT_NEWKEYSET, kCard));
    EXPECT_TRUE(contents("MY").empty());
    EXPECT_EQ(asked(), "") << "nobody is asked for a PIN before a key is needed";
}

TEST_F(nss_pin_test, RightPinEnrolsOnTheToken) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeCard();
    answerPrompt("echo 1234");
    makeKey("on-the-card", 1024, 0, AT_SIGNATURE, kCard);
    EXPECT_EQ(asked(), "Enter the PIN of the token \"card\".\n") << "once";
    const Authority authority(home_);
    const Bytes der = authority.certify(publicKeyPem(home_, "on-the-card", kCard), "/CN=Alice", 5);
    setOnKey("on-the-card", der, kCard);
    const ToolResult objects = tool("pkcs11-tool --module " VT_SOFTHSM " --token-label card --login --pin 1234 -O");
    EXPECT_NE(objects.output.find("Private Key Object"), std::string::npos) << objects.output;
    EXPECT_NE(objects.output.find("on-the-card"), std::string::npos) << objects.output;
    EXPECT_NE(objects.output.find("Certificate Object"), std::string::npos) << objects.output;
    const StoreHandle my("MY");
    PCCERT_CONTEXT cert = find(my, der);
    ASSERT_NE(cert, nullptr);
    EXPECT_EQ(keyInfoOf(cert).container, L"on-the-card");
    EXPECT_EQ(keyInfoOf(cert).provider, L"card");
    EXPECT_TRUE(capi().CertDeleteCertificateFromStore(cert));
    const ToolResult left = tool("pkcs11-tool --module " VT_SOFTHSM " --token-label card --login --pin 1234 -O");
    EXPECT_EQ(left.output.find("Certificate Object"), std::string::npos) << left.output;
    EXPECT_NE(left.output.find("Private Key Object"), std::string::npos) << left.output;
    EXPECT_TRUE(Prov("on-the-card", CRYPT_DELETEKEYSET, kCard).get() == 0);
    const ToolResult none = tool("pkcs11-tool --module " VT_SOFTHSM " --token-label card --login --pin 1234 -O");
    EXPECT_EQ(none.output.find("Key Object"), std::string::npos) << none.output;
}

TEST_F(nss_pin_test, TokenSignsWhatOpensslVerifies) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeCard();
    answerPrompt("echo 1234");
    makeKey("c", 2048, 0, AT_SIGNATURE, kCard);
    const Prov prov("c", 0, kCard);
    HCRYPTHASH hash = 0;
    ASSERT_TRUE(capi().CryptCreateHash(prov.get(), CALG_MD5, 0, 0, &hash));
    EXPECT_TRUE(capi().CryptHashData(hash, reinterpret_cast<const BYTE*>("abc"), 3, 0));
    DWORD size = 0;
    ASSERT_TRUE(capi().CryptSignHashA(hash, AT_SIGNATURE, nullptr, 0, nullptr, &size));
    Bytes signature(size);
    ASSERT_TRUE(capi().CryptSignHashA(hash, AT_SIGNATURE, nullptr, 0, signature.data(), &size));
    EXPECT_TRUE(capi().CryptDestroyHash(hash));
    const std::string file = home_.file("signature", std::string(signature.rbegin(), signature.rend()));
    EXPECT_EQ(tool("openssl dgst -md5 -verify " + publicKeyPem(home_, "c", kCard) + " -signature " + file + " " +
                   home_.file("message", "abc"))
                  .output,
              "Verified OK\n");
}

TEST_F(nss_pin_test, ExportableKeyLeavesTheToken) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeCard();
    answerPrompt("echo 1234");
    makeKey("stays", 1024, 0, AT_SIGNATURE, kCard);
    makeKey("leaves", 1024, CRYPT_EXPORTABLE, AT_SIGNATURE, kCard);
    const std::string file =
        home_.file("private.blob", textOf(exportKey("leaves", PRIVATEKEYBLOB, AT_SIGNATURE, kCard)));
    const ToolResult check = tool("openssl rsa -inform MSBLOB -noout -check -in " + file);
    EXPECT_NE(check.output.find("RSA key ok"), std::string::npos) << check.output;
    const Prov prov("stays", 0, kCard);
    KeyHandle key;
    ASSERT_TRUE(capi().CryptGetUserKey(prov.get(), AT_SIGNATURE, key.out()));
    DWORD size = 0;
    EXPECT_EQ(errorOf([&] { return capi().CryptExportKey(key.get(), 0, PRIVATEKEYBLOB, 0, nullptr, &size); }),
              NTE_BAD_KEY_STATE);
}

TEST_F(nss_pin_test, CertificateShowsItsKeyWithoutAPin) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeCard();
    const ToolResult made = tool(
        "cd " + home_.path() +
        " && openssl req -x509 -newkey rsa:1024 -nodes -keyout k.pem -subj /CN=Carol -days 9 "
        "-outform DER -out c.der 2>/dev/null && openssl rsa -in k.pem -outform DER -out k.der 2>/dev/null && openssl "
        "rsa "
        "-in k.pem -pubout -outform DER -out p.der 2>/dev/null && for t in privkey:k.der pubkey:p.der cert:c.der; do "
        "pkcs11-tool --module " VT_SOFTHSM
        " --token-label card --login --pin 1234 --write-object ${t#*:} --type ${t%:*} "
        "--id 07 --label carols || exit 1; done");
    ASSERT_EQ(made.status, 0) << made.output;
    answerPrompt("exit 1");
    const StoreHandle my("MY");
    PCCERT_CONTEXT cert = find(my, readFile(home_.file("c.der")));
    ASSERT_NE(cert, nullptr);
    EXPECT_EQ(keyInfoOf(cert).container, L"carols");
    EXPECT_EQ(keyInfoOf(cert).provider, L"card");
    EXPECT_TRUE(capi().CertFreeCertificateContext(cert));
    EXPECT_EQ(asked(), "");
}

// The same key in the database and on the card: a certificate goes to the first, until it is told that it is the
// card's.
TEST_F(nss_pin_test, CertificateMovesToTheKeyThatItIsToldOf) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeCard();
    answerPrompt("echo 1234");
    makeKey("c", 1024);
    home_.file("c.blob", textOf(exportKey("c", PRIVATEKEYBLOB)));
    const ToolResult written = tool(
        "cd " + home_.path() +
        " && openssl rsa -inform MSBLOB -in c.blob -outform DER -out k.der 2>/dev/null && openssl rsa -inform MSBLOB "
        "-in c.blob -pubout -outform DER -out p.der 2>/dev/null && for t in privkey:k.der pubkey:p.der; do "
        "pkcs11-tool --module " VT_SOFTHSM
        " --token-label card --login --pin 1234 --write-object ${t#*:} --type ${t%:*} --id 07 "
        "--label on-the-card || exit 1; done");
    ASSERT_EQ(written.status, 0) << written.output;
    const Authority authority(home_);
    const Bytes der = authority.certify(publicKeyPem(home_, "c"), "/CN=Alice", 5);
    const auto isOnCard = [] {
        const ToolResult list = tool("pkcs11-tool --module " VT_SOFTHSM " --token-label card --login --pin 1234 -O");
        return list.output.find("Certificate Object") != std::string::npos;
    };
    const auto isInDatabase = [&] {
        return tool("certutil -L -h 'NSS Certificate DB' -d " + home_.database()).output.find("Alice") !=
               std::string::npos;
    };
    const StoreHandle my("MY");
    PCCERT_CONTEXT cert = nullptr;
    ASSERT_TRUE(capi().CertAddEncodedCertificateToStore(my.get(), kEncoding, der.data(), static_cast<DWORD>(der.size()),
                                                        CERT_STORE_ADD_REPLACE_EXISTING, &cert));
    EXPECT_FALSE(isOnCard());
    EXPECT_TRUE(isInDatabase());
    wchar_t provider[] = L"card";
    wchar_t other[] = L"c";
    CRYPT_KEY_PROV_INFO info = {other, provider, PROV_RSA_FULL, 0, 0, nullptr, AT_SIGNATURE};
    EXPECT_TRUE(capi().CertSetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, 0, &info));
    EXPECT_FALSE(isOnCard()) << "the card has no container of that name";
    wchar_t container[] = L"on-the-card";
    info.pwszContainerName = container;
    EXPECT_TRUE(capi().CertSetCertificateContextProperty(cert, CERT_KEY_PROV_INFO_PROP_ID, 0, &info));
    EXPECT_TRUE(isOnCard());
    EXPECT_FALSE(isInDatabase());
    EXPECT_TRUE(capi().CertDeleteCertificateFromStore(cert));
    EXPECT_FALSE(isOnCard());
}

// Other programs make keys without identifiers, or give one to several.
TEST_F(nss_pin_test, DeletionTakesNoOtherPairsPublicKey) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeCard();
    answerPrompt("echo 1234");
    const std::string card = "pkcs11-tool --module " VT_SOFTHSM " --token-label card --login --pin 1234 ";
    for (const char* pair : {"goes", "stays"}) {
        const ToolResult made = tool(card + "--keypairgen --key-type rsa:1024 --label " + pair);
        ASSERT_EQ(made.status, 0) << made.output;
    }
    EXPECT_FALSE(Prov("goes", CRYPT_DELETEKEYSET, kCard));
    const ToolResult left = tool(card + "-O");
    EXPECT_EQ(left.output.find("goes"), std::string::npos) << left.output;
    const std::size_t publicKey = left.output.find("Public Key Object");
    ASSERT_NE(publicKey, std::string::npos) << left.output;
    EXPECT_NE(left.output.find("stays", publicKey), std::string::npos) << left.output;
}

TEST_F(nss_pin_test, WrongPinFailsAndIsNotTriedAgain) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeCard();
    answerPrompt("echo 9999");
    EXPECT_EQ(acquireError(CRYPT_NEWKEYSET), SCARD_W_WRONG_CHV);
    EXPECT_EQ(asked(), "Enter the PIN of the token \"card\".\n") << "once";
    answerPrompt("echo 1234");
    EXPECT_EQ(acquireError(CRYPT_NEWKEYSET), 0u) << "the next call asks anew";
}

TEST_F(nss_pin_test, NoAnswerIsACancellation) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeCard();
    for (const char* script : {"exit 1", "echo 1234; exit 1", "true", "echo", "kill $$", "head -c 100000 /dev/zero"}) {
        answerPrompt(script);
        EXPECT_EQ(acquireError(CRYPT_NEWKEYSET), SCARD_W_CANCELLED_BY_USER) << script;
    }
    setenv("SSH_ASKPASS", home_.file("no such program").c_str(), 1);
    EXPECT_EQ(acquireError(CRYPT_NEWKEYSET), SCARD_W_CANCELLED_BY_USER);
    setenv("SSH_ASKPASS", "", 1);
    setenv("PATH", "/nowhere", 1);
    EXPECT_EQ(acquireError(CRYPT_NEWKEYSET), SCARD_W_CANCELLED_BY_USER) << "no pinentry either";
}

TEST_F(nss_pin_test, PinentryIsAskedWhereNoAskpassIsNamed) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    makeCard();
    unsetenv("SSH_ASKPASS");
    setenv("PATH", (home_.path() + ":" + getenv("PATH")).c_str(), 1);
    const auto pinentry = [&](const std::string& answer) {
        home_.script("pinentry", "echo 'OK Pleased to meet you'\nwhile read line; do echo \"$line\" >> " +
                                     home_.file("asked") + "\ncase \"$line\" in\nGETPIN) " + answer +
                                     ";;\nBYE) exit 0;;\n*) echo OK;;\nesac\ndone");
    };
    pinentry("echo 'ERR 83886179 Operation cancelled <Pinentry>'");
    EXPECT_EQ(acquireError(CRYPT_NEWKEYSET), SCARD_W_CANCELLED_BY_USER);
    EXPECT_NE(asked().find("SETDESC Enter the PIN of the token \"card\".\n"), std::string::npos) << asked();
    EXPECT_NE(asked().find("GETPIN\n"), std::string::npos);
    for (const char* answer :
         {"echo OK", "exit 1", "echo 'D 12'; exit 1", "echo 'D 1%'; echo OK", "echo 'D 1%ZZ'; echo OK"}) {
        pinentry(answer);
        EXPECT_EQ(acquireError(CRYPT_NEWKEYSET), SCARD_W_CANCELLED_BY_USER) << answer;
    }
    pinentry("echo 'D 99'; echo OK");
    EXPECT_EQ(acquireError(CRYPT_NEWKEYSET), SCARD_W_WRONG_CHV);
    pinentry("echo 'S PASSPHRASE_ENTRY'; echo 'D 1%323%34'; echo OK");
    EXPECT_EQ(acquireError(CRYPT_NEWKEYSET), 0u) << "%32 is 2";
}

TEST_F(nss_pin_test, ATokensNameGivesThePinentryNoCommands) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    constexpr char kLabel[] = "a%\nGETPIN\n\x7F";
    makeCard(kLabel);
    unsetenv("SSH_ASKPASS");
    setenv("PATH", (home_.path() + ":" + getenv("PATH")).c_str(), 1);
    home_.script("pinentry",
                 "echo OK\nwhile read -r line; do echo \"$line\" >> " + home_.file("asked") + "\necho ERR\ndone");
    EXPECT_EQ(acquireError(CRYPT_NEWKEYSET, kLabel), SCARD_W_CANCELLED_BY_USER);
    EXPECT_EQ(asked(), "SETDESC Enter the PIN of the token \"a%25%0AGETPIN%0A\x7F\".\nBYE\n");
}

TEST_F(nss_pin_test, DatabaseWithAPasswordAsksToo) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    const ToolResult made =
        tool("cd " + home_.path() + " && mkdir -p .pki/nssdb && echo geheim > pw && certutil -N -f pw -d " +
             home_.database());
    ASSERT_EQ(made.status, 0) << made.output;
    answerPrompt("echo geheim");
    makeKey("c", 1024);
    EXPECT_EQ(asked(), "Enter the PIN of the token \"NSS Certificate DB\".\n");
    EXPECT_NE(tool("certutil -K -f " + home_.file("pw") + " -d " + home_.database()).output.find("c\n"),
              std::string::npos);
}

TEST_F(nss_pin_test, TokenWithoutAPinIsNotReady) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    home_.file("softhsm.conf", "directories.tokendir = " + home_.path() + "/tokens\nobjectstore.backend = file\n");
    setenv("SOFTHSM2_CONF", home_.file("softhsm.conf").c_str(), 1);
    const ToolResult made =
        tool("cd " + home_.path() +
             " && mkdir -p tokens .pki/nssdb && pkcs11-tool --module " VT_SOFTHSM
             " --init-token --slot-index 0 --label card --so-pin 5678 && certutil -N --empty-password -d " +
             home_.database() + " && modutil -force -add softhsm -libfile " VT_SOFTHSM " -dbdir " + home_.database());
    ASSERT_EQ(made.status, 0) << made.output;
    answerPrompt("echo 1234");
    EXPECT_EQ(acquireError(CRYPT_NEWKEYSET), SCARD_E_NOT_READY);
    EXPECT_EQ(asked(), "");
}

TEST_F(nss_pin_test, EmptySlotIsNoProvider) {
    if (!support::inOwnProcess())
        return support::runInOwnProcess();
    home_.file("softhsm.conf", "directories.tokendir = " + home_.path() + "/tokens\nobjectstore.backend = file\n");
    setenv("SOFTHSM2_CONF", home_.file("softhsm.conf").c_str(), 1);
    const ToolResult made =
        tool("cd " + home_.path() + " && mkdir -p tokens .pki/nssdb && certutil -N --empty-password -d " +
             home_.database() + " && modutil -force -add softhsm -libfile " VT_SOFTHSM " -dbdir " + home_.database());
    ASSERT_EQ(made.status, 0) << made.output;
    DWORD type = 0;
    DWORD size = 0;
    EXPECT_TRUE(capi().CryptEnumProvidersA(0, nullptr, 0, &type, nullptr, &size));
    EXPECT_EQ(errorOf([&] { return capi().CryptEnumProvidersA(1, nullptr, 0, &type, nullptr, &size); }),
              ERROR_NO_MORE_ITEMS);
}
