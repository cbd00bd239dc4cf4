#include "audio/Mixer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "audio/FaderLaw.h"
#include "audio/MixerChannel.h"

namespace {

constexpr float kTalkOverGain = 0.25118864f;  // 10^-0.6, about -12 dB
constexpr float kMeterFloor = 1e-25f;

void Clear(float* stereo, int frames) {
  std::memset(stereo, 0, sizeof(float) * 2 * static_cast<size_t>(frames));
}

// The setter computes the factor from where the ramp stood at the end of the last block; when it
// ran in the middle of a block the ramp has moved on and may already be past the new target.
// Turn such a factor round (and give a factor that rounded to 1 a nominal slope) so the gain
// always glides towards the target instead of landing on it in one frame.
double RampFactorTowards(double current, double target, double factor) {
  constexpr double kNominal = 1.0069555500567189;  // 2^(1/100): silence to unity in 100 frames
  if (current == target) return 1.0;
  if (factor == 1.0) factor = kNominal;
  bool up = target > current;
  if ((factor > 1.0) != up) factor = 1.0 / factor;
  return factor;
}

}  // namespace

CZQMixer::CZQMixer(int capacityFrames)
    : capacity_(std::max(capacityFrames, 32)),
      micBuffer_(new float[2 * static_cast<size_t>(std::max(capacityFrames, 32))]()),
      crossfaderBase_(CrossfaderBase(crossfaderCurve_, crossfaderSteps_)) {}

int CZQMixer::AddSource(CAudioSignalSource* source) {
  if (count_ >= kMaxSources) return -1;
  Slot& slot = slots_[count_];
  slot.buffer.reset(new (std::nothrow) float[2 * static_cast<size_t>(capacity_)]());
  if (!slot.buffer) return -1;
  slot.source = source;
  return count_++;
}

void CZQMixer::SetMicChannel(CZQMixerChannel* channel) { micChannel_ = channel; }
void CZQMixer::SetMasterChannel(CZQMixerChannel* channel) { masterChannel_ = channel; }

CAudioSignalSource* CZQMixer::Source(int slot) const {
  return slot >= 0 && slot < count_ ? slots_[slot].source : nullptr;
}

int CZQMixer::CrossfaderSide(int slot) const {
  return slot >= 0 && slot < kMaxSources ? slots_[slot].side.load(std::memory_order_relaxed) : -1;
}

void CZQMixer::RefreshSourceGain(int index) {
  Slot& slot = slots_[index];
  float target = slot.volume.load(std::memory_order_relaxed) * slot.trim.load(std::memory_order_relaxed) *
                     slot.crossfader.load(std::memory_order_relaxed) + 1.0f;
  if (target == slot.ramp.load(std::memory_order_relaxed).target) return;
  // The ramp restarts from where the device thread last left it.
  double current = slot.rampCurrentShared.load(std::memory_order_relaxed);
  double factor = std::pow(target / current, 1.0 / kRampFrames);
  slot.ramp.store(RampStep{target, static_cast<float>(factor - 1.0)}, std::memory_order_relaxed);
}

void CZQMixer::SetRampedGain(int slot, std::atomic<float> Slot::*field, float gain) {
  if (slot < 0 || slot >= kMaxSources) return;
  (slots_[slot].*field).store(gain, std::memory_order_relaxed);
  RefreshSourceGain(slot);
}

void CZQMixer::SetChannelVolumeGain(int slot, float gain) { SetRampedGain(slot, &Slot::volume, gain); }
void CZQMixer::SetChannelTrimGain(int slot, float gain) { SetRampedGain(slot, &Slot::trim, gain); }
void CZQMixer::SetCrossfaderGain(int slot, float gain) { SetRampedGain(slot, &Slot::crossfader, gain); }

void CZQMixer::SetChannelMonitorLevel(int slot, float gain) {
  if (slot >= 0 && slot < kMaxSources) slots_[slot].monitorLevel.store(gain, std::memory_order_relaxed);
}

