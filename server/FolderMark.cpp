#include "korvane/server/FolderMark.h"

#include <openssl/rand.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "korvane/server/DataPlace.h"
#include "korvane/server/Importer.h"

namespace korvane {
namespace {

constexpr std::size_t markBytes = 16;
constexpr std::string_view digits = "0123456789abcdef";

std::filesystem::path markFile(const std::filesystem::path& folder) {
    return defaultDatabase(folder).parent_path() / "mark";
}

bool isFolder(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(std::filesystem::symlink_status(path, ignored));
}

}  // namespace

std::string FolderMark::read(const std::filesystem::path& folder) {
    const std::filesystem::path file = markFile(folder);
    if (!isFolder(file.parent_path())) return {};
    const auto opened = openOwnFile(file);
    if (!opened || !*opened) return {};
    std::array<char, 2 * markBytes + 1> text{};
    if (::read(opened->get(), text.data(), text.size()) != 2 * markBytes) return {};
    const std::string mark(text.data(), 2 * markBytes);
    return mark.find_first_not_of(digits) == std::string::npos ? mark : std::string();
}

std::string FolderMark::make(const std::filesystem::path& folder) {
    std::array<unsigned char, markBytes> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) return {};
    std::string mark;
    for (const unsigned char byte : bytes) (mark += digits[byte >> 4U]) += digits[byte & 15U];
    const std::filesystem::path file = markFile(folder);
    std::error_code ignored;
    std::filesystem::create_directory(file.parent_path(), ignored);
    if (!isFolder(file.parent_path())) return {};
    if (!read(folder).empty()) std::filesystem::remove(file, ignored);
    if (writeOnce(file, mark)) return {};
    return read(folder);
}

}  // namespace korvane
