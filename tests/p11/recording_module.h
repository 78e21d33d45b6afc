// A PKCS#11 module for tests: a real shared library, 64-bit on Linux and 32-bit on Windows, that writes down each call
// with its arguments, holds tokens and objects that the test made, and fails any call with any code.
//
//     p11::RecordingModule module;                 // the files' one recorder; the module is loaded meanwhile
//     module.addToken("Signing card").pin = "1234";
//     module.addObject({p11::label("key"), p11::attribute(CKA_MODULUS, modulus)});
//     module.fail("C_Login", CKR_PIN_INCORRECT);       // each C_Login from now on; a third argument: the n-th only
//     EXPECT_EQ(TokenModuleLoad(module.path(), "Signing", "1234"), CKR_PIN_INCORRECT);
//     EXPECT_EQ(module.names().back(), "C_Login");
//     EXPECT_EQ(module.calls().back().input, p11::bytesOf("1234"));
//
// Everything happens in the test's own thread. Sessions, logins, finds and operations follow the standard, and a call
// out of order gets the standard's code. What it computes is made up (see answer), so that each byte can be told.
#ifndef VT_TESTS_P11_RECORDING_MODULE_H
#define VT_TESTS_P11_RECORDING_MODULE_H

#include <deque>
#include <functional>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "crypto/pkcs11.h"
#include "tests/support/hex.h"

// Codes that modules give, as the standard numbers them.
inline constexpr CK_RV CKR_HOST_MEMORY = 0x002;
inline constexpr CK_RV CKR_GENERAL_ERROR = 0x005;
inline constexpr CK_RV CKR_FUNCTION_FAILED = 0x006;
inline constexpr CK_RV CKR_ARGUMENTS_BAD = 0x007;
inline constexpr CK_RV CKR_ATTRIBUTE_TYPE_INVALID = 0x012;
inline constexpr CK_RV CKR_DEVICE_ERROR = 0x030;
inline constexpr CK_RV CKR_DEVICE_REMOVED = 0x032;
inline constexpr CK_RV CKR_FUNCTION_NOT_SUPPORTED = 0x054;
inline constexpr CK_RV CKR_KEY_HANDLE_INVALID = 0x060;
inline constexpr CK_RV CKR_OBJECT_HANDLE_INVALID = 0x082;
inline constexpr CK_RV CKR_OPERATION_NOT_INITIALIZED = 0x091;
inline constexpr CK_RV CKR_PIN_INCORRECT = 0x0A0;
inline constexpr CK_RV CKR_SESSION_HANDLE_INVALID = 0x0B3;
inline constexpr CK_RV CKR_SIGNATURE_INVALID = 0x0C0;
inline constexpr CK_RV CKR_SLOT_ID_INVALID = 0x003;
inline constexpr CK_RV CKR_TOKEN_NOT_PRESENT = 0x0E0;
inline constexpr CK_RV CKR_USER_ALREADY_LOGGED_IN = 0x100;
inline constexpr CK_RV CKR_USER_NOT_LOGGED_IN = 0x101;
inline constexpr CK_RV CKR_BUFFER_TOO_SMALL = 0x150;
inline constexpr CK_RV CKR_CRYPTOKI_NOT_INITIALIZED = 0x190;
inline constexpr CK_RV CKR_CRYPTOKI_ALREADY_INITIALIZED = 0x191;

namespace p11 {

using support::Bytes;

// The files. The last one loads, but has no C_GetFunctionList.
extern const char* const kFirstModule;
extern const char* const kSecondModule;
extern const char* const kModuleWithoutList;

inline Bytes bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}
inline Bytes bytesOf(CK_ULONG value) {
    const auto* first = reinterpret_cast<const std::uint8_t*>(&value);
    return {first, first + sizeof value};
}

// One entry of a template. hasValue is false where a null pointer was given (a query of the length); length is what was
// given as the length, also then.
struct Attribute {
    CK_ATTRIBUTE_TYPE type = 0;
    Bytes value;
    bool hasValue = true;
    CK_ULONG length = 0;
};
bool operator==(const Attribute& a, const Attribute& b);
std::ostream& operator<<(std::ostream& out, const Attribute& attribute);

Attribute attribute(CK_ATTRIBUTE_TYPE type, const Bytes& value);
inline Attribute number(CK_ATTRIBUTE_TYPE type, CK_ULONG value) {
    return attribute(type, bytesOf(value));
}
inline Attribute flag(CK_ATTRIBUTE_TYPE type, bool value) {
    return attribute(type, {static_cast<std::uint8_t>(value ? 1 : 0)});
}
inline Attribute label(const std::string& text) {
    return attribute(CKA_LABEL, bytesOf(text));
}
// A query of the length.
Attribute query(CK_ATTRIBUTE_TYPE type);

