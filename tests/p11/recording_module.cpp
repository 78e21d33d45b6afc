#include "tests/p11/recording_module.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "tests/p11/module.h"

#if defined(_WIN32)
#include <windows.h>
#undef CreateMutex  // a field of CK_C_INITIALIZE_ARGS
#else
#include <dlfcn.h>
#endif

namespace p11 {

const char* const kFirstModule = VT_P11_FIRST;
const char* const kSecondModule = VT_P11_SECOND;
const char* const kModuleWithoutList = VT_P11_NO_LIST;

namespace {

// The recorders of the two files, null while there is none.
std::array<RecordingModule*, 2> recorders = {};

Bytes copyOf(const void* bytes, CK_ULONG length) {
    const auto* first = static_cast<const std::uint8_t*>(bytes);
    return first == nullptr ? Bytes() : Bytes(first, first + length);
}

std::vector<Attribute> copyOf(const ATTRIBUTE* attributes, CK_ULONG count) {
    std::vector<Attribute> copies;
    for (CK_ULONG i = 0; attributes != nullptr && i < count; ++i) {
        const ATTRIBUTE& one = attributes[i];
        copies.push_back({one.type, copyOf(one.value, one.valueLength), one.value != nullptr, one.valueLength});
    }
    return copies;
}

const Attribute* find(const std::vector<Attribute>& attributes, CK_ATTRIBUTE_TYPE type) {
    const auto found =
        std::find_if(attributes.begin(), attributes.end(), [&](const Attribute& one) { return one.type == type; });
    return found != attributes.end() ? &*found : nullptr;
}

bool hasAll(const std::vector<Attribute>& object, const std::vector<Attribute>& wanted) {
    return std::all_of(wanted.begin(), wanted.end(), [&](const Attribute& one) {
        const Attribute* own = find(object, one.type);
        return own != nullptr && own->value == one.value;
    });
}

Bytes masked(Bytes bytes) {
    for (std::uint8_t& byte : bytes)
        byte ^= 0xA5;
    return bytes;
}

// Gives bytes where a length is told with the output: the size alone without an output, and with too little room.
CK_RV give(const Bytes& bytes, CK_BYTE* output, CK_ULONG* length) {
    const CK_ULONG room = *length;
    *length = static_cast<CK_ULONG>(bytes.size());
    if (output == nullptr)
        return CKR_OK;
    if (room < bytes.size())
        return CKR_BUFFER_TOO_SMALL;
    std::copy(bytes.begin(), bytes.end(), output);
    return CKR_OK;
}

CK_RV readAttribute(const std::vector<Attribute>& object, ATTRIBUTE& wanted) {
    constexpr CK_ULONG kUnavailable = ~CK_ULONG{0};
    const Attribute* own = find(object, wanted.type);
    if (own == nullptr) {
        wanted.valueLength = kUnavailable;
        return CKR_ATTRIBUTE_TYPE_INVALID;
    }
    CK_ULONG length = wanted.valueLength;
    const CK_RV result = give(own->value, static_cast<CK_BYTE*>(wanted.value), &length);
    wanted.valueLength = result == CKR_OK ? length : kUnavailable;
    return result;
}

void setMechanism(Call& call, const MECHANISM* mechanism) {
    if (mechanism == nullptr)
        return;
    call.mechanism = mechanism->code;
    call.hasParameter = mechanism->parameter != nullptr;
    call.parameterLength = mechanism->parameterLength;
    call.parameter = copyOf(mechanism->parameter, mechanism->parameterLength);
}

}  // namespace

// What the functions do, on the recorder of their file.
struct Functions {
    using Session = RecordingModule::Session;

    // Writes the call down, does what was asked for before it, and runs the body unless the call is to fail.
    template <class Body>
    static CK_RV record(RecordingModule& module, Call call, Body&& body) {
        const std::size_t place = module.calls_.size();
        module.calls_.push_back(std::move(call));
        const std::string name = module.calls_[place].name;
        const CK_RV code = before(module, name);
        const CK_RV result = code != CKR_OK ? code : body();
        module.calls_[place].result = result;
        return result;
    }

