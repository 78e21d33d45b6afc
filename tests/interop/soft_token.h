// A SoftHSM token of a test's own, in a scratch folder, and the programs that look at it from outside.
#ifndef VT_TESTS_INTEROP_SOFT_TOKEN_H
#define VT_TESTS_INTEROP_SOFT_TOKEN_H

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "crypto/codes.h"
#include "foundation/byte.h"
#include "tests/crypto/rsa_keys.h"
#include "tests/support/scratch_home.h"
#include "tests/support/tool.h"
#include "token/token.h"

namespace interop {

using support::Bytes;

inline constexpr char kPin[] = "1234";
inline constexpr char kLabel[] = "Signing card";

// Answers of SoftHSM, by their names in PKCS#11.
enum ModuleCode : int {
    CKR_GENERAL_ERROR = 0x05,
    CKR_ATTRIBUTE_READ_ONLY = 0x10,
    CKR_ATTRIBUTE_TYPE_INVALID = 0x12,
    CKR_ATTRIBUTE_VALUE_INVALID = 0x13,
    CKR_MECHANISM_INVALID = 0x70,
    CKR_PIN_INCORRECT = 0xA0,
    CKR_SIGNATURE_INVALID = 0xC0,
    CKR_SIGNATURE_LEN_RANGE = 0xC1,
    CKR_TEMPLATE_INCOMPLETE = 0xD0,
    CKR_USER_ALREADY_LOGGED_IN = 0x100,
    CKR_BUFFER_TOO_SMALL = 0x150,
    CKR_CRYPTOKI_NOT_INITIALIZED = 0x190
};

MiByte bytes(const Bytes& value);
MiByte bytes(const std::string& text);
Bytes bytesOf(const MiByte& value);
const unsigned char* text(const char* value);

// What createChooser takes for a token, and for software.
VT_P11_SELECTION tokenSelection();
VT_P11_SELECTION softwareSelection();

// A VT_P11_OP with its chooser, which goes with it.
class Op {
  public:
    explicit Op(VT_P11_SELECTION selection) : code_(op_.createChooser(&selection)) {}
    ~Op() { op_.destroyChooser(); }
    Op(const Op&) = delete;
    Op& operator=(const Op&) = delete;
    int code() const { return code_; }  // of createChooser
    VT_P11_OP* operator->() { return &op_; }

  private:
    VT_P11_OP op_;
    int code_;
};

// The value classes for one operation.
VT_P11_Alg algorithm(int type, const Bytes& iv = {}, int effectiveBits = 0);
VT_P11_Key labelled(int type, const char* label);
VT_P11_Key publicKey(const RsaKeyVector& vector);
VT_P11_Key privateKey(const RsaKeyVector& vector);
VT_P11_Key sessionKey(int type, const Bytes& key);

// A folder with the tokens of one SoftHSM.
class SoftTokens {
  public:
    // Makes the tokens of these labels, all with kPin.
    explicit SoftTokens(const std::vector<std::string>& labels);

    // use makes it the one that a SoftHSM which is initialised from now on reads.
    void use() const;

    const support::ScratchHome& home() const { return home_; }

  private:
    support::ScratchHome home_;
};

// One token of the label kLabel that is not loaded yet.
class SoftTokenTest : public testing::Test {
  protected:
    SoftTokenTest() : tokens_({kLabel}) {}
    ~SoftTokenTest() override;

    // load makes the token the current one.
    static void load(const char* module = VT_SOFTHSM) { ASSERT_EQ(TokenModuleLoad(module, kLabel, kPin), 0); }

    // pkcs11 runs pkcs11-tool on the token, logged in, and gives what it says.
    std::string pkcs11(const std::string& arguments) const;
    std::string openssl(const std::string& arguments) const;

    // The objects of the token, as pkcs11-tool lists them.
    std::string objects() const { return pkcs11("--list-objects"); }

    // write stores an object by pkcs11-tool: "privkey", "pubkey" or "cert".
    void write(const Bytes& der, const std::string& type, const std::string& label) const;
    // Both halves of a key, "<name> private" and "<name> public".
    void writeKeys(const RsaKeyVector& vector, const std::string& name) const;

    // Files of the scratch folder.
    std::string file(const std::string& name) const { return tokens_.home().file(name); }
    std::string file(const std::string& name, const Bytes& contents) const;
    std::string file(const std::string& name, const std::string& contents) const;
    Bytes readFile(const std::string& name) const;

    // The vector as files for openssl: "private.pem" and "public.pem".
    void writePem(const RsaKeyVector& vector) const;

  private:
    SoftTokens tokens_;
};

// Encodings of a key by hand.
Bytes privateKeyDer(const RsaKeyVector& vector);
Bytes publicKeyDer(const RsaKeyVector& vector);  // SubjectPublicKeyInfo

}  // namespace interop

#endif
