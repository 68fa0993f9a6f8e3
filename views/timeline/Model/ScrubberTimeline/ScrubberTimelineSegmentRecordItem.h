#pragma once

#include <string>
#include <utility>

namespace korvane {

/// One recording file. A plain value.
class ScrubberTimelineSegmentRecordItem {
  public:
    /// Begin of the recording, ms; 0 when the service gave none.
    double startDateTime() const { return startDateTime_; }
    void setStartDateTime(double startDateTime) { startDateTime_ = startDateTime; }

    /// Its end, ms; 0 when the service gave none.
    double endDateTime() const { return endDateTime_; }
    void setEndDateTime(double endDateTime) { endDateTime_ = endDateTime; }

    /// Where the video can be fetched.
    const std::string& url() const { return url_; }
    void setUrl(std::string url) { url_ = std::move(url); }

  private:
    double startDateTime_ = 0.0;
    double endDateTime_ = 0.0;
    std::string url_;
};

}  // namespace korvane
