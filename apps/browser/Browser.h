#pragma once

#include <QtQml/qqmlregistration.h>
#include <QImage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <memory>
#include <optional>

#include "korvane/apps/browser/ClockStyle.h"
#include "korvane/apps/browser/Navigation.h"
#include "korvane/apps/browser/Palette.h"
#include "korvane/apps/browser/RecordingPlayer.h"
#include "korvane/apps/browser/RulerHost.h"
#include "korvane/apps/browser/ServiceWatch.h"
#include "korvane/apps/browser/StripHost.h"
#include "korvane/apps/browser/TimelineHost.h"
#include "korvane/base/LifeToken.h"
#include "korvane/base/Scheduler.h"
#include "korvane/client/CameraLink.h"
#include "korvane/client/KorvaneService.h"

namespace korvane {

/// One camera in the window: the player plays what the strip or the ruler selects, and the state line tells how things
/// stand. Main thread only.
class Browser : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the application")
    Q_PROPERTY(korvane::RecordingPlayer* player READ player CONSTANT)
    Q_PROPERTY(korvane::Navigation* navigation READ navigation CONSTANT)
    Q_PROPERTY(korvane::RulerHost* ruler READ ruler CONSTANT)
    Q_PROPERTY(korvane::ServiceWatch* service READ service CONSTANT)
    Q_PROPERTY(Page page READ page WRITE setPage NOTIFY switchesChanged)
    Q_PROPERTY(bool showsRecordings READ showsRecordings WRITE setShowsRecordings NOTIFY switchesChanged)
    Q_PROPERTY(bool groups READ groups WRITE setGroups NOTIFY switchesChanged)
    Q_PROPERTY(bool playsOn READ playsOn WRITE setPlaysOn NOTIFY switchesChanged)
    Q_PROPERTY(QString cameraName READ cameraName NOTIFY cameraChanged)
    Q_PROPERTY(QString zone READ zone NOTIFY cameraChanged)
    Q_PROPERTY(QString time READ time NOTIFY timeChanged)
    Q_PROPERTY(QString date READ date NOTIFY timeChanged)
    Q_PROPERTY(QString eventName READ eventName NOTIFY timeChanged)
    Q_PROPERTY(bool isFlyingOver READ isFlyingOver NOTIFY timeChanged)
    /// The picture is of the moment that is told.
    Q_PROPERTY(bool isPictureTrue READ isPictureTrue NOTIFY timeChanged)
    Q_PROPERTY(QImage thumbnail READ thumbnail NOTIFY timeChanged)
    Q_PROPERTY(bool isLive READ isLive NOTIFY selectionChanged)
    Q_PROPERTY(QString count READ count NOTIFY stateChanged)
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    Q_PROPERTY(Mood mood READ mood NOTIFY messageChanged)
    Q_PROPERTY(QStringList rejected READ rejected NOTIFY rejectedChanged)

  public:
    /// How serious the message is. After a Warning the list and the player are as before.
    enum class Mood { Calm, Busy, Warning, Fault };
    Q_ENUM(Mood)

    /// The ways to browse.
    enum class Page { Events, Timeline, Ruler };
    Q_ENUM(Page)

    /// Both outlive the browser.
    Browser(Scheduler& scheduler, KorvaneService& service, QObject* parent = nullptr);
    ~Browser() override;

    Q_INVOKABLE void attachStrip(korvane::ScrubberView* strip);
    Q_INVOKABLE void attachTimeline(korvane::ScrubberTimelineView* timeline);
    Q_INVOKABLE void attachRuler(korvane::TimelineView* ruler) { ruler_.attach(ruler); }
    /// Shows the camera of a token. An empty name stands for the camera's number.
    void open(const QString& token, const QString& cameraName);
    /// Shows no camera.
    void close();
    /// At the end of an event, plays it once more; without a service, tries to reach it.
    Q_INVOKABLE void togglePlaying();
    /// To the last seconds that were recorded.
    Q_INVOKABLE void goLive();

    /// What is on screen stays, and a player that plays goes on.
    Page page() const { return page_; }
    void setPage(Page page);
    /// The first page follows the last.
    Q_INVOKABLE void toNextPage();
    /// Recordings in the event strip instead of events, and what lies within 10 s of each other as one. The
    /// strip keeps to the moment that is on screen.
    /// Takes no other value while another page is shown.
    bool showsRecordings() const { return strip_.hasRecordings(); }
    void setShowsRecordings(bool showsRecordings);
    bool groups() const { return strip_.isGrouping(); }
    void setGroups(bool groups);
    /// At the end of an entry the next one follows; otherwise the player stops there.
    bool playsOn() const { return strip_.isPlayingOn(); }
    void setPlaysOn(bool playsOn);

    /// Colours of the strips, and how all times are written. Take effect at once.
    void setPalette(const Palette& palette);
    void setClockStyle(const ClockStyle& style);

