// The layer as the application runs it: a device without a script is bound control by control
// through MIDI learn, a device with a script reaches only its script, and the shortcut files
// are read at start and written at the settings save.
#include <gtest/gtest.h>

#include <fstream>

#include "FakeTransport.h"
#include "RecordingRunner.h"
#include "controllers/ControllerLayer.h"
#include "skin/model/ControlCatalogue.h"
#include "support/TestFiles.h"
#include "support/TraceCapture.h"

namespace {

struct CountingSink : ShortcutSink {
  int midi = 0;
  void KeyEvent(int, int, int) override {}
  void MidiEvent(int, int, int, int, int, int) override { ++midi; }
  void BindingsChanged(int, int) override {}
};

TEST(ControllerLayer, OneMessageGoesToTheScriptOrToTheLearnMapNeverBoth) {
  RecordingRunner runner;
  TraceCapture trace;
  TempFolder settings, scripts;
  {
    std::ofstream(scripts.File("pad.js")) << "function getLanguageVersion() { return 1; }\n"
                                             "function getSupportedMidiDeviceNameForInput(i) { return 'Pad'; }\n"
                                             "function messageReceived(id, s, c, d1, d2) { call('deckPlayPause', 1); }\n";
  }
  auto owned = std::make_unique<FakeMidiSystem>();
  FakeMidiSystem* midi = owned.get();
  midi->inputs = {"Keys 20:0", "Pad 24:0"};
  midi->outputs = {"Pad 24:0"};
  ControllerLayer layer(std::move(owned), nullptr);
  CountingSink sink;
  layer.Shortcuts().SetSink(&sink);
  layer.Start(settings.path(), scripts.path(), {"Keys 20:0", "Pad 24:0"}, nullptr, nullptr);
  EXPECT_TRUE(trace.Saw("XML not parsed successfully")) << "no shortcut files yet";

  layer.Shortcuts().SetLearnMode(true);
  layer.Shortcuts().SetLearnTarget(ControlIdByName("deck_cue"), 0);
  midi->Deliver(0, {0x90, 36, 100});
  midi->Deliver(0, {0x80, 36, 0});
  layer.Tick();
  layer.Shortcuts().SetLearnMode(false);
  midi->Deliver(0, {0x90, 36, 100});
  midi->Deliver(1, {0x90, 36, 100});  // the pad: its script has not matched yet
  layer.Tick();
  EXPECT_EQ(sink.midi, 2) << "the keyboard's note, and the unmatched pad's on the same row";

  // A second later the pad is tied to its script by name; its notes leave the learn map.
  ASSERT_TRUE(layer.Controllers().Slot(1).open);
  layer.Controllers().SetClock([] { return 1e9; });
  layer.Tick();
  ASSERT_EQ(layer.Controllers().Slot(1).matchReason, "device name");
  midi->Deliver(1, {0x90, 36, 100});
  layer.Tick();
  EXPECT_EQ(sink.midi, 2);
  ASSERT_EQ(runner.calls.size(), 1u);

  layer.SaveShortcuts(settings.path());
  ControllerLayer again(nullptr, nullptr);
  again.Start(settings.path(), scripts.path(), {}, nullptr, nullptr);
  EXPECT_EQ(again.Shortcuts().MidiShortcutsText(), layer.Shortcuts().MidiShortcutsText());
  EXPECT_EQ(again.Shortcuts().NoteRow(36, 0).controlId, ControlIdByName("deck_cue"));
}

}  // namespace
