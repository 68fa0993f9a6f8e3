#pragma once

#include <QString>
#include <QStringList>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "apps/browser/Application.h"

namespace korvane {

class ScrubberCell;
class TourHand;

/// Goes through the application as a person would, with the pointer, and takes pictures. Each step waits for what it
/// is to show, up to a bound. Main thread only.
class Tour {
  public:
    /// `application` outlives the tour. The pictures go to `pictures`, which is made when missing.
    Tour(Application& application, std::filesystem::path pictures);
    ~Tour();

    Tour(const Tour&) = delete;
    Tour& operator=(const Tour&) = delete;

    /// The exit code: 0 when all pictures were taken, 2 when there was nothing to import, 1 when a step did not come
    /// about. Says on standard output where the pictures are, on standard error what went wrong.
    int run(const std::optional<std::string>& token);

  private:
    bool walk(const std::optional<std::string>& token);
    bool importFolder();
    bool seeLiveEnd();
    bool selectEvent(const char* picture);
    bool goToMiddle();
    bool flyOver();
    bool seeHead();
    bool watch(const char* picture);
    bool seeInSize(int width, int height, const char* picture);
    bool refuseToken();

    const ScrubberCell* eventBesideMark() const;
    bool isPreviewed() const;
    bool isAtRest() const;
    bool wait(const char* what, const std::function<bool()>& done);
    bool settle();
    bool take(const char* name);
    bool fail(const std::string& what);

    Application& application_;
    const std::filesystem::path pictures_;
    std::unique_ptr<TourHand> hand_;
    std::optional<FootageService::Started> started_;
    QMetaObject::Connection selection_;
    std::shared_ptr<ScrubberEvent> selected_;
    QStringList taken_;
    std::string failure_;
    bool hasNothing_ = false;
};

}  // namespace korvane
