#include "analysis/DeckStripeAnalysis.h"

#include <algorithm>
#include <cmath>
#include <mutex>

#include "analysis/StripeFile.h"
#include "analysis/StripeMarks.h"
#include "analysis/TempoGrid.h"
#include "app/base/Trace.h"
#include "codecs/SongKey.h"
#include "deck/SoundSource.h"
#include "library/SongDatabase.h"

namespace {

constexpr int kRate = 44100;
constexpr int kFilterChunk = 8820;
constexpr int kWindowEntries = 10 * kStripeEntriesPerSecond;  // a streaming deck's tempo window
constexpr float kInt16ToFloat = 3e-05f;  // the engine's factor for 16-bit audio

}  // namespace

void CDeckStripeAnalysis::BandFilters::Reset() {
  lowPass.ClearHistory();
  highPass.ClearHistory();
  lowPass.SetCutoff(215.0f, 1);
  highPass.SetCutoff(132.0f, 0);
}

void CDeckStripeAnalysis::BandFilters::Run(float* mono, int count) {
  for (int chunk = 0; chunk < count; chunk += kFilterChunk) {
    const int length = std::min(kFilterChunk, count - chunk);
    lowPass.ProcessAnalysis(mono + chunk, length);
    highPass.ProcessAnalysis(mono + chunk, length);
  }
}

CDeckStripeAnalysis::CDeckStripeAnalysis()
    : mono_(kRate), monoPass_(kRate), windowA_(kWindowEntries + 1), windowB_(kWindowEntries + 1) {
  feedFilters_.Reset();
  passFilters_.Reset();
}

void CDeckStripeAnalysis::Second(BandFilters& filters, std::vector<float>& mono, const short* stereo, int frames,
                                 float* out441, ZQGainAnalyzer* gain, ZQKeyDetector* key, ZQTempoEstimator* tempo) {
  frames = std::clamp(frames, 0, kRate);
  for (int i = 0; i < frames; ++i) mono[i] = (stereo[2 * i] + stereo[2 * i + 1]) * 0.5f;
  std::fill(mono.begin() + frames, mono.end(), 0.0f);
  if (gain) gain->Analyze(mono.data(), nullptr, frames, 1);  // 16-bit samples are already at full scale 32768
  for (float& v : mono) v *= kInt16ToFloat;
  if (key) key->FeedFloats(mono.data(), frames, 1);
  if (tempo) tempo->Feed(mono.data(), frames);
  filters.Run(mono.data(), kRate);
  for (int i = 0; i < kStripeEntriesPerSecond; ++i) out441[i] = mono[static_cast<size_t>(i) * kFramesPerStripeEntry];
}

void CDeckStripeAnalysis::ResetFilters(CSoundSource&) {
  feedFilters_.Reset();
  changed_.store(false, std::memory_order_relaxed);
  wholePass_.store(false, std::memory_order_relaxed);
}

int CDeckStripeAnalysis::LoadStripes(CSoundSource& deck) {
  StripeLoad load;
  int ok;
  {
    std::lock_guard lock(deck.dataLock);
    std::vector<float>& level = deck.stripes[0];
    ok = ::LoadStripes(deck.FilePath(), level.data(), static_cast<int>(level.size()), load);
  }
  if (!ok) return 0;
  deck.bpm.store(load.bpm, std::memory_order_relaxed);
  gain_.store(load.gain, std::memory_order_release);
  deck.analysed.store(1, std::memory_order_release);
  return 1;
}

void CDeckStripeAnalysis::FeedSecond(CSoundSource& deck, int blockIndex, const short* stereo, int frames) {
  float entries[kStripeEntriesPerSecond];
  Second(feedFilters_, mono_, stereo, frames, entries, nullptr, nullptr);
  std::lock_guard lock(deck.dataLock);
  std::vector<float>& level = deck.stripes[0];
  const size_t from = static_cast<size_t>(std::max(blockIndex, 0)) * kStripeEntriesPerSecond;
  for (size_t i = 0; i < kStripeEntriesPerSecond && from + i < level.size(); ++i) level[from + i] = entries[i];
}

void CDeckStripeAnalysis::AnalyseWholeTrack(CSoundSource& deck) {
  const int blocks = deck.memory.blockCount();
  const int length = deck.GetLength();
  std::vector<float> A(static_cast<size_t>(blocks) * kStripeEntriesPerSecond + 1, 0.0f);
  std::vector<float> B(A.size(), 0.0f);
  passFilters_.Reset();
  gainAnalyzer_.Init(kRate);
  keyDetector_.Start(kRate, static_cast<double>(length) / kRate);
  tempo_.Start(blocks);
  // Track order, so the filters and the gain see the music as it plays; the blocks stay in
  // memory until the deck unloads, and an unload waits for this pass.
  for (int b = 0; b < blocks; ++b) {
    if (deck.AnalysisShouldStop()) return;
    const TrackBlock* block = deck.memory.Block(b);
    if (!block) return;
    Second(passFilters_, monoPass_, block->samples, block->framesRead, A.data() + static_cast<size_t>(b) * kStripeEntriesPerSecond,
           &gainAnalyzer_, &keyDetector_, &tempo_);
  }
  gain_.store(gainAnalyzer_.GetResult(), std::memory_order_release);
  key_ = keyDetector_.FinishDetection().key;
  const int n = static_cast<int>(A.size()) - 1;
  const TempoResult tempo = DetectTempoAndGrid(passBeats_, tempo_, A.data(), B.data(), n, blocks, PreferredTempoRange());
  const float bpm = tempo.bpm;
  bpmConfidence_.store(tempo.confidence, std::memory_order_relaxed);
  {
    std::lock_guard lock(deck.dataLock);
    std::vector<float>& level = deck.stripes[0];
    std::copy_n(A.begin(), std::min<size_t>(level.size(), static_cast<size_t>(n)), level.begin());
  }
  deck.bpm.store(bpm, std::memory_order_relaxed);
  deck.analysed.store(1, std::memory_order_release);
  wholePass_.store(true, std::memory_order_relaxed);
  changed_.store(true, std::memory_order_release);
  deck.statusCode.store(kStatusAnalysed, std::memory_order_release);
}

