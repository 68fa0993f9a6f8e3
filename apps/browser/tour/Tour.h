#pragma once

#include <QString>
#include <QStringList>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "korvane/apps/browser/Application.h"

class QQuickItem;

namespace korvane {

class TourHand;

/// Goes through the application as a person would, with pointer and keys, and takes pictures. Each step waits for what
/// it is to show, up to a bound. Main thread only.
class Tour {
  public:
    struct Options {
        /// Where the pictures go; made when missing.
        std::filesystem::path pictures;
        /// To import; not looked at when there is a token.
        std::filesystem::path folder;
        /// Of a service that runs elsewhere; empty for the folder.
        std::string token;
        /// Deletes an event instead of showing the question alone.
        bool mayDelete = false;
        /// Shows the window in other sizes too.
        bool isResizing = true;
    };

    /// `application` outlives the tour.
    Tour(Application& application, Options options);
    ~Tour();

    Tour(const Tour&) = delete;
    Tour& operator=(const Tour&) = delete;

    /// The exit code: 0 when all pictures were taken, 2 when there was nothing to import, 1 when a step did not come
    /// about. Says on standard output where the pictures are, on standard error what went wrong.
    int run();

  private:
    /// What has been told of the import.
    struct Import {
        double fraction = 0;
        std::string file;
        std::string token;  // once the service runs
        std::optional<FootageService::Look> look;
        std::string fault;
    };

    bool walk();
    bool importFolder();
    FootageService::Handlers handlers() const;
    bool seeLiveEnd();
    bool goToMiddle();
    bool selectEvent();
    bool flyOver(const char* picture);
    bool seeNeighbours();
    bool seeHourBack();
    bool seeDeletion();
    bool seePlayOn();
    bool seeRecordings();
    bool seeGroups();
    bool seeTimeline();
    bool seeRuler();
    bool seeRange();
    bool seeCalendar();
    std::vector<QQuickItem*> recordedDays() const;
    bool seeFirst();
    bool seeLooks();
    bool seeSheet(Qt::Key key, const char* picture);
    bool seeSizes();
    bool seeInSize(int width, int height, const char* picture);
    bool refuseToken();

    bool go(Qt::Key key, const char* what);
    bool choose(const char* label, const char* what);
    bool tapItem(const char* property, const char* begin);
    bool watch(const char* picture, TimeMs enough);
    std::optional<std::int64_t> eventBesideMark() const;
    bool isPreviewed() const;
    bool isAtRest() const;
    const std::shared_ptr<ScrubberEvent>& selected() const;
    bool isMarked() const;
    bool wait(const char* what, const std::function<bool()>& done);
    void settle();
    bool take(const char* name);
    bool fail(const std::string& what);

    Application& application_;
    const Options options_;
    std::unique_ptr<TourHand> hand_;
    const std::shared_ptr<Import> import_ = std::make_shared<Import>();
    QMetaObject::Connection selection_;
    QMetaObject::Connection timelineSelection_;
    int selections_ = 0;
    QStringList taken_;
    std::string failure_;
    bool hasNothing_ = false;
};

}  // namespace korvane
