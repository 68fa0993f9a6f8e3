#include "korvane/server/Api.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "korvane/base/Log.h"
#include "korvane/base/UtcTime.h"
#include "korvane/server/AccessToken.h"
#include "korvane/server/ApiRequest.h"
#include "korvane/server/FolderRoot.h"
#include "korvane/server/Storage.h"
#include "korvane/server/VideoReply.h"

namespace korvane {
namespace {

using Json = nlohmann::ordered_json;

void reply(httplib::Response& response, const Json& json) {
    if (response.status < 0) response.status = 200;
    response.set_header("Cache-Control", "no-store");
    response.set_content(json.dump(-1, ' ', false, Json::error_handler_t::replace), "application/json");
}

/// The value of a storage result; a failure of the data base is the service's own.
template <typename T>
T take(Result<T> result) {
    if (result) return std::move(*result);
    logError("Api", result.error().message);
    if (result.error().isBusy) throw ApiFailure(503, "the data base is written to; try again");
    throw ApiFailure(500, "the data base does not answer");
}

/// One authorised request about one camera.
class CameraCall {
  public:
    CameraCall(Storage& storage, const httplib::Request& request, httplib::Response& response, Camera camera,
               bool followLinks)
        : storage_(storage),
          http_(request),
          request_(request),
          response_(response),
          camera_(std::move(camera)),
          followLinks_(followLinks) {}

    /// `pieces`: the path after the camera's id.
    void answer(const std::vector<std::string>& pieces) {
        if (http_.method == "DELETE") {
            if (pieces.size() != 2 || pieces[0] != "events") throw ApiFailure(404, "no such thing to delete");
            return deleteEvent(idFrom(pieces[1]));
        }
        if (pieces.empty()) return describe();
        if (pieces.size() == 1) return list(pieces[0]);
        if (pieces.size() != 3) throw ApiFailure(404, "no such thing");
        if (pieces[0] == "records" && pieces[2] == "video") return video(idFrom(pieces[1]));
        if (pieces[0] == "records" && pieces[2] == "thumb")
            return picture(storage_.recordThumbnail(camera_.id, idFrom(pieces[1])));
        if (pieces[0] == "events" && pieces[2] == "thumb")
            return picture(storage_.eventThumbnail(camera_.id, idFrom(pieces[1])));
        throw ApiFailure(404, "no such thing");
    }

  private:
    static std::int64_t idFrom(const std::string& piece) {
        try {
            return ApiRequest::parseInteger(piece, "id");
        } catch (const ApiFailure&) {
            throw ApiFailure(404, "no such thing");
        }
    }

    void list(const std::string& what) {
        if (what == "events") return events();
        if (what == "records") return records();
        if (what == "thumbnails") return thumbnails();
        if (what == "timeline") return timeline();
        if (what == "activity") return activity();
        if (what == "calendar") return calendar();
        throw ApiFailure(404, "no such list");
    }

    std::string url(const char* kind, std::int64_t id, const char* part) const {
        return request_.root() + "/v1/cameras/" + std::to_string(camera_.id) + "/" + kind + "/" + std::to_string(id) +
               "/" + part + "?access=" + request_.bearer();
    }

    void describe() { reply(response_, {{"id", camera_.id}, {"name", camera_.name}, {"timezone", camera_.timezone}}); }

    void replyWithPage(const PageQuery& query, std::int64_t totalCount, Json objects) {
        reply(response_, {{"meta", {{"total_count", totalCount}, {"limit", query.limit}, {"offset", query.offset}}},
                          {"objects", std::move(objects)}});
    }

    void events() {
        const PageQuery query = request_.page();
        const auto page = take(storage_.events(camera_.id, query));
        Json objects = Json::array();
        for (const StoredEvent& event : page.rows) {
            Json object = {
                {"id", event.id}, {"camid", camera_.id}, {"name", event.name}, {"time", formatUtc(event.time)}};
            if (event.hasThumbnail) object["thumb"] = {{"url", url("events", event.id, "thumb")}};
            objects.push_back(std::move(object));
        }
        replyWithPage(query, page.totalCount, std::move(objects));
    }

    void records() {
        const PageQuery query = request_.page();
        const auto page = take(storage_.records(camera_.id, query));
        Json objects = Json::array();
        for (const StoredRecord& record : page.rows)
            objects.push_back({{"id", record.id},
                               {"camid", camera_.id},
                               {"start", formatUtc(record.start)},
                               {"end", formatUtc(record.end)},
                               {"url", url("records", record.id, "video")}});
        replyWithPage(query, page.totalCount, std::move(objects));
    }

