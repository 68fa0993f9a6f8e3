#include "korvane/server/VideoReply.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "korvane/server/ApiRequest.h"
#include "korvane/server/FolderRoot.h"

namespace korvane {
namespace {

constexpr std::size_t chunkBytes = 128 * 1024;

class OpenFile {
  public:
    explicit OpenFile(Descriptor descriptor) : descriptor_(std::move(descriptor)) {
        struct stat info {};
        if (::fstat(descriptor_.get(), &info) == 0) size_ = static_cast<std::uint64_t>(info.st_size);
    }

    std::optional<std::uint64_t> size() const { return size_; }

    bool send(std::uint64_t offset, std::size_t length, httplib::DataSink& sink) const {
        std::array<char, chunkBytes> chunk;
        const ssize_t count =
            ::pread(descriptor_.get(), chunk.data(), std::min(length, chunk.size()), static_cast<off_t>(offset));
        return count > 0 && sink.write(chunk.data(), static_cast<std::size_t>(count));
    }

  private:
    Descriptor descriptor_;
    std::optional<std::uint64_t> size_;
};

const char* contentType(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    static constexpr std::array<std::pair<std::string_view, const char*>, 6> types = {{{".mkv", "video/x-matroska"},
                                                                                       {".webm", "video/webm"},
                                                                                       {".mov", "video/quicktime"},
                                                                                       {".avi", "video/x-msvideo"},
                                                                                       {".ts", "video/mp2t"},
                                                                                       {".m2ts", "video/mp2t"}}};
    const auto* found =
        std::find_if(types.begin(), types.end(), [&](const auto& type) { return type.first == extension; });
    return found == types.end() ? "video/mp4" : found->second;
}

/// All of `text` as a number; too big a one is the biggest.
std::optional<std::uint64_t> number(std::string_view text) {
    std::uint64_t value = 0;
    const auto [stop, code] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || stop != text.data() + text.size()) return std::nullopt;
    if (code == std::errc::result_out_of_range) return UINT64_MAX;
    return code == std::errc() ? std::optional(value) : std::nullopt;
}

}  // namespace

ByteRange parseRange(std::string_view header, std::uint64_t size) {
    constexpr std::string_view unit = "bytes=";
    if (!header.starts_with(unit) || header.find(',') != std::string_view::npos) return {};
    const std::string_view range = header.substr(unit.size());
    const std::size_t dash = range.find('-');
    const ByteRange bad{ByteRange::Kind::Unsatisfiable, 0, 0};
    if (dash == std::string_view::npos || size == 0) return bad;
    const auto last = number(range.substr(dash + 1));
    if (dash == 0) {
        if (!last || *last == 0) return bad;
        return {ByteRange::Kind::Part, size - std::min(*last, size), size - 1};
    }
    const auto first = number(range.substr(0, dash));
    if (!first || *first >= size || (!last && dash + 1 != range.size()) || (last && *last < *first)) return bad;
    return {ByteRange::Kind::Part, *first, last ? std::min(*last, size - 1) : size - 1};
}

void replyWithFile(const httplib::Request& request, httplib::Response& response, const FolderRoot& folder,
                   const std::string& path) {
    struct stat info {};
    const auto isThere = folder.describe(path, info);
    if (isThere && !*isThere) throw ApiFailure(404, "the recording's file is gone");
    auto opened = folder.openFile(path);
    if (!opened && opened.error().isBusy) throw ApiFailure(503, "the recording's file cannot be read now");
    if (!opened) throw ApiFailure(404, "the recording's file is gone");
    const auto open = std::make_shared<OpenFile>(std::move(*opened));
    const std::optional<std::uint64_t> size = open->size();
    if (!size) throw ApiFailure(503, "the recording's file cannot be read now");
    response.set_header("Accept-Ranges", "bytes");
    const ByteRange range = parseRange(request.get_header_value("Range"), *size);
    if (range.kind == ByteRange::Kind::Unsatisfiable) {
        response.set_header("Content-Range", "bytes */" + std::to_string(*size));
        throw ApiFailure(416, "the range lies outside of the file");
    }
    if (*size == 0) {
        response.status = 200;
        response.set_content("", contentType(path));
        return;
    }
    std::uint64_t first = 0;
    std::uint64_t length = *size;
    response.status = 200;
    if (range.kind == ByteRange::Kind::Part) {
        first = range.first;
        length = range.last - range.first + 1;
        response.status = 206;
        response.set_header("Content-Range", "bytes " + std::to_string(range.first) + "-" + std::to_string(range.last) +
                                                 "/" + std::to_string(*size));
    }
    response.set_content_provider(length, contentType(path),
                                  [open, first](std::size_t offset, std::size_t wanted, httplib::DataSink& sink) {
                                      return open->send(first + offset, wanted, sink);
                                  });
}

}  // namespace korvane
