#include "korvane/apps/browser/BrowserCommandLine.h"

#include <cstdio>
#include <string_view>
#include <system_error>

namespace korvane {

namespace {

namespace fs = std::filesystem;

struct Option {
    std::string_view name;
    std::optional<std::string> value;
};

// Appended, since g++ 12 takes "text" + string for an endless copy once it optimises.
std::string sentence(std::string begin, std::string_view name, std::string_view end = {}) {
    return begin.append(name).append(end);
}

Option splitOption(std::string_view word) {
    const auto equals = word.find('=');
    if (equals == std::string_view::npos) return {word, {}};
    return {word.substr(0, equals), std::string(word.substr(equals + 1))};
}

// The option's own value, or the next word, which is then consumed.
std::optional<std::string> valueOf(const Option& option, const std::vector<std::string>& words, std::size_t& index) {
    if (option.value) return option.value;
    if (index + 1 >= words.size()) return {};
    return words[++index];
}

std::string takeFolder(const std::string& word, BrowserArguments& arguments) {
    if (word.empty()) return "The folder's name is empty.";
    if (arguments.folder) return "Give one folder only.";
    arguments.folder = word;
    return {};
}

std::string takeSize(const std::string& word, BrowserArguments& arguments) {
    int width = 0;
    int height = 0;
    char rest = 0;
    if (std::sscanf(word.c_str(), "%4dx%4d%c", &width, &height, &rest) != 2 || width < 1 || height < 1)
        return "A size is written like 1280x800.";
    arguments.size = {width, height};
    return {};
}

std::string takeOption(const std::vector<std::string>& words, std::size_t& index, BrowserArguments& arguments) {
    const Option option = splitOption(words[index]);
    if (option.name == "--help" || option.name == "-h") {
        arguments.help = true;
        return {};
    }
    if (option.name == "--delete" && !option.value) {
        arguments.mayDelete = true;
        return {};
    }
    if (option.name != "--token" && option.name != "--capture" && option.name != "--size")
        return sentence("There is no option ", option.name, ".");
    const auto value = valueOf(option, words, index);
    if (!value || value->empty()) return sentence("The option ", option.name, " needs a value.");
    if (option.name == "--size") return takeSize(*value, arguments);
    if (option.name == "--token")
        arguments.token = *value;
    else
        arguments.capture = *value;
    return {};
}

}  // namespace

std::string browserUsage() {
    return "Usage: korvane-browser [FOLDER] [OPTION...]\n"
           "       korvane-browser --token TOKEN [OPTION...]\n"
           "\n"
           "Browses what a camera has stored.\n"
           "\n"
           "  FOLDER          a folder of video files: imports them and serves them to itself.\n"
           "                  Without one the window asks for it\n"
           "  --token TOKEN   a camera of a service that runs elsewhere; - reads the token from\n"
           "                  standard input. Without FOLDER and token, KORVANE_TOKEN is one\n"
           "  --capture DIR   without a display: runs a tour and writes its pictures to DIR\n"
           "  --delete        the tour also deletes an event, for good\n"
           "  --size WxH      of the window\n"
           "  --help          this text\n";
}

BrowserCommandLine readBrowserCommandLine(const std::vector<std::string>& words, const std::string& usualToken) {
    BrowserCommandLine line;
    bool onlyFolders = false;
    for (std::size_t index = 0; index < words.size() && line.error.empty(); ++index) {
        const std::string& word = words[index];
        if (!onlyFolders && word == "--")
            onlyFolders = true;
        else if (!onlyFolders && word.size() > 1 && word.front() == '-')
            line.error = takeOption(words, index, line.arguments);
        else
            line.error = takeFolder(word, line.arguments);
    }
    if (!line.error.empty() || line.arguments.help) return line;
    if (!line.arguments.folder && line.arguments.token.empty()) line.arguments.token = usualToken;
    if (line.arguments.folder && !line.arguments.token.empty()) line.error = "Give a folder or a token, not both.";
    if (line.arguments.capture && !line.arguments.folder && line.arguments.token.empty())
        line.error = "Give a folder of video files, or a token.";
    return line;
}

std::string folderFault(const fs::path& folder) {
    const std::string name = sentence("\"", folder.string(), "\"");
    std::error_code error;
    const auto unreadable = [&] { return sentence("The folder ", name, " cannot be read: ") + error.message() + "."; };
    const fs::file_status status = fs::status(folder, error);
    if (status.type() == fs::file_type::not_found) return sentence("There is no folder ", name, ".");
    if (error) return unreadable();
    if (status.type() != fs::file_type::directory) return name + " is no folder.";
    const fs::directory_iterator probe(folder, error);
    if (error) return unreadable();
    return {};
}

}  // namespace korvane
