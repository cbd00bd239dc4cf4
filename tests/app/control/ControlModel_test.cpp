// The controls' input laws without a display: the controller scale, the fader and knob drags,
// the button's six looks and the lamps the engine owns.
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <vector>

#include "app/control/ButtonModel.h"
#include "app/control/DisplayFormats.h"
#include "app/control/SliderModel.h"
#include "app/control/TextScroller.h"

namespace {

ControlEvent Mouse(int kind, int button, int x, int y) {
  ControlEvent e;
  e.kind = kind, e.button = button, e.x = x, e.y = y;
  return e;
}
ControlEvent Message(int status, int value) {
  ControlEvent e;
  e.kind = kEventMessage, e.status = status, e.value = value;
  return e;
}

}  // namespace

TEST(SliderModel, ControllerScaleHitsBothEndsAndAnExactCentre) {
  SliderModel bipolar(1, -1);
  bipolar.SetRange(-100, 100);
  EXPECT_EQ(bipolar.ValueOfController(0), -100);
  EXPECT_EQ(bipolar.ValueOfController(63), 0);
  EXPECT_EQ(bipolar.ValueOfController(64), 0);
  EXPECT_EQ(bipolar.ValueOfController(127), 100);
  // Monotonic across the whole travel: no step goes backwards.
  for (int v = 1; v < 128; ++v) EXPECT_GE(bipolar.ValueOfController(v), bipolar.ValueOfController(v - 1)) << v;
  // A unipolar 0..127 slider is the identity, with no special centre.
  SliderModel volume(2, 0);
  volume.SetRange(0, 127);
  for (int v = 0; v < 128; ++v) EXPECT_EQ(volume.ValueOfController(v), v);
  // min == max: nothing divides by zero and the value stays.
  SliderModel flat(3, 0);
  flat.SetRange(5, 5);
  flat.SetGeometry(20, 100, 20, 10);
  flat.HandleEvent(Mouse(kEventMouseDown, 1, 5, 50));
  flat.HandleEvent(Message(0xB0, 100));
  EXPECT_EQ(flat.Value(), 5);
}

TEST(SliderModel, FadersFollowThePointerAndTheHandWinsOverTheEngine) {
  SliderModel fader(1, 0);
  fader.SetRange(0, 127);
  fader.SetGeometry(22, 140, 18, 14);  // vertical: travel 126 px
  std::vector<int> reported;
  fader.onPress = [&](int v, int, int) { reported.push_back(v); };
  // The top of a vertical fader is its maximum, the bottom its minimum.
  fader.HandleEvent(Mouse(kEventMouseDown, 1, 10, 0));
  EXPECT_EQ(fader.Value(), 127);
  fader.HandleEvent(Mouse(kEventMotion, 1, 10, 139));
  EXPECT_EQ(fader.Value(), 0);
  // While the hand holds it, the engine's echo does not move it.
  fader.SetValue(90, true);
  EXPECT_EQ(fader.Value(), 0);
  fader.HandleEvent(Mouse(kEventMouseUp, 1, 10, 139));
  fader.SetValue(90, true);
  EXPECT_EQ(fader.Value(), 90);
  EXPECT_EQ(reported, (std::vector<int>{127, 0, 90}));
  // Grabbing the cursor off-centre does not make it jump.
  int cursorTop = fader.CursorPosition();
  fader.HandleEvent(Mouse(kEventMouseDown, 1, 10, cursorTop + 2));
  EXPECT_EQ(fader.Value(), 90);
  fader.HandleEvent(Mouse(kEventMouseUp, 1, 10, cursorTop + 2));
  // The right button is a temporary move that springs back.
  fader.HandleEvent(Mouse(kEventMouseDown, 3, 10, 0));
  EXPECT_EQ(fader.Value(), 127);
  fader.HandleEvent(Mouse(kEventMouseUp, 3, 10, 0));
  EXPECT_EQ(fader.Value(), 90);
  // A horizontal fader's left end is its minimum.
  SliderModel crossfader(2, -1);
  crossfader.SetRange(0, 127);
  crossfader.SetGeometry(244, 22, 14, 18);
  crossfader.HandleEvent(Mouse(kEventMouseDown, 1, 0, 10));
  EXPECT_EQ(crossfader.Value(), 0);
}

TEST(SliderModel, KnobsTurnByVerticalDragAndWheelNotByPosition) {
  SliderModel knob(1, 0);
  knob.SetRange(-120, 120);
  knob.SetKnob(true);
  knob.SetGeometry(26, 26, 0, 0);
  knob.ShowValue(0);
  // Where the press lands does not matter; 45 px up is 90 degrees of 270, a third of the range.
  knob.HandleEvent(Mouse(kEventMouseDown, 1, 25, 20));
  EXPECT_EQ(knob.Value(), 0);
  knob.HandleEvent(Mouse(kEventMotion, 1, 0, 20 - 45));
  EXPECT_EQ(knob.Value(), 80);
  knob.HandleEvent(Mouse(kEventMotion, 1, 0, 20 + 400));  // far down: stops at the minimum
  EXPECT_EQ(knob.Value(), -120);
  knob.HandleEvent(Mouse(kEventMouseUp, 1, 0, 420));
  // A right click puts it back to zero; the wheel moves it a fiftieth of the range a notch.
  knob.HandleEvent(Mouse(kEventMouseDown, 3, 0, 0));
  EXPECT_EQ(knob.Value(), 0);
  ControlEvent wheel;
  wheel.kind = kEventWheel, wheel.status = 120;
  knob.HandleEvent(wheel);
  knob.HandleEvent(wheel);
  EXPECT_EQ(knob.Value(), 10);
  // Rotation below 270 reads as 270.
  knob.SetRotation(100);
  EXPECT_EQ(knob.Rotation(), 270);
}

