#include "korvane/server/RequestBuffer.h"

#include <algorithm>
#include <utility>

#include "korvane/server/RequestHead.h"

namespace korvane {

RequestBuffer::Head RequestBuffer::look() {
    const std::string_view head = std::string_view(bytes_).substr(0, longestHead);
    // The last three bytes may be the beginning of the end.
    const std::size_t from = seen_ - std::min<std::size_t>(seen_, 3);
    const std::size_t end = head.find("\r\n\r\n", from);
    seen_ = head.size();
    end_ = end == std::string_view::npos ? head.size() : end + 4;
    if (end != std::string_view::npos) return isUnambiguousHead(head.substr(0, end_)) ? Head::Clear : Head::Ambiguous;
    if (hasBareLineEnd(head.substr(from))) return Head::Ambiguous;
    return head.size() == longestHead ? Head::TooLong : Head::Missing;
}

std::string RequestBuffer::take() {
    std::string rest = bytes_.substr(end_);
    std::string head = std::exchange(bytes_, std::move(rest));
    head.resize(end_);
    seen_ = 0;
    end_ = 0;
    return head;
}

}  // namespace korvane