// One call; what a function does not have stays as it is here.
struct Call {
    std::string name;  // "C_Login"
    CK_RV result = 0;  // what the module returned
    CK_SLOT_ID slot = 0;
    CK_FLAGS flags = 0;  // C_OpenSession; C_Initialize: those of its arguments
    CK_SESSION_HANDLE session = 0;
    CK_USER_TYPE user = 0;
    CK_OBJECT_HANDLE object = 0;               // key or object that was given
    CK_MECHANISM_TYPE mechanism = 0;           // inits, C_GenerateKeyPair
    bool hasParameter = false;                 // the mechanism's parameter: whether there is one,
    CK_ULONG parameterLength = 0;              // its length as given,
    Bytes parameter;                           // and its bytes
    std::vector<Attribute> attributes;         // the template; C_GenerateKeyPair: the public one
    std::vector<Attribute> privateAttributes;  // C_GenerateKeyPair
    Bytes input;                               // data, part, seed, PIN
    Bytes signature;                           // C_Verify, C_VerifyFinal
    bool hasOutput = false;                    // whether there was an output, slot list or pointer for one
    CK_ULONG room = 0;                         // its length as given; C_FindObjects: the most; C_GenerateRandom: length
    bool tokenPresent = false;                 // C_GetSlotList
    bool allElseAbsent = true;  // C_Initialize: no mutex functions, nothing reserved; C_OpenSession: no application, no
                                // callback; C_Finalize: no argument
};

// A slot and its token.
struct Token {
    CK_SLOT_ID slot = 0;
    std::string label;  // up to 32 characters; the rest of the field is blanks
    std::string pin = "1234";
    bool isPresent = true;
    CK_ULONG maxSessions = 0;  // 0 is no limit
    CK_ULONG sessions = 0;     // what C_GetTokenInfo tells; not counted by the module
    CK_ULONG maxRwSessions = 0;
    CK_ULONG rwSessions = 0;
    bool isLoggedIn = false;
};

class RecordingModule {
  public:
    // Loads the file and records what it is called for; one object for each file at a time. The file stays loaded as
    // long as the object lives, so that what the code under test does to it does not unload it.
    explicit RecordingModule(const char* file = kFirstModule);
    ~RecordingModule();
    RecordingModule(const RecordingModule&) = delete;
    RecordingModule& operator=(const RecordingModule&) = delete;

    const char* path() const { return file_; }

    // addToken adds a slot with a token; the first has slot 7, and so on. The reference stays good.
    Token& addToken(const std::string& tokenLabel);
    std::deque<Token>& tokens() { return tokens_; }

    // addObject puts an object into every token of the module and gives its handle; the first is 100.
    CK_OBJECT_HANDLE addObject(std::vector<Attribute> attributes);
    std::map<CK_OBJECT_HANDLE, std::vector<Attribute>>& objects() { return objects_; }

    // fail makes calls of that name give the code and do nothing else: each from now on, or the occurrence-th from now
    // on (counted from 1) alone. failCall does so with the n-th call of any name. succeed ends all that.
    void fail(const std::string& name, CK_RV code, int occurrence = 0);
    void failCall(int n, CK_RV code);
    void succeed();

    // before runs something of the test's before the occurrence-th call of that name from now on: to take a token away,
    // to change an object.
    void before(const std::string& name, int occurrence, std::function<void()> action);

    // answer sets what a function gives as output, until it is set anew: C_Digest, C_DigestFinal (20 bytes D1 unless
    // set), C_Sign, C_SignFinal (128 bytes 51), C_GenerateKeyPair (the modulus: C3 ... C3). Of the ciphers, C_Encrypt,
    // C_Decrypt and their updates give the input with each byte xor A5, and their finals nothing. C_GenerateRandom
    // gives 01 02 03 and so on. C_Verify and C_VerifyFinal accept what C_Sign answers.
    void answer(const std::string& name, Bytes output);

    // claim makes the calls of that name from now on tell this number where they tell one (of slots, of output bytes),
    // as a broken module might, whatever they give and whatever the room. 0 ends it.
    void claim(const std::string& name, CK_ULONG count) { claims_[name] = count; }

    // initialise does what another user of the module in this process would do: C_Initialize then gives
    // CKR_CRYPTOKI_ALREADY_INITIALIZED.
    void initialise() { isInitialised_ = true; }

    // giveNoList makes C_GetFunctionList succeed without a list.
    void giveNoList() { givesList_ = false; }

    const std::vector<Call>& calls() const { return calls_; }
    std::vector<std::string> names() const;
    // The only call of that name; fails the test if there is another number of them.
    const Call& call(const std::string& name) const;
    std::size_t count(const std::string& name) const;
    void forgetCalls() { calls_.clear(); }

    bool isInitialised() const { return isInitialised_; }
    std::size_t openSessions() const { return sessions_.size(); }

  private:
    friend struct Functions;

    struct Session {
        CK_SLOT_ID slot = 0;
        bool isFinding = false;
        std::deque<CK_OBJECT_HANDLE> found;
        std::set<std::string> operations;  // "Sign", while one is going on
    };
    struct Failure {
        std::string name;  // empty for a call of any name
        int in;            // which call of the name from now on; 0 for each, negative once it is over
        CK_RV code;
        bool isDue();
    };
    struct Action {
        std::string name;
        int in;
        std::function<void()> run;
    };

    const char* file_;
    void* library_ = nullptr;
    void (*useRecorder_)(const CK_FUNCTION_LIST* list) = nullptr;  // of the file
    int index_ = 0;
    bool givesList_ = true;
    bool isInitialised_ = false;
    std::deque<Token> tokens_;
    std::map<CK_OBJECT_HANDLE, std::vector<Attribute>> objects_;
    CK_OBJECT_HANDLE nextObject_ = 100;
    std::map<CK_SESSION_HANDLE, Session> sessions_;
    CK_SESSION_HANDLE nextSession_ = 1;
    std::vector<Call> calls_;
    std::vector<Failure> failures_;
    std::vector<Action> actions_;
    std::map<std::string, Bytes> answers_;
    std::map<std::string, CK_ULONG> claims_;
};

}  // namespace p11

#endif
