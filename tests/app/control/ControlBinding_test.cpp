// The binding of catalogue controls and script actions to the engine, through a sink that
// records every engine call: what a click, a script call and a drag reach, and the report of
// what is bound.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "app/Engine.h"
#include "app/Settings.h"
#include "app/control/ControlActions.h"
#include "app/control/ControlBindings.h"
#include "app/control/ControlModels.h"
#include "app/control/GuiTick.h"
#include "audio/Mixer.h"
#include "deck/SoundSource.h"
#include "skin/model/ActionDispatch.h"
#include "skin/model/NotifierTable.h"
#include "support/TestFiles.h"
#include "support/TraceCapture.h"

namespace {

struct Call {
  EngineCommand command;
  int deck, value, arg;
  bool operator==(const Call& o) const {
    return std::tie(command, deck, value, arg) == std::tie(o.command, o.deck, o.value, o.arg);
  }
};

class RecordingSink : public EngineCommandSink {
 public:
  void Run(EngineCommand command, int deck, int value, int arg) override { calls.push_back({command, deck, value, arg}); }
  int Count(EngineCommand command) const {
    int n = 0;
    for (const Call& c : calls) n += c.command == command;
    return n;
  }
  std::vector<Call> calls;
};

class ControlBinding : public ::testing::Test {
 protected:
  void SetUp() override {
    ClearControlModels();
    CreateControlModels();
    SetEngineSink(&sink_);
    BindControlsToEngine();
    InstallControlActions();
  }
  void TearDown() override {
    SetActionRunner(nullptr);
    SetEngineSink(nullptr);
    ClearControlModels();
  }
  static bool Script(const char* name, std::vector<int> args) {
    return CallAction(name, args.data(), static_cast<int>(args.size()));
  }
  RecordingSink sink_;
};

ControlEvent Mouse(int kind, int x, int y) {
  ControlEvent e;
  e.kind = kind, e.button = 1, e.x = x, e.y = y;
  return e;
}

}  // namespace

TEST_F(ControlBinding, ScriptCrossfaderIsTheSameAsAMouseDragToTheCentre) {
  ASSERT_TRUE(Script("setCrossfader", {64}));
  SliderModel* crossfader = SliderModelNamed("crossfader", -1);
  ASSERT_NE(crossfader, nullptr);
  EXPECT_EQ(crossfader->Value(), 64);
  ASSERT_EQ(sink_.calls.size(), 1u);
  Call byScript = sink_.calls.back();
  EXPECT_EQ(byScript, (Call{EngineCommand::kCrossfader, -1, 64, 0}));

  // The default skin's crossfader: 244 px wide with a 14 px cursor. Its centre pixel.
  crossfader->SetGeometry(244, 22, 14, 18);
  crossfader->ShowValue(0);
  sink_.calls.clear();
  crossfader->HandleEvent(Mouse(kEventMouseDown, 122, 10));
  crossfader->HandleEvent(Mouse(kEventMouseUp, 122, 10));
  ASSERT_FALSE(sink_.calls.empty());
  EXPECT_EQ(sink_.calls.back(), byScript);
  EXPECT_NEAR(crossfader->CursorPosition(), 115, 1) << "the cursor sits in the middle of its travel";
}

