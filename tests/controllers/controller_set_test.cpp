// Devices meeting scripts over the in-process fake transport: identity replies, names, HID ids,
// the sixteen slots, HID reports through getHidData, and devices that come and go.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "FakeTransport.h"
#include "RecordingRunner.h"
#include "controllers/HardwareControllers.h"
#include "support/TraceCapture.h"

namespace {

const std::vector<unsigned char> kIdentityRequest = {0xF0, 0x7E, 0x7F, 0x06, 0x01, 0xF7};

// An identity reply from device id `device` for manufacturer 00 20 29, family 01 00.
std::vector<unsigned char> IdentityReply(unsigned char device) {
  return {0xF0, 0x7E, device, 0x06, 0x02, 0x00, 0x20, 0x29, 0x01, 0x00, 0x01, 0x00, 0x00, 0x00, 0xF7};
}

const char* kPadScript =
    "function getLanguageVersion() { return 1; }\n"
    "function getSupportedMidiSysExIdString(i) { return '0020290100'; }\n"
    "function getSupportedMidiDeviceNameForInput(i) { return 'Other Pad'; }\n"
    "var inits = 0;\n"
    "function controllerInit(id) { inits++; debug('init ' + id + ' ' + inits); }\n"
    "function controllerDeinit(id) { debug('deinit ' + id); }\n"
    "function messageReceived(id, s, c, d1, d2) { call('deckPlayPause', d1); sendMidi(id, s, c, d1, d2); }\n";

const char* kNamedScript =
    "function getLanguageVersion() { return 1; }\n"
    "function getSupportedMidiDeviceNameForInput(i) { return 'Other Pad'; }\n"
    "function getSupportedMidiDeviceNameForOutput(i) { return 'Other Pad'; }\n"
    "function controllerInit(id) { debug('named init ' + id); }\n"
    "function controllerDeinit(id) { debug('named deinit ' + id); }\n";

const char* kHidScript =
    "function getLanguageVersion() { return 1; }\n"
    "function getControllerType() { return 'hid'; }\n"
    "function getSupportedHidDeviceVID(i) { return 0x1234; }\n"
    "function getSupportedHidDevicePID(i) { return 0x5678; }\n"
    "var seen = [];\n"
    "function messageReceivedHid(id) {\n"
    "  seen.push([getHidData(id,0,0,7), getHidData(id,0,1,1), getHidData(id,0,1,2,1,1), getHidData(id,0,2,1),\n"
    "             getHidData(id,0,0,0,4), getHidData(id)].join(' '));\n"
    "}\n"
    "function report(i) { return seen[i]; }\n"
    "function light(id) { setHidData(id, 0, 0, 9, 1); sendHid(id, [1, 2, 'x'], 9); }\n";

class ControllerSetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    set.SetClock([this] { return now; });
    set.SetUnmatchedHandler([this](int status, int channel, int d1, int d2, int) {
      unmatched.push_back({status, channel, d1, d2});
    });
  }
  void LoadScripts(std::initializer_list<const char*> scripts) {
    int n = 0;
    for (const char* text : scripts) host.LoadControllerScriptText("script" + std::to_string(n++) + ".js", text);
  }
  RecordingRunner runner;
  TraceCapture trace;
  FakeMidiSystem midi;
  FakeHidSystem hid;
  ScriptHost host;
  ControllerSet set{&midi, &hid, &host};
  double now = 100;
  std::vector<std::vector<int>> unmatched;
};

