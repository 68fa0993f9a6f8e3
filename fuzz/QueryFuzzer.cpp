#include "korvane/client/http/HttpQuery.h"
#include "korvane/fuzz/Law.h"
#include "korvane/server/Api.h"
#include "korvane/server/ApiRequest.h"

using namespace korvane;
using fuzz::require;

namespace {

template <typename Read>
void attempt(Read read) {
    try {
        read();
    } catch (const ApiFailure& failure) {
        require(failure.status() >= 400 && failure.status() < 500, "a bad request is the caller's fault");
    }
}

httplib::Request requestOf(const std::string& query) {
    httplib::Request request;
    httplib::detail::parse_query_text(query, request.params);
    return request;
}

}  // namespace

// Lines: a path, a query, the headers Authorization and Host.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string path(fuzz::takeLine(rest));
    const std::string query(fuzz::takeLine(rest));
    httplib::Request request = requestOf(query);
    request.path = path;
    request.headers.emplace("Authorization", fuzz::takeLine(rest));
    request.headers.emplace("Host", fuzz::takeLine(rest));
    const ApiRequest reader(request);

    attempt([&] {
        std::string joined;
        for (const std::string& piece : reader.pathPieces()) joined += "/" + piece;
        require(joined == path, "the pieces of a path make it up");
    });
    attempt([&] {
        const PageQuery page = reader.page();
        require(page.limit >= 0 && page.limit <= Api::mostRows && page.offset >= 0, "a page has an end");
    });
    attempt([&] { reader.integers("origin_ids"); });
    reader.bearer();
    require(reader.root().find_first_of("\r\n\"<> /", 7) == std::string::npos, "an address is a host");

    const std::string written = HttpQuery("").add("type", query).add("offset", std::int64_t{7}).text().substr(1);
    const httplib::Request again = requestOf(written);
    require(ApiRequest(again).text("type") == query && ApiRequest(again).integer("offset", 0) == 7,
            "what the client asks is what the service reads");
    return 0;
}