    // Runs the body, which tells a number through count, and puts the claimed one in its place.
    template <class Body>
    static CK_RV tell(RecordingModule& module, const std::string& name, CK_ULONG* count, Body&& body) {
        const CK_RV result = body();
        const CK_ULONG claimed = module.claims_[name];
        if (result == CKR_OK && claimed != 0)
            *count = claimed;
        return result;
    }

    static CK_RV before(RecordingModule& module, const std::string& name) {
        std::vector<RecordingModule::Action> due;
        for (RecordingModule::Action& action : module.actions_) {
            if (action.name == name && action.in > 0 && --action.in == 0)
                due.push_back(action);
        }
        for (const RecordingModule::Action& action : due)
            action.run();
        CK_RV code = CKR_OK;
        for (RecordingModule::Failure& failure : module.failures_) {
            const bool concerns = failure.name.empty() || failure.name == name;
            if (concerns && failure.isDue() && code == CKR_OK)
                code = failure.code;
        }
        return code;
    }

    // record, for functions that need the module initialised and the session open.
    template <class Body>
    static CK_RV inSession(RecordingModule& module, Call call, Body&& body) {
        const CK_SESSION_HANDLE handle = call.session;
        return record(module, std::move(call), [&]() -> CK_RV {
            if (!module.isInitialised_)
                return CKR_CRYPTOKI_NOT_INITIALIZED;
            const auto session = module.sessions_.find(handle);
            return session != module.sessions_.end() ? body(session->second) : CKR_SESSION_HANDLE_INVALID;
        });
    }

    static Token* tokenOf(RecordingModule& module, CK_SLOT_ID slot) {
        for (Token& token : module.tokens_) {
            if (token.slot == slot)
                return &token;
        }
        return nullptr;
    }

    static Call named(const char* name, CK_SESSION_HANDLE session = 0) {
        Call call;
        call.name = name;
        call.session = session;
        return call;
    }

    static CK_RV C_Initialize(RecordingModule& module, void* arguments) {
        Call call = named("C_Initialize");
        if (const auto* given = static_cast<const CK_C_INITIALIZE_ARGS*>(arguments)) {
            call.flags = given->flags;
            call.allElseAbsent = given->CreateMutex == nullptr && given->DestroyMutex == nullptr &&
                                 given->LockMutex == nullptr && given->UnlockMutex == nullptr &&
                                 given->pReserved == nullptr;
        }
        return record(module, std::move(call), [&]() -> CK_RV {
            if (module.isInitialised_)
                return CKR_CRYPTOKI_ALREADY_INITIALIZED;
            module.isInitialised_ = true;
            return CKR_OK;
        });
    }

    static CK_RV C_Finalize(RecordingModule& module, void* reserved) {
        Call call = named("C_Finalize");
        call.allElseAbsent = reserved == nullptr;
        return record(module, std::move(call), [&]() -> CK_RV {
            if (!module.isInitialised_)
                return CKR_CRYPTOKI_NOT_INITIALIZED;
            module.isInitialised_ = false;
            module.sessions_.clear();
            for (Token& token : module.tokens_)
                token.isLoggedIn = false;
            return CKR_OK;
        });
    }

    // The file has a list of its own, which it gives if it finds one here.
    static CK_RV C_GetFunctionList(RecordingModule& module, CK_FUNCTION_LIST** list) {
        return record(module, named("C_GetFunctionList"), [&]() -> CK_RV {
            static CK_FUNCTION_LIST some = {};
            *list = module.givesList_ ? &some : nullptr;
            return CKR_OK;
        });
    }

    static CK_RV C_GetSlotList(RecordingModule& module, CK_BBOOL tokenPresent, CK_SLOT_ID* list, CK_ULONG* count) {
        Call call = named("C_GetSlotList");
        call.tokenPresent = tokenPresent != CK_FALSE;
        call.hasOutput = list != nullptr;
        call.room = *count;
        return record(module, std::move(call), [&]() -> CK_RV {
            if (!module.isInitialised_)
                return CKR_CRYPTOKI_NOT_INITIALIZED;
            std::vector<CK_SLOT_ID> slots;
            for (const Token& token : module.tokens_) {
                if (token.isPresent || tokenPresent == CK_FALSE)
                    slots.push_back(token.slot);
            }
            return tell(module, "C_GetSlotList", count, [&]() -> CK_RV {
                const CK_ULONG room = *count;
                *count = static_cast<CK_ULONG>(slots.size());
                if (list == nullptr)
                    return CKR_OK;
                if (room < slots.size())
                    return CKR_BUFFER_TOO_SMALL;
                std::copy(slots.begin(), slots.end(), list);
                return CKR_OK;
            });
        });
    }

