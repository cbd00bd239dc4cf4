// The BPM dialog as a DJ uses it: taps become a tempo that forgives a sloppy finger, a pause
// starts over, and each mode asks the walk for the right range and shows the right text.

#include <gtest/gtest.h>

#include <string>

#include "analysis/TapTempo.h"

namespace {

TEST(TapTempo, SteadyTapsGiveTheirTempoAndASloppyTapMovesItLittle) {
  ZQTapTempo tap;
  EXPECT_EQ(tap.bpm(), 0.0) << "no tempo before two taps";
  for (int i = 0; i < 8; ++i) tap.Tap(10.0 + 0.5 * i);
  EXPECT_NEAR(tap.bpm(), 120.0, 1e-9);

  // 128 BPM with one tap 40 ms late in the middle: the fit stays within half a BPM, where the
  // last interval alone would say 118.
  ZQTapTempo sloppy;
  const double period = 60.0 / 128.0;
  for (int i = 0; i < 12; ++i) sloppy.Tap(i * period + (i == 6 ? 0.04 : 0.0));
  EXPECT_NEAR(sloppy.bpm(), 128.0, 0.5);

  // Only the last taps count: a DJ who speeds up is followed.
  ZQTapTempo change;
  for (int i = 0; i < 20; ++i) change.Tap(i * 0.6);
  for (int i = 1; i <= ZQTapTempo::kMaxTaps; ++i) change.Tap(19 * 0.6 + i * 0.5);
  EXPECT_NEAR(change.bpm(), 120.0, 1e-6);
}

TEST(TapTempo, APauseOrAClockGoingBackStartsANewCount) {
  ZQTapTempo tap;
  tap.Tap(0.0), tap.Tap(1.0), tap.Tap(2.0);  // 60 BPM
  tap.Tap(2.0 + ZQTapTempo::kRestartSeconds + 0.5);
  EXPECT_EQ(tap.taps(), 1);
  EXPECT_EQ(tap.bpm(), 0.0);
  tap.Tap(5.0);
  EXPECT_NEAR(tap.bpm(), 120.0, 1e-9);
  tap.Tap(1.0);
  EXPECT_EQ(tap.taps(), 1);
}

TEST(BpmDialog, ModesGiveTheWalkItsRangeAndTheFieldItsText) {
  EXPECT_EQ(BpmDialogHint(BpmDialogMode::kManual, 127.6), 128);
  EXPECT_EQ(BpmDialogHint(BpmDialogMode::kManual, 0.0), 0) << "nothing typed: the default search";
  EXPECT_EQ(BpmDialogHint(BpmDialogMode::kAuto75to150, 127.6), 0) << "a typed tempo is ignored in automatic modes";

  // Each automatic mode folds a detected tempo to where the mode says it lies.
  EXPECT_DOUBLE_EQ(FoldIntoTempoRange(174.0, BpmDialogRange(BpmDialogMode::kBelow100, TempoRange::kAuto)), 87.0);
  EXPECT_DOUBLE_EQ(FoldIntoTempoRange(70.0, BpmDialogRange(BpmDialogMode::kAbove100, TempoRange::kAuto)), 140.0);
  EXPECT_DOUBLE_EQ(FoldIntoTempoRange(256.0, BpmDialogRange(BpmDialogMode::kAuto75to150, TempoRange::kAuto)), 128.0);
  EXPECT_EQ(BpmDialogRange(BpmDialogMode::kManual, TempoRange::k90to180), TempoRange::k90to180);

  char text[16];
  BpmDialogFieldText(BpmDialogMode::kBelow100, 87.0, text, sizeof text);
  EXPECT_EQ(std::string(text), " <100 BPM");
  BpmDialogFieldText(BpmDialogMode::kAbove100, 0.0, text, sizeof text);
  EXPECT_EQ(std::string(text), " >100 BPM");
  BpmDialogFieldText(BpmDialogMode::kManual, 120.0, text, sizeof text);
  EXPECT_EQ(std::string(text), "120.00");
  BpmDialogFieldText(BpmDialogMode::kManual, 0.0, text, sizeof text);
  EXPECT_EQ(std::string(text), "000.0");
}

}  // namespace
