#pragma once
// The one SpiderMonkey context of the process and its runaway watchdog. Internal to the script
// host; nothing outside src/controllers includes the engine's headers.
//
// Threads: the context belongs to the first thread that asks for it; Get returns null on any
// other thread. The watchdog thread only reads the call clock and requests an interrupt.

#include <jsapi.h>

#include <atomic>
#include <chrono>

#include "controllers/ScriptHost.h"

namespace script_engine {
// Realms alive in any host. The engine outlives them: a host kept in a static object may die
// after the engine's own static, and then the engine stays up until the process is gone.
std::atomic<int>& LiveRealms();
}  // namespace script_engine

struct ScriptHost::Realm {
  explicit Realm(JSContext* cx) : global(cx), result(cx) { ++script_engine::LiveRealms(); }
  ~Realm() { --script_engine::LiveRealms(); }
  JS::PersistentRootedObject global;
  JS::PersistentRootedValue result;  // the last call's return value
};

namespace script_engine {

// The context, made on first use; null when the engine failed to start or on a foreign thread.
JSContext* Context();

// Brackets one call into script code: the watchdog interrupts it after `budget`. Stopped()
// tells, after the call returned, whether the watchdog cut it short.
class CallGuard {
 public:
  explicit CallGuard(std::chrono::milliseconds budget);
  ~CallGuard();
  bool Stopped() const;

 private:
  bool outer_;
};

// Brackets the inside of a host function that may block for good reason (a sysex send, an
// action that sleeps or loads): that time does not count against the running call's budget, so
// only script code that loops is stopped as a runaway.
class WatchdogPause {
 public:
  WatchdogPause();
  ~WatchdogPause();

 private:
  std::chrono::steady_clock::rep saved_;
  std::chrono::steady_clock::time_point since_;
};

// The pending exception's text ("file:line: message"), cleared; "" when there is none.
std::string TakeExceptionText(JSContext* cx);

// Defines the functions of a controller script (skin = false) or of the skin script.
bool DefineHostFunctions(JSContext* cx, JS::HandleObject global, bool skin);

}  // namespace script_engine