TEST_F(ControllerSetTest, AnIdentityReplyTiesTheScriptOnceOnTheGuiThreadWhateverTheDeviceId) {
  midi.inputs = {"Pad:Pad MIDI 1 24:0", "Other Pad:Other Pad MIDI 1 28:0"};
  midi.outputs = {"Other Pad:Other Pad MIDI 1 28:0", "Pad:Pad MIDI 1 24:0"};
  LoadScripts({kPadScript});
  set.ListDevices();
  int slot = -1;
  ASSERT_TRUE(set.OpenController(0, -1, &slot));
  EXPECT_EQ(slot, 0);
  ASSERT_EQ(midi.sent[1].size(), 1u) << "the request goes to the output of the same name";
  EXPECT_EQ(midi.sent[1][0], kIdentityRequest);

  midi.Deliver(0, IdentityReply(0x10));
  EXPECT_FALSE(trace.Saw("js debug 'init")) << "controllerInit waits for the GUI thread's drain";
  set.DrainQueue();
  EXPECT_EQ(trace.Count("js debug 'init 0 1'"), 1);
  EXPECT_EQ(set.Slot(0).matchReason, "sysex id");
  EXPECT_TRUE(trace.Saw("matched to script 'script0.js' [using sysex id]"));

  now += 5;  // long past the time-out: the name test must not run again for a matched device
  set.PollControllers();
  EXPECT_EQ(trace.Count("js debug 'init"), 1);

  midi.Deliver(0, {0x93, 5, 100});
  set.DrainQueue();
  ASSERT_EQ(runner.calls.size(), 1u);
  EXPECT_EQ(runner.calls[0].deck, 0) << "deck argument 5 is out of range";
  EXPECT_EQ(midi.sent[1].back(), (std::vector<unsigned char>{0x93, 5, 100})) << "status and channel recombined";
  EXPECT_TRUE(unmatched.empty());
}

TEST_F(ControllerSetTest, ASilentDeviceIsMatchedByNameAfterOneSecondAndALateReplyStillTies) {
  midi.inputs = {"a2j:Other Pad [28] (capture): Other Pad MIDI 1"};
  midi.outputs = {"a2j:Other Pad [28] (playback): Other Pad MIDI 1"};
  LoadScripts({kPadScript, kNamedScript});
  set.ListDevices();
  ASSERT_TRUE(set.OpenController(0, -1, nullptr));
  now += 0.9;
  set.PollControllers();
  EXPECT_FALSE(trace.Saw("[using device name]"));
  now += 0.2;
  set.PollControllers();
  EXPECT_EQ(trace.Count("[using device name]"), 2) << "both scripts name it; the last one stays tied";
  EXPECT_EQ(set.Slot(0).scriptIndex, 1);
  midi.Deliver(0, IdentityReply(0x7F));
  set.DrainQueue();
  EXPECT_EQ(set.Slot(0).scriptIndex, 0);
  EXPECT_EQ(trace.Count("js debug 'init 0"), 2) << "the name match and the late reply each ran controllerInit";
}

TEST_F(ControllerSetTest, AnInputWithoutAnOutputIsNeverAskedAndGoesToLearn) {
  midi.inputs = {"Pad:Pad MIDI 1 24:0"};
  midi.outputs = {"Speaker:Speaker MIDI 1 30:0"};
  LoadScripts({kPadScript});
  set.ListDevices();
  ASSERT_TRUE(set.OpenController(0, -1, nullptr));
  EXPECT_TRUE(midi.sent[0].empty());
  EXPECT_EQ(set.Slot(0).matchDone, 1);
  midi.Deliver(0, {0xFE});
  midi.Deliver(0, {0x90, 60, 0});
  midi.Deliver(0, IdentityReply(1));  // nobody asked, but it still counts as an answer
  midi.Deliver(0, {0xF0, 0x43, 0x10, 0xF7});
  EXPECT_EQ(set.DrainQueue(), 2);
  EXPECT_TRUE(trace.Saw("SysEx (size:4) 'F0 43 10 F7 '"));
  ASSERT_EQ(unmatched.size(), 1u);
  EXPECT_EQ(unmatched[0], (std::vector<int>{0x90, 0, 60, 0})) << "velocity 0 stays a note-on";
}

