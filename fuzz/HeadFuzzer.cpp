#include <httplib.h>

#include "korvane/fuzz/Law.h"
#include "korvane/server/RequestHead.h"

using namespace korvane;
using fuzz::require;

namespace {

/// A connection that brings a text and forgets what it is sent.
class TextStream final : public httplib::Stream {
  public:
    explicit TextStream(std::string_view text) : rest_(text) {}

    bool is_readable() const override { return !rest_.empty(); }
    bool is_writable() const override { return true; }
    ssize_t read(char* to, std::size_t size) override {
        const std::size_t count = rest_.copy(to, size);
        rest_.remove_prefix(count);
        return static_cast<ssize_t>(count);
    }
    ssize_t write(const char*, std::size_t size) override { return static_cast<ssize_t>(size); }
    void get_remote_ip_and_port(std::string&, int&) const override {}
    void get_local_ip_and_port(std::string&, int&) const override {}
    socket_t socket() const override { return INVALID_SOCKET; }

  private:
    std::string_view rest_;
};

/// The other reader of what the service is sent.
class Reader final : public httplib::Server {
  public:
    void read(std::string_view head) {
        TextStream stream(head);
        bool isClosed = false;
        process_request(stream, false, isClosed, [](const httplib::Request& request) { check(request.headers); });
    }

  private:
    static void check(const httplib::Headers& headers) {
        const auto lengths = headers.equal_range("Content-Length");
        for (auto length = lengths.first; length != lengths.second; ++length)
            require(length->second == lengths.first->second, "a body has one length");
        require(headers.count("Host") <= 1, "a request goes to one host");
        require(lengths.first == lengths.second || headers.count("Transfer-Encoding") == 0, "a body has one end");
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Reader reader;
    const std::string_view head(reinterpret_cast<const char*>(data), size);
    if (!isUnambiguousHead(head)) return 0;
    require(head.find("\r\n\r\n") == head.size() - 4, "a head ends at its empty line");
    require(!hasBareLineEnd(head), "lines end in one way");
    reader.read(head);
    return 0;
}
