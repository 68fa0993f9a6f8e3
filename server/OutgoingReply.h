#pragma once

#include <httplib.h>

#include <cstddef>
#include <string>

namespace korvane {

/// A reply on its way to the peer: bytes, and after them perhaps a content that is read as the peer takes it, so that
/// no more than a piece of it is ever in memory. Used by one thread at a time.
class OutgoingReply {
  public:
    /// The connection ends with it.
    bool closes = false;

    void setBytes(std::string bytes) { bytes_ = std::move(bytes); }
    /// What follows the bytes: `size` of them.
    void setContent(httplib::ContentProvider content, std::size_t size);

    enum class Progress { Sent, Blocked, Cut, Broken };
    /// Sends without waiting. `Blocked`: the socket takes no more now. `Cut`: it would, but others are to have their
    /// turn. `Broken`: the peer has gone, or the content cannot be read.
    Progress send(int socket);

    /// Bytes that it keeps in memory.
    std::size_t held() const { return bytes_.capacity(); }

  private:
    bool readPiece();

    std::string bytes_;
    std::size_t sent_ = 0;
    httplib::ContentProvider content_;
    std::size_t offset_ = 0;
    std::size_t size_ = 0;
};

}  // namespace korvane
