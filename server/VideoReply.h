#pragma once

#include <httplib.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace korvane {

class FolderRoot;

/// What a Range header asks of a file.
struct ByteRange {
    enum class Kind { Whole, Part, Unsatisfiable };
    Kind kind = Kind::Whole;
    std::uint64_t first = 0;
    /// Belongs to the range.
    std::uint64_t last = 0;
};

/// Reads a Range header against a file of `size` bytes. An empty header, another unit and a list of ranges ask for the
/// whole file; one that is malformed or begins past the end is unsatisfiable.
ByteRange parseRange(std::string_view header, std::uint64_t size);

/// Answers with a file of `folder`, or the part of it that is asked for, reading as the receiver takes. Throws
/// ApiFailure.
void replyWithFile(const httplib::Request& request, httplib::Response& response, const FolderRoot& folder,
                   const std::string& path);

}  // namespace korvane
