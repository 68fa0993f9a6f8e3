#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "korvane/base/Result.h"

namespace korvane {

/// The words after a program's name: COMMAND, then "--name value" pairs, plain words and switches in any order.
class CommandLine {
  public:
    /// Fails for an option that is not among `options` of the command, for one without a value and for an unknown
    /// command. An option that is listed with a "!" at its end is a switch, and takes no value.
    static Result<CommandLine> parse(const std::vector<std::string>& words,
                                     const std::map<std::string, std::set<std::string>>& optionsOf);

    const std::string& command() const { return command_; }
    const std::vector<std::string>& plain() const { return plain_; }
    bool has(const std::string& option) const { return values_.contains(option); }
    /// Empty when the option is absent.
    std::string text(const std::string& option) const;
    /// A whole number from `least` to `most`.
    Result<std::int64_t> number(const std::string& option, std::int64_t fallback, std::int64_t least,
                                std::int64_t most) const;

  private:
    std::string command_;
    std::vector<std::string> plain_;
    std::map<std::string, std::string> values_;
};

}  // namespace korvane