void CDeckStripeAnalysis::ReanalyseTempo(CSoundSource& deck, int hint) {
  std::vector<float> A, B;
  {
    std::lock_guard lock(deck.dataLock);
    A = deck.stripes[0];
  }
  const int seconds = deck.memory.blockCount();
  const int n = std::min(static_cast<int>(A.size()), seconds * kStripeEntriesPerSecond);
  if (n <= 0) return;
  // The old grid comes out first: the walk reads the signal and writes marks of its own.
  for (float& v : A) v = WithoutMark(SaneStripeValue(v));
  A.push_back(0.0f);
  B.assign(A.size(), 0.0f);
  float bpm = passBeats_.DetectBpm(n, A.data(), B.data(), seconds, hint);
  if (!(bpm > 0.0f)) {
    TraceLine("deck %d: no tempo found with hint %d - the old one stays", deck.id(), hint);
    deck.statusCode.store(kStatusAnalysed, std::memory_order_release);
    return;
  }
  const double measured = TempoFromMarks(A.data(), n, bpm);
  if (measured > 0.0 && std::fabs(measured / bpm - 1.0) < 0.02) bpm = static_cast<float>(measured);
  {
    std::lock_guard lock(deck.dataLock);
    std::vector<float>& level = deck.stripes[0];
    std::copy_n(A.begin(), std::min(level.size(), static_cast<size_t>(n)), level.begin());
  }
  bpmConfidence_.store(1.0f, std::memory_order_relaxed);  // the user's own word on it
  deck.bpm.store(bpm, std::memory_order_relaxed);
  deck.analysed.store(1, std::memory_order_release);
  changed_.store(true, std::memory_order_release);
  StoreTempo(deck);
  deck.statusCode.store(kStatusAnalysed, std::memory_order_release);
}

void CDeckStripeAnalysis::StoreTempo(CSoundSource& deck) {
  TSongRecord record;
  const std::string name = SongKeyOf(deck.FilePath());
  if (!FindSong(name, record)) {
    ClearSongRecord(record);
    record.durationMs = SongDurationMs(deck.GetLength());
  }
  record.name = name;
  record.bpm = deck.bpm.load(std::memory_order_relaxed);
  record.bpmConfidence = bpmConfidence_.load(std::memory_order_relaxed);
  StoreSong(record);
}

float CDeckStripeAnalysis::EstimateWindowBpm(const float* stripes, int count) {
  count = std::clamp(count, 0, kWindowEntries);
  if (!stripes || count < kStripeEntriesPerSecond) return 0.0f;
  std::copy_n(stripes, count, windowA_.begin());
  windowA_[static_cast<size_t>(count)] = 0.0f;
  // The marks go into this copy only: the deck's own stripe keeps its grid.
  const float bpm = windowBeats_.DetectBpm(count, windowA_.data(), windowB_.data(), count / kStripeEntriesPerSecond, 0);
  return std::max(bpm, 0.0f);
}

void CDeckStripeAnalysis::SaveStripes(CSoundSource& deck) {
  if (!changed_.exchange(false, std::memory_order_acq_rel)) return;
  const std::string path = deck.FilePath();
  {
    std::lock_guard lock(deck.dataLock);
    const std::vector<float>& level = deck.stripes[0];
    if (!WriteStripeFile(StripePathFor(path), level.data(), static_cast<int>(level.size()))) {
      TraceLine("can not write stripe");
    }
  }
  if (!wholePass_.load(std::memory_order_relaxed)) {
    StoreTempo(deck);  // only the tempo was found again: the record's key and gain stand
    return;
  }
  TSongRecord record;
  const std::string name = SongKeyOf(path);
  if (!FindSong(name, record)) ClearSongRecord(record);
  record.name = name;
  record.durationMs = SongDurationMs(deck.GetLength());
  record.bpm = deck.bpm.load(std::memory_order_relaxed);
  record.bpmConfidence = bpmConfidence_.load(std::memory_order_relaxed);
  record.gain = static_cast<float>(gain());
  record.hasGain = 1;
  record.pitchKey = KeyIndexOf(key_);
  StoreSong(record);
}