TEST(SliderModel, AButtonOnABipolarSliderRunsMaxMinZero) {
  SliderModel pitch(1, 0);
  pitch.SetRange(-800, 800);
  std::vector<int> released;
  pitch.onRelease = [&](int v, int, int) { released.push_back(v); };
  for (int i = 0; i < 4; ++i) pitch.HandleEvent(Message(0x90, 127));
  EXPECT_EQ(released, (std::vector<int>{800, -800, 0, 800}));
}

TEST(ButtonModel, LooksSwitchesAndControllerPresses) {
  ButtonModel button(1, 0);
  int presses = 0, releases = 0;
  button.onPress = [&](int, int, int) { ++presses; };
  button.onRelease = [&](int, int, int) { ++releases; };
  EXPECT_EQ(button.CurrentLook(), ButtonModel::kUp);
  button.HandleEvent(Mouse(kEventEnter, 0, 1, 1));
  EXPECT_EQ(button.CurrentLook(), ButtonModel::kOver);
  button.HandleEvent(Mouse(kEventMouseDown, 1, 1, 1));
  EXPECT_EQ(button.CurrentLook(), ButtonModel::kDown);
  // Dragging off the button ends the press with its release.
  button.HandleEvent(Mouse(kEventLeave, 0, 50, 1));
  EXPECT_EQ(releases, 1);
  button.HandleEvent(Mouse(kEventMouseUp, 1, 50, 1));
  EXPECT_EQ(releases, 1) << "the release is not given twice";
  // A controller's 0xB0 has no release of its own: press and release at once, no state change.
  button.SetIsSwitch(true);
  button.HandleEvent(Message(0xB0, 127));
  EXPECT_EQ(presses, 2);
  EXPECT_EQ(releases, 2);
  EXPECT_FALSE(button.Selected());
  button.HandleEvent(Message(0x90, 127));
  EXPECT_EQ(button.CurrentLook(), ButtonModel::kSelectedDown);
  button.HandleEvent(Message(0x80, 0));
  EXPECT_EQ(button.CurrentLook(), ButtonModel::kSelected);
  button.SetIsSwitch(false);
  EXPECT_FALSE(button.Selected()) << "switching off the switch clears its light";
}

TEST(ButtonModel, AnEngineLampIgnoresTheClick) {
  ButtonModel play(1, 0);
  play.SetIsSwitch(true);  // as a skin may say
  play.SetEngineLamp(true);
  play.HandleEvent(Message(0x90, 127));
  play.HandleEvent(Message(0x80, 0));
  EXPECT_FALSE(play.Selected()) << "PLAY with no track stays dark";
  play.SetLamp(true);
  EXPECT_EQ(play.CurrentLook(), ButtonModel::kSelected);
}

TEST(DisplayFormats, TextsOfTheValueDisplays) {
  EXPECT_EQ(FormatPitch(800, true), "PITCH  8.00");
  EXPECT_EQ(FormatPitch(-50, true), "PITCH -0.50");
  EXPECT_EQ(FormatPitch(-1205, false), "-12.05");
  EXPECT_EQ(FormatKeyShift(-150, "Am", true), "KEY -1.50 (Am)");
  EXPECT_EQ(FormatBpm(128, true), "BPM  128.00");
  {
    // The toolkit sets the user's LC_NUMERIC; a German desktop must still read "127.50".
    const char* german = std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    EXPECT_EQ(FormatBpm(127.5, false), "127.50");
    if (german) std::setlocale(LC_NUMERIC, "C");
  }
  EXPECT_EQ(FormatBpm(0, false), "---.-");
  EXPECT_EQ(FormatTenthsDb(-35, false), "-3.5 dB");
  EXPECT_EQ(FormatTenthsDb(-120, true), "- oo");
  EXPECT_EQ(FormatHz(800), "800 Hz");
  EXPECT_EQ(FormatHz(2540), "2.5 KHz");
  EXPECT_EQ(FormatDeckTime(44100LL * 61 + 22050, false), "01:01.5");
  EXPECT_EQ(FormatDeckTime(-5, true), "-00:00.0");
}

TEST(TextScroller, RunsToTheEndRestsComesBackAndStopsAfterTwoPasses) {
  TextScroller scroller;
  scroller.Enable(true, 1, 3);
  scroller.Restart(100, 60);  // 40 px of text do not fit
  ASSERT_TRUE(scroller.Scrolling());
  int moves = 0, ticks = 0, leftmost = 0, restsAtEnd = 0;
  bool wasPausing = false;
  while (scroller.Scrolling() && ticks < 1000) {
    moves += scroller.Tick();
    ++ticks;
    leftmost = std::min(leftmost, scroller.Offset());
    EXPECT_LE(scroller.Offset(), 0);
    if (scroller.Pausing() && !wasPausing && scroller.Offset() == -40) ++restsAtEnd;
    wasPausing = scroller.Pausing();
  }
  EXPECT_FALSE(scroller.Scrolling());
  EXPECT_EQ(leftmost, -40) << "it stops on the text's last pixel, not past it";
  EXPECT_EQ(restsAtEnd, TextScroller::kPasses);
  EXPECT_EQ(moves, 4 * 40) << "two passes out and back";
  EXPECT_EQ(scroller.Offset(), 0) << "it rests showing the start";
  EXPECT_FALSE(scroller.Tick());
  // A press on the stopped text runs it again; a text that fits never moves.
  scroller.Press();
  EXPECT_TRUE(scroller.Scrolling());
  scroller.Restart(50, 60);
  EXPECT_FALSE(scroller.Scrolling());
  EXPECT_FALSE(scroller.Tick());
}
