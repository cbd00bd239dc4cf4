#include "controllers/ScriptHost.h"

#include <js/CallAndConstruct.h>
#include <js/CompilationAndEvaluation.h>
#include <js/Conversions.h>
#include <js/PropertyAndElement.h>
#include <js/SourceText.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "app/base/Trace.h"
#include "controllers/ScriptEngine.h"

namespace {

// Far above any controller mapping; a file this big is a mistake, not a script.
constexpr size_t kMaxScriptBytes = 1 << 20;

const JSClass kGlobalClass = {"global", JSCLASS_GLOBAL_FLAGS, &JS::DefaultGlobalClassOps, nullptr, nullptr, nullptr};

std::unique_ptr<ScriptHost::Realm> MakeRealm(JSContext* cx, bool skin) {
  JS::RealmOptions options;
  auto realm = std::make_unique<ScriptHost::Realm>(cx);
  realm->global = JS_NewGlobalObject(cx, &kGlobalClass, nullptr, JS::FireOnNewGlobalHook, options);
  if (!realm->global) return nullptr;
  JSAutoRealm enter(cx, realm->global);
  if (!JS::InitRealmStandardClasses(cx)) return nullptr;
  if (!script_engine::DefineHostFunctions(cx, realm->global, skin)) return nullptr;
  return realm;
}

int ControllerTypeFromName(const std::string& type) {
  if (type == "midi" || type == "MIDI" || type == "Midi") return 0;
  if (type == "hid" || type == "HID" || type == "Hid") return 1;
  return -1;
}

bool Evaluate(JSContext* cx, ScriptHost::Realm& realm, const std::string& name, const std::string& text,
              std::chrono::milliseconds budget, std::string* error) {
  JSAutoRealm enter(cx, realm.global);
  JS::CompileOptions options(cx);
  options.setFileAndLine(name.c_str(), 1);
  JS::SourceText<mozilla::Utf8Unit> source;
  if (!source.init(cx, text.data(), text.size(), JS::SourceOwnership::Borrowed)) {
    *error = script_engine::TakeExceptionText(cx);
    return false;
  }
  JS::RootedValue ignored(cx);
  script_engine::CallGuard guard(budget);
  if (JS::Evaluate(cx, options, source, &ignored)) return true;
  *error = guard.Stopped() ? "stopped: ran longer than " + std::to_string(budget.count()) + " ms"
                           : script_engine::TakeExceptionText(cx);
  JS_ClearPendingException(cx);
  return false;
}

void ConvertArgs(JSContext* cx, std::initializer_list<ScriptArg> args, JS::MutableHandleValueVector out) {
  for (const ScriptArg& arg : args) {
    switch (arg.kind) {
      case ScriptArg::kInt:
        (void)out.append(JS::Int32Value(arg.intValue));
        break;
      case ScriptArg::kNumber:
        (void)out.append(JS::NumberValue(arg.number));
        break;
      case ScriptArg::kText: {
        JSString* text = JS_NewStringCopyZ(cx, arg.text);
        (void)out.append(text ? JS::StringValue(text) : JS::NullValue());
        break;
      }
    }
  }
}

}  // namespace

ScriptHost::ScriptHost() = default;

ScriptHost::~ScriptHost() { ClearScripts(); }

void ScriptHost::SetSkinNameLookups(NameLookup group, NameLookup control) {
  groupLookup_ = group;
  controlLookup_ = control;
}

void ScriptHost::SetRunawayBudget(std::chrono::milliseconds budget) { budget_ = budget; }

void ScriptHost::ClearScripts() {
  if (scripts_.empty()) return;
  scripts_.clear();
  // The realms' globals are unrooted now, but the engine only frees them at a collection, and
  // nothing else in a reload allocates enough to start one: each reload would keep the old
  // scripts' heaps. Reloads are rare, so a full collection here costs nothing a DJ notices.
  if (JSContext* cx = script_engine::Context()) JS_GC(cx);
}

int ScriptHost::LoadControllerScripts(const std::string& folder) {
  ClearScripts();
  std::vector<std::string> files;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (entry.path().extension() == ".js") files.push_back(entry.path().string());
  }
  // Directory order differs between file systems; name order is what a user can predict.
  std::sort(files.begin(), files.end());
  for (const std::string& file : files) {
    if (ScriptCount() == kMaxControllerScripts) {
      TraceLine("script NOT loaded '%s' (more than %d scripts)", file.c_str(), kMaxControllerScripts);
      continue;
    }
    TraceLine(LoadControllerScript(file) ? "script ok '%s'" : "script NOT loaded '%s'", file.c_str());
  }
  return ScriptCount();
}

