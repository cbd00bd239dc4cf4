// The null back end: no device, only the system clock. A simulated play cursor crosses a ring
// of eight fragments at 44100 frames a second; every millisecond the thread asks the fragment
// scheduler what to fill, mixes those fragments and throws them away. So meters, the recorder
// and analysis run at real time while nothing sounds.

#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <memory>

#include "app/base/Realtime.h"
#include "audio/AudioSignalSource.h"
#include "audio/FragmentScheduler.h"
#include "audio/Threads.h"
#include "audio/devices/OutputBackend.h"

namespace {

constexpr long kPollNanoseconds = 1000000;  // 1 ms, like the device poll
constexpr int kTimeCriticalClass = 6;

constexpr int64_t kNanosecondsPerSecond = 1000000000;

int64_t MonotonicNanoseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<int64_t>(now.tv_sec) * kNanosecondsPerSecond + now.tv_nsec;
}

// Whole seconds apart, so the product cannot overflow however long the program runs.
int64_t EngineFramesIn(int64_t nanoseconds) {
  return nanoseconds / kNanosecondsPerSecond * kEngineRate +
         nanoseconds % kNanosecondsPerSecond * kEngineRate / kNanosecondsPerSecond;
}

class CNullOutput final : public COutputBackend {
 public:
  ~CNullOutput() override { Close(); }

  bool Open(const OutputBackendConfig& config) override {
    Close();
    fragment_ = std::clamp(config.fragmentFrames, 1, kMaxBlockFrames);
    channels_ = config.channels;
    ring_ = std::make_unique<float[]>(static_cast<size_t>(kOutputFragments) * fragment_ * channels_);
    OutputBackendConfig feedConfig = config;
    feedConfig.fragmentFrames = fragment_;
    if (!feed_.Open(feedConfig, kEngineRate, fragment_)) return false;
    scheduler_.Reset();
    cursorSeen_ = 0;
    stop_.store(false);
    running_ = StartThread(thread_, &CNullOutput::Entry, this);
    return running_;
  }

  void Close() override {
    if (!running_) return;
    stop_.store(true);
    pthread_join(thread_, nullptr);
    running_ = false;
  }

  int DeviceRate() const override { return kEngineRate; }
  int DeviceBlockFrames() const override { return fragment_; }

 private:
  static void* Entry(void* self) {
    static_cast<CNullOutput*>(self)->Loop();
    return nullptr;
  }

  void Loop() {
    ApplyThreadPriorityClass(kTimeCriticalClass);
    const int64_t start = MonotonicNanoseconds();
    const timespec period{0, kPollNanoseconds};
    while (!stop_.load(std::memory_order_relaxed)) {
      clock_nanosleep(CLOCK_MONOTONIC, 0, &period, nullptr);
      if (stop_.load(std::memory_order_relaxed)) break;
      const int64_t cursor = EngineFramesIn(MonotonicNanoseconds() - start) / fragment_;
      // A poll that comes late walks the cursor forward in steps the ring can see, so no
      // engine time is lost, however short the fragments. After a stall (the process stopped,
      // the machine swapping) at most one ring is caught up: mixing every missed fragment
      // flat out would run the decks and the recorder ahead for seconds.
      cursorSeen_ = std::max(cursorSeen_, cursor - kOutputFragments);
      while (cursorSeen_ < cursor) {
        cursorSeen_ += std::min<int64_t>(cursor - cursorSeen_, kOutputFragments - 1);
        FillBehindCursor(static_cast<int>(cursorSeen_ % kOutputFragments));
      }
    }
  }

  void FillBehindCursor(int playFragment) {
    rt::AudioThreadScope audioThread;
    FragmentFill fill;
    scheduler_.Poll(playFragment, &fill);
    for (int i = 0; i < fill.count; ++i)
      feed_.Render(&ring_[static_cast<size_t>(fill.fragments[i]) * fragment_ * channels_], fragment_);
  }

  int fragment_ = 0;
  int channels_ = 2;
  std::unique_ptr<float[]> ring_;
  COutputFeed feed_;
  CFragmentScheduler scheduler_;
  int64_t cursorSeen_ = 0;  // absolute fragment of the simulated cursor at the last poll
  pthread_t thread_{};
  bool running_ = false;
  std::atomic<bool> stop_{false};
};

}  // namespace

std::unique_ptr<COutputBackend> CreateNullOutput() { return std::make_unique<CNullOutput>(); }
