#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <cstdint>
#include <memory>

#include "korvane/apps/browser/ClockStyle.h"
#include "korvane/apps/browser/ScrubberHost.h"
#include "korvane/base/LifeToken.h"
#include "korvane/client/KorvaneHelpers.h"
#include "korvane/client/KorvanePlayer.h"

namespace korvane {

/// Moves the strip by keys and buttons, and deletes what is selected. An operation that is not possible at the moment
/// does nothing, and its `can` is false; while a finger has hold of the strip, none is. Main thread only.
class Navigation : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the browser")
    Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY changed)
    Q_PROPERTY(bool canGoOn READ canGoOn NOTIFY changed)
    Q_PROPERTY(bool canGoToLast READ canGoToLast NOTIFY changed)
    Q_PROPERTY(bool canGoBackByHours READ canGoBackByHours NOTIFY changed)
    Q_PROPERTY(bool canGoOnByHours READ canGoOnByHours NOTIFY changed)
    Q_PROPERTY(bool canDelete READ canDelete NOTIFY changed)
    Q_PROPERTY(QString doomed READ doomed NOTIFY changed)

  public:
    /// All outlive the navigation.
    Navigation(Scheduler& scheduler, ScrubberHost& strip, const KorvanePlayer& player, const KorvaneHelpers& helpers,
               QObject* parent = nullptr);

    /// Moves that strip from now on. It outlives the navigation, too.
    void show(ScrubberHost& strip);

    /// There is an entry before the selected one; the live end counts as the last.
    bool canGoBack() const;
    /// There is something after the selected entry, the live end included.
    bool canGoOn() const;
    bool canGoToLast() const;
    bool canGoBackByHours() const;
    bool canGoOnByHours() const;
    bool canDelete() const;

    Q_INVOKABLE void toFirst();
    Q_INVOKABLE void toPrevious();
    Q_INVOKABLE void toNext();
    Q_INVOKABLE void toLast();
    /// To the entry that comes first after the moment so many hours away from the player's; back in time at least to
    /// the previous entry.
    Q_INVOKABLE void goByHours(int hours);

    /// Asks for a confirmation of the selected event's deletion.
    Q_INVOKABLE void askToDelete();
    /// Name and moment of the event that the question is about; empty while there is none.
    QString doomed() const;
    Q_INVOKABLE void keep();
    /// Deletes it, at the service too. One that is busy is asked again a few times.
    Q_INVOKABLE void deleteDoomed();

    /// What is selected; null for the live end, for nothing, and for an entry that is still loading.
    const ScrubberHost::Event& selected() const { return selected_; }
    void setClockStyle(const ClockStyle& style);
    /// The list begins anew: nothing is selected.
    void forget();

  signals:
    void changed();
    void deleted();
    /// The service is busy, and is asked again.
    void deletionDelayed();
    /// The service has not deleted it; a Status.
    void deletionFailed(int status);

  private:
    void onSelected(const ScrubberHost::Event& event);
    void onState(int state, int status);
    void askService();
    bool isFree() const { return !strip_->isHeld(); }
    /// Where the strip is, loaded or not; null at the live end.
    const ScrubberHost::Event& current() const { return loading_ ? loading_ : selected_; }
    std::int64_t lastIndex() const { return strip_->count(); }

    Scheduler& scheduler_;
    ScrubberHost* strip_ = nullptr;
    const KorvanePlayer& player_;
    const KorvaneHelpers& helpers_;
    ScrubberHost::Event selected_;
    ScrubberHost::Event loading_;  // selected before its page has come
    ScrubberHost::Event doomed_;
    ScrubberHost::Event dying_;  // the service is to delete it
    int tries_ = 0;
    ClockStyle clockStyle_;
    bool isDeleting_ = false;  // the service has been asked
    LifeToken life_;
};

}  // namespace korvane
