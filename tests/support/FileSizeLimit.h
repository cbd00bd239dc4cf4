#pragma once
// While alive, no file may grow beyond `bytes`: a write past it fails with EFBIG instead of
// raising SIGXFSZ. It stands in for a full disk, and unlike permissions it binds root as well.

#include <sys/resource.h>

#include <csignal>

class ScopedFileSizeLimit {
 public:
  explicit ScopedFileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &saved_);
    rlimit limit = saved_;
    limit.rlim_cur = bytes;
    previous_ = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~ScopedFileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &saved_);
    std::signal(SIGXFSZ, previous_);
  }
  ScopedFileSizeLimit(const ScopedFileSizeLimit&) = delete;
  ScopedFileSizeLimit& operator=(const ScopedFileSizeLimit&) = delete;

 private:
  rlimit saved_{};
  void (*previous_)(int) = nullptr;
};
