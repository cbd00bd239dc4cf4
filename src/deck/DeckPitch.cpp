// Pitch, direction, key shift and the pitch bend, main thread. Pitch is a rate: the position
// advances by the speed per output frame and the music's pitch goes with it unless key lock
// undoes that.

#include <algorithm>
#include <cmath>

#include "deck/SoundSource.h"
#include "deck/StretchFeeder.h"

namespace {
constexpr double kCentsToOctaves = 0.0008333333333333334;  // 1 / 1200
constexpr int kKeysPerMode = 12;
constexpr int kBendRange = 10000;
constexpr double kBendStart = 20.0;     // 0.2 % at the first tick
constexpr double kBendGrowth = 1.02;    // then 2 % of itself per tick
constexpr double kBendEarlyStep = 25.0; // plus a quarter percent per tick while small
constexpr int kJogBend = 200;           // a jog bend is a fixed 2 %
constexpr int kJogBendTicks = 4;
}  // namespace

void CSoundSource::RecomputeSpeed() {
  double base = (pitch.load(std::memory_order_relaxed) * 0.0001 + 1.0) * direction.load(std::memory_order_relaxed);
  baseSpeed.store(base, std::memory_order_relaxed);
  if (scratching.load(std::memory_order_relaxed)) return;  // the scratch gives the speed back at its end
  setTargetSpeed(base);
  wantedRatio.store(base, std::memory_order_relaxed);
  speedGlide.store(0, std::memory_order_relaxed);
  if (stretch_) stretch_->Wake();
}

void CSoundSource::setKeyLock(bool on) {
  keyLockOn.store(on, std::memory_order_relaxed);
  if (stretch_) stretch_->Wake();
}

void CSoundSource::setHq(bool on) {
  hqEnabled.store(on, std::memory_order_relaxed);
  if (stretch_) stretch_->Wake();
}

void CSoundSource::setPitch(int hundredths) {
  pitch.store(std::clamp(hundredths, -kBendRange + 1, 3 * kBendRange), std::memory_order_relaxed);
  RecomputeSpeed();
}

void CSoundSource::setDirection(int dir) {
  direction.store(dir < 0 ? -1 : 1, std::memory_order_relaxed);
  RecomputeSpeed();
}

int CSoundSource::getPitch() const {
  if (!externalSpeed.load(std::memory_order_relaxed)) return pitch.load(std::memory_order_relaxed);
  double target = targetSpeed.load(std::memory_order_relaxed);
  double sign = target < 0 ? -1.0 : 1.0;
  return static_cast<int>(std::lround((target - sign) * sign * 10000.0));
}

void CSoundSource::setKeyShift(int cents) {
  keyShift.store(cents, std::memory_order_relaxed);
  wantedScale.store(std::pow(2.0, cents * kCentsToOctaves), std::memory_order_relaxed);
  if (stretch_) stretch_->Wake();
}

int CSoundSource::resultingKey(int songKey) const {
  if (songKey < 1 || songKey > 2 * kKeysPerMode) return 0;
  int offset = static_cast<int>(std::lround(keyShift.load(std::memory_order_relaxed) * 0.01));
  int n = (offset + (songKey - 1) % kKeysPerMode) % kKeysPerMode;
  if (n < 0) n += kKeysPerMode;
  // Major and minor keep their own half of the table.
  return n + ((songKey - 1) / kKeysPerMode) * kKeysPerMode + 1;
}

void CSoundSource::bendStart(int dir) {
  if (!bendDown_ && !bendUp_) {
    bendReturn_ = pitch.load(std::memory_order_relaxed);
    bendLimit_ = dir < 0 ? bendReturn_ + kBendRange : kBendRange - bendReturn_;
    bendAmount_ = dir < 0 ? -kBendStart : kBendStart;
  }
  (dir < 0 ? bendDown_ : bendUp_) = 1;
}

void CSoundSource::bendStop(int) {
  if (!bendDown_ && !bendUp_) return;
  bendDown_ = bendUp_ = bendFixed_ = 0;
  setPitch(bendReturn_);
}

void CSoundSource::JogBend(int dir) {
  // Forward cancels a running down-bend at the next tick, and the other way round.
  int& same = dir < 0 ? bendDownTicks_ : bendUpTicks_;
  int& other = dir < 0 ? bendUpTicks_ : bendDownTicks_;
  if (other > 0) other = 1;
  same = kJogBendTicks;
  bendFixed_ = 1;
}

void CSoundSource::BendTick() {
  // A jog bend ends by itself once the wheel stops turning.
  if (bendFixed_) {
    for (int dir : {-1, 1}) {
      int& ticks = dir < 0 ? bendDownTicks_ : bendUpTicks_;
      int& flag = dir < 0 ? bendDown_ : bendUp_;
      if (ticks > 0 && !flag) bendStart(dir);
      if (ticks > 0 && --ticks == 0 && flag) {
        bendStop(dir);
        return;
      }
    }
  }
  if (!bendDown_ && !bendUp_) return;
  int dir = bendDown_ ? -1 : 1;
  if (bendFixed_) {
    setPitch(bendReturn_ + dir * kJogBend);
    return;
  }
  bendAmount_ *= kBendGrowth;
  if (std::fabs(bendAmount_) <= bendLimit_ / 3.0) bendAmount_ += dir * kBendEarlyStep;
  bendAmount_ = std::clamp(bendAmount_, -static_cast<double>(bendLimit_), static_cast<double>(bendLimit_));
  int target = bendReturn_ + static_cast<int>(std::lround(bendAmount_));
  pitch.store(target, std::memory_order_relaxed);
  RecomputeSpeed();
}