void CZQMixer::SetSourceFlatMonitor(int slot, int flat) {
  if (slot >= 0 && slot < kMaxSources) slots_[slot].flatMonitor.store(flat, std::memory_order_relaxed);
}

void CZQMixer::SetCrossfaderSide(int left, int slot) {
  if (slot < 0 || slot >= kMaxSources) return;
  int side = left ? 0 : 1;
  slots_[slot].side.store(side, std::memory_order_relaxed);
  // Until the crossfader has been set every side plays at full level, so wiring the sides at
  // start-up silences nothing; after that a new side takes its gain at once.
  if (crossfaderApplied_) {
    SetCrossfaderGain(slot, CrossfaderSideGain(crossfaderPosition_, crossfaderSteps_, crossfaderCurve_,
                                               crossfaderBase_, side));
  }
}

void CZQMixer::SetCueGains(float cueGain, float masterInCueGain) {
  cueGain_.store(cueGain, std::memory_order_relaxed);
  masterInCueGain_.store(masterInCueGain, std::memory_order_relaxed);
}

MeanSquares CZQMixer::ReadSourceLevel(int slot) {
  if (slot < 0 || slot >= count_) return {};
  return slots_[slot].meter.ReadAndReset();
}

// Adds and subtracts 1e-18, which flushes denormals to zero in place (only the main thread has
// the hardware flush), and adds each square plus a floor to the meter.
void CZQMixer::GuardAndMeter(float* s, int frames, LevelMeter& meter) noexcept {
  double sumLeft = 0, sumRight = 0;
  for (int i = 0; i < frames; ++i) {
    float left = s[2 * i] + 1e-18f;
    float right = s[2 * i + 1] + 1e-18f;
    left -= 1e-18f;
    right -= 1e-18f;
    s[2 * i] = left;
    s[2 * i + 1] = right;
    sumLeft += left * left + kMeterFloor;
    sumRight += right * right + kMeterFloor;
  }
  meter.Accumulate(sumLeft, sumRight, frames);
}

void CZQMixer::PrepareSources() noexcept {
  for (int phase = 0; phase < 3; ++phase) {
    for (int i = 0; i < count_; ++i) slots_[i].source->PrepareBlock(phase);
  }
}

void CZQMixer::PullSlot(Slot& slot, int frames) noexcept {
  slot.source->GetSamples(slot.buffer.get(), frames);
  GuardAndMeter(slot.buffer.get(), frames, slot.meter);
}

void CZQMixer::AddRamped(Slot& slot, float* bus, int frames) noexcept {
  const float* in = slot.buffer.get();
  const RampStep step = slot.ramp.load(std::memory_order_relaxed);
  const double target = step.target;
  double current = slot.rampCurrent;
  const double factor = RampFactorTowards(current, target, 1.0 + double(step.factorMinusOne));
  for (int i = 0; i < frames; ++i) {
    if (current != target) {
      current *= factor;
      if ((factor > 1.0 && current > target) || (factor < 1.0 && current < target)) {
        current = target;
      }
    }
    float gain = static_cast<float>(current - 1.0);
    bus[2 * i] += in[2 * i] * gain;
    bus[2 * i + 1] += in[2 * i + 1] * gain;
  }
  slot.rampCurrent = current;
  slot.rampCurrentShared.store(current, std::memory_order_relaxed);
}

void CZQMixer::AddScaled(const float* from, float* bus, int frames, float gain) noexcept {
  for (int i = 0; i < 2 * frames; ++i) bus[i] += from[i] * gain;
}

void CZQMixer::PullMic(int frames) noexcept {
  if (micChannel_ && micOn_.load(std::memory_order_relaxed)) {
    micChannel_->GetSamples(micBuffer_.get(), frames);
  } else {
    Clear(micBuffer_.get(), frames);
  }
}