    void thumbnails() {
        const PageQuery query = request_.page();
        const std::string origin = request_.text("origin");
        if (!origin.empty() && origin != "recording_thumbnail") throw ApiFailure(400, "origin is not known");
        const auto page = take(storage_.thumbnails(camera_.id, query, request_.integers("origin_ids")));
        Json objects = Json::array();
        for (const StoredRecord& record : page.rows)
            objects.push_back({{"url", url("records", record.id, "thumb")}, {"time", formatUtc(record.start)}});
        replyWithPage(query, page.totalCount, std::move(objects));
    }

    void timeline() {
        const TimeRange range = request_.range();
        Json periods = Json::array();
        for (const Period& period : take(storage_.timeline(camera_.id, range)))
            periods.push_back(Json::array({period.start, period.end}));
        reply(response_, {{"start", range.start}, {"end", range.end}, {"periods", std::move(periods)}});
    }

    /// Ascending days, all of them: a page of days would leave whole days of footage out of a day tree.
    void activity() {
        const TimeRange range = request_.range();
        const std::string zone = request_.flag("daysincamtz") ? camera_.timezone : "UTC";
        request_.flag("boundstime");  // Understood, and without effect: days are whole days here.
        auto days = take(storage_.recordedDays(camera_.id, range, zone));
        const auto eventDays = take(storage_.eventDays(camera_.id, range, request_.text("events"), zone));
        const auto middle = static_cast<std::ptrdiff_t>(days.size());
        days.insert(days.end(), eventDays.begin(), eventDays.end());
        std::inplace_merge(days.begin(), days.begin() + middle, days.end());
        days.erase(std::unique(days.begin(), days.end()), days.end());
        reply(response_, days);
    }

    void calendar() {
        TimeRange range = request_.range();
        if (range.start <= 0) range.start = -1;
        if (range.end <= 0) range.end = -1;
        reply(response_, take(storage_.recordedDays(camera_.id, range, camera_.timezone)));
    }

    void deleteEvent(std::int64_t id) {
        if (!take(storage_.deleteEvent(camera_.id, id))) throw ApiFailure(404, "no such event");
        reply(response_, {{"message", "event deleted"}});
    }

    void video(std::int64_t id) {
        const auto record = take(storage_.record(camera_.id, id));
        if (!record) throw ApiFailure(404, "no such recording");
        const auto folder = FolderRoot::open(camera_.folder, followLinks_);
        if (!folder && folder.error().isBusy) throw ApiFailure(503, "the recording's folder cannot be read now");
        if (!folder) throw ApiFailure(404, "the recording's folder is gone");
        replyWithFile(http_, response_, *folder, record->path);
    }

    void picture(Result<std::optional<std::string>> bytes) {
        const auto jpeg = take(std::move(bytes));
        if (!jpeg) throw ApiFailure(404, "no such picture");
        response_.status = 200;
        response_.set_header("Cache-Control", "private, max-age=86400");
        response_.set_content(*jpeg, "image/jpeg");
    }

    Storage& storage_;
    const httplib::Request& http_;
    ApiRequest request_;
    httplib::Response& response_;
    Camera camera_;
    bool followLinks_;
};

}  // namespace

Api::Api(Storage& storage, const AccessToken& tokens, std::function<TimeMs()> now, bool followLinks)
    : storage_(storage), tokens_(tokens), now_(std::move(now)), followLinks_(followLinks) {}

void Api::fail(httplib::Response& response, int status, const std::string& message) {
    response.status = status;
    reply(response, {{"error", {{"code", status}, {"message", message}}}});
}

void Api::answer(const httplib::Request& request, httplib::Response& response) const {
    try {
        const ApiRequest reader(request);
        auto pieces = reader.pathPieces();
        if (request.method != "GET" && request.method != "HEAD" && request.method != "DELETE")
            throw ApiFailure(405, "GET, HEAD and DELETE are served");
        const auto permitted = tokens_.verify(reader.bearer(), now_() / 1000);
        if (!permitted) {
            response.set_header("WWW-Authenticate", "Bearer");
            throw ApiFailure(401, "no token, or one that is forged or expired");
        }
        if (pieces.size() < 3 || pieces[0] != "v1" || pieces[1] != "cameras") throw ApiFailure(404, "no such path");
        if (ApiRequest::parseInteger(pieces[2], "camera id") != *permitted)
            throw ApiFailure(403, "the token is for another camera");
        const auto camera = take(storage_.camera(*permitted));
        if (!camera) throw ApiFailure(404, "no such camera");
        pieces.erase(pieces.begin(), pieces.begin() + 3);
        CameraCall(storage_, request, response, *camera, followLinks_).answer(pieces);
    } catch (const ApiFailure& failure) {
        if (failure.status() == 503) response.set_header("Retry-After", "1");
        fail(response, failure.status(), failure.what());
    } catch (const std::exception& error) {
        logError("Api", error.what());
        fail(response, 500, "the service has failed");
    }
}

}  // namespace korvane
