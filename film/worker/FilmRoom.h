#pragma once

#include <cstddef>
#include <cstdint>

#include "korvane/film/FilmChannel.h"

namespace korvane {

/// Asks the caller for something while an order is carried out. Ends the process when the caller has gone.
FilmNews askCaller(FilmChannel& channel, const FilmWords& question);

/// Memory that caller and process share. Its size is the caller's to set.
class FilmRoom {
  public:
    /// `memory` and `channel` outlive the object.
    FilmRoom(int memory, FilmChannel& channel) : memory_(memory), channel_(channel) {}
    ~FilmRoom();

    FilmRoom(const FilmRoom&) = delete;
    FilmRoom& operator=(const FilmRoom&) = delete;

    /// So many bytes to write to, null where the caller grants no more.
    std::uint8_t* at(std::size_t bytes);

  private:
    int memory_;
    FilmChannel& channel_;
    std::uint8_t* bytes_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace korvane
