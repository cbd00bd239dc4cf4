#include "app/base/Trace.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "app/base/Realtime.h"

namespace {

constexpr const char* kPrefix = "-- xkn: ";
constexpr unsigned long kRealtimeSlots = 256;

std::mutex g_writeLock;
FILE* g_logFile = nullptr;
std::atomic<bool> g_quiet{false};
std::atomic<TraceHook> g_hook{nullptr};
std::atomic<void*> g_hookContext{nullptr};

// The audio side's queue: each writer claims an index with fetch_add and parks its literal in
// that slot; a slot still occupied means the reader is a whole lap behind, and the line drops.
// The reader sweeps the indices claimed since its last sweep.
std::array<std::atomic<const char*>, kRealtimeSlots> g_rtSlots{};
std::atomic<unsigned long> g_rtWrite{0};
unsigned long g_rtRead = 0;  // guarded by g_writeLock
std::atomic<unsigned long> g_rtDropped{0};

// Copies of changing text for TraceTextRT: a slot is claimed by its flag, filled, queued by
// pointer, and freed by the reader once written out.
constexpr size_t kTextSlots = 32;
constexpr size_t kTextBytes = 256;
struct TextSlot {
  std::atomic<bool> busy{false};
  char text[kTextBytes];
};
std::array<TextSlot, kTextSlots> g_textSlots;

void ReleaseTextSlot(const char* text) {
  for (TextSlot& slot : g_textSlots)
    if (text == slot.text) slot.busy.store(false, std::memory_order_release);
}

void WriteLineLocked(const char* text) {
  if (!g_quiet.load(std::memory_order_relaxed)) std::fprintf(stderr, "%s%s\n", kPrefix, text);
  if (g_logFile) {
    std::fprintf(g_logFile, "%s%s\n", kPrefix, text);
    std::fflush(g_logFile);
  }
  if (TraceHook hook = g_hook.load(std::memory_order_acquire)) {
    hook(text, g_hookContext.load(std::memory_order_relaxed));
  }
}

void DrainLocked() {
  unsigned long end = g_rtWrite.load(std::memory_order_acquire);
  if (end - g_rtRead > kRealtimeSlots) g_rtRead = end - kRealtimeSlots;
  for (; g_rtRead != end; ++g_rtRead) {
    const char* text =
        g_rtSlots[g_rtRead % kRealtimeSlots].exchange(nullptr, std::memory_order_acquire);
    if (text) {
      WriteLineLocked(text);
      ReleaseTextSlot(text);
    }
  }
}

}  // namespace

void TraceLineV(const char* format, va_list args) {
  if (rt::OnAudioThread()) rt::NoteBlockingWaitOnAudioThread();  // formats and locks
  char buffer[2048];
  std::vsnprintf(buffer, sizeof buffer, format, args);
  std::lock_guard lock(g_writeLock);
  DrainLocked();
  WriteLineLocked(buffer);
}

void TraceLine(const char* format, ...) {
  va_list args;
  va_start(args, format);
  TraceLineV(format, args);
  va_end(args);
}

namespace {
bool QueueRealtime(const char* literal) noexcept {
  unsigned long index = g_rtWrite.fetch_add(1, std::memory_order_relaxed);
  const char* expected = nullptr;
  if (g_rtSlots[index % kRealtimeSlots].compare_exchange_strong(
          expected, literal, std::memory_order_release, std::memory_order_relaxed))
    return true;
  g_rtDropped.fetch_add(1, std::memory_order_relaxed);
  return false;
}
}  // namespace

void TraceLineRT(const char* literal) noexcept { QueueRealtime(literal); }

void TraceTextRT(const char* prefix, const char* text) noexcept {
  for (TextSlot& slot : g_textSlots) {
    if (slot.busy.exchange(true, std::memory_order_acquire)) continue;
    size_t n = 0;
    for (; n + 1 < kTextBytes && *prefix; ++n) slot.text[n] = *prefix++;
    for (; n + 1 < kTextBytes && *text; ++n) slot.text[n] = *text++;
    slot.text[n] = '\0';
    // A full queue drops the line; the slot is free again at once.
    if (!QueueRealtime(slot.text)) slot.busy.store(false, std::memory_order_release);
    return;
  }
  g_rtDropped.fetch_add(1, std::memory_order_relaxed);
}

void DrainRealtimeTrace() {
  std::lock_guard lock(g_writeLock);
  DrainLocked();
}

void SetTraceLogFile(const std::string& path) {
  std::lock_guard lock(g_writeLock);
  if (g_logFile) std::fclose(g_logFile);
  g_logFile = path.empty() ? nullptr : std::fopen(path.c_str(), "a");
}

void SetTraceQuiet(bool quiet) { g_quiet.store(quiet, std::memory_order_relaxed); }

void SetTraceHook(TraceHook hook, void* context) {
  g_hookContext.store(context, std::memory_order_relaxed);
  g_hook.store(hook, std::memory_order_release);
}

unsigned long DroppedRealtimeTraceLines() { return g_rtDropped.load(std::memory_order_relaxed); }
