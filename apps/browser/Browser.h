#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <memory>

#include "apps/browser/CameraLink.h"
#include "apps/browser/RecordingPlayer.h"
#include "apps/browser/StripHost.h"
#include "base/Scheduler.h"
#include "client/KorvaneService.h"

namespace korvane {

/// One camera in the window: leads the player by the strip, and says in the state line how things stand. Main thread
/// only.
class Browser : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the application")
    Q_PROPERTY(korvane::RecordingPlayer* player READ player CONSTANT)
    Q_PROPERTY(QString cameraName READ cameraName NOTIFY cameraChanged)
    Q_PROPERTY(QString zone READ zone NOTIFY cameraChanged)
    Q_PROPERTY(QString time READ time NOTIFY timeChanged)
    Q_PROPERTY(QString date READ date NOTIFY timeChanged)
    Q_PROPERTY(bool isFlyingOver READ isFlyingOver NOTIFY timeChanged)
    Q_PROPERTY(bool isLive READ isLive NOTIFY selectionChanged)
    Q_PROPERTY(QString count READ count NOTIFY stateChanged)
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    Q_PROPERTY(Mood mood READ mood NOTIFY messageChanged)
    Q_PROPERTY(QStringList rejected READ rejected NOTIFY rejectedChanged)

  public:
    /// How the message is meant.
    enum class Mood { Calm, Busy, Fault };
    Q_ENUM(Mood)

    /// Both outlive the browser.
    Browser(Scheduler& scheduler, KorvaneService& service, QObject* parent = nullptr);
    ~Browser() override;

    Q_INVOKABLE void attachStrip(korvane::ScrubberView* strip);
    /// Shows the camera of a token. An empty name stands for the camera's number.
    void open(const QString& token, const QString& cameraName);
    Q_INVOKABLE void togglePlaying();

    /// Files that the import could not take, each "name: reason", for a notice that the person can put away.
    void setRejected(const QStringList& rejected);
    Q_INVOKABLE void dismissRejected() { setRejected({}); }

    RecordingPlayer* player() { return &player_; }
    StripHost& strip() { return strip_; }
    QString cameraName() const { return cameraName_; }
    /// Of the camera, "America/New_York"; empty while unknown.
    QString zone() const { return zone_; }
    /// Of the moment under the mark or on screen, in the camera's zone; empty for none.
    QString time() const;
    QString date() const;
    bool isFlyingOver() const { return flyOver_ >= 0; }
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

  private:
    void connectParts();
    void onSelected(const std::shared_ptr<ScrubberEvent>& event);
    void onListState(int state, int status);
    void onCamera(const std::shared_ptr<KorvaneCamera>& camera, const std::string& text, std::int32_t status);
    void goLive();
    void setZone(const QString& zone);
    void setFlyOver(TimeMs time);
    void setNote(const QString& note, Mood mood);
    TimeMs shownTime() const;
    QString format(TimeMs time, const char* pattern) const;

    Scheduler& scheduler_;
    KorvaneService& service_;
    RecordingPlayer player_;
    CameraLink link_;
    StripHost strip_;
    QString cameraName_;
    QString zone_;
    int listState_ = 0;
    int listStatus_ = 0;
    bool isListSeen_ = false;
    bool isLive_ = false;
    TimeMs flyOver_ = -1;
    QString fault_;  // of token or camera; stays until the next open()
    QString note_;   // of the player
    Mood noteMood_ = Mood::Calm;
    QString expiry_;
    QStringList rejected_;
};

}  // namespace korvane
