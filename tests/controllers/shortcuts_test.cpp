// Key and MIDI shortcuts as a user meets them: learning keys and notes with their rules, the
// bound input reaching its control, and the two files (golden after a scripted learn session,
// byte-identical after load and save).
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "controllers/KeyCodes.h"
#include "controllers/ShortcutTables.h"
#include "skin/model/ControlCatalogue.h"
#include "skin/model/KeyName.h"
#include "support/TestFiles.h"
#include "support/TraceCapture.h"

namespace {

struct Event {
  std::string what;
  int id, deck, a, b, c;
  bool operator==(const Event& o) const {
    return what == o.what && id == o.id && deck == o.deck && a == o.a && b == o.b && c == o.c;
  }
};

class RecordingSink : public ShortcutSink {
 public:
  void KeyEvent(int id, int deck, int slot) override { events.push_back({"key", id, deck, slot, 0, 0}); }
  void MidiEvent(int id, int deck, int status, int, int, int value) override {
    events.push_back({"midi", id, deck, status, value, 0});
  }
  void BindingsChanged(int, int) override {}
  std::vector<Event> events;
};

// A small skin: two deck buttons, a deck slider, the crossfader, a sound display and learn.
bool SmallSkin(int id, int deck) {
  static const char* placed[] = {"deck_cue", "deck_play_pause", "deck_volume", "crossfader", "sd_deck", "learn"};
  for (const char* name : placed) {
    if (ControlIdByName(name) == id) return deck <= 1;  // a two-deck skin
  }
  return false;
}

class Shortcuts : public ::testing::Test {
 protected:
  Shortcuts() {
    tables.SetSink(&sink);
    tables.SetControlExists(&SmallSkin);
  }
  ShortcutTables::KeyPress Key(int code, int flags = 0) {
    ShortcutTables::KeyPress k;
    k.code = code;
    k.flags = flags;
    k.character = code;
    return k;
  }
  void Target(const char* name, int deck) { tables.SetLearnTarget(ControlIdByName(name), deck); }
  const ControlBindings& Of(const char* name, int deck) { return *tables.Bindings(ControlIdByName(name), deck); }

  // The session the golden files record: keys for play, cue and the volume slider, a CC for the
  // crossfader, a press-and-release note for play on deck B and a one-message note for cue.
  void LearnSession() {
    tables.SetLearnMode(true);
    Target("deck_play_pause", 0);
    tables.OnKey(Key('P'));
    tables.MapMidi(0x90, 0, 36, 127, 0);
    tables.MapMidi(0x80, 0, 36, 0, 0);
    Target("deck_cue", 0);
    tables.OnKey(Key('C', kModAlt));
    tables.MapMidi(0x90, 0, 37, 127, 0);  // no release: decided when the target moves on
    Target("deck_volume", 1);
    tables.OnKey(Key(315));  // Up
    tables.OnKey(Key(317));  // Down
    tables.MapMidi(0xB0, 1, 7, 64, 0);
    Target("crossfader", -1);
    tables.MapMidi(0xB0, 2, 8, 0, 0);
    tables.SetLearnMode(false);
  }

