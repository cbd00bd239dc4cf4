#include "analysis/FileWorker.h"

#include <sys/stat.h>

#include <chrono>
#include <thread>

namespace {

constexpr int kPeriodMs = 950;
constexpr int kIdlePriority = 0;

bool Exists(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0;
}

}  // namespace

CFileWorker::CFileWorker(StatusHook status, ResultHook result)
    : status_(std::move(status)), result_(std::move(result)) {}

CFileWorker::~CFileWorker() {
  if (thread_) thread_->Stop();
}

void CFileWorker::Start() {
  if (!thread_) thread_ = std::make_unique<CPeriodicThread>(Run, this, kIdlePriority, kPeriodMs, "file worker");
}

void CFileWorker::Run(void* self) { static_cast<CFileWorker*>(self)->Step(); }

void CFileWorker::Enqueue(const std::string& path) { queue_.PushBack(path); }

bool CFileWorker::Step() {
  for (;;) {
    std::optional<std::string> path = queue_.PopFront();
    if (!path) {
      if (status_) status_(0, std::string());
      return false;
    }
    // A path with '$' is a virtual one (a CD track) and never exists as a file.
    const bool present = Exists(*path) || path->find('$') != std::string::npos;
    if (present && NeedsAnalysis(*path)) {
      if (status_) status_(queue_.Count(), *path);
      TrackAnalysis result;
      if (analyzer_.Analyze(*path, result) == AnalysisOutcome::kDone && result_) result_(result);
      return true;
    }
    // A short pause between skipped entries keeps a long queue of done songs from hogging a core.
    if (!ThreadsAreManual()) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}
