#include "analysis/TrackAnalyzer.h"

#include <algorithm>
#include <cmath>
#include <sys/stat.h>

#include "analysis/StripeFile.h"
#include "analysis/StripeMarks.h"
#include "analysis/TempoGrid.h"
#include "app/base/Trace.h"
#include "codecs/SongKey.h"
#include "library/SongDatabase.h"

namespace {

constexpr int kRate = 44100;
constexpr int kFilterChunk = 8820;  // five per second

}  // namespace

CTrackAnalyzer::CTrackAnalyzer()
    : chain_(kAnalysisDeckId), second_(kRate * 2), mono_(kRate), scaled_(kRate) {
  lowPass_.SetCutoff(215.0f, 1);
  highPass_.SetCutoff(132.0f, 0);
}

// One second: the mono mix feeds the gain and the key; the low band, one value in a hundred,
// becomes the second's 441 stripe entries.
void CTrackAnalyzer::AnalyseSecond(float* stereo, int frames, float* out441) {
  for (int i = 0; i < kRate; ++i) mono_[i] = (stereo[2 * i] + stereo[2 * i + 1]) * 0.5f;
  for (int i = 0; i < kRate; ++i) scaled_[i] = mono_[i] * 32768.0f;
  gain_.Analyze(scaled_.data(), nullptr, frames, 1);
  key_.FeedFloats(mono_.data(), frames, 1);
  tempo_.Feed(mono_.data(), frames);
  for (int chunk = 0; chunk < kRate; chunk += kFilterChunk) {
    lowPass_.ProcessAnalysis(mono_.data() + chunk, kFilterChunk);
    highPass_.ProcessAnalysis(mono_.data() + chunk, kFilterChunk);
  }
  for (int i = 0; i < kStripeEntriesPerSecond; ++i) out441[i] = mono_[i * kFramesPerStripeEntry];
}

AnalysisOutcome CTrackAnalyzer::Analyze(const std::string& path, TrackAnalysis& result) {
  AudioFormat format = EngineFormat();
  if (!chain_.open(path, &format, 0, kRate)) return AnalysisOutcome::kUndecodable;
  const long long frames = format.frames;
  if (frames <= 0) {
    chain_.close();
    return AnalysisOutcome::kUndecodable;
  }
  if (frames / kRate > kMaxAnalysisSeconds) {
    chain_.close();
    return AnalysisOutcome::kTooLong;
  }
  const int seconds = StripeSeconds(frames);
  const int n = seconds * kStripeEntriesPerSecond;
  stripe_.assign(static_cast<size_t>(n) + 1, 0.0f);
  onsets_.assign(static_cast<size_t>(n) + 1, 0.0f);
  gain_.Init(kRate);
  key_.Start(kRate, static_cast<double>(frames) / kRate);
  tempo_.Start(seconds);

  for (int s = 0; s < seconds; ++s) {
    if (cancel_ && cancel_->load(std::memory_order_relaxed)) {
      chain_.close();
      return AnalysisOutcome::kCancelled;
    }
    const long long position = static_cast<long long>(s) * kRate;
    const int want = static_cast<int>(std::min<long long>(kRate, frames - position));
    std::fill(second_.begin(), second_.end(), 0.0f);
    chain_.readFloat(second_.data(), want, static_cast<int>(position));
    AnalyseSecond(second_.data(), want, stripe_.data() + static_cast<size_t>(s) * kStripeEntriesPerSecond);
  }
  result.gain = gain_.GetResult();
  chain_.close();

  const TempoResult tempo =
      DetectTempoAndGrid(beats_, tempo_, stripe_.data(), onsets_.data(), n, seconds, PreferredTempoRange(),
                         followEstimatedBeat_);
  result.bpm = tempo.bpm;
  result.bpmConfidence = tempo.confidence;
  result.beats = static_cast<int>(std::count_if(stripe_.begin(), stripe_.end(), [](float v) { return IsMarked(v); }));
  result.key = key_.FinishDetection().key;
  result.pitchKey = KeyIndexOf(result.key);
  result.name = SongKeyOf(path);
  result.entries = n;
  result.durationMs = SongDurationMs(frames);

  result.stripeWritten = WriteStripeFile(StripePathFor(path), stripe_.data(), n);
  if (!result.stripeWritten) TraceLine("can not write stripe");

  TSongRecord record;
  if (!FindSong(result.name, record)) ClearSongRecord(record);
  record.name = result.name;
  record.durationMs = result.durationMs;
  record.bpm = result.bpm;
  record.bpmConfidence = result.bpmConfidence;
  record.gain = static_cast<float>(result.gain);
  record.hasGain = 1;
  record.pitchKey = result.pitchKey;
  StoreSong(record);
  return AnalysisOutcome::kDone;
}

AnalysisOutcome AnalyzeSongToStripe(const std::string& path, TrackAnalysis* result) {
  thread_local std::unique_ptr<CTrackAnalyzer> analyzer;
  if (!analyzer) analyzer = std::make_unique<CTrackAnalyzer>();
  TrackAnalysis local;
  return analyzer->Analyze(path, result ? *result : local);
}

bool NeedsAnalysis(const std::string& path) {
  TSongRecord record;
  if (!FindSong(SongKeyOf(path), record) || !(record.bpm > 10.0f)) return true;
  struct stat info {};
  return ::stat(StripePathFor(path).c_str(), &info) != 0;
}
