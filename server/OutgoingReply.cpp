#include "korvane/server/OutgoingReply.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace korvane {
namespace {

constexpr std::size_t pieceBytes = 64 * 1024;
constexpr int piecesAtATime = 8;

}  // namespace

void OutgoingReply::setContent(httplib::ContentProvider content, std::size_t size) {
    content_ = std::move(content);
    size_ = size;
}

bool OutgoingReply::readPiece() {
    bytes_.clear();
    sent_ = 0;
    const std::size_t wanted = std::min(size_ - offset_, pieceBytes);
    httplib::DataSink sink;
    sink.write = [this](const char* data, std::size_t size) {
        bytes_.append(data, size);
        return true;
    };
    sink.done = [] {};
    sink.is_writable = [] { return true; };
    if (!content_(offset_, wanted, sink) || bytes_.empty() || bytes_.size() > wanted) return false;
    offset_ += bytes_.size();
    return true;
}

OutgoingReply::Progress OutgoingReply::send(int socket) {
    int pieces = 0;
    while (true) {
        if (sent_ == bytes_.size()) {
            if (offset_ == size_) return Progress::Sent;
            if (pieces++ == piecesAtATime) return Progress::Cut;
            if (!readPiece()) return Progress::Broken;
        }
        const int more = offset_ == size_ ? 0 : MSG_MORE;
        const ssize_t count =
            ::send(socket, bytes_.data() + sent_, bytes_.size() - sent_, MSG_NOSIGNAL | MSG_DONTWAIT | more);
        if (count >= 0) {
            sent_ += static_cast<std::size_t>(count);
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            return Progress::Blocked;
        } else if (errno != EINTR) {
            return Progress::Broken;
        }
    }
}

}  // namespace korvane
