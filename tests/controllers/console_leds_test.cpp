// Console lamps over MIDI and the tick's notifications: a lamp is sent once per change, only
// for decks A and B, as notes on the MP3 e2 and as controllers elsewhere; a changed notifier
// row reaches the lamps first and then every tied script.
#include <gtest/gtest.h>

#include "FakeTransport.h"
#include "RecordingRunner.h"
#include "controllers/ConsoleDisplay.h"
#include "controllers/ConsoleLeds.h"
#include "controllers/ConsoleMessages.h"
#include "controllers/HardwareControllers.h"
#include "skin/model/NotifierTable.h"
#include "support/TraceCapture.h"

namespace {

struct SentLog : MidiOutput {
  std::vector<std::vector<int>> sent;
  bool Send(const unsigned char* b, size_t n) override {
    sent.push_back(std::vector<int>(b, b + n));
    return true;
  }
};

TEST(ConsoleLeds, EachChangeIsSentOnceOnBothChannelsWithAPauseAfterEachSend) {
  int pauses = 0;
  SentLog out;
  ConsoleLeds leds([&] { ++pauses; });
  leds.SetOutput(&out, kConsoleMk2);
  leds.ConsoleSetLed(538, 0, 1);
  leds.ConsoleSetLed(538, 0, 5);  // still lit, but a different value: sent again, lit
  leds.ConsoleSetLed(538, 0, 5);
  leds.ConsoleSetLed(538, 2, 1);
  leds.ConsoleSetLed(538, 3, 1);
  EXPECT_EQ(out.sent, (std::vector<std::vector<int>>{{0xB0, 9, 127}, {0xB1, 9, 127}, {0xB0, 9, 127}, {0xB1, 9, 127}}));
  EXPECT_EQ(pauses, 4);

  out.sent.clear();
  leds.SetOutput(&out, kConsoleMp3e2);
  leds.ConsoleSetLedBothDecks(554, 1);
  EXPECT_EQ(out.sent, (std::vector<std::vector<int>>{{0x90, 16, 127}, {0x91, 16, 127}, {0x90, 36, 127}, {0x91, 36, 127}}));

  out.sent.clear();
  leds.SetOutput(&out, kConsoleMp3);
  leds.ConsoleSetLed(554, 1, 1);
  leds.ConsoleSetLed(540, 0, 1);  // no such lamp on deck A of this family
  EXPECT_EQ(out.sent, (std::vector<std::vector<int>>{{0xB0, 125, 127}, {0xB1, 125, 127}}));
  out.sent.clear();
  leds.SetOutput(&out, 0x20);  // a console family without lamps
  leds.ConsoleSetLed(538, 0, 1);
  EXPECT_TRUE(out.sent.empty());
}

TEST(ControllerNotifications, AChangedRowReachesTheLampsThenEachTiedScriptOnce) {
  RecordingRunner runner;
  TraceCapture trace;
  FakeMidiSystem midi;
  midi.inputs = {"Pad 20:0"};
  midi.outputs = {"Pad 20:0"};
  ScriptHost host;
  host.LoadControllerScriptText("pad.js",
                                "function getLanguageVersion() { return 1; }\n"
                                "function getSupportedMidiDeviceNameForInput(i) { return 'Pad'; }\n"
                                "function notificationReceived(id, name, deck, i, f, s) {\n"
                                "  debug([id, name, deck, i, f, s].join('|')); }\n");
  ControllerSet set(&midi, nullptr, &host);
  double now = 0;
  set.SetClock([&] { return now; });
  set.ListDevices();
  set.ApplyMidiSelection({"Pad"});
  now = 2;
  set.PollControllers();
  ASSERT_EQ(set.Slot(0).scriptIndex, 0);
  set.NotifyChanges();  // whatever earlier tests left becomes the previous state

  std::vector<std::string> lamps;
  SetStateOfNotifier("play", 1, 1, 1.0, "");
  SetStateOfNotifier("title", 1, 0, 0.0, "Song");
  set.NotifyChanges([&](const char* name, int deck, int value) {
    lamps.push_back(std::string(name) + std::to_string(deck) + "=" + std::to_string(value));
  });
  EXPECT_EQ(lamps, (std::vector<std::string>{"play1=1", "title1=0"}));
  EXPECT_TRUE(trace.Saw("js debug '0|play|1|1|1|'"));
  EXPECT_TRUE(trace.Saw("js debug '0|title|1|0|0|Song'"));
  lamps.clear();
  set.NotifyChanges([&](const char* name, int, int) { lamps.push_back(name); });
  EXPECT_TRUE(lamps.empty()) << "nothing changed since";
  EXPECT_EQ(trace.Count("|play|1|"), 1);
}

}  // namespace

