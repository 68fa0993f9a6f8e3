#pragma once

#include <string>
#include <utility>

namespace korvane {

/// One event mark inside a recorded period. A plain value.
class ScrubberTimelineEventItem {
  public:
    /// The moment, ms; 0 when the service gave none.
    double dateTime() const { return dateTime_; }
    void setDateTime(double dateTime) { dateTime_ = dateTime; }

    /// "motion", say.
    const std::string& name() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }

    /// Nothing in the library fills it.
    const std::string& url() const { return url_; }
    void setUrl(std::string url) { url_ = std::move(url); }

  private:
    double dateTime_ = 0.0;
    std::string name_;
    std::string url_;
};

}  // namespace korvane
