#include "tests/host/script.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <ostream>
#include <sstream>
#include <stdexcept>

namespace host {
namespace {

int hexDigit(char c) {
    static const std::string digits = "0123456789abcdef";
    const std::size_t value = digits.find(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
    if (value == std::string::npos)
        throw std::runtime_error("not a hex digit in an escape");
    return static_cast<int>(value);
}

// Reads the escape whose letter stands at `at`, and leaves `at` on its last character.
char escaped(const std::string& line, std::size_t& at) {
    switch (line.at(at)) {
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        case '"':
        case '\\':
            return line[at];
        case 'x':
            at += 2;
            return static_cast<char>(hexDigit(line.at(at - 1)) * 16 + hexDigit(line.at(at)));
        default:
            throw std::runtime_error("unknown escape in a text");
    }
}

// Reads the text whose opening quote stands at `at`, and leaves `at` behind its closing one.
std::string quoted(const std::string& line, std::size_t& at) {
    std::string word = "\"";
    for (++at; at < line.size() && line[at] != '"'; ++at) {
        if (line[at] == '\\')
            word += escaped(line, ++at);
        else
            word += line[at];
    }
    if (at == line.size())
        throw std::runtime_error("a text without its closing quote");
    ++at;
    return word;
}

std::string fileContent(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool isInteger(const std::string& word) {
    const std::size_t first = word[0] == '-' ? 1 : 0;
    return word.size() > first && word.size() < 12 &&
           std::all_of(word.begin() + static_cast<std::ptrdiff_t>(first), word.end(),
                       [](unsigned char c) { return std::isdigit(c) != 0; });
}

bool readDouble(const std::string& word, double& number) {
    if (word == "nan")
        number = std::numeric_limits<double>::quiet_NaN();
    else if (word == "inf")
        number = std::numeric_limits<double>::infinity();
    else if (word == "-inf")
        number = -std::numeric_limits<double>::infinity();
    else if (std::isdigit(static_cast<unsigned char>(word[0])) == 0 && word[0] != '-')
        return false;
    else {
        char* end = nullptr;
        number = std::strtod(word.c_str(), &end);
        return *end == '\0' && end != word.c_str();
    }
    return true;
}

// The length of the UTF-8 sequence at `at`, 0 for bytes that are none.
std::size_t utf8Length(const std::string& text, std::size_t at) {
    const auto first = static_cast<unsigned char>(text[at]);
    const std::size_t length = first < 0x80                    ? 1
                               : first >= 0xC2 && first < 0xE0 ? 2
                               : first >= 0xE0 && first < 0xF0 ? 3
                                                               : 0;
    if (length == 0 || at + length > text.size())
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((static_cast<unsigned char>(text[at + i]) & 0xC0) != 0x80)
            return 0;
    }
    return length;
}

std::string jsonText(const std::string& text) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string json = "\"";
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const std::size_t length = utf8Length(text, i);
        if (byte == '"' || byte == '\\') {
            json += '\\';
            json += text[i++];
        } else if (byte < 0x20 || length == 0) {
            json += "\\u00";
            json += kDigits[byte >> 4];
            json += kDigits[byte & 15];
            ++i;
        } else {
            json += text.substr(i, length);
            i += length;
        }
    }
    return json + "\"";
}

std::string numberText(double number) {
    std::ostringstream text;
    text.precision(17);
    text << number;
    return text.str();
}

// What "expect" compares: the integer, the text, or the kind of the outcome.
std::string shown(const Outcome& outcome) {
    if (!outcome.ok)
        return "error";
    switch (outcome.type) {
        case NPVariantType_Void:
            return "undefined";
        case NPVariantType_Null:
            return "null";
        case NPVariantType_String:
            return "\"" + outcome.text;
        default:
            return numberText(outcome.number);
    }
}

}  // namespace

std::vector<std::string> splitCommand(const std::string& line) {
    std::vector<std::string> words;
    for (std::size_t at = 0; at < line.size();) {
        if (std::isspace(static_cast<unsigned char>(line[at])) != 0) {
            ++at;
        } else if (line[at] == '"') {
            words.push_back(quoted(line, at));
        } else {
            const std::size_t end = std::min(line.find_first_of(" \t\r\n", at), line.size());
            words.push_back(line.substr(at, end - at));
            at = end;
        }
    }
    return words;
}