TEST_F(ControllerSetTest, EachOfTwoIdenticalDevicesKeepsItsOwnOutputAndEqualNamesTakeTheFirst) {
  midi.inputs = {"Pad:Pad MIDI 1 24:0", "Pad:Pad MIDI 1 28:0", "Twin", "Twin"};
  midi.outputs = {"Pad:Pad MIDI 1 24:0", "Pad:Pad MIDI 1 28:0", "Twin", "Twin"};
  set.ListDevices();
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(set.OpenController(i, -1, nullptr));
  EXPECT_EQ(set.Slot(0).midiOutIndex, 0);
  EXPECT_EQ(set.Slot(1).midiOutIndex, 1) << "ALSA's client numbers tell the two pads apart";
  EXPECT_EQ(set.Slot(2).midiOutIndex, 2);
  EXPECT_EQ(set.Slot(3).midiOutIndex, 2) << "names that are wholly equal: the first one";
  EXPECT_EQ(midi.sent[2].size(), 2u);
}

TEST_F(ControllerSetTest, SixteenSlotsAndOneDeviceOneController) {
  for (int i = 0; i < 17; ++i) midi.inputs.push_back("Device " + std::to_string(i));
  set.ListDevices();
  for (int i = 0; i < 16; ++i) ASSERT_TRUE(set.OpenController(i, -1, nullptr)) << i;
  int slot = 5;
  EXPECT_FALSE(set.OpenController(3, -1, &slot)) << "already open";
  EXPECT_FALSE(set.OpenController(16, -1, &slot));
  EXPECT_EQ(slot, -1);
  EXPECT_FALSE(midi.openInputs[16].open);
  set.CloseController(4);
  EXPECT_TRUE(set.OpenController(16, -1, &slot));
  EXPECT_EQ(slot, 4) << "a closed slot is reused";
}

TEST_F(ControllerSetTest, HidReportsReachTheScriptBitByBitAndByteByByte) {
  hid.devices = {{"/dev/hidraw3", 0x1234, 0x5678, "Deck", "Maker", 1, 5}};
  hid.state[0].reports = {{0x01, 0x10, 0x7F, 0x34, 0x12}, {0x01, 0x11, 0x7F, 0x34, 0x12}, {0xF1, 0x11, 0x7F, 0x35, 0x12}};
  host.LoadControllerScriptText("hid.js", kHidScript);
  set.ListDevices();
  int slot = -1;
  ASSERT_TRUE(set.OpenController(-1, 0, &slot));
  EXPECT_TRUE(trace.Saw("matched to script 'hid.js' [using VID 1234 / PID 5678]"));
  set.PollControllers();
  // The first report is its own previous one: only returnValueAnyway reads it.
  EXPECT_EQ(host.CallString(0, "report", {0}, ""), "-1 -1 127 -1 -1 -1");
  EXPECT_EQ(host.CallString(0, "report", {1}, ""), "-1 17 127 -1 -1 -1");
  EXPECT_EQ(host.CallString(0, "report", {2}, ""), "-1 -1 127 13695 15 -1")
      << "bit 7 (the low bit of byte 0) stayed 1; the top nibble and the word of bytes 2-3 (little-endian) changed";
  EXPECT_TRUE(trace.Saw("js getHidData params error"));

  host.CallVoid(0, "light", {slot});
  ASSERT_EQ(hid.state[0].written.size(), 2u);
  EXPECT_EQ(hid.state[0].written[0].size(), 5u) << "the output store goes out at the report length";
  EXPECT_EQ(hid.state[0].written[0][1], 0x40) << "bit 9 is the second bit of byte 1";
  EXPECT_EQ(hid.state[0].written[1], (std::vector<unsigned char>{1, 2, 0})) << "the array's length decides";
  EXPECT_TRUE(trace.Saw("js sendHid (uniqueId=0, size=3)"));
}

