#include "korvane/tests/server/FailingDisk.h"

namespace korvane {

int FailingDisk::realSize = 0;

FailingDisk::FailingDisk() : real_(sqlite3_vfs_find(nullptr)), own_(*real_) {
    realSize = real_->szOsFile;
    own_.szOsFile += static_cast<int>(sizeof(Behind));
    own_.zName = "failing";
    own_.pAppData = this;
    own_.xOpen = open;
    own_.xAccess = access;
    own_.xDelete = remove;
    sqlite3_vfs_register(&own_, 1);
}

FailingDisk::~FailingDisk() {
    sqlite3_vfs_unregister(&own_);
    sqlite3_vfs_register(real_, 1);
}

FailingDisk::Behind& FailingDisk::behind(sqlite3_file* file) {
    return *reinterpret_cast<Behind*>(reinterpret_cast<char*>(file) + realSize);
}

template <auto Method, typename... Arguments>
int FailingDisk::call(sqlite3_file* file, Arguments... arguments) {
    const Behind& kept = behind(file);
    return kept.disk->fails() ? kept.disk->code_ : (kept.real->*Method)(file, arguments...);
}

int FailingDisk::sync(sqlite3_file* file, int) {
    // The machine goes on running: that the bytes reach it is not waited for.
    const Behind& kept = behind(file);
    return kept.disk->fails() ? kept.disk->code_ : SQLITE_OK;
}

int FailingDisk::open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    FailingDisk& disk = diskOf(vfs);
    file->pMethods = nullptr;
    if (disk.fails()) return SQLITE_CANTOPEN;
    const int code = disk.real_->xOpen(disk.real_, name, file, flags, outFlags);
    if (code != SQLITE_OK || file->pMethods == nullptr) return code;
    Behind& kept = behind(file);
    kept = {&disk, file->pMethods, *file->pMethods};
    kept.own.xRead = call<&sqlite3_io_methods::xRead>;
    kept.own.xWrite = call<&sqlite3_io_methods::xWrite>;
    kept.own.xTruncate = call<&sqlite3_io_methods::xTruncate>;
    kept.own.xSync = sync;
    kept.own.xFileSize = call<&sqlite3_io_methods::xFileSize>;
    kept.own.xLock = call<&sqlite3_io_methods::xLock>;
    kept.own.xShmMap = call<&sqlite3_io_methods::xShmMap>;
    kept.own.xShmLock = shareLock;
    file->pMethods = &kept.own;
    return code;
}

int FailingDisk::access(sqlite3_vfs* vfs, const char* name, int flags, int* result) {
    FailingDisk& disk = diskOf(vfs);
    return disk.fails() ? SQLITE_IOERR_ACCESS : disk.real_->xAccess(disk.real_, name, flags, result);
}

int FailingDisk::remove(sqlite3_vfs* vfs, const char* name, int syncFolder) {
    FailingDisk& disk = diskOf(vfs);
    return disk.fails() ? SQLITE_IOERR_DELETE : disk.real_->xDelete(disk.real_, name, syncFolder);
}

int FailingDisk::shareLock(sqlite3_file* file, int offset, int count, int flags) {
    // What is let go is let go: SQLite does not look at the answer.
    if ((flags & SQLITE_SHM_UNLOCK) != 0) return behind(file).real->xShmLock(file, offset, count, flags);
    return call<&sqlite3_io_methods::xShmLock>(file, offset, count, flags);
}

}  // namespace korvane
