// vt_installed: what the installer's tests ask of Windows.
//
//     vt_installed find
//         Finds plug-ins as a browser does: walks MozillaPlugins below HKEY_CURRENT_USER and HKEY_LOCAL_MACHINE. Prints
//         a line of JSON for each: the strings of its key, its MIME types, and of the file at "Path" strings of
//         the version resource and what the loaded plug-in answers, getVersion and its description.
//     vt_installed forget
//         Deletes what an installer may have registered.
//     vt_installed hold <file> <ready> <end>
//         Loads the file as a running browser has it, makes the file <ready>, and ends when the file <end> is there.
//     vt_installed run [--user] <file>
//         Runs the command line that stands in the file as UTF-8, as it stands, and ends with its exit code. With
//         --user it runs without the rights of an administrator.
//
// File names are UTF-8. Ends with 0, or 3 with a line on standard error.
#include <windows.h>
// clang-format off: winver.h needs windows.h
#include <winver.h>
// clang-format on

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/host/browser.h"
#include "tests/host/plugin_file.h"

namespace {

const std::wstring kPlugins = L"Software\\MozillaPlugins";
const std::wstring kUninstall = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Vemtrel CertEnroll";

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + ": error " + std::to_string(GetLastError()));
}

std::string narrow(const std::wstring& text) {
    const int size = static_cast<int>(text.size());
    std::string bytes(
        static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr)),
        '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, &bytes[0], static_cast<int>(bytes.size()), nullptr, nullptr);
    return bytes;
}

std::wstring widen(const std::string& bytes) {
    const int size = static_cast<int>(bytes.size());
    std::wstring text(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, nullptr, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, &text[0], static_cast<int>(text.size()));
    return text;
}

// A name and a value of one JSON object.
using Strings = std::map<std::string, std::string>;

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\')
            result += '\\';
        result += character;
    }
    return result + '"';
}

std::string jsonOf(const Strings& strings) {
    std::string result;
    for (const auto& [name, value] : strings)
        result += (result.empty() ? "{" : ",") + quoted(name) + ":" + quoted(value);
    return result.empty() ? "{}" : result + "}";
}

class Key {
  public:
    Key(HKEY parent, const std::wstring& path) {
        if (RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &handle_) != ERROR_SUCCESS)
            handle_ = nullptr;
    }
    ~Key() {
        if (handle_ != nullptr)
            RegCloseKey(handle_);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    HKEY handle() const { return handle_; }

    std::vector<std::wstring> children() const {
        std::vector<std::wstring> names;
        wchar_t name[256];
        for (DWORD index = 0; handle_ != nullptr; ++index) {
            DWORD size = 256;
            if (RegEnumKeyExW(handle_, index, name, &size, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
                break;
            names.emplace_back(name, size);
        }
        return names;
    }

    std::map<std::wstring, std::wstring> strings() const {
        std::map<std::wstring, std::wstring> found;
        wchar_t name[256];
        wchar_t value[1024];
        for (DWORD index = 0; handle_ != nullptr; ++index) {
            DWORD size = 256;
            DWORD bytes = sizeof(value) - sizeof(wchar_t);
            DWORD type = 0;
            if (RegEnumValueW(handle_, index, name, &size, nullptr, &type, reinterpret_cast<BYTE*>(value), &bytes) !=
                ERROR_SUCCESS)
                break;
            value[bytes / sizeof(wchar_t)] = L'\0';
            if (type == REG_SZ)
                found.emplace(std::wstring(name, size), value);
        }
        return found;
    }

  private:
    HKEY handle_ = nullptr;
};

// The strings of the one language that a browser reads.
Strings versionResource(const std::wstring& path) {
    DWORD ignored = 0;
    std::vector<char> data(GetFileVersionInfoSizeW(path.c_str(), &ignored));
    if (data.empty() || GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(data.size()), data.data()) == 0)
        fail("no version resource in " + narrow(path));
    Strings found;
    for (const char* name : {"MIMEType", "FileVersion", "ProductVersion", "OriginalFilename"}) {
        void* value = nullptr;
        UINT size = 0;
        if (VerQueryValueW(data.data(), (L"\\StringFileInfo\\040904E4\\" + widen(name)).c_str(), &value, &size) != 0)
            found[name] = narrow(static_cast<const wchar_t*>(value));
    }
    return found;
}

// What the loaded plug-in itself says of its version and name, asked as a page and a browser ask.
Strings ask(const std::wstring& path) {
    host::Browser browser;
    const host::EntryPoints entries = host::loadPluginFile(path);
    const NPPluginFuncs plugin = host::start(entries, browser);
    Strings answers;
    {
        host::Page page(browser, plugin);
        const host::Outcome version = page.call("getVersion");
        answers["getVersion"] = version.isText() ? version.text : std::to_string(version.integer());
        const char* text = nullptr;
        if (plugin.getvalue(page.instance(), NPPVpluginDescriptionString, static_cast<void*>(&text)) == 0)
            answers["description"] = text;
    }
    entries.shutdown();
    if (!browser.problems().empty() || browser.liveObjects() != 0)
        throw std::runtime_error("the plug-in leaves something behind");
    return answers;
}

void printPlugin(const char* root, HKEY hive, const std::wstring& id) {
    const std::wstring path = kPlugins + L"\\" + id;
    Strings strings;
    std::wstring file;
    for (const auto& [name, value] : Key(hive, path).strings()) {
        strings[narrow(name)] = narrow(value);
        if (name == L"Path")
            file = value;
    }
    const std::wstring typesPath = path + L"\\MimeTypes";
    Strings types;
    for (const std::wstring& type : Key(hive, typesPath).children())
        types[narrow(type)] = narrow(Key(hive, typesPath + L"\\" + type).strings()[L"Description"]);
    // The plug-in prints a line of its own when it starts.
    const Strings answers = ask(file);
    std::cout << "{\"root\":" << quoted(root) << ",\"id\":" << quoted(narrow(id)) << ",\"key\":" << jsonOf(strings)
              << ",\"types\":" << jsonOf(types) << ",\"resource\":" << jsonOf(versionResource(file))
              << ",\"answers\":" << jsonOf(answers) << "}" << std::endl;
}

int find() {
    for (const std::wstring& id : Key(HKEY_CURRENT_USER, kPlugins).children())
        printPlugin("HKCU", HKEY_CURRENT_USER, id);
    for (const std::wstring& id : Key(HKEY_LOCAL_MACHINE, kPlugins).children())
        printPlugin("HKLM", HKEY_LOCAL_MACHINE, id);
    return 0;
}

int forget() {
    for (HKEY hive : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE})
        for (const std::wstring& key : {kPlugins, kUninstall})
            RegDeleteTreeW(hive, key.c_str());
    return 0;
}

