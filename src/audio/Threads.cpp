#include "audio/Threads.h"

#include <cerrno>
#include <ctime>
#include <mutex>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "app/base/Trace.h"

namespace {

constexpr size_t kStackBytes = 256 * 1024;
constexpr int kStopTimeoutMs = 30000;

std::atomic<bool> g_manual{false};
std::mutex g_manualLock;
std::vector<CPeriodicThread*> g_manualThreads;

timespec DeadlineAfter(int ms) {
  timespec ts;
  clock_gettime(CLOCK_REALTIME, &ts);
  ts.tv_sec += ms / 1000;
  ts.tv_nsec += static_cast<long>(ms % 1000) * 1000000L;
  if (ts.tv_nsec >= 1000000000L) {
    ts.tv_sec += 1;
    ts.tv_nsec -= 1000000000L;
  }
  return ts;
}

void SetNice(int value) {
  // Per-thread nice through the thread id; refused silently without the right to lower it.
  setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), value);
}

}  // namespace

void ApplyThreadPriorityClass(int priorityClass) {
  switch (priorityClass) {
    case 6: {
      sched_param param{};
      param.sched_priority = sched_get_priority_min(SCHED_FIFO) + 10;
      if (pthread_setschedparam(pthread_self(), SCHED_FIFO, &param) != 0) SetNice(-10);
      break;
    }
    case 5: SetNice(-10); break;
    case 4: SetNice(-5); break;
    case 3: SetNice(0); break;
    case 2: SetNice(5); break;
    case 1: SetNice(10); break;
    default:
      // Nice 19 rather than SCHED_IDLE: an idle-class deck loader would starve for as long as
      // any other process keeps both cores busy, and a streamed track would go silent.
      SetNice(19);
      break;
  }
}

bool StartThread(pthread_t& thread, void* (*entry)(void*), void* argument) {
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setstacksize(&attr, kStackBytes);
  int rc = pthread_create(&thread, &attr, entry, argument);
  pthread_attr_destroy(&attr);
  return rc == 0;
}

void SetThreadsManual(bool manual) { g_manual.store(manual); }
bool ThreadsAreManual() { return g_manual.load(); }

void StepManualThreads(double elapsedMs) {
  std::vector<CPeriodicThread*> threads;
  {
    std::lock_guard lock(g_manualLock);
    threads = g_manualThreads;
  }
  for (CPeriodicThread* thread : threads) thread->StepManual(elapsedMs);
}

CPeriodicThread::CPeriodicThread(ThreadFunction fn, void* argument, int priorityClass,
                                 int periodMs, const char* name)
    : fn_(fn), argument_(argument), priorityClass_(priorityClass), periodMs_(periodMs),
      name_(name), manual_(ThreadsAreManual()) {
  if (manual_) {
    std::lock_guard lock(g_manualLock);
    g_manualThreads.push_back(this);
    return;
  }
  sem_init(&event_, 0, 0);
  started_ = StartThread(thread_, &CPeriodicThread::Entry, this);
  if (!started_) TraceLine("can not start thread %s", name_.c_str());
}

CPeriodicThread::~CPeriodicThread() {
  Stop();
  if (manual_) {
    std::lock_guard lock(g_manualLock);
    std::erase(g_manualThreads, this);
  } else {
    sem_destroy(&event_);
  }
}

void CPeriodicThread::Wake() noexcept {
  // One post per pending wake keeps the semaphore at most 1, like an auto-reset event.
  if (!wakePending_.exchange(true, std::memory_order_acq_rel) && !manual_) sem_post(&event_);
}

void CPeriodicThread::Stop() {
  stop_.store(true, std::memory_order_release);
  if (!started_) return;
  started_ = false;
  sem_post(&event_);
  timespec deadline = DeadlineAfter(kStopTimeoutMs);
  if (pthread_timedjoin_np(thread_, nullptr, &deadline) != 0) {
    TraceLine("thread %s did not stop in %d ms", name_.c_str(), kStopTimeoutMs);
    pthread_detach(thread_);
  }
}

void CPeriodicThread::StepManual(double elapsedMs) {
  if (stop_.load(std::memory_order_acquire)) return;
  sinceLastRunMs_ += elapsedMs;
  bool woken = wakePending_.exchange(false, std::memory_order_acq_rel);
  if (!woken && sinceLastRunMs_ < periodMs_) return;
  sinceLastRunMs_ = 0;
  fn_(argument_);
}

void* CPeriodicThread::Entry(void* self) {
  static_cast<CPeriodicThread*>(self)->Loop();
  return nullptr;
}

void CPeriodicThread::Loop() {
  pthread_setname_np(pthread_self(), name_.substr(0, 15).c_str());
  ApplyThreadPriorityClass(priorityClass_);
  while (!stop_.load(std::memory_order_acquire)) {
    timespec deadline = DeadlineAfter(periodMs_);
    while (sem_timedwait(&event_, &deadline) != 0 && errno == EINTR) {
    }
    wakePending_.store(false, std::memory_order_release);
    if (stop_.load(std::memory_order_acquire)) break;
    fn_(argument_);
  }
  finished_.store(true, std::memory_order_release);
}

COneShotThread::COneShotThread(ThreadFunction fn, void* argument, int priorityClass,
                               const char* name)
    : fn_(fn), argument_(argument), priorityClass_(priorityClass), name_(name) {
  if (ThreadsAreManual()) {
    // Offline runs do the one-shot work in step, right here.
    fn_(argument_);
    finished_.store(true, std::memory_order_release);
    return;
  }
  started_ = StartThread(thread_, &COneShotThread::Entry, this);
  if (!started_) TraceLine("can not start thread %s", name_.c_str());
}

COneShotThread::~COneShotThread() {
  if (started_ && !joined_) pthread_join(thread_, nullptr);
}

bool COneShotThread::Wait(int timeoutMs) {
  if (!started_ || joined_) return true;
  timespec deadline = DeadlineAfter(timeoutMs);
  if (pthread_timedjoin_np(thread_, nullptr, &deadline) != 0) return false;
  joined_ = true;
  return true;
}

void* COneShotThread::Entry(void* self) {
  auto* thread = static_cast<COneShotThread*>(self);
  pthread_setname_np(pthread_self(), thread->name_.substr(0, 15).c_str());
  ApplyThreadPriorityClass(thread->priorityClass_);
  thread->fn_(thread->argument_);
  thread->finished_.store(true, std::memory_order_release);
  return nullptr;
}
