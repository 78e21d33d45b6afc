#include "tests/interop/soft_token.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "crypto/pkcs11.h"
#include "tests/support/der.h"
#include "tests/token/operations.h"

namespace interop {

using support::hex;
using support::tool;
using support::ToolResult;

MiByte bytes(const Bytes& value) {
    return operations::mi(value);
}

MiByte bytes(const std::string& text) {
    return operations::mi(text);
}

Bytes bytesOf(const MiByte& value) {
    return operations::bytesOf(value);
}

const unsigned char* text(const char* value) {
    return operations::text(value);
}

VT_P11_SELECTION tokenSelection() {
    return {0, "a", 1, "b", 1};
}

VT_P11_SELECTION softwareSelection() {
    return {};
}

VT_P11_Alg algorithm(int type, const Bytes& iv, int effectiveBits) {
    return operations::algorithm(type, iv, effectiveBits);
}

VT_P11_Key labelled(int type, const char* label) {
    return operations::labelKey(label, type);
}

VT_P11_Key publicKey(const RsaKeyVector& vector) {
    return operations::publicKey(vector.items);
}

VT_P11_Key privateKey(const RsaKeyVector& vector) {
    return operations::privateKey(vector.items);
}

VT_P11_Key sessionKey(int type, const Bytes& key) {
    return operations::sessionKey(type, key);
}

SoftTokens::SoftTokens(const std::vector<std::string>& labels) {
    std::filesystem::create_directory(home_.file("tokens"));
    home_.file("softhsm.conf", "directories.tokendir = " + home_.file("tokens") + "\nobjectstore.backend = file\n");
    use();
    for (const std::string& label : labels) {
        const ToolResult made =
            tool("softhsm2-util --init-token --free --label '" + label + "' --so-pin 12345678 --pin " + kPin);
        EXPECT_EQ(made.status, 0) << made.output;
    }
}

void SoftTokens::use() const {
    setenv("VT_TEST_MODULE", VT_SOFTHSM, 1);
    setenv("SOFTHSM2_CONF", home_.file("softhsm.conf").c_str(), 1);
}

namespace {

// A load that fails leaves the library in the process, with its session open.
void finalizeLeftOver() {
    void* library = dlopen(VT_SOFTHSM, RTLD_NOW | RTLD_NOLOAD);
    if (library == nullptr)
        return;
    CK_FUNCTION_LIST* functions = nullptr;
    reinterpret_cast<CK_C_GetFunctionList>(dlsym(library, "C_GetFunctionList"))(&functions);
    functions->C_Finalize(nullptr);
    dlclose(library);
}

}  // namespace

SoftTokenTest::~SoftTokenTest() {
    for (int i = 0; i < 3; ++i)
        TokenModuleUnload();
    finalizeLeftOver();
    unsetenv("VT_TEST_SESSIONS");
}

std::string SoftTokenTest::pkcs11(const std::string& arguments) const {
    tokens_.use();
    const ToolResult done = tool(std::string("pkcs11-tool --module " VT_SOFTHSM " --token-label '") + kLabel +
                                 "' --login --pin " + kPin + " " + arguments);
    EXPECT_EQ(done.status, 0) << arguments << "\n" << done.output;
    return done.output;
}

std::string SoftTokenTest::openssl(const std::string& arguments) const {
    const ToolResult done = tool("cd " + tokens_.home().path() + " && openssl " + arguments);
    EXPECT_EQ(done.status, 0) << arguments << "\n" << done.output;
    return done.output;
}

void SoftTokenTest::write(const Bytes& der, const std::string& type, const std::string& label) const {
    file("object.der", der);
    pkcs11("--write-object " + file("object.der") + " --type " + type + " --label '" + label + "'" +
           (type == "cert" ? "" : " --usage-sign --usage-decrypt"));
}

void SoftTokenTest::writeKeys(const RsaKeyVector& vector, const std::string& name) const {
    write(privateKeyDer(vector), "privkey", name + " private");
    write(publicKeyDer(vector), "pubkey", name + " public");
}

std::string SoftTokenTest::file(const std::string& name, const Bytes& contents) const {
    return file(name, std::string(contents.begin(), contents.end()));
}

std::string SoftTokenTest::file(const std::string& name, const std::string& contents) const {
    return tokens_.home().file(name, contents);
}

Bytes SoftTokenTest::readFile(const std::string& name) const {
    std::ifstream stream(file(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void SoftTokenTest::writePem(const RsaKeyVector& vector) const {
    file("private.der", privateKeyDer(vector));
    openssl("pkey -inform DER -in private.der -out private.pem");
    openssl("pkey -in private.pem -pubout -out public.pem");
}

namespace {

Bytes integer(const char* unsignedHex) {
    Bytes content = hex(unsignedHex);
    if (content.front() >= 0x80)
        content.insert(content.begin(), 0);
    return der::tlv(0x02, content);
}

}  // namespace

Bytes privateKeyDer(const RsaKeyVector& vector) {
    Bytes numbers = der::integer(0);
    for (const char* item : vector.items)
        numbers = der::join({numbers, integer(item)});
    return der::tlv(0x30, numbers);
}

Bytes publicKeyDer(const RsaKeyVector& vector) {
    const Bytes key = der::sequence({integer(vector.items[0]), integer(vector.items[1])});
    return der::sequence(
        {der::sequence({der::oid({1, 2, 840, 113549, 1, 1, 1}), der::tlv(0x05, {})}), der::bitString(0, key)});
}

}  // namespace interop