    static CK_RV C_GetTokenInfo(RecordingModule& module, CK_SLOT_ID slot, CK_TOKEN_INFO* info) {
        Call call = named("C_GetTokenInfo");
        call.slot = slot;
        return record(module, std::move(call), [&]() -> CK_RV {
            const Token* token = tokenOf(module, slot);
            if (token == nullptr)
                return CKR_SLOT_ID_INVALID;
            if (!token->isPresent)
                return CKR_TOKEN_NOT_PRESENT;
            *info = {};
            std::memset(info->label, ' ', sizeof info->label);
            std::memcpy(info->label, token->label.data(), std::min(token->label.size(), sizeof info->label));
            info->ulMaxSessionCount = token->maxSessions;
            info->ulSessionCount = token->sessions;
            info->ulMaxRwSessionCount = token->maxRwSessions;
            info->ulRwSessionCount = token->rwSessions;
            return CKR_OK;
        });
    }

    static CK_RV C_OpenSession(RecordingModule& module, CK_SLOT_ID slot, CK_FLAGS flags, void* application,
                               CK_NOTIFY notify, CK_SESSION_HANDLE* session) {
        Call call = named("C_OpenSession");
        call.slot = slot;
        call.flags = flags;
        call.allElseAbsent = application == nullptr && notify == nullptr;
        return record(module, std::move(call), [&]() -> CK_RV {
            if (!module.isInitialised_)
                return CKR_CRYPTOKI_NOT_INITIALIZED;
            const Token* token = tokenOf(module, slot);
            if (token == nullptr || !token->isPresent)
                return token == nullptr ? CKR_SLOT_ID_INVALID : CKR_TOKEN_NOT_PRESENT;
            *session = module.nextSession_++;
            module.sessions_[*session].slot = slot;
            return CKR_OK;
        });
    }

    static CK_RV C_CloseSession(RecordingModule& module, CK_SESSION_HANDLE session) {
        return inSession(module, named("C_CloseSession", session), [&](Session&) -> CK_RV {
            module.sessions_.erase(session);
            return CKR_OK;
        });
    }

    static CK_RV C_Login(RecordingModule& module, CK_SESSION_HANDLE session, CK_USER_TYPE user, CK_BYTE* pin,
                         CK_ULONG pinLength) {
        Call call = named("C_Login", session);
        call.user = user;
        call.input = copyOf(pin, pinLength);
        return inSession(module, std::move(call), [&](Session& open) -> CK_RV {
            Token* token = tokenOf(module, open.slot);
            if (token->isLoggedIn)
                return CKR_USER_ALREADY_LOGGED_IN;
            if (copyOf(pin, pinLength) != bytesOf(token->pin))
                return CKR_PIN_INCORRECT;
            token->isLoggedIn = true;
            return CKR_OK;
        });
    }

    static CK_RV C_Logout(RecordingModule& module, CK_SESSION_HANDLE session) {
        return inSession(module, named("C_Logout", session), [&](Session& open) -> CK_RV {
            Token* token = tokenOf(module, open.slot);
            if (!token->isLoggedIn)
                return CKR_USER_NOT_LOGGED_IN;
            token->isLoggedIn = false;
            return CKR_OK;
        });
    }

    static CK_RV C_CreateObject(RecordingModule& module, CK_SESSION_HANDLE session, ATTRIBUTE* attributes,
                                CK_ULONG count, CK_OBJECT_HANDLE* object) {
        Call call = named("C_CreateObject", session);
        call.attributes = copyOf(attributes, count);
        return inSession(module, std::move(call), [&](Session&) -> CK_RV {
            *object = module.addObject(copyOf(attributes, count));
            return CKR_OK;
        });
    }

