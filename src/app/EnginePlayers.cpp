// The preview, the samplers and the recorder: created with the mixer, wired into their slots,
// and looked after by the main tick.

#include "app/Engine.h"
#include "app/base/Trace.h"
#include "audio/FaderLaw.h"
#include "audio/InputAudioBlock.h"
#include "audio/LiveInputSource.h"
#include "audio/MasterBus.h"
#include "audio/MixRecorder.h"
#include "audio/Mixer.h"
#include "audio/MixerChannel.h"
#include "audio/PreviewPlayer.h"
#include "audio/SamplerPlayer.h"
#include "deck/DeckBeatClock.h"
#include "deck/SoundSource.h"

namespace {

constexpr int kSteps = 128;
constexpr int kTopStep = 127;
constexpr int kSamplerMonitorStep = 110;

}  // namespace

void EngineCreatePlayers() {
  CZQMixer* mixer = g_engine.mixer;
  if (!mixer) return;
  // Slot 4: the preview is heard in the headphones only.
  g_engine.preview = new CZQPreviewPlayer(0, false);
  int slot = mixer->AddSource(g_engine.preview);
  mixer->SetChannelVolumeGain(slot, 0.0f);
  mixer->SetChannelMonitorLevel(slot, FaderLawGain(kTopStep, kSteps));
  mixer->SetSourceFlatMonitor(slot, 1);
  for (int i = 0; i < 2; ++i) g_engine.silentPreviews[i] = new CZQPreviewPlayer(1 + i, true);
  // Slots 5 to 12: the samplers, on the master and outside the crossfader.
  for (int d = 0; d < 2; ++d) g_engine.samplerSyncDecks[d] = new CDeckBeatClock(*g_engine.decks[d]);
  for (int i = 0; i < CSamplerPlayer::kCount; ++i) {
    auto* sampler = new CSamplerPlayer(i);
    sampler->SetSyncDecks(g_engine.samplerSyncDecks[0], g_engine.samplerSyncDecks[1]);
    sampler->SetCrossfaderSource(mixer);
    slot = mixer->AddSource(sampler);
    mixer->SetSourceFlatMonitor(slot, 1);
    mixer->SetChannelVolumeGain(slot, FaderLawGain(kTopStep, kSteps));
    mixer->SetChannelMonitorLevel(slot, FaderLawGain(kSamplerMonitorStep, kSteps));
    g_engine.samplers[i] = sampler;
  }
  g_engine.recorder = new CMixRecorder;
  g_mixRouting.recorder.store(g_engine.recorder, std::memory_order_release);

  g_engine.micInput = new CLiveInputSource(nullptr);
  if (g_engine.micChannel) g_engine.micChannel->SetSource(g_engine.micInput);
  for (int d = 0; d < kDeckCount; ++d) g_engine.deckInputs[d] = new CLiveInputSource(g_engine.decks[d]);
  SetLiveInputs(g_engine.micInput, g_engine.deckInputs);
}

void EngineDeletePlayers() {
  SetLiveInputs(nullptr, nullptr);
  if (g_engine.micChannel) g_engine.micChannel->SetSource(nullptr);
  delete g_engine.micInput;
  g_engine.micInput = nullptr;
  for (auto*& input : g_engine.deckInputs) {
    delete input;
    input = nullptr;
  }
  g_mixRouting.recorder.store(nullptr, std::memory_order_release);
  delete g_engine.recorder;  // stops and completes a running recording
  g_engine.recorder = nullptr;
  for (auto*& sampler : g_engine.samplers) {
    delete sampler;
    sampler = nullptr;
  }
  for (auto*& clock : g_engine.samplerSyncDecks) {
    delete clock;
    clock = nullptr;
  }
  delete g_engine.preview;
  g_engine.preview = nullptr;
  for (auto*& silent : g_engine.silentPreviews) {
    delete silent;
    silent = nullptr;
  }
}

bool EnginePlayersTick() {
  for (CSamplerPlayer* sampler : g_engine.samplers) {
    if (sampler) sampler->PollEvents();
  }
  if (g_engine.preview) g_engine.preview->GetPosition();
  for (CZQPreviewPlayer* silent : g_engine.silentPreviews) {
    if (silent) silent->GetPosition();
  }
  if (!g_mixRouting.stopRecordingRequested.exchange(0, std::memory_order_acq_rel)) return false;
  if (!g_engine.recorder || !g_engine.recorder->IsRecording()) return false;
  TraceLine("recorder: the disk failed; recording stopped");
  g_engine.recorder->Stop();
  return true;
}