TEST_F(ControlBinding, ScriptPressesAreWholeClicksAndShortCallsFail) {
  const int play = ControlIdByName("deck_play_pause");
  PressControl(play, 1, -1);
  EXPECT_EQ(sink_.calls, (std::vector<Call>{{EngineCommand::kPlayPause, 1, 0, 0}}));
  PressControl(play, 1, -1);
  EXPECT_EQ(sink_.Count(EngineCommand::kPlayPause), 2) << "one engine call per click";
  // A held press needs two calls; the cue button's release reaches the engine on the second.
  const int cue = ControlIdByName("deck_cue");
  PressControl(cue, 2, 127);
  EXPECT_EQ(sink_.Count(EngineCommand::kCueRelease), 0);
  PressControl(cue, 2, 0);
  EXPECT_EQ(sink_.Count(EngineCommand::kCueRelease), 1);
  // A deck row without its deck is refused with the script error text, and reaches nothing.
  TraceCapture trace;
  sink_.calls.clear();
  EXPECT_FALSE(Script("deckPlayPause", {}));
  EXPECT_TRUE(trace.Saw("js function 'deckPlayPause' (0 params) unknown or bad params"));
  EXPECT_TRUE(sink_.calls.empty());
  // A deck outside 0..3 becomes deck 0.
  ASSERT_TRUE(Script("deckLoop4", {9}));
  EXPECT_EQ(sink_.calls, (std::vector<Call>{{EngineCommand::kBeatLoop, 0, 0, 256}}));
}

TEST_F(ControlBinding, DirectRowsReachTheEngineAndTheWindowsPanels) {
  // 64ths loops straight to the deck's loop calls, normal and instant.
  ASSERT_TRUE(Script("deckLoopNormal64ths", {2, 32}));
  ASSERT_TRUE(Script("deckLoopInstant64ths", {3, 16}));
  EXPECT_EQ(sink_.calls, (std::vector<Call>{{EngineCommand::kBeatLoop, 2, 0, 32}, {EngineCommand::kBeatLoopBack, 3, 0, 16}}));
  // The panel rows go to the window's own step, with their value.
  std::vector<std::string> panels;
  SetPanelActionHandler([&](const char* name, int value) { panels.push_back(name + std::to_string(value)); });
  ASSERT_TRUE(Script("showPanel", {3}));
  ASSERT_TRUE(Script("showNextPanel", {0}));
  SetPanelActionHandler(nullptr);
  EXPECT_EQ(panels, (std::vector<std::string>{"showPanel3", "showNextPanel0"}));
  // Rows whose engine part is missing (no library, no sampler here) do nothing and say nothing.
  TraceCapture trace;
  EXPECT_TRUE(Script("deckLBLoad", {1}));
  EXPECT_TRUE(Script("samplerPlay", {4}));
  EXPECT_FALSE(trace.Saw("js function"));
}

TEST_F(ControlBinding, SwitchesTellTheEngineAndTheNotifierTheirNewState) {
  ButtonModel* reverse = ButtonModelNamed("deck_reverse", 3);
  ASSERT_NE(reverse, nullptr);
  ASSERT_TRUE(Script("deckReverse", {3}));
  EXPECT_TRUE(reverse->Selected());
  EXPECT_EQ(sink_.calls.back(), (Call{EngineCommand::kReverse, 3, 1, 0}));
  EXPECT_EQ(NotifierTable()[NotifierIndex("reverse", 3)].intValue, 1);
  EXPECT_EQ(GetControlValue("reverse", 3).intValue, 1);
  ASSERT_TRUE(Script("deckReverse", {3}));
  EXPECT_EQ(sink_.calls.back(), (Call{EngineCommand::kReverse, 3, 0, 0}));
  EXPECT_EQ(GetControlValue("reverse", 3).intValue, 0);
  // An effect switched on goes fully wet, and dry again when switched off.
  ASSERT_TRUE(Script("deckFxEcho", {1}));
  EXPECT_EQ(sink_.calls.back(), (Call{EngineCommand::kEffectDryWet, 1, 1000, 9}));
  EXPECT_EQ(TextModelNamed("deck_fx_echo_drywet_val", 1)->Text(), "100%");
  EXPECT_EQ(GetControlValue("fxEchoDryWet", 1).intValue, 1000);
  ASSERT_TRUE(Script("deckFxEcho", {1}));
  EXPECT_EQ(GetControlValue("fxEchoDryWet", 1).intValue, 0);
  // A kill works from both mouse buttons.
  ButtonModel* kill = ButtonModelNamed("deck_kill_low", 0);
  ControlEvent right;
  right.kind = kEventMouseDown, right.button = 3;
  kill->HandleEvent(right);
  EXPECT_TRUE(kill->Selected());
  EXPECT_EQ(sink_.calls.back(), (Call{EngineCommand::kKill, 0, 1, 1}));
}