    static CK_RV C_DestroyObject(RecordingModule& module, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object) {
        Call call = named("C_DestroyObject", session);
        call.object = object;
        return inSession(module, std::move(call), [&](Session&) -> CK_RV {
            return module.objects_.erase(object) == 1 ? CKR_OK : CKR_OBJECT_HANDLE_INVALID;
        });
    }

    static CK_RV C_GetAttributeValue(RecordingModule& module, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                                     ATTRIBUTE* attributes, CK_ULONG count) {
        Call call = named("C_GetAttributeValue", session);
        call.object = object;
        for (CK_ULONG i = 0; i < count; ++i)  // the values are room to be filled
            call.attributes.push_back({attributes[i].type,
                                       {},
                                       attributes[i].value != nullptr,
                                       attributes[i].value != nullptr ? attributes[i].valueLength : 0});
        return inSession(module, std::move(call), [&](Session&) -> CK_RV {
            const auto found = module.objects_.find(object);
            if (found == module.objects_.end())
                return CKR_OBJECT_HANDLE_INVALID;
            CK_RV result = CKR_OK;
            for (CK_ULONG i = 0; i < count; ++i) {
                const CK_RV one = readAttribute(found->second, attributes[i]);
                result = one != CKR_OK ? one : result;
            }
            return result;
        });
    }

    static CK_RV C_FindObjectsInit(RecordingModule& module, CK_SESSION_HANDLE session, ATTRIBUTE* attributes,
                                   CK_ULONG count) {
        Call call = named("C_FindObjectsInit", session);
        call.attributes = copyOf(attributes, count);
        return inSession(module, std::move(call), [&](Session& open) -> CK_RV {
            if (open.isFinding)
                return kOperationActive;
            open.isFinding = true;
            open.found.clear();
            for (const auto& [handle, object] : module.objects_) {
                if (hasAll(object, copyOf(attributes, count)))
                    open.found.push_back(handle);
            }
            return CKR_OK;
        });
    }

    static CK_RV C_FindObjects(RecordingModule& module, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* objects,
                               CK_ULONG room, CK_ULONG* count) {
        Call call = named("C_FindObjects", session);
        call.room = room;
        return inSession(module, std::move(call), [&](Session& open) -> CK_RV {
            if (!open.isFinding)
                return CKR_OPERATION_NOT_INITIALIZED;
            for (*count = 0; *count < room && !open.found.empty(); ++*count) {
                objects[*count] = open.found.front();
                open.found.pop_front();
            }
            return CKR_OK;
        });
    }

    static CK_RV C_FindObjectsFinal(RecordingModule& module, CK_SESSION_HANDLE session) {
        return inSession(module, named("C_FindObjectsFinal", session), [&](Session& open) -> CK_RV {
            if (!open.isFinding)
                return CKR_OPERATION_NOT_INITIALIZED;
            open.isFinding = false;
            return CKR_OK;
        });
    }

    static constexpr CK_RV kOperationActive = 0x090;

    static CK_RV start(Session& open, const std::string& operation) {
        return open.operations.insert(operation).second ? CKR_OK : kOperationActive;
    }

    static CK_RV keyedInit(RecordingModule& module, const char* name, const char* operation, CK_SESSION_HANDLE session,
                           MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
        Call call = named(name, session);
        call.object = key;
        setMechanism(call, mechanism);
        return inSession(module, std::move(call), [&](Session& open) -> CK_RV {
            return module.objects_.count(key) == 1 ? start(open, operation) : CKR_KEY_HANDLE_INVALID;
        });
    }

    // A step of an operation that gives output; ends says whether the operation is over once the output was given.
    static CK_RV emit(RecordingModule& module, Call call, const char* operation, const Bytes& bytes, bool ends,
                      CK_BYTE* output, CK_ULONG* length) {
        call.hasOutput = output != nullptr;
        call.room = *length;
        const std::string name = call.name;
        return inSession(module, std::move(call), [&](Session& open) -> CK_RV {
            if (open.operations.count(operation) == 0)
                return CKR_OPERATION_NOT_INITIALIZED;
            const CK_RV result = tell(module, name, length, [&] { return give(bytes, output, length); });
            if (ends && output != nullptr && result == CKR_OK)
                open.operations.erase(operation);
            return result;
        });
    }

