#pragma once
// The controller script host: every controller file under controllers/ gets its own realm
// (global object), the skin's script one more, all in one SpiderMonkey context. The host
// defines the functions a script may call (call, debug, sendMidi, sendSysex, sendHid, getValue,
// getHidData, setHidData; for the skin call, debug, getValue, getGroupId, getControlId) and nothing else:
// there is no file, network or process access in a script's global object.
//
// A runaway script (an endless loop) is stopped by a watchdog thread through the engine's
// interrupt callback once a call has run for runawayBudget; the line "error - js script '%s'
// stopped ..." goes to the log and that script is disabled. The program runs on. Time spent
// inside `call` and `sendSysex` (an action that sleeps, a slow MIDI driver) is not counted:
// only the script's own code can run away.
//
// Threads: one thread only (the GUI thread): the first thread that uses a host owns the engine
// for the life of the process. The watchdog is the only other thread that touches it.

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "controllers/HidData.h"
#include "controllers/SysExOut.h"

constexpr int kMaxControllerScripts = 128;
constexpr int kMaxControllerSlots = 16;

// The host functions' way to the devices; the controller set implements it.
class ScriptDevices {
 public:
  virtual ~ScriptDevices() = default;
  // `status` already holds the channel. False when the slot is empty or has no output.
  virtual bool SendMidiShort(int uniqueId, int status, int data1, int data2) = 0;
  // Null for an empty slot or a slot without a HID device.
  virtual HidStores* HidStoresOf(int uniqueId) = 0;
  virtual bool WriteHid(int uniqueId, const unsigned char* data, int length) = 0;
  // One sysex on the slot's MIDI output (see SysExOut.h).
  virtual SysExResult SendMidiLong(int /*uniqueId*/, const unsigned char* /*bytes*/, int /*length*/) {
    return SysExResult::kFailed;
  }
};

struct ControllerScript {
  std::string fileName;
  int fileVersion = 0;
  std::string friendlyName = "none";
  std::string sysExId = "none";
  std::string midiInName = "none";
  std::string midiOutName = "none";
  std::string hidName = "none";
  int hidVid = 0;
  int hidPid = 0;
  int detectionMethod = -1;  // 0 sysex id, 1 device name or HID
  int controllerType = -1;   // 0 MIDI, 1 HID
  bool disabled = false;     // stopped as a runaway; its functions are no longer called
};

// One argument of a script function call.
struct ScriptArg {
  enum Kind { kInt, kNumber, kText } kind;
  int intValue = 0;
  double number = 0;
  const char* text = "";
  ScriptArg(int v) : kind(kInt), intValue(v) {}                   // NOLINT: plain conversions
  ScriptArg(double v) : kind(kNumber), number(v) {}               // NOLINT
  ScriptArg(const char* v) : kind(kText), text(v ? v : "") {}     // NOLINT
};

class ScriptHost {
 public:
  ScriptHost();
  ~ScriptHost();
  ScriptHost(const ScriptHost&) = delete;
  ScriptHost& operator=(const ScriptHost&) = delete;

  void SetDevices(ScriptDevices* devices) { devices_ = devices; }
  // getGroupId and getControlId of the skin script look names up here; -1 without a lookup.
  using NameLookup = int (*)(const char* name);
  void SetSkinNameLookups(NameLookup group, NameLookup control);
  // How long one call may run before the watchdog stops it (default 50 ms).
  void SetRunawayBudget(std::chrono::milliseconds budget);

  // Clears the table and loads every *.js in `folder`, in name order; returns the number loaded.
  int LoadControllerScripts(const std::string& folder);
  // Loads one file into the next slot; false (and a log line) when it is refused.
  bool LoadControllerScript(const std::string& path);
  // The same from text already read; `name` is what the log lines show.
  bool LoadControllerScriptText(const std::string& name, const std::string& text);
  void ClearScripts();

  int ScriptCount() const { return static_cast<int>(scripts_.size()); }
  const ControllerScript& Script(int index) const { return scripts_[index]->info; }

  // Calls a script function. A missing function, a failure or a stopped script give the
  // fallback (CallInt: a boolean gives 0 or 1; CallString: only a string counts).
  int CallInt(int script, const char* function, std::initializer_list<ScriptArg> args, int fallback);
  std::string CallString(int script, const char* function, std::initializer_list<ScriptArg> args,
                         const std::string& fallback);
  // For the event functions whose result nobody reads; false when it failed or is missing.
  bool CallVoid(int script, const char* function, std::initializer_list<ScriptArg> args);

  // The skin's script: a new realm each time, the previous one dropped first.
  bool EvaluateSkinScript(const std::string& text);
  // `<name>` with clientX, clientY and button; the result is not read.
  void CallSkinFunction(const std::string& function, int x, int y, int button);

  struct Realm;  // engine objects of one script (private)

 private:
  struct LoadedScript {
    ControllerScript info;
    std::unique_ptr<Realm> realm;
  };
  // What an invocation came to; the value is kept in the host's result slot.
  enum class Outcome { kOk, kMissing, kFailed };
  Outcome Invoke(Realm& realm, ControllerScript* owner, const char* function,
                 std::initializer_list<ScriptArg> args);
  static int IntResult(Realm& realm, Outcome outcome, int fallback);
  static std::string StringResult(Realm& realm, Outcome outcome, const std::string& fallback);
  void ReadMetadata(LoadedScript& script);

  std::vector<std::unique_ptr<LoadedScript>> scripts_;
  std::unique_ptr<Realm> skin_;
  bool skinStopped_ = false;
  ScriptDevices* devices_ = nullptr;
  NameLookup groupLookup_ = nullptr;
  NameLookup controlLookup_ = nullptr;
  std::chrono::milliseconds budget_{50};

  // The host whose script is running: the host functions reach their devices through it.
  static inline thread_local ScriptHost* activeHost_ = nullptr;
  friend struct HostFunctions;
};
