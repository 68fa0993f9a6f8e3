#include "korvane/server/EventList.h"

#include <nlohmann/json.hpp>

#include "korvane/base/UtcTime.h"

namespace korvane {
namespace {

using Json = nlohmann::json;

constexpr std::size_t longestName = 64;
constexpr std::size_t mostReasons = 20;
constexpr std::size_t mostElements = 100'000;
constexpr std::size_t deepest = 8;
constexpr TimeMs latest = 253'402'300'799'000;

/// Takes the parser's calls; one that returns false ends the reading.
class ListReader {
  public:
    ListReader(std::vector<std::string>& reasons, const std::atomic<bool>* cancel)
        : reasons_(reasons), cancel_(cancel) {}

    bool null() { return scalar(); }
    bool boolean(bool) { return scalar(); }
    bool number_integer(Json::number_integer_t) { return scalar(); }
    bool number_unsigned(Json::number_unsigned_t) { return scalar(); }
    bool number_float(Json::number_float_t, const Json::string_t&) { return scalar(); }
    bool binary(Json::binary_t&) { return scalar(); }
    bool string(Json::string_t& text) {
        if (depth_ != 2 || !isObject_) return scalar();
        if (key_ == "time") time_ = std::move(text);
        if (key_ == "name") name_ = std::move(text);
        return true;
    }
    bool key(Json::string_t& text) {
        if (depth_ == 2) key_ = std::move(text);
        return true;
    }
    bool start_object(std::size_t) { return begin(true); }
    bool start_array(std::size_t) { return begin(false); }
    bool end_object() { return end(); }
    bool end_array() { return end(); }
    bool parse_error(std::size_t, const std::string&, const Json::exception&) { return stop("is no JSON"); }

    /// What was read, or nothing when it ended early.
    std::vector<NewEvent> take() {
        if (bad_ > mostReasons) reasons_.push_back(std::to_string(bad_ - mostReasons) + " more elements are bad");
        return std::move(events_);
    }

    bool stop(const char* reason) {
        events_.clear();
        bad_ = 0;
        reasons_.clear();
        if (reason != nullptr) reasons_.emplace_back(reason);
        return false;
    }

  private:
    bool scalar() {
        if (depth_ == 0) return stop("is no array");
        return depth_ > 1 || finish("is no object");
    }

    bool begin(bool isObject) {
        if (depth_ == 0 && isObject) return stop("is no array");
        if (++depth_ > deepest) return stop("is nested too deeply");
        if (depth_ == 2) {
            isObject_ = isObject;
            time_.clear();
            name_.clear();
        }
        // A value that is no text takes the place of one that was.
        if (depth_ == 3 && isObject_) (key_ == "time" ? time_ : key_ == "name" ? name_ : key_).clear();
        return true;
    }

    bool end() { return --depth_ != 1 || finish(isObject_ ? judge() : "is no object"); }

    const char* judge() {
        const auto time = parseUtc(time_);
        if (!time || *time < 0 || *time > latest) return "has no \"time\" like 2026-03-09T07:05:01Z";
        if (name_.empty() || name_.size() > longestName) return "has no \"name\" of 1 to 64 bytes";
        events_.push_back({*time, std::move(name_), ""});
        return nullptr;
    }

    /// The end of an element, and what is wrong with it.
    bool finish(const char* fault) {
        if (fault != nullptr && ++bad_ <= mostReasons)
            reasons_.push_back("element " + std::to_string(count_) + " " + fault);
        if (cancel_ != nullptr && cancel_->load()) return stop(nullptr);
        return ++count_ <= mostElements || stop("has more than 100000 elements");
    }

    std::vector<std::string>& reasons_;
    const std::atomic<bool>* cancel_;
    std::vector<NewEvent> events_;
    std::size_t count_ = 0;
    std::size_t bad_ = 0;
    std::size_t depth_ = 0;
    bool isObject_ = false;
    std::string key_;
    std::string time_;
    std::string name_;
};

}  // namespace

std::vector<NewEvent> readEventList(std::string_view json, std::vector<std::string>& reasons,
                                    const std::atomic<bool>* cancel) {
    ListReader reader(reasons, cancel);
    Json::sax_parse(json.begin(), json.end(), &reader);
    return reader.take();
}

}  // namespace korvane
