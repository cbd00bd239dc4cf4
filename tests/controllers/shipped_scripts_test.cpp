// The controller scripts the program ships: the game pad mapping drives the decks from real
// report bytes, and every HID script's USB ids reach the udev rule (so the desktop user may
// open the device) and the AppStream data (so software centres offer the program for it).
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "FakeTransport.h"
#include "RecordingRunner.h"
#include "controllers/HardwareControllers.h"
#include "skin/model/NotifierTable.h"
#include "support/TraceCapture.h"

namespace {

std::string ReadSourceFile(const std::string& relative) {
  std::ifstream in(std::string(LUMO_SOURCE_DIR) + "/" + relative);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// A DualShock 4 USB report (id 1): sticks centred, d-pad released, nothing pressed.
std::vector<unsigned char> PadReport() {
  std::vector<unsigned char> report(64, 0);
  report[0] = 1;
  report[1] = report[2] = report[3] = report[4] = 128;
  report[5] = 0x08;
  return report;
}

}  // namespace

TEST(ShippedScripts, EveryHidScriptsIdsAreInTheUdevRuleAndTheAppStreamData) {
  TraceCapture trace;
  ScriptHost host;
  ASSERT_GT(host.LoadControllerScripts(std::string(LUMO_SOURCE_DIR) + "/data/controllers/"), 2);
  const std::string rule = ReadSourceFile("data/udev/70-zorvik-lumo-controllers.rules");
  const std::string metainfo = ReadSourceFile("data/desktop/org.zorvik.Lumo.metainfo.xml");
  int hidScripts = 0;
  std::vector<std::string> claimed;
  for (int s = 0; s < host.ScriptCount(); ++s) {
    const ControllerScript& script = host.Script(s);
    if (script.hidVid == 0) continue;
    ++hidScripts;
    EXPECT_EQ(script.controllerType, 1) << script.fileName << " names USB ids but is no HID script";
    char line[128], modalias[64];
    std::snprintf(line, sizeof line, "\nSUBSYSTEM==\"hidraw\", ATTRS{idVendor}==\"%04x\", ATTRS{idProduct}==\"%04x\"",
                  script.hidVid, script.hidPid);
    std::snprintf(modalias, sizeof modalias, "<modalias>usb:v%04Xp%04X*</modalias>", script.hidVid, script.hidPid);
    EXPECT_NE(rule.find(line), std::string::npos) << script.fileName << ": no udev line" << line;
    EXPECT_NE(metainfo.find(modalias), std::string::npos) << script.fileName << ": no " << modalias;
    claimed.push_back(line);
  }
  EXPECT_GE(hidScripts, 1);
  // And nothing stale: each active line of the rule belongs to a shipped script.
  std::istringstream lines(rule);
  for (std::string text; std::getline(lines, text);) {
    if (text.empty() || text[0] == '#') continue;
    bool owned = false;
    for (const std::string& c : claimed) owned = owned || ("\n" + text).rfind(c, 0) == 0;
    EXPECT_TRUE(owned) << "no shipped script maps: " << text;
  }
}

TEST(ShippedScripts, TheGamePadPlaysCuesAndMixesFromItsReports) {
  RecordingRunner runner;
  TraceCapture trace;
  FakeHidSystem hid;
  hid.devices = {{"/dev/hidraw4", 0x054c, 0x05c4, "Wireless Controller", "Sony", 1, 5}};
  ScriptHost host;
  ControllerSet set(nullptr, &hid, &host);
  set.DetectControllers(std::string(LUMO_SOURCE_DIR) + "/data/controllers/");
  ASSERT_EQ(set.Slot(0).matchReason, "VID/PID");
  ASSERT_EQ(hid.state[0].written.size(), 1u) << "the light bar shows the decks at start";
  EXPECT_EQ(hid.state[0].written[0][0], 5);
  EXPECT_EQ(hid.state[0].written[0][5], 8) << "deck A stopped: dim red";

  auto play = [&](std::vector<unsigned char> report) {
    hid.state[0].reports.push_back(std::move(report));
    set.PollControllers();
  };
  play(PadReport());  // the first report only sets the starting point
  runner.calls.clear();
  std::vector<unsigned char> report = PadReport();
  report[5] = 0x28;  // cross down
  report[6] = 0x01;  // L1 (cue A) down
  report[8] = 200;   // L2 pulled most of the way
  play(report);
  report[5] = 0x04;  // cross up, d-pad down
  report[6] = 0x00;  // L1 up
  play(report);
  std::vector<std::string> seen;
  for (const RecordingRunner::Call& c : runner.calls) {
    seen.push_back(c.name + " " + std::to_string(c.deck) + " " + std::to_string(c.value));
  }
  EXPECT_EQ(seen, (std::vector<std::string>{"deckPlayPause 0 -1", "deckCue 0 127", "setDeckVolume 0 100",
                                            "deckCue 0 0", "lbMoveCursor -1 1"}));

  set.NotifyChanges();
  SetStateOfNotifier("play", 1, 1, 1.0, "");
  set.NotifyChanges();
  EXPECT_EQ(hid.state[0].written.back()[7], 160) << "deck B playing: bright blue";
  SetStateOfNotifier("play", 1, 0, 0.0, "");
  set.NotifyChanges();
}
