// The real-time rule with every player busy: eight samplers looping (one synced to deck A),
// the preview streaming, live input queued and the recorder writing, all through the engine's
// own wiring and the offline back end. Nothing on the audio thread may allocate or wait.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "app/Engine.h"
#include "app/base/Realtime.h"
#include "audio/InputAudioBlock.h"
#include "audio/MixRecorder.h"
#include "audio/OfflineOutput.h"
#include "audio/PreviewPlayer.h"
#include "audio/SamplerPlayer.h"
#include "audio/Threads.h"
#include "codecs/DecoderWAV.h"
#include "deck/DeckBeatClock.h"
#include "deck/SoundSource.h"
#include "support/AllocationCounter.h"
#include "support/ScopedEngine.h"
#include "support/TestFiles.h"

namespace {

TEST(PlayersRealtime, EightSamplersPreviewAndRecordingAllocateNothingOnTheAudioThread) {
  ScopedEngine engine(true);

  TempFolder folder;
  WriteStereo16(folder.File("preview.wav"), MakeTestSignal(5 * 44100));
  ASSERT_EQ(g_engine.preview->OpenFileName(folder.File("preview.wav")), 1);
  g_engine.preview->Play(1);
  for (int i = 0; i < CSamplerPlayer::kCount; ++i) {
    CSamplerPlayer* sampler = g_engine.samplers[i];
    std::vector<short> sound(2 * 22050);
    for (size_t s = 0; s < sound.size(); ++s) sound[s] = static_cast<short>(3000 * std::sin(s * (0.01 + i * 0.002)));
    ASSERT_EQ(sampler->LoadFrames(std::move(sound)), 1);
    sampler->SetLoop(1);
    sampler->SetBeats(1);
    sampler->SetRate(0.5 + 0.1 * i);
  }
  g_engine.decks[0]->bpm.store(120.0f);
  g_engine.samplers[0]->SyncTo(g_engine.samplerSyncDecks[0]);
  for (CSamplerPlayer* sampler : g_engine.samplers) sampler->Play(1);
  std::string path = folder.File("mix.wav");
  ASSERT_EQ(g_engine.recorder->Start(path), 1);

  COfflineOutput offline(512);
  std::vector<float> out(2 * 512);
  std::vector<float> capture(512, 0.1f);
  const float* ports[2] = {capture.data(), capture.data()};
  offline.PullBlock(out.data());  // first block outside the count: lazy set-up in libraries
  ResetAudioThreadCounts();
  unsigned long waitsBefore = rt::BlockingWaitsOnAudioThread();
  for (int block = 0; block < 3 * 44100 / 512; ++block) {
    {
      rt::AudioThreadScope audio;
      CaptureInputFrames(kCaptureFromJack, ports, 2, 512, 48000);
    }
    offline.PullBlock(out.data());
    EnginePlayersTick();
  }
  EXPECT_EQ(AudioThreadAllocations(), 0u);
  EXPECT_EQ(AudioThreadFrees(), 0u);
  EXPECT_EQ(rt::BlockingWaitsOnAudioThread(), waitsBefore);
  EXPECT_GT(g_engine.preview->GetPosition(), 44100) << "the preview really played";
  ASSERT_EQ(g_engine.recorder->Stop(), 1);
  EXPECT_EQ(g_engine.recorder->DroppedBlocks(), 0u);

  // The samplers were in the master the recorder took.
  CDecoderWAV wav(0);
  AudioFormat format{};
  ASSERT_TRUE(wav.open(path, &format, 0));
  EXPECT_EQ(format.frames, (3 * 44100 / 512 + 1) * 512);
  std::vector<short> pcm(2 * 4096);
  wav.read(pcm.data(), 4096, 44100);
  double squares = 0;
  for (short s : pcm) squares += double(s) * s;
  EXPECT_GT(std::sqrt(squares / pcm.size()), 1000.0);
}

}  // namespace