Value valueOf(const std::string& word) {
    if (word.empty())
        return word;
    if (word[0] == '"')
        return word.substr(1);
    if (word[0] == '@')
        return fileContent(word.substr(1));
    if (word == "true" || word == "false")
        return word == "true";
    if (word == "null")
        return Value::null();
    if (word == "undefined")
        return {};
    double number = 0;
    if (!readDouble(word, number))
        return word;
    // As in a browser, a whole number that fits is an integer.
    const bool fits = number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max();
    return isInteger(word) && fits ? Value(static_cast<int>(number)) : Value(number);
}

std::string jsonOf(const Outcome& outcome) {
    if (!outcome.ok)
        return R"({"ok":false})";
    const std::string head = R"({"ok":true,"type":)";
    switch (outcome.type) {
        case NPVariantType_Void:
            return head + R"("undefined"})";
        case NPVariantType_Null:
            return head + R"("null"})";
        case NPVariantType_Bool:
            return head + R"("boolean","value":)" + (outcome.number != 0 ? "true}" : "false}");
        case NPVariantType_Int32:
        case NPVariantType_Double:
            return head + R"("number","value":)" + numberText(outcome.number) + "}";
        case NPVariantType_String:
            return head + R"("string","value":)" + jsonText(outcome.text) + "}";
        default:
            return head + R"("object"})";
    }
}

Script::Script(Browser& browser, const NPPluginFuncs& plugin, std::ostream& output)
    : browser_(browser), plugin_(plugin), output_(output) {
    remake();
}

void Script::remake() {
    page_.reset();
#if defined(_WIN32)
    window_.reset();
#endif
    page_ = std::make_unique<Page>(browser_, plugin_);
}

void Script::print(const std::string& what, const Outcome& outcome) {
    last_ = outcome;
    output_ << what << " " << jsonOf(outcome) << std::endl;
}

void Script::run(const std::string& line) {
    const std::vector<std::string> words = splitCommand(line);
    if (words.empty() || words[0][0] == '#')
        return;
    const std::string& command = words[0];
    const std::string first = words.size() > 1 ? words[1] : "";
    std::vector<Value> values;
    for (std::size_t i = 2; i < words.size() && (command == "call" || command == "set"); ++i)
        values.push_back(valueOf(words[i]));

    if (command == "call") {
        print(first, page_->call(first, values));
    } else if (command == "default") {
        print(command, browser_.callDefault(page_->object(), {valueOf(first)}));
    } else if (command == "set") {
        Outcome outcome;
        outcome.ok = !values.empty() && page_->set(first, values[0]);
        print(command + " " + first, outcome);
    } else if (command == "get") {
        print(command + " " + first, browser_.get(page_->object(), first));
    } else if (command == "has") {
        Outcome outcome;
        outcome.ok = true;
        outcome.type = NPVariantType_Bool;
        outcome.number = browser_.has(page_->object(), first) ? 1 : 0;
        print(command + " " + first, outcome);
    } else if (command == "providers") {
        listProviders();
    } else if (command == "save") {
        std::ofstream file(first, std::ios::binary);
        if (!last_.isText() || !(file << last_.text))
            throw std::runtime_error("nothing saved to " + first);
    } else if (command == "expect") {
        expect(words);
    } else if (command == "reload") {
        remake();
#if defined(_WIN32)
    } else if (runWindowCommand(words)) {
        return;
#endif
    } else {
        throw std::runtime_error("unknown command " + command);
    }
}

#if defined(_WIN32)
bool Script::runWindowCommand(const std::vector<std::string>& words) {
    if (words[0] == "window") {
        window_ = std::make_unique<Window>(std::stoi(words.at(1)), std::stoi(words.at(2)));
        window_->show(plugin_, page_->instance());
        return true;
    }
    if (words[0] != "snapshot" || window_ == nullptr)
        return false;
    output_ << "snapshot " << window_->snapshot(words.at(1)) << std::endl;
    return true;
}
#endif

void Script::listProviders() {
    for (int index = 0;; ++index) {
        const Outcome outcome = page_->call("listCSP", {index});
        if (!outcome.isText())
            throw std::runtime_error("listCSP gives no text");
        if (outcome.text.empty())
            return;
        print("provider", outcome);
    }
}

void Script::expect(const std::vector<std::string>& words) {
    const std::string& wanted = words.at(1);
    const bool met = wanted == "text" ? last_.isText() && !last_.text.empty() : shown(last_) == wanted;
    if (!met)
        throw std::runtime_error("expected " + wanted + ", but the result is " + jsonOf(last_));
}

}  // namespace host