int hold(const std::wstring& file, const std::wstring& ready, const std::wstring& end) {
    if (LoadLibraryW(file.c_str()) == nullptr)
        fail("cannot load " + narrow(file));
    HANDLE const made = CreateFileW(ready.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (made == INVALID_HANDLE_VALUE)
        fail("cannot make " + narrow(ready));
    CloseHandle(made);
    // Nobody may be left to make the other file.
    for (int waited = 0; waited < 600 && GetFileAttributesW(end.c_str()) == INVALID_FILE_ATTRIBUTES; ++waited)
        Sleep(100);
    return 0;
}

// This process's token without the group of administrators.
HANDLE plainUser() {
    HANDLE own = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &own) == 0)
        fail("no token");
    BYTE administrators[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof(administrators);
    if (CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators, &size) == 0)
        fail("no group of administrators");
    SID_AND_ATTRIBUTES disabled = {administrators, 0};
    HANDLE restricted = nullptr;
    if (CreateRestrictedToken(own, 0, 1, &disabled, 0, nullptr, 0, nullptr, &restricted) == 0)
        fail("the token cannot be restricted");
    CloseHandle(own);
    return restricted;
}

int run(const std::string& file, bool asUser) {
    std::ifstream input(file, std::ios::binary);
    std::wstring line = widen(std::string(std::istreambuf_iterator<char>(input), {}));
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process = {};
    const BOOL started =
        asUser ? CreateProcessAsUserW(plainUser(), nullptr, &line[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                      &startup, &process)
               : CreateProcessW(nullptr, &line[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    if (started == 0)
        fail("cannot start " + narrow(line));
    DWORD code = 0;
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &code);
    return static_cast<int>(code);
}

int dispatch(const std::vector<std::wstring>& words) {
    if (words.size() == 1 && words[0] == L"find")
        return find();
    if (words.size() == 1 && words[0] == L"forget")
        return forget();
    if (words.size() == 4 && words[0] == L"hold")
        return hold(words[1], words[2], words[3]);
    if (words.size() == 2 && words[0] == L"run")
        return run(narrow(words[1]), false);
    if (words.size() == 3 && words[0] == L"run" && words[1] == L"--user")
        return run(narrow(words[2]), true);
    throw std::runtime_error("usage: vt_installed find | forget | hold <file> <ready> <end> | run [--user] <file>");
}

}  // namespace

int main() {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    try {
        return dispatch(std::vector<std::wstring>(words + 1, words + count));
    } catch (const std::exception& error) {
        std::cerr << error.what() << std::endl;
        return 3;
    }
}
