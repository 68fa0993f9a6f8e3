#pragma once

#include <QVariantMap>

#include "korvane/views/timeline/ScrubberWidget.h"

namespace korvane {

class EventStrip;
class KorvaneCamera;
class KorvanePlayer;

/// A strip of a camera's stored events under a fixed centre mark, which selects what lies under it.
class ScrubberView : public ScrubberWidget {
    Q_OBJECT
    QML_ELEMENT

  public:
    /// In the shared environment, without a size: for QML and for hosts that let the parent give the size.
    explicit ScrubberView(QQuickItem* parent = nullptr);
    /// At `frame` of its parent. A view whose environment has no service stays empty, with a log line.
    ScrubberView(const TimelineEnvironment& environment, const Rect& frame, QQuickItem* parent = nullptr);

    /// To the first entry of the 24 hours that begin with the moment of `event`, in list order. When there is none, or
    /// a pending one before it, the provider is asked for that time, and the strip follows once it has answered. The
    /// live end for null and for a moment of 0 or below.
    void toClosestEvent(const std::shared_ptr<ScrubberEvent>& event);
    /// The same for QML; `time` is ms.
    Q_INVOKABLE void toClosestEvent(qint64 time);
    /// To the neighbour of the playing entry, at a speed of its own and without a change of the position; while the
    /// strip is on its way to an entry, to the neighbour of that one. At the live end, and while none plays, there is
    /// no next one, and the previous one is the last event. With `withSendNotify`, which is the default, the host hears
    /// of the selection. Any thread.
    Q_INVOKABLE void toNextEvent();
    void toNextEventWithSendNotify(bool withSendNotify);
    Q_INVOKABLE void toPreviousEvent();
    void toPreviousEventWithSendNotify(bool withSendNotify);

    void clean() override;

    /// The view takes its data through setSource() alone: these keep nothing, and what they were given stays absent.
    void setPlayer(const std::shared_ptr<KorvanePlayer>& player);
    void setCamera(const std::shared_ptr<KorvaneCamera>& camera);
    std::shared_ptr<KorvanePlayer> getPlayer() const { return nullptr; }
    std::shared_ptr<KorvaneCamera> getCamera() const { return nullptr; }

    /// Data comes through the provider and progress through the cells, so there is nothing to fetch, to follow or to
    /// observe: these only trace. Times are ms.
    void startUpdates();
    void stopUpdates();
    void updateScrubber(std::int64_t start, std::int64_t end);
    void startPositionChanging(std::int64_t time, float position);
    void continuePositionChanging(std::int64_t time, float position);
    void endPositionChanging(std::int64_t time, float position);
    void makePositionVisible(std::int64_t time, float position);
    void observeValueForKeyPath(const QString& keyPath, const QObject* ofObject, const QVariantMap& change,
                                const void* context);
    /// Brings the strip back to its position. Any thread.
    Q_INVOKABLE void updateScrubberData();

  private:
    EventStrip& events() const;
    void orientationChanged();
};

}  // namespace korvane
