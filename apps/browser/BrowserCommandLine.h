#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/// What the person asked for. Of `folder` and `token` at most one is set; for pictures exactly one.
struct BrowserArguments {
    std::optional<std::filesystem::path> folder;
    /// "-" for the first line of standard input.
    std::string token;
    /// Where the pictures of the tour go; absent for a window.
    std::optional<std::filesystem::path> capture;
    /// The tour may delete an event.
    bool mayDelete = false;
    /// Of the window, points; absent for its own.
    std::optional<std::pair<int, int>> size;
    bool help = false;
};

struct BrowserCommandLine {
    BrowserArguments arguments;
    /// What is wrong, in a sentence; empty when all is well. Never quotes a token.
    std::string error;
};

std::string browserUsage();

/// Reads the words after the program's name. `usualToken` stands for an absent folder and token; empty for none.
BrowserCommandLine readBrowserCommandLine(const std::vector<std::string>& words, const std::string& usualToken = {});

/// Why a folder cannot be browsed, in a sentence: missing, no folder, or unreadable. Empty when it is worth an import.
std::string folderFault(const std::filesystem::path& folder);

}  // namespace korvane
