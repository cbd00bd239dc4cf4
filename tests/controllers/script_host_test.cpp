// The script host as a controller file sees it: loading and refusing files, the host functions'
// argument rules, the sandbox and the runaway watchdog.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>

#include "controllers/ScriptHost.h"
#include "RecordingRunner.h"
#include "support/TestFiles.h"
#include "support/TraceCapture.h"

namespace {

const char* kMinimal = "function getLanguageVersion() { return 1; }\n";

class ScriptHostTest : public ::testing::Test {
 protected:
  // Loads `body` after the minimal header; the index of the new script, -1 when refused.
  int Load(const std::string& body, const std::string& name = "test.js") {
    return host.LoadControllerScriptText(name, kMinimal + body) ? host.ScriptCount() - 1 : -1;
  }
  RecordingRunner runner;
  TraceCapture trace;
  ScriptHost host;
};

TEST_F(ScriptHostTest, FilesWithoutVersionOneOrWithSyntaxErrorsAreRefusedAndABomIsSkipped) {
  TempFolder folder;
  auto write = [&](const std::string& name, const std::string& text) {
    std::ofstream(folder.File(name), std::ios::binary) << text;
  };
  write("a-no-version.js", "function getFileVersion() { return 2; }");
  write("b-version-two.js", "function getLanguageVersion() { return 2; }");
  write("c-bom.js", std::string("\xEF\xBB\xBF") + kMinimal + "function getControllerType() { return 'HID'; }");
  write("d-broken.js", std::string(kMinimal) + "function oops( {");
  write("e-bom-broken.js", std::string("\xEF\xBB\xBF") + "var = ;");
  write("notes.txt", "not a script");

  EXPECT_EQ(host.LoadControllerScripts(folder.path()), 1);
  EXPECT_EQ(host.Script(0).fileName, folder.File("c-bom.js"));
  EXPECT_EQ(host.Script(0).controllerType, 1);
  EXPECT_TRUE(trace.Saw("error - js script getLanguageVersion: -1"));
  EXPECT_TRUE(trace.Saw("error - js script getLanguageVersion: 2"));
  EXPECT_TRUE(trace.Saw("error - script was not evaluated ok BOM=0 '" + folder.File("d-broken.js") + "'"));
  EXPECT_TRUE(trace.Saw("error - script was not evaluated ok BOM=1 '" + folder.File("e-bom-broken.js") + "'"));
  EXPECT_TRUE(trace.Saw("SyntaxError")) << "the engine's own text tells the author what is wrong";
  EXPECT_TRUE(trace.Saw("script NOT loaded '" + folder.File("a-no-version.js") + "'"));
  EXPECT_TRUE(trace.Saw("script ok '" + folder.File("c-bom.js") + "'"));
  EXPECT_FALSE(host.LoadControllerScript(folder.File("missing.js")));
  EXPECT_TRUE(trace.Saw("error reading js script '" + folder.File("missing.js") + "'"));
}

TEST_F(ScriptHostTest, MetadataAndDetectionMethodFollowWhatTheScriptDefines) {
  const int sysex = Load(
      "function getSupportedMidiSysExIdString(i) { return '0020290100'; }\n"
      "function getSupportedMidiDeviceNameForInput(i) { return 'Pad'; }\n"
      "function getControllerUserFriendlyName() { return 'My Pad'; }\n"
      "function getFileVersion() { return '7'; }\n");
  const int byName = Load(
      "function getSupportedMidiDeviceNameForInput(i) { return 'Pad'; }\n"
      "function getSupportedMidiDeviceNameForOutput(i) { return 'Pad'; }\n");
  const int inputOnly = Load("function getSupportedMidiDeviceNameForInput(i) { return 'Pad'; }\n");
  const int hid = Load(
      "function getControllerType() { return 'hid'; }\n"
      "function getSupportedHidDeviceName(i) { return 'Deck'; }\n"
      "function getSupportedHidDeviceVID(i) { return 0x06f8; }\n"
      "function getSupportedHidDevicePID(i) { return 0xb105; }\n");
  const int oddType = Load("function getControllerType() { return 'usb'; }\n");
  ASSERT_GE(oddType, 0);
  EXPECT_EQ(host.Script(sysex).detectionMethod, 0);
  EXPECT_EQ(host.Script(sysex).sysExId, "0020290100");
  EXPECT_EQ(host.Script(sysex).friendlyName, "My Pad");
  EXPECT_EQ(host.Script(sysex).fileVersion, 7);
  EXPECT_EQ(host.Script(sysex).midiOutName, "none");
  EXPECT_EQ(host.Script(byName).detectionMethod, 1);
  EXPECT_EQ(host.Script(inputOnly).detectionMethod, -1);
  EXPECT_EQ(host.Script(hid).detectionMethod, 1);
  EXPECT_EQ(host.Script(hid).controllerType, 1);
  EXPECT_EQ(host.Script(byName).controllerType, 0) << "no getControllerType means MIDI";
  EXPECT_EQ(host.Script(oddType).controllerType, -1);
  EXPECT_TRUE(trace.Saw("getSupportedHidDeviceVID '06f8'"));
  EXPECT_TRUE(trace.Saw("getSupportedHidDevicePID 'b105'"));
}

TEST_F(ScriptHostTest, CallChecksItsArgumentsAndNeverThrowsIntoTheScript) {
  const int s = Load(
      "function run() {\n"
      "  var r = [call('setCrossfader'), call('noSuchThing', 1), call('setCrossfader', 'abc'),\n"
      "           call('deckPlayPause', 7), call(), call('setDeckVolume', 1, 64)];\n"
      "  return r.every(function (x) { return x === true; }) ? 1 : 0;\n"
      "}\n");
  EXPECT_EQ(host.CallInt(s, "run", {}, -5), 1);
  EXPECT_TRUE(trace.Saw("js function 'setCrossfader' (0 params) unknown or bad params"));
  EXPECT_TRUE(trace.Saw("js function 'noSuchThing' (1 params) unknown or bad params"));
  EXPECT_TRUE(trace.Saw("js function '' (0 params) unknown or bad params"));
  ASSERT_EQ(runner.calls.size(), 3u);
  EXPECT_EQ(runner.calls[0].name, "setCrossfader");
  EXPECT_EQ(runner.calls[0].value, -1) << "an argument that is no number arrives as -1";
  EXPECT_EQ(runner.calls[1].deck, 0) << "deck 7 is out of range and becomes deck A";
  EXPECT_EQ(runner.calls[2].deck, 1);
  EXPECT_EQ(runner.calls[2].value, 64);
}

TEST_F(ScriptHostTest, GetValueAndDebugAndTheCallResultRules) {
  const int s = Load(
      "function title() { return getValue('title', 1); }\n"
      "function bpm() { return getValue('bpm', 0) * 2; }\n"
      "function unknown() { return getValue('nothing', 0) === null ? 1 : 0; }\n"
      "function noName() { try { getValue(); return 0; } catch (e) { return 2; } }\n"
      "function yes() { return true; }\n"
      "function talk() { debug('hello'); debug(1, 'two'); }\n");
  EXPECT_EQ(host.CallString(s, "title", {}, "fallback"), "") << "an empty deck's title is the empty string";
  EXPECT_EQ(host.CallInt(s, "bpm", {}, 0), 257);
  EXPECT_EQ(host.CallInt(s, "unknown", {}, 0), 1);
  EXPECT_EQ(host.CallInt(s, "noName", {}, 7), 7) << "getValue() is an error that ends the call";
  EXPECT_EQ(host.CallInt(s, "yes", {}, 7), 1);
  EXPECT_EQ(host.CallInt(s, "missing", {}, 7), 7);
  EXPECT_EQ(host.CallString(s, "yes", {}, "x"), "x") << "only a string is a string";
  host.CallVoid(s, "talk", {});
  EXPECT_TRUE(trace.Saw("js debug 'hello'"));
  EXPECT_TRUE(trace.Saw("js debug (2 params):"));
  EXPECT_TRUE(trace.Saw("    p[1]='two'"));
}

TEST_F(ScriptHostTest, AScriptFindsNoFileNetworkOrProcessFunctions) {
  const int s = Load(
      "function probe() {\n"
      "  var names = ['read', 'readline', 'snarf', 'os', 'load', 'require', 'fetch', 'XMLHttpRequest',\n"
      "               'WebSocket', 'File', 'FileReader', 'system', 'run', 'print', 'quit', 'Components',\n"
      "               'importScripts', 'process', 'Deno', 'ctypes'];\n"
      "  var found = names.filter(function (n) { return typeof globalThis[n] !== 'undefined'; });\n"
      "  return found.join(',');\n"
      "}\n"
      "function openFile() { return read('/etc/passwd'); }\n");
  EXPECT_EQ(host.CallString(s, "probe", {}, "failed"), "");
  EXPECT_EQ(host.CallString(s, "openFile", {}, "refused"), "refused");
  EXPECT_TRUE(trace.Saw("ReferenceError")) << "calling one fails as a script error";
}

TEST_F(ScriptHostTest, ARunawayScriptIsStoppedAndDisabledAndOtherScriptsRunOn) {
  host.SetRunawayBudget(std::chrono::milliseconds(50));
  const int stuck = Load("function messageReceived() { while (true) {} }\n", "stuck.js");
  const int healthy = Load("function messageReceived(id) { call('deckPlayPause', id); }\n", "healthy.js");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(host.CallVoid(stuck, "messageReceived", {0, 144, 0, 1, 127}));
  const auto took = std::chrono::steady_clock::now() - start;
  // 50 ms of budget plus the watchdog's 5 ms period; the rest is room for a loaded machine.
  EXPECT_LT(took, std::chrono::milliseconds(2000));
  EXPECT_TRUE(trace.Saw("error - js script 'stuck.js' stopped: 'messageReceived' ran longer than 50 ms"));
  EXPECT_TRUE(host.Script(stuck).disabled);
  EXPECT_FALSE(host.CallVoid(stuck, "messageReceived", {0, 144, 0, 1, 127})) << "a stopped script stays off";
  EXPECT_TRUE(host.CallVoid(healthy, "messageReceived", {1, 144, 0, 1, 127}));
  ASSERT_EQ(runner.calls.size(), 1u);
  EXPECT_EQ(runner.calls[0].deck, 1);
  EXPECT_EQ(host.LoadControllerScriptText("loop-on-load.js", "for (;;) {}"), false);

  // The time inside host calls is not counted, but the loop around them still is.
  const int busy = Load("function messageReceived() { for (;;) call('setCrossfader', 1); }\n", "busy.js");
  EXPECT_FALSE(host.CallVoid(busy, "messageReceived", {0, 144, 0, 1, 127}));
  EXPECT_TRUE(host.Script(busy).disabled);
}

TEST_F(ScriptHostTest, AScriptThatEatsMemoryFailsAloneAndTheOthersKeepWorking) {
  const int hungry = Load(
      "var hoard = [];\n"
      "function messageReceived() { for (;;) hoard.push(new Array(1 << 20).fill(1.5)); }\n", "hungry.js");
  const int healthy = Load("function messageReceived(id) { call('deckPlayPause', id); }\n", "healthy.js");
  EXPECT_FALSE(host.CallVoid(hungry, "messageReceived", {0, 144, 0, 1, 127}));
  EXPECT_TRUE(trace.Saw("'hungry.js'")) << "the log names the script";
  EXPECT_TRUE(host.CallVoid(healthy, "messageReceived", {2, 144, 0, 1, 127}));
  ASSERT_EQ(runner.calls.size(), 1u);
  EXPECT_EQ(runner.calls[0].deck, 2);
}

TEST_F(ScriptHostTest, TheSkinScriptHasItsOwnRealmAndFunctions) {
  host.SetSkinNameLookups([](const char* name) { return std::string(name) == "deck1" ? 4 : -1; },
                          [](const char* name) { return std::string(name) == "btn" ? 12 : -1; });
  ASSERT_TRUE(host.EvaluateSkinScript(
      "var seen = '';\n"
      "function btn_onmousedown(x, y, b) { seen = [x, y, b, getGroupId('deck1'), getControlId('btn'),\n"
      "  getControlId('nope'), typeof sendMidi].join(' '); debug(seen); call('deckPlayPause', 2); }\n"));
  host.CallSkinFunction("btn_onmousedown", -1, -1, -1);
  EXPECT_TRUE(trace.Saw("js debug '-1 -1 -1 4 12 -1 undefined'"));
  ASSERT_EQ(runner.calls.size(), 1u);
  EXPECT_FALSE(host.EvaluateSkinScript("function ("));
  EXPECT_TRUE(trace.Saw("js error in skin.js: skin.js:1: SyntaxError"));
  host.CallSkinFunction("btn_onmousedown", -1, -1, -1);
  EXPECT_EQ(runner.calls.size(), 1u) << "the old skin script went with the new load";
}

}  // namespace
