#include "tests/platform/nss_fixture.h"

#include <fstream>
#include <iterator>
#include <vector>

namespace nss_test {

using support::tool;
using support::ToolResult;

Prov::Prov(const char* container, DWORD flags, const char* provider) {
    if (capi().CryptAcquireContextA(&handle_, container, provider, PROV_RSA_FULL, flags) == FALSE)
        handle_ = 0;
}

Prov::~Prov() {
    if (handle_ != 0) {
        EXPECT_TRUE(capi().CryptReleaseContext(handle_, 0));
    }
}

KeyHandle::~KeyHandle() {
    if (handle_ != 0) {
        EXPECT_TRUE(capi().CryptDestroyKey(handle_));
    }
}

void makeKey(const char* container, DWORD bits, DWORD flags, ALG_ID spec, const char* provider) {
    const Prov prov(container, CRYPT_NEWKEYSET, provider);
    ASSERT_TRUE(prov) << std::hex << sys().GetLastError();
    KeyHandle key;
    ASSERT_TRUE(capi().CryptGenKey(prov.get(), spec, bits << 16 | flags, key.out()))
        << std::hex << sys().GetLastError();
}

Bytes exportKey(const char* container, DWORD blobType, DWORD spec, const char* provider) {
    const Prov prov(container, 0, provider);
    KeyHandle key;
    DWORD size = 0;
    EXPECT_TRUE(prov) << container;
    EXPECT_TRUE(capi().CryptGetUserKey(prov.get(), spec, key.out()));
    EXPECT_TRUE(capi().CryptExportKey(key.get(), 0, blobType, 0, nullptr, &size)) << std::hex << sys().GetLastError();
    Bytes blob(size);
    EXPECT_TRUE(capi().CryptExportKey(key.get(), 0, blobType, 0, blob.data(), &size));
    EXPECT_EQ(size, blob.size());
    return blob;
}

std::string publicKeyPem(const support::ScratchHome& home, const char* container, const char* provider) {
    const std::string blob =
        home.file("public.blob", textOf(exportKey(container, PUBLICKEYBLOB, AT_SIGNATURE, provider)));
    std::string pem = home.file(std::string(container) + ".pub.pem");
    const ToolResult result = tool("openssl rsa -pubin -inform MSBLOB -in " + blob + " -pubout -out " + pem);
    EXPECT_EQ(result.status, 0) << result.output;
    return pem;
}

Authority::Authority(const support::ScratchHome& home) : home_(home) {
    const ToolResult result = tool(
        "cd " + home.path() +
        " && openssl req -x509 -newkey rsa:2048 -nodes -keyout ca.key -subj '/C=DE/O=Example/CN=Test Root' -days 30 "
        "-addext keyUsage=critical,keyCertSign,cRLSign -out ca.pem && openssl x509 -in ca.pem -outform DER -out "
        "ca.der");
    EXPECT_EQ(result.status, 0) << result.output;
    certificate_ = readFile(home.file("ca.der"));
}

Bytes Authority::certify(const std::string& publicKeyFile, const std::string& subject, int serial,
                         const std::string& extensions) const {
    home_.file("extensions.cnf", extensions + "\n");
    const ToolResult result = tool("cd " + home_.path() + " && openssl req -new -key ca.key -subj '" + subject +
                                   "' -out any.csr && openssl x509 -req -in any.csr -force_pubkey " + publicKeyFile +
                                   " -CA ca.pem -CAkey ca.key -set_serial " + std::to_string(serial) +
                                   " -days 20 -extfile extensions.cnf -outform DER -out leaf.der");
    EXPECT_EQ(result.status, 0) << result.output;
    return readFile(home_.file("leaf.der"));
}

Bytes readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string textOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

int count(const std::string& text, const std::string& part) {
    int found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

std::string NssTest::keyList() const {
    return tool("certutil -K -d " + home_.database()).output;
}

}  // namespace nss_test
