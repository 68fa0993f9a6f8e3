#pragma once

#include <filesystem>

namespace korvane {

/// A lock that the processes of this machine share, by the name of a file. Released at the end, also by a crash. Used
/// by one thread.
class FileLock {
  public:
    /// Makes the file where it is missing; takes nothing yet.
    explicit FileLock(const std::filesystem::path& file);
    ~FileLock();

    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// False while another process, or another lock of this one, holds it. True also where the file cannot be made:
    /// who cannot write there has nothing to keep apart.
    bool tryLock();

  private:
    int descriptor_;
};

}  // namespace korvane