  RecordingSink sink;
  ShortcutTables tables;
  TraceCapture trace;
};

TEST_F(Shortcuts, KeyLearnTakesAltAndShiftButNotControlAndMovesAKeyBetweenControls) {
  tables.SetLearnMode(true);
  Target("deck_play_pause", 0);
  EXPECT_TRUE(tables.OnKey(Key('A', kModControl | kModControl2)));
  EXPECT_EQ(Of("deck_play_pause", 0).keys[0].code, 0) << "ctrl+letter is refused";
  tables.OnKey(Key('A', kModAlt));
  EXPECT_EQ(Of("deck_play_pause", 0).keys[0].code, 'A');
  Target("deck_cue", 0);
  tables.OnKey(Key('A', kModAlt));
  EXPECT_EQ(Of("deck_cue", 0).keys[0].flags, kModAlt);
  EXPECT_EQ(Of("deck_play_pause", 0).keys[0].code, 0) << "the key moved to the second button";
  EXPECT_EQ(Of("deck_play_pause", 0).keys[0].character, 32);

  Target("deck_volume", 0);
  tables.OnKey(Key('1'));
  tables.OnKey(Key('2'));
  tables.OnKey(Key('3'));
  EXPECT_EQ(Of("deck_volume", 0).keys[0].code, '3') << "the third key replaces the first";
  EXPECT_EQ(Of("deck_volume", 0).keys[1].code, '2');
  tables.SetLearnMode(false);

  EXPECT_FALSE(tables.OnKey(Key('1'))) << "the replaced key is free again";
  EXPECT_TRUE(tables.OnKey(Key('2')));
  EXPECT_TRUE(tables.OnKey(Key('A', kModAlt)));
  auto repeat = Key('2');
  repeat.repeat = 1;
  EXPECT_FALSE(tables.OnKey(repeat));
  auto typing = Key('2');
  typing.searchHasFocus = true;
  EXPECT_FALSE(tables.OnKey(typing)) << "typing into the search box fires nothing";
  const int volume = ControlIdByName("deck_volume"), cue = ControlIdByName("deck_cue");
  EXPECT_EQ(sink.events, (std::vector<Event>{{"key", volume, 0, 1, 0, 0}, {"key", cue, 0, 0, 0, 0}}))
      << "slot 1 raises the slider";
  tables.SetLearnMode(true);
  Target("deck_cue", 0);
  EXPECT_TRUE(tables.OnKey(typing)) << "in learn mode the search box does not shield keys";
  EXPECT_EQ(Of("deck_cue", 0).keys[0].code, '2');
}

TEST_F(Shortcuts, MidiLearnFindsOutWhetherTheDeviceSendsReleases) {
  const int play = ControlIdByName("deck_play_pause"), cue = ControlIdByName("deck_cue");
  tables.SetLearnMode(true);
  Target("deck_play_pause", 0);
  tables.MapMidi(0x90, 3, 40, 100, 0);
  EXPECT_EQ(tables.NoteRow(40, 3).awaitingRelease, 1);
  Target("deck_cue", 0);  // moved on without a note-off: one message per press
  EXPECT_EQ(tables.NoteRow(40, 3).toggleMode, 1);
  EXPECT_EQ(Of("deck_play_pause", 0).midi.toggleMode, 1);
  tables.MapMidi(0x80, 3, 41, 0, 0);  // a release with no press: decided at once
  EXPECT_EQ(tables.NoteRow(41, 3).toggleMode, 1);
  Target("deck_play_pause", 1);
  tables.MapMidi(0x90, 3, 42, 100, 0);
  tables.MapMidi(0x90, 3, 42, 0, 0);  // velocity 0 is a release
  EXPECT_EQ(tables.NoteRow(42, 3).toggleMode, 0);
  EXPECT_EQ(ShortcutTables::MidiBindingText(Of("deck_play_pause", 1).midi), "K42");
  Target("learn", -1);
  tables.MapMidi(0x90, 3, 43, 100, 0);
  EXPECT_EQ(tables.NoteRow(43, 3).controlId, 0) << "learn itself takes no binding";
  tables.SetLearnMode(false);

  tables.MapMidi(0x90, 3, 40, 100, 0);
  tables.MapMidi(0x90, 3, 42, 100, 0);
  tables.MapMidi(0x80, 3, 42, 0, 0);
  tables.MapMidi(0xE0, 3, 40, 100, 0);
  EXPECT_EQ(sink.events, (std::vector<Event>{{"midi", play, 0, 0x90, 127, 0},
                                             {"midi", play, 0, 0x80, 0, 0},
                                             {"midi", play, 1, 0x90, 100, 0},
                                             {"midi", play, 1, 0x80, 0, 0}}))
      << "a one-message note clicks; a pair passes as it came; the pitch wheel is not mapped";
  (void)cue;
}

TEST_F(Shortcuts, ALearnedControllerTakesTheRowFromItsOwnerAndDropsTheControlsOtherRows) {
  tables.SetLearnMode(true);
  Target("crossfader", -1);
  tables.MapMidi(0xB0, 0, 10, 5, 0);
  tables.MapMidi(0xB0, 1, 11, 5, 0);  // the crossfader moves to CC 11 on channel 1
  EXPECT_EQ(tables.ControllerRow(10, 0).controlId, -1);
  EXPECT_EQ(tables.ControllerRow(11, 1).controlId, ControlIdByName("crossfader"));
  Target("deck_volume", 0);
  tables.MapMidi(0xB0, 1, 11, 5, 0);
  EXPECT_EQ(ShortcutTables::MidiBindingText(Of("crossfader", -1).midi), "") << "its owner lost it";
  EXPECT_EQ(ShortcutTables::MidiBindingText(Of("deck_volume", 0).midi), "C11");
}

std::string Golden(const std::string& name, const std::string& actual) {
  const std::string path = std::string(LUMO_TEST_DATA) + "/" + name;
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  if (text.str() != actual) std::ofstream(path + ".actual", std::ios::binary) << actual;
  return text.str();
}

TEST_F(Shortcuts, ALearnSessionSavesTheGoldenFilesAndTheyLoadBackByteForByte) {
  LearnSession();
  TempFolder folder;
  ASSERT_TRUE(tables.SaveKeyShortcuts(folder.File("shortcuts_kb.xml")));
  ASSERT_TRUE(tables.SaveMidiShortcuts(folder.File("shortcuts_midi.xml")));
  EXPECT_EQ(tables.KeyShortcutsText(), Golden("shortcuts_kb.xml", tables.KeyShortcutsText()));
  EXPECT_EQ(tables.MidiShortcutsText(), Golden("shortcuts_midi.xml", tables.MidiShortcutsText()));

  ShortcutTables reloaded;
  reloaded.SetControlExists(&SmallSkin);
  reloaded.SetSink(&sink);
  ASSERT_TRUE(reloaded.LoadKeyShortcuts(folder.File("shortcuts_kb.xml")));
  ASSERT_TRUE(reloaded.LoadMidiShortcuts(folder.File("shortcuts_midi.xml")));
  EXPECT_EQ(reloaded.KeyShortcutsText(), tables.KeyShortcutsText());
  EXPECT_EQ(reloaded.MidiShortcutsText(), tables.MidiShortcutsText());
  sink.events.clear();
  reloaded.MapMidi(0x90, 0, 37, 127, 0);
  EXPECT_EQ(sink.events.size(), 2u) << "the one-message note still clicks after a restart";
  EXPECT_TRUE(reloaded.OnKey(Key('C', kModAlt)));
}

TEST_F(Shortcuts, BadFilesAreLoggedAndLeaveTheBindingsAlone) {
  LearnSession();
  const std::string before = tables.KeyShortcutsText();
  EXPECT_FALSE(tables.LoadKeyShortcutsText("<settings><shortcut_kb"));
  EXPECT_TRUE(trace.Saw("XML not parsed successfully"));
  EXPECT_FALSE(tables.LoadKeyShortcutsText("<shortcuts/>"));
  EXPECT_TRUE(trace.Saw("XML root node is NOT 'settings'"));
  EXPECT_FALSE(tables.LoadMidiShortcuts("/nonexistent/shortcuts_midi.xml"));
  // Unknown actions, bad decks, out-of-range codes and channels are passed over.
  EXPECT_TRUE(tables.LoadMidiShortcutsText(
      "<settings version=\"101\">\n<shortcut_midi action=\"nothing\" deck=\"0\" keys=\"1\">\n"
      "\t<midi channel=\"0\" iskey=\"1\" keyorcc=\"36\" togglemode=\"0\"/>\n</shortcut_midi>\n"
      "<shortcut_midi action=\"deck_cue\" deck=\"9\" keys=\"1\">\n"
      "\t<midi channel=\"99\" iskey=\"1\" keyorcc=\"900\" togglemode=\"0\"/>\n</shortcut_midi>\n</settings>\n"));
  EXPECT_EQ(tables.KeyShortcutsText(), before);
}

TEST(KeyCodes, TheSpecialKeysMoveAndEverythingElseKeepsItsNumber) {
  EXPECT_EQ(StoredKeyCode('A'), 'A');
  EXPECT_EQ(StoredKeyCode(340), 340) << "F1 is the same in both";
  EXPECT_EQ(StoredKeyCode(417), -1) << "a media key has no stored code";
  for (int code : {8, 65, 193, 200, 212, 300, 396, 1049}) EXPECT_EQ(StoredKeyCode(ToolkitKeyCode(code)), code);
}

}  // namespace