TEST_F(ControlBinding, SliderRowsScaleTheControllerValueAndWriteTheirDisplay) {
  ASSERT_TRUE(Script("setDeckEqLow", {2, 0}));
  EXPECT_EQ(sink_.calls.back(), (Call{EngineCommand::kEqBand, 2, -120, 1}));
  EXPECT_EQ(TextModelNamed("deck_eq_low_val", 2)->Text(), "- oo");
  ASSERT_TRUE(Script("setDeckEqLow", {2, 64}));
  EXPECT_EQ(sink_.calls.back(), (Call{EngineCommand::kEqBand, 2, 0, 1}));
  EXPECT_EQ(TextModelNamed("deck_eq_low_val", 2)->Text(), "0.0 dB");
  // The pitch fader pulled down is faster: the display shows the pitch the engine gets.
  ASSERT_TRUE(Script("setDeckPitch", {0, 0}));
  EXPECT_EQ(sink_.calls.back(), (Call{EngineCommand::kPitch, 0, -800, 0}));
  EXPECT_EQ(TextModelNamed("deck_pitch_tempo", 0)->Text(), "PITCH  8.00");
}

// The options' pitch range sets the faders' span; narrowing it pulls a fader beyond the new
// span in, and the deck follows the fader rather than keeping a pitch the fader cannot show.
TEST_F(ControlBinding, PitchFadersSpanTheChosenRange) {
  const int saved = g_settings.ptchrg;
  g_settings.ptchrg = 6;  // +/-16 %
  ApplyPitchRange();
  ASSERT_TRUE(Script("setDeckPitch", {0, 0}));
  EXPECT_EQ(sink_.calls.back(), (Call{EngineCommand::kPitch, 0, -1600, 0}));
  SliderModelNamed("deck_pitch", 1)->SetValue(1500, true);
  sink_.calls.clear();
  g_settings.ptchrg = 3;  // back to +/-8 %
  ApplyPitchRange();
  EXPECT_EQ(SliderModelNamed("deck_pitch", 1)->Value(), 800);
  EXPECT_EQ(sink_.Count(EngineCommand::kPitch), 2) << "decks A and B, pulled in; C and D were at 0";
  EXPECT_EQ(sink_.calls.back(), (Call{EngineCommand::kPitch, 1, 800, 0}));
  g_settings.ptchrg = saved;
}

TEST_F(ControlBinding, ResetPitchGlidesBackThroughTheFader) {
  SliderModel* pitch = SliderModelNamed("deck_pitch", 1);
  pitch->SetValue(25, true);
  sink_.calls.clear();
  ASSERT_TRUE(Script("deckResetPitch", {1}));
  EXPECT_TRUE(sink_.calls.empty()) << "the press itself moves nothing";
  CGuiTick tick;
  std::vector<int> values;
  for (int i = 0; i < 5 * CEngineTick::kCycle; ++i) {
    tick.Run();
    if (values.empty() || values.back() != pitch->Value()) values.push_back(pitch->Value());
  }
  EXPECT_EQ(values, (std::vector<int>{25, 15, 5, 0}));
  EXPECT_EQ(sink_.calls.back(), (Call{EngineCommand::kPitch, 1, 0, 0}));
  // Once at zero the mark is gone: a new move stays where the hand put it.
  pitch->SetValue(40, true);
  for (int i = 0; i < 2 * CEngineTick::kCycle; ++i) tick.Run();
  EXPECT_EQ(pitch->Value(), 40);
}

