#include "tests/provider/test_provider.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "tests/provider/shared.h"

namespace support {
namespace {

std::string keyOf(const std::string& provider) {
    return R"(Software\Microsoft\Cryptography\Defaults\Provider\)" + provider;
}

std::string besideProgram(const char* file) {
    std::array<char, MAX_PATH> path{};
    GetModuleFileNameA(nullptr, path.data(), path.size());
    const std::string program = path.data();
    return program.substr(0, program.rfind('\\') + 1) + file;
}

std::string makeFolder() {
    std::array<char, MAX_PATH> root{};
    std::array<char, MAX_PATH> path{};
    GetTempPathA(root.size(), root.data());
    if (GetTempFileNameA(root.data(), "vtp", 0, path.data()) == 0 || DeleteFileA(path.data()) == 0 ||
        CreateDirectoryA(path.data(), nullptr) == 0)
        throw std::runtime_error("no temporary folder for the test provider");
    return path.data();
}

void removeFolder(const std::string& folder) {
    WIN32_FIND_DATAA found;
    HANDLE search = FindFirstFileA((folder + "\\*").c_str(), &found);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            DeleteFileA((folder + "\\" + found.cFileName).c_str());
        } while (FindNextFileA(search, &found) != 0);
        FindClose(search);
    }
    RemoveDirectoryA(folder.c_str());
}

bool setText(HKEY key, const char* name, const std::string& text) {
    return RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>(text.size()) + 1) == ERROR_SUCCESS;
}

bool setNumber(HKEY key, const char* name, DWORD number) {
    return RegSetValueExA(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number) ==
           ERROR_SUCCESS;
}

void registerProvider(const std::string& name) {
    HKEY key = nullptr;
    if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, keyOf(name).c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr) !=
        ERROR_SUCCESS)
        throw std::runtime_error("the registry does not take the test provider");
    const bool written = setText(key, "Image Path", besideProgram(kTestProviderFile)) &&
                         setNumber(key, "Type", PROV_RSA_FULL) && setNumber(key, "SigInFile", 0);
    RegCloseKey(key);
    if (!written)
        throw std::runtime_error("the registry does not take the test provider's values");
}

}  // namespace

TestProvider::TestProvider(std::string name) : name_(std::move(name)), folder_(makeFolder()) {
    registerProvider(name_);
    SetEnvironmentVariableA(kTestProviderFolderVariable, folder_.c_str());
    SetEnvironmentVariableA(kTestProviderFailuresVariable, nullptr);
}

TestProvider::~TestProvider() {
    SetEnvironmentVariableA(kTestProviderFolderVariable, nullptr);
    SetEnvironmentVariableA(kTestProviderFailuresVariable, nullptr);
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, keyOf(name_).c_str());
    removeFolder(folder_);
}

void TestProvider::fail(const std::string& entryPoint, DWORD code, unsigned letThrough) {
    std::array<char, 32> rest{};
    std::snprintf(rest.data(), rest.size(), "=%08lX+%u", code, letThrough);
    failures_ += (failures_.empty() ? "" : ",") + entryPoint + rest.data();
    SetEnvironmentVariableA(kTestProviderFailuresVariable, failures_.c_str());
}

void TestProvider::succeed() {
    failures_.clear();
    SetEnvironmentVariableA(kTestProviderFailuresVariable, nullptr);
}

std::vector<std::string> TestProvider::calls() const {
    std::ifstream log(callLogOf(folder_));
    std::vector<std::string> lines;
    for (std::string line; std::getline(log, line);)
        lines.push_back(line);
    return lines;
}

unsigned TestProvider::count(const std::string& start) const {
    const auto lines = calls();
    return static_cast<unsigned>(
        std::count_if(lines.begin(), lines.end(), [&](const auto& line) { return line.rfind(start, 0) == 0; }));
}

void TestProvider::forgetCalls() {
    DeleteFileA(callLogOf(folder_).c_str());
}

std::vector<std::uint8_t> TestProvider::certificateOf(const std::string& container) const {
    std::ifstream file(certificateFileOf(folder_, container), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace support
