// Scratch, brake and reverse. A scratch is not a separate player: it keeps choosing a target
// speed that pulls the position towards where the hand put the record, and the render's speed
// ramp turns that into motion. Commands come from the main thread (mouse, controllers); the
// deck service thread repeats the chase every 25 ms so the sound comes to rest under a hand
// that stopped moving.

#include <algorithm>
#include <cmath>

#include "deck/SoundSource.h"

namespace {
constexpr int kMousePixelFrames = 31;
constexpr double kMouseChase = 0.00044444444444444447;  // closes the gap in 2250 frames
constexpr double kJogChase = 0.0005291005291005291;     // 1890 frames
constexpr float kJogFrames = 41.0f;
constexpr int kRelativeEncoder = -100;
constexpr int kFlingSpeed = 15, kThrowSpeed = 20;
}  // namespace

void CSoundSource::ChaseTarget(double target, double factor) {
  double last = std::max(0, lengthFrames.load(std::memory_order_relaxed) - 1);
  target = std::clamp(target, 0.0, last);
  setTargetSpeed((target - position.load(std::memory_order_relaxed)) * factor);
}

int CSoundSource::scratchStart(int mouse, int relative) {
  if (jogScratching.load() || loadPending.load() || seekPending.load()) return 0;
  relativeMode.store(relative);
  relativeSum.store(0);
  mouseStart.store(mouse);
  mouseLast.store(mouse);
  scratchAnchor.store(static_cast<int>(std::lround(position.load() - 0.5)));
  speedGlide.store(0);
  scratchWasPlaying.store(playing.load());
  mouseVelocity.store(0);
  if (!playing.load()) restartSpeed.store(1, std::memory_order_release);
  setTargetSpeed(0.0);
  scratching.store(1);
  playing.store(1, std::memory_order_release);
  return 1;
}

void CSoundSource::scratchMove(int mouse) {
  if (!scratching.load() || jogScratching.load()) return;
  double target;
  if (relativeMode.load()) {
    target = relativeSum.fetch_add(mouse) + mouse + scratchAnchor.load();
    mouseVelocity.store(0);
  } else {
    target = scratchAnchor.load() + static_cast<double>(mouseStart.load() - mouse) * kMousePixelFrames;
    mouseVelocity.store(mouseLast.load() - mouse);
    mouseLast.store(mouse);
  }
  ChaseTarget(target, kMouseChase);
}

void CSoundSource::scratchEnd() {
  if (!scratching.load() || jogScratching.load()) return;
  double target = std::fabs(targetSpeed.load());
  int velocity = std::abs(mouseVelocity.load());
  bool wasPlaying = scratchWasPlaying.load() != 0;
  bool locked = keyLockOn.load() != 0;
  // Flung forward or pushed: come back to speed slowly, as a record would.
  if (target > 1.5 && wasPlaying && velocity >= kFlingSpeed && !locked) speedGlide.store(1);
  if (target > 0.25 && !wasPlaying && velocity > kThrowSpeed) {  // a throw starts a stopped deck
    if (!locked) speedGlide.store(1);
    scratchWasPlaying.store(1);
  }
  setTargetSpeed(baseSpeed.load());
  scratching.store(0);
  playing.store(scratchWasPlaying.load(), std::memory_order_release);
}

void CSoundSource::EndJogScratch() {
  setTargetSpeed(baseSpeed.load());
  playing.store(scratchWasPlaying.load(), std::memory_order_release);
  scratching.store(0);
  jogScratching.store(0);
  jogSum.store(0.0f);
  jogIdleTicks.store(0);
}

void CSoundSource::scratchTick(int idleLimit) {
  if (!scratching.load()) return;
  if (jogScratching.load()) {
    ChaseTarget(jogSum.load() * kJogFrames + scratchAnchor.load(), kJogChase);
    if (jogIdleTicks.fetch_add(1) + 1 > idleLimit) EndJogScratch();
    return;
  }
  double target = relativeMode.load()
                      ? static_cast<double>(relativeSum.load()) + scratchAnchor.load()
                      : scratchAnchor.load() + static_cast<double>(mouseStart.load() - mouseLast.load()) * kMousePixelFrames;
  ChaseTarget(target, kMouseChase);
}

