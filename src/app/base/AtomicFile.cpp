#include "app/base/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <random>

#include "app/base/PathNames.h"
#include "app/base/Trace.h"

namespace {

bool WriteAll(int fd, std::string_view data) {
  while (!data.empty()) {
    ssize_t n = ::write(fd, data.data(), data.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

void SyncParentFolder(const std::string& path) {
  const std::string folder = FolderPartOf(path, ".");
  int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY);
  if (fd >= 0) {
    ::fsync(fd);
    ::close(fd);
  }
}

// A fresh temporary file in the target's folder, created exclusively so two writers never share
// one. The name is short and independent of the target's, so a file whose name is already near
// the 255-byte limit can still be written.
int CreateTemporary(const std::string& path, std::string& temporary) {
  static std::atomic<unsigned> counter{0};
  thread_local std::mt19937 random{std::random_device{}()};
  const std::string folder = FolderPartOf(path);
  for (int attempt = 0; attempt < 100; ++attempt) {
    char name[40];
    std::snprintf(name, sizeof name, ".zl%05x%04x.tmp", static_cast<unsigned>(::getpid()) & 0xfffff,
                  static_cast<unsigned>((counter.fetch_add(1, std::memory_order_relaxed) ^ random()) & 0xffff));
    temporary = folder + name;
    // 0666 less the umask, as any new file gets.
    int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

}  // namespace

bool WriteFileAtomically(const std::string& path, std::string_view contents) {
  std::string temporary;
  int fd = CreateTemporary(path, temporary);
  if (fd < 0) {
    TraceLine("can not write %s: %s", path.c_str(), std::strerror(errno));
    return false;
  }
  // The replacement keeps the mode the user gave the file.
  struct stat old {};
  if (::stat(path.c_str(), &old) == 0) ::fchmod(fd, old.st_mode & 07777);
  bool ok = WriteAll(fd, contents) && ::fsync(fd) == 0;
  int savedErrno = errno;
  ok = (::close(fd) == 0) && ok;
  if (ok && std::rename(temporary.c_str(), path.c_str()) != 0) {
    savedErrno = errno;
    ok = false;
  }
  if (!ok) {
    TraceLine("can not write %s: %s", path.c_str(), std::strerror(savedErrno));
    ::unlink(temporary.c_str());
    return false;
  }
  SyncParentFolder(path);
  return true;
}

bool ReadWholeFile(const std::string& path, std::string& contents) {
  FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return false;
  contents.clear();
  char buffer[65536];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0) contents.append(buffer, n);
  std::fclose(file);
  return true;
}
