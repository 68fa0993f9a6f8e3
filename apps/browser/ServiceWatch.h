#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <chrono>
#include <cstdint>

#include "korvane/base/LifeToken.h"
#include "korvane/base/Scheduler.h"

namespace korvane {

/// Whether the service can be reached: one state for the strips, the player and the buttons. After a loss it asks to
/// try again, at first after a second, then after twice as long up to half a minute. Main thread only.
class ServiceWatch : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the browser")
    Q_PROPERTY(bool isLost READ isLost NOTIFY changed)
    Q_PROPERTY(bool isTrying READ isTrying NOTIFY changed)

  public:
    /// `scheduler` outlives the watch.
    explicit ServiceWatch(Scheduler& scheduler, QObject* parent = nullptr);
    ~ServiceWatch() override;

    /// A Status that another try may mend: no connection, no answer in time, or a service that is not ready.
    static bool isLoss(std::int32_t status);

    bool isLost() const { return state_ != State::Found; }
    bool isTrying() const { return state_ == State::Trying; }

    /// A request has ended with such a status.
    void lose();
    /// A request has been answered.
    void find();
    /// Does not wait any longer. Nothing unless it is lost, or while a try is under way.
    Q_INVOKABLE void tryNow();

  signals:
    void changed();
    /// lose() or find() tells how it went.
    void tryAgain();

  private:
    enum class State { Found, Waiting, Trying };

    void wait();
    void stopWaiting();
    void setState(State state);

    Scheduler& scheduler_;
    State state_ = State::Found;
    std::chrono::seconds delay_{0};
    // A service that comes and goes is not asked again each second.
    std::chrono::microseconds foundAt_{0};
    Scheduler::TimerId timer_ = 0;
    LifeToken life_;
};

}  // namespace korvane