namespace {

// How far and which way one wheel event turns: magnitude in jog units, backward flag.
struct JogTurn {
  float magnitude = 0.0f;
  int backward = -1;  // -1: keep the last direction
};

JogTurn ReadJog(int value, int previous, int type, int ticksPerTurn) {
  JogTurn turn;
  if (previous == kRelativeEncoder) {
    turn.backward = value < 0;
    if (type == 32768) {
      turn.magnitude = std::abs(value) * 4.0f;
    } else if (ticksPerTurn >= 4) {
      turn.magnitude = std::max(1.0f, std::abs(value) * 22.0f * 88.0f / ticksPerTurn);
    }
    return turn;
  }
  int centred = value - 64;
  switch (type) {
    case 2: turn.magnitude = std::abs(centred) * 10.0f; turn.backward = centred < 0; return turn;
    case 32768: turn.magnitude = std::abs(centred) * 3.0f; turn.backward = centred < 0; return turn;
    case 65536:
    case 1048576: turn.magnitude = std::abs(centred) * 6.0f; turn.backward = centred < 0; return turn;
    default: break;
  }
  // An absolute 7-bit position: a jump of more than 96 is the counter wrapping round.
  int d = value - previous;
  if (d > 96) d -= 128;
  if (d < -96) d += 128;
  if (d > 0) turn.backward = 0;
  if (d < 0) turn.backward = 1;
  if (d == 0 && (value == 64 || value == 65)) {
    turn.backward = value == 64;
    turn.magnitude = 10.0f;
  } else if (std::abs(d) >= 1 && std::abs(d) <= 69) {
    turn.magnitude = std::abs(d) * 6.0f;
  }
  return turn;
}

}  // namespace

int CSoundSource::jogMove(int value, int previous, int type, int forceScratch, int ticksPerTurn) {
  if (loadPending.load() || seekPending.load()) return 0;
  JogTurn turn = ReadJog(value, previous, type, ticksPerTurn);
  if (turn.backward >= 0) jogLastDirection.store(turn.backward);
  bool backward = jogLastDirection.load() == 1;

  if (jogScratching.load()) {
    float step = turn.magnitude > 0.0f ? turn.magnitude : 10.0f;
    jogStep.store(step);
    jogSum.store(jogSum.load() + (backward ? -step : step));
    ChaseTarget(jogSum.load() * kJogFrames + scratchAnchor.load(), kJogChase);
    // Relative encoders report less often, so they get less idle time before the scratch ends.
    jogIdleTicks.store(previous == kRelativeEncoder ? 5 : 3);
    return 1;
  }
  if (playing.load() && !scratchArmed.load() && !forceScratch) {
    JogBend(backward ? -1 : 1);
    return 1;
  }
  jogScratching.store(1);
  jogIdleTicks.store(0);
  scratchAnchor.store(static_cast<int>(std::floor(position.load())));
  scratchWasPlaying.store(playing.load());
  if (!playing.load()) restartSpeed.store(1, std::memory_order_release);
  playing.store(1, std::memory_order_release);
  scratching.store(1);
  setTargetSpeed(0.0);
  jogLastDirection.store(-1);
  jogIdleTicks.store(3);
  return 1;
}

void CSoundSource::toggleScratchArmed() {
  if (playing.load() && !scratching.load()) scratchArmed.store(!scratchArmed.load());
}

void CSoundSource::ResetDeckControls() {
  endLoop(1);
  lastLength.store(-1);
  loopSong.store(0);
  scratching.store(0);
  jogScratching.store(0);
  restartSpeed.store(0);
  speedGlide.store(0);
  brake.store(0);
  searchStop();
  speed.store(1.0);
  targetSpeed.store(1.0);
  baseSpeed.store(1.0);
  wantedRatio.store(1.0);
  direction.store(1);
  pitch.store(0);
  setKeyShift(0);
}

void CSoundSource::setBrake(int on) {
  brake.store(on ? 1 : 0, std::memory_order_relaxed);
  if (!on) {
    setTargetSpeed(baseSpeed.load());
    speedGlide.store(0);
  }
}
