// The functions a script can call. Errors in the arguments go to the log and never raise an
// exception in the script: a mapping with one bad line keeps working.
#include <js/Array.h>
#include <js/Conversions.h>
#include <js/PropertyAndElement.h>

#include <cmath>
#include <string>

#include "app/base/Trace.h"
#include "controllers/ScriptEngine.h"
#include "skin/model/ActionDispatch.h"

struct HostFunctions {
  static ScriptHost* Host() { return ScriptHost::activeHost_; }
  static ScriptDevices* Devices() { return Host() ? Host()->devices_ : nullptr; }
  static ScriptHost::NameLookup GroupLookup() { return Host() ? Host()->groupLookup_ : nullptr; }
  static ScriptHost::NameLookup ControlLookup() { return Host() ? Host()->controlLookup_ : nullptr; }
};

namespace script_engine {
namespace {

constexpr int kNotConverted = -1;

// An argument as an integer; kNotConverted when it is no number (undefined, an object, "abc").
bool ToInteger(JSContext* cx, JS::HandleValue value, int* out) {
  double number = 0;
  if (value.isUndefined() || value.isNull() || value.isObject() || value.isSymbol()) return false;
  if (!JS::ToNumber(cx, value, &number) || std::isnan(number)) {
    JS_ClearPendingException(cx);
    return false;
  }
  *out = JS::ToInt32(number);
  return true;
}

int IntegerOr(JSContext* cx, JS::HandleValue value, int fallback) {
  int result = fallback;
  return ToInteger(cx, value, &result) ? result : fallback;
}

std::string Text(JSContext* cx, JS::HandleValue value) {
  JS::RootedString text(cx, JS::ToString(cx, value));
  if (!text) {
    JS_ClearPendingException(cx);
    return "";
  }
  JS::UniqueChars bytes = JS_EncodeStringToUTF8(cx, text);
  return bytes ? bytes.get() : "";
}

bool Call(JSContext* cx, unsigned argc, JS::Value* vp) {
  JS::CallArgs args = JS::CallArgsFromVp(argc, vp);
  args.rval().setBoolean(true);
  if (args.length() == 0) {
    CallAction(nullptr, nullptr, 0);
    return true;
  }
  const std::string name = Text(cx, args[0]);
  int values[8];
  const int count = std::min<int>(static_cast<int>(args.length()) - 1, 8);
  for (int i = 0; i < count; ++i) values[i] = IntegerOr(cx, args[i + 1], kNotConverted);
  WatchdogPause acting;  // `sleep` and a skin reload take their time; that is not the script's
  CallAction(name.c_str(), values, static_cast<int>(args.length()) - 1);
  return true;
}

bool Debug(JSContext* cx, unsigned argc, JS::Value* vp) {
  JS::CallArgs args = JS::CallArgsFromVp(argc, vp);
  args.rval().setUndefined();
  if (args.length() == 1) {
    TraceLine("js debug '%s'", Text(cx, args[0]).c_str());
    return true;
  }
  TraceLine("js debug (%d params):", static_cast<int>(args.length()));
  for (unsigned i = 0; i < args.length(); ++i) TraceLine("    p[%d]='%s'", i, Text(cx, args[i]).c_str());
  return true;
}

bool GetValue(JSContext* cx, unsigned argc, JS::Value* vp) {
  JS::CallArgs args = JS::CallArgsFromVp(argc, vp);
  if (args.length() == 0) return false;  // a script error, as a missing name deserves
  const std::string name = Text(cx, args[0]);
  const int deck = args.length() > 1 ? IntegerOr(cx, args[1], -1) : -1;
  const ControlValue value = GetControlValue(name.c_str(), deck);
  switch (value.type) {
    case ControlValue::kInt:
      args.rval().setInt32(value.intValue);
      break;
    case ControlValue::kFloat:
      args.rval().setDouble(value.floatValue);
      break;
    case ControlValue::kText: {
      JSString* text = JS_NewStringCopyN(cx, value.text.data(), value.text.size());
      if (!text) return false;
      args.rval().setString(text);
      break;
    }
    default:
      args.rval().setNull();
  }
  return true;
}

bool SendMidi(JSContext* cx, unsigned argc, JS::Value* vp) {
  JS::CallArgs args = JS::CallArgsFromVp(argc, vp);
  args.rval().setUndefined();
  if (args.length() != 5) {
    TraceLine("js sendMidi params error -- should be: sendMidi(uniqueId,status,channel,data1,data2);");
    return true;
  }
  int v[5];
  for (int i = 0; i < 5; ++i) {
    if (!args[i].isNumber()) return true;
    v[i] = IntegerOr(cx, args[i], 0);
  }
  ScriptDevices* devices = HostFunctions::Devices();
  if (devices && v[0] >= 0 && v[0] < kMaxControllerSlots) {
    devices->SendMidiShort(v[0], (v[1] | v[2]) & 0xFF, v[3] & 0x7F, v[4] & 0x7F);
  }
  return true;
}

// sendSysex(uniqueId, data): the array's elements as bytes, in one message. A send that runs
// out of time throws, so a script can tell that the device stopped listening; every other
// problem only logs, as elsewhere.
bool SendSysex(JSContext* cx, unsigned argc, JS::Value* vp) {
  constexpr uint32_t kMaxBytes = 4096;  // a display page or a lamp map; 20 s at the allowed rate
  JS::CallArgs args = JS::CallArgsFromVp(argc, vp);
  args.rval().setUndefined();
  JS::RootedObject array(cx, args.length() == 2 && args[1].isObject() ? &args[1].toObject() : nullptr);
  bool isArray = false;
  uint32_t length = 0;
  int uniqueId = -1;
  if (!array || !ToInteger(cx, args[0], &uniqueId) || !JS::IsArrayObject(cx, array, &isArray) || !isArray ||
      !JS::GetArrayLength(cx, array, &length) || length == 0 || length > kMaxBytes) {
    JS_ClearPendingException(cx);
    TraceLine("js sendSysex params error -- should be: sendSysex(uniqueId,data); with 1 to %u bytes", kMaxBytes);
    return true;
  }
  ScriptDevices* devices = HostFunctions::Devices();
  if (!devices || uniqueId < 0 || uniqueId >= kMaxControllerSlots) return true;
  unsigned char bytes[kMaxBytes];
  JS::RootedValue element(cx);
  for (uint32_t i = 0; i < length; ++i) {
    const bool read = JS_GetElement(cx, array, i, &element);
    bytes[i] = static_cast<unsigned char>(read ? IntegerOr(cx, element, 0) : 0);
    JS_ClearPendingException(cx);
  }
  SysExResult result;
  {
    WatchdogPause waiting;  // a slow driver is not a runaway script
    result = devices->SendMidiLong(uniqueId, bytes, static_cast<int>(length));
  }
  if (result == SysExResult::kTimedOut) {
    JS_ReportErrorASCII(cx, "%s", kSysExTimeoutText);
    return false;
  }
  return true;
}

bool SendHid(JSContext* cx, unsigned argc, JS::Value* vp) {
  JS::CallArgs args = JS::CallArgsFromVp(argc, vp);
  args.rval().setUndefined();
  if (args.length() != 3) {
    TraceLine("js sendHid params error -- should be: sendHid(uniqueId,data,size);");
    return true;
  }
  const int uniqueId = IntegerOr(cx, args[0], -1);
  int size = IntegerOr(cx, args[2], 0);
  JS::RootedObject array(cx, args[1].isObject() ? &args[1].toObject() : nullptr);
  bool isArray = false;
  uint32_t length = 0;
  if (array && JS::IsArrayObject(cx, array, &isArray) && isArray && JS::GetArrayLength(cx, array, &length)) {
    size = static_cast<int>(length);
  }
  JS_ClearPendingException(cx);
  TraceLine("js sendHid (uniqueId=%d, size=%d)", uniqueId, size);
  ScriptDevices* devices = HostFunctions::Devices();
  HidStores* stores = devices ? devices->HidStoresOf(uniqueId) : nullptr;
  if (!stores || !array) return true;
  size = std::clamp(size, 0, kHidPageBytes);
  JS::RootedValue element(cx);
  for (int i = 0; i < size; ++i) {
    const bool read = JS_GetElement(cx, array, i, &element);
    stores->output[0][i] = static_cast<unsigned char>(read ? IntegerOr(cx, element, 0) : 0);
    JS_ClearPendingException(cx);
  }
  devices->WriteHid(uniqueId, stores->output[0], size);
  return true;
}

// Reads the mandatory arguments of getHidData and setHidData; false when one does not convert.
bool HidAddress(JSContext* cx, const JS::CallArgs& args, int count, int* out) {
  for (int i = 0; i < count; ++i) {
    if (!ToInteger(cx, args[i], &out[i])) return false;
  }
  return true;
}

HidStores* StoresOf(int uniqueId) {
  ScriptDevices* devices = HostFunctions::Devices();
  if (!devices || uniqueId < 0 || uniqueId >= kMaxControllerSlots) return nullptr;
  return devices->HidStoresOf(uniqueId);
}

bool GetHidData(JSContext* cx, unsigned argc, JS::Value* vp) {
  JS::CallArgs args = JS::CallArgsFromVp(argc, vp);
  args.rval().setInt32(-1);
  if (args.length() < 4) {
    TraceLine("js getHidData params error -- should be: "
              "getHidData(uniqueId,page,dataType,dataOffset[,dataSize,returnValueAnyway]);");
    return true;
  }
  int a[4];
  if (!HidAddress(cx, args, 4, a)) return true;
  const int size = args.length() > 4 ? IntegerOr(cx, args[4], 1) : 1;
  const bool anyway = args.length() > 5 && IntegerOr(cx, args[5], 0) != 0;
  HidStores* stores = StoresOf(a[0]);
  const int page = a[1];
  if (!stores || page < 0 || page >= kHidPages) return true;
  uint32_t now = 0, before = 0;
  if (!ReadHidField(stores->input[page], a[2], a[3], size, &now) ||
      !ReadHidField(stores->previous[page], a[2], a[3], size, &before)) {
    return true;
  }
  if (!anyway && now == before) return true;
  if (a[2] == 0) TraceLine("page=%d, bit offset=%d, bVal=%u, new=%u, old=%u", page, a[3], now, now, before);
  args.rval().setNumber(now);
  return true;
}

bool SetHidData(JSContext* cx, unsigned argc, JS::Value* vp) {
  JS::CallArgs args = JS::CallArgsFromVp(argc, vp);
  args.rval().setUndefined();
  if (args.length() < 5) {
    TraceLine("js setHidData params error -- should be: "
              "setHidData(uniqueId,page,dataType,dataOffset,data[,dataSize]);");
    return true;
  }
  int a[5];
  if (!HidAddress(cx, args, 5, a)) return true;
  const int size = args.length() > 5 ? IntegerOr(cx, args[5], 1) : 1;
  HidStores* stores = StoresOf(a[0]);
  const int page = a[1];
  if (!stores || page < 0 || page >= kHidPages) return true;
  if (!WriteHidField(stores->output[page], a[2], a[3], size, static_cast<uint32_t>(a[4]))) return true;
  HostFunctions::Devices()->WriteHid(a[0], stores->output[page], stores->reportLength);
  return true;
}

bool LookUp(JSContext* cx, unsigned argc, JS::Value* vp, ScriptHost::NameLookup lookup) {
  JS::CallArgs args = JS::CallArgsFromVp(argc, vp);
  args.rval().setInt32(-1);
  if (args.length() == 0 || !lookup) return true;
  args.rval().setInt32(lookup(Text(cx, args[0]).c_str()));
  return true;
}

bool GetGroupId(JSContext* cx, unsigned argc, JS::Value* vp) {
  return LookUp(cx, argc, vp, HostFunctions::GroupLookup());
}

bool GetControlId(JSContext* cx, unsigned argc, JS::Value* vp) {
  return LookUp(cx, argc, vp, HostFunctions::ControlLookup());
}

struct HostFunction {
  const char* name;
  JSNative native;
  unsigned count;  // the engine fills missing arguments up to this with undefined
  bool controller;
  bool skin;
};

constexpr HostFunction kHostFunctions[] = {
    {"call", Call, 1, true, true},
    {"debug", Debug, 1, true, true},
    {"getValue", GetValue, 1, true, true},
    {"sendMidi", SendMidi, 5, true, false},
    {"sendSysex", SendSysex, 2, true, false},
    {"sendHid", SendHid, 3, true, false},
    {"getHidData", GetHidData, 4, true, false},
    {"setHidData", SetHidData, 5, true, false},
    {"getGroupId", GetGroupId, 1, false, true},
    {"getControlId", GetControlId, 1, false, true},
};

}  // namespace

bool DefineHostFunctions(JSContext* cx, JS::HandleObject global, bool skin) {
  for (const HostFunction& f : kHostFunctions) {
    if (!(skin ? f.skin : f.controller)) continue;
    if (!JS_DefineFunction(cx, global, f.name, f.native, f.count, 0)) return false;
  }
  return true;
}

}  // namespace script_engine
