#include "korvane/film/worker/FilmRoom.h"

#include <sys/mman.h>
#include <unistd.h>

#include <utility>

namespace korvane {

FilmNews askCaller(FilmChannel& channel, const FilmWords& question) {
    if (!channel.send(question)) ::_exit(0);
    FilmChannel::State state = FilmChannel::State::Closed;
    auto answer = channel.receive(state);
    if (!answer) ::_exit(0);
    return std::move(*answer);
}

FilmRoom::~FilmRoom() {
    if (bytes_) ::munmap(bytes_, size_);
}

std::uint8_t* FilmRoom::at(std::size_t bytes) {
    if (bytes <= size_) return bytes_;
    const auto question = FilmWords(FilmMessage::AskRoom).number(static_cast<std::int64_t>(bytes));
    const auto granted = static_cast<std::size_t>(askCaller(channel_, question).number(0, INT64_MAX));
    if (granted < bytes) return nullptr;
    if (bytes_) ::munmap(bytes_, size_);
    size_ = 0;
    void* const made = ::mmap(nullptr, granted, PROT_READ | PROT_WRITE, MAP_SHARED, memory_, 0);
    bytes_ = made == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(made);
    if (bytes_) size_ = granted;
    return bytes_;
}

}  // namespace korvane
