// What the window tells in words.
#include "korvane/apps/browser/Browser.h"
#include "korvane/apps/browser/StatusText.h"

namespace korvane {

QString Browser::format(TimeMs time, const QString& pattern) const {
    if (time < 0) return {};
    return QString::fromStdString(
        service_.helpers()->formatTime_AMPM(time, pattern.toStdString(), zone_.toStdString()));
}

QString Browser::time() const {
    return format(shownTime(), clockStyle_.seconds());
}

QString Browser::date() const {
    return format(shownTime(), QStringLiteral("EEE d MMM yyyy"));
}

QString Browser::eventName() const {
    const auto event = entryInView();
    return event ? eventText(event->fields()) : QString();
}

QString Browser::count() const {
    if (listState_ == ScrubberStateRefreshing) return countBefore_;
    if (!isListSeen_ || isLoading() || listStatus_ != 0 || page_ != Page::Events) return {};
    // How many groups there are is known only once all has been looked at, how many events at once.
    const QString noun = strip_.hasRecordings() ? tr("recording") : tr("event");
    const QString text = countText(strip_.ungroupedCount(), noun);
    return strip_.isGrouping() ? tr("%1, grouped").arg(text) : text;
}

QString Browser::message() const {
    if (!fault_.isEmpty()) return fault_;
    if (!folderFault_.isEmpty()) return tr("The folder is not up to date: %1").arg(folderFault_);
    if (watch_.isLost()) return tr("The service cannot be reached. Trying again…");
    if (listStatus_ != 0) return sentence(statusText(listStatus_));
    if (listState_ == ScrubberStateDeleting) return tr("Deleting…");
    if (isLoading()) return loadingText();
    if (!note_.isEmpty()) return note_;
    if (!expiry_.isEmpty()) return expiry_;
    switch (player_.state()) {
        case RecordingPlayer::State::Idle:
            return isEmpty() ? nothingText() : tr("Ready");
        case RecordingPlayer::State::Opening:
            return tr("Loading recording");
        case RecordingPlayer::State::Playing:
            return tr("Playing");
        case RecordingPlayer::State::Paused:
            if (isLive_ && isEmpty()) return nothingText();
            if (isEventOver_) return showsRecordings() ? tr("End of the recording") : tr("End of the event");
            return isLive_ ? tr("Live end") : tr("Paused");
        case RecordingPlayer::State::Ended:
            return tr("End of the recordings");
        case RecordingPlayer::State::Failed:
            break;
    }
    return tr("Ready");
}

QString Browser::loadingText() const {
    if (page_ == Page::Timeline) return tr("Loading the timeline");
    return showsRecordings() ? tr("Loading recordings") : tr("Loading events");
}

QString Browser::nothingText() const {
    return page_ == Page::Events ? tr("No events") : tr("Nothing recorded");
}

Browser::Mood Browser::mood() const {
    if (!fault_.isEmpty() || watch_.isLost() || listStatus_ != 0) return Mood::Fault;
    if (listState_ == ScrubberStateDeleting || isLoading()) return Mood::Busy;
    if (!note_.isEmpty()) return noteMood_;
    if (!folderFault_.isEmpty()) return Mood::Warning;
    return player_.state() == RecordingPlayer::State::Opening ? Mood::Busy : Mood::Calm;
}

}  // namespace korvane
