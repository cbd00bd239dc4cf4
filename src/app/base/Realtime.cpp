#include "app/base/Realtime.h"

#include <atomic>

namespace rt {
namespace {
thread_local bool t_onAudioThread = false;
std::atomic<unsigned long> g_blockingWaits{0};
}  // namespace

bool OnAudioThread() noexcept { return t_onAudioThread; }

AudioThreadScope::AudioThreadScope() noexcept : previous_(t_onAudioThread) {
  t_onAudioThread = true;
}
AudioThreadScope::~AudioThreadScope() { t_onAudioThread = previous_; }

void NoteBlockingWaitOnAudioThread() noexcept {
  g_blockingWaits.fetch_add(1, std::memory_order_relaxed);
}
unsigned long BlockingWaitsOnAudioThread() noexcept {
  return g_blockingWaits.load(std::memory_order_relaxed);
}

}  // namespace rt
