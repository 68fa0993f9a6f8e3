#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace korvane {

class FilmTask;

/// What one film may cost.
struct FilmLimits {
    std::int64_t bytesOfMemory = 512LL * 1024 * 1024;
    /// Of processor time, for the whole film ...
    std::int64_t seconds = 20;
    /// ... or for each single order, for a film that is played as long as a person likes.
    bool isEachOrder = false;
};

/// The program that opens foreign films, korvane-film-helper: it is started once, when first needed, and makes a
/// process for each film, which has limits, opens no file and no connection, and takes nobody along when it falls. All
/// functions may be called from any thread.
class FilmHelper {
  public:
    /// `program` is that of the environment's KORVANE_FILM_HELPER when empty, else the one found at
    /// libexec/korvane/korvane-film-helper beside the running program or one to three folders above it, else the one
    /// that was installed with the library.
    explicit FilmHelper(std::filesystem::path program = {});
    /// Ends the program, and all films that are open in it.
    ~FilmHelper();

    FilmHelper(const FilmHelper&) = delete;
    FilmHelper& operator=(const FilmHelper&) = delete;

    /// Makes a process for one film. `file` is open for reading and stays the caller's; -1 where the caller hands the
    /// bytes out (FilmTask::setSource). Starts the program again where it has gone. Null, with the reason in words,
    /// when there is none. The place in `file` is moved.
    std::unique_ptr<FilmTask> begin(int file, const FilmLimits& limits, std::string& reason);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace korvane
