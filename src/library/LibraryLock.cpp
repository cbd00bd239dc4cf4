#include "library/LibraryLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "app/base/Trace.h"

std::string LibraryLockFile(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  const std::string folder = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
  return folder + ".library.lock";
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
}

CLibraryLock::~CLibraryLock() {
  if (fd_ >= 0) ::close(fd_);  // closing the descriptor releases the lock
}
