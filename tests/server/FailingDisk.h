#pragma once

#include <sqlite3.h>

namespace korvane {

/// A disk under every data base that is opened from now on, of which one call fails. One at a time.
class FailingDisk {
  public:
    FailingDisk();
    ~FailingDisk();
    FailingDisk(const FailingDisk&) = delete;
    FailingDisk& operator=(const FailingDisk&) = delete;

    /// Fails the `call`-th call from now, 1 and up, with `code`.
    void failAt(int call, int code) {
        left_ = call;
        code_ = code;
    }
    bool hasFailed() const { return left_ <= 0; }

  private:
    /// What lies behind SQLite's own record of an open file.
    struct Behind {
        FailingDisk* disk;
        const sqlite3_io_methods* real;
        sqlite3_io_methods own;
    };

    static FailingDisk& diskOf(sqlite3_vfs* vfs) { return *static_cast<FailingDisk*>(vfs->pAppData); }
    static Behind& behind(sqlite3_file* file);
    static int open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* outFlags);
    static int access(sqlite3_vfs* vfs, const char* name, int flags, int* result);
    static int remove(sqlite3_vfs* vfs, const char* name, int syncFolder);
    static int sync(sqlite3_file* file, int flags);
    static int shareLock(sqlite3_file* file, int offset, int count, int flags);
    template <auto Method, typename... Arguments>
    static int call(sqlite3_file* file, Arguments... arguments);
    bool fails() { return left_ > 0 && --left_ == 0; }

    sqlite3_vfs* real_;
    sqlite3_vfs own_;
    int left_ = 0;
    int code_ = SQLITE_IOERR;
    static int realSize;
};

}  // namespace korvane
