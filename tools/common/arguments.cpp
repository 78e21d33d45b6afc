#include "tools/common/arguments.h"

#include <algorithm>

namespace tools {

std::string quoted(std::string_view text) {
    constexpr std::size_t kMost = 60;
    std::string out = "\"";
    for (const char c : text.substr(0, kMost))
        out += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? '?' : c;
    return out + (text.size() > kMost ? "...\"" : "\"");
}

namespace {

const Option& findOption(const std::vector<Option>& known, const std::string& name) {
    const auto found = std::find_if(known.begin(), known.end(), [&](const Option& option) {
        return name == option.name || (option.shortName != nullptr && name == option.shortName);
    });
    if (found == known.end())
        throw UsageError("no option " + quoted(name));
    return *found;
}

}  // namespace

Arguments::Arguments(int count, char** arguments, const std::vector<Option>& known) {
    bool onlyWords = false;
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        if (onlyWords || argument.size() < 2 || argument[0] != '-') {
            rest.push_back(argument);
            continue;
        }
        if (argument == "--") {
            onlyWords = true;
            continue;
        }
        const std::size_t equals = argument.compare(0, 2, "--") == 0 ? argument.find('=') : std::string::npos;
        const Option& option = findOption(known, argument.substr(0, equals));
        std::vector<std::string>& values = given[option.name];
        if (option.value == nullptr) {
            if (equals != std::string::npos)
                throw UsageError(std::string(option.name) + " has no value");
        } else if (equals != std::string::npos) {
            values.push_back(argument.substr(equals + 1));
        } else if (++i < count) {
            values.emplace_back(arguments[i]);
        } else {
            throw UsageError(argument + " needs " + option.value);
        }
    }
}

std::string Arguments::value(const std::string& option, const std::string& other) const {
    const std::vector<std::string> all = values(option);
    return all.empty() ? other : all.back();
}

std::vector<std::string> Arguments::values(const std::string& option) const {
    const auto found = given.find(option);
    return found == given.end() ? std::vector<std::string>() : found->second;
}

std::vector<std::string> Arguments::options() const {
    std::vector<std::string> names;
    for (const auto& entry : given)
        names.push_back(entry.first);
    return names;
}

}  // namespace tools