    static CK_RV transform(RecordingModule& module, const char* name, const char* operation, bool ends,
                           CK_SESSION_HANDLE session, CK_BYTE* input, CK_ULONG inputLength, CK_BYTE* output,
                           CK_ULONG* length) {
        Call call = named(name, session);
        call.input = copyOf(input, inputLength);
        const auto answer = module.answers_.find(name);
        const Bytes bytes = answer != module.answers_.end() ? answer->second : masked(call.input);
        return emit(module, std::move(call), operation, bytes, ends, output, length);
    }

    static CK_RV finish(RecordingModule& module, const char* name, const char* operation, CK_SESSION_HANDLE session,
                        CK_BYTE* output, CK_ULONG* length) {
        return emit(module, named(name, session), operation, module.answers_[name], true, output, length);
    }

    static CK_RV absorb(RecordingModule& module, const char* name, const char* operation, CK_SESSION_HANDLE session,
                        CK_BYTE* part, CK_ULONG length) {
        Call call = named(name, session);
        call.input = copyOf(part, length);
        return inSession(module, std::move(call), [&](Session& open) -> CK_RV {
            return open.operations.count(operation) == 1 ? CKR_OK : CKR_OPERATION_NOT_INITIALIZED;
        });
    }

    static CK_RV check(RecordingModule& module, Call call, const Bytes& signature) {
        call.signature = signature;
        return inSession(module, std::move(call), [&](Session& open) -> CK_RV {
            if (open.operations.erase("Verify") == 0)
                return CKR_OPERATION_NOT_INITIALIZED;
            return signature == module.answers_["C_Sign"] ? CKR_OK : CKR_SIGNATURE_INVALID;
        });
    }

    static CK_RV C_EncryptInit(RecordingModule& module, CK_SESSION_HANDLE session, MECHANISM* mechanism,
                               CK_OBJECT_HANDLE key) {
        return keyedInit(module, "C_EncryptInit", "Encrypt", session, mechanism, key);
    }
    static CK_RV C_Encrypt(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* input, CK_ULONG inputLength,
                           CK_BYTE* output, CK_ULONG* length) {
        return transform(module, "C_Encrypt", "Encrypt", true, session, input, inputLength, output, length);
    }
    static CK_RV C_EncryptUpdate(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* input,
                                 CK_ULONG inputLength, CK_BYTE* output, CK_ULONG* length) {
        return transform(module, "C_EncryptUpdate", "Encrypt", false, session, input, inputLength, output, length);
    }
    static CK_RV C_EncryptFinal(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* output, CK_ULONG* length) {
        return finish(module, "C_EncryptFinal", "Encrypt", session, output, length);
    }
    static CK_RV C_DecryptInit(RecordingModule& module, CK_SESSION_HANDLE session, MECHANISM* mechanism,
                               CK_OBJECT_HANDLE key) {
        return keyedInit(module, "C_DecryptInit", "Decrypt", session, mechanism, key);
    }
    static CK_RV C_Decrypt(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* input, CK_ULONG inputLength,
                           CK_BYTE* output, CK_ULONG* length) {
        return transform(module, "C_Decrypt", "Decrypt", true, session, input, inputLength, output, length);
    }
    static CK_RV C_DecryptUpdate(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* input,
                                 CK_ULONG inputLength, CK_BYTE* output, CK_ULONG* length) {
        return transform(module, "C_DecryptUpdate", "Decrypt", false, session, input, inputLength, output, length);
    }
    static CK_RV C_DecryptFinal(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* output, CK_ULONG* length) {
        return finish(module, "C_DecryptFinal", "Decrypt", session, output, length);
    }

    static CK_RV C_DigestInit(RecordingModule& module, CK_SESSION_HANDLE session, MECHANISM* mechanism) {
        Call call = named("C_DigestInit", session);
        setMechanism(call, mechanism);
        return inSession(module, std::move(call), [&](Session& open) { return start(open, "Digest"); });
    }
    static CK_RV C_Digest(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* input, CK_ULONG inputLength,
                          CK_BYTE* output, CK_ULONG* length) {
        return transform(module, "C_Digest", "Digest", true, session, input, inputLength, output, length);
    }
    static CK_RV C_DigestUpdate(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* part, CK_ULONG length) {
        return absorb(module, "C_DigestUpdate", "Digest", session, part, length);
    }
    static CK_RV C_DigestFinal(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* output, CK_ULONG* length) {
        return finish(module, "C_DigestFinal", "Digest", session, output, length);
    }

