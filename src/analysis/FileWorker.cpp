#include "analysis/FileWorker.h"

#include <sys/stat.h>

#include <chrono>
#include <thread>

#include "app/base/Trace.h"

namespace {

constexpr int kPeriodMs = 950;
constexpr int kIdlePriority = 0;

bool Exists(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0;
}

}  // namespace

CFileWorker::CFileWorker(StatusHook status, ResultHook result)
    : status_(std::move(status)), result_(std::move(result)), analyzer_(std::make_unique<CTrackAnalyzer>()) {
  analyzer_->SetCancelFlag(&cancel_);
}

CFileWorker::~CFileWorker() { Close(); }

void CFileWorker::Start() {
  if (!thread_ && !cancel_.load()) {
    thread_ = std::make_unique<CPeriodicThread>(Run, this, kIdlePriority, kPeriodMs, "file worker");
  }
}

void CFileWorker::Close() {
  cancel_.store(true, std::memory_order_relaxed);
  while (queue_.PopFront()) {
  }
  if (!thread_) return;
  // The pass sees the flag within a decoded second; the wait is only for a decoder stuck on a
  // dead network share or the like.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kCloseWaitMs);
  while (inPass_.load(std::memory_order_acquire) && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  if (inPass_.load(std::memory_order_acquire)) {
    // Freeing the analyzer or the thread under a running pass would be a use after free: both
    // are left to the process's exit instead.
    TraceLine("file worker: the analysis did not stop in %d ms; left running", kCloseWaitMs);
    (void)thread_.release();
    (void)analyzer_.release();
    return;
  }
  thread_->Stop();
  thread_.reset();
}

void CFileWorker::Run(void* self) { static_cast<CFileWorker*>(self)->Step(); }

void CFileWorker::Enqueue(const std::string& path) {
  if (!cancel_.load(std::memory_order_relaxed)) queue_.PushBack(path);
}

bool CFileWorker::Step() {
  while (!cancel_.load(std::memory_order_relaxed)) {
    std::optional<std::string> path = queue_.PopFront();
    if (!path) {
      if (status_) status_(0, std::string());
      return false;
    }
    // A path with '$' is a virtual one (a CD track) and never exists as a file.
    const bool present = Exists(*path) || path->find('$') != std::string::npos;
    if (present && NeedsAnalysis(*path)) {
      if (status_) status_(queue_.Count(), *path);
      inPass_.store(true, std::memory_order_release);
      TrackAnalysis result;
      const bool done = analyzer_->Analyze(*path, result) == AnalysisOutcome::kDone;
      if (done && result_) result_(*path, result);
      inPass_.store(false, std::memory_order_release);
      return done;
    }
    // A short pause between skipped entries keeps a long queue of done songs from hogging a core.
    if (!ThreadsAreManual()) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}