void CZQMixer::MixSources(float* master, float* monitor, int frames) noexcept {
  frames = std::min(frames, capacity_);
  Clear(master, frames);
  if (monitor) Clear(monitor, frames);
  PrepareSources();
  for (int i = 0; i < count_; ++i) {
    PullSlot(slots_[i], frames);
    AddRamped(slots_[i], master, frames);
  }

  PullMic(frames);
  if (talkOver_.load(std::memory_order_relaxed)) {
    for (int i = 0; i < 2 * frames; ++i) master[i] *= kTalkOverGain;
  }
  bool micOn = micChannel_ && micOn_.load(std::memory_order_relaxed);
  float micGain = micGain_.load(std::memory_order_relaxed);
  if (micOn) {
    AddScaled(micBuffer_.get(), master, frames, micGain);
    GuardAndMeter(micBuffer_.get(), frames, micMeter_);
  }
  if (masterChannel_) masterChannel_->GetSamples(master, frames);

  float masterGain = masterGain_.load(std::memory_order_relaxed);
  for (int i = 0; i < 2 * frames; ++i) master[i] *= masterGain;
  GuardAndMeter(master, frames, masterMeter_);

  if (monitor) BuildMonitor(monitor, master, frames);
}

void CZQMixer::MixSourcesExternal(float** deckBuses, float* aux, float* monitor, int frames) noexcept {
  frames = std::min(frames, capacity_);
  for (int d = 0; d < 4; ++d) Clear(deckBuses[d], frames);
  Clear(aux, frames);
  if (monitor) Clear(monitor, frames);
  PrepareSources();
  bool smooth = smoothGain_.load(std::memory_order_relaxed);
  for (int i = 0; i < count_; ++i) {
    Slot& slot = slots_[i];
    PullSlot(slot, frames);
    if (i < 4) {
      if (smooth) {
        AddRamped(slot, deckBuses[i], frames);
      } else {
        AddScaled(slot.buffer.get(), deckBuses[i], frames, slot.trim.load(std::memory_order_relaxed));
      }
    } else if (i >= 5) {
      AddRamped(slot, aux, frames);
    }
  }
  PullMic(frames);
  if (micChannel_ && micOn_.load(std::memory_order_relaxed)) {
    AddScaled(micBuffer_.get(), aux, frames, micGain_.load(std::memory_order_relaxed));
  }
  GuardAndMeter(aux, frames, masterMeter_);  // aux takes the master's meter
  if (monitor) BuildMonitor(monitor, nullptr, frames);
}

void CZQMixer::BuildMonitor(float* monitor, const float* master, int frames) noexcept {
  bool split = splitCue_.load(std::memory_order_relaxed);
  float cueGain = cueGain_.load(std::memory_order_relaxed);
  for (int s = 0; s < count_; ++s) {
    Slot& slot = slots_[s];
    const float* in = slot.buffer.get();
    float trim = slot.trim.load(std::memory_order_relaxed);
    int side = slot.side.load(std::memory_order_relaxed);
    if (!split || side == -1) {
      float level = slot.monitorLevel.load(std::memory_order_relaxed);
      if (level == 0.0f) continue;
      float m = slot.flatMonitor.load(std::memory_order_relaxed) ? 1.0f : cueGain;
      AddScaled(in, monitor, frames, level * trim * m);
    } else {
      // Split cue: each side's sources in mono on one ear.
      for (int i = 0; i < frames; ++i) monitor[2 * i + side] += (in[2 * i] + in[2 * i + 1]) * 0.5f * trim;
    }
  }
  float masterInCue = masterInCueGain_.load(std::memory_order_relaxed);
  if (master && !split && masterInCue > 0.0f) AddScaled(master, monitor, frames, masterInCue);
  if (micChannel_ && micOn_.load(std::memory_order_relaxed)) {
    AddScaled(micBuffer_.get(), monitor, frames, micGain_.load(std::memory_order_relaxed));
  }
  float monitorGain = monitorGain_.load(std::memory_order_relaxed);
  for (int i = 0; i < 2 * frames; ++i) monitor[i] *= monitorGain;
  GuardAndMeter(monitor, frames, monitorMeter_);
}
