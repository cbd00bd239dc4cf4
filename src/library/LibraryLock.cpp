#include "library/LibraryLock.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <thread>

#include "app/base/PathNames.h"
#include "app/base/Trace.h"

namespace {

// A writer killed mid-save leaves its temporary file behind. Saves take seconds at most, so one
// older than this, found while holding the lock, belongs to no running save.
constexpr long kStaleTemporarySeconds = 600;

void RemoveStaleTemporaries(const std::string& folder) {
  DIR* dir = ::opendir(folder.empty() ? "." : folder.c_str());
  if (!dir) return;
  const std::time_t now = std::time(nullptr);
  while (dirent* entry = ::readdir(dir)) {
    const std::string name = entry->d_name;
    if (name.rfind(".zl", 0) != 0 || name.size() < 8 || name.compare(name.size() - 4, 4, ".tmp") != 0) continue;
    const std::string path = folder + name;
    struct stat info {};
    if (::stat(path.c_str(), &info) == 0 && now - info.st_mtime > kStaleTemporarySeconds) ::unlink(path.c_str());
  }
  ::closedir(dir);
}

}  // namespace

std::string LibraryLockFile(const std::string& path) {
  return FolderPartOf(path) + ".library.lock";
}

CLibraryLock::CLibraryLock(const std::string& path, int waitMs) {
  const std::string file = LibraryLockFile(path);
  int fd = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) {
    TraceLine("library: cannot open the lock %s: %s", file.c_str(), std::strerror(errno));
    return;
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(waitMs);
  // Polled rather than blocking, so a holder that hangs costs a bounded wait.
  while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) {
      TraceLine("library: cannot lock %s: %s", file.c_str(), std::strerror(errno));
      ::close(fd);
      return;
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      TraceLine("library: the library is in use by another process (%s); changes kept for the next save",
                file.c_str());
      ::close(fd);
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  fd_ = fd;
  RemoveStaleTemporaries(FolderPartOf(file));
}

CLibraryLock::~CLibraryLock() {
  if (fd_ >= 0) ::close(fd_);  // closing the descriptor releases the lock
}