    static CK_RV C_SignInit(RecordingModule& module, CK_SESSION_HANDLE session, MECHANISM* mechanism,
                            CK_OBJECT_HANDLE key) {
        return keyedInit(module, "C_SignInit", "Sign", session, mechanism, key);
    }
    static CK_RV C_Sign(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* input, CK_ULONG inputLength,
                        CK_BYTE* output, CK_ULONG* length) {
        return transform(module, "C_Sign", "Sign", true, session, input, inputLength, output, length);
    }
    static CK_RV C_SignUpdate(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* part, CK_ULONG length) {
        return absorb(module, "C_SignUpdate", "Sign", session, part, length);
    }
    static CK_RV C_SignFinal(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* output, CK_ULONG* length) {
        return finish(module, "C_SignFinal", "Sign", session, output, length);
    }

    static CK_RV C_VerifyInit(RecordingModule& module, CK_SESSION_HANDLE session, MECHANISM* mechanism,
                              CK_OBJECT_HANDLE key) {
        return keyedInit(module, "C_VerifyInit", "Verify", session, mechanism, key);
    }
    static CK_RV C_Verify(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLength,
                          CK_BYTE* signature, CK_ULONG signatureLength) {
        Call call = named("C_Verify", session);
        call.input = copyOf(data, dataLength);
        return check(module, std::move(call), copyOf(signature, signatureLength));
    }
    static CK_RV C_VerifyUpdate(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* part, CK_ULONG length) {
        return absorb(module, "C_VerifyUpdate", "Verify", session, part, length);
    }
    static CK_RV C_VerifyFinal(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* signature,
                               CK_ULONG length) {
        return check(module, named("C_VerifyFinal", session), copyOf(signature, length));
    }

    static CK_RV C_GenerateKeyPair(RecordingModule& module, CK_SESSION_HANDLE session, MECHANISM* mechanism,
                                   ATTRIBUTE* publicAttributes, CK_ULONG publicCount, ATTRIBUTE* privateAttributes,
                                   CK_ULONG privateCount, CK_OBJECT_HANDLE* publicKey, CK_OBJECT_HANDLE* privateKey) {
        Call call = named("C_GenerateKeyPair", session);
        setMechanism(call, mechanism);
        call.attributes = copyOf(publicAttributes, publicCount);
        call.privateAttributes = copyOf(privateAttributes, privateCount);
        return inSession(module, std::move(call), [&](Session&) -> CK_RV {
            std::vector<Attribute> made = copyOf(publicAttributes, publicCount);
            made.push_back(attribute(CKA_MODULUS, modulusFor(module, made)));
            *publicKey = module.addObject(std::move(made));
            *privateKey = module.addObject(copyOf(privateAttributes, privateCount));
            return CKR_OK;
        });
    }

    static Bytes modulusFor(RecordingModule& module, const std::vector<Attribute>& publicKey) {
        const Bytes& set = module.answers_["C_GenerateKeyPair"];
        const Attribute* bits = find(publicKey, CKA_MODULUS_BITS);
        if (!set.empty() || bits == nullptr || bits->value.size() != sizeof(CK_ULONG))
            return set;
        CK_ULONG count = 0;
        std::memcpy(&count, bits->value.data(), sizeof count);
        Bytes modulus(count / 8, 0xC3);
        return modulus;
    }

    static CK_RV C_SeedRandom(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* seed, CK_ULONG length) {
        Call call = named("C_SeedRandom", session);
        call.input = copyOf(seed, length);
        return inSession(module, std::move(call), [](Session&) { return CKR_OK; });
    }