TEST_F(ControllerSetTest, DevicesThatComeAndGoAreNoticedWithinTwoSeconds) {
  LoadScripts({kNamedScript, kHidScript});
  midi.inputs = {"Other Pad:Other Pad MIDI 1 28:0"};
  midi.outputs = {"Other Pad:Other Pad MIDI 1 28:0"};
  set.ListDevices();
  set.ApplyMidiSelection({"Other Pad:Other Pad MIDI 1 28:0"});
  now += 1.5;
  set.PollControllers();
  ASSERT_EQ(set.Slot(0).scriptIndex, 0);

  midi.inputs.clear();
  midi.outputs.clear();
  hid.devices = {{"/dev/hidraw1", 0x1234, 0x5678, "Deck", "Maker", 1, 5}};
  now += 1.1;
  set.WatchDevices();
  EXPECT_TRUE(trace.Saw("js debug 'named deinit 0'")) << "the script hears of it before the close";
  EXPECT_FALSE(set.Slot(0).open && set.Slot(0).midiInIndex >= 0) << "the unplugged pad is closed";
  EXPECT_TRUE(set.Slot(0).open && set.Slot(0).hidIndex == 0) << "the plugged HID device took the free slot";

  // The pad comes back under a new ALSA client number: the user's selection still names it.
  midi.inputs = {"Other Pad:Other Pad MIDI 1 32:0"};
  midi.outputs = {"Other Pad:Other Pad MIDI 1 32:0"};
  hid.devices.clear();
  now += 1.1;
  set.WatchDevices();
  EXPECT_FALSE(set.Slot(0).open) << "the HID device went";
  EXPECT_TRUE(set.Slot(1).open);
  EXPECT_EQ(set.Slot(1).inputName, "Other Pad:Other Pad MIDI 1 32:0");
}

}  // namespace

namespace {

// A script that sends a sysex of twice data1 bytes on each message and says whether it was thrown at.
const char* kSysexScript =
    "function getLanguageVersion() { return 1; }\n"
    "function getSupportedMidiDeviceNameForInput(i) { return 'Pad'; }\n"
    "function messageReceived(id, s, c, d1, d2) {\n"
    "  var page = [0xF0]; while (page.length < 2 * d1 - 1) page.push(d2); page.push(0xF7);\n"
    "  try { sendSysex(id, page); for (var i = 0; i < 3; i++) {} debug('sysex sent'); }\n"
    "  catch (e) { debug('sysex: ' + e.message); }\n"
    "}\n";

}  // namespace

TEST_F(ControllerSetTest, ASysexMayTakeFiveMillisecondsPerByteAndALongerSendThrowsAndResetsThePort) {
  midi.inputs = midi.outputs = {"Pad 20:0"};
  LoadScripts({kSysexScript});
  set.ListDevices();
  set.ApplyMidiSelection({"Pad"});
  now += 2;
  set.PollControllers();
  ASSERT_EQ(set.Slot(0).scriptIndex, 0);
  midi.sent[0].clear();

  double sendTakes = 0;  // seconds the fake driver spends on each sysex
  midi.whileSending = [&](size_t length) {
    if (length > 3) now += sendTakes;
  };
  sendTakes = 0.499;  // a 100-byte page is allowed 500 ms
  midi.Deliver(0, {0x90, 50, 0x11});
  set.DrainQueue();
  EXPECT_TRUE(trace.Saw("js debug 'sysex sent'"));
  ASSERT_EQ(midi.sent[0].size(), 1u);
  EXPECT_EQ(midi.sent[0][0].size(), 100u);
  EXPECT_EQ(midi.sent[0][0].front(), 0xF0);
  EXPECT_EQ(midi.sent[0][0][50], 0x11);
  EXPECT_EQ(midi.resets[0], 0);

  sendTakes = 0.501;
  midi.Deliver(0, {0x90, 50, 0x11});
  set.DrainQueue();
  EXPECT_TRUE(trace.Saw("js debug 'sysex: sending sysex: out of time.'"));
  EXPECT_EQ(midi.resets[0], 1) << "the port is reset after a time-out";

  sendTakes = 0.501;  // 200 bytes are allowed a second
  midi.Deliver(0, {0x90, 100, 0x22});
  set.DrainQueue();
  EXPECT_EQ(trace.Count("js debug 'sysex sent'"), 2);
  EXPECT_EQ(midi.resets[0], 1);

  // A driver slower than the script's runaway budget (50 ms) is not the script running away.
  midi.whileSending = [](size_t) { std::this_thread::sleep_for(std::chrono::milliseconds(120)); };
  midi.Deliver(0, {0x90, 50, 0x33});
  set.DrainQueue();
  EXPECT_EQ(trace.Count("js debug 'sysex sent'"), 3);
  EXPECT_FALSE(host.Script(0).disabled);
}
