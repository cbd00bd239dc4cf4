// Brake, reverse and scratch, driven as the controls drive them, with the service thread's
// 25 ms chase stepped by hand between blocks.

#include <cmath>

#include "DeckFixture.h"

namespace {

constexpr int kServiceFrames = 1102;  // 25 ms

class ScratchTest : public DeckTest {
 protected:
  void SetUp() override {
    in = MakeTestSignal(20 * kSecond, 5);
    LoadTrack(in, true);
    Render(100, 100);
    deck->position = 6.0 * kSecond;
  }
  // Renders `frames` with the scratch chase repeated every 25 ms, as the service thread does.
  void RenderWithService(int frames) {
    for (int done = 0; done < frames; done += kServiceFrames) {
      deck->scratchTick(7);
      Render(std::min(kServiceFrames, frames - done), 551);
    }
  }
  std::vector<int16_t> in;
};

TEST_F(ScratchTest, TheBrakeFallsLinearlyToStandstillIn62500Frames) {
  Render(441, 441);
  deck->setBrake(1);
  Render(62000, 500);
  EXPECT_GT(deck->speed.load(), 0.0) << "not yet";
  EXPECT_LT(deck->speed.load(), 0.01);
  Render(1000, 500);
  EXPECT_EQ(deck->speed.load(), 0.0);
  EXPECT_TRUE(deck->IsPlaying()) << "the brake is not the stop button";
  std::vector<float> out = Render(500, 500);
  EXPECT_EQ(out[998], 0.0f) << "at standstill the gain is zero";

  deck->setBrake(0);
  Render(2000, 500);
  EXPECT_NEAR(deck->speed.load(), 1.0, 1e-9) << "back to speed in 2000 frames";
}

TEST_F(ScratchTest, ReversePlaysTheExactSamplesBackwards) {
  deck->setDirection(-1);
  Render(4000, 500);
  ASSERT_DOUBLE_EQ(deck->speed.load(), -1.0) << "through zero within about 4000 frames";
  deck->position = 5.0 * kSecond;  // a whole frame again after the ramp
  std::vector<float> out = Render(kSecond, 441);
  for (int k = 0; k < kSecond; ++k) {
    // At speed -1 frame k of the output sits at position P - k - 1 and sounds one frame behind.
    size_t frame = static_cast<size_t>(5 * kSecond - k - 2);
    ASSERT_EQ(out[2 * static_cast<size_t>(k)], in[2 * frame] * kOutputScale) << k;
  }
  EXPECT_DOUBLE_EQ(deck->Position(), 4.0 * kSecond);
}

TEST_F(ScratchTest, AScratchThatReturnsToItsStartLeavesThePositionThere) {
  deck->setPlaying(0);
  Render(441, 441);
  double start = deck->Position();
  ASSERT_EQ(deck->scratchStart(400, 0), 1);
  deck->scratchMove(380);  // 20 pixels back: 620 frames forward
  RenderWithService(kSecond / 2);
  EXPECT_GT(deck->Position(), start + 300) << "the record moved under the hand";
  deck->scratchMove(400);
  RenderWithService(2 * kSecond);
  EXPECT_NEAR(deck->Position(), start, 1.0);
  deck->scratchEnd();
  Render(2000, 500);
  EXPECT_FALSE(deck->IsPlaying()) << "a stopped deck stays stopped";
  EXPECT_NEAR(deck->Position(), start, 1.0);
  EXPECT_EQ(deck->movedWhileStopped.load(), 1);
}

TEST_F(ScratchTest, AFastReleaseGlidesAndAThrowStartsAStoppedDeck) {
  deck->scratchStart(400, 0);
  deck->scratchMove(280);
  deck->scratchMove(265);  // 15 pixels in one move, far ahead of the record
  ASSERT_GT(std::fabs(deck->targetSpeed.load()), 1.5);
  deck->scratchEnd();
  EXPECT_EQ(deck->speedGlide.load(), 1) << "flung: back to speed over 1.7 s";

  deck->setPlaying(0);
  Render(2000, 500);
  deck->scratchStart(400, 0);
  deck->scratchMove(379);  // a 21-pixel flick
  deck->scratchEnd();
  EXPECT_TRUE(deck->IsPlaying()) << "thrown";
}

TEST_F(ScratchTest, AJogScratchEndsWhenTheWheelRestsAndAJogOnAPlayingDeckBends) {
  deck->jogMove(70, 64, 2, 0, 0);  // a playing deck: the wheel bends
  deck->BendTick();
  EXPECT_EQ(deck->getPitch(), 200);
  for (int tick = 0; tick < 4; ++tick) deck->BendTick();
  EXPECT_EQ(deck->getPitch(), 0) << "the bend ends once the wheel stops";

  deck->jogMove(70, 64, 2, 1, 0);  // forced: a scratch
  EXPECT_EQ(deck->jogScratching.load(), 1);
  for (int tick = 0; tick < 5; ++tick) deck->scratchTick(7);
  EXPECT_EQ(deck->jogScratching.load(), 0) << "idle for the limit: the scratch ends";
  EXPECT_TRUE(deck->IsPlaying());
}

TEST_F(ScratchTest, WheelsAndHandsStopAtTheTrackAndAWrappedCounterTurnsBack) {
  deck->jogMove(10, 0, 0, 1, 0);  // forced: a jog scratch on a playing deck
  ASSERT_EQ(deck->jogScratching.load(), 1);
  float sum = deck->jogSum.load();
  deck->jogMove(97 + 10, 10, 0, 1, 0);  // +97 on a 7-bit counter is 31 steps back
  EXPECT_LT(deck->jogSum.load(), sum);
  EXPECT_EQ(deck->jogLastDirection.load(), 1);
  for (int tick = 0; tick < 8; ++tick) deck->scratchTick(7);

  deck->position = 20.0 * kSecond - 100;
  deck->scratchStart(400, 0);
  deck->scratchMove(0);  // far past the end of the track
  EXPECT_NEAR(deck->targetSpeed.load(), 99 * 0.00044444444444444447, 1e-9) << "chases the last frame";
  deck->scratchEnd();

  deck->externalSpeed = 1;  // a timecode drives the deck: the brake leaves its speed alone
  deck->setTargetSpeed(1.0);
  deck->setBrake(1);
  Render(4410, 441);
  EXPECT_EQ(deck->targetSpeed.load(), 1.0);
}

}  // namespace
