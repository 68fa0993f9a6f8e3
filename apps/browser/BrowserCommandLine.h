#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/// What the person asked for. Exactly one of `folder` and `token` is set, unless it is `help`; with `videos` the folder
/// may be absent.
struct BrowserArguments {
    std::optional<std::filesystem::path> folder;
    std::string token;
    /// The person's own folder of videos stands for an absent one, and faults of the folder are told in the window.
    bool videos = false;
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

/// Reads the words after the program's name.
BrowserCommandLine readBrowserCommandLine(const std::vector<std::string>& words);

/// Why a folder cannot be browsed, in a sentence: missing, no folder, unreadable, or without a file in it. Empty when
/// it is worth an import.
std::string folderFault(const std::filesystem::path& folder);

}  // namespace korvane
