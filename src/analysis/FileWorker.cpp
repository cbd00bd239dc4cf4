#include "analysis/FileWorker.h"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "analysis/StripeFile.h"
#include "codecs/SongKey.h"
#include "app/base/Trace.h"

namespace {

constexpr int kPeriodMs = 950;

bool Exists(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0;
}

}  // namespace

const char* FileSkipText(FileSkip why) {
  switch (why) {
    case FileSkip::kAlreadyDone: return "already analysed";
    case FileSkip::kMissing: return "no such file";
    case FileSkip::kSameName: return "a file of the same name is being analysed";
    case FileSkip::kUndecodable: return "cannot be decoded";
    case FileSkip::kTooLong: return "longer than 20 minutes";
  }
  return "";
}

CFileWorker::CFileWorker(StatusHook status, ResultHook result, SkipHook skip, FileWorkerConfig config)
    : status_(std::move(status)), result_(std::move(result)), skip_(std::move(skip)), config_(config) {
  config_.lanes = std::clamp(config_.lanes, 1, kMaxLanes);
  for (int i = 0; i < config_.lanes; ++i) {
    auto lane = std::make_unique<Lane>();
    lane->owner = this;
    lane->analyzer = std::make_unique<CTrackAnalyzer>();
    lane->analyzer->SetCancelFlag(&cancel_);
    lanes_.push_back(std::move(lane));
  }
}

CFileWorker::~CFileWorker() { Close(); }

void CFileWorker::Start() {
  if (cancel_.load()) return;
  for (auto& lane : lanes_) {
    if (!lane->thread) {
      lane->thread =
          std::make_unique<CPeriodicThread>(Run, lane.get(), config_.priorityClass, kPeriodMs, "file worker");
    }
  }
}

void CFileWorker::Close() {
  cancel_.store(true, std::memory_order_relaxed);
  while (queue_.PopFront()) {
  }
  // The passes see the flag within a decoded second; the wait is only for a decoder stuck on a
  // dead network share or the like.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kCloseWaitMs);
  while (busy() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  if (busy()) {
    // Freeing an analyzer or a thread under a running pass would be a use after free: all are
    // left to the process's exit instead.
    TraceLine("file worker: the analysis did not stop in %d ms; left running", kCloseWaitMs);
    for (auto& lane : lanes_) (void)lane.release();
    lanes_.clear();
    return;
  }
  for (auto& lane : lanes_) {
    if (lane->thread) lane->thread->Stop();
    lane->thread.reset();
  }
}

// A paced lane takes one song per wake; an unpaced one works until the queue is empty.
void CFileWorker::Run(void* self) {
  Lane& lane = *static_cast<Lane*>(self);
  CFileWorker& owner = *lane.owner;
  StepResult step;
  do {
    step = owner.StepLane(lane);
  } while (!owner.config_.paced && step != StepResult::kEmpty);
}

void CFileWorker::Enqueue(const std::string& path) {
  if (!cancel_.load(std::memory_order_relaxed)) queue_.PushBack(path);
}

bool CFileWorker::Step() { return StepLane(*lanes_.front()) == StepResult::kAnalysed; }

bool CFileWorker::ClaimName(const std::string& name) {
  std::lock_guard guard(namesLock_);
  return names_.insert(name).second;
}

void CFileWorker::ReleaseName(const std::string& name) {
  std::lock_guard guard(namesLock_);
  names_.erase(name);
}

CFileWorker::StepResult CFileWorker::StepLane(Lane& lane) {
  while (!cancel_.load(std::memory_order_relaxed)) {
    std::optional<std::string> path = queue_.PopFront();
    if (!path) {
      if (status_) status_(0, std::string());
      return StepResult::kEmpty;
    }
    // A path with '$' is a virtual one (a CD track) and never exists as a file.
    const bool present = Exists(*path) || path->find('$') != std::string::npos;
    const std::string name = SongKeyOf(*path);
    FileSkip why = FileSkip::kMissing;
    if (present && !ClaimName(name)) why = FileSkip::kSameName;
    else if (present && !config_.force && !NeedsAnalysis(*path)) why = FileSkip::kAlreadyDone, ReleaseName(name);
    else if (present) {
      if (status_) status_(queue_.Count(), *path);
      inPass_.fetch_add(1, std::memory_order_acq_rel);
      TrackAnalysis result;
      const AnalysisOutcome outcome = lane.analyzer->Analyze(*path, result);
      if (outcome == AnalysisOutcome::kDone && result_) result_(*path, result);
      if (outcome == AnalysisOutcome::kUndecodable || outcome == AnalysisOutcome::kTooLong) {
        why = outcome == AnalysisOutcome::kTooLong ? FileSkip::kTooLong : FileSkip::kUndecodable;
        TraceLine("analyse: %s: %s", path->c_str(), FileSkipText(why));
        if (skip_) skip_(*path, why);
      }
      ReleaseName(name);
      inPass_.fetch_sub(1, std::memory_order_acq_rel);
      return outcome == AnalysisOutcome::kDone ? StepResult::kAnalysed : StepResult::kNotAnalysed;
    }
    if (skip_) skip_(*path, why);
    // A short pause between skipped entries keeps a long queue of done songs from hogging a core.
    if (config_.paced && !ThreadsAreManual()) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return StepResult::kEmpty;
}
