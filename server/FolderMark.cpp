#include "korvane/server/FolderMark.h"

#include <openssl/rand.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "korvane/server/DataPlace.h"
#include "korvane/server/Importer.h"

namespace korvane {
namespace {

constexpr std::size_t markBytes = 16;
constexpr std::string_view digits = "0123456789abcdef";

std::filesystem::path markFile(const std::filesystem::path& folder) {
    return defaultDatabase(folder).parent_path() / "mark";
}

Error unreadable(const std::filesystem::path& file, const std::string& reason) {
    return Error{file.string() + " cannot be read: " + reason};
}

}  // namespace

Result<std::string> FolderMark::read(const std::filesystem::path& folder) {
    const std::filesystem::path file = markFile(folder);
    std::error_code code;
    const auto place = std::filesystem::symlink_status(file.parent_path(), code);
    if (place.type() == std::filesystem::file_type::none) return unreadable(file, code.message());
    if (!std::filesystem::is_directory(place)) return std::string();
    const auto opened = openOwnFile(file);
    if (!opened && opened.error().isBusy) return unreadable(file, opened.error().message);
    if (!opened || !*opened) return std::string();
    std::array<char, 2 * markBytes + 1> text{};
    const ssize_t length = ::read(opened->get(), text.data(), text.size());
    if (length < 0) return unreadable(file, std::strerror(errno));
    if (length != 2 * markBytes) return std::string();
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
    if (!std::filesystem::is_directory(std::filesystem::symlink_status(file.parent_path(), ignored))) return {};
    const auto old = read(folder);
    if (!old) return {};
    if (!old->empty()) std::filesystem::remove(file, ignored);
    if (writeOnce(file, mark)) return {};
    const auto written = read(folder);
    return written ? *written : std::string();
}

}  // namespace korvane
