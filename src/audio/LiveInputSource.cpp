#include "audio/LiveInputSource.h"

#include <algorithm>
#include <cmath>
#include <cstring>

CLiveInputSource::CLiveInputSource(CAudioSignalSource* deck, int capacityFrames)
    : deck_(deck),
      capacity_(std::max(capacityFrames, 1024)),
      buffer_(new float[2 * static_cast<size_t>(std::max(capacityFrames, 1024))]()) {}

void CLiveInputSource::SetInput(const float* in, int frames, int channels, int first) noexcept {
  frames = std::clamp(frames, 0, capacity_);
  int second = std::min(first + 1, channels - 1);
  float* to = buffer_.get();
  for (int i = 0; i < frames; ++i) {
    const float* frame = in + static_cast<size_t>(i) * channels;
    to[2 * i] = frame[first];
    to[2 * i + 1] = frame[second];
  }
  filled_ = frames;
}

void CLiveInputSource::ClearInput(int frames) noexcept {
  filled_ = std::clamp(frames, 0, capacity_);
  std::memset(buffer_.get(), 0, sizeof(float) * 2 * static_cast<size_t>(filled_));
}

const float* CLiveInputSource::InputBlock(int* frames) const noexcept {
  if (frames) *frames = filled_;
  return buffer_.get();
}

void CLiveInputSource::AttachTimecode(CTimecodeEngine* engine, CTimecodeDeck* deck) {
  steered_.store(deck, std::memory_order_relaxed);
  engine_.store(engine, std::memory_order_release);
}

void CLiveInputSource::PrepareBlock(int phase) noexcept {
  if (deck_) deck_->PrepareBlock(phase);
}

// The record steers the deck: its speed always, its position when the needle has moved far.
void CLiveInputSource::SteerDeck(int frames) noexcept {
  CTimecodeEngine* engine = engine_.load(std::memory_order_acquire);
  CTimecodeDeck* deck = steered_.load(std::memory_order_relaxed);
  if (!engine || !deck) return;
  TimecodeReading reading = engine->Decode(buffer_.get(), std::min(frames, filled_));
  if (reading.positionSeconds >= 0 && std::fabs(reading.speed) > kMovingSpeed &&
      std::fabs(reading.positionSeconds - deck->PositionSeconds()) > kSeekDistanceSeconds) {
    deck->SeekSeconds(reading.positionSeconds);
  }
  deck->SetExternalSpeed(reading.speed);
}

void CLiveInputSource::GetSamples(float* out, int frames) noexcept {
  int have = std::min(frames, filled_);
  std::memcpy(out, buffer_.get(), sizeof(float) * 2 * static_cast<size_t>(have));
  std::memset(out + 2 * have, 0, sizeof(float) * 2 * static_cast<size_t>(frames - have));
  if (!timecodeActive_.load(std::memory_order_relaxed) || !deck_) return;
  SteerDeck(frames);
  deck_->GetSamples(out, frames);
}
