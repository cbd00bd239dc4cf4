#include "library/SongDatabaseSaver.h"

#include "library/SongDatabase.h"

CSongDatabaseSaver::CSongDatabaseSaver(std::string path, int quietMs, int maxDelayMs)
    : path_(std::move(path)), quiet_(quietMs), maxDelay_(maxDelayMs) {
  thread_ = std::thread([this] { Loop(); });
  SetSongChangeHook(OnChange, this);
}

CSongDatabaseSaver::~CSongDatabaseSaver() {
  SetSongChangeHook(nullptr, nullptr);
  {
    std::lock_guard guard(lock_);
    stop_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

int CSongDatabaseSaver::saves() const {
  std::lock_guard guard(lock_);
  return saves_;
}

void CSongDatabaseSaver::OnChange(void* self) {
  auto* saver = static_cast<CSongDatabaseSaver*>(self);
  const auto now = std::chrono::steady_clock::now();
  {
    std::lock_guard guard(saver->lock_);
    if (!saver->pending_) saver->firstChange_ = now;
    saver->pending_ = true;
    saver->lastChange_ = now;
  }
  saver->wake_.notify_one();
}

void CSongDatabaseSaver::Loop() {
  std::unique_lock guard(lock_);
  for (;;) {
    wake_.wait(guard, [&] { return stop_ || pending_; });
    if (stop_) return;
    const auto due = std::min(lastChange_ + quiet_, firstChange_ + maxDelay_);
    if (std::chrono::steady_clock::now() < due) {
      wake_.wait_until(guard, due, [&] { return stop_; });
      continue;  // changes may have moved the due time
    }
    pending_ = false;
    guard.unlock();
    const int saved = FlushSongDatabase(path_);
    guard.lock();
    if (saved) ++saves_;
    else if (!pending_ && UnsavedSongCount() > 0) {
      // Kept changes (library busy, disk trouble) are tried again after another quiet period.
      pending_ = true;
      firstChange_ = lastChange_ = std::chrono::steady_clock::now();
    }
  }
}
