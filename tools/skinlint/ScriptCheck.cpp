#include "ScriptCheck.h"

#include <js/CompilationAndEvaluation.h>
#include <js/ErrorReport.h>
#include <js/Exception.h>
#include <js/Initialization.h>
#include <js/SourceText.h>
#include <jsapi.h>

namespace {

const JSClass kGlobalClass = {"global", JSCLASS_GLOBAL_FLAGS, &JS::DefaultGlobalClassOps, nullptr, nullptr, nullptr};

// One engine for the whole run: SpiderMonkey may be initialised once per process.
struct Engine {
  JSContext* cx = nullptr;
  Engine() {
    if (!JS_Init()) return;
    cx = JS_NewContext(8 * 1024 * 1024);
    if (cx && !JS::InitSelfHostedCode(cx)) {
      JS_DestroyContext(cx);
      cx = nullptr;
    }
  }
  ~Engine() {
    if (cx) JS_DestroyContext(cx);
    JS_ShutDown();
  }
};

}  // namespace

bool CompileSkinScript(const std::string& name, const std::string& text, std::string& error) {
  static Engine engine;
  JSContext* cx = engine.cx;
  if (!cx) {
    error = "the script engine did not start";
    return false;
  }
  JS::RealmOptions realm;
  JS::RootedObject global(cx, JS_NewGlobalObject(cx, &kGlobalClass, nullptr, JS::FireOnNewGlobalHook, realm));
  if (!global) {
    error = "no script global";
    return false;
  }
  JSAutoRealm inRealm(cx, global);
  JS::CompileOptions options(cx);
  options.setFileAndLine(name.c_str(), 1);
  JS::SourceText<mozilla::Utf8Unit> source;
  if (!source.init(cx, text.data(), text.size(), JS::SourceOwnership::Borrowed)) {
    error = "the script text could not be read";
    return false;
  }
  JS::RootedScript script(cx, JS::Compile(cx, options, source));
  if (script) return true;
  JS::ExceptionStack stack(cx);
  if (!JS::StealPendingExceptionStack(cx, &stack)) {
    error = "compile failed";
    return false;
  }
  JS::ErrorReportBuilder report(cx);
  if (report.init(cx, stack, JS::ErrorReportBuilder::WithSideEffects) && report.report()) {
    error = "line " + std::to_string(report.report()->lineno) + ": " +
            (report.toStringResult() ? report.toStringResult().c_str() : "syntax error");
  } else {
    error = "compile failed";
  }
  return false;
}