namespace {

// A set with a Tarvo console of `name` on port 1 and its built-in handler, as the layer wires it.
struct ConsoleRig {
  explicit ConsoleRig(const std::string& name) {
    midi.inputs = midi.outputs = {"Keys 20:0", name};
    set.SetClock([this] { return now; });
    set.SetConsoleHandler([this](int kind, int status, int channel, int data1, int data2) {
      kinds.push_back(kind);
      handler.OnMessage(set.ConsoleInputBit(), status, channel, data1, data2);
    });
    set.DetectControllers("/nonexistent");
    midi.sent[1].clear();
  }
  void Play(std::vector<unsigned char> bytes) {
    midi.Deliver(1, std::move(bytes));
    set.DrainQueue();
  }
  RecordingRunner runner;
  TraceCapture trace;
  FakeMidiSystem midi;
  ScriptHost host;
  ControllerSet set{&midi, nullptr, &host};
  double now = 0;
  std::vector<std::vector<int>> learned;
  std::vector<int> kinds;
  ConsoleHandler handler{set.Leds(), [this](int s, int c, int d1, int d2) { learned.push_back({s, c, d1, d2}); }};
};

}  // namespace

TEST(ConsoleHandler, LitButtonsRunTheirActionsWithPressAndReleaseAndTheRestGoesToLearn) {
  ConsoleRig mk2("DJ Console Mk2 24:0");
  mk2.Play({0xB0, 22, 127});  // deck A's key lock button (the controller of its lamp)
  mk2.Play({0xB0, 22, 0});
  mk2.Play({0xB0, 2, 127});   // deck B's cue
  mk2.Play({0xB0, 48, 90});   // a fader: no lamp, so no built-in meaning
  mk2.Play({0xFE});
  ASSERT_EQ(mk2.runner.calls.size(), 3u);
  EXPECT_EQ(mk2.runner.calls[0].name, "deckKeyLock");
  EXPECT_EQ(mk2.runner.calls[0].deck, 0);
  EXPECT_EQ(mk2.runner.calls[0].value, 127);
  EXPECT_EQ(mk2.runner.calls[1].value, 0) << "the release follows";
  EXPECT_EQ(mk2.runner.calls[2].name, "deckCue");
  EXPECT_EQ(mk2.runner.calls[2].deck, 1);
  EXPECT_EQ(mk2.learned, (std::vector<std::vector<int>>{{0xB0, 0, 48, 90}}));
  EXPECT_EQ(mk2.kinds, (std::vector<int>{2, 2, 2, 2})) << "the Mk2's messages carry kind 2; active sensing none";
  EXPECT_EQ(mk2.set.Slot(0).open, false) << "the console's port is not also a generic controller";
  mk2.set.ApplyMidiSelection({"DJ Console Mk2 24:0"});
  EXPECT_FALSE(mk2.set.Slot(0).open) << "nor when the user enables it";

  ConsoleRig e2("DJ Control MP3 e2 28:0");
  e2.Play({0x90, 39, 127});  // the e2 speaks in notes: deck B's key lock
  e2.Play({0x80, 39, 0});
  e2.Play({0xB0, 39, 127});  // the same number as a controller is no button of the e2
  ASSERT_EQ(e2.runner.calls.size(), 2u);
  EXPECT_EQ(e2.runner.calls[0].name, "deckKeyLock");
  EXPECT_EQ(e2.runner.calls[0].deck, 1);
  EXPECT_EQ(e2.runner.calls[1].value, 0);
  EXPECT_EQ(e2.kinds, (std::vector<int>{32, 32, 32}));
  EXPECT_EQ(e2.learned.size(), 1u);

  ConsoleRig bcd("BCD2000 MIDI 1 24:0");  // another maker's console: its numbers mean nothing here
  bcd.Play({0xB0, 22, 127});
  EXPECT_TRUE(bcd.runner.calls.empty());
  EXPECT_EQ(bcd.kinds, (std::vector<int>{1}));
  EXPECT_EQ(bcd.learned.size(), 1u);
}

