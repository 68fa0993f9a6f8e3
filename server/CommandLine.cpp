#include "korvane/server/CommandLine.h"

#include <charconv>

namespace korvane {

Result<CommandLine> CommandLine::parse(const std::vector<std::string>& words,
                                       const std::map<std::string, std::set<std::string>>& optionsOf) {
    if (words.empty()) return Error{"no command"};
    CommandLine line;
    line.command_ = words[0];
    const auto options = optionsOf.find(line.command_);
    if (options == optionsOf.end()) return Error{"no command is called " + line.command_};
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (!words[i].starts_with("--")) {
            line.plain_.push_back(words[i]);
            continue;
        }
        std::string name = words[i].substr(2);
        const std::size_t equals = name.find('=');
        std::string value = equals == std::string::npos ? "" : name.substr(equals + 1);
        name.resize(std::min(equals, name.size()));
        if (equals == std::string::npos && options->second.contains(name + "!")) {
            line.values_[name] = "";
            continue;
        }
        if (!options->second.contains(name)) return Error{line.command_ + " has no option --" + name};
        if (equals == std::string::npos) {
            if (i + 1 == words.size()) return Error{"--" + name + " needs a value"};
            value = words[++i];
        }
        line.values_[name] = value;
    }
    return line;
}

std::string CommandLine::text(const std::string& option) const {
    const auto found = values_.find(option);
    return found == values_.end() ? std::string() : found->second;
}

Result<std::int64_t> CommandLine::number(const std::string& option, std::int64_t fallback, std::int64_t least,
                                         std::int64_t most) const {
    if (!has(option)) return fallback;
    const std::string value = text(option);
    const char* end = value.data() + value.size();
    std::int64_t number = 0;
    const auto [stop, code] = std::from_chars(value.data(), end, number);
    if (code != std::errc() || stop != end || number < least || number > most)
        return Error{"--" + option + " must be a whole number from " + std::to_string(least) + " to " +
                     std::to_string(most)};
    return number;
}

}  // namespace korvane