bool ScriptHost::LoadControllerScript(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::string text;
  if (in) {
    text.resize(kMaxScriptBytes + 1);
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(in.gcount()));
  }
  if (!in && !in.eof()) {
    TraceLine("error reading js script '%s'", path.c_str());
    return false;
  }
  if (text.size() > kMaxScriptBytes) {
    TraceLine("error reading js script '%s' (larger than %zu bytes)", path.c_str(), kMaxScriptBytes);
    return false;
  }
  return LoadControllerScriptText(path, text);
}

bool ScriptHost::LoadControllerScriptText(const std::string& name, const std::string& source) {
  JSContext* cx = script_engine::Context();
  if (!cx || ScriptCount() == kMaxControllerScripts) return false;
  auto script = std::make_unique<LoadedScript>();
  script->info.fileName = name;
  script->realm = MakeRealm(cx, false);
  if (!script->realm) return false;
  const bool bom = source.size() >= 3 && source.compare(0, 3, "\xEF\xBB\xBF") == 0;
  std::string error;
  ScriptHost* previousHost = std::exchange(activeHost_, this);
  const bool evaluated = Evaluate(cx, *script->realm, name, bom ? source.substr(3) : source, budget_, &error);
  activeHost_ = previousHost;
  if (!evaluated) {
    TraceLine("error - script was not evaluated ok BOM=%d '%s'", bom ? 1 : 0, name.c_str());
    TraceLine("js error: %s", error.c_str());
    return false;
  }
  const int version = IntResult(*script->realm,
                                Invoke(*script->realm, &script->info, "getLanguageVersion", {}), -1);
  if (version != 1) {
    TraceLine("error - js script getLanguageVersion: %d", version);
    return false;
  }
  ReadMetadata(*script);
  scripts_.push_back(std::move(script));
  return true;
}

void ScriptHost::ReadMetadata(LoadedScript& script) {
  ControllerScript& info = script.info;
  Realm& realm = *script.realm;
  auto integer = [&](const char* function, int fallback) {
    return IntResult(realm, Invoke(realm, &info, function, {0}), fallback);
  };
  auto text = [&](const char* function, std::initializer_list<ScriptArg> args, bool* found) {
    const std::string value = StringResult(realm, Invoke(realm, &info, function, args), "\x01");
    *found = value != "\x01";
    return *found ? value : std::string("none");
  };
  bool found = false;
  info.fileVersion = IntResult(realm, Invoke(realm, &info, "getFileVersion", {}), 0);
  info.friendlyName = text("getControllerUserFriendlyName", {}, &found);
  const Outcome typeOutcome = Invoke(realm, &info, "getControllerType", {});
  const std::string type = StringResult(realm, typeOutcome, "");
  info.controllerType = typeOutcome == Outcome::kMissing ? 0 : ControllerTypeFromName(type);
  info.hidVid = integer("getSupportedHidDeviceVID", 0);
  info.hidPid = integer("getSupportedHidDevicePID", 0);
  bool hasHidName = false, hasSysEx = false, hasIn = false, hasOut = false;
  info.hidName = text("getSupportedHidDeviceName", {0}, &hasHidName);
  info.sysExId = text("getSupportedMidiSysExIdString", {0}, &hasSysEx);
  info.midiInName = text("getSupportedMidiDeviceNameForInput", {0}, &hasIn);
  info.midiOutName = text("getSupportedMidiDeviceNameForOutput", {0}, &hasOut);
  if (hasHidName) info.detectionMethod = 1;
  if (hasSysEx) {
    info.detectionMethod = 0;
  } else if (hasIn && hasOut) {
    info.detectionMethod = 1;
  }
  TraceLine("getFileVersion '%d'", info.fileVersion);
  TraceLine("getControllerUserFriendlyName '%s'", info.friendlyName.c_str());
  TraceLine("getControllerType '%s' (%d)", type.c_str(), info.controllerType);
  TraceLine("getSupportedMidiSysExIdString '%s'", info.sysExId.c_str());
  TraceLine("getSupportedMidiDeviceNameForInput '%s'", info.midiInName.c_str());
  TraceLine("getSupportedMidiDeviceNameForOutput '%s'", info.midiOutName.c_str());
  TraceLine("getSupportedHidDeviceVID '%04hx'", static_cast<unsigned short>(info.hidVid));
  TraceLine("getSupportedHidDevicePID '%04hx'", static_cast<unsigned short>(info.hidPid));
  TraceLine("detectionMethod '%d'", info.detectionMethod);
}

