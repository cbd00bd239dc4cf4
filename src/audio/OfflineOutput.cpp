#include "audio/OfflineOutput.h"

#include <algorithm>

#include "app/base/Realtime.h"
#include "audio/AudioSignalSource.h"
#include "audio/MixCallback.h"
#include "audio/Threads.h"

COfflineOutput::COfflineOutput(int blockFrames, int channels)
    : blockFrames_(std::clamp(blockFrames, 1, kMaxBlockFrames)), channels_(std::max(channels, 1)) {}

int COfflineOutput::PullBlock(float* out) {
  StepManualThreads(blockFrames_ * 1000.0 / kEngineRate);
  int written;
  {
    rt::AudioThreadScope audioThread;
    written = MixAudioBlock(out, blockFrames_, channels_);
  }
  framesPulled_ += static_cast<uint64_t>(blockFrames_);
  return written;
}
