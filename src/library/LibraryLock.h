#pragma once
// The library lock: an advisory lock (flock) on one file in the database folder, taken by every
// process and thread that writes the song database, the lists or lists.knx. Writers merge on
// save: each takes the lock, reads what is on disk, lays its own changes over it and writes, so
// two programs working on one data root (the window and `lumo analyse`, or two `lumo analyse`
// runs) keep each other's records. The lock is held for the few milliseconds of that merge only.
//
// A writer that cannot get the lock within the wait (another process hung while holding it)
// gives up, reports "the library is in use by another process" and keeps its changes for the
// next save.

#include <string>

class CLibraryLock {
 public:
  static constexpr int kDefaultWaitMs = 10000;

  // Locks the library whose database folder holds path (a file or a folder ending in '/').
  explicit CLibraryLock(const std::string& path, int waitMs = kDefaultWaitMs);
  ~CLibraryLock();
  CLibraryLock(const CLibraryLock&) = delete;
  CLibraryLock& operator=(const CLibraryLock&) = delete;

  bool held() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

// The lock file for a path in the database folder.
std::string LibraryLockFile(const std::string& path);