ScriptHost::Outcome ScriptHost::Invoke(Realm& realm, ControllerScript* owner, const char* function,
                                       std::initializer_list<ScriptArg> args) {
  JSContext* cx = script_engine::Context();
  if (!cx || (owner && owner->disabled) || (!owner && skinStopped_)) return Outcome::kMissing;
  JSAutoRealm enter(cx, realm.global);
  JS::RootedValue callee(cx);
  if (!JS_GetProperty(cx, realm.global, function, &callee) || !callee.isObject() ||
      !JS::IsCallable(&callee.toObject())) {
    JS_ClearPendingException(cx);
    return Outcome::kMissing;
  }
  JS::RootedValueVector argv(cx);
  ConvertArgs(cx, args, &argv);
  ScriptHost* previousHost = activeHost_;
  activeHost_ = this;
  script_engine::CallGuard guard(budget_);
  const bool ok = JS_CallFunctionValue(cx, realm.global, callee, JS::HandleValueArray(argv), &realm.result);
  activeHost_ = previousHost;
  if (ok) return Outcome::kOk;
  const std::string name = owner ? owner->fileName : std::string("skin.js");
  if (guard.Stopped()) {
    TraceLine("error - js script '%s' stopped: '%s' ran longer than %d ms, the controller is disabled",
              name.c_str(), function, static_cast<int>(budget_.count()));
    if (owner) owner->disabled = true; else skinStopped_ = true;
  } else {
    const std::string error = script_engine::TakeExceptionText(cx);
    TraceLine("js error in '%s' %s(): %s", name.c_str(), function, error.c_str());
  }
  JS_ClearPendingException(cx);
  return Outcome::kFailed;
}

int ScriptHost::IntResult(Realm& realm, Outcome outcome, int fallback) {
  if (outcome != Outcome::kOk) return fallback;
  const JS::Value value = realm.result;
  if (value.isBoolean()) return value.toBoolean() ? 1 : 0;
  if (value.isInt32()) return value.toInt32();
  if (value.isDouble() && std::isfinite(value.toDouble())) return JS::ToInt32(value.toDouble());
  if (value.isString()) {
    JSContext* cx = script_engine::Context();
    double number = 0;
    JS::RootedValue held(cx, value);
    if (JS::ToNumber(cx, held, &number) && std::isfinite(number)) return JS::ToInt32(number);
  }
  return fallback;
}

std::string ScriptHost::StringResult(Realm& realm, Outcome outcome, const std::string& fallback) {
  if (outcome != Outcome::kOk || !realm.result.isString()) return fallback;
  JSContext* cx = script_engine::Context();
  JS::RootedString text(cx, realm.result.toString());
  JS::UniqueChars bytes = JS_EncodeStringToUTF8(cx, text);
  return bytes ? std::string(bytes.get()) : fallback;
}

int ScriptHost::CallInt(int script, const char* function, std::initializer_list<ScriptArg> args, int fallback) {
  if (script < 0 || script >= ScriptCount()) return fallback;
  LoadedScript& s = *scripts_[script];
  return IntResult(*s.realm, Invoke(*s.realm, &s.info, function, args), fallback);
}

std::string ScriptHost::CallString(int script, const char* function, std::initializer_list<ScriptArg> args,
                                   const std::string& fallback) {
  if (script < 0 || script >= ScriptCount()) return fallback;
  LoadedScript& s = *scripts_[script];
  return StringResult(*s.realm, Invoke(*s.realm, &s.info, function, args), fallback);
}

bool ScriptHost::CallVoid(int script, const char* function, std::initializer_list<ScriptArg> args) {
  if (script < 0 || script >= ScriptCount()) return false;
  LoadedScript& s = *scripts_[script];
  return Invoke(*s.realm, &s.info, function, args) == Outcome::kOk;
}

bool ScriptHost::EvaluateSkinScript(const std::string& text) {
  skin_.reset();
  skinStopped_ = false;
  JSContext* cx = script_engine::Context();
  if (!cx) return false;
  skin_ = MakeRealm(cx, true);
  std::string error;
  ScriptHost* previousHost = std::exchange(activeHost_, this);
  const bool evaluated = skin_ && Evaluate(cx, *skin_, "skin.js", text, budget_, &error);
  activeHost_ = previousHost;
  if (!evaluated) {
    // The skin loader logs the failure with the skin's path; this is the engine's reason.
    TraceLine("js error in skin.js: %s", error.c_str());
    skin_.reset();
    return false;
  }
  return true;
}

void ScriptHost::CallSkinFunction(const std::string& function, int x, int y, int button) {
  if (skin_) Invoke(*skin_, nullptr, function.c_str(), {x, y, button});
}
