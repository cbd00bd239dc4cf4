#include "controllers/ScriptEngine.h"

#include <js/ErrorReport.h>
#include <js/Exception.h>
#include <js/Initialization.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "app/base/Trace.h"

namespace script_engine {
namespace {

// How often the watchdog looks at the running call. A tenth of the smallest budget a test
// sets keeps "stopped within 100 ms" true with room for a busy machine.
constexpr std::chrono::milliseconds kWatchdogPeriod{5};

using Clock = std::chrono::steady_clock;

class Engine {
 public:
  Engine() : owner_(std::this_thread::get_id()) {
    if (!JS_Init()) {
      TraceLine("error - js engine did not start");
      return;
    }
    cx_ = JS_NewContext(JS::DefaultHeapMaxBytes);
    if (!cx_ || !JS::InitSelfHostedCode(cx_)) {
      TraceLine("error - js context could not be made");
      cx_ = nullptr;
      return;
    }
    JS_SetNativeStackQuota(cx_, 512 * 1024);
    JS_AddInterruptCallback(cx_, &Engine::OnInterrupt);
    watchdog_ = std::thread([this] { Watch(); });
  }

  ~Engine() {
    {
      std::lock_guard<std::mutex> hold(mutex_);
      quit_ = true;
    }
    wake_.notify_all();
    if (watchdog_.joinable()) watchdog_.join();
    if (LiveRealms().load() > 0) return;  // a static host still holds realms: leave it all up
    if (cx_) JS_DestroyContext(cx_);
    JS_ShutDown();
  }

  JSContext* Get() const { return std::this_thread::get_id() == owner_ ? cx_ : nullptr; }

  void Begin(std::chrono::milliseconds budget) {
    stopped_.store(false, std::memory_order_relaxed);
    budget_.store(budget.count(), std::memory_order_relaxed);
    // Release: the watchdog that sees the start time also sees the budget.
    started_.store(Clock::now().time_since_epoch().count(), std::memory_order_release);
    wake_.notify_all();
  }
  void End() { started_.store(0, std::memory_order_release); }
  // The watchdog skips a call whose start is 0; Resume moves the start on by the pause, so the
  // script's own time before and after still adds up.
  Clock::rep Suspend() { return started_.exchange(0, std::memory_order_acq_rel); }
  void Resume(Clock::rep saved, Clock::duration paused) {
    if (saved != 0) started_.store(saved + paused.count(), std::memory_order_release);
  }
  bool Stopped() const { return stopped_.load(std::memory_order_acquire); }
  bool Unwatched() const { return started_.load(std::memory_order_acquire) == 0; }

 private:
  static bool OnInterrupt(JSContext*);

  void Watch() {
    std::unique_lock<std::mutex> hold(mutex_);
    while (!quit_) {
      wake_.wait_for(hold, kWatchdogPeriod);
      const auto started = started_.load(std::memory_order_acquire);
      if (started == 0 || stopped_.load(std::memory_order_relaxed)) continue;
      const auto ran = Clock::now() - Clock::time_point(Clock::duration(started));
      const bool sameCall = started_.load(std::memory_order_acquire) == started;
      if (sameCall && ran >= std::chrono::milliseconds(budget_.load(std::memory_order_relaxed))) {
        stopped_.store(true, std::memory_order_release);
        JS_RequestInterruptCallback(cx_);
      }
    }
  }

  std::thread::id owner_;
  JSContext* cx_ = nullptr;
  std::thread watchdog_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool quit_ = false;
  std::atomic<Clock::rep> started_{0};
  std::atomic<long> budget_{50};
  std::atomic<bool> stopped_{false};
};

Engine& TheEngine() {
  static Engine engine;
  return engine;
}

// Returning false ends the running script without an exception it could catch.
bool Engine::OnInterrupt(JSContext*) { return !TheEngine().Stopped(); }

int callDepth = 0;

}  // namespace

namespace {
constinit std::atomic<int> g_liveRealms{0};  // no constructor or destructor to order
}

std::atomic<int>& LiveRealms() { return g_liveRealms; }

JSContext* Context() { return TheEngine().Get(); }

// Script code that runs inside a paused host function (an action that reaches the skin's
// script) is watched again, on its own budget.
CallGuard::CallGuard(std::chrono::milliseconds budget) : outer_(callDepth++ == 0 || TheEngine().Unwatched()) {
  if (outer_) TheEngine().Begin(budget);
}

CallGuard::~CallGuard() {
  --callDepth;
  if (outer_) TheEngine().End();
}

bool CallGuard::Stopped() const { return TheEngine().Stopped(); }

WatchdogPause::WatchdogPause() : saved_(TheEngine().Suspend()), since_(Clock::now()) {}

WatchdogPause::~WatchdogPause() { TheEngine().Resume(saved_, Clock::now() - since_); }

std::string TakeExceptionText(JSContext* cx) {
  if (!JS_IsExceptionPending(cx)) return "";
  JS::ExceptionStack stack(cx);
  if (!JS::StealPendingExceptionStack(cx, &stack)) return "";
  JS::ErrorReportBuilder report(cx);
  if (!report.init(cx, stack, JS::ErrorReportBuilder::NoSideEffects)) {
    JS_ClearPendingException(cx);
    return "(no text)";
  }
  const JSErrorReport* error = report.report();
  std::string text;
  if (error && error->filename) text = std::string(error->filename) + ":" + std::to_string(error->lineno) + ": ";
  text += report.toStringResult() ? report.toStringResult().c_str() : "(no text)";
  return text;
}

}  // namespace script_engine
