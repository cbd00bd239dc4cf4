// The options dialog's OK without the dialog: what reaches the settings file and the engine,
// a skin that does not fit, an output that must be opened again, and the MIDI selection.

#include <gtest/gtest.h>

#include "app/Engine.h"
#include "app/OptionsApply.h"
#include "app/Settings.h"
#include "app/base/AtomicFile.h"
#include "audio/devices/OutputLayer.h"
#include "support/TestFiles.h"
#include "support/TraceCapture.h"

namespace {

class OptionsApply : public ::testing::Test {
 protected:
  void SetUp() override {
    g_settings = Settings{};  // the default skin
    SetSettingsFilePath(path_);
  }
  void TearDown() override {
    SetSettingsFilePath("");
    CloseAudioOutputs(1);
    g_settings = Settings{};
    g_outputSelection = OutputSelection{};
  }
  std::string SavedFile() {
    std::string text;
    ReadWholeFile(path_, text);
    return text;
  }

  TempFolder folder_;
  std::string path_ = folder_.File("config.xml");
  int midiCalls_ = 0;
  bool skinFits_ = true;
  OptionsApplyHooks hooks_{[this](const std::string&) { return skinFits_; }, [this] { ++midiCalls_; }};
};

TEST_F(OptionsApply, ChangedValuesAreSavedAndAppliedWithoutReopeningTheAudio) {
  Settings chosen = g_settings;
  chosen.hqtime = 1;
  chosen.mixtim = 45;
  chosen.revmmo = 1;  // a routing switch: no reopen
  const OptionsOutcome outcome = ApplyChosenOptions(chosen, hooks_);
  EXPECT_TRUE(outcome.saved);
  EXPECT_FALSE(outcome.audioReopened);
  EXPECT_FALSE(outcome.skinChanged || outcome.skinRefused || outcome.midiChanged);
  EXPECT_EQ(midiCalls_, 0);
  const std::string file = SavedFile();
  EXPECT_NE(file.find("<setting name=\"hqtime\" value=\"1\""), std::string::npos) << file;
  EXPECT_NE(file.find("<setting name=\"mixtim\" value=\"45\""), std::string::npos) << file;
  Settings reread;
  ASSERT_TRUE(ParseConfigText(file, reread));
  EXPECT_EQ(reread.revmmo, 1);
}

TEST_F(OptionsApply, ASkinThatDoesNotFitKeepsTheOldOneAndTheRestStillApplies) {
  skinFits_ = false;
  Settings chosen = g_settings;
  chosen.skinf1 = "Zorvik Default 4 decks (1920x1080)";
  chosen.dhints = 0;
  const OptionsOutcome outcome = ApplyChosenOptions(chosen, hooks_);
  EXPECT_TRUE(outcome.skinRefused);
  EXPECT_EQ(g_settings.skinf1, "");
  EXPECT_EQ(g_settings.dhints, 0);
  EXPECT_NE(SavedFile().find("<setting name=\"dhints\" value=\"0\""), std::string::npos);
  EXPECT_EQ(SavedFile().find("(1920x1080)"), std::string::npos);
}

TEST_F(OptionsApply, ANewLatencyReopensTheOutputAndMidiFollowsItsSelection) {
  EngineOpenOutputs();
  TraceCapture trace;
  Settings chosen = g_settings;
  chosen.latncy = 1200;
  chosen.midiInputs = {"Test Controller MIDI 1"};
  const OptionsOutcome outcome = ApplyChosenOptions(chosen, hooks_);
  EXPECT_TRUE(outcome.audioReopened);
  EXPECT_TRUE(trace.Saw("options: the audio output is opened again"));
  EXPECT_EQ(g_outputSelection.latencyFrames, 1200);
  EXPECT_TRUE(outcome.midiChanged);
  EXPECT_EQ(midiCalls_, 1);
  // OK again with nothing changed touches neither.
  const OptionsOutcome again = ApplyChosenOptions(g_settings, hooks_);
  EXPECT_FALSE(again.audioReopened || again.midiChanged);
  EXPECT_EQ(midiCalls_, 1);
}

}  // namespace
