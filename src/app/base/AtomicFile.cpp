#include "app/base/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

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
  size_t slash = path.find_last_of('/');
  std::string folder = slash == std::string::npos ? std::string(".") : path.substr(0, slash + 1);
  int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY);
  if (fd >= 0) {
    ::fsync(fd);
    ::close(fd);
  }
}

}  // namespace

bool WriteFileAtomically(const std::string& path, std::string_view contents) {
  std::string temporary = path + ".tmp";
  int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) {
    TraceLine("can not write %s: %s", temporary.c_str(), std::strerror(errno));
    return false;
  }
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
