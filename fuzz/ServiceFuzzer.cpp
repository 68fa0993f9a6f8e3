#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "korvane/fuzz/Law.h"
#include "korvane/server/AccessToken.h"
#include "korvane/server/Api.h"
#include "korvane/server/ApiRequest.h"
#include "korvane/server/Storage.h"

using namespace korvane;
using fuzz::require;

namespace {

constexpr TimeSec now = 1'700'000'000;
constexpr std::int64_t camera = 1;

/// A service over three events and a recording of ten bytes, in memory, gone at the end.
class Service {
  public:
    Service() {
        std::string name = "/dev/shm/korvane-fuzz-XXXXXX";
        require(::mkdtemp(name.data()) != nullptr, "there is a folder");
        folder_ = name;
        std::ofstream(folder_ / "a.mp4") << "0123456789";
        auto opened = Storage::open(folder_ / "camera.db");
        require(bool(opened), "there is a data base");
        storage_ = std::move(*opened);
        require(storage_->cameraForFolder(folder_.string(), "Porch", "Europe/Berlin")->id == camera, "with a camera");
        const NewRecord record{now * 1000, now * 1000 + 9000, "picture"};
        const std::vector<NewEvent> events = {
            {now * 1000, "motion", "picture"}, {now * 1000 + 1, "motion", ""}, {now * 1000 + 2, "bell", ""}};
        require(!storage_->storeRecording(camera, {"a.mp4", 10, 1, ""}, record, events), "and what it saw");
        api_ = std::make_unique<Api>(
            *storage_, tokens_, [] { return now * 1000; }, false);
    }
    ~Service() {
        storage_.reset();
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    httplib::Response answer(httplib::Request& request) const {
        request.headers.emplace("Authorization", "Bearer " + tokens_.issueBearer(camera, now + 60));
        httplib::Response response;
        api_->answer(request, response);
        return response;
    }

  private:
    std::filesystem::path folder_;
    std::unique_ptr<Storage> storage_;
    const AccessToken tokens_{"secret"};
    std::unique_ptr<Api> api_;
};

/// How many bytes the reply's file gives.
std::size_t readFile(const httplib::Response& response) {
    std::size_t read = 0;
    httplib::DataSink sink;
    sink.write = [&read](const char*, std::size_t size) {
        read += size;
        return true;
    };
    while (read < response.content_length_ && response.content_provider_(read, response.content_length_ - read, sink)) {
    }
    return read;
}

}  // namespace

// Lines: a method, a path below the camera's, a query, a range of bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Service service;
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    httplib::Request request;
    request.method = fuzz::takeLine(rest);
    request.path = "/v1/cameras/1" + std::string(fuzz::takeLine(rest));
    httplib::detail::parse_query_text(std::string(fuzz::takeLine(rest)), request.params);
    if (!rest.empty()) request.headers.emplace("Range", rest);
    const httplib::Response response = service.answer(request);
    require(response.status >= 200 && response.status < 500, "the service does not fail");
    if (response.content_provider_) require(readFile(response) == response.content_length_, "a file comes whole");
    if (response.get_header_value("Content-Type") == "application/json")
        require(nlohmann::json::accept(response.body), "a reply is JSON");
    return 0;
}