TEST_F(ControlBinding, TheTickTellsTheNotifierOncePerChangeInThreeForms) {
  CGuiTick tick;
  const int index = NotifierIndex("play", 2);
  ASSERT_GE(index, 0);
  NotifierTable()[index].intValue = 0;
  EXPECT_TRUE(tick.Notify("play", 2, 1));
  EXPECT_FALSE(tick.Notify("play", 2, 1));
  EXPECT_FALSE(tick.Notify("play", 2, 1));
  EXPECT_EQ(tick.notifications(), 1);
  const NotifierSlot& slot = NotifierTable()[index];
  EXPECT_EQ(slot.intValue, 1);
  EXPECT_EQ(slot.floatValue, 1.0);
  EXPECT_EQ(slot.text, "1");
  EXPECT_TRUE(tick.Notify("play", 2, 0));
  EXPECT_EQ(tick.notifications(), 2);
  EXPECT_FALSE(tick.Notify("no such value", 2, 1));
}

TEST(ControlBindingTables, EveryRowNamesARealControlOfItsTypeOnce) {
  std::set<std::string> seen;
  auto check = [&](const char* name, int type) {
    int id = ControlIdByName(name);
    EXPECT_GT(id, 0) << name << " is not in the catalogue";
    if (type) EXPECT_EQ(ControlTypeOf(id), type) << name;
    EXPECT_TRUE(seen.insert(name).second) << name << " is bound twice";
  };
  for (const ButtonBinding& row : ButtonBindings()) check(row.control, kButton);
  for (const SliderBinding& row : SliderBindings()) {
    check(row.control, kSlider);
    if (row.text) EXPECT_EQ(ControlTypeOf(ControlIdByName(row.text)), kTextArea) << row.text;
  }
  for (const UnboundControl& row : UnboundControls()) check(row.control, 0);
  for (const UnboundControl& row : WindowControlNames()) check(row.control, kButton);
}

TEST(ControlBindingTables, TheReportListsEveryIdAndTheUnboundDoNotGrow) {
  std::vector<std::string> report = BindingReport();
  ASSERT_EQ(report.size(), static_cast<size_t>(kLastControlId));
  for (int id = 1; id <= kLastControlId; ++id)
    EXPECT_NE(report[id - 1].find(std::string(" ") + ControlNameOf(id) + ": "), std::string::npos) << id;
  // Lower this as engine parts land; it must never rise.
  constexpr int kUnboundNow = 79;
  EXPECT_LE(UnboundControlCount(), kUnboundNow);
}

TEST(ControlStart, FadersShowTheEnginesStateAtStart) {
  ScopedDataRoot root;
  ASSERT_TRUE(EngineInitFolders(nullptr));
  EngineCreateAudioObjects();
  ClearControlModels();
  CreateControlModels();
  BindControlsToEngine();
  ShowEngineStateInControls();
  for (int d = 0; d < kDeckCount; ++d) {
    EXPECT_EQ(SliderModelNamed("deck_volume", d)->Value(), g_engine.mixer->ChannelVolumePosition(d)) << d;
    EXPECT_EQ(SliderModelNamed("deck_volume", d)->Value(), 127) << d;
  }
  EXPECT_EQ(SliderModelNamed("crossfader", -1)->Value(), 64);
  EXPECT_EQ(g_engine.mixer->CrossfaderPosition(), 64);
  // The curve's display and label follow the engine's curve, not the slider's default.
  g_engine.mixer->SetCrossfaderCurve(80);
  g_engine.decks[2]->setKeyLock(true);
  ShowEngineStateInControls();
  EXPECT_EQ(TextModelNamed("cf_curve_val", -1)->Text(), "80");
  EXPECT_TRUE(ButtonModelNamed("deck_key_lock", 2)->Selected());
  EXPECT_FALSE(ButtonModelNamed("deck_key_lock", 1)->Selected());
  ClearControlModels();
  EngineDeleteAudioObjects();
}
