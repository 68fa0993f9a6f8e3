#include "korvane/apps/browser/FilmDeck.h"

#include <utility>

namespace korvane {

FilmDeck::FilmDeck(Scheduler& scheduler, const MediaOptions& options, std::function<void()> news)
    : scheduler_(scheduler), options_(options), news_(std::move(news)) {}

FilmDeck::~FilmDeck() {
    clear();
}

FilmDeck::Slot FilmDeck::make(const Recording& recording, TimeMs moment, Film::Seek how) {
    Slot slot{recording, moment,
              std::make_unique<Film>(scheduler_, helper_, recording.url, options_, hasSound_, news_)};
    slot.film->seek(moment - recording.start, how);
    return slot;
}

void FilmDeck::play(const Recording& recording, TimeMs moment, Film::Seek how) {
    if (prepared_.film && prepared_.recording == recording) {
        retire(current_);
        current_ = std::exchange(prepared_, {});
        if (current_.film->fault() != MediaFault::None) retire(current_);
        if (how == Film::Seek::Exact && moment == current_.moment && current_.film) return;
    }
    unprepare();
    const bool isOn = current_.film && current_.recording == recording && current_.film->fault() == MediaFault::None;
    if (isOn) {
        current_.film->seek(moment - recording.start, how);
    } else {
        retire(current_);
        current_ = make(recording, moment, how);
    }
}

void FilmDeck::prepare(const Recording& recording, TimeMs moment) {
    unprepare();
    prepared_ = make(recording, moment, Film::Seek::Exact);
}

void FilmDeck::clear() {
    retire(current_);
    unprepare();
}

void FilmDeck::retire(Slot& slot) {
    if (!slot.film) return;
    slot.film->cancel();
    retired_.push_back(std::move(slot.film));
    slot = {};
}

void FilmDeck::reap() {
    std::erase_if(retired_, [](const std::unique_ptr<Film>& film) { return film->isOver(); });
}

}  // namespace korvane
