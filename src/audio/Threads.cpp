#include "audio/Threads.h"

#include <cerrno>
#include <ctime>
#include <memory>
#include <mutex>
#include <semaphore.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "app/base/Trace.h"

namespace {

constexpr size_t kStackBytes = 256 * 1024;

std::atomic<bool> g_manual{false};
std::mutex g_manualLock;
std::vector<CPeriodicThread*> g_manualThreads;

timespec MonotonicDeadlineAfter(int ms) {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  ts.tv_sec += ms / 1000;
  ts.tv_nsec += static_cast<long>(ms % 1000) * 1000000L;
  if (ts.tv_nsec >= 1000000000L) {
    ts.tv_sec += 1;
    ts.tv_nsec -= 1000000000L;
  }
  return ts;
}

// Joins a thread once it has posted `done`, waiting at most timeoutMs on the monotonic clock;
// false when it is still running. (A plain join after the post returns at once; the timed
// joins of glibc are either on the wall clock or unknown to the thread sanitizer.)
bool JoinWithin(pthread_t thread, sem_t* done, int timeoutMs) {
  timespec deadline = MonotonicDeadlineAfter(timeoutMs);
  int rc;
  while ((rc = sem_clockwait(done, CLOCK_MONOTONIC, &deadline)) != 0 && errno == EINTR) {
  }
  if (rc != 0) return false;
  pthread_join(thread, nullptr);
  return true;
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

// What the periodic thread touches besides its function. Shared with the thread, so a thread
// left running after a stop time-out never sees it freed.
struct CPeriodicThread::Shared {
  ThreadFunction fn;
  void* argument;
  int priorityClass;
  int periodMs;
  std::string name;
  sem_t event{};
  sem_t done{};  // posted when the loop has ended
  std::atomic<bool> wakePending{false};
  std::atomic<bool> stop{false};

  Shared(ThreadFunction f, void* a, int c, int p, const char* n)
      : fn(f), argument(a), priorityClass(c), periodMs(p), name(n) {
    sem_init(&event, 0, 0);
    sem_init(&done, 0, 0);
  }
  ~Shared() {
    sem_destroy(&event);
    sem_destroy(&done);
  }

  void Loop() {
    pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
    ApplyThreadPriorityClass(priorityClass);
    while (!stop.load(std::memory_order_acquire)) {
      timespec deadline = MonotonicDeadlineAfter(periodMs);
      while (sem_clockwait(&event, CLOCK_MONOTONIC, &deadline) != 0 && errno == EINTR) {
      }
      wakePending.store(false, std::memory_order_release);
      if (stop.load(std::memory_order_acquire)) break;
      fn(argument);
    }
  }
};

CPeriodicThread::CPeriodicThread(ThreadFunction fn, void* argument, int priorityClass,
                                 int periodMs, const char* name)
    : shared_(std::make_shared<Shared>(fn, argument, priorityClass, periodMs, name)),
      manual_(ThreadsAreManual()) {
  if (manual_) {
    std::lock_guard lock(g_manualLock);
    g_manualThreads.push_back(this);
    return;
  }
  // The thread owns a reference of its own, released when its loop ends.
  auto* threadRef = new std::shared_ptr<Shared>(shared_);
  started_ = StartThread(thread_, &CPeriodicThread::Entry, threadRef);
  if (!started_) {
    delete threadRef;
    TraceLine("can not start thread %s", name);
  }
}

CPeriodicThread::~CPeriodicThread() {
  Stop();
  if (manual_) {
    std::lock_guard lock(g_manualLock);
    std::erase(g_manualThreads, this);
  }
}

void CPeriodicThread::Wake() noexcept {
  // One post per pending wake keeps the semaphore at most 1, like an auto-reset event.
  if (!shared_->wakePending.exchange(true, std::memory_order_acq_rel) && !manual_)
    sem_post(&shared_->event);
}

void CPeriodicThread::Stop(int timeoutMs) {
  shared_->stop.store(true, std::memory_order_release);
  if (!started_) return;
  started_ = false;
  sem_post(&shared_->event);
  if (!JoinWithin(thread_, &shared_->done, timeoutMs)) {
    TraceLine("thread %s did not stop in %d ms", shared_->name.c_str(), timeoutMs);
    pthread_detach(thread_);
  }
}

void CPeriodicThread::StepManual(double elapsedMs) {
  Shared& s = *shared_;
  if (s.stop.load(std::memory_order_acquire)) return;
  sinceLastRunMs_ += elapsedMs;
  bool woken = s.wakePending.exchange(false, std::memory_order_acq_rel);
  if (!woken && sinceLastRunMs_ < s.periodMs) return;
  sinceLastRunMs_ = 0;
  s.fn(s.argument);
}

void* CPeriodicThread::Entry(void* shared) {
  std::unique_ptr<std::shared_ptr<Shared>> ref(static_cast<std::shared_ptr<Shared>*>(shared));
  (*ref)->Loop();
  sem_post(&(*ref)->done);
  return nullptr;
}

COneShotThread::COneShotThread(ThreadFunction fn, void* argument, int priorityClass,
                               const char* name)
    : fn_(fn), argument_(argument), priorityClass_(priorityClass), name_(name) {
  sem_init(&done_, 0, 0);
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
  sem_destroy(&done_);
}

bool COneShotThread::Wait(int timeoutMs) {
  if (!started_ || joined_) return true;
  if (!JoinWithin(thread_, &done_, timeoutMs)) return false;
  joined_ = true;
  return true;
}

void* COneShotThread::Entry(void* self) {
  auto* thread = static_cast<COneShotThread*>(self);
  pthread_setname_np(pthread_self(), thread->name_.substr(0, 15).c_str());
  ApplyThreadPriorityClass(thread->priorityClass_);
  thread->fn_(thread->argument_);
  thread->finished_.store(true, std::memory_order_release);
  sem_post(&thread->done_);
  return nullptr;
}