    /// Recordings or events have come or gone. What is on screen stays, and a hand has its way first.
    void renewFootage();
    /// Why the folder behind the service cannot be looked at, as of now; empty when it can.
    void setFolderFault(const QString& reason);

    /// Says what could not be done; all else goes on.
    void warn(const QString& what) { setNote(what, Mood::Warning); }

    /// Files that the import could not take, each "name: reason", for a notice that the person can put away.
    void setRejected(const QStringList& rejected);
    Q_INVOKABLE void dismissRejected() { setRejected({}); }

    RecordingPlayer* player() { return &player_; }
    StripHost& strip() { return strip_; }
    TimelineHost& timeline() { return timeline_; }
    RulerHost* ruler() { return &ruler_; }
    ServiceWatch* service() { return &watch_; }
    /// The strip that is on screen, or the closed event strip under the ruler.
    ScrubberHost& shown() { return *shown_; }
    Navigation* navigation() { return &navigation_; }
    QString cameraName() const { return cameraName_; }
    /// Of the camera, "America/New_York"; empty while unknown.
    QString zone() const { return zone_; }
    /// Of the moment under the mark or on screen, in the camera's zone; empty for none.
    QString time() const;
    QString date() const;
    /// Of the entry under the mark, for a person; of a group, the names of its events. Empty without one.
    QString eventName() const;
    bool isFlyingOver() const { return flyOver_ >= 0; }
    bool isPictureTrue() const { return isPictureOf(shownTime()); }
    /// Of the entry that is on its way to the screen, until the player has a picture of it; null for none.
    QImage thumbnail() const;
    /// The strip stands at its live end.
    bool isLive() const { return isLive_; }
    QString count() const;
    QString message() const;
    Mood mood() const;
    QStringList rejected() const { return rejected_; }

    /// The list has been loaded since open().
    bool isListSeen() const { return isListSeen_; }

  signals:
    void cameraChanged();
    void timeChanged();
    void selectionChanged();
    void stateChanged();
    void messageChanged();
    void rejectedChanged();
    void switchesChanged();

  private:
    void reset(const QString& token, const QString& cameraName);
    void connectParts();
    void connectStrip(ScrubberHost& strip);
    void connectPlayer();
    void onSelected(const std::shared_ptr<ScrubberEvent>& event);
    bool isShownAlready(const ScrubberEvent& event);
    void onArrived(const std::shared_ptr<ScrubberEvent>& event);
    void onRenewed();
    void onFlyOverEnded();
    void endScrubAtRest();
    void onSought();
    void onSeeking();
    void onPlayerEnded();
    void endEvent();
    void boundPlayer();
    void onListState(int state, int status);
    void onListLoaded();
    void findCamera();
    void onServiceBack(const std::shared_ptr<KorvaneCamera>& camera);
    TimeMs momentToKeep() const;
    void onCamera(const std::shared_ptr<KorvaneCamera>& camera, const std::string& text, std::int32_t status);
    void renewList(TimeMs moment);
    bool isBusy() const;
    void setZone(const QString& zone);
    void setFlyOver(TimeMs time);
    void setNote(const QString& note, Mood mood);
    TimeMs shownTime() const;
    bool isPictureOf(TimeMs moment) const;
    ScrubberHost::Event entryInView() const;
    bool isEmpty() const;
    bool isLoading() const;
    QString loadingText() const;
    QString nothingText() const;
    QString format(TimeMs time, const QString& pattern) const;

    Scheduler& scheduler_;
    KorvaneService& service_;
    RecordingPlayer player_;
    CameraLink link_;
    ServiceWatch watch_;
    StripHost strip_;
    TimelineHost timeline_;
    RulerHost ruler_;
    Page page_ = Page::Events;
    ScrubberHost* shown_ = &strip_;
    Navigation navigation_;
    QString token_;
    QString cameraName_;
    QString zone_;
    int listState_ = 0;
    int listStatus_ = 0;
    bool isListSeen_ = false;
    bool isLive_ = false;
    ScrubberHost::Event playedOut_;  // has just been played to its end, and the strip goes on
    bool isEventOver_ = false;       // the player has been stopped at the end of what is selected
    bool isReloaded_ = false;        // the strip is on its way back to the moment on screen
    bool isRenewalDue_ = false;
    bool isRefused_ = false;  // the list's next status comes from a failed deletion
    TimeMs flyOver_ = -1;
    static constexpr TimeMs nowhere = -2;
    TimeMs lostAt_ = nowhere;  // where the player has lost the service last
    QString fault_;            // of token or camera; stays until the next open()
    QString note_;             // of the player
    QString folderFault_;
    QString countBefore_;  // a list that is loaded anew
    Mood noteMood_ = Mood::Calm;
    QString expiry_;
    ClockStyle clockStyle_;
    QStringList rejected_;
    LifeToken life_;
};

}  // namespace korvane
