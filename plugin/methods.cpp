// The methods of the script object. Each checks its arguments in a fixed order, calls one operation of enrol and gives
// the page a text or a code.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

#include "enrol/enrol.h"
#include "platform/platform.h"
#include "plugin/entry.h"
#include "plugin/instance.h"
#include "plugin/scriptable.h"

namespace plugin {

using platform::sys;

namespace {

constexpr char kVersion[] = "1.0.14.1";
constexpr std::int32_t kAllowedKeyBits[] = {512, 1024, 2048, 4096};

// A string argument: bytes with a length, not terminated, perhaps with NULs in it.
struct Text {
    const char* data = nullptr;
    std::uint32_t length = 0;
    bool empty() const { return data == nullptr || length == 0; }
};

bool readText(const NPVariant& variant, Text& text) {
    if (variant.type != NPVariantType_String)
        return false;
    text = {variant.value.stringValue.UTF8Characters, variant.value.stringValue.UTF8Length};
    return true;
}

// A null args is an error also where no argument is asked for.
bool hasArguments(const NPVariant* args, std::uint32_t argCount, std::uint32_t wanted) {
    return args != nullptr && argCount == wanted;
}

bool readOneInteger(const NPVariant* args, std::uint32_t argCount, std::int32_t& integer) {
    return hasArguments(args, argCount, 1) && readInteger(args[0], integer);
}

bool readOneText(const NPVariant* args, std::uint32_t argCount, Text& text) {
    return hasArguments(args, argCount, 1) && readText(args[0], text);
}

bool readTwoTexts(const NPVariant* args, std::uint32_t argCount, Text& first, Text& second) {
    return hasArguments(args, argCount, 2) && readText(args[0], first) && readText(args[1], second);
}

// Results. Every method that got its arguments answers true.

bool giveInteger(std::int32_t integer, NPVariant* result) {
    result->type = NPVariantType_Int32;
    result->value.intValue = integer;
    return true;
}

bool giveCode(std::int32_t code, NPVariant* result) {
    enrol::sLastError = code;
    return giveInteger(code, result);
}

bool giveEmptyText(NPVariant* result) {
    giveText("", 0, result);
    return true;
}

bool failRequest(std::int32_t code, NPVariant* result) {
    enrol::sLastError = code;
    return giveEmptyText(result);
}

bool refuse(NPVariant* result) {
    return giveInteger(enrol::kRefusedInPluginContainer, result);
}

// Text

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The first count characters are equal, case aside, or both texts end before that. text needs count readable bytes.
bool equalsIgnoringCase(const char* text, const char* literal, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (lower(text[i]) != lower(literal[i]))
            return false;
        if (literal[i] == '\0')
            return true;
    }
    return true;
}

// The length is the page's own, so that any beginning of the name will do: pages write "M" and "s" for the digests.
bool isBeginningOf(const char* name, const Text& text) {
    return equalsIgnoringCase(text.data, name, text.length);
}

bool isSerialCharacter(char c) {
    return (c >= '0' && c <= '9') || (lower(c) >= 'a' && lower(c) <= 'f') || c == ' ';
}

bool isSerial(const Text& text) {
    return std::all_of(text.data, text.data + text.length, isSerialCharacter);
}

// A terminated copy from NPN_MemAlloc; null when there is no memory.
char* copyFromHost(const char* text, std::size_t length) {
    if (length >= std::numeric_limits<std::uint32_t>::max())
        return nullptr;
    auto* const copy = static_cast<char*>(NPNFuncs.memalloc(static_cast<std::uint32_t>(length) + 1));
    if (copy == nullptr)
        return nullptr;
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

// Calls an operation with terminated copies of both texts; without memory nothing was found. The copies are the
// browser's and stay with it, as browsers have always seen them do.
std::int32_t callWithCopies(std::int32_t (*operation)(const char*, const char*), const Text& first, const Text& second,
                            std::int32_t notFound) {
    const char* const firstCopy = copyFromHost(first.data, first.length);
    const char* const secondCopy = copyFromHost(second.data, second.length);
    if (firstCopy == nullptr || secondCopy == nullptr)
        return notFound;
    return operation(firstCopy, secondCopy);
}

bool noProviderChosen() {
    return enrol::sProviderName == nullptr || enrol::sProviderName[0] == '\0';
}

// What both request methods do once their own arguments are checked. generate(text, textLength) gives 0 or a code.
template <class Generate>
bool giveRequest(std::int32_t keyBits, NPVariant* result, Generate generate) {
    if (noProviderChosen())
        return failRequest(enrol::kRequestNoProvider, result);
    std::fill(std::begin(enrol::sRequestText), std::end(enrol::sRequestText), '\0');
    if (std::find(std::begin(kAllowedKeyBits), std::end(kAllowedKeyBits), keyBits) == std::end(kAllowedKeyBits))
        return failRequest(enrol::kRequestKeyLengthNotAllowed, result);

    enrol::HeapText text;
    std::size_t textLength = 0;
    const std::int32_t code = generate(text, textLength);
    if (code != enrol::kSuccess)
        return failRequest(code, result);
    if (textLength >= sizeof(enrol::sRequestText))
        return failRequest(enrol::kRequestTextTooLong, result);
    enrol::sLastError = enrol::kSuccess;
    if (text == nullptr || textLength == 0)
        return true;

    std::memcpy(enrol::sRequestText, text.get(), textLength);
    text.reset();
    giveText(enrol::sRequestText, std::strlen(enrol::sRequestText), result);
    return true;
}

bool genP10(const NPVariant* args, std::uint32_t argCount, NPVariant* result) {
    std::int32_t keyBits = 0;
    if (!readOneInteger(args, argCount, keyBits))
        return false;
    return giveRequest(keyBits, result, [keyBits](enrol::HeapText& text, std::size_t& textLength) {
        return enrol::GenerateRequest(keyBits, text, textLength);
    });
}

bool genP10_exp_withdn(const NPVariant* args, std::uint32_t argCount, NPVariant* result) {
    std::int32_t keyBits = 0;
    std::int32_t exportable = 0;
    Text subject;
    if (!hasArguments(args, argCount, 3) || !readInteger(args[0], keyBits) || !readInteger(args[1], exportable) ||
        !readText(args[2], subject))
        return false;
    if (subject.empty())
        return failRequest(enrol::kRequestEmptySubject, result);
    return giveRequest(keyBits, result, [&](enrol::HeapText& text, std::size_t& textLength) {
        return enrol::GenerateRequestWithSubject(keyBits, exportable, subject.data, subject.length, text, textLength);
    });
}

// Leaves result unwritten, so that script reads undefined.
bool setCSP(const NPVariant* args, std::uint32_t argCount, NPVariant* /*result*/) {
    Text name;
    if (!readOneText(args, argCount, name))
        return false;
    const bool chosen = !name.empty() && enrol::chooseProvider(name.data, name.length);
    enrol::sLastError = chosen ? enrol::kSuccess : enrol::kSetProviderEmptyName;
    return true;
}

// A failed enumeration looks like the end of the list, and leaves sLastError alone.
bool listCSP(const NPVariant* args, std::uint32_t argCount, NPVariant* result) {
    std::int32_t index = 0;
    if (!readOneInteger(args, argCount, index))
        return false;
    std::fill(std::begin(enrol::sProviderListText), std::end(enrol::sProviderListText), '\0');

    enrol::HeapText name;
    std::uint32_t size = 0;
    if (enrol::EnumerateProvider(index, name, size) == enrol::kSuccess && name != nullptr) {
        const std::size_t length = std::strlen(name.get());
        if (length < sizeof(enrol::sProviderListText))
            std::memcpy(enrol::sProviderListText, name.get(), length);
        else
            enrol::sLastError = enrol::kProviderNameTooLong;
    }
    giveText(enrol::sProviderListText, std::strlen(enrol::sProviderListText), result);
    return true;
}

template <std::int32_t (*Install)(const char*, std::size_t)>
bool writeCertificate(const NPVariant* args, std::uint32_t argCount, NPVariant* result) {
    Text certificate;
    if (!readOneText(args, argCount, certificate))
        return false;
    if (IsPluginContainerHost())
        return refuse(result);
    if (certificate.empty())
        return giveCode(enrol::kInstallEmptyText, result);
    if (noProviderChosen())
        return giveCode(enrol::kInstallNoProvider, result);
    return giveCode(Install(certificate.data, certificate.length), result);
}

bool SetHashAlgorithm(const NPVariant* args, std::uint32_t argCount, NPVariant* result) {
    Text name;
    if (!readOneText(args, argCount, name))
        return false;
    if (IsPluginContainerHost())
        return refuse(result);
    if (name.empty())
        return giveCode(enrol::kHashEmptyName, result);
    if (isBeginningOf("md5", name))
        enrol::sHashAlgId = CALG_MD5;
    else if (isBeginningOf("sha1", name))
        enrol::sHashAlgId = CALG_SHA1;
    else
        return giveCode(enrol::kHashUnknownName, result);
    return giveCode(enrol::kSuccess, result);
}

bool getVersion(const NPVariant* args, std::uint32_t argCount, NPVariant* result) {
    if (!hasArguments(args, argCount, 0))
        return false;
    giveText(kVersion, sizeof(kVersion) - 1, result);
    return true;
}

bool deleteCert(const NPVariant* args, std::uint32_t argCount, NPVariant* result) {
    Text issuer;
    Text serial;
    if (!readTwoTexts(args, argCount, issuer, serial))
        return false;
    if (IsPluginContainerHost())
        return refuse(result);
    if (issuer.empty())
        return giveCode(enrol::kDeleteEmptyIssuer, result);
    if (serial.empty())
        return giveCode(enrol::kDeleteEmptySerial, result);
    if (!isSerial(serial))
        return giveCode(enrol::kDeleteBadSerial, result);
    return giveCode(callWithCopies(enrol::DeleteCertificate, issuer, serial, enrol::kDeleteNotFound), result);
}

// Every answer but "found" is 1, which is set before the arguments are looked at.
bool IsCertExist(const NPVariant* args, std::uint32_t argCount, NPVariant* result) {
    enrol::sLastError = enrol::kCertificateAbsent;
    Text issuer;
    Text serial;
    if (!readTwoTexts(args, argCount, issuer, serial))
        return false;
    if (IsPluginContainerHost())
        return refuse(result);
    if (issuer.empty() || serial.empty() || !isSerial(serial))
        return giveInteger(enrol::sLastError, result);
    return giveCode(callWithCopies(enrol::CertificateExists, issuer, serial, enrol::kCertificateAbsent), result);
}

bool CheckCertValid(const NPVariant* args, std::uint32_t argCount, NPVariant* result) {
    Text selector;
    Text certificate;
    if (!readTwoTexts(args, argCount, selector, certificate))
        return false;
    if (IsPluginContainerHost())
        return refuse(result);
    if (selector.empty() || certificate.empty())
        return giveCode(enrol::kCheckEmptyArgument, result);
    if (isBeginningOf("0", selector))
        return giveCode(enrol::CheckCertificateInFirefox(certificate.data, certificate.length), result);
    if (isBeginningOf("1", selector))
        return giveCode(enrol::CheckCertificateInWindowsStores(certificate.data, certificate.length), result);
    return giveCode(enrol::kCheckUnknownSelector, result);
}

bool leavingMostRecentCert(const NPVariant* args, std::uint32_t argCount, NPVariant* result) {
    Text subject;
    Text issuer;
    if (!readTwoTexts(args, argCount, subject, issuer))
        return false;
    if (IsPluginContainerHost())
        return refuse(result);
    if (subject.empty())
        return giveCode(enrol::kPruneEmptySubject, result);
    if (issuer.empty())
        return giveCode(enrol::kPruneEmptyIssuer, result);
    return giveCode(callWithCopies(enrol::PruneCertificates, subject, issuer, enrol::kPruneNothingFound), result);
}

struct Method {
    const NPIdentifier* identifier;
    bool (*call)(const NPVariant* args, std::uint32_t argCount, NPVariant* result);
};

constexpr Method kMethods[] = {
    {&sGenP10_id, genP10},
    {&sGenP10_exp_withdn_id, genP10_exp_withdn},
    {&sSetCSP_id, setCSP},
    {&sListCSP_id, listCSP},
    {&sWriteClientCert_id, writeCertificate<enrol::WriteClientCert>},
    {&sWriteClientCert_noprotect_id, writeCertificate<enrol::WriteClientCertNoProtect>},
    {&sWriteClientCert_exp_X509_id, writeCertificate<enrol::WriteClientCertExpX509>},
    {&sSetHashAlgorithm_id, SetHashAlgorithm},
    {&sGetVersion_id, getVersion},
    {&sDeleteCert_id, deleteCert},
    {&sIsCertExist_id, IsCertExist},
    {&sCheckCertValid_id, CheckCertValid},
    {&sLeavingMostRecentCert_id, leavingMostRecentCert},
};

const Method* findMethod(NPIdentifier name) {
    const auto* const found = std::find_if(std::begin(kMethods), std::end(kMethods),
                                           [name](const Method& method) { return *method.identifier == name; });
    return found == std::end(kMethods) ? nullptr : found;
}

}  // namespace

bool ScriptablePluginObject::HasMethod(NPIdentifier name) {
    return findMethod(name) != nullptr;
}

bool ScriptablePluginObject::Invoke(NPIdentifier name, const NPVariant* args, std::uint32_t argCount,
                                    NPVariant* result) {
    const Method* const method = findMethod(name);
    return method != nullptr && method->call(args, argCount, result);
}

bool IsPluginContainerHost() {
    HANDLE process = sys().GetCurrentProcess();
    HMODULE module = nullptr;
    DWORD needed = 0;
    if (process == nullptr || sys().EnumProcessModules(process, &module, sizeof(module), &needed) == FALSE)
        return false;
    char name[MAX_PATH] = "unknown";
    sys().GetModuleBaseNameA(process, module, name, sizeof(name));
    return equalsIgnoringCase(name, "plugin-container.exe", sizeof(name));
}

bool readInteger(const NPVariant& variant, std::int32_t& integer) {
    if (variant.type == NPVariantType_Int32) {
        integer = variant.value.intValue;
        return true;
    }
    if (variant.type != NPVariantType_Double)
        return false;
    using Limits = std::numeric_limits<std::int32_t>;
    const double number = variant.value.doubleValue;
    if (number != number)
        integer = 0;
    else if (number >= Limits::max())
        integer = Limits::max();
    else if (number <= Limits::min())
        integer = Limits::min();
    else
        integer = static_cast<std::int32_t>(number);
    return true;
}

void giveText(const char* text, std::size_t length, NPVariant* result) {
    const char* const copy = copyFromHost(text, length);
    if (copy == nullptr)
        return;
    result->type = NPVariantType_String;
    result->value.stringValue = {copy, static_cast<std::uint32_t>(length)};
}

}  // namespace plugin
