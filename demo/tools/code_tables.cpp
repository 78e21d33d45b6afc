// Writes what people read about codes, from the lists of them: docs/error-codes.md for the support desk, and
// demo/page/codes.js, from which the enrolment page explains a code that comes back.
//
//   code_tables <error-codes.md> <codes.js>           writes both
//   code_tables --check <error-codes.md> <codes.js>   compares both with the list, and fails if one is out of date
#include <cstdint>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>

namespace {

struct Operation {
    std::int32_t number;
    std::string_view name;
};

struct Code {
    std::int32_t value;
    std::string_view constant;
    std::string_view happened;
    std::string_view cause;
    std::string_view remedy;
};

constexpr Operation kOperations[] = {
#define VT_OPERATION(number, constant, name) {number, name},
#define VT_CODE(value, constant, happened, cause, remedy)
#include "enrol/codes.def"
#undef VT_OPERATION
#undef VT_CODE
};

constexpr Code kCodes[] = {
#define VT_OPERATION(number, constant, name)
#define VT_CODE(value, constant, happened, cause, remedy) {value, #constant, happened, cause, remedy},
#include "enrol/codes.def"
#undef VT_OPERATION
#undef VT_CODE
};

// A code of the engine or the toolkit, without the form of its text that programs see.
struct EngineCode {
    std::int32_t value;
    std::string_view constant;
    std::string_view text;
    std::string_view raised;
    std::string_view cause;
    std::string_view remedy;
};

constexpr EngineCode kEngineCodes[] = {
#define VT_ENGINE_CODE(value, constant, utf8, gbk, raised, cause, remedy) \
    {value, #constant, utf8, raised, cause, remedy},
#define VT_ENGINE_CODE_WITHOUT_TEXT(value, constant, raised, cause, remedy) \
    {value, #constant, "-", raised, cause, remedy},
#define VT_RSA_CODE(value, constant, text, raised, remedy)
#include "crypto/codes.def"
#undef VT_ENGINE_CODE
#undef VT_ENGINE_CODE_WITHOUT_TEXT
#undef VT_RSA_CODE
};

constexpr EngineCode kRsaCodes[] = {
#define VT_ENGINE_CODE(value, constant, utf8, gbk, raised, cause, remedy)
#define VT_ENGINE_CODE_WITHOUT_TEXT(value, constant, raised, cause, remedy)
#define VT_RSA_CODE(value, constant, text, raised, remedy) {value, #constant, text, raised, "", remedy},
#include "crypto/codes.def"
#undef VT_ENGINE_CODE
#undef VT_ENGINE_CODE_WITHOUT_TEXT
#undef VT_RSA_CODE
};

constexpr EngineCode kToolkitCodes[] = {
#define VT_TOOLKIT_CODE(value, constant, raised, cause, remedy) {value, #constant, "", raised, cause, remedy},
#include "token/codes.def"
#undef VT_TOOLKIT_CODE
};

// The three codes outside the scheme, 0, 1 and -333, belong to no single operation.
constexpr std::int32_t kNoOperation = 0;

constexpr std::int32_t operationOf(const Code& code) {
    return code.value < 22000000 ? kNoOperation : (code.value - 22000000) / 10000;
}

std::string capitalised(std::string_view text) {
    std::string result(text);
    if (!result.empty() && result.front() >= 'a' && result.front() <= 'z')
        result.front() = static_cast<char>(result.front() - 'a' + 'A');
    return result;
}

// A bar would end the cell.
std::string markdownCell(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '|')
            result += '\\';
        result += c;
    }
    return result;
}

void writeMarkdownGroup(std::ostream& out, std::int32_t operation, std::string_view title) {
    out << "\n### " << capitalised(title) << "\n\n"
        << "| Code | Name | What happened | The usual cause | What to do |\n"
        << "|---|---|---|---|---|\n";
    for (const Code& code : kCodes) {
        if (operationOf(code) == operation) {
            out << "| " << code.value << " | `" << code.constant << "` | " << markdownCell(capitalised(code.happened))
                << " | " << markdownCell(code.cause) << " | " << markdownCell(code.remedy) << " |\n";
        }
    }
}

void writeEngineCodes(std::ostream& out) {
    out << "\n## Crypto engine\n\n"
           "What the operations of the engine and the token layer give. A positive number is what a PKCS#11 module "
           "answered. The text is what the library's table holds for programs, in GBK; it ends at -21.\n\n"
           "| Code | Name | Text | Raised when | The usual cause | What to do |\n"
           "|---|---|---|---|---|---|\n";
    for (const EngineCode& code : kEngineCodes) {
        out << "| " << code.value << " | `" << code.constant << "` | " << code.text << " | "
            << markdownCell(capitalised(code.raised)) << " | " << markdownCell(code.cause) << " | "
            << markdownCell(code.remedy) << " |\n";
    }
    out << "\n## RSA core\n\n"
           "What the block functions and the generator give. Of these only -103 and -106 come through to the "
           "operations; there -104 and -105 are -12, and -101 is -11.\n\n"
           "| Code | Name | Text | Raised when | What to do |\n"
           "|---|---|---|---|---|\n";
    for (const EngineCode& code : kRsaCodes) {
        out << "| " << code.value << " | `" << code.constant << "` | " << code.text << " | "
            << markdownCell(capitalised(code.raised)) << " | " << markdownCell(code.remedy) << " |\n";
    }
}

void writeToolkitCodes(std::ostream& out) {
    out << "\n## Toolkit\n\n"
           "What token operations, messages and flat functions give besides the engine's codes, which pass through "
           "them unchanged. These have no texts.\n\n"
           "| Code | Name | Raised when | The usual cause | What to do |\n"
           "|---|---|---|---|---|\n";
    for (const EngineCode& code : kToolkitCodes) {
        out << "| " << code.value << " | `" << code.constant << "` | " << markdownCell(capitalised(code.raised))
            << " | " << markdownCell(code.cause) << " | " << markdownCell(code.remedy) << " |\n";
    }
}

std::string markdown() {
    std::ostringstream out;
    out << "# Error codes\n\n"
           "Made by `code_tables` from `enrol/codes.def`, `crypto/codes.def` and `token/codes.def`; edit those files "
           "and run `code_tables`.\n\n"
           "## The script methods\n\n"
           "A script method of the plug-in gives 0 for success or one of these numbers. Methods that give text "
           "(`genP10`, `genP10_exp_withdn`, `listCSP`) give an empty text on failure, and the page cannot ask for the "
           "number behind it: it can only name the likely ones. A number is 22,000,000 + 10,000 × operation + reason. "
           "Reasons 8001 to 8199 name a failed call of the platform, 8201 to 8299 a bad argument, exhausted memory or "
           "a "
           "bad encoding, and 8301 onward a failure of the environment.\n\n"
           "Once an installation has begun, the waiting request is used up, whatever the outcome; where the advice "
           "says "
           "to make a new request, that is why.\n";
    writeMarkdownGroup(out, kNoOperation, "every operation");
    for (const Operation& operation : kOperations) {
        std::ostringstream title;
        title << operation.name << " (" << std::setw(2) << std::setfill('0') << operation.number << ")";
        writeMarkdownGroup(out, operation.number, title.str());
    }
    writeEngineCodes(out);
    writeToolkitCodes(out);
    return out.str();
}

std::string scriptString(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
}

std::string_view operationName(std::int32_t number) {
    for (const Operation& operation : kOperations)
        if (operation.number == number)
            return operation.name;
    return "every operation";
}

std::string script() {
    std::ostringstream out;
    out << "// Made by code_tables from enrol/codes.def; edit that file and run code_tables.\n"
           "var certEnrollCodes = {\n";
    const char* separator = "";
    for (const Code& code : kCodes) {
        out << separator << "  \"" << code.value << "\": {\n"
            << "    operation: " << scriptString(operationName(operationOf(code))) << ",\n"
            << "    happened: " << scriptString(capitalised(code.happened)) << ",\n"
            << "    cause: " << scriptString(code.cause) << ",\n"
            << "    remedy: " << scriptString(code.remedy) << "\n"
            << "  }";
        separator = ",\n";
    }
    out << "\n};\n";
    return out.str();
}

bool writeFile(const char* path, const std::string& content) {
    std::ofstream file(path, std::ios::binary);
    file << content;
    return static_cast<bool>(file.flush());
}

bool isCurrent(const char* path, const std::string& content) {
    std::ifstream file(path, std::ios::binary);
    const std::string found{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (found == content)
        return true;
    std::cerr << path << " is not what the lists of codes say; run code_tables\n";
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    const bool check = argc == 4 && std::string_view(argv[1]) == "--check";
    if (!check && argc != 3) {
        std::cerr << "usage: code_tables [--check] <error-codes.md> <codes.js>\n";
        return 2;
    }
    const char* const markdownPath = argv[argc - 2];
    const char* const scriptPath = argv[argc - 1];
    if (check) {
        const bool markdownCurrent = isCurrent(markdownPath, markdown());
        const bool scriptCurrent = isCurrent(scriptPath, script());
        return markdownCurrent && scriptCurrent ? 0 : 1;
    }
    if (!writeFile(markdownPath, markdown()) || !writeFile(scriptPath, script())) {
        std::cerr << "cannot write " << markdownPath << " and " << scriptPath << "\n";
        return 1;
    }
    return 0;
}
