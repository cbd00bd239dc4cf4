// Controller scripts are downloaded and written by users: the loader, the metadata reader and
// the host functions must refuse or run any text, and a script that never ends is stopped.
#include <cstddef>
#include <cstdint>
#include <string>

#include "controllers/ScriptHost.h"

namespace {

ScriptHost& Host() {
  static ScriptHost host;
  return host;
}

}  // namespace

// The engine starts once, before the first input (a first script is loaded and dropped), so its
// one-time allocations are not counted against an input by the leak check.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Host().LoadControllerScriptText("warm-up.js", "function getLanguageVersion() { return 1; }");
  Host().ClearScripts();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ScriptHost& host = Host();
  host.ClearScripts();
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (!host.LoadControllerScriptText("fuzz.js", text)) return 0;
  host.CallVoid(0, "controllerInit", {0});
  host.CallVoid(0, "messageReceived", {0, 0x90, 0, 16, 127});
  host.CallVoid(0, "notificationReceived", {0, "play", 0, 1, 1.0, ""});
  return 0;
}