TEST(ConsoleHandler, AConsoleIsFoundAtStartAndAgainWhenPluggedBackIn) {
  ConsoleRig mk2("DJ Console Mk2 24:0");
  EXPECT_EQ(mk2.set.HardwareControllerType(), kConsoleMk2);
  EXPECT_TRUE(mk2.trace.Saw("yes, we found a 'Tarvo DJ Console Mk2' controller (in)"));
  EXPECT_TRUE(mk2.trace.Saw("yes, we found a 'Tarvo DJ Console Mk2' controller (out)"));
  EXPECT_TRUE(mk2.trace.Saw("controllerType = 128"));
  EXPECT_TRUE(mk2.midi.sent[0].empty()) << "the other device hears nothing of the lamps";
  mk2.midi.inputs = mk2.midi.outputs = {"Keys 20:0"};
  mk2.now += 1.1;
  mk2.set.WatchDevices();
  EXPECT_EQ(mk2.set.ConsoleInputBit(), 0);
  EXPECT_EQ(mk2.set.Leds().Family(), 0) << "no lamps to a console that went";
  mk2.midi.inputs = mk2.midi.outputs = {"DJ Console Mk2 32:0", "Keys 20:0"};
  mk2.now += 1.1;
  mk2.set.WatchDevices();
  EXPECT_EQ(mk2.set.ConsoleInputBit(), kConsoleMk2);
  ASSERT_EQ(mk2.midi.sent[0].size(), 16u * 2) << "the Mk2's sixteen lamps are put out, on both channels";
  EXPECT_EQ(mk2.midi.sent[0][0], (std::vector<unsigned char>{0xB0, 15, 0}));
  mk2.midi.Deliver(0, {0xB0, 22, 127});
  mk2.set.DrainQueue();
  ASSERT_EQ(mk2.runner.calls.size(), 1u);
  EXPECT_EQ(mk2.runner.calls[0].name, "deckKeyLock");
}

TEST(ConsoleHandler, KeyLockKillsAndTheMicrophoneLightTheirLampsOnTheConsolesFamily) {
  ConsoleRig mk2("DJ Console Mk2 24:0");
  auto notify = [](ConsoleHandler& handler, ControllerSet& set) {
    set.NotifyChanges([&](const char* name, int deck, int value) { handler.OnNotifier(name, deck, value); });
  };
  notify(mk2.handler, mk2.set);  // whatever earlier tests left becomes the previous state
  mk2.midi.sent[1].clear();
  SetStateOfNotifier("keyLock", 0, 1, 1.0, "");
  SetStateOfNotifier("killLow", 1, 1, 1.0, "");
  SetStateOfNotifier("talkOver", -1, 1, 1.0, "");
  SetStateOfNotifier("onAir", -1, 1, 1.0, "");
  notify(mk2.handler, mk2.set);
  EXPECT_EQ(mk2.midi.sent[1], (std::vector<std::vector<unsigned char>>{{0xB0, 22, 127}, {0xB1, 22, 127},
                                                                       {0xB0, 16, 127}, {0xB1, 16, 127},
                                                                       {0xB0, 4, 127},  {0xB1, 4, 127},
                                                                       {0xB0, 10, 127}, {0xB1, 10, 127}}));

  ConsoleRig rmx("DJ Console Rmx 24:0");
  SetStateOfNotifier("killLow", 1, 0, 0.0, "");
  notify(rmx.handler, rmx.set);
  rmx.midi.sent[1].clear();
  SetStateOfNotifier("killLow", 1, 1, 1.0, "");
  notify(rmx.handler, rmx.set);
  EXPECT_EQ(rmx.midi.sent[1], (std::vector<std::vector<unsigned char>>{{0xB0, 38, 127}, {0xB1, 38, 127}}))
      << "the RMX's kill lamps have their own numbers";
  for (const char* row : {"talkOver", "onAir"}) SetStateOfNotifier(row, -1, 0, 0.0, "");
  SetStateOfNotifier("keyLock", 0, 0, 0.0, "");
  SetStateOfNotifier("killLow", 1, 0, 0.0, "");
  rmx.set.NotifyChanges();
}

TEST(ConsoleDisplay, TheInfoButtonTurnsThePagesAndOnlyAChangedLineIsPassedOn) {
  ConsoleDeckView view;
  view.effects[1] = "Flanger";
  view.pitchHundredths = -205;
  view.monitor = true;
  view.artist = "Artist";
  view.title = "Song";
  ConsoleDisplay display;
  std::vector<std::string> lines;
  std::string line;
  for (int page = 0; page <= static_cast<int>(ConsolePage::kCount); ++page) {
    EXPECT_TRUE(display.Update(1, view, &line));
    EXPECT_FALSE(display.Update(1, view, &line)) << "the same text is not sent again";
    lines.push_back(line);
    display.NextPage(1);
  }
  EXPECT_EQ(lines, (std::vector<std::string>{"B: Artist - Song", "FX1 - ", "FX2 - Flanger", "FX3 - ", "FX4 - ",
                                             "PITCH J - -2.05%", "SCRATCH - OFF", "MONITOR - ON",
                                             "B: Artist - Song"}));
  view.pitchHundredths = 7;
  view.pitchOnFader = true;
  EXPECT_EQ(ConsoleDisplayLine(0, ConsolePage::kPitch, view), "PITCH F - 0.07%");
  view.pitchHundredths = 0;
  EXPECT_EQ(ConsoleDisplayLine(0, ConsolePage::kPitch, view), "PITCH F");
  view.artist.clear();
  EXPECT_EQ(ConsoleDisplayLine(0, ConsolePage::kTitle, view), "A: Song");
}