    static CK_RV C_GenerateRandom(RecordingModule& module, CK_SESSION_HANDLE session, CK_BYTE* output,
                                  CK_ULONG length) {
        Call call = named("C_GenerateRandom", session);
        call.hasOutput = output != nullptr;
        call.room = length;
        return inSession(module, std::move(call), [&](Session&) -> CK_RV {
            for (CK_ULONG i = 0; i < length; ++i)
                output[i] = static_cast<CK_BYTE>(i + 1);
            return CKR_OK;
        });
    }
};

namespace {

// The function of a place in the list that calls Method on the recorder of one file.
template <int index, auto Method>
struct Bound;

template <int index, class... Arguments, CK_RV (*Method)(RecordingModule&, Arguments...)>
struct Bound<index, Method> {
    static CK_RV call(Arguments... arguments) { return Method(*recorders[index], arguments...); }
};

// Functions that are not in Functions: recorded by nobody, as nothing should call them.
CK_RV unsupported() {
    ADD_FAILURE() << "a PKCS#11 function that this program has no use for was called";
    return CKR_FUNCTION_NOT_SUPPORTED;
}

template <int index>
const CK_FUNCTION_LIST* listOf() {
    static const CK_FUNCTION_LIST made = [] {
        CK_FUNCTION_LIST list = {};
        list.C_GetInfo = list.C_GetSlotInfo = list.C_GetMechanismList = list.C_GetMechanismInfo = unsupported;
        list.C_InitToken = list.C_InitPIN = list.C_SetPIN = list.C_CloseAllSessions = unsupported;
        list.C_GetSessionInfo = list.C_GetOperationState = list.C_SetOperationState = unsupported;
        list.C_CopyObject = list.C_GetObjectSize = list.C_SetAttributeValue = list.C_DigestKey = unsupported;
        list.C_SignRecoverInit = list.C_SignRecover = unsupported;
        list.C_VerifyRecoverInit = list.C_VerifyRecover = unsupported;
        list.C_DigestEncryptUpdate = list.C_DecryptDigestUpdate = unsupported;
        list.C_SignEncryptUpdate = list.C_DecryptVerifyUpdate = list.C_GenerateKey = unsupported;
        list.C_WrapKey = list.C_UnwrapKey = list.C_DeriveKey = unsupported;
        list.C_GetFunctionStatus = list.C_CancelFunction = list.C_WaitForSlotEvent = unsupported;
#define VT_BIND(name) list.name = Bound<index, Functions::name>::call;
        VT_BIND(C_Initialize)
        VT_BIND(C_Finalize)
        VT_BIND(C_GetFunctionList)
        VT_BIND(C_GetSlotList)
        VT_BIND(C_GetTokenInfo)
        VT_BIND(C_OpenSession)
        VT_BIND(C_CloseSession)
        VT_BIND(C_Login)
        VT_BIND(C_Logout)
        VT_BIND(C_CreateObject)
        VT_BIND(C_DestroyObject)
        VT_BIND(C_GetAttributeValue)
        VT_BIND(C_FindObjectsInit)
        VT_BIND(C_FindObjects)
        VT_BIND(C_FindObjectsFinal)
        VT_BIND(C_EncryptInit)
        VT_BIND(C_Encrypt)
        VT_BIND(C_EncryptUpdate)
        VT_BIND(C_EncryptFinal)
        VT_BIND(C_DecryptInit)
        VT_BIND(C_Decrypt)
        VT_BIND(C_DecryptUpdate)
        VT_BIND(C_DecryptFinal)
        VT_BIND(C_DigestInit)
        VT_BIND(C_Digest)
        VT_BIND(C_DigestUpdate)
        VT_BIND(C_DigestFinal)
        VT_BIND(C_SignInit)
        VT_BIND(C_Sign)
        VT_BIND(C_SignUpdate)
        VT_BIND(C_SignFinal)
        VT_BIND(C_VerifyInit)
        VT_BIND(C_Verify)
        VT_BIND(C_VerifyUpdate)
        VT_BIND(C_VerifyFinal)
        VT_BIND(C_GenerateKeyPair)
        VT_BIND(C_SeedRandom)
        VT_BIND(C_GenerateRandom)
#undef VT_BIND
        return list;
    }();
    return &made;
}

// The file by the system's own calls: those of the platform tables are for the library under test, and may be replaced.
#if defined(_WIN32)
void* loadFile(const char* file) {
    return LoadLibraryA(file);
}
void* findFunction(void* library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}
void unloadFile(void* library) {
    FreeLibrary(static_cast<HMODULE>(library));
}
#else
void* loadFile(const char* file) {
    return dlopen(file, RTLD_NOW | RTLD_LOCAL);
}
void* findFunction(void* library, const char* name) {
    return dlsym(library, name);
}
void unloadFile(void* library) {
    dlclose(library);
}
#endif

}  // namespace

bool operator==(const Attribute& a, const Attribute& b) {
    return a.type == b.type && a.value == b.value && a.hasValue == b.hasValue && a.length == b.length;
}

std::ostream& operator<<(std::ostream& out, const Attribute& attribute) {
    out << "0x" << std::hex << attribute.type << std::dec << " (" << attribute.length << ") ";
    return out << (attribute.hasValue ? support::toHex(attribute.value) : "absent");
}

Attribute attribute(CK_ATTRIBUTE_TYPE type, const Bytes& value) {
    return {type, value, true, static_cast<CK_ULONG>(value.size())};
}

Attribute query(CK_ATTRIBUTE_TYPE type) {
    return {type, {}, false, 0};
}

bool RecordingModule::Failure::isDue() {
    constexpr int kOver = -1;
    if (in <= 0)
        return in == 0;
    in = in == 1 ? kOver : in - 1;
    return in == kOver;
}

RecordingModule::RecordingModule(const char* file) : file_(file), index_(file == kSecondModule ? 1 : 0) {
    if (recorders[static_cast<std::size_t>(index_)] != nullptr)
        throw std::runtime_error("this file has a recorder already");
    library_ = loadFile(file);
    if (library_ == nullptr)
        throw std::runtime_error(std::string("cannot load ") + file);
    useRecorder_ = reinterpret_cast<UseRecorder>(findFunction(library_, kUseRecorder));
    if (useRecorder_ == nullptr)
        throw std::runtime_error("this is not the recording PKCS#11 module");
    useRecorder_(index_ == 0 ? listOf<0>() : listOf<1>());
    recorders[static_cast<std::size_t>(index_)] = this;
    answers_["C_Digest"] = answers_["C_DigestFinal"] = Bytes(20, 0xD1);
    answers_["C_Sign"] = answers_["C_SignFinal"] = Bytes(128, 0x51);
}

RecordingModule::~RecordingModule() {
    useRecorder_(nullptr);
    recorders[static_cast<std::size_t>(index_)] = nullptr;
    unloadFile(library_);
}

Token& RecordingModule::addToken(const std::string& tokenLabel) {
    Token token;
    token.slot = static_cast<CK_SLOT_ID>(7 + tokens_.size());
    token.label = tokenLabel;
    tokens_.push_back(token);
    return tokens_.back();
}

CK_OBJECT_HANDLE RecordingModule::addObject(std::vector<Attribute> attributes) {
    objects_[nextObject_] = std::move(attributes);
    return nextObject_++;
}

void RecordingModule::fail(const std::string& name, CK_RV code, int occurrence) {
    failures_.push_back({name, occurrence, code});
}

void RecordingModule::failCall(int n, CK_RV code) {
    failures_.push_back({"", n, code});
}

void RecordingModule::succeed() {
    failures_.clear();
}

void RecordingModule::before(const std::string& name, int occurrence, std::function<void()> action) {
    actions_.push_back({name, occurrence, std::move(action)});
}

void RecordingModule::answer(const std::string& name, Bytes output) {
    answers_[name] = std::move(output);
}

std::vector<std::string> RecordingModule::names() const {
    std::vector<std::string> all;
    for (const Call& one : calls_)
        all.push_back(one.name);
    return all;
}

std::size_t RecordingModule::count(const std::string& name) const {
    return static_cast<std::size_t>(
        std::count_if(calls_.begin(), calls_.end(), [&](const Call& one) { return one.name == name; }));
}

const Call& RecordingModule::call(const std::string& name) const {
    static const Call kNone = {};
    EXPECT_EQ(count(name), 1u) << name;
    const auto found = std::find_if(calls_.begin(), calls_.end(), [&](const Call& one) { return one.name == name; });
    return found != calls_.end() ? *found : kNone;
}

}  // namespace p11
